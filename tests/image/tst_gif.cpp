#include "sprites.h"

#include <zornx/image/gifimage.h>
#include <zornx/image/imagecodecs.h>

#include <QtCore/QBuffer>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

using namespace Zorn;
using ZornTest::randomSprite;

Q_DECLARE_METATYPE(Zorn::RGBA)

namespace {

QByteArray write(GIFImage &gif)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return gif.save(&buffer) ? buffer.data() : QByteArray();
}

QByteArray writeFrames(const QVector<AnimImageFrame> &frames, float scale = 1, float velocity = 1,
                       bool shared = false, bool loop = true)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return saveGIF(&buffer, frames, scale, velocity, shared, loop) ? buffer.data() : QByteArray();
}

bool read(GIFImage &gif, QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return gif.load(&buffer);
}

// The four data bytes of every graphics control block, in file order.
QList<QByteArray> controlBlocks(const QByteArray &file)
{
    QList<QByteArray> blocks;
    for (int at = file.indexOf("\x21\xf9\x04"); at >= 0; at = file.indexOf("\x21\xf9\x04", at + 1))
        blocks.append(file.mid(at + 3, 4));
    return blocks;
}

QVector<RGB> grays(int count)
{
    QVector<RGB> map;
    for (int i = 0; i < count; ++i)
        map.append(RGB(uchar(i), uchar(i * 2), uchar(255 - i)));
    return map;
}

GIFImage::SubImage frame(const QImage &image, ushort transparent = 65535, float delay = 0)
{
    return GIFImage::SubImage{image, {}, 0, 0, transparent, delay};
}

QImage solid(QSize size, QRgb color)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

// ImageMagick's output, or the reason it failed.
QByteArray run(const char *program, const QStringList &arguments)
{
    QProcess process;
    process.start(QString::fromLatin1(program), arguments);
    if (!process.waitForFinished(60000) || process.exitCode() != 0)
        return "failed: " + process.readAllStandardError();
    return process.readAllStandardOutput();
}

} // namespace

class tst_Gif : public QObject
{
    Q_OBJECT

private slots:
    // What the control blocks, screen and loop block hold, byte for byte.
    void fileBytes_data()
    {
        QTest::addColumn<QList<ushort>>("transparent");
        QTest::addColumn<QList<float>>("delays");
        QTest::addColumn<bool>("loop");
        QTest::addColumn<QByteArray>("background");
        QTest::addColumn<QList<QByteArray>>("blocks");
        const auto hex = [](const char *text) { return QByteArray::fromHex(text); };
        // Transparency flag only with an index a reader can use; disposal 2 with any index.
        QTest::newRow("flags") << QList<ushort>{0, 65535, 7, 300} << QList<float>{0, 5, 300, 0}
                               << true << hex("00")
                               << QList<QByteArray>{hex("09000000"), hex("00050000"),
                                                    hex("092c0107"), hex("08000000")};
        QTest::newRow("remainder carried") << QList<ushort>{65535, 65535, 65535, 65535}
                                           << QList<float>{1.6f, 1.6f, 1.6f, 1.6f} << false
                                           << hex("00")
                                           << QList<QByteArray>{hex("00010000"), hex("00020000"),
                                                                hex("00010000"), hex("00020000")};
        QTest::newRow("one frame") << QList<ushort>{9} << QList<float>{40} << false << hex("09")
                                   << QList<QByteArray>();
        QTest::newRow("one opaque frame") << QList<ushort>{65535} << QList<float>{0} << true
                                          << hex("00") << QList<QByteArray>();
    }
    void fileBytes()
    {
        QFETCH(QList<ushort>, transparent);
        QFETCH(QList<float>, delays);
        QFETCH(bool, loop);
        QFETCH(QByteArray, background);
        QFETCH(QList<QByteArray>, blocks);
        GIFImage gif(6, 4, loop);
        gif.globalColorMap() = grays(16);
        for (int i = 0; i < transparent.size(); ++i)
            gif.images().append(frame(randomSprite(QSize(6, 4), 16, quint32(i)), transparent[i],
                                      delays[i]));
        const QByteArray file = write(gif);
        QVERIFY(file.startsWith("GIF89a\x06\x00\x04\x00"));
        QCOMPARE(file.at(10), char(0xb3)); // global map of 16, colour resolution 4
        QCOMPARE(file.mid(11, 1), background);
        QCOMPARE(controlBlocks(file), blocks);
        const QByteArray loopBlock = QByteArray::fromHex("21ff0b") + "NETSCAPE2.0"
                                     + QByteArray::fromHex("0301000000");
        QCOMPARE(file.contains(loopBlock), loop);
        QVERIFY(file.endsWith(';'));
    }

