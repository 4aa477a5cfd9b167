#ifndef ZORNX_EDITOR_MENU_H
#define ZORNX_EDITOR_MENU_H

#include <zornx/global.h>

#include <QtWidgets/QMenu>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QWidgetAction>

namespace Zorn {

// A menu that shows the tool tips of its actions.
class ZORNX_EXPORT Menu : public QMenu
{
    Q_OBJECT
public:
    explicit Menu(QWidget *parent = nullptr);
    explicit Menu(const QString &title, QWidget *parent = nullptr);

    using QMenu::addMenu;
    // A new submenu, owned by this menu.
    Menu *addMenu(const QString &title);

protected:
    bool event(QEvent *event) override;
};

// A menu bar that shows the tool tips of its actions.
class ZORNX_EXPORT MenuBar : public QMenuBar
{
    Q_OBJECT
public:
    explicit MenuBar(QWidget *parent = nullptr);

    using QMenuBar::addMenu;
    // A new menu, owned by this menu bar.
    Menu *addMenu(const QString &title);

protected:
    bool event(QEvent *event) override;
};

// Lets one widget appear in a toolbar or menu that is rebuilt over time: the container
// borrows the widget and gives it back without a parent instead of destroying it.
class ZORNX_EXPORT ReusableWidgetAction : public QWidgetAction
{
    Q_OBJECT
public:
    ReusableWidgetAction(QWidget *widget, QObject *parent = nullptr);
    // Takes the widget back from every container first: QWidgetAction would destroy it.
    ~ReusableWidgetAction() override;

    QWidget *widget() const;

protected:
    QWidget *createWidget(QWidget *parent) override;
    void deleteWidget(QWidget *widget) override;

private:
    QWidget *held;
};

} // namespace Zorn

#endif
