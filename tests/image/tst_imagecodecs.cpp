#include "sprites.h"

#include <zornx/image/imagecodecs.h>

#include <QtCore/QBuffer>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <functional>

using namespace Zorn;
using ZornTest::randomSprite;

namespace {

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

// The pixel bytes of an image, line padding left out.
QByteArray pixels(const QImage &image)
{
    QByteArray bytes;
    const int lineBytes = image.width() * image.depth() / 8;
    for (int y = 0; y < image.height(); ++y)
        bytes.append(reinterpret_cast<const char *>(image.constScanLine(y)), lineBytes);
    return bytes;
}

QImage indexedImage(int width, int height, const QByteArray &bytes)
{
    QImage image(width, height, QImage::Format_Indexed8);
    for (int y = 0; y < height; ++y)
        memcpy(image.scanLine(y), bytes.constData() + y * width, size_t(width));
    return image;
}

// A PCX file: header fields as given, then body (packets and whatever follows them).
QByteArray pcx(int width, int height, int bits, int planes, int bytesPerLine,
               const QByteArray &body, int manufacturer = 10)
{
    QByteArray header(128, '\0');
    header[0] = char(manufacturer);
    header[1] = 5;
    header[3] = char(bits);
    header[8] = char(width - 1);
    header[10] = char(height - 1);
    for (int i = 0; i < 48; ++i)
        header[16 + i] = char(i + 1); // 16-colour map: 01 02 03, 04 05 06, ...
    header[65] = char(planes);
    header[66] = char(bytesPerLine);
    return header + body;
}

QByteArray palette768(char first)
{
    QByteArray colors(768, '\x11');
    colors[0] = first;
    return colors;
}

typedef std::function<bool(QImage &, QIODevice *)> Loader;
typedef std::function<bool(const QImage &, QIODevice *)> Saver;

QByteArray saved(const Saver &save, const QImage &image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return save(image, &buffer) ? buffer.data() : QByteArray("<failed>");
}

bool load(const Loader &loader, QImage &image, const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return loader(image, &buffer);
}

const Loader lz5 = loadLZ5, rle5 = loadRLE5, rle8 = loadRLE8;

} // namespace

