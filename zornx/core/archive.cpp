#include "archive.h"
#include "file_p.h"
#include "filewatcher_p.h"
#include "interface.h"

#include <QtCore/QDebug>
#include <QtCore/QLoggingCategory>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>
#include <QtCore/QRegExp>
#include <QtCore/QThread>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QMessageBox>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace Zorn {

// Silent unless asked: QT_LOGGING_RULES="zornx.files.debug=true" shows every change that the
// watcher sees.
Q_LOGGING_CATEGORY(zornxFiles, "zornx.files", QtInfoMsg)

// ---------------------------------------------------------------------------------------------
// Archive

Archive::Archive() : refCount(1) {}

Archive::~Archive() = default;

void Archive::addRef()
{
    ++refCount;
}

void Archive::release()
{
    if (--refCount == 0)
        free();
}

QStringList Archive::entries(const QString &path, QDir::Filters filters,
                             QDir::SortFlags sort) const
{
    return entries(path, QStringList(), filters, sort);
}

static inline bool isSeparator(QChar c)
{
    return c == QLatin1Char('/') || c == QLatin1Char('\\');
}

QString Archive::relativePath(const QString &path, Archive *archive, const QString &base) const
{
    if (archive != this)
        return path;

    int i = 0;
    int behindLastSeparator = 0;
    while (i < path.size() && i < base.size() && path.at(i) == base.at(i)) {
        if (isSeparator(base.at(i)))
            behindLastSeparator = i + 1;
        ++i;
    }

    QString result;
    const bool baseEnded = i == base.size();
    if (!(baseEnded && (i == path.size() || isSeparator(path.at(i))))) {
        result = QStringLiteral("../");
        for (int j = behindLastSeparator; j < base.size(); ++j)
            if (isSeparator(base.at(j)))
                result += QStringLiteral("../");
    }

    int j = std::min(i, int(path.size()) - 1);
    while (j >= 0 && !isSeparator(path.at(j)))
        --j;
    return result + path.mid(j + 1);
}

// ---------------------------------------------------------------------------------------------
// FileSystemArchive

FileSystemArchive::FileSystemArchive() = default;
FileSystemArchive::~FileSystemArchive() = default;

FileSystemArchive &FileSystemArchive::instance()
{
    static FileSystemArchive archive;
    return archive;
}

void FileSystemArchive::free() {}

QString FileSystemArchive::name() const
{
    return QString();
}

QString FileSystemArchive::path() const
{
    return QString();
}

QString FileSystemArchive::absoluteFilePath(const QString &name) const
{
    return name.isEmpty() ? QString() : QFileInfo(name).absolutePath();
}

QString FileSystemArchive::absoluteFileName(const QString &name) const
{
    return name.isEmpty() ? QString() : QFileInfo(name).absoluteFilePath();
}

QStringList FileSystemArchive::entries(const QString &path, QStringList nameFilters,
                                       QDir::Filters filters, QDir::SortFlags sort) const
{
    return QDir(path).entryList(nameFilters, filters | QDir::NoSymLinks | QDir::NoDotAndDotDot,
                                sort);
}

namespace {
thread_local QString archiveError;
}

QString Archive::lastError()
{
    return archiveError;
}

void Archive::setLastError(const QString &reason)
{
    archiveError = reason;
}

QIODevice *FileSystemArchive::openFile(const QString &name, QIODevice::OpenMode mode)
{
    if (mode & QIODevice::WriteOnly) {
        const QFileInfo info(name);
        if (!info.absoluteDir().exists())
            QDir().mkpath(info.absolutePath());
    } else if (!QFile::exists(name)) {
        setLastError(QString::fromLocal8Bit(std::strerror(ENOENT)));
        return nullptr;
    }
    File *file = new File(name);
    if (!file->open(mode)) {
        setLastError(file->errorString());
        delete file;
        return nullptr;
    }
    return file;
}

bool FileSystemArchive::closeFile(QIODevice *device)
{
    if (!device)
        return false;
    bool ok = true;
    if (File *file = dynamic_cast<File *>(device)) {
        ok = file->commit();
        if (!ok)
            setLastError(file->errorString());
    }
    delete device;
    return ok;
}

void FileSystemArchive::discardFile(QIODevice *device)
{
    if (File *file = dynamic_cast<File *>(device))
        file->discard();
    delete device;
}

