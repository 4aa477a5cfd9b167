#include <zornx/cache/diskcache.h>
#include <zornx/cache/diskcache_p.h>
#include <zornx/cache/streamcache_p.h>

#include <QtCore/QFile>
#include <QtCore/QThread>

namespace Zorn {

DiskCache::DiskCache(StreamCache::Codec *codec) : PackedCache(codec), d(new DiskCachePrivate)
{
    // A failed open is not reported: the cache then stores nothing readable.
    d->file.open();
    d->fileName = d->file.fileName();
    d->buffer = new char[DiskCachePrivate::BufferSize];
}

DiskCache::~DiskCache()
{
    delete[] d->buffer;
    delete d;
}

StreamCache::Item *DiskCache::newItem(const QVariant &)
{
    return new DiskItem(this);
}

QByteArray DiskItem::readPacked() const
{
    if (offset.loadRelaxed() < 0)
        return QByteArray();
    auto *owner = static_cast<DiskCache *>(cache());
    DiskCachePrivate *d = DiskCachePrivate::get(owner);
    CacheReadLocker locker(&d->lock);
    const qint64 at = offset.loadRelaxed();
    if (at < 0)
        return QByteArray();
    if (QThread::currentThread() == owner->thread()) {
        d->file.seek(at);
        return d->file.read(storedSize);
    }
    // Other threads never move the shared file's position.
    QFile file(d->fileName);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    file.seek(at);
    return file.read(storedSize);
}

bool DiskItem::writePacked(const QByteArray &data)
{
    auto *owner = static_cast<DiskCache *>(cache());
    DiskCachePrivate *d = DiskCachePrivate::get(owner);
    CacheWriteLocker locker(&d->lock);
    QTemporaryFile &file = d->file;
    const qint64 delta = qint64(data.size()) - storedSize;
    qint64 at = offset.loadRelaxed();

    if (at >= 0 && delta != 0) {
        const qint64 start = at + storedSize;
        if (delta < 0) {
            // Forward, so that each step lands on bytes already copied.
            for (qint64 pos = start; pos < d->fileEnd;) {
                const qint64 chunk = qMin<qint64>(DiskCachePrivate::BufferSize, d->fileEnd - pos);
                file.seek(pos);
                file.read(d->buffer, chunk);
                file.seek(pos + delta);
                file.write(d->buffer, chunk);
                pos += chunk;
            }
        } else {
            // Backward from the end, so that no byte is overwritten before it was copied.
            for (qint64 end = d->fileEnd; end > start;) {
                const qint64 chunk = qMin<qint64>(DiskCachePrivate::BufferSize, end - start);
                end -= chunk;
                file.seek(end);
                file.read(d->buffer, chunk);
                file.seek(end + delta);
                file.write(d->buffer, chunk);
            }
        }
        file.flush();
        StreamCachePrivate *items = StreamCachePrivate::get(owner);
        CacheMutexLocker itemsLocker(&items->mutex);
        for (StreamCache::Item *item : qAsConst(items->items)) {
            auto *other = static_cast<DiskItem *>(item);
            const qint64 otherAt = other->offset.loadRelaxed();
            if (otherAt > at)
                other->offset.storeRelaxed(otherAt + delta);
        }
    }

    storedSize = data.size();
    if (data.isEmpty()) {
        offset.storeRelaxed(-1);
        d->fileEnd += delta;
        return true;
    }
    if (at < 0) {
        at = d->fileEnd;
        offset.storeRelaxed(at);
    }
    file.seek(at);
    file.write(data);
    file.flush();
    d->fileEnd += delta;
    return true;
}

} // namespace Zorn
