#ifndef ZORNX_CORE_INTERFACE_H
#define ZORNX_CORE_INTERFACE_H

#include <zornx/core/translator.h>

#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtCore/QVariant>
#include <QtGui/QColor>
#include <QtGui/QIcon>
#include <QtGui/QTextCharFormat>

class QAbstractItemModel;
class QAbstractSlider;
class QAction;
class QObject;
class QWidget;

namespace Zorn {

class Editor;
class Engine;
class ExtraEditor;
class FileEditor;
class ItemsDialog;
class Menu;
class ProgressProvider;
class Project;
class ProjectFile;
class Workspace;

// The host's main window: menus, settings, status bar and the dialogs' parent. The host makes
// one and hands it to setGlobalInterface(); the library reaches it through instance().
// Its own text() answers two numbers: 0 the title and 1 the format of an XML error.
class ZORNX_EXPORT Interface : public Translator
{
public:
    // Default button of a yes-or-no question.
    enum YNButton { Yes = 0, No = 1 };

    // What registerAction() is asked for: the kind of control (1 menu, 3 label, 4 slider,
    // 5 volume, 7 integer box, 8 real box, 9 check box, 10 combo box, 11 list, 12 tree,
    // 14 section label), flags whose meaning is the host's, and an optional action and
    // receiver slot.
    struct ActionEntry
    {
        int kind = 0;
        int flags = 0;
        QAction *action = nullptr;
        QObject *receiver = nullptr;
        const char *slot = nullptr;
    };

    ~Interface() override;

    virtual QWidget *mainWidget() const = 0;
    virtual QString applicationPath() const = 0;
    virtual QString engineDataPath() const = 0;
    virtual QString engineUserPath() const = 0;
    virtual ProgressProvider *progressProvider() = 0;
    virtual Engine *currentEngine() const = 0;
    virtual Editor *currentEditor() const = 0;
    virtual FileEditor *editorFor(ProjectFile *file, int type) = 0;
    virtual Editor *editor(const char *name) = 0;
    virtual ExtraEditor *currentExtraEditor() const = 0;
    virtual int projectCount() const = 0;
    virtual Project *projectAt(int index) const = 0;
    virtual Project *currentProject() const = 0;
    virtual int scaleToDPI(int value) const = 0;
    virtual QIcon icon(const QString &name) const = 0;
    virtual QColor colorOption(const QString &name) const = 0;
    virtual QTextCharFormat formatOption(const QString &name) const = 0;
    virtual QVariant option(const QString &name, const QVariant &fallback) const = 0;
    virtual void setOption(const QString &name, const QVariant &value) = 0;
    // field: 0 cursor, 1 syntax errors, 2 renderer.
    virtual void setStatus(int field, const QString &text) = 0;
    // The control of the entry's kind, or a QAction.
    virtual QObject *registerAction(const char *name, const ActionEntry &entry) = 0;
    virtual void registerWidget(const char *name, QWidget *widget) = 0;
    virtual QAbstractSlider *control(const char *name) = 0;
    // Base: adds action to menu, then registerAction(name, {kind 0, action}).
    virtual QObject *actionControl(const char *name, QAction *action, QWidget *menu);
    virtual Menu *menu(const char *name) = 0;
    virtual QAction *addAction(const char *name, const Translator &translator, int textId,
                               const QString &icon, int index, bool checkable,
                               QObject *receiver, const char *slot) = 0;
    virtual QAction *action(const char *name) = 0;
    virtual QAction *editorAction(const char *name, const Translator &translator, int textId) = 0;
    // A widget with the signal itemClicked(int).
    virtual QWidget *toolWidget(int index) = 0;
    virtual void refreshEditors() = 0;
    virtual void switchToEditor(Editor *editor) = 0;
    virtual void switchExtraEditor(ExtraEditor *editor, int flags) = 0;
    virtual void setWorkspace(Workspace *workspace) = 0;

    QPoint scaleToDPI(const QPoint &point) const;
    QRect scaleToDPI(const QRect &rect) const;
    // A modal chooser of the model's rows with the window icon icon(name); a row of 0 or more
    // is selected and scrolled to the top. The caller release()s it. (Made by the editor
    // layer, which defines the dialog.)
    ItemsDialog *itemsDialog(QWidget *parent, const QString &name, const QString &title,
                             QAbstractItemModel *model, int row);

    // The host's object, null before setGlobalInterface().
    static Interface *instance();

    // Asks title/text on the host's main widget unless the option key says not to ask;
    // "Yes to All" stores false under key. Without an Interface, true.
    static bool yesNoBool(const QString &title, const QString &text, const QString &key,
                          bool fallback, YNButton button = Yes);
    // Option key: 0 ask, 1 yes, 2 no; "Yes to All" stores 1 and "No to All" 2.
    // Without an Interface, fallback < 2.
    static bool yesNoOption(const QString &title, const QString &text, const QString &key,
                            int fallback, YNButton button = Yes);
};

ZORNX_EXPORT void setGlobalInterface(Interface *interface);

} // namespace Zorn

#endif
