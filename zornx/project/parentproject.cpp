#include "parentproject.h"
#include "parentproject_p.h"
#include "paths_p.h"

#include "project.h"
#include "projectfile.h"

#include <zornx/core/archive.h>
#include <zornx/core/engine.h>
#include <zornx/core/extension.h>
#include <zornx/core/interface.h>

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QSet>

#include <algorithm>
#include <cstring>

namespace Zorn {

namespace {

SaveFileAsFunction saveFileAsFunction = nullptr;

// The archive of type 0 whose format is "ZIP", or null.
ArchiveExtension *zipExtension()
{
    const QList<Extension *> &list = ExtensionManager::list(Extension::ArchiveType);
    for (Extension *extension : list) {
        const char *format = extension->format();
        if (format && std::strcmp(format, "ZIP") == 0)
            return static_cast<ArchiveExtension *>(extension);
    }
    return nullptr;
}

} // namespace

void setSaveFileAsFunction(SaveFileAsFunction function)
{
    saveFileAsFunction = function;
}

// ---------------------------------------------------------------------------------------------
// Nodes

ParentProject::Path::~Path() = default;

BasePath::~BasePath()
{
    qDeleteAll(childNodes);
}

QString BasePath::path() const
{
    QString result = parentNode ? parentNode->path() : QString();
    result += nodeName;
    if (isDirectory())
        result += QLatin1Char('/');
    return result;
}

Archive *BasePath::archive() const
{
    return parentNode ? parentNode->archive() : nullptr;
}

void BasePath::merge(Path *node, const QList<PathInfo> &wanted)
{
    if (parentNode)
        parentNode->merge(node, wanted);
}

QFileSystemWatcher *BasePath::watcher() const
{
    return parentNode ? parentNode->watcher() : nullptr;
}

static bool parentHasMode(const BasePath *node, ParentProject::PathType bit)
{
    const BasePath *parent = node->parentNode;
    return parent && parent->kind() == BasePath::Directory
        && (static_cast<const DirectoryPath *>(parent)->mode & bit);
}

bool DirectoryPath::isProject() const
{
    return parentHasMode(this, ParentProject::ListDirectories);
}

bool DummyPath::isProject() const
{
    return parentHasMode(this, ParentProject::ListFiles);
}

DirectoryPath::~DirectoryPath()
{
    if (watching)
        watching->removePath(watchedPath);
}

void DirectoryPath::startWatching()
{
    if (mode == 0 || archive() != &FileSystemArchive::instance() || !watcher())
        return;
    watching = watcher();
    watchedPath = path();
    watching->addPath(watchedPath);
}

void DirectoryPath::scan()
{
    Archive *store = archive();
    if (!store)
        return;
    QList<PathInfo> wanted;
    if (mode & ParentProject::ListDirectories) {
        const QStringList dirs = store->entries(
            path(), QDir::Dirs | QDir::NoSymLinks | QDir::Readable | QDir::NoDotAndDotDot,
            QDir::Name);
        for (const QString &name : dirs) {
            PathInfo info;
            info.kind = Directory;
            info.name = name;
            wanted.append(info);
        }
    }
    if (mode & ParentProject::ListFiles) {
        const QStringList files = store->entries(
            path(), filters, QDir::Files | QDir::NoSymLinks | QDir::Readable, QDir::Name);
        for (const QString &name : files) {
            PathInfo info;
            info.kind = Dummy;
            info.name = name;
            wanted.append(info);
        }
    }
    merge(this, wanted);
}

// ---------------------------------------------------------------------------------------------
// ParentProjectPrivate

static QString rootName(const QString &path)
{
    QString name = path;
    while (name.size() > 1 && name.endsWith(QLatin1Char('/')))
        name.chop(1);
    return name;
}

ParentProjectPrivate::ParentProjectPrivate(ParentProject *owner, const QString &path,
                                           Archive &archive)
    : DirectoryPath(nullptr, rootName(path), 0, QStringList()), rootArchive(&archive),
      owner(owner), fileWatcher(new QFileSystemWatcher(this))
{
    archive.addRef();
    connect(fileWatcher.data(), &QFileSystemWatcher::directoryChanged, this,
            &ParentProjectPrivate::directoryChanged);
}

ParentProjectPrivate::~ParentProjectPrivate()
{
    rootArchive->release();
    delete fileWatcher.data();
    projects.clear();
}

QModelIndex ParentProjectPrivate::indexOf(const BasePath *node) const
{
    if (!node || node == this || !node->parentNode)
        return QModelIndex();
    const int row = node->parentNode->childNodes.indexOf(const_cast<BasePath *>(node));
    return owner->createIndex(row, 0, static_cast<Path *>(const_cast<BasePath *>(node)));
}

QStringList ParentProjectPrivate::relativeParts(const QString &path) const
{
    // Only a whole leading directory is the root: "/g/chars2" is not below "/g/chars".
    const QString rest = isBelow(path, nodeName) ? path.mid(nodeName.size()) : path;
    return rest.split(QLatin1Char('/'), Qt::SkipEmptyParts);
}

BasePath *BasePath::child(const QString &name) const
{
    for (BasePath *node : childNodes)
        if (node->nodeName == name)
            return node;
    return nullptr;
}

BasePath *BasePath::descendant(const QStringList &parts)
{
    BasePath *node = this;
    for (int i = 0; node && i < parts.size(); ++i)
        node = node->child(parts.at(i));
    return node;
}

BasePath *ParentProjectPrivate::find(const QString &path) const
{
    return const_cast<ParentProjectPrivate *>(this)->descendant(relativeParts(path));
}

BasePath *ParentProjectPrivate::walkOrCreate(const QStringList &parts,
                                             ParentProject::PathType mode,
                                             const QStringList &filters)
{
    BasePath *node = this;
    for (const QString &part : parts) {
        BasePath *next = node->child(part);
        if (!next) {
            auto *directory = new DirectoryPath(node, part, mode, filters);
            const int row = node->childNodes.size();
            owner->beginInsertRows(indexOf(node), row, row);
            node->childNodes.append(directory);
            owner->endInsertRows();
            directory->startWatching();
            if (mode != 0)
                directory->scan();
            next = directory;
        }
        node = next;
    }
    return node;
}

BasePath *ParentProjectPrivate::makeNode(const PathInfo &info, BasePath *parent) const
{
    BasePath *node;
    switch (info.kind) {
    case BasePath::Directory:
        node = new DirectoryPath(parent, info.name, info.mode, info.filters);
        break;
    case BasePath::Dummy:
        node = new DummyPath(parent, info.name);
        break;
    default:
        node = new FilePath(parent, info.name, info.type);
        break;
    }
    for (const PathInfo &child : info.children)
        node->childNodes.append(makeNode(child, node));
    return node;
}

void ParentProjectPrivate::merge(Path *node, const QList<PathInfo> &wanted)
{
    mergeChildren(static_cast<BasePath *>(node), wanted, true);
}

bool ParentProjectPrivate::holdsProject(const BasePath *node) const
{
    for (const BasePath *held : projects)
        for (const BasePath *up = held; up; up = up->parentNode)
            if (up == node)
                return true;
    return false;
}

void ParentProjectPrivate::removeNode(BasePath *node)
{
    // The open projects inside lose their node with it and get a new one below.
    QList<Project *> detached;
    for (auto it = projects.begin(); it != projects.end(); ++it)
        for (const BasePath *up = it.value(); up; up = up->parentNode)
            if (up == node) {
                detached.append(it.key());
                it.value() = nullptr;
                break;
            }
    BasePath *parent = node->parentNode;
    const int row = parent->childNodes.indexOf(node);
    owner->beginRemoveRows(indexOf(parent), row, row);
    parent->childNodes.removeAt(row);
    delete node;
    owner->endRemoveRows();
    for (Project *project : qAsConst(detached))
        attach(project);
}

void ParentProjectPrivate::attach(Project *project)
{
    const QString fileName = project->fileName();
    const QString directory = project->mainFile()->archive().absoluteFilePath(fileName);
    BasePath *node = this;
    if (!fileName.isEmpty() && directory != nodeName)
        node = walkOrCreate(relativeParts(directory), 0, QStringList());
    projects.insert(project, node);
    owner->updateProject(project);
}

void ParentProjectPrivate::mergeChildren(BasePath *node, const QList<PathInfo> &wanted,
                                         bool existing)
{
    int r = 0;
    int w = 0;
    if (existing) {
        while (r < node->childNodes.size()) {
            BasePath *child = node->childNodes.at(r);
            int j = -1;
            for (int k = w; k < wanted.size(); ++k) {
                if (wanted.at(k).kind == child->kind() && wanted.at(k).name == child->nodeName) {
                    j = k;
                    break;
                }
            }
            if (j < 0 && holdsProject(child)) {
                ++r; // an open project stays in the tree whatever the disk says
                continue;
            }
            if (j < 0) {
                owner->beginRemoveRows(indexOf(node), r, r);
                node->childNodes.removeAt(r);
                delete child;
                owner->endRemoveRows();
                continue;
            }
            if (j > w) {
                owner->beginInsertRows(indexOf(node), r, r + j - w - 1);
                for (int k = w; k < j; ++k)
                    node->childNodes.insert(r + k - w, makeNode(wanted.at(k), node));
                owner->endInsertRows();
                r += j - w;
                w = j;
            }
            mergeChildren(child, wanted.at(w).children, true);
            ++r;
            ++w;
        }
    }
    if (w < wanted.size()) {
        if (existing)
            owner->beginInsertRows(indexOf(node), r, r + wanted.size() - w - 1);
        for (int k = w; k < wanted.size(); ++k)
            node->childNodes.append(makeNode(wanted.at(k), node));
        if (existing)
            owner->endInsertRows();
    }
}

void ParentProjectPrivate::directoryChanged(const QString &path)
{
    BasePath *node = find(path);
    if (!node || node->kind() != BasePath::Directory)
        return;
    static_cast<DirectoryPath *>(node)->scan();
    // A scan lists directories without their contents; the open projects below put their
    // files back. (Their nodes survive the scan: a merge keeps them.)
    const QList<Project *> open = projects.keys();
    for (Project *project : open) {
        const BasePath *held = projects.value(project);
        for (const BasePath *up = held ? held->parentNode : nullptr; up; up = up->parentNode)
            if (up == node) {
                owner->updateProject(project);
                break;
            }
    }
}

// ---------------------------------------------------------------------------------------------
// ParentProject

ParentProject::ParentProject(const QString &path, Archive &archive)
    : d(new ParentProjectPrivate(this, path, archive))
{
    qRegisterMetaType<Zorn::ProjectFile *>();
    qRegisterMetaType<const Zorn::ProjectFile *>();
}

ParentProject::~ParentProject()
{
    if (!d->childNodes.isEmpty()) {
        beginRemoveRows(QModelIndex(), 0, d->childNodes.size() - 1);
        ParentProjectPrivate *p = d;
        d = nullptr; // the model is empty from here on
        delete p;
        endRemoveRows();
    } else {
        delete d;
    }
}

QString ParentProject::outputString(QProcess *process) const
{
    return QString(process->readAllStandardOutput());
}

QIcon ParentProject::fileIcon(int) const
{
    return QIcon();
}

int ParentProject::refCount() const
{
    return d->refCount;
}

Archive &ParentProject::archive() const
{
    return *d->rootArchive;
}

QString ParentProject::basePath() const
{
    return d->path();
}

const ParentProject::Path *ParentProject::itemPath(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<Path *>(index.internalPointer()) : nullptr;
}

const ParentProject::Path *ParentProject::filePath(const QString &absolutePath) const
{
    const QString base = basePath();
    if (!absolutePath.startsWith(base) && absolutePath + QLatin1Char('/') != base)
        return nullptr;
    return d->descendant(absolutePath.mid(base.size()).split(QLatin1Char('/'), Qt::SkipEmptyParts));
}

const ParentProject::Path *ParentProject::projectForFile(const Path *path) const
{
    const BasePath *node = static_cast<const BasePath *>(path);
    while (node && !node->isProject())
        node = node->parentNode;
    if (!node) {
        if (d->projects.isEmpty())
            return nullptr;
        node = d->projects.first();
    }
    const BasePath *projectChild = nullptr;
    int projectChildren = 0;
    for (const BasePath *child : node->childNodes)
        if (child->isProject()) {
            projectChild = child;
            ++projectChildren;
        }
    return projectChildren == 1 ? projectChild : node;
}

QList<Project *> ParentProject::openedProjects() const
{
    return d->projects.keys();
}

bool ParentProject::isGame() const
{
    Engine *e = engine();
    if (!e)
        return false;
    const QString marker = e->queryString(Engine::GameMarkerFile, 0);
    return !marker.isEmpty() && d->rootArchive->fileExists(basePath() + marker);
}

void ParentProject::addPath(const QString &path, PathType mode, const QStringList &filters)
{
    d->walkOrCreate(path.split(QLatin1Char('/'), Qt::SkipEmptyParts), mode, filters);
}

void ParentProject::removePath(const QString &path)
{
    BasePath *node = d->find(path);
    if (!node || node == d)
        return;
    d->removeNode(node);
}

void ParentProject::addRef(Project *project)
{
    if (d->projects.contains(project))
        return;
    ++d->refCount;
    d->attach(project);
}

void ParentProject::updateProject(Project *project)
{
    BasePath *node = d->projects.value(project);
    if (!node)
        return;
    QList<Project::ExternalFile> list;
    project->externalFiles(list);
    const QString fileName = project->fileName();
    if (!fileName.isEmpty()) {
        Project::ExternalFile main;
        main.id = 0;
        main.name = QFileInfo(fileName).fileName();
        list.append(main);
    }
    std::sort(list.begin(), list.end(),
              [](const Project::ExternalFile &a, const Project::ExternalFile &b) {
                  return QString::compare(a.name, b.name) < 0;
              });

    // One record per directory and file, nested as the names are.
    QList<PathInfo> records;
    for (const Project::ExternalFile &file : qAsConst(list)) {
        const QStringList parts = file.name.split(QLatin1Char('/'), Qt::SkipEmptyParts);
        QList<PathInfo> *level = &records;
        for (int i = 0; i < parts.size(); ++i) {
            const bool last = i == parts.size() - 1;
            // A name listed twice (the main file among the external files, one file under
            // two types) is one node; the main file's type wins.
            const int kind = last ? BasePath::File : BasePath::Directory;
            PathInfo *found = nullptr;
            for (PathInfo &record : *level)
                if (record.kind == kind && record.name == parts.at(i))
                    found = &record;
            if (found && last && file.id == 0)
                found->type = 0;
            if (!found) {
                PathInfo record;
                record.kind = last ? BasePath::File : BasePath::Directory;
                record.name = parts.at(i);
                record.type = last ? file.id : -1;
                level->append(record);
                found = &level->last();
            }
            level = &found->children;
        }
    }
    d->merge(node, records);
}

void ParentProject::releaseProject(Project *project)
{
    const QList<ProjectFile *> files = project->files();
    for (ProjectFile *file : files)
        emit fileClosed(file);
    auto it = d->projects.find(project);
    if (it == d->projects.end())
        return;
    BasePath *node = it.value();
    d->projects.erase(it);
    // Another open project may share the node (two main files in one directory).
    const bool shared = std::find(d->projects.cbegin(), d->projects.cend(), node)
        != d->projects.cend();
    if (node != d && !shared) {
        d->removeNode(node);
    }
    if (--d->refCount == 0)
        free();
}

bool ParentProject::save(ProgressProvider *progress)
{
    bool ok = true;
    ProviderJob *job = progress ? progress->newJob(QStringLiteral("Saving..."), 0) : nullptr;
    const QList<Project *> projects = d->projects.keys();
    if (job)
        job->setMaximum(unsigned(projects.size()));
    for (Project *project : projects) {
        const QMap<ProjectFile *, quint32> files = project->filesWithIDs();
        for (auto it = files.cbegin(); it != files.cend(); ++it) {
            if (job && job->wasCancelled())
                return ok;
            ProjectFile *file = it.key();
            if (!file->isModified() || !file->canSave())
                continue;
            Archive &store = file->archive();
            const QString name = file->fileName();
            if (store.fileExists(name) && store.isWritable(name)) {
                unsigned int flags = 0;
                ProviderJob *fileJob = nullptr;
                if (file->capabilities() & ProjectFile::SavesInBackground) {
                    flags = ProjectFile::SaveInBackground;
                    if (progress) {
                        fileJob = progress->newJob(
                            QStringLiteral("Saving ") + file->displayName(), 0);
                        fileJob->setBackground(true);
                    }
                }
                // A file saving in the background reports on its own job.
                if (!file->toFile(store, name, flags, fileJob)) {
                    ok = false;
                    if (job && !fileJob)
                        job->error(QStringLiteral("Can't save file '%1'!").arg(name));
                }
            } else if (Interface *host = Interface::instance()) {
                int type = -1;
                for (int bit = 0; bit < 32; ++bit)
                    if (it.value() & (1u << bit)) {
                        type = bit;
                        break;
                    }
                FileEditor *editor = host->editorFor(file, type);
                if (editor && saveFileAsFunction)
                    saveFileAsFunction(file, editor, host);
            }
        }
        if (job)
            job->incrementValue();
    }
    return ok;
}

bool ParentProject::saveAs(const QString &path, JobStats *job)
{
    FileSystemArchive &target = FileSystemArchive::instance();
    const QList<Project *> projects = d->projects.keys();
    if (projects.size() == 1 && !isGame()) {
        Project *project = projects.first();
        const QString directory = target.absoluteFilePath(path);
        project->saveAll(target, directory + QLatin1Char('/'), false, nullptr);
        project->mainFile()->toFile(target, path, 0, nullptr);
        d->nodeName = rootName(directory);
        updateProject(project);
        return true;
    }

    QStringList files;
    std::function<void(const BasePath *)> walk = [&](const BasePath *node) {
        for (const BasePath *child : node->childNodes) {
            if (child->isProject()) {
                if (std::find(d->projects.cbegin(), d->projects.cend(), child)
                    == d->projects.cend()) {
                    // The directory relative to the root.
                    collectFiles(child->path().mid(basePath().size()), files);
                }
            } else {
                walk(child);
            }
        }
    };
    walk(d);
    // The files listed in one directory each name it: the module may answer alike each time.
    files.removeDuplicates();
    if (job)
        job->setMaximum(unsigned(files.size() + projects.size()));
    for (const QString &file : qAsConst(files)) {
        copyFile(*d->rootArchive, basePath() + file, target, joinPath(path, file));
        if (job)
            job->incrementValue();
    }
    for (Project *project : projects) {
        project->saveAll(target, path + QLatin1Char('/'), false, nullptr);
        ProjectFile *main = project->mainFile();
        if (main->canSave())
            main->toFile(target,
                         joinPath(joinPath(path, project->basePath()),
                                  QFileInfo(main->fileName()).fileName()),
                         0, nullptr);
        if (job)
            job->incrementValue();
    }
    d->nodeName = rootName(path);
    return true;
}

static QString backupStem(const ParentProject &parent)
{
    Archive &root = parent.archive();
    QString target = &root == &FileSystemArchive::instance() ? parent.basePath() : root.path();
    if (!target.isEmpty() && !target.endsWith(QLatin1Char('/')))
        target += QLatin1Char('/');
    return target + QStringLiteral("backup/")
        + QDateTime::currentDateTime().toString(QStringLiteral("dd.MM.yyyy_h.m.s_ap_"));
}

bool ParentProject::backup(const QString &name, JobStats *job)
{
    QString target = backupStem(*this) + name;
    Archive *store = nullptr;
    if (ArchiveExtension *zip = zipExtension()) {
        store = zip->createArchive(target + QStringLiteral(".zip"), ArchiveExtension::Write);
        if (store)
            target.clear(); // paths inside the zip start at its root
    }
    if (!store) {
        store = &FileSystemArchive::instance();
        store->addRef();
    }
    const QList<Project *> projects = d->projects.keys();
    if (job)
        job->setMaximum(unsigned(projects.size()));
    for (Project *project : projects) {
        project->saveAll(*store, target, true, nullptr);
        if (job)
            job->incrementValue();
    }
    // A .zip is written only now: a failure there is a failed backup.
    const bool ok = store->flush();
    store->release();
    return ok;
}

bool ParentProject::restoreBackup(const QString &name, JobStats *job)
{
    Archive &root = *d->rootArchive;
    if (&root != &FileSystemArchive::instance() && root.isReadOnly())
        return false;
    QString source = QFileInfo(backupStem(*this)).path() + name;
    Archive *store = nullptr;
    if (QFile::exists(source + QStringLiteral(".zip")))
        if (ArchiveExtension *zip = zipExtension()) {
            store = zip->createArchive(source + QStringLiteral(".zip"), ArchiveExtension::Read);
            if (store)
                source.clear();
        }
    if (!store) {
        store = &FileSystemArchive::instance();
        store->addRef();
    }

    const QList<Project *> projects = d->projects.keys();
    QList<FileWatchObject *> watched;
    for (Project *project : projects) {
        const QList<ProjectFile *> files = project->files();
        for (ProjectFile *file : files)
            if (auto *object = dynamic_cast<FileWatchObject *>(file)) {
                object->pauseWatch(true);
                watched.append(object);
            }
    }

    // Every file below the backup, relative to it.
    QStringList files;
    std::function<void(const QString &)> list = [&](const QString &relative) {
        const QString directory = joinPath(source, relative);
        const QStringList entries = store->entries(
            directory,
            QDir::Dirs | QDir::Files | QDir::NoSymLinks | QDir::Readable | QDir::NoDotAndDotDot,
            QDir::Name);
        for (const QString &entry : entries) {
            const QString inner = joinPath(relative, entry);
            // The file system says a directory "exists" as a file too: ask for it first.
            if (store->directoryExists(joinPath(source, inner)))
                list(inner);
            else
                files.append(inner);
        }
    };
    list(QString());

    if (job)
        job->setMaximum(unsigned(files.size() + projects.size()));
    QSet<QString> restored;
    for (const QString &file : qAsConst(files)) {
        const QString target = joinPath(basePath(), file);
        if (copyFile(*store, joinPath(source, file), root, target))
            restored.insert(root.absoluteFileName(target));
        if (job)
            job->incrementValue();
    }
    for (Project *project : projects) {
        project->reload();
        if (job)
            job->incrementValue();
    }
    // A file that the restore replaced still has its change notification to come, which the
    // pause swallows; the others resume at once.
    for (FileWatchObject *object : qAsConst(watched))
        if (!restored.contains(root.absoluteFileName(object->fileName())))
            object->pauseWatch(false);
    store->release();
    if (Interface *host = Interface::instance())
        host->refreshEditors();
    return true;
}

// ---------------------------------------------------------------------------------------------
// The model

QModelIndex ParentProject::index(int row, int column, const QModelIndex &parent) const
{
    if (!d || column != 0 || row < 0)
        return QModelIndex();
    const BasePath *node = parent.isValid()
        ? static_cast<const BasePath *>(static_cast<Path *>(parent.internalPointer()))
        : d;
    if (row >= node->childNodes.size())
        return QModelIndex();
    return createIndex(row, 0, static_cast<Path *>(node->childNodes.at(row)));
}

QModelIndex ParentProject::parent(const QModelIndex &index) const
{
    if (!d || !index.isValid())
        return QModelIndex();
    const BasePath *node = static_cast<const BasePath *>(static_cast<Path *>(index.internalPointer()));
    return d->indexOf(node->parentNode);
}

int ParentProject::rowCount(const QModelIndex &parent) const
{
    if (!d)
        return 0;
    if (parent.column() > 0)
        return 0;
    const BasePath *node = parent.isValid()
        ? static_cast<const BasePath *>(static_cast<Path *>(parent.internalPointer()))
        : d;
    return node->childNodes.size();
}

int ParentProject::columnCount(const QModelIndex &) const
{
    return 1;
}

bool ParentProject::hasChildren(const QModelIndex &parent) const
{
    return rowCount(parent) > 0;
}

QVariant ParentProject::data(const QModelIndex &index, int role) const
{
    const Path *node = itemPath(index);
    if (!node)
        return QVariant();
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        return node->name();
    case Qt::DecorationRole: {
        Interface *host = Interface::instance();
        if (!host)
            return QIcon();
        if (!node->isFile())
            return host->icon(QStringLiteral("icon_folder"));
        const QIcon own = fileIcon(node->type());
        if (!own.isNull())
            return own;
        switch (node->type()) {
        case 0:
        case 4:
            return host->icon(QStringLiteral("icon_code"));
        case 1:
            return host->icon(QStringLiteral("icon_sprite"));
        case 2:
            return host->icon(QStringLiteral("icon_sound"));
        case 3:
            return host->icon(QStringLiteral("icon_animation"));
        }
        return host->icon(QStringLiteral("icon_file"));
    }
    }
    return QVariant();
}

} // namespace Zorn