    // GIFImage through its own writer and reader: pictures, maps, places, timing, loop.
    void roundTrip_data()
    {
        QTest::addColumn<int>("globalColors");
        QTest::addColumn<QList<int>>("localColors"); // 0: the global map serves
        QTest::addColumn<bool>("mono");
        QTest::newRow("one frame, 256 colours") << 256 << QList<int>{0} << false;
        QTest::newRow("local maps, padded") << 0 << QList<int>{5, 256, 3} << false;
        QTest::newRow("mixed maps") << 32 << QList<int>{0, 7, 0, 0} << false;
        QTest::newRow("two colours") << 2 << QList<int>{0, 0} << true;
    }
    void roundTrip()
    {
        QFETCH(int, globalColors);
        QFETCH(QList<int>, localColors);
        QFETCH(bool, mono);
        GIFImage gif(40, 30, localColors.size() > 1);
        gif.globalColorMap() = grays(globalColors);
        for (int i = 0; i < localColors.size(); ++i) {
            const int colors = localColors[i] ? localColors[i] : globalColors;
            QImage image = randomSprite(QSize(9 + i * 7, 5 + i * 3), colors, quint32(40 + i));
            if (mono)
                image = image.convertToFormat(QImage::Format_Mono);
            GIFImage::SubImage sub = frame(image, i % 2 ? 65535 : ushort(i), float(3 * i + 2));
            sub.colorMap = grays(localColors[i]);
            sub.left = ushort(i * 2);
            sub.top = ushort(i);
            gif.images().append(sub);
        }
        GIFImage back;
        QVERIFY(read(back, write(gif)));
        const bool several = localColors.size() > 1;
        QCOMPARE(back.canLoop(), several);
        QCOMPARE(back.width(), several ? gif.width() : ushort(gif.images()[0].image.width()));
        QCOMPARE(back.globalColorMap().mid(0, globalColors), gif.globalColorMap());
        QCOMPARE(back.images().size(), gif.images().size());
        for (int i = 0; i < localColors.size(); ++i) {
            const GIFImage::SubImage &in = gif.images()[i], &out = back.images()[i];
            QCOMPARE(out.image.format(), in.image.format());
            QCOMPARE(out.image.size(), in.image.size());
            for (int y = 0; y < in.image.height(); ++y)
                for (int x = 0; x < in.image.width(); ++x)
                    QCOMPARE(out.image.pixelIndex(x, y), in.image.pixelIndex(x, y));
            // giflib's maps are powers of two: the padding is black.
            const int padded[] = {0, 2, 2, 4, 4, 8, 8, 8, 8};
            QCOMPARE(out.colorMap.size(), in.colorMap.size() > 8 ? 256 : padded[in.colorMap.size()]);
            QCOMPARE(out.colorMap.mid(0, in.colorMap.size()), in.colorMap);
            QCOMPARE(out.left, in.left);
            QCOMPARE(out.top, in.top);
            // A single frame has no control block: neither transparency nor delay comes back.
            QCOMPARE(out.transparent, several ? in.transparent : ushort(65535));
            QCOMPARE(out.delay, several ? in.delay : 0.0f);
        }
    }

