#ifndef ZORNX_PROJECT_PARENTPROJECT_H
#define ZORNX_PROJECT_PARENTPROJECT_H

#include <zornx/global.h>

#include <QtCore/QAbstractItemModel>

namespace Zorn {

class Archive;
class Engine;
class Project;
class ProjectFile;
class ParentProjectPrivate;

// The top level of what the user has open: one directory of an Archive with the projects
// open inside it. An engine module derives the concrete class.
class ZORNX_EXPORT ParentProject : public QAbstractItemModel
{
    Q_OBJECT
public:
    // Takes one reference to archive.
    explicit ParentProject(Archive &archive, QObject *parent = nullptr);
    ~ParentProject() override;

    virtual Engine *engine() const = 0;

    Archive &archive() const;

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    void fileOpened(Zorn::ProjectFile *file);
    void fileSaved(Zorn::ProjectFile *file);
    void fileAdded(Zorn::ProjectFile *file);
    void fileClosed(Zorn::ProjectFile *file);

private:
    ParentProjectPrivate *d;
};

} // namespace Zorn

#endif
