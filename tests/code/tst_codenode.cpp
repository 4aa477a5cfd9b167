#include "testcode.h"
#include "testengine.h"
#include "testinterface.h"

#include <zornx/code/codeblockdata.h>

#include <QtCore/QDate>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>

using namespace Zorn;
using ZornTest::TestCodeDocument;
using Sample::GroupNode;
using Sample::ValueNode;

namespace {

// A tree without a document: nodes on invalid blocks, chained behind a root of their own.
struct LooseTree
{
    RootCode root;
    QAbstractItemModelTester tester{&root, QAbstractItemModelTester::FailureReportingMode::QtTest};
    ValueNode *value(CodeNode *after, const QString &key, int number = 0)
    {
        return new ValueNode(ValueCode::Int, QTextBlock(), after, number, key);
    }
    GroupNode *group(CodeNode *after, const QString &title, unsigned int type = 2)
    {
        return new GroupNode(QTextBlock(), after, type, title);
    }
};

QString names(const GroupCode *group)
{
    QStringList out;
    for (const ValueCode *value : group->values())
        out.append(value->name());
    return out.join(QLatin1Char(' '));
}

} // namespace

class tst_CodeNode : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void poolReusesReleasedBlocks()
    {
        RootCode root;
        CodeNode *first = new ValueNode(ValueCode::Int, QTextBlock(), &root, 1, "a");
        first->release();
        QVERIFY(!CodeNode::isValid(first));
        QVERIFY(!CodeNode::isValid(nullptr));
        QVERIFY(CodeNode::isValid(&root)); // a root always is

        first->release(); // already free: nothing happens

        // The block of the dead node comes back for the next node of the same size, once.
        CodeNode *second = new ValueNode(ValueCode::Int, QTextBlock(), &root, 2, "b");
        QCOMPARE(second, first);
        CodeNode *third = new ValueNode(ValueCode::Int, QTextBlock(), &root, 3, "c");
        QVERIFY(third != second);
        third->release();

        // Churn of make and release costs nothing once the lists hold enough blocks.
        second->release();
        quint64 bytes = 0;
        for (int round = 0; round < 20; ++round) {
            QList<CodeNode *> nodes;
            for (int i = 0; i < 10; ++i)
                nodes.append(new ValueNode(ValueCode::Int, QTextBlock(), &root, i, "d"));
            for (CodeNode *node : qAsConst(nodes))
                node->release();
            if (round == 0)
                bytes = CodeNode::allocatedBytes();
        }
        QCOMPARE(CodeNode::allocatedBytes(), bytes);
        QVERIFY(!root.next());
    }

    void constructorsBuildTheTree()
    {
        LooseTree t;
        ValueNode *loose = t.value(&t.root, "loose");
        GroupNode *first = t.group(loose, "First");
        ValueNode *a = t.value(first, "a");
        ValueNode *b = t.value(a, "b");
        GroupNode *second = t.group(b, "Second", 3);
        ValueNode *c = t.value(second, "c");

        // A value before any header has no parent and is not in the model.
        QVERIFY(!loose->parent());
        QCOMPARE(t.root.childs(), QList<CodeNode *>({first, second}));
        QCOMPARE(names(first), QString("a b"));

        // A value goes behind its previous value in that value's parent.
        ValueNode *x = t.value(a, "x");
        QCOMPARE(names(first), QString("a x b"));

        // A new header adopts what follows it up to the next header, and takes its place
        // among the top-level nodes behind the header before it.
        GroupNode *middle = t.group(x, "Middle");
        QCOMPARE(names(first), QString("a x"));
        QCOMPARE(names(middle), QString("b"));
        QCOMPARE(t.root.childs(), QList<CodeNode *>({first, middle, second}));

        // A dropped header gives its values to the header above.
        middle->release();
        QCOMPARE(names(first), QString("a x b"));
        QCOMPARE(t.root.childs(), QList<CodeNode *>({first, second}));

        // With no header above, they are left without a parent.
        first->release();
        QVERIFY(!a->parent() && !b->parent());
        QCOMPARE(t.root.childs(), QList<CodeNode *>({second}));

        // Chain order is line order; released nodes left it.
        QStringList chain;
        for (CodeNode *node = t.root.next(); node; node = node->next())
            chain.append(dynamic_cast<NamedCode *>(node)->name());
        QCOMPARE(chain, QStringList({"loose", "a", "x", "b", "Second", "c"}));
        QCOMPARE(c->previous(), second);
    }

    // A module may nest a group in a group: it shows under it, behind the values, and moves
    // up when the outer group goes.
    void nestedGroups()
    {
        LooseTree t;
        GroupNode *above = t.group(&t.root, "Above");
        GroupNode *outer = t.group(above, "Outer");
        ValueNode *a = t.value(outer, "a");
        GroupNode *inner = t.group(a, "Inner");
        ValueNode *b = t.value(inner, "b");
        outer->insertChild(inner, 0); // groups go behind the values
        QCOMPARE(t.root.childs(), QList<CodeNode *>({above, outer}));
        const QModelIndex outerIndex = t.root.index(1, 0);
        QCOMPARE(t.root.rowCount(outerIndex), 2);
        const QModelIndex innerIndex = t.root.index(1, 0, outerIndex);
        QCOMPARE(innerIndex.internalPointer(), static_cast<void *>(inner));
        QCOMPARE(t.root.parent(innerIndex), outerIndex);
        QCOMPARE(names(inner), QString("b"));

        outer->release(); // its value and its group go to the group above
        QCOMPARE(inner->parent(), above);
        QCOMPARE(above->childAt(1), inner);
        QCOMPARE(a->parent(), above);
        above->release(); // nothing above: the nested group goes to the top
        QCOMPARE(t.root.childs(), QList<CodeNode *>({inner}));
        QCOMPARE(b->parent(), inner);
    }

    void walksWithStopMask_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("direction");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("stop");
        QTest::addColumn<QString>("expected");

        const int group = CodeNode::Group, value = CodeNode::Value;
        QTest::newRow("type tested before stop") << "c" << "previous" << group << group << "Second";
        QTest::newRow("over values") << "b" << "previous" << group << 0 << "First";
        QTest::newRow("stopped by a value") << "b" << "previous" << group << value << "";
        QTest::newRow("forward") << "a" << "next" << group << 0 << "Second";
        QTest::newRow("forward stopped") << "a" << "next" << group << value << "";
        QTest::newRow("walk ends") << "c" << "next" << value << 0 << "";
        QTest::newRow("parent") << "b" << "parent" << group << 0 << "First";
        QTest::newRow("parent stopped") << "b" << "parent" << int(CodeNode::Root) << group << "";
    }

    void walksWithStopMask()
    {
        QFETCH(QString, from);
        QFETCH(QString, direction);
        QFETCH(int, type);
        QFETCH(int, stop);
        QFETCH(QString, expected);

        LooseTree t;
        GroupNode *first = t.group(&t.root, "First");
        ValueNode *a = t.value(first, "a");
        ValueNode *b = t.value(a, "b");
        GroupNode *second = t.group(b, "Second");
        ValueNode *c = t.value(second, "c");
        const QMap<QString, CodeNode *> byName = {{"a", a}, {"b", b}, {"c", c}};
        const CodeNode *node = byName.value(from);
        const CodeNode::Type wanted = CodeNode::Type(type);
        const CodeNode *found = direction == "previous" ? node->previous(wanted, stop)
                                : direction == "next"   ? node->next(wanted, stop)
                                                        : node->parent(wanted, stop);
        QString name;
        if (found)
            name = dynamic_cast<const NamedCode *>(found)->name();
        QCOMPARE(name, expected);
    }

    // How a value of each type is stored, and written back as text.
    void conversions_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("input");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QString>("text");

        // A row: type, the value given, the value stored, and the text written (null: skip).
        auto row = [](const char *name, int type, const QVariant &input, const QVariant &stored,
                      const QString &text) {
            QTest::newRow(name) << type << input << stored << text;
        };
        using V = QVariant;
        using L = QVariantList;
        row("string", ValueCode::String, V(12), V("12"), "12");
        row("bool", ValueCode::Bool, V(true), V(true), "1");
        row("bool unchanged", ValueCode::Bool, V("yes"), V("yes"), "yes");
        row("date", ValueCode::Date, V(QDate(2003, 2, 1)), V(QDate(2003, 2, 1)), "2003-02-01");
        row("keyword", ValueCode::Keyword, V("4"), V(4u), "down");
        row("keyword vector of one", ValueCode::KeywordVector, V(2), V(L({2u})), QString());
        row("keyword vector", ValueCode::KeywordVector, V(L({1, "4"})), V(L({1u, 4u})), QString());
        row("vec2 from list", ValueCode::FloatVec2, V(L({1.5, 2})), V(QPointF(1.5, 2)), "1.5, 2");
        row("vec2 from short list", ValueCode::FloatVec2, V(L({3})), V(QPointF(3, 0)), "3, 0");
        row("vec2 exponent", ValueCode::FloatVec2, V(QPointF(1.5, 1e7)), V(QPointF(1.5, 1e7)),
            "1.5, 1e+07");
        row("vec3 wraps", ValueCode::FloatVec3, V("2.5"), V(L({2.5})), "2.5");
        row("int", ValueCode::Int, V("-42"), V(-42), "-42");
        row("int vec2 from list", ValueCode::IntVec2, V(L({"7", -8})), V(QPoint(7, -8)), "7, -8");
        row("int list", ValueCode::IntVec3, V(L({1, 2, 3})), V(L({1, 2, 3})), "1, 2, 3");
        row("string list is a list", ValueCode::IntVector, V(QStringList({"1", "2"})),
            V(L({"1", "2"})), "1, 2");
        row("unknown type", 40, V(17), V(17), "17");
    }

    void conversions()
    {
        QFETCH(int, type);
        QFETCH(QVariant, input);
        QFETCH(QVariant, stored);
        QFETCH(QString, text);
        RootCode root;
        auto *node = new ValueNode(ValueCode::Type(type), QTextBlock(), &root, input, "k");
        QCOMPARE(node->rawValue(), stored);
        QCOMPARE(node->rawValue().userType(), stored.userType());
        // setValue converts alike and leaves the text alone.
        node->setValue(input);
        QCOMPARE(node->rawValue(), stored);
        if (text.isNull())
            return;
        const ValueCode::Type t = ValueCode::Type(type);
        QCOMPARE(ValueCode::asString(node, t, stored, QLatin1Char(',')), text);
        QCOMPARE(ValueCode::asString(node, t, stored, QChar()), QString(text).replace(", ", " "));
        // A string is written as it is, whatever the type.
        QCOMPARE(ValueCode::asString(node, t, QVariant("as is"), QLatin1Char(',')),
                 QString("as is"));
        if (type == ValueCode::Keyword) // without a node, the keyword stays a number
            QCOMPARE(ValueCode::asString(nullptr, t, stored, QLatin1Char(',')), QString("4"));
    }

    void accessors()
    {
        RootCode root;
        auto *four = new ValueNode(ValueCode::IntVec4, QTextBlock(), &root,
                                       QVariantList({1, 2, 30, 40}), "four");
        QCOMPARE(four->asPoint(), QPoint(1, 2));
        QCOMPARE(four->asSize(), QSize(1, 2));
        QCOMPARE(four->asRect(), QRect(QPoint(1, 2), QPoint(30, 40)));
        QCOMPARE(four->asIntVector(), QVector<int>({1, 2, 30, 40}));
        // A float pair gives no whole point; too few numbers give no rectangle.
        auto *pair = new ValueNode(ValueCode::FloatVec2, QTextBlock(), four, QPointF(1.5, 2.5),
                                       "pair");
        QCOMPARE(pair->asPointF(), QPointF(1.5, 2.5));
        QCOMPARE(pair->asPoint(), QPoint());
        QCOMPARE(pair->asRect(), QRect(QPoint(0, 0), QPoint(-1, -1)));
        auto *one = new ValueNode(ValueCode::Float, QTextBlock(), pair, 2.25, "one");
        QCOMPARE(one->asPointF(), QPointF(2.25, 0));
        QCOMPARE(one->asRect(), QRect(QPoint(2, 0), QPoint(-1, -1)));
    }

    void groupLookups()
    {
        LooseTree t;
        GroupNode *group = t.group(&t.root, "G");
        ValueNode *a = t.value(group, "a", 1);
        ValueNode *b = t.value(a, "b", 2);
        t.value(b, "a", 3);
        QCOMPARE(group->valueByName("a"), a); // the first of that name
        QCOMPARE(group->value("b"), QVariant(2));
        QVERIFY(!group->valueAt(3));
        QCOMPARE(group->childIndex(b), 1);
        group->removeValue(7); // past the end: nothing
        group->removeValue(0); // without a document the node is released
        QCOMPARE(names(group), QString("b a"));
        // remove(true) without a document takes the children along.
        group->remove(true);
        QVERIFY(!t.root.next());
        QCOMPARE(t.root.rowCount(), 0);
    }

    void modelOfADocument()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\nb = 2\n[Info]");
        QAbstractItemModel *model = doc.model();
        QAbstractItemModelTester tester(model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        const QModelIndex group = model->index(0, 0);
        QCOMPARE(group.data().toString(), QString("Data"));
        QCOMPARE(doc.lineNo(model->index(1, 0, group)), 2);
        QCOMPARE(doc.indexInLine(1), model->index(0, 0, group));
        QCOMPARE(doc.root()->childs().first()->code(), QString("[Data]\u2029a = 1\u2029b = 2\u2029"));

        // The line goes, and with it the node; the index that a view may still hold answers
        // with the parent of the last removal, and with nothing else; never with that of
        // another model.
        LooseTree t;
        ValueNode *value = t.value(t.group(&t.root, "Loose"), "v");
        const QModelIndex looseStale = t.root.index(0, 0, t.root.index(0, 0));
        value->release();
        const QModelIndex stale = model->index(1, 0, group);
        QTextCursor cursor(doc.findBlockByNumber(2));
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        QVERIFY(!CodeNode::isValid(doc.nodeFromIndex(stale)));
        QCOMPARE(model->parent(stale), group);
        QCOMPARE(t.root.parent(looseStale), QModelIndex());
        QCOMPARE(model->rowCount(stale), 0);
        QVERIFY(!model->data(stale).isValid());
        QCOMPARE(model->rowCount(group), 1);
    }

    // A node whose block is invalid belongs to the line before it; the parse puts the next
    // line's node behind it.
    void nodesWithoutBlockBelongToTheLineBefore()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\nb = 2\n");
        CodeNode *a = doc.nodeInBlock(doc.findBlockByNumber(1));
        auto *extra = new ValueNode(ValueCode::Int, QTextBlock(), a, 9, "extra");
        QCOMPARE(extra->lineNo(), 1);
        QTextCursor(doc.findBlockByNumber(2)).insertText("c = 3\n");
        CodeNode *c = doc.nodeInBlock(doc.findBlockByNumber(2));
        QCOMPARE(extra->next(), c);
        QCOMPARE(c->next(), doc.nodeInBlock(doc.findBlockByNumber(3)));
        const auto *group = static_cast<GroupCode *>(doc.root()->childs().first());
        QCOMPARE(names(group), QString("a extra c b"));
        extra->release();
        QCOMPARE(names(group), QString("a c b"));
    }

    void changeKeepsTheUserSpacing_data()
    {
        QTest::addColumn<bool>("preserve");
        QTest::addColumn<QString>("old");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("expected");
        QTest::newRow("plain keeps comment") << false << "a = 1   ; note" << "a = 22"
                                             << "a = 22   ; note";
        QTest::newRow("merge spacing") << true << "  a  =   1 ; c" << "a = 5" << "  a  =   5 ; c";
        QTest::newRow("merge more tokens") << true << "a  = 1" << "a = 1, 2" << "a  = 1, 2";
        QTest::newRow("merge fewer tokens") << true << "a =  1 2" << "a = 3" << "a =  3 ";
        QTest::newRow("behind a comment marker") << true << ";a  = 1" << "a = 2" << "a  = 2";
        QTest::newRow("blank line") << true << "" << "a = 4" << "a = 4";
    }

    void changeKeepsTheUserSpacing()
    {
        QFETCH(bool, preserve);
        QFETCH(QString, old);
        QFETCH(QString, line);
        QFETCH(QString, expected);
        ZornTest::TestInterface host;
        ZornTest::TestEngine engine;
        host.engine = &engine; // the comment marker ';'
        host.options.insert("preserve_code_formatting", preserve);
        TestCodeDocument doc;
        doc.setPlainText("[Data]\n" + old + "\nb = 2");
        QTextBlock block = doc.findBlockByNumber(1);
        auto *node = dynamic_cast<ValueNode *>(doc.nodeInBlock(block));
        const bool manual = !node;
        if (manual) // a line without a node: make one on it
            node = new ValueNode(ValueCode::Int, block, doc.nodeInBlock(doc.begin()), 1, "a");
        node->rewrite(line);
        QCOMPARE(doc.findBlockByNumber(1).text(), expected);
        QCOMPARE(doc.findBlockByNumber(2).text(), QString("b = 2"));
        if (manual) // the line parses to a node of its own now
            node->release();
        QCOMPARE(describeTreeOf(doc).count('='), 2);
        doc.undo();
        QCOMPARE(doc.findBlockByNumber(1).text(), old);
    }

    void nodesEditTheText()
    {
        ZornTest::TestInterface host;
        ZornTest::TestEngine engine;
        host.engine = &engine;
        TestCodeDocument doc;
        doc.setPlainText("[Data]\nlife = 1000 ; comment\nb = 2\n; c\n[Info]\nx = 3");
        QAbstractItemModelTester tester(doc.model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto *data = static_cast<GroupNode *>(doc.root()->childs().at(0));
        QCOMPARE(data->lastLine(), 3);
        static_cast<ValueNode *>(data->valueAt(0))->setProperty("Name", "power");
        QCOMPARE(doc.findBlockByNumber(1).text(), QString("power = 1000 ; comment"));
        auto *info = static_cast<GroupNode *>(doc.root()->childs().at(1));
        info->setName("Info Two");
        QCOMPARE(doc.nodeInBlock(doc.findBlockByNumber(4)), info); // same type: kept
        data->removeValue(0);
        data->appendValue("d = 4");
        QCOMPARE(doc.toPlainText(), QString("[Data]\nb = 2\nd = 4\n; c\n[Info Two]\nx = 3"));
        QCOMPARE(names(data), QString("b d"));
        // The whole section, up to the next header.
        data->remove(true);
        QCOMPARE(describeTreeOf(doc), QString("[Info Two](x=3)"));
        // The last line: no line end behind it to take.
        doc.root()->childs().first()->remove(true);
        QCOMPARE(doc.toPlainText(), QString(""));

        // A dropped header gives its values to the header above.
        doc.setPlainText("[Info]\nname = \"a\"\n[Data]\nlife = 1\n; keep\npower = 2\n");
        auto *first = static_cast<GroupCode *>(doc.root()->childs().first());
        doc.root()->childs().at(1)->remove(false);
        QCOMPARE(doc.toPlainText(), QString("[Info]\nname = \"a\"\nlife = 1\n; keep\npower = 2\n"));
        QCOMPARE(names(first), QString("name life power"));
        QCOMPARE(doc.model()->rowCount(doc.model()->index(0, 0)), 3);
    }

private:
    static QString describeTreeOf(const TestCodeDocument &doc)
    {
        return ZornTest::describeTree(doc.root());
    }
};

QTEST_MAIN(tst_CodeNode)
#include "tst_codenode.moc"
