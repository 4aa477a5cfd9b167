#include "menu.h"
#include "resetscrollpos_p.h"

#include <QtGui/QHelpEvent>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QToolTip>

namespace Zorn {

namespace {

// Menus show no tool tips of their own: show the active action's, and hide any other.
void showActionToolTip(QEvent *event, const QAction *active)
{
    if (event->type() == QEvent::ToolTip && active && !active->toolTip().isEmpty()) {
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), active->toolTip());
        return;
    }
    QToolTip::hideText();
}

} // namespace

Menu::Menu(QWidget *parent) : QMenu(parent) {}

Menu::Menu(const QString &title, QWidget *parent) : QMenu(title, parent) {}

Menu *Menu::addMenu(const QString &title)
{
    auto *menu = new Menu(title, this);
    QMenu::addMenu(menu);
    return menu;
}

bool Menu::event(QEvent *event)
{
    const bool result = QMenu::event(event);
    showActionToolTip(event, activeAction());
    return result;
}

MenuBar::MenuBar(QWidget *parent) : QMenuBar(parent) {}

Menu *MenuBar::addMenu(const QString &title)
{
    auto *menu = new Menu(title, this);
    QMenuBar::addMenu(menu);
    return menu;
}

bool MenuBar::event(QEvent *event)
{
    const bool result = QMenuBar::event(event);
    showActionToolTip(event, activeAction());
    return result;
}

ReusableWidgetAction::ReusableWidgetAction(QWidget *widget, QObject *parent)
    : QWidgetAction(parent), held(widget)
{
}

ReusableWidgetAction::~ReusableWidgetAction()
{
    const QList<QWidget *> containers = associatedWidgets();
    for (QWidget *container : containers)
        container->removeAction(this);
}

QWidget *ReusableWidgetAction::widget() const
{
    return held;
}

QWidget *ReusableWidgetAction::createWidget(QWidget *parent)
{
    if (held)
        held->setParent(parent);
    return held;
}

void ReusableWidgetAction::deleteWidget(QWidget *widget)
{
    if (widget) {
        widget->hide();
        widget->setParent(nullptr);
    }
}

namespace Private {

ResetScrollPos::ResetScrollPos(QTreeView *view, int position) : view(view), position(position)
{
}

void ResetScrollPos::reset()
{
    if (view)
        view->verticalScrollBar()->setValue(position);
    deleteLater();
}

} // namespace Private

} // namespace Zorn
