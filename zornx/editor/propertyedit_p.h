#ifndef ZORNX_EDITOR_PROPERTYEDIT_P_H
#define ZORNX_EDITOR_PROPERTYEDIT_P_H

#include "propertyedit.h"

#include <QtCore/QList>

class QLabel;

namespace Zorn {

class Section;

// Hands every change of a registered edit's widget to the widget's provider: the widget
// carries the provider in its property "provider" and its index as its object name.
class PropertyEditListener : public QObject
{
    Q_OBJECT
public Q_SLOTS:
    void valueChanged(QWidget *widget, const QVariant &value);
};

class PropertyEditPrivate : public QObject
{
    Q_OBJECT
public:
    struct Item
    {
        QLabel *label = nullptr;
        QWidget *widget = nullptr; // null when the type has no edit
        int section = 0;
        bool folded = true;
    };

    explicit PropertyEditPrivate(PropertyEdit *edit);

    void clear();
    void build();
    // The edit of the item's type when the item has a widget.
    PropertyValueEdit *itemEdit(unsigned int index) const;

public Q_SLOTS:
    void foldClicked();
    void sectionToggled(bool expanded);

public:
    PropertyEdit *edit;
    PropertyProvider *provider = nullptr;
    QList<Section *> sections;
    QList<Item> items;
};

} // namespace Zorn

#endif
