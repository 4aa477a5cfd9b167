#include <zornx/cache/streamcache.h>
#include <zornx/cache/streamcache_p.h>

#include <zornx/cache/diskcache.h>
#include <zornx/cache/filecache.h>
#include <zornx/core/interface.h>

#include <QtCore/QVarLengthArray>

#include <array>
#include <cstring>

namespace Zorn {

namespace {

// Built on first use; a function-local static is initialised once, also when worker
// threads get there first.
template <typename T, T polynomial>
const std::array<T, 256> &crcTable()
{
    static const std::array<T, 256> table = [] {
        std::array<T, 256> t{};
        for (unsigned int i = 0; i < 256; ++i) {
            T value = i;
            for (int bit = 0; bit < 8; ++bit)
                value = (value & 1) ? (value >> 1) ^ polynomial : value >> 1;
            t[i] = value;
        }
        return t;
    }();
    return table;
}

bool sameBytes(const QByteArray &a, const QByteArray &b)
{
    return a.size() == b.size() && std::memcmp(a.constData(), b.constData(), a.size()) == 0;
}

} // namespace

unsigned int CRC32(const void *data, unsigned int length)
{
    const auto &table = crcTable<quint32, 0xEDB88320u>();
    const auto *bytes = static_cast<const unsigned char *>(data);
    quint32 crc = 0xFFFFFFFFu;
    for (unsigned int i = 0; i < length; ++i)
        crc = table[(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
    return crc;
}

quint64 CRC64(const void *data, int length)
{
    const auto &table = crcTable<quint64, Q_UINT64_C(0x95AC9329AC4BC9B5)>();
    const auto *bytes = static_cast<const unsigned char *>(data);
    quint64 crc = ~quint64(0);
    for (int i = 0; i < length; ++i)
        crc = table[(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
    return crc;
}

static unsigned int crcOf(const QByteArray &bytes)
{
    return CRC32(bytes.constData(), unsigned(bytes.size()));
}

// ---- StreamCachePrivate

StreamCache::Item *StreamCachePrivate::addItem(StreamCache *cache, const QVariant &info)
{
    StreamCache::Item *item = cache->newItem(info);
    CacheMutexLocker locker(&cache->d->mutex);
    cache->d->items.append(item);
    return item;
}

unsigned int StreamCachePrivate::knownCrc(StreamCache::Item *item)
{
    unsigned int crc = item->m_crc.loadRelaxed();
    if (crc == 0) {
        // Two threads may race here; both store the same value.
        crc = crcOf(item->data());
        item->m_crc.storeRelaxed(crc);
    }
    return crc;
}

void StreamCachePrivate::dispose(StreamCache::Item *item)
{
    StreamCachePrivate *d = item->m_cache->d;
    {
        CacheMutexLocker locker(&d->mutex);
        d->items.removeAll(item);
    }
    delete item;
}

bool StreamCachePrivate::tryAddRef(StreamCache::Item *item)
{
    int count = item->m_refCount.loadRelaxed();
    while (count > 0) {
        if (item->m_refCount.testAndSetOrdered(count, count + 1, count))
            return true;
    }
    return false;
}

// ---- StreamCache::Codec

void StreamCache::Codec::release()
{
    delete this;
}

StreamCache::Codec::~Codec() = default;

// ---- StreamCache::Item

StreamCache::Item::Item(StreamCache *cache) : m_size(0), m_crc(0), m_refCount(1), m_cache(cache)
{
}

StreamCache::Item::~Item() = default;

void StreamCache::Item::release()
{
    if (!m_refCount.deref())
        StreamCachePrivate::dispose(this);
}

void StreamCache::Item::setFields(unsigned int size, unsigned int crc, unsigned int encoding,
                                  void *codecData)
{
    m_crc.storeRelaxed(crc);
    m_codecData = codecData;
    m_encoding = encoding;
    m_size.storeRelease(size);
}

bool StreamCache::Item::setRawData(const QByteArray &raw, unsigned int encoding,
                                   void *codecData, unsigned int crc)
{
    if (crc == 0 && encoding == 0)
        crc = crcOf(raw);
    setFields(unsigned(raw.size()), crc, encoding, codecData);
    return true;
}

QByteArray StreamCache::Item::data() const
{
    const QByteArray raw = rawData();
    Codec *codec = m_cache->d->codec;
    if (m_encoding == 0 || !codec)
        return raw;
    QByteArray data;
    if (!codec->decode(m_encoding, m_codecData, raw, &data))
        return QByteArray();
    return data;
}

bool StreamCache::Item::setData(const QByteArray &data, unsigned int encoding, void *codecData,
                                unsigned int crc)
{
    if (crc == 0)
        crc = crcOf(data);
    Codec *codec = m_cache->d->codec;
    if (encoding != 0 && codec) {
        QByteArray raw;
        if (!codec->encode(encoding, codecData, data, &raw))
            return false;
        return setRawData(raw, encoding, codecData, crc);
    }
    return setRawData(data, 0, codecData, crc);
}

bool StreamCache::Item::isEqualTo(Item *other)
{
    return m_cache->isEqual(this, other);
}

bool StreamCache::Item::isEqualTo(const QByteArray &data, unsigned int crc)
{
    return m_cache->isEqual(this, data, crc);
}

// ---- StreamCache

StreamCache::StreamCache(Codec *codec) : d(new StreamCachePrivate(codec)) {}

StreamCache::~StreamCache()
{
    if (d->codec)
        d->codec->release();
    delete d;
}

void StreamCache::release()
{
    delete this;
}

StreamCache::Codec *StreamCache::codec() const
{
    return d->codec;
}

StreamCache *StreamCache::instance(Codec *codec, Type type)
{
    if (type == Default) {
        type = Disk;
        if (Interface *host = Interface::instance()) {
            bool isNumber = false;
            const int value = host->option(QStringLiteral("cache_type"), QVariant()).toInt(&isNumber);
            if (isNumber && value < 2)
                type = Memory;
        }
    }
    switch (type) {
    case Memory:
        return new MemoryCache(codec);
    case File: {
        auto *fileCodec = dynamic_cast<FileCache::FileCodec *>(codec);
        if (codec && !fileCodec)
            codec->release();
        return new FileCache(fileCodec);
    }
    default:
        return new DiskCache(codec);
    }
}

StreamCache::Item *StreamCache::addItem(const QVariant &info)
{
    return StreamCachePrivate::addItem(this, info);
}

void StreamCache::removeItem(Item *item)
{
    item->release();
}

void StreamCache::clear()
{
    CacheMutexLocker locker(&d->mutex);
    while (!d->items.isEmpty())
        delete d->items.takeLast();
}

bool StreamCache::isEqual(Item *item, const QByteArray &data, unsigned int crc) const
{
    if (StreamCachePrivate::knownCrc(item) != crc)
        return false;
    const QByteArray bytes = item->data();
    return !bytes.isEmpty() && sameBytes(bytes, data);
}

bool StreamCache::isEqual(Item *a, Item *b) const
{
    if (a == b)
        return true;
    if (StreamCachePrivate::knownCrc(a) != StreamCachePrivate::knownCrc(b))
        return false;
    // Equal encodings compare in stored form, without decoding.
    if (a->encoding() == b->encoding())
        return sameBytes(a->rawData(), b->rawData());
    const QByteArray first = a->data();
    return !first.isEmpty() && sameBytes(first, b->data());
}

StreamCache::Item *StreamCache::find(const QByteArray &data, const Item *exclude) const
{
    if (data.isEmpty())
        return nullptr;
    const unsigned int crc = crcOf(data);

    // The CRC pass runs under the mutex, so that workers may add and release items
    // meanwhile; the few candidates are held by a reference and decoded outside it, since
    // decoding may take a disk cache's lock, which comes before the mutex. An item without
    // bytes cannot equal non-empty data, and one still being written has none yet.
    QVarLengthArray<Item *, 8> candidates;
    {
        CacheMutexLocker locker(&d->mutex);
        for (Item *item : qAsConst(d->items)) {
            if (item == exclude || item->size() == 0)
                continue;
            const unsigned int known = item->crc();
            if ((known == 0 || known == crc) && StreamCachePrivate::tryAddRef(item))
                candidates.append(item);
        }
    }

    Item *found = nullptr;
    for (Item *item : candidates) {
        if (!found && isEqual(item, data, crc))
            found = item;
    }
    for (Item *item : candidates) {
        // The hit is returned without a reference; if ours was the last one, it is gone.
        if (!item->m_refCount.deref()) {
            StreamCachePrivate::dispose(item);
            if (item == found)
                found = nullptr;
        }
    }
    return found;
}

// ---- PackedCache::Item

QByteArray PackedCache::Item::rawData() const
{
    const QByteArray packed = readPacked();
    // qUncompress warns about empty input, which an item without bytes gives.
    if (encoding() != 0 || packed.isEmpty())
        return packed;
    return qUncompress(packed);
}

bool PackedCache::Item::setRawData(const QByteArray &raw, unsigned int encoding,
                                   void *codecData, unsigned int crc)
{
    const QByteArray bytes = encoding == 0 ? qCompress(raw) : raw;
    // The bytes go first and the fields after them, so that an item that shows a size to
    // another thread also has its bytes.
    const bool written = writePacked(bytes);
    StreamCache::Item::setRawData(raw, encoding, codecData, crc);
    return written;
}

// ---- MemoryCache

bool MemoryCache::Item::writePacked(const QByteArray &packed)
{
    m_packed = packed;
    return true;
}

StreamCache::Item *MemoryCache::newItem(const QVariant &)
{
    return new Item(this);
}

// ---- StreamCacheData

StreamCacheData::StreamCacheData(StreamCache::Item *item) : m_item(item), m_refCount(1) {}

StreamCacheData::~StreamCacheData()
{
    if (m_item)
        m_item->release();
}

void StreamCacheData::release()
{
    if (!m_refCount.deref())
        destroy();
}

void StreamCacheData::createItem(StreamCache *cache, const QVariant &info)
{
    if (m_item)
        m_item->release();
    m_item = StreamCachePrivate::addItem(cache, info);
}

StreamCache::Item *StreamCacheData::item()
{
    if (m_item)
        m_item->addRef();
    return m_item;
}

void StreamCacheData::itemSwap(StreamCache::Item *item)
{
    if (item == m_item)
        return;
    if (item && m_item && item->cache() != m_item->cache())
        return;
    if (m_item)
        m_item->release();
    m_item = item;
    if (item)
        item->addRef();
}

bool StreamCacheData::fromData(const QByteArray &data, unsigned int encoding, void *codecData,
                               unsigned int crc)
{
    return m_item && m_item->setData(data, encoding, codecData, crc);
}

bool StreamCacheData::fromRawData(const QByteArray &raw, unsigned int encoding, void *codecData,
                                  unsigned int crc)
{
    return m_item && m_item->setRawData(raw, encoding, codecData, crc);
}

QByteArray StreamCacheData::toData() const
{
    return m_item ? m_item->data() : QByteArray();
}

QByteArray StreamCacheData::toRawData() const
{
    return m_item ? m_item->rawData() : QByteArray();
}

bool StreamCacheData::reset()
{
    return fromRawData(QByteArray(), 0, nullptr, 0xFFFFFFFFu);
}

bool StreamCacheData::isEmpty() const
{
    return !m_item || m_item->size() == 0;
}

bool StreamCacheData::isEqualTo(StreamCache::Item *item) const
{
    if (!m_item || !item)
        return !m_item && !item;
    return m_item->cache()->isEqual(m_item, item);
}

bool StreamCacheData::isEqualToData(const QByteArray &data, unsigned int crc) const
{
    return m_item && m_item->cache()->isEqual(m_item, data, crc);
}

unsigned int StreamCacheData::crc() const
{
    return m_item ? m_item->crc() : 0;
}

unsigned int StreamCacheData::encoding() const
{
    return m_item ? m_item->encoding() : 0;
}

void *StreamCacheData::codecData() const
{
    return m_item ? m_item->codecData() : nullptr;
}

StreamCache *StreamCacheData::cache() const
{
    return m_item ? m_item->cache() : nullptr;
}

} // namespace Zorn
