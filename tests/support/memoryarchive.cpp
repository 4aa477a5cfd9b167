#include "memoryarchive.h"

#include <QtCore/QBuffer>

namespace ZornTest {

namespace {
class MemoryDevice : public QBuffer
{
public:
    QString name;
    QByteArray bytes;
};
} // namespace

QString MemoryArchive::absoluteFilePath(const QString &name) const
{
    const int slash = name.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QString() : name.left(slash);
}

QStringList MemoryArchive::entries(const QString &path, QStringList, QDir::Filters filters,
                                   QDir::SortFlags) const
{
    QString prefix = path;
    if (!prefix.isEmpty() && !prefix.endsWith(QLatin1Char('/')))
        prefix += QLatin1Char('/');
    QStringList result;
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        if (!it.key().startsWith(prefix))
            continue;
        const QString rest = it.key().mid(prefix.size());
        const int slash = rest.indexOf(QLatin1Char('/'));
        const QString entry = slash < 0 ? rest : rest.left(slash);
        const bool isDir = slash >= 0;
        if (((isDir && (filters & QDir::Dirs)) || (!isDir && (filters & QDir::Files)))
            && !result.contains(entry))
            result.append(entry);
    }
    return result;
}

QIODevice *MemoryArchive::openFile(const QString &name, QIODevice::OpenMode mode)
{
    const bool writing = mode & QIODevice::WriteOnly;
    if ((writing && readOnly) || (!writing && !files.contains(name)))
        return nullptr;
    auto *device = new MemoryDevice;
    device->name = name;
    if (!writing || (mode & QIODevice::ReadOnly))
        device->bytes = files.value(name);
    device->setBuffer(&device->bytes);
    device->open(mode);
    return device;
}

bool MemoryArchive::closeFile(QIODevice *device)
{
    auto *memory = static_cast<MemoryDevice *>(device);
    if (memory->openMode() & QIODevice::WriteOnly)
        files.insert(memory->name, memory->bytes);
    delete memory;
    return true;
}

void MemoryArchive::discardFile(QIODevice *device)
{
    delete static_cast<MemoryDevice *>(device);
}

bool MemoryArchive::renameFile(const QString &oldName, const QString &newName)
{
    if (!files.contains(oldName) || files.contains(newName))
        return false;
    files.insert(newName, files.take(oldName));
    return true;
}

bool MemoryArchive::directoryExists(const QString &name) const
{
    QString prefix = name;
    if (!prefix.endsWith(QLatin1Char('/')))
        prefix += QLatin1Char('/');
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        if (it.key().startsWith(prefix))
            return true;
    return false;
}

} // namespace ZornTest
