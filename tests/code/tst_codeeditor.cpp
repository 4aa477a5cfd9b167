#include "fixtures.h"
#include "testcode.h"

#include <zornx/code/codeblockdata.h>
#include <zornx/code/codeeditor.h>

#include <QtCore/QTemporaryDir>
#include <QtGui/QTextBlock>
#include <QtTest/QtTest>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QCompleter>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QToolTip>

#include <memory>

using namespace Zorn;
using ZornTest::TestCodeDocument;
using ZornTest::TestCodeLink;
using ZornTest::TestCodeMark;

namespace {

// The protected view of the editor that the tests look at.
class Editor : public CodeEditor
{
public:
    using CodeEditor::contentOffset;
    using CodeEditor::firstVisibleBlock;
    using CodeEditor::viewportMargins;

    QWidget *gutter() const { return childAt(1, 1); }
    // The top of block, in viewport coordinates.
    int top(int block) const
    {
        return int(blockBoundingGeometry(QPlainTextEdit::document()->findBlockByNumber(block))
                       .translated(contentOffset())
                       .top());
    }
    // The selections of the editor with the given background (none: all).
    QStringList selections(const QBrush &background = QBrush()) const
    {
        QStringList out;
        for (const QTextEdit::ExtraSelection &s : extraSelections())
            if (background == QBrush() || s.format.background() == background)
                out << QStringLiteral("%1-%2").arg(s.cursor.selectionStart()).arg(
                    s.cursor.selectionEnd());
        return out;
    }
};

// A parser of nested sections for folding: "name:" opens a section inside the nearest
// section above it that is indented less; any other line is a plain node of the section.
class NestHeader : public ParentCode
{
public:
    NestHeader(const QTextBlock &block, CodeNode *previous, int level, NestHeader *outer)
        : ParentCode(Animation, block, previous), level(level)
    {
        if (outer)
            outer->insertChild(this, 0);
    }
    ~NestHeader() override
    {
        for (CodeNode *node : QList<CodeNode *>(inner))
            removeChild(node);
    }
    void insertChild(CodeNode *node, unsigned int index) override
    {
        ParentCode::insertChild(node, index);
        inner.append(node);
    }
    void removeChild(CodeNode *node) override
    {
        inner.removeAll(node);
        ParentCode::removeChild(node);
    }
    int level;
    QList<CodeNode *> inner;
};

class NestParser : public CodeParser
{
public:
    CodeNode *parse(const QString &text, QTextBlock *block, CodeNode *, CodeNode *insertAfter,
                    RootCode *, CodeParserSyntax *) override
    {
        if (!text.trimmed().endsWith(QLatin1Char(':')))
            return new CodeNode(CodeNode::None, *block, insertAfter);
        const int level = text.indexOf(QRegularExpression(QStringLiteral("\\S")));
        NestHeader *outer = nullptr;
        for (CodeNode *node = insertAfter; node && !outer; node = node->previous())
            if (auto *header = dynamic_cast<NestHeader *>(node))
                if (header->level < level)
                    outer = header;
        return new NestHeader(*block, insertAfter, level, outer);
    }
};

struct Fixture
{
    explicit Fixture(const QString &text, CodeParser *parser = nullptr)
        : document(new TestCodeDocument(parser))
    {
        document->fromString(text);
        editor.setFont(QFont(QStringLiteral("DejaVu Sans Mono"), 10));
        editor.setDocument(document);
        editor.setFixedSize(400, 300);
        editor.show();
        QApplication::setActiveWindow(&editor);
        editor.setFocus();
        QVERIFY(QTest::qWaitForWindowExposed(&editor));
    }
    ~Fixture()
    {
        editor.setDocument(nullptr);
        document->release();
    }
    QTextBlock block(int number) const { return document->findBlockByNumber(number); }
    void moveTo(int line, int column)
    {
        QTextCursor cursor(block(line));
        cursor.setPosition(cursor.position() + column);
        editor.setTextCursor(cursor);
    }
    // The centre of a character, in viewport coordinates.
    QPoint charAt(int line, int column) const
    {
        QTextCursor cursor(block(line));
        cursor.setPosition(cursor.position() + column);
        return editor.cursorRect(cursor).center() + QPoint(3, 0);
    }
    void mouse(QWidget *target, QEvent::Type type, const QPoint &pos,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(type, pos, target->mapToGlobal(pos), button,
                          type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                          modifiers);
        QApplication::sendEvent(target, &event);
    }
    // One digit per line: 1 shown, 0 hidden.
    QString visibility() const
    {
        QString out;
        for (QTextBlock b = document->begin(); b.isValid(); b = b.next())
            out += b.isVisible() ? '1' : '0';
        return out;
    }

