// The studio end to end, on a copy of the sample game: the tree, the code editor, the
// messages, saving, reloading, closing with unsaved changes, options and registered controls.

#include "mainwindow.h"

#include "dialogresponder.h"
#include "fixtures.h"

#include <zornx/code/codeeditor.h>
#include <zornx/editor/editor.h>
#include <zornx/editor/menu.h>
#include <zornx/project/parentproject.h>

#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>
#include <QtWidgets/QAction>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListView>
#include <QtWidgets/QSlider>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QTableView>
#include <QtWidgets/QTreeView>

using Studio::MainWindow;

class TstStudio : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void editThroughTheTree();
    void reloadOnOutsideChange();
    void failedSaveKeepsTheFile();
    void codeTreeMovesTheCursor();
    void menusReachTheActiveEditor_data();
    void menusReachTheActiveEditor();
    void recentDirectoriesReopen();
    void encodingFromTheStatusBar();
    void closeWithUnsavedChanges_data();
    void closeWithUnsavedChanges();
    void openDialogAndBackup();
    void optionsOutliveTheWindow();
    void registeredControls_data();
    void registeredControls();

private:
    // The row of the tree that the names lead to, expanded and scrolled to.
    QModelIndex treeRow(MainWindow &window, const QStringList &names);
    // Double-clicks the file's row and returns the editor widget it shows in.
    Zorn::CodeEditor *openFromTree(MainWindow &window, const QStringList &names);
    QString settingsFile() const { return work->path() + QStringLiteral("/settings/studio.ini"); }
    QString gameFile(const QString &name) const { return work->path() + "/game/" + name; }

    std::unique_ptr<QTemporaryDir> work;
};

void TstStudio::init()
{
    work = std::make_unique<QTemporaryDir>();
    QVERIFY(ZornTest::copyTree(QStringLiteral(ZORNX_SAMPLE_DIR), work->path() + "/game"));
}

QModelIndex TstStudio::treeRow(MainWindow &window, const QStringList &names)
{
    QAbstractItemModel *model = window.projectTree()->model();
    QModelIndex at;
    for (const QString &name : names) {
        const QModelIndexList found =
            model->match(model->index(0, 0, at), Qt::DisplayRole, name, 1, Qt::MatchExactly);
        if (found.isEmpty())
            return QModelIndex();
        at = found.first();
        window.projectTree()->expand(at);
    }
    window.projectTree()->scrollTo(at);
    return at;
}

Zorn::CodeEditor *TstStudio::openFromTree(MainWindow &window, const QStringList &names)
{
    const QModelIndex row = treeRow(window, names);
    if (!row.isValid())
        return nullptr;
    QWidget *viewport = window.projectTree()->viewport();
    const QPoint centre = window.projectTree()->visualRect(row).center();
    QTest::mouseClick(viewport, Qt::LeftButton, {}, centre);
    QTest::mouseDClick(viewport, Qt::LeftButton, {}, centre);
    auto *fileEditor = qobject_cast<Zorn::FileEditor *>(window.currentEditor());
    if (!fileEditor || fileEditor->currentFile() != window.fileAt(row))
        return nullptr;
    auto *editor = window.findChild<Zorn::CodeEditor *>();
    return editor && editor->isVisible() ? editor : nullptr;
}

