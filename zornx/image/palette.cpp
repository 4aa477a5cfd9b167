#include "palette.h"

#include "imagecodecs.h"
#include "imageoperations_p.h"

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>
#include <QtCore/QRegularExpression>
#include <QtCore/QTextStream>
#include <QtGui/QImage>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace Zorn {

namespace {

typedef RGBA Table[256];

inline bool selected(const bool *selection, int i)
{
    return !selection || selection[i];
}

inline uchar clampByte(int value)
{
    return uchar(qBound(0, value, 255));
}

// round(value × 255), halves away from zero, limited to 0 to 255; NaN gives 0.
uchar unitToByte(float value)
{
    const float scaled = value * 255.0f;
    if (!(scaled > 0.0f))
        return 0;
    if (scaled >= 255.0f)
        return 255;
    return uchar(std::floor(scaled + 0.5f));
}

RGBA fromColor(const QColor &color)
{
    const QColor rgb = color.toRgb();
    return RGBA(uchar(rgb.red()), uchar(rgb.green()), uchar(rgb.blue()), 255);
}

void fill(Table &table, RGBA color)
{
    std::fill(table, table + 256, color);
}

void reverse(Table &table)
{
    std::reverse(table, table + 256);
}

// ------------------------------------------------------------------------------------------
// Readers. Each fills a work table and tells whether it is to be taken.

bool readImageTable(QIODevice *device, const char *format, Table &table)
{
    QImage image;
    if (!loadImage(device, format, image) || image.format() != QImage::Format_Indexed8)
        return false;
    const QVector<QRgb> colors = image.colorTable();
    for (int i = 0; i < qMin(256, colors.size()); ++i)
        table[i] = RGBA(uchar(qRed(colors[i])), uchar(qGreen(colors[i])), uchar(qBlue(colors[i])),
                        uchar(qAlpha(colors[i])));
    return true;
}

// A GIF's global colour table, straight from its head: the picture itself is not needed.
bool readGIFTable(QIODevice *device, Table &table)
{
    const QByteArray head = device->read(13);
    if (head.size() < 13 || (!head.startsWith("GIF87a") && !head.startsWith("GIF89a")))
        return false;
    const uchar flags = uchar(head[10]);
    if (!(flags & 0x80))
        return false;
    const int count = 2 << (flags & 7);
    const QByteArray colors = device->read(3 * count);
    if (colors.size() < 3 * count)
        return false;
    const uchar *p = reinterpret_cast<const uchar *>(colors.constData());
    for (int i = 0; i < count; ++i, p += 3)
        table[i] = RGBA(p[0], p[1], p[2], 255);
    return true;
}

bool readACT(QIODevice *device, Table &table)
{
    const QByteArray bytes = device->read(768);
    if (bytes.size() < 768)
        return false;
    const uchar *p = reinterpret_cast<const uchar *>(bytes.constData());
    for (int i = 0; i < 256; ++i, p += 3)
        table[255 - i] = RGBA(p[0], p[1], p[2], 255);
    return true;
}

bool readRIFF(QIODevice *device, Table &table)
{
    if (!device->seek(8) || device->read(8) != "PAL data")
        return false;
    const QByteArray sizeBytes = device->read(4);
    if (sizeBytes.size() < 4)
        return false;
    const uchar *s = reinterpret_cast<const uchar *>(sizeBytes.constData());
    const quint32 chunk = quint32(s[0]) | quint32(s[1]) << 8 | quint32(s[2]) << 16
                          | quint32(s[3]) << 24;
    // The version and count words take 4 of the chunk's bytes; a chunk below that is as
    // malformed as one of more than 256 entries.
    if (chunk < 4 || chunk - 4 > 1024)
        return false;
    const int length = int(chunk - 4);
    if (!device->seek(24))
        return false;
    const QByteArray entries = device->read(length);
    if (entries.size() < length)
        return false;
    std::memcpy(table, entries.constData(), size_t(length));
    for (RGBA &entry : table)
        entry.alpha = 255;
    reverse(table);
    return true;
}

// "R G B" or "R G B A" with single blanks between numbers of up to three digits.
void setFromMatch(const QRegularExpressionMatch &match, RGBA &entry)
{
    entry.red = uchar(qMin(255, match.capturedRef(1).toInt()));
    entry.green = uchar(qMin(255, match.capturedRef(2).toInt()));
    entry.blue = uchar(qMin(255, match.capturedRef(3).toInt()));
    entry.alpha = match.capturedLength(4) ? uchar(qMin(255, match.capturedRef(4).toInt())) : 255;
}

QString readAllText(QIODevice *device)
{
    // No text mode: line ends stay exactly as the file has them.
    QTextStream stream(device);
    return stream.readAll();
}

bool readJASC(QIODevice *device, Table &table)
{
    const QStringList lines = readAllText(device).split(QStringLiteral("\r\n"));
    if (lines.size() < 2 || lines[0] != QLatin1String("JASC-PAL")
        || lines[1] != QLatin1String("0100"))
        return false;
    static const QRegularExpression entry(
        QStringLiteral("^(\\d{1,3})\\s(\\d{1,3})\\s(\\d{1,3})(?:\\s(\\d{1,3}))?$"));
    for (int i = 0; i < 256 && i + 3 < lines.size(); ++i) {
        const QRegularExpressionMatch match = entry.match(lines[i + 3]);
        if (match.hasMatch())
            setFromMatch(match, table[i]);
    }
    return true;
}

bool readCorel(QIODevice *device, Table &table)
{
    const QStringList lines = readAllText(device).split(QLatin1Char('\n'));
    static const QRegularExpression entry(QStringLiteral(
        "^R:\\s?(\\d{1,3}),\\s?G:\\s?(\\d{1,3}),\\s?B:\\s?(\\d{1,3})(?:\\s?A:\\s?(\\d{1,3}))?"));
    int filled = 0;
    for (int i = 0; i < lines.size() && filled < 256; ++i) {
        const QRegularExpressionMatch match = entry.match(lines[i]);
        if (match.hasMatch())
            setFromMatch(match, table[filled++]);
    }
    return true;
}

bool readACO(QIODevice *device, Table &table)
{
    QDataStream in(device);
    in.setByteOrder(QDataStream::BigEndian);
    quint16 version = 0, count = 0;
    in >> version;
    if (version != 1)
        return false;
    in >> count;
    int filled = 0;
    // Past the end every word reads as 0, an RGB black that the table already holds: the
    // loop may stop there with the same result.
    for (int c = 0; c < count && filled < 256 && in.status() == QDataStream::Ok; ++c) {
        quint16 space = 0, w = 0, x = 0, y = 0, z = 0;
        in >> space >> w >> x >> y >> z;
        switch (space) {
        case 0:
            table[filled++] = RGBA(uchar(w / 257), uchar(x / 257), uchar(y / 257), 255);
            break;
        case 1:
            table[filled++] = fromColor(
                QColor::fromHsv(int(std::lround(w / 182.5487f)), x / 257, y / 257, 255));
            break;
        case 2:
            table[filled++] = fromColor(QColor::fromCmyk(255 - w / 257, 255 - x / 257,
                                                         255 - y / 257, 255 - z / 257, 255));
            break;
        case 8: {
            const uchar grey = uchar(255 - int(std::lround(w / 39.2157f)));
            table[filled++] = RGBA(grey, grey, grey, 255);
            break;
        }
        default:
            break;
        }
    }
    return true;
}

bool readASE(QIODevice *device, Table &table)
{
    if (!device->seek(4))
        return false;
    QDataStream in(device);
    in.setByteOrder(QDataStream::BigEndian);
    in.setFloatingPointPrecision(QDataStream::SinglePrecision);
    quint16 major = 0, minor = 0;
    quint32 blocks = 0;
    in >> major >> minor;
    if (major != 1 || minor != 0)
        return false;
    in >> blocks;
    int filled = 0;
    // Past the end a block reads as type 0 of length 0, which adds nothing: stop there.
    for (quint32 b = 0; b < blocks && filled < 256 && in.status() == QDataStream::Ok; ++b) {
        quint16 type = 0, nameLength = 0;
        quint32 length = 0;
        in >> type >> length;
        if (type == 0x0001) {
            in >> nameLength;
            in.skipRawData(2 * nameLength);
            char model[4] = {0, 0, 0, 0};
            in.readRawData(model, 4);
            float v[4] = {0, 0, 0, 0};
            if (!std::memcmp(model, "RGB ", 4)) {
                in >> v[0] >> v[1] >> v[2];
                table[filled++] = RGBA(unitToByte(v[0]), unitToByte(v[1]), unitToByte(v[2]), 255);
            } else if (!std::memcmp(model, "CMYK", 4)) {
                in >> v[0] >> v[1] >> v[2] >> v[3];
                table[filled++] = fromColor(QColor::fromCmyk(unitToByte(v[0]), unitToByte(v[1]),
                                                             unitToByte(v[2]), unitToByte(v[3]),
                                                             255));
            } else if (!std::memcmp(model, "Gray", 4)) {
                in >> v[0];
                const uchar grey = unitToByte(v[0]);
                table[filled++] = RGBA(grey, grey, grey, 255);
            } else {
                in.skipRawData(12);
            }
            in.skipRawData(2);
        } else if (type == 0xC001 || type == 0xC002) {
            in >> nameLength;
            in.skipRawData(2 * nameLength);
        } else {
            // Lengths beyond the file end the stream like any other short read.
            in.skipRawData(int(qMin<quint32>(length, quint32(INT_MAX))));
        }
    }
    return true;
}

} // namespace

