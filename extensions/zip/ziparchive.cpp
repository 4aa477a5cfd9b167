#include "ziparchive.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegExp>
#include <QtCore/QTemporaryDir>

#include <zip.h>

#include <algorithm>

namespace ZornZip {

namespace {

// A QByteArray cannot hold more; a larger entry is refused rather than half read.
constexpr qint64 maxEntrySize = qint64(1) << 30;

// The clean form of a name inside the archive: '/' only, no "." or ".." parts, no leading or
// trailing '/'. false for a name that climbs above the root.
bool cleanName(const QString &name, QString &clean)
{
    QString path = name;
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    path = QDir::cleanPath(path);
    while (path.startsWith(QLatin1Char('/')))
        path.remove(0, 1);
    if (path == QLatin1String("."))
        path.clear();
    if (path == QLatin1String("..") || path.startsWith(QLatin1String("../")))
        return false;
    clean = path;
    return true;
}

} // namespace

ZipArchive::ZipArchive(const QString &file, bool readOnly) : file(file), readOnly(readOnly) {}

ZipArchive *ZipArchive::open(const QString &file, int mode)
{
    if (mode != Write && mode != Read)
        return nullptr;
    const QFileInfo info(file);
    // libzip takes an empty file for an empty archive; for reading it is no archive at all.
    if (mode == Read && (!info.isFile() || info.size() == 0))
        return nullptr;
    auto *archive = new ZipArchive(info.absoluteFilePath(), mode == Read);
    const int flags = ZIP_CHECKCONS | (mode == Read ? ZIP_RDONLY : ZIP_CREATE);
    if (!archive->openZip(flags)) {
        archive->release();
        return nullptr;
    }
    return archive;
}

ZipArchive::~ZipArchive()
{
    // Devices never given back are dropped, as a discard would.
    for (auto it = devices.cbegin(); it != devices.cend(); ++it) {
        delete it.key();
        if (!it->temporary.isEmpty())
            QFile::remove(it->temporary);
    }
    if (archive && (readOnly || !commit()))
        zip_discard(archive);
    dropPending();
}

void ZipArchive::free()
{
    delete this;
}

bool ZipArchive::openZip(int flags)
{
    int error = 0;
    archive = zip_open(QFile::encodeName(file).constData(), flags, &error);
    if (!archive)
        return false;
    buildIndex();
    return true;
}

void ZipArchive::buildIndex()
{
    files.clear();
    directories.clear();
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        const char *raw = zip_get_name(archive, zip_uint64_t(i), 0);
        if (!raw)
            continue;
        const QString name = QString::fromUtf8(raw);
        QString clean;
        // Entries that would land outside the root are not offered at all.
        if (!cleanName(name, clean) || clean.isEmpty())
            continue;
        if (name.endsWith(QLatin1Char('/')) || name.endsWith(QLatin1Char('\\')))
            directories.insert(clean);
        else if (!files.contains(clean))
            files.insert(clean, quint64(i));
    }
}

bool ZipArchive::commit()
{
    // libzip writes a temporary file beside the target and renames it over.
    QDir().mkpath(QFileInfo(file).absolutePath());
    if (zip_close(archive) != 0)
        return false;
    archive = nullptr;
    dropPending();
    files.clear();
    directories.clear();
    return true;
}

void ZipArchive::dropPending()
{
    for (const QString &temporary : qAsConst(pending))
        QFile::remove(temporary);
    pending.clear();
}

QString ZipArchive::newTemporaryName()
{
    if (!temporaryDir) {
        temporaryDir.reset(
            new QTemporaryDir(QDir::tempPath() + QStringLiteral("/zornx-zip-XXXXXX")));
        if (!temporaryDir->isValid()) {
            temporaryDir.reset();
            return QString();
        }
    }
    return temporaryDir->filePath(QString::number(++temporaryCount));
}

