#ifndef ZORNX_CACHE_STREAMCACHE_H
#define ZORNX_CACHE_STREAMCACHE_H

#include <zornx/core/object.h>

#include <QtCore/QAtomicInteger>
#include <QtCore/QByteArray>
#include <QtCore/QVariant>

namespace Zorn {

// Reflected CRC-32 (polynomial 0xEDB88320) starting from all ones, without the final
// complement: the complement of the usual CRC-32. Nothing gives 0xFFFFFFFF.
ZORNX_EXPORT unsigned int CRC32(const void *data, unsigned int length);
// Reflected CRC-64 with the Jones polynomial 0x95AC9329AC4BC9B5, starting from all ones,
// without a final complement.
ZORNX_EXPORT quint64 CRC64(const void *data, int length);

class StreamCachePrivate;

// Store of blobs (sprite and sound bytes) with identity by content. An item has its data,
// the decoded bytes callers work with, and its raw data, the stored form; a non-zero
// encoding says the module's codec turns one into the other. Subclasses give the backing
// store. Items are used from several threads: the item list is guarded by a mutex and the
// reference counts are atomic.
class ZORNX_EXPORT StreamCache : public Object
{
public:
    enum Type { Default = 0, Memory = 1, Disk = 2, File = 3 };

    // Turns data into raw data and back; supplied by engine modules. codecData is opaque
    // and belongs to the caller.
    class ZORNX_EXPORT Codec
    {
    public:
        virtual void release();
        virtual ~Codec();
        virtual bool decode(unsigned int encoding, void *codecData, const QByteArray &raw,
                            QByteArray *data) = 0;
        virtual bool encode(unsigned int encoding, void *codecData, const QByteArray &data,
                            QByteArray *raw) = 0;
    };

    // One blob. The count starts at 1; the release that reaches 0 takes the item out of its
    // cache and deletes it, on whatever thread that happens.
    class ZORNX_EXPORT Item : public Object
    {
    public:
        void release() override;

        // The stored form.
        virtual QByteArray rawData() const = 0;
        // Stores raw as it is. A crc of 0 with encoding 0 is computed from raw; otherwise
        // crc is taken as given, and 0 means "not known yet".
        virtual bool setRawData(const QByteArray &raw, unsigned int encoding, void *codecData,
                                unsigned int crc);

        // The decoded bytes; empty when the codec refuses.
        QByteArray data() const;
        // Encodes data through the cache's codec when encoding is not 0 and there is a
        // codec; a crc of 0 is computed from data. False, with the item unchanged, when the
        // codec refuses.
        bool setData(const QByteArray &data, unsigned int encoding = 0,
                     void *codecData = nullptr, unsigned int crc = 0);

        // Size of the raw data as it was handed to setRawData().
        unsigned int size() const { return m_size.loadAcquire(); }
        unsigned int crc() const { return m_crc.loadRelaxed(); }
        unsigned int encoding() const { return m_encoding; }
        void *codecData() const { return m_codecData; }
        StreamCache *cache() const { return m_cache; }
        int refCount() const { return m_refCount.loadRelaxed(); }
        void addRef() { m_refCount.ref(); }

        bool isEqualTo(Item *other);
        bool isEqualTo(const QByteArray &data, unsigned int crc);

    protected:
        explicit Item(StreamCache *cache);
        ~Item() override;
        // Sets the fields; size last, so that a reader that sees the size also sees the rest.
        void setFields(unsigned int size, unsigned int crc, unsigned int encoding,
                       void *codecData);
        void setSize(unsigned int size) { m_size.storeRelease(size); }

    private:
        Q_DISABLE_COPY(Item)
        friend class StreamCache;
        friend class StreamCachePrivate;

        QAtomicInteger<unsigned int> m_size;
        QAtomicInteger<unsigned int> m_crc;
        QAtomicInt m_refCount;
        unsigned int m_encoding = 0;
        void *m_codecData = nullptr;
        StreamCache *m_cache;
    };

    // Deletes the cache at once.
    void release() override;
    // Releases the codec; items must be gone before (see clear()).
    ~StreamCache() override;
    virtual Type type() const = 0;

