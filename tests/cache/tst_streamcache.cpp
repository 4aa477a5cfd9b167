#include "cachetest.h"
#include "testinterface.h"

#include <zornx/cache/diskcache.h>
#include <zornx/cache/diskcache_p.h>

#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

#include <atomic>

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

unsigned int crcOf(const QByteArray &bytes)
{
    return CRC32(bytes.constData(), unsigned(bytes.size()));
}

std::atomic<int> warnings{0};
QtMessageHandler qtHandler = nullptr;

QByteArray randomBytes(QRandomGenerator &random)
{
    // Mostly small blobs, and every fourth larger than the disk cache's move buffer.
    QByteArray bytes(random.bounded(4) ? 1 + random.bounded(3000)
                                       : DiskCachePrivate::BufferSize + random.bounded(40000),
                     '\0');
    random.fillRange(reinterpret_cast<quint32 *>(bytes.data()), bytes.size() / 4);
    return bytes;
}

DiskItem *diskItem(StreamCache::Item *item)
{
    return static_cast<DiskItem *>(item);
}

} // namespace

class tst_StreamCache : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // No test may make Qt warn (reading an item without bytes once made qUncompress warn).
    void initTestCase()
    {
        qtHandler = qInstallMessageHandler(
            [](QtMsgType type, const QMessageLogContext &context, const QString &text) {
                warnings += type != QtDebugMsg;
                qtHandler(type, context, text);
            });
    }
    void cleanup() { QCOMPARE(warnings.exchange(0), 0); }

    void crc_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<quint64>("expected");
        QTest::newRow("32 abc") << 32 << QByteArray("abc") << quint64(0xCADBBE3D);
        QTest::newRow("32 nothing") << 32 << QByteArray() << quint64(0xFFFFFFFF);
        QTest::newRow("32 digits") << 32 << QByteArray("123456789") << quint64(~0xCBF43926u);
        QTest::newRow("64 nothing") << 64 << QByteArray() << ~quint64(0);
        QTest::newRow("64 digits") << 64 << QByteArray("123456789") << 0xCAA717168609F281ull;
    }
    void crc()
    {
        QFETCH(int, bits);
        QFETCH(QByteArray, input);
        QFETCH(quint64, expected);
        QCOMPARE(bits == 32 ? CRC32(input.constData(), unsigned(input.size()))
                            : CRC64(input.constData(), input.size()),
                 expected);
    }

    // Items: plain, encoded with a known CRC, encoded with an unknown CRC, empty, and one
    // stored with a false CRC.
    void find_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("query");
        QTest::addColumn<bool>("excludeHit");
        QTest::addColumn<int>("expected");
        QTest::addColumn<int>("decodesOnRepeat");
        for (int type : {int(StreamCache::Memory), int(StreamCache::Disk)}) {
            auto row = [&](const char *name) -> QTestData & {
                return QTest::newRow(qPrintable(QString("%1 %2").arg(type).arg(name)));
            };
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
        std::unique_ptr<StreamCache> cache(StreamCache::instance(codec, StreamCache::Type(type)));
        QList<StreamCache::Item *> items;
        for (int i = 0; i < 5; ++i)
            items.append(cache->addItem());
        QVERIFY(items[0]->setData("alpha"));
        QVERIFY(items[1]->setData("bravo", 1));
        QVERIFY(items[2]->setRawData(reversed("charlie"), 1, nullptr, 0));
        QVERIFY(items[3]->setRawData(QByteArray(), 0, nullptr, 0));
        QVERIFY(items[4]->setRawData("delxa", 0, nullptr, crcOf("delta")));

        StreamCache::Item *want = expected < 0 ? nullptr : items[expected];
        const StreamCache::Item *exclude = excludeHit ? items[0] : nullptr;
        QCOMPARE(cache->find(query, exclude), want);
        // Once the CRCs are known, only an item with the same CRC is decoded.
        codec->decodes.storeRelaxed(0);
        QCOMPARE(cache->find(query, exclude), want);
        QCOMPARE(codec->decodes.loadRelaxed(), decodesOnRepeat);
        for (StreamCache::Item *item : items) {
            QCOMPARE(item->refCount(), 1);
            item->release();
        }
    }

    void equality_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<int>("firstEncoding");
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<bool>("equal");
        QTest::addColumn<int>("decodes");
        QTest::newRow("same encoding, raw") << QByteArray("echo") << 1 << QByteArray("echo") << true << 0;
        QTest::newRow("other encoding") << QByteArray("echo") << 0 << QByteArray("echo") << true << 1;
        QTest::newRow("different") << QByteArray("echo") << 1 << QByteArray("ecHo") << false << 0;
        QTest::newRow("both empty") << QByteArray() << 1 << QByteArray() << true << 0;
    }
    void equality()
    {
        QFETCH(QByteArray, first);
        QFETCH(int, firstEncoding);
        QFETCH(QByteArray, second);
        QFETCH(bool, equal);
        QFETCH(int, decodes);
        auto *codec = new TestCodec;
        MemoryCache cache(codec);
        Handle *a = new Handle(cache.addItem()), *b = new Handle(cache.addItem());
        QVERIFY(a->fromData(first, firstEncoding) && b->fromData(second, 1));
        StreamCache::Item *bItem = b->item();
        codec->decodes.storeRelaxed(0);
        QCOMPARE(a->isEqualTo(bItem), equal);
        QCOMPARE(codec->decodes.loadRelaxed(), decodes);
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
        const uint computed = 0;
        QTest::newRow("plain") << true << 0 << computed << true << 0;
        QTest::newRow("encoded") << true << 1 << computed << true << 1;
        QTest::newRow("crc unchecked") << true << 0 << 1234u << true << 0;
        QTest::newRow("no codec") << false << 1 << computed << true << 0;
        QTest::newRow("codec refuses") << true << 2 << computed << false << 0;
    }
    void setData()
    {
        QFETCH(bool, withCodec);
        QFETCH(int, encoding);
        QFETCH(uint, crc);
        QFETCH(bool, stored);
        QFETCH(int, storedEncoding);
        const QByteArray data("foxtrot foxtrot foxtrot foxtrot"), before("golf");
        MemoryCache cache(withCodec ? new TestCodec : nullptr);
        StreamCache::Item *item = cache.addItem();
        QVERIFY(item->setData(before));
        QCOMPARE(item->setData(data, encoding, nullptr, crc), stored);
        QCOMPARE(int(item->encoding()), storedEncoding);
        QCOMPARE(item->crc(), crc ? crc : crcOf(stored ? data : before));
        QCOMPARE(item->data(), stored ? data : before);
        QCOMPARE(item->rawData(), storedEncoding ? reversed(data) : item->data());
        // Plain bytes are kept compressed; the size is that of the raw bytes.
        QCOMPARE(static_cast<PackedCache::Item *>(item)->readPacked(),
                 storedEncoding ? item->rawData() : qCompress(item->rawData()));
        QCOMPARE(item->size(), unsigned(item->rawData().size()));
        item->release();
    }

    void itemSwap_data()
    {
        QTest::addColumn<QString>("to");
        QTest::addColumn<bool>("swapped");
        QTest::newRow("same item") << "same" << false;
        QTest::newRow("null") << "null" << true;
        QTest::newRow("other cache") << "other" << false;
        QTest::newRow("same cache") << "new" << true;
    }
    void itemSwap()
    {
        QFETCH(QString, to);
        QFETCH(bool, swapped);
        MemoryCache cache, otherCache;
        Handle *handle = new Handle;
        QVERIFY(handle->isEmpty() && handle->isEqualTo(nullptr));
        handle->createItem(&cache);
        QVERIFY(handle->isEmpty() && handle->toData().isEmpty());
        StreamCache::Item *old = handle->item();
        StreamCache::Item *target = to == "same" ? old
                                    : to == "null" ? nullptr
                                    : (to == "other" ? &otherCache : &cache)->addItem();
        handle->itemSwap(target);
        StreamCache::Item *held = handle->item();
        QCOMPARE(held, swapped ? target : old);
        QCOMPARE(old->refCount(), swapped ? 1 : 3);
        if (target && target != old)
            QCOMPARE(target->refCount(), swapped ? 3 : 1);
        QCOMPARE(handle->isEqualTo(nullptr), !held);
        if (held) {
            held->release();
            // A reset item is empty, with the CRC of nothing.
            QVERIFY(handle->fromData("hotel") && handle->reset());
            QVERIFY(handle->isEmpty() && handle->toData().isEmpty());
            QCOMPARE(handle->crc(), 0xFFFFFFFFu);
        }
        handle->release();
        old->release();
        if (target && target != old)
            target->release();
        QCOMPARE(itemCount(&cache) + itemCount(&otherCache), 0);
    }

    void instance_data()
    {
        QTest::addColumn<bool>("host");
        QTest::addColumn<QVariant>("option");
        QTest::addColumn<int>("requested");
        QTest::addColumn<int>("expected");
        const int disk = StreamCache::Disk, memory = StreamCache::Memory;
        QTest::newRow("no host") << false << QVariant() << 0 << disk;
        QTest::newRow("no option") << true << QVariant() << 0 << disk;
        QTest::newRow("0") << true << QVariant(0) << 0 << memory;
        QTest::newRow("1 as text") << true << QVariant("1") << 0 << memory;
        QTest::newRow("2") << true << QVariant(2) << 0 << disk;
        QTest::newRow("not a number") << true << QVariant("fast") << 0 << disk;
        QTest::newRow("memory asked") << true << QVariant(2) << memory << memory;
        QTest::newRow("file") << false << QVariant() << int(StreamCache::File) << 3;
    }
    void instance()
    {
        QFETCH(bool, host);
        QFETCH(QVariant, option);
        QFETCH(int, requested);
        QFETCH(int, expected);
        std::unique_ptr<ZornTest::TestInterface> interface(host ? new ZornTest::TestInterface : nullptr);
        if (option.isValid())
            interface->options.insert("cache_type", option);
        std::unique_ptr<StreamCache> cache(StreamCache::instance(new TestCodec, StreamCache::Type(requested)));
        QCOMPARE(int(cache->type()), expected);
        StreamCache::Item *item = cache->addItem();
        QCOMPARE(item->setRawData(reversed("india"), 1, nullptr, 0), expected != StreamCache::File);
        QCOMPARE(item->data(), expected != StreamCache::File ? QByteArray("india") : QByteArray());
        item->release();
    }

    // Workers make, share, find and release items while the main thread finds one it holds.
    // Run under ThreadSanitizer and AddressSanitizer.
    void threadStress_data()
    {
        QTest::addColumn<int>("type");
        QTest::newRow("memory") << int(StreamCache::Memory);
        QTest::newRow("disk") << int(StreamCache::Disk);
    }
    void threadStress()
    {
        QFETCH(int, type);
        std::unique_ptr<StreamCache> cache(StreamCache::instance(nullptr, StreamCache::Type(type)));
        StreamCache::Item *shared = cache->addItem();
        QVERIFY(shared->setData("shared blob"));
        Workers workers;
        for (int seed = 1; seed <= 3; ++seed)
            workers.start([&, seed] {
                for (int i = 0; i < 400; ++i) {
                    StreamCache::Item *own = cache->addItem();
                    own->setData(QByteArray::number(seed * 1000 + i % 7));
                    shared->addRef();
                    if (StreamCache::Item *hit = cache->find(QByteArray::number(seed * 1000 + 3)))
                        hit->data();
                    own->release();
                    shared->release();
                }
            });
        int lookups = 0;
        for (; workers.running(); ++lookups)
            QCOMPARE(cache->find("shared blob"), shared);
        workers.wait();
        QVERIFY(lookups > 0);
        QCOMPARE(shared->refCount(), 1);
        QCOMPARE(itemCount(cache.get()), 1);
        shared->release();
    }

    // Writes, grows, shrinks, empties and deletes blobs at random, and after every step
    // compares each with a plain map and checks the layout of the file.
    void diskRandomEdits_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed : {1u, 2u, 3u, 4u})
            QTest::newRow(qPrintable(QString::number(seed))) << seed;
    }
    void diskRandomEdits()
    {
        QFETCH(quint32, seed);
        QRandomGenerator random(seed);
        DiskCache cache;
        DiskCachePrivate *file = DiskCachePrivate::get(&cache);
        QHash<StreamCache::Item *, QByteArray> expected;
        for (int step = 0; step < 150; ++step) {
            const int operation = random.bounded(10);
            const QList<StreamCache::Item *> live = expected.keys();
            StreamCache::Item *item = live.isEmpty() ? nullptr : live[random.bounded(live.size())];
            const qint64 endBefore = file->fileEnd;
            const int storedBefore = operation < 3 || !item ? 0 : diskItem(item)->storedSize;
            if (operation < 3 || !item) {
                item = cache.addItem();
                operation ? item->setRawData(randomBytes(random), 1, nullptr, 1)
                          : item->setData(randomBytes(random));
                // A new blob goes behind everything, dead ranges included.
                QCOMPARE(diskItem(item)->offset.loadRelaxed(), endBefore);
            } else if (operation < 7) {
                QByteArray bytes = randomBytes(random);
                if (operation == 3)
                    bytes.resize(int(item->size()));
                item->setRawData(bytes, 1, nullptr, 1);
            } else if (operation == 7) {
                item->setRawData(QByteArray(), 1, nullptr, 1);
                QCOMPARE(diskItem(item)->offset.loadRelaxed(), qint64(-1));
                QVERIFY(diskItem(item)->readPacked().isEmpty());
            } else {
                expected.remove(item);
                item->release();
                item = nullptr;
            }
            // The end moves by what the blob grew; deleted blobs keep their space.
            const int storedAfter = item ? diskItem(item)->storedSize : storedBefore;
            QCOMPARE(file->fileEnd - endBefore, qint64(storedAfter - storedBefore));
            if (item)
                expected[item] = item->rawData();

            QList<QPair<qint64, qint64>> ranges;
            for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
                QCOMPARE(it.key()->rawData(), it.value());
                if (diskItem(it.key())->offset.loadRelaxed() >= 0)
                    ranges.append({diskItem(it.key())->offset.loadRelaxed(), diskItem(it.key())->storedSize});
            }
            std::sort(ranges.begin(), ranges.end());
            for (int i = 0; i < ranges.size(); ++i)
                QVERIFY(ranges[i].first + ranges[i].second
                        <= (i + 1 < ranges.size() ? ranges[i + 1].first : file->fileEnd));
        }
        for (StreamCache::Item *item : expected.keys())
            item->release();
    }

    // A worker reads every blob again and again through its own file handle while the main
    // thread reads one, and resizes the first so that all others move.
    void diskConcurrentReads()
    {
        QRandomGenerator random(7);
        DiskCache cache;
        QList<StreamCache::Item *> items;
        QList<QByteArray> blobs;
        for (int i = 0; i < 12; ++i) {
            items.append(cache.addItem());
            blobs.append(randomBytes(random));
            items.last()->setRawData(blobs.last(), 1, nullptr, 1);
        }
        std::atomic<int> wrong{0};
        Workers worker;
        worker.start([&] {
            for (int round = 0; round < 20; ++round) {
                for (int i = 1; i < items.size(); ++i)
                    wrong += items[i]->rawData() != blobs[i];
            }
        });
        for (int step = 0; worker.running(); ++step) {
            if (step % 2)
                items[0]->setRawData(randomBytes(random), 1, nullptr, 1);
            else
                QCOMPARE(items[1]->rawData(), blobs[1]);
        }
        worker.wait();
        QCOMPARE(wrong.load(), 0);
        for (StreamCache::Item *item : items)
            item->release();
    }
};

QTEST_GUILESS_MAIN(tst_StreamCache)
#include "tst_streamcache.moc"