    TestCodeDocument *document;
    Editor editor;
};

QString lines(int count)
{
    QStringList out;
    for (int i = 0; i < count; ++i)
        out << QStringLiteral("v%1 = %1").arg(i);
    return out.join(QLatin1Char('\n'));
}

QString nested()
{
    return QStringLiteral("a:\n"         // 0
                          "  x\n"        // 1
                          "  b:\n"       // 2
                          "    y\n"      // 3
                          "    z\n"      // 4
                          "  c:\n"       // 5
                          "    w\n"      // 6
                          "d:\n"         // 7
                          "  u");        // 8
}

} // namespace

class TestCodeEditor : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void gutterWidth_data();
    void gutterWidth();
    void setCurrentLine_data();
    void setCurrentLine();
    void completerFile_data();
    void completerFile();
    void parentheses_data();
    void parentheses();
    void folding_data();
    void folding();
    void foldColumnClick_data();
    void foldColumnClick();
    void links_data();
    void links();
    void marksFollowEdits_data();
    void marksFollowEdits();
    void gutterMarkRequest();
    void toolTips();
    void painting();
};

void TestCodeEditor::gutterWidth_data()
{
    QTest::addColumn<int>("blocks");
    QTest::addColumn<bool>("numbers");
    QTest::addColumn<bool>("marks");
    QTest::addColumn<bool>("folding");
    QTest::addColumn<int>("digits");
    QTest::newRow("one line") << 1 << true << true << true << 2;
    QTest::newRow("99 lines") << 99 << true << true << true << 2;
    QTest::newRow("100 lines") << 100 << true << true << true << 3;
    QTest::newRow("1000 lines") << 1000 << true << true << true << 4;
    QTest::newRow("no numbers") << 1000 << false << true << true << 0;
    QTest::newRow("no marks") << 100 << true << false << true << 3;
    QTest::newRow("no folding") << 100 << true << true << false << 3;
}

void TestCodeEditor::gutterWidth()
{
    QFETCH(int, blocks);
    QFETCH(bool, numbers);
    QFETCH(bool, marks);
    QFETCH(bool, folding);
    QFETCH(int, digits);
    Fixture f(lines(blocks));
    CodeEditor::SyntaxFormatting formatting = f.editor.syntaxFormatting();
    formatting.lineNumbers = numbers;
    formatting.lineMarks = marks;
    formatting.foldingMarkers = folding;
    f.editor.setSyntaxFormatting(formatting);

    const QFontMetrics metrics = f.editor.gutter()->fontMetrics();
    const int spacing = metrics.lineSpacing();
    const int expected = digits * metrics.horizontalAdvance(QLatin1Char('9')) + 4
                         + (marks ? spacing : 2)
                         + (folding ? spacing + 1 + spacing % 2 : 0);
    QCOMPARE(f.editor.viewportMargins().left(), expected);
    QCOMPARE(f.editor.gutter()->width(), expected);

    // The gutter grows with the digit count as lines are typed.
    if (blocks == 99) {
        f.editor.moveCursor(QTextCursor::End);
        QTest::keyClick(&f.editor, Qt::Key_Return);
        QVERIFY(f.editor.viewportMargins().left() > expected);
        QCOMPARE(f.editor.gutter()->width(), f.editor.viewportMargins().left());
    }
}

void TestCodeEditor::setCurrentLine_data()
{
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("linesAbove"); // -1: the line only has to be on screen
    const int n = 200;
    QTest::newRow("near the top") << 3 << 2 << -1;
    QTest::newRow("nearest edge") << 100 << 0 << -1;
    QTest::newRow("page below") << 100 << 1 << 0;
    QTest::newRow("half page below") << 100 << 2 << -2;
    QTest::newRow("half page near the end") << n - 3 << 2 << -1;
    QTest::newRow("page near the end") << n - 1 << 1 << -1;
    QTest::newRow("past the end") << n + 50 << 2 << -1;
}

