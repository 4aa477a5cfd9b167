#include "object.h"
#include "object_p.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QList>
#include <QtCore/QTimer>

namespace Zorn {

Object::~Object() = default;
JobStats::~JobStats() = default;
ProgressProvider::~ProgressProvider() = default;

class ProgressiveDeleter::ObjectPrivate
{
public:
    ProgressiveDeleter::Object *successor = nullptr;
    qint32 pending = 0; // queued objects that named this one as their successor
};

class ProgressiveDeleter::Private
{
public:
    QList<ProgressiveDeleter::Object *> queue;
    QTimer timer;
    quint64 deleted = 0;
};

namespace {

// Queues a delayed release() of an Object.
class ProxyObject : public ProgressiveDeleter::Object
{
public:
    explicit ProxyObject(Zorn::Object *object) : object(object) {}
    ~ProxyObject() override { object->release(); }

private:
    Zorn::Object *object;
};

bool postRoutineAdded = false;

} // namespace

ProgressiveDeleter::Object::Object() : d(new ObjectPrivate) {}

ProgressiveDeleter::Object::~Object()
{
    delete d;
}

ProgressiveDeleter::ProgressiveDeleter() : d(new Private)
{
    d->timer.setInterval(10);
    d->timer.setSingleShot(false);
    connect(&d->timer, &QTimer::timeout, this, &ProgressiveDeleter::deleteOne);
}

ProgressiveDeleter::~ProgressiveDeleter()
{
    drain();
    delete d;
}

ProgressiveDeleter &ProgressiveDeleter::instance()
{
    static ProgressiveDeleter deleter;
    return deleter;
}

void ProgressiveDeleter::enqueue(ProgressiveDeleter::Object *object,
                                 ProgressiveDeleter::Object *successor)
{
    if (!postRoutineAdded && QCoreApplication::instance()) {
        qAddPostRoutine(&ProgressiveDeleter::deleteAll);
        postRoutineAdded = true;
    }
    ProgressiveDeleter &deleter = instance();
    if (successor) {
        object->d->successor = successor;
        ++successor->d->pending;
    }
    deleter.d->queue.append(object);
    if (!deleter.d->timer.isActive())
        deleter.d->timer.start();
}

void ProgressiveDeleter::enqueue(Zorn::Object *object, ProgressiveDeleter::Object *successor)
{
    enqueue(new ProxyObject(object), successor);
}

void ProgressiveDeleter::deleteOne()
{
    if (d->queue.isEmpty()) {
        d->timer.stop();
        return;
    }
    deleteObject(d->queue.takeFirst());
}

void ProgressiveDeleter::deleteObject(ProgressiveDeleter::Object *object)
{
    if (object->d->pending < 1) {
        if (ProgressiveDeleter::Object *successor = object->d->successor)
            --successor->d->pending;
        ++d->deleted;
        delete object;
        return;
    }
    // Blocked: let the next one go first, and put this one back behind it on the way out.
    if (!d->queue.isEmpty())
        deleteObject(d->queue.takeFirst());
    d->queue.append(object);
}

void ProgressiveDeleter::deleteAll()
{
    instance().drain();
}

void ProgressiveDeleter::drain()
{
    d->timer.stop();
    while (!d->queue.isEmpty()) {
        // With an acyclic successor relation every pass deletes one object. A pass that
        // deletes none found only a cycle of blockers: it is left alive rather than
        // destroying a successor before the objects that it waits for.
        const quint64 before = d->deleted;
        deleteObject(d->queue.takeFirst());
        if (d->deleted == before) {
            d->queue.clear();
            return;
        }
    }
}

int DeleterProbe::queued()
{
    return ProgressiveDeleter::instance().d->queue.size();
}

bool DeleterProbe::running()
{
    return ProgressiveDeleter::instance().d->timer.isActive();
}

void DeleterProbe::tick()
{
    ProgressiveDeleter::instance().deleteOne();
}

} // namespace Zorn