// ------------------------------------------------------------------------------------------

PaletteObject::PaletteObject(RGBA *palette, QObject *parent) : QObject(parent), m_palette(palette)
{
}

PaletteObject &PaletteObject::operator=(RGBA *palette)
{
    m_palette = palette;
    return *this;
}

PaletteObject::Table &PaletteObject::palette() const
{
    return *reinterpret_cast<Table *>(m_palette);
}

QColor PaletteObject::colorAt(uchar index) const
{
    const RGBA &c = m_palette[index];
    return QColor(c.red, c.green, c.blue, c.alpha);
}

uchar PaletteObject::index(RGBA color) const
{
    return uchar(nearestPaletteIndex(m_palette, color));
}

void PaletteObject::fromPalette(const RGBA *palette)
{
    Q_EMIT changing();
    std::memmove(m_palette, palette, sizeof(Table));
    Q_EMIT changed();
}

void PaletteObject::toPalette(RGBA (&palette)[256]) const
{
    std::memmove(palette, m_palette, sizeof(Table));
}

bool PaletteObject::fromFile(QIODevice *device, const char *format)
{
    if (!device || !device->isReadable() || !format)
        return false;
    const QByteArray name(format);
    Table work;
    bool ok = false;
    if (name == "PNG" || name == "PCX" || name == "BMP") {
        fill(work, RGBA(0, 0, 0, 255));
        ok = readImageTable(device, format, work);
    } else if (name == "GIF") {
        fill(work, RGBA(0, 0, 0, 255));
        ok = readGIFTable(device, work);
    } else if (name == "ACT") {
        fill(work, RGBA(0, 0, 0, 255));
        ok = readACT(device, work);
    } else if (name == "ACO") {
        fill(work, RGBA(0, 0, 0, 255));
        ok = readACO(device, work);
    } else {
        fill(work, RGBA());
        const QByteArray magic = device->peek(4);
        if (magic == "RIFF") {
            ok = readRIFF(device, work);
        } else if (magic == "JASC") {
            ok = readJASC(device, work);
        } else if (magic == "ASEF") {
            ok = readASE(device, work);
        } else if (magic == "ROWS") {
            ok = readCorel(device, work);
        } else {
            const QList<Extension *> &readers = ExtensionManager::list(Extension::PaletteReaderType);
            for (Extension *extension : readers) {
                if (name != extension->format())
                    continue;
                if (static_cast<PaletteReaderExtension *>(extension)->load(device, work)) {
                    ok = true;
                    break;
                }
            }
        }
    }
    if (!ok)
        return false;
    Q_EMIT changing();
    std::memcpy(m_palette, work, sizeof(Table));
    Q_EMIT changed();
    return true;
}

