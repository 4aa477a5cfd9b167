// Speed of the sprite codecs and the resize filters, printed as ratios against baselines
// measured in the same run:
//   - decoding LZ5, RLE8 and PCX over 300 sprite-like pictures (40×40 to 300×300), in
//     megapixels per second, against a straightforward decoder over a byte array written
//     here, and against the same decoder reading each byte through a QDataStream;
//   - saveLZ5 with compress, against compress = false and against zlib level 6 of the pixels;
//   - resizeImage per filter, a 320×240 picture to 2× and 4×, against nearest.
// Each figure is the best of several rounds.

#include "sprites.h"

#include "benchtiming.h"

#include <zornx/image/imagecodecs.h>
#include <zornx/image/imageoperations.h>

#include <QtCore/QBuffer>
#include <QtCore/QDataStream>
#include <QtCore/QRandomGenerator>

#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

namespace {

// ---------------------------------------------------------------------------------------------
// Baseline decoders: the formats' rules written plainly, one output byte at a time. Bytes come
// from a Source: a byte array, or a QDataStream as a reader byte by byte would use.

struct ArraySource
{
    explicit ArraySource(const QByteArray &bytes) : bytes(bytes) {}
    bool atEnd() const { return pos >= bytes.size(); }
    uchar next() { return pos < bytes.size() ? uchar(bytes[pos++]) : 0; }
    const QByteArray &bytes;
    int pos = 0;
};

struct StreamSource
{
    explicit StreamSource(QIODevice *device) : stream(device)
    {
        stream.setByteOrder(QDataStream::LittleEndian);
    }
    bool atEnd() const { return stream.atEnd(); }
    uchar next()
    {
        quint8 b = 0;
        stream >> b;
        return b;
    }
    QDataStream stream;
};

// Writes pixel bytes into image lines, skipping the padding.
struct Output
{
    Output(QImage &image, int lineBytes)
        : image(image), line(image.scanLine(0)), lineBytes(lineBytes)
    {
    }
    bool full() const { return row >= image.height(); }
    void put(uchar value)
    {
        if (full())
            return;
        line[column] = value;
        if (++column == lineBytes) {
            column = 0;
            if (++row < image.height())
                line = image.scanLine(row);
        }
    }
    QImage &image;
    uchar *line;
    int lineBytes;
    int row = 0, column = 0;
};

template <typename Source>
void plainLZ5(Source &in, QImage &image)
{
    std::vector<uchar> out;
    const size_t size = size_t(image.width()) * image.height();
    out.reserve(size);
    unsigned int recycle = 0;
    int shorts = 0;
    while (out.size() < size && !in.atEnd()) {
        const uchar control = in.next();
        for (int bit = 0; bit < 8 && out.size() < size && !in.atEnd(); ++bit) {
            const uchar b = in.next();
            if (!(control & (1 << bit))) {
                int count = b >> 5;
                if (!count)
                    count = in.next() + 8;
                for (int k = 0; k < count && out.size() < size; ++k)
                    out.push_back(b & 0x1f);
                continue;
            }
            int length = b & 0x3f, distance;
            if (!length) {
                const int low = in.next();
                length = in.next() + 3;
                distance = (((b >> 6) << 8) | low) + 1;
            } else {
                ++length;
                if (shorts < 3) {
                    recycle |= (b >> 6) << (6 - 2 * shorts++);
                    distance = in.next() + 1;
                } else {
                    distance = int(recycle | (b >> 6)) + 1;
                    recycle = 0;
                    shorts = 0;
                }
            }
            for (int k = 0; k < length && out.size() < size; ++k) {
                const qint64 from = qint64(out.size()) - distance;
                out.push_back(from >= 0 ? out[size_t(from)] : 0);
            }
        }
    }
    out.resize(size);
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(image.scanLine(y), out.data() + size_t(y) * image.width(),
                    size_t(image.width()));
}

template <typename Source>
void plainRLE8(Source &in, QImage &image)
{
    Output out(image, image.width() * image.depth() / 8);
    while (!out.full() && !in.atEnd()) {
        const uchar b = in.next();
        if ((b & 0xc0) == 0x40) {
            const uchar value = in.next();
            for (int k = 0; k < (b & 0x3f); ++k)
                out.put(value);
        } else {
            out.put(b);
        }
    }
}

// 8-bit, one plane, bytes per line = width: what the benchmark's files are.
template <typename Source>
void plainPCX(Source &in, QImage &image)
{
    uchar header[128];
    for (uchar &b : header)
        b = in.next();
    const int width = (header[8] | header[9] << 8) + 1;
    const int height = (header[10] | header[11] << 8) + 1;
    image = QImage(width, height, QImage::Format_Indexed8);
    Output out(image, width);
    while (!out.full() && !in.atEnd()) {
        uchar value = in.next();
        int count = 1;
        if (value >= 0xc0) {
            count = value & 0x3f;
            value = in.next();
        }
        for (int k = 0; k < count; ++k)
            out.put(value);
    }
    if (!in.atEnd() && in.next() == 12) {
        QVector<QRgb> colors(256);
        for (QRgb &c : colors) {
            const int r = in.next(), g = in.next();
            c = qRgb(r, g, in.next());
        }
        image.setColorTable(colors);
    }
}

// ---------------------------------------------------------------------------------------------

struct Sample
{
    QImage image;
    QByteArray stream;
};

std::vector<Sample> samples(int colors, const std::function<QByteArray(const QImage &)> &save)
{
    std::vector<Sample> result;
    QRandomGenerator random(colors);
    for (int i = 0; i < 300; ++i) {
        const QSize size(40 + int(random.bounded(261)), 40 + int(random.bounded(261)));
        const QImage image = ZornTest::randomSprite(size, colors, quint32(i + colors));
        result.push_back({image, save(image)});
    }
    return result;
}

QByteArray written(const std::function<bool(QIODevice *)> &write)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    write(&buffer);
    return buffer.data();
}

