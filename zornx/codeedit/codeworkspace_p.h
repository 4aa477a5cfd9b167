#ifndef ZORNX_CODEEDIT_CODEWORKSPACE_P_H
#define ZORNX_CODEEDIT_CODEWORKSPACE_P_H

#include <zornx/codeedit/codeworkspace.h>

#include <QtCore/QObject>
#include <QtCore/QPoint>
#include <QtCore/QPointer>
#include <QtWidgets/QDialog>

class QAction;
class QActionGroup;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QSpinBox;
class QStandardItemModel;
class QToolBar;

namespace Zorn {

class Menu;

// Chooses the encoding of a document; the row of codePage is the codec id.
class ZORNX_EXPORT EncDlg : public QDialog
{
    Q_OBJECT
public:
    EncDlg(int codecId, QWidget *parent);
    int codecId() const;

    QComboBox *codePage;
};

// Asks for a line number, 1 to 99999999.
class ZORNX_EXPORT GoToDlg : public QDialog
{
    Q_OBJECT
public:
    GoToDlg(const Interface &iface, int line, QWidget *parent);
    int line() const;

    QSpinBox *number;
};

class ZORNX_EXPORT CodeWorkspacePrivate : public QObject
{
    Q_OBJECT
public:
    CodeWorkspacePrivate(CodeWorkspace *workspace, Interface &iface);
    ~CodeWorkspacePrivate() override;

    // The editor's document when there is one and the editor is writable.
    CodeDocument *writableDocument() const;
    // Checks the codec's action and shows the encoding in the status bar.
    void showEncoding();
    // The encoding change of encTriggered() and of the dialog.
    void changeCodec(int id);
    // Moves to the next (or previous) message of type, if there is one.
    void findMessage(int type, bool forward);
    // The font of the editor, of its document and of the hooked text view.
    void applyFont(const QFont &font);
    QString dataDirectory() const;

    Interface &iface;
    // Shown by the host, which may destroy it first.
    QPointer<QWidget> widget;
    QToolBar *toolBar;
    CodeEditor *editor;
    QLabel *noDocument;
    QComboBox *snippetBox;
    QComboBox *errorBox;
    // The errors' model while there is no document.
    QStandardItemModel *emptyModel;
    QHBoxLayout *layout;
    Menu *codeMenu;
    Menu *encodingMenu;
    QActionGroup *encodingGroup;
    QAction *toolBarAction;

    static CodeWorkspace::EditorDocumentHook editorDocumentHook;

public Q_SLOTS:
    void goToLine();
    void prevError();
    void nextError();
    void prevDepr();
    void nextDepr();
    void comment();
    void foldAll();
    void unfoldAll();
    void autoIndent();
    void autoFormat();
    void snipInsert();
    void snipNew();
    void snipEdit();
    void showContextMenu(QPoint point);
    void snipActivated(int index);
    void errorActivated(int index);
    void encTriggered(QAction *action);
    void showTextBar(bool checked);
};

} // namespace Zorn

#endif
