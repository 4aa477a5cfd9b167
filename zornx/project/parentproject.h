#ifndef ZORNX_PROJECT_PARENTPROJECT_H
#define ZORNX_PROJECT_PARENTPROJECT_H

#include <zornx/project/treemodel.h>

#include <QtCore/QStringList>
#include <QtGui/QIcon>

class QProcess;

namespace Zorn {

class Archive;
class Engine;
class JobStats;
class ProgressProvider;
class Project;
class ProjectFile;
class ParentProjectPrivate;

// The top level of what the user has open: one directory of an Archive (a whole game, or the
// folder of one character) with the projects open inside it. It is also the model of the
// project tree: the directories that the engine module names with addPath(), scanned and
// watched, merged with the files of the open projects. An engine module derives the concrete
// class.
class ZORNX_EXPORT ParentProject : public TreeModel
{
    Q_OBJECT
public:
    // Mode of a directory node: bit 1 lists subdirectories as nodes (each the place of a
    // project), bit 2 lists files as nodes.
    typedef unsigned int PathType;
    enum { ListDirectories = 1, ListFiles = 2 };

    // A node of the tree, as itemPath() and filePath() give it; the tree owns it.
    class ZORNX_EXPORT Path
    {
    public:
        virtual ~Path();
        // The parent's path, then the name, then '/' for a directory.
        virtual QString path() const = 0;
        virtual QString name() const = 0;
        virtual bool isDirectory() const = 0;
        virtual bool isProject() const = 0;
        virtual bool isFile() const = 0;
        // A file's type; for other nodes 0 when isProject(), else -1.
        virtual int type() const = 0;
        virtual Archive *archive() const = 0;
    };

    // Holds one reference to archive; path is the directory, the root of the tree.
    ParentProject(const QString &path, Archive &archive);
    ~ParentProject() override;

    virtual Engine *engine() const = 0;
    // All of the process's standard output.
    virtual QString outputString(QProcess *process) const;

    // Number of open projects.
    int refCount() const;
    Archive &archive() const;
    // The root directory with a trailing '/'.
    QString basePath() const;
    // The node of index, null for an invalid one.
    const Path *itemPath(const QModelIndex &index) const;
    // The node of an absolute path below basePath(), null where the tree has none.
    const Path *filePath(const QString &absolutePath) const;
    // The project node nearest to path, upward; else that of the first open project.
    const Path *projectForFile(const Path *path) const;
    QList<Project *> openedProjects() const;
    // True when the root holds the engine's game marker file.
    bool isGame() const;

    // Saves every modified file that can save; a job per project on progress. false when a
    // file failed to save in place, which the job's error() names.
    bool save(ProgressProvider *progress);
    // Writes everything to a new place on the file system: a directory for a game, the main
    // file's new name for a single project.
    bool saveAs(const QString &path, JobStats *job);
    // Copies every project below "backup/", into a .zip when the ZIP extension is loaded.
    // false when the .zip could not be written.
    bool backup(const QString &name, JobStats *job);
    bool restoreBackup(const QString &name, JobStats *job);

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    void fileAdded(Zorn::ProjectFile *file);
    void fileClosed(Zorn::ProjectFile *file);
    void fileOpened(Zorn::ProjectFile *file);
    void fileSaved(Zorn::ProjectFile *file);

protected:
    // Icon of a file type; a null icon leaves the choice to the stock icons.
    virtual QIcon fileIcon(int type) const;
    // Adds the files of a tree directory that saveAs() carries along, relative to the root.
    virtual void collectFiles(const QString &directory, QStringList &files) = 0;
    // The last open project has gone.
    virtual void free() = 0;

    // Adds the nodes of path (relative to the root), directories with mode and filters.
    void addPath(const QString &path, PathType mode, const QStringList &filters);
    void removePath(const QString &path);
    // A project enters the tree.
    void addRef(Project *project);

private:
    friend class Project;
    friend class ParentProjectPrivate;
    // The end of a project: it leaves the tree, and the last one frees the parent.
    void releaseProject(Project *project);
    // Merges a project's files into its node.
    void updateProject(Project *project);

    ParentProjectPrivate *d;
};

} // namespace Zorn

#endif