bool PaletteObject::toFile(QIODevice *device, const char *format) const
{
    if (!device || !device->isWritable() || !format)
        return false;
    if (QByteArray(format) == "ACT") {
        Table copy;
        std::memcpy(copy, m_palette, sizeof(Table));
        reverse(copy);
        QByteArray bytes(768, Qt::Uninitialized);
        for (int i = 0; i < 256; ++i) {
            bytes[3 * i] = char(copy[i].red);
            bytes[3 * i + 1] = char(copy[i].green);
            bytes[3 * i + 2] = char(copy[i].blue);
        }
        return device->write(bytes) == 768;
    }
    const QList<Extension *> &writers = ExtensionManager::list(Extension::PaletteWriterType);
    for (Extension *extension : writers) {
        if (static_cast<PaletteWriterExtension *>(extension)->save(format, m_palette, device))
            return true;
    }
    return false;
}

void PaletteObject::setColor(uchar index, RGBA color)
{
    Q_EMIT changing();
    m_palette[index] = color;
    Q_EMIT changed();
}

void PaletteObject::setColor(const bool *selection, RGBA color)
{
    Q_EMIT changing();
    for (int i = 0; i < 256; ++i) {
        if (selected(selection, i))
            m_palette[i] = color;
    }
    Q_EMIT changed();
}