class tst_ImageCodecs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void savePcxOnePixel()
    {
        QImage image(1, 1, QImage::Format_Indexed8);
        image.setColorTable({qRgb(1, 2, 3), qRgb(4, 5, 6)});
        image.scanLine(0)[0] = 200;
        QByteArray header(128, '\0');
        header[0] = 10, header[1] = 5, header[2] = 1, header[3] = 8; // xmax, ymax 0
        header[65] = 1, header[66] = 1, header[68] = 1;
        QByteArray colors(768, '\0');
        colors[0] = 1, colors[1] = 2, colors[2] = 3, colors[3] = 4, colors[4] = 5, colors[5] = 6;
        QCOMPARE(saved(savePCX, image), header + hex("c1c8") + '\x0c' + colors);
    }

    void loadPcx_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("format");
        QTest::addColumn<QByteArray>("expected"); // pixel bytes, line padding left out
        QTest::addColumn<bool>("hasPalette");
        QTest::addColumn<uint>("color1"); // colour table entry 1 of an 8-bit picture

        // 2×2, three planes of 2 bytes a line: one run of 5 crosses the end of plane 0 of
        // row 0 into plane 1 and 2, the next packets go on where it stopped.
        QTest::newRow("rgb runs across planes and lines")
            << pcx(2, 2, 8, 3, 2, hex("c5aac201c3bb0304")) << true << int(QImage::Format_RGB32)
            << hex("aaaaaa0001aaaa00" "03bb010004bbbb00") << false << 0u;
        QTest::newRow("run longer than the image is cut")
            << pcx(2, 2, 8, 1, 2, hex("ff07") + '\x0c' + palette768(9)) << true
            << int(QImage::Format_Indexed8) << hex("07070707") << true << 0xff111111u;
        QTest::newRow("odd width loses the pad byte")
            << pcx(3, 2, 8, 1, 4, hex("01020309040506c1c9")) << true
            << int(QImage::Format_Indexed8) << hex("010203040506") << false << 0xff040506u;
        QTest::newRow("palette found 769 bytes before the end")
            << pcx(1, 1, 8, 1, 1, hex("07") + "junk" + '\x0c' + palette768(2)) << true
            << int(QImage::Format_Indexed8) << hex("07") << true << 0xff111111u;
        QTest::newRow("without palette: header colours, then black")
            << pcx(1, 1, 8, 1, 1, hex("c3") + QByteArray(1, 'x')) << true
            << int(QImage::Format_Indexed8) << hex("78") << false << 0xff040506u;
        QTest::newRow("four planes: alpha in the fourth")
            << pcx(1, 1, 8, 4, 1, hex("01020304")) << true << int(QImage::Format_ARGB32)
            << hex("03020104") << false << 0u;
        QTest::newRow("zero-length run consumes its value")
            << pcx(1, 1, 8, 1, 1, hex("c0ff05")) << true << int(QImage::Format_Indexed8)
            << hex("05") << false << 0xff040506u;
        QTest::newRow("stream ends inside the image")
            << pcx(2, 2, 8, 1, 2, hex("c307")) << false << int(QImage::Format_Invalid)
            << QByteArray() << false << 0u;
        QTest::newRow("run without its value byte")
            << pcx(2, 1, 8, 1, 2, hex("01c2")) << false << int(QImage::Format_Indexed8)
            << hex("0100") << false << 0xff040506u;
        // Rejected files leave the picture alone.
        QTest::newRow("wrong manufacturer")
            << pcx(1, 1, 8, 1, 1, hex("07"), 11) << false << -1 << QByteArray() << false << 0u;
        QTest::newRow("indexed with two planes")
            << pcx(2, 1, 4, 2, 2, hex("01020304")) << false << -1 << QByteArray() << false
            << 0u;
        QTest::newRow("unknown depth")
            << pcx(1, 1, 4, 1, 1, hex("01")) << false << -1 << QByteArray() << false << 0u;
        QTest::newRow("short header") << QByteArray(100, '\x0a') << false << -1 << QByteArray()
                                      << false << 0u;
    }
    void loadPcx()
    {
        QFETCH(QByteArray, file);
        QFETCH(bool, ok);
        QFETCH(int, format);
        QFETCH(QByteArray, expected);
        QFETCH(bool, hasPalette);
        QFETCH(uint, color1);

        const QImage before(5, 5, QImage::Format_RGB32);
        QImage image = before;
        bool palette = !hasPalette;
        QCOMPARE(load([&](QImage &i, QIODevice *d) { return loadPCX(i, d, &palette); }, image,
                      file),
                 ok);
        if (format == -1) {
            QCOMPARE(image, before);
            return;
        }
        QCOMPARE(int(image.format()), format);
        QCOMPARE(pixels(image), expected);
        if (format == QImage::Format_Indexed8) {
            QCOMPARE(palette, hasPalette);
            QCOMPARE(image.colorCount(), 256);
            QCOMPARE(image.color(1), color1);
            QCOMPARE(image.color(255), hasPalette ? 0xff111111u : 0xff000000u);
        }
    }

    // Byte-exact streams of the writers.
    void saveStreams_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("width");
        QTest::addColumn<bool>("compress");
        QTest::addColumn<QByteArray>("lz5");
        QTest::addColumn<QByteArray>("rle8");

        QTest::newRow("run of 8: long run, count 0")
            << hex("0404040404040404") << 8 << true << hex("000400") << hex("4804");
        QTest::newRow("without compression only runs, control 00")
            << hex("0102010201020102030303030303030303") << 17 << false
            << hex("00" "2122212221222122" "00" "0301") << QByteArray();
        QTest::newRow("run of 7, then a copy")
            << hex("01020309090909090909010203") << 13 << true << hex("10212223e90209")
            << hex("0102034709010203");
        QTest::newRow("three short copies at the end, each with its offset")
            << hex("010201020304030405060506") << 12 << true
            << hex("2421220101232401012526010101") << QByteArray();
        QTest::newRow("a complete four spreads the fourth offset")
            << hex("0102010203040304050605060708") + hex("0708") << 16 << true
            << hex("242122010123240101252609010127284" "1") << QByteArray();
        QTest::newRow("single 0x41 and runs across lines")
            << hex("41c0c00505") << 1 << false << QByteArray() << hex("414142c04205");
    }
    void saveStreams()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, width);
        QFETCH(bool, compress);
        QFETCH(QByteArray, lz5);
        QFETCH(QByteArray, rle8);

        const QImage image = indexedImage(width, int(bytes.size()) / width, bytes);
        if (!lz5.isEmpty()) {
            QCOMPARE(saved([&](const QImage &i, QIODevice *d) { return saveLZ5(i, d, compress); },
                           image).toHex(),
                     lz5.toHex());
            QImage decoded(image.size(), QImage::Format_Indexed8);
            QVERIFY(load(loadLZ5, decoded, lz5));
            QCOMPARE(pixels(decoded), bytes);
        }
        if (!rle8.isEmpty())
            QCOMPARE(saved(saveRLE8, image).toHex(), rle8.toHex());
    }

    // Packet decoders on hand-made and malformed streams.
    void decodeStreams_data()
    {
        QTest::addColumn<int>("codec"); // 0 LZ5, 1 RLE5, 2 RLE8
        QTest::addColumn<int>("width");
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QByteArray>("expected");

        QTest::newRow("lz5 copy reaching before the start reads zeros")
            << 0 << 6 << hex("02470303") << true << hex("070700000707");
        QTest::newRow("lz5 counts beyond the image are cut")
            << 0 << 3 << hex("00ff") << true << hex("1f1f1f");
        QTest::newRow("lz5 long copy of distance 1024 at the start")
            << 0 << 4 << hex("01c0ff01") << true << hex("00000000");
        QTest::newRow("lz5 ends after a control byte: the rest stays 0")
            << 0 << 10 << hex("00" "2121212121212121" "00") << true
            << hex("0101010101010101" "0000");
        QTest::newRow("lz5 long run without its count") << 0 << 4 << hex("0003") << false
                                                        << hex("03030303");
        QTest::newRow("lz5 short copy without its offset")
            << 0 << 4 << hex("024102") << false << hex("01010101");
        QTest::newRow("rle5 only bits 0 to 4 of the counts byte")
            << 1 << 5 << hex("01e12345") << true << hex("0303050505");
        QTest::newRow("rle5 colour byte missing, the rest untouched")
            << 1 << 3 << hex("0080") << false << hex("00eeee");
        QTest::newRow("rle5 runs go on in the next line")
            << 1 << 3 << hex("0400") << true << hex("000000" "0000ee");
        QTest::newRow("rle8 marker 0x40 writes nothing")
            << 2 << 2 << hex("40ff0102") << true << hex("0102");
        QTest::newRow("rle8 run across lines, cut at the end")
            << 2 << 3 << hex("7f09") << true << hex("090909" "090909");
        QTest::newRow("rle8 marker without its value") << 2 << 2 << hex("0142") << false
                                                       << hex("0100");
    }
    void decodeStreams()
    {
        QFETCH(int, codec);
        QFETCH(int, width);
        QFETCH(QByteArray, stream);
        QFETCH(bool, ok);
        QFETCH(QByteArray, expected);

        QImage image(width, int(expected.size()) / width, QImage::Format_Indexed8);
        image.fill(0xee);
        QCOMPARE(load(QList<Loader>{lz5, rle5, rle8}[codec], image, stream), ok);
        QCOMPARE(pixels(image).toHex(), expected.toHex());
    }

    // A stream inside a container: the reader leaves the device right behind what it used.
    void devicePositionAfterStream()
    {
        const QImage image = randomSprite(QSize(37, 21), 32, 5);
        const QByteArray stream = saved(saveRLE8, image);
        QBuffer buffer;
        buffer.setData("HEAD" + stream + "TAIL");
        buffer.open(QIODevice::ReadOnly);
        buffer.seek(4);
        QImage decoded(image.size(), QImage::Format_Indexed8);
        QVERIFY(loadRLE8(decoded, &buffer));
        QCOMPARE(buffer.read(4), QByteArray("TAIL"));
        QCOMPARE(pixels(decoded), pixels(image));
    }

    // Random sprites through every writer and back through its reader.
    void roundTrips_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("colors");
        QTest::addColumn<bool>("compressLZ5");
        for (const QSize size : {QSize(1, 1), QSize(7, 3), QSize(40, 40), QSize(301, 97),
                                 QSize(2000, 2000)})
            for (int colors : {2, 32, 256})
                QTest::addRow("%dx%d, %d colours", size.width(), size.height(), colors)
                    << size << colors << (size.width() <= 301);
    }
    void roundTrips()
    {
        QFETCH(QSize, size);
        QFETCH(int, colors);
        QFETCH(bool, compressLZ5);

        const QImage indexed = randomSprite(size, colors, quint32(size.width() * 7 + colors));
        const QImage argb = indexed.convertToFormat(QImage::Format_ARGB32);
        const QImage rgb = indexed.convertToFormat(QImage::Format_RGB32);
        QImage decoded;

        for (const QImage &image : {indexed, argb, rgb}) {
            decoded = QImage();
            bool hasPalette = false;
            QVERIFY(load([&](QImage &i, QIODevice *d) { return loadPCX(i, d, &hasPalette); },
                         decoded, saved(savePCX, image)));
            QCOMPARE(hasPalette, image.format() == QImage::Format_Indexed8);
            // A 24-bit file leaves the fourth byte 0: compare colours.
            if (image.format() == QImage::Format_RGB32) {
                QCOMPARE(decoded.format(), QImage::Format_RGB32);
                for (int y = 0; y < size.height(); ++y)
                    for (int x = 0; x < size.width(); ++x)
                        QCOMPARE(decoded.pixel(x, y), image.pixel(x, y));
            } else {
                QCOMPARE(pixels(decoded), pixels(image));
            }
            if (image.format() == QImage::Format_Indexed8)
                for (int i = 0; i < colors; ++i)
                    QCOMPARE(decoded.color(i), image.color(i) | 0xff000000);

            decoded = QImage(size, image.format());
            QVERIFY(load(rle8, decoded, saved(saveRLE8, image)));
            QCOMPARE(pixels(decoded), pixels(image));

            for (const char *format : {"PNG", "BMP"}) {
                if (image.format() == QImage::Format_ARGB32 && !strcmp(format, "BMP"))
                    continue;
                QBuffer buffer;
                buffer.open(QIODevice::ReadWrite);
                QVERIFY(saveImage(&buffer, format, image));
                buffer.seek(0);
                QVERIFY(loadImage(&buffer, format, decoded));
                QCOMPARE(decoded.format(), image.format());
                QCOMPARE(pixels(decoded), pixels(image));
            }
        }

        QByteArray fiveBits = pixels(indexed);
        for (char &c : fiveBits)
            c &= 0x1f;
        for (bool compress : {false, compressLZ5}) {
            decoded = QImage(size, QImage::Format_Indexed8);
            const QByteArray stream = saved(
                [&](const QImage &i, QIODevice *d) { return saveLZ5(i, d, compress); }, indexed);
            QVERIFY(load(lz5, decoded, stream));
            QCOMPARE(pixels(decoded), fiveBits);
        }
    }

    // Grey and two-colour PNGs come back indexed with their colours, padding cleared.
    void pngKinds_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("colors");
        QTest::newRow("grey 8 bits") << int(QImage::Format_Grayscale8) << 256;
        QTest::newRow("two colours") << int(QImage::Format_Indexed8) << 2;
        QTest::newRow("sixteen colours") << int(QImage::Format_Indexed8) << 16;
    }
    void pngKinds()
    {
        QFETCH(int, format);
        QFETCH(int, colors);
        QImage indexed = randomSprite(QSize(13, 9), colors, 77);
        QVector<QRgb> table = indexed.colorTable();
        table[0] = qRgb(10, 20, 30); // opaque, so that Qt keeps the table as it is
        indexed.setColorTable(table);
        QImage image = indexed;
        if (format == QImage::Format_Grayscale8) {
            image = QImage(indexed.size(), QImage::Format_Grayscale8);
            for (int y = 0; y < image.height(); ++y)
                memcpy(image.scanLine(y), indexed.constScanLine(y), 13);
        }
        QBuffer buffer;
        buffer.open(QIODevice::ReadWrite);
        QVERIFY(savePNG(image, &buffer));
        buffer.seek(0);
        QImage decoded;
        QVERIFY(loadImage(&buffer, "PNG", decoded));
        QCOMPARE(decoded.format(), QImage::Format_Indexed8);
        QCOMPARE(pixels(decoded), pixels(indexed));
        for (int y = 0; y < decoded.height(); ++y)
            QCOMPARE(QByteArray(reinterpret_cast<const char *>(decoded.constScanLine(y)) + 13,
                                decoded.bytesPerLine() - 13),
                     QByteArray(decoded.bytesPerLine() - 13, '\0'));
        for (int i = 0; i < colors; ++i)
            QCOMPARE(decoded.color(i), format == QImage::Format_Grayscale8 ? qRgb(i, i, i)
                                                                           : table[i]);
    }

    void imageInfo_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("imageFormat");

        const auto file = [](const char *format, const QImage &image) {
            QBuffer buffer;
            buffer.open(QIODevice::WriteOnly);
            saveImage(&buffer, format, image);
            return buffer.data();
        };
        const QImage indexed = randomSprite(QSize(300, 7), 32, 1);
        const QImage argb = indexed.convertToFormat(QImage::Format_ARGB32);
        const QImage rgb = indexed.convertToFormat(QImage::Format_RGB32);
        const int i8 = QImage::Format_Indexed8, invalid = QImage::Format_Invalid;
        QTest::newRow("png indexed") << QByteArray("PNG") << file("PNG", indexed) << 300 << 7 << i8;
        QTest::newRow("png rgb") << QByteArray("PNG") << file("PNG", rgb) << 300 << 7
                                 << int(QImage::Format_RGB32);
        QTest::newRow("png argb") << QByteArray("PNG") << file("PNG", argb) << 300 << 7
                                  << int(QImage::Format_ARGB32);
        QTest::newRow("bmp indexed") << QByteArray("BMP") << file("BMP", indexed) << 300 << 7
                                     << i8;
        QTest::newRow("bmp rgb") << QByteArray("BMP") << file("BMP", rgb) << 300 << 7
                                 << int(QImage::Format_RGB32);
        QTest::newRow("pcx argb") << QByteArray("PCX") << file("PCX", argb) << 300 << 7
                                  << int(QImage::Format_ARGB32);
        QTest::newRow("pcx indexed") << QByteArray("PCX") << file("PCX", indexed) << 300 << 7
                                     << i8;
        QTest::newRow("gif 256 colours") << QByteArray("GIF") << hex("4749463839612c010500f70000")
                                         << 300 << 5 << i8;
        QTest::newRow("gif 32 colours") << QByteArray("GIF") << hex("4749463837612c010500f40000")
                                        << 300 << 5 << i8;
        QTest::newRow("gif 16 colours") << QByteArray("GIF") << hex("4749463839612c010500f30000")
                                        << 300 << 5 << invalid;
        // What cannot be read gives the default.
        QTest::newRow("gif wrong signature")
            << QByteArray("GIF") << hex("4749463739612c010500f70000") << 0 << 0 << i8;
        QTest::newRow("png wrong signature")
            << QByteArray("PNG") << file("BMP", indexed) << 0 << 0 << i8;
        QTest::newRow("png cut short") << QByteArray("PNG") << file("PNG", indexed).left(20) << 0
                                       << 0 << i8;
        QTest::newRow("unknown format") << QByteArray("XYZ") << file("PNG", indexed) << 0 << 0
                                        << i8;
    }
    void imageInfo()
    {
        QFETCH(QByteArray, format);
        QFETCH(QByteArray, head);
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, imageFormat);
        QBuffer buffer(&head);
        buffer.open(QIODevice::ReadOnly);
        const ImageInfo info = imageInfoFromFile(&buffer, format.constData());
        QCOMPARE(int(info.width), width);
        QCOMPARE(int(info.height), height);
        QCOMPARE(int(info.format), imageFormat);
    }

    // Formats the library does not know go to the extensions of types 1 and 2, in order.
    void dispatchToExtensions()
    {
        struct Reader : ImageReaderExtension
        {
            Reader(const char *format, bool succeeds, QStringList *log)
                : name(format), succeeds(succeeds), log(log) {}
            const char *format() const override { return name; }
            bool load(QIODevice *device, QImage &image) override
            {
                log->append(QStringLiteral("load %1 %2").arg(QLatin1String(name)).arg(succeeds));
                if (succeeds)
                    image = QImage(3, 2, QImage::Format_Indexed8);
                return succeeds;
            }
            const char *name;
            bool succeeds;
            QStringList *log;
        };
        struct Writer : ImageWriterExtension
        {
            Writer(QStringList *log) : log(log) {}
            const char *format() const override { return "TOY"; }
            bool save(QIODevice *device, const QImage &image) override
            {
                log->append(QStringLiteral("save %1").arg(image.width()));
                return device->write("toy") == 3;
            }
            QStringList *log;
        };
        QTemporaryDir empty;
        QStringList log;
        char failing[] = "TOY";
        {
            ExtensionManager manager(empty.path());
            // Different pointers with equal text: both are listed; the first fails.
            QVERIFY(ExtensionManager::add(new Reader(failing, false, &log)));
            QVERIFY(ExtensionManager::add(new Reader("TOY", true, &log)));
            QVERIFY(ExtensionManager::add(new Reader("OTHER", true, &log)));
            QVERIFY(ExtensionManager::add(new Writer(&log)));

            QBuffer buffer;
            buffer.open(QIODevice::ReadWrite);
            QImage image(5, 5, QImage::Format_RGB32);
            QVERIFY(loadImage(&buffer, "TOY", image));
            QCOMPARE(image.size(), QSize(3, 2));
            QVERIFY(saveImage(&buffer, "TOY", image));
            QCOMPARE(buffer.data(), QByteArray("toy"));
            QCOMPARE(log, QStringList({"load TOY 0", "load TOY 1", "save 3"}));

            // Nothing takes these; a failed load does not report the picture passed in.
            QVERIFY(!loadImage(&buffer, "NONE", image));
            QVERIFY(image.isNull());
            QVERIFY(!saveImage(&buffer, "NONE", QImage(1, 1, QImage::Format_RGB32)));
            QCOMPARE(log.size(), 3);
        }
    }

    // Devices must be open; GIF goes through the library's own reader (tst_gif).
    void dispatchRefusals()
    {
        // The smallest GIF: 1×1, two colours.
        QByteArray bytes = hex("47494638396101000100800000000000ffffff2c00000000010001000002"
                               "024401003b");
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadWrite);
        QImage image;
        QVERIFY(loadImage(&buffer, "GIF", image));
        QImage gif = QImage(1, 1, QImage::Format_Indexed8);
        buffer.close();
        QBuffer closed(&bytes);
        QVERIFY(!loadImage(&closed, "PNG", image));
        QVERIFY(!saveImage(&closed, "PNG", gif));
        QVERIFY(!saveImage(&buffer, "PNG", QImage()));
        QVERIFY(!saveRLE5(gif, &buffer));
        QVERIFY(!imageFileExtension(ImageExtensionType(6)));
    }

    // Raw codecs open a closed device themselves; empty images write nothing.
    void rawCodecsOpenDevices()
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        QVERIFY(saveLZ5(QImage(), &buffer, true));
        QVERIFY(bytes.isEmpty());
        buffer.close();
        const QImage image = randomSprite(QSize(9, 4), 32, 3);
        QVERIFY(saveLZ5(image, &buffer, true));
        buffer.close();
        QImage decoded(image.size(), QImage::Format_Indexed8);
        QVERIFY(loadLZ5(decoded, &buffer));
        QCOMPARE(pixels(decoded), pixels(image));
    }

    // Every cut of a valid file, and random garbage: no crash; packet readers keep the size.
    void truncatedAndGarbage()
    {
        const QImage sprite = randomSprite(QSize(23, 11), 32, 9);
        const QByteArray files[] = {
            saved(savePCX, sprite),
            saved(savePCX, sprite.convertToFormat(QImage::Format_ARGB32)),
            saved([](const QImage &i, QIODevice *d) { return saveLZ5(i, d, true); }, sprite),
            saved(saveRLE8, sprite)};
        QRandomGenerator random(17);
        QList<QByteArray> inputs;
        for (const QByteArray &file : files)
            for (int size = 0; size < file.size(); size += 1 + size / 50)
                inputs.append(file.left(size));
        for (int i = 0; i < 200; ++i) {
            QByteArray garbage(int(random.bounded(600)), Qt::Uninitialized);
            for (char &c : garbage)
                c = char(random.bounded(256));
            inputs.append(garbage);
            garbage.replace(0, qMin(128, garbage.size()), files[i % 2].left(128));
            inputs.append(garbage);
        }
        for (const QByteArray &input : inputs) {
            QImage image;
            load([](QImage &i, QIODevice *d) { return loadPCX(i, d, nullptr); }, image, input);
            for (const Loader &loader : {lz5, rle5, rle8}) {
                image = sprite;
                load(loader, image, input);
                QCOMPARE(image.size(), sprite.size());
            }
            for (const char *format : {"PNG", "BMP", "PCX", "GIF"}) {
                QBuffer buffer;
                buffer.setData(input);
                buffer.open(QIODevice::ReadOnly);
                imageInfoFromFile(&buffer, format);
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_ImageCodecs)
#include "tst_imagecodecs.moc"
