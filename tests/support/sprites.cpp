#include "sprites.h"

#include <QtCore/QRandomGenerator>

#include <climits>
#include <cstring>

namespace ZornTest {

QImage randomSprite(QSize size, int colors, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(size, QImage::Format_Indexed8);
    QVector<QRgb> table(colors);
    table[0] = qRgba(0, 0, 0, 0);
    for (int i = 1; i < colors; ++i)
        table[i] = random.generate() | 0xff000000;
    image.setColorTable(table);
    const int width = size.width();
    const int height = size.height();
    for (int y = 0; y < height; ++y)
        std::memset(image.scanLine(y), 0, size_t(image.bytesPerLine()));
    const int shapes = 1 + int(random.bounded(6));
    for (int s = 0; s < shapes; ++s) {
        // An ellipse or a rectangle, filled with one colour and outlined with another.
        const int w = 1 + int(random.bounded(width)), h = 1 + int(random.bounded(height));
        const int left = int(random.bounded(width - w + 1)), top = int(random.bounded(height - h + 1));
        const uchar fill = uchar(1 + random.bounded(colors - 1));
        const uchar outline = uchar(1 + random.bounded(colors - 1));
        const bool ellipse = random.bounded(2);
        const auto inside = [&](int x, int y) {
            if (x < left || y < top || x >= left + w || y >= top + h)
                return false;
            if (!ellipse)
                return true;
            const double dx = (x - left + 0.5) / w - 0.5, dy = (y - top + 0.5) / h - 0.5;
            return dx * dx + dy * dy <= 0.25;
        };
        for (int y = top; y < top + h; ++y) {
            uchar *line = image.scanLine(y);
            for (int x = left; x < left + w; ++x) {
                if (!inside(x, y))
                    continue;
                const bool edge = !inside(x - 1, y) || !inside(x + 1, y) || !inside(x, y - 1)
                                  || !inside(x, y + 1);
                line[x] = edge ? outline : fill;
            }
        }
    }
    const qint64 dots = qint64(width) * height / 50;
    for (qint64 i = 0; i < dots; ++i)
        image.scanLine(int(random.bounded(height)))[random.bounded(width)] =
            uchar(random.bounded(colors));
    return image;
}

uchar plainMatch(QRgb pixel, const Zorn::RGBA *palette)
{
    const int A = qAlpha(pixel);
    uint best = UINT_MAX;
    int index = 0;
    for (int i = 0; i < 256; ++i) {
        const int dr = palette[i].red - qRed(pixel), dg = palette[i].green - qGreen(pixel),
                  db = palette[i].blue - qBlue(pixel), da = A - palette[i].alpha;
        uint colour = uint(dr * dr + dg * dg + db * db);
        colour = A == 0 ? 0 : A == 255 ? colour : colour * uint(A) / 255;
        if (colour + uint(da * da) < best) {
            best = colour + uint(da * da);
            index = i;
        }
    }
    return uchar(index);
}

} // namespace ZornTest