namespace {

// a + (k × (b − a)) / (n − 1) per channel, truncating, modulo 256; one step gives a.
RGBA gradientStep(RGBA a, RGBA b, int k, int n)
{
    if (n <= 1)
        return a;
    const auto channel = [k, n](uchar from, uchar to) {
        return uchar(from + (k * (int(to) - int(from))) / (n - 1));
    };
    return RGBA(channel(a.red, b.red), channel(a.green, b.green), channel(a.blue, b.blue),
                channel(a.alpha, b.alpha));
}

} // namespace

void PaletteObject::gradient(uchar first, RGBA a, uchar last, const RGBA &b)
{
    Q_EMIT changing();
    if (first < last) {
        const RGBA to = b; // b may be an entry of this table
        const int n = last - first;
        for (int k = 0; k < n; ++k)
            m_palette[first + k] = gradientStep(a, to, k, n);
    }
    Q_EMIT changed();
}

void PaletteObject::gradient(const bool *selection, RGBA a, RGBA b)
{
    Q_EMIT changing();
    int n = 0;
    for (int i = 0; i < 256; ++i)
        n += selected(selection, i);
    for (int i = 0, k = 0; i < 256; ++i) {
        if (selected(selection, i))
            m_palette[i] = gradientStep(a, b, k++, n);
    }
    Q_EMIT changed();
}

void PaletteObject::clearDuplicated(RGB color)
{
    Q_EMIT changing();
    for (int i = 2; i < 256; ++i) {
        for (int j = i - 1; j >= 1; --j) {
            if (m_palette[j] == m_palette[i]) {
                m_palette[j] = RGBA::fromRGB(color);
                break;
            }
        }
    }
    Q_EMIT changed();
}

void PaletteObject::addColors(const RGBA *colors)
{
    Q_EMIT changing();
    int write = 255;
    for (int c = 0; c < 256 && write >= 0; ++c) {
        if (std::find(m_palette, m_palette + 256, colors[c]) == m_palette + 256)
            m_palette[write--] = colors[c];
    }
    Q_EMIT changed();
}

void PaletteObject::applyEffect(RGBPaletteEffect effect, const bool *selection)
{
    Q_EMIT changing();
    for (int i = 0; i < 256; ++i) {
        if (!selected(selection, i))
            continue;
        RGBA &e = m_palette[i];
        const int sum = e.red + e.green + e.blue;
        const int grey = sum / 3;
        switch (effect) {
        case SwapRedBlue:
        case SwapRedBlue2:
            std::swap(e.red, e.blue);
            break;
        case SwapGreenBlue:
        case SwapGreenBlue2:
            std::swap(e.green, e.blue);
            break;
        case SwapRedGreen:
        case SwapRedGreen2:
            std::swap(e.red, e.green);
            break;
        case Lighten:
        case LightenMore: {
            const int step = effect == Lighten ? 32 : 128;
            e = RGBA(clampByte(e.red + step), clampByte(e.green + step), clampByte(e.blue + step),
                     e.alpha);
            break;
        }
        case Darken:
        case DarkenMore: {
            const int step = effect == Darken ? 32 : 128;
            e = RGBA(clampByte(e.red - step), clampByte(e.green - step), clampByte(e.blue - step),
                     e.alpha);
            break;
        }
        case Grey:
            e.red = e.green = e.blue = uchar(grey);
            break;
        case Warm:
            e = RGBA(clampByte(grey + 100), uchar(grey / 2), 0, e.alpha);
            break;
        case Violet:
            e = RGBA(uchar(sum / 12 + 60), 0, uchar(sum / 6 + 60), e.alpha);
            break;
        case Contrast:
            e.red = e.green = e.blue = uchar(grey < 128 ? grey + 50 : grey - 50);
            break;
        default:
            break;
        }
    }
    Q_EMIT changed();
}

