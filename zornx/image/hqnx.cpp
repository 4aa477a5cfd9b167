// hqNx magnification, table-driven.
//
// Each source pixel E is compared with its eight neighbours by the published similarity test
// (differences in Y, U and V beyond 48, 7 and 6; here also any difference in alpha). That
// gives an 8-bit pattern. Where both straight neighbours next to a corner differ from E, one
// more test tells whether they are alike, i.e. whether an edge runs diagonally past that
// corner: four more bits. The 12 bits select, for every one of the N × N output pixels, a
// blend rule of the 3 × 3 neighbourhood (weights in sixteenths), from tables built once per
// factor from the geometry below.

#include "imageoperations_p.h"

#include <QtCore/QHash>
#include <QtCore/QVector>

#include <cmath>
#include <cstdlib>

namespace Zorn {

namespace {

// Neighbourhood, row by row: 0 1 2 / 3 4 5 / 6 7 8, centre 4. Pattern bit k stands for
// neighbour patternCells[k].
const int patternCells[8] = {0, 1, 2, 3, 5, 6, 7, 8};

struct Corner
{
    int diagonal, vertical, horizontal; // cells
    bool right, bottom;
};
const Corner corners[4] = {
    {0, 1, 3, false, false},
    {2, 1, 5, true, false},
    {6, 7, 3, false, true},
    {8, 7, 5, true, true},
};

const int cellBits[9] = {0, 1, 2, 3, -1, 4, 5, 6, 7};

bool cellDiffers(int pattern, int cell)
{
    return cell != 4 && (pattern >> cellBits[cell]) & 1;
}

struct Rule
{
    int count = 0;
    uchar cell[9];
    uchar weight[9];
};

class HqTable
{
public:
    explicit HqTable(int factor) : factor(factor), subpixels(factor * factor)
    {
        rules.reserve(256);
        ruleIds.resize(4096 * subpixels);
        QHash<QByteArray, uchar> known;
        for (int key = 0; key < 4096; ++key) {
            for (int s = 0; s < subpixels; ++s) {
                const QByteArray weights = blend(key & 0xff, key >> 8, s % factor, s / factor);
                auto it = known.constFind(weights);
                if (it == known.constEnd()) {
                    Rule rule;
                    for (int cell = 0; cell < 9; ++cell)
                        if (weights[cell]) {
                            rule.cell[rule.count] = uchar(cell);
                            rule.weight[rule.count++] = uchar(weights[cell]);
                        }
                    Q_ASSERT(rules.size() < 256);
                    it = known.insert(weights, uchar(rules.size()));
                    rules.append(rule);
                }
                ruleIds[key * subpixels + s] = *it;
            }
        }
    }

    const Rule &rule(int key, int subpixel) const
    {
        return rules[ruleIds[key * subpixels + subpixel]];
    }

    const int factor;
    const int subpixels;

private:
    // Weights of the 3 × 3 cells for output pixel (sx, sy), summing to 16.
    QByteArray blend(int pattern, int diagonalEdges, int sx, int sy) const
    {
        int weights[9] = {};
        for (int c = 0; c < 4; ++c) {
            const Corner &corner = corners[c];
            const bool vertical = cellDiffers(pattern, corner.vertical);
            const bool horizontal = cellDiffers(pattern, corner.horizontal);
            const bool diagonal = cellDiffers(pattern, corner.diagonal);
            // Distance of the output pixel's centre from the corner, along both axes.
            const int dx = corner.right ? factor - 1 - sx : sx;
            const int dy = corner.bottom ? factor - 1 - sy : sy;
            const double reach = dx + dy + 1;
            if (vertical && horizontal) {
                if (diagonalEdges & (1 << c)) {
                    // An edge from the middle of one side to the middle of the other cuts the
                    // corner off; the part beyond it takes the neighbours' colour. Where the
                    // diagonal neighbour is like E, a line of E runs on through the corner:
                    // cut less of it away.
                    double share = qBound(0.0, 0.5 + (factor / 2.0 - reach) * 0.5, 7.0 / 8);
                    if (!diagonal)
                        share /= 2;
                    const int k = int(std::lround(share * 8));
                    weights[corner.vertical] += k;
                    weights[corner.horizontal] += k;
                } else if (reach == 1) {
                    weights[corner.vertical] += 1;
                    weights[corner.horizontal] += 1;
                }
            } else if (diagonal && !vertical && !horizontal && reach == 1) {
                // A lone different pixel across the corner: soften the corner only.
                weights[corner.diagonal] += 4;
            }
            // One straight neighbour different: a straight edge, which stays sharp.
        }
        int rest = 16;
        for (int cell = 0; cell < 9; ++cell)
            rest -= weights[cell];
        weights[4] += rest;
        QByteArray bytes(9, '\0');
        for (int cell = 0; cell < 9; ++cell)
            bytes[cell] = char(weights[cell]);
        return bytes;
    }

