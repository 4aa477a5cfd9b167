#include "fixtures.h"

#include <zornx/core/extension.h>

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

using namespace Zorn;

namespace {

QStringList identifiers(int type)
{
    QStringList result;
    for (const Extension *extension : ExtensionManager::list(Extension::Type(type)))
        result.append(QString::fromLatin1(extension->identifier()));
    return result;
}

} // namespace

class tst_Extensions : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;

    QString log() const { return dir.filePath(QStringLiteral("plugin.log")); }
    QStringList logLines() const
    {
        return QString::fromLatin1(ZornTest::readFile(log())).split('\n', Qt::SkipEmptyParts);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        const QString built = QStringLiteral(ZORNX_TEST_PLUGIN_DIR "/");
        for (const QString name : {"alphax.so", "betax.so", "noentryx.so"})
            QVERIFY(QFile::copy(built + name, dir.filePath(name)));
        // Not plug-ins: a name outside the pattern, a file that is no library, a directory.
        QVERIFY(QFile::copy(built + "alphax.so", dir.filePath(QStringLiteral("alpha.so"))));
        QVERIFY(ZornTest::writeFile(dir.filePath(QStringLiteral("garbagex.so")), "no ELF\n"));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("folderx.so")));
        qputenv("ZORNX_TEST_PLUGIN_LOG", QFile::encodeName(log()));
    }

    // Run twice: a second manager, after the first has gone, loads everything afresh.
    void loadListAndRelease_data()
    {
        QTest::addColumn<int>("round");
        QTest::newRow("first") << 1;
        QTest::newRow("again") << 2;
    }
    void loadListAndRelease()
    {
        QFile::remove(log());
        QStringList expectedLog;
        {
            ExtensionManager manager(dir.path());
            const QString self = QString::asprintf("%p", static_cast<void *>(&manager));
            // Each entry point ran once, in name order, with this manager; the library without
            // one was unloaded at once, and the rest were never loaded.
            expectedLog = QStringList{"register alpha " + self, "register beta " + self,
                                      "unload noentry"};
            QCOMPARE(logLines(), expectedLog);

            // Refused, and so left with the caller: an extension whose format is listed.
            QVERIFY(!ExtensionManager::add(ExtensionManager::list(Extension::ImageReaderType)[0]));
            QVERIFY(!ExtensionManager::add(nullptr));

            // In order of adding; one format pointer once, equal texts at different addresses
            // both; type 16 told apart by identifier; nothing out of range.
            const QMap<int, QStringList> expected = {
                {1, {"alpha.one", "beta.one"}}, {2, {"alpha.dup", "beta.dup"}},
                {3, {"alpha.pal.first"}}, {4, {"alpha.same.a", "alpha.same.b"}},
                {16, {"alpha.t16.a", "alpha.t16.b"}}};
            for (int type = -1; type <= Extension::TypeCount; ++type) {
                QCOMPARE(identifiers(type), expected.value(type));
                for (const QString &id : identifiers(type))
                    expectedLog.append(QStringLiteral("release ") + id);
            }
        }
        // Every extension released, list by list from the front, before any library unloads.
        QCOMPARE(logLines(), expectedLog << "unload alpha" << "unload beta");
        for (int type = 0; type < Extension::TypeCount; ++type)
            QVERIFY(ExtensionManager::list(Extension::Type(type)).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_Extensions)
#include "tst_extensions.moc"
