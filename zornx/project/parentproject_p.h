#ifndef ZORNX_PROJECT_PARENTPROJECT_P_H
#define ZORNX_PROJECT_PARENTPROJECT_P_H

#include "parentproject.h"

#include <QtCore/QFileSystemWatcher>
#include <QtCore/QMap>
#include <QtCore/QPointer>

namespace Zorn {

class FileEditor;
class Interface;

// What ParentProject::save() does with a file that cannot be saved in place: the editor layer
// installs its "Save as" here, so that this layer needs no editor headers.
typedef void (*SaveFileAsFunction)(ProjectFile *file, FileEditor *editor, Interface *interface);
ZORNX_EXPORT void setSaveFileAsFunction(SaveFileAsFunction function);

typedef ParentProject::Path Path;

// A wanted node: kind 0 directory, 1 dummy (a file a scan found), 2 file of a project.
struct PathInfo
{
    int kind = 0;
    QString name;
    int type = -1;
    ParentProject::PathType mode = 0;
    QStringList filters;
    QList<PathInfo> children;
};

// The node all others derive from: it owns its children.
class BasePath : public Path
{
public:
    enum Kind { Directory = 0, Dummy = 1, File = 2 };

    BasePath(BasePath *parent, const QString &name) : parentNode(parent), nodeName(name) {}
    ~BasePath() override;

    QString path() const override;
    QString name() const override { return nodeName; }
    int type() const override { return isProject() ? 0 : -1; }
    Archive *archive() const override;
    // Both climb to the root, which does the work.
    virtual void merge(Path *node, const QList<PathInfo> &wanted);
    virtual QFileSystemWatcher *watcher() const;
    virtual Kind kind() const = 0;
    // The child of that name, or null.
    BasePath *child(const QString &name) const;
    // The node reached by walking parts down from here, or null.
    BasePath *descendant(const QStringList &parts);

    QList<BasePath *> childNodes;
    BasePath *parentNode;
    QString nodeName;
};

class DirectoryPath : public BasePath
{
public:
    DirectoryPath(BasePath *parent, const QString &name, ParentProject::PathType mode,
                  const QStringList &filters)
        : BasePath(parent, name), mode(mode), filters(filters)
    {
    }
    ~DirectoryPath() override;

    bool isDirectory() const override { return true; }
    bool isProject() const override;
    bool isFile() const override { return false; }
    Kind kind() const override { return Directory; }

    // Watches the directory when it lists anything and lives in the file system.
    void startWatching();
    // Merges what the directory holds now.
    void scan();

    ParentProject::PathType mode;
    QStringList filters;

private:
    QPointer<QFileSystemWatcher> watching; // the watcher may end before the node
    QString watchedPath;
};

class FilePath : public BasePath
{
public:
    FilePath(BasePath *parent, const QString &name, int type) : BasePath(parent, name), fileType(type)
    {
    }
    bool isDirectory() const override { return false; }
    bool isProject() const override { return fileType == 0; }
    bool isFile() const override { return true; }
    int type() const override { return fileType; }
    Kind kind() const override { return File; }
    int fileType;
};

class DummyPath : public BasePath
{
public:
    using BasePath::BasePath;
    QString path() const override { return parentNode ? parentNode->path() : QString(); }
    bool isDirectory() const override { return false; }
    bool isProject() const override;
    bool isFile() const override { return false; }
    Kind kind() const override { return Dummy; }
};

// The root node and the state of a ParentProject.
class ParentProjectPrivate : public QObject, public DirectoryPath
{
    Q_OBJECT
public:
    ParentProjectPrivate(ParentProject *owner, const QString &path, Archive &archive);
    ~ParentProjectPrivate() override;

    Archive *archive() const override { return rootArchive; }
    void merge(Path *node, const QList<PathInfo> &wanted) override;
    QFileSystemWatcher *watcher() const override { return fileWatcher.data(); }

    QModelIndex indexOf(const BasePath *node) const;
    // The node of a path relative to the root (or absolute below it), null when missing.
    BasePath *find(const QString &path) const;
    // The path parts below the root; an absolute path outside it keeps all its parts.
    QStringList relativeParts(const QString &path) const;
    // Walks parts from the root, adding missing directories with mode and filters.
    BasePath *walkOrCreate(const QStringList &parts, ParentProject::PathType mode,
                           const QStringList &filters);
    // Takes a node out of the tree, with the model's row signals, and deletes it. Open
    // projects whose node was inside it are attached again.
    void removeNode(BasePath *node);
    // Gives a project its node (its main file's directory) and merges its files there.
    void attach(Project *project);
    // Whether node is, or lies above, the node of an open project: a merge keeps it.
    bool holdsProject(const BasePath *node) const;
    void mergeChildren(BasePath *node, const QList<PathInfo> &wanted, bool existing);
    BasePath *makeNode(const PathInfo &info, BasePath *parent) const;

    int refCount = 0;
    Archive *rootArchive;
    ParentProject *owner;
    QMap<Project *, BasePath *> projects;
    QPointer<QFileSystemWatcher> fileWatcher;

public Q_SLOTS:
    void directoryChanged(const QString &path);
};

} // namespace Zorn

#endif
