#include "textfile.h"

#include <zornx/core/object.h>

bool TextFile::fromFile(Zorn::Archive &archive, const QString &fileName, unsigned int flags,
                        Zorn::JobStats *job)
{
    QIODevice *device = archive.openFile(fileName, QIODevice::ReadOnly);
    if (!device) {
        if (job)
            job->error(QStringLiteral("Can't read '%1'.").arg(fileName));
        return false;
    }
    text = QString::fromUtf8(device->readAll());
    archive.closeFile(device);
    fileLoaded(archive, fileName, flags & Copy);
    if (!(flags & Copy)) {
        name = fileName;
        modified = false;
    }
    Zorn::ProjectFile::fromFile(archive, fileName, flags, job);
    return true;
}

bool TextFile::toFile(Zorn::Archive &archive, const QString &fileName, unsigned int flags,
                      Zorn::JobStats *job)
{
    // The archive writes beside the old file and replaces it only on closeFile(): a crash
    // here leaves the old file as it was.
    QIODevice *device = archive.openFile(fileName, QIODevice::WriteOnly);
    if (!device) {
        if (job)
            job->error(QStringLiteral("Can't write '%1'.").arg(fileName));
        return false;
    }
    const QByteArray bytes = text.toUtf8();
    if (device->write(bytes) != bytes.size()) {
        archive.discardFile(device);
        if (job)
            job->error(QStringLiteral("Can't write '%1'.").arg(fileName));
        return false;
    }
    archive.closeFile(device);
    fileSaved(archive, fileName, flags & Copy);
    if (!(flags & Copy)) {
        name = fileName;
        modified = false;
    }
    Zorn::ProjectFile::toFile(archive, fileName, flags, job);
    return true;
}
