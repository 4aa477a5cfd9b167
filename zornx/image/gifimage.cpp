#include "gifimage.h"
#include "gifimage_p.h"
#include "imageoperations.h"

#include <QtCore/QDataStream>
#include <QtCore/QHash>
#include <QtCore/QIODevice>

#include <gif_lib.h>

#include <climits>
#include <cstring>
#include <memory>
#include <vector>

namespace Zorn {

namespace {

int readBytes(GifFileType *gif, GifByteType *bytes, int count)
{
    auto *stream = static_cast<QDataStream *>(gif->UserData);
    const int read = stream->readRawData(reinterpret_cast<char *>(bytes), count);
    return read < 0 ? 0 : read;
}

int writeBytes(GifFileType *gif, const GifByteType *bytes, int count)
{
    auto *stream = static_cast<QDataStream *>(gif->UserData);
    return stream->writeRawData(reinterpret_cast<const char *>(bytes), count);
}

QVector<RGB> fromGifMap(const ColorMapObject *map)
{
    QVector<RGB> colors;
    if (map) {
        colors.reserve(map->ColorCount);
        for (int i = 0; i < map->ColorCount; ++i)
            colors.append(RGB(map->Colors[i].Red, map->Colors[i].Green, map->Colors[i].Blue));
    }
    return colors;
}

struct MapDeleter
{
    void operator()(ColorMapObject *map) const { GifFreeMapObject(map); }
};
using GifMap = std::unique_ptr<ColorMapObject, MapDeleter>;

// giflib takes only colour counts that are powers of two: the map is padded with black.
GifMap toGifMap(const QVector<RGB> &colors)
{
    if (colors.isEmpty())
        return nullptr;
    const int count = qMin(colors.size(), 256);
    GifMap map(GifMakeMapObject(1 << GifBitSize(count), nullptr));
    if (map) {
        for (int i = 0; i < count; ++i)
            map->Colors[i] = GifColorType{colors[i].red, colors[i].green, colors[i].blue};
    }
    return map;
}

// The most pixels one byte of LZW data can give: a 12-bit code stands for at most 4096.
const qint64 maxPixelsPerByte = 4096 * 8 / 12 + 1;

// Reads the records of a file the way giflib's slurp does, into `images`, but refuses an
// image whose size the rest of the file could never fill before allocating it, and copies
// lines straight into the picture. Interlaced images are put back in order.
bool readRecords(GifFileType *gif, qint64 bytesLeft, QList<GIFImage::SubImage> &images,
                 bool &loop)
{
    const bool mono = gif->SColorResolution <= 1;
    // The first sub-block of each extension seen since the last image, by function code.
    QVector<QPair<int, QByteArray>> pending;
    const auto takeExtensions = [&](GIFImage::SubImage &sub) {
        for (const auto &block : qAsConst(pending)) {
            const auto *bytes = reinterpret_cast<const GifByteType *>(block.second.constData());
            GraphicsControlBlock control;
            if (block.first == GRAPHICS_EXT_FUNC_CODE
                && DGifExtensionToGCB(size_t(block.second.size()), bytes, &control) == GIF_OK) {
                // Only a set transparency flag makes a colour transparent, as in every reader.
                sub.transparent = control.TransparentColor == NO_TRANSPARENT_COLOR
                                      ? 65535
                                      : ushort(control.TransparentColor);
                sub.delay = control.DelayTime;
            } else if (block.first == APPLICATION_EXT_FUNC_CODE
                       && block.second.startsWith("NETSCAPE2.0")) {
                loop = true;
            }
        }
        pending.clear();
    };
    std::vector<GifPixelType> line;
    for (;;) {
        GifRecordType record;
        if (DGifGetRecordType(gif, &record) == GIF_ERROR)
            return false;
        if (record == TERMINATE_RECORD_TYPE) {
            GIFImage::SubImage trailing; // a loop block may come after the last image
            takeExtensions(trailing);
            return true;
        }
        if (record == EXTENSION_RECORD_TYPE) {
            int function = 0;
            GifByteType *data = nullptr;
            if (DGifGetExtension(gif, &function, &data) == GIF_ERROR)
                return false;
            if (data)
                pending.append({function, QByteArray(reinterpret_cast<char *>(data + 1), data[0])});
            while (data) {
                if (DGifGetExtensionNext(gif, &data) == GIF_ERROR)
                    return false;
            }
            continue;
        }
        if (record != IMAGE_DESC_RECORD_TYPE || DGifGetImageDesc(gif) == GIF_ERROR)
            return false;
        const GifImageDesc &desc = gif->Image;
        const qint64 area = qint64(desc.Width) * desc.Height;
        if (desc.Width < 1 || desc.Height < 1 || area > bytesLeft * maxPixelsPerByte)
            return false;
        GIFImage::SubImage sub;
        sub.left = ushort(desc.Left);
        sub.top = ushort(desc.Top);
        takeExtensions(sub);
        sub.colorMap = fromGifMap(desc.ColorMap);
        const int colors = desc.ColorMap ? desc.ColorMap->ColorCount
                           : gif->SColorMap ? gif->SColorMap->ColorCount
                                            : 256;
        const bool bits = mono && colors <= 2;
        QImage image(desc.Width, desc.Height,
                     bits ? QImage::Format_Mono : QImage::Format_Indexed8);
        if (image.isNull())
            return false;
        image.fill(0);
        line.resize(size_t(desc.Width));
        static const int passStart[] = {0, 4, 2, 1, 0};
        static const int passStep[] = {8, 8, 4, 2, 1};
        for (int pass = desc.Interlace ? 0 : 4; pass < 5; ++pass) {
            for (int y = passStart[pass]; y < desc.Height; y += passStep[pass]) {
                if (DGifGetLine(gif, line.data(), desc.Width) == GIF_ERROR)
                    return false;
                uchar *out = image.scanLine(y);
                if (!bits) {
                    std::memcpy(out, line.data(), line.size());
                    continue;
                }
                for (int x = 0; x < desc.Width; ++x) {
                    if (line[size_t(x)])
                        out[x >> 3] |= uchar(0x80 >> (x & 7));
                }
            }
        }
        sub.image = image;
        images.append(sub);
    }
}

// The table a GIF frame is adapted to: the quantizer's colours one place up, so that index 0
// is free for transparency.
void gifTable(ColorQuantizer &quantizer, RGBA (&table)[256])
{
    for (RGBA &entry : table)
        entry = RGBA(0, 0, 0, 255);
    quantizer.getColorTable(table);
    for (int i = 255; i > 0; --i)
        table[i] = table[i - 1];
    table[0].alpha = 0;
}

QVector<RGB> rgbOf(const RGBA *table, int count)
{
    QVector<RGB> colors(count);
    for (int i = 0; i < count; ++i)
        colors[i] = table[i].toRGB();
    return colors;
}

// Adapts a picture for a GIF frame: pixels of an ARGB32 source with alpha below 128 take
// index 0, every other pixel an index from 1 up.
QImage adaptForGif(const QImage &source, const RGBA (&table)[256])
{
    QImage image = source;
    adaptToTable(image, table);
    if (source.format() == QImage::Format_ARGB32) {
        for (int y = 0; y < image.height(); ++y) {
            const QRgb *in = reinterpret_cast<const QRgb *>(source.constScanLine(y));
            uchar *out = image.scanLine(y);
            for (int x = 0; x < image.width(); ++x)
                out[x] = qAlpha(in[x]) < 128 ? 0 : qMax<uchar>(out[x], 1);
        }
    }
    return image;
}

// A value truncated and kept in 16 bits, as the file's fields are.
ushort to16(float value)
{
    return ushort(qint64(qBound(-1e9f, value, 1e9f)));
}

// A side of a scaled frame, rounded to nearest; at most what a GIF can hold.
int scaled(int size, float scale)
{
    return qRound(qBound(1.0f, float(size) * scale, 65535.0f));
}

ushort firstTransparent(const QImage &image)
{
    const QVector<QRgb> table = image.colorTable();
    for (int i = 0; i < table.size(); ++i) {
        if (qAlpha(table[i]) == 0)
            return ushort(i);
    }
    return 65535;
}

} // namespace

// ---------------------------------------------------------------------------------------------

void adaptToTable(QImage &image, const RGBA *palette)
{
    if (image.isNull())
        return;
    bool alphaCounts = image.format() == QImage::Format_ARGB32;
    if (image.format() == QImage::Format_Indexed8) {
        for (QRgb c : image.colorTable())
            alphaCounts = alphaCounts || qAlpha(c) < 255;
    }
    QVector<QRgb> colors(256);
    for (int i = 0; i < 256; ++i)
        colors[i] = qRgba(palette[i].red, palette[i].green, palette[i].blue,
                          alphaCounts ? palette[i].alpha : 255);
    QImage argb = image.format() == QImage::Format_ARGB32
                      ? image
                      : image.convertToFormat(QImage::Format_ARGB32);
    QImage result(image.size(), QImage::Format_Indexed8);
    if (result.isNull() || argb.isNull()) {
        image = QImage();
        return;
    }
    const auto nearest = [&colors](QRgb pixel) {
        const int a = qAlpha(pixel), r = qRed(pixel), g = qGreen(pixel), b = qBlue(pixel);
        int best = 0;
        int bestCost = INT_MAX;
        for (int i = 0; i < 256; ++i) {
            const QRgb e = colors[i];
            const int dr = r - qRed(e), dg = g - qGreen(e), db = b - qBlue(e), da = a - qAlpha(e);
            int cost = 0;
            if (a != 0) {
                cost = dr * dr + dg * dg + db * db;
                if (a != 255)
                    cost = cost * a / 255;
            }
            cost += da * da;
            if (cost < bestCost) {
                bestCost = cost;
                best = i;
            }
        }
        return uchar(best);
    };
    // Pictures for sprites and GIFs hold few colours: each is looked up once.
    QHash<QRgb, uchar> cache;
    QRgb last = ~argb.pixel(0, 0); // unlike the first pixel
    uchar lastIndex = 0;
    for (int y = 0; y < argb.height(); ++y) {
        const QRgb *in = reinterpret_cast<const QRgb *>(argb.constScanLine(y));
        uchar *out = result.scanLine(y);
        for (int x = 0; x < argb.width(); ++x) {
            if (in[x] != last) {
                auto it = cache.constFind(in[x]);
                if (it == cache.constEnd())
                    it = cache.insert(in[x], nearest(in[x]));
                last = in[x];
                lastIndex = *it;
            }
            out[x] = lastIndex;
        }
    }
    result.setColorTable(colors);
    image = result;
}

// ---------------------------------------------------------------------------------------------
// GIFImage

GIFImage::GIFImage(unsigned short width, unsigned short height, bool loop)
    : loop(loop), w(width), h(height)
{
}

bool GIFImage::load(QIODevice *device)
{
    colors.clear();
    frames.clear();
    loop = false;
    if (!device || (!device->isReadable() && !device->open(QIODevice::ReadOnly)))
        return false;
    QDataStream stream(device);
    stream.setByteOrder(QDataStream::LittleEndian);
    const qint64 bytesLeft = device->isSequential() ? qint64(1) << 40
                                                    : device->size() - device->pos();
    int error = 0;
    GifFileType *gif = DGifOpen(&stream, readBytes, &error);
    if (!gif)
        return false;
    const bool complete = readRecords(gif, bytesLeft, frames, loop);
    if (frames.size() == 1) {
        w = ushort(frames.first().image.width());
        h = ushort(frames.first().image.height());
    } else {
        w = ushort(gif->SWidth);
        h = ushort(gif->SHeight);
    }
    colors = fromGifMap(gif->SColorMap);
    DGifCloseFile(gif, &error);
    return complete;
}

bool GIFImage::save(QIODevice *device)
{
    if (frames.isEmpty() || !device
        || (!device->isWritable() && !device->open(QIODevice::WriteOnly)))
        return false;
    QDataStream stream(device);
    stream.setByteOrder(QDataStream::LittleEndian);
    int error = 0;
    GifFileType *gif = EGifOpen(&stream, writeBytes, &error);
    if (!gif)
        return false;
    EGifSetGifVersion(gif, true);
    const GifMap global = toGifMap(colors);
    const SubImage &first = frames.first();
    const int background =
        frames.size() == 1 && qint16(first.transparent) > 0 && first.transparent < 256
            ? first.transparent
            : 0;
    const int resolution = first.image.format() == QImage::Format_Mono ? 1
                           : !colors.isEmpty() ? GifBitSize(colors.size())
                                               : GifBitSize(first.colorMap.size());
    const auto writeAll = [&]() {
        if (EGifPutScreenDesc(gif, w, h, resolution, background, global.get()) == GIF_ERROR)
            return false;
        if (loop) {
            static const GifByteType repeat[] = {1, 0, 0};
            if (EGifPutExtensionLeader(gif, APPLICATION_EXT_FUNC_CODE) == GIF_ERROR
                || EGifPutExtensionBlock(gif, 11, "NETSCAPE2.0") == GIF_ERROR
                || EGifPutExtensionBlock(gif, 3, repeat) == GIF_ERROR
                || EGifPutExtensionTrailer(gif) == GIF_ERROR)
                return false;
        }
        float running = 0;
        std::vector<GifPixelType> line;
        for (const SubImage &sub : frames) {
            const QImage &image = sub.image;
            const bool bits = image.format() == QImage::Format_Mono;
            if (!bits && image.format() != QImage::Format_Indexed8)
                return false;
            if (frames.size() > 1) {
                running += sub.delay;
                // Truncated, within what the field holds (velocity 0 gives an endless delay).
                const int delay = int(qBound(0.0f, running, 65535.0f));
                running -= float(delay);
                const bool transparent = qint16(sub.transparent) >= 0;
                const uchar control[4] = {
                    uchar((transparent ? DISPOSE_BACKGROUND : 0) << 2
                          | (transparent && sub.transparent < 256 ? 1 : 0)),
                    uchar(delay), uchar(delay >> 8),
                    uchar(sub.transparent < 256 ? sub.transparent : 0)};
                if (EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, 4, control) == GIF_ERROR)
                    return false;
            }
            const GifMap local = toGifMap(sub.colorMap);
            // giflib 5.2 forgets the previous frame's map when a frame has none of its own.
            if (!local && gif->Image.ColorMap) {
                GifFreeMapObject(gif->Image.ColorMap);
                gif->Image.ColorMap = nullptr;
            }
            if (EGifPutImageDesc(gif, sub.left, sub.top, image.width(), image.height(), false,
                                 local.get())
                == GIF_ERROR)
                return false;
            line.resize(size_t(image.width()));
            for (int y = 0; y < image.height(); ++y) {
                const uchar *in = image.constScanLine(y);
                if (bits) {
                    for (int x = 0; x < image.width(); ++x)
                        line[size_t(x)] = (in[x >> 3] >> (7 - (x & 7))) & 1;
                } else {
                    std::memcpy(line.data(), in, line.size());
                }
                if (EGifPutLine(gif, line.data(), image.width()) == GIF_ERROR)
                    return false;
            }
        }
        return true;
    };
    const bool written = writeAll();
    const bool closed = EGifCloseFile(gif, &error) == GIF_OK;
    return written && closed && stream.status() == QDataStream::Ok;
}