void TestCodeEditor::setCurrentLine()
{
    QFETCH(int, line);
    QFETCH(int, type);
    QFETCH(int, linesAbove);
    Fixture f(lines(200));
    const int displayed = int(f.editor.displayedLineCount());
    QVERIFY(displayed > 4);
    f.editor.setCurrentLine(uint(line), CodeEditor::LineType(type));

    const int expected = qMin(line, 199);
    QCOMPARE(f.editor.textCursor().blockNumber(), expected);
    QCOMPARE(f.editor.textCursor().positionInBlock(), 0);
    const int first = f.editor.firstVisibleBlock().blockNumber();
    QVERIFY(first <= expected && expected < first + displayed + 1);
    if (linesAbove == 0)
        QCOMPARE(first, expected);
    else if (linesAbove == -2)
        QVERIFY(qAbs(expected - first - displayed / 2) <= 1);

    // A position round-trips with its scroll value.
    CodeEditor::LinePos pos = f.editor.currentLine();
    f.editor.setCurrentLine(0, CodeEditor::NearestEdge);
    QSignalSpy changed(&f.editor, &CodeEditor::cursorChanged);
    f.editor.setCurrentLine(pos);
    QCOMPARE(f.editor.currentLine().line, pos.line);
    QCOMPARE(f.editor.currentLine().scroll, pos.scroll);
    QCOMPARE(changed.count(), 2); // the cursor move and the call's own
}

void TestCodeEditor::completerFile_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QStringList>("words"); // offered after what was typed
    const QByteArray full = "<models><model prefix=\"kind=\"><word value=\"beta\"/>"
                            "<word value=\"alpha\"/></model><model prefix=\"other=\">"
                            "<word value=\"x\"/></model></models>";
    const QStringList both{"beta", "alpha"};
    QTest::newRow("whole") << full << true << "kind = " << both;
    QTest::newRow("truncated after a model")
        << full.left(full.indexOf("<model prefix=\"other")) + "<model pre" << false << "kind = "
        << both;
    QTest::newRow("truncated in a model")
        << full.left(full.indexOf("<word value=\"alpha")) << false << "kind = "
        << QStringList{"beta"};
    QTest::newRow("nested in other elements")
        << QByteArray("<a><b><model prefix=\"kind=\"><c><word value=\"z\"/></c></model></b></a>")
        << true << "kind = " << QStringList{"z"};
    QTest::newRow("missing file") << QByteArray() << false << "kind = " << QStringList();
    // When the popup opens.
    QTest::newRow("key, any case") << full << true << "KIND = " << both;
    QTest::newRow("end-of-word character") << full << true << "kind =" << QStringList();
    QTest::newRow("longer word") << full << true << "mykind = " << QStringList();
    QTest::newRow("after a dot") << full << true << "a.kind = " << QStringList();
    QTest::newRow("after a comma") << full << true << "a,kind = " << both;
    QTest::newRow("moved on") << full << true << "kind = a," << QStringList();
}

void TestCodeEditor::completerFile()
{
    QFETCH(QByteArray, xml);
    QFETCH(bool, result);
    QFETCH(QString, typed);
    QFETCH(QStringList, words);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("completer.xml"));
    if (!xml.isEmpty())
        QVERIFY(ZornTest::writeFile(path, xml));
    Fixture f(QStringLiteral("[Info]\n"));
    QCOMPARE(f.editor.completerFromFile(path), result);
    f.moveTo(1, 0);
    QTest::keyClicks(&f.editor, typed);
    QCompleter *completer = f.editor.findChild<QCompleter *>();
    QCOMPARE(completer->popup()->isVisible(), !words.isEmpty());
    if (words.isEmpty())
        return;
    QAbstractItemModel *model = completer->completionModel();
    QStringList offered;
    for (int row = 0; row < model->rowCount(); ++row)
        offered << model->index(row, 0).data().toString();
    QCOMPARE(offered, words);
    // Return takes the popup's current entry in place of the word being typed.
    QTest::keyClick(completer->popup(), Qt::Key_Down);
    QTest::keyClick(completer->popup(), Qt::Key_Return);
    QVERIFY(!completer->popup()->isVisible());
    const QString text = f.document->toPlainText();
    QVERIFY2(text.endsWith(words.first()), qPrintable(text));
}

