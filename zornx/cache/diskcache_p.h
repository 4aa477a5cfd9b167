#ifndef ZORNX_CACHE_DISKCACHE_P_H
#define ZORNX_CACHE_DISKCACHE_P_H

#include <zornx/cache/diskcache.h>

#include <QtCore/QReadWriteLock>
#include <QtCore/QTemporaryFile>

namespace Zorn {

class DiskCachePrivate
{
public:
    static constexpr int BufferSize = 32768;
    static DiskCachePrivate *get(const DiskCache *cache) { return cache->d; }

    QTemporaryFile file;
    // Guards the file, fileEnd and every item's offset and storedSize; taken before the
    // cache's mutex.
    QReadWriteLock lock;
    // The one buffer through which the bytes behind a resized blob move.
    char *buffer = nullptr;
    // Behind the last used byte; the file itself is never cut shorter.
    qint64 fileEnd = 0;
    // The file's name, read by workers that open it themselves.
    QString fileName;
};

// A blob at [offset, offset + storedSize) of the cache's file; offset is -1 while it has no
// bytes there. The ranges of live items never overlap and lie below fileEnd.
// Exported for the tests, which look at its layout.
class ZORNX_EXPORT DiskItem : public PackedCache::Item
{
public:
    explicit DiskItem(DiskCache *cache) : PackedCache::Item(cache) {}
    QByteArray readPacked() const override;
    bool writePacked(const QByteArray &data) override;

    // Atomic, so that an item without bytes answers without taking the lock.
    QAtomicInteger<qint64> offset{-1};
    int storedSize = 0;
};

} // namespace Zorn

#endif
