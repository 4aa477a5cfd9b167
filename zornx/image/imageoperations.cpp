#include "imageoperations.h"
#include "imageoperations_p.h"

#include <QtCore/QHash>
#include <QtCore/QVector>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

namespace Zorn {

int nearestPaletteIndex(const RGBA *palette, const RGBA &color)
{
    int best = 0;
    int bestDistance = INT_MAX;
    unsigned int bestAlpha = 255; // the low byte of the best entry's alpha difference
    for (int i = 0; i < 256; ++i) {
        const RGBA &entry = palette[i];
        const int dr = entry.red - color.red;
        const int dg = entry.green - color.green;
        const int db = entry.blue - color.blue;
        const int distance = dr * dr + dg * dg + db * db;
        const int alpha = entry.alpha - color.alpha;
        if (distance < bestDistance || (distance == bestDistance && alpha < int(bestAlpha))) {
            best = i;
            bestDistance = distance;
            bestAlpha = unsigned(alpha) & 0xff;
        }
    }
    return best;
}

namespace {

bool isIndexed(const QImage &image)
{
    return image.format() == QImage::Format_Indexed8;
}

// Indexed and QRgb pictures are worked on as they are; anything else as ARGB32.
QImage workingCopy(const QImage &image)
{
    switch (image.format()) {
    case QImage::Format_Indexed8:
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
        return image;
    default:
        return image.convertToFormat(QImage::Format_ARGB32);
    }
}

QVector<QRgb> colorTable(const RGBA (&palette)[256])
{
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i)
        table[i] = qRgba(palette[i].red, palette[i].green, palette[i].blue, palette[i].alpha);
    return table;
}

RGBA toRGBA(QRgb c)
{
    return RGBA(uchar(qRed(c)), uchar(qGreen(c)), uchar(qBlue(c)), uchar(qAlpha(c)));
}

// Nearest palette entries of colours, remembered per picture.
class PaletteMapper
{
public:
    explicit PaletteMapper(const RGBA (&palette)[256]) : palette(palette) {}
    uchar operator()(const RGBA &color)
    {
        const quint32 key = quint32(color.red) | (quint32(color.green) << 8)
                            | (quint32(color.blue) << 16) | (quint32(color.alpha) << 24);
        auto it = cache.constFind(key);
        if (it == cache.constEnd())
            it = cache.insert(key, uchar(nearestPaletteIndex(palette, color)));
        return *it;
    }

private:
    const RGBA (&palette)[256];
    QHash<quint32, uchar> cache;
};

// Scale2x and Scale3x on one pixel type: bytes compare indices, 32-bit values colours.
// Neighbours outside the image count as the centre pixel.
template <typename Pixel>
QImage epxStep(const QImage &source, int factor)
{
    const int width = source.width();
    const int height = source.height();
    QImage result(width * factor, height * factor, source.format());
    if (result.isNull())
        return result;
    result.setColorTable(source.colorTable());
    const auto at = [&](int x, int y, Pixel e) {
        if (x < 0 || y < 0 || x >= width || y >= height)
            return e;
        return reinterpret_cast<const Pixel *>(source.constScanLine(y))[x];
    };
    for (int y = 0; y < height; ++y) {
        Pixel *out[3];
        for (int k = 0; k < factor; ++k)
            out[k] = reinterpret_cast<Pixel *>(result.scanLine(y * factor + k));
        for (int x = 0; x < width; ++x) {
            const Pixel E = at(x, y, 0);
            const Pixel A = at(x - 1, y - 1, E), B = at(x, y - 1, E), C = at(x + 1, y - 1, E);
            const Pixel D = at(x - 1, y, E), F = at(x + 1, y, E);
            const Pixel G = at(x - 1, y + 1, E), H = at(x, y + 1, E), I = at(x + 1, y + 1, E);
            const int o = x * factor;
            const bool flat = B == H || D == F;
            if (factor == 2) {
                out[0][o] = !flat && D == B ? D : E;
                out[0][o + 1] = !flat && B == F ? F : E;
                out[1][o] = !flat && D == H ? D : E;
                out[1][o + 1] = !flat && H == F ? F : E;
                continue;
            }
            if (flat) {
                for (int k = 0; k < 3; ++k)
                    out[k][o] = out[k][o + 1] = out[k][o + 2] = E;
                continue;
            }
            out[0][o] = D == B ? D : E;
            out[0][o + 1] = (D == B && E != C) || (B == F && E != A) ? B : E;
            out[0][o + 2] = B == F ? F : E;
            out[1][o] = (D == B && E != G) || (D == H && E != A) ? D : E;
            out[1][o + 1] = E;
            out[1][o + 2] = (B == F && E != I) || (H == F && E != C) ? F : E;
            out[2][o] = D == H ? D : E;
            out[2][o + 1] = (D == H && E != I) || (H == F && E != G) ? H : E;
            out[2][o + 2] = H == F ? F : E;
        }
    }
    return result;
}

QImage epx(const QImage &image, int factor)
{
    return isIndexed(image) ? epxStep<uchar>(image, factor) : epxStep<quint32>(image, factor);
}

// The larger of the two ratios of target to source.
float scaleRatio(const QImage &image, QSize size)
{
    return qMax(float(size.height()) / float(image.height()),
                float(size.width()) / float(image.width()));
}

QImage hqStep(const QImage &image, int factor, const RGBA (&palette)[256])
{
    if (!isIndexed(image))
        return scaleHq(image, factor);
    QImage colors = image;
    colors.setColorTable(colorTable(palette));
    const QImage scaled = scaleHq(colors.convertToFormat(QImage::Format_ARGB32), factor);
    QImage result(scaled.size(), QImage::Format_Indexed8);
    result.setColorTable(image.colorTable());
    PaletteMapper map(palette);
    for (int y = 0; y < scaled.height(); ++y) {
        const QRgb *in = reinterpret_cast<const QRgb *>(scaled.constScanLine(y));
        uchar *out = result.scanLine(y);
        for (int x = 0; x < scaled.width(); ++x)
            out[x] = map(toRGBA(in[x]));
    }
    return result;
}

} // namespace

