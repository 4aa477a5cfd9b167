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

    // Every value type: how a value is stored, written back as text, and read through every
    // accessor.
    void conversions_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("input");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QVariantList>("scalars"); // asBool, asInt, asUInt, asReal
        QTest::addColumn<QVector<int>>("ints");
        QTest::addColumn<QVector<qreal>>("reals");
        QTest::addColumn<QVariantList>("vector");
        QTest::addColumn<QPointF>("pointF");
        QTest::addColumn<QRect>("rect"); // asPoint and asSize are its top left

        using V = QVariant;
        using L = QVariantList;
        using I = QVector<int>;
        using R = QVector<qreal>;
        auto row = [](const char *name, int type, const V &input, const V &stored,
                      const QString &text, const L &scalars, const I &ints, const R &reals,
                      const L &vector, const QPointF &pointF, const QRect &rect) {
            QTest::newRow(name) << type << input << stored << text << scalars << ints << reals
                                << vector << pointF << rect;
        };
        // A rectangle from its four sides; right and bottom are -1 unless given.
        auto sides = [](int left, int top = 0, int right = -1, int bottom = -1) {
            return QRect(QPoint(left, top), QPoint(right, bottom));
        };
        const QDate date(2003, 2, 1);
        const uint minus42 = uint(-42);

        row("string", ValueCode::String, V(12), V("12"), "12", L({true, 12, 12u, 12.0}), I({12}),
            R({12}), L({"12"}), QPointF(12, 0), sides(12));
        // Not a scalar type: no vector, no point.
        row("bool", ValueCode::Bool, V(true), V(true), "1", L({true, 1, 1u, 1.0}), I(), R(), L(),
            QPointF(), sides(0));
        row("file", ValueCode::File, V("a/b.png"), V("a/b.png"), "a/b.png", L({true, 0, 0u, 0.0}),
            I({0}), R({0}), L({"a/b.png"}), QPointF(), sides(0));
        row("date", ValueCode::Date, V(date), V(date), "2003-02-01", L({false, 0, 0u, 0.0}),
            I({0}), R({0}), L({date}), QPointF(), sides(0));
        row("keyword index", ValueCode::Keyword, V("4"), V(4u), "down", L({true, 4, 4u, 4.0}),
            I({4}), R({4}), L({4u}), QPointF(4, 0), sides(4));
        row("keyword text", ValueCode::Keyword, V("Up"), V(3u), "up", L({true, 3, 3u, 3.0}),
            I({3}), R({3}), L({3u}), QPointF(3, 0), sides(3));
        // A keyword vector gives all its indices, and its keywords as text.
        row("keyword vector", ValueCode::KeywordVector, V(L({1, "4", "Back"})), V(L({1u, 4u, 6u})),
            "left, down, back", L({false, 0, 0u, 0.0}), I({1, 4, 6}), R({1, 4, 6}),
            L({1u, 4u, 6u}), QPointF(1, 4), sides(1, 4, 6));
        row("keyword vector of one", ValueCode::KeywordVector, V(2), V(L({2u})), "right",
            L({false, 0, 0u, 0.0}), I({2}), R({2}), L({2u}), QPointF(2, 0), sides(2));
        row("float", ValueCode::Float, V(2.25), V(2.25), "2.25", L({true, 2, 2u, 2.25}), I({2}),
            R({2.25}), L({2.25}), QPointF(2.25, 0), sides(2));
        // A pair gives both its numbers wherever a list would give its elements.
        row("float vec2", ValueCode::FloatVec2, V(L({1.25, 2})), V(QPointF(1.25, 2)), "1.25, 2",
            L({false, 0, 0u, 0.0}), I({1, 2}), R({1.25, 2}), L({1.25, 2.0}), QPointF(1.25, 2),
            sides(1, 2));
        row("float vec2 of a short list", ValueCode::FloatVec2, V(L({3})), V(QPointF(3, 0)),
            "3, 0", L({false, 0, 0u, 0.0}), I({3, 0}), R({3, 0}), L({3.0, 0.0}), QPointF(3, 0),
            sides(3, 0));
        row("float vec2 exponent", ValueCode::FloatVec2, V(QPointF(1.25, 1e7)), V(QPointF(1.25, 1e7)),
            "1.25, 1e+07", L({false, 0, 0u, 0.0}), I({1, 10000000}), R({1.25, 1e7}),
            L({1.25, 1e7}), QPointF(1.25, 1e7), sides(1, 10000000));
        row("float vec3", ValueCode::FloatVec3, V(L({1.25, 2, 3})), V(L({1.25, 2, 3})),
            "1.25, 2, 3", L({false, 0, 0u, 0.0}), I({1, 2, 3}), R({1.25, 2, 3}), L({1.25, 2, 3}),
            QPointF(1.25, 2), sides(1, 2, 3));
        row("float vec4 wraps one", ValueCode::FloatVec4, V("0.25"), V(L({0.25})), "0.25",
            L({false, 0, 0u, 0.0}), I({0}), R({0.25}), L({0.25}), QPointF(0.25, 0), sides(0));
        row("float vector", ValueCode::FloatVector, V(L({1, 2, 3, 4, 5})), V(L({1, 2, 3, 4, 5})),
            "1, 2, 3, 4, 5", L({false, 0, 0u, 0.0}), I({1, 2, 3, 4, 5}), R({1, 2, 3, 4, 5}),
            L({1, 2, 3, 4, 5}), QPointF(1, 2), sides(1, 2, 3, 4));
        row("int", ValueCode::Int, V("-42"), V(-42), "-42", L({true, -42, minus42, -42.0}),
            I({-42}), R({-42}), L({-42}), QPointF(-42, 0), sides(-42));
        row("int vec2", ValueCode::IntVec2, V(L({"7", -8})), V(QPoint(7, -8)), "7, -8",
            L({false, 0, 0u, 0.0}), I({7, -8}), R({7, -8}), L({7, -8}), QPointF(7, -8),
            sides(7, -8));
        row("int vec3", ValueCode::IntVec3, V(L({1, 2, 3})), V(L({1, 2, 3})), "1, 2, 3",
            L({false, 0, 0u, 0.0}), I({1, 2, 3}), R({1, 2, 3}), L({1, 2, 3}), QPointF(1, 2),
            sides(1, 2, 3));
        row("int vec4", ValueCode::IntVec4, V(L({1, 2, 30, 40})), V(L({1, 2, 30, 40})),
            "1, 2, 30, 40", L({false, 0, 0u, 0.0}), I({1, 2, 30, 40}), R({1, 2, 30, 40}),
            L({1, 2, 30, 40}), QPointF(1, 2), sides(1, 2, 30, 40));
        row("int vector wraps one", ValueCode::IntVector, V(5), V(L({5})), "5",
            L({false, 0, 0u, 0.0}), I({5}), R({5}), L({5}), QPointF(5, 0), sides(5));
        row("string list is a list", ValueCode::IntVector, V(QStringList({"1", "2"})),
            V(L({"1", "2"})), "1, 2", L({false, 0, 0u, 0.0}), I({1, 2}), R({1, 2}), L({"1", "2"}),
            QPointF(1, 2), sides(1, 2));
        row("unknown type", 40, V(17), V(17), "17", L({true, 17, 17u, 17.0}), I(), R(), L(),
            QPointF(), sides(0));
    }

    void conversions()
    {
        QFETCH(int, type);
        QFETCH(QVariant, input);
        QFETCH(QVariant, stored);
        QFETCH(QString, text);
        QFETCH(QVariantList, scalars);
        QFETCH(QVector<int>, ints);
        QFETCH(QVector<qreal>, reals);
        QFETCH(QVariantList, vector);
        QFETCH(QPointF, pointF);
        QFETCH(QRect, rect);
        const ValueCode::Type t = ValueCode::Type(type);
        RootCode root;
        // setValue looks keywords up by their text; the constructor converts the same way
        // otherwise.
        auto *node = new ValueNode(t, QTextBlock(), &root, QVariant(), "k");
        QVERIFY(node->setValue(input));
        QCOMPARE(node->rawValue(), stored);
        QCOMPARE(node->rawValue().userType(), stored.userType());
        bool keywordText = false; // a text that only keyword() can turn into an index
        for (const QVariant &element : input.toList() + QVariantList({input}))
            if (element.userType() == QMetaType::QString && !element.toString().toUInt())
                keywordText = keywordText || type == ValueCode::Keyword
                              || type == ValueCode::KeywordVector;
        if (!keywordText) {
            auto *made = new ValueNode(t, QTextBlock(), node, input, "k");
            QCOMPARE(made->rawValue(), stored);
        }

        QCOMPARE(node->asBool(), scalars.at(0).toBool());
        QCOMPARE(node->asInt(), scalars.at(1).toInt());
        QCOMPARE(node->asUInt(), scalars.at(2).toUInt());
        QCOMPARE(node->asReal(), scalars.at(3).toReal());
        QCOMPARE(node->asIntVector(), ints);
        QCOMPARE(node->asRealVector(), reals);
        QCOMPARE(node->asVector(), vector);
        QCOMPARE(node->asPointF(), pointF);
        QCOMPARE(node->asRect(), rect);
        QCOMPARE(node->asPoint(), rect.topLeft());
        QCOMPARE(node->asSize(), QSize(rect.left(), rect.top()));

        QCOMPARE(ValueCode::asString(node, t, stored, QLatin1Char(',')), text);
        QCOMPARE(ValueCode::asString(node, t, stored, QChar()), QString(text).replace(", ", " "));
        // A string is written as it is, whatever the type.
        QCOMPARE(ValueCode::asString(node, t, QVariant("as is"), QLatin1Char(',')),
                 QString("as is"));
        if (type == ValueCode::Keyword) { // the text in value(); without a node, a number
            QCOMPARE(node->value(), QVariant(text));
            QCOMPARE(ValueCode::asString(nullptr, t, stored, QLatin1Char(',')),
                     QString::number(stored.toUInt()));
        }
    }

    // A keyword given as text that the engine does not know is refused, never stored as
    // index 0.
    void unknownKeywordsAreRefused_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("known");
        QTest::addColumn<QVariant>("unknown");
        QTest::newRow("keyword") << int(ValueCode::Keyword) << QVariant("left")
                                 << QVariant("sideways");
        QTest::newRow("keyword vector") << int(ValueCode::KeywordVector)
                                        << QVariant(QVariantList({"up", "back"}))
                                        << QVariant(QVariantList({"up", "sideways"}));
    }

    void unknownKeywordsAreRefused()
    {
        QFETCH(int, type);
        QFETCH(QVariant, known);
        QFETCH(QVariant, unknown);
        const ValueCode::Type t = ValueCode::Type(type);
        RootCode root;
        auto *node = new ValueNode(t, QTextBlock(), &root, QVariant(), "k");
        QVERIFY(node->setValue(known));
        const QVariant before = node->rawValue();
        QVERIFY(!node->setValue(unknown));
        QCOMPARE(node->rawValue(), before);
        // A parser that hands over text it did not resolve stores nothing, and nothing reads
        // as the first keyword.
        auto *made = new ValueNode(t, QTextBlock(), node, unknown, "k");
        QVERIFY(!made->rawValue().isValid());
        QVERIFY(!made->value().isValid());
        QCOMPARE(ValueCode::asString(made, t, made->rawValue(), QLatin1Char(',')), QString());
        QCOMPARE(made->keywordIndex("BACK"), 6);
        QCOMPARE(made->keywordIndex("sideways"), -1);
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
