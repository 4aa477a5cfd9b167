// ZIP archives opened through the archive plug-in: every entry listed and read.
#include "fuzzing.h"

#include <zornx/core/archive.h>
#include <zornx/core/extension.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cstdlib>

static QCoreApplication *application;
static Zorn::ExtensionManager *extensions;
static QTemporaryDir *directory;
static Zorn::ArchiveExtension *zip;
static QString zipFile;

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    application = new QCoreApplication(*argc, *argv);
    extensions = new Zorn::ExtensionManager(QStringLiteral(ZORNX_PLUGIN_DIR));
    // Unloads the plug-in before the library's static lists go.
    std::atexit([] { delete extensions; });
    for (Zorn::Extension *extension : Zorn::ExtensionManager::list(Zorn::Extension::ArchiveType))
        if (!qstrcmp(extension->format(), "ZIP"))
            zip = static_cast<Zorn::ArchiveExtension *>(extension);
    directory = new QTemporaryDir;
    zipFile = directory->filePath(QStringLiteral("input.zip"));
    return zip ? 0 : 1;
}

static void readTree(Zorn::Archive &archive, const QString &path, int depth)
{
    if (depth > 8)
        return;
    const QString prefix = path.isEmpty() ? path : path + QLatin1Char('/');
    for (const QString &name : archive.entries(path, QDir::Files, QDir::Name)) {
        if (QIODevice *device = archive.openFile(prefix + name, QIODevice::ReadOnly)) {
            device->readAll();
            archive.closeFile(device);
        }
    }
    for (const QString &name : archive.entries(path, QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
        readTree(archive, prefix + name, depth + 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QFile file(zipFile);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();
    if (Zorn::Archive *archive = zip->createArchive(zipFile, Zorn::ArchiveExtension::Read)) {
        readTree(*archive, QString(), 0);
        archive->release();
    }
    return 0;
}