void TestCodeEditor::parentheses_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("column");
    QTest::addColumn<QStringList>("ranges"); // start-end of each match

    const QString text = QStringLiteral("[Data]\nv = (1, (2, 3))\nw = (4)(5)\nu = (1, [2\n"
                                        "t = 3))\ns = (1]\nr = (2, (3");
    // Positions: line 1 starts at 7, line 2 at 23, line 3 at 34, line 4 at 45, line 5 at 53.
    QTest::newRow("header") << text << 0 << 0 << QStringList{"0-6"};
    QTest::newRow("outer, from the front") << text << 1 << 4 << QStringList{"11-22"};
    QTest::newRow("outer, from behind") << text << 1 << 15 << QStringList{"11-22"};
    QTest::newRow("inner, from behind") << text << 1 << 14 << QStringList{"15-21"};
    QTest::newRow("between two pairs") << text << 2 << 7 << QStringList{"27-30", "30-33"};
    QTest::newRow("across lines") << text << 4 << 7 << QStringList{"38-52"};
    QTest::newRow("round against square") << text << 4 << 6 << QStringList{"42-51"};
    QTest::newRow("mismatched characters") << text << 5 << 4 << QStringList{"57-60"};
    QTest::newRow("unbalanced") << text << 6 << 4 << QStringList();
    QTest::newRow("not on a bracket") << text << 1 << 2 << QStringList();
}

void TestCodeEditor::parentheses()
{
    QFETCH(QString, text);
    QFETCH(int, line);
    QFETCH(int, column);
    QFETCH(QStringList, ranges);
    Fixture f(text);
    f.editor.setCurrentLine(CodeEditor::LinePos{line, column, 0});
    const CodeEditor::SyntaxFormatting &formatting = f.editor.syntaxFormatting();
    const QBrush rangeBrush = formatting.parenRangeFormat.background();
    if (ranges.isEmpty()) {
        QTest::qWait(100);
        QCOMPARE(f.editor.selections(rangeBrush), QStringList());
        return;
    }
    QTRY_COMPARE(f.editor.selections(rangeBrush), ranges);
    // The two brackets of each range are marked too, behind the range.
    QStringList expected;
    for (const QString &range : ranges) {
        const int start = range.section('-', 0, 0).toInt();
        const int end = range.section('-', 1, 1).toInt();
        expected << range << QStringLiteral("%1-%2").arg(start).arg(start + 1)
                 << QStringLiteral("%1-%2").arg(end - 1).arg(end);
    }
    QStringList all = f.editor.selections();
    all.removeFirst(); // the current line
    QCOMPARE(all, expected);

    // Moving off the bracket clears the match at once.
    f.moveTo(0, 3);
    QTRY_COMPARE(f.editor.selections(rangeBrush), QStringList());
}

void TestCodeEditor::folding_data()
{
    QTest::addColumn<QList<int>>("toggles");
    QTest::addColumn<QString>("visible"); // one digit per line
    QTest::newRow("fold outer") << QList<int>{0} << QStringLiteral("100000011");
    QTest::newRow("fold inner") << QList<int>{2} << QStringLiteral("111001111");
    QTest::newRow("fold and unfold") << QList<int>{2, 2} << QStringLiteral("111111111");
    QTest::newRow("unfold keeps a nested fold")
        << QList<int>{2, 0, 0} << QStringLiteral("111001111");
    QTest::newRow("two nested folds") << QList<int>{2, 5, 0, 0} << QStringLiteral("111001011");
    QTest::newRow("not a header") << QList<int>{1} << QStringLiteral("111111111");
    QTest::newRow("last line") << QList<int>{8} << QStringLiteral("111111111");
}

