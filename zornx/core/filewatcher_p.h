#ifndef ZORNX_CORE_FILEWATCHER_P_H
#define ZORNX_CORE_FILEWATCHER_P_H

#include <QtCore/QFileSystemWatcher>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QObject>

namespace Zorn {

class FileWatchObject;

// Lives while any FileWatchObject does; maps each watched path, as it was given, to the
// objects that show it.
class FileWatcherManager : public QObject
{
    Q_OBJECT
public:
    struct Entry
    {
        QList<FileWatchObject *> objects;
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
};

} // namespace Zorn

#endif