const char *imageResizeFilterName(ImageResizeFilter filter)
{
    static const char *const names[] = {"Nearest Neighbor",       "Bilinear",
                                        "EPX + Nearest Neighbor", "EPX + Bilinear",
                                        "HQ + Nearest Neighbor",  "HQ + Bilinear"};
    return unsigned(filter) < 6 ? names[filter] : nullptr;
}

QRect cropImageRect(const QImage &image, int margin)
{
    const QRect none(0, 0, 0, 0);
    const int width = image.width();
    const int height = image.height();
    if (image.isNull())
        return none;
    int left = 100000, top = 100000, right = -100000, bottom = -100000;
    const auto scan = [&](auto isFree) {
        for (int y = 0; y < height; ++y) {
            int first = 0;
            while (first < width && isFree(first, y))
                ++first;
            if (first == width)
                continue;
            int last = width - 1;
            while (isFree(last, y))
                --last;
            left = qMin(left, first);
            right = qMax(right, last);
            top = qMin(top, y);
            bottom = y;
        }
    };
    const auto pixel32 = [&image](int x, int y) {
        return reinterpret_cast<const QRgb *>(image.constScanLine(y))[x];
    };
    switch (image.format()) {
    case QImage::Format_Indexed8: {
        const QVector<QRgb> table = image.colorTable();
        bool free[256] = {};
        bool anyTransparent = false;
        for (int i = 0; i < table.size() && i < 256; ++i)
            anyTransparent |= free[i] = qAlpha(table[i]) == 0;
        if (!anyTransparent)
            free[image.constScanLine(0)[0]] = true;
        scan([&](int x, int y) { return free[image.constScanLine(y)[x]]; });
        break;
    }
    case QImage::Format_ARGB32:
        scan([&](int x, int y) { return qAlpha(pixel32(x, y)) == 0; });
        break;
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32_Premultiplied: {
        const QRgb corner = pixel32(0, 0);
        scan([&](int x, int y) { return pixel32(x, y) == corner; });
        break;
    }
    default:
        return none;
    }
    if (right < left)
        return none;
    if (margin > 0) {
        left = qMax(0, left - margin);
        top = qMax(0, top - margin);
        right = qMin(width - 1, right + margin);
        bottom = qMin(height - 1, bottom + margin);
    }
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

bool cropImage(QImage &image, QPoint *offset, int margin)
{
    const QRect rect = cropImageRect(image, margin);
    if (rect.isEmpty()
        || (rect.left() < 1 && rect.top() < 1 && rect.right() >= image.width() - 1
            && rect.bottom() >= image.height() - 1))
        return false;
    if (offset)
        *offset = rect.topLeft();
    image = image.copy(rect);
    return true;
}

QImage rotateImage(QImage image, float radians, unsigned int background)
{
    if (image.isNull() || !std::isfinite(radians))
        return image;
    image = workingCopy(image);
    const float c = float(std::cos(double(radians)));
    const float s = float(std::sin(double(radians)));
    const float w = float(image.width());
    const float h = float(image.height());
    const int xs[4] = {0, int(-h * s), int(w * c - h * s), int(w * c)};
    const int ys[4] = {0, int(h * c), int(h * c + w * s), int(w * s)};
    const int left = *std::min_element(xs, xs + 4);
    const int top = *std::min_element(ys, ys + 4);
    const int newWidth = *std::max_element(xs, xs + 4) - left;
    const int newHeight = *std::max_element(ys, ys + 4) - top;
    QImage result(newWidth, newHeight, image.format());
    if (result.isNull())
        return result;
    const bool indexed = isIndexed(image);
    const bool writeBackground = image.format() == QImage::Format_RGB32
                                 || image.format() == QImage::Format_ARGB32;
    if (indexed) {
        result.setColorTable(image.colorTable());
        result.fill(background & 0xff);
    } else {
        result.fill(0);
    }
    for (int y = 0; y < newHeight; ++y) {
        uchar *line = result.scanLine(y);
        const float yp = float(y + top);
        for (int x = 0; x < newWidth; ++x) {
            const float xp = float(x + left);
            const int sx = int(xp * c + yp * s);
            const int sy = int(yp * c - xp * s);
            const bool inside = sx >= 0 && sy >= 0 && sx < image.width() && sy < image.height();
            if (indexed) {
                if (inside)
                    line[x] = image.constScanLine(sy)[sx];
            } else if (inside) {
                reinterpret_cast<QRgb *>(line)[x] =
                    reinterpret_cast<const QRgb *>(image.constScanLine(sy))[sx];
            } else if (writeBackground) {
                reinterpret_cast<QRgb *>(line)[x] = background;
            }
        }
    }
    return result;
}

namespace {

// Makes image its working copy and gives an empty picture of size in its format and colours;
// a null one where image is null or size empty.
QImage resizeTarget(QImage &image, QSize size)
{
    if (image.isNull() || size.width() < 1 || size.height() < 1)
        return QImage();
    image = workingCopy(image);
    QImage result(size, image.format());
    if (!result.isNull())
        result.setColorTable(image.colorTable());
    return result;
}

} // namespace

QImage resizeImageNearest(QImage image, QSize size)
{
    QImage result = resizeTarget(image, size);
    if (result.isNull())
        return result;
    // 16.16 fixed point in 64 bits: wide pictures would overflow an int. The last target
    // columns of a large enlargement can step one past the source: they take its last one.
    const qint64 stepX = ((qint64(image.width()) << 16) / size.width()) + 1;
    const qint64 stepY = ((qint64(image.height()) << 16) / size.height()) + 1;
    QVector<int> columns(size.width());
    for (int i = 0; i < size.width(); ++i)
        columns[i] = int(qMin<qint64>((i * stepX) >> 16, image.width() - 1));
    const bool indexed = isIndexed(image);
    for (int j = 0; j < size.height(); ++j) {
        const int row = int(qMin<qint64>((j * stepY) >> 16, image.height() - 1));
        const uchar *in = image.constScanLine(row);
        uchar *out = result.scanLine(j);
        if (indexed) {
            for (int i = 0; i < size.width(); ++i)
                out[i] = in[columns[i]];
        } else {
            for (int i = 0; i < size.width(); ++i)
                reinterpret_cast<QRgb *>(out)[i] = reinterpret_cast<const QRgb *>(in)[columns[i]];
        }
    }
    return result;
}

QImage resizeImageBilinear(QImage image, QSize size, RGBA (&palette)[256])
{
    QImage result = resizeTarget(image, size);
    if (result.isNull())
        return result;
    const bool indexed = isIndexed(image);
    const int lastX = image.width() - 1;
    const int lastY = image.height() - 1;
    const double ratioX = double(image.width()) / size.width();
    const double ratioY = double(image.height()) / size.height();
    const auto color = [&](int x, int y) {
        return indexed ? palette[image.constScanLine(y)[x]]
                       : toRGBA(reinterpret_cast<const QRgb *>(image.constScanLine(y))[x]);
    };
    PaletteMapper map(palette);
    for (int y = 0; y < size.height(); ++y) {
        const double fy = y * ratioY;
        const int y0 = int(std::floor(fy));
        const int y1 = y0 + 1 > lastY ? y0 : y0 + 1;
        const double ty = fy - y0;
        uchar *out = result.scanLine(y);
        for (int x = 0; x < size.width(); ++x) {
            const double fx = x * ratioX;
            const int x0 = int(std::floor(fx));
            const int x1 = x0 + 1 > lastX ? x0 : x0 + 1;
            const double tx = fx - x0;
            const RGBA c00 = color(x0, y0), c10 = color(x1, y0);
            const RGBA c01 = color(x0, y1), c11 = color(x1, y1);
            const auto blend = [tx, ty](uchar a, uchar b, uchar c, uchar d) {
                const uchar top = uchar(a * (1 - tx) + b * tx);
                const uchar bottom = uchar(c * (1 - tx) + d * tx);
                return uchar(top * (1 - ty) + bottom * ty);
            };
            const RGBA mixed(blend(c00.red, c10.red, c01.red, c11.red),
                             blend(c00.green, c10.green, c01.green, c11.green),
                             blend(c00.blue, c10.blue, c01.blue, c11.blue),
                             blend(c00.alpha, c10.alpha, c01.alpha, c11.alpha));
            if (indexed)
                out[x] = map(mixed);
            else
                reinterpret_cast<QRgb *>(out)[x] =
                    qRgba(mixed.red, mixed.green, mixed.blue, mixed.alpha);
        }
    }
    return result;
}

QImage resizeImage(QImage image, QSize size, RGBA (&palette)[256], ImageResizeFilter filter)
{
    switch (filter) {
    case ResizeNearest:
        return resizeImageNearest(image, size);
    case ResizeBilinear:
        return resizeImageBilinear(image, size, palette);
    case ResizeEpxNearest:
    case ResizeEpxBilinear:
    case ResizeHqNearest:
    case ResizeHqBilinear:
        break;
    default:
        return QImage();
    }
    if (image.isNull() || size.width() < 1 || size.height() < 1)
        return QImage();
    image = workingCopy(image);
    const float ratio = scaleRatio(image, size);
    const bool epxFilter = filter == ResizeEpxNearest || filter == ResizeEpxBilinear;
    if (epxFilter) {
        if (ratio > 3)
            image = epx(epx(image, 2), 2);
        else if (ratio > 2)
            image = epx(image, 3);
        else
            image = epx(image, 2);
    } else {
        image = hqStep(image, ratio > 3 ? 4 : ratio > 2 ? 3 : 2, palette);
    }
    if (image.size() == size)
        return image;
    const bool bilinear = filter == ResizeEpxBilinear || filter == ResizeHqBilinear;
    return resizeImage(image, size, palette, bilinear ? ResizeBilinear : ResizeNearest);
}

} // namespace Zorn
