#ifndef ZORNX_CACHE_STREAMCACHE_P_H
#define ZORNX_CACHE_STREAMCACHE_P_H

#include <zornx/cache/streamcache.h>

#include <QtCore/QAtomicPointer>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QReadWriteLock>

// Qt is not built with ThreadSanitizer, so it cannot see what QMutex, QReadWriteLock or the
// thread pool order. The caches tell it at each hand-over; elsewhere these are no-ops.
#if defined(__SANITIZE_THREAD__)
#define ZORNX_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ZORNX_TSAN 1
#endif
#endif
#ifdef ZORNX_TSAN
#include <sanitizer/tsan_interface.h>
#define ZORNX_HAPPENS_BEFORE(address) __tsan_release(const_cast<void *>(static_cast<const void *>(address)))
#define ZORNX_HAPPENS_AFTER(address) __tsan_acquire(const_cast<void *>(static_cast<const void *>(address)))
#else
#define ZORNX_HAPPENS_BEFORE(address) static_cast<void>(address)
#define ZORNX_HAPPENS_AFTER(address) static_cast<void>(address)
#endif

namespace Zorn {

// A pointer handed to a task of the thread pool. Qt is not built with ThreadSanitizer, so
// it cannot see the pool hand a task over; the atomic release and acquire of the pointer
// itself show it that what was done before the task was made comes before the task runs.
template <typename T>
class TaskPointer
{
public:
    explicit TaskPointer(T *value) { pointer.storeRelease(value); }
    TaskPointer(const TaskPointer &other) { pointer.storeRelease(other.get()); }
    TaskPointer &operator=(const TaskPointer &) = delete;
    T *get() const { return pointer.loadAcquire(); }

private:
    QAtomicPointer<T> pointer;
};

class CacheMutexLocker
{
public:
    explicit CacheMutexLocker(QMutex *mutex) : mutex(mutex)
    {
        mutex->lock();
        ZORNX_HAPPENS_AFTER(mutex);
    }
    ~CacheMutexLocker()
    {
        ZORNX_HAPPENS_BEFORE(mutex);
        mutex->unlock();
    }

private:
    Q_DISABLE_COPY(CacheMutexLocker)
    QMutex *mutex;
};

// Read and write lockers of a QReadWriteLock, seen by ThreadSanitizer as one mutex.
class CacheReadLocker
{
public:
    explicit CacheReadLocker(QReadWriteLock *lock) : lock(lock)
    {
        lock->lockForRead();
        ZORNX_HAPPENS_AFTER(lock);
    }
    ~CacheReadLocker()
    {
        ZORNX_HAPPENS_BEFORE(lock);
        lock->unlock();
    }

private:
    Q_DISABLE_COPY(CacheReadLocker)
    QReadWriteLock *lock;
};

class CacheWriteLocker
{
public:
    explicit CacheWriteLocker(QReadWriteLock *lock) : lock(lock)
    {
        lock->lockForWrite();
        ZORNX_HAPPENS_AFTER(lock);
    }
    ~CacheWriteLocker()
    {
        ZORNX_HAPPENS_BEFORE(lock);
        lock->unlock();
    }

private:
    Q_DISABLE_COPY(CacheWriteLocker)
    QReadWriteLock *lock;
};

class StreamCachePrivate
{
public:
    explicit StreamCachePrivate(StreamCache::Codec *codec) : codec(codec) {}

    static StreamCachePrivate *get(const StreamCache *cache) { return cache->d; }
    // A new item of cache's own kind, appended to its items under its mutex.
    static StreamCache::Item *addItem(StreamCache *cache, const QVariant &info);
    // The item's CRC, computed from its data when it is not known yet.
    static unsigned int knownCrc(StreamCache::Item *item);
    // Takes an item whose count reached 0 out of its cache, and deletes it.
    static void dispose(StreamCache::Item *item);
    // A reference to an item whose count has not reached 0 yet; false for a dying one.
    static bool tryAddRef(StreamCache::Item *item);

    StreamCache::Codec *codec;
    QList<StreamCache::Item *> items;
    QMutex mutex;
};

} // namespace Zorn

#endif
