#include "codeeditfixture.h"

#include <zornx/code/codeblockdata.h>
#include <zornx/code/codeeditor.h>
#include <zornx/code/textcodecs.h>
#include <zornx/codeedit/codefileeditor.h>
#include <zornx/codeedit/codeworkspace.h>
#include <zornx/codeedit/snippets.h>
#include <zornx/core/messages.h>
#include <zornx/editor/menu.h>

#include "../../zornx/codeedit/codefileeditor_p.h"
#include "../../zornx/codeedit/codeworkspace_p.h"

#include <QtGui/QClipboard>
#include <QtGui/QTextBlock>
#include <QtTest/QtTest>
#include <QtWidgets/QAction>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QToolBar>

using namespace Zorn;
using ZornTest::DialogResponder;
using ZornTest::TestCodeDocument;

namespace {

class ScriptEditor : public CodeFileEditor
{
public:
    using CodeFileEditor::CodeFileEditor;
    QAction *action() const override { return nullptr; }
    const char *name() const override { return "scripts"; }
    int canEditFileType() const override { return Project::Scripts; }
    void release() override {}
    using CodeFileEditor::cursorChanged;
    using CodeFileEditor::selectedItem;
};

QString lines(int count)
{
    QString out = QStringLiteral("[Data]\n");
    for (int i = 1; i < count; ++i)
        out += QStringLiteral("key%1 = %1\n").arg(i);
    return out;
}

// The text document that a hooked editor shows beside the workspace.
QTextDocument *hookedDocument = nullptr;
QTextDocument *hook(Editor *)
{
    return hookedDocument;
}

} // namespace

class tst_CodeWorkspace : public QObject
{
    Q_OBJECT
private:
    std::unique_ptr<ZornTest::CodeGame> game;
    std::unique_ptr<CodeWorkspace> workspace;
    std::unique_ptr<ScriptEditor> scripts;
    std::unique_ptr<DialogResponder> dialogs;
    QList<TestCodeDocument *> loose;

    CodeWorkspacePrivate *wp() const { return workspace->findChild<CodeWorkspacePrivate *>(); }
    CodeEditor *editor() const { return workspace->editor(); }
    TestCodeDocument *script() const { return game->script(); }
    TestCodeDocument *newDocument(const QString &text)
    {
        auto *document = new TestCodeDocument;
        document->fromString(text);
        loose.append(document);
        return document;
    }
    // The script file shown, with text, the cursor at position.
    void show(const QString &text, int position = 0)
    {
        if (script()->toPlainText() != text)
            script()->fromString(text);
        workspace->setDocument(script());
        QTextCursor cursor = editor()->textCursor();
        cursor.setPosition(position);
        editor()->setTextCursor(cursor);
    }
    int position() const { return editor()->textCursor().position(); }

private Q_SLOTS:
    void initTestCase() { QApplication::clipboard()->clear(); }

    void init()
    {
        game = std::make_unique<ZornTest::CodeGame>();
        QVERIFY(script());
        workspace = std::make_unique<CodeWorkspace>(game->host);
        QWidget *widget = workspace->widget();
        widget->resize(500, 300);
        widget->show();
        QVERIFY(QTest::qWaitForWindowExposed(widget));
        scripts = std::make_unique<ScriptEditor>(workspace.get(), "code_tree");
        dialogs = std::make_unique<DialogResponder>();
    }
    void cleanup()
    {
        dialogs.reset();
        scripts.reset();
        workspace.reset();
        for (TestCodeDocument *document : qAsConst(loose))
            document->release();
        loose.clear();
        game.reset();
        CodeWorkspace::setEditorDocumentHook(nullptr);
        hookedDocument = nullptr;
    }

    // ---- workspace ----