// ---------------------------------------------------------------------------------------------
// saveGIF

QImage quantizeForGif(const QImage &image)
{
    ColorQuantizer quantizer(255, 8);
    quantizer.processImage(image);
    RGBA table[256];
    gifTable(quantizer, table);
    return adaptForGif(image, table);
}

bool saveGIF(QIODevice *device, const QVector<AnimImageFrame> &frames, float scale,
             float velocity, bool sharedPalette, bool loop)
{
    if (frames.isEmpty() || !device)
        return false;
    if (scale <= 0)
        scale = 1.0f;
    quint16 left = 0, top = 0, right = 0, bottom = 0;
    bool allTrueColor = true;
    int firstFrame = -1, lastFrame = -1;
    for (int i = 0; i < frames.size(); ++i) {
        const AnimImageFrame &frame = frames[i];
        if (frame.image.isNull())
            continue;
        left = qMax(left, quint16(frame.offset.x()));
        top = qMax(top, quint16(frame.offset.y()));
        right = qMax(right, quint16(frame.image.width() - frame.offset.x()));
        bottom = qMax(bottom, quint16(frame.image.height() - frame.offset.y()));
        allTrueColor = allTrueColor && frame.image.format() != QImage::Format_Indexed8;
        if (firstFrame < 0)
            firstFrame = i;
        lastFrame = i;
    }
    GIFImage gif(to16(float(left + right) * scale), to16(float(top + bottom) * scale), loop);
    ColorQuantizer common(255, 8);
    RGBA table[256];
    ushort sharedTransparent = 65535;
    for (int i = 0; i < frames.size(); ++i) {
        const AnimImageFrame &frame = frames[i];
        if (frame.image.isNull())
            continue;
        GIFImage::SubImage sub;
        sub.image = frame.image;
        if (allTrueColor) {
            common.processImage(sub.image);
            // The table is taken at the last picture, even when null frames follow it.
            if (i == lastFrame) {
                gifTable(common, table);
                gif.globalColorMap() = rgbOf(table, 256);
            }
            sub.transparent = 0;
        } else if (sharedPalette && i > firstFrame) {
            sub.transparent = sharedTransparent;
        } else {
            if (sub.image.format() != QImage::Format_Indexed8)
                sub.image = quantizeForGif(sub.image);
            QVector<RGB> map;
            for (QRgb c : sub.image.colorTable())
                map.append(RGB(uchar(qRed(c)), uchar(qGreen(c)), uchar(qBlue(c))));
            (sharedPalette ? gif.globalColorMap() : sub.colorMap) = map;
            sub.transparent = sharedTransparent = firstTransparent(sub.image);
        }
        if (scale != 1.0f)
            sub.image = resizeImageNearest(sub.image, QSize(scaled(sub.image.width(), scale),
                                                            scaled(sub.image.height(), scale)));
        sub.delay = (100.0f / velocity) * float(frame.time) / 60.0f;
        sub.left = to16(float(left - frame.offset.x()) * scale);
        sub.top = to16(float(top - frame.offset.y()) * scale);
        gif.images().append(sub);
    }
    for (GIFImage::SubImage &sub : gif.images()) {
        if (sub.image.format() == QImage::Format_Indexed8)
            continue;
        const QVector<RGB> &map =
            gif.globalColorMap().isEmpty() ? sub.colorMap : gif.globalColorMap();
        RGBA opaque[256];
        for (int i = 0; i < 256; ++i)
            opaque[i] = i < map.size() ? RGBA::fromRGB(map[i]) : RGBA(0, 0, 0, 255);
        sub.image = adaptForGif(sub.image, opaque);
    }
    gif.save(device);
    return true;
}

