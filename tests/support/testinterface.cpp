#include "testinterface.h"

#include <zornx/editor/editor.h>

#include <QtWidgets/QAction>
#include <QtWidgets/QWidget>

namespace ZornTest {

TestInterface::TestInterface()
{
    Zorn::setGlobalInterface(this);
}

TestInterface::~TestInterface()
{
    if (Zorn::Interface::instance() == this)
        Zorn::setGlobalInterface(nullptr);
}

QString TestInterface::text(int id) const
{
    switch (id) {
    case 0:
        return QStringLiteral("XML error");
    case 1:
        return QStringLiteral("%1 (line %2, column %3)");
    }
    return QString();
}

QColor TestInterface::colorOption(const QString &name) const
{
    return options.value(name).value<QColor>();
}

QTextCharFormat TestInterface::formatOption(const QString &name) const
{
    const QVariant value = options.value(name);
    return value.canConvert<QTextFormat>() ? value.value<QTextFormat>().toCharFormat()
                                           : QTextCharFormat();
}

QVariant TestInterface::option(const QString &name, const QVariant &fallback) const
{
    return options.value(name, fallback);
}

void TestInterface::setOption(const QString &name, const QVariant &value)
{
    if (value.isNull())
        options.remove(name);
    else
        options.insert(name, value);
}

void TestInterface::setStatus(int field, const QString &text)
{
    statusTexts.append(qMakePair(field, text));
}

QObject *TestInterface::registerAction(const char *name, const ActionEntry &entry)
{
    registered.append(QString::fromLatin1(name));
    return entry.action;
}

void TestInterface::registerWidget(const char *name, QWidget *)
{
    registered.append(QString::fromLatin1(name));
}

QAction *TestInterface::addAction(const char *name, const Zorn::Translator &translator,
                                  int textId, const QString &, int, bool checkable,
                                  QObject *receiver, const char *slot)
{
    auto *created = new QAction(translator.text(textId));
    created->setToolTip(translator.toolTip(textId));
    created->setCheckable(checkable);
    created->setObjectName(QString::fromLatin1(name));
    if (receiver && slot)
        QObject::connect(created, SIGNAL(triggered()), receiver, slot);
    owned.emplace_back(created);
    actions.insert(QString::fromLatin1(name), created);
    return created;
}

QAction *TestInterface::action(const char *name)
{
    return actions.value(QString::fromLatin1(name));
}

QAction *TestInterface::editorAction(const char *name, const Zorn::Translator &translator,
                                     int textId)
{
    return addAction(name, translator, textId, QString(), -1, true, nullptr, nullptr);
}

void TestInterface::switchToEditor(Zorn::Editor *editor)
{
    switchedTo.append(editor);
    if (editor)
        editor->activate();
}

} // namespace ZornTest