void PaletteObject::switchColors(const bool *selection, bool swapAlpha)
{
    Q_EMIT changing();
    int i = 0, j = 255;
    // The cursors never look outside 0 to 255, whatever the selection.
    for (;;) {
        while (i < 255 && !selected(selection, i))
            ++i;
        while (j > 0 && !selected(selection, j))
            --j;
        if (i >= j)
            break;
        std::swap(m_palette[i], m_palette[j]);
        ++i;
        --j;
    }
    if (swapAlpha)
        std::swap(m_palette[0].alpha, m_palette[255].alpha);
    Q_EMIT changed();
}

void PaletteObject::sortByTones()
{
    Q_EMIT changing();
    for (int i = 1; i < 255; ++i) {
        const RGBA &prev = m_palette[i - 1];
        int best = i;
        int bestDistance = INT_MAX;
        for (int j = i; j < 256; ++j) {
            const int dr = m_palette[j].red - prev.red, dg = m_palette[j].green - prev.green,
                      db = m_palette[j].blue - prev.blue;
            const int d = dr * dr + dg * dg + db * db;
            if (d < bestDistance) {
                bestDistance = d;
                best = j;
            }
        }
        std::swap(m_palette[i], m_palette[best]);
    }
    Q_EMIT changed();
}

void PaletteObject::addHueSaturation(const bool *selection, short hue, short saturation)
{
    Q_EMIT changing();
    for (int i = 0; i < 256; ++i) {
        if (!selected(selection, i))
            continue;
        RGBA &e = m_palette[i];
        const QColor hsl = QColor(e.red, e.green, e.blue).toHsl();
        const int h = qBound(0, hsl.hslHue() + hue, 359);
        const int s = qBound(0, hsl.hslSaturation() + saturation, 255);
        const QColor out = QColor::fromHsl(h, s, hsl.lightness(), 255);
        e = RGBA(uchar(out.red()), uchar(out.green()), uchar(out.blue()), uchar(out.alpha()));
    }
    Q_EMIT changed();
}

void PaletteObject::addRGB(const bool *selection, short red, short green, short blue)
{
    Q_EMIT changing();
    for (int i = 0; i < 256; ++i) {
        if (!selected(selection, i))
            continue;
        RGBA &e = m_palette[i];
        e = RGBA(clampByte(e.red + red), clampByte(e.green + green), clampByte(e.blue + blue),
                 e.alpha);
    }
    Q_EMIT changed();
}

void PaletteObject::empty()
{
    std::memset(static_cast<void *>(m_palette), 0, sizeof(Table));
}

// ------------------------------------------------------------------------------------------

namespace {

// The search for one pixel: least cost, first of equals; the result is that of trying all 256
// entries in index order. A pixel tries only the entries that can win somewhere in its cell:
// 32 × 32 × 32 colours and a band of alpha (1 to 31, 32 to 63, ..., 224 to 254, and 255 alone).
// An entry is left out when the least it can cost in the cell exceeds what another entry costs
// at most there. Pixels of alpha 0 all take one answer: their colour part is 0.
class Matcher
{
public:
    explicit Matcher(const RGBA *palette)
    {
        std::copy(palette, palette + 256, entries);
        int best = 0;
        for (int i = 1; i < 256; ++i)
            if (entries[i].alpha < entries[best].alpha)
                best = i;
        transparent = uchar(best);
    }

    uchar match(QRgb pixel)
    {
        const int A = qAlpha(pixel), R = qRed(pixel), G = qGreen(pixel), B = qBlue(pixel);
        if (A == 0)
            return transparent;
        const int c = ((R >> 5) << 6 | (G >> 5) << 3 | (B >> 5)) * Bands + (A == 255 ? 8 : A >> 5);
        if (!built[c])
            buildCell(c);
        uint best = UINT_MAX;
        int bestIndex = 0;
        for (const uchar i : cells[c]) {
            const RGBA &e = entries[i];
            const int dr = e.red - R, dg = e.green - G, db = e.blue - B, da = A - e.alpha;
            const uint colour = uint(dr * dr + dg * dg + db * db);
            const uint cost = (A == 255 ? colour : colour * uint(A) / 255u) + uint(da * da);
            if (cost < best) {
                best = cost;
                bestIndex = i;
            }
        }
        return uchar(bestIndex);
    }

private:
    enum { Bands = 9, Cells = 512 * Bands };

