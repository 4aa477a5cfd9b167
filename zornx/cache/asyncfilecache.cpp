#include <zornx/cache/asyncfilecache.h>
#include <zornx/cache/streamcache_p.h>

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QFile>
#include <QtCore/QThreadPool>

namespace Zorn {

class AsyncFileCachePrivate
{
public:
    static QByteArray readRange(const QString &fileName, qint64 offset, unsigned int size);
    void read(AsyncFileCache *cache, AsyncFileCache::Item *item);

    StreamCache *target;
    QString fileName;
};

static const unsigned int EmptyCrc = 0xFFFFFFFFu;

QByteArray AsyncFileCachePrivate::readRange(const QString &fileName, qint64 offset,
                                            unsigned int size)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    file.seek(offset);
    return file.read(size);
}

// On a worker thread of the global pool.
void AsyncFileCachePrivate::read(AsyncFileCache *cache, AsyncFileCache::Item *item)
{
    const QByteArray bytes = readRange(fileName, item->m_offset, item->size());
    StreamCache::Item *real = StreamCachePrivate::addItem(target, QVariant());
    real->setRawData(bytes, item->encoding(), item->codecData(), item->crc());
    // The item's crc, encoding and codecData stay; its size becomes that of what was read.
    item->setSize(real->size());
    item->m_realItem.storeRelease(real);
    ZORNX_HAPPENS_BEFORE(item);
    Q_EMIT cache->itemLoaded(item);
}

AsyncFileCache::AsyncFileCache(StreamCache::Codec *codec, StreamCache *target)
    : StreamCache(codec), d(new AsyncFileCachePrivate{target, QString()})
{
    qRegisterMetaType<Item::Info>("Zorn::AsyncFileCache::Item::Info");
    qRegisterMetaType<const Item *>("const Zorn::AsyncFileCache::Item*");
}

AsyncFileCache::~AsyncFileCache()
{
    clear();
    // The items the reads made stay in the target when their wrappers go; they go with it.
    d->target->clear();
    d->target->release();
    delete d;
}

StreamCache::Type AsyncFileCache::type() const
{
    return d->target->type();
}

QString AsyncFileCache::fileName() const
{
    return d->fileName;
}

void AsyncFileCache::setFileName(const QString &fileName)
{
    clear();
    d->fileName = fileName;
}

AsyncFileCache::Item *AsyncFileCache::addAsyncItem(const Item::Info &info)
{
    return static_cast<Item *>(StreamCachePrivate::addItem(this, QVariant::fromValue(info)));
}

StreamCache::Item *AsyncFileCache::newItem(const QVariant &info)
{
    if (info.userType() != qMetaTypeId<Item::Info>()) {
        auto *item = new Item(this, 0);
        item->setItem(StreamCachePrivate::addItem(d->target, QVariant()));
        return item;
    }
    const Item::Info blob = info.value<Item::Info>();
    auto *item = new Item(this, blob.offset);
    item->setFields(blob.size, blob.crc, blob.encoding, blob.codecData);
    item->m_future = QtConcurrent::run(QThreadPool::globalInstance(),
                                       [task = TaskPointer<Item>(item)] {
                                           Item *item = task.get();
                                           auto *cache = static_cast<AsyncFileCache *>(item->cache());
                                           cache->d->read(cache, item);
                                       });
    return item;
}

AsyncFileCache::Item::~Item()
{
    waitForDataReady();
}

void AsyncFileCache::Item::waitForDataReady()
{
    m_future.waitForFinished();
    ZORNX_HAPPENS_AFTER(this);
}

void AsyncFileCache::Item::setItem(StreamCache::Item *item)
{
    const bool unknown = item->crc() == 0 && item->encoding() == 0;
    setFields(item->size(), unknown ? EmptyCrc : item->crc(), item->encoding(),
              item->codecData());
    m_realItem.storeRelease(item);
}

QByteArray AsyncFileCache::Item::rawData() const
{
    if (StreamCache::Item *real = m_realItem.loadAcquire())
        return real->rawData();
    const auto *owner = static_cast<const AsyncFileCache *>(cache());
    return AsyncFileCachePrivate::readRange(owner->d->fileName, m_offset, size());
}

bool AsyncFileCache::Item::setRawData(const QByteArray &raw, unsigned int encoding,
                                      void *codecData, unsigned int crc)
{
    waitForDataReady();
    StreamCache::Item::setRawData(raw, encoding, codecData, crc);
    return m_realItem.loadAcquire()->setRawData(raw, encoding, codecData, crc);
}

} // namespace Zorn
