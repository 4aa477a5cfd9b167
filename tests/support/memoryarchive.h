#ifndef ZORNX_TESTS_MEMORYARCHIVE_H
#define ZORNX_TESTS_MEMORYARCHIVE_H

#include <zornx/core/archive.h>

#include <QtCore/QMap>

namespace ZornTest {

// An archive held in memory: names map to bytes. A written device commits on closeFile()
// and drops its bytes on discardFile(). freed tells when the last reference went.
class MemoryArchive : public Zorn::Archive
{
public:
    MemoryArchive() = default;
    ~MemoryArchive() override = default;

    QString name() const override { return QStringLiteral("memory"); }
    QString path() const override { return QString(); }
    QString absoluteFilePath(const QString &name) const override;
    QString absoluteFileName(const QString &name) const override { return name; }
    QStringList entries(const QString &path, QStringList nameFilters, QDir::Filters filters,
                        QDir::SortFlags sort) const override;
    using Zorn::Archive::entries;
    QIODevice *openFile(const QString &name, QIODevice::OpenMode mode) override;
    bool closeFile(QIODevice *device) override;
    void discardFile(QIODevice *device) override;
    bool removeFile(const QString &name) override { return files.remove(name) > 0; }
    bool renameFile(const QString &oldName, const QString &newName) override;
    bool flush() override
    {
        ++flushes;
        return true;
    }
    bool isReadOnly() const override { return readOnly; }
    bool isWritable(const QString &) const override { return !readOnly; }
    bool fileExists(const QString &name) const override { return files.contains(name); }
    bool directoryExists(const QString &name) const override;

    QMap<QString, QByteArray> files;
    bool readOnly = false;
    bool freed = false;
    int flushes = 0;

private:
    void free() override { freed = true; }
};

} // namespace ZornTest

#endif
