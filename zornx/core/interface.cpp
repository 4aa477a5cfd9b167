#include "interface.h"

#include <QtWidgets/QAction>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QWidget>

namespace Zorn {

namespace {
Interface *globalInterface = nullptr;
}

Translator::~Translator() = default;

QString Translator::toolTip(int id) const
{
    return text(id, 0);
}

QString Translator::text(int, int) const
{
    return QString();
}

Interface::~Interface()
{
    if (globalInterface == this)
        globalInterface = nullptr;
}

void setGlobalInterface(Interface *interface)
{
    globalInterface = interface;
}

Interface *Interface::instance()
{
    return globalInterface;
}

QObject *Interface::actionControl(const char *name, QAction *action, QWidget *menu)
{
    if (menu && action)
        menu->addAction(action);
    ActionEntry entry;
    entry.action = action;
    return registerAction(name, entry);
}

QPoint Interface::scaleToDPI(const QPoint &point) const
{
    return QPoint(scaleToDPI(point.x()), scaleToDPI(point.y()));
}

QRect Interface::scaleToDPI(const QRect &rect) const
{
    return QRect(rect.topLeft(), QSize(scaleToDPI(rect.width()), scaleToDPI(rect.height())));
}

bool Interface::yesNoBool(const QString &title, const QString &text, const QString &key,
                          bool fallback, YNButton button)
{
    Interface *host = instance();
    if (!host)
        return true;
    if (!host->option(key, fallback).toBool())
        return true;
    const QMessageBox::StandardButton answer = QMessageBox::question(
        host->mainWidget(), title,
        text + QLatin1Char('\n')
            + QStringLiteral("Note: Choose 'Yes to all' to avoid displaying this message again."),
        QMessageBox::Yes | QMessageBox::YesToAll | QMessageBox::No,
        button == Yes ? QMessageBox::Yes : QMessageBox::No);
    if (answer == QMessageBox::YesToAll)
        host->setOption(key, false);
    return answer == QMessageBox::Yes || answer == QMessageBox::YesToAll;
}

bool Interface::yesNoOption(const QString &title, const QString &text, const QString &key,
                            int fallback, YNButton button)
{
    Interface *host = instance();
    if (!host)
        return fallback < 2;
    const int stored = host->option(key, fallback).toInt();
    if (stored == 1)
        return true;
    if (stored == 2)
        return false;
    const QMessageBox::StandardButton answer = QMessageBox::question(
        host->mainWidget(), title,
        text + QLatin1Char('\n')
            + QStringLiteral("Note: Choose 'Yes to all' or 'No to all' to avoid displaying this "
                             "message again."),
        QMessageBox::Yes | QMessageBox::YesToAll | QMessageBox::No | QMessageBox::NoToAll,
        button == Yes ? QMessageBox::Yes : QMessageBox::No);
    if (answer == QMessageBox::YesToAll)
        host->setOption(key, 1);
    else if (answer == QMessageBox::NoToAll)
        host->setOption(key, 2);
    return answer == QMessageBox::Yes || answer == QMessageBox::YesToAll;
}

} // namespace Zorn
