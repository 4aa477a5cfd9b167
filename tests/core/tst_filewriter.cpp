#include "dialogresponder.h"
#include "fixtures.h"

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

    void failedRemovalAsksAndRetries()
    {
        QTemporaryDir dir;
        const QString name = dir.path() + "/file.txt";
        QVERIFY(ZornTest::writeFile(name, "old"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
        device->write("new");
        // Something puts a non-empty directory where the file was: it cannot be replaced.
        QVERIFY(QFile::remove(name));
        QVERIFY(QDir(dir.path()).mkpath("file.txt/blocker"));

        ZornTest::DialogResponder responder;
        responder.answer(QMessageBox::Yes, [&] { QDir(name).removeRecursively(); });
        fs.closeFile(device);
        QCOMPARE(responder.seen.size(), 1);
        QCOMPARE(responder.seen[0].title, QString("File error!"));
        QCOMPARE(responder.seen[0].text,
                 QString("Can't replace contents of file '%1'. Do you want to try again?\nObs.: "
                         "You can delete the file and rename the temporary one manually. Seems "
                         "that something is preventing the file to be replaced.")
                     .arg(name));
        QCOMPARE(ZornTest::readFile(name), QByteArray("new"));
        QVERIFY(temporaryOf(dir.path(), "file.txt").isEmpty());

        // Giving up drops the new contents and leaves what is there alone.
        device = fs.openFile(name, QIODevice::WriteOnly);
        device->write("newer");
        QVERIFY(QFile::remove(name));
        QVERIFY(QDir(dir.path()).mkpath("file.txt/blocker"));
        responder.answer(QMessageBox::No);
        fs.closeFile(device);
        QCOMPARE(responder.seen.size(), 2);
        QVERIFY(QFileInfo(name).isDir());
        QVERIFY(temporaryOf(dir.path(), "file.txt").isEmpty());
    }

    void failedRenameAsksAndKeepsOldFile()
    {
        QTemporaryDir dir;
        const QString name = dir.path() + "/file.txt";
        QVERIFY(ZornTest::writeFile(name, "old"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
        device->write("new");
        static_cast<QFileDevice *>(device)->flush();
        const QString temporary = temporaryOf(dir.path(), "file.txt");
        QVERIFY(!temporary.isEmpty());
        QVERIFY(QFile::remove(temporary)); // the new contents vanish before the commit

        ZornTest::DialogResponder responder;
        responder.answer(QMessageBox::No);
        fs.closeFile(device);
        QCOMPARE(responder.seen.size(), 1);
        QCOMPARE(responder.seen[0].title, QString("File rename error!"));
        QCOMPARE(responder.seen[0].text,
                 QString("Can't rename temporary file to '%1'. Do you want to try again?\nObs.: "
                         "You can rename it manually. Seems that something is preventing the "
                         "file to be renamed.")
                     .arg(name));
        QCOMPARE(ZornTest::readFile(name), QByteArray("old"));
    }

    void failedDiscardAsks()
    {
        QTemporaryDir dir;
        const QString name = dir.path() + "/file.txt";
        QVERIFY(ZornTest::writeFile(name, "old"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
        const QString temporary = temporaryOf(dir.path(), "file.txt");
        QVERIFY(QFile::remove(temporary));
        QVERIFY(QDir().mkpath(temporary + "/blocker"));

        ZornTest::DialogResponder responder;
        responder.answer(QMessageBox::No);
        fs.discardFile(device);
        QCOMPARE(responder.seen.size(), 1);
        QCOMPARE(responder.seen[0].title, QString("File remove error!"));
        QCOMPARE(responder.seen[0].text,
                 QString("Can't remove temporary file to '%1'. Do you want to try again?\nObs.: "
                         "You can remove it manually. Seems that something is preventing the "
                         "file to be removed.")
                     .arg(name));
        QCOMPARE(ZornTest::readFile(name), QByteArray("old"));
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