    QVector<Rule> rules;
    QVector<uchar> ruleIds;
};

const HqTable &table(int factor)
{
    static const HqTable tables[3] = {HqTable(2), HqTable(3), HqTable(4)};
    return tables[factor - 2];
}

struct Yuva
{
    int y, u, v, a;
};

Yuva yuva(QRgb c)
{
    const int r = qRed(c), g = qGreen(c), b = qBlue(c);
    return Yuva{(77 * r + 150 * g + 29 * b) >> 8, ((-43 * r - 85 * g + 128 * b) >> 8) + 128,
                ((128 * r - 107 * g - 21 * b) >> 8) + 128, qAlpha(c)};
}

bool differs(const Yuva &p, const Yuva &q)
{
    return std::abs(p.y - q.y) > 48 || std::abs(p.u - q.u) > 7 || std::abs(p.v - q.v) > 6
           || p.a != q.a;
}

} // namespace

QImage scaleHq(const QImage &image, int factor)
{
    const HqTable &hq = table(factor);
    const int width = image.width();
    const int height = image.height();
    QImage result(width * factor, height * factor, image.format());
    if (result.isNull())
        return result;
    QVector<Yuva> yuv(qsizetype(width) * height);
    for (int y = 0; y < height; ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < width; ++x)
            yuv[qsizetype(y) * width + x] = yuva(line[x]);
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            // The neighbourhood; cells outside the picture count as the centre.
            QRgb cells[9];
            const Yuva *cellYuv[9];
            for (int cell = 0; cell < 9; ++cell) {
                int cx = x + cell % 3 - 1, cy = y + cell / 3 - 1;
                if (cx < 0 || cy < 0 || cx >= width || cy >= height) {
                    cx = x;
                    cy = y;
                }
                cells[cell] = reinterpret_cast<const QRgb *>(image.constScanLine(cy))[cx];
                cellYuv[cell] = &yuv[qsizetype(cy) * width + cx];
            }
            int key = 0;
            for (int k = 0; k < 8; ++k)
                if (differs(*cellYuv[4], *cellYuv[patternCells[k]]))
                    key |= 1 << k;
            for (int c = 0; c < 4; ++c) {
                const Corner &corner = corners[c];
                if (cellDiffers(key, corner.vertical) && cellDiffers(key, corner.horizontal)
                    && !differs(*cellYuv[corner.vertical], *cellYuv[corner.horizontal]))
                    key |= 1 << (8 + c);
            }
            for (int s = 0; s < hq.subpixels; ++s) {
                const Rule &rule = hq.rule(key, s);
                unsigned int a = 0, r = 0, g = 0, b = 0;
                for (int k = 0; k < rule.count; ++k) {
                    const QRgb c = cells[rule.cell[k]];
                    const unsigned int w = rule.weight[k];
                    a += w * unsigned(qAlpha(c));
                    r += w * unsigned(qRed(c));
                    g += w * unsigned(qGreen(c));
                    b += w * unsigned(qBlue(c));
                }
                QRgb *out = reinterpret_cast<QRgb *>(result.scanLine(y * factor + s / factor));
                out[x * factor + s % factor] = qRgba(int(r >> 4), int(g >> 4), int(b >> 4),
                                                     int(a >> 4));
            }
        }
    }
    return result;
}

} // namespace Zorn
