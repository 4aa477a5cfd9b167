#include "dialogresponder.h"
#include "fixtures.h"
#include "memoryarchive.h"
#include "testengine.h"
#include "testinterface.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

using namespace Zorn;
using ZornTest::TestIniFile;

namespace {

// Files are released, not deleted: a small owner for the tests.
struct Files
{
    ~Files()
    {
        for (TestIniFile *f : list)
            f->release();
    }
    TestIniFile *open(const QString &name)
    {
        auto *file = new TestIniFile;
        list.append(file);
        if (!file->fromFile(FileSystemArchive::instance(), name, 0, nullptr))
            return nullptr;
        return file;
    }
    QList<TestIniFile *> list;
};

void writeOutside(const QString &name, const QByteArray &bytes)
{
    QFile file(name);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Append));
    file.write(bytes);
}

// Lets go of itself when told to reload.
class SelfReleasingFile : public TestIniFile
{
public:
    ~SelfReleasingFile() override { *gone = true; }
    void reload() override { release(); }
    bool *gone = nullptr;
};

// Long enough for a notification that is coming to arrive.
void settle()
{
    QTest::qWait(300);
}

} // namespace

class tst_FileWatch : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir dir;
    QString name;
    std::unique_ptr<ZornTest::TestInterface> host;

private Q_SLOTS:
    void init()
    {
        name = dir.path() + "/watched.ini";
        QVERIFY(ZornTest::writeFile(name, "a = 1\n"));
        host = std::make_unique<ZornTest::TestInterface>();
        host->options["enable_file_watcher"] = true;
        host->options["showmsg_reload_file"] = 1;
    }
    void cleanup() { host.reset(); }

    void ownSaveDoesNotReloadButOthersDo()
    {
        Files files;
        TestIniFile *writer = files.open(name);
        TestIniFile *reader = files.open(name);
        QVERIFY(writer && reader);
        writer->setValue("a", "2");
        QVERIFY(writer->toFile(FileSystemArchive::instance(), name, 0, nullptr));
        QTRY_COMPARE(reader->reloads, 1);
        QCOMPARE(reader->value("a"), QString("2"));
        settle();
        QCOMPARE(writer->reloads, 0);
        QCOMPARE(reader->reloads, 1);

        // The watch survived the replacement: a later outside change reaches both.
        writeOutside(name, "b = 3\n");
        QTRY_COMPARE(writer->reloads, 1);
        QTRY_COMPARE(reader->reloads, 2);
        QCOMPARE(writer->value("b"), QString("3"));
    }

    void pauseSwallowsExactlyOneNotification()
    {
        Files files;
        TestIniFile *file = files.open(name);
        file->pauseWatch(true);
        writeOutside(name, "b = 1\n");
        settle();
        QCOMPARE(file->reloads, 0);
        writeOutside(name, "c = 1\n");
        QTRY_COMPARE(file->reloads, 1);
    }

    void copiesAndOtherArchivesLeaveTheWatchAlone()
    {
        Files files;
        TestIniFile *file = files.open(name);
        // A copy elsewhere neither moves the watch nor arms skipNext.
        QVERIFY(file->toFile(FileSystemArchive::instance(), dir.path() + "/copy.ini",
                             ProjectFile::Copy, nullptr));
        QCOMPARE(file->fileName(), name);
        writeOutside(name, "b = 1\n");
        QTRY_COMPARE(file->reloads, 1);
        writeOutside(dir.path() + "/copy.ini", "x = 1\n");
        settle();
        QCOMPARE(file->reloads, 1);

        // Only the file system archive is watched: loading from another changes nothing.
        ZornTest::MemoryArchive memory;
        file->fileLoaded(memory, "m.ini", false);
        writeOutside(name, "c = 1\n");
        QTRY_COMPARE(file->reloads, 2);
    }

    void disabledWatcherAndAskingHost()
    {
        Files files;
        TestIniFile *file = files.open(name);
        host->options["enable_file_watcher"] = false;
        writeOutside(name, "b = 1\n");
        settle();
        QCOMPARE(file->reloads, 0);

        host->options["enable_file_watcher"] = true;
        host->options["showmsg_reload_file"] = 0;
        ZornTest::DialogResponder responder;
        responder.answer(QMessageBox::No);
        writeOutside(name, "c = 1\n");
        QTRY_COMPARE(responder.seen.size(), 1);
        QCOMPARE(responder.seen[0].title, QString("File modified"));
        QVERIFY(responder.seen[0].text.startsWith(
            QString("The file '%1' has been modified. Do you want to reload all other "
                    "instances of this file now?\n")
                .arg(name)));
        settle();
        QCOMPARE(file->reloads, 0);

        responder.answer(QMessageBox::Yes);
        writeOutside(name, "d = 1\n");
        QTRY_COMPARE(file->reloads, 1);
    }

    void lastObjectGoesInsideTheSlot_data()
    {
        QTest::addColumn<bool>("duringQuestion");
        QTest::newRow("during the question") << true;
        QTest::newRow("during the reload") << false;
    }

    // The last watched object goes while the manager's slot asks or reloads: the manager
    // outlives its slot, and a new object afterwards is watched as ever.
    void lastObjectGoesInsideTheSlot()
    {
        QFETCH(bool, duringQuestion);
        bool gone = false;
        auto *file = new SelfReleasingFile;
        file->gone = &gone;
        QVERIFY(file->fromFile(FileSystemArchive::instance(), name, 0, nullptr));
        host->options["showmsg_reload_file"] = duringQuestion ? 0 : 1;
        ZornTest::DialogResponder responder;
        responder.answer(QMessageBox::No, [file] { file->release(); });
        writeOutside(name, "b = 1\n");
        QTRY_VERIFY(gone);
        settle();

        host->options["showmsg_reload_file"] = 1;
        Files files;
        TestIniFile *next = files.open(name);
        writeOutside(name, "c = 1\n");
        QTRY_COMPARE(next->reloads, 1);
    }

    void closedFileStopsWatching()
    {
        Files files;
        TestIniFile *first = files.open(name);
        TestIniFile *second = files.open(name);
        files.list.removeOne(first);
        first->release(); // destroyed while watching: the entry keeps only the second
        writeOutside(name, "b = 1\n");
        QTRY_COMPARE(second->reloads, 1);
        // Loading another name moves the object's watch.
        const QString other = dir.path() + "/other.ini";
        writeOutside(other, "x = 1\n");
        QVERIFY(second->fromFile(FileSystemArchive::instance(), other, 0, nullptr));
        writeOutside(name, "c = 1\n");
        settle();
        QCOMPARE(second->reloads, 1);
        writeOutside(other, "y = 1\n");
        QTRY_COMPARE(second->reloads, 2);
    }
};

QTEST_MAIN(tst_FileWatch)
#include "tst_filewatch.moc"
