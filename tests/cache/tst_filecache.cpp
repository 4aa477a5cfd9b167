#include "cachetest.h"
#include "fixtures.h"

#include <zornx/cache/asyncfilecache.h>
#include <zornx/cache/diskcache.h>
#include <zornx/cache/filecache.h>

#include <QtCore/QSemaphore>
#include <QtCore/QThreadPool>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

using namespace Zorn;

namespace {

// Keeps every thread of the global pool busy until it goes, so that reads queue up.
class PoolBlocker
{
public:
    PoolBlocker()
    {
        for (int i = 0; i < threads; ++i)
            blockers.start([this] {
                started.release();
                gate.acquire();
            });
        started.acquire(threads);
    }
    ~PoolBlocker()
    {
        gate.release(threads);
        blockers.wait();
    }

private:
    const int threads = QThreadPool::globalInstance()->maxThreadCount();
    QSemaphore started, gate;
    Workers blockers;
};

} // namespace

class tst_FileCache : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void fileItem_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<uint>("encoding");
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("missing") << "kilo.rev" << QByteArray() << 1u << QByteArray();
        QTest::newRow("encoded") << "lima.rev" << QByteArray("amil") << 1u << QByteArray("lima");
        QTest::newRow("unknown suffix") << "mike.txt" << QByteArray("mike") << 0u
                                        << QByteArray("mike");
    }
    void fileItem()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(uint, encoding);
        QFETCH(QByteArray, data);
        QTemporaryDir dir;
        const QString path = dir.filePath(name);
        if (!content.isEmpty())
            QVERIFY(ZornTest::writeFile(path, content));
        FileCache cache(new TestCodec);
        auto *item = static_cast<FileCache::Item *>(
            cache.addItem(QVariant::fromValue(FileCache::ItemInfo{path, nullptr})));
        QCOMPARE(item->encoding(), encoding);
        QCOMPARE(item->size(), unsigned(content.size()));
        QCOMPARE(item->isValid(), !content.isEmpty());
        QCOMPARE(item->crc(), encoding ? 0u : 0xFFFFFFFFu);
        QCOMPARE(item->rawData(), content);
        QCOMPARE(item->data(), data);
        // A file item stores only encoded data.
        QVERIFY(!item->setData("november"));
        QCOMPARE(item->rawData(), content);
        // A file not of the codec's kinds keeps the CRC of nothing, and is never found.
        if (!data.isEmpty())
            QCOMPARE(cache.find(data), encoding ? item : nullptr);

        // A new encoding writes anew under the same name; a failed write still takes the
        // fields.
        QVERIFY(item->setRawData("oscar", 3, nullptr, 77));
        QCOMPARE(item->rawData(), QByteArray("oscar"));
        QCOMPARE(item->encoding(), 3u);
        QCOMPARE(item->size(), 5u);
        const QString renamed = dir.filePath("papa.rev");
        QVERIFY(item->rename(renamed));
        QCOMPARE(item->fileName(), renamed);
        QVERIFY(!QFile::exists(path));
        QVERIFY(!item->rename(dir.filePath("no/such/dir.rev")));
        QCOMPARE(item->fileName(), dir.filePath("no/such/dir.rev"));
        QVERIFY(!item->setRawData("quebec", 1, nullptr, 0));
        QCOMPARE(item->size(), 6u);
        QVERIFY(item->rename(renamed) == false && QFile::exists(renamed));
        item->release();
    }

    // Blobs of one file read on the pool into a memory or a disk target: rawData() answers
    // while the reads wait, items are released with their reads still queued, and every
    // read ends in one queued itemLoaded.
    void asyncLoad_data()
    {
        QTest::addColumn<int>("targetType");
        QTest::addColumn<bool>("fileExists");
        QTest::newRow("memory") << int(StreamCache::Memory) << true;
        QTest::newRow("disk") << int(StreamCache::Disk) << true;
        QTest::newRow("missing file") << int(StreamCache::Memory) << false;
    }
    void asyncLoad()
    {
        QFETCH(int, targetType);
        QFETCH(bool, fileExists);
        QTemporaryDir dir;
        const QString path = dir.filePath("resources.bin");
        QByteArray file;
        QList<AsyncFileCache::Item::Info> blobs;
        for (int i = 0; i < 24; ++i) {
            const QByteArray blob = QByteArray("romeo ").repeated(1 + i * 37) + QByteArray::number(i);
            blobs.append({file.size(), unsigned(blob.size()), 0, unsigned(i % 2), nullptr});
            file += blob;
        }
        if (fileExists)
            QVERIFY(ZornTest::writeFile(path, file));
        auto expectedRaw = [&](int i) {
            return fileExists ? file.mid(blobs[i].offset, blobs[i].size) : QByteArray();
        };

        StreamCache *target = StreamCache::instance(nullptr, StreamCache::Type(targetType));
        auto *cache = new AsyncFileCache(new TestCodec, target);
        QCOMPARE(int(cache->type()), targetType);
        cache->setFileName(path);
        QSet<const AsyncFileCache::Item *> loaded;
        QObject receiver;
        connect(cache, &AsyncFileCache::itemLoaded, &receiver,
                [&](const AsyncFileCache::Item *item) { loaded.insert(item); },
                Qt::QueuedConnection);

        QList<AsyncFileCache::Item *> items;
        {
            PoolBlocker blocker;
            for (const auto &blob : blobs)
                items.append(cache->addAsyncItem(blob));
            for (int i = 0; i < items.size(); ++i)
                QCOMPARE(items[i]->rawData(), expectedRaw(i));
            // Released with its read still queued: the release waits for it.
            for (int i = 0; i < items.size(); i += 3)
                items[i]->release();
        }
        for (int i = 0; i < items.size(); ++i) {
            if (i % 3 == 0)
                continue;
            items[i]->waitForDataReady();
            QCOMPARE(items[i]->rawData(), expectedRaw(i));
            QCOMPARE(items[i]->data(), i % 2 && fileExists ? reversed(expectedRaw(i)) : expectedRaw(i));
            QCOMPARE(items[i]->size(), unsigned(expectedRaw(i).size()));
            QTRY_VERIFY(loaded.contains(items[i]));
        }
        QTRY_COMPARE(loaded.size(), blobs.size());
        QCOMPARE(itemCount(cache), blobs.size() - (blobs.size() + 2) / 3);
        // What was read stays in the target, also for released items.
        QCOMPARE(itemCount(target), blobs.size());

        // Writing waits for the read and goes through to the target's item.
        QVERIFY(items[1]->setRawData("sierra", 0, nullptr, 0));
        QCOMPARE(items[1]->crc(), CRC32("sierra", 6));
        QCOMPARE(target->find("sierra")->rawData(), QByteArray("sierra"));

        // An item made without Info wraps a new item of the target, and reads nothing.
        StreamCache::Item *plain = cache->addItem();
        QCOMPARE(plain->crc(), 0xFFFFFFFFu);
        QVERIFY(plain->setData("tango", 1));
        QCOMPARE(plain->data(), QByteArray("tango"));
        QCOMPARE(itemCount(target), blobs.size() + 1);

        // A new file name clears the cache, waiting for reads that still run.
        {
            PoolBlocker blocker;
            cache->addAsyncItem(blobs[5]);
            cache->setFileName(dir.filePath("other.bin"));
        }
        QCOMPARE(itemCount(cache), 0);
        QCOMPARE(cache->fileName(), dir.filePath("other.bin"));
        cache->addAsyncItem(blobs[6]);
        // The cache ends its reads and the target's items; AddressSanitizer checks leaks.
        cache->release();
    }
};

QTEST_GUILESS_MAIN(tst_FileCache)
#include "tst_filecache.moc"
