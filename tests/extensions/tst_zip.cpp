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

namespace {

typedef QMap<QString, QByteArray> Files;

struct Run

{
    int code = -1;
    QByteArray output;
};

Run run(const QString &program, const QStringList &arguments, const QString &directory = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    if (!directory.isEmpty())
        process.setWorkingDirectory(directory);
    process.start(program, arguments);
    Run result;
    if (process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit)
        result.code = process.exitCode();
    result.output = process.readAll();
    return result;
}

QByteArray randomBytes(int size, quint32 seed)
{
    QRandomGenerator generator(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &byte : bytes)
        byte = char(generator.bounded(256));
    return bytes;
}

QByteArray readFile(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

bool writeFile(const QString &name, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(name).absolutePath());
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// Releases an archive at the end of a scope.
struct ArchiveRef
{
    explicit ArchiveRef(Archive *archive = nullptr) : archive(archive) {}
    ~ArchiveRef() { reset(); }
    void reset(Archive *other = nullptr)
    {
        if (archive)
            archive->release();
        archive = other;
    }
    Archive *operator->() const { return archive; }
    explicit operator bool() const { return archive; }
    Archive *archive;
};

QByteArray readEntry(Archive &archive, const QString &name, bool *ok = nullptr)
{
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (ok)
        *ok = device;
    if (!device)
        return QByteArray("<missing>");
    const QByteArray bytes = device->readAll();
    archive.closeFile(device);
    return bytes;
}

bool writeEntry(Archive &archive, const QString &name, const QByteArray &bytes,
                QIODevice::OpenMode mode = QIODevice::WriteOnly)
{
    QIODevice *device = archive.openFile(name, mode);
    if (!device)
        return false;
    const bool ok = device->write(bytes) == bytes.size();
    archive.closeFile(device);
    return ok;
}

// Every file below path, as the library's restore walks it: files, then directories entered.
QStringList walk(const Archive &archive, const QString &path = QString())
{
    QStringList names;
    const QDir::Filters filters =
        QDir::Dirs | QDir::Files | QDir::NoSymLinks | QDir::Readable | QDir::NoDotAndDotDot;
    for (const QString &entry : archive.entries(path, filters, QDir::Name)) {
        const QString name = path.isEmpty() ? entry : path + QLatin1Char('/') + entry;
        if (archive.fileExists(name))
            names.append(name);
        else
            names += walk(archive, name);
    }
    return names;
}

Files sampleFiles()
{
    Files files;
    files.insert(QStringLiteral("a.txt"), "hello\n");
    files.insert(QStringLiteral("dir/empty.txt"), QByteArray());
    files.insert(QStringLiteral("dir/repeat.txt"), QByteArray(100000, 'x'));
    files.insert(QStringLiteral("dir/sub/noise.bin"), randomBytes(300000, 7));
    files.insert(QStringLiteral("\u00fcn\u00ef/\u00e7\u00f8d\u00e9.txt"), "utf-8 name\n");
    return files;
}

} // namespace

class tst_Zip : public QObject
{
    Q_OBJECT
private:
    std::unique_ptr<ExtensionManager> manager;
    ArchiveExtension *zip = nullptr;
    QTemporaryDir dir;

    QString path(const QString &name) const { return dir.filePath(name); }
    Archive *create(const QString &file, int mode) const
    {
        return zip ? zip->createArchive(file, mode) : nullptr;
    }
    static bool haveTools()
    {
        return !QStandardPaths::findExecutable(QStringLiteral("zip")).isEmpty() &&
               !QStandardPaths::findExecutable(QStringLiteral("unzip")).isEmpty();
    }
    // Writes files into a new archive through the extension.
    bool writeArchive(const QString &file, const Files &files) const
    {
        ArchiveRef archive(create(file, 0));
        if (!archive)
            return false;
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            if (!writeEntry(*archive.archive, it.key(), it.value()))
                return false;
        return true;
    }
    // A .zip made by the zip tool from files, with extra options.
    bool zipTool(const QString &file, const Files &files, const QStringList &options) const
    {
        const QString tree = file + QStringLiteral(".tree");
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            if (!writeFile(tree + QLatin1Char('/') + it.key(), it.value()))
                return false;
        const Run result =
            run(QStringLiteral("zip"),
                QStringList({"-q", "-r"}) + options + QStringList({file, "."}), tree);
        return result.code == 0;
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
        QCOMPARE(zip->type(), Extension::ArchiveType);
    }
    void cleanupTestCase() { manager.reset(); }

