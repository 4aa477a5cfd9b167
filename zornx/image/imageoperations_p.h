#ifndef ZORNX_IMAGE_IMAGEOPERATIONS_P_H
#define ZORNX_IMAGE_IMAGEOPERATIONS_P_H

#include <zornx/core/color.h>

#include <QtGui/QImage>

namespace Zorn {

// The palette entry nearest to color: smallest squared distance of red, green and blue; among
// equals the first whose alpha difference is smaller than the best one's, so that with opaque
// palettes the first of equal colours wins.
int nearestPaletteIndex(const RGBA *palette, const RGBA &color);

// The hqNx magnification (factor 2, 3 or 4) of a Format_ARGB32 or Format_RGB32 image; the
// result has the source's format.
QImage scaleHq(const QImage &image, int factor);

} // namespace Zorn

#endif