    void menusAndRegistration()
    {
        auto names = [](const QList<QAction *> &actions) {
            QStringList out;
            for (QAction *action : actions)
                out << (action->isSeparator() ? QStringLiteral("|") : action->objectName());
            return out;
        };
        QCOMPARE(names(wp()->codeMenu->actions()),
                 QStringList({"code_goto", "code_prev_error", "code_next_error",
                              "code_prev_deprecation", "code_next_deprecation", "|",
                              "code_comment", "code_fold_all", "code_unfold_all", "|",
                              "code_auto_indent", "code_auto_format"}));
        QCOMPARE(game->host.action("code_fold_all")->text(), QStringLiteral("Fold all code blocks"));
        for (const char *name : {"view_code_bar", "code_goto", "code_next_error",
                                 "code_prev_error", "code_next_deprecation",
                                 "code_prev_deprecation", "code_comment"})
            QVERIFY2(game->host.registered.contains(QLatin1String(name)), name);
        const QList<QAction *> codecs = wp()->encodingMenu->actions();
        QCOMPARE(codecs.size(), TextCodecs::count());
        for (int i = 0; i < codecs.size(); ++i)
            QCOMPARE(codecs.at(i)->objectName().toInt(), i);
        QVERIFY(wp()->encodingGroup->isExclusive());

        // Disabled until the workspace is active, and again after.
        QVERIFY(!wp()->codeMenu->isEnabled());
        workspace->activate();
        QVERIFY(wp()->codeMenu->isEnabled() && wp()->toolBarAction->isEnabled());
        workspace->deactivate();
        QVERIFY(!wp()->encodingMenu->isEnabled());
    }

    void toolBarFollowsTheOption()
    {
        game->host.options.insert("show_code_bar", true);
        workspace->activate();
        QVERIFY(wp()->toolBar->isVisible());
        wp()->toolBarAction->trigger();
        QVERIFY(!wp()->toolBar->isVisible());
        QCOMPARE(game->host.options.value("show_code_bar"), QVariant(false));
    }

    void noDocumentShowsTheLabel()
    {
        QVERIFY(wp()->noDocument->isVisible());
        workspace->setDocument(script());
        QVERIFY(editor()->isVisible() && !wp()->noDocument->isVisible());
        QCOMPARE(wp()->errorBox->model(), static_cast<const QAbstractItemModel *>(script()->messages()));
        workspace->setDocument(nullptr);
        QVERIFY(!editor()->isVisible() && wp()->noDocument->isVisible());
        QCOMPARE(wp()->errorBox->model()->rowCount(), 0);
    }

    void positionsAreRestoredOnSwitching()
    {
        TestCodeDocument *first = newDocument(lines(200));
        TestCodeDocument *second = newDocument(lines(50));
        workspace->setDocument(first);
        CodeEditor::LinePos place;
        place.line = 120;
        place.column = 3;
        place.scroll = 100;
        editor()->setCurrentLine(place);
        workspace->setDocument(second);
        QCOMPARE(first->objectName(), QStringLiteral("120,3,100"));
        // Never shown before: the start.
        QCOMPARE(editor()->currentLine().line, 0);
        QCOMPARE(editor()->currentLine().scroll, 0);
        editor()->setCurrentLine(CodeEditor::LinePos{7, 2, 0});
        workspace->setDocument(first);
        QCOMPARE(editor()->currentLine().line, 120);
        QCOMPARE(editor()->currentLine().column, 3);
        QCOMPARE(editor()->currentLine().scroll, 100);
        workspace->setDocument(second);
        QCOMPARE(editor()->currentLine().line, 7);
        QCOMPARE(editor()->currentLine().column, 2);
    }

