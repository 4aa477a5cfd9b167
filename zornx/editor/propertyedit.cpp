#include "propertyedit_p.h"

#include "propertyvalueedits_p.h"
#include "section.h"

#include <zornx/core/interface.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>
#include <QtWidgets/QFrame>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

namespace Zorn {

namespace {

// The process-wide registry; it lives until the application object ends.
struct Registry
{
    QMap<QString, PropertyValueEdit *> edits;
    PropertyEditListener *listener = nullptr;
};

Registry *registry = nullptr;

void freeRegistry()
{
    if (!registry)
        return;
    qDeleteAll(registry->edits);
    delete registry->listener;
    delete registry;
    registry = nullptr;
}

// Fills the registry with the built-in edits on first use, whoever uses it first, so that a
// host's own edit registered before any form is not replaced by a built-in one.
Registry &theRegistry()
{
    if (!registry) {
        registry = new Registry;
        registry->listener = new PropertyEditListener;
        qAddPostRoutine(freeRegistry);
        registerBuiltInValueEdits();
    }
    return *registry;
}

QToolButton *foldButton(QWidget *parent, int index)
{
    auto *button = new QToolButton(parent);
    button->setArrowType(Qt::RightArrow);
    button->setObjectName(QString::number(index));
    button->setStyleSheet(QStringLiteral("background: transparent; border: none;"));
    button->setMaximumSize(12, 12);
    return button;
}

} // namespace

PropertyProvider::~PropertyProvider() = default;

PropertyValueEditTranslator::~PropertyValueEditTranslator() = default;

PropertyValueEdit::PropertyValueEdit(QObject *parent) : QObject(parent) {}

PropertyValueEdit::~PropertyValueEdit() = default;

PropertyValueEdit::Capabilities PropertyValueEdit::capabilities() const
{
    return Capabilities();
}

void PropertyValueEdit::setFolded(QWidget *, bool) const {}

void PropertyValueEdit::retranslate(QWidget *, PropertyValueEditTranslator &) const {}

void PropertyEditListener::valueChanged(QWidget *widget, const QVariant &value)
{
    auto *provider = widget ? widget->property("provider").value<PropertyProvider *>() : nullptr;
    bool isIndex = false;
    const unsigned int index = widget ? widget->objectName().toUInt(&isIndex) : 0;
    if (provider && isIndex)
        provider->setValue(index, value);
}

// ---------------------------------------------------------------------------------------------

PropertyEditPrivate::PropertyEditPrivate(PropertyEdit *edit) : QObject(edit), edit(edit) {}

PropertyValueEdit *PropertyEditPrivate::itemEdit(unsigned int index) const
{
    if (!provider || index >= unsigned(items.size()) || !items.at(int(index)).widget)
        return nullptr;
    return PropertyEdit::valueEdit(provider->type(index));
}

void PropertyEditPrivate::clear()
{
    for (const Item &item : qAsConst(items)) {
        delete item.widget;
        delete item.label;
    }
    items.clear();
    qDeleteAll(sections);
    sections.clear();
    delete edit->layout();
}

void PropertyEditPrivate::build()
{
    auto *layout = new QVBoxLayout(edit);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    if (!provider)
        return;

    Section *section = nullptr;
    QGridLayout *grid = nullptr;
    int row = 0;
    auto finish = [&]() {
        if (!section)
            return;
        auto *line = new QFrame(section);
        line->setFrameShape(QFrame::VLine);
        line->setFrameShadow(QFrame::Sunken);
        grid->addWidget(line, 0, 2, qMax(row, 1), 1);
        grid->addItem(new QSpacerItem(0, 0, QSizePolicy::Expanding, QSizePolicy::Minimum), 0, 4);
        section->setContentLayout(grid);
    };

    QString title;
    const unsigned int count = provider->count();
    for (unsigned int i = 0; i < count; ++i) {
        const QString sectionTitle = provider->section(i);
        if (!section || sectionTitle != title) {
            finish();
            title = sectionTitle;
            section = new Section(title, Section::DEFAULT_DURATION, true, edit);
            section->setObjectName(provider->sectionKey(unsigned(sections.size())));
            sections.append(section);
            grid = new QGridLayout;
            grid->setHorizontalSpacing(8);
            grid->setVerticalSpacing(12);
            row = 0;
            layout->addWidget(section);
        }

        Item item;
        item.section = sections.size() - 1;
        item.label = new QLabel(provider->name(i), section);
        item.label->setToolTip(item.label->text());
        item.label->setFixedWidth(100);
        grid->addWidget(item.label, row, 1);

        const PropertyValueEdit *valueEdit = PropertyEdit::valueEdit(provider->type(i));
        if (valueEdit) {
            item.widget = valueEdit->createWidget(section, provider->options(i));
            item.widget->setObjectName(QString::number(i));
            item.widget->setProperty("provider", QVariant::fromValue(provider));
            valueEdit->setValue(item.widget, provider->value(i));
            grid->addWidget(item.widget, row, 3);
        }
        if (valueEdit && (valueEdit->capabilities() & PropertyValueEdit::Foldable)) {
            QToolButton *button = foldButton(section, int(i));
            connect(button, &QToolButton::clicked, this, &PropertyEditPrivate::foldClicked);
            grid->addWidget(button, row, 0);
        } else if (row == 0) {
            // Keeps the fold column's width in sections whose first row cannot fold.
            QToolButton *button = foldButton(section, int(i));
            button->setEnabled(false);
            grid->addWidget(button, row, 0);
        }
        ++row;
        items.append(item);
    }
    finish();
    layout->addStretch(1);

    // The stored states are applied before the sections report their changes.
    const Interface *host = Interface::instance();
    for (Section *one : qAsConst(sections)) {
        const bool open = sections.size() == 1 || !host
                          || host->option(one->objectName(), true).toBool();
        one->toggle(open);
        connect(one, &Section::toggled, this, &PropertyEditPrivate::sectionToggled);
    }
}

void PropertyEditPrivate::foldClicked()
{
    bool isIndex = false;
    const int index = sender() ? sender()->objectName().toInt(&isIndex) : -1;
    if (!isIndex || index < 0 || index >= items.size())
        return;
    Item &item = items[index];
    item.folded = !item.folded;
    static_cast<QToolButton *>(sender())->setArrowType(item.folded ? Qt::RightArrow
                                                                   : Qt::DownArrow);
    Section *section = sections.value(item.section);
    const QLayout *content = item.widget ? item.widget->parentWidget()->layout() : nullptr;
    const int before = content ? content->sizeHint().height() : 0;
    if (PropertyValueEdit *valueEdit = itemEdit(unsigned(index)))
        valueEdit->setFolded(item.widget, item.folded);
    if (section)
        section->contentResized(before);
}

void PropertyEditPrivate::sectionToggled(bool expanded)
{
    auto *section = qobject_cast<Section *>(sender());
    if (!section)
        return;
    if (sections.size() == 1) {
        if (!expanded)
            section->toggle(true); // the one section cannot be closed
        return;
    }
    if (Interface *host = Interface::instance())
        host->setOption(section->objectName(), expanded);
}

// ---------------------------------------------------------------------------------------------

PropertyEdit::PropertyEdit(QWidget *parent) : QWidget(parent), d(new PropertyEditPrivate(this))
{
    theRegistry();
    d->build();
}

PropertyEdit::~PropertyEdit() = default; // d is a child

void PropertyEdit::registerValueEdit(const QString &type, PropertyValueEdit *edit)
{
    Registry &all = theRegistry();
    PropertyValueEdit *old = all.edits.value(type);
    if (old == edit)
        return;
    delete old;
    if (edit)
        connect(edit, &PropertyValueEdit::valueChanged, all.listener,
                &PropertyEditListener::valueChanged);
    all.edits.insert(type, edit);
}

PropertyValueEdit *PropertyEdit::valueEdit(const QString &type)
{
    return theRegistry().edits.value(type);
}

void PropertyEdit::setProvider(PropertyProvider *provider)
{
    if (provider == d->provider) {
        if (provider)
            for (unsigned int i = 0; i < unsigned(d->items.size()); ++i)
                propertyChanged(i);
        return;
    }
    d->clear();
    d->provider = provider;
    d->build();
}

PropertyProvider *PropertyEdit::provider() const
{
    return d->provider;
}

void PropertyEdit::setPropertyEnabled(unsigned int index, bool enabled)
{
    if (const PropertyValueEdit *valueEdit = d->itemEdit(index))
        valueEdit->setEnabled(d->items.at(int(index)).widget, enabled);
}

void PropertyEdit::propertyChanged(unsigned int index)
{
    if (const PropertyValueEdit *valueEdit = d->itemEdit(index))
        valueEdit->setValue(d->items.at(int(index)).widget, d->provider->value(index));
}

void PropertyEdit::updateNameStrings()
{
    if (!d->provider)
        return;
    int section = -1;
    for (unsigned int i = 0; i < unsigned(d->items.size()); ++i) {
        const PropertyEditPrivate::Item &item = d->items.at(int(i));
        item.label->setText(d->provider->name(i));
        item.label->setToolTip(item.label->text());
        auto *translator =
            item.widget ? item.widget->property("translator").value<PropertyValueEditTranslator *>()
                        : nullptr;
        if (translator)
            if (const PropertyValueEdit *valueEdit = d->itemEdit(i))
                valueEdit->retranslate(item.widget, *translator);
        if (item.section != section) {
            section = item.section;
            d->sections.at(section)->setTitle(d->provider->section(i));
        }
    }
}

} // namespace Zorn
