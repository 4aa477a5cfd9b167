#include "testcode.h"
#include "testengine.h"
#include "testinterface.h"

#include <zornx/code/codeblockdata.h>

#include <QtCore/QDate>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>

#include <memory>

using namespace Zorn;
using ZornTest::TestCodeDocument;
using ZornTest::TestGroupCode;
using ZornTest::TestValueCode;

namespace {

// A tree without a document: nodes on invalid blocks, chained behind a root of their own.
struct LooseTree
{
    RootCode root;
    std::unique_ptr<QAbstractItemModelTester> tester;

    LooseTree()
        : tester(std::make_unique<QAbstractItemModelTester>(
            &root, QAbstractItemModelTester::FailureReportingMode::QtTest))
    {}
    TestValueCode *value(CodeNode *after, const QString &key, int number = 0)
    {
        return new TestValueCode(ValueCode::Int, QTextBlock(), after, number, key);
    }
    TestGroupCode *group(CodeNode *after, const QString &title, unsigned int type = 2)
    {
        return new TestGroupCode(QTextBlock(), after, type, title);
    }
};

QString names(const GroupCode *group)
{
    QStringList out;
    for (const ValueCode *value : group->values())
        out.append(value->name());
    return out.join(QLatin1Char(' '));
}

// A frame as an animation module would make it: named through "Identifier".
class TestFrame : public CodeNode, public PropertyItem
{
public:
    TestFrame(CodeNode *previous, const QString &id)
        : CodeNode(Frame, QTextBlock(), previous), id(id)
    {}
    QStringList propertyNames() const override { return {"Identifier"}; }
    QVariant property(const QString &name) const override
    {
        return name == "Identifier" ? QVariant(id) : QVariant();
    }
    void setProperty(const QString &, const QVariant &) override {}
    QString id;
};

class IconHost : public ZornTest::TestInterface
{
public:
    QIcon icon(const QString &name) const override
    {
        asked.append(name);
        return QIcon();
    }
    mutable QStringList asked;
};

} // namespace