    // A new cache of that type, owned by the caller, which owns codec. Default asks the
    // option "cache_type": an integer below 2 gives a memory cache, anything else (and no
    // host) a disk cache. File needs a FileCache::FileCodec.
    static StreamCache *instance(Codec *codec, Type type = Default);

    // A new item with a count of 1.
    Item *addItem(const QVariant &info = QVariant());
    // Gives up one reference to item.
    void removeItem(Item *item);
    // Deletes every item, last first, whatever its count.
    void clear();

    bool isEqual(Item *a, Item *b) const;
    bool isEqual(Item *item, const QByteArray &data, unsigned int crc) const;
    // The first item, other than exclude, whose data equals data; no reference is added.
    // Empty data never matches. Safe while other threads add and release items.
    Item *find(const QByteArray &data, const Item *exclude = nullptr) const;

protected:
    explicit StreamCache(Codec *codec);
    Codec *codec() const;
    // An item of the cache's own kind; info is used only by caches that need it.
    virtual Item *newItem(const QVariant &info) = 0;

private:
    Q_DISABLE_COPY(StreamCache)
    friend class StreamCachePrivate;
    StreamCachePrivate *d;
};

// A cache that keeps raw data of encoding 0 compressed with qCompress; encoded blobs are
// taken to be compact already.
class ZORNX_EXPORT PackedCache : public StreamCache
{
public:
    class ZORNX_EXPORT Item : public StreamCache::Item
    {
    public:
        QByteArray rawData() const override;
        bool setRawData(const QByteArray &raw, unsigned int encoding, void *codecData,
                        unsigned int crc) override;
        virtual QByteArray readPacked() const = 0;
        virtual bool writePacked(const QByteArray &packed) = 0;

    protected:
        using StreamCache::Item::Item;
    };

protected:
    using StreamCache::StreamCache;
};

// Keeps the packed bytes in memory.
class ZORNX_EXPORT MemoryCache : public PackedCache
{
public:
    class ZORNX_EXPORT Item : public PackedCache::Item
    {
    public:
        explicit Item(StreamCache *cache) : PackedCache::Item(cache) {}
        QByteArray readPacked() const override { return m_packed; }
        bool writePacked(const QByteArray &packed) override;

    private:
        QByteArray m_packed;
    };

    explicit MemoryCache(Codec *codec = nullptr) : PackedCache(codec) {}
    Type type() const override { return Memory; }

protected:
    StreamCache::Item *newItem(const QVariant &info) override;
};

// The handle through which a sprite or a sample holds its bytes: one reference to an item
// (or none), and a count of its own; the last release() calls destroy().
class ZORNX_EXPORT StreamCacheData : public Object
{
public:
    // Takes over one reference to item.
    explicit StreamCacheData(StreamCache::Item *item = nullptr);
    void release() override;
    ~StreamCacheData() override;

    // The item with one more reference, which the caller gives up.
    StreamCache::Item *item();
    // Holds item instead of the present one. Nothing happens when both are the same, or
    // when both exist and belong to different caches.
    void itemSwap(StreamCache::Item *item);

    bool fromData(const QByteArray &data, unsigned int encoding = 0, void *codecData = nullptr,
                  unsigned int crc = 0);
    bool fromRawData(const QByteArray &raw, unsigned int encoding, void *codecData,
                     unsigned int crc);
    QByteArray toData() const;
    QByteArray toRawData() const;
    // Empty raw bytes of encoding 0 with the CRC of nothing.
    bool reset();

    bool isEmpty() const;
    bool isEqualTo(StreamCache::Item *item) const;
    bool isEqualToData(const QByteArray &data, unsigned int crc) const;
    unsigned int crc() const;
    unsigned int encoding() const;
    void *codecData() const;
    StreamCache *cache() const;
    int refCount() const { return m_refCount.loadRelaxed(); }
    void addRef() { m_refCount.ref(); }

protected:
    virtual void destroy() = 0;
    // Releases the present item and holds a new one of cache.
    void createItem(StreamCache *cache, const QVariant &info = QVariant());

private:
    Q_DISABLE_COPY(StreamCacheData)
    StreamCache::Item *m_item;
    QAtomicInt m_refCount;
};

} // namespace Zorn

#endif
