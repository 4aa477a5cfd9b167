#include "dialogresponder.h"
#include "fixtures.h"
#include "testinterface.h"

#include <zornx/core/archive.h>

#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <cstdio>
#include <cstring>

using namespace Zorn;

namespace {

QByteArray contents(char fill, int size)
{
    QByteArray bytes(size, fill);
    for (int i = 0; i < size; i += 100)
        bytes[i] = '\n';
    return bytes;
}

const int chunkSize = 16384;
const int chunks = 40;

// The child: rewrites the file slowly with 'n' bytes through the crash-safe writer, and says
// "ready" once the device is open, so that the parent can kill it anywhere in between.
int childWriter(const QString &name)
{
    FileSystemArchive &fs = FileSystemArchive::instance();
    QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
    if (!device)
        return 2;
    std::puts("ready");
    std::fflush(stdout);
    const QByteArray bytes = contents('n', chunkSize * chunks);
    for (int i = 0; i < chunks; ++i) {
        device->write(bytes.constData() + i * chunkSize, chunkSize);
        static_cast<QFileDevice *>(device)->flush();
        QThread::usleep(1500);
    }
    fs.closeFile(device);
    return 0;
}

QString temporaryOf(const QString &dir, const QString &target)
{
    const QStringList names = QDir(dir).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    for (const QString &n : names)
        if (n.startsWith(target) && n.size() == target.size() + 6)
            return dir + "/" + n;
    return QString();
}

} // namespace

