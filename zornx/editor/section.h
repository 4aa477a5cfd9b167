#ifndef ZORNX_EDITOR_SECTION_H
#define ZORNX_EDITOR_SECTION_H

#include <zornx/global.h>

#include <QtWidgets/QWidget>

class QLayout;

namespace Zorn {

class SectionPrivate;

// A titled block that folds its content away under a toggle button, optionally animated.
class ZORNX_EXPORT Section : public QWidget
{
    Q_OBJECT
public:
    static constexpr int DEFAULT_DURATION = 0; // no animation

    Section(const QString &title, int animationDuration = DEFAULT_DURATION, bool expanded = true,
            QWidget *parent = nullptr);
    ~Section() override;

    bool isExpanded() const;
    void setAnimationDuration(int duration);
    // Replaces the content; the section takes the layout.
    void setContentLayout(QLayout *layout);
    void setTitle(const QString &title);
    // Moves to the present content height (open) or to the title alone (closed).
    void updateHeights();
    // The content was height high and changes: follow it shortly, once the layout settled.
    void contentResized(int height);

public Q_SLOTS:
    void toggle(bool expanded);

Q_SIGNALS:
    void toggled(bool expanded);

private Q_SLOTS:
    void delayedUpdate();

private:
    SectionPrivate *d;
};

} // namespace Zorn

#endif
