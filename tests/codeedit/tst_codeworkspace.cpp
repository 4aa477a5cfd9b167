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

    void controls()
    {
        QStringList names;
        for (QAction *action : wp()->codeMenu->actions())
            names << (action->isSeparator() ? QStringLiteral("|") : action->objectName());
        QCOMPARE(names, QStringList({"code_goto", "code_prev_error", "code_next_error",
                                     "code_prev_deprecation", "code_next_deprecation", "|",
                                     "code_comment", "code_fold_all", "code_unfold_all", "|",
                                     "code_auto_indent", "code_auto_format"}));
        QCOMPARE(game->host.registered.mid(0, 7),
                 QStringList({"view_code_bar", "code_goto", "code_next_error", "code_prev_error",
                              "code_next_deprecation", "code_prev_deprecation", "code_comment"}));
        const QList<QAction *> codecs = wp()->encodingMenu->actions();
        QCOMPARE(codecs.size(), TextCodecs::count());
        QCOMPARE(codecs.last()->objectName().toInt(), TextCodecs::count() - 1);

        // Enabled while active; the tool bar follows "show_code_bar" and stores it.
        QVERIFY(!wp()->codeMenu->isEnabled());
        game->host.options.insert("show_code_bar", true);
        workspace->activate();
        QVERIFY(wp()->codeMenu->isEnabled() && wp()->toolBar->isVisible());
        wp()->toolBarAction->trigger();
        QVERIFY(!wp()->toolBar->isVisible());
        QCOMPARE(game->host.options.value("show_code_bar"), QVariant(false));
        workspace->deactivate();
        QVERIFY(!wp()->encodingMenu->isEnabled());

        // The message list and the label follow the document.
        QVERIFY(wp()->noDocument->isVisible());
        workspace->setDocument(script());
        QVERIFY(editor()->isVisible() && !wp()->noDocument->isVisible());
        QVERIFY(qobject_cast<const Messages *>(wp()->errorBox->model()));
        workspace->setDocument(nullptr);
        QVERIFY(wp()->noDocument->isVisible());
        QCOMPARE(wp()->errorBox->model()->rowCount(), 0);

        // Options reach the editor.
        game->host.options.insert("code_line_numbers", false);
        game->host.options.insert("line", QColor(Qt::green));
        workspace->reconfig();
        QVERIFY(!editor()->syntaxFormatting().lineNumbers);
        QVERIFY(editor()->syntaxFormatting().foldingMarkers);
        QCOMPARE(editor()->syntaxFormatting().lineColor, QColor(Qt::green));
    }

    void positionsAreRestoredOnSwitching()
    {
        auto place = [this] {
            const CodeEditor::LinePos pos = editor()->currentLine();
            return QStringLiteral("%1,%2,%3").arg(pos.line).arg(pos.column).arg(pos.scroll);
        };
        TestCodeDocument *other = newDocument(lines(200));
        show(lines(50));
        editor()->setCurrentLine(CodeEditor::LinePos{7, 2, 0});
        workspace->setDocument(other);
        QCOMPARE(place(), QStringLiteral("0,0,0")); // never shown before
        editor()->setCurrentLine(CodeEditor::LinePos{120, 3, 100});
        workspace->setDocument(script());
        QCOMPARE(other->objectName(), QStringLiteral("120,3,100"));
        QCOMPARE(place(), QStringLiteral("7,2,0"));
        workspace->setDocument(other);
        QCOMPARE(place(), QStringLiteral("120,3,100"));
    }

    void comment_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("end");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("readOnly");
        const QString plain = "a = 1\nb = 2\nc = 3";
        QTest::newRow("two lines") << plain << 0 << 7 << ";a = 1\n;b = 2\nc = 3" << false;
        QTest::newRow("cursor inside a line") << plain << 8 << 8 << "a = 1\n;b = 2\nc = 3" << false;
        QTest::newRow("cursor at a line start") << plain << 6 << 6 << plain << false;
        QTest::newRow("uncomment, leaving plain lines")
            << ";a = 1\nb = 2\n;c = 3" << 0 << 16 << "a = 1\nb = 2\nc = 3" << false;
        QTest::newRow("the first line decides") << "a = 1\n;b = 2" << 0 << 12
                                                 << ";a = 1\n;;b = 2" << false;
        QTest::newRow("read-only") << plain << 0 << 7 << plain << true;
    }
    void comment()
    {
        QFETCH(QString, text);
        QFETCH(int, start);
        QFETCH(int, end);
        QFETCH(QString, expected);
        QFETCH(bool, readOnly);
        show(text, start);
        editor()->setReadOnly(readOnly);
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

    void messageNavigation_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<QByteArray>("slot");
        QTest::addColumn<int>("to");
        // [Data] / oops / k = "x" tail / m = "y" more / ver = 1: errors start at 7, 19 and
        // 32, the second ending at 24; a deprecation at 38.
        QTest::newRow("next from the start") << 0 << QByteArray("nextError") << 7;
        QTest::newRow("next from an error's first character") << 7 << QByteArray("nextError") << 19;
        QTest::newRow("next in a later line") << 18 << QByteArray("nextError") << 19;
        QTest::newRow("next past the last") << 33 << QByteArray("nextError") << 33;
        QTest::newRow("previous from the end") << 44 << QByteArray("prevError") << 32;
        QTest::newRow("previous skips one not yet ended") << 23 << QByteArray("prevError") << 7;
        QTest::newRow("next deprecation") << 0 << QByteArray("nextDepr") << 38;
        QTest::newRow("previous deprecation, none") << 30 << QByteArray("prevDepr") << 30;
    }
    void messageNavigation()
    {
        QFETCH(int, from);
        QFETCH(QByteArray, slot);
        QFETCH(int, to);
        show("[Data]\noops\nk = \"x\" tail\nm = \"y\" more\nver = 1", from);
        QVERIFY(QMetaObject::invokeMethod(wp(), slot.constData()));
        QCOMPARE(position(), to);
        // The error list goes to its row's line.
        wp()->errorActivated(0);
        QCOMPARE(position(), 7);
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

    void encoding_data()
    {
        QTest::addColumn<bool>("onDisk");
        QTest::addColumn<bool>("viaDialog");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("text");
        const QString read = QString::fromUtf8("name = \xc3\xa9");
        QTest::newRow("not on disk: no question") << false << false << -1 << read;
        QTest::newRow("chosen in the dialog") << false << true << -1 << read;
        QTest::newRow("reload") << true << false << int(QMessageBox::Yes)
                                << QString::fromUtf8("name = \xc3\x83\xc2\xa9");
        QTest::newRow("keep the text") << true << false << int(QMessageBox::No) << read;
    }
    void encoding()
    {
        QFETCH(bool, onDisk);
        QFETCH(bool, viaDialog);
        QFETCH(int, answer);
        QFETCH(QString, text);
        const QString file = game->home + "/moves.txt";
        ZornTest::writeFile(file, "name = \xc3\xa9");
        if (onDisk)
            QVERIFY(script()->fromFile(FileSystemArchive::instance(), file, 0, nullptr));
        else
            script()->fromString(QString::fromUtf8("name = \xc3\xa9"));
        workspace->setDocument(script());
        const int latin = TextCodecs::index("ISO-8859-1");
        if (viaDialog) {
            dialogs->answer(QMessageBox::Ok, [latin] {
                auto *dialog = qobject_cast<EncDlg *>(QApplication::activeModalWidget());
                QCOMPARE(dialog->codecId(), TextCodecs::index("UTF-8"));
                dialog->codePage->setCurrentIndex(latin);
            });
            workspace->statusClicked();
        } else {
            if (answer >= 0)
                dialogs->answer(QMessageBox::StandardButton(answer));
            wp()->encodingGroup->actions().at(latin)->trigger();
        }
        QCOMPARE(script()->codecId(), latin);
        QCOMPARE(script()->toPlainText(), text);
        QCOMPARE(dialogs->seen.size(), answer >= 0 || viaDialog ? 1 : 0);
        QVERIFY(wp()->encodingGroup->actions().at(latin)->isChecked());
        QCOMPARE(game->host.statusTexts.last(),
                 qMakePair(2, QStringLiteral("Encoding: ISO-8859-1")));
    }

    void zoom()
    {
        game->host.options.insert("font_name", "DejaVu Sans Mono");
        game->host.options.insert("font_size", 11);
        QTextDocument beside;
        hookedDocument = &beside;
        CodeWorkspace::setEditorDocumentHook(hook);
        game->host.current = scripts.get();
        show(lines(5));
        workspace->zoomActual();
        QCOMPARE(editor()->font().pointSize(), 11);
        workspace->zoomIn();
        QCOMPARE(script()->defaultFont().pointSize(), 13);
        QCOMPARE(beside.defaultFont().pointSize(), 13);
        workspace->zoomOut();
        workspace->zoomOut();
        QCOMPARE(editor()->font().pointSize(), 9);
        workspace->zoomFit(); // short lines in a wide view: larger
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
                            "<s><code>\n  for = 1\n  go = CURSOR\n  end = 1\n</code></s>");
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
        show("[Data]\noops\nx = 1\n[State]", 0);
        scripts->setCurrentFile(script());
        scripts->activate();
        editor()->setCurrentLine(CodeEditor::LinePos{2, 2, 0});
        const auto &texts = game->host.statusTexts;
        QVERIFY(texts.contains(qMakePair(0, QStringLiteral("Line: 3, Column: 3, Line count: 4"))));
        QCOMPARE(texts.last(), qMakePair(1, QStringLiteral("Syntax error count: 1")));
        // A node file shows its whole document; no document, no status.
        auto *states = new ZornTest::TestNodeFile(script());
        script()->registerNodeFile(states, CodeNode::Group, Sample::StateSection);
        scripts->setCurrentFile(states);
        QCOMPARE(editor()->document(), static_cast<CodeDocument *>(script()));
        scripts->setCurrentFile(nullptr);
        states->release();
        const int count = texts.size();
        scripts->cursorChanged(QPoint(1, 1));
        QCOMPARE(texts.size(), count);
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
        tree->setCurrentIndex(tree->model()->index(0, 0));
        QMenu *seen = nullptr;
        bool pasteEnabled = false;
        QTimer::singleShot(50, [&] {
            if ((seen = qobject_cast<QMenu *>(QApplication::activePopupWidget()))) {
                pasteEnabled = seen->actions().at(3)->isEnabled();
                seen->close();
            }
        });
        scripts->findChild<CodeFileEditorPrivate *>()->onCustomContextMenu(
            onRow ? tree->visualRect(tree->model()->index(0, 0)).center() : QPoint(5, 290));
        QTest::qWait(100);
        QCOMPARE(seen != nullptr, shown);
        QCOMPARE(pasteEnabled, canPaste);
    }

    void cuttingNodesIsOneUndoStep_data()
    {
        QTest::addColumn<QVector<QPoint>>("rows"); // x: section, y: value in it or -1
        QTest::addColumn<QString>("left");
        QTest::addColumn<QString>("cut");
        QTest::newRow("a section, a value in it, another section")
            << QVector<QPoint>{{1, -1}, {1, 0}, {2, -1}} << "[Info]\nname = \"x\"\n"
            << "[Data]\nlife = 1\npower = 2\nlife = 1\n[State]\nx = 1\n";
        QTest::newRow("a value, then the section below it")
            << QVector<QPoint>{{0, 0}, {1, -1}} << "[Info]\n[State]\nx = 1\n"
            << "name = \"x\"\n[Data]\nlife = 1\npower = 2\n";
        QTest::newRow("the last value first") << QVector<QPoint>{{2, 0}, {1, 1}, {1, 0}}
                                               << "[Info]\nname = \"x\"\n[Data]\n[State]\n"
                                               << "x = 1\npower = 2\nlife = 1\n";
    }
    void cuttingNodesIsOneUndoStep()
    {
        QFETCH(QVector<QPoint>, rows);
        QFETCH(QString, left);
        QFETCH(QString, cut);
        const QString text = "[Info]\nname = \"x\"\n[Data]\nlife = 1\npower = 2\n[State]\nx = 1\n";
        script()->fromString(text);
        scripts->setCurrentFile(script());
        scripts->activate();
        QTreeView *tree = game->host.tree.get();
        QAbstractItemModel *model = tree->model();
        for (const QPoint &row : rows) {
            const QModelIndex section = model->index(row.x(), 0);
            const QModelIndex index = row.y() < 0 ? section : model->index(row.y(), 0, section);
            tree->selectionModel()->select(index, QItemSelectionModel::Select);
        }
        auto *d = scripts->findChild<CodeFileEditorPrivate *>();
        d->cutNode();
        QCOMPARE(script()->toPlainText(), left);
        QCOMPARE(QApplication::clipboard()->text(), cut);
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
        QVERIFY(!scripts->find(RegExp("hit"), unsigned(flags)).isEmpty());
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
        scripts->navigateTo(0, 9);
        QCOMPARE(position(), 9);
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
