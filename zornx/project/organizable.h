#ifndef ZORNX_PROJECT_ORGANIZABLE_H
#define ZORNX_PROJECT_ORGANIZABLE_H

#include <zornx/global.h>

#include <QtCore/QAbstractListModel>

namespace Zorn {

// A list whose rows the user rearranges by drag and drop: items are dragged, and drops land
// between them. A drop moves the rows through move().
class ZORNX_EXPORT OrganizableListModel : public QAbstractListModel
{
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;

    Qt::ItemFlags flags(const QModelIndex &index) const override;
    Qt::DropActions supportedDropActions() const override;
    // Moves the dragged rows in front of row, keeping their order; always false, so that the
    // view removes nothing itself.
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;

    // True while a drop is rearranging rows.
    bool isMoveFromDrag() const { return moveFromDrag; }

    // Moves one item; the item at to and those after it shift.
    virtual void move(unsigned int from, unsigned int to) = 0;

private:
    bool moveFromDrag = false;
};

// An ordered list of a project's items, with undoable changes.
class ZORNX_EXPORT OrganizableObject : public OrganizableListModel
{
    Q_OBJECT
public:
    using OrganizableListModel::OrganizableListModel;

    void move(unsigned int from, unsigned int to) override = 0;
    virtual void beginChange() = 0;
    virtual void endChange() = 0;
    virtual void remove(unsigned int index) = 0;
    // Below 0 when item a goes before item b.
    virtual int compare(unsigned int a, unsigned int b) const = 0;

Q_SIGNALS:
    void modified();
    void changed(bool count);
};

} // namespace Zorn

#endif
