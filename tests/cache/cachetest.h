#ifndef ZORNX_TESTS_CACHETEST_H
#define ZORNX_TESTS_CACHETEST_H

#include <zornx/cache/filecache.h>
#include <zornx/cache/streamcache_p.h>

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QAtomicInt>
#include <QtCore/QByteArray>

#include <algorithm>
#include <functional>
#include <memory>

// A codec of the tests: encoding 1 stores the bytes reversed, encoding 2 always refuses.
// Files ending in ".rev" hold encoding 1. It counts decodes, so that tests can tell which
// comparisons decoded.
class TestCodec : public Zorn::FileCache::FileCodec
{
public:
    bool decode(unsigned int encoding, void *, const QByteArray &raw, QByteArray *data) override
    {
        decodes.ref();
        return transform(encoding, raw, data);
    }
    bool encode(unsigned int encoding, void *, const QByteArray &data, QByteArray *raw) override
    {
        return transform(encoding, data, raw);
    }
    unsigned int encodingForSuffix(const QString &suffix) override
    {
        return suffix == QLatin1String("rev") ? 1 : 0;
    }

    QAtomicInt decodes;

private:
    static bool transform(unsigned int encoding, const QByteArray &in, QByteArray *out)
    {
        if (encoding != 1)
            return false;
        *out = in;
        std::reverse(out->begin(), out->end());
        return true;
    }
};

inline QByteArray reversed(QByteArray bytes)
{
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

// Work on the global thread pool. ThreadSanitizer cannot see the pool hand a task over nor a
// future finish, since Qt is not built with it; starting and waiting through this tells it.
class Workers
{
public:
    ~Workers() { wait(); }
    template <typename Work>
    void start(Work work)
    {
        auto *job = new std::function<void()>(work);
        futures.append(QtConcurrent::run([task = Zorn::TaskPointer<std::function<void()>>(job)] {
            std::unique_ptr<std::function<void()>> job(task.get());
            (*job)();
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
