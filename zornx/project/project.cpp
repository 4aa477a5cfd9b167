#include "project.h"

#include "parentproject.h"
#include "projectfile.h"
#include "projectfile_p.h"
#include "paths_p.h"
#include "project_p.h"

#include <zornx/core/archive.h>
#include <zornx/core/engine.h>
#include <zornx/core/interface.h>
#include <zornx/core/messages.h>

#include <QtCore/QFileInfo>

namespace Zorn {

namespace {
WrappedFileFunction wrappedFileFunction = nullptr;
} // namespace

void setWrappedFileFunction(WrappedFileFunction function)
{
    wrappedFileFunction = function;
}

// The record is the project's message list.
class ProjectPrivate : public MessageList
{
public:
    ProjectPrivate(Project *project, ParentProject *parent, ProjectFile *mainFile)
        : MessageList(project), parent(parent), mainFile(mainFile)
    {
        mainFile->addRef();
    }
    ~ProjectPrivate() override { mainFile->release(); }

    ParentProject *parent;
    ProjectFile *mainFile;
    QMap<QString, QVariant> options;
    QMap<ProjectFile *, Project::FileTypes> files;
    QMap<int, unsigned int> selected;
    QMap<int, QList<ProjectFile *>> byType;
};

Project::Project(ParentProject *parent, int type, ProjectFile *mainFile, bool add)
    : projectType(type), d(new ProjectPrivate(this, parent, mainFile)), projectArchive(nullptr)
{
    qRegisterMetaType<Zorn::Project::FileType>();
    if (parent) {
        projectArchive = &parent->archive();
        projectArchive->addRef();
    }

    // The main file brings the code switches; they become the project's and the host's.
    Interface *host = Interface::instance();
    for (const char *key : {"parseCode", "highlightCode", "modelCode"}) {
        const QString name = QString::fromLatin1(key);
        const QVariant value = mainFile->option(name);
        if (host)
            host->setOption(name, value);
        setOption(name, value, false);
    }
    for (const char *key : {"highlightCode", "parseCode", "modelCode"})
        mainFile->setOption(QString::fromLatin1(key), QVariant(), false, false);

    if (add)
        addFile(mainFile, Main);
}

Project::~Project()
{
    for (auto it = d->files.cbegin(); it != d->files.cend(); ++it)
        if (it.key()->d->project == this)
            it.key()->d->project = nullptr;
    if (d->mainFile->d->project == this)
        d->mainFile->d->project = nullptr;
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
    // The parent tells of each file's closing, then the project leaves its tree.
    if (ParentProject *parent = d->parent) {
        d->parent = nullptr; // the parent may be gone once its last project has left
        parent->releaseProject(this);
    }
    const QMap<ProjectFile *, FileTypes> files = d->files;
    d->files.clear();
    d->byType.clear();
    d->selected.clear();
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        ProjectFile *file = it.key();
        if (Messages *messages = file->fileMessages())
            d->unregisterMessages(messages);
        if (file->d->project == this && file != d->mainFile)
            file->d->project = nullptr;
        if (ProjectFile *wrapped = wrappedFileFunction ? wrappedFileFunction(file) : nullptr)
            if (wrapped->d->project == this && wrapped != d->mainFile)
                wrapped->d->project = nullptr;
        file->release();
    }
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

QString Project::typeName() const
{
    Engine *engine = d->parent ? d->parent->engine() : nullptr;
    return engine ? engine->queryString(Engine::FileTypeName, unsigned(projectType)) : QString();
}

MessageList *Project::messages() const
{
    return d;
}

ProjectFile *Project::mainFile() const
{
    return d->mainFile;
}

QString Project::fileName() const
{
    return d->mainFile->fileName();
}

QString Project::absolutePath() const
{
    Archive &store = projectArchive ? *projectArchive : FileSystemArchive::instance();
    return store.absoluteFilePath(fileName());
}

QString Project::basePath() const
{
    const QString path = absolutePath();
    const QString base = d->parent ? d->parent->basePath() : QString();
    if (base.isEmpty() || path + QLatin1Char('/') == base)
        return QString();
    // Outside the parent's directory nothing is cut, so no name is mangled.
    return isBelow(path, base) ? path.mid(base.size()) : path;
}

QList<ProjectFile *> Project::files() const
{
    return d->files.keys();
}

int Project::fileCount() const
{
    return d->files.size();
}

QMap<ProjectFile *, Project::FileTypes> Project::filesWithIDs() const
{
    return d->files;
}

QList<ProjectFile *> Project::filesByType(int type) const
{
    return d->byType.value(type);
}

Project::FileTypes Project::fileID(const ProjectFile *file) const
{
    return d->files.value(const_cast<ProjectFile *>(file));
}

ProjectFile *Project::file(int type) const
{
    const QList<ProjectFile *> list = d->byType.value(type);
    if (list.isEmpty())
        return nullptr;
    const unsigned int index = d->selected.value(type);
    return index < unsigned(list.size()) ? list.at(int(index)) : list.first();
}

unsigned int Project::selectedFile(int type) const
{
    return d->selected.value(type);
}

void Project::setSelectedFile(int type, unsigned int index)
{
    d->selected[type] = index;
}

bool Project::addFile(ProjectFile *file, int type)
{
    const FileTypes bit = 1u << (type & 31);
    auto it = d->files.find(file);
    if (it != d->files.end()) {
        if (*it & bit)
            return false;
        *it |= bit;
    } else {
        d->files.insert(file, bit);
    }
    if (wrappedFileFunction)
        if (ProjectFile *wrapped = wrappedFileFunction(file))
            wrapped->d->project = this;
    if (Messages *messages = file->fileMessages()) {
        d->registerMessages(messages);
        d->update();
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

void Project::removeFile(int type, unsigned int index)
{
    auto listIt = d->byType.find(type);
    if (listIt == d->byType.end() || index >= unsigned(listIt->size()))
        return;
    ProjectFile *file = listIt->takeAt(int(index));
    const FileTypes bit = 1u << (type & 31);
    auto it = d->files.find(file);
    if (it != d->files.end() && (*it & ~bit)) {
        *it &= ~bit;
        emit fileRemoved(file, FileType(type));
        return;
    }
    d->files.remove(file);
    if (Messages *messages = file->fileMessages())
        d->unregisterMessages(messages);
    emit fileRemoved(file, FileType(type));
    if (d->parent)
        emit d->parent->fileClosed(file);
    if (file->d->project == this && file != d->mainFile)
        file->d->project = nullptr;
    unbindWrapped(file);
    file->release();
}

void Project::removeFile(ProjectFile *file)
{
    if (!d->files.contains(file))
        return; // not ours: its reference is somebody else's
    if (d->parent)
        emit d->parent->fileClosed(file);
    takeFile(file);
    file->release();
}

ProjectFile *Project::takeFile(ProjectFile *file)
{
    const FileTypes types = d->files.take(file);
    if (types == 0)
        return file;
    for (auto it = d->byType.begin(); it != d->byType.end(); ++it)
        it->removeAll(file);
    if (Messages *messages = file->fileMessages())
        d->unregisterMessages(messages);
    for (int t = 0; t < 32; ++t)
        if (types & (1u << t))
            emit fileRemoved(file, FileType(t));
    if (file->d->project == this && file != d->mainFile)
        file->d->project = nullptr;
    unbindWrapped(file);
    return file;
}

void Project::unbindWrapped(ProjectFile *file)
{
    // The file that a removed file wraps leaves too, unless the project holds it itself.
    ProjectFile *wrapped = wrappedFileFunction ? wrappedFileFunction(file) : nullptr;
    if (wrapped && wrapped->d->project == this && wrapped != d->mainFile
        && !d->files.contains(wrapped))
        wrapped->d->project = nullptr;
}

void Project::moveFile(int type, unsigned int from, unsigned int to)
{
    auto it = d->byType.find(type);
    if (it == d->byType.end() || from >= unsigned(it->size()) || to >= unsigned(it->size()))
        return;
    it->move(int(from), int(to));
}

void Project::addToParent()
{
    if (d->parent)
        d->parent->addRef(this);
}

void Project::fileHierarchyChanged()
{
    if (d->parent && d->mainFile)
        d->parent->updateProject(this);
}

void Project::reload()
{
    const QList<ProjectFile *> files = d->files.keys();
    for (ProjectFile *file : files) {
        Archive &store = file->archive();
        const QString name = file->fileName();
        if (store.fileExists(name))
            file->fromFile(store, name, 0, nullptr);
    }
}

bool Project::saveAll(Archive &to, const QString &path, bool copy, QStringList *names)
{
    if (&to != &FileSystemArchive::instance() && to.isReadOnly())
        return false;

    QList<ExternalFile> pending;
    externalFiles(pending);
    QString target = path;
    if (!target.isEmpty() && !target.endsWith(QLatin1Char('/')))
        target += QLatin1Char('/');
    const QString home = absolutePath();
    if (copy) {
        ExternalFile own;
        own.id = 0;
        own.name = isBelow(fileName(), home) ? fileName().mid(home.size()) : fileName();
        while (own.name.startsWith(QLatin1Char('/')))
            own.name.remove(0, 1);
        pending.append(own);
    }
    if (names)
        for (const ExternalFile &file : qAsConst(pending))
            names->append(file.name);

    Archive &from = projectArchive ? *projectArchive : FileSystemArchive::instance();
    const QString destination = joinPath(target, basePath());
    const QMap<ProjectFile *, FileTypes> files = d->files;
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        ProjectFile *file = it.key();
        if (copy) {
            if (!file->isModified() && file->archive().fileExists(file->fileName()))
                continue; // the pending list brings it along
        } else {
            file->d->bind(to);
            if (it.value() & 1)
                continue; // the main file: the caller saves it
        }
        const QString name = file->fileName();
        if (&file->archive() != &from && !(!copy && &file->archive() == &to))
            continue;
        if (!isBelow(name, home))
            continue;
        // The pending entry of this file: a whole trailing path, never part of a name.
        int found = -1;
        for (int i = 0; i < pending.size(); ++i) {
            const QString &entry = pending.at(i).name;
            if (!entry.isEmpty()
                && (name == entry || name.endsWith(QLatin1Char('/') + entry))) {
                found = i;
                break;
            }
        }
        QString relative = name.mid(home.size());
        if (relative.isEmpty()) {
            if (found < 0)
                continue;
            relative = pending.at(found).name;
        }
        if (file->canSave())
            file->toFile(to, joinPath(destination, relative), copy ? ProjectFile::Copy : 0,
                         nullptr);
        if (found >= 0)
            pending.removeAt(found);
    }

    for (const ExternalFile &entry : qAsConst(pending)) {
        const QString source = from.absoluteFileName(joinPath(home, entry.name));
        if (!isBelow(source, home))
            continue;
        const QString destinationName = to.absoluteFileName(joinPath(destination, entry.name));
        if (&from == &to && source == destinationName)
            continue;
        copyFile(from, source, to, destinationName);
    }

    if (!copy && &to != projectArchive) {
        if (projectArchive)
            projectArchive->release();
        projectArchive = &to;
        to.addRef();
    }
    return true;
}

} // namespace Zorn