    // saveGIF: layout of frames, timing, palettes and which pixels are transparent.
    void saveFrames_data()
    {
        QTest::addColumn<float>("scale");
        QTest::addColumn<float>("velocity");
        QTest::addColumn<bool>("indexed"); // the second frame indexed, the others true colour
        QTest::addColumn<bool>("shared");
        QTest::newRow("true colour") << 1.0f << 1.0f << false << false;
        QTest::newRow("velocity 2, scale 2") << 2.0f << 2.0f << false << false;
        QTest::newRow("scale 0 counts as 1") << 0.0f << 1.0f << false << false;
        QTest::newRow("one frame indexed") << 1.0f << 1.0f << true << false;
        QTest::newRow("one frame indexed, shared") << 1.0f << 1.0f << true << true;
    }
    void saveFrames()
    {
        QFETCH(float, scale);
        QFETCH(float, velocity);
        QFETCH(bool, indexed);
        QFETCH(bool, shared);
        QVector<AnimImageFrame> frames;
        const QPoint offsets[] = {QPoint(5, 10), QPoint(2, 12), QPoint(8, 3)};
        for (int i = 0; i < 3; ++i) {
            QImage image = solid(QSize(10 + i, 14), qRgb(200, 30 * i, 0));
            image.setPixel(0, 0, qRgba(0, 0, 0, 127)); // transparent
            image.setPixel(1, 0, qRgba(0, 0, 0, 128)); // opaque black, never index 0
            image.setPixel(2, 0, qRgb(0, 0, 0));
            frames.append({image, offsets[i], 6 * (i + 1)});
        }
        if (indexed)
            frames[1].image = randomSprite(QSize(11, 14), 16, 7);
        frames.insert(1, AnimImageFrame()); // null pictures are left out
        GIFImage gif;
        QVERIFY(read(gif, writeFrames(frames, scale, velocity, shared, false)));
        if (scale <= 0)
            scale = 1;
        QCOMPARE(gif.images().size(), 3);
        QCOMPARE(int(gif.width()), int((8 + 9) * scale)); // largest offset + largest rest
        QCOMPARE(int(gif.height()), int((12 + 11) * scale));
        QCOMPARE(gif.globalColorMap().isEmpty(), indexed && !shared);
        for (int i = 0; i < 3; ++i) {
            const GIFImage::SubImage &sub = gif.images()[i];
            const AnimImageFrame &in = frames[i ? i + 1 : 0];
            QCOMPARE(sub.left, ushort((8 - in.offset.x()) * scale));
            QCOMPARE(sub.top, ushort((12 - in.offset.y()) * scale));
            QCOMPARE(sub.image.size(), in.image.size() * scale);
            QCOMPARE(sub.delay, float(int(10 * (i + 1) / velocity)));
            QCOMPARE(sub.colorMap.isEmpty(), !indexed || shared);
            if (indexed && i == 1)
                continue;
            // Index 0 is transparent; opaque pixels, black ones too, never use it.
            QCOMPARE(sub.transparent, ushort(0));
            QCOMPARE(sub.image.pixelIndex(0, 0), 0);
            QVERIFY(sub.image.pixelIndex(int(1 * scale), 0) > 0);
            QVERIFY(sub.image.pixelIndex(int(2 * scale), 0) > 0);
            if (shared && i > 0)
                continue; // adapted to the first frame's colours
            const QVector<RGB> &map = sub.colorMap.isEmpty() ? gif.globalColorMap() : sub.colorMap;
            const RGB body = map.value(sub.image.pixelIndex(sub.image.width() - 1, 5));
            QVERIFY(qAbs(body.green - 30 * i) <= 8 && qAbs(body.red - 200) <= 8);
        }
        QVERIFY(writeFrames({}).isEmpty());
    }

