#include "dialogresponder.h"
#include "fixtures.h"
#include "testengine.h"
#include "testinterface.h"

#include <zornx/core/engine.h>

#include <QtCore/QTemporaryDir>
#include <QtGui/QColor>
#include <QtGui/QIcon>
#include <QtGui/QImage>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>

#include <functional>
#include <memory>

using namespace Zorn;
using ZornTest::DialogResponder;
using ZornTest::TestEngine;
using ZornTest::readFile;
using ZornTest::writeFile;

using Edit = std::function<void(EngineInstances &)>;
Q_DECLARE_METATYPE(Edit)

namespace {

// A configuration exactly as the engine writes it.
const QByteArray sampleConfig = R"(<?xml version="1.0" encoding="UTF-8"?>
<configuration>
    <engine name="Release">
        <param name="exe" value="/opt/game/game"/>
        <param name="icon" value="/opt/game/icon.png"/>
        <param name="params" value="-r lantern"/>
    </engine>
    <engine name="Debug">
        <param name="exe" value="/opt/game/game-debug"/>
        <param name="icon" value=""/>
        <param name="params" value="-d"/>
    </engine>
    <config name="colour" value="10,20,30"/>
    <config name="five" value="1,2,3,4,5"/>
    <config name="negative" value="-1,2,3,4"/>
    <config name="window" value="1,2,300,400"/>
    <config name="zoom" value="1,2"/>
</configuration>
)";

QStringList names(const EngineInstances &model)
{
    QStringList list;
    for (int row = 0; row < model.rowCount(); ++row)
        list.append(model.data(model.index(row, 0)).toString());
    return list;
}

} // namespace

class tst_Engine : public QObject
{
    Q_OBJECT
    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<ZornTest::TestInterface> host;

    QString configPath() const { return dir->filePath(QStringLiteral("test_config.xml")); }

private Q_SLOTS:
    void init()
    {
        dir.reset(new QTemporaryDir);
        QVERIFY(dir->isValid());
        host.reset(new ZornTest::TestInterface);
        host->userPath = dir->path();
        host->dataPath = dir->filePath(QStringLiteral("data"));
        host->options.insert(QStringLiteral("host_only"), 42);
    }

