#ifndef ZORNX_CORE_FILE_P_H
#define ZORNX_CORE_FILE_P_H

#include <QtCore/QFile>

#include <functional>

namespace Zorn {

// The device FileSystemArchive::openFile() hands out. Opened for writing over an existing
// file, the base writes to a temporary file beside the target, and the destructor commits:
// the temporary file replaces the target. Otherwise it is a plain QFile. Reading or appending
// over an existing file starts from a copy of its contents.
class File : public QFile
{
public:
    explicit File(const QString &name);
    ~File() override;

    bool open(OpenMode mode) override;
    // Puts what was written in place; false when it could not be written completely, with
    // the old file left as it was and nothing left behind.
    bool commit();
    // Drops what was written; the destructor then has nothing to commit.
    void discard();

protected:
    // A short write is no error to QFile; here it is one, and it fails the commit.
    qint64 writeData(const char *data, qint64 length) override;

private:
    QFile target;
    bool writeFailed = false;
    bool created = false; // the open made the file: a discard removes it
};

// Retries operation every 200 ms and asks title/text (with %1 the file name) after every
// tenth failure in a row; false when the user gives up, or at once there when nobody can be
// asked (no host, or not on the GUI thread).
bool retryFileOperation(const char *title, const char *text, const QString &fileName,
                        const std::function<bool()> &operation);

} // namespace Zorn

#endif
