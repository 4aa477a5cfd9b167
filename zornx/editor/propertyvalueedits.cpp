#include "propertyvalueedits_p.h"

#include "filebrowseedit.h"
#include "multivaluewidget.h"

#include <zornx/core/archive.h>

#include <QtCore/QSignalBlocker>
#include <QtGui/QRegExpValidator>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QSpinBox>

#include <limits>

namespace Zorn {

namespace {

const int intMinimum = std::numeric_limits<int>::min();
const int intMaximum = std::numeric_limits<int>::max();
const double floatMaximum = double(std::numeric_limits<float>::max());
const double floatStep = 0.1;

// "validator": a case-sensitive pattern; empty means none.
void setValidator(QLineEdit *line, const QMap<QString, QVariant> &options)
{
    const QString pattern = options.value(QStringLiteral("validator")).toString();
    if (!pattern.isEmpty())
        line->setValidator(new QRegExpValidator(QRegExp(pattern, Qt::CaseSensitive), line));
}

} // namespace

void BuiltInValueEdit::setEnabled(QWidget *widget, bool enabled) const
{
    widget->setEnabled(enabled);
}

// ---------------------------------------------------------------------------------------------

void BoolValueEdit::setValue(QWidget *widget, const QVariant &value) const
{
    const QSignalBlocker blocker(widget);
    static_cast<QCheckBox *>(widget)->setChecked(value.toBool());
}

QWidget *BoolValueEdit::createWidget(QWidget *parent, const QMap<QString, QVariant> &) const
{
    auto *box = new QCheckBox(parent);
    forward(box, &QCheckBox::toggled);
    return box;
}

// ---------------------------------------------------------------------------------------------

void IntValueEdit::setValue(QWidget *widget, const QVariant &value) const
{
    const QSignalBlocker blocker(widget);
    static_cast<QSpinBox *>(widget)->setValue(value.toInt());
}

QWidget *IntValueEdit::createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const
{
    auto *box = new QSpinBox(parent);
    box->setRange(options.value(QStringLiteral("minimum"), intMinimum).toInt(),
                  options.value(QStringLiteral("maximum"), intMaximum).toInt());
    forward(box, QOverload<int>::of(&QSpinBox::valueChanged));
    return box;
}

// ---------------------------------------------------------------------------------------------

void FloatValueEdit::setValue(QWidget *widget, const QVariant &value) const
{
    const QSignalBlocker blocker(widget);
    static_cast<QDoubleSpinBox *>(widget)->setValue(value.toDouble());
}

QWidget *FloatValueEdit::createWidget(QWidget *parent,
                                      const QMap<QString, QVariant> &options) const
{
    auto *box = new QDoubleSpinBox(parent);
    box->setRange(options.value(QStringLiteral("minimum"), -floatMaximum).toDouble(),
                  options.value(QStringLiteral("maximum"), floatMaximum).toDouble());
    box->setSingleStep(options.value(QStringLiteral("step"), floatStep).toDouble());
    forward(box, QOverload<double>::of(&QDoubleSpinBox::valueChanged));
    return box;
}

// ---------------------------------------------------------------------------------------------

VectorValueEdit::VectorValueEdit(int kind, int count) : kinds(count, kind) {}

PropertyValueEdit::Capabilities VectorValueEdit::capabilities() const
{
    return Foldable;
}

void VectorValueEdit::setFolded(QWidget *widget, bool folded) const
{
    static_cast<MultiValueWidget *>(widget)->setFolded(folded);
}

void VectorValueEdit::setValue(QWidget *widget, const QVariant &value) const
{
    const auto *multi = static_cast<MultiValueWidget *>(widget);
    const QVariantList list = value.toList();
    for (int i = 0; i < kinds.size(); ++i) {
        QWidget *box = multi->itemWidget(unsigned(i));
        const QSignalBlocker blocker(box);
        const QVariant component = list.value(i);
        if (kinds.at(i) == 0)
            static_cast<QSpinBox *>(box)->setValue(component.toInt());
        else
            static_cast<QDoubleSpinBox *>(box)->setValue(component.toDouble());
    }
}

QWidget *VectorValueEdit::createWidget(QWidget *parent,
                                       const QMap<QString, QVariant> &options) const
{
    auto *multi = new MultiValueWidget(unsigned(kinds.size()), parent);
    auto *translator =
        options.value(QStringLiteral("translator")).value<PropertyValueEditTranslator *>();
    if (translator)
        multi->setProperty("translator", QVariant::fromValue(translator));
    multi->setProperty("edit", QVariant::fromValue(const_cast<VectorValueEdit *>(this)));

    // The shared key gives the default, the component's own key wins.
    auto limit = [&options](const char *shared, const char *own, int i, const QVariant &fallback) {
        const QVariant value = options.value(QLatin1String(shared), fallback);
        return options.value(QString::fromLatin1(own).arg(i), value);
    };
    for (int i = 0; i < kinds.size(); ++i) {
        QWidget *holder = multi->itemParent(unsigned(i));
        QAbstractSpinBox *box;
        if (kinds.at(i) == 0) {
            auto *spin = new QSpinBox(holder);
            spin->setRange(limit("minimum", "minimim%1", i, intMinimum).toInt(),
                           limit("maximum", "maximim%1", i, intMaximum).toInt());
            connect(spin, QOverload<int>::of(&QSpinBox::valueChanged), this,
                    &VectorValueEdit::changed);
            box = spin;
        } else {
            auto *spin = new QDoubleSpinBox(holder);
            spin->setRange(limit("minimum", "minimim%1", i, -floatMaximum).toDouble(),
                           limit("maximum", "maximim%1", i, floatMaximum).toDouble());
            spin->setSingleStep(limit("step", "step%1", i, floatStep).toDouble());
            connect(spin, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
                    &VectorValueEdit::changed);
            box = spin;
        }
        box->setObjectName(QString::number(i));
        box->setProperty("edit", QVariant::fromValue<QWidget *>(multi));
        multi->setItemWidget(unsigned(i), box);
    }
    if (translator)
        retranslate(multi, *translator);
    return multi;
}

void VectorValueEdit::retranslate(QWidget *widget, PropertyValueEditTranslator &translator) const
{
    auto *multi = static_cast<MultiValueWidget *>(widget);
    for (unsigned int i = 0; i < multi->count(); ++i) {
        const QString text = translator.name(i);
        multi->itemLabel(i)->setText(multi->isFolded() ? text.left(1) : text);
        if (QWidget *box = multi->itemWidget(i))
            box->setToolTip(text);
    }
}

void VectorValueEdit::changed()
{
    auto *box = qobject_cast<QWidget *>(sender());
    auto *multi = box ? qobject_cast<MultiValueWidget *>(box->property("edit").value<QWidget *>())
                      : nullptr;
    if (!multi)
        return;
    QVariantList list;
    for (unsigned int i = 0; i < multi->count(); ++i) {
        const QWidget *one = multi->itemWidget(i);
        if (kinds.at(int(i)) == 0)
            list << static_cast<const QSpinBox *>(one)->value();
        else
            list << static_cast<const QDoubleSpinBox *>(one)->value();
    }
    emit valueChanged(multi, list);
}

// ---------------------------------------------------------------------------------------------

void FileValueEdit::setValue(QWidget *widget, const QVariant &value) const
{
    const QSignalBlocker blocker(widget);
    static_cast<FileBrowseEdit *>(widget)->setValue(value.toString());
}

QWidget *FileValueEdit::createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const
{
    auto *edit = new FileBrowseEdit(parent);
    edit->setFilter(options.value(QStringLiteral("filter"), QStringLiteral("*.*")).toString());
    edit->setBasePath(options.value(QStringLiteral("baseArchive")).value<Archive *>(),
                      options.value(QStringLiteral("basePath")).toString());
    forward(edit, &FileBrowseEdit::valueChanged);
    return edit;
}

// ---------------------------------------------------------------------------------------------

PropertyValueEdit::Capabilities TextValueEdit::capabilities() const
{
    return Foldable;
}

void TextValueEdit::setFolded(QWidget *widget, bool folded) const
{
    auto *text = static_cast<QPlainTextEdit *>(widget);
    const Qt::ScrollBarPolicy policy = folded ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAsNeeded;
    text->setHorizontalScrollBarPolicy(policy);
    text->setVerticalScrollBarPolicy(policy);
    text->setFixedHeight(folded ? 22 : 222);
}

void TextValueEdit::setValue(QWidget *widget, const QVariant &value) const
{
    const QSignalBlocker blocker(widget);
    static_cast<QPlainTextEdit *>(widget)->setPlainText(value.toString());
}

QWidget *TextValueEdit::createWidget(QWidget *parent, const QMap<QString, QVariant> &) const
{
    auto *text = new QPlainTextEdit(parent);
    text->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    text->setMinimumWidth(125);
    setFolded(text, true);
    connect(text, &QPlainTextEdit::textChanged, this,
            [this, text] { send(text, text->toPlainText()); });
    return text;
}

// ---------------------------------------------------------------------------------------------

void StringValueEdit::setValue(QWidget *widget, const QVariant &value) const
{
    const QSignalBlocker blocker(widget);
    static_cast<QLineEdit *>(widget)->setText(value.toString());
}

QWidget *StringValueEdit::createWidget(QWidget *parent,
                                       const QMap<QString, QVariant> &options) const
{
    auto *line = new QLineEdit(parent);
    line->setMinimumWidth(125);
    setValidator(line, options);
    line->setInputMask(options.value(QStringLiteral("mask")).toString());
    forward(line, &QLineEdit::textChanged);
    return line;
}

// ---------------------------------------------------------------------------------------------

void OptionValueEdit::setValue(QWidget *widget, const QVariant &value) const
{
    const QSignalBlocker blocker(widget);
    static_cast<QComboBox *>(widget)->setCurrentIndex(value.toInt());
}

QWidget *OptionValueEdit::createWidget(QWidget *parent,
                                       const QMap<QString, QVariant> &options) const
{
    auto *combo = new QComboBox(parent);
    combo->setEditable(false);
    combo->addItems(options.value(QStringLiteral("items")).toStringList());
    forward(combo, QOverload<int>::of(&QComboBox::currentIndexChanged));
    return combo;
}

// ---------------------------------------------------------------------------------------------

void StringOptionValueEdit::setValue(QWidget *widget, const QVariant &value) const
{
    const QSignalBlocker blocker(widget);
    static_cast<QComboBox *>(widget)->setEditText(value.toString());
}

QWidget *StringOptionValueEdit::createWidget(QWidget *parent,
                                             const QMap<QString, QVariant> &options) const
{
    auto *combo = new QComboBox(parent);
    combo->setEditable(true);
    combo->addItems(options.value(QStringLiteral("items")).toStringList());
    setValidator(combo->lineEdit(), options);
    forward(combo, &QComboBox::editTextChanged);
    return combo;
}

// ---------------------------------------------------------------------------------------------

void registerBuiltInValueEdits()
{
    PropertyEdit::registerValueEdit(QStringLiteral("bool"), new BoolValueEdit);
    PropertyEdit::registerValueEdit(QStringLiteral("int"), new IntValueEdit);
    PropertyEdit::registerValueEdit(QStringLiteral("float"), new FloatValueEdit);
    for (int count = 2; count <= 4; ++count) {
        PropertyEdit::registerValueEdit(QStringLiteral("int%1").arg(count),
                                        new VectorValueEdit(0, count));
        PropertyEdit::registerValueEdit(QStringLiteral("float%1").arg(count),
                                        new VectorValueEdit(1, count));
    }
    PropertyEdit::registerValueEdit(QStringLiteral("file"), new FileValueEdit);
    PropertyEdit::registerValueEdit(QStringLiteral("text"), new TextValueEdit);
    PropertyEdit::registerValueEdit(QStringLiteral("string"), new StringValueEdit);
    PropertyEdit::registerValueEdit(QStringLiteral("option"), new OptionValueEdit);
    PropertyEdit::registerValueEdit(QStringLiteral("stroption"), new StringOptionValueEdit);
}

} // namespace Zorn
