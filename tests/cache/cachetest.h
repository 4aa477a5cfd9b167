#ifndef ZORNX_TESTS_CACHETEST_H
#define ZORNX_TESTS_CACHETEST_H

#include <zornx/cache/filecache.h>
#include <zornx/cache/streamcache_p.h>

#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <functional>
#include <memory>

inline QByteArray reversed(QByteArray bytes)
{
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

inline int itemCount(const Zorn::StreamCache *cache)
{
    Zorn::StreamCachePrivate *d = Zorn::StreamCachePrivate::get(cache);
    QMutexLocker locker(&d->mutex);
    return d->items.size();
}

// Encoding 1 stores the bytes reversed, and is that of files ending in ".rev"; any other
// encoding is refused. Decodes are counted.
class TestCodec : public Zorn::FileCache::FileCodec
{
public:
    bool decode(unsigned int encoding, void *, const QByteArray &raw, QByteArray *data) override
    {
        decodes.ref();
        return encode(encoding, nullptr, raw, data);
    }
    bool encode(unsigned int encoding, void *, const QByteArray &data, QByteArray *raw) override
    {
        *raw = reversed(data);
        return encoding == 1;
    }
    unsigned int encodingForSuffix(const QString &suffix) override { return suffix == "rev"; }

    QAtomicInt decodes;
};

// Work on the global pool, started and waited for so that ThreadSanitizer sees the hand-over.
class Workers
{
public:
    ~Workers() { wait(); }
    void start(std::function<void()> work)
    {
        auto *job = new std::function<void()>(std::move(work));
        futures.append(QtConcurrent::run([task = Zorn::TaskPointer<std::function<void()>>(job)] {
            std::unique_ptr<std::function<void()>>(task.get())->operator()();
            ZORNX_HAPPENS_BEFORE(&finished);
        }));
    }
    bool running() const
    {
        return std::any_of(futures.begin(), futures.end(),
                           [](const QFuture<void> &future) { return !future.isFinished(); });
    }
    void wait()
    {
        for (QFuture<void> &future : futures)
            future.waitForFinished();
        ZORNX_HAPPENS_AFTER(&finished);
    }

private:
    static inline char finished;
    QList<QFuture<void>> futures;
};

#endif
