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
    // Sends value as the change of the widget that sent the current signal.
    void send(const QVariant &value);
};

class BoolValueEdit : public BuiltInValueEdit
{
    Q_OBJECT
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
private Q_SLOTS:
    void changed(bool value);
};

class IntValueEdit : public BuiltInValueEdit
{
    Q_OBJECT
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
private Q_SLOTS:
    void changed(int value);
};

class FloatValueEdit : public BuiltInValueEdit
{
    Q_OBJECT
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
private Q_SLOTS:
    void changed(double value);
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
    Q_OBJECT
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
private Q_SLOTS:
    void changed(const QString &value);
};

class TextValueEdit : public BuiltInValueEdit
{
    Q_OBJECT
public:
    Capabilities capabilities() const override;
    void setFolded(QWidget *widget, bool folded) const override;
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
private Q_SLOTS:
    void changed();
};

class StringValueEdit : public BuiltInValueEdit
{
    Q_OBJECT
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
private Q_SLOTS:
    void changed(const QString &value);
};

class OptionValueEdit : public BuiltInValueEdit
{
    Q_OBJECT
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
private Q_SLOTS:
    void changed(int value);
};

class StringOptionValueEdit : public BuiltInValueEdit
{
    Q_OBJECT
public:
    void setValue(QWidget *widget, const QVariant &value) const override;
    QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const override;
private Q_SLOTS:
    void changed(const QString &value);
};

// Registers the fourteen built-in edits.
void registerBuiltInValueEdits();

} // namespace Zorn

#endif
