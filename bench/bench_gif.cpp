// Speed and quality of the GIF side, printed as ratios against baselines measured in the same
// run:
//   - ColorQuantizer on a 1-megapixel true-colour picture to 256 colours, each pixel then
//     mapped to its nearest table colour: time and PSNR against ImageMagick's `-colors 256`,
//     dithered (its default) and with `+dither`. ImageMagick runs as a process on PPM files;
//     the time of `convert in.ppm out.ppm` is taken off its figures, so that both sides count
//     the quantizing and mapping only.
//   - saveGIF of 100 sprite-like frames of 320×240, indexed and true colour, against the goal
//     of one second and against GIFImage::save of the same indexed frames (giflib's encoding
//     alone).
// Each figure is the best of several rounds.

#include "sprites.h"

#include "benchtiming.h"

#include <zornx/image/gifimage.h>

#include <QtCore/QBuffer>
#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

// A photograph-like picture: smooth fields of colour, edges and fine noise.
QImage photo(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < height; ++y) {
        QRgb *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const double u = double(x) / width, v = double(y) / height;
            const double r = 128 + 100 * std::sin(6 * u + 2 * v) + 20 * std::sin(40 * u * v);
            const double g = 110 + 90 * std::cos(5 * v - 3 * u) * (u > 0.4 && v < 0.7 ? 1 : 0.6);
            const double b = 100 + 80 * std::sin(9 * (u - v)) + 50 * std::cos(13 * u);
            const auto channel = [&](double c) {
                return qBound(0, int(c) + int(random.bounded(9)) - 4, 255);
            };
            line[x] = qRgb(channel(r), channel(g), channel(b));
        }
    }
    return image;
}

double psnr(const QImage &a, const QImage &b)
{
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        const QRgb *p = reinterpret_cast<const QRgb *>(a.constScanLine(y));
        const QRgb *q = reinterpret_cast<const QRgb *>(b.constScanLine(y));
        for (int x = 0; x < a.width(); ++x) {
            const int dr = qRed(p[x]) - qRed(q[x]), dg = qGreen(p[x]) - qGreen(q[x]),
                      db = qBlue(p[x]) - qBlue(q[x]);
            sum += dr * dr + dg * dg + db * db;
        }
    }
    const double mse = sum / (3.0 * a.width() * a.height());
    return 10 * std::log10(255.0 * 255.0 / mse);
}

// Each pixel to its nearest table colour (squared distance), the table sorted by red so that
// the search stops once red alone is farther than the best; a small direct-mapped cache of
// looked-up colours serves the runs.
QImage mapToTable(const QImage &image, const Zorn::RGBA *table, int count)
{
    std::vector<QRgb> sorted;
    for (int i = 0; i < count; ++i)
        sorted.push_back(qRgb(table[i].red, table[i].green, table[i].blue));
    std::sort(sorted.begin(), sorted.end(), [](QRgb a, QRgb b) { return qRed(a) < qRed(b); });
    std::vector<QRgb> keys(4096, 0), values(4096, 0);
    keys[0] = 1; // no colour has alpha 0
    QImage out(image.size(), QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *in = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        QRgb *o = reinterpret_cast<QRgb *>(out.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = in[x] | 0xff000000;
            const size_t slot = (pixel * 2654435761u) >> 20;
            if (keys[slot] != pixel) {
                const int r = qRed(pixel), g = qGreen(pixel), b = qBlue(pixel);
                const auto start = std::lower_bound(sorted.begin(), sorted.end(), r,
                                                    [](QRgb c, int r) { return qRed(c) < r; });
                int bestCost = INT_MAX;
                QRgb found = 0;
                const auto consider = [&](QRgb c) {
                    const int dr = qRed(c) - r, dg = qGreen(c) - g, db = qBlue(c) - b;
                    if (dr * dr >= bestCost)
                        return false;
                    const int cost = dr * dr + dg * dg + db * db;
                    if (cost < bestCost)
                        bestCost = cost, found = c;
                    return true;
                };
                for (auto i = start; i != sorted.end() && consider(*i); ++i) {
                }
                for (auto i = start; i != sorted.begin() && consider(*(i - 1)); --i) {
                }
                keys[slot] = pixel;
                values[slot] = found;
            }
            o[x] = values[slot];
        }
    }
    return out;
}

struct Result
{
    double seconds = 0;
    double psnr = 0;
    double treeSeconds = 0; // ours: processImage and getColorTable alone
};

