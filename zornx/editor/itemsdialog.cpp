#include "itemsdialog_p.h"

#include <zornx/core/interface.h>

#include <QtCore/QItemSelectionModel>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QListView>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace Zorn {

ItemsDialog::ItemsDialog(QWidget *parent) : QDialog(parent) {}

ItemsDialog::~ItemsDialog() = default;

void ItemsDialog::release()
{
    delete this;
}

ItemsDlg::ItemsDlg(QWidget *parent, const QIcon &icon, const QString &title,
                   QAbstractItemModel *model, int row)
    : ItemsDialog(parent)
{
    setWindowTitle(title);
    setWindowIcon(icon);
    resize(195, 456);

    list = new QListView(this);
    list->setObjectName(QStringLiteral("list"));
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list->setModel(model);
    clearBut = new QPushButton(tr("Clear"), this);
    clearBut->setObjectName(QStringLiteral("clearBut"));
    invBut = new QPushButton(tr("Invert selection"), this);
    invBut->setObjectName(QStringLiteral("invBut"));
    allBut = new QPushButton(tr("Select all"), this);
    allBut->setObjectName(QStringLiteral("allBut"));
    buttonBox = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttonBox->setObjectName(QStringLiteral("buttonBox"));

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(list);
    layout->addWidget(clearBut);
    layout->addWidget(invBut);
    layout->addWidget(allBut);
    layout->addWidget(buttonBox);

    connect(clearBut, &QPushButton::clicked, list, &QListView::clearSelection);
    connect(invBut, &QPushButton::clicked, this, &ItemsDlg::invertSelection);
    connect(allBut, &QPushButton::clicked, list, &QListView::selectAll);
    connect(buttonBox, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);

    if (model && row >= 0 && row < model->rowCount()) {
        const QModelIndex index = model->index(row, 0);
        list->selectionModel()->select(index, QItemSelectionModel::Select);
        list->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
        list->scrollTo(index, QAbstractItemView::PositionAtTop);
    }
    adjustSize();
}

QModelIndexList ItemsDlg::selected() const
{
    return list->selectionModel()->selectedRows(0);
}

void ItemsDlg::invertSelection()
{
    const QAbstractItemModel *model = list->model();
    if (!model || model->rowCount() == 0)
        return;
    const QItemSelection all(model->index(0, 0), model->index(model->rowCount() - 1, 0));
    list->selectionModel()->select(all, QItemSelectionModel::Toggle | QItemSelectionModel::Rows);
}

ItemsDialog *Interface::itemsDialog(QWidget *parent, const QString &name, const QString &title,
                                    QAbstractItemModel *model, int row)
{
    return new ItemsDlg(parent, icon(name), title, model, row);
}

} // namespace Zorn