bool FileSystemArchive::removeFile(const QString &name)
{
    return QFile::remove(name);
}

bool FileSystemArchive::renameFile(const QString &oldName, const QString &newName)
{
    return QFile::rename(oldName, newName);
}

bool FileSystemArchive::flush()
{
    return true;
}

bool FileSystemArchive::isReadOnly() const
{
    return false;
}

bool FileSystemArchive::isWritable(const QString &name) const
{
    const QFileInfo info(name);
    return !info.exists() || info.isWritable();
}

bool FileSystemArchive::fileExists(const QString &name) const
{
    return QFile::exists(name);
}

bool FileSystemArchive::directoryExists(const QString &name) const
{
    return QDir(name).exists();
}

// ---------------------------------------------------------------------------------------------
// File: the crash-safe writer

bool retryFileOperation(const char *title, const char *text, const QString &fileName,
                        const std::function<bool()> &operation)
{
    // Only a host on the GUI thread can answer; elsewhere nobody would, and a question would
    // block for good: give up after the first round of tries.
    QCoreApplication *app = QCoreApplication::instance();
    const bool canAsk = Interface::instance() && qobject_cast<QApplication *>(app)
        && QThread::currentThread() == app->thread();
    int failures = 0;
    while (!operation()) {
        QThread::msleep(200);
        if (++failures % 10 == 0) {
            if (!canAsk)
                return false;
            const auto answer = QMessageBox::question(
                nullptr, QString::fromLatin1(title), QString::fromLatin1(text).arg(fileName),
                QMessageBox::Yes | QMessageBox::No, QMessageBox::NoButton);
            if (answer != QMessageBox::Yes)
                return false;
            failures = 0;
        }
    }
    return true;
}

File::File(const QString &name) : QFile(name), target(name) {}

bool File::open(OpenMode mode)
{
    const bool writing = mode & WriteOnly;
    if (!writing || !target.exists()) {
        created = writing;
        return QFile::open(mode);
    }

    // Reading or appending works on a copy of the old contents.
    const bool keep = (mode & (ReadOnly | Append)) && !(mode & Truncate);
    setFileName(target.fileName() + randomString(6));
    if ((!keep || QFile::copy(target.fileName(), fileName())) && QFile::open(mode)
        && target.open(ReadWrite)) {
        // The replacement keeps the mode of the file it replaces, read-only bits included:
        // permissions() would also count what this process may do (root may write anything).
        struct stat old;
        if (::fstat(target.handle(), &old) == 0)
            ::fchmod(handle(), old.st_mode & 07777);
        unsetError(); // a refusal there costs nothing; commit() heeds write errors only
        return true;
    }
    // Nothing is left behind, and the destructor has nothing to commit.
    const QString reason = target.error() != NoError ? target.errorString() : errorString();
    QFile::close();
    target.close();
    QFile::remove(fileName());
    setFileName(target.fileName());
    setErrorString(reason);
    return false;
}

qint64 File::writeData(const char *data, qint64 length)
{
    errno = 0;
    const qint64 written = QFile::writeData(data, length);
    if (written != length) {
        // A short write is no error to QFile, which then says nothing of the reason.
        writeFailed = true;
        if (errno)
            setErrorString(QString::fromLocal8Bit(std::strerror(errno)));
    }
    return written;
}

File::~File()
{
    if (fileName() != target.fileName())
        commit();
}

