#ifndef ZORNX_PROJECT_PROJECT_H
#define ZORNX_PROJECT_PROJECT_H

#include <zornx/core/object.h>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPair>
#include <QtCore/QVariant>

namespace Zorn {

class Archive;
class ParentProject;
class ProjectFile;
class ProjectPrivate;

// One editable unit of a game (a character, a stage) inside a ParentProject. It holds one
// reference per file and groups the files by type. An engine module derives the concrete
// class.
class ZORNX_EXPORT Project : public QObject, public Object
{
    Q_OBJECT
public:
    enum FileType { Main = 0, Sprites = 1, Sounds = 2, Animations = 3, Scripts = 4 };
    Q_ENUM(FileType)

    // A file of the project, relative to the directory of its main file.
    struct ExternalFile
    {
        int id = 0;
        QString name;
    };

    // mainFile must not be null; add: the main file enters the project as type 0.
    Project(ParentProject *parent, int type, ProjectFile *mainFile, bool add);
    ~Project() override;

    // The project's own value, else the host's.
    virtual QVariant option(const QString &name, QVariant fallback) const;
    virtual bool isEmpty() const;
    virtual bool isModified() const;
    virtual QString name() const = 0;
    virtual QString version() const = 0;
    virtual QPair<int, int> gameResolution() const = 0;
    virtual QPair<double, double> localScale() const = 0;
    virtual void externalFiles(QList<ExternalFile> &list) const = 0;

    void release() override;

    QVariant option(const QString &name) const;
    // A null value removes the key; host: the host stores it too.
    void setOption(const QString &name, const QVariant &value, bool host = false);

    ParentProject *parent() const;
    Archive *archive() const;
    int type() const;
    ProjectFile *mainFile() const;
    QString fileName() const;

    QList<ProjectFile *> files() const;
    int fileCount() const;
    // The selected file of the type: null without files, the first when the selection is
    // out of range.
    ProjectFile *file(int type) const;
    QList<ProjectFile *> filesByType(int type) const;
    // The set of types that file serves, bit n for type n; 0 for an unknown file.
    quint32 fileID(const ProjectFile *file) const;
    // Takes over the caller's reference; false when the file already serves type.
    bool addFile(ProjectFile *file, int type);

Q_SIGNALS:
    void nameChanged();
    void fileAdded(const Zorn::ProjectFile *file, Zorn::Project::FileType type);
    void fileRemoved(const Zorn::ProjectFile *file, Zorn::Project::FileType type);

private:
    int projectType;
    ProjectPrivate *d;
    Archive *projectArchive;
};

} // namespace Zorn

#endif