    void writtenArchivePassesUnzip()
    {
        if (!haveTools())
            QSKIP("zip and unzip are not installed");
        const QString file = path(QStringLiteral("written.zip"));
        const Files files = sampleFiles();
        QVERIFY(writeArchive(file, files));

        const Run test = run(QStringLiteral("unzip"), {"-t", file});
        QVERIFY2(test.code == 0, test.output.constData());
        const Run list = run(QStringLiteral("unzip"), {"-Z1", file});
        QCOMPARE(list.code, 0);
        QStringList names =
            QString::fromUtf8(list.output).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        names.sort();
        QCOMPARE(names, files.keys());

        const QString out = path(QStringLiteral("written.out"));
        QCOMPARE(run(QStringLiteral("unzip"), {"-q", file, "-d", out}).code, 0);
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            QCOMPARE(readFile(out + QLatin1Char('/') + it.key()), it.value());

        // And back through the extension.
        ArchiveRef archive(create(file, 1));
        QVERIFY(archive);
        QCOMPARE(walk(*archive.archive), files.keys());
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            QCOMPARE(readEntry(*archive.archive, it.key()), it.value());
    }

    void readsWhatZipWrote_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("deflate") << QStringList();
        QTest::newRow("stored") << QStringList({"-0"});
        QTest::newRow("best") << QStringList({"-9"});
        QTest::newRow("no directory entries") << QStringList({"-D"});
    }
    void readsWhatZipWrote()
    {
        QFETCH(QStringList, options);
        if (!haveTools())
            QSKIP("zip and unzip are not installed");
        const QString file = path(QStringLiteral("tool-%1.zip").arg(QTest::currentDataTag()));
        const Files files = sampleFiles();
        QVERIFY(zipTool(file, files, options));

        ArchiveRef archive(create(file, 1));
        QVERIFY(archive);
        QVERIFY(archive->isReadOnly());
        QCOMPARE(walk(*archive.archive), files.keys());
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            QCOMPARE(readEntry(*archive.archive, it.key()), it.value());

        QCOMPARE(archive->entries(QString(), QDir::Files, QDir::Name), QStringList({"a.txt"}));
        QCOMPARE(archive->entries(QStringLiteral("dir"), QDir::Dirs, QDir::Name),
                 QStringList({"sub"}));
        QVERIFY(archive->directoryExists(QStringLiteral("dir/sub")));
        QVERIFY(archive->directoryExists(QString()));
        QVERIFY(!archive->directoryExists(QStringLiteral("dir/nothing")));
        QVERIFY(!archive->fileExists(QStringLiteral("dir/sub")));
        QVERIFY(archive->fileExists(QStringLiteral("/dir/sub/noise.bin")));
        bool ok = true;
        readEntry(*archive.archive, QStringLiteral("dir"), &ok);
        QVERIFY(!ok);

        // Read only: nothing changes, and the file stays as it was.
        const QByteArray before = readFile(file);
        QVERIFY(!archive->openFile(QStringLiteral("new.txt"), QIODevice::WriteOnly));
        QVERIFY(!archive->isWritable(QStringLiteral("a.txt")));
        QVERIFY(!archive->removeFile(QStringLiteral("a.txt")));
        QVERIFY(!archive->renameFile(QStringLiteral("a.txt"), QStringLiteral("b.txt")));
        archive->flush();
        archive.reset();
        QCOMPARE(readFile(file), before);
    }