// ---------------------------------------------------------------------------------------------
// ColorQuantizer

struct OctreeNode
{
    bool isLeaf = false;
    int pixelCount = 0;
    // 64-bit sums: one quantizer may see a whole animation.
    qint64 red = 0, green = 0, blue = 0, alpha = 0;
    OctreeNode *next = nullptr;
    OctreeNode *children[8] = {};

    ~OctreeNode()
    {
        for (OctreeNode *child : children)
            delete child;
    }
};

ColorQuantizer::ColorQuantizer(int maxColors, int colorBits)
    : maxColors(qMax(1, maxColors)), colorBits(qBound(1, colorBits, 8))
{
}

ColorQuantizer::~ColorQuantizer()
{
    delete root;
}

bool ColorQuantizer::processImage(const QImage &source)
{
    const QImage image = source.format() == QImage::Format_ARGB32
                             ? source
                             : source.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            addColor(qRed(line[x]), qGreen(line[x]), qBlue(line[x]), qAlpha(line[x]));
            while (leafCount > maxColors)
                reduceTree();
        }
    }
    return true;
}

void ColorQuantizer::addColor(int r, int g, int b, int a)
{
    OctreeNode **slot = &root;
    for (int level = 0;; ++level) {
        OctreeNode *node = *slot;
        if (!node) {
            node = *slot = new OctreeNode;
            node->isLeaf = level == colorBits;
            if (node->isLeaf) {
                ++leafCount;
            } else {
                node->next = reducible[level];
                reducible[level] = node;
            }
        }
        if (node->isLeaf) {
            ++node->pixelCount;
            node->red += r;
            node->green += g;
            node->blue += b;
            node->alpha += a;
            return;
        }
        const int shift = 7 - level;
        const int mask = 0x80 >> level;
        const int index = ((r & mask) >> shift) << 2 | ((g & mask) >> shift) << 1
                          | ((b & mask) >> shift);
        slot = &node->children[index];
    }
}