class tst_FileWriter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void killedWriterLeavesOldOrNewFile()
    {
        QTemporaryDir dir;
        const QString name = dir.path() + "/victim.txt";
        const QByteArray newBytes = contents('n', chunkSize * chunks);
        int sawOld = 0, sawNew = 0;
        for (int round = 0; round < 40; ++round) {
            const QByteArray oldBytes = contents(char('a' + round % 26), 100000 + round);
            QVERIFY(ZornTest::writeFile(name, oldBytes));
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(), {"--child-writer", name});
            QVERIFY(child.waitForStarted());
            QVERIFY(child.waitForReadyRead(10000));
            // Kill anywhere from the first write to a little after the commit.
            QThread::usleep(QRandomGenerator::global()->bounded(chunks * 1500 + 40000));
            child.kill();
            child.waitForFinished();
            const QByteArray now = ZornTest::readFile(name);
            QVERIFY2(now == oldBytes || now == newBytes,
                     qPrintable(QString("round %1: %2 bytes").arg(round).arg(now.size())));
            (now == oldBytes ? sawOld : sawNew)++;
        }
        qInfo("old file kept %d times, new file complete %d times", sawOld, sawNew);
    }

    // Each way a commit or a discard can fail: the exact question, and what stays on disk
    // when the user gives up. The removal's question also retries when answered Yes.
    void failuresAsk_data()
    {
        QTest::addColumn<int>("sabotage");
        QTest::addColumn<bool>("discard");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        QTest::newRow("target cannot be replaced")
            << 0 << false << "File error!"
            << "Can't replace contents of file '%1'. Do you want to try again?\nObs.: You can "
               "delete the file and rename the temporary one manually. Seems that something is "
               "preventing the file to be replaced.";
        QTest::newRow("temporary file vanished")
            << 1 << false << "File rename error!"
            << "Can't rename temporary file to '%1'. Do you want to try again?\nObs.: You can "
               "rename it manually. Seems that something is preventing the file to be renamed.";
        QTest::newRow("temporary file cannot be removed")
            << 2 << true << "File remove error!"
            << "Can't remove temporary file to '%1'. Do you want to try again?\nObs.: You can "
               "remove it manually. Seems that something is preventing the file to be removed.";
    }
    void failuresAsk()
    {
        QFETCH(int, sabotage);
        QFETCH(bool, discard);
        QFETCH(QString, title);
        QFETCH(QString, text);
        QTemporaryDir dir;
        const QString name = dir.path() + "/file.txt";
        FileSystemArchive &fs = FileSystemArchive::instance();
        ZornTest::TestInterface host; // only a host is asked
        ZornTest::DialogResponder responder;
        for (const QMessageBox::StandardButton answer : {QMessageBox::No, QMessageBox::Yes}) {
            if (answer == QMessageBox::Yes && sabotage != 0)
                break;
            QVERIFY(ZornTest::writeFile(name, "old"));
            QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
            device->write("new");
            static_cast<QFileDevice *>(device)->flush();
            const QString temporary = temporaryOf(dir.path(), "file.txt");
            if (sabotage == 0) { // a non-empty directory where the file was
                QVERIFY(QFile::remove(name));
                QVERIFY(QDir(dir.path()).mkpath("file.txt/blocker"));
            } else {
                QVERIFY(QFile::remove(temporary));
                if (sabotage == 2)
                    QVERIFY(QDir().mkpath(temporary + "/blocker"));
            }
            // Yes after the obstacle has gone: the retry goes through.
            std::function<void()> clear;
            if (answer == QMessageBox::Yes)
                clear = [&] { QDir(name).removeRecursively(); };
            responder.answer(answer, clear);
            if (discard)
                fs.discardFile(device);
            else
                QCOMPARE(fs.closeFile(device), answer == QMessageBox::Yes);
            QCOMPARE(responder.seen.last().title, title);
            QCOMPARE(responder.seen.last().text, text.arg(name));
            if (answer == QMessageBox::Yes)
                QCOMPARE(ZornTest::readFile(name), QByteArray("new"));
            else if (sabotage == 0)
                QVERIFY(QFileInfo(name).isDir()); // the new contents are dropped
            else
                QCOMPARE(ZornTest::readFile(name), QByteArray("old"));
            if (sabotage != 2)
                QVERIFY(temporaryOf(dir.path(), "file.txt").isEmpty());
            QDir(name).removeRecursively();
        }
    }

    // A write that the system refuses (a full disk) or an open that cannot copy the old
    // contents: the old file stays byte for byte, nothing else is left in the directory, the
    // caller hears of it, and nobody is asked (there is no host to ask).
    void refusedWrites_data()
    {
        QTest::addColumn<int>("oldSize"); // -1: no file yet; -2: a directory stands there
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("outcome"); // 0: the open fails, 1: closeFile() commits, 2: it does not
        const int w = QIODevice::WriteOnly;
        QTest::newRow("replace") << 1000 << w << 2;
        QTest::newRow("new file") << -1 << w << 2;
        QTest::newRow("append") << 1000 << int(w | QIODevice::Append) << 2;
        QTest::newRow("read-write, copy refused") << 100000 << int(QIODevice::ReadWrite) << 0;
        QTest::newRow("read-write, unreadable target") << -2 << int(QIODevice::ReadWrite) << 0;
        QTest::newRow("within the limit") << 1000 << w << 1;
    }
    void refusedWrites()
    {
        QFETCH(int, oldSize);
        QFETCH(int, mode);
        QFETCH(int, outcome);
        QTemporaryDir dir;
        const QString name = dir.path() + "/victim.txt";
        const QByteArray oldBytes = oldSize >= 0 ? contents('o', oldSize) : QByteArray();
        if (oldSize >= 0)
            QVERIFY(ZornTest::writeFile(name, oldBytes));
        if (oldSize == -2)
            QVERIFY(QDir().mkpath(name + "/inside"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        int result = 0;
        {
            ZornTest::FileSizeLimit full(65536);
            if (QIODevice *device = fs.openFile(name, QIODevice::OpenMode(mode))) {
                device->write(contents('n', outcome == 1 ? 1000 : 300000));
                result = fs.closeFile(device) ? 1 : 2;
            }
        }
        QCOMPARE(result, outcome);
        QStringList expected;
        if (outcome == 1) {
            QCOMPARE(ZornTest::readFile(name).size(), (mode & QIODevice::Append) ? 2000 : 1000);
            expected << "victim.txt";
        } else if (oldSize != -1) {
            if (oldSize >= 0)
                QCOMPARE(ZornTest::readFile(name), oldBytes);
            else
                QVERIFY(QFileInfo(name + "/inside").isDir());
            expected << "victim.txt";
        }
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), expected);
    }
};

int main(int argc, char **argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--child-writer") == 0) {
        QCoreApplication app(argc, argv);
        return childWriter(QString::fromLocal8Bit(argv[2]));
    }
    QApplication app(argc, argv);
    tst_FileWriter test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_filewriter.moc"
