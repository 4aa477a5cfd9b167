#ifndef ZORNX_PROJECT_TREEMODEL_H
#define ZORNX_PROJECT_TREEMODEL_H

#include <zornx/global.h>

#include <QtCore/QAbstractItemModel>

namespace Zorn {

// The item model base of the library's models.
class ZORNX_EXPORT ItemModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    using QAbstractItemModel::QAbstractItemModel;
};

// A tree: subclasses walk their own nodes.
class ZORNX_EXPORT TreeModel : public ItemModel
{
    Q_OBJECT
public:
    using ItemModel::ItemModel;

    QModelIndex index(int row, int column,
                      const QModelIndex &parent = QModelIndex()) const override = 0;
    QModelIndex parent(const QModelIndex &index) const override = 0;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override = 0;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override = 0;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override = 0;
};

} // namespace Zorn

#endif
