// Speed of adaptImageToPalette on 640×480 pictures, in megapixels per second, against the
// plain search (256 cost evaluations a pixel) written here, on the same pictures in the same
// run. Both must give the same indices. Pictures:
//   - sprite-like: a random sprite of 64 colours scaled up, as an ARGB32 picture;
//   - many colours: neighbours all differ, the worst case for the memory of looked-up colours;
//     once opaque, and once with alpha varying over the whole picture.
// Each figure is the best of several rounds.

#include "sprites.h"

#include "benchtiming.h"

#include <zornx/image/palette.h>


#include <climits>
#include <cstdio>

using Zorn::RGBA;
using ZornTest::plainMatch;

namespace {

QImage plainAdapt(const QImage &image, const RGBA *palette)
{
    QImage out(image.size(), QImage::Format_Indexed8);
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *in = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        uchar *o = out.scanLine(y);
        for (int x = 0; x < image.width(); ++x)
            o[x] = plainMatch(in[x], palette);
    }
    return out;
}

bool sameIndices(const QImage &a, const QImage &b)
{
    for (int y = 0; y < a.height(); ++y)
        if (memcmp(a.constScanLine(y), b.constScanLine(y), size_t(a.width())))
            return false;
    return true;
}

} // namespace

int main()
{
    const QSize size(640, 480);
    const double mpx = size.width() * size.height() / 1e6;
    RGBA palette[256];
    for (int i = 0; i < 256; ++i)
        palette[i] = RGBA(uchar(i * 37), uchar(i * 11), uchar(255 - i), i == 0 ? 0 : 255);

    QImage many(size, QImage::Format_ARGB32), manyAlpha(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x) {
            const QRgb c = qRgb(x & 0xff, y & 0xff, (x * 3 + y) & 0xff);
            many.setPixel(x, y, c);
            manyAlpha.setPixel(x, y, (c & 0xffffff) | uint((x + y) & 0xff) << 24);
        }
    const QImage sprite = ZornTest::randomSprite(QSize(160, 120), 64, 11)
                              .scaled(size)
                              .convertToFormat(QImage::Format_ARGB32);

    std::printf("adaptImageToPalette, %dx%d, best of rounds\n", size.width(), size.height());
    bool allSame = true;
    for (const auto &[name, picture] :
         {std::make_pair("sprite-like", sprite), std::make_pair("many colours", many),
          std::make_pair("many, alpha", manyAlpha)}) {
        QImage ours, plain;
        const double tOurs = bestSeconds(5, [&] {
            ours = picture;
            Zorn::adaptImageToPalette(ours, palette);
        });
        const double tPlain = bestSeconds(2, [&] { plain = plainAdapt(picture, palette); });
        const bool same = sameIndices(ours, plain);
        allSame = allSame && same;
        std::printf("  %-13s ours %7.1f Mpx/s   plain search %6.1f Mpx/s   ratio %5.1fx   %s\n",
                    name, mpx / tOurs, mpx / tPlain, tPlain / tOurs,
                    same ? "same indices" : "INDICES DIFFER");
    }
    return allSame ? 0 : 1;
}