bool ZipArchive::readEntry(quint64 index, QByteArray &bytes) const
{
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat_index(archive, index, 0, &stat) != 0)
        return false;
    const bool sized = stat.valid & ZIP_STAT_SIZE;
    if (sized && stat.size > zip_uint64_t(maxEntrySize))
        return false;
    zip_file_t *entry = zip_fopen_index(archive, index, 0);
    if (!entry)
        return false;

    // The size in the directory may lie: reserve no more than a modest amount up front.
    bytes.clear();
    if (sized)
        bytes.reserve(int(std::min<zip_uint64_t>(stat.size, 1 << 24)));
    char buffer[0x10000];
    bool ok = true;
    // Reading on to the end is what makes libzip check the CRC and the size.
    for (;;) {
        const zip_int64_t read = zip_fread(entry, buffer, sizeof buffer);
        if (read < 0 || bytes.size() + read > maxEntrySize) {
            ok = false;
            break;
        }
        if (read == 0)
            break;
        bytes.append(buffer, int(read));
    }
    if (zip_fclose(entry) != 0)
        ok = false;
    if (ok && sized && zip_uint64_t(bytes.size()) != stat.size)
        ok = false;
    if (!ok)
        bytes.clear();
    return ok;
}

bool ZipArchive::entryContents(const QString &name, QByteArray &bytes) const
{
    const auto waiting = pending.constFind(name);
    if (waiting != pending.constEnd()) {
        QFile temporary(waiting.value());
        if (!temporary.open(QIODevice::ReadOnly))
            return false;
        bytes = temporary.readAll();
        return temporary.error() == QFile::NoError;
    }
    const auto entry = files.constFind(name);
    return entry != files.constEnd() && readEntry(entry.value(), bytes);
}

QString ZipArchive::name() const
{
    return file;
}

QString ZipArchive::path() const
{
    return QFileInfo(file).absolutePath();
}

QString ZipArchive::absoluteFilePath(const QString &name) const
{
    QString clean;
    if (name.isEmpty() || !cleanName(name, clean))
        return QString();
    const int slash = clean.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QString() : clean.left(slash);
}

QString ZipArchive::absoluteFileName(const QString &name) const
{
    QString clean;
    if (name.isEmpty() || !cleanName(name, clean))
        return QString();
    return clean;
}