typedef std::function<void(const Sample &, QImage &)> Decoder;

void decodeSpeed(const char *name, const std::vector<Sample> &set, const Decoder &library,
                 const Decoder &array, const Decoder &stream)
{
    double pixels = 0;
    for (const Sample &s : set)
        pixels += double(s.image.width()) * s.image.height();
    std::vector<QImage> images;
    for (const Sample &s : set)
        images.push_back(QImage(s.image.size(), s.image.format()));
    const auto run = [&](const Decoder &decode) {
        return bestSeconds(5, [&] {
            for (size_t i = 0; i < set.size(); ++i)
                decode(set[i], images[i]);
        });
    };
    // Every decoder must give the same pictures.
    for (const Decoder *decode : {&library, &array, &stream}) {
        run(*decode);
        for (size_t i = 0; i < set.size(); ++i)
            for (int y = 0; y < set[i].image.height(); ++y)
                if (std::memcmp(images[i].constScanLine(y), set[i].image.constScanLine(y),
                                size_t(set[i].image.width() * set[i].image.depth() / 8))) {
                    std::printf("%s: a decoder gives a different picture\n", name);
                    std::exit(1);
                }
    }
    const double ours = run(library), plain = run(array), perByte = run(stream);
    std::printf("%-5s decode: %7.1f Mpx/s; %.2fx the byte-array baseline (%.1f Mpx/s), "
                "%.2fx the QDataStream-per-byte form (%.1f Mpx/s)\n",
                name, pixels / ours / 1e6, plain / ours, pixels / plain / 1e6, perByte / ours,
                pixels / perByte / 1e6);
}

template <void (*Plain)(ArraySource &, QImage &)>
void viaArray(const Sample &s, QImage &image)
{
    ArraySource source(s.stream);
    Plain(source, image);
}

template <void (*Plain)(StreamSource &, QImage &)>
void viaStream(const Sample &s, QImage &image)
{
    QBuffer buffer;
    buffer.setData(s.stream);
    buffer.open(QIODevice::ReadOnly);
    StreamSource source(&buffer);
    Plain(source, image);
}

QBuffer *reader(QBuffer &buffer, const QByteArray &bytes)
{
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return &buffer;
}

} // namespace