void TestCodeEditor::folding()
{
    QFETCH(QList<int>, toggles);
    QFETCH(QString, visible);
    NestParser parser;
    Fixture f(nested(), &parser);
    QCOMPARE(f.document->lineCount(), 9);
    for (int header : toggles)
        f.editor.toggleBlockVisible(f.block(header));
    QCOMPARE(f.visibility(), visible);
    const int lineCount = visible.count('1');
    // Hidden lines take no room, and the scroll range follows.
    QCOMPARE(f.document->lineCount(), lineCount);
    QCOMPARE(f.document->documentLayout()->documentSize().height(), qreal(lineCount));
}

void TestCodeEditor::foldColumnClick_data()
{
    QTest::addColumn<int>("hover");     // the line the pointer rests on in the fold column
    QTest::addColumn<int>("click");     // the line clicked
    QTest::addColumn<bool>("foldFirst"); // line 2 is folded before
    QTest::addColumn<QString>("visible");
    QTest::newRow("header") << 0 << 0 << false << QStringLiteral("100000011");
    QTest::newRow("inside the range") << 1 << 4 << false << QStringLiteral("100000011");
    QTest::newRow("outside the range") << 8 << 0 << false << QStringLiteral("111111111");
    QTest::newRow("folded header") << 2 << 2 << true << QStringLiteral("111111111");
}

void TestCodeEditor::foldColumnClick()
{
    QFETCH(int, hover);
    QFETCH(int, click);
    QFETCH(bool, foldFirst);
    QFETCH(QString, visible);
    NestParser parser;
    Fixture f(nested(), &parser);
    if (foldFirst)
        f.editor.toggleBlockVisible(f.block(2));
    f.moveTo(3, 1); // hidden when the first click folds
    QWidget *gutter = f.editor.gutter();
    const int x = gutter->width() - 3;
    const int lineHeight = f.editor.fontMetrics().height();
    f.mouse(gutter, QEvent::MouseMove, QPoint(x, f.editor.top(hover) + lineHeight / 2));
    QTest::qWait(200); // the block highlight follows after a rest
    const QPoint at(x, f.editor.top(click) + lineHeight / 2);
    f.mouse(gutter, QEvent::MouseButtonPress, at);
    f.mouse(gutter, QEvent::MouseButtonRelease, at);
    QCOMPARE(f.visibility(), visible);
    QVERIFY(f.editor.textCursor().block().isVisible());
}

void TestCodeEditor::links_data()
{
    QTest::addColumn<bool>("control");
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("alt");
    QTest::addColumn<bool>("shown");
    QTest::addColumn<int>("opened");
    QTest::newRow("control over the link") << true << 12 << false << true << 1;
    QTest::newRow("control and alt") << true << 12 << true << true << 0;
    QTest::newRow("no control") << false << 12 << false << false << 0;
    QTest::newRow("control over the key") << true << 2 << false << false << 0;
    QTest::newRow("control past the line's end") << true << 40 << false << false << 0;
}

void TestCodeEditor::links()
{
    QFETCH(bool, control);
    QFETCH(int, column);
    QFETCH(bool, alt);
    QFETCH(bool, shown);
    QFETCH(int, opened);
    Fixture f(QStringLiteral("[Files]\nsprites = \"a.spr\"\n"));
    const CodeBlockData *data = CodeDocument::blockData(f.block(1));
    QVERIFY(data && data->links().size() == 1);
    auto *link = static_cast<TestCodeLink *>(data->links().first());
    QWidget *viewport = f.editor.viewport();
    const Qt::KeyboardModifiers modifiers =
        (control ? Qt::ControlModifier : Qt::NoModifier) | (alt ? Qt::AltModifier : Qt::NoModifier);
    const QPoint pos = column < 40 ? f.charAt(1, column) : QPoint(350, f.charAt(1, 0).y());
    f.mouse(viewport, QEvent::MouseMove, pos, modifiers);

    const QStringList underlined = [&] {
        QStringList out;
        for (const QTextEdit::ExtraSelection &s : f.editor.extraSelections())
            if (s.format.underlineStyle() == QTextCharFormat::SingleUnderline)
                out << QStringLiteral("%1-%2").arg(s.cursor.selectionStart()).arg(
                    s.cursor.selectionEnd());
        return out;
    }();
    const QString range = QStringLiteral("%1-%2").arg(link->start).arg(link->end);
    QCOMPARE(underlined, shown ? QStringList{range} : QStringList());
    QCOMPARE(viewport->cursor().shape(), shown ? Qt::PointingHandCursor : Qt::IBeamCursor);

    f.mouse(viewport, QEvent::MouseButtonPress, pos, modifiers);
    f.mouse(viewport, QEvent::MouseButtonRelease, pos, modifiers);
    QCOMPARE(link->opened, opened);

    // Letting go of Control ends the link.
    QTest::keyRelease(&f.editor, Qt::Key_Control);
    QCOMPARE(viewport->cursor().shape(), Qt::IBeamCursor);
    QVERIFY(!f.editor.selections().contains(range));
}

