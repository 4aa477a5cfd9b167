#include "fixtures.h"

#include <zornx/core/archive.h>
#include <zornx/core/extension.h>

#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <cstring>
#include <memory>

using namespace Zorn;
using ZornTest::readFile;
using ZornTest::writeFile;

namespace {

typedef QMap<QString, QByteArray> Files;

struct Release
{
    void operator()(Archive *archive) const { archive->release(); }
};
using ArchivePtr = std::unique_ptr<Archive, Release>;

// True when a tool finished and succeeded.
bool run(const QString &program, const QStringList &arguments, const QString &directory = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8")); // UTF-8 names
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(directory);
    process.start(program, arguments);
    return process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit
        && process.exitCode() == 0;
}

QByteArray randomBytes(int size, quint32 seed) // size: a multiple of 4
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator(seed).fillRange(reinterpret_cast<quint32 *>(bytes.data()), size / 4);
    return bytes;
}

bool writeEntry(Archive &archive, const QString &name, const QByteArray &bytes,
                QIODevice::OpenMode mode = QIODevice::WriteOnly)
{
    QIODevice *device = archive.openFile(name, mode);
    const bool ok = device && device->write(bytes) == bytes.size();
    if (device)
        archive.closeFile(device);
    return ok;
}

// Every file of the archive as entries() finds it, directories entered.
Files contents(Archive &archive, const QString &path = QString())
{
    Files files;
    const QDir::Filters filters = QDir::Dirs | QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot;
    for (const QString &entry : archive.entries(path, filters, QDir::Name)) {
        const QString name = path.isEmpty() ? entry : path + QLatin1Char('/') + entry;
        if (!archive.fileExists(name)) {
            files.insert(contents(archive, name));
            continue;
        }
        QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
        files.insert(name, device ? device->readAll() : QByteArray("<missing>"));
        if (device)
            archive.closeFile(device);
    }
    return files;
}

// What unzip extracts from a .zip that passes its own test.
Files unzipped(const QString &file)
{
    const QString out = file + QStringLiteral(".out");
    QDir(out).removeRecursively();
    if (!run(QStringLiteral("unzip"), {"-t", "-q", file})
        || !run(QStringLiteral("unzip"), {"-q", "-o", file, "-d", out}))
        return Files({{"<unzip failed>", QByteArray()}});
    Files files;
    QDirIterator it(out, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString name = it.next();
        files.insert(QDir(out).relativeFilePath(name), readFile(name));
    }
    return files;
}

Files sampleFiles()
{
    return Files({{"a.txt", "hello\n"}, {"B.TXT", "upper"}, {".hidden", "h"},
                  {"dir/empty.txt", QByteArray()}, {"dir/repeat.txt", QByteArray(100000, 'x')},
                  {"dir/sub/noise.bin", randomBytes(300000, 7)},
                  {QStringLiteral("\u00fcn\u00ef/\u00e7\u00f8d\u00e9.txt"), "utf-8 name\n"}});
}

} // namespace

class tst_Zip : public QObject
{
    Q_OBJECT
    std::unique_ptr<ExtensionManager> manager;
    ArchiveExtension *zip = nullptr;
    QTemporaryDir dir;

    QString path(const QString &name) const { return dir.filePath(name); }
    ArchivePtr open(const QString &file, int mode) const
    {
        return ArchivePtr(zip->createArchive(file, mode));
    }
    bool writeArchive(const QString &file, const Files &files) const
    {
        ArchivePtr archive = open(file, ArchiveExtension::Write);
        for (auto it = files.cbegin(); archive && it != files.cend(); ++it)
            if (!writeEntry(*archive, it.key(), it.value()))
                return false;
        return bool(archive);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        manager.reset(new ExtensionManager(QStringLiteral(ZORNX_EXTENSION_DIR)));
        for (Extension *extension : ExtensionManager::list(Extension::ArchiveType))
            if (std::strcmp(extension->format(), "ZIP") == 0)
                zip = static_cast<ArchiveExtension *>(extension);
        QVERIFY2(zip, "the ZIP extension did not load from " ZORNX_EXTENSION_DIR);
        if (QStandardPaths::findExecutable(QStringLiteral("zip")).isEmpty()
            || QStandardPaths::findExecutable(QStringLiteral("unzip")).isEmpty())
            QSKIP("zip and unzip are not installed");
    }
    void cleanupTestCase() { manager.reset(); }

