#include "testcode.h"
#include "testengine.h"
#include "testinterface.h"

#include <zornx/code/codeblockdata.h>
#include <zornx/core/messages.h>

#include <QtGui/QTextLayout>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>

#include <memory>
#include <utility>

using namespace Zorn;
using ZornTest::TestCodeDocument;
using Sample::GroupNode;
using ZornTest::TestNodeFile;

namespace {

QTextBlock line(const CodeDocument &doc, int number)
{
    return doc.findBlockByNumber(number);
}

const CodeBlockData *dataOf(const CodeDocument &doc, int number)
{
    return CodeBlockData::testBlockData(line(doc, number));
}

// One number per line: its state, or its folding indent (-1 without block data).
QList<int> perLine(const CodeDocument &doc, bool indent)
{
    QList<int> out;
    for (QTextBlock block = doc.begin(); block.isValid(); block = block.next()) {
        const CodeBlockData *data = CodeBlockData::testBlockData(block);
        out.append(!indent ? block.userState() : data ? int(data->foldingIndent()) : -1);
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
        doc.setPlainText("; header comment\nlife = 1\n; two comments\n; before a header\n"
                         "[Data]\nlife = 1000\npos = 1, 2\n; inside\n; also inside\n"
                         "[Info]\nname = \"LANTERN\"");
        QCOMPARE(tree(doc), QString("[Data](life=1000 pos=1, 2) [Info](name=LANTERN)"));
        QVERIFY(!doc.nodeInBlock(line(doc, 1))->parent()); // before any header
        // The first line without a node takes -1; a header its type; the rest the state
        // of the line above.
        QCOMPARE(perLine(doc, false), QList<int>({-1, -1, -1, -1, 2, 2, 2, 2, 2, 1, 1}));
        // Comments in front of a header fold with the header.
        QCOMPARE(perLine(doc, true), QList<int>({0, 0, 0, 0, 0, 1, 1, 0, 0, 0, 1}));

        QVERIFY(!dataOf(doc, 0)->isParsed()); // comment only
        QVERIFY(dataOf(doc, 1)->isParsed());
        QCOMPARE(dataOf(doc, 4)->parenthesis().at(1).position, 5);

        // Formats: one range per run of equal formats, none for plain text.
        const QVector<QTextLayout::FormatRange> value = line(doc, 6).layout()->formats();
        QCOMPARE(value.size(), 4); // key, '=', two numbers
        QCOMPARE(value.at(2).format.foreground().color(), QColor(128, 0, 255));
    }

    void messagesAndCounts()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\nlife = abc\nver = 1\noops\n[Nope]\n");
        const Messages *messages = doc.messages();
        auto tester = testModel(const_cast<Messages *>(messages));
        QCOMPARE(messages->count(Message::Error), 1u);
        QCOMPARE(messages->count(Message::Warning), 4u);
        const Message first = messages->at(0, Message::All);
        QCOMPARE(QString("%1:%2 %3").arg(first.line).arg(first.column).arg(first.text),
                 QString("1:7 Unquoted string"));
        QCOMPARE(messages->at(0, Message::Error).text, QString("'=' expected"));
        QCOMPARE(messages->at(1, Message::Error).type, Message::All); // past the end

        // Errors are underlined in red over their range.
        const QTextCharFormat underline = line(doc, 3).layout()->formats().first().format;
        QCOMPARE(underline.underlineStyle(), QTextCharFormat::SpellCheckUnderline);
        QCOMPARE(underline.underlineColor(), QColor(Qt::red));
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
        doc.reparse();
        QCOMPARE(updates.count(), 1);
    }

