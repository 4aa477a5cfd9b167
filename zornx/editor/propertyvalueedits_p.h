#ifndef ZORNX_EDITOR_PROPERTYVALUEEDITS_P_H
#define ZORNX_EDITOR_PROPERTYVALUEEDITS_P_H

#include "propertyedit.h"

#include <QtCore/QVector>

namespace Zorn {

// The built-in value edits, one per type name. Each enables its widget as a whole.
class BuiltInValueEdit : public PropertyValueEdit
{
    Q_OBJECT
public:
    void setEnabled(QWidget *widget, bool enabled) const override;

protected:
    // Sends value as a change of widget.
    void send(QWidget *widget, const QVariant &value) const
    {
        emit const_cast<BuiltInValueEdit *>(this)->valueChanged(widget, value);
    }

    // Sends each value widget emits through signal as a change of widget.
    template <typename Widget, typename Base, typename Value>
    void forward(Widget *widget, void (Base::*signal)(Value)) const
    {
        connect(widget, signal, this, [this, widget](Value value) { send(widget, value); });
    }
};

class BoolValueEdit : public BuiltInValueEdit
{
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
};

class IntValueEdit : public BuiltInValueEdit
{
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
};

class FloatValueEdit : public BuiltInValueEdit
{
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
};

// Two to four integers (kind 0) or floats (kind 1) on a MultiValueWidget.
class VectorValueEdit : public BuiltInValueEdit
{
    Q_OBJECT
public:
    VectorValueEdit(int kind, int count);
    Capabilities capabilities() const override;
    void setFolded(QWidget *widget, bool folded) const override;
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
    void retranslate(QWidget *widget, PropertyValueEditTranslator &translator) const override;
private Q_SLOTS:
    void changed();

private:
    QVector<int> kinds;
};

class FileValueEdit : public BuiltInValueEdit
{
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
};

class TextValueEdit : public BuiltInValueEdit
{
public:
    Capabilities capabilities() const override;
    void setFolded(QWidget *widget, bool folded) const override;
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
};

class StringValueEdit : public BuiltInValueEdit
{
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
};

class OptionValueEdit : public BuiltInValueEdit
{
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
};

class StringOptionValueEdit : public BuiltInValueEdit
{
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
};

// Registers the fourteen built-in edits.
void registerBuiltInValueEdits();

} // namespace Zorn

#endif
