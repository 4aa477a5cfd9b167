#include "memoryarchive.h"
#include "testcode.h"
#include "testengine.h"
#include "testinterface.h"

#include <zornx/code/codeblockdata.h>
#include <zornx/core/messages.h>

#include <QtGui/QTextLayout>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>
#include <QtWidgets/QPlainTextDocumentLayout>

#include <memory>

using namespace Zorn;
using ZornTest::TestCodeDocument;
using ZornTest::TestGroupCode;
using ZornTest::TestNodeFile;
using ZornTest::TestValueCode;

namespace {

QTextBlock line(const CodeDocument &doc, int number)
{
    return doc.findBlockByNumber(number);
}

const CodeBlockData *dataOf(const CodeDocument &doc, int number)
{
    return CodeBlockData::testBlockData(line(doc, number));
}

QList<int> states(const CodeDocument &doc)
{
    QList<int> out;
    for (QTextBlock block = doc.begin(); block.isValid(); block = block.next())
        out.append(block.userState());
    return out;
}

QList<int> indents(const CodeDocument &doc)
{
    QList<int> out;
    for (QTextBlock block = doc.begin(); block.isValid(); block = block.next()) {
        const CodeBlockData *data = CodeBlockData::testBlockData(block);
        out.append(data ? int(data->foldingIndent()) : -1);
    }
    return out;
}

// Replaces the text of a line, as a user selecting it and typing would.
void setLine(CodeDocument &doc, int number, const QString &text)
{
    const QTextBlock block = line(doc, number);
    QTextCursor cursor(&doc);
    cursor.setPosition(block.position());
    cursor.setPosition(block.position() + block.length() - 1, QTextCursor::KeepAnchor);
    cursor.insertText(text);
}

QString tree(const CodeDocument &doc)
{
    return ZornTest::describeTree(doc.root());
}

std::unique_ptr<QAbstractItemModelTester> testModel(QAbstractItemModel *model)
{
    return std::make_unique<QAbstractItemModelTester>(
        model, QAbstractItemModelTester::FailureReportingMode::QtTest);
}

// A parser whose behaviour a test writes in place.
class ScriptedParser : public CodeParser
{
public:
    CodeNode *parse(const QString &text, QTextBlock *, CodeNode *oldNode, CodeNode *, RootCode *,
                    CodeParserSyntax *syntax) override
    {
        if (syntax && script)
            script(text, syntax);
        return oldNode;
    }
    std::function<void(const QString &, CodeParserSyntax *)> script;
};

} // namespace

