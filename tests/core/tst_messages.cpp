#include "testengine.h"
#include "testinterface.h"

#include <zornx/core/messages.h>
#include <zornx/core/messages_p.h>

#include <QtCore/QRandomGenerator>
#include <QtGui/QPixmap>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>

#include <functional>
#include <memory>
#include <vector>

using namespace Zorn;

Q_DECLARE_METATYPE(Zorn::Message::Type)

namespace {

// A host whose icons record which name they were asked for.
struct IconHost : ZornTest::TestInterface
{
    QIcon icon(const QString &name) const override
    {
        asked.append(name);
        return QIcon(QPixmap(1, 1));
    }
    mutable QStringList asked;
};

QStringList tableTexts(const MessageList &list)
{
    QStringList rows;
    for (int row = 0; row < list.rowCount(); ++row)
        rows.append(list.data(list.index(row, 0)).toString());
    return rows;
}

} // namespace

class tst_Messages : public QObject
{
    Q_OBJECT
    // Every model a test makes is watched by a tester for its whole life.
    std::vector<std::unique_ptr<QAbstractItemModelTester>> testers;
    void watch(QAbstractItemModel *model)
    {
        testers.emplace_back(new QAbstractItemModelTester(
            model, QAbstractItemModelTester::FailureReportingMode::QtTest));
    }

private Q_SLOTS:
    void initTestCase()
    {
        setMessageFileNameFunction(
            [](const ProjectFile *file) { return file ? file->fileName() : QString(); });
    }
    void cleanup() { testers.clear(); }

    // Every look-up on E0 W1 I2 W3 E4 W5 (letter: type, digit: line and column) against the
    // sample filtered by type; past the end comes the empty message.
    void lookUps()
    {
        SimpleMessages messages(nullptr);
        watch(&messages);
        const QString letters = QStringLiteral("EWI"), sample = QStringLiteral("EWIWEW");
        for (int n = 0; n < sample.size(); ++n)
            messages.add(Message::Type(letters.indexOf(sample[n])), sample[n] + QString::number(n),
                         unsigned(n), unsigned(n));
        messages.add(Message::All, "ignored", 9, 9); // not a type of its own

        for (int type : {0, 1, 2, 3, 7}) {
            QStringList texts;
            for (int n = 0; n < sample.size(); ++n)
                if (type == Message::All || letters.indexOf(sample[n]) == type)
                    texts.append(sample[n] + QString::number(n));
            QCOMPARE(messages.count(Message::Type(type)), unsigned(texts.size()));
            for (unsigned int index : {0u, 1u, 2u, 3u, 5u, 6u, 0xffffffffu}) {
                const Message found = messages.at(index, Message::Type(type));
                const QString text = index < unsigned(texts.size()) ? texts[int(index)] : "";
                QCOMPARE(found.text, text);
                QCOMPARE(int(found.type), text.isEmpty() ? 3 : letters.indexOf(text[0]));
                QCOMPARE(found.line, text.isEmpty() ? 0u : text.mid(1).toUInt());
                QCOMPARE(found.column, found.line);
            }
        }
    }

