#include "project.h"

#include "parentproject.h"
#include "projectfile.h"
#include "projectfile_p.h"

#include <zornx/core/archive.h>
#include <zornx/core/interface.h>

#include <QtCore/QMap>

namespace Zorn {

class ProjectPrivate
{
public:
    explicit ProjectPrivate(ParentProject *parent, ProjectFile *mainFile)
        : parent(parent), mainFile(mainFile)
    {
        mainFile->addRef();
    }
    ~ProjectPrivate() { mainFile->release(); }

    ParentProject *parent;
    ProjectFile *mainFile;
    QMap<QString, QVariant> options;
    QMap<ProjectFile *, quint32> files;
    QMap<int, unsigned int> selected;
    QMap<int, QList<ProjectFile *>> byType;
};

Project::Project(ParentProject *parent, int type, ProjectFile *mainFile, bool add)
    : projectType(type), d(new ProjectPrivate(parent, mainFile)), projectArchive(nullptr)
{
    if (parent) {
        projectArchive = &parent->archive();
        projectArchive->addRef();
    }

    // The main file brings the code switches along; they become the project's and the host's.
    Interface *host = Interface::instance();
    static const char *const keys[] = {"parseCode", "highlightCode", "modelCode"};
    for (const char *key : keys) {
        const QString name = QString::fromLatin1(key);
        const QVariant value = mainFile->option(name);
        if (host)
            host->setOption(name, value);
        setOption(name, value, false);
    }
    static const char *const cleared[] = {"highlightCode", "parseCode", "modelCode"};
    for (const char *key : cleared)
        mainFile->setOption(QString::fromLatin1(key), QVariant(), false, false);

    if (add)
        addFile(mainFile, Main);
}

Project::~Project()
{
    delete d;
}

QVariant Project::option(const QString &name) const
{
    const QVariant value = d->options.value(name);
    if (value.isValid())
        return value;
    if (Interface *host = Interface::instance())
        return host->option(name, QVariant());
    return QVariant();
}

QVariant Project::option(const QString &name, QVariant fallback) const
{
    const QVariant value = option(name);
    return value.isValid() ? value : fallback;
}

void Project::setOption(const QString &name, const QVariant &value, bool host)
{
    if (host)
        if (Interface *interface = Interface::instance())
            interface->setOption(name, value);
    if (value.isNull())
        d->options.remove(name);
    else
        d->options.insert(name, value);
}

bool Project::isEmpty() const
{
    for (auto it = d->files.cbegin(); it != d->files.cend(); ++it)
        if (!it.key()->isEmpty())
            return false;
    return true;
}

bool Project::isModified() const
{
    for (auto it = d->files.cbegin(); it != d->files.cend(); ++it)
        if (it.key()->isModified())
            return true;
    return false;
}

void Project::release()
{
    if (projectArchive) {
        if (projectArchive != &FileSystemArchive::instance())
            projectArchive->flush();
        projectArchive->release();
        projectArchive = nullptr;
    }
    const QList<ProjectFile *> all = d->files.keys();
    if (d->parent)
        for (ProjectFile *file : all)
            emit d->parent->fileClosed(file);
    d->files.clear();
    d->byType.clear();
    for (ProjectFile *file : all)
        file->release();
}

ParentProject *Project::parent() const
{
    return d->parent;
}

Archive *Project::archive() const
{
    return projectArchive;
}

int Project::type() const
{
    return projectType;
}

ProjectFile *Project::mainFile() const
{
    return d->mainFile;
}

QString Project::fileName() const
{
    return d->mainFile->fileName();
}

QList<ProjectFile *> Project::files() const
{
    return d->files.keys();
}

int Project::fileCount() const
{
    return d->files.size();
}

ProjectFile *Project::file(int type) const
{
    const QList<ProjectFile *> list = d->byType.value(type);
    if (list.isEmpty())
        return nullptr;
    const unsigned int index = d->selected.value(type);
    return index < unsigned(list.size()) ? list.at(int(index)) : list.first();
}

QList<ProjectFile *> Project::filesByType(int type) const
{
    return d->byType.value(type);
}

quint32 Project::fileID(const ProjectFile *file) const
{
    return d->files.value(const_cast<ProjectFile *>(file));
}

bool Project::addFile(ProjectFile *file, int type)
{
    const quint32 bit = 1u << (type & 31);
    auto it = d->files.find(file);
    if (it != d->files.end()) {
        if (*it & bit)
            return false;
        *it |= bit;
    } else {
        d->files.insert(file, bit);
    }
    file->d->project = this;
    QList<ProjectFile *> &list = d->byType[type];
    d->selected[type] = unsigned(list.size());
    list.append(file);
    emit fileAdded(file, FileType(type));
    if (d->parent)
        emit d->parent->fileAdded(file);
    return true;
}

} // namespace Zorn