class tst_CodeNode : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void poolReusesReleasedBlocks()
    {
        RootCode root;
        CodeNode *first = new TestValueCode(ValueCode::Int, QTextBlock(), &root, 1, "a");
        QVERIFY(first->isValid());
        first->release();
        QVERIFY(!CodeNode::isValid(first));
        QVERIFY(!CodeNode::isValid(nullptr));
        QVERIFY(CodeNode::isValid(&root)); // a root always is

        // The block of the dead node comes back for the next node of the same size.
        CodeNode *second = new TestValueCode(ValueCode::Int, QTextBlock(), &root, 2, "b");
        QCOMPARE(second, first);
        QVERIFY(second->isValid());

        // Churn of make and release costs nothing once the lists hold enough blocks.
        for (int i = 0; i < 10; ++i)
            new TestValueCode(ValueCode::Int, QTextBlock(), &root, i, "c");
        QList<CodeNode *> nodes;
        for (CodeNode *node = root.next(); node; node = node->next())
            nodes.append(node);
        for (CodeNode *node : nodes)
            node->release();
        const quint64 bytes = CodeNode::allocatedBytes();
        for (int round = 0; round < 50; ++round) {
            nodes.clear();
            for (int i = 0; i < 11; ++i)
                nodes.append(new TestValueCode(ValueCode::Int, QTextBlock(), &root, i, "d"));
            for (CodeNode *node : qAsConst(nodes))
                node->release();
        }
        QCOMPARE(CodeNode::allocatedBytes(), bytes);
        QVERIFY(!root.next());
    }

    void constructorsBuildTheTree()
    {
        LooseTree t;
        TestValueCode *loose = t.value(&t.root, "loose");
        TestGroupCode *first = t.group(loose, "First");
        TestValueCode *a = t.value(first, "a");
        TestValueCode *b = t.value(a, "b");
        TestGroupCode *second = t.group(b, "Second", 3);
        TestValueCode *c = t.value(second, "c");

        // A value before any header has no parent and is not in the model.
        QVERIFY(!loose->parent());
        QCOMPARE(t.root.childs(), QList<CodeNode *>({first, second}));
        QCOMPARE(t.root.rowCount(), 2);
        QCOMPARE(names(first), QString("a b"));
        QCOMPARE(names(second), QString("c"));
        QCOMPARE(c->parent(), second);

        // A value goes behind its previous value in that value's parent.
        TestValueCode *x = t.value(a, "x");
        QCOMPARE(names(first), QString("a x b"));

        // A new header adopts what follows it up to the next header, and takes its place
        // among the top-level nodes behind the header before it.
        TestGroupCode *middle = t.group(x, "Middle");
        QCOMPARE(names(first), QString("a x"));
        QCOMPARE(names(middle), QString("b"));
        QCOMPARE(t.root.childs(), QList<CodeNode *>({first, middle, second}));

        // A dropped header gives its values to the header above.
        middle->release();
        QCOMPARE(names(first), QString("a x b"));
        QCOMPARE(b->parent(), first);
        QCOMPARE(t.root.childs(), QList<CodeNode *>({first, second}));

        // With no header above, they are left without a parent.
        first->release();
        QVERIFY(!a->parent());
        QVERIFY(!b->parent());
        QCOMPARE(t.root.childs(), QList<CodeNode *>({second}));

        // Chain order is line order; released nodes left it.
        QStringList chain;
        for (CodeNode *node = t.root.next(); node; node = node->next())
            chain.append(dynamic_cast<NamedCode *>(node)->name());
        QCOMPARE(chain, QStringList({"loose", "a", "x", "b", "Second", "c"}));
        QCOMPARE(c->previous(), second);
    }

    void walksWithStopMask_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("direction");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("stop");
        QTest::addColumn<QString>("expected");

        QTest::newRow("back to group") << "c"
                                       << "previous" << int(CodeNode::Group) << 0 << "Second";
        QTest::newRow("type tested before stop")
            << "c"
            << "previous" << int(CodeNode::Group) << int(CodeNode::Group) << "Second";
        QTest::newRow("stopped by a value")
            << "b"
            << "previous" << int(CodeNode::Group) << int(CodeNode::Value) << "";
        QTest::newRow("over values") << "b"
                                     << "previous" << int(CodeNode::Group) << 0 << "First";
        QTest::newRow("forward") << "a"
                                 << "next" << int(CodeNode::Group) << 0 << "Second";
        QTest::newRow("forward stopped")
            << "a"
            << "next" << int(CodeNode::Group) << int(CodeNode::Value) << "";
        QTest::newRow("walk ends") << "c"
                                   << "next" << int(CodeNode::Value) << 0 << "";
        QTest::newRow("parent") << "b"
                                << "parent" << int(CodeNode::Group) << 0 << "First";
        QTest::newRow("parent stopped")
            << "b"
            << "parent" << int(CodeNode::Root) << int(CodeNode::Group) << "";
        QTest::newRow("no such parent") << "b"
                                        << "parent" << int(CodeNode::Frame) << 0 << "";
    }

    void walksWithStopMask()
    {
        QFETCH(QString, from);
        QFETCH(QString, direction);
        QFETCH(int, type);
        QFETCH(int, stop);
        QFETCH(QString, expected);

        LooseTree t;
        TestGroupCode *first = t.group(&t.root, "First");
        TestValueCode *a = t.value(first, "a");
        TestValueCode *b = t.value(a, "b");
        TestGroupCode *second = t.group(b, "Second");
        TestValueCode *c = t.value(second, "c");
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

    void conversions_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("input");
        QTest::addColumn<QVariant>("stored");

        const QVariantList list = {1.5, 2};
        QTest::newRow("string") << int(ValueCode::String) << QVariant(12) << QVariant("12");
        QTest::newRow("file") << int(ValueCode::File) << QVariant("a.sff") << QVariant("a.sff");
        QTest::newRow("bool unchanged")
            << int(ValueCode::Bool) << QVariant("yes") << QVariant("yes");
        QTest::newRow("keyword") << int(ValueCode::Keyword) << QVariant("3") << QVariant(3u);
        QTest::newRow("keyword vector of one")
            << int(ValueCode::KeywordVector) << QVariant(2) << QVariant(QVariantList({2u}));
        QTest::newRow("keyword vector")
            << int(ValueCode::KeywordVector) << QVariant(QVariantList({1, "4"}))
            << QVariant(QVariantList({1u, 4u}));
        QTest::newRow("float unchanged") << int(ValueCode::Float) << QVariant("x") << QVariant("x");
        QTest::newRow("vec2 from list")
            << int(ValueCode::FloatVec2) << QVariant(list) << QVariant(QPointF(1.5, 2));
        QTest::newRow("vec2 from short list")
            << int(ValueCode::FloatVec2) << QVariant(QVariantList({3})) << QVariant(QPointF(3, 0));
        QTest::newRow("vec2 from point")
            << int(ValueCode::FloatVec2) << QVariant(QPoint(1, 2)) << QVariant(QPointF(1, 2));
        QTest::newRow("vec3 wraps")
            << int(ValueCode::FloatVec3) << QVariant("2.5") << QVariant(QVariantList({2.5}));
        QTest::newRow("float vector keeps list")
            << int(ValueCode::FloatVector) << QVariant(list) << QVariant(list);
        QTest::newRow("int") << int(ValueCode::Int) << QVariant("42") << QVariant(42);
        QTest::newRow("int vec2 from list")
            << int(ValueCode::IntVec2) << QVariant(QVariantList({"7", 8}))
            << QVariant(QPoint(7, 8));
        QTest::newRow("int vec2 stays")
            << int(ValueCode::IntVec2) << QVariant(QPoint(-1, 9)) << QVariant(QPoint(-1, 9));
        QTest::newRow("int vec4 wraps")
            << int(ValueCode::IntVec4) << QVariant("5") << QVariant(QVariantList({5}));
        QTest::newRow("string list is a list")
            << int(ValueCode::IntVector) << QVariant(QStringList({"1", "2"}))
            << QVariant(QVariantList({"1", "2"}));
        QTest::newRow("unknown type") << 99 << QVariant(QPoint(1, 1)) << QVariant(QPoint(1, 1));
    }

    void conversions()
    {
        QFETCH(int, type);
        QFETCH(QVariant, input);
        QFETCH(QVariant, stored);
        RootCode root;
        auto *node = new TestValueCode(ValueCode::Type(type), QTextBlock(), &root, input, "k");
        QCOMPARE(node->rawValue(), stored);
        QCOMPARE(node->rawValue().userType(), stored.userType());
        // setValue converts alike and leaves the text alone.
        node->setValue(input);
        QCOMPARE(node->rawValue(), stored);
    }

    void accessors_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QVariantList>("ints");
        QTest::addColumn<QPoint>("point");
        QTest::addColumn<QPointF>("pointF");
        QTest::addColumn<QRect>("rect");

        QTest::newRow("int") << int(ValueCode::Int) << QVariant(7) << QVariantList({7})
                             << QPoint(7, 0) << QPointF(7, 0)
                             << QRect(QPoint(7, 0), QPoint(-1, -1));
        QTest::newRow("int vec2") << int(ValueCode::IntVec2) << QVariant(QPoint(3, 4))
                                  << QVariantList({}) << QPoint(3, 4) << QPointF(3, 4)
                                  << QRect(QPoint(0, 0), QPoint(-1, -1));
        QTest::newRow("two elements")
            << int(ValueCode::IntVector) << QVariant(QVariantList({5, 6})) << QVariantList({5, 6})
            << QPoint(5, 6) << QPointF(5, 6) << QRect(QPoint(5, 6), QPoint(-1, -1));
        QTest::newRow("four elements")
            << int(ValueCode::IntVec4) << QVariant(QVariantList({1, 2, 30, 40}))
            << QVariantList({1, 2, 30, 40}) << QPoint(1, 2) << QPointF(1, 2)
            << QRect(QPoint(1, 2), QPoint(30, 40));
        QTest::newRow("one element")
            << int(ValueCode::IntVec3) << QVariant(QVariantList({9})) << QVariantList({9})
            << QPoint(9, 0) << QPointF(9, 0) << QRect(QPoint(9, 0), QPoint(-1, -1));
        QTest::newRow("float vec2")
            << int(ValueCode::FloatVec2) << QVariant(QPointF(1.5, 2.5)) << QVariantList({})
            << QPoint(0, 0) << QPointF(1.5, 2.5) << QRect(QPoint(0, 0), QPoint(-1, -1));
        QTest::newRow("float") << int(ValueCode::Float) << QVariant(2.25) << QVariantList({2})
                               << QPoint(2, 0) << QPointF(2.25, 0)
                               << QRect(QPoint(2, 0), QPoint(-1, -1));
    }

    void accessors()
    {
        QFETCH(int, type);
        QFETCH(QVariant, value);
        QFETCH(QVariantList, ints);
        QFETCH(QPoint, point);
        QFETCH(QPointF, pointF);
        QFETCH(QRect, rect);
        RootCode root;
        auto *node = new TestValueCode(ValueCode::Type(type), QTextBlock(), &root, value, "k");
        if (type != ValueCode::IntVec2 && type != ValueCode::FloatVec2) {
            QVector<int> expected;
            for (const QVariant &i : ints)
                expected.append(i.toInt());
            QCOMPARE(node->asIntVector(), expected);
            QCOMPARE(node->asRealVector().size(), expected.size());
        }
        QCOMPARE(node->asPoint(), point);
        QCOMPARE(node->asPointF(), pointF);
        QCOMPARE(node->asSize(), QSize(point.x(), point.y()));
        QCOMPARE(node->asRect(), rect);
    }

    void scalarsAndKeywords()
    {
        RootCode root;
        auto *number = new TestValueCode(ValueCode::Float, QTextBlock(), &root, 2.25, "f");
        QCOMPARE(number->asReal(), 2.25);
        QCOMPARE(number->asInt(), 2);
        QCOMPARE(number->asVector(), QVariantList({2.25}));
        QCOMPARE(number->asRealVector(), QVector<qreal>({2.25}));
        QVERIFY(number->asBool());

        auto *word = new TestValueCode(ValueCode::Keyword, QTextBlock(), number, 2u, "w");
        QCOMPARE(word->value(), QVariant("right"));
        QCOMPARE(word->rawValue(), QVariant(2u));
        QCOMPARE(word->asUInt(), 2u);

        auto *list = new TestValueCode(ValueCode::FloatVec3, QTextBlock(), word,
                                       QVariantList({1, 2.5, 3}), "l");
        QCOMPARE(list->asVector(), QVariantList({1, 2.5, 3}));
        QCOMPARE(list->asRealVector(), QVector<qreal>({1, 2.5, 3}));
        QCOMPARE(list->value(), list->rawValue());
    }

    void asString_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QChar>("separator");
        QTest::addColumn<QString>("expected");

        const QChar none;
        const QChar comma(',');
        QTest::newRow("string wins")
            << int(ValueCode::IntVec2) << QVariant("as is") << comma << "as is";
        QTest::newRow("int") << int(ValueCode::Int) << QVariant(-3) << comma << "-3";
        QTest::newRow("bool") << int(ValueCode::Bool) << QVariant(true) << comma << "1";
        QTest::newRow("bool false") << int(ValueCode::Bool) << QVariant(0) << comma << "0";
        QTest::newRow("date") << int(ValueCode::Date) << QVariant(QDate(2003, 2, 1)) << comma
                              << "2003-02-01";
        QTest::newRow("keyword") << int(ValueCode::Keyword) << QVariant(4u) << comma << "down";
        QTest::newRow("vec2 comma")
            << int(ValueCode::FloatVec2) << QVariant(QPointF(1.5, 1e7)) << comma << "1.5, 1e+07";
        QTest::newRow("vec2 blank")
            << int(ValueCode::FloatVec2) << QVariant(QPointF(0.125, 2)) << none << "0.125 2";
        QTest::newRow("int vec2") << int(ValueCode::IntVec2) << QVariant(QPoint(3, -4)) << comma
                                  << "3, -4";
        QTest::newRow("list blank")
            << int(ValueCode::IntVec3) << QVariant(QVariantList({1, 2, 3})) << none << "1 2 3";
        QTest::newRow("list comma")
            << int(ValueCode::IntVector) << QVariant(QVariantList({1, 2, 3})) << comma << "1, 2, 3";
        QTest::newRow("float list")
            << int(ValueCode::FloatVec4) << QVariant(QVariantList({0.5, 1})) << comma << "0.5, 1";
        QTest::newRow("outside the table") << 40 << QVariant(17) << comma << "17";
    }

    void asString()
    {
        QFETCH(int, type);
        QFETCH(QVariant, value);
        QFETCH(QChar, separator);
        QFETCH(QString, expected);
        RootCode root;
        auto *node = new TestValueCode(ValueCode::Keyword, QTextBlock(), &root, 0u, "k");
        QCOMPARE(ValueCode::asString(node, ValueCode::Type(type), value, separator), expected);
        if (type == ValueCode::Keyword) // without a node, the keyword stays a number
            QCOMPARE(ValueCode::asString(nullptr, ValueCode::Type(type), value, separator),
                     QString("4"));
    }

    void namedProperties()
    {
        RootCode root;
        auto *node = new TestValueCode(ValueCode::Int, QTextBlock(), &root, 1, "life");
        QCOMPARE(node->propertyNames(), QStringList({"DisplayName", "Name"}));
        QCOMPARE(node->property("Name"), QVariant("life"));
        QCOMPARE(node->property("DisplayName"), QVariant("life"));
        QVERIFY(!node->property("Identifier").isValid());
        node->setProperty("DisplayName", "other"); // ignored
        node->setProperty("Anything", "other");
        QCOMPARE(node->name(), QString("life"));
    }

    void groupLookups()
    {
        LooseTree t;
        TestGroupCode *group = t.group(&t.root, "G");
        TestValueCode *a = t.value(group, "a", 1);
        TestValueCode *b = t.value(a, "b", 2);
        t.value(b, "a", 3);
        QCOMPARE(group->valueByName("a"), a);
        QCOMPARE(group->value("b"), QVariant(2));
        QVERIFY(!group->value("none").isValid());
        QVERIFY(!group->valueAt(3));
        QCOMPARE(group->valueAt(1), b);
        QCOMPARE(group->childIndex(b), 1);
        QCOMPARE(group->childIndex(group), -1);
        QCOMPARE(group->lastLine(), -1); // no document

        group->removeValue(7); // past the end: nothing
        QCOMPARE(group->valueCount(), 3);
        group->removeValue(0); // without a document the node is released
        QCOMPARE(names(group), QString("b a"));

        // removeChild of a node that is not a child only clears its parent.
        TestValueCode *stray = t.value(&t.root, "stray");
        group->removeChild(stray);
        QCOMPARE(group->valueCount(), 2);

        // remove(true) without a document takes the children along.
        group->remove(true);
        QVERIFY(!t.root.next() || t.root.next() == stray);
        QCOMPARE(t.root.rowCount(), 0);
    }

    void modelTexts()
    {
        IconHost host;
        TestCodeDocument doc;
        doc.setPlainText("[Data]\nlife = 1000\nname = \"x\"\nscale = 1.5\n");
        QAbstractItemModelTester tester(doc.model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModel *model = doc.model();
        QCOMPARE(model->rowCount(), 1);
        const QModelIndex group = model->index(0, 0);
        QCOMPARE(group.data().toString(), QString("Data"));
        QCOMPARE(group.data(Qt::ToolTipRole).toString(), QString("Data"));
        QCOMPARE(model->rowCount(group), 3);
        QCOMPARE(model->index(1, 0, group).data().toString(), QString("name"));
        QCOMPARE(model->parent(model->index(1, 0, group)), group);
        QCOMPARE(model->flags(group), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
        QVERIFY(!model->index(3, 0, group).isValid());

        host.asked.clear();
        for (int row = 0; row < 3; ++row)
            model->index(row, 0, group).data(Qt::DecorationRole);
        group.data(Qt::DecorationRole);
        QCOMPARE(host.asked, QStringList({"code_int", "code_string", "code_float"}));
        QCOMPARE(doc.lineNo(model->index(2, 0, group)), 3);
        QCOMPARE(doc.lineNo(QModelIndex()), 0);
        QCOMPARE(doc.indexInLine(1), model->index(0, 0, group));
        QCOMPARE(doc.nodeFromIndex(group), doc.root()->childs().first());
        QVERIFY(!doc.indexInLine(4).isValid());
    }

    void staleIndexesAndOtherKinds()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\nb = 2\n[Info]");
        QAbstractItemModel *model = doc.model();
        QAbstractItemModelTester tester(model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        const QModelIndex group = model->index(0, 0);
        const QModelIndex stale = model->index(1, 0, group);
        QCOMPARE(stale.data().toString(), QString("b"));
        QCOMPARE(doc.root()->childs().first()->code(),
                 QString("[Data]\u2029a = 1\u2029b = 2\u2029"));

        // The line goes, and with it the node; the index that a view may still hold answers
        // with the parent of the last removal, and with nothing else.
        QTextCursor cursor(doc.findBlockByNumber(2));
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        QVERIFY(!CodeNode::isValid(doc.nodeFromIndex(stale)));
        QCOMPARE(model->parent(stale), group);
        QCOMPARE(model->rowCount(stale), 0);
        QVERIFY(!model->data(stale).isValid());
        QCOMPARE(model->rowCount(group), 1);

        // Frames are named by their identifier, or by their place.
        RootCode root;
        auto *named = new TestFrame(&root, "walk");
        auto *unnamed = new TestFrame(named, QString());
        root.insertChild(named, 0);
        root.insertChild(unnamed, 1);
        QCOMPARE(root.index(0, 0).data().toString(), QString("Frame - walk"));
        QCOMPARE(root.index(1, 0).data(Qt::ToolTipRole).toString(), QString("Frame 2"));
        QVERIFY(root.index(1, 0).data(Qt::DecorationRole).value<QIcon>().isNull());
        QCOMPARE(root.rowCount(root.index(0, 0)), 0); // not a parent
        QCOMPARE(root.lineNo(), -1);
        QVERIFY(root.canParseCode());

        QSignalSpy versions(&root, &RootCode::versionChanged);
        QSignalSpy types(&root, &RootCode::typeChanged);
        root.setVersion(2, false);
        root.setFileType(1, false);
        QCOMPARE(root.version(), 2u);
        QCOMPARE(root.fileType(), 1);
        QVERIFY(versions.isEmpty() && types.isEmpty());
        root.setVersion(3, true);
        root.setFileType(2, true);
        QCOMPARE(versions.count(), 1);
        QCOMPARE(types.count(), 1);
    }

    // A node whose block is invalid belongs to the line before it; the parse puts the next
    // line's node behind it.
    void nodesWithoutBlockBelongToTheLineBefore()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\nb = 2\n");
        CodeNode *a = doc.nodeInBlock(doc.findBlockByNumber(1));
        CodeNode *b = doc.nodeInBlock(doc.findBlockByNumber(2));
        auto *extra = new TestValueCode(ValueCode::Int, QTextBlock(), a, 9, "extra");
        QCOMPARE(extra->lineNo(), 1);
        QCOMPARE(a->next(), extra);

        // Line 2 parses anew: its node comes back behind the extra node.
        QTextCursor cursor(doc.findBlockByNumber(2));
        cursor.insertText("c = 3\n");
        CodeNode *c = doc.nodeInBlock(doc.findBlockByNumber(2));
        QCOMPARE(extra->next(), c);
        b = doc.nodeInBlock(doc.findBlockByNumber(3));
        QCOMPARE(c->next(), b);
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

        QTest::newRow("plain keeps comment") << false << "a = 1   ; note"
                                             << "a = 22"
                                             << "a = 22   ; note";
        QTest::newRow("plain, comment only at start") << false << "a = 1"
                                                      << "a = 2"
                                                      << "a = 2";
        QTest::newRow("merge spacing") << true << "  a  =   1 ; c"
                                       << "a = 5"
                                       << "  a  =   5 ; c";
        QTest::newRow("merge more tokens") << true << "a  = 1"
                                           << "a = 1, 2"
                                           << "a  = 1, 2";
        QTest::newRow("merge fewer tokens") << true << "a =  1 2"
                                            << "a = 3"
                                            << "a =  3 ";
        QTest::newRow("merge behind a leading comment marker") << true << ";a  = 1"
                                                               << "a = 2"
                                                               << "a  = 2";
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
        TestValueCode *node = dynamic_cast<TestValueCode *>(doc.nodeInBlock(block));
        bool manual = false;
        if (!node) { // a commented-out line has no node: make one on it
            node = new TestValueCode(ValueCode::Int, block, doc.nodeInBlock(doc.begin()), 1, "a");
            manual = true;
        }
        node->rewrite(line);
        QCOMPARE(doc.findBlockByNumber(1).text(), expected);
        QCOMPARE(doc.findBlockByNumber(2).text(), QString("b = 2"));
        if (manual)
            node->release();
        doc.undo();
        QCOMPARE(doc.findBlockByNumber(1).text(), old);
    }

    void changeOfABlankLineWritesTheLine()
    {
        ZornTest::TestInterface host;
        host.options.insert("preserve_code_formatting", true);
        TestCodeDocument doc;
        doc.setPlainText("[Data]\n\nb = 2");
        auto *node = new TestValueCode(ValueCode::Int, doc.findBlockByNumber(1),
                                       doc.nodeInBlock(doc.begin()), 1, "a");
        node->rewrite("a = 4");
        // The line now parses to a node of its own; the hand-made one goes.
        node->release();
        QCOMPARE(doc.toPlainText(), QString("[Data]\na = 4\nb = 2"));
        QCOMPARE(describeTreeOf(doc), QString("[Data](a=4 b=2)"));
    }

    void setNameRewritesTheLine()
    {
        ZornTest::TestInterface host;
        ZornTest::TestEngine engine;
        host.engine = &engine;
        TestCodeDocument doc;
        doc.setPlainText("[Data]\nlife = 1000 ; comment\n[Info]\nname = \"KFM\"");
        auto *value = static_cast<TestValueCode *>(doc.nodeInBlock(doc.findBlockByNumber(1)));
        value->setProperty("Name", "power");
        QCOMPARE(doc.findBlockByNumber(1).text(), QString("power = 1000 ; comment"));
        auto *group = static_cast<TestGroupCode *>(doc.nodeInBlock(doc.findBlockByNumber(2)));
        group->setName("Info Two");
        QCOMPARE(doc.findBlockByNumber(2).text(), QString("[Info Two]"));
        QCOMPARE(doc.nodeInBlock(doc.findBlockByNumber(2)), group); // same type: kept
        QCOMPARE(describeTreeOf(doc), QString("[Data](power=1000) [Info Two](name=KFM)"));
    }

    void removeAndAppendEditTheText()
    {
        TestCodeDocument doc;
        doc.setPlainText("[Data]\na = 1\nb = 2\n; c\n[Info]\nx = 3");
        auto *data = static_cast<TestGroupCode *>(doc.root()->childs().at(0));
        QCOMPARE(data->lastLine(), 3);
        auto *info = static_cast<TestGroupCode *>(doc.root()->childs().at(1));
        QCOMPARE(info->lastLine(), doc.blockCount());

        data->removeValue(0);
        QCOMPARE(doc.toPlainText(), QString("[Data]\nb = 2\n; c\n[Info]\nx = 3"));
        data->appendValue("d = 4");
        QCOMPARE(doc.toPlainText(), QString("[Data]\nb = 2\nd = 4\n; c\n[Info]\nx = 3"));
        QCOMPARE(names(data), QString("b d"));
        data->values().first()->remove(false);
        QCOMPARE(doc.toPlainText(), QString("[Data]\nd = 4\n; c\n[Info]\nx = 3"));

        // The whole section, up to the next header.
        data->remove(true);
        QCOMPARE(doc.toPlainText(), QString("[Info]\nx = 3"));
        QCOMPARE(describeTreeOf(doc), QString("[Info](x=3)"));
        // The last line: no line end behind it to take.
        doc.root()->childs().first()->remove(true);
        QCOMPARE(doc.toPlainText(), QString(""));
    }

    void deletedHeaderGivesValuesToTheOneAbove()
    {
        TestCodeDocument doc;
        const QString text = "[Info]\nname = \"a\"\n[Data]\nlife = 1\n; keep\npower = 2\n";
        doc.setPlainText(text);
        QAbstractItemModelTester tester(doc.model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto *info = static_cast<GroupCode *>(doc.root()->childs().first());
        doc.root()->childs().at(1)->remove(false);
        QCOMPARE(doc.toPlainText(), QString("[Info]\nname = \"a\"\nlife = 1\n; keep\npower = 2\n"));
        QCOMPARE(names(info), QString("name life power"));
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
