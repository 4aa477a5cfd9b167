#include "cachetest.h"

#include <zornx/cache/diskcache.h>
#include <zornx/cache/diskcache_p.h>
#include <zornx/cache/streamcache_p.h>

#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

#include <algorithm>
#include <atomic>

using namespace Zorn;

namespace {

QByteArray randomBytes(QRandomGenerator &random, int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &byte : bytes)
        byte = char(random.bounded(256));
    return bytes;
}

// Mostly small blobs, and every fourth larger than the cache's move buffer.
int randomSize(QRandomGenerator &random)
{
    return random.bounded(4) == 0 ? DiskCachePrivate::BufferSize + random.bounded(40000)
                                  : 1 + random.bounded(3000);
}

DiskItem *diskItem(StreamCache::Item *item)
{
    return static_cast<DiskItem *>(item);
}

} // namespace

class tst_DiskCache : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Writes, grows, shrinks, empties and deletes at random, and after every step compares
    // each blob with a plain map and checks the layout of the file.
    void randomEdits_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed : {1u, 2u, 3u, 4u})
            QTest::newRow(qPrintable(QString::number(seed))) << seed;
    }
    void randomEdits()
    {
        QFETCH(quint32, seed);
        QRandomGenerator random(seed);
        DiskCache cache;
        DiskCachePrivate *file = DiskCachePrivate::get(&cache);
        QHash<StreamCache::Item *, QByteArray> expected;
        for (int step = 0; step < 150; ++step) {
            const int operation = random.bounded(10);
            const QList<StreamCache::Item *> live = expected.keys();
            StreamCache::Item *item =
                live.isEmpty() ? nullptr : live.at(random.bounded(live.size()));
            const qint64 endBefore = file->fileEnd;
            const int storedBefore = item ? diskItem(item)->storedSize : 0;
            if (operation < 3 || !item) {
                item = cache.addItem();
                expected.insert(item, QByteArray());
                operation == 0 ? item->setData(randomBytes(random, randomSize(random)))
                               : item->setRawData(randomBytes(random, randomSize(random)), 1,
                                                  nullptr, 1);
                // A new blob goes behind everything, dead ranges included.
                QCOMPARE(diskItem(item)->offset.loadRelaxed(), endBefore);
            } else if (operation < 7) {
                const int size = random.bounded(3) == 0 ? int(item->size()) : randomSize(random);
                item->setRawData(randomBytes(random, size), 1, nullptr, 1);
            } else if (operation == 7) {
                item->setRawData(QByteArray(), 1, nullptr, 1);
                QCOMPARE(diskItem(item)->offset.loadRelaxed(), qint64(-1));
                QVERIFY(diskItem(item)->readPacked().isEmpty());
            } else {
                expected.remove(item);
                item->release();
                QCOMPARE(file->fileEnd, endBefore);
            }
            if (expected.contains(item)) {
                expected[item] = item->rawData();
                // The end moves by what the blob grew; deleted blobs keep their space.
                QCOMPARE(file->fileEnd - endBefore,
                         qint64(diskItem(item)->storedSize) - (operation < 3 ? 0 : storedBefore));
            }

            QList<QPair<qint64, qint64>> ranges;
            for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
                DiskItem *blob = diskItem(it.key());
                QCOMPARE(blob->rawData(), it.value());
                if (blob->offset.loadRelaxed() >= 0)
                    ranges.append({blob->offset.loadRelaxed(), blob->storedSize});
            }
            std::sort(ranges.begin(), ranges.end());
            for (int i = 0; i < ranges.size(); ++i) {
                const qint64 end = ranges[i].first + ranges[i].second;
                QVERIFY(end <= (i + 1 < ranges.size() ? ranges[i + 1].first : file->fileEnd));
            }
        }
        for (StreamCache::Item *item : expected.keys())
            item->release();
    }

    // A worker reads every blob again and again, through its own file handle, while the
    // main thread reads too, or resizes the first blob so that all others move.
    void concurrentReads_data()
    {
        QTest::addColumn<bool>("resize");
        QTest::newRow("reads only") << false;
        QTest::newRow("with resizes") << true;
    }
    void concurrentReads()
    {
        QFETCH(bool, resize);
        QRandomGenerator random(7);
        DiskCache cache;
        QList<StreamCache::Item *> items;
        QList<QByteArray> blobs;
        for (int i = 0; i < 12; ++i) {
            items.append(cache.addItem());
            blobs.append(randomBytes(random, randomSize(random)));
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
        while (worker.running()) {
            if (resize)
                items[0]->setRawData(randomBytes(random, randomSize(random)), 1, nullptr, 1);
            else
                QCOMPARE(items[1]->rawData(), blobs[1]);
        }
        worker.wait();
        QCOMPARE(wrong.load(), 0);
        for (StreamCache::Item *item : items)
            item->release();
    }
};

QTEST_GUILESS_MAIN(tst_DiskCache)
#include "tst_diskcache.moc"