QStringList ZipArchive::entries(const QString &path, QStringList nameFilters,
                                QDir::Filters filters, QDir::SortFlags sort) const
{
    QString prefix;
    if (!archive || !cleanName(path, prefix))
        return QStringList();
    if (!prefix.isEmpty())
        prefix += QLatin1Char('/');
    if (filters == QDir::NoFilter)
        filters = QDir::AllEntries;
    if (sort == QDir::NoSort)
        sort = QDir::SortFlags(QDir::Name | QDir::IgnoreCase);

    struct Item
    {
        QString name;
        bool directory;
        quint64 index; // of a file
    };
    QList<Item> items;
    QSet<QString> seenFiles, seenDirectories;
    // A child of prefix, as a file or as the first directory of a deeper name.
    auto collect = [&](const QString &name, bool directory, quint64 index) {
        if (!name.startsWith(prefix))
            return;
        const QString rest = name.mid(prefix.size());
        const int slash = rest.indexOf(QLatin1Char('/'));
        if (slash >= 0) {
            directory = true;
            index = 0;
        }
        const QString child = slash < 0 ? rest : rest.left(slash);
        QSet<QString> &seen = directory ? seenDirectories : seenFiles;
        if (child.isEmpty() || seen.contains(child))
            return;
        seen.insert(child);
        items.append(Item{child, directory, index});
    };
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        collect(it.key(), false, it.value());
    for (const QString &directory : directories)
        collect(directory, true, 0);

    const Qt::CaseSensitivity nameCase =
        filters & QDir::CaseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive;
    QList<QRegExp> patterns;
    for (const QString &filter : qAsConst(nameFilters))
        patterns.append(QRegExp(filter, nameCase, QRegExp::Wildcard));
    auto matchesName = [&](const QString &name) {
        if (patterns.isEmpty())
            return true;
        for (const QRegExp &pattern : qAsConst(patterns))
            if (pattern.exactMatch(name))
                return true;
        return false;
    };
    auto wanted = [&](const Item &item) {
        if (item.name.startsWith(QLatin1Char('.')) && !(filters & QDir::Hidden))
            return false;
        if ((filters & QDir::Writable) && readOnly)
            return false;
        if (item.directory) {
            if (filters & QDir::AllDirs)
                return true;
            return (filters & QDir::Dirs) && matchesName(item.name);
        }
        return (filters & QDir::Files) && matchesName(item.name);
    };
    items.erase(std::remove_if(items.begin(), items.end(),
                               [&](const Item &item) { return !wanted(item); }),
                items.end());

    const int sortBy = sort & (QDir::SortByMask | QDir::Type);
    if (sortBy != QDir::Unsorted) {
        auto statOf = [&](const Item &item) {
            zip_stat_t stat;
            zip_stat_init(&stat);
            if (!item.directory)
                zip_stat_index(archive, item.index, 0, &stat);
            return stat;
        };
        const Qt::CaseSensitivity sortCase =
            sort & QDir::IgnoreCase ? Qt::CaseInsensitive : Qt::CaseSensitive;
        auto compare = [&](const Item &a, const Item &b) {
            if ((sort & (QDir::DirsFirst | QDir::DirsLast)) && a.directory != b.directory)
                return (sort & QDir::DirsFirst) ? a.directory : b.directory;
            int r = 0;
            if (sortBy == QDir::Time) {
                const time_t ta = statOf(a).mtime, tb = statOf(b).mtime;
                r = ta > tb ? -1 : ta < tb ? 1 : 0; // newest first, as QDir does
            } else if (sortBy == QDir::Size) {
                const zip_uint64_t sa = statOf(a).size, sb = statOf(b).size;
                r = sa > sb ? -1 : sa < sb ? 1 : 0; // largest first, as QDir does
            } else if (sortBy & QDir::Type) {
                r = QFileInfo(a.name).suffix().compare(QFileInfo(b.name).suffix(), sortCase);
            }
            if (r == 0)
                r = (sort & QDir::LocaleAware) ? a.name.localeAwareCompare(b.name)
                                               : a.name.compare(b.name, sortCase);
            return (sort & QDir::Reversed) ? r > 0 : r < 0;
        };
        std::stable_sort(items.begin(), items.end(), compare);
    }

    QStringList result;
    result.reserve(items.size());
    for (const Item &item : qAsConst(items))
        result.append(item.name);
    return result;
}

QIODevice *ZipArchive::openFile(const QString &name, QIODevice::OpenMode mode)
{
    QString clean;
    if (!archive || !cleanName(name, clean) || clean.isEmpty())
        return nullptr;

    if (!(mode & QIODevice::WriteOnly)) {
        QByteArray bytes;
        if (!entryContents(clean, bytes))
            return nullptr;
        auto *buffer = new QBuffer;
        buffer->setData(bytes);
        buffer->open(mode);
        devices.insert(buffer, OpenDevice{clean, QString()});
        return buffer;
    }

    if (readOnly)
        return nullptr;
    // What is written waits in a temporary file until closeFile() hands it to the archive.
    const QString temporary = newTemporaryName();
    if (temporary.isEmpty())
        return nullptr;
    const bool keep = ((mode & QIODevice::ReadOnly) || (mode & QIODevice::Append))
        && !(mode & QIODevice::Truncate) && files.contains(clean);
    if (keep) {
        QByteArray bytes;
        QFile seed(temporary);
        if (!entryContents(clean, bytes) || !seed.open(QIODevice::WriteOnly)
            || seed.write(bytes) != bytes.size()) {
            seed.close();
            QFile::remove(temporary);
            return nullptr;
        }
    }
    auto *device = new QFile(temporary);
    if (!device->open(mode)) {
        delete device;
        QFile::remove(temporary);
        return nullptr;
    }
    devices.insert(device, OpenDevice{clean, temporary});
    return device;
}

