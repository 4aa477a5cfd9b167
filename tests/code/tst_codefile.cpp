#include "dialogresponder.h"
#include "fixtures.h"
#include "memoryarchive.h"
#include "testcode.h"
#include "testinterface.h"

#include <zornx/code/textcodecs.h>

#include <QtCore/QTemporaryDir>
#include <QtCore/QTextCodec>
#include <QtTest/QtTest>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

using namespace Zorn;
using ZornTest::MemoryArchive;
using ZornTest::TestCodeDocument;

namespace {

using Results = QList<ProjectFile::SearchResult>;

// Runs the event loop until the document's background save has handed its name back.
bool waitForName(const CodeDocument &doc)
{
    return QTest::qWaitFor([&] { return !doc.fileName().isEmpty(); }, 10000);
}

QString describe(const Results &results)
{
    QStringList out;
    for (const ProjectFile::SearchResult &r : results)
        out << QString("%1:%2+%3 %4 [%5]")
                   .arg(r.line).arg(r.position).arg(r.length).arg(r.text, r.captures.join(','));
    return out.join(" | ");
}

} // namespace

class tst_CodeFile : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { TextCodecs::initialize(); }

    void codecsRoundTrip_data()
    {
        QTest::addColumn<QByteArray>("codec");
        QTest::addColumn<QByteArray>("bom");
        QTest::addColumn<QString>("text");
        auto row = [](const char *name, const char *codec, const char *bom, const char *text) {
            QTest::newRow(name) << QByteArray(codec) << QByteArray(bom) << QString::fromUtf8(text);
        };
        row("utf-8", "UTF-8", "", "[Info]\nname = \"Ryū 竜\"\nnote = ü € 😀\n");
        row("utf-8 bom", "UTF-8", "\xef\xbb\xbf", "[Info]\nname = \"Ken ケン\"\n");
        row("utf-16le", "UTF-16LE", "", "[Info]\nname = \"春麗\"\n; λ ω\n");
        row("utf-16be", "UTF-16BE", "", "[Info]\nname = \"Гуиль\"\n");
        row("shift-jis", "Shift_JIS", "",
            "[Info]\nname = \"リュウ\"\n; 波動拳を撃つ、昇龍拳で迎え撃つ。\n"
            "; 必殺技のコマンドは下、前、パンチです。\n");
    }

    // Each file loads as its codec and an unchanged document writes it back byte for byte,
    // on this thread and in the background.
    void codecsRoundTrip()
    {
        QFETCH(QByteArray, codec);
        QFETCH(QByteArray, bom);
        QFETCH(QString, text);
        QTextCodec *qcodec = QTextCodec::codecForName(codec);
        QVERIFY(qcodec);
        QString crlf = text;
        crlf.replace("\n", "\r\n");
        const QByteArray bytes = bom + qcodec->fromUnicode(crlf);
        MemoryArchive archive;
        archive.files.insert("/in.cfg", bytes);
        TestCodeDocument doc;
        QVERIFY(doc.fromFile(archive, "/in.cfg", 0, nullptr));
        const QString name = doc.codecName().toUpper();
        QCOMPARE(name, codec.toUpper());
        QCOMPARE(doc.toPlainText(), text);
        QVERIFY(!doc.isModified());
        QVERIFY(doc.toFile(archive, "/out.cfg", 0, nullptr));
        QCOMPARE(archive.files.value("/out.cfg"), bytes);
        QVERIFY(doc.toFile(archive, "/bg.cfg", ProjectFile::SaveInBackground, nullptr));
        QVERIFY(waitForName(doc));
        QCOMPARE(archive.files.value("/bg.cfg"), bytes);
        QVERIFY(!doc.fromFile(archive, "/missing.cfg", 0, nullptr)); // the text stays
        QCOMPARE(doc.toPlainText(), text);
        // A copy loaded keeps the name and counts as a change.
        QVERIFY(doc.fromFile(archive, "/out.cfg", ProjectFile::Copy, nullptr));
        QVERIFY(doc.isModified() && doc.fileName() == "/bg.cfg");
        archive.readOnly = true;
        QVERIFY(!doc.toFile(archive, "/out.cfg", 0, nullptr));
    }

    // A byte order mark comes back only where there was one: a UTF-16 file without one,
    // read in the codec chosen for it, is written back without one.
    void noMarkWhereThereWasNone()
    {
        QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
        const QString text = "[Info]\r\nname = \"é\"\r\n";
        const QByteArray bytes =
            QTextCodec::codecForName("UTF-16LE")->fromUnicode(text.constData(), text.size(), &state);
        MemoryArchive archive;
        archive.files.insert("/le.cfg", bytes);
        TestCodeDocument doc;
        QVERIFY(doc.fromFile(archive, "/le.cfg", 0, nullptr));
        doc.setCodec("UTF-16LE");
        doc.reload();
        QCOMPARE(doc.toPlainText(), QString(text).remove('\r'));
        QVERIFY(doc.toFile(archive, "/le.cfg", 0, nullptr));
        QCOMPARE(archive.files.value("/le.cfg"), bytes);
    }

    void tabs_data()
    {
        QTest::addColumn<bool>("load"); // expand on load, else blanks to tabs on save
        QTest::addColumn<QString>("in");
        QTest::addColumn<QString>("out");
        QTest::newRow("tab at 2") << true << "ab\tc" << "ab  c";
        QTest::newRow("tab at 3") << true << "abc\td\te" << "abc d   e";
        QTest::newRow("columns restart") << true << "ab\r\n\tc\nabcde\tf" << "ab\n    c\nabcde   f";
        QTest::newRow("four at 0") << false << "    a" << "\ta";
        QTest::newRow("three at 1") << false << "x   y" << "x\ty";
        QTest::newRow("two at 1") << false << "x  y" << "x  y";
        QTest::newRow("lone before stop") << false << "abc d" << "abc d";
        QTest::newRow("after tab") << false << "\t    a\n  b" << "\t\ta\r\n  b";
        QTest::newRow("three at 0") << false << "   x" << "   x";
    }

    void tabs()
    {
        QFETCH(bool, load);
        QFETCH(QString, in);
        QFETCH(QString, out);
        MemoryArchive archive;
        TestCodeDocument doc;
        doc.setOption(load ? "open_tabToSpace" : "save_spaceToTab", true);
        archive.files.insert("/a.cfg", in.toUtf8());
        QVERIFY(doc.fromFile(archive, "/a.cfg", 0, nullptr));
        if (load) {
            QCOMPARE(doc.toPlainText(), out);
            return;
        }
        QVERIFY(doc.toFile(archive, "/b.cfg", 0, nullptr));
        QCOMPARE(QString::fromUtf8(archive.files.value("/b.cfg")), out);
    }

    // What was taken is written; lines edited meanwhile stay unsaved; a second save and the
    // end of the document each wait for the running one and commit it first.
    void backgroundSaves()
    {
        MemoryArchive archive;
        archive.files.insert("/a.cfg", "[Data]\nx = 1\ny = 2\nz = 3\n");
        auto *doc = new TestCodeDocument;
        QVERIFY(doc->fromFile(archive, "/a.cfg", 0, nullptr));
        auto edit = [&](int line, const QString &text) {
            QTextCursor cursor(doc->findBlockByNumber(line));
            cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
            cursor.insertText(text);
        };
        edit(1, "x = 10");
        QVERIFY(doc->toFile(archive, "/a.cfg", ProjectFile::SaveInBackground, nullptr));
        QVERIFY(doc->fileName().isEmpty());
        edit(2, "y = 20");
        QVERIFY(waitForName(*doc));
        QCOMPARE(doc->fileName(), QString("/a.cfg"));
        QCOMPARE(archive.files.value("/a.cfg"), QByteArray("[Data]\r\nx = 10\r\ny = 2\r\nz = 3\r\n"));
        QVERIFY(doc->isModified()); // "y = 20" is in no file yet
        const int saved = doc->findBlockByNumber(0).revision();
        QVERIFY(doc->findBlockByNumber(1).revision() < 0);     // changed and saved
        QVERIFY(doc->findBlockByNumber(2).revision() > saved); // changed during the save
        QCOMPARE(doc->findBlockByNumber(3).revision(), saved);

        QVERIFY(doc->toFile(archive, "/a.cfg", ProjectFile::SaveInBackground, nullptr));
        QVERIFY(doc->toFile(archive, "/b.cfg", 0, nullptr));
        QCOMPARE(doc->fileName(), QString("/b.cfg"));
        QVERIFY(doc->findBlockByNumber(2).revision() < 0);
        QVERIFY(!doc->isModified());
        // A copy leaves the name alone.
        QVERIFY(doc->toFile(archive, "/c.cfg", ProjectFile::Copy | ProjectFile::SaveInBackground,
                            nullptr));
        QCOMPARE(doc->fileName(), QString("/b.cfg"));
        edit(3, "z = 30");
        QVERIFY(doc->toFile(archive, "/d.cfg", ProjectFile::SaveInBackground, nullptr));
        // The last reference: the save ends while the document is whole, and commits first.
        QStringList endedAs;
        connect(doc, &QTextDocument::modificationChanged,
                [&] { endedAs << doc->metaObject()->className(); });
        doc->release();
        QCOMPARE(endedAs, QStringList("ZornTest::TestCodeDocument"));
        const QByteArray now("[Data]\r\nx = 10\r\ny = 20\r\nz = 3\r\n");
        QCOMPARE(archive.files.value("/a.cfg"), now);
        QCOMPARE(archive.files.value("/b.cfg"), now);
        QCOMPARE(archive.files.value("/c.cfg"), now);
        QCOMPARE(archive.files.value("/d.cfg"), QByteArray(now).replace("z = 3", "z = 30"));
        QCoreApplication::processEvents(); // nothing is left queued for the gone document
    }

    void search_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<int>("flags");
        QTest::addColumn<int>("cursor");
        QTest::addColumn<QString>("expected");
        // Text: "a1 b2\nc3 a4\na5" (positions 0..13).
        const int back = ProjectFile::Backwards, wrap = ProjectFile::Wrap;
        const int start = ProjectFile::FromStart, all = ProjectFile::FindAll;
        QTest::newRow("forward") << "a(\\d)" << 0 << 1 << "1:3+2 c3 a4 [4]";
        QTest::newRow("forward end") << "b2" << 0 << 7 << "";
        QTest::newRow("forward wrap") << "b(2)" << wrap << 7 << "0:3+2 a1 b2 [2]";
        QTest::newRow("from start") << "a\\d" << (start | wrap) << 9 << "0:0+2 a1 b2 []";
        QTest::newRow("backward") << "[a-c]\\d" << back << 9 << "1:0+2 c3 a4 []";
        QTest::newRow("backward from end") << "a(\\d)" << (back | start) << 0 << "2:0+2 a5 [5]";
        QTest::newRow("backward no wrap") << "c3" << back << 1 << "";
        QTest::newRow("backward wrap") << "a5" << (back | wrap) << 1 << "2:0+2 a5 []";
        QTest::newRow("all") << "(\\w)(\\d)" << (all | back) << 12
                             << "0:0+2 a1 b2 [a,1] | 0:3+2 a1 b2 [b,2] | 1:0+2 c3 a4 [c,3] | "
                                "1:3+2 c3 a4 [a,4] | 2:0+2 a5 [a,5]";
        QTest::newRow("over lines") << "b2\\nc" << start << 0 << "0:3+4 a1 b2c3 a4 []";
        QTest::newRow("none") << "zz" << (wrap | all) << 0 << "";
    }

    void search()
    {
        QFETCH(QString, pattern);
        QFETCH(int, flags);
        QFETCH(int, cursor);
        QFETCH(QString, expected);
        TestCodeDocument doc;
        doc.fromString("a1 b2\nc3 a4\na5");
        QTextCursor at(&doc);
        at.setPosition(cursor);
        doc.setCursor(at);
        QCOMPARE(describe(doc.search(RegExp(pattern), unsigned(flags))), expected);
    }

    void replace()
    {
        TestCodeDocument doc;
        doc.fromString("[Data]\nlife = 1000\npower = 3000\n");
        const Results all = doc.search(RegExp("(\\w+) = (\\d+)"), ProjectFile::FindAll);
        QCOMPARE(all.size(), 2);
        doc.replace(all, "%2 = %1");
        QCOMPARE(doc.toPlainText(), QString("[Data]\n1000 = life\n3000 = power\n"));
        doc.undo(); // both together
        QCOMPARE(doc.toPlainText(), QString("[Data]\nlife = 1000\npower = 3000\n"));
        const Results one = doc.search(RegExp("(\\d)0+"), ProjectFile::FindAll);
        doc.replace(one.mid(1), "x%1");
        doc.replace(one.mid(0, 1), "y");
        QCOMPARE(doc.toPlainText(), QString("[Data]\nlife = y\npower = x3\n"));
        doc.undo(); // each single replacement is its own step
        QCOMPARE(doc.toPlainText(), QString("[Data]\nlife = 1000\npower = x3\n"));
        doc.replace(Results(), "nothing");
        QCOMPARE(doc.toPlainText(), QString("[Data]\nlife = 1000\npower = x3\n"));
    }

    void refusedWriteKeepsOldFile_data()
    {
        QTest::addColumn<bool>("background");
        QTest::newRow("on this thread") << false;
        QTest::newRow("in the background") << true;
    }

    // A disk that takes only part of the text: the old file stays byte for byte, nothing is
    // left beside it, and the document stays modified under its name and says so.
    void refusedWriteKeepsOldFile()
    {
        QFETCH(bool, background);
        QTemporaryDir dir;
        const QString name = dir.path() + "/full.cfg";
        const QByteArray old = "[Data]\r\nx = 1\r\n";
        QVERIFY(ZornTest::writeFile(name, old));
        TestCodeDocument doc;
        QVERIFY(doc.fromFile(FileSystemArchive::instance(), name, 0, nullptr));
        QTextCursor(&doc).insertText(QString("value = 1234567890 ; a long line\n").repeated(4000));
        ZornTest::TestJob job("save");
        {
            ZornTest::FileSizeLimit full(64 * 1024);
            QCOMPARE(doc.toFile(FileSystemArchive::instance(), name,
                                background ? ProjectFile::SaveInBackground : 0, &job),
                     background);
            QVERIFY(!background || waitForName(doc));
        }
        QVERIFY(doc.isModified());
        QCOMPARE(doc.fileName(), name);
        // The job names the file and the system's reason.
        QCOMPARE(job.errors, QStringList("Can't save file '" + name + "'! "
                                         + QString::fromLocal8Bit(std::strerror(EFBIG))));
        QCOMPARE(ZornTest::readFile(name), old);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList("full.cfg"));
    }

    // What cannot be read or written is reported on the job with the system's reason, and
    // the document stays as it was.
    void failuresCarryReasons_data()
    {
        QTest::addColumn<QString>("operation"); // read or save
        QTest::addColumn<QString>("name");      // below the test directory
        QTest::addColumn<int>("error");         // the errno whose text is the reason
        QTest::newRow("read a missing file") << "read" << "missing.cfg" << ENOENT;
        QTest::newRow("save where a file stands in the path") << "save" << "plain/sub/x.cfg"
                                                               << ENOTDIR;
        QTest::newRow("save over a directory") << "save" << "folder" << EISDIR;
    }

    void failuresCarryReasons()
    {
        QFETCH(QString, operation);
        QFETCH(QString, name);
        QFETCH(int, error);
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir("folder"));
        QFile plain(dir.path() + "/plain");
        QVERIFY(plain.open(QIODevice::WriteOnly));
        plain.close();
        TestCodeDocument doc;
        doc.setPlainText("x = 1");
        ZornTest::TestJob job("job");
        const QString path = dir.path() + "/" + name;
        const bool done = operation == "read"
            ? doc.fromFile(FileSystemArchive::instance(), path, 0, &job)
            : doc.toFile(FileSystemArchive::instance(), path, 0, &job);
        QVERIFY(!done);
        const QString what = operation == "read" ? "open" : "save";
        QCOMPARE(job.errors, QStringList(QString("Can't %1 file '%2'! %3")
                                             .arg(what, path, QString::fromLocal8Bit(
                                                                  std::strerror(error)))));
        QCOMPARE(doc.toPlainText(), QString("x = 1"));
        QCOMPARE(doc.fileName(), QString());
    }

    // A read-only file stays read-only: saved over where the process may write it (as root),
    // refused with the reason where it may not.
    void readOnlyFileKeepsItsMode()
    {
        QTemporaryDir dir;
        const QString name = dir.path() + "/locked.cfg";
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("old\r\n");
        file.close();
        QVERIFY(::chmod(QFile::encodeName(name).constData(), 0444) == 0);
        TestCodeDocument doc;
        doc.setPlainText("new");
        ZornTest::TestJob job("job");
        const bool saved = doc.toFile(FileSystemArchive::instance(), name, 0, &job);
        struct stat after;
        QVERIFY(::stat(QFile::encodeName(name).constData(), &after) == 0);
        QCOMPARE(after.st_mode & 07777, mode_t(0444));
        QVERIFY(file.open(QIODevice::ReadOnly));
        if (saved) {
            QCOMPARE(file.readAll(), QByteArray("new"));
            QVERIFY(job.errors.isEmpty());
        } else {
            QCOMPARE(file.readAll(), QByteArray("old\r\n"));
            QCOMPARE(job.errors, QStringList(QString("Can't save file '%1'! %2")
                                                 .arg(name, QString::fromLocal8Bit(
                                                                std::strerror(EACCES)))));
        }
    }

    void ownSavesNeverReload_data()
    {
        QTest::addColumn<QString>("saves"); // s: on this thread, b: in the background
        QTest::addColumn<int>("reloadOption");
        for (const char *saves : {"sb", "bb", "sbb", "bsb"}) {
            QTest::newRow(qPrintable(QString("%1, reload").arg(saves))) << QString(saves) << 1;
            QTest::newRow(qPrintable(QString("%1, ask").arg(saves))) << QString(saves) << 0;
        }
    }

    // However many saves of whatever kind run before their notifications arrive, the document
    // neither reloads nor asks, and keeps what was typed between and after them.
    void ownSavesNeverReload()
    {
        QFETCH(QString, saves);
        QFETCH(int, reloadOption);
        ZornTest::TestInterface host;
        host.options["enable_file_watcher"] = true;
        host.options["showmsg_reload_file"] = reloadOption;
        ZornTest::DialogResponder responder;
        QTemporaryDir dir;
        const QString name = dir.path() + "/own.cfg";
        QVERIFY(ZornTest::writeFile(name, "[Data]\r\n"));
        TestCodeDocument doc;
        QVERIFY(doc.fromFile(FileSystemArchive::instance(), name, 0, nullptr));
        auto type = [&](const QString &text) {
            QTextCursor cursor(&doc);
            cursor.movePosition(QTextCursor::End);
            cursor.insertText(text + "\n");
        };
        for (const QChar kind : saves) {
            type("# " + QString(kind));
            const unsigned int flags = kind == 'b' ? ProjectFile::SaveInBackground : 0;
            QVERIFY(doc.toFile(FileSystemArchive::instance(), name, flags, nullptr));
        }
        type("# after");
        QVERIFY(waitForName(doc));
        QTest::qWait(300); // the notifications arrive
        QVERIFY(doc.toPlainText().endsWith("# after\n"));
        QVERIFY(doc.isModified());
        QVERIFY(responder.seen.isEmpty());
    }
};

QTEST_MAIN(tst_CodeFile)
#include "tst_codefile.moc"