bool File::commit()
{
    if (fileName() == target.fileName()) {
        // Written in place: only the file's own state tells.
        const bool ok =
            !isOpen() || !isWritable() || (flush() && error() == NoError && !writeFailed);
        close();
        if (!ok && created)
            remove();
        created = false;
        return ok;
    }

    // The new contents reach the disk before the old file goes. A write that failed on the
    // way (a full disk, a size limit) leaves the old file as it was.
    bool written = error() == NoError && !writeFailed; // close() keeps its flush's error
    if (isOpen())
        written = written && flush() && ::fsync(handle()) == 0;
    if (!written) {
        discard();
        return false;
    }
    target.close();
    QFile::close();

    // An atomic replace leaves either the old or the new file whatever happens to the
    // process. Only when the system refuses it, the old file is removed and the new one
    // renamed, with the user asked when that keeps failing.
    const QByteArray from = QFile::encodeName(fileName());
    const QByteArray to = QFile::encodeName(target.fileName());
    if (std::rename(from.constData(), to.constData()) == 0) {
        setFileName(target.fileName());
        return true;
    }

    const QString targetName = target.fileName();
    const QString temporaryName = fileName();
    // Without the new contents the old file stays: only the rename below fails then.
    auto removeTarget = [&] {
        return !QFile::exists(temporaryName) || !QFile::exists(targetName)
            || QFile::remove(targetName);
    };
    if (!retryFileOperation(
            "File error!",
            "Can't replace contents of file '%1'. Do you want to try again?\nObs.: You can "
            "delete the file and rename the temporary one manually. Seems that something is "
            "preventing the file to be replaced.",
            targetName, removeTarget)) {
        discard();
        return false;
    }
    QThread::msleep(20);
    const bool renamed = retryFileOperation(
        "File rename error!",
        "Can't rename temporary file to '%1'. Do you want to try again?\nObs.: You can rename it "
        "manually. Seems that something is preventing the file to be renamed.",
        targetName, [&] { return QFile::rename(temporaryName, targetName); });
    setFileName(targetName); // given up or done: nothing is left to commit
    return renamed;
}

void File::discard()
{
    target.close();
    QFile::close();
    const bool replacing = fileName() != target.fileName();
    if (replacing || created) {
        const QString name = fileName();
        retryFileOperation(
            "File remove error!",
            "Can't remove temporary file to '%1'. Do you want to try again?\nObs.: You can "
            "remove it manually. Seems that something is preventing the file to be removed.",
            target.fileName(), [&] { return !QFile::exists(name) || QFile::remove(name); });
    }
    setFileName(target.fileName());
    created = false;
}

// ---------------------------------------------------------------------------------------------
// File watching

namespace {
int liveWatchObjects = 0;
FileWatcherManager *watcherManager = nullptr;
} // namespace

