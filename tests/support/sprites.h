#ifndef ZORNX_TESTS_SPRITES_H
#define ZORNX_TESTS_SPRITES_H

#include <zornx/core/color.h>

#include <QtGui/QImage>

namespace ZornTest {

// A random picture that looks like a sprite: background index 0, a few filled shapes of flat
// colours with one-pixel outlines, and some scattered pixels. Format_Indexed8 with a colour
// table of `colors` (2 to 256) entries, entry 0 transparent and the others opaque.
QImage randomSprite(QSize size, int colors, quint32 seed);

// The palette entry adaptImageToPalette must choose for the pixel, by its cost rule written out
// plainly: a reference for tests and benchmarks.
uchar plainMatch(QRgb pixel, const Zorn::RGBA *palette);

} // namespace ZornTest

#endif