    void editAnArchive()
    {
        if (!haveTools())
            QSKIP("zip and unzip are not installed");
        const QString file = path(QStringLiteral("edit.zip"));
        Files expected = sampleFiles();
        QVERIFY(zipTool(file, expected, {}));

        ArchiveRef archive(create(file, 0));
        QVERIFY(archive);
        QVERIFY(!archive->isReadOnly());

        QVERIFY(writeEntry(*archive.archive, QStringLiteral("a.txt"), "replaced"));
        expected[QStringLiteral("a.txt")] = "replaced";
        QVERIFY(archive->removeFile(QStringLiteral("dir/repeat.txt")));
        expected.remove(QStringLiteral("dir/repeat.txt"));
        QVERIFY(!archive->removeFile(QStringLiteral("dir/repeat.txt")));
        QVERIFY(archive->renameFile(QStringLiteral("dir/sub/noise.bin"),
                                    QStringLiteral("moved/noise.bin")));
        expected[QStringLiteral("moved/noise.bin")] =
            expected.take(QStringLiteral("dir/sub/noise.bin"));
        QVERIFY(!archive->renameFile(QStringLiteral("a.txt"), QStringLiteral("moved/noise.bin")));
        QVERIFY(!archive->renameFile(QStringLiteral("missing"), QStringLiteral("x")));

        // A discarded write leaves nothing; read-write keeps the old contents.
        QIODevice *discarded =
            archive->openFile(QStringLiteral("discarded.txt"), QIODevice::WriteOnly);
        QVERIFY(discarded);
        discarded->write("gone");
        archive->discardFile(discarded);
        QVERIFY(!archive->fileExists(QStringLiteral("discarded.txt")));
        QIODevice *updated =
            archive->openFile(QStringLiteral("dir/empty.txt"), QIODevice::ReadWrite);
        QVERIFY(updated);
        updated->write("now full");
        archive->closeFile(updated);
        expected[QStringLiteral("dir/empty.txt")] = "now full";
        QVERIFY(writeEntry(*archive.archive, QStringLiteral("a.txt"), "+more",
                           QIODevice::WriteOnly | QIODevice::Append));
        expected[QStringLiteral("a.txt")] += "+more";

        // Pending changes read back before anything reached the disk.
        QCOMPARE(walk(*archive.archive), expected.keys());
        for (auto it = expected.cbegin(); it != expected.cend(); ++it)
            QCOMPARE(readEntry(*archive.archive, it.key()), it.value());

        archive->flush();
        QCOMPARE(run(QStringLiteral("unzip"), {"-t", "-q", file}).code, 0);
        QVERIFY(writeEntry(*archive.archive, QStringLiteral("after/flush.txt"), "later"));
        expected[QStringLiteral("after/flush.txt")] = "later";
        QCOMPARE(walk(*archive.archive), expected.keys());
        archive.reset();

        QCOMPARE(run(QStringLiteral("unzip"), {"-t", "-q", file}).code, 0);
        const QString out = path(QStringLiteral("edit.out"));
        QCOMPARE(run(QStringLiteral("unzip"), {"-q", file, "-d", out}).code, 0);
        QStringList extracted;
        QDirIterator it(out, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext())
            extracted.append(QDir(out).relativeFilePath(it.next()));
        extracted.sort();
        QCOMPARE(extracted, expected.keys());
        for (auto file = expected.cbegin(); file != expected.cend(); ++file)
            QCOMPARE(readFile(out + QLatin1Char('/') + file.key()), file.value());
    }

    // entries() answers as QDir does on the same tree.
    void entriesLikeQDir_data()
    {
        QTest::addColumn<QString>("where");
        QTest::addColumn<QStringList>("nameFilters");
        QTest::addColumn<int>("filters");
        QTest::addColumn<int>("sort");
        const int all = QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot;
        QTest::newRow("all, name")
            << "" << QStringList() << all << int(QDir::Name | QDir::IgnoreCase);
        QTest::newRow("files, case") << "" << QStringList() << int(QDir::Files) << int(QDir::Name);
        QTest::newRow("files, reversed") << "" << QStringList() << int(QDir::Files)
                                         << int(QDir::Name | QDir::Reversed | QDir::IgnoreCase);
        QTest::newRow("dirs first")
            << "" << QStringList() << all << int(QDir::DirsFirst | QDir::IgnoreCase);
        QTest::newRow("dirs last")
            << "" << QStringList() << all << int(QDir::DirsLast | QDir::IgnoreCase);
        QTest::newRow("size") << "" << QStringList() << int(QDir::Files) << int(QDir::Size);
        QTest::newRow("type") << "" << QStringList() << int(QDir::Files) << int(QDir::Type);
        QTest::newRow("hidden") << "" << QStringList() << int(QDir::Files | QDir::Hidden)
                                << int(QDir::Name);
        QTest::newRow("no sort") << "" << QStringList() << all << int(QDir::NoSort);
        QTest::newRow("pattern") << "" << QStringList({"*.TXT"}) << all << int(QDir::Name);
        QTest::newRow("patterns, all dirs") << "" << QStringList({"*.txt", "c*"})
                                            << int(QDir::Files | QDir::AllDirs) << int(QDir::Name);
        QTest::newRow("case-sensitive pattern")
            << "" << QStringList({"*.TXT"}) << int(QDir::Files | QDir::CaseSensitive)
            << int(QDir::Name);
        QTest::newRow("subdirectory") << "adir" << QStringList() << all << int(QDir::Name);
    }
    void entriesLikeQDir()
    {
        QFETCH(QString, where);
        QFETCH(QStringList, nameFilters);
        QFETCH(int, filters);
        QFETCH(int, sort);
        const QString file = path(QStringLiteral("listing.zip"));
        const QString tree = path(QStringLiteral("listing"));
        Files files;
        files.insert(QStringLiteral("B.txt"), QByteArray(30, 'b'));
        files.insert(QStringLiteral("a.txt"), QByteArray(10, 'a'));
        files.insert(QStringLiteral("c.ini"), QByteArray(20, 'c'));
        files.insert(QStringLiteral("d.TXT"), QByteArray(25, 'd'));
        files.insert(QStringLiteral(".hidden"), QByteArray(5, 'h'));
        files.insert(QStringLiteral("adir/y"), "y");
        files.insert(QStringLiteral("Zdir/inner/z.txt"), "z");
        files.insert(QStringLiteral("Zdir/inner/w.bin"), "w");
        files.insert(QStringLiteral("cdir/q"), "q");
        if (!QFile::exists(file)) {
            QVERIFY(writeArchive(file, files));
            for (auto it = files.cbegin(); it != files.cend(); ++it)
                QVERIFY(writeFile(tree + QLatin1Char('/') + it.key(), it.value()));
        }
        ArchiveRef archive(create(file, 1));
        QVERIFY(archive);
        // Archives never list "." and "..", as the file system archive does not.
        const QStringList expected =
            QDir(tree + QLatin1Char('/') + where)
                .entryList(nameFilters, QDir::Filters(filters) | QDir::NoDotAndDotDot,
                           QDir::SortFlags(sort));
        QCOMPARE(
            archive->entries(where, nameFilters, QDir::Filters(filters), QDir::SortFlags(sort)),
            expected);
    }