    void passParsesOnlyWhatChanged()
    {
        TestCodeDocument doc;
        doc.setPlainText(ZornTest::generateCode(3000));
        auto tester = testModel(doc.model());
        ZornTest::TestParser &parser = doc.ownParser;
        const int header = 1480; // "[State 74]", the next header at 1500
        const int middle = 1483; // "pos3 = 1483, 3"
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

        // Another type changes the state of every line of the section, up to the next
        // header, whose own state is as before.
        parser.resetCounts();
        setLine(doc, header, "[Data]");
        QCOMPARE(parser.calls, 21);
        QCOMPARE(parser.lines.last(), header + 20);

        // Deleting a header gives its section to the one above (an [Info]), and the states
        // of its lines change up to the next header.
        parser.resetCounts();
        const QTextBlock gone = line(doc, header);
        cursor.setPosition(gone.position());
        cursor.setPosition(gone.position() + gone.length(), QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        QCOMPARE(parser.calls, 20); // the 19 lines left of the section, then the next header
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
        QCOMPARE(doc.nodeFromIndex(changed.first().first().value<QModelIndex>()), life);

        // A parser that never keeps makes a node on every parse.
        doc.ownParser.keepNodes = false;
        setLine(doc, 2, "power = 6");
        QCOMPARE(tree(doc), QString("[Data](life=900 power=6)"));
    }

    void highlightSwitch()
    {
        ZornTest::TestInterface host;
        host.options.insert("highlightCode", false);
        TestCodeDocument doc;
        doc.setPlainText("[Data]\nlife = abc\noops");
        QCOMPARE(doc.ownParser.syntaxGiven, 0);
        QCOMPARE(doc.messages()->count(Message::All), 0u);
        QVERIFY(line(doc, 0).layout()->formats().isEmpty());
        QCOMPARE(tree(doc), QString("[Data](life=abc)")); // the tree is built all the same

        doc.setSyntaxHighlight(true);
        QCOMPARE(doc.messages()->count(Message::All), 3u);
        QVERIFY(!line(doc, 0).layout()->formats().isEmpty());
        doc.setSyntaxHighlight(false);
        QCOMPARE(doc.messages()->count(Message::All), 0u);
        QVERIFY(line(doc, 0).layout()->formats().isEmpty());
    }

    void parserSwitch()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\nlife = abc\noops");
        // Without a parser, what the last one left goes.
        doc.setParser(nullptr);
        QCOMPARE(doc.messages()->count(Message::All), 0u);
        QVERIFY(line(doc, 1).layout()->formats().isEmpty());
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
        bool asked = false;
        doc.onCodeUpdated = [&]() {
            if (!std::exchange(asked, true)) {
                parser.resetCounts();
                doc.rehighlight();
            }
        };
        setLine(doc, 1, "a = 5");
        QCOMPARE(parser.calls, 4);
        doc.onCodeUpdated = nullptr;

        // From the parser it waits: the pass ends its line, stops, and then rehighlights.
        parser.resetCounts();
        bool again = false;
        parser.onParse = [&](const QString &) {
            if (!std::exchange(again, true))
                doc.rehighlight();
        };
        QTextCursor(line(doc, 1)).insertText("x = 0\n");
        QCOMPARE(parser.lines, QList<int>({1, 0, 1, 2, 3, 4}));
        parser.onParse = nullptr;
    }

    void marks()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\nb = 2\n");
        ZornTest::TestCodeMark mark, other;
        QVERIFY(!doc.addMark(&mark, 0) && !doc.addMark(&mark, 5)); // lines count from 1
        QVERIFY(doc.addMark(&mark, 2));
        QCOMPARE(mark.block, line(doc, 1));
        QVERIFY(doc.addMark(&other, 3));
        QCOMPARE(doc.marksAt(2), QList<CodeMark *>({&mark}));
        doc.removeMark(&other);
        QVERIFY(!doc.hasMark(&other));
        QCOMPARE(other.removals, 0);

