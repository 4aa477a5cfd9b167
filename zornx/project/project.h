#ifndef ZORNX_PROJECT_PROJECT_H
#define ZORNX_PROJECT_PROJECT_H

#include <zornx/core/object.h>

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QPair>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

namespace Zorn {

class Archive;
class MessageList;
class ParentProject;
class ProjectFile;
class ProjectPrivate;

// One editable unit of a game (a character, a stage) inside a ParentProject. It groups its
// files by type and holds one reference per file. An engine module derives the concrete
// class.
class ZORNX_EXPORT Project : public QObject, public Object
{
    Q_OBJECT
public:
    enum FileType { Main = 0, Sprites = 1, Sounds = 2, Animations = 3, Scripts = 4 };
    Q_ENUM(FileType)
    // Bit n: the file serves type n.
    typedef quint32 FileTypes;

    // A file of the project, relative to the directory of its main file.
    struct ExternalFile
    {
        int id = 0;
        QString name;
    };

    // mainFile must not be null; the project keeps a reference of its own to it. With add,
    // the main file enters as type 0, taking over the caller's reference.
    Project(ParentProject *parent, int type, ProjectFile *mainFile, bool add);
    ~Project() override;

    // The project's own value, else the host's; fallback when neither is valid.
    virtual QVariant option(const QString &name, QVariant fallback) const;
    virtual bool isEmpty() const;
    virtual bool isModified() const;
    virtual QString name() const = 0;
    virtual QString version() const = 0;
    virtual QPair<int, int> gameResolution() const = 0;
    virtual QPair<double, double> localScale() const = 0;
    // The project's files as they stand on disk.
    virtual void externalFiles(QList<ExternalFile> &list) const = 0;
    // Writes the whole project below path of to: moving there, or leaving a copy with copy.
    virtual bool saveAll(Archive &to, const QString &path, bool copy, QStringList *names);

    // Flushes the archive, leaves the parent and releases the files; the object stays.
    void release() override;

    QVariant option(const QString &name) const;
    // A null value removes the key; host: the host stores it too.
    void setOption(const QString &name, const QVariant &value, bool host = false);

    ParentProject *parent() const;
    Archive *archive() const;
    int type() const;
    QString typeName() const;
    MessageList *messages() const;
    ProjectFile *mainFile() const;
    QString fileName() const;
    // The main file's directory.
    QString absolutePath() const;
    // absolutePath() below the parent's basePath().
    QString basePath() const;

    QList<ProjectFile *> files() const;
    int fileCount() const;
    QMap<ProjectFile *, FileTypes> filesWithIDs() const;
    QList<ProjectFile *> filesByType(int type) const;
    FileTypes fileID(const ProjectFile *file) const;
    // The selected file of the type: null without files, the first when the selection is
    // out of range.
    ProjectFile *file(int type) const;
    unsigned int selectedFile(int type) const;
    void setSelectedFile(int type, unsigned int index);

    // Takes over the caller's reference; false when the file already serves type.
    bool addFile(ProjectFile *file, int type);
    // Closes and releases the file.
    void removeFile(ProjectFile *file);
    // Takes the file out of one type; it is released when that was its last.
    void removeFile(int type, unsigned int index);
    void moveFile(int type, unsigned int from, unsigned int to);

Q_SIGNALS:
    void nameChanged();
    void fileAdded(const Zorn::ProjectFile *file, Zorn::Project::FileType type);
    void fileRemoved(const Zorn::ProjectFile *file, Zorn::Project::FileType type);

protected:
    // Reads every file again that exists in its archive.
    virtual void reload();
    // Removes the file from the project without releasing it.
    ProjectFile *takeFile(ProjectFile *file);
    // The project enters its parent's tree; call when it is complete.
    void addToParent();
    // The parent updates the tree of this project's files.
    void fileHierarchyChanged();

private:
    friend class ParentProject;
    void unbindWrapped(ProjectFile *file);
    int projectType;
    ProjectPrivate *d;
    Archive *projectArchive;
};

} // namespace Zorn

#endif