    // Columns text, file name and line + 1 over the registered objects in order; icons; an
    // object destroyed while registered; nested change brackets; the list going first.
    void tableAndRegistration()
    {
        auto *file = new Sample::IniFile;
        file->name = QStringLiteral("/games/chars/lantern/lantern.cfg");
        SimpleMessages first(file);
        auto second = std::make_unique<SimpleMessages>(nullptr);
        MessageList list(nullptr), other(nullptr);
        watch(&list);
        watch(&other);
        first.add(Message::Warning, "bad value", 0, 4);
        first.add(Message::Error, "syntax", 41, 0);
        second->add(Message::Information, "hint", 7, 1);
        // An object is listed once, and in one list only.
        other.registerMessages(&first);
        for (Messages *messages : {&first, second.get(), &first})
            list.registerMessages(messages);
        other.unregisterMessages(&first); // not other's: nothing happens
        QCOMPARE(other.rowCount(), 0);
        QCOMPARE(first.messageList(), &list);

        QVariantList cells;
        for (int row = 0; row < list.rowCount(); ++row)
            for (int column = 0; column < 3; ++column)
                cells.append(list.data(list.index(row, column)));
        QCOMPARE(cells, QVariantList({"bad value", "lantern.cfg", 1u, "syntax", "lantern.cfg", 42u, "hint",
                                      "", 8u}));
        const Messages *owner = nullptr;
        QCOMPARE(list.messageAt(2, owner).text, QString("hint"));
        // Past the end or before the start: the empty message, owner untouched.
        for (int row : {3, -1}) {
            QCOMPARE(list.messageAt(row, owner).type, Message::All);
            QCOMPARE(owner, second.get());
        }

        // Icons by type: without a host the library's own, one per type; with a host, the
        // host's, in column 0 only.
        QList<QImage> own;
        for (int row = 0; row < 3; ++row) {
            const QIcon icon = list.data(list.index(row, 0), Qt::DecorationRole).value<QIcon>();
            own.append(icon.pixmap(16, 16).toImage());
            QVERIFY(!own.last().isNull());
            QVERIFY(!own.contains(QImage()) && own.count(own.last()) == 1);
        }
        IconHost host;
        for (int row = 0; row < 3; ++row) {
            QVERIFY(!list.data(list.index(row, 0), Qt::DecorationRole).value<QIcon>().isNull());
            const QVariant none = list.data(list.index(row, 2), Qt::DecorationRole);
            QVERIFY(none.userType() == qMetaTypeId<QIcon>() && none.value<QIcon>().isNull());
        }
        QVERIFY(!first.data(first.index(1), Qt::DecorationRole).value<QIcon>().isNull());
        QCOMPARE(host.asked, QStringList({"warning", "error", "information", "error"}));

        // Destroyed while registered: the table stays consistent, and is told once.
        QSignalSpy updated(&list, &MessageList::updated);
        second.reset();
        QCOMPARE(updated.count(), 1);
        QCOMPARE(tableTexts(list), QStringList({"bad value", "syntax"}));

        // Nested brackets: the object's own rows change at once, the table once at the end.
        first.beginChange();
        first.add(Message::Error, "outer", 0, 0);
        first.beginChange();
        first.clear();
        first.add(Message::Warning, "again", 2, 0);
        first.endChange();
        QCOMPARE(first.rowCount(), 1);
        QCOMPARE(updated.count(), 1);
        QCOMPARE(list.rowCount(), 2);
        first.endChange();
        QCOMPARE(updated.count(), 2);
        QCOMPARE(tableTexts(list), QStringList({"again"}));

        // The list may go first; the object then has no list to tell.
        auto early = std::make_unique<MessageList>(nullptr);
        early->registerMessages(&first);
        early.reset();
        QVERIFY(!first.messageList());
        first.add(Message::Error, "after", 0, 0);
        file->release();
    }

    // Random edits on three objects, some of them in nested brackets that may hold edits of
    // other objects: after every step the table is the registered objects' lists in order,
    // and every model has as many rows as its row signals told.
    void randomEditsKeepTableInStep()
    {
        QRandomGenerator random(20240607);
        QHash<QAbstractItemModel *, int> told;
        SimpleMessages a(nullptr), b(nullptr), c(nullptr);
        SimpleMessages *objects[] = {&a, &b, &c};
        MessageList list(nullptr);
        for (QAbstractItemModel *model : QList<QAbstractItemModel *>{&a, &b, &c, &list}) {
            watch(model);
            const auto count = [&told, model](int sign) {
                return [&told, model, sign](const QModelIndex &, int first, int last) {
                    told[model] += sign * (last - first + 1);
                };
            };
            connect(model, &QAbstractItemModel::rowsInserted, this, count(1));
            connect(model, &QAbstractItemModel::rowsRemoved, this, count(-1));
        }
        QList<Messages *> registered;
        int added = 0;
        std::function<void(int)> edit = [&](int level) {
            SimpleMessages *object = objects[random.bounded(3)];
            const int choice = random.bounded(level < 2 ? 6 : 5);
            if (choice < 2) {
                object->add(Message::Type(random.bounded(3)), QString::number(++added), 0, 0);
            } else if (choice == 2) {
                object->clear();
            } else if (choice == 3 && registered.removeAll(object) > 0) {
                list.unregisterMessages(object);
            } else if (choice == 3) {
                list.registerMessages(object);
                registered.append(object);
            } else if (choice == 4) {
                object->endChange(); // may close a bracket early; unmatched, it does nothing
            } else {
                object->beginChange();
                for (int n = random.bounded(4); n > 0; --n)
                    edit(level + 1);
                object->endChange();
            }
        };

        for (int step = 0; step < 300; ++step) {
            edit(0);
            QStringList expected;
            unsigned int errors = 0, warnings = 0;
            for (const Messages *messages : qAsConst(registered)) {
                for (unsigned int i = 0; i < messages->count(Message::All); ++i)
                    expected.append(messages->at(i, Message::All).text);
                errors += messages->count(Message::Error);
                warnings += messages->count(Message::Warning);
            }
            QCOMPARE(tableTexts(list), expected);
            QCOMPARE(list.errorCount(), errors);
            QCOMPARE(list.warningCount(), warnings);
            for (auto it = told.cbegin(); it != told.cend(); ++it)
                QCOMPARE(it.key()->rowCount(), it.value());
        }
    }
};

QTEST_MAIN(tst_Messages)
#include "tst_messages.moc"
