#include "multivaluewidget.h"
#include "propertyedit.h"

#include <QtCore/QVector>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>

namespace Zorn {

class MultiValueWidgetPrivate
{
public:
    struct Entry
    {
        QWidget *holder;
        QLabel *label;
    };

    void arrange();

    QGridLayout *grid = nullptr;
    QVector<Entry> entries;
    bool folded = true;
};

void MultiValueWidgetPrivate::arrange()
{
    grid->setSpacing(folded ? 2 : 4);
    for (const Entry &entry : qAsConst(entries))
        grid->removeWidget(entry.holder);
    for (int i = 0; i < entries.size(); ++i) {
        if (folded)
            grid->addWidget(entries.at(i).holder, 0, i);
        else
            grid->addWidget(entries.at(i).holder, i, 0);
    }
}

MultiValueWidget::MultiValueWidget(unsigned int count, QWidget *parent)
    : QWidget(parent), d(new MultiValueWidgetPrivate)
{
    static const char *const colours[] = {"F00", "008000", "00F", "C86400"};
    d->grid = new QGridLayout(this);
    d->grid->setContentsMargins(0, 0, 0, 0);
    for (unsigned int i = 0; i < qMin(count, 4u); ++i) {
        auto *holder = new QWidget(this);
        holder->setObjectName(QStringLiteral("BL"));
        holder->setAttribute(Qt::WA_StyledBackground);
        holder->setStyleSheet(QStringLiteral("QWidget#BL { border: none; border-radius: 3px; "
                                             "background: #%1; } QWidget#BL QLabel { color: "
                                             "#FFF; }")
                                  .arg(QLatin1String(colours[i])));
        auto *layout = new QHBoxLayout(holder);
        layout->setContentsMargins(2, 0, 0, 0);
        layout->setSpacing(2);
        auto *label = new QLabel(holder);
        layout->addWidget(label);
        d->entries.append({holder, label});
    }
    d->arrange();
}

MultiValueWidget::~MultiValueWidget()
{
    delete d;
}

unsigned int MultiValueWidget::count() const
{
    return unsigned(d->entries.size());
}

QLabel *MultiValueWidget::itemLabel(unsigned int index) const
{
    return index < count() ? d->entries.at(int(index)).label : nullptr;
}

QWidget *MultiValueWidget::itemParent(unsigned int index) const
{
    return index < count() ? d->entries.at(int(index)).holder : nullptr;
}

QWidget *MultiValueWidget::itemWidget(unsigned int index) const
{
    if (index >= count())
        return nullptr;
    QLayoutItem *item = d->entries.at(int(index)).holder->layout()->itemAt(1);
    return item ? item->widget() : nullptr;
}

void MultiValueWidget::setItemWidget(unsigned int index, QWidget *widget)
{
    if (index >= count() || !widget)
        return;
    setMinimumHeight(widget->sizeHint().height());
    d->entries.at(int(index)).holder->layout()->addWidget(widget);
}

bool MultiValueWidget::isFolded() const
{
    return d->folded;
}

void MultiValueWidget::setFolded(bool folded)
{
    if (folded == d->folded)
        return;
    d->folded = folded;
    auto *translator = property("translator").value<PropertyValueEditTranslator *>();
    auto *edit = property("edit").value<PropertyValueEdit *>();
    if (translator && edit)
        edit->retranslate(this, *translator);
    d->arrange();
}

} // namespace Zorn
