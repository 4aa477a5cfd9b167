#ifndef ZORNX_CACHE_ASYNCFILECACHE_H
#define ZORNX_CACHE_ASYNCFILECACHE_H

#include <zornx/cache/streamcache.h>

#include <QtCore/QAtomicPointer>
#include <QtCore/QFuture>
#include <QtCore/QObject>

namespace Zorn {

class AsyncFileCachePrivate;

// Reads blobs out of one large file on the global thread pool, one job per item, and hands
// each to a target cache (which it owns) once it is in. itemLoaded() comes from the worker
// thread: connect to it queued.
class ZORNX_EXPORT AsyncFileCache : public QObject, public StreamCache
{
    Q_OBJECT
public:
    class ZORNX_EXPORT Item : public StreamCache::Item
    {
    public:
        // Where a blob lies in the file and what it is. Neither a CRC nor an encoding means
        // "work the CRC out from the bytes".
        struct Info
        {
            qint64 offset = 0;
            unsigned int size = 0;
            unsigned int crc = 0;
            unsigned int encoding = 0;
            void *codecData = nullptr;
        };

        // The loaded bytes, or, while the read runs, the same range read from the file here.
        QByteArray rawData() const override;
        // Waits for the read, then writes through to the item in the target.
        bool setRawData(const QByteArray &raw, unsigned int encoding, void *codecData,
                        unsigned int crc) override;
        void waitForDataReady();

    protected:
        // Waits for the read. The item in the target stays there.
        ~Item() override;
        // Takes over item's fields and makes it the item in the target.
        void setItem(StreamCache::Item *item);

    private:
        friend class AsyncFileCache;
        friend class AsyncFileCachePrivate;
        Item(AsyncFileCache *cache, qint64 offset) : StreamCache::Item(cache), m_offset(offset) {}

        QAtomicPointer<StreamCache::Item> m_realItem;
        qint64 m_offset;
        QFuture<void> m_future;
    };

    AsyncFileCache(StreamCache::Codec *codec, StreamCache *target);
    // Waits for the reads, and clears and releases the target.
    ~AsyncFileCache() override;
    Type type() const override;

    QString fileName() const;
    // Clears the cache first, waiting for running reads; handles must be gone.
    void setFileName(const QString &fileName);
    // Starts reading the blob and returns at once. The cache is the item's only owner.
    Item *addAsyncItem(const Item::Info &info);

Q_SIGNALS:
    void itemLoaded(const Zorn::AsyncFileCache::Item *item);

protected:
    // A null QVariant wraps a new item of the target and reads nothing; an Item::Info
    // starts a read.
    StreamCache::Item *newItem(const QVariant &info) override;

private:
    friend class AsyncFileCachePrivate;
    AsyncFileCachePrivate *d;
};

} // namespace Zorn

Q_DECLARE_METATYPE(Zorn::AsyncFileCache::Item::Info)
Q_DECLARE_METATYPE(const Zorn::AsyncFileCache::Item *)

#endif