    // The destructor writes the fixed form whatever the file had: param in the order exe, icon,
    // params, unknown ones dropped, options in key order, a colour without its alpha. Read
    // again, values have their types, the host's options show through, and the list is replaced
    // in one removal and one insertion; written again, the file stays the same to the byte.
    void configurationRoundTrip()
    {
        QVERIFY(writeFile(configPath(), R"(<configuration><config name="zoom" value="1,2"/>
            <engine name="Release"><param name="params" value="-r lantern"/>
                <param name="other" value="ignored"/><param name="icon" value="/opt/game/icon.png"/>
                <param name="exe" value="/opt/game/game"/></engine>
            <engine name="Debug"><param name="params" value="-d"/>
                <param name="exe" value="/opt/game/game-debug"/></engine>
            <config name="negative" value="-1,2,3,4"/><config name="five" value="1,2,3,4,5"/>
            </configuration>)"));
        {
            TestEngine engine;
            engine.setOption(QStringLiteral("window"), QRect(1, 2, 300, 400));
            engine.setOption(QStringLiteral("colour"), QColor(10, 20, 30, 100));
        }
        QCOMPARE(readFile(configPath()), sampleConfig);
        {
            TestEngine engine;
            const QMap<QString, QVariant> values = {
                {"colour", QColor(10, 20, 30)}, {"window", QRect(1, 2, 300, 400)},
                {"zoom", "1,2"}, {"five", "1,2,3,4,5"}, {"negative", "-1,2,3,4"},
                {"host_only", 42}};
            for (auto it = values.cbegin(); it != values.cend(); ++it) {
                const QVariant value = engine.option(it.key(), QVariant());
                QCOMPARE(value.userType(), it->userType());
                QCOMPARE(value, it.value());
            }
            QAbstractItemModelTester tester(
                &engine, QAbstractItemModelTester::FailureReportingMode::QtTest);
            QSignalSpy inserted(&engine, &QAbstractItemModel::rowsInserted);
            QSignalSpy removed(&engine, &QAbstractItemModel::rowsRemoved);
            QVERIFY(engine.load());
            QCOMPARE(removed.size(), 1);
            QCOMPARE(inserted.size(), 1);
            QCOMPARE(names(engine), QStringList({"Release", "Debug"}));

            // Decoration: the row's own icon (Release's file is missing), else the engine's
            // icon in the data directory.
            const QString fallback = host->dataPath + QStringLiteral("/engines/test/icon.png");
            QVERIFY(QDir().mkpath(QFileInfo(fallback).path())
                    && QImage(16, 16, QImage::Format_ARGB32).save(fallback));
            const EngineInstances &model = engine;
            const QVariant own = model.data(model.index(0, 0), Qt::DecorationRole);
            const QVariant engines = model.data(model.index(1, 0), Qt::DecorationRole);
            QVERIFY(own.value<QIcon>().availableSizes().isEmpty());
            QCOMPARE(engines.value<QIcon>().availableSizes(), QList<QSize>({QSize(16, 16)}));
        }
        QCOMPARE(readFile(configPath()), sampleConfig);

        // Without a host nothing is read or written, and options fall back to the caller's.
        host.reset();
        {
            TestEngine engine;
            engine.add(QStringLiteral("a"), QStringLiteral("b"), QString(), QString());
            QVERIFY(engine.configFile().isEmpty() && engine.load() && engine.save());
            QCOMPARE(engine.count(), 1u);
            QCOMPARE(engine.option(QStringLiteral("zoom"), 3), QVariant(3));
        }
        QCOMPARE(readFile(configPath()), sampleConfig);
    }

    // A malformed or unreadable file shows one box with the host's text, keeps what was read
    // before the error, and is still on disk as it was after the engine has gone, even after
    // changes. An unwritable one shows a box, and again when the engine tries as it goes.
    void brokenFiles_data()
    {
        QTest::addColumn<QByteArray>("bytes"); // <dir>: a directory in the file's place
        QTest::addColumn<QString>("title");    // <file>: a file in the user directory's place
        QTest::addColumn<QString>("text");     // a pattern; %1: the file's path
        const QString xml = "XML error", where = R"(^.+ \(line \d+, column \d+\)$)";
        QTest::newRow("empty") << QByteArray() << xml << where;
        QTest::newRow("garbage") << QByteArray("\x01\x02 not xml at all \xff\xfe") << xml << where;
        QTest::newRow("mismatched")
            << QByteArray("<configuration><engine name=\"x\"></config>") << xml << where;
        for (int percent : {5, 30, 50, 75, 98})
            QTest::addRow("cut at %d%%", percent)
                << sampleConfig.left(sampleConfig.size() * percent / 100) << xml << where;
        QTest::newRow("cut before end tag")
            << sampleConfig.left(sampleConfig.lastIndexOf("</configuration>")) << xml << where;
        QTest::newRow("unreadable") << QByteArray("<dir>") << "Configuration error!"
                                    << "^Can't open engine configuration from '%1'!$";
        QTest::newRow("unwritable") << QByteArray("<file>") << "Configuration error!"
                                    << "^Can't save engine configuration to '%1'!$";
    }
    void brokenFiles()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, title);
        QFETCH(QString, text);
        const bool unwritable = bytes == "<file>";
        if (unwritable)
            host->userPath = dir->filePath(QStringLiteral("blocker"));
        const QString target = host->userPath + QStringLiteral("/test_config.xml");
        const QString written = unwritable ? host->userPath : target;
        QVERIFY(bytes == "<dir>" ? QDir().mkpath(target) : writeFile(written, bytes));
        text.replace(QLatin1String("%1"), QRegularExpression::escape(target));
        DialogResponder responder;
        {
            TestEngine engine;
            QVERIFY(!unwritable || !engine.save());
            QTRY_COMPARE(responder.seen.size(), 1);
            QCOMPARE(responder.seen[0].title, title);
            QVERIFY2(responder.seen[0].text.contains(QRegularExpression(text)),
                     qPrintable(responder.seen[0].text));
            // What was read before the error stays: a prefix of the sample's engines.
            QVERIFY(sampleConfig.startsWith(bytes) || engine.count() == 0);
            QCOMPARE(names(engine), QStringList({"Release", "Debug"}).mid(0, int(engine.count())));
            if (engine.count() > 0)
                QCOMPARE(engine.at(0).params, QStringLiteral("-r lantern"));
            engine.add(QStringLiteral("new"), QString(), QString(), QString());
            engine.setOption(QStringLiteral("host_only"), QVariant()); // hides the host's value
            QVERIFY(engine.option(QStringLiteral("host_only"), 1).isNull());
        }
        QTRY_COMPARE(responder.seen.size(), unwritable ? 2 : 1);
        QVERIFY(bytes == "<dir>" ? QFileInfo(target).isDir() : readFile(written) == bytes);
    }

    // One edit of the list a b c d; an edit that changes nothing signals nothing, and indexes
    // kept across the edit still find their entries.
    void modelEdits_data()
    {
        QTest::addColumn<Edit>("edit");
        QTest::addColumn<QString>("expected");
        QTest::newRow("move forward") << Edit([](EngineInstances &m) { m.move(0, 2); }) << "bcad";
        QTest::newRow("move backward") << Edit([](EngineInstances &m) { m.move(3, 0); }) << "dabc";
        QTest::newRow("move to end") << Edit([](EngineInstances &m) { m.move(1, 3); }) << "acdb";
        QTest::newRow("move in place") << Edit([](EngineInstances &m) { m.move(1, 1); }) << "abcd";
        QTest::newRow("move past end") << Edit([](EngineInstances &m) { m.move(0, 4); }) << "abcd";
        QTest::newRow("remove") << Edit([](EngineInstances &m) { m.remove(2); }) << "abd";
        QTest::newRow("remove past end") << Edit([](EngineInstances &m) { m.remove(4); }) << "abcd";
        QTest::newRow("clear") << Edit([](EngineInstances &m) { m.clear(); }) << "";
        QTest::newRow("edit") << Edit([](EngineInstances &m) { m.edit(1, "B", "x", "-p", "i"); })
                              << "aBcd";
        QTest::newRow("edit past end")
            << Edit([](EngineInstances &m) { m.edit(4, "B", "x", "-p", "i"); }) << "abcd";
    }
    void modelEdits()
    {
        QFETCH(Edit, edit);
        QFETCH(QString, expected);
        EngineInstances model(QStringLiteral("test"));
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        for (const QString name : {"a", "b", "c", "d"})
            model.add(name, QStringLiteral("exe"), QString(), QString());
        QList<QPersistentModelIndex> kept;
        for (int row = 0; row < 4; ++row)
            kept.append(model.index(row, 0));
        QSignalSpy moved(&model, &QAbstractItemModel::rowsMoved);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        edit(model);
        QCOMPARE(names(model).join(QString()), expected);
        for (int row = 0; row < 4; ++row)
            QVERIFY(!kept[row].isValid() || kept[row].data().toString().toLower() == "abcd"[row]);
        QCOMPARE(moved.size() + removed.size() + changed.size(), expected == "abcd" ? 0 : 1);
        if (expected == QLatin1String("aBcd"))
            QCOMPARE(model.at(1).exe + model.at(1).params + model.at(1).icon, QString("x-pi"));
    }
};

QTEST_MAIN(tst_Engine)
#include "tst_engine.moc"