class tst_CodeDocument : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void parsesTreeStatesAndFolding()
    {
        TestCodeDocument doc;
        doc.setPlainText("; header comment\n"
                         "life = 1\n"
                         "; two comments\n"
                         "; before a header\n"
                         "[Data]\n"
                         "life = 1000\n"
                         "pos = 1, 2\n"
                         "; inside\n"
                         "; also inside\n"
                         "[Info]\n"
                         "name = \"KFM\"");
        QCOMPARE(tree(doc), QString("[Data](life=1000 pos=1, 2) [Info](name=KFM)"));
        QVERIFY(!doc.nodeInBlock(line(doc, 1))->parent()); // before any header
        // The first line without a node takes -1; a header its type; the rest the state
        // of the line above.
        QCOMPARE(states(doc), QList<int>({-1, -1, -1, -1, 2, 2, 2, 2, 2, 1, 1}));
        // Comments in front of a header fold with the header.
        QCOMPARE(indents(doc), QList<int>({0, 0, 0, 0, 0, 1, 1, 0, 0, 0, 1}));

        QVERIFY(!dataOf(doc, 0)->isParsed()); // comment only
        QVERIFY(dataOf(doc, 1)->isParsed());
        QCOMPARE(dataOf(doc, 4)->parenthesis().size(), 2);
        QCOMPARE(dataOf(doc, 4)->parenthesis().at(0).type, 0);
        QCOMPARE(dataOf(doc, 4)->parenthesis().at(1).type, 1);
        QCOMPARE(dataOf(doc, 4)->parenthesis().at(1).position, 5);
        QCOMPARE(doc.messages()->count(Message::All), 0u);

        // Formats: one range per run of equal formats, none for plain text.
        const QVector<QTextLayout::FormatRange> header = line(doc, 4).layout()->formats();
        QCOMPARE(header.size(), 1);
        QCOMPARE(header.first().start, 0);
        QCOMPARE(header.first().length, 6);
        QCOMPARE(header.first().format.fontWeight(), 75);
        const QVector<QTextLayout::FormatRange> value = line(doc, 6).layout()->formats();
        QCOMPARE(value.size(), 4); // key, '=', two numbers
        QCOMPARE(value.at(2).format.foreground().color(), QColor(128, 0, 255));
        QCOMPARE(line(doc, 0).layout()->formats().first().format.foreground().color(),
                 QColor(Qt::gray));
    }

    void messagesAndCounts()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\nlife = abc\nver = 1\noops\n[Nope]\n");
        const Messages *messages = doc.messages();
        auto tester = testModel(const_cast<Messages *>(messages));
        QCOMPARE(messages->count(Message::Error), 1u);
        QCOMPARE(messages->count(Message::Warning), 4u);
        QCOMPARE(messages->count(Message::Information), 0u);
        QCOMPARE(messages->count(Message::All), 5u);
        QCOMPARE(messages->rowCount(), 5);

        const Message first = messages->at(0, Message::All);
        QCOMPARE(first.type, Message::Warning);
        QCOMPARE(first.line, 1u);
        QCOMPARE(first.column, 7u);
        QCOMPARE(first.text, QString("Unquoted string"));
        QCOMPARE(messages->at(1, Message::All).text, QString("Number expected"));
        const Message deprecated = messages->at(2, Message::All);
        QCOMPARE(deprecated.type, Message::Warning);
        QCOMPARE(deprecated.text, QString("\"ver\" is deprecated"));
        const Message error = messages->at(0, Message::Error);
        QCOMPARE(error.line, 3u);
        QCOMPARE(error.text, QString("'=' expected"));
        QCOMPARE(messages->at(3, Message::Warning).text, QString("Unknown section \"Nope\""));
        // Past the end, and information that this document never has.
        const Message past = messages->at(5, Message::All);
        QCOMPARE(past.type, Message::All);
        QCOMPARE(past.line, 0u);
        QVERIFY(past.text.isEmpty());
        QCOMPARE(messages->at(0, Message::Information).type, Message::All);
        QCOMPARE(messages->at(1, Message::Error).type, Message::All);

        // Errors are underlined in red over their range.
        const QVector<QTextLayout::FormatRange> ranges = line(doc, 3).layout()->formats();
        QCOMPARE(ranges.size(), 1);
        QCOMPARE(ranges.first().format.underlineStyle(), QTextCharFormat::SpellCheckUnderline);
        QCOMPARE(ranges.first().format.underlineColor(), QColor(Qt::red));
        QCOMPARE(dataOf(doc, 3)->syntaxMessages().first().type, 0);
        QCOMPARE(dataOf(doc, 2)->syntaxMessages().first().type, 1);

        // Fixing the line takes its rows out, in the middle of the list.
        setLine(doc, 3, "oops = 1");
        QCOMPARE(messages->count(Message::Error), 0u);
        QCOMPARE(messages->count(Message::All), 4u);
        QVERIFY(line(doc, 3).layout()->formats().first().format.underlineStyle()
                == QTextCharFormat::NoUnderline);
        // Rows enter in document order.
        setLine(doc, 0, "[Data] junk");
        QCOMPARE(messages->at(0, Message::All).text, QString("Text after section header"));
        QCOMPARE(messages->at(1, Message::All).line, 1u);
        setLine(doc, 4, "= 5");
        QCOMPARE(messages->at(4, Message::All).text, QString("Missing key"));
        QCOMPARE(messages->count(Message::All), 5u);
    }

    void messageListHearsOncePerPass()
    {
        TestCodeDocument doc;
        MessageList list(nullptr);
        list.registerMessages(const_cast<Messages *>(doc.messages()));
        QSignalSpy updates(&list, &MessageList::updated);

        doc.setPlainText(ZornTest::generateCode(200) + "oops\n");
        QCOMPARE(list.errorCount(), 1u);

        updates.clear();
        QTextCursor cursor(line(doc, 40));
        cursor.insertText("bad\n[Data]\nalso bad\n");
        QCOMPARE(updates.count(), 1);
        QCOMPARE(list.errorCount(), 3u);

        // Inside a change the text waits, and so does the list, until the change ends.
        updates.clear();
        doc.beginChange();
        doc.insertAfter(doc.nodeInBlock(line(doc, 2)), "x = y", true);
        doc.insertAfter(doc.nodeInBlock(line(doc, 5)), "broken", true);
        QCOMPARE(updates.count(), 0);
        doc.endChange();
        QCOMPARE(updates.count(), 1);
        QCOMPARE(list.errorCount(), 4u);
        QCOMPARE(list.warningCount(), 2u); // "x = y" in [Data]: unquoted, and no number

        updates.clear();
        doc.rehighlight();
        QCOMPARE(updates.count(), 1);
        updates.clear();
        doc.reparse();
        QCOMPARE(updates.count(), 1);
        QCOMPARE(list.errorCount(), 4u);
    }

    void passParsesOnlyWhatChanged()
    {
        TestCodeDocument doc;
        doc.setPlainText(ZornTest::generateCode(3000));
        auto tester = testModel(doc.model());
        ZornTest::TestParser &parser = doc.ownParser;
        const int header = 1480; // "[State 74]", the next header at 1500
        const int middle = 1483; // "pos3 = 1483, 3"
        QCOMPARE(line(doc, header).text(), QString("[State 74]"));
        QCOMPARE(line(doc, middle).text(), QString("pos3 = 1483, 3"));

        // A value edit parses its line and stops: the state agrees.
        CodeNode *node = doc.nodeInBlock(line(doc, middle));
        parser.resetCounts();
        QTextCursor cursor(line(doc, middle));
        cursor.movePosition(QTextCursor::EndOfBlock);
        cursor.insertText("9");
        QCOMPARE(parser.lines, QList<int>({middle}));
        QCOMPARE(doc.nodeInBlock(line(doc, middle)), node); // kept
        QCOMPARE(static_cast<ValueCode *>(node)->asPoint(), QPoint(1483, 39));

        // An edit that removes reaches one block further than one that only inserts: the
        // removal may have joined the line with the next.
        parser.resetCounts();
        cursor.deletePreviousChar();
        QCOMPARE(parser.lines, QList<int>({middle, middle + 1}));

        // A new title of the same type is one line too.
        parser.resetCounts();
        cursor.setPosition(line(doc, header).position() + 9);
        cursor.insertText("x");
        QCOMPARE(line(doc, header).text(), QString("[State 74x]"));
        QCOMPARE(parser.lines, QList<int>({header}));

        // Another type changes the state of every line of the section, up to the next
        // header, whose own state is as before.
        parser.resetCounts();
        setLine(doc, header, "[Data]");
        QCOMPARE(parser.calls, 21);
        QCOMPARE(parser.lines.first(), header);
        QCOMPARE(parser.lines.last(), header + 20);
        QCOMPARE(line(doc, 1490).userState(), int(ZornTest::DataSection));
        QCOMPARE(line(doc, 1500).userState(), int(ZornTest::FilesSection));

        // Enter at the end of a line: the line and the new one.
        parser.resetCounts();
        cursor.setPosition(line(doc, 1485).position() + line(doc, 1485).length() - 1);
        cursor.insertText("\n");
        QCOMPARE(parser.lines, QList<int>({1485, 1486}));

        // Deleting a header gives its section to the one above (an [Info]), and the states
        // of its lines change up to the next header.
        parser.resetCounts();
        const QTextBlock gone = line(doc, header);
        cursor.setPosition(gone.position());
        cursor.setPosition(gone.position() + gone.length(), QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        QCOMPARE(parser.calls, 21); // the 20 lines left of the section, then the next header
        QCOMPARE(line(doc, 1490).userState(), int(ZornTest::InfoSection));
        QCOMPARE(tree(doc).count('['), 149);
        QCOMPARE(ZornTest::describeDocument(&doc), fresh(doc.toPlainText()));
    }

    void keptAndReplacedNodes()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\nlife = 1000\npower = 5\n");
        auto tester = testModel(doc.model());
        QSignalSpy changed(doc.model(), &QAbstractItemModel::dataChanged);
        CodeNode *life = doc.nodeInBlock(line(doc, 1));

        setLine(doc, 1, "life = 900");
        QCOMPARE(doc.nodeInBlock(line(doc, 1)), life);
        QCOMPARE(static_cast<ValueCode *>(life)->asInt(), 900);
        QCOMPARE(changed.count(), 1);
        const QModelIndex index = changed.first().first().value<QModelIndex>();
        QCOMPARE(doc.nodeFromIndex(index), life);

        // Another type: a new node in the same place.
        setLine(doc, 1, "life = \"much\"");
        CodeNode *string = doc.nodeInBlock(line(doc, 1));
        QVERIFY(!CodeNode::isValid(life) || string == life);
        QCOMPARE(static_cast<ValueCode *>(string)->valueType(), ValueCode::String);
        QCOMPARE(tree(doc), QString("[Data](life=much power=5)"));

        // No node for a comment: the old one goes.
        setLine(doc, 1, "; life");
        QVERIFY(!doc.nodeInBlock(line(doc, 1)));
        QCOMPARE(tree(doc), QString("[Data](power=5)"));

        // A parser that never keeps makes a node on every parse.
        doc.ownParser.keepNodes = false;
        CodeNode *power = doc.nodeInBlock(line(doc, 2));
        setLine(doc, 2, "power = 6");
        QVERIFY(doc.nodeInBlock(line(doc, 2)) != power || !CodeNode::isValid(power));
        QCOMPARE(tree(doc), QString("[Data](power=6)"));
    }

    void highlightSwitch()
    {
        ZornTest::TestInterface host;
        host.options.insert("highlightCode", false);
        TestCodeDocument doc;
        doc.setPlainText("[Data]\nlife = abc\noops");
        QCOMPARE(doc.ownParser.syntaxGiven, 0);
        QVERIFY(doc.ownParser.calls > 0);
        QCOMPARE(doc.messages()->count(Message::All), 0u);
        QVERIFY(line(doc, 0).layout()->formats().isEmpty());
        QCOMPARE(tree(doc), QString("[Data](life=abc)")); // the tree is built all the same
        QVERIFY(!doc.hasSyntaxHighlight());

        doc.setSyntaxHighlight(true);
        QVERIFY(doc.hasSyntaxHighlight());
        QCOMPARE(doc.messages()->count(Message::All), 3u);
        QVERIFY(!line(doc, 0).layout()->formats().isEmpty());

        // The same value again: nothing happens.
        doc.ownParser.resetCounts();
        doc.setSyntaxHighlight(true);
        QCOMPARE(doc.ownParser.calls, 0);
        doc.setSyntaxHighlight(false);
        QCOMPARE(doc.messages()->count(Message::All), 0u);
        QVERIFY(line(doc, 0).layout()->formats().isEmpty());
    }

    void parserSwitch()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\nlife = abc\noops");
        doc.ownParser.resetCounts();
        doc.setParser(&doc.ownParser);
        QCOMPARE(doc.ownParser.calls, 0);

        // Without a parser, what the last one left goes.
        doc.setParser(nullptr);
        QCOMPARE(doc.messages()->count(Message::All), 0u);
        QVERIFY(!doc.root()->next());
        QVERIFY(line(doc, 1).layout()->formats().isEmpty());
        QVERIFY(dataOf(doc, 1)->parenthesis().isEmpty());
        setLine(doc, 2, "[Info]");
        QVERIFY(!doc.root()->next());

        ZornTest::TestParser other;
        doc.setParser(&other);
        QCOMPARE(other.calls, 3);
        QCOMPARE(tree(doc), QString("[Data](life=abc) [Info]()"));
        doc.setParser(nullptr); // before `other` goes
    }

    void requestsDuringAPass()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\nb = 2\nc = 3");
        ZornTest::TestParser &parser = doc.ownParser;

        // From codeUpdated the pass has ended: a rehighlight runs at once.
        bool again = true;
        doc.onCodeUpdated = [&]() {
            if (again) {
                again = false;
                parser.resetCounts();
                doc.rehighlight();
                QCOMPARE(parser.calls, 4);
            }
        };
        setLine(doc, 1, "a = 5");
        QVERIFY(!again);
        doc.onCodeUpdated = nullptr;

        // From the parser it waits: the pass ends its line, stops, and then rehighlights.
        parser.resetCounts();
        bool asked = false;
        parser.onParse = [&](const QString &) {
            if (!asked) {
                asked = true;
                doc.rehighlight();
            }
        };
        QTextCursor cursor(line(doc, 1));
        cursor.insertText("x = 0\n");
        QCOMPARE(parser.lines, QList<int>({1, 0, 1, 2, 3, 4}));

        // A reparse asked from the parser drops the tree first.
        asked = false;
        parser.onParse = [&](const QString &) {
            if (!asked) {
                asked = true;
                doc.reparse();
                doc.rehighlight();
            }
        };
        parser.resetCounts();
        setLine(doc, 2, "a = 6");
        QCOMPARE(parser.calls, 1 + 5); // the line, then one reparse (the rehighlight is in it)
        QCOMPARE(tree(doc), QString("[Data](x=0 a=6 b=2 c=3)"));
        parser.onParse = nullptr;
    }

    void versionAndTypeRehighlight()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\n");
        QSignalSpy versions(doc.root(), &RootCode::versionChanged);
        doc.ownParser.resetCounts();
        doc.setVersion(3);
        QCOMPARE(doc.version(), 3u);
        QCOMPARE(versions.count(), 1);
        QCOMPARE(doc.ownParser.calls, 3);
        doc.ownParser.resetCounts();
        doc.setVersion(3);
        QCOMPARE(versions.count(), 1);
        QCOMPARE(doc.ownParser.calls, 0);

        doc.setFileType(4, false);
        QCOMPARE(doc.fileType(), 4);
        QCOMPARE(doc.ownParser.calls, 0);
        doc.setFileType(2, true);
        QCOMPARE(doc.ownParser.calls, 3);
    }

    void marks()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\nb = 2\n");
        ZornTest::TestCodeMark mark;
        ZornTest::TestCodeMark other;
        QVERIFY(!doc.addMark(&mark, 0));
        QVERIFY(!doc.addMark(&mark, 5));
        QVERIFY(!doc.hasMark(&mark));
        QVERIFY(doc.addMark(&mark, 2));
        QCOMPARE(mark.line, 2);
        QCOMPARE(mark.block, line(doc, 1));
        QVERIFY(doc.addMark(&other, 3));
        QCOMPARE(doc.marksAt(2), QList<CodeMark *>({&mark}));
        QVERIFY(doc.marksAt(0).isEmpty());
        QVERIFY(doc.hasMark(&mark));

        doc.removeMark(&other);
        QVERIFY(!doc.hasMark(&other));
        QCOMPARE(other.removals, 0);

        // The line goes: the mark hears of it.
        QTextCursor cursor(line(doc, 1));
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        QCOMPARE(mark.removals, 1);
        QVERIFY(!doc.hasMark(&mark));

        // Not when the document itself goes.
        auto *temporary = new TestCodeDocument;
        temporary->setPlainText("a = 1\n");
        ZornTest::TestCodeMark kept;
        QVERIFY(temporary->addMark(&kept, 1));
        temporary->release();
        QCOMPARE(kept.removals, 0);
    }

    void linksBelongToTheirLine()
    {
        const int before = ZornTest::TestCodeLink::alive;
        {
            TestCodeDocument doc;
            doc.setPlainText("[Files]\nsprite = \"kfm.sff\"\nsound = kfm.snd\n");
            QCOMPARE(ZornTest::TestCodeLink::alive, before + 2);
            const QList<CodeLink *> links = dataOf(doc, 1)->links();
            QCOMPARE(links.size(), 1);
            QCOMPARE(links.first()->start, line(doc, 1).position() + 9);
            QCOMPARE(links.first()->end, line(doc, 1).position() + 18);
            QCOMPARE(static_cast<ZornTest::TestCodeLink *>(links.first())->target,
                     QString("kfm.sff"));
            QVERIFY(links.first()->open());

            setLine(doc, 1, "sprite = \"other.sff\"");
            QCOMPARE(ZornTest::TestCodeLink::alive, before + 2); // replaced, not added
            setLine(doc, 2, "; sound");
            QCOMPARE(ZornTest::TestCodeLink::alive, before + 1);
            // In another section the value is no file.
            setLine(doc, 0, "[Info]");
            QCOMPARE(ZornTest::TestCodeLink::alive, before);
            setLine(doc, 0, "[Files]");
            QCOMPARE(ZornTest::TestCodeLink::alive, before + 1);
        }
        QCOMPARE(ZornTest::TestCodeLink::alive, before);
    }

    void nodeFilesFollowTheirKind()
    {
        auto *doc = new TestCodeDocument;
        bool docGone = false;
        doc->destroyed = &docGone;
        doc->setPlainText("[Data]\na = 1\n[Info]\n[Data two]\nb = 2\n");
        auto tester = testModel(doc->model());
        auto *file = new TestNodeFile(doc);
        bool fileGone = false;
        file->destroyed = &fileGone;
        doc->registerNodeFile(file, CodeNode::Group, ZornTest::DataSection);
        QCOMPARE(doc->nodeFile(CodeNode::Group, ZornTest::DataSection), file);
        QVERIFY(!doc->nodeFile(CodeNode::Group, ZornTest::InfoSection));
        QCOMPARE(doc->refCount(), 2u);
        QCOMPARE(file->titles(), QStringList({"Data", "Data two"}));

        // New sections enter at their place among those of their kind.
        QTextCursor cursor(line(*doc, 2));
        cursor.insertText("[Data one]\n");
        QCOMPARE(file->titles(), QStringList({"Data", "Data one", "Data two"}));
        setLine(*doc, 3, "[Info x]");
        QCOMPARE(file->titles(), QStringList({"Data", "Data one", "Data two"}));
        // A new title tells the file; another type takes the section out.
        const int changes = file->changes;
        setLine(*doc, 4, "[Data 2]");
        QCOMPARE(file->changes, changes + 1);
        QCOMPARE(file->titles(), QStringList({"Data", "Data one", "Data 2"}));
        setLine(*doc, 2, "[Info]");
        QCOMPARE(file->titles(), QStringList({"Data", "Data 2"}));

        // The file speaks for the document.
        QCOMPARE(file->document(), doc);
        QCOMPARE(file->model(), doc->model());
        QCOMPARE(file->capabilities(), ProjectFile::Capabilities(ProjectFile::CanDiscard
                                                                 | ProjectFile::SavesInBackground));
        QVERIFY(!file->canSave()); // the document has a holder of its own
        QVERIFY(file->isModified());
        QVERIFY(!file->messages());
        file->setOption("parseCode", true);
        QCOMPARE(doc->option("parseCode"), QVariant(true));

        // The document's own holder lets go: the file keeps it, and may save it now.
        doc->release();
        QVERIFY(!docGone);
        QCOMPARE(doc->refCount(), 1u);
        QVERIFY(file->canSave());
        QCOMPARE(file->capabilities(), ProjectFile::Capabilities(ProjectFile::SavesInBackground));
        // The file's last release takes the document along.
        file->release();
        QVERIFY(fileGone);
        QVERIFY(docGone);
    }

    void lastReleaseOfTheDocumentTakesItsFiles()
    {
        auto *doc = new TestCodeDocument;
        bool docGone = false;
        doc->destroyed = &docGone;
        doc->setPlainText("[Data]\n");
        auto *file = new TestNodeFile(doc);
        bool fileGone = false;
        file->destroyed = &fileGone;
        doc->registerNodeFile(file, CodeNode::Group, ZornTest::DataSection);
        doc->release(); // 2 -> 1: only the file's reference is left
        QVERIFY(!docGone);
        doc->release(); // the last one: the file goes, and the document with it
        QVERIFY(fileGone);
        QVERIFY(docGone);
    }

    void projectBindsTheDocumentOfANodeFile()
    {
        ZornTest::TestInterface host;
        auto *main = new ZornTest::IniFile;
        auto *project = new ZornTest::TestProject(nullptr, 0, main, true);
        auto *doc = new TestCodeDocument;
        bool docGone = false;
        doc->destroyed = &docGone;
        auto *file = new TestNodeFile(doc);
        doc->registerNodeFile(file, CodeNode::Group, ZornTest::StateSection);
        QVERIFY(!doc->project());

        QVERIFY(project->addFile(file, Project::Animations));
        QCOMPARE(file->project(), project);
        QCOMPARE(doc->project(), project);
        // Without the node file the project lets go of the document too...
        file->addRef();
        project->removeFile(file);
        QVERIFY(!doc->project());
        QVERIFY(!file->project());
        // ...unless it holds the document itself.
        QVERIFY(project->addFile(file, Project::Animations));
        QVERIFY(project->addFile(doc, Project::Scripts));
        file->addRef();
        project->removeFile(file);
        QCOMPARE(doc->project(), project);
        QCOMPARE(file->project(), project); // through its document
        QVERIFY(project->addFile(file, Project::Animations));

        // The project's message list shows the document's messages, told once per pass.
        QSignalSpy updates(project->messages(), &MessageList::updated);
        doc->setPlainText("[State 1]\nbad\n");
        QCOMPARE(project->messages()->errorCount(), 1u);
        updates.clear();
        QTextCursor(doc).insertText("also bad\n");
        QCOMPARE(updates.count(), 1);
        QCOMPARE(project->messages()->errorCount(), 2u);
        // The project's options reach the document.
        project->setOption("highlightCode", false);
        doc->reparse();
        QCOMPARE(project->messages()->errorCount(), 0u);

        project->release();
        QVERIFY(docGone);
        delete project;
    }

    void modelCodeSwitch()
    {
        ZornTest::TestInterface host;
        host.options.insert("modelCode", false);
        TestCodeDocument doc;
        auto tester = testModel(doc.model());
        doc.setPlainText("[Data]\na = 1\n[Info]\n");
        QCOMPARE(doc.model()->rowCount(), 0);
        QVERIFY(!doc.model()->index(0, 0).isValid());
        QVERIFY(!doc.indexInLine(1).isValid());
        QCOMPARE(doc.root()->childCount(), 2u); // the tree is there, the model hides it

        host.options.insert("modelCode", true);
        doc.reparse();
        QCOMPARE(doc.model()->rowCount(), 2);
        QCOMPARE(doc.model()->index(0, 0).data().toString(), QString("Data"));
        host.options.insert("modelCode", false);
        doc.reparse();
        QCOMPARE(doc.model()->rowCount(), 0);
    }

    void editsInsideAChange_data()
    {
        QTest::addColumn<bool>("parse");
        QTest::newRow("parseCode on") << true;
        QTest::newRow("parseCode off") << false;
    }

    void editsInsideAChange()
    {
        QFETCH(bool, parse);
        ZornTest::TestInterface host;
        host.options.insert("parseCode", parse);
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\n[Info]\nname = \"x\"\n");
        auto tester = testModel(doc.model());
        auto *data = static_cast<TestGroupCode *>(doc.root()->childs().first());
        QCOMPARE(doc.root()->canParseCode(), parse);

        doc.beginChange();
        QVERIFY(doc.isCodeBeingChanged());
        doc.ownParser.resetCounts();
        ValueCode *added = data->addValue("b", "2", false);
        QCOMPARE(line(doc, 2).text(), QString("b = 2"));
        // The tree follows at once when it may; formats and messages wait for the end.
        QCOMPARE(added != nullptr, parse);
        QCOMPARE(data->valueCount(), parse ? 2 : 1);
        QCOMPARE(doc.ownParser.syntaxGiven, 0);
        ValueCode *first = data->insertValue(0, "z", "text", true);
        QCOMPARE(first != nullptr, parse);
        if (parse) {
            QCOMPARE(data->valueAt(0), first);
            QCOMPARE(first->rawValue(), QVariant("text"));
        }
        doc.insertBefore(doc.root()->childs().at(1), "; before info", false);
        doc.endChange();
        QVERIFY(!doc.isCodeBeingChanged());
        doc.endChange(); // unmatched: ignored

        QCOMPARE(
            doc.toPlainText(),
            QString("[Data]\nz = \"text\"\na = 1\nb = 2\n; before info\n[Info]\nname = \"x\"\n"));
        QCOMPARE(tree(doc), QString("[Data](z=text a=1 b=2) [Info](name=x)"));
        QVERIFY(doc.ownParser.syntaxGiven > 0);
        QCOMPARE(ZornTest::describeDocument(&doc), fresh(doc.toPlainText()));

        // One undo step for the whole change.
        doc.undo();
        QCOMPARE(doc.toPlainText(), QString("[Data]\na = 1\n[Info]\nname = \"x\"\n"));
        QCOMPARE(ZornTest::describeDocument(&doc), fresh(doc.toPlainText()));
    }

    void insertionPoints()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\n; end of data\n[Info]\nb = 2");
        CodeNode *data = doc.root()->childs().first();
        doc.insertAfter(data, "x = 1", false); // behind the whole section
        QCOMPARE(line(doc, 3).text(), QString("x = 1"));
        doc.insertAfter(data, "y = 1", true); // behind the header's own line
        QCOMPARE(line(doc, 1).text(), QString("y = 1"));
        doc.insertBefore(data, "; top", true); // no line above: at the start
        QCOMPARE(line(doc, 0).text(), QString("; top"));
        doc.insertBefore(doc.nodeInBlock(line(doc, 3)), "w = 0", true);
        QCOMPARE(line(doc, 3).text(), QString("w = 0"));
        doc.insertAfter(nullptr, "z = 9", false);
        QCOMPARE(doc.toPlainText().endsWith("b = 2z = 9\n"), true);
        doc.insertBefore(nullptr, "; first", false);
        QCOMPARE(line(doc, 0).text(), QString("; first"));
        doc.insert("tail = 1");
        QVERIFY(doc.toPlainText().endsWith("\ntail = 1"));
        QCOMPARE(doc.cursor().position(), doc.characterCount() - 1);
        QCOMPARE(ZornTest::describeDocument(&doc), fresh(doc.toPlainText()));
        // A cursor of another document does nothing here.
        TestCodeDocument other;
        doc.insertOnCursor("nothing", QTextCursor(&other));
        QVERIFY(!doc.toPlainText().contains("nothing"));
    }

    void rangesFromTheParserAreClipped()
    {
        ScriptedParser parser;
        parser.script = [](const QString &text, CodeParserSyntax *syntax) {
            if (text == "comment") {
                syntax->setToken(CodeParserSyntax::Comment, 0, 7);
            } else if (text == "flag") {
                syntax->setToken(CodeParserSyntax::Number, -1, 0);
            } else {
                syntax->setToken(CodeParserSyntax::Number, 0, 2);
                syntax->setToken(CodeParserSyntax::Name, -3, 2); // no range: no format
                syntax->setToken(CodeParserSyntax::String, 4, 400);
                syntax->addError(CodeParserSyntax::Invalid, "far", 50, 60);
                syntax->addWarning(CodeParserSyntax::Invalid, "near", 1, 3);
                syntax->setToken(CodeParserSyntax::TokenType(12), 0, 3); // no such format
                syntax->addParenthesis(true, '(', 5);
            }
        };
        TestCodeDocument doc(&parser);
        doc.setPlainText("abcdefgh\ncomment\nflag");
        const QVector<QTextLayout::FormatRange> ranges = line(doc, 0).layout()->formats();
        QCOMPARE(ranges.size(), 3);
        QCOMPARE(ranges.at(0).start, 0);
        QCOMPARE(ranges.at(0).length, 1);
        QCOMPARE(ranges.at(0).format.foreground().color(), QColor(128, 0, 255));
        QCOMPARE(ranges.at(1).start, 1); // the warning's underline over 1..3
        QCOMPARE(ranges.at(1).length, 2);
        QCOMPARE(ranges.at(1).format.underlineColor(), QColor(255, 255, 0));
        QCOMPARE(ranges.at(2).start, 4); // clipped to the line
        QCOMPARE(ranges.at(2).length, 4);
        QCOMPARE(doc.messages()->count(Message::Error), 1u); // recorded, though off the line
        QCOMPARE(dataOf(doc, 0)->parenthesis().first().position, 5);
        QVERIFY(dataOf(doc, 0)->isParsed());
        QVERIFY(!dataOf(doc, 1)->isParsed()); // comment tokens only
        QVERIFY(dataOf(doc, 2)->isParsed());  // a token without a range still counts
        QVERIFY(line(doc, 2).layout()->formats().isEmpty());
        doc.setParser(nullptr);
    }

    void syntaxFormatsAreShared()
    {
        const QTextCharFormat saved = CodeDocument::syntaxFormat(CodeParserSyntax::Name);
        QCOMPARE(saved.foreground().color(), QColor(Qt::blue));
        QCOMPARE(saved.font().family(), QString("Courier"));
        QVERIFY(saved.font().fixedPitch());
        QCOMPARE(CodeDocument::syntaxFormat(CodeParserSyntax::Comment).fontItalic(), true);
        QCOMPARE(CodeDocument::syntaxFormat(CodeParserSyntax::Keyword).fontWeight(), 75);
        QTextCharFormat green;
        green.setForeground(Qt::green);
        CodeDocument::setSyntaxFormat(CodeParserSyntax::Name, green);
        TestCodeDocument doc;
        doc.setPlainText("a = 1");
        QCOMPARE(line(doc, 0).layout()->formats().first().format.foreground().color(),
                 QColor(Qt::green));
        CodeDocument::setSyntaxFormat(CodeParserSyntax::Name, saved);
        QVERIFY(CodeDocument::syntaxFormat(CodeParserSyntax::TokenType(10)).propertyCount() == 0);
    }

    void documentBasics()
    {
        TestCodeDocument doc;
        QCOMPARE(doc.defaultFont().family(), QString("Courier"));
        QCOMPARE(doc.defaultFont().pointSize(), 10);
        QVERIFY(qobject_cast<QPlainTextDocumentLayout *>(doc.documentLayout()));
        QCOMPARE(doc.capabilities(), ProjectFile::Capabilities(12));
        QVERIFY(doc.canSave());
        QCOMPARE(doc.messages()->file(), static_cast<ProjectFile *>(&doc));
        QCOMPARE(doc.codecId(), TextCodecsIndexOfUtf8());
        QCOMPARE(doc.fileType(), -1);
        QCOMPARE(TestCodeDocument(nullptr, 3).fileType(), 3);

        doc.setTitle("kfm.cns");
        QCOMPARE(doc.title(), QString("kfm.cns"));
        doc.setFileName("/games/kfm/kfm.cns");
        QCOMPARE(doc.fileName(), QString("/games/kfm/kfm.cns"));
        QCOMPARE(doc.displayName(), QString("kfm.cns"));

        doc.fromString("[Data]\r\na\t= 1\n");
        QVERIFY(!doc.isModified());
        QVERIFY(doc.fileName().isEmpty());
        QCOMPARE(tree(doc), QString("[Data](a=1)"));
        QVERIFY(!doc.isEmpty());
        setLine(doc, 1, "a = 2");
        QVERIFY(doc.isModified());

        QSignalSpy modified(&doc, &QTextDocument::modificationChanged);
        doc.reset();
        QVERIFY(doc.isEmpty());
        QVERIFY(!doc.root()->next());
        QCOMPARE(doc.messages()->count(Message::All), 0u);
        QVERIFY(!modified.isEmpty());
        QCOMPARE(modified.last().first().toBool(), false);
    }

    void filesThroughAnArchive()
    {
        ZornTest::MemoryArchive archive;
        archive.files.insert("/kfm.cns", "[Data]\nlife = 1000\n");
        TestCodeDocument doc;
        QVERIFY(doc.fromFile(archive, "/kfm.cns", 0, nullptr));
        QCOMPARE(tree(doc), QString("[Data](life=1000)"));
        QCOMPARE(doc.fileName(), QString("/kfm.cns"));
        QVERIFY(!doc.isModified());
        QVERIFY(!doc.fromFile(archive, "/missing.cns", 0, nullptr));
        QCOMPARE(doc.fileName(), QString("/kfm.cns"));

        setLine(doc, 1, "life = 900");
        QVERIFY(doc.toFile(archive, "/out.cns", 0, nullptr));
        QCOMPARE(archive.files.value("/out.cns"), QByteArray("[Data]\r\nlife = 900\r\n"));
        QVERIFY(!doc.isModified());

        // Bytes that are no text of any codec still load as something, and parse.
        archive.files.insert("/junk.cns",
                             QByteArray("\xff\xfe[Da\x00\x01\xc3(\n=\xed\xa0\x80", 14));
        QVERIFY(doc.fromFile(archive, "/junk.cns", 0, nullptr));
        QVERIFY(doc.blockCount() >= 1);
        archive.readOnly = true;
        QVERIFY(!doc.toFile(archive, "/out.cns", 0, nullptr));

        // Reading again what changed on disk.
        QVERIFY(doc.fromFile(archive, "/kfm.cns", 0, nullptr));
        archive.files.insert("/kfm.cns", "[Info]\nname = \"KFM\"\n");
        doc.reload();
        QCOMPARE(tree(doc), QString("[Info](name=KFM)"));
        QVERIFY(!doc.isModified());
    }

    void formatLinesOfTheTestModule()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\n  a=1\nb   =  2 ; c\n; note\n[Info]\n    x = 3");
        doc.formatLines(0, 5, true);
        QCOMPARE(doc.toPlainText(),
                 QString("[Data]\n    a=1\n    b   =  2 ; c\n; note\n[Info]\n    x = 3"));
        doc.formatLines(1, 2, false);
        QCOMPARE(doc.toPlainText(),
                 QString("[Data]\n    a = 1\n    b = 2 ; c\n; note\n[Info]\n    x = 3"));
        doc.undo(); // one step per call
        QCOMPARE(line(doc, 1).text(), QString("    a=1"));
        QCOMPARE(ZornTest::describeDocument(&doc), fresh(doc.toPlainText()));
    }

    void malformedLinesSurvive_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString();
        QTest::newRow("brackets") << QString("[[[[\n]]]]\n[\n]\n[;]\n[ ] = 1");
        QTest::newRow("quotes") << QString("\"\"\"\na = \"\nb = \"\"\"\n= \"x\"");
        QTest::newRow("equals") << QString("=\n==\na==b\n = = =\n.=1");
        QTest::newRow("control characters")
            << QString::fromUtf8("a = \x01\x02\x7f\n\x00[Data]\n\tb\t=\t1\t;\t");
        QTest::newRow("numbers") << QString("a = 99999999999999999999\nb = 1e999\nc = -\nd = +.e");
        QTest::newRow("commas") << QString("a = ,\nb = ,,,,\nc = 1,\nd = ,1");
        QTest::newRow("long line") << QString("a = ") + QString(100000, QLatin1Char('9'))
                                          + QString(", 1") + QString(5000, QLatin1Char(','));
        QTest::newRow("carriage returns") << QString("[Data]\r\na = 1\r\r\nb = 2\r");
        QTest::newRow("surrogates") << QString::fromUtf16(u"a = \xd800\nb = \xdc00\xd800");
    }

    void malformedLinesSurvive()
    {
        QFETCH(QString, text);
        TestCodeDocument doc;
        auto tester = testModel(doc.model());
        doc.setPlainText(text);
        QCOMPARE(ZornTest::describeDocument(&doc), fresh(text));
        // Every line may be edited in any way afterwards.
        for (int i = 0; i < doc.blockCount(); ++i)
            setLine(doc, i, line(doc, i).text().mid(1));
        QCOMPARE(ZornTest::describeDocument(&doc), fresh(doc.toPlainText()));
    }

private:
    static QString fresh(const QString &text)
    {
        TestCodeDocument doc;
        doc.setPlainText(text);
        return ZornTest::describeDocument(&doc);
    }

    static int TextCodecsIndexOfUtf8();
};

#include <zornx/code/textcodecs.h>

int tst_CodeDocument::TextCodecsIndexOfUtf8()
{
    return TextCodecs::index("UTF-8");
}

QTEST_MAIN(tst_CodeDocument)
#include "tst_codedocument.moc"
