#include "dialogresponder.h"
#include "fixtures.h"
#include "memoryarchive.h"
#include "testinterface.h"

#include <zornx/core/archive.h>

#include <QtCore/QBuffer>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

using namespace Zorn;

class tst_Archive : public QObject
{
    Q_OBJECT
private:
    static QStringList dirEntries(const QString &dir)
    {
        return QDir(dir).entryList(QDir::Files | QDir::NoDotAndDotDot, QDir::Name);
    }

private Q_SLOTS:
    void relativePath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("expected");
        QTest::newRow("sibling") << "a/c.txt" << "a/b" << "../c.txt";
        QTest::newRow("inside") << "a/b/c.txt" << "a/b" << "c.txt";
        QTest::newRow("shared prefix") << "a/bd/e" << "a/bc" << "../bd/e";
        QTest::newRow("equal") << "a/b" << "a/b" << "b";
        QTest::newRow("backslashes") << "a\\b\\c.txt" << "a\\b" << "c.txt";
        QTest::newRow("deeper base") << "a/x.txt" << "a/b/c" << "../../x.txt";
        QTest::newRow("nothing shared") << "x/y" << "a/b" << "../../x/y";
    }
    void relativePath()
    {
        QFETCH(QString, path);
        QFETCH(QString, base);
        QFETCH(QString, expected);
        Archive &fs = FileSystemArchive::instance();
        QCOMPARE(fs.relativePath(path, &fs, base), expected);
        ZornTest::MemoryArchive other;
        QCOMPARE(fs.relativePath(path, &other, base), path);
    }

    void absolutePathToRelative_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("expected");
        QTest::newRow("inside") << "/g/chars/lantern/lantern.cfg" << "/g/chars" << "lantern/lantern.cfg";
        QTest::newRow("trailing slash") << "/g/chars/lantern.cfg" << "/g/chars/" << "lantern.cfg";
        QTest::newRow("up") << "/g/data/x.cfg" << "/g/chars/lantern" << "../../data/x.cfg";
        QTest::newRow("root base") << "/x/y" << "/" << "/x/y";
        QTest::newRow("windows") << "C:\\g\\a\\b.txt" << "C:\\g" << "a/b.txt";
        QTest::newRow("other drive") << "D:/a/b.txt" << "C:/g" << "D:/a/b.txt";
    }
    void absolutePathToRelative()
    {
        QFETCH(QString, path);
        QFETCH(QString, base);
        QFETCH(QString, expected);
        QCOMPARE(Zorn::absolutePathToRelative(path, base), expected);
    }

    void fixFileCase()
    {
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath("Chars/LANTERN"));
        QVERIFY(ZornTest::writeFile(dir.path() + "/Chars/LANTERN/Lantern.Cfg", "x"));
        const QString base = dir.path() + "/";
        Archive &fs = FileSystemArchive::instance();
        QCOMPARE(Zorn::fixFileCase(base, fs, "chars/lantern/lantern.cfg"), base + "Chars/LANTERN/Lantern.Cfg");
        QCOMPARE(Zorn::fixFileCase(base, fs, "Chars/LANTERN/Lantern.Cfg"), base + "Chars/LANTERN/Lantern.Cfg");
        // A part that matches nothing is kept as given; the parts before it are still fixed.
        QCOMPARE(Zorn::fixFileCase(base, fs, "chars//lantern/none.cfg"),
                 base + "Chars/LANTERN/none.cfg");
        // A directory does not match the file part, nor a file a directory part.
        QCOMPARE(Zorn::fixFileCase(base, fs, "chars/lantern.cfg/x"), base + "Chars/lantern.cfg/x");
    }

    void fileSystemQueries()
    {
        QTemporaryDir dir;
        FileSystemArchive &fs = FileSystemArchive::instance();
        const QString name = dir.path() + "/sub/file.txt";
        QCOMPARE(fs.absoluteFilePath(name), dir.path() + "/sub");
        QCOMPARE(fs.absoluteFileName(name), name);
        QVERIFY(fs.absoluteFilePath(QString()).isEmpty());
        QVERIFY(fs.isWritable(name)); // does not exist yet
        QVERIFY(!fs.openFile(name, QIODevice::ReadOnly));
        for (int i = 0; i < 3; ++i)
            fs.release(); // never destroys the singleton

        // Entries never list links, "." or "..".
        QVERIFY(ZornTest::writeFile(name, "x"));
        QVERIFY(ZornTest::writeFile(dir.path() + "/sub/b.dat", "yy"));
        QDir(dir.path()).mkpath("sub/d");
        QFile::link(name, dir.path() + "/sub/link.txt");
        QCOMPARE(fs.entries(dir.path() + "/sub", QDir::AllEntries, QDir::Name),
                 QStringList({"b.dat", "d", "file.txt"}));
        QCOMPARE(fs.entries(dir.path() + "/sub", {"*.txt"}, QDir::Files, QDir::Name),
                 QStringList({"file.txt"}));
    }

    // One open, write and close or discard over an old file (or none). A new file is written
    // directly; over an old one the new bytes wait beside it until the close, which keeps its
    // permissions; a discard, or a device only read, leaves the old file as it was.
    void writeModes_data()
    {
        QTest::addColumn<QByteArray>("old"); // empty: no file yet
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("close");
        QTest::addColumn<QByteArray>("expected"); // "<missing>": no file
        const int w = QIODevice::WriteOnly;
        QTest::newRow("new, closed") << QByteArray() << w << true << QByteArray("new");
        QTest::newRow("new, discarded") << QByteArray() << w << false << QByteArray("<missing>");
        QTest::newRow("replaced") << QByteArray("old") << w << true << QByteArray("new");
        QTest::newRow("discarded") << QByteArray("old") << w << false << QByteArray("old");
        QTest::newRow("read-write") << QByteArray("old") << int(QIODevice::ReadWrite) << true
                                    << QByteArray("oldnew");
        QTest::newRow("append") << QByteArray("old") << int(w | QIODevice::Append) << true
                                << QByteArray("oldnew");
        QTest::newRow("read, discarded") << QByteArray("old") << int(QIODevice::ReadOnly)
                                         << false << QByteArray("old");
    }
    void writeModes()
    {
        QFETCH(QByteArray, old);
        QFETCH(int, mode);
        QFETCH(bool, close);
        QFETCH(QByteArray, expected);
        QTemporaryDir dir;
        FileSystemArchive &fs = FileSystemArchive::instance();
        const QString name = dir.path() + "/deep/er/file.txt";
        const QFile::Permissions permissions =
            QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
        if (!old.isEmpty()) {
            QVERIFY(ZornTest::writeFile(name, old));
            QFile::setPermissions(name, permissions);
        }
        QIODevice *device = fs.openFile(name, QIODevice::OpenMode(mode));
        QVERIFY(device);
        if (mode & QIODevice::ReadOnly)
            QCOMPARE(device->readAll(), old);
        if (mode & QIODevice::WriteOnly) {
            QCOMPARE(device->write("new"), qint64(3));
            static_cast<QFileDevice *>(device)->flush();
            const int files = old.isEmpty() ? 1 : 2; // the target and a temporary file
            QCOMPARE(dirEntries(dir.path() + "/deep/er").size(), files);
            if (!old.isEmpty())
                QCOMPARE(ZornTest::readFile(name), old);
        }
        if (close)
            QVERIFY(fs.closeFile(device));
        else
            fs.discardFile(device);
        QCOMPARE(ZornTest::readFile(name), expected);
        QCOMPARE(dirEntries(dir.path() + "/deep/er"),
                 expected == "<missing>" ? QStringList() : QStringList("file.txt"));
        if (!old.isEmpty())
            QCOMPARE(QFile::permissions(name) & 0x7077, permissions); // owner, group, other
    }

    void copyFile()
    {
        QTemporaryDir dir;
        FileSystemArchive &fs = FileSystemArchive::instance();
        QByteArray big(300000, Qt::Uninitialized);
        for (int i = 0; i < big.size(); ++i)
            big[i] = char(i * 7 + i / 1000);
        QVERIFY(ZornTest::writeFile(dir.path() + "/a.bin", big));
        QVERIFY(!Zorn::copyFile(fs, dir.path() + "/a.bin", fs, dir.path() + "/a.bin"));
        QVERIFY(!Zorn::copyFile(fs, dir.path() + "/none", fs, dir.path() + "/b.bin"));
        QVERIFY(!QFile::exists(dir.path() + "/b.bin"));
        QVERIFY(Zorn::copyFile(fs, dir.path() + "/a.bin", fs, dir.path() + "/b.bin"));
        QCOMPARE(ZornTest::readFile(dir.path() + "/b.bin"), big);

        // Across archives, in both directions.
        ZornTest::MemoryArchive memory;
        QVERIFY(Zorn::copyFile(fs, dir.path() + "/a.bin", memory, "m/a.bin"));
        QCOMPARE(memory.files.value("m/a.bin"), big);
        QVERIFY(Zorn::copyFile(memory, "m/a.bin", fs, dir.path() + "/c.bin"));
        QCOMPARE(ZornTest::readFile(dir.path() + "/c.bin"), big);
        memory.readOnly = true;
        QVERIFY(!Zorn::copyFile(fs, dir.path() + "/a.bin", memory, "m/b.bin"));
    }

    void skipRead()
    {
        QByteArray bytes(1000, 'a');
        bytes[700] = 'b';
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        Zorn::skipRead(&buffer, 700);
        QCOMPARE(buffer.pos(), qint64(700));
        QCOMPARE(buffer.read(1), QByteArray("b"));
        Zorn::skipRead(&buffer, 5000); // past the end: no harm
        QVERIFY(buffer.atEnd());
    }

    void randomStringAndExtension()
    {
        QVERIFY(Zorn::randomString(0).isEmpty());
        QVERIFY(Zorn::randomString(-3).isEmpty());
        const QString s = Zorn::randomString(500);
        QCOMPARE(s.size(), 500);
        QVERIFY(QRegExp("[A-Za-z0-9]+").exactMatch(s));
        QVERIFY(Zorn::randomString(12) != Zorn::randomString(12));
        QCOMPARE(Zorn::fileExtension("/a/b/Sprite.pcx"), QByteArray("PCX"));
        QCOMPARE(Zorn::fileExtension("/a.b/noext"), QByteArray());
    }

    void fileNameOrder()
    {
        QStringList names = {"frame10.pcx", "frame2.pcx", "frame1.pcx", "a.pcx",
                             "frame002.pcx", "b10.pcx", "b9.pcx", "frame99999999999999999.pcx"};
        std::sort(names.begin(), names.end(), Zorn::fileNameLessThan);
        QCOMPARE(names, QStringList({"a.pcx", "b9.pcx", "b10.pcx", "frame1.pcx", "frame002.pcx",
                                     "frame2.pcx", "frame10.pcx",
                                     "frame99999999999999999.pcx"}));

        // A strict weak order over numbered and plain names mixed, or std::sort may fail:
        // irreflexive, and both the order and the equivalence transitive.
        names.clear();
        for (const char *stem : {"", "a", "a1", "f", "f1z"})
            for (const char *number : {"", "1", "2", "10", "01", "9"})
                for (const char *suffix : {"", ".x", ".pcx", "z"})
                    names << QString(stem) + number + suffix;
        names.removeDuplicates();
        const int n = names.size();
        std::vector<char> less(size_t(n * n));
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                less[size_t(i * n + j)] = Zorn::fileNameLessThan(names[i], names[j]);
        auto lt = [&](int i, int j) { return less[size_t(i * n + j)] != 0; };
        auto eq = [&](int i, int j) { return !lt(i, j) && !lt(j, i); };
        for (int i = 0; i < n; ++i) {
            QVERIFY(!lt(i, i));
            for (int j = 0; j < n; ++j)
                for (int k = 0; k < n; ++k) {
                    if (lt(i, j) && lt(j, k) && !lt(i, k))
                        QFAIL(qPrintable(names[i] + " < " + names[j] + " < " + names[k]));
                    if (eq(i, j) && eq(j, k) && !eq(i, k))
                        QFAIL(qPrintable(names[i] + " ~ " + names[j] + " ~ " + names[k]));
                }
        }
    }

    void yesNoQuestions()
    {
        // Without a host nothing is asked.
        QVERIFY(Interface::yesNoBool("t", "x", "k", true));
        QVERIFY(Interface::yesNoOption("t", "x", "k", 1));
        QVERIFY(!Interface::yesNoOption("t", "x", "k", 2));

        ZornTest::TestInterface host;
        ZornTest::DialogResponder responder;
        host.options["ask"] = 0;
        responder.answer(QMessageBox::No);
        QVERIFY(!Interface::yesNoOption("Title", "Question?", "ask", 1));
        QCOMPARE(responder.seen.size(), 1);
        QCOMPARE(responder.seen[0].title, QString("Title"));
        QCOMPARE(responder.seen[0].text,
                 QString("Question?\nNote: Choose 'Yes to all' or 'No to all' to avoid "
                         "displaying this message again."));
        responder.answer(QMessageBox::NoToAll);
        QVERIFY(!Interface::yesNoOption("Title", "Question?", "ask", 1));
        QCOMPARE(host.options["ask"].toInt(), 2);
        QVERIFY(!Interface::yesNoOption("Title", "Question?", "ask", 1)); // no dialog now
        host.options["ask"] = 0;
        responder.answer(QMessageBox::YesToAll);
        QVERIFY(Interface::yesNoOption("Title", "Question?", "ask", 1));
        QCOMPARE(host.options["ask"].toInt(), 1);
        QCOMPARE(responder.seen.size(), 3);

        // yesNoBool: the key asks while true; "Yes to All" stores false.
        responder.answer(QMessageBox::YesToAll);
        QVERIFY(Interface::yesNoBool("T", "Sure?", "confirm", true));
        QCOMPARE(responder.seen.last().text,
                 QString("Sure?\nNote: Choose 'Yes to all' to avoid displaying this message "
                         "again."));
        QCOMPARE(host.options["confirm"], QVariant(false));
        QVERIFY(Interface::yesNoBool("T", "Sure?", "confirm", true));
        QCOMPARE(responder.seen.size(), 4);
    }
};

QTEST_MAIN(tst_Archive)
#include "tst_archive.moc"