    // Archives of the zip tool, with and without compression and directory entries; entries()
    // answers as QDir does on the tree they were made from.
    void weReadWhatZipWrote_data()
    {
        QTest::addColumn<QString>("option"); // of the zip tool
        QTest::newRow("deflate") << "-6";
        QTest::newRow("stored") << "-0";
        QTest::newRow("no directory entries") << "-D";
    }
    void weReadWhatZipWrote()
    {
        QFETCH(QString, option);
        const QString file = path("tool" + option + ".zip"), tree = file + ".tree";
        const Files files = sampleFiles();
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            QVERIFY(writeFile(tree + '/' + it.key(), it.value()));
        QVERIFY(run(QStringLiteral("zip"), {"-q", "-r", option, file, "."}, tree));

        ArchivePtr archive = open(file, ArchiveExtension::Read);
        QVERIFY(archive && archive->isReadOnly());
        QCOMPARE(contents(*archive), files);
        QVERIFY(archive->directoryExists("dir/sub") && !archive->directoryExists("dir/su"));
        QVERIFY(!archive->fileExists("dir/sub") && archive->fileExists("/dir/sub/noise.bin"));
        const int all = QDir::Files | QDir::Dirs, plain = QDir::Files;
        const QVector<QPair<int, int>> flags = { // filters, sort
            {all, QDir::IgnoreCase}, {plain | QDir::Hidden, 0}, {plain, QDir::Size},
            {plain, QDir::Type}, {all, QDir::DirsFirst | QDir::Reversed | QDir::IgnoreCase},
            {plain | QDir::AllDirs, 0}, {plain | QDir::CaseSensitive, 0}};
        for (const QString where : {"", "dir"})
            for (const QStringList &names : {QStringList(), QStringList({"*.txt", "d*"})})
                for (const auto &pair : flags) // archives never list "." and ".."
                    QCOMPARE(archive->entries(where, names, QDir::Filters(pair.first),
                                              QDir::SortFlags(pair.second)),
                             QDir(tree + '/' + where)
                                 .entryList(names, QDir::Filters(pair.first) | QDir::NoDotAndDotDot,
                                            QDir::SortFlags(pair.second)));

        // Read only: nothing changes, and the file stays as it was.
        const QByteArray before = readFile(file);
        QVERIFY(!archive->openFile("new.txt", QIODevice::WriteOnly)
                && !archive->removeFile("a.txt") && !archive->renameFile("a.txt", "b.txt"));
        archive->flush();
        archive.reset();
        QCOMPARE(readFile(file), before);
    }