int main()
{
    using namespace Zorn;

    const auto lz5Set = samples(32, [](const QImage &image) {
        return written([&](QIODevice *d) { return saveLZ5(image, d, true); });
    });
    decodeSpeed(
        "LZ5", lz5Set,
        [](const Sample &s, QImage &image) {
            QBuffer buffer;
            loadLZ5(image, reader(buffer, s.stream));
        },
        viaArray<plainLZ5<ArraySource>>, viaStream<plainLZ5<StreamSource>>);

    const auto rle8Set = samples(256, [](const QImage &image) {
        return written([&](QIODevice *d) { return saveRLE8(image, d); });
    });
    decodeSpeed(
        "RLE8", rle8Set,
        [](const Sample &s, QImage &image) {
            QBuffer buffer;
            loadRLE8(image, reader(buffer, s.stream));
        },
        viaArray<plainRLE8<ArraySource>>, viaStream<plainRLE8<StreamSource>>);

    const auto pcxSet = samples(256, [](const QImage &image) {
        return written([&](QIODevice *d) { return savePCX(image, d); });
    });
    decodeSpeed(
        "PCX", pcxSet,
        [](const Sample &s, QImage &image) {
            QBuffer buffer;
            loadPCX(image, reader(buffer, s.stream), nullptr);
        },
        viaArray<plainPCX<ArraySource>>, viaStream<plainPCX<StreamSource>>);

    // saveLZ5: compress against runs only and against zlib level 6 of the same pixels.
    double pixels = 0;
    for (const Sample &s : lz5Set)
        pixels += double(s.image.width()) * s.image.height();
    qint64 sizes[3] = {};
    const auto saveAll = [&](int kind) {
        return bestSeconds(kind == 0 ? 1 : 3, [&] {
            sizes[kind] = 0;
            for (const Sample &s : lz5Set) {
                if (kind < 2) {
                    sizes[kind] += written([&](QIODevice *d) {
                                       return saveLZ5(s.image, d, kind == 0);
                                   }).size();
                } else {
                    QByteArray flat;
                    for (int y = 0; y < s.image.height(); ++y)
                        flat.append(reinterpret_cast<const char *>(s.image.constScanLine(y)),
                                    s.image.width());
                    sizes[kind] += qCompress(flat, 6).size() - 4;
                }
            }
        });
    };
    const double compressed = saveAll(0), runs = saveAll(1), zlib = saveAll(2);
    std::printf("saveLZ5 compress: %.1f ms/Mpx, %.1f%% of the pixels' bytes; runs only: "
                "%.2f ms/Mpx (compress costs %.0fx), %.1f%%; zlib level 6: %.2f ms/Mpx "
                "(compress costs %.1fx), %.1f%%\n",
                compressed / pixels * 1e9, 100.0 * sizes[0] / pixels, runs / pixels * 1e9,
                compressed / runs, 100.0 * sizes[1] / pixels, zlib / pixels * 1e9,
                compressed / zlib, 100.0 * sizes[2] / pixels);

    // resizeImage per filter, 320×240 to 2× and 4×, against nearest.
    const QImage indexed = ZornTest::randomSprite(QSize(320, 240), 32, 99);
    const QImage argb = indexed.convertToFormat(QImage::Format_ARGB32);
    RGBA palette[256];
    for (int i = 0; i < indexed.colorCount(); ++i) {
        const QRgb c = indexed.color(i);
        palette[i] = RGBA(uchar(qRed(c)), uchar(qGreen(c)), uchar(qBlue(c)), uchar(qAlpha(c)));
    }
    for (const QImage *image : {&indexed, &argb}) {
        for (int factor : {2, 4}) {
            double times[6];
            for (int filter = 0; filter < 6; ++filter)
                times[filter] = bestSeconds(3, [&] {
                    resizeImage(*image, image->size() * factor, palette,
                                ImageResizeFilter(filter));
                });
            std::printf("resize %s %dx: nearest %.2f ms", image == &indexed ? "indexed" : "argb",
                        factor, times[0] * 1e3);
            for (int filter = 1; filter < 6; ++filter)
                std::printf(", %s %.1fx", imageResizeFilterName(ImageResizeFilter(filter)),
                            times[filter] / times[0]);
            std::printf("\n");
        }
    }
    return 0;
}
