#include "testengine.h"
#include "testinterface.h"

#include <zornx/core/messages.h>
#include <zornx/core/messages_p.h>

#include <QtCore/QRandomGenerator>
#include <QtGui/QPixmap>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>

#include <memory>
#include <vector>

using namespace Zorn;

Q_DECLARE_METATYPE(Zorn::Message::Type)

namespace {

// Every model a test makes is watched by a tester for its whole life.
class Watched
{
public:
    void watch(QAbstractItemModel *model)
    {
        testers.emplace_back(new QAbstractItemModelTester(
            model, QAbstractItemModelTester::FailureReportingMode::QtTest));
    }

    void forget() { testers.clear(); }

private:
    std::vector<std::unique_ptr<QAbstractItemModelTester>> testers;
};

// A host whose icons say which name they were asked for.
class IconHost : public ZornTest::TestInterface
{
public:
    QIcon icon(const QString &name) const override
    {
        asked.append(name);
        QPixmap pixmap(4, 4);
        pixmap.fill(Qt::red);
        return QIcon(pixmap);
    }
    mutable QStringList asked;
};

// E0 W1 I2 W3 E4 W5 (letter: type, digit: line and column).
void fillSample(SimpleMessages &messages)
{
    const Message::Type types[] = {Message::Error,   Message::Warning, Message::Information,
                                   Message::Warning, Message::Error,   Message::Warning};
    int n = 0;
    for (Message::Type type : types) {
        messages.add(type, QStringLiteral("%1%2").arg("EWI"[type]).arg(n), unsigned(n),
                     unsigned(n));
        ++n;
    }
}

// The rows the table should show: every registered object's messages in registration order.
QStringList expectedTable(const QList<Messages *> &registered)
{
    QStringList rows;
    for (const Messages *messages : registered)
        for (unsigned int i = 0; i < messages->count(Message::All); ++i)
            rows.append(messages->at(i, Message::All).text);
    return rows;
}

QStringList tableTexts(const MessageList &list)
{
    QStringList rows;
    for (int row = 0; row < list.rowCount(); ++row)
        rows.append(list.data(list.index(row, 0)).toString());
    return rows;
}

} // namespace

