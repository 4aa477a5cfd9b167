#ifndef ZORNX_EDITOR_PROPERTYEDIT_H
#define ZORNX_EDITOR_PROPERTYEDIT_H

#include <zornx/global.h>

#include <QtCore/QFlags>
#include <QtCore/QMap>
#include <QtCore/QMetaType>
#include <QtCore/QObject>
#include <QtCore/QVariant>
#include <QtWidgets/QWidget>

namespace Zorn {

class PropertyEditPrivate;

// The source of a property form. Indexes run from 0 to count() - 1.
class ZORNX_EXPORT PropertyProvider
{
public:
    virtual ~PropertyProvider();
    virtual unsigned int count() const = 0;
    // A key of the value edit registry: "int", "float3", "file", ...
    virtual QString type(unsigned int index) const = 0;
    // The label.
    virtual QString name(unsigned int index) const = 0;
    // The section title; a change of title from one index to the next opens a new section.
    virtual QString section(unsigned int index) const = 0;
    virtual QVariant value(unsigned int index) const = 0;
    // The form hands every change of a widget here.
    virtual void setValue(unsigned int index, const QVariant &value) = 0;
    // The description of the widget ("minimum", "items", "filter", ...; see PropertyEdit).
    virtual QMap<QString, QVariant> options(unsigned int index) const = 0;
    // The section's object name, and the host option that keeps whether it is open.
    virtual QString sectionKey(unsigned int sectionIndex) const = 0;
};

// The names of the components of a vector value, e.g. "X", "Y", "Z".
class ZORNX_EXPORT PropertyValueEditTranslator
{
public:
    virtual ~PropertyValueEditTranslator();
    virtual QString name(unsigned int component) const = 0;
};

// Makes and drives the widget of one value type. Registered once per type name with
// PropertyEdit::registerValueEdit(); stateless, since one edit serves every widget of its type.
class ZORNX_EXPORT PropertyValueEdit : public QObject
{
    Q_OBJECT
public:
    enum Capability {
        Foldable = 1, // the widget has a short (folded) and a long form
    };
    Q_DECLARE_FLAGS(Capabilities, Capability)

    explicit PropertyValueEdit(QObject *parent = nullptr);
    ~PropertyValueEdit() override;

    virtual Capabilities capabilities() const;
    virtual void setEnabled(QWidget *widget, bool enabled) const = 0;
    virtual void setFolded(QWidget *widget, bool folded) const;
    // With the widget's signals blocked: no valueChanged() follows.
    virtual void setValue(QWidget *widget, const QVariant &value) const = 0;
    virtual QWidget *createWidget(QWidget *parent, const QMap<QString, QVariant> &options) const = 0;
    virtual void retranslate(QWidget *widget, PropertyValueEditTranslator &translator) const;

Q_SIGNALS:
    // The user changed the value in widget.
    void valueChanged(QWidget *widget, const QVariant &value);
};

// A form of foldable sections with one widget per property of a PropertyProvider. The widgets
// come from a process-wide registry of value edits by type name; the first PropertyEdit fills
// it with the built-in types: bool, int, float, int2..int4, float2..float4, file, text,
// string, option and stroption. A change in a widget goes to PropertyProvider::setValue().
//
// Option keys of the built-in types (an absent key gives the default):
//   int          "minimum", "maximum"
//   float        "minimum", "maximum", "step"
//   int2..float4 the same, overridden per component by "minimim%1", "maximim%1", "step%1"
//                (%1 the component's index); "translator": a PropertyValueEditTranslator *
//   file         "filter" ("*.*"), "basePath", "baseArchive" (an Archive *)
//   string       "validator" (a case-sensitive QRegExp pattern), "mask" (an input mask)
//   option       "items" (a QStringList); the value is the index
//   stroption    "validator", "items"; the value is the text
class ZORNX_EXPORT PropertyEdit : public QWidget
{
    Q_OBJECT
public:
    explicit PropertyEdit(QWidget *parent = nullptr);
    ~PropertyEdit() override;

    // Stores edit under type (replacing and deleting an edit there before); the registry owns
    // it until the application ends.
    static void registerValueEdit(const QString &type, PropertyValueEdit *edit);
    // The edit registered under type, or null.
    static PropertyValueEdit *valueEdit(const QString &type);

    // Builds the form, or only refreshes the values when provider is the one in place.
    // The provider is not owned.
    void setProvider(PropertyProvider *provider);
    PropertyProvider *provider() const;
    void setPropertyEnabled(unsigned int index, bool enabled);
    // Shows the provider's present value of index.
    void propertyChanged(unsigned int index);
    // Renews labels, section titles and component names from the provider.
    void updateNameStrings();

private:
    PropertyEditPrivate *d;
};

} // namespace Zorn

Q_DECLARE_OPERATORS_FOR_FLAGS(Zorn::PropertyValueEdit::Capabilities)
Q_DECLARE_METATYPE(Zorn::PropertyProvider *)
Q_DECLARE_METATYPE(Zorn::PropertyValueEditTranslator *)

#endif