    // Tables from the octree: leaf means in child order, counts held to the maximum.
    void quantizer_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<int>("maxColors");
        QTest::addColumn<int>("colors");
        QTest::addColumn<QVector<RGBA>>("head"); // the table's first entries
        QTest::newRow("one colour") << solid(QSize(3, 2), qRgba(10, 20, 30, 40)) << 255 << 1
                                    << QVector<RGBA>{RGBA(10, 20, 30, 40), RGBA()};
        QImage two = solid(QSize(4, 1), qRgb(250, 0, 9));
        two.setPixel(3, 0, qRgb(2, 100, 10));
        QTest::newRow("child order") << two << 2 << 2
                                     << QVector<RGBA>{RGBA(2, 100, 10, 255), RGBA(250, 0, 9, 255)};
        QTest::newRow("pixel-weighted mean") << two << 0 << 1
                                             << QVector<RGBA>{RGBA(188, 25, 9, 255), RGBA()};
        QImage ramp(256, 64, QImage::Format_RGB32);
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 256; ++x)
                ramp.setPixel(x, y, qRgb(x, y * 4, 255 - x));
        QTest::newRow("reduced") << ramp << 255 << 255 << QVector<RGBA>();
        QTest::newRow("few") << ramp << 16 << 16 << QVector<RGBA>();
    }
    void quantizer()
    {
        QFETCH(QImage, image);
        QFETCH(int, maxColors);
        QFETCH(int, colors);
        QFETCH(QVector<RGBA>, head);
        ColorQuantizer quantizer(maxColors, 8);
        QVERIFY(quantizer.processImage(image));
        QVERIFY(quantizer.colorCount() <= colors && quantizer.colorCount() >= colors * 3 / 4);
        RGBA table[256];
        std::fill(std::begin(table), std::end(table), RGBA(1, 2, 3, 4));
        quantizer.getColorTable(table);
        QCOMPARE(QVector<RGBA>(table, table + head.size()), head);
        for (int i = quantizer.colorCount(); i < 256; ++i)
            QCOMPARE(table[i], RGBA());
    }

    // loadImage and saveImage "GIF": the first frame with the file's colours.
    void dispatch()
    {
        QImage sprite = randomSprite(QSize(21, 13), 256, 3);
        QBuffer buffer;
        buffer.open(QIODevice::ReadWrite);
        QVERIFY(saveImage(&buffer, "GIF", sprite));
        buffer.seek(0);
        QImage back;
        QVERIFY(loadImage(&buffer, "GIF", back));
        QCOMPARE(back.format(), QImage::Format_Indexed8);
        QCOMPARE(back.convertToFormat(QImage::Format_RGB32),
                 sprite.convertToFormat(QImage::Format_RGB32));
        // A single frame keeps its transparent index only in the background index, which no
        // reader takes for transparency: every colour comes back opaque.
        for (QRgb c : back.colorTable())
            QCOMPARE(qAlpha(c), 255);

        // True colour is quantized; transparent pixels land on index 0.
        QImage argb = solid(QSize(4, 4), qRgb(0, 128, 255));
        argb.setPixel(3, 3, 0);
        buffer.buffer().clear();
        buffer.seek(0);
        QVERIFY(saveImage(&buffer, "GIF", argb));
        buffer.seek(0);
        QVERIFY(loadImage(&buffer, "GIF", back));
        QCOMPARE(back.pixelIndex(3, 3), 0);
        QCOMPARE(back.pixel(0, 0), qRgb(0, 128, 255));
    }

    // Truncated and damaged files fail cleanly, keeping complete frames read before the damage.
    void malformed()
    {
        GIFImage gif(30, 20, true);
        gif.globalColorMap() = grays(256);
        for (int i = 0; i < 3; ++i)
            gif.images().append(frame(randomSprite(QSize(30, 20), 256, quint32(i)), 0, 4));
        const QByteArray file = write(gif);
        QVERIFY(!file.isEmpty());
        for (int size = 0; size < file.size() - 1; ++size) {
            GIFImage part;
            QVERIFY(!read(part, file.left(size)));
            QVERIFY(part.images().size() <= 2);
        }
        GIFImage last;
        QVERIFY(!read(last, file.left(file.size() - 2)));
        QCOMPARE(last.images().size(), 2);
        // An image of 65535 × 65535 in a file of a few bytes: refused, nothing read past the end.
        QByteArray huge = QByteArray::fromHex("4749463839610100010080000000000000ffffff"
                                              "2c00000000ffffffff000802");
        QVERIFY(!read(last, huge + QByteArray(40, '\x55')));
        QVERIFY(!read(last, QByteArray("GIF89a")));
        QVERIFY(!read(last, QByteArray(200, 'G')));
        QBuffer closed;
        QVERIFY(!last.load(&closed) || last.images().isEmpty());
        GIFImage empty;
        QBuffer sink;
        QVERIFY(!empty.save(&sink));
    }

    // Files by ImageMagick: frames, delays and transparency as it wrote them; a background
    // index never makes an opaque picture transparent.
    void fromImageMagick()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("convert")).isEmpty())
            QSKIP("ImageMagick is not installed");
        QTemporaryDir dir;
        QStringList arguments{QStringLiteral("-dispose"), QStringLiteral("Background")};
        const int delays[] = {7, 12, 30};
        for (int i = 0; i < 3; ++i) {
            QImage image = solid(QSize(8, 6), qRgb(40 * i, 255, 0));
            if (i > 0)
                image.setPixel(i, 2, 0);
            const QString name = dir.filePath(QStringLiteral("%1.png").arg(i));
            QVERIFY(image.save(name));
            arguments << QStringLiteral("-delay") << QString::number(delays[i]) << name;
        }
        const QString animation = dir.filePath(QStringLiteral("anim.gif"));
        arguments << QStringLiteral("-loop") << QStringLiteral("0") << animation;
        QCOMPARE(run("convert", arguments), QByteArray());
        QFile file(animation);
        QVERIFY(file.open(QIODevice::ReadOnly));
        GIFImage gif;
        QVERIFY(gif.load(&file));
        QVERIFY(gif.canLoop());
        QCOMPARE(gif.images().size(), 3);
        for (int i = 0; i < 3; ++i) {
            const GIFImage::SubImage &sub = gif.images()[i];
            QCOMPARE(sub.delay, float(delays[i]));
            const QVector<RGB> &map = sub.colorMap.isEmpty() ? gif.globalColorMap() : sub.colorMap;
            for (int y = 0; y < 6; ++y) {
                for (int x = 0; x < 8; ++x) {
                    const int index = sub.image.pixelIndex(x - sub.left, y - sub.top);
                    if (i > 0 && x == i && y == 2)
                        QCOMPARE(index, int(sub.transparent));
                    else
                        QCOMPARE(map.value(index), RGB(uchar(40 * i), 255, 0));
                }
            }
        }

        // An opaque picture whose background index is a colour it uses.
        const QString still = dir.filePath(QStringLiteral("still.gif"));
        QCOMPARE(run("convert", {QStringLiteral("-size"), QStringLiteral("5x5"),
                               QStringLiteral("xc:#102030"), still}),
                 QByteArray());
        QVERIFY(QFile(still).size() > 13);
        QFile stillFile(still);
        QVERIFY(stillFile.open(QIODevice::ReadOnly));
        QImage image;
        QVERIFY(loadImage(&stillFile, "GIF", image));
        QCOMPARE(image.pixel(2, 2), qRgb(0x10, 0x20, 0x30));
    }

    // What ImageMagick reads from saveGIF's files: the delays and disposal we wrote, and the
    // transparency of index 0.
    void readByImageMagick()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("identify")).isEmpty())
            QSKIP("ImageMagick is not installed");
        QVector<AnimImageFrame> frames;
        const int times[] = {3, 6, 1, 9}; // 5, 10, 1.67 and 15 hundredths
        for (int i = 0; i < 4; ++i) {
            QImage image = solid(QSize(12, 9), qRgb(250, 20 * i, 90));
            image.setPixel(0, 0, 0);
            frames.append({image, QPoint(i, 0), times[i]});
        }
        QTemporaryDir dir;
        const QString name = dir.filePath(QStringLiteral("ours.gif"));
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(saveGIF(&file, frames, 1, 1, false, true));
        file.close();
        QCOMPARE(run("identify", {QStringLiteral("-format"), QStringLiteral("%T %D\n"), name}),
                 QByteArray("5 Background\n10 Background\n1 Background\n15 Background\n"));
        QCOMPARE(run("convert", {name + QStringLiteral("[2]"), QStringLiteral("-format"),
                               QStringLiteral("%[fx:p{0,0}.a] %[fx:p{5,5}.a]"),
                               QStringLiteral("info:")}),
                 QByteArray("0 1"));
    }
};

QTEST_GUILESS_MAIN(tst_Gif)
#include "tst_gif.moc"
