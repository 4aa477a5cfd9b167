#include "section.h"

#include <QtCore/QParallelAnimationGroup>
#include <QtCore/QPropertyAnimation>
#include <QtCore/QTimer>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

namespace Zorn {

class SectionPrivate
{
public:
    // Moves the content between the heights start and end: at once without a duration,
    // otherwise animated (forward when open, backward when closed).
    void moveHeights(Section *section, int start, int end);

    QToolButton *button = nullptr;
    QScrollArea *area = nullptr;
    QParallelAnimationGroup *animation = nullptr;
    QLayout *content = nullptr;
    int duration = 0;
    bool expanded = false;
    int collapsedHeight = 0;
    int oldHeight = 0;
};

void SectionPrivate::moveHeights(Section *section, int start, int end)
{
    if (duration < 1) {
        const int target = expanded ? end : 0;
        section->setFixedHeight(collapsedHeight + target);
        area->setMaximumHeight(target);
        return;
    }
    const int sectionAnimations = animation->animationCount() - 1;
    for (int i = 0; i < sectionAnimations; ++i) {
        auto *one = static_cast<QPropertyAnimation *>(animation->animationAt(i));
        one->setDuration(duration);
        one->setStartValue(collapsedHeight + start);
        one->setEndValue(collapsedHeight + end);
    }
    auto *last = static_cast<QPropertyAnimation *>(animation->animationAt(sectionAnimations));
    last->setDuration(duration);
    last->setStartValue(start);
    last->setEndValue(end);
    animation->setDirection(expanded ? QAbstractAnimation::Forward
                                     : QAbstractAnimation::Backward);
    animation->start();
}

Section::Section(const QString &title, int animationDuration, bool expanded, QWidget *parent)
    : QWidget(parent), d(new SectionPrivate)
{
    d->duration = animationDuration;
    d->expanded = expanded;

    d->button = new QToolButton(this);
    d->button->setStyleSheet(QStringLiteral("QToolButton { border: none; }"));
    d->button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    d->button->setArrowType(expanded ? Qt::DownArrow : Qt::RightArrow);
    d->button->setText(title);
    d->button->setCheckable(true);
    d->button->setChecked(expanded);

    d->area = new QScrollArea(this);
    d->area->setFrameShape(QFrame::NoFrame);
    d->area->setMaximumHeight(0);
    d->area->setMinimumHeight(0);
    d->area->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    d->animation = new QParallelAnimationGroup(this);
    d->animation->addAnimation(new QPropertyAnimation(this, "maximumHeight"));
    d->animation->addAnimation(new QPropertyAnimation(this, "minimumHeight"));
    d->animation->addAnimation(new QPropertyAnimation(d->area, "maximumHeight"));

    auto *layout = new QVBoxLayout(this);
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(d->button);
    layout->addWidget(d->area);

    connect(d->button, &QToolButton::toggled, this, &Section::toggle);
}

Section::~Section()
{
    delete d;
}

bool Section::isExpanded() const
{
    return d->expanded;
}

void Section::setAnimationDuration(int duration)
{
    d->duration = duration;
}

void Section::setContentLayout(QLayout *layout)
{
    delete d->area->layout();
    d->content = layout;
    d->area->setLayout(layout);
    d->collapsedHeight = sizeHint().height() - d->area->maximumHeight();
}

void Section::setTitle(const QString &title)
{
    d->button->setText(title);
}

void Section::updateHeights()
{
    d->moveHeights(this, 0, d->content ? d->content->sizeHint().height() : 0);
}

void Section::contentResized(int height)
{
    d->oldHeight = height;
    QTimer::singleShot(10, this, &Section::delayedUpdate);
}

void Section::delayedUpdate()
{
    // A closed section keeps its height; opening it measures the content anew.
    if (d->expanded && d->content)
        d->moveHeights(this, d->oldHeight, d->content->sizeHint().height());
}

void Section::toggle(bool expanded)
{
    if (d->button->isChecked() != expanded) {
        d->button->setChecked(expanded); // comes back here through toggled()
        return;
    }
    d->button->setArrowType(expanded ? Qt::DownArrow : Qt::RightArrow);
    d->expanded = expanded;
    if (d->collapsedHeight > 0)
        updateHeights();
    emit toggled(expanded);
}

} // namespace Zorn