void TstStudio::editThroughTheTree()
{
    MainWindow window(settingsFile());
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(window.openDirectory(gameFile(QString())));
    QCOMPARE(window.projectCount(), 2);

    Zorn::CodeEditor *editor =
        openFromTree(window, {"chars", "lantern", "sub", "common.moves"});
    QVERIFY(editor);
    QVERIFY(editor->toPlainText().startsWith("; moves every character shares"));
    QCOMPARE(window.messageView()->model()->rowCount(), 1); // the other file's warning

    // A line that does not parse: an error in the dock, the count in the status bar.
    editor->setFocus();
    editor->moveCursor(QTextCursor::End);
    QTest::keyClicks(editor, "no value here");
    QAbstractItemModel *shown = window.messageView()->model();
    QTRY_COMPARE(shown->rowCount(), 2);
    int errorRow = -1;
    for (int row = 0; row < shown->rowCount(); ++row)
        if (shown->index(row, 1).data().toString() == "common.moves")
            errorRow = row;
    QVERIFY(errorRow >= 0);
    QCOMPARE(shown->index(errorRow, 2).data().toInt(), 10);
    QCOMPARE(window.statusText(1), QString("Syntax error count: 1"));
    QVERIFY(window.isWindowModified());

    // Activating the message puts the cursor on its line.
    editor->moveCursor(QTextCursor::Start);
    window.messageView()->setCurrentIndex(shown->index(errorRow, 0));
    emit window.messageView()->activated(shown->index(errorRow, 0));
    QCOMPARE(editor->textCursor().blockNumber(), 9);

    window.action("file_save_all")->trigger();
    QTRY_VERIFY(!window.isWindowModified());
    const QByteArray disk = ZornTest::readFile(gameFile("chars/lantern/sub/common.moves"));
    QVERIFY(disk.startsWith("; moves every character shares\r\n[State 0]\r\n"));
    QVERIFY(disk.endsWith("velocity = 1.5, 0\r\nno value here"));
    QVERIFY(window.close());
}

void TstStudio::reloadOnOutsideChange()
{
    MainWindow window(settingsFile());
    window.setOption("showmsg_reload_file", 1); // reload without asking
    window.show();
    QVERIFY(window.openDirectory(gameFile(QString())));
    Zorn::CodeEditor *editor = openFromTree(window, {"chars", "thorn", "thorn.moves"});
    QVERIFY(editor);
    QCOMPARE(window.messageView()->model()->rowCount(), 0); // the messages of thorn's project
    QTest::qWait(50); // a change within the same second as the load is still told
    QVERIFY(ZornTest::writeFile(gameFile("chars/thorn/thorn.moves"),
                                "; changed outside\r\n[Data]\r\nlife = 800\r\n"));
    QTRY_COMPARE(editor->toPlainText(), QString("; changed outside\n[Data]\nlife = 800\n"));
    QVERIFY(!window.isWindowModified());
}

void TstStudio::failedSaveKeepsTheFile()
{
    const QString name = gameFile("chars/lantern/lantern.moves");
    const QByteArray before = ZornTest::readFile(name);
    MainWindow window(settingsFile());
    window.show();
    QVERIFY(window.openDirectory(gameFile(QString())));
    Zorn::CodeEditor *editor = openFromTree(window, {"chars", "lantern", "lantern.moves"});
    QVERIFY(editor);
    editor->moveCursor(QTextCursor::End);
    QTest::keyClicks(editor, QString(2000, 'x'));
    const Zorn::ProjectFile *file =
        static_cast<Zorn::FileEditor *>(window.currentEditor())->currentFile();
    ZornTest::DialogResponder responder;
    responder.answer(QMessageBox::Ok);
    {
        // The disk is full while the document saves in the background.
        ZornTest::FileSizeLimit full(1024);
        QVERIFY(window.saveAll());
        QTRY_COMPARE(responder.seen.size(), 1); // the save has ended, and said so
    }
    QVERIFY(!file->fileName().isEmpty());
    QCOMPARE(ZornTest::readFile(name), before);
    QCOMPARE(responder.seen.first().title, QString("Saving lantern.moves"));
    QVERIFY(window.isWindowModified());

    QVERIFY(window.saveAll()); // room on the disk again
    QTRY_VERIFY(!window.isWindowModified());
    QVERIFY(ZornTest::readFile(name).endsWith("\r\n" + QByteArray(2000, 'x')));
    QCOMPARE(responder.seen.size(), 1);
}

void TstStudio::codeTreeMovesTheCursor()
{
    MainWindow window(settingsFile());
    window.show();
    QVERIFY(window.openDirectory(gameFile(QString())));
    Zorn::CodeEditor *editor = openFromTree(window, {"chars", "lantern", "lantern.moves"});
    QVERIFY(editor);
    auto *codeTree = window.findChild<QTreeView *>("code_tree");
    QVERIFY(codeTree && codeTree->model());
    const QModelIndexList state = codeTree->model()->match(
        codeTree->model()->index(0, 0), Qt::DisplayRole, "State 200", 1, Qt::MatchExactly);
    QCOMPARE(state.size(), 1);
    QTest::mouseClick(codeTree->viewport(), Qt::LeftButton, {},
                      codeTree->visualRect(state.first()).center());
    QCOMPARE(editor->textCursor().blockNumber(), 11);
    QCOMPARE(window.statusText(0), QString("Line: 12, Column: 1, Line count: 24"));
}