void TestCodeEditor::marksFollowEdits_data()
{
    QTest::addColumn<int>("position"); // in the document
    QTest::addColumn<int>("removed");
    QTest::addColumn<QString>("added");
    QTest::addColumn<int>("line"); // of the mark on line 4 afterwards
    // Lines of six characters: line n starts at 6 * (n - 1).
    QTest::newRow("lines inserted above") << 0 << 0 << QStringLiteral("x\ny\n") << 6;
    QTest::newRow("line removed above") << 6 << 6 << QString() << 3;
    QTest::newRow("typed on the line") << 20 << 0 << QStringLiteral("abc") << 4;
    QTest::newRow("line added above") << 17 << 0 << QStringLiteral("\n") << 5;
    QTest::newRow("lines inserted below") << 29 << 0 << QStringLiteral("\n\n") << 4;
    QTest::newRow("text removed on the line") << 18 << 2 << QString() << 4;
}

void TestCodeEditor::marksFollowEdits()
{
    QFETCH(int, position);
    QFETCH(int, removed);
    QFETCH(QString, added);
    QFETCH(int, line);
    TestCodeMark markOnFour, markOnSix; // the engine module's: they outlive the document
    TestCodeMark *mark = &markOnFour;
    TestCodeMark *last = &markOnSix;
    Fixture f(QStringLiteral("a = 1\nb = 2\nc = 3\nd = 4\ne = 5\nf = 6"));
    QVERIFY(f.document->addMark(mark, 4));
    QVERIFY(f.document->addMark(last, 6));
    QTextCursor cursor(f.document);
    cursor.setPosition(position);
    cursor.setPosition(position + removed, QTextCursor::KeepAnchor);
    cursor.insertText(added);

    QCOMPARE(mark->line, line);
    QCOMPARE(mark->block.blockNumber(), line - 1);
    QCOMPARE(f.document->marksAt(line), QList<CodeMark *>{mark});
    QCOMPARE(last->line, f.document->blockCount());
}

void TestCodeEditor::gutterMarkRequest()
{
    Fixture f(lines(10));
    QSignalSpy requested(&f.editor, &CodeEditor::markRequested);
    QWidget *gutter = f.editor.gutter();
    const int y = f.editor.top(3) + 3;
    f.mouse(gutter, QEvent::MouseButtonPress, QPoint(2, y));
    f.mouse(gutter, QEvent::MouseButtonRelease, QPoint(2, y));
    QCOMPARE(requested.count(), 1);
    QCOMPARE(requested.at(0).at(0).toInt(), 4);

    // A press on the numbers selects whole lines, down to where the pointer is let go.
    const int numbers = gutter->width() / 2;
    f.mouse(gutter, QEvent::MouseButtonPress, QPoint(numbers, y));
    QMouseEvent drag(QEvent::MouseMove, QPoint(numbers, f.editor.top(5) + 3), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(gutter, &drag);
    f.mouse(gutter, QEvent::MouseButtonRelease, QPoint(numbers, f.editor.top(5) + 3));
    QCOMPARE(f.editor.textCursor().selectedText(),
             QStringLiteral("v3 = 3\u2029v4 = 4\u2029v5 = 5\u2029"));
    QCOMPARE(requested.count(), 1);
}

void TestCodeEditor::toolTips()
{
    Fixture f(QStringLiteral("[Data]\nlife = oops\n"));
    const QPoint pos = f.charAt(1, 8);
    QHelpEvent help(QEvent::ToolTip, pos, f.editor.viewport()->mapToGlobal(pos));
    QApplication::sendEvent(f.editor.viewport(), &help);
    QTRY_VERIFY(QToolTip::isVisible());
    QVERIFY(!QToolTip::text().isEmpty());
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());

    // Not with Control held.
    QTest::keyPress(&f.editor, Qt::Key_Control, Qt::ControlModifier);
    if (QGuiApplication::keyboardModifiers() & Qt::ControlModifier) {
        QApplication::sendEvent(f.editor.viewport(), &help);
        QTest::qWait(50);
        QVERIFY(!QToolTip::isVisible());
    } else {
        qWarning("Control cannot be held here");
    }
    QTest::keyRelease(&f.editor, Qt::Key_Control);

    // Over a line without messages nothing shows.
    const QPoint header = f.charAt(0, 2);
    QHelpEvent none(QEvent::ToolTip, header, f.editor.viewport()->mapToGlobal(header));
    QApplication::sendEvent(f.editor.viewport(), &none);
    QTest::qWait(50);
    QVERIFY(!QToolTip::isVisible());
}