    void names()
    {
        const QString file = path(QStringLiteral("names.zip"));
        {
            ArchiveRef archive(create(file, 0));
            QVERIFY(archive);
            QCOMPARE(archive->name(), QFileInfo(file).absoluteFilePath());
            QCOMPARE(archive->path(), QFileInfo(file).absolutePath());
            QCOMPARE(archive->absoluteFileName(QStringLiteral("./x\\y//z.txt")),
                     QStringLiteral("x/y/z.txt"));
            QCOMPARE(archive->absoluteFilePath(QStringLiteral("/x/y/z.txt")),
                     QStringLiteral("x/y"));
            QVERIFY(archive->absoluteFilePath(QString()).isEmpty());
            QVERIFY(archive->absoluteFileName(QString()).isEmpty());

            // Nothing is written above the root, and spellings of one name meet in one entry.
            QVERIFY(!archive->openFile(QStringLiteral("../evil.txt"), QIODevice::WriteOnly));
            QVERIFY(!archive->openFile(QStringLiteral("a/../../evil.txt"), QIODevice::WriteOnly));
            QVERIFY(!archive->openFile(QString(), QIODevice::WriteOnly));
            QVERIFY(writeEntry(*archive.archive, QStringLiteral("/lead/one.txt"), "1"));
            QVERIFY(writeEntry(*archive.archive, QStringLiteral("lead\\one.txt"), "2"));
            QVERIFY(writeEntry(*archive.archive, QStringLiteral("./back\\slash.txt"), "3"));
        }
        ArchiveRef archive(create(file, 1));
        QVERIFY(archive);
        QCOMPARE(walk(*archive.archive), QStringList({"back/slash.txt", "lead/one.txt"}));
        QCOMPARE(readEntry(*archive.archive, QStringLiteral("lead/one.txt")), QByteArray("2"));
        if (haveTools()) {
            const Run list = run(QStringLiteral("unzip"), {"-Z1", file});
            QCOMPARE(QString::fromUtf8(list.output).split(QLatin1Char('\n'), Qt::SkipEmptyParts),
                     QStringList({"lead/one.txt", "back/slash.txt"}));
        }
    }

    void openModes()
    {
        QVERIFY(!create(path(QStringLiteral("missing.zip")), 1));
        QVERIFY(!create(dir.path(), 1));
        QVERIFY(!create(path(QStringLiteral("any.zip")), 2));
        QVERIFY(!create(path(QStringLiteral("any.zip")), -1));

        // Writing makes the directories the archive needs.
        const QString deep = path(QStringLiteral("new/deeper/made.zip"));
        {
            ArchiveRef archive(create(deep, 0));
            QVERIFY(archive);
            QVERIFY(writeEntry(*archive.archive, QStringLiteral("f.txt"), "f"));
            // A device never given back is dropped, not written.
            QVERIFY(archive->openFile(QStringLiteral("forgotten.txt"), QIODevice::WriteOnly));
        }
        ArchiveRef archive(create(deep, 1));
        QVERIFY(archive);
        QCOMPARE(walk(*archive.archive), QStringList({"f.txt"}));
    }

