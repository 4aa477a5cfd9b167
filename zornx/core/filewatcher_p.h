#ifndef ZORNX_CORE_FILEWATCHER_P_H
#define ZORNX_CORE_FILEWATCHER_P_H

#include <QtCore/QFileSystemWatcher>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QObject>

namespace Zorn {

class FileWatchObject;

// What tells one version of a file from another on disk.
struct FileStamp
{
    qint64 size = -1; // -1: no file
    qint64 modified = 0;
    quint64 inode = 0;

    static FileStamp of(const QString &name);
    bool operator==(const FileStamp &other) const
    {
        return size == other.size && modified == other.modified && inode == other.inode;
    }
};

// Lives while any FileWatchObject does; maps each watched path, as it was given, to the
// objects that show it.
class FileWatcherManager : public QObject
{
    Q_OBJECT
public:
    struct Entry
    {
        QList<FileWatchObject *> objects;
        // The file as each object last read or wrote it: a notification of a file that an
        // object already shows (its own save) is no change to it.
        QHash<FileWatchObject *, FileStamp> shown;
        bool asking = false;
    };

    static FileWatcherManager *instance();

    QFileSystemWatcher watcher;
    QMap<QString, Entry> entries;

    // Takes object out of the entry of name; an entry left empty goes, with its watch.
    void detach(FileWatchObject *object, const QString &name);

private Q_SLOTS:
    void fileChanged(const QString &path);

private:
    friend class FileWatchObject;
    FileWatcherManager();
    // The slot runs a dialog and reloads, during which the last object may go: the manager
    // then outlives its slot.
    int busy = 0;
    bool orphaned = false;
};

} // namespace Zorn

#endif