void TestCodeEditor::painting()
{
    NestParser parser;
    Fixture f(nested(), &parser);
    f.moveTo(3, 1);
    const QColor lineColor = f.editor.syntaxFormatting().lineColor;
    QWidget *gutter = f.editor.gutter();
    const int gutterWidth = gutter->width();
    const int half = f.editor.fontMetrics().height() / 2;
    auto pixel = [&](const QPoint &at) { return f.editor.grab().toImage().pixelColor(at); };
    const QPoint currentLine(gutterWidth + 200, f.editor.top(3) + half);
    const QPoint otherLine(gutterWidth + 200, f.editor.top(1) + half);
    const QColor base = f.editor.palette().color(QPalette::Base);

    QCOMPARE(pixel(currentLine).rgb(), lineColor.rgb());
    QCOMPARE(pixel(otherLine).rgb(), base.rgb());
    QCOMPARE(pixel(QPoint(1, f.editor.top(1) + half)).rgb(), base.darker(115).rgb());

    // The fold box changes with the fold; the changed-line bar appears on an edited line.
    const int spacing = f.editor.fontMetrics().lineSpacing();
    const QRect foldBox(gutterWidth - (spacing + 1 + spacing % 2), f.editor.top(2), spacing,
                        spacing);
    const QImage before = f.editor.grab(foldBox).toImage();
    f.editor.toggleBlockVisible(f.block(2));
    QVERIFY(f.editor.grab(foldBox).toImage() != before);

    auto redIn = [&](int block) {
        const QImage image = f.editor.grab().toImage();
        bool red = false;
        for (int x = 0; x < gutterWidth; ++x)
            red |= image.pixelColor(x, f.editor.top(block) + half) == QColor(Qt::red);
        return red;
    };
    QVERIFY(!redIn(7));
    f.moveTo(7, 1);
    QTest::keyClicks(&f.editor, QStringLiteral("q"));
    QVERIFY(redIn(7));
    QVERIFY(!redIn(0));

    // Resting on the box of a folded header previews its lines without unfolding them.
    const QString shown = f.visibility();
    const int lines = f.document->lineCount();
    QTextCursor end(f.block(2));
    end.movePosition(QTextCursor::EndOfBlock);
    const QRect header = f.editor.cursorRect(end);
    const QRect below(0, header.bottom() + 2, f.editor.viewport()->width(), 2 * half);
    const QImage plain = f.editor.viewport()->grab(below).toImage();
    const QPoint box(header.right() + 20, header.center().y());
    f.mouse(f.editor.viewport(), QEvent::MouseMove, box);
    QCOMPARE(f.editor.viewport()->cursor().shape(), Qt::PointingHandCursor);
    QTRY_VERIFY(f.editor.viewport()->grab(below).toImage() != plain);
    QCOMPARE(f.visibility(), shown);
    QCOMPARE(f.document->lineCount(), lines);
    // Typing ends the preview.
    QTest::keyClick(&f.editor, Qt::Key_End);
    QTRY_COMPARE(f.editor.viewport()->grab(below).toImage(), plain);
}

QTEST_MAIN(TestCodeEditor)
#include "tst_codeeditor.moc"