    void truncatedOrGarbage_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QByteArray good;
        {
            const QString file = path(QStringLiteral("good.zip"));
            Files files = sampleFiles();
            files.remove(QStringLiteral("dir/sub/noise.bin")); // no stray signatures in the data
            QVERIFY(writeArchive(file, files));
            good = readFile(file);
        }
        const int size = good.size();
        for (int cut : {1, 2, 4, 10, 29, 30, 31, 100, size / 4, size / 2, size * 3 / 4, size - 100,
                        size - 46, size - 23, size - 22, size - 21, size - 2, size - 1})
            QTest::addRow("cut to %d", cut) << good.left(cut);
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("random") << randomBytes(5000, 11);
        QTest::newRow("zeros") << QByteArray(5000, '\0');
        QByteArray fakeEnd(22, '\0');
        fakeEnd.replace(0, 4, "PK\x05\x06");
        fakeEnd[10] = 5; // five entries somewhere beyond the file
        fakeEnd[12] = char(0xff);
        fakeEnd[16] = char(0xf0);
        QTest::newRow("end record only") << fakeEnd;
        QTest::newRow("end record after noise") << randomBytes(300, 5) + fakeEnd;
        QByteArray localOnly = good.left(good.indexOf("PK\x01\x02"));
        QTest::newRow("no central directory") << localOnly + fakeEnd;
    }
    void truncatedOrGarbage()
    {
        QFETCH(QByteArray, bytes);
        const QString file = path(QStringLiteral("broken.zip"));
        QVERIFY(writeFile(file, bytes));
        QVERIFY(!create(file, 1));
        // Writing into it refuses too, and leaves the file alone.
        ArchiveRef writing(create(file, 0));
        if (!bytes.isEmpty())
            QVERIFY(!writing);
        writing.reset();
        QCOMPARE(readFile(file), bytes);
    }

    // Every single flipped byte: opening may fail, reading may fail, but whatever reads
    // successfully is the original contents, and nothing crashes.
    void flippedBytes_data()
    {
        QTest::addColumn<QString>("region");
        QTest::newRow("central directory") << "central";
        QTest::newRow("entries") << "entries";
    }
    void flippedBytes()
    {
        QFETCH(QString, region);
        const QString file = path(QStringLiteral("flip-source.zip"));
        Files files;
        files.insert(QStringLiteral("one.txt"), "first file, a few words long\n");
        files.insert(QStringLiteral("dir/two.txt"), QByteArray(300, 't'));
        files.insert(QStringLiteral("three.bin"), randomBytes(200, 9));
        QVERIFY(writeArchive(file, files));
        const QByteArray good = readFile(file);
        const int end = good.lastIndexOf("PK\x05\x06");
        QVERIFY(end > 0);
        const quint32 centralSize = qFromLittleEndian<quint32>(good.constData() + end + 12);
        const quint32 centralStart = qFromLittleEndian<quint32>(good.constData() + end + 16);
        QCOMPARE(int(centralStart + centralSize), end);

        const int from = region == QLatin1String("central") ? int(centralStart) : 0;
        const int to = region == QLatin1String("central") ? good.size() : int(centralStart);
        const QList<QByteArray> contents = files.values();
        const QString broken = path(QStringLiteral("flipped.zip"));
        int opened = 0, refused = 0;
        for (int offset = from; offset < to; ++offset) {
            for (char mask : {char(0x01), char(0xff)}) {
                QByteArray bytes = good;
                bytes[offset] = char(bytes[offset] ^ mask);
                QVERIFY(writeFile(broken, bytes));
                ArchiveRef archive(create(broken, 1));
                if (!archive) {
                    ++refused;
                    continue;
                }
                ++opened;
                for (const QString &name : walk(*archive.archive) + files.keys()) {
                    bool ok = false;
                    const QByteArray read = readEntry(*archive.archive, name, &ok);
                    if (!ok)
                        continue;
                    QVERIFY2(contents.contains(read),
                             qPrintable(QStringLiteral("offset %1: %2").arg(offset).arg(name)));
                }
            }
        }
        // Both outcomes happen: the check is not vacuous.
        QVERIFY(refused > 0);
        QVERIFY(opened > 0);
    }
};

QTEST_GUILESS_MAIN(tst_Zip)
#include "tst_zip.moc"
