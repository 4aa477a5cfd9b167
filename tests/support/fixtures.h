#ifndef ZORNX_TESTS_FIXTURES_H
#define ZORNX_TESTS_FIXTURES_H

#include <QtCore/QString>

namespace ZornTest {

// The path of a fixture under tests/data.
QString testData(const QString &name);
// Copies a directory tree; false when any file could not be copied.
bool copyTree(const QString &from, const QString &to);
// Reads a whole file; "<missing>" when it cannot be opened.
QByteArray readFile(const QString &name);
// Writes a whole file, creating its directory.
bool writeFile(const QString &name, const QByteArray &bytes);

// While it lives, the process may write no file past limit bytes: writes fail there as on a
// full disk (SIGXFSZ is ignored).
class FileSizeLimit
{
public:
    explicit FileSizeLimit(long long limit);
    ~FileSizeLimit();

private:
    unsigned long long previous;
};

} // namespace ZornTest

#endif
