#include <zornx/project/organizable.h>

#include <QtCore/QMimeData>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>

using namespace Zorn;

namespace {

// A list of letters that moves rows the way a project's item list does.
class Letters : public OrganizableObject
{
public:
    explicit Letters(const QString &text)
    {
        for (QChar c : text)
            items << QString(c);
    }
    int rowCount(const QModelIndex &parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : items.size();
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        return role == Qt::DisplayRole ? items.value(index.row()) : QVariant();
    }
    void move(unsigned int from, unsigned int to) override
    {
        QVERIFY(isMoveFromDrag());
        const int destination = int(to) > int(from) ? int(to) + 1 : int(to);
        beginMoveRows(QModelIndex(), int(from), int(from), QModelIndex(), destination);
        items.move(int(from), int(to));
        endMoveRows();
        ++moves;
    }
    void beginChange() override {}
    void endChange() override {}
    void remove(unsigned int index) override { items.removeAt(int(index)); }
    int compare(unsigned int a, unsigned int b) const override
    {
        return items.at(int(a)).compare(items.at(int(b)));
    }
    QString text() const { return items.join(QString()); }

    QStringList items;
    int moves = 0;
};

} // namespace

class tst_Organizable : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void drop_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QList<int>>("rows");
        QTest::addColumn<int>("target");
        QTest::addColumn<QString>("after");
        QTest::newRow("one up") << "abcdef" << QList<int>{3} << 1 << "adbcef";
        QTest::newRow("one down") << "abcdef" << QList<int>{1} << 4 << "acdbef";
        QTest::newRow("onto itself") << "abcdef" << QList<int>{2} << 2 << "abcdef";
        QTest::newRow("just behind itself") << "abcdef" << QList<int>{2} << 3 << "abcdef";
        QTest::newRow("gap, up") << "abcdef" << QList<int>{5, 2} << 0 << "cfabde";
        QTest::newRow("gap, down") << "abcdef" << QList<int>{0, 2} << 4 << "bdacef";
        QTest::newRow("around the target") << "abcdef" << QList<int>{1, 4} << 3 << "acbedf";
        QTest::newRow("first stays put") << "abcdef" << QList<int>{2, 3} << 2 << "abcdef";
        QTest::newRow("past the last row") << "abcdef" << QList<int>{0} << 99 << "bcdeaf";
        QTest::newRow("negative row") << "abcdef" << QList<int>{4} << -1 << "eabcdf";
        QTest::newRow("all") << "abc" << QList<int>{2, 1, 0} << 0 << "abc";
        // The dropped rows stay together and in order when some stand on or below target.
        QTest::newRow("one above, two on") << "abcde" << QList<int>{0, 2, 3} << 3 << "bacde";
        QTest::newRow("one on, one below") << "abcde" << QList<int>{2, 4} << 2 << "abced";
        QTest::newRow("above, on, below") << "abcdef" << QList<int>{1, 3, 5} << 3 << "acbdfe";
        QTest::newRow("on and below to the end") << "abcde" << QList<int>{0, 3, 4} << 3 << "bcade";
    }
    void drop()
    {
        QFETCH(QString, before);
        QFETCH(QList<int>, rows);
        QFETCH(int, target);
        QFETCH(QString, after);
        Letters model(before);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QModelIndexList indexes;
        for (int row : rows)
            indexes << model.index(row, 0);
        std::unique_ptr<QMimeData> data(model.mimeData(indexes));
        QVERIFY(!model.dropMimeData(data.get(), Qt::MoveAction, target, 0, QModelIndex()));
        QCOMPARE(model.text(), after);
        QVERIFY(!model.isMoveFromDrag());
    }

    void refusals()
    {
        Letters model("abc");
        std::unique_ptr<QMimeData> data(model.mimeData({model.index(0, 0)}));
        QVERIFY(!model.dropMimeData(nullptr, Qt::MoveAction, 1, 0, QModelIndex()));
        QVERIFY(!model.dropMimeData(data.get(), Qt::CopyAction, 2, 0, QModelIndex()));
        QMimeData garbage;
        garbage.setData("application/x-qabstractitemmodeldatalist", QByteArray("\x00\x00\x00", 3));
        QVERIFY(!model.dropMimeData(&garbage, Qt::MoveAction, 2, 0, QModelIndex()));
        QCOMPARE(model.text(), QString("abc"));
        QCOMPARE(model.moves, 0);

        // Items drag, the space between them takes drops.
        QCOMPARE(model.flags(model.index(1, 0)),
                 Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsEnabled);
        QCOMPARE(model.flags(QModelIndex()), Qt::ItemFlags(Qt::ItemIsDropEnabled));
        QCOMPARE(model.supportedDropActions(), Qt::MoveAction);
    }
};

QTEST_GUILESS_MAIN(tst_Organizable)
#include "tst_organizable.moc"