FileStamp FileStamp::of(const QString &name)
{
    FileStamp stamp;
    struct stat info;
    if (::stat(QFile::encodeName(name).constData(), &info) == 0) {
        stamp.size = qint64(info.st_size);
        stamp.modified = qint64(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
        stamp.inode = quint64(info.st_ino);
    }
    return stamp;
}

FileWatcherManager::FileWatcherManager()
{
    connect(&watcher, &QFileSystemWatcher::fileChanged, this, &FileWatcherManager::fileChanged);
}

FileWatcherManager *FileWatcherManager::instance()
{
    return watcherManager;
}

void FileWatcherManager::detach(FileWatchObject *object, const QString &name)
{
    auto it = entries.find(name);
    if (it == entries.end())
        return;
    it->objects.removeAll(object);
    it->shown.remove(object);
    if (it->objects.isEmpty()) {
        entries.erase(it);
        if (!name.isEmpty())
            watcher.removePath(name);
    }
}

void FileWatcherManager::fileChanged(const QString &path)
{
    qCDebug(zornxFiles) << "File modified:" << path;
    if (!entries.contains(path))
        return;
    if (!QFile::exists(path))
        return; // a deleted file reloads nothing, and its path leaves the watcher

    Interface *host = Interface::instance();
    const bool enabled =
        !host || host->option(QStringLiteral("enable_file_watcher"), QVariant()).toBool();
    if (enabled && !entries[path].asking) {
        ++busy;
        const FileStamp now = FileStamp::of(path);
        QList<FileWatchObject *> collected;
        Entry &entry = entries[path];
        for (FileWatchObject *object : qAsConst(entry.objects)) {
            if (object->skipNext)
                object->skipNext = 0;
            else if (!(entry.shown.value(object) == now))
                collected.append(object);
            // Asked once for this version of the file, whatever the answer.
            entry.shown.insert(object, now);
        }
        if (!collected.isEmpty()) {
            entries[path].asking = true;
            const bool reload = Interface::yesNoOption(
                QStringLiteral("File modified"),
                QStringLiteral("The file '%1' has been modified. Do you want to reload all "
                               "other instances of this file now?")
                    .arg(path),
                QStringLiteral("showmsg_reload_file"), 1, Interface::Yes);
            // The dialog runs an event loop and a reload may close other objects: only those
            // that still show the file are reloaded.
            for (FileWatchObject *object : qAsConst(collected)) {
                auto it = entries.constFind(path);
                if (reload && it != entries.constEnd() && it->objects.contains(object))
                    object->reload();
            }
            auto it = entries.find(path);
            if (it != entries.end())
                it->asking = false;
        }
        if (--busy == 0 && orphaned) {
            deleteLater(); // the watcher is still in the middle of its signal
            return;
        }
    }
    // A file replaced by a save drops out of the watcher; watch the new one.
    if (entries.contains(path) && !watcher.files().contains(path))
        watcher.addPath(path);
}

FileWatchObject::FileWatchObject() : skipNext(0)
{
    if (liveWatchObjects++ == 0)
        watcherManager = new FileWatcherManager;
}

FileWatchObject::~FileWatchObject()
{
    for (auto it = watcherManager->entries.begin(); it != watcherManager->entries.end(); ++it) {
        if (it->objects.contains(this)) {
            const QString name = it.key(); // detach() may erase the entry that holds the key
            watcherManager->detach(this, name);
            break;
        }
    }
    if (--liveWatchObjects == 0) {
        if (watcherManager->busy > 0)
            watcherManager->orphaned = true; // its slot deletes it on the way out
        else
            delete watcherManager;
        watcherManager = nullptr;
    }
}

void FileWatchObject::pauseWatch(bool pause)
{
    skipNext = pause ? 1 : 0;
}

void FileWatchObject::fileLoaded(Archive &archive, const QString &name, bool copy)
{
    watch(archive, name, copy);
}

void FileWatchObject::fileSaved(Archive &archive, const QString &name, bool copy)
{
    watch(archive, name, copy);
}

void FileWatchObject::watch(Archive &archive, const QString &name, bool copy)
{
    if (copy || &archive != &FileSystemArchive::instance())
        return;
    FileWatcherManager *manager = watcherManager;
    const QString old = fileName();
    if (old != name || !manager->watcher.files().contains(name)) {
        manager->detach(this, old);
        if (name.isEmpty())
            return;
        FileWatcherManager::Entry &entry = manager->entries[name];
        if (entry.objects.isEmpty())
            manager->watcher.addPath(name);
        entry.objects.append(this);
    }
    // This object shows the file as it is now; its own write raises a notification of a
    // file that it already shows, however many saves run before the notification comes.
    manager->entries[name].shown.insert(this, FileStamp::of(name));
}

// ---------------------------------------------------------------------------------------------
// Free helpers

bool copyFile(Archive &from, const QString &fromName, Archive &to, const QString &toName)
{
    if (fromName == toName)
        return false;
    QIODevice *source = from.openFile(fromName, QIODevice::ReadOnly);
    if (!source)
        return false;
    QIODevice *destination = to.openFile(toName, QIODevice::WriteOnly);
    if (!destination) {
        from.closeFile(source);
        return false;
    }
    // A failed write drops the copy rather than leave a truncated file behind.
    QByteArray buffer(0x20000, Qt::Uninitialized);
    bool ok = true;
    while (ok && !source->atEnd()) {
        const qint64 read = source->read(buffer.data(), buffer.size());
        if (read < 0)
            ok = false;
        else if (read == 0)
            break;
        else
            ok = destination->write(buffer.constData(), read) == read;
    }
    from.closeFile(source);
    if (!ok) {
        to.discardFile(destination);
        return false;
    }
    to.closeFile(destination);
    return true;
}

void skipRead(QIODevice *device, unsigned int count)
{
    char buffer[256];
    while (count > 0) {
        const unsigned int piece = std::min(count, 256u);
        device->read(buffer, piece);
        count -= piece;
    }
}

QString fixFileCase(const QString &basePath, Archive &archive, const QString &name)
{
    QString candidate = basePath + name;
    if (!archive.fileExists(candidate)) {
        candidate = basePath;
        const QStringList parts = name.split(QLatin1Char('/'), Qt::SkipEmptyParts);
        for (int i = 0; i < parts.size(); ++i) {
            QString part = parts.at(i);
            const QDir::Filters filter = i == parts.size() - 1 ? QDir::Files : QDir::Dirs;
            const QStringList entries = archive.entries(candidate, filter, QDir::Size);
            for (const QString &entry : entries) {
                if (entry.compare(part, Qt::CaseInsensitive) == 0) {
                    part = entry;
                    break;
                }
            }
            if (!candidate.endsWith(QLatin1Char('/')))
                candidate += QLatin1Char('/');
            candidate += part;
        }
    }
    return archive.absoluteFileName(candidate);
}

QString absolutePathToRelative(const QString &path, const QString &base)
{
    QString p = path;
    QString b = base;
    p.replace(QLatin1Char('\\'), QLatin1Char('/'));
    b.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (!b.endsWith(QLatin1Char('/')))
        b += QLatin1Char('/');

    int last = -1;
    for (int i = 0; i < p.size() && i < b.size() && p.at(i) == b.at(i); ++i)
        if (p.at(i) == QLatin1Char('/'))
            last = i;
    // No directory in common (another drive, say): nothing of path may be lost.
    if (last < 0)
        return p;
    if (last == 0 && b == QLatin1String("/"))
        return p;

    QString result;
    for (int i = last + 1; i < b.size(); ++i)
        if (b.at(i) == QLatin1Char('/'))
            result += QStringLiteral("../");
    return result + p.mid(last + 1);
}

QByteArray fileExtension(const QString &name)
{
    return QFileInfo(name).suffix().toUpper().toLatin1();
}

QString randomString(int length)
{
    static const char characters[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    QString result;
    if (length < 1)
        return result;
    result.reserve(length);
    for (int i = 0; i < length; ++i)
        result += QLatin1Char(characters[QRandomGenerator::global()->bounded(62)]);
    return result;
}

bool fileNameLessThan(const QString &a, const QString &b)
{
    // Each name maps to a key, and keys compare field by field, so that the order stays a
    // strict weak one when numbered and plain names mix: a numbered name is (stem, 1, number,
    // name), a plain one (name, 0). So frame2.pcx goes before frame10.pcx, and a plain name
    // meets a numbered one by its text against the stem.
    struct Key
    {
        QString head;
        bool numbered = false;
        QString number; // digits without leading zeros
    };
    auto keyOf = [](const QString &name) {
        // QRegExp keeps its match state: each call gets its own copy of the pattern.
        static const QRegExp pattern(QStringLiteral("([^\\d]*)(\\d+)\\.[\\S]+"),
                                     Qt::CaseSensitive);
        QRegExp match = pattern;
        Key key;
        if (!match.exactMatch(name)) {
            key.head = name;
            return key;
        }
        key.head = match.cap(1);
        key.numbered = true;
        key.number = match.cap(2);
        int zeros = 0;
        while (zeros < key.number.size() - 1 && key.number.at(zeros) == QLatin1Char('0'))
            ++zeros;
        key.number.remove(0, zeros);
        return key;
    };
    const Key ka = keyOf(a);
    const Key kb = keyOf(b);
    if (const int byHead = QString::compare(ka.head, kb.head))
        return byHead < 0;
    if (ka.numbered != kb.numbered)
        return kb.numbered;
    if (ka.numbered) {
        // Compared as digits, so that no length overflows.
        if (ka.number.size() != kb.number.size())
            return ka.number.size() < kb.number.size();
        if (const int byNumber = QString::compare(ka.number, kb.number))
            return byNumber < 0;
    }
    return a < b;
}

static QFileDialog::Options openDialogOptions()
{
    Interface *host = Interface::instance();
    const bool native =
        host && host->option(QStringLiteral("use_native_open"), QVariant()).toBool();
    return native ? QFileDialog::Options() : QFileDialog::DontUseNativeDialog;
}

QString getOpenFileName(QWidget *parent, const QString &caption, const QString &directory,
                        const QString &filter)
{
    return QFileDialog::getOpenFileName(parent, caption, directory, filter, nullptr,
                                        openDialogOptions());
}

QStringList getOpenFileNames(QWidget *parent, const QString &caption, const QString &directory,
                             const QString &filter)
{
    QStringList names = QFileDialog::getOpenFileNames(parent, caption, directory, filter,
                                                      nullptr, openDialogOptions());
    Interface *host = Interface::instance();
    if (host && host->option(QStringLiteral("sort_file_names"), QVariant()).toBool())
        std::sort(names.begin(), names.end(), fileNameLessThan);
    return names;
}

QString getSaveFileName(QWidget *parent, const QString &caption, const QString &directory,
                        const QString &filter)
{
    return QFileDialog::getSaveFileName(parent, caption, directory, filter, nullptr,
                                        QFileDialog::Options());
}

QString getExistingDirectory(QWidget *parent, const QString &caption, const QString &directory)
{
    return QFileDialog::getExistingDirectory(parent, caption, directory,
                                             QFileDialog::ShowDirsOnly);
}

} // namespace Zorn
