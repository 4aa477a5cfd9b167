#ifndef ZORNX_EXTENSIONS_ZIPARCHIVE_H
#define ZORNX_EXTENSIONS_ZIPARCHIVE_H

#include <zornx/core/archive.h>

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QSet>

#include <memory>

class QTemporaryDir;
struct zip;

namespace ZornZip {

// An Archive over one .zip file. Names inside are relative paths with '/' (a leading '/' or
// "./" is ignored, '\' counts as '/'), and nothing may climb above the root.
//
// Written files wait in temporary files until flush() or the last release(), which write the
// whole archive at once: libzip builds the new file beside the old one and renames it over, so
// the .zip on disk is always either the old or the new one. Read files are decoded whole and
// checked against their CRC before the device is handed out.
class ZipArchive : public Zorn::Archive
{
public:
    enum Mode { Write = 0, Read = 1 };

    // Null when file is missing (Read), or is no readable .zip.
    static ZipArchive *open(const QString &file, int mode);

    QString name() const override;
    // The directory that holds the .zip file.
    QString path() const override;
    QString absoluteFilePath(const QString &name) const override;
    QString absoluteFileName(const QString &name) const override;
    QStringList entries(const QString &path, QStringList nameFilters, QDir::Filters filters,
                        QDir::SortFlags sort) const override;
    using Zorn::Archive::entries;
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
    struct OpenDevice
    {
        QString name;
        QString temporary; // set for a device that writes
    };

    ZipArchive(const QString &file, bool readOnly);
    ~ZipArchive() override;
    void free() override;

    bool openZip(int flags);
    void buildIndex();
    // Writes the archive; false leaves every change pending.
    bool commit();
    void dropPending();
    QString newTemporaryName();
    bool readEntry(quint64 index, QByteArray &bytes) const;
    bool entryContents(const QString &name, QByteArray &bytes) const;

    zip *archive = nullptr;
    QString file;
    bool readOnly;
    QMap<QString, quint64> files; // clean name -> entry index
    QSet<QString> directories;     // clean names of explicit directory entries
    QHash<QString, QString> pending; // written, not yet committed: clean name -> temporary file
    QHash<QIODevice *, OpenDevice> devices;
    std::unique_ptr<QTemporaryDir> temporaryDir;
    int temporaryCount = 0;
};

} // namespace ZornZip

#endif
