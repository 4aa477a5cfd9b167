#ifndef ZORNX_CACHE_DISKCACHE_H
#define ZORNX_CACHE_DISKCACHE_H

#include <zornx/cache/streamcache.h>

#include <QtCore/QObject>

namespace Zorn {

class DiskCachePrivate;

// Keeps the packed blobs in one temporary file that lives as long as the cache. A blob is
// rewritten in place and the bytes behind it move to fit; the space of deleted items is
// never reused. Any number of threads read at once, each worker through a file handle of
// its own; a write excludes everything else.
class ZORNX_EXPORT DiskCache : public QObject, public PackedCache
{
    Q_OBJECT
public:
    explicit DiskCache(StreamCache::Codec *codec = nullptr);
    ~DiskCache() override;
    Type type() const override { return Disk; }

protected:
    StreamCache::Item *newItem(const QVariant &info) override;

private:
    friend class DiskItem;
    friend class DiskCachePrivate;
    DiskCachePrivate *d;
};

} // namespace Zorn

#endif
