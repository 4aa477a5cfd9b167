#include <zornx/core/extension.h>

#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

using namespace Zorn;

namespace {

// An extension made by the test itself, counting its releases.
class LocalExtension : public Extension
{
public:
    LocalExtension(Type type, const char *format) : kind(type), formatText(format) {}
    void release() override
    {
        ++released;
        delete this;
    }
    Type type() const override { return kind; }
    const char *format() const override { return formatText; }
    const char *identifier() const override { return "local"; }

    static int released;

private:
    Type kind;
    const char *formatText;
};
int LocalExtension::released = 0;

QStringList identifiers(Extension::Type type)
{
    QStringList result;
    for (const Extension *extension : ExtensionManager::list(type))
        result.append(QString::fromLatin1(extension->identifier()));
    return result;
}

bool isMapped(const QString &path)
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    if (!maps.open(QIODevice::ReadOnly))
        return false;
    return QString::fromLocal8Bit(maps.readAll()).contains(path);
}

} // namespace

class tst_Extensions : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir dir;
    QString log;

    QStringList logLines() const
    {
        QFile file(log);
        if (!file.open(QIODevice::ReadOnly))
            return QStringList();
        return QString::fromLatin1(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
    QString plugin(const char *name) const { return dir.filePath(QString::fromLatin1(name)); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        if (!QFile::exists(QStringLiteral("/proc/self/maps")))
            QSKIP("needs /proc/self/maps to see which libraries are loaded");
        const QString built = QStringLiteral(ZORNX_TEST_PLUGIN_DIR);
        for (const char *name : {"alphax.so", "betax.so", "noentryx.so"})
            QVERIFY(QFile::copy(built + QLatin1Char('/') + QLatin1String(name), plugin(name)));
        // Not plug-ins: a name outside the pattern, a file that is no library, a directory.
        QVERIFY(QFile::copy(built + QStringLiteral("/alphax.so"), plugin("alpha.so")));
        QFile garbage(plugin("garbagex.so"));
        QVERIFY(garbage.open(QIODevice::WriteOnly));
        garbage.write("this is not an ELF file\n");
        garbage.close();
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("folderx.so")));

        log = dir.filePath(QStringLiteral("plugin.log"));
        qputenv("ZORNX_TEST_PLUGIN_LOG", QFile::encodeName(log));
    }

    void missingDirectory()
    {
        ExtensionManager manager(dir.filePath(QStringLiteral("nowhere")));
        for (int type = 0; type < Extension::TypeCount; ++type)
            QVERIFY(ExtensionManager::list(Extension::Type(type)).isEmpty());
    }

    void loadListAndRelease()
    {
        QFile::remove(log);
        QStringList releaseOrder;
        {
            ExtensionManager manager(dir.path());
            const QString self = QString::asprintf("%p", static_cast<void *>(&manager));

            // Each plug-in's entry point ran once, in name order, with this manager; the rest
            // was never entered, and the library without an entry point is gone already.
            const QStringList loaded = logLines();
            QCOMPARE(loaded.filter(QStringLiteral("register")),
                     QStringList({QStringLiteral("register alpha ") + self,
                                  QStringLiteral("register beta ") + self}));
            QVERIFY(loaded.contains(QStringLiteral("unload noentry")));
            QVERIFY(isMapped(plugin("alphax.so")));
            QVERIFY(isMapped(plugin("betax.so")));
            QVERIFY(!isMapped(plugin("noentryx.so")));
            QVERIFY(!isMapped(plugin("alpha.so")));

            // Lists by type in load order; the same format pointer only once, equal texts at
            // different addresses both; type 16 by its identifier.
            QVERIFY(identifiers(Extension::ArchiveType).isEmpty());
            QCOMPARE(identifiers(Extension::ImageReaderType),
                     QStringList({"alpha.one", "beta.one"}));
            QCOMPARE(identifiers(Extension::ImageWriterType),
                     QStringList({"alpha.dup", "beta.dup"}));
            QCOMPARE(identifiers(Extension::PaletteReaderType), QStringList({"alpha.pal.first"}));
            QCOMPARE(identifiers(Extension::PaletteWriterType),
                     QStringList({"alpha.same.a", "alpha.same.b"}));
            QCOMPARE(identifiers(Extension::Type16), QStringList({"alpha.t16.a", "alpha.t16.b"}));
            QCOMPARE(loaded.filter(QStringLiteral("refused")),
                     QStringList({"refused alpha.pal.second", "refused alpha.t16.a",
                                  "refused alpha.out.of.range"}));
            QVERIFY(ExtensionManager::list(Extension::Type(Extension::TypeCount)).isEmpty());
            QVERIFY(ExtensionManager::list(Extension::Type(-1)).isEmpty());

            // The host may add its own: refused with a format pointer already there, taken
            // at the end otherwise.
            const Extension *alphaOne = ExtensionManager::list(Extension::ImageReaderType).at(0);
            LocalExtension copy(Extension::ImageReaderType, alphaOne->format());
            QVERIFY(!ExtensionManager::add(&copy));
            QVERIFY(!ExtensionManager::add(nullptr));
            static const char localFormat[] = "ONE";
            QVERIFY(
                ExtensionManager::add(new LocalExtension(Extension::ImageReaderType, localFormat)));
            QCOMPARE(identifiers(Extension::ImageReaderType),
                     QStringList({"alpha.one", "beta.one", "local"}));

            for (int type = 0; type < Extension::TypeCount; ++type)
                releaseOrder += identifiers(Extension::Type(type));
            releaseOrder.removeAll(QStringLiteral("local"));
        }

        QCOMPARE(LocalExtension::released, 1);
        for (int type = 0; type < Extension::TypeCount; ++type)
            QVERIFY(ExtensionManager::list(Extension::Type(type)).isEmpty());

        // Every extension was released, list by list from the front, and only then were the
        // libraries unloaded, in load order.
        const QStringList lines = logLines();
        QStringList released;
        for (const QString &line : lines)
            if (line.startsWith(QLatin1String("release ")))
                released.append(line.mid(8));
        QCOMPARE(released, releaseOrder);
        const int lastRelease = lines.lastIndexOf(QRegularExpression(QStringLiteral("^release ")));
        const int alphaUnload = lines.indexOf(QStringLiteral("unload alpha"));
        const int betaUnload = lines.indexOf(QStringLiteral("unload beta"));
        QVERIFY(alphaUnload > lastRelease);
        QVERIFY(betaUnload > alphaUnload);
        QVERIFY(!isMapped(plugin("alphax.so")));
        QVERIFY(!isMapped(plugin("betax.so")));
    }

    void reloadAfterShutdown()
    {
        // A second manager after the first has gone loads everything afresh.
        QFile::remove(log);
        {
            ExtensionManager manager(dir.path());
            QCOMPARE(identifiers(Extension::ImageReaderType),
                     QStringList({"alpha.one", "beta.one"}));
        }
        QCOMPARE(logLines().filter(QStringLiteral("release ")).size(), 9);
        QVERIFY(!isMapped(plugin("alphax.so")));
    }
};

QTEST_GUILESS_MAIN(tst_Extensions)
#include "tst_extensions.moc"
