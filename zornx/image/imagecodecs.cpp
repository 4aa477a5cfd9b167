#include "imagecodecs.h"
#include "imagecodecs_p.h"
#include "gifimage.h"
#include "gifimage_p.h"

#include <QtCore/QIODevice>
#include <QtCore/QVector>

#include <cstring>

namespace Zorn {

namespace {

bool openForReading(QIODevice *device)
{
    return device && (device->isReadable() || device->open(QIODevice::ReadOnly));
}

bool openForWriting(QIODevice *device)
{
    return device && (device->isWritable() || device->open(QIODevice::WriteOnly));
}

bool writeAll(QIODevice *device, const QByteArray &bytes)
{
    return device->write(bytes) == bytes.size();
}

// The rest of a device, read at once. done() puts the device's position behind the last byte
// the decoder used, as if it had read byte by byte.
class DeviceBytes
{
public:
    explicit DeviceBytes(QIODevice *device)
        : device(device), start(device->pos()), bytes(device->readAll())
    {
    }
    ByteReader reader() const { return ByteReader(bytes.constData(), bytes.size()); }
    void done(const ByteReader &in) const
    {
        if (!device->isSequential())
            device->seek(start + in.used());
    }

private:
    QIODevice *device;
    qint64 start;
    QByteArray bytes;
};

quint16 le16(const uchar *p)
{
    return quint16(p[0] | (p[1] << 8));
}

quint32 le32(const uchar *p)
{
    return quint32(p[0]) | (quint32(p[1]) << 8) | (quint32(p[2]) << 16) | (quint32(p[3]) << 24);
}

quint32 be32(const uchar *p)
{
    return (quint32(p[0]) << 24) | (quint32(p[1]) << 16) | (quint32(p[2]) << 8) | quint32(p[3]);
}

void putLe16(uchar *p, int value)
{
    p[0] = uchar(value);
    p[1] = uchar(value >> 8);
}

// Format of a colour depth, as PCX, BMP and GIF heads give it.
QImage::Format depthFormat(int depth)
{
    switch (depth) {
    case 5:
    case 8:
        return QImage::Format_Indexed8;
    case 24:
        return QImage::Format_RGB32;
    case 32:
        return QImage::Format_ARGB32;
    default:
        return QImage::Format_Invalid;
    }
}

// The parts of a PCX header the reader uses.
struct PcxHeader
{
    explicit PcxHeader(const uchar *h)
        : manufacturer(h[0]), version(h[1]), planes(h[65]), depth((h[3] * h[65]) & 0xff),
          width(le16(h + 8) - le16(h + 4) + 1), height(le16(h + 10) - le16(h + 6) + 1),
          bytesPerLine(le16(h + 66)), colors(h + 16)
    {
    }
    int manufacturer, version, planes, depth, width, height, bytesPerLine;
    const uchar *colors;
};

const int pcxHeaderSize = 128;

// Writes runs of one value into image lines of `lineBytes` bytes, skipping the padding
// behind each line, and stops at the end of the image.
class LineFiller
{
public:
    LineFiller(QImage &image, int lineBytes)
        : line(image.bits()), stride(image.bytesPerLine()), lineBytes(lineBytes),
          rowsLeft(image.height())
    {
    }
    bool full() const { return rowsLeft <= 0; }
    void fill(uchar value, qint64 count)
    {
        while (count > 0 && rowsLeft > 0) {
            const int n = int(qMin<qint64>(count, lineBytes - column));
            std::memset(line + column, value, size_t(n));
            count -= n;
            column += n;
            if (column == lineBytes)
                nextLine();
        }
    }
    void put(uchar value)
    {
        line[column] = value;
        if (++column == lineBytes)
            nextLine();
    }

private:
    void nextLine()
    {
        column = 0;
        if (--rowsLeft > 0)
            line += stride;
    }
    uchar *line;
    qsizetype stride;
    int lineBytes;
    int rowsLeft;
    int column = 0;
};

// Normalises what Qt's readers give: 8-bit grey and 1-bit pictures become indexed ones with
// their colour table, other kinds 32-bit ones, and line padding is cleared.
void normalizeLoaded(QImage &image)
{
    switch (image.format()) {
    case QImage::Format_Invalid:
        return;
    case QImage::Format_Indexed8:
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
        break;
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
        image = image.convertToFormat(QImage::Format_Indexed8);
        break;
    case QImage::Format_Grayscale8:
    case QImage::Format_Grayscale16: {
        const QImage grey = image.convertToFormat(QImage::Format_Grayscale8);
        QImage indexed(grey.size(), QImage::Format_Indexed8);
        for (int y = 0; y < grey.height(); ++y)
            std::memcpy(indexed.scanLine(y), grey.constScanLine(y), size_t(grey.width()));
        QVector<QRgb> greys(256);
        for (int i = 0; i < 256; ++i)
            greys[i] = qRgb(i, i, i);
        indexed.setColorTable(greys);
        image = indexed;
        break;
    }
    default:
        image = image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32
                                                              : QImage::Format_RGB32);
        break;
    }
    const int used = int((qint64(image.width()) * image.depth() + 7) / 8);
    const int padding = image.bytesPerLine() - used;
    if (padding > 0)
        for (int y = 0; y < image.height(); ++y)
            std::memset(image.scanLine(y) + used, 0, size_t(padding));
}

bool loadWithQt(QImage &image, QIODevice *device, const char *format)
{
    const bool loaded = image.load(device, format);
    normalizeLoaded(image);
    return loaded;
}

// Pixels of an indexed image without line padding.
QByteArray flattenIndexed(const QImage &image)
{
    const int width = image.width();
    QByteArray flat(qsizetype(width) * image.height(), Qt::Uninitialized);
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(flat.data() + qsizetype(y) * width, image.constScanLine(y), size_t(width));
    return flat;
}

// ---------------------------------------------------------------------------------------------
// LZ5 writer

struct Lz5Token
{
    bool copy;
    bool isShort;
    int value; // the colour of a run, the distance of a copy
    int length;
};

// The best copy at i, or length 0.
Lz5Token findCopy(const uchar *data, int n, int i)
{
    Lz5Token best{true, false, 0, 1};
    const int maxDistance = qMin(i, 1024);
    const int limit = qMin(258, n - i);
    for (int d = 2; d <= maxDistance; ++d) {
        const uchar *source = data + i - d;
        const uchar *target = data + i;
        if (source[0] != target[0])
            continue;
        uchar last = target[0];
        int changes = 0;
        int same = 1;
        bool longRun = false;
        int length = 1;
        for (; length < limit && source[length] == target[length]; ++length) {
            if (target[length] != last) {
                last = target[length];
                ++changes;
                same = 1;
            } else if (++same > 7) {
                longRun = true;
            }
        }
        if (changes < 1 || length <= best.length)
            continue;
        if (length <= 64 && d <= 256) {
            if (changes > 1 || i + length >= n || data[i + length] != last)
                best = Lz5Token{true, true, d, length};
        } else if ((changes == 2 && longRun) || (length > 3 && changes > 2)) {
            best = Lz5Token{true, false, d, length};
        }
    }
    if (best.value == 0)
        best.length = 0;
    return best;
}

QVector<Lz5Token> tokenizeLZ5(const uchar *data, int n, bool compress)
{
    QVector<Lz5Token> tokens;
    int i = 0;
    while (i < n) {
        if (compress && i > 0) {
            const Lz5Token copy = findCopy(data, n, i);
            if (copy.length) {
                tokens.append(copy);
                i += copy.length;
                continue;
            }
        }
        const uchar c = data[i];
        int run = 1;
        while (run < 7 && i + run < n && data[i + run] == c)
            ++run;
        if (compress && run == 7 && i + run < n) {
            const Lz5Token copy = findCopy(data, n, i + run);
            if (copy.length) {
                tokens.append(Lz5Token{false, true, c, 7});
                tokens.append(copy);
                i += run + copy.length;
                continue;
            }
        }
        while (run < 263 && i + run < n && data[i + run] == c)
            ++run;
        tokens.append(Lz5Token{false, run <= 7, c, run});
        i += run;
    }
    return tokens;
}

QByteArray writeLZ5(const QVector<Lz5Token> &tokens)
{
    QByteArray out;
    out.reserve(tokens.size() * 2 + tokens.size() / 8 + 1);
    int shortIndex = 0;  // place of the next short copy in its four
    uchar topBits[4] = {}; // bits 7 and 6 of the length bytes of a four
    for (int t = 0; t < tokens.size(); ++t) {
        if (t % 8 == 0) {
            uchar control = 0;
            for (int k = 0; k < 8 && t + k < tokens.size(); ++k)
                if (tokens[t + k].copy)
                    control |= uchar(1 << k);
            out.append(char(control));
        }
        const Lz5Token &token = tokens[t];
        if (!token.copy) {
            if (token.length <= 7) {
                out.append(char((token.length << 5) | (token.value & 0x1f)));
            } else {
                out.append(char(token.value & 0x1f));
                out.append(char(token.length - 8));
            }
        } else if (!token.isShort) {
            const int d = token.value - 1;
            out.append(char((d >> 2) & 0xc0));
            out.append(char(d & 0xff));
            out.append(char(token.length - 3));
        } else {
            if (shortIndex == 0) {
                std::memset(topBits, 0, sizeof topBits);
                int found = 0;
                int fourth = t;
                for (int k = t + 1; k < tokens.size() && found < 3; ++k)
                    if (tokens[k].copy && tokens[k].isShort) {
                        ++found;
                        fourth = k;
                    }
                if (found == 3) {
                    const int d = tokens[fourth].value - 1;
                    for (int k = 0; k < 4; ++k)
                        topBits[k] = uchar(((d >> (6 - 2 * k)) & 3) << 6);
                }
            }
            out.append(char((token.length - 1) | topBits[shortIndex]));
            if (shortIndex < 3)
                out.append(char(token.value - 1));
            shortIndex = (shortIndex + 1) % 4;
        }
    }
    return out;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Packet decoders over memory

void decodeLZ5(ByteReader &in, uchar *buffer, qsizetype size)
{
    uchar *out = buffer;
    uchar *const end = buffer + size;
    unsigned int recycle = 0;
    int shortCopies = 0;
    while (out < end && !in.atEnd()) {
        const unsigned int control = in.next();
        for (int bit = 0; bit < 8 && out < end && !in.atEnd(); ++bit) {
            const unsigned int b = in.next();
            if (!(control & (1u << bit))) {
                qsizetype count = b >> 5;
                if (!count)
                    count = in.next() + 8;
                count = qMin(count, qsizetype(end - out));
                std::memset(out, int(b & 0x1f), size_t(count));
                out += count;
                continue;
            }
            const unsigned int high = b >> 6;
            qsizetype length = b & 0x3f;
            qsizetype distance;
            if (!length) {
                const unsigned int low = in.next();
                length = in.next() + 3;
                distance = ((high << 8) | low) + 1;
            } else {
                ++length;
                if (shortCopies < 3) {
                    recycle |= high << (6 - 2 * shortCopies);
                    ++shortCopies;
                    distance = in.next() + 1;
                } else {
                    distance = (recycle | high) + 1;
                    recycle = 0;
                    shortCopies = 0;
                }
            }
            length = qMin(length, qsizetype(end - out));
            // Bytes before the start of the output read as 0.
            const qsizetype before = qMin(length, qMax<qsizetype>(0, distance - (out - buffer)));
            std::memset(out, 0, size_t(before));
            out += before;
            length -= before;
            if (!length)
                continue;
            const uchar *source = out - distance;
            if (distance >= length) {
                std::memcpy(out, source, size_t(length));
                out += length;
            } else {
                // Overlapping: each byte may be one this copy has just written.
                for (; length > 0; --length)
                    *out++ = *source++;
            }
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Raw codecs

bool loadPNG(QImage &image, QIODevice *device)
{
    return openForReading(device) && loadWithQt(image, device, "PNG");
}

bool savePNG(const QImage &image, QIODevice *device)
{
    return openForWriting(device) && image.save(device, "PNG", -1);
}

bool loadPCX(QImage &image, QIODevice *device, bool *hasPalette)
{
    if (!openForReading(device))
        return false;
    const DeviceBytes bytes(device);
    ByteReader in = bytes.reader();
    const bool ok = decodePCX(in, image, hasPalette);
    bytes.done(in);
    return ok;
}

bool decodePCX(ByteReader &in, QImage &image, bool *hasPalette)
{
    if (in.remaining() < pcxHeaderSize) {
        in.skip(in.remaining());
        return false;
    }
    const PcxHeader header(in.data());
    in.skip(pcxHeaderSize);
    const QImage::Format format = depthFormat(header.depth);
    // Indexed pictures have one plane; more than four planes would not fit a 32-bit pixel.
    if (header.manufacturer != 10 || header.version != 5 || format == QImage::Format_Invalid
        || (format == QImage::Format_Indexed8 && header.planes != 1) || header.planes > 4)
        return false;
    if (header.width >= 1 && header.height >= 1
        && (image.size() != QSize(header.width, header.height) || image.format() != format))
        image = QImage(header.width, header.height, format);
    if (image.isNull() || image.format() != format)
        return false;
    std::memset(image.bits(), 0, size_t(image.sizeInBytes()));

    const int width = image.width();
    const int height = image.height();
    const int planes = header.planes;
    const int stride = planes == 3 ? 4 : planes;
    const qint64 bytesPerLine = header.bytesPerLine;
    qint64 column = 0;
    int plane = 0;
    int row = 0;
    uchar *line = image.scanLine(0);
    while (row < height) {
        if (in.atEnd()) {
            image = QImage();
            return false;
        }
        int count = 1;
        uchar value = uchar(in.next());
        if (value >= 0xc0) {
            count = value & 0x3f;
            value = uchar(in.next());
        }
        // Most packets stay inside one plane line: write them at once.
        if (stride == 1 && column + count < bytesPerLine) {
            if (column < width)
                std::memset(line + column, value, size_t(qMin<qint64>(count, width - column)));
            column += count;
            continue;
        }
        for (; count > 0; --count) {
            if (column < width)
                line[column * stride] = value;
            if (++column == bytesPerLine) {
                column = 0;
                if (++plane == planes) {
                    plane = 0;
                    if (++row == height)
                        break;
                }
                line = image.scanLine(row) + plane;
            }
        }
    }

    if (header.depth > 8) {
        for (int y = 0; y < height; ++y) {
            uchar *p = image.scanLine(y);
            for (int x = 0; x < width; ++x, p += 4)
                std::swap(p[0], p[2]);
        }
        if (hasPalette)
            *hasPalette = false;
    } else if (header.depth == 8) {
        if (in.remaining() > 769)
            in.skip(in.remaining() - 769);
        QVector<QRgb> colors(256, 0xff000000);
        bool found = false;
        if (!in.atEnd() && in.next() == 12 && in.remaining() >= 768) {
            for (int i = 0; i < 256; ++i, in.skip(3))
                colors[i] = qRgb(in.data()[0], in.data()[1], in.data()[2]);
            found = true;
        } else {
            for (int i = 0; i < 16; ++i)
                colors[i] = qRgb(header.colors[3 * i], header.colors[3 * i + 1],
                                 header.colors[3 * i + 2]);
        }
        image.setColorTable(colors);
        if (hasPalette)
            *hasPalette = found;
    }
    return !in.failed();
}

bool savePCX(const QImage &image, QIODevice *device)
{
    if (!openForWriting(device))
        return false;
    int planes = 0;
    switch (image.format()) {
    case QImage::Format_Indexed8:
        planes = 1;
        break;
    case QImage::Format_RGB32:
        planes = 3;
        break;
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
        planes = 4;
        break;
    default:
        break;
    }
    const int width = image.width();
    uchar h[pcxHeaderSize] = {};
    h[0] = 10;
    h[1] = 5;
    h[2] = 1;
    h[3] = 8;
    putLe16(h + 8, width - 1);
    putLe16(h + 10, image.height() - 1);
    h[65] = uchar(planes);
    putLe16(h + 66, width);
    putLe16(h + 68, 1);
    QByteArray out(reinterpret_cast<const char *>(h), pcxHeaderSize);

    // In a 32-bit pixel of the swapped copy byte 0 is red, the first plane.
    const QImage source = planes > 1 ? image.rgbSwapped() : image;
    const int stride = planes > 1 ? 4 : 1;
    for (int y = 0; y < image.height(); ++y) {
        for (int p = 0; p < planes; ++p) {
            const uchar *line = source.constScanLine(y) + p;
            for (int x = 0; x < width;) {
                const uchar value = line[x * stride];
                int run = 1;
                while (x + run < width && run < 63 && line[(x + run) * stride] == value)
                    ++run;
                if (run >= 2 || value >= 0xc0)
                    out.append(char(0xc0 | run));
                out.append(char(value));
                x += run;
            }
        }
    }
    if (planes == 1) {
        out.append(char(12));
        const QVector<QRgb> colors = image.colorTable();
        for (int i = 0; i < 256; ++i) {
            const QRgb c = i < colors.size() ? colors[i] : 0;
            out.append(char(qRed(c)));
            out.append(char(qGreen(c)));
            out.append(char(qBlue(c)));
        }
    }
    return writeAll(device, out);
}

bool loadLZ5(QImage &image, QIODevice *device)
{
    if (!openForReading(device) || image.format() != QImage::Format_Indexed8)
        return false;
    const DeviceBytes bytes(device);
    ByteReader in = bytes.reader();
    const int width = image.width();
    if (image.bytesPerLine() == width) {
        std::memset(image.bits(), 0, size_t(image.sizeInBytes()));
        decodeLZ5(in, image.bits(), image.sizeInBytes());
    } else {
        QByteArray buffer(qsizetype(width) * image.height(), '\0');
        decodeLZ5(in, reinterpret_cast<uchar *>(buffer.data()), buffer.size());
        for (int y = 0; y < image.height(); ++y)
            std::memcpy(image.scanLine(y), buffer.constData() + qsizetype(y) * width,
                        size_t(width));
    }
    bytes.done(in);
    return !in.failed();
}

bool saveLZ5(const QImage &image, QIODevice *device, bool compress)
{
    if (!openForWriting(device))
        return false;
    if (image.isNull())
        return true;
    if (image.format() != QImage::Format_Indexed8)
        return false;
    const QByteArray flat = flattenIndexed(image);
    const QVector<Lz5Token> tokens = tokenizeLZ5(
        reinterpret_cast<const uchar *>(flat.constData()), int(flat.size()), compress);
    return writeAll(device, writeLZ5(tokens));
}

bool loadRLE5(QImage &image, QIODevice *device)
{
    if (!openForReading(device) || image.format() != QImage::Format_Indexed8)
        return false;
    const DeviceBytes bytes(device);
    ByteReader in = bytes.reader();
    LineFiller out(image, image.width());
    while (!out.full() && !in.atEnd()) {
        const int run = in.next() + 1;
        const unsigned int more = in.next();
        const uchar color = (more & 0x80) ? (in.next() & 0x1f) : 0;
        out.fill(color, run);
        for (unsigned int k = more & 0x1f; k > 0; --k) {
            const unsigned int b = in.next();
            out.fill(uchar(b & 0x1f), (b >> 5) + 1);
        }
    }
    bytes.done(in);
    return !in.failed();
}

bool saveRLE5(const QImage &, QIODevice *)
{
    return false;
}

bool loadRLE8(QImage &image, QIODevice *device)
{
    const int depth = image.depth();
    if (!openForReading(device) || image.isNull() || (depth != 8 && depth != 24 && depth != 32))
        return false;
    const DeviceBytes bytes(device);
    ByteReader in = bytes.reader();
    LineFiller out(image, image.width() * depth / 8);
    while (!out.full() && !in.atEnd()) {
        const uchar b = in.next();
        if ((b & 0xc0) == 0x40)
            out.fill(in.next(), b & 0x3f);
        else
            out.put(b);
    }
    bytes.done(in);
    return !in.failed();
}

bool saveRLE8(const QImage &image, QIODevice *device)
{
    if (!openForWriting(device))
        return false;
    if (image.isNull())
        return true;
    const int depth = image.depth();
    if (depth != 8 && depth != 24 && depth != 32)
        return false;
    const int lineBytes = image.width() * depth / 8;
    QByteArray flat(qsizetype(lineBytes) * image.height(), Qt::Uninitialized);
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(flat.data() + qsizetype(y) * lineBytes, image.constScanLine(y),
                    size_t(lineBytes));
    const uchar *p = reinterpret_cast<const uchar *>(flat.constData());
    const qsizetype n = flat.size();
    QByteArray out;
    out.reserve(n / 2 + 16);
    for (qsizetype i = 0; i < n;) {
        const uchar value = p[i];
        int run = 1;
        while (i + run < n && run < 63 && p[i + run] == value)
            ++run;
        if (run >= 2 || (value & 0xc0) == 0x40)
            out.append(char(0x40 | run));
        out.append(char(value));
        i += run;
    }
    return writeAll(device, out);
}

// ---------------------------------------------------------------------------------------------
// Dispatch

namespace {

// The first frame of a GIF, through the library's own reader (never Qt's plug-in), with the
// file's colours opaque apart from the frame's transparent index.
void loadGif(QImage &image, QIODevice *device)
{
    GIFImage gif;
    if (!gif.load(device) || gif.images().isEmpty())
        return;
    const GIFImage::SubImage &first = gif.images().first();
    const QVector<RGB> &map = gif.globalColorMap().isEmpty() ? first.colorMap
                                                             : gif.globalColorMap();
    QVector<QRgb> table;
    for (const RGB &c : map)
        table.append(qRgb(c.red, c.green, c.blue));
    if (first.transparent < table.size())
        table[first.transparent] &= 0x00ffffff;
    // Pictures of indices are Format_Indexed8 throughout the library, two-colour ones too.
    image = first.image.convertToFormat(QImage::Format_Indexed8);
    image.setColorTable(table);
}

// One frame with the picture's colour table as the global map and its first colour of alpha 0
// as the transparent index. A true-colour picture is quantized first.
bool saveGif(const QImage &source, QIODevice *device)
{
    const QImage image = source.format() == QImage::Format_Indexed8 ? source
                                                                   : quantizeForGif(source);
    GIFImage gif(ushort(image.width()), ushort(image.height()), false);
    GIFImage::SubImage sub;
    sub.image = image;
    const QVector<QRgb> table = image.colorTable();
    for (int i = 0; i < table.size(); ++i) {
        gif.globalColorMap().append(RGB(uchar(qRed(table[i])), uchar(qGreen(table[i])),
                                        uchar(qBlue(table[i]))));
        if (qAlpha(table[i]) == 0 && sub.transparent == 65535)
            sub.transparent = ushort(i);
    }
    gif.images().append(sub);
    return gif.save(device);
}

} // namespace

bool loadImage(QIODevice *device, const char *format, QImage &image)
{
    if (!device || !device->isReadable() || !format)
        return false;
    // A failed load must not report the picture the caller passed in.
    image = QImage();
    if (!std::strcmp(format, "PNG") || !std::strcmp(format, "BMP")) {
        loadWithQt(image, device, format);
    } else if (!std::strcmp(format, "PCX")) {
        loadPCX(image, device, nullptr);
    } else if (!std::strcmp(format, "GIF")) {
        loadGif(image, device);
    } else {
        for (Extension *extension : ExtensionManager::list(Extension::ImageReaderType)) {
            auto *reader = dynamic_cast<ImageReaderExtension *>(extension);
            if (reader && !std::strcmp(reader->format(), format) && reader->load(device, image))
                break;
        }
    }
    return !image.isNull();
}

bool saveImage(QIODevice *device, const char *format, const QImage &image)
{
    if (image.isNull() || !device || !device->isWritable() || !format)
        return false;
    if (!std::strcmp(format, "PNG") || !std::strcmp(format, "BMP"))
        return image.save(device, format, -1);
    if (!std::strcmp(format, "PCX"))
        return savePCX(image, device);
    if (!std::strcmp(format, "GIF"))
        return saveGif(image, device);
    for (Extension *extension : ExtensionManager::list(Extension::ImageWriterType)) {
        auto *writer = dynamic_cast<ImageWriterExtension *>(extension);
        if (writer && !std::strcmp(writer->format(), format) && writer->save(device, image))
            return true;
    }
    return false;
}

ImageInfo imageInfoFromFile(QIODevice *device, const char *format)
{
    ImageInfo info;
    if (!device || !device->isReadable() || !format)
        return info;
    const auto head = [device](qint64 size) {
        const QByteArray bytes = device->read(size);
        return bytes.size() == size ? bytes : QByteArray();
    };
    if (!std::strcmp(format, "BMP")) {
        const QByteArray bytes = head(30);
        if (bytes.isEmpty())
            return info;
        const uchar *p = reinterpret_cast<const uchar *>(bytes.constData()) + 14;
        info.width = quint16(qAbs(qint64(qint32(le32(p + 4)))));
        info.height = quint16(qAbs(qint64(qint32(le32(p + 8)))));
        info.format = depthFormat(le16(p + 14));
    } else if (!std::strcmp(format, "PNG")) {
        const QByteArray bytes = head(26);
        const uchar *p = reinterpret_cast<const uchar *>(bytes.constData());
        if (bytes.isEmpty() || std::memcmp(p, "\x89PNG\r\n\x1a\n", 8)
            || std::memcmp(p + 12, "IHDR", 4))
            return info;
        info.width = quint16(be32(p + 16));
        info.height = quint16(be32(p + 20));
        const int colorType = p[25];
        info.format = colorType == 2   ? QImage::Format_RGB32
                      : colorType == 6 ? QImage::Format_ARGB32
                                       : QImage::Format_Indexed8;
    } else if (!std::strcmp(format, "PCX")) {
        const QByteArray bytes = head(pcxHeaderSize);
        if (bytes.isEmpty())
            return info;
        const PcxHeader header(reinterpret_cast<const uchar *>(bytes.constData()));
        info.width = quint16(header.width);
        info.height = quint16(header.height);
        info.format = depthFormat(header.depth);
    } else if (!std::strcmp(format, "GIF")) {
        const QByteArray bytes = head(13);
        const uchar *p = reinterpret_cast<const uchar *>(bytes.constData());
        if (bytes.isEmpty() || std::memcmp(p, "GIF8", 4))
            return info;
        info.width = le16(p + 6);
        info.height = le16(p + 8);
        info.format = depthFormat((p[10] & 7) + 1);
    }
    return info;
}

const char *imageFileExtension(ImageExtensionType type)
{
    static const char *const texts[] = {
        " (*.pcx *.png *.gif *.bmp);;",
        "Personal Computer eXchange (*.pcx);;Portable Network Graphic (*.png);;Graphics "
        "Interchange Format (*.gif);;Bitmap (*.bmp)",
        "Portable Network Graphic (*.png);;Graphics Interchange Format (*.gif);;Personal "
        "Computer eXchange (*.pcx);;Bitmap (*.bmp)",
        " (*.act *.pcx *.png *.gif *.bmp *.pal *.aco *.ase *.txt);;",
        "Adobe Color Table (*.act);;Personal Computer eXchange (*.pcx);;Portable Network "
        "Graphic (*.png);;Graphics Interchange Format (*.gif);;Bitmap (*.bmp);;RIFF / Jasc "
        "Palette (*.pal);;Adobe Color Swatch (*.aco);;Adobe Swatch Exchange (*.ase);;Corel "
        "Painter Swatches (*.txt)",
        "Adobe Color Table (*.act)",
    };
    return unsigned(type) < sizeof texts / sizeof *texts ? texts[type] : nullptr;
}

Extension::Type ImageReaderExtension::type() const
{
    return ImageReaderType;
}

Extension::Type ImageWriterExtension::type() const
{
    return ImageWriterType;
}

} // namespace Zorn