void ColorQuantizer::reduceTree()
{
    int level = colorBits - 1;
    while (level > 0 && !reducible[level])
        --level;
    OctreeNode *node = reducible[level];
    if (!node)
        return;
    reducible[level] = node->next;
    int children = 0;
    for (OctreeNode *&child : node->children) {
        if (!child)
            continue;
        node->pixelCount += child->pixelCount;
        node->red += child->red;
        node->green += child->green;
        node->blue += child->blue;
        node->alpha += child->alpha;
        delete child;
        child = nullptr;
        ++children;
    }
    node->isLeaf = true;
    leafCount -= children - 1;
}

void ColorQuantizer::getColorTable(RGBA (&table)[256])
{
    for (RGBA &entry : table)
        entry = RGBA();
    int index = 0;
    const auto walk = [&](const OctreeNode *node, const auto &self) -> void {
        if (!node || index >= 256)
            return;
        if (node->isLeaf) {
            RGBA &entry = table[index++];
            if (node->pixelCount) {
                const int n = node->pixelCount;
                const auto mean = [n](qint64 sum) { return uchar(qBound<qint64>(0, sum / n, 255)); };
                entry = RGBA(mean(node->red), mean(node->green), mean(node->blue),
                             mean(node->alpha));
            } else {
                entry = RGBA(0, 0, 0, 255);
            }
            return;
        }
        for (const OctreeNode *child : node->children)
            self(child, self);
    };
    walk(root, walk);
}

} // namespace Zorn
