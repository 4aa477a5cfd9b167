#include <zornx/core/object.h>
#include <zornx/core/object_p.h>

#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <cstdio>
#include <cstring>

using Zorn::DeleterProbe;
using Zorn::ProgressiveDeleter;

namespace {

QStringList gone;

class Named : public ProgressiveDeleter::Object
{
public:
    explicit Named(const QString &name) : name(name) {}
    ~Named() override { gone.append(name); }
    QString name;
};

// A reference-counted object that records releases and its own deletion.
class Counted : public Zorn::Object
{
public:
    void release() override
    {
        ++releases;
        if (--count == 0)
            deleted = true;
    }
    int count = 1;
    int releases = 0;
    bool deleted = false;
};

} // namespace

class tst_Deleter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QTRY_VERIFY(!DeleterProbe::running());
        gone.clear();
    }

    void successorGoesLastWhereverItStood()
    {
        auto *successor = new Named("s");
        auto *first = new Named("a");
        auto *second = new Named("b");
        ProgressiveDeleter::enqueue(successor);
        ProgressiveDeleter::enqueue(first, successor);
        ProgressiveDeleter::enqueue(second, successor);
        // One object per tick, and never the successor while anything names it.
        DeleterProbe::tick();
        QCOMPARE(gone, QStringList({"a"}));
        DeleterProbe::tick();
        QCOMPARE(gone, QStringList({"a", "b"}));
        DeleterProbe::tick();
        QCOMPARE(gone, QStringList({"a", "b", "s"}));
        QCOMPARE(DeleterProbe::queued(), 0);
    }

    void blockedRunMovesToTailReversed()
    {
        // p and q are blocked by r and s; one tick deletes r and leaves s, q, p.
        auto *p = new Named("p");
        auto *q = new Named("q");
        ProgressiveDeleter::enqueue(p);
        ProgressiveDeleter::enqueue(q);
        ProgressiveDeleter::enqueue(new Named("r"), p);
        ProgressiveDeleter::enqueue(new Named("s"), q);
        DeleterProbe::tick();
        QCOMPARE(gone, QStringList({"r"}));
        QCOMPARE(DeleterProbe::queued(), 3);
        for (int i = 0; i < 3; ++i)
            DeleterProbe::tick();
        QCOMPARE(gone, QStringList({"r", "s", "q", "p"}));
    }

    void blockedHeadReturnsToTail()
    {
        auto *held = new Named("held");
        ProgressiveDeleter::enqueue(held);
        ProgressiveDeleter::enqueue(new Named("x"), held);
        DeleterProbe::tick(); // held is blocked: x goes in its place, held goes back
        QCOMPARE(gone, QStringList({"x"}));
        QCOMPARE(DeleterProbe::queued(), 1);
        QVERIFY(DeleterProbe::running());
        DeleterProbe::tick();
        QCOMPARE(gone, QStringList({"x", "held"}));
        DeleterProbe::tick();
        QVERIFY(!DeleterProbe::running());
    }

    void timerStopsOneTickAfterEmptyAndRestarts()
    {
        ProgressiveDeleter::enqueue(new Named("one"));
        QVERIFY(DeleterProbe::running());
        DeleterProbe::tick();
        QCOMPARE(gone, QStringList({"one"}));
        QVERIFY(DeleterProbe::running()); // the empty queue is found on the next tick
        DeleterProbe::tick();
        QVERIFY(!DeleterProbe::running());
        ProgressiveDeleter::enqueue(new Named("two"));
        QVERIFY(DeleterProbe::running());
        QTRY_COMPARE(gone, QStringList({"one", "two"}));
        QTRY_VERIFY(!DeleterProbe::running());
    }

    void objectIsReleasedNotDeleted()
    {
        Counted shared;
        shared.count = 2; // another holder keeps it alive
        ProgressiveDeleter::enqueue(&shared);
        QCOMPARE(shared.releases, 0); // never at once: at least one tick later
        QTRY_COMPARE(shared.releases, 1);
        QVERIFY(!shared.deleted);
        QCOMPARE(shared.count, 1);
    }

    void eventLoopDrainsInOrder()
    {
        auto *successor = new Named("last");
        ProgressiveDeleter::enqueue(successor);
        for (int i = 0; i < 5; ++i)
            ProgressiveDeleter::enqueue(new Named(QString::number(i)), successor);
        QTRY_COMPARE(gone.size(), 6);
        QCOMPARE(gone, QStringList({"0", "1", "2", "3", "4", "last"}));
    }
};


// The child: queues one object before the application exists and one after, then ends the
// application. The post routine, registered by the second enqueue, deletes both before the
// application object is gone.
static int postRoutineChild(int argc, char **argv)
{
    struct Loud : ProgressiveDeleter::Object
    {
        explicit Loud(const char *name) : name(name) {}
        ~Loud() override { std::printf("deleted %s\n", name); }
        const char *name;
    };
    ProgressiveDeleter::enqueue(new Loud("before"));
    {
        QCoreApplication app(argc, argv);
        ProgressiveDeleter::enqueue(new Loud("after"));
        std::printf("app ends\n");
    }
    std::printf("app gone\n");
    std::fflush(stdout);
    return 0;
}

class tst_DeleterExit : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void postRoutineDrainsAtApplicationEnd()
    {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {"--post-routine-child"});
        QVERIFY(child.waitForFinished());
        QCOMPARE(QString(child.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts),
                 QStringList({"app ends", "deleted before", "deleted after", "app gone"}));
    }
};

int main(int argc, char **argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--post-routine-child") == 0)
        return postRoutineChild(argc, argv);
    QCoreApplication app(argc, argv);
    tst_Deleter deleter;
    tst_DeleterExit exit;
    return QTest::qExec(&deleter, argc, argv) | QTest::qExec(&exit, argc, argv);
}
#include "tst_deleter.moc"