void TstStudio::menusReachTheActiveEditor_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<int>("fontChange");
    QTest::addColumn<bool>("typedStays");
    QTest::newRow("zoom in") << QByteArray("view_zoom_in") << 2 << true;
    QTest::newRow("zoom out") << QByteArray("view_zoom_out") << -2 << true;
    QTest::newRow("undo") << QByteArray("edit_undo") << 0 << false;
    QTest::newRow("fold all") << QByteArray("code_fold_all") << 0 << true;
}

void TstStudio::menusReachTheActiveEditor()
{
    QFETCH(QByteArray, action);
    QFETCH(int, fontChange);
    QFETCH(bool, typedStays);
    MainWindow window(settingsFile());
    window.show();
    QVERIFY(window.openDirectory(gameFile(QString())));
    Zorn::CodeEditor *editor = openFromTree(window, {"chars", "thorn", "thorn.moves"});
    QVERIFY(editor);
    QTest::keyClicks(editor, "typed");
    const int size = editor->font().pointSize();
    QAction *entry = window.action(action.constData());
    QVERIFY(entry);
    QVERIFY(entry->isEnabled());
    entry->trigger();
    QCOMPARE(editor->font().pointSize(), size + fontChange);
    QCOMPARE(editor->toPlainText().startsWith("typed"), typedStays);
    QCOMPARE(window.currentEditor()->isActive(), true);
}

void TstStudio::recentDirectoriesReopen()
{
    const QString first = work->path() + "/first", second = work->path() + "/second";
    QVERIFY(ZornTest::copyTree(work->path() + "/game", first));
    QVERIFY(ZornTest::copyTree(work->path() + "/game", second));
    MainWindow window(settingsFile());
    QVERIFY(window.openDirectory(first));
    QVERIFY(window.openDirectory(second));
    auto *recent = window.findChild<QMenu *>("recentMenu");
    emit recent->aboutToShow();
    QCOMPARE(recent->actions().size(), 2);
    QCOMPARE(recent->actions().at(0)->text(), second);
    recent->actions().at(1)->trigger();
    QCOMPARE(window.parentProject()->basePath(), first + "/");
}

void TstStudio::encodingFromTheStatusBar()
{
    MainWindow window(settingsFile());
    window.show();
    QVERIFY(window.openDirectory(gameFile(QString())));
    QVERIFY(openFromTree(window, {"chars", "thorn", "thorn.moves"}));
    QVERIFY(window.statusText(2).endsWith("UTF-8"));
    auto *field = window.findChild<QLabel *>("status2");
    ZornTest::DialogResponder responder; // rejects the dialog
    QTest::mouseClick(field, Qt::LeftButton);
    QCOMPARE(responder.seen.size(), 1);
    QCOMPARE(responder.seen.first().title, QString("Encoding"));
}

void TstStudio::closeWithUnsavedChanges_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("closed");
    QTest::newRow("discard") << int(QMessageBox::Yes) << true;
    QTest::newRow("keep open") << int(QMessageBox::No) << false;
}

void TstStudio::closeWithUnsavedChanges()
{
    QFETCH(int, answer);
    QFETCH(bool, closed);
    const QByteArray before = ZornTest::readFile(gameFile("chars/thorn/thorn.moves"));
    {
        MainWindow window(settingsFile());
        window.show();
        QVERIFY(window.openDirectory(gameFile(QString())));
        Zorn::CodeEditor *editor = openFromTree(window, {"chars", "thorn", "thorn.moves"});
        QVERIFY(editor);
        QTest::keyClicks(editor, "x");
        ZornTest::DialogResponder responder;
        responder.answer(QMessageBox::StandardButton(answer));
        QCOMPARE(window.close(), closed);
        QCOMPARE(responder.seen.size(), 1);
        QCOMPARE(responder.seen.first().title, QString("Discard changes?"));
        QCOMPARE(window.parentProject() == nullptr, closed);
        responder.answer(QMessageBox::Yes);
        window.closeDirectory();
    }
    QCOMPARE(ZornTest::readFile(gameFile("chars/thorn/thorn.moves")), before);
}

