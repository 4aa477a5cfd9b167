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

} // namespace ZornTest

#endif
