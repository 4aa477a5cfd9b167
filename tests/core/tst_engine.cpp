#include "dialogresponder.h"
#include "testengine.h"
#include "testinterface.h"

#include <zornx/core/engine.h>

#include <QtCore/QTemporaryDir>
#include <QtCore/QXmlStreamReader>
#include <QtGui/QColor>
#include <QtGui/QIcon>
#include <QtGui/QImage>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>

#include <memory>

using namespace Zorn;
using ZornTest::DialogResponder;
using ZornTest::TestEngine;
using ZornTest::TestInterface;

namespace {

const char sampleConfig[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<configuration>
    <engine name="Release">
        <param name="exe" value="/opt/game/game"/>
        <param name="icon" value="/opt/game/icon.png"/>
        <param name="params" value="-r kfm"/>
    </engine>
    <engine name="Debug">
        <param name="exe" value="/opt/game/game-debug"/>
        <param name="icon" value=""/>
        <param name="params" value="-d"/>
    </engine>
    <config name="colour" value="10,20,30"/>
    <config name="window" value="1,2,300,400"/>
    <config name="zoom" value="2"/>
</configuration>
)";

// Elements and attributes in document order, so that two files compare by shape and content.
QStringList xmlOutline(const QByteArray &bytes)
{
    QStringList outline;
    QXmlStreamReader reader(bytes);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        QString line = reader.name().toString();
        for (const QXmlStreamAttribute &attribute : reader.attributes())
            line += QStringLiteral(" %1=%2").arg(attribute.name(), attribute.value());
        outline.append(line);
    }
    if (reader.hasError())
        outline.append(QStringLiteral("error: ") + reader.errorString());
    return outline;
}

} // namespace

class tst_Engine : public QObject
{
    Q_OBJECT
private:
    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<TestInterface> host;