        // The line goes: the mark hears of it; not when the document itself goes.
        QTextCursor cursor(line(doc, 1));
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        QCOMPARE(mark.removals, 1);
        QVERIFY(!doc.hasMark(&mark));
        auto *temporary = new TestCodeDocument;
        temporary->setPlainText("a = 1\n");
        QVERIFY(temporary->addMark(&other, 1));
        temporary->release();
        QCOMPARE(other.removals, 0);
    }

    void linksBelongToTheirLine()
    {
        const int before = ZornTest::TestCodeLink::alive;
        {
            TestCodeDocument doc;
            doc.setPlainText("[Files]\nsprite = \"lantern.spr\"\nsound = lantern.sfx\n");
            QCOMPARE(ZornTest::TestCodeLink::alive, before + 2);
            const CodeLink *link = dataOf(doc, 1)->links().first();
            QCOMPARE(link->start, line(doc, 1).position() + 9);
            QCOMPARE(link->end, line(doc, 1).position() + 22);
            // Text typed above moves the link, whose line is not parsed again.
            QTextCursor cursor(line(doc, 0));
            cursor.movePosition(QTextCursor::EndOfBlock);
            cursor.insertText(" ; the files");
            link = dataOf(doc, 1)->links().first();
            QCOMPARE(link->start, line(doc, 1).position() + 9);
            QCOMPARE(link->end, line(doc, 1).position() + 22);
            setLine(doc, 1, "sprite = \"other.spr\"");
            QCOMPARE(ZornTest::TestCodeLink::alive, before + 2); // replaced, not added
            setLine(doc, 0, "[Info]"); // in another section the value is no file
            QCOMPARE(ZornTest::TestCodeLink::alive, before);
            setLine(doc, 0, "[Files]");
        }
        QCOMPARE(ZornTest::TestCodeLink::alive, before);
    }

    void nodeFilesFollowTheirKind_data()
    {
        QTest::addColumn<bool>("documentLast");
        QTest::newRow("file released last") << false;
        QTest::newRow("document released last") << true;
    }

    void nodeFilesFollowTheirKind()
    {
        QFETCH(bool, documentLast);
        auto *doc = new TestCodeDocument;
        bool docGone = false, fileGone = false;
        doc->destroyed = &docGone;
        doc->setPlainText("[Data]\na = 1\n[Info]\n[Data two]\nb = 2\n");
        auto tester = testModel(doc->model());
        auto *file = new TestNodeFile(doc);
        file->destroyed = &fileGone;
        doc->registerNodeFile(file, CodeNode::Group, Sample::DataSection);
        QCOMPARE(doc->nodeFile(CodeNode::Group, Sample::DataSection), file);
        QCOMPARE(file->titles(), QStringList({"Data", "Data two"}));

        // New sections enter at their place among those of their kind; another type takes the
        // section out.
        QTextCursor(line(*doc, 2)).insertText("[Data one]\n");
        QCOMPARE(file->titles(), QStringList({"Data", "Data one", "Data two"}));
        setLine(*doc, 4, "[Data 2]");
        setLine(*doc, 2, "[Info]");
        QCOMPARE(file->titles(), QStringList({"Data", "Data 2"}));
        QVERIFY(!file->canSave()); // the document has a holder of its own

        // The document's own holder lets go: the file keeps it, and may save it now.
        doc->release();
        QVERIFY(!docGone);
        QVERIFY(file->canSave());
        if (documentLast)
            doc->release(); // the last reference: the file goes, and the document with it
        else
            file->release();
        QVERIFY(fileGone);
        QVERIFY(docGone);
    }

    void projectBindsTheDocumentOfANodeFile()
    {
        ZornTest::TestInterface host;
        auto *project = new ZornTest::TestProject(nullptr, 0, new Sample::IniFile, true);
        auto *doc = new TestCodeDocument;
        bool docGone = false;
        doc->destroyed = &docGone;
        auto *file = new TestNodeFile(doc);
        doc->registerNodeFile(file, CodeNode::Group, Sample::StateSection);
        QVERIFY(project->addFile(file, Project::Animations));
        QCOMPARE(doc->project(), project);
        // Without the node file the project lets go of the document too...
        file->addRef();
        project->removeFile(file);
        QVERIFY(!doc->project());
        // ...unless it holds the document itself.
        QVERIFY(project->addFile(file, Project::Animations));
        QVERIFY(project->addFile(doc, Project::Scripts));
        file->addRef();
        project->removeFile(file);
        QCOMPARE(file->project(), project); // through its document
        QVERIFY(project->addFile(file, Project::Animations));

        // The project's message list shows the document's messages, and the project's options
        // reach the document.
        doc->setPlainText("[State 1]\nbad\nalso bad\n");
        QCOMPARE(project->messages()->errorCount(), 2u);
        project->setOption("highlightCode", false);
        doc->reparse();
        QCOMPARE(project->messages()->errorCount(), 0u);
        project->release();
        QVERIFY(docGone);
        delete project;
    }

    void reparseTriggers()
    {
        ZornTest::TestInterface host;
        host.options.insert("modelCode", false);
        TestCodeDocument doc;
        auto tester = testModel(doc.model());
        doc.setPlainText("[Data]\na = 1\n");
        QCOMPARE(doc.model()->rowCount(), 0); // the tree is there, the model hides it
        QCOMPARE(doc.root()->childCount(), 1u);
        host.options.insert("modelCode", true);
        doc.reparse();
        QCOMPARE(doc.model()->rowCount(), 1);
        // A new version parses again, the same one does not; so does a file type if asked.
        QSignalSpy versions(doc.root(), &RootCode::versionChanged);
        doc.ownParser.resetCounts();
        doc.setVersion(3);
        doc.setVersion(3);
        QCOMPARE(versions.count(), 1);
        QCOMPARE(doc.ownParser.calls, 3);
        doc.setFileType(4, false);
        QCOMPARE(doc.ownParser.calls, 3);
        doc.setFileType(2, true);
        QCOMPARE(doc.ownParser.calls, 6);
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
        auto *data = static_cast<GroupNode *>(doc.root()->childs().first());

        doc.beginChange();
        doc.ownParser.resetCounts();
        ValueCode *added = data->addValue("b", "2", false);
        // The tree follows at once when it may; formats and messages wait for the end.
        QCOMPARE(added != nullptr, parse);
        QCOMPARE(data->valueCount(), parse ? 2 : 1);
        QCOMPARE(doc.ownParser.syntaxGiven, 0);
        ValueCode *first = data->insertValue(0, "z", "text", true);
        QCOMPARE(parse ? data->valueAt(0) : nullptr, first);
        doc.insertBefore(doc.root()->childs().at(1), "; before info", false);
        doc.endChange();
        doc.endChange(); // unmatched: ignored
        QVERIFY(!doc.isCodeBeingChanged());

        QCOMPARE(
            doc.toPlainText(),
            QString("[Data]\nz = \"text\"\na = 1\nb = 2\n; before info\n[Info]\nname = \"x\"\n"));
        QVERIFY(doc.ownParser.syntaxGiven > 0);
        QCOMPARE(ZornTest::describeDocument(&doc), fresh(doc.toPlainText())); // caught up
        doc.undo(); // one step for the whole change
        QCOMPARE(doc.toPlainText(), QString("[Data]\na = 1\n[Info]\nname = \"x\"\n"));
    }

    void insertionPoints()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\n; end of data\n[Info]\nb = 2");
        CodeNode *data = doc.root()->childs().first();
        doc.insertAfter(data, "x = 1", false); // behind the whole section
        doc.insertAfter(data, "y = 1", true);  // behind the header's own line
        doc.insertBefore(data, "; top", true); // no line above: at the start
        doc.insertAfter(nullptr, "z = 9", false);
        QCOMPARE(doc.toPlainText(),
                 QString("; top\n[Data]\ny = 1\na = 1\n; end of data\nx = 1\n[Info]\nb = 2z = 9\n"));
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
            }
        };
        TestCodeDocument doc(&parser);
        doc.setPlainText("abcdefgh\ncomment\nflag");
        QList<int> spans;
        for (const QTextLayout::FormatRange &range : line(doc, 0).layout()->formats())
            spans << range.start << range.length;
        QCOMPARE(spans, QList<int>({0, 1, 1, 2, 4, 4})); // the last clipped to the line
        QCOMPARE(doc.messages()->count(Message::Error), 1u); // recorded, though off the line
        QVERIFY(!dataOf(doc, 1)->isParsed()); // comment tokens only
        QVERIFY(dataOf(doc, 2)->isParsed());  // a token without a range still counts
        QVERIFY(line(doc, 2).layout()->formats().isEmpty());
        doc.setParser(nullptr);
    }

    void malformedLinesSurvive_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString();
        QTest::newRow("brackets, quotes")
            << QString("[[[[\n]]]]\n[\n]\n[;]\n[ ] = 1\n\"\"\"\na = \"\nb = \"\"\"\n= \"x\"");
        QTest::newRow("equals and commas") << QString("=\n==\na==b\n = = =\nb = ,,,,\nc = 1,");
        QTest::newRow("control characters")
            << QString::fromUtf8("a = \x01\x02\x7f\n\x00[Data]\n\tb\t=\t1\t;\t");
        QTest::newRow("numbers") << QString("a = 99999999999999999999\nb = 1e999\nc = -\nd = +.e");
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

};

QTEST_MAIN(tst_CodeDocument)
#include "tst_codedocument.moc"
