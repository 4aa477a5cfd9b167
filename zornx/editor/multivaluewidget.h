#ifndef ZORNX_EDITOR_MULTIVALUEWIDGET_H
#define ZORNX_EDITOR_MULTIVALUEWIDGET_H

#include <zornx/global.h>

#include <QtWidgets/QWidget>

class QLabel;

namespace Zorn {

class MultiValueWidgetPrivate;

// Up to four labelled values on coloured holders: in one row while folded, one per row
// otherwise. Starts folded.
class ZORNX_EXPORT MultiValueWidget : public QWidget
{
    Q_OBJECT
public:
    // count is limited to 4.
    explicit MultiValueWidget(unsigned int count, QWidget *parent = nullptr);
    ~MultiValueWidget() override;

    unsigned int count() const;
    QLabel *itemLabel(unsigned int index) const;
    // The holder in which the item's widget lives.
    QWidget *itemParent(unsigned int index) const;
    QWidget *itemWidget(unsigned int index) const;
    // Puts widget behind the item's label.
    void setItemWidget(unsigned int index, QWidget *widget);
    bool isFolded() const;
    void setFolded(bool folded);

private:
    MultiValueWidgetPrivate *d;
};

} // namespace Zorn

#endif
