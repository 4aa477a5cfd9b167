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

    // A queue given as "name" or "name>successor" entries, ticked once per step: one object
    // per tick, never a successor while anything still names it, a blocked run moved to the
    // tail in reverse.
    void tickOrder_data()
    {
        QTest::addColumn<QStringList>("queue");
        QTest::addColumn<QStringList>("gone"); // after each tick, joined
        QTest::newRow("successor last wherever it stood")
            << QStringList{"s", "a>s", "b>s"} << QStringList{"a", "ab", "abs"};
        QTest::newRow("blocked run to the tail, reversed")
            << QStringList{"p", "q", "r>p", "s>q"} << QStringList{"r", "rs", "rsq", "rsqp"};
        QTest::newRow("blocked head back to the tail")
            << QStringList{"h", "x>h"} << QStringList{"x", "xh", "xh"};
    }
    void tickOrder()
    {
        QFETCH(QStringList, queue);
        QFETCH(QStringList, gone);
        QMap<QString, Named *> made;
        for (const QString &entry : queue) {
            auto *object = new Named(entry.left(1));
            made.insert(object->name, object);
            ProgressiveDeleter::enqueue(object, made.value(entry.mid(2)));
        }
        for (const QString &expected : gone) {
            DeleterProbe::tick();
            QCOMPARE(::gone.join(QString()), expected);
        }
        QCOMPARE(DeleterProbe::queued(), 0);
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
