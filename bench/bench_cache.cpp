// What the stream caches cost, each figure as a ratio against a baseline measured in the
// same run:
//  - find over 10,000 items whose CRCs are known, per item, against one integer comparison;
//  - find over 10,000 items of unknown CRC, against decoding them once;
//  - a rewrite in the middle of 100 MB of a disk cache: same size against a size change;
//  - 1,000 blobs of 20 KB loaded through the asynchronous file cache against reading them
//    one by one on one thread.
// A plain program: each figure is the best of a few runs.

#include "benchtiming.h"

#include <zornx/cache/asyncfilecache.h>
#include <zornx/cache/diskcache.h>
#include <zornx/cache/streamcache.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThreadPool>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

using namespace Zorn;

namespace {

// Encoding 1 stores the bytes reversed.
class ReverseCodec : public StreamCache::Codec
{
public:
    bool decode(unsigned int, void *, const QByteArray &raw, QByteArray *data) override
    {
        *data = raw;
        std::reverse(data->begin(), data->end());
        return true;
    }
    bool encode(unsigned int e, void *c, const QByteArray &data, QByteArray *raw) override
    {
        return decode(e, c, data, raw);
    }
};

// Nanoseconds of the fastest of runs calls.
double best(int runs, const std::function<void()> &work)
{
    return bestSeconds(runs, work) * 1e9;
}

// Sprite-like bytes: runs of a few values, so that compression has work to do.
QByteArray blob(int size, int seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = quint32(seed) * 2654435761u + 1;
    for (int i = 0; i < size;) {
        state = state * 1664525u + 1013904223u;
        const int run = 1 + int(state >> 28);
        const char value = char(state >> 20);
        for (int j = 0; j < run && i < size; ++j)
            bytes[i++] = value;
    }
    return bytes;
}

// The baseline of a scan: one comparison per element, kept scalar like the walk it measures.
__attribute__((noinline, optimize("no-tree-vectorize"))) int
countEqual(const std::vector<unsigned int> &values, unsigned int wanted)
{
    int count = 0;
    for (unsigned int value : values)
        count += value == wanted;
    return count;
}

const int Items = 10000;

void findKnown()
{
    MemoryCache cache;
    std::vector<StreamCache::Item *> items;
    std::vector<unsigned int> crcs;
    for (int i = 0; i < Items; ++i) {
        items.push_back(cache.addItem());
        items.back()->setData(QByteArray::number(i) + " blob");
        crcs.push_back(items.back()->crc());
    }
    const QByteArray missing("no such blob");
    volatile int sink = 0;
    const double scan = best(50, [&] { sink = sink + countEqual(crcs, 12345u); }) / Items;
    const double find = best(50, [&] { sink = sink + (cache.find(missing) != nullptr); }) / Items;
    std::printf("find, known CRCs: %.2f ns per item, %.2f ns per comparison: ratio %.1f\n",
                find, scan, find / scan);
    for (StreamCache::Item *item : items)
        item->release();
}

void findUnknown()
{
    const QByteArray missing("no such blob");
    double decode = 0, decodeAndCrc = 0, find = 0;
    for (int run = 0; run < 5; ++run) {
        MemoryCache cache(new ReverseCodec);
        std::vector<StreamCache::Item *> items;
        for (int i = 0; i < Items; ++i) {
            items.push_back(cache.addItem());
            items.back()->setRawData(blob(1024, i), 1, nullptr, 0);
        }
        const double once = best(1, [&] {
            for (StreamCache::Item *item : items)
                item->data();
        });
        const double withCrc = best(1, [&] {
            for (StreamCache::Item *item : items) {
                const QByteArray data = item->data();
                CRC32(data.constData(), unsigned(data.size()));
            }
        });
        const double first = best(1, [&] { cache.find(missing); });
        decode = run ? std::min(decode, once) : once;
        decodeAndCrc = run ? std::min(decodeAndCrc, withCrc) : withCrc;
        find = run ? std::min(find, first) : first;
        for (StreamCache::Item *item : items)
            item->release();
    }
    // find must also compute the CRC of each decoded blob, which the second baseline adds.
    std::printf("find, unknown CRCs (1 KB each): %.2f ms against %.2f ms decoding once: "
                "ratio %.2f; against decoding and CRC (%.2f ms): ratio %.2f\n",
                find / 1e6, decode / 1e6, find / decode, decodeAndCrc / 1e6, find / decodeAndCrc);
}

void diskRewrite()
{
    DiskCache cache;
    std::vector<StreamCache::Item *> items;
    const int blobSize = 64 * 1024;
    for (int i = 0; i < 1600; ++i) {
        items.push_back(cache.addItem());
        items.back()->setRawData(blob(blobSize, i), 1, nullptr, 1);
    }
    StreamCache::Item *middle = items[items.size() / 2];
    const QByteArray same = blob(blobSize, -1), larger = blob(blobSize + 4096, -2);
    const double sameSize = best(10, [&] { middle->setRawData(same, 1, nullptr, 1); });
    bool grow = true;
    const double resize = best(10, [&] {
        middle->setRawData(grow ? larger : same, 1, nullptr, 1);
        grow = !grow;
    });
    std::printf("disk cache, 100 MB: same-size rewrite of 64 KB in the middle %.1f us, "
                "size-changing rewrite %.1f ms: ratio %.0f\n",
                sameSize / 1e3, resize / 1e6, resize / sameSize);
    if (middle->rawData() != same || items.back()->rawData() != blob(blobSize, 1599))
        std::printf("disk cache: wrong bytes after the rewrites\n");
    for (StreamCache::Item *item : items)
        item->release();
}

void asyncLoad()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("resources.bin");
    const int count = 1000, size = 20 * 1024;
    {
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        for (int i = 0; i < count; ++i)
            file.write(blob(size, i));
    }
    auto oneByOne = [&] {
        MemoryCache target;
        std::vector<StreamCache::Item *> items;
        for (int i = 0; i < count; ++i) {
            QFile file(path);
            file.open(QIODevice::ReadOnly);
            file.seek(qint64(i) * size);
            items.push_back(target.addItem());
            items.back()->setRawData(file.read(size), 0, nullptr, 0);
        }
        for (StreamCache::Item *item : items)
            item->release();
    };
    auto async = [&] {
        AsyncFileCache cache(nullptr, new MemoryCache);
        cache.setFileName(path);
        std::vector<AsyncFileCache::Item *> items;
        for (int i = 0; i < count; ++i)
            items.push_back(cache.addAsyncItem({qint64(i) * size, unsigned(size), 0, 0, nullptr}));
        for (AsyncFileCache::Item *item : items)
            item->waitForDataReady();
    };
    oneByOne();
    const double serial = best(5, oneByOne);
    const double parallel = best(5, async);
    std::printf("async file cache, 1,000 blobs of 20 KB on %d threads: %.1f ms against %.1f ms "
                "one by one: speed-up %.2fx\n",
                QThreadPool::globalInstance()->maxThreadCount(), parallel / 1e6, serial / 1e6,
                serial / parallel);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    findKnown();
    findUnknown();
    diskRewrite();
    asyncLoad();
    return 0;
}
