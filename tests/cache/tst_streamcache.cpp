#include "cachetest.h"
#include "testinterface.h"

#include <zornx/cache/diskcache.h>
#include <zornx/cache/streamcache.h>
#include <zornx/cache/streamcache_p.h>

#include <QtTest/QtTest>

#include <atomic>
#include <memory>

using namespace Zorn;

namespace {

class Handle : public StreamCacheData
{
public:
    using StreamCacheData::StreamCacheData;
    using StreamCacheData::createItem;

protected:
    void destroy() override { delete this; }
};

int itemCount(const StreamCache *cache)
{
    StreamCachePrivate *d = StreamCachePrivate::get(cache);
    QMutexLocker locker(&d->mutex);
    return d->items.size();
}

unsigned int crcOf(const QByteArray &bytes)
{
    return CRC32(bytes.constData(), unsigned(bytes.size()));
}

std::atomic<int> warnings{0};
void countWarnings(QtMsgType type, const QMessageLogContext &, const QString &)
{
    if (type != QtDebugMsg)
        ++warnings;
}

} // namespace

class tst_StreamCache : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void crc_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<quint64>("expected");
        QTest::newRow("32 abc") << 32 << QByteArray("abc") << quint64(0xCADBBE3D);
        QTest::newRow("32 nothing") << 32 << QByteArray() << quint64(0xFFFFFFFF);
        QTest::newRow("32 digits") << 32 << QByteArray("123456789") << quint64(~0xCBF43926u);
        QTest::newRow("64 nothing") << 64 << QByteArray() << ~quint64(0);
        QTest::newRow("64 digits") << 64 << QByteArray("123456789")
                                   << quint64(0xCAA717168609F281ull);
    }
    void crc()
    {
        QFETCH(int, bits);
        QFETCH(QByteArray, input);
        QFETCH(quint64, expected);
        // The tables are built on first use: let several threads race for them.
        std::atomic<int> wrong{0};
        Workers workers;
        for (int i = 0; i < 4; ++i)
            workers.start([&] {
                wrong += expected != (bits == 32 ? CRC32(input.constData(), unsigned(input.size()))
                                                 : CRC64(input.constData(), input.size()));
            });
        workers.wait();
        QCOMPARE(wrong.load(), 0);
    }

    // One cache per type with: a plain item, an encoded one with a known CRC, an encoded one
    // whose CRC is not known yet, an empty one, and one stored with a false CRC.
    void find_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("query");
        QTest::addColumn<bool>("excludeHit");
        QTest::addColumn<int>("expected");
        QTest::addColumn<int>("decodesOnRepeat");
        for (int type : {int(StreamCache::Memory), int(StreamCache::Disk)}) {
            const QByteArray name = type == StreamCache::Memory ? "memory " : "disk ";
            auto row = [&](const char *what) -> QTestData & { return QTest::newRow((name + what).constData()); };
            row("plain") << type << QByteArray("alpha") << false << 0 << 0;
            row("excluded") << type << QByteArray("alpha") << true << -1 << 0;
            row("encoded") << type << QByteArray("bravo") << false << 1 << 1;
            row("unknown crc") << type << QByteArray("charlie") << false << 2 << 1;
            row("false crc") << type << QByteArray("delta") << false << -1 << 0;
            row("empty") << type << QByteArray() << false << -1 << 0;
            row("missing") << type << QByteArray("zulu") << false << -1 << 0;
        }
    }
    void find()
    {
        QFETCH(int, type);
        QFETCH(QByteArray, query);
        QFETCH(bool, excludeHit);
        QFETCH(int, expected);
        QFETCH(int, decodesOnRepeat);
        auto *codec = new TestCodec;
        std::unique_ptr<StreamCache, void (*)(StreamCache *)> cache(
            StreamCache::instance(codec, StreamCache::Type(type)), [](StreamCache *c) {
                c->clear();
                c->release();
            });
        QList<StreamCache::Item *> items;
        for (int i = 0; i < 5; ++i)
            items.append(cache->addItem());
        QVERIFY(items[0]->setData("alpha"));
        QVERIFY(items[1]->setData("bravo", 1));
        QVERIFY(items[2]->setRawData(reversed("charlie"), 1, nullptr, 0));
        QVERIFY(items[3]->setRawData(QByteArray(), 0, nullptr, 0));
        QVERIFY(items[4]->setRawData("delxa", 0, nullptr, crcOf("delta")));
        QCOMPARE(items[2]->crc(), 0u);

        StreamCache::Item *want = expected < 0 ? nullptr : items[expected];
        const StreamCache::Item *exclude = excludeHit ? items[0] : nullptr;
        QCOMPARE(cache->find(query, exclude), want);
        // Once the CRCs are known, only an item with the same CRC is decoded.
        codec->decodes.storeRelaxed(0);
        QCOMPARE(cache->find(query, exclude), want);
        QCOMPARE(codec->decodes.loadRelaxed(), decodesOnRepeat);
        for (StreamCache::Item *item : items)
            QCOMPARE(item->refCount(), 1);
    }

    void equality_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<int>("firstEncoding");
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<int>("secondEncoding");
        QTest::addColumn<bool>("equal");
        QTest::addColumn<int>("decodes");
        QTest::newRow("same encoding, raw") << QByteArray("echo") << 1 << QByteArray("echo") << 1
                                            << true << 0;
        QTest::newRow("other encoding") << QByteArray("echo") << 0 << QByteArray("echo") << 1
                                        << true << 1;
        QTest::newRow("different") << QByteArray("echo") << 1 << QByteArray("ecHo") << 1 << false
                                   << 0;
        QTest::newRow("both empty") << QByteArray() << 0 << QByteArray() << 0 << true << 0;
    }
    void equality()
    {
        QFETCH(QByteArray, first);
        QFETCH(int, firstEncoding);
        QFETCH(QByteArray, second);
        QFETCH(int, secondEncoding);
        QFETCH(bool, equal);
        QFETCH(int, decodes);
        auto *codec = new TestCodec;
        MemoryCache cache(codec);
        Handle *a = new Handle(cache.addItem());
        Handle *b = new Handle(cache.addItem());
        QVERIFY(a->fromData(first, firstEncoding));
        QVERIFY(b->fromData(second, secondEncoding));
        StreamCache::Item *bItem = b->item();
        codec->decodes.storeRelaxed(0);
        QCOMPARE(a->isEqualTo(bItem), equal);
        QCOMPARE(codec->decodes.loadRelaxed(), decodes);
        QCOMPARE(a->isEqualToData(second, crcOf(second)), equal && !second.isEmpty());
        bItem->release();
        a->release();
        b->release();
        QCOMPARE(itemCount(&cache), 0);
    }

    void setData_data()
    {
        QTest::addColumn<bool>("withCodec");
        QTest::addColumn<int>("encoding");
        QTest::addColumn<uint>("crc");
        QTest::addColumn<bool>("stored");
        QTest::addColumn<int>("storedEncoding");
        QTest::addColumn<uint>("storedCrc");
        const QByteArray foxtrot("foxtrot foxtrot foxtrot foxtrot");
        QTest::newRow("plain") << true << 0 << 0u << true << 0 << crcOf(foxtrot);
        QTest::newRow("encoded") << true << 1 << 0u << true << 1 << crcOf(foxtrot);
        QTest::newRow("crc unchecked") << true << 0 << 1234u << true << 0 << 1234u;
        QTest::newRow("no codec") << false << 1 << 0u << true << 0 << crcOf(foxtrot);
        QTest::newRow("codec refuses") << true << 2 << 0u << false << 0 << crcOf("golf");
    }
    void setData()
    {
        QFETCH(bool, withCodec);
        QFETCH(int, encoding);
        QFETCH(uint, crc);
        QFETCH(bool, stored);
        QFETCH(int, storedEncoding);
        QFETCH(uint, storedCrc);
        const QByteArray data("foxtrot foxtrot foxtrot foxtrot");
        MemoryCache cache(withCodec ? new TestCodec : nullptr);
        Handle *handle = new Handle(cache.addItem());
        QVERIFY(handle->fromData("golf"));
        QCOMPARE(handle->fromData(data, encoding, nullptr, crc), stored);
        QCOMPARE(int(handle->encoding()), storedEncoding);
        QCOMPARE(handle->crc(), storedCrc);
        QCOMPARE(handle->toData(), stored ? data : QByteArray("golf"));
        QCOMPARE(handle->toRawData(), storedEncoding ? reversed(data) : handle->toData());
        // Plain bytes are kept compressed, and the size is that of the raw bytes.
        StreamCache::Item *item = handle->item();
        const QByteArray packed = static_cast<PackedCache::Item *>(item)->readPacked();
        QCOMPARE(packed, storedEncoding ? item->rawData() : qCompress(item->rawData()));
        QCOMPARE(item->size(), unsigned(item->rawData().size()));
        item->release();
        handle->release();
    }

    void handle_data()
    {
        QTest::addColumn<QString>("swapTo");
        QTest::addColumn<bool>("swapped");
        QTest::newRow("same item") << "same" << false;
        QTest::newRow("null") << "null" << true;
        QTest::newRow("other cache") << "other cache" << false;
        QTest::newRow("same cache") << "same cache" << true;
    }
    void handle()
    {
        QFETCH(QString, swapTo);
        QFETCH(bool, swapped);
        MemoryCache cache, otherCache;
        Handle *handle = new Handle;
        QVERIFY(handle->isEmpty());
        QVERIFY(handle->isEqualTo(nullptr));
        handle->createItem(&cache);
        QVERIFY(handle->fromData("hotel"));
        StreamCache::Item *old = handle->item();
        StreamCache::Item *target = swapTo == "same"          ? old
                                    : swapTo == "null"        ? nullptr
                                    : swapTo == "other cache" ? otherCache.addItem()
                                                              : cache.addItem();
        handle->itemSwap(target);
        StreamCache::Item *held = handle->item();
        QCOMPARE(held, swapped ? target : old);
        if (held)
            held->release();
        QCOMPARE(old->refCount(), swapped ? 1 : 2);
        if (target && target != old)
            QCOMPARE(target->refCount(), swapped ? 2 : 1);
        QCOMPARE(handle->isEqualTo(nullptr), !held);

        // A reset item is empty, with the CRC of nothing, and reads back quietly.
        if (held) {
            warnings = 0;
            QtMessageHandler previous = qInstallMessageHandler(countWarnings);
            QVERIFY(handle->reset());
            QCOMPARE(handle->crc(), 0xFFFFFFFFu);
            QVERIFY(handle->isEmpty());
            QVERIFY(handle->toData().isEmpty());
            qInstallMessageHandler(previous);
            QCOMPARE(warnings.load(), 0);
        }
        handle->addRef();
        handle->release();
        QCOMPARE(handle->refCount(), 1);
        handle->release();
        old->release();
        if (target && target != old)
            target->release();
        QCOMPARE(itemCount(&cache), 0);
        QCOMPARE(itemCount(&otherCache), 0);
    }

    void instance_data()
    {
        QTest::addColumn<bool>("host");
        QTest::addColumn<QVariant>("option");
        QTest::addColumn<int>("requested");
        QTest::addColumn<int>("expected");
        QTest::newRow("no host") << false << QVariant() << 0 << int(StreamCache::Disk);
        QTest::newRow("no option") << true << QVariant() << 0 << int(StreamCache::Disk);
        QTest::newRow("0") << true << QVariant(0) << 0 << int(StreamCache::Memory);
        QTest::newRow("1 as text") << true << QVariant("1") << 0 << int(StreamCache::Memory);
        QTest::newRow("2") << true << QVariant(2) << 0 << int(StreamCache::Disk);
        QTest::newRow("not a number") << true << QVariant("fast") << 0 << int(StreamCache::Disk);
        QTest::newRow("memory asked") << true << QVariant(2) << 1 << int(StreamCache::Memory);
        QTest::newRow("file") << false << QVariant() << 3 << int(StreamCache::File);
    }
    void instance()
    {
        QFETCH(bool, host);
        QFETCH(QVariant, option);
        QFETCH(int, requested);
        QFETCH(int, expected);
        std::unique_ptr<ZornTest::TestInterface> interface;
        if (host) {
            interface = std::make_unique<ZornTest::TestInterface>();
            if (option.isValid())
                interface->options.insert("cache_type", option);
        }
        StreamCache *cache = StreamCache::instance(new TestCodec, StreamCache::Type(requested));
        QCOMPARE(int(cache->type()), expected);
        // The cache works with its codec (a file item needs a file name to be stored).
        StreamCache::Item *item = cache->addItem();
        if (expected != StreamCache::File) {
            QVERIFY(item->setRawData(reversed("india"), 1, nullptr, 0));
            QCOMPARE(item->data(), QByteArray("india"));
        }
        item->release();
        cache->release();
    }

    // Workers make, share and release items and look for blobs while the main thread looks
    // for one it holds. Run under ThreadSanitizer and AddressSanitizer.
    void threadStress()
    {
        DiskCache cache;
        MemoryCache memory;
        for (StreamCache *target : {static_cast<StreamCache *>(&cache), static_cast<StreamCache *>(&memory)}) {
            StreamCache::Item *shared = target->addItem();
            QVERIFY(shared->setData("shared blob"));
            std::atomic<bool> stop{false};
            auto work = [&](int seed) {
                for (int i = 0; i < 400; ++i) {
                    StreamCache::Item *own = target->addItem();
                    own->setData(QByteArray::number(seed * 1000 + i % 7));
                    shared->addRef();
                    StreamCache::Item *hit = target->find(QByteArray::number(seed * 1000 + 3));
                    if (hit)
                        hit->data();
                    own->release();
                    shared->release();
                }
            };
            Workers workers;
            for (int seed = 1; seed <= 3; ++seed)
                workers.start([&work, seed] { work(seed); });
            int lookups = 0;
            while (workers.running()) {
                QCOMPARE(target->find("shared blob"), shared);
                ++lookups;
            }
            workers.wait();
            QVERIFY(lookups > 0);
            QCOMPARE(shared->refCount(), 1);
            QCOMPARE(itemCount(target), 1);
            shared->release();
            QCOMPARE(itemCount(target), 0);
        }
    }
};

QTEST_GUILESS_MAIN(tst_StreamCache)
#include "tst_streamcache.moc"