Result ourQuantizer(const QImage &picture)
{
    QImage mapped;
    Result result;
    result.seconds = bestSeconds(3, [&]() {
        Zorn::ColorQuantizer quantizer(256, 8);
        quantizer.processImage(picture);
        Zorn::RGBA table[256];
        quantizer.getColorTable(table);
        mapped = mapToTable(picture, table, quantizer.colorCount());
    });
    result.psnr = psnr(picture, mapped);
    result.treeSeconds = bestSeconds(3, [&]() {
        Zorn::ColorQuantizer quantizer(256, 8);
        quantizer.processImage(picture);
        Zorn::RGBA table[256];
        quantizer.getColorTable(table);
    });
    return result;
}

// ImageMagick on the picture; a negative time when it cannot run.
Result imageMagick(const QImage &picture, const QStringList &options)
{
    Result result{-1, 0};
    const QString convert = QStandardPaths::findExecutable(QStringLiteral("convert"));
    QTemporaryDir dir;
    const QString in = dir.filePath(QStringLiteral("in.ppm"));
    const QString out = dir.filePath(QStringLiteral("out.ppm"));
    if (convert.isEmpty() || !picture.save(in, "PPM"))
        return result;
    const auto run = [&](const QStringList &arguments) {
        QProcess process;
        process.start(convert, QStringList{in} + arguments + QStringList{out});
        return process.waitForFinished(120000) && process.exitCode() == 0;
    };
    bool ok = true;
    const double copy = bestSeconds(3, [&]() { ok = ok && run({}); });
    const double quantize = bestSeconds(3, [&]() { ok = ok && run(options); });
    QImage back(out, "PPM");
    if (!ok || back.isNull())
        return result;
    result.seconds = std::max(quantize - copy, 1e-6);
    result.psnr = psnr(picture, back.convertToFormat(QImage::Format_RGB32));
    return result;
}

void quantizerFigures()
{
    const QImage picture = photo(1024, 1024);
    const Result ours = ourQuantizer(picture);
    std::printf("ColorQuantizer, 1 Mpx to 256 colours, mapped: %.3f s (tree %.3f s), PSNR %.2f dB\n",
                ours.seconds, ours.treeSeconds, ours.psnr);
    const QStringList colors{QStringLiteral("-colors"), QStringLiteral("256")};
    for (bool dither : {true, false}) {
        const Result theirs =
            imageMagick(picture, dither ? colors : QStringList{QStringLiteral("+dither")} + colors);
        const char *name = dither ? "-colors 256" : "+dither -colors 256";
        if (theirs.seconds < 0) {
            std::printf("  ImageMagick %s: not available\n", name);
            continue;
        }
        std::printf("  ImageMagick %s: %.3f s (net of file handling), PSNR %.2f dB\n"
                    "    time ratio ours/theirs %.2f (goal <= 1), PSNR ours - theirs %+.2f dB "
                    "(goal >= 0)\n",
                    name, theirs.seconds, theirs.psnr, ours.seconds / theirs.seconds,
                    ours.psnr - theirs.psnr);
    }
}

void saveGifFigures()
{
    QVector<Zorn::AnimImageFrame> indexed, trueColor;
    QVector<QImage> pictures;
    for (int i = 0; i < 100; ++i) {
        const QImage sprite = ZornTest::randomSprite(QSize(320, 240), 256, quint32(100 + i));
        indexed.append({sprite, QPoint(160, 230), 4});
        trueColor.append({sprite.convertToFormat(QImage::Format_ARGB32), QPoint(160, 230), 4});
    }
    const auto save = [](const QVector<Zorn::AnimImageFrame> &frames) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        Zorn::saveGIF(&buffer, frames, 1, 1, false, true);
    };
    const double encode = bestSeconds(3, [&]() {
        Zorn::GIFImage gif(320, 240, true);
        for (const Zorn::AnimImageFrame &frame : indexed) {
            Zorn::GIFImage::SubImage sub;
            sub.image = frame.image;
            for (QRgb c : frame.image.colorTable())
                sub.colorMap.append(Zorn::RGB(uchar(qRed(c)), uchar(qGreen(c)), uchar(qBlue(c))));
            gif.images().append(sub);
        }
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        gif.save(&buffer);
    });
    std::printf("saveGIF, 100 frames of 320x240 (goal <= 1 s):\n"
                "  GIFImage::save of the indexed frames (baseline): %.3f s\n",
                encode);
    for (bool truecolor : {false, true}) {
        const double seconds =
            bestSeconds(3, [&]() { save(truecolor ? trueColor : indexed); });
        std::printf("  %s frames: %.3f s, %.2f of the goal, %.2f x the baseline\n",
                    truecolor ? "true-colour" : "indexed", seconds, seconds / 1.0,
                    seconds / encode);
    }
}

} // namespace

int main()
{
    quantizerFigures();
    saveGifFigures();
    return 0;
}
