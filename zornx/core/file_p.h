#ifndef ZORNX_CORE_FILE_P_H
#define ZORNX_CORE_FILE_P_H

#include <QtCore/QFile>

#include <functional>

namespace Zorn {

// The device FileSystemArchive::openFile() hands out. Opened for writing over an existing
// file, the base writes to a temporary file beside the target, and the destructor commits:
// the temporary file replaces the target. Otherwise it is a plain QFile.
class File : public QFile
{
public:
    explicit File(const QString &name);
    ~File() override;

    bool open(OpenMode mode) override;
    // Drops what was written; the destructor then has nothing to commit.
    void discard();

private:
    bool commit();
    QFile target;
    bool created = false; // the open made the file: a discard removes it
};

// Retries operation every 200 ms and asks title/text (with %1 the file name) after every
// tenth failure in a row; false when the user gives up.
bool retryFileOperation(const char *title, const char *text, const QString &fileName,
                        const std::function<bool()> &operation);

} // namespace Zorn

#endif
