#ifndef ZORNX_CORE_OBJECT_H
#define ZORNX_CORE_OBJECT_H

#include <zornx/global.h>

#include <QtCore/QObject>

class QString;

namespace Zorn {

// Interface of everything reference-counted. Each family keeps its own count and decides in
// release() what giving up the last reference means.
class ZORNX_EXPORT Object
{
public:
    virtual void release() = 0;
    virtual ~Object();
};

// Spreads the destruction of queued objects over the ticks of a 10 ms timer, one object per
// tick, so that the event loop runs between expensive destructions.
class ZORNX_EXPORT ProgressiveDeleter : public QObject
{
    Q_OBJECT
public:
    class ObjectPrivate;

    // Base of everything that can wait in the queue.
    class ZORNX_EXPORT Object
    {
    public:
        Object();
        virtual ~Object();

    private:
        Q_DISABLE_COPY(Object)
        friend class ProgressiveDeleter;
        ObjectPrivate *d;
    };

    // Queues object; a non-null successor is destroyed only after object.
    static void enqueue(ProgressiveDeleter::Object *object,
                        ProgressiveDeleter::Object *successor = nullptr);
    // Queues a delayed release() of object (not a delete).
    static void enqueue(Zorn::Object *object, ProgressiveDeleter::Object *successor = nullptr);

    ~ProgressiveDeleter() override;

private Q_SLOTS:
    void deleteOne();

private:
    friend struct DeleterProbe;
    ProgressiveDeleter();
    static ProgressiveDeleter &instance();
    void deleteObject(ProgressiveDeleter::Object *object);
    static void deleteAll();
    void drain();

    class Private;
    Private *d;
};

// Progress sink of one long operation, supplied by the host.
class ZORNX_EXPORT JobStats
{
public:
    virtual ~JobStats();
    virtual void error(const QString &text) = 0;
    virtual void setMaximum(unsigned int maximum) = 0;
    virtual void setValue(unsigned int value) = 0;
    virtual void incrementValue() = 0;
    virtual bool wasCancelled() const = 0;
};

// What ProgressProvider::newJob hands out: a job that can be told it runs in the background.
class ZORNX_EXPORT ProviderJob : public JobStats
{
public:
    virtual void setBackground(bool background) = 0;
};

// Factory of jobs, supplied by the host, which keeps ownership of every job it makes.
class ZORNX_EXPORT ProgressProvider
{
public:
    virtual ~ProgressProvider();
    // Every caller in the library passes 0 as flags.
    virtual ProviderJob *newJob(const QString &title, int flags) = 0;
};

} // namespace Zorn

#endif