void TstStudio::openDialogAndBackup()
{
    MainWindow window(settingsFile());
    window.setOption("use_native_open", false);
    window.show();
    ZornTest::DialogResponder responder;
    responder.answerFile(gameFile(QString()));
    window.action("file_open_directory")->trigger();
    QVERIFY(window.parentProject());
    QCOMPARE(window.option("recent_directories", QVariant()).toStringList(),
             QStringList(QDir(gameFile(QString())).absolutePath()));

    responder.answerText("before-edit");
    window.findChild<QAction *>("file_backup")->trigger();
    QCOMPARE(responder.seen.size(), 2);
    const QStringList made = QDir(gameFile("backup")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    QCOMPARE(made.size(), 1);
    QVERIFY(made.first().endsWith("before-edit"));
    QCOMPARE(ZornTest::readFile(gameFile("backup/") + made.first() + "/chars/thorn/thorn.moves"),
             ZornTest::readFile(gameFile("chars/thorn/thorn.moves")));
}

void TstStudio::optionsOutliveTheWindow()
{
    {
        MainWindow window(settingsFile());
        window.setOption("font_size", 13);
        window.setOption("showmsg_discard", 1);
        window.setOption("showmsg_discard", QVariant()); // a null value removes the key
        for (int i = 0; i < 10; ++i) {
            const QString copy = work->path() + QString("/copy%1").arg(i);
            QVERIFY(ZornTest::copyTree(work->path() + "/game", copy));
            QVERIFY(window.openDirectory(copy));
        }
        ZornTest::DialogResponder responder;
        responder.answer(QMessageBox::Ok);
        QVERIFY(!window.openDirectory(work->path() + "/settings")); // no game there
        QCOMPARE(responder.seen.size(), 1);
        QVERIFY(window.parentProject() == nullptr);
    }
    MainWindow window(settingsFile());
    QCOMPARE(window.option("font_size", 0).toInt(), 13);
    QCOMPARE(window.option("showmsg_discard", 7).toInt(), 7);
    QCOMPARE(window.option("code_line_numbers", false).toBool(), true); // the studio's default
    const QStringList recent = window.option("recent_directories", QVariant()).toStringList();
    QCOMPARE(recent.size(), 8);
    QCOMPARE(recent.first(), work->path() + "/copy9");
    QCOMPARE(recent.last(), work->path() + "/copy2");
}

void TstStudio::registeredControls_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QByteArray>("className");
    QTest::newRow("label") << 3 << QByteArray("QLabel");
    QTest::newRow("slider") << 4 << QByteArray("QSlider");
    QTest::newRow("integer box") << 7 << QByteArray("QSpinBox");
    QTest::newRow("check box") << 9 << QByteArray("QCheckBox");
    QTest::newRow("combo box") << 10 << QByteArray("QComboBox");
    QTest::newRow("list") << 11 << QByteArray("QListView");
    QTest::newRow("tree") << 12 << QByteArray("QTreeView");
}

void TstStudio::registeredControls()
{
    QFETCH(int, kind);
    QFETCH(QByteArray, className);
    MainWindow window(settingsFile());
    Zorn::Interface::ActionEntry entry;
    entry.kind = kind;
    QObject *control = window.registerAction("tst_control", entry);
    QVERIFY(control);
    QCOMPARE(QByteArray(control->metaObject()->className()), className);
    QCOMPARE(window.registerAction("tst_control", entry), control); // one per name
    QCOMPARE(window.control("tst_control") != nullptr, kind == 4);

    // An action from the library's table, in a menu of the host, calling its receiver.
    QAction *made = window.addAction("tst_action", window, 0, QString(), 0, true, &window,
                                     SLOT(close()));
    QCOMPARE(made->text(), QString("XML error"));
    QCOMPARE(window.action("tst_action"), made);
    Zorn::Menu *menu = window.menu("edit");
    QCOMPARE(window.menu("edit"), menu);
    entry.kind = 0;
    entry.flags = 16;
    entry.action = made;
    QCOMPARE(window.registerAction("tst_action", entry), made);
    window.show();
    made->trigger();
    QVERIFY(!window.isVisible());
}

QTEST_MAIN(TstStudio)
#include "tst_studio.moc"
