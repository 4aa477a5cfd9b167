#ifndef ZORNX_CORE_ARCHIVE_H
#define ZORNX_CORE_ARCHIVE_H

#include <zornx/core/object.h>

#include <QtCore/QDir>
#include <QtCore/QIODevice>
#include <QtCore/QMetaType>
#include <QtCore/QStringList>

class QWidget;

namespace Zorn {

// The one storage abstraction: every document, cache and project reads and writes through
// an Archive. Reference-counted; the count starts at 1 and the last release() calls free().
class ZORNX_EXPORT Archive : public Object
{
public:
    Archive();
    Archive(const Archive &) = delete;
    Archive &operator=(const Archive &) = delete;

    void addRef();
    void release() override;

    virtual QString name() const = 0;
    virtual QString path() const = 0;
    // The absolute path of the directory that holds name.
    virtual QString absoluteFilePath(const QString &name) const = 0;
    // The absolute path of name itself.
    virtual QString absoluteFileName(const QString &name) const = 0;
    virtual QStringList entries(const QString &path, QStringList nameFilters,
                                QDir::Filters filters, QDir::SortFlags sort) const = 0;
    // Null on failure. The device goes back through closeFile() or discardFile().
    virtual QIODevice *openFile(const QString &name, QIODevice::OpenMode mode) = 0;
    // Commits what was written and ends the device. false when what was written could not
    // be put in place; the file is then as it was before.
    virtual bool closeFile(QIODevice *device) = 0;
    // Ends the device and drops what was written.
    virtual void discardFile(QIODevice *device) = 0;
    virtual bool removeFile(const QString &name) = 0;
    virtual bool renameFile(const QString &oldName, const QString &newName) = 0;
    // Writes what is pending; false when that failed (and it stays pending).
    virtual bool flush() = 0;
    virtual bool isReadOnly() const = 0;
    virtual bool isWritable(const QString &name) const = 0;
    virtual bool fileExists(const QString &name) const = 0;
    virtual bool directoryExists(const QString &name) const = 0;

    QStringList entries(const QString &path, QDir::Filters filters, QDir::SortFlags sort) const;

    // path relative to the directory base (no trailing separator) when archive is this one;
    // otherwise path unchanged. Both '/' and '\' separate.
    QString relativePath(const QString &path, Archive *archive, const QString &base) const;

    // Why the last openFile() or closeFile() that failed on this thread failed, in the
    // system's words ("No such file or directory", "Permission denied"); empty when the
    // archive gave no reason.
    static QString lastError();
    // For archives: records the reason of a failure; callers clear it before an operation
    // so that an archive that gives no reason leaves none.
    static void setLastError(const QString &reason);

protected:
    ~Archive() override;

private:
    virtual void free() = 0;
    int refCount;
};

// The plain file system. Names are full paths. Writing to an existing file goes to a
// temporary file beside it, which replaces the target only when the device is closed.
class ZORNX_EXPORT FileSystemArchive : public Archive
{
public:
    static FileSystemArchive &instance();

    QString name() const override;
    QString path() const override;
    QString absoluteFilePath(const QString &name) const override;
    QString absoluteFileName(const QString &name) const override;
    QStringList entries(const QString &path, QStringList nameFilters, QDir::Filters filters,
                        QDir::SortFlags sort) const override;
    using Archive::entries;
    QIODevice *openFile(const QString &name, QIODevice::OpenMode mode) override;
    bool closeFile(QIODevice *device) override;
    void discardFile(QIODevice *device) override;
    bool removeFile(const QString &name) override;
    bool renameFile(const QString &oldName, const QString &newName) override;
    bool flush() override;
    bool isReadOnly() const override;
    bool isWritable(const QString &name) const override;
    bool fileExists(const QString &name) const override;
    bool directoryExists(const QString &name) const override;

private:
    FileSystemArchive();
    ~FileSystemArchive() override;
    void free() override;
};

// Mix-in for anything that shows a file: it hears when the file changes on disk and is asked
// to reload, except for the change that its own save causes.
class ZORNX_EXPORT FileWatchObject
{
public:
    FileWatchObject();
    FileWatchObject(const FileWatchObject &) = delete;
    FileWatchObject &operator=(const FileWatchObject &) = delete;
    virtual ~FileWatchObject();

    // The name that this object currently shows.
    virtual QString fileName() const = 0;
    virtual void reload() = 0;
    // true: the next change notification is ignored.
    virtual void pauseWatch(bool pause);

    // Call after reading name (before fileName() changes to it).
    void fileLoaded(Archive &archive, const QString &name, bool copy);
    // Call once name is written and in place (before fileName() changes to it): the
    // notification of this object's own write is then no change to it.
    void fileSaved(Archive &archive, const QString &name, bool copy);

private:
    friend class FileWatcherManager;
    void watch(Archive &archive, const QString &name, bool copy);
    int skipNext;
};

ZORNX_EXPORT bool copyFile(Archive &from, const QString &fromName, Archive &to,
                           const QString &toName);
// Reads and drops count bytes, whether or not the device has that many.
ZORNX_EXPORT void skipRead(QIODevice *device, unsigned int count);
// Finds name under basePath on a case-sensitive store, matching each part without case.
ZORNX_EXPORT QString fixFileCase(const QString &basePath, Archive &archive, const QString &name);
ZORNX_EXPORT QString absolutePathToRelative(const QString &path, const QString &base);
// The suffix of name in upper case.
ZORNX_EXPORT QByteArray fileExtension(const QString &name);
// length characters out of A-Z, a-z and 0-9.
ZORNX_EXPORT QString randomString(int length);
// Orders names such as frame2.pcx before frame10.pcx.
ZORNX_EXPORT bool fileNameLessThan(const QString &a, const QString &b);

ZORNX_EXPORT QString getOpenFileName(QWidget *parent, const QString &caption,
                                     const QString &directory, const QString &filter);
ZORNX_EXPORT QStringList getOpenFileNames(QWidget *parent, const QString &caption,
                                          const QString &directory, const QString &filter);
ZORNX_EXPORT QString getSaveFileName(QWidget *parent, const QString &caption,
                                     const QString &directory, const QString &filter);
ZORNX_EXPORT QString getExistingDirectory(QWidget *parent, const QString &caption,
                                          const QString &directory);

} // namespace Zorn

Q_DECLARE_METATYPE(Zorn::Archive *)

#endif