    void buildCell(int c)
    {
        const int cell = c / Bands, band = c % Bands;
        const int low[3] = {(cell >> 6) << 5, ((cell >> 3) & 7) << 5, (cell & 7) << 5};
        const uint a0 = band == 8 ? 255 : uint(qMax(1, band << 5));
        const uint a1 = band == 8 ? 255 : uint(qMin(254, (band << 5) + 31));
        uint least[256];
        uint limit = UINT_MAX;
        for (int i = 0; i < 256; ++i) {
            const int value[3] = {entries[i].red, entries[i].green, entries[i].blue};
            uint nearest = 0, farthest = 0;
            for (int k = 0; k < 3; ++k) {
                const int l = low[k], h = low[k] + 31, v = value[k];
                const int dNear = v < l ? l - v : v > h ? v - h : 0;
                const int dFar = qMax(qAbs(v - l), qAbs(v - h));
                nearest += uint(dNear * dNear);
                farthest += uint(dFar * dFar);
            }
            const int e = entries[i].alpha;
            const int d0 = int(a0) - e, d1 = int(a1) - e;
            const uint alphaNear = (e >= int(a0) && e <= int(a1)) ? 0u : uint(qMin(d0 * d0, d1 * d1));
            const uint alphaFar = uint(qMax(d0 * d0, d1 * d1));
            least[i] = nearest * a0 / 255u + alphaNear;
            limit = qMin(limit, farthest * a1 / 255u + alphaFar);
        }
        for (int i = 0; i < 256; ++i)
            if (least[i] <= limit)
                cells[c].push_back(uchar(i));
        built[c] = true;
    }

    RGBA entries[256];
    uchar transparent;
    std::vector<uchar> cells[Cells];
    bool built[Cells] = {};
};

// A direct-mapped memory of looked-up pixels: sprites use few colours. Every slot starts as
// the answer for pixel 0, so an empty slot is never mistaken for a hit.
class MatchCache
{
public:
    explicit MatchCache(const RGBA *palette) : matcher(palette)
    {
        std::fill(keys, keys + Size, 0u);
        std::fill(values, values + Size, matcher.match(0));
    }

    uchar operator()(QRgb pixel)
    {
        const uint slot = (pixel * 2654435761u) >> (32 - Bits);
        if (keys[slot] != pixel) {
            keys[slot] = pixel;
            values[slot] = matcher.match(pixel);
        }
        return values[slot];
    }

private:
    enum { Bits = 12, Size = 1 << Bits };
    Matcher matcher;
    QRgb keys[Size];
    uchar values[Size];
};

} // namespace

void adaptImageToPalette(QImage &image, const RGBA palette[256])
{
    bool alphaCounts = image.format() == QImage::Format_ARGB32;
    if (image.format() == QImage::Format_Indexed8) {
        const QVector<QRgb> colors = image.colorTable();
        alphaCounts = std::any_of(colors.begin(), colors.end(),
                                  [](QRgb c) { return qAlpha(c) < 255; });
    }
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i)
        table[i] = qRgba(palette[i].red, palette[i].green, palette[i].blue,
                         alphaCounts ? palette[i].alpha : 255);

    const QImage source = image.format() == QImage::Format_ARGB32
                              ? image
                              : image.convertToFormat(QImage::Format_ARGB32);
    QImage result(image.size(), QImage::Format_Indexed8);
    if (!source.isNull() && !result.isNull()) {
        const std::unique_ptr<MatchCache> cache(new MatchCache(palette)); // too big for the stack
        for (int y = 0; y < source.height(); ++y) {
            const QRgb *in = reinterpret_cast<const QRgb *>(source.constScanLine(y));
            uchar *out = result.scanLine(y);
            for (int x = 0; x < source.width(); ++x)
                out[x] = (*cache)(in[x]);
        }
    }
    result.setColorTable(table);
    image = result;
}

// ------------------------------------------------------------------------------------------

Extension::Type PaletteReaderExtension::type() const
{
    return PaletteReaderType;
}

Extension::Type PaletteWriterExtension::type() const
{
    return PaletteWriterType;
}

} // namespace Zorn