class tst_Messages : public QObject, private Watched
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        setMessageFileNameFunction(
            [](const ProjectFile *file) { return file ? file->fileName() : QString(); });
    }

    void cleanup() { forget(); }

    void lookUps_data()
    {
        QTest::addColumn<uint>("index");
        QTest::addColumn<Message::Type>("type");
        QTest::addColumn<QString>("text"); // empty: the empty message

        QTest::newRow("all first") << 0u << Message::All << "E0";
        QTest::newRow("all last") << 5u << Message::All << "W5";
        QTest::newRow("all past end") << 6u << Message::All << "";
        QTest::newRow("error 1") << 1u << Message::Error << "E4";
        QTest::newRow("error past end") << 2u << Message::Error << "";
        QTest::newRow("warning 0") << 0u << Message::Warning << "W1";
        QTest::newRow("warning 2") << 2u << Message::Warning << "W5";
        QTest::newRow("warning 5 of 3") << 5u << Message::Warning << "";
        QTest::newRow("information") << 0u << Message::Information << "I2";
        QTest::newRow("information past end") << 1u << Message::Information << "";
        QTest::newRow("huge index") << 0xffffffffu << Message::Warning << "";
        QTest::newRow("no such type") << 0u << Message::Type(7) << "";
    }

    void lookUps()
    {
        QFETCH(uint, index);
        QFETCH(Message::Type, type);
        QFETCH(QString, text);

        SimpleMessages messages(nullptr);
        watch(&messages);
        fillSample(messages);

        const Message found = messages.at(index, type);
        QCOMPARE(found.text, text);
        if (text.isEmpty()) {
            QCOMPARE(found.type, Message::All);
            QCOMPARE(found.line, 0u);
            QCOMPARE(found.column, 0u);
        } else {
            QCOMPARE(int(found.type), int(QString("EWI").indexOf(text.at(0))));
            QCOMPARE(found.line, uint(text.mid(1).toUInt()));
            QCOMPARE(found.column, found.line);
        }
    }

    void countsAndModel()
    {
        SimpleMessages messages(nullptr);
        watch(&messages);
        QSignalSpy inserted(&messages, &QAbstractItemModel::rowsInserted);
        fillSample(messages);
        messages.add(Message::All, "ignored", 9, 9); // not a type of its own

        QCOMPARE(inserted.count(), 6);
        QCOMPARE(messages.count(Message::Error), 2u);
        QCOMPARE(messages.count(Message::Warning), 3u);
        QCOMPARE(messages.count(Message::Information), 1u);
        QCOMPARE(messages.count(Message::All), 6u);
        QCOMPARE(messages.rowCount(), 6);
        QCOMPARE(messages.data(messages.index(3)).toString(), QString("W3"));
        QVERIFY(!messages.data(messages.index(3), Qt::ToolTipRole).isValid());
        QVERIFY(!messages.data(QModelIndex()).isValid());
        QVERIFY(!messages.data(messages.index(6)).isValid());

        // Clearing removes every row at once.
        QSignalSpy removed(&messages, &QAbstractItemModel::rowsRemoved);
        messages.clear();
        QCOMPARE(removed.count(), 1);
        QCOMPARE(removed.at(0).at(1).toInt(), 0);
        QCOMPARE(removed.at(0).at(2).toInt(), 5);
        for (int type = 0; type <= 3; ++type)
            QCOMPARE(messages.count(Message::Type(type)), 0u);
        messages.clear();
        QCOMPARE(removed.count(), 1);
    }

    void icons_data()
    {
        QTest::addColumn<Message::Type>("type");
        QTest::addColumn<QString>("name");
        QTest::newRow("error") << Message::Error << "error";
        QTest::newRow("warning") << Message::Warning << "warning";
        QTest::newRow("information") << Message::Information << "information";
    }

    void icons()
    {
        QFETCH(Message::Type, type);
        QFETCH(QString, name);

        SimpleMessages messages(nullptr);
        MessageList list(nullptr);
        watch(&messages);
        watch(&list);
        messages.add(type, "text", 0, 0);
        list.registerMessages(&messages);

        {
            // Without a host the icons come from the resources, which this test lacks; the
            // value is still an icon, never text or nothing.
            const QVariant own = messages.data(messages.index(0), Qt::DecorationRole);
            QCOMPARE(own.userType(), qMetaTypeId<QIcon>());
        }

        IconHost host;
        QVERIFY(!messages.data(messages.index(0), Qt::DecorationRole).value<QIcon>().isNull());
        QVERIFY(!list.data(list.index(0, 0), Qt::DecorationRole).value<QIcon>().isNull());
        QCOMPARE(host.asked, QStringList({name, name}));
        for (int column = 1; column < 3; ++column) {
            const QVariant other = list.data(list.index(0, column), Qt::DecorationRole);
            QCOMPARE(other.userType(), qMetaTypeId<QIcon>());
            QVERIFY(other.value<QIcon>().isNull());
        }
        QCOMPARE(host.asked.size(), 2);
    }

    void tableColumns()
    {
        auto *file = new ZornTest::IniFile;
        file->name = QStringLiteral("/games/chars/kfm/kfm.def");
        SimpleMessages first(file);
        SimpleMessages unnamed(nullptr);
        MessageList list(nullptr);
        watch(&first);
        watch(&unnamed);
        watch(&list);
        first.add(Message::Warning, "bad value", 0, 4);
        first.add(Message::Error, "syntax", 41, 0);
        unnamed.add(Message::Information, "hint", 7, 1);
        list.registerMessages(&first);
        list.registerMessages(&unnamed);

        QCOMPARE(list.columnCount(), 3);
        QCOMPARE(list.rowCount(), 3);
        QCOMPARE(list.errorCount(), 1u);
        QCOMPARE(list.warningCount(), 1u);
        QCOMPARE(list.data(list.index(1, 0)).toString(), QString("syntax"));
        QCOMPARE(list.data(list.index(1, 1)).toString(), QString("kfm.def"));
        QCOMPARE(list.data(list.index(1, 2)).toUInt(), 42u);
        QCOMPARE(list.data(list.index(0, 2)).toUInt(), 1u);
        QCOMPARE(list.data(list.index(2, 1)).toString(), QString());
        QCOMPARE(list.data(list.index(2, 2)).toUInt(), 8u);
        QVERIFY(!list.data(list.index(0, 0), Qt::ToolTipRole).isValid());
        QVERIFY(!list.data(list.index(0, 0), Qt::EditRole).isValid());

        list.unregisterMessages(&first);
        list.unregisterMessages(&unnamed);
        file->release();
    }

    void messageAtWalksRegistrationOrder()
    {
        SimpleMessages a(nullptr), b(nullptr), empty(nullptr);
        MessageList list(nullptr);
        watch(&list);
        a.add(Message::Error, "a0", 0, 0);
        a.add(Message::Warning, "a1", 1, 0);
        b.add(Message::Information, "b0", 2, 0);
        list.registerMessages(&a);
        list.registerMessages(&empty);
        list.registerMessages(&b);

        const Messages *owner = nullptr;
        QCOMPARE(list.messageAt(1, owner).text, QString("a1"));
        QCOMPARE(owner, &a);
        QCOMPARE(list.messageAt(2, owner).text, QString("b0"));
        QCOMPARE(owner, &b);

        // Past the end (or before the start): the empty message, owner untouched.
        for (int row : {3, 1000, -1}) {
            owner = &empty;
            const Message none = list.messageAt(row, owner);
            QCOMPARE(none.type, Message::All);
            QVERIFY(none.text.isEmpty());
            QCOMPARE(owner, &empty);
        }
    }

    void updateOnEmptyList()
    {
        MessageList list(nullptr);
        watch(&list);
        QSignalSpy updated(&list, &MessageList::updated);
        QSignalSpy inserted(&list, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&list, &QAbstractItemModel::rowsRemoved);
        list.update();
        QCOMPARE(updated.count(), 1);
        QCOMPARE(inserted.count(), 0);
        QCOMPARE(removed.count(), 0);
    }

    void nestedChangeNotifiesOnce()
    {
        SimpleMessages messages(nullptr);
        MessageList list(nullptr);
        watch(&messages);
        watch(&list);
        list.registerMessages(&messages);
        QSignalSpy updated(&list, &MessageList::updated);
        QSignalSpy rows(&messages, &QAbstractItemModel::rowsInserted);

        messages.beginChange();
        messages.add(Message::Error, "outer", 0, 0);
        messages.beginChange();
        messages.add(Message::Warning, "inner", 1, 0);
        messages.clear();
        messages.add(Message::Warning, "again", 2, 0);
        messages.endChange();
        QCOMPARE(updated.count(), 0);
        QCOMPARE(rows.count(), 3); // the object's own rows move at once
        QCOMPARE(list.rowCount(), 0);
        messages.endChange();
        QCOMPARE(updated.count(), 1);
        QCOMPARE(list.rowCount(), 1);
        QCOMPARE(list.warningCount(), 1u);

        // An end without a begin changes nothing and does not silence later changes.
        messages.endChange();
        QCOMPARE(updated.count(), 1);
        messages.add(Message::Error, "after", 3, 0);
        QCOMPARE(updated.count(), 2);
        QCOMPARE(list.rowCount(), 2);
    }

    void registrationKeepsOneList()
    {
        SimpleMessages messages(nullptr);
        MessageList first(nullptr), second(nullptr);
        watch(&first);
        watch(&second);
        messages.add(Message::Error, "e", 0, 0);

        first.registerMessages(&messages);
        first.registerMessages(&messages);
        QCOMPARE(first.rowCount(), 1);
        QCOMPARE(messages.messageList(), &first);

        second.registerMessages(&messages);
        QCOMPARE(messages.messageList(), &second);
        QCOMPARE(first.rowCount(), 0);
        QCOMPARE(second.rowCount(), 1);

        first.unregisterMessages(&messages); // not first's: nothing happens
        QCOMPARE(messages.messageList(), &second);
        second.unregisterMessages(&messages);
        QVERIFY(!messages.messageList());
        QCOMPARE(second.rowCount(), 0);
        QCOMPARE(second.errorCount(), 0u);
    }

    void destroyedWhileRegistered()
    {
        auto a = std::make_unique<SimpleMessages>(nullptr);
        auto b = std::make_unique<SimpleMessages>(nullptr);
        auto c = std::make_unique<SimpleMessages>(nullptr);
        MessageList list(nullptr);
        watch(&list);
        a->add(Message::Error, "a", 0, 0);
        b->add(Message::Error, "b0", 0, 0);
        b->add(Message::Warning, "b1", 0, 0);
        c->add(Message::Warning, "c", 0, 0);
        for (Messages *messages : {a.get(), b.get(), c.get()})
            list.registerMessages(messages);
        QCOMPARE(list.rowCount(), 4);

        QSignalSpy updated(&list, &MessageList::updated);
        b.reset();
        QCOMPARE(updated.count(), 1);
        QCOMPARE(list.rowCount(), 2);
        QCOMPARE(list.errorCount(), 1u);
        QCOMPARE(list.warningCount(), 1u);
        QCOMPARE(tableTexts(list), QStringList({"a", "c"}));

        // The list may go first; the objects then have no list to tell.
        auto early = std::make_unique<MessageList>(nullptr);
        early->registerMessages(a.get());
        early.reset();
        QVERIFY(!a->messageList());
        a->add(Message::Error, "after", 0, 0);
    }

    // Random edits on three objects; after every step outside a bracket, the table must be
    // the concatenation of the objects' own lists, and the testers watch every signal.
    void randomEditsKeepTableInStep()
    {
        QRandomGenerator random(20240607);
        std::vector<std::unique_ptr<SimpleMessages>> objects;
        for (int i = 0; i < 3; ++i) {
            objects.emplace_back(new SimpleMessages(nullptr));
            watch(objects.back().get());
        }
        MessageList list(nullptr);
        watch(&list);
        QList<Messages *> registered;
        int depth[3] = {0, 0, 0};

        for (int step = 0; step < 400; ++step) {
            const int which = random.bounded(3);
            SimpleMessages *object = objects[which].get();
            switch (random.bounded(8)) {
            case 0:
            case 1:
            case 2:
                object->add(Message::Type(random.bounded(3)), QString::number(step), 0, 0);
                break;
            case 3:
                if (random.bounded(4) == 0)
                    object->clear();
                break;
            case 4:
                object->beginChange();
                ++depth[which];
                break;
            case 5:
                if (depth[which] > 0) {
                    object->endChange();
                    --depth[which];
                }
                break;
            case 6:
                if (!registered.contains(object)) {
                    list.registerMessages(object);
                    registered.append(object);
                }
                break;
            case 7:
                list.unregisterMessages(object);
                registered.removeAll(object);
                break;
            }
            if (depth[0] + depth[1] + depth[2] == 0) {
                QCOMPARE(tableTexts(list), expectedTable(registered));
                unsigned int errors = 0;
                for (const Messages *messages : qAsConst(registered))
                    errors += messages->count(Message::Error);
                QCOMPARE(list.errorCount(), errors);
            }
        }
        for (int i = 0; i < 3; ++i)
            while (depth[i]-- > 0)
                objects[i]->endChange();
        QCOMPARE(tableTexts(list), expectedTable(registered));
    }
};

QTEST_MAIN(tst_Messages)
#include "tst_messages.moc"
