#ifndef ZORNX_EDITOR_ITEMSDIALOG_H
#define ZORNX_EDITOR_ITEMSDIALOG_H

#include <zornx/core/object.h>

#include <QtCore/QModelIndexList>
#include <QtWidgets/QDialog>

namespace Zorn {

// The library's modal chooser of list entries; Interface::itemsDialog() makes one.
// release() deletes it.
class ZORNX_EXPORT ItemsDialog : public QDialog, public Object
{
    Q_OBJECT
public:
    explicit ItemsDialog(QWidget *parent = nullptr);
    ~ItemsDialog() override;

    void release() override;
    // The chosen rows (column 0), in the selection model's order.
    virtual QModelIndexList selected() const = 0;
};

} // namespace Zorn

#endif
