#include "sprites.h"

#include <zornx/image/imageoperations.h>

#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <cmath>

using namespace Zorn;
using ZornTest::randomSprite;

namespace {

struct Palette
{
    RGBA entries[256];
    explicit Palette(const QImage &image)
    {
        for (int i = 0; i < image.colorCount() && i < 256; ++i) {
            const QRgb c = image.color(i);
            entries[i] = RGBA(uchar(qRed(c)), uchar(qGreen(c)), uchar(qBlue(c)), uchar(qAlpha(c)));
        }
    }
};

} // namespace

class tst_ImageOperations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void crop_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<int>("margin");
        QTest::addColumn<QRect>("rect");

        // 8×6 with a 3×2 block of index 5 at (2, 1) and one pixel of 7 at (6, 4).
        QVector<QRgb> table(8, qRgb(9, 9, 9));
        QImage indexed(8, 6, QImage::Format_Indexed8);
        indexed.setColorTable(table);
        indexed.fill(1);
        for (int y = 1; y < 3; ++y)
            for (int x = 2; x < 5; ++x)
                indexed.setPixel(x, y, 5);
        indexed.setPixel(6, 4, 7);
        QTest::newRow("indexed: top-left colour is free") << indexed << 0 << QRect(2, 1, 5, 4);
        QTest::newRow("margin stops at the last row and column")
            << indexed << 3 << QRect(0, 0, 8, 6);
        QTest::newRow("margin inside") << indexed << 1 << QRect(1, 0, 7, 6);
        table[5] = qRgba(0, 0, 0, 0);
        indexed.setColorTable(table);
        // With a transparent entry only transparent entries are free, not the corner's.
        QTest::newRow("indexed: transparent entries are free") << indexed << 0 << QRect(0, 0, 8, 6);
        table[1] = qRgba(0, 0, 0, 0);
        indexed.setColorTable(table);
        QTest::newRow("indexed: only the lone pixel") << indexed << 0 << QRect(6, 4, 1, 1);

        QImage argb(5, 5, QImage::Format_ARGB32);
        argb.fill(qRgba(200, 0, 0, 0));
        QTest::newRow("fully transparent") << argb << 2 << QRect(0, 0, 0, 0);
        argb.setPixel(3, 1, qRgba(0, 0, 0, 1));
        QTest::newRow("argb: alpha 0 is free") << argb << 0 << QRect(3, 1, 1, 1);
        QImage rgb(5, 5, QImage::Format_RGB32);
        rgb.fill(qRgb(1, 2, 3));
        rgb.setPixel(0, 4, qRgb(1, 2, 4));
        QTest::newRow("rgb: the corner's colour is free") << rgb << 0 << QRect(0, 4, 1, 1);
        QTest::newRow("other formats") << rgb.convertToFormat(QImage::Format_RGB888) << 0
                                       << QRect(0, 0, 0, 0);
        QTest::newRow("null") << QImage() << 0 << QRect(0, 0, 0, 0);
    }
    void crop()
    {
        QFETCH(QImage, image);
        QFETCH(int, margin);
        QFETCH(QRect, rect);
        QCOMPARE(cropImageRect(image, margin), rect);

        QImage cropped = image;
        QPoint offset(-1, -1);
        const bool changes = !rect.isEmpty() && rect != image.rect();
        QCOMPARE(cropImage(cropped, &offset, margin), changes);
        QCOMPARE(cropped, changes ? image.copy(rect) : image);
        QCOMPARE(offset, changes ? rect.topLeft() : QPoint(-1, -1));
    }

    void rotate_data()
    {
        QTest::addColumn<QImage>("image");
        const QImage sprite = randomSprite(QSize(31, 17), 32, 4);
        QTest::newRow("indexed") << sprite;
        QTest::newRow("argb") << sprite.convertToFormat(QImage::Format_ARGB32);
    }
    void rotate()
    {
        QFETCH(QImage, image);
        const bool indexed = image.format() == QImage::Format_Indexed8;
        const uint background = 0x12345678;
        QCOMPARE(rotateImage(image, 0, background), image);

        const QImage quarter = rotateImage(image, float(M_PI / 2), background);
        QCOMPARE(quarter.size(), image.size().transposed());
        QCOMPARE(quarter.format(), image.format());

        // A slanted picture gets larger; its corners lie outside the source, and pixels only
        // move.
        const QImage slanted = rotateImage(image, 0.5f, background);
        QVERIFY(slanted.width() > image.width() && slanted.height() > image.height());
        const auto color = [indexed](const QImage &i, int x, int y) {
            return indexed ? QRgb(i.pixelIndex(x, y)) : i.pixel(x, y);
        };
        QCOMPARE(color(slanted, 0, 0), indexed ? 0x78u : background);
        QSet<QRgb> colors;
        for (int y = 0; y < slanted.height(); ++y)
            for (int x = 0; x < slanted.width(); ++x)
                colors.insert(color(slanted, x, y));
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                colors.remove(color(image, x, y));
        QCOMPARE(colors, QSet<QRgb>({indexed ? 0x78u : background}));
    }

    void nearest_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<QSize>("size");
        const QImage sprite = randomSprite(QSize(33, 20), 256, 8);
        QTest::newRow("indexed 1:1") << sprite << sprite.size();
        QTest::newRow("indexed double") << sprite << sprite.size() * 2;
        QTest::newRow("argb triple") << sprite.convertToFormat(QImage::Format_ARGB32)
                                     << sprite.size() * 3;
        QTest::newRow("wider than 32767, 1:1") << randomSprite(QSize(40000, 2), 256, 9)
                                                << QSize(40000, 2);
        QTest::newRow("one pixel to a long line") << sprite.copy(0, 0, 1, 1) << QSize(1000, 300);
    }
    void nearest()
    {
        QFETCH(QImage, image);
        QFETCH(QSize, size);
        const QImage result = resizeImageNearest(image, size);
        QCOMPARE(result.size(), size);
        QCOMPARE(result.format(), image.format());
        const int factor = size.width() / image.width();
        if (size.width() % image.width() == 0 && factor <= 3)
            for (int y = 0; y < size.height(); ++y)
                for (int x = 0; x < size.width(); ++x)
                    QCOMPARE(result.pixel(x, y), image.pixel(x / factor, y / factor));
        else
            QCOMPARE(result.pixel(size.width() - 1, size.height() - 1), image.pixel(0, 0));
    }

    // Blends of a black and a grey pixel, mapped to the nearest palette entry.
    void bilinear()
    {
        QImage image(2, 1, QImage::Format_Indexed8);
        image.scanLine(0)[0] = 0;
        image.scanLine(0)[1] = 1;
        RGBA palette[256];
        palette[0] = RGBA(0, 0, 0, 255);
        palette[1] = RGBA(200, 200, 200, 255);
        for (int i = 2; i < 256; ++i)
            palette[i] = RGBA(uchar(i / 2), uchar(i / 2), uchar(i / 2), 255);
        const QImage wide = resizeImageBilinear(image, QSize(4, 1), palette);
        // Source columns 0, 0.5, 1, 1.5: black, 100 (entry 200 before 201), 200 (entry 1).
        QCOMPARE(wide.pixelIndex(0, 0), 0);
        QCOMPARE(wide.pixelIndex(1, 0), 200);
        QCOMPARE(wide.pixelIndex(2, 0), 1);
        QCOMPARE(wide.pixelIndex(3, 0), 1);

        QImage argb(2, 1, QImage::Format_ARGB32);
        argb.setPixel(0, 0, qRgba(0, 0, 0, 0));
        argb.setPixel(1, 0, qRgba(200, 100, 50, 255));
        const QImage blended = resizeImageBilinear(argb, QSize(4, 1), palette);
        QCOMPARE(blended.pixel(1, 0), qRgba(100, 50, 25, 127));
    }

    // Scale2x and Scale3x against ffmpeg's epx filter.
    void epxAgainstFfmpeg_data()
    {
        QTest::addColumn<int>("factor");
        QTest::addColumn<int>("seed");
        for (int seed = 1; seed <= 3; ++seed) {
            QTest::addRow("2x, seed %d", seed) << 2 << seed;
            QTest::addRow("3x, seed %d", seed) << 3 << seed;
        }
    }
    void epxAgainstFfmpeg()
    {
        QFETCH(int, factor);
        QFETCH(int, seed);
        const QString ffmpeg = QStandardPaths::findExecutable(QStringLiteral("ffmpeg"));
        if (ffmpeg.isEmpty())
            QSKIP("ffmpeg is not installed (scripts/install-deps.sh installs it)");
        QTemporaryDir dir;
        const QImage sprite = randomSprite(QSize(57, 41), 6, quint32(seed));
        const QImage rgb = sprite.convertToFormat(QImage::Format_RGB32);
        QVERIFY(rgb.save(dir.filePath(QStringLiteral("in.png"))));
        QProcess process;
        process.start(ffmpeg, {"-loglevel", "error", "-i", dir.filePath("in.png"), "-vf",
                               QStringLiteral("epx=n=%1").arg(factor), "-pix_fmt", "rgba",
                               dir.filePath("out.png")});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
        const QImage reference(dir.filePath(QStringLiteral("out.png")));
        const QSize size = sprite.size() * factor;
        QCOMPARE(reference.size(), size);

        Palette palette(sprite);
        const QImage fromRgb = resizeImage(rgb, size, palette.entries, ResizeEpxNearest);
        const QImage fromIndexed = resizeImage(sprite, size, palette.entries, ResizeEpxNearest);
        QCOMPARE(fromRgb.format(), QImage::Format_RGB32);
        QCOMPARE(fromIndexed.format(), QImage::Format_Indexed8);
        // ffmpeg takes the nearest row or column for neighbours outside the picture, where
        // this library takes the centre pixel; Scale3x's corner rules tell them apart, so its
        // border pixels are left out.
        const int border = factor == 3 ? 3 : 0;
        for (int y = border; y < size.height() - border; ++y)
            for (int x = border; x < size.width() - border; ++x) {
                QCOMPARE(fromRgb.pixel(x, y), reference.pixel(x, y));
                QCOMPARE(fromIndexed.pixel(x, y) | 0xff000000, fromRgb.pixel(x, y));
            }
    }

    // Every filter reaches the size, keeps the format, and leaves a flat picture flat.
    void resize_data()
    {
        QTest::addColumn<int>("filter");
        QTest::addColumn<QSize>("size");
        for (int filter = 0; filter <= 5; ++filter)
            for (const QSize size : {QSize(20, 14), QSize(25, 35), QSize(30, 21), QSize(40, 28),
                                     QSize(5, 3), QSize(80, 7)})
                QTest::addRow("filter %d to %dx%d", filter, size.width(), size.height())
                    << filter << size;
    }
    void resize()
    {
        QFETCH(int, filter);
        QFETCH(QSize, size);
        QImage flat(10, 7, QImage::Format_Indexed8);
        flat.setColorTable(QVector<QRgb>(256, qRgba(3, 252, 21, 128)));
        flat.fill(3);
        RGBA palette[256];
        for (int i = 0; i < 256; ++i)
            palette[i] = RGBA(uchar(i), uchar(255 - i), uchar(i * 7), uchar(i == 3 ? 128 : 255));
        const QImage argb = flat.convertToFormat(QImage::Format_ARGB32);
        for (const QImage &image : {flat, argb}) {
            const QImage result = resizeImage(image, size, palette, ImageResizeFilter(filter));
            QCOMPARE(result.size(), size);
            QCOMPARE(result.format(), image.format());
            for (int y = 0; y < size.height(); ++y)
                for (int x = 0; x < size.width(); ++x)
                    QCOMPARE(result.pixel(x, y), image.pixel(0, 0));
        }
    }

    void resizeSteps()
    {
        const QImage sprite = randomSprite(QSize(16, 12), 5, 12);
        Palette palette(sprite);
        // Doubling takes one 2× step and nothing after it.
        const QImage doubled = resizeImage(sprite, sprite.size() * 2, palette.entries,
                                           ResizeEpxBilinear);
        QCOMPARE(doubled, resizeImage(sprite, sprite.size() * 2, palette.entries,
                                      ResizeEpxNearest));
        // 2.5 times: the 3× step, then down to the size.
        const QSize size(40, 30);
        QCOMPARE(resizeImage(sprite, size, palette.entries, ResizeEpxNearest),
                 resizeImageNearest(resizeImage(sprite, sprite.size() * 3, palette.entries,
                                                ResizeEpxNearest),
                                    size));
        // Four times: the 2× step twice.
        QCOMPARE(resizeImage(sprite, sprite.size() * 4, palette.entries, ResizeEpxNearest),
                 resizeImage(resizeImage(sprite, sprite.size() * 2, palette.entries,
                                         ResizeEpxNearest),
                             sprite.size() * 4, palette.entries, ResizeEpxNearest));
        QVERIFY(resizeImage(sprite, size, palette.entries, ImageResizeFilter(6)).isNull());
        QVERIFY(!imageResizeFilterName(ImageResizeFilter(6)));
    }

    // hqNx keeps straight edges sharp, smooths diagonal steps, and is symmetric.
    void hq_data()
    {
        QTest::addColumn<int>("factor");
        QTest::newRow("hq2x") << 2;
        QTest::newRow("hq3x") << 3;
        QTest::newRow("hq4x") << 4;
    }
    void hq()
    {
        QFETCH(int, factor);
        const QRgb dark = qRgb(10, 10, 10), light = qRgb(240, 240, 240);
        RGBA palette[256];
        const auto scale = [&](const QImage &image) {
            return resizeImage(image, image.size() * factor, palette, ResizeHqNearest);
        };
        QImage edge(6, 6, QImage::Format_RGB32);
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 6; ++x)
                edge.setPixel(x, y, x < 3 ? dark : light);
        const QImage sharp = scale(edge);
        for (int y = 0; y < sharp.height(); ++y)
            for (int x = 0; x < sharp.width(); ++x)
                QCOMPARE(sharp.pixel(x, y), x < 3 * factor ? dark : light);

        QImage stairs(8, 8, QImage::Format_RGB32);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                stairs.setPixel(x, y, x + y < 8 ? dark : light);
        const QImage smooth = scale(stairs);
        int blended = 0;
        for (int y = 0; y < smooth.height(); ++y)
            for (int x = 0; x < smooth.width(); ++x)
                blended += smooth.pixel(x, y) != dark && smooth.pixel(x, y) != light;
        QVERIFY(blended > 0);
        QCOMPARE(scale(stairs.mirrored(true, false)), smooth.mirrored(true, false));
        QCOMPARE(scale(stairs.mirrored(false, true)), smooth.mirrored(false, true));
        QCOMPARE(scale(stairs.transformed(QTransform().rotate(90))),
                 smooth.transformed(QTransform().rotate(90)));

        // Indexed pictures go through the palette and come back as its nearest entries, the
        // first of equal ones in an opaque palette: entries 8 and above repeat entry 1.
        const QImage sprite = randomSprite(QSize(9, 7), 8, 21);
        Palette entries(sprite);
        entries.entries[0].alpha = 255;
        for (int i = 8; i < 256; ++i)
            entries.entries[i] = entries.entries[1];
        const QImage indexed = resizeImage(sprite, sprite.size() * factor, entries.entries,
                                           ResizeHqNearest);
        QCOMPARE(indexed.format(), QImage::Format_Indexed8);
        for (int y = 0; y < indexed.height(); ++y)
            for (int x = 0; x < indexed.width(); ++x)
                QVERIFY(indexed.pixelIndex(x, y) < 8);
    }
};

QTEST_GUILESS_MAIN(tst_ImageOperations)
#include "tst_imageoperations.moc"