    void comment_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("end");
        QTest::addColumn<QString>("expected");
        const QString plain = "a = 1\nb = 2\nc = 3";
        QTest::newRow("two lines") << plain << 0 << 7 << ";a = 1\n;b = 2\nc = 3";
        QTest::newRow("cursor inside a line") << plain << 8 << 8 << "a = 1\n;b = 2\nc = 3";
        QTest::newRow("cursor at a line start") << plain << 6 << 6 << plain;
        QTest::newRow("uncomment, leaving plain lines") << ";a = 1\nb = 2\n;c = 3" << 0 << 16
                                                        << "a = 1\nb = 2\nc = 3";
        QTest::newRow("the first line decides") << "a = 1\n;b = 2" << 0 << 12
                                                 << ";a = 1\n;;b = 2";
    }
    void comment()
    {
        QFETCH(QString, text);
        QFETCH(int, start);
        QFETCH(int, end);
        QFETCH(QString, expected);
        show(text, start);
        QTextCursor cursor = editor()->textCursor();
        cursor.setPosition(end, QTextCursor::KeepAnchor);
        editor()->setTextCursor(cursor);
        wp()->comment();
        QCOMPARE(script()->toPlainText(), expected);
        if (expected != text) {
            script()->undo();
            QCOMPARE(script()->toPlainText(), text);
        }
    }

    void commentNeedsAWritableEditor()
    {
        show("a = 1", 0);
        editor()->setReadOnly(true);
        wp()->comment();
        QCOMPARE(script()->toPlainText(), QStringLiteral("a = 1"));
    }

    void messageNavigation_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("forward");
        QTest::addColumn<int>("to");
        // [Data] / oops / k = "x" tail / m = "y" more / ver = 1: errors start at 7, 19 and
        // 32, the second ending at 24; a deprecation at 38.
        QTest::newRow("next from the start") << 0 << 0 << true << 7;
        QTest::newRow("next from an error's first character") << 7 << 0 << true << 19;
        QTest::newRow("next from inside a line") << 18 << 0 << true << 19;
        QTest::newRow("next past the last") << 33 << 0 << true << 33;
        QTest::newRow("previous from the end") << 44 << 0 << false << 32;
        QTest::newRow("previous skips one not yet ended") << 23 << 0 << false << 7;
        QTest::newRow("next deprecation") << 0 << 1 << true << 38;
        QTest::newRow("previous deprecation, none") << 30 << 1 << false << 30;
    }
    void messageNavigation()
    {
        QFETCH(int, from);
        QFETCH(int, type);
        QFETCH(bool, forward);
        QFETCH(int, to);
        show("[Data]\noops\nk = \"x\" tail\nm = \"y\" more\nver = 1", from);
        // Check the layout of the messages this test relies on.
        QVector<QPair<int, int>> found;
        for (QTextBlock block = script()->begin(); block.isValid(); block = block.next())
            if (const CodeBlockData *data = CodeDocument::blockData(block))
                for (const CodeBlockData::SyntaxMessage &m : data->syntaxMessages())
                    if (m.type < 2)
                        found.append({m.type, block.position() + m.start});
        QCOMPARE(found, (QVector<QPair<int, int>>{{0, 7}, {0, 19}, {0, 32}, {1, 38}}));
        if (type == 0)
            forward ? wp()->nextError() : wp()->prevError();
        else
            forward ? wp()->nextDepr() : wp()->prevDepr();
        QCOMPARE(position(), to);
    }

    void errorBoxGoesToTheMessage()
    {
        show("[Data]\nok = 1\noops\n", 0);
        wp()->errorActivated(0);
        QCOMPARE(editor()->textCursor().blockNumber(), 2);
    }

    void goToLine_data()
    {
        QTest::addColumn<int>("line");
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("block");
        QTest::newRow("in range") << 5 << -1 << 4;
        QTest::newRow("past the end, yes") << 400 << int(QMessageBox::Yes) << 30;
        QTest::newRow("past the end, no") << 400 << int(QMessageBox::No) << 2;
    }
    void goToLine()
    {
        QFETCH(int, line);
        QFETCH(int, answer);
        QFETCH(int, block);
        show(lines(30));
        show(lines(30), script()->findBlockByNumber(2).position());
        dialogs->answer(QMessageBox::Ok, [line] {
            auto *dialog = qobject_cast<GoToDlg *>(QApplication::activeModalWidget());
            QVERIFY(dialog);
            QCOMPARE(dialog->line(), 3); // starts at the cursor's line
            dialog->number->setValue(line);
        });
        if (answer >= 0)
            dialogs->answer(QMessageBox::StandardButton(answer));
        wp()->goToLine();
        QCOMPARE(editor()->textCursor().blockNumber(), block);
        QCOMPARE(dialogs->seen.size(), answer >= 0 ? 2 : 1);
    }

    void encodingOfAnUnsavedFile()
    {
        TestCodeDocument *document = newDocument("a = 1");
        workspace->setDocument(document);
        const int latin = TextCodecs::index("ISO-8859-1");
        QVERIFY(latin >= 0);
        wp()->encodingGroup->actions().at(latin)->trigger();
        QCOMPARE(document->codecId(), latin);
        QVERIFY(dialogs->seen.isEmpty());
        QVERIFY(wp()->encodingGroup->actions().at(latin)->isChecked());
        QVERIFY(game->host.statusTexts.last().second.startsWith("Encoding: "));
    }

    void encodingOfASavedFileAsksToReload_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("text");
        QTest::newRow("reload") << int(QMessageBox::Yes) << QString::fromUtf8("name = \xc3\x83\xc2\xa9");
        QTest::newRow("keep") << int(QMessageBox::No) << QString::fromUtf8("name = \xc3\xa9");
    }
    void encodingOfASavedFileAsksToReload()
    {
        QFETCH(int, answer);
        QFETCH(QString, text);
        const QString file = game->home + "/moves.txt";
        ZornTest::writeFile(file, "name = \xc3\xa9");
        QVERIFY(script()->fromFile(FileSystemArchive::instance(), file, 0, nullptr));
        workspace->setDocument(script());
        dialogs->answer(QMessageBox::StandardButton(answer));
        wp()->changeCodec(TextCodecs::index("ISO-8859-1"));
        QCOMPARE(dialogs->seen.size(), 1);
        QCOMPARE(dialogs->seen.first().title, QStringLiteral("Reload"));
        QCOMPARE(script()->toPlainText(), text);
        QCOMPARE(script()->codecId(), TextCodecs::index("ISO-8859-1"));
    }

    void statusClickedChoosesTheEncoding()
    {
        TestCodeDocument *document = newDocument("a = 1");
        workspace->setDocument(document);
        const int target = TextCodecs::index("ISO-8859-1");
        dialogs->answer(QMessageBox::Ok, [target] {
            auto *dialog = qobject_cast<EncDlg *>(QApplication::activeModalWidget());
            QVERIFY(dialog);
            QCOMPARE(dialog->codecId(), TextCodecs::index("UTF-8"));
            dialog->codePage->setCurrentIndex(target);
        });
        workspace->statusClicked();
        QCOMPARE(document->codecId(), target);
    }

    void zoom()
    {
        game->host.options.insert("font_name", "DejaVu Sans Mono");
        game->host.options.insert("font_size", 11);
        QTextDocument beside;
        hookedDocument = &beside;
        CodeWorkspace::setEditorDocumentHook(hook);
        game->host.current = scripts.get();
        TestCodeDocument *document = newDocument(lines(5));
        workspace->setDocument(document);
        workspace->zoomActual();
        QCOMPARE(editor()->font().pointSize(), 11);
        workspace->zoomIn();
        QCOMPARE(editor()->font().pointSize(), 13);
        QCOMPARE(document->defaultFont().pointSize(), 13);
        QCOMPARE(beside.defaultFont().pointSize(), 13);
        workspace->zoomOut();
        workspace->zoomOut();
        QCOMPARE(editor()->font().pointSize(), 9);
        // Fitting the longest line to the width makes the font larger for short lines.
        workspace->zoomFit();
        QVERIFY(editor()->font().pointSize() > 9);
        QCOMPARE(editor()->font().family(), QStringLiteral("DejaVu Sans Mono"));
    }

    void foldAllAndUnfoldAll()
    {
        show("[Info]\nname = \"x\"\n[Data]\nlife = 1\npower = 2\n[State]\nx = 1");
        wp()->foldAll();
        QStringList visible;
        for (QTextBlock block = script()->begin(); block.isValid(); block = block.next())
            if (block.isVisible())
                visible << block.text();
        QCOMPARE(visible, QStringList({"[Info]", "[Data]", "[State]"}));
        wp()->unfoldAll();
        for (QTextBlock block = script()->begin(); block.isValid(); block = block.next())
            QVERIFY2(block.isVisible(), qPrintable(block.text()));
    }

    void snippetMarksTheCursor()
    {
        ZornTest::writeFile(game->snippetDir() + "/loop.xml",
                            "<snippet><code>\n  for = 1\n  go = CURSOR\n  end = 1\n</code></snippet>");
        workspace->engineSwitched(true);
        QCOMPARE(SnippetManager::instance()->rowCount(), 1);
        show("", 0);
        wp()->snipActivated(0);
        QCOMPARE(script()->toPlainText(), QStringLiteral("for = 1\ngo = \nend = 1\n"));
        QCOMPARE(position(), 13);
        QVERIFY(dialogs->seen.isEmpty());
    }

    // ---- file editor ----

    void statusIsOneBased()
    {
        show("[Data]\noops\nx = 1", 0);
        scripts->setCurrentFile(script());
        scripts->activate();
        QTextCursor cursor = editor()->textCursor();
        cursor.setPosition(script()->findBlockByNumber(2).position() + 2);
        editor()->setTextCursor(cursor);
        const auto &texts = game->host.statusTexts;
        QVERIFY(texts.contains(qMakePair(0, QStringLiteral("Line: 3, Column: 3, Line count: 3"))));
        QCOMPARE(texts.last(), qMakePair(1, QStringLiteral("Syntax error count: 1")));
        // No document, no status.
        scripts->setCurrentFile(nullptr);
        const int count = texts.size();
        scripts->cursorChanged(QPoint(1, 1));
        QCOMPARE(texts.size(), count);
    }

    void nodeFileShowsItsDocument()
    {
        show("[Data]\nx = 1\n[State]\ny = 2", 0);
        auto *states = new ZornTest::TestNodeFile(script());
        script()->registerNodeFile(states, CodeNode::Group, ZornTest::StateSection);
        scripts->setCurrentFile(states);
        QCOMPARE(editor()->document(), static_cast<CodeDocument *>(script()));
        scripts->setCurrentFile(nullptr);
        states->release();
    }

    void treeAndTextFollowEachOther_data()
    {
        QTest::addColumn<bool>("autoExpand");
        QTest::newRow("auto expand") << true;
        QTest::newRow("left alone") << false;
    }
    void treeAndTextFollowEachOther()
    {
        QFETCH(bool, autoExpand);
        game->host.options.insert("auto_expand_tree", autoExpand);
        script()->fromString("[Info]\nname = \"x\"\n[Data]\nlife = 1\npower = 2\n");
        scripts->setCurrentFile(script());
        scripts->activate();
        QTreeView *tree = game->host.tree.get();
        QCOMPARE(tree->model(), script()->model());
        QTextCursor cursor(script()->findBlockByNumber(4));
        editor()->setTextCursor(cursor);
        const QModelIndex power = script()->indexInLine(4);
        QVERIFY(power.isValid());
        QCOMPARE(tree->currentIndex() == power, autoExpand);
        QCOMPARE(tree->isExpanded(power.parent()), autoExpand);

        // A click in the tree reaches the editor through the host's connection.
        tree->resize(300, 300);
        tree->expandAll();
        const QModelIndex name = script()->indexInLine(1);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(name).center());
        QCOMPARE(editor()->textCursor().blockNumber(), 1);
        scripts->selectedItem(QModelIndex());
        QCOMPARE(editor()->textCursor().blockNumber(), 0);

        scripts->deactivate();
        QCOMPARE(tree->model(), nullptr);
        QCOMPARE(editor()->document(), nullptr);
    }

    void nodeMenu_data()
    {
        QTest::addColumn<QString>("clipboard");
        QTest::addColumn<bool>("onRow");
        QTest::addColumn<bool>("shown");
        QTest::addColumn<bool>("canPaste");
        QTest::newRow("empty clipboard") << QString() << true << true << false;
        QTest::newRow("text") << "x = 1" << true << true << true;
        QTest::newRow("outside the rows") << "x = 1" << false << false << false;
    }
    void nodeMenu()
    {
        QFETCH(QString, clipboard);
        QFETCH(bool, onRow);
        QFETCH(bool, shown);
        QFETCH(bool, canPaste);
        QApplication::clipboard()->setText(clipboard);
        script()->fromString("[Data]\nlife = 1\n");
        scripts->setCurrentFile(script());
        scripts->activate();
        QTreeView *tree = game->host.tree.get();
        tree->resize(300, 300);
        tree->show();
        tree->setCurrentIndex(tree->model()->index(0, 0));
        auto *d = scripts->findChild<CodeFileEditorPrivate *>();
        bool seen = false;
        bool pasteEnabled = false;
        QTimer::singleShot(50, [&] {
            if (auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget())) {
                seen = true;
                pasteEnabled = menu->actions().at(3)->isEnabled();
                QCOMPARE(menu->actions().at(3)->text(), QStringLiteral("Paste before"));
                menu->close();
            }
        });
        d->onCustomContextMenu(onRow ? tree->visualRect(tree->model()->index(0, 0)).center()
                                     : QPoint(5, 290));
        QTest::qWait(100);
        QCOMPARE(seen, shown);
        QCOMPARE(pasteEnabled, canPaste);
        tree->hide();
    }

    void cuttingNodesIsOneUndoStep()
    {
        const QString text = "[Info]\nname = \"x\"\n[Data]\nlife = 1\npower = 2\n[State]\nx = 1\n";
        script()->fromString(text);
        scripts->setCurrentFile(script());
        scripts->activate();
        QTreeView *tree = game->host.tree.get();
        QAbstractItemModel *model = tree->model();
        const QModelIndex data = model->index(1, 0);
        // A section and a value inside it, and another section.
        tree->selectionModel()->select(data, QItemSelectionModel::Select);
        tree->selectionModel()->select(model->index(0, 0, data), QItemSelectionModel::Select);
        tree->selectionModel()->select(model->index(2, 0), QItemSelectionModel::Select);
        auto *d = scripts->findChild<CodeFileEditorPrivate *>();
        d->cutNode();
        QCOMPARE(script()->toPlainText(), QStringLiteral("[Info]\nname = \"x\"\n"));
        QCOMPARE(QApplication::clipboard()->text(),
                 QStringLiteral("[Data]\nlife = 1\npower = 2\nlife = 1\n[State]\nx = 1\n"));
        script()->undo();
        QCOMPARE(script()->toPlainText(), text);

        // Pasting after the first section puts the text behind its last line.
        QApplication::clipboard()->setText(QStringLiteral("[Extra]\ny = 2"));
        d->menuIndex = model->index(0, 0);
        d->pasteAfter();
        QVERIFY(script()->toPlainText().startsWith("[Info]\nname = \"x\"\n[Extra]\ny = 2\n[Data]"));
    }

    void find_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("flags");
        QTest::addColumn<int>("line");
        QTest::addColumn<int>("marks");
        QTest::newRow("forward") << 5 << 0 << 10 << 0;
        QTest::newRow("backward in the first page") << 4 << 1 << 3 << 0;
        QTest::newRow("find all marks the others") << 0 << 8 << 3 << 2;
    }
    void find()
    {
        QFETCH(int, from);
        QFETCH(int, flags);
        QFETCH(int, line);
        QFETCH(int, marks);
        QString text = lines(60);
        text.replace("key3 ", "hit ").replace("key10 ", "hit ").replace("key50 ", "hit ");
        show(text);
        show(text, script()->findBlockByNumber(from).position());
        scripts->setCurrentFile(script());
        const QList<ProjectFile::SearchResult> results = scripts->find(RegExp("hit"), unsigned(flags));
        QVERIFY(!results.isEmpty());
        const QTextCursor cursor = editor()->textCursor();
        QCOMPARE(cursor.blockNumber(), line);
        QCOMPARE(cursor.selectedText(), QStringLiteral("hit"));
        QCOMPARE(editor()->extraSelections().size(), marks);
        for (const QTextEdit::ExtraSelection &mark : editor()->extraSelections())
            QCOMPARE(mark.format.background().color(), QColor(Qt::yellow));
        QVERIFY(scripts->find(RegExp(QString()), 0).isEmpty());
        QVERIFY(editor()->extraSelections().isEmpty());
    }

    void navigateToRunsOnPastTheLineEnd()
    {
        show("ab = 1\ncd = 2\nef = 3", 0);
        scripts->setCurrentFile(script());
        scripts->navigateTo(0, 9);
        QCOMPARE(editor()->textCursor().blockNumber(), 1);
        QCOMPARE(editor()->textCursor().positionInBlock(), 2);
    }

    void saveAsUtf8WaitsForARunningSave()
    {
        const QString file = game->home + "/moves.txt";
        script()->fromString(QString::fromUtf8("name = \xc3\xa9"));
        script()->setCodecId(TextCodecs::index("ISO-8859-1"));
        scripts->setCurrentFile(script());
        scripts->activate();
        // The running save keeps the codec it started with.
        QVERIFY(script()->toFile(FileSystemArchive::instance(), file, 2, nullptr));
        scripts->saveAsUTF8();
        QCOMPARE(script()->codecId(), TextCodecs::index("UTF-8"));
        QCOMPARE(ZornTest::readFile(file), QByteArray("name = \xe9"));
        QCOMPARE(script()->fileName(), file);

        QTextCursor cursor(script());
        cursor.movePosition(QTextCursor::End);
        cursor.insertText("!");
        scripts->saveAsUTF8(); // in the background, as code documents save
        script()->waitForSave();
        QCOMPARE(ZornTest::readFile(file), QByteArray("name = \xc3\xa9!"));
        QVERIFY(!script()->isModified());
    }
};

QTEST_MAIN(tst_CodeWorkspace)
#include "tst_codeworkspace.moc"
