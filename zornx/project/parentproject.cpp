#include "parentproject.h"

#include "projectfile.h"

#include <zornx/core/archive.h>

namespace Zorn {

class ParentProjectPrivate
{
public:
    Archive *archive = nullptr;
};

ParentProject::ParentProject(Archive &archive, QObject *parent)
    : QAbstractItemModel(parent), d(new ParentProjectPrivate)
{
    qRegisterMetaType<Zorn::ProjectFile *>();
    qRegisterMetaType<const Zorn::ProjectFile *>();
    d->archive = &archive;
    archive.addRef();
}

ParentProject::~ParentProject()
{
    d->archive->release();
    delete d;
}

Archive &ParentProject::archive() const
{
    return *d->archive;
}

QModelIndex ParentProject::index(int, int, const QModelIndex &) const
{
    return QModelIndex();
}

QModelIndex ParentProject::parent(const QModelIndex &) const
{
    return QModelIndex();
}

int ParentProject::rowCount(const QModelIndex &) const
{
    return 0;
}

int ParentProject::columnCount(const QModelIndex &) const
{
    return 1;
}

QVariant ParentProject::data(const QModelIndex &, int) const
{
    return QVariant();
}

} // namespace Zorn
