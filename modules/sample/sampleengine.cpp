#include "sampleengine.h"

#include <zornx/core/object.h>

namespace Sample {

bool IniFile::fromFile(Zorn::Archive &archive, const QString &fileName, unsigned int flags,
                       Zorn::JobStats *job)
{
    QIODevice *device = archive.openFile(fileName, QIODevice::ReadOnly);
    if (!device) {
        if (job)
            job->error(QStringLiteral("Can't open '%1'.").arg(fileName));
        return false;
    }
    const QString text = QString::fromUtf8(device->readAll());
    archive.closeFile(device);

    lines = text.split(QLatin1Char('\n'));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    for (QString &line : lines)
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
    fileLoaded(archive, fileName, flags & Copy);
    if (!(flags & Copy)) {
        name = fileName;
        modified = false;
    }
    Zorn::ProjectFile::fromFile(archive, fileName, flags, job);
    return true;
}

bool IniFile::toFile(Zorn::Archive &archive, const QString &fileName, unsigned int flags,
                     Zorn::JobStats *job)
{
    QIODevice *device = archive.openFile(fileName, QIODevice::WriteOnly);
    if (!device) {
        if (job)
            job->error(QStringLiteral("Can't write '%1'.").arg(fileName));
        return false;
    }
    QByteArray bytes;
    for (const QString &line : qAsConst(lines))
        bytes += line.toUtf8() + "\r\n";
    const bool written = device->write(bytes) == bytes.size();
    if (!written)
        archive.discardFile(device);
    if (!written || !archive.closeFile(device)) {
        if (job)
            job->error(QStringLiteral("Can't write '%1'.").arg(fileName));
        return false;
    }
    fileSaved(archive, fileName, flags & Copy);
    if (!(flags & Copy)) {
        name = fileName;
        modified = false;
    }
    Zorn::ProjectFile::toFile(archive, fileName, flags, job);
    return true;
}

void IniFile::reload()
{
    fromFile(archive(), name, 0, nullptr);
}

QString IniFile::value(const QString &key) const
{
    for (const QString &line : lines) {
        const int eq = line.indexOf(QLatin1Char('='));
        if (eq > 0 && line.left(eq).trimmed() == key)
            return line.mid(eq + 1).section(QLatin1Char(';'), 0, 0).trimmed();
    }
    return QString();
}

void IniFile::setValue(const QString &key, const QString &value)
{
    modified = true;
    for (QString &line : lines) {
        const int eq = line.indexOf(QLatin1Char('='));
        if (eq > 0 && line.left(eq).trimmed() == key) {
            line = key + QStringLiteral(" = ") + value;
            return;
        }
    }
    lines.append(key + QStringLiteral(" = ") + value);
}

ParentProject::ParentProject(const QString &path, Zorn::Archive &archive, Zorn::Engine *engine)
    : Zorn::ParentProject(path, archive), gameEngine(engine)
{
    addPath(QStringLiteral("chars"), ListDirectories, QStringList());
    addPath(QStringLiteral("data"), ListFiles, QStringList({QStringLiteral("*.ini")}));
}

void ParentProject::collectFiles(const QString &directory, QStringList &files)
{
    Zorn::Archive &store = archive();
    const QString base = basePath();
    QStringList dirs = {directory};
    while (!dirs.isEmpty()) {
        QString dir = dirs.takeFirst();
        if (!dir.isEmpty() && !dir.endsWith(QLatin1Char('/')))
            dir += QLatin1Char('/');
        const QStringList found = store.entries(base + dir, QDir::Files, QDir::Name);
        for (const QString &file : found)
            files.append(dir + file);
        const QStringList sub = store.entries(base + dir, QDir::Dirs, QDir::Name);
        for (const QString &d : sub)
            dirs.append(dir + d);
    }
}

static const char *const listKeys[] = {nullptr, "sprites", "sounds", "animations", "scripts"};

Project *Project::load(Zorn::ParentProject *parent, const QString &mainFile,
                      Project *(*make)(Zorn::ParentProject *, Zorn::ProjectFile *))
{
    Zorn::Archive &store = parent ? parent->archive() : Zorn::FileSystemArchive::instance();
    auto *main = new IniFile;
    if (!main->fromFile(store, mainFile, 0, nullptr)) {
        main->release();
        return nullptr;
    }
    Project *project = make(parent, main);
    const QString directory = store.absoluteFilePath(mainFile);
    QList<ExternalFile> files;
    project->externalFiles(files);
    // The files come from the engine's factory, as in a real module.
    Zorn::Engine *engine = parent ? parent->engine() : nullptr;
    for (const ExternalFile &entry : qAsConst(files)) {
        Zorn::ProjectFile *file = engine ? engine->createFile(entry.id, project) : nullptr;
        if (!file)
            file = new IniFile;
        if (file->fromFile(store, directory + QLatin1Char('/') + entry.name, 0, nullptr))
            project->addFile(file, entry.id);
        else
            file->release();
    }
    project->addToParent();
    return project;
}

QString Project::name() const
{
    const auto *main = static_cast<const IniFile *>(mainFile());
    return main->value(QStringLiteral("name"));
}

void Project::externalFiles(QList<ExternalFile> &list) const
{
    const auto *main = static_cast<const IniFile *>(mainFile());
    for (int type = 1; type < 5; ++type) {
        const QStringList names = main->value(QString::fromLatin1(listKeys[type]))
                                      .split(QLatin1Char(','), Qt::SkipEmptyParts);
        for (const QString &name : names) {
            ExternalFile file;
            file.id = type;
            file.name = name.trimmed();
            list.append(file);
        }
    }
}

QString Engine::queryString(StringType type, unsigned int index) const
{
    static const char *const typeNames[] = {"Main", "Sprites", "Sounds", "Animations",
                                            "Scripts"};
    switch (type) {
    case LineComment:
        return index == 0 ? QStringLiteral(";") : QString();
    case GameMarkerFile:
        return index == 0 ? QStringLiteral("game.ini") : QString();
    case FileTypeName:
        return index < 5 ? QString::fromLatin1(typeNames[index]) : QString();
    }
    return QString();
}

QMap<int, QString> Engine::singleFileFilters() const
{
    return {{0, QStringLiteral("*.ini")}, {4, QStringLiteral("*.ini *.txt")}};
}

Zorn::ProjectFile *Engine::createFile(int type, Zorn::Project *)
{
    return type >= 0 && type < 5 ? new IniFile : nullptr;
}

} // namespace Sample