bool ZipArchive::closeFile(QIODevice *device)
{
    const auto it = devices.find(device);
    if (it == devices.end())
        return false;
    const OpenDevice open = it.value();
    devices.erase(it);
    if (open.temporary.isEmpty()) {
        delete device;
        return true;
    }

    auto *written = static_cast<QFile *>(device);
    const bool ok = written->flush() && written->error() == QFile::NoError;
    written->close();
    delete written;
    zip_source_t *source = ok && archive
        ? zip_source_file(archive, QFile::encodeName(open.temporary).constData(), 0, 0)
        : nullptr;
    if (!source) {
        QFile::remove(open.temporary);
        return false;
    }

    zip_int64_t index;
    const auto existing = files.constFind(open.name);
    if (existing != files.constEnd())
        index = zip_file_replace(archive, existing.value(), source, 0) == 0
            ? zip_int64_t(existing.value())
            : -1;
    else
        index = zip_file_add(archive, open.name.toUtf8().constData(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        zip_source_free(source);
        QFile::remove(open.temporary);
        return false;
    }
    files.insert(open.name, quint64(index));
    const QString previous = pending.value(open.name);
    pending.insert(open.name, open.temporary);
    if (!previous.isEmpty())
        QFile::remove(previous); // its source went with the replacement
    return true;
}

void ZipArchive::discardFile(QIODevice *device)
{
    const auto it = devices.find(device);
    if (it == devices.end())
        return;
    const QString temporary = it->temporary;
    devices.erase(it);
    delete device;
    if (!temporary.isEmpty())
        QFile::remove(temporary);
}

bool ZipArchive::removeFile(const QString &name)
{
    QString clean;
    if (!archive || readOnly || !cleanName(name, clean))
        return false;
    const auto it = files.find(clean);
    if (it == files.end() || zip_delete(archive, it.value()) != 0)
        return false;
    files.erase(it);
    const QString temporary = pending.take(clean);
    if (!temporary.isEmpty())
        QFile::remove(temporary);
    return true;
}

bool ZipArchive::renameFile(const QString &oldName, const QString &newName)
{
    QString from, to;
    if (!archive || readOnly || !cleanName(oldName, from) || !cleanName(newName, to)
        || to.isEmpty() || files.contains(to) || directories.contains(to))
        return false;
    const auto it = files.constFind(from);
    if (it == files.constEnd())
        return false;
    const quint64 index = it.value();
    if (zip_file_rename(archive, index, to.toUtf8().constData(), ZIP_FL_ENC_UTF_8) != 0)
        return false;
    files.remove(from);
    files.insert(to, index);
    if (pending.contains(from))
        pending.insert(to, pending.take(from));
    return true;
}

bool ZipArchive::flush()
{
    if (readOnly)
        return true;
    if (!archive)
        return false;
    // After a failed write everything stays pending for the next try.
    if (!commit())
        return false;
    openZip(ZIP_CREATE);
    return true;
}

bool ZipArchive::isReadOnly() const
{
    return readOnly;
}

bool ZipArchive::isWritable(const QString &) const
{
    return archive && !readOnly;
}

bool ZipArchive::fileExists(const QString &name) const
{
    QString clean;
    return cleanName(name, clean) && files.contains(clean);
}

bool ZipArchive::directoryExists(const QString &name) const
{
    QString clean;
    if (!archive || !cleanName(name, clean))
        return false;
    if (clean.isEmpty() || directories.contains(clean))
        return true;
    const QString prefix = clean + QLatin1Char('/');
    const auto below = files.lowerBound(prefix);
    if (below != files.cend() && below.key().startsWith(prefix))
        return true;
    for (const QString &directory : directories)
        if (directory.startsWith(prefix))
            return true;
    return false;
}

} // namespace ZornZip
