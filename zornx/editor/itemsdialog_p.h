#ifndef ZORNX_EDITOR_ITEMSDIALOG_P_H
#define ZORNX_EDITOR_ITEMSDIALOG_P_H

#include "itemsdialog.h"

class QAbstractItemModel;
class QDialogButtonBox;
class QListView;
class QPushButton;

namespace Zorn {

// The one concrete ItemsDialog: a list with extended selection, three selection buttons and
// OK/Cancel.
class ItemsDlg : public ItemsDialog
{
    Q_OBJECT
public:
    ItemsDlg(QWidget *parent, const QIcon &icon, const QString &title, QAbstractItemModel *model,
             int row);

    QModelIndexList selected() const override;

private Q_SLOTS:
    void invertSelection();

private:
    QListView *list;
    QPushButton *clearBut;
    QPushButton *invBut;
    QPushButton *allBut;
    QDialogButtonBox *buttonBox;
};

} // namespace Zorn

#endif