    QString configPath() const { return dir->path() + QStringLiteral("/test_config.xml"); }
    void writeConfig(const QByteArray &bytes)
    {
        QFile file(configPath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), qint64(bytes.size()));
    }
    QByteArray readConfig() const
    {
        QFile file(configPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }

private Q_SLOTS:
    void init()
    {
        dir.reset(new QTemporaryDir);
        QVERIFY(dir->isValid());
        host.reset(new TestInterface);
        host->userPath = dir->path();
        host->dataPath = dir->path() + QStringLiteral("/data");
    }
    void cleanup()
    {
        host.reset();
        dir.reset();
    }

    void configValue_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QVariant>("expected");
        QTest::newRow("three numbers") << "10,20,30" << QVariant(QColor(10, 20, 30));
        QTest::newRow("four numbers") << "1,2,300,400" << QVariant(QRect(1, 2, 300, 400));
        QTest::newRow("two numbers") << "1,2" << QVariant(QStringLiteral("1,2"));
        QTest::newRow("five numbers") << "1,2,3,4,5" << QVariant(QStringLiteral("1,2,3,4,5"));
        QTest::newRow("negative") << "-1,2,3,4" << QVariant(QStringLiteral("-1,2,3,4"));
        QTest::newRow("spaces") << "1, 2, 3" << QVariant(QStringLiteral("1, 2, 3"));
        QTest::newRow("trailing comma") << "1,2,3," << QVariant(QStringLiteral("1,2,3,"));
        QTest::newRow("one number") << "7" << QVariant(QStringLiteral("7"));
        QTest::newRow("empty") << "" << QVariant(QString());
    }
    void configValue()
    {
        QFETCH(QString, text);
        QFETCH(QVariant, expected);
        writeConfig(QStringLiteral("<configuration><config name=\"key\" value=\"%1\"/>"
                                   "</configuration>")
                        .arg(text)
                        .toUtf8());
        TestEngine engine;
        const QVariant value = engine.option(QStringLiteral("key"), QStringLiteral("fallback"));
        QCOMPARE(value.userType(), expected.userType());
        QCOMPARE(value, expected);
        if (value.userType() == QMetaType::QColor)
            QCOMPARE(value.value<QColor>().alpha(), 255);
    }

    // What the destructor writes: the fixed element order, param in the order exe, icon,
    // params whatever the file had, options in key order, values by type.
    void saveWritesCanonicalForm()
    {
        writeConfig(R"(<configuration>
            <config name="zz" value="last"/>
            <engine name="A">
                <param name="params" value="-p"/>
                <param name="other" value="ignored"/>
                <param name="icon" value="a.png"/>
                <param name="exe" value="a.exe"/>
            </engine>
            <engine name="Empty"/>
            </configuration>)");
        {
            TestEngine engine;
            QCOMPARE(engine.count(), 2u);
            QCOMPARE(engine.at(0).exe, QStringLiteral("a.exe"));
            QCOMPARE(engine.at(0).icon, QStringLiteral("a.png"));
            QCOMPARE(engine.at(0).params, QStringLiteral("-p"));
            QCOMPARE(engine.at(1).name, QStringLiteral("Empty"));
            QVERIFY(engine.at(1).exe.isEmpty() && engine.at(1).icon.isEmpty()
                    && engine.at(1).params.isEmpty());
            engine.setOption(QStringLiteral("colour"), QColor(1, 2, 3, 100));
            engine.setOption(QStringLiteral("rect"), QRect(-5, 6, 7, 8));
            engine.setOption(QStringLiteral("flag"), true);
            engine.setOption(QStringLiteral("null"), QVariant());
        }
        const QByteArray saved = readConfig();
        QVERIFY(saved.startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"));
        const QStringList expected = {
            "configuration",
            "engine name=A",
            "param name=exe value=a.exe",
            "param name=icon value=a.png",
            "param name=params value=-p",
            "engine name=Empty",
            "param name=exe value=",
            "param name=icon value=",
            "param name=params value=",
            "config name=colour value=1,2,3",
            "config name=flag value=true",
            "config name=null value=",
            "config name=rect value=-5,6,7,8",
            "config name=zz value=last",
        };
        QCOMPARE(xmlOutline(saved), expected);

        // Read back: the colour has lost its alpha, the rectangle with a negative x stays text.
        TestEngine again;
        QCOMPARE(again.option(QStringLiteral("colour"), QVariant()), QVariant(QColor(1, 2, 3)));
        QCOMPARE(again.option(QStringLiteral("rect"), QVariant()),
                 QVariant(QStringLiteral("-5,6,7,8")));
        QCOMPARE(again.option(QStringLiteral("flag"), QVariant()),
                 QVariant(QStringLiteral("true")));
    }

    void roundTripKeepsEverything()
    {
        writeConfig(sampleConfig);
        const QStringList before = xmlOutline(sampleConfig);
        { TestEngine engine; }
        QCOMPARE(xmlOutline(readConfig()), before);
        { TestEngine engine; }
        QCOMPARE(xmlOutline(readConfig()), before);
    }

    void options()
    {
        host->options.insert(QStringLiteral("host_only"), 42);
        TestEngine engine;
        QCOMPARE(engine.option(QStringLiteral("host_only"), 1), QVariant(42));
        QCOMPARE(engine.option(QStringLiteral("nowhere"), QStringLiteral("fb")),
                 QVariant(QStringLiteral("fb")));
        // A null value is a value of the engine: it hides the host's.
        engine.setOption(QStringLiteral("host_only"), QVariant());
        QVERIFY(engine.option(QStringLiteral("host_only"), 1).isNull());
        engine.setOption(QStringLiteral("own"), 5);
        QCOMPARE(engine.option(QStringLiteral("own"), 1), QVariant(5));
    }

    void withoutConfigFile_data()
    {
        QTest::addColumn<bool>("withHost");
        QTest::newRow("no interface") << false;
        QTest::newRow("no user path") << true;
    }
    void withoutConfigFile()
    {
        QFETCH(bool, withHost);
        if (withHost)
            host->userPath.clear();
        else
            host.reset();
        const QDir::Filters all = QDir::AllEntries | QDir::NoDotAndDotDot;
        const QStringList before = QDir(dir->path()).entryList(all);
        {
            TestEngine engine;
            QVERIFY(engine.configFile().isEmpty());
            engine.add(QStringLiteral("a"), QStringLiteral("b"), QString(), QString());
            engine.setOption(QStringLiteral("k"), 1);
            QVERIFY(engine.load());
            QVERIFY(engine.save());
            QCOMPARE(engine.option(QStringLiteral("missing"), 3), QVariant(3));
        }
        QCOMPARE(QDir(dir->path()).entryList(all), before);
    }

    // Every malformed file shows the host's box once, keeps what was read up to the error, and
    // is still on disk byte for byte after the engine has gone.
    void badXml_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray sample(sampleConfig);
        QTest::newRow("empty") << QByteArray();
        static const char garbage[] = "\x01\x02 not xml at all \xff\xfe";
        QTest::newRow("garbage") << QByteArray(garbage, sizeof(garbage) - 1);
        QTest::newRow("mismatched tags") << QByteArray(
            "<configuration><engine name=\"x\"></config></configuration>");
        QTest::newRow("bad attribute") << QByteArray(
            "<configuration><config name=\"a\" value=1/></configuration>");
        for (int percent : {3, 10, 25, 40, 50, 60, 75, 90, 98}) {
            const int cut = sample.size() * percent / 100;
            QTest::addRow("cut at %d%%", percent) << sample.left(cut);
        }
        QTest::newRow("cut before end tag") << sample.left(sample.lastIndexOf("</configuration>"));
    }
    void badXml()
    {
        QFETCH(QByteArray, bytes);
        writeConfig(bytes);
        const QByteArray sample(sampleConfig);
        const QList<QStringList> sampleEngines = {
            {"Release", "/opt/game/game", "/opt/game/icon.png", "-r kfm"},
            {"Debug", "/opt/game/game-debug", "", "-d"},
        };
        DialogResponder responder;
        responder.answer(QMessageBox::Ok);
        responder.answer(QMessageBox::Ok);
        {
            TestEngine engine;
            QTRY_COMPARE(responder.seen.size(), 1);
            QCOMPARE(responder.seen.at(0).title, QStringLiteral("XML error"));
            QVERIFY2(QRegularExpression(QStringLiteral("^.+ \\(line \\d+, column \\d+\\)$"))
                         .match(responder.seen.at(0).text)
                         .hasMatch(),
                     qPrintable(responder.seen.at(0).text));
            QVERIFY(!engine.load());
            QTRY_COMPARE(responder.seen.size(), 2);

            // What was read up to the error stays: a prefix of the sample's engines.
            const bool fromSample = !bytes.isEmpty() && sample.startsWith(bytes);
            QVERIFY(engine.count() <= (fromSample ? 2u : 0u));
            for (unsigned int i = 0; i < engine.count(); ++i) {
                const EngineInstances::Info info = engine.at(i);
                QCOMPARE(QStringList({info.name, info.exe, info.icon, info.params}),
                         sampleEngines.at(int(i)));
            }

            // Even a change after the failure does not make the destructor overwrite the file.
            engine.add(QStringLiteral("new"), QString(), QString(), QString());
        }
        QCOMPARE(responder.seen.size(), 2);
        QCOMPARE(readConfig(), bytes);
    }

    // A file that cannot be opened: the box names it, and the engine never writes over it.
    void fileErrors_data()
    {
        QTest::addColumn<bool>("reading");
        QTest::newRow("read") << true;
        QTest::newRow("write") << false;
    }
    void fileErrors()
    {
        QFETCH(bool, reading);
        QString target = configPath();
        if (reading) {
            // A directory in the file's place exists but cannot be read as a file.
            QVERIFY(QDir().mkpath(target));
        } else {
            // The user directory would lie below a plain file: nothing can be made there.
            QFile blocker(dir->filePath(QStringLiteral("blocker")));
            QVERIFY(blocker.open(QIODevice::WriteOnly));
            host->userPath = blocker.fileName() + QStringLiteral("/user");
            target = host->userPath + QStringLiteral("/test_config.xml");
        }
        const QString text = reading
            ? QStringLiteral("Can't open engine configuration from '%1'!")
            : QStringLiteral("Can't save engine configuration to '%1'!");
        DialogResponder responder;
        responder.answer(QMessageBox::Ok);
        responder.answer(QMessageBox::Ok);
        {
            TestEngine engine;
            QCOMPARE(engine.configFile(), target);
            if (!reading)
                QVERIFY(!engine.save());
            QTRY_COMPARE(responder.seen.size(), 1);
            QCOMPARE(responder.seen.at(0).title, QStringLiteral("Configuration error!"));
            QCOMPARE(responder.seen.at(0).text, text.arg(target));
        }
        // After a failed read the destructor leaves the file alone; a failed write it tries again.
        QTRY_COMPARE(responder.seen.size(), reading ? 1 : 2);
        QVERIFY(!reading || QFileInfo(target).isDir());
    }

    void model()
    {
        EngineInstances model(QStringLiteral("test"));
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        QSignalSpy moved(&model, &QAbstractItemModel::rowsMoved);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);

        model.clear();
        QCOMPARE(removed.size(), 0);

        for (const char *name : {"a", "b", "c", "d"})
            model.add(QString::fromLatin1(name), QStringLiteral("exe"), QString(), QString());
        QCOMPARE(inserted.size(), 4);
        QCOMPARE(inserted.last().at(1).toInt(), 3);
        auto names = [&] {
            QStringList list;
            for (int row = 0; row < model.rowCount(); ++row)
                list.append(model.data(model.index(row, 0)).toString());
            return list;
        };
        QCOMPARE(names(), QStringList({"a", "b", "c", "d"}));

        model.move(0, 2);
        QCOMPARE(names(), QStringList({"b", "c", "a", "d"}));
        model.move(3, 0);
        QCOMPARE(names(), QStringList({"d", "b", "c", "a"}));
        model.move(1, 1);
        model.move(0, 4);
        QCOMPARE(moved.size(), 2);
        QCOMPARE(names(), QStringList({"d", "b", "c", "a"}));

        model.edit(1, QStringLiteral("B"), QStringLiteral("x"), QStringLiteral("-p"),
                   QStringLiteral("i.png"));
        QCOMPARE(changed.size(), 1);
        QCOMPARE(changed.at(0).at(0).toModelIndex().row(), 1);
        QCOMPARE(changed.at(0).at(1).toModelIndex().row(), 1);
        QCOMPARE(model.at(1).params, QStringLiteral("-p"));
        QCOMPARE(model.at(1).icon, QStringLiteral("i.png"));
        model.edit(9, QStringLiteral("out"), QString(), QString(), QString());
        QCOMPARE(changed.size(), 1);

        model.remove(2);
        model.remove(7);
        QCOMPARE(removed.size(), 1);
        QCOMPARE(names(), QStringList({"d", "B", "a"}));
        QVERIFY(model.at(5).name.isEmpty());

        model.clear();
        QCOMPARE(removed.size(), 2);
        QCOMPARE(removed.last().at(1).toInt(), 0);
        QCOMPARE(removed.last().at(2).toInt(), 2);
        QCOMPARE(model.count(), 0u);

        QVERIFY(!model.data(model.index(0, 0)).isValid());
    }

    void modelData()
    {
        const QString iconDir = host->dataPath + QStringLiteral("/engines/test");
        QVERIFY(QDir().mkpath(iconDir));
        QImage large(16, 16, QImage::Format_ARGB32);
        large.fill(Qt::red);
        QVERIFY(large.save(iconDir + QStringLiteral("/icon.png")));
        QImage small(8, 8, QImage::Format_ARGB32);
        small.fill(Qt::blue);
        const QString own = dir->path() + QStringLiteral("/own.png");
        QVERIFY(small.save(own));

        EngineInstances model(QStringLiteral("test"));
        model.add(QStringLiteral("default icon"), QString(), QString(), QString());
        model.add(QStringLiteral("own icon"), QString(), QString(), own);
        const QIcon fallback = model.data(model.index(0, 0), Qt::DecorationRole).value<QIcon>();
        const QIcon set = model.data(model.index(1, 0), Qt::DecorationRole).value<QIcon>();
        QCOMPARE(fallback.availableSizes(), QList<QSize>({QSize(16, 16)}));
        QCOMPARE(set.availableSizes(), QList<QSize>({QSize(8, 8)}));
        QCOMPARE(model.data(model.index(1, 0), Qt::DisplayRole),
                 QVariant(QStringLiteral("own icon")));
        QVERIFY(!model.data(model.index(1, 0), Qt::ToolTipRole).isValid());
    }

    void reloadSignalsOnce()
    {
        writeConfig(sampleConfig);
        TestEngine engine;
        QAbstractItemModelTester tester(&engine,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy inserted(&engine, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&engine, &QAbstractItemModel::rowsRemoved);
        QVERIFY(engine.load());
        QCOMPARE(removed.size(), 1);
        QCOMPARE(removed.at(0).at(2).toInt(), 1);
        QCOMPARE(inserted.size(), 1);
        QCOMPARE(inserted.at(0).at(1).toInt(), 0);
        QCOMPARE(inserted.at(0).at(2).toInt(), 1);
        QCOMPARE(engine.count(), 2u);
    }
};

QTEST_MAIN(tst_Engine)
#include "tst_engine.moc"