    // unzip reads what we write, also after edits and a flush. Spellings of one name meet in
    // one entry, stored clean; nothing goes above the root; a device never given back is dropped.
    void editAnArchive()
    {
        const QString file = path("new/deeper/edit.zip"); // writing makes the directories
        Files expected = sampleFiles();
        QVERIFY(writeArchive(file, expected));
        QCOMPARE(unzipped(file), expected);
        ArchivePtr archive = open(file, ArchiveExtension::Write);
        QVERIFY(archive && !archive->isReadOnly());
        QCOMPARE(archive->absoluteFileName("./x\\y//z.txt"), QString("x/y/z.txt"));
        QCOMPARE(archive->absoluteFilePath("/x/y/z.txt"), QString("x/y"));
        for (const QString name : {"../evil.txt", "a/../../evil.txt", ""})
            QVERIFY(!archive->openFile(name, QIODevice::WriteOnly));

        QVERIFY(writeEntry(*archive, "/a.txt", "replaced"));
        QVERIFY(writeEntry(*archive, "a.txt", "+more", QIODevice::WriteOnly | QIODevice::Append));
        QVERIFY(writeEntry(*archive, "./dir\\empty.txt", "now full", QIODevice::ReadWrite));
        QVERIFY(archive->removeFile("dir/repeat.txt"));
        QVERIFY(archive->renameFile("dir/sub/noise.bin", "moved/noise.bin"));
        QVERIFY(!archive->renameFile("a.txt", "moved/noise.bin"));
        expected["a.txt"] = "replaced+more";
        expected["dir/empty.txt"] = "now full";
        expected.remove("dir/repeat.txt");
        expected["moved/noise.bin"] = expected.take("dir/sub/noise.bin");
        QIODevice *discarded = archive->openFile("gone.txt", QIODevice::WriteOnly);
        QVERIFY(discarded && discarded->write("gone") == 4);
        archive->discardFile(discarded);

        // Pending changes read back before they reach the disk, and after a flush.
        QCOMPARE(contents(*archive), expected);
        archive->flush();
        QCOMPARE(unzipped(file), expected);
        QVERIFY(writeEntry(*archive, "after/flush.txt", "later"));
        expected["after/flush.txt"] = "later";
        QCOMPARE(contents(*archive), expected);
        QVERIFY(archive->openFile("forgotten.txt", QIODevice::WriteOnly));

        // A disk that takes no more: the flush fails, the old .zip stays, nothing is left
        // beside it, and the change waits for the next try.
        const QByteArray before = readFile(file);
        QVERIFY(writeEntry(*archive, "big.bin", randomBytes(400000, 5)));
        {
            ZornTest::FileSizeLimit full(before.size() + 1000);
            QVERIFY(!archive->flush());
        }
        QCOMPARE(readFile(file), before);
        QCOMPARE(QDir(QFileInfo(file).path()).entryList(QDir::Files), QStringList("edit.zip"));
        expected["big.bin"] = randomBytes(400000, 5);
        archive.reset();
        QCOMPARE(unzipped(file), expected);
    }

    // Missing, a directory, a bad mode: refused. Truncated or garbage: refused for reading and
    // for writing, and the file left alone.
    // Any one byte inverted: opening or reading may fail, but whatever reads is the original
    // contents; both outcomes happen, so the check is not vacuous.
    void corruption()
    {
        QVERIFY(!open(path("missing.zip"), ArchiveExtension::Read));
        QVERIFY(!open(dir.path(), ArchiveExtension::Read) && !open(path("any.zip"), 2));
        const Files files({{"one.txt", "first file, a few words long\n"},
                           {"dir/two.txt", QByteArray(300, 't')},
                           {"three.bin", randomBytes(200, 9)}});
        QVERIFY(writeArchive(path("good.zip"), files));
        const QByteArray good = readFile(path("good.zip"));
        const QString broken = path("broken.zip");

        // An end record of five entries beyond the file.
        const QByteArray fakeEnd("PK\x05\x06\0\0\0\0\0\0\x05\0\0\0\0\0" "\xf0\0\0\0\0\0", 22);
        QList<QByteArray> refused = {randomBytes(5000, 11), fakeEnd,
                                     good.left(good.indexOf("PK\x01\x02")) + fakeEnd};
        for (int cut = 0; cut < good.size(); ++cut)
            refused.append(good.left(cut));
        for (const QByteArray &bytes : qAsConst(refused)) {
            QVERIFY(writeFile(broken, bytes));
            QVERIFY2(!open(broken, ArchiveExtension::Read), qPrintable(bytes.toHex().left(99)));
            QVERIFY(bytes.isEmpty() || !open(broken, ArchiveExtension::Write)); // empty: new
            QCOMPARE(readFile(broken), bytes);
        }

        int opened = 0, failed = 0;
        for (int offset = 0; offset < good.size(); ++offset) {
            QByteArray bytes = good;
            bytes[offset] = char(~bytes[offset]);
            QVERIFY(writeFile(broken, bytes));
            ArchivePtr archive = open(broken, ArchiveExtension::Read);
            ++(archive ? opened : failed);
            const Files read = archive ? contents(*archive) : Files();
            for (auto it = read.cbegin(); it != read.cend(); ++it)
                QVERIFY2(it.value() == "<missing>" || files.values().contains(it.value()),
                         qPrintable(QString::number(offset) + QLatin1Char(' ') + it.key()));
        }
        QVERIFY(failed > 0 && opened > 0);
    }
};

QTEST_GUILESS_MAIN(tst_Zip)
#include "tst_zip.moc"
