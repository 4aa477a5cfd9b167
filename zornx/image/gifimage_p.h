#ifndef ZORNX_IMAGE_GIFIMAGE_P_H
#define ZORNX_IMAGE_GIFIMAGE_P_H

#include <zornx/core/color.h>

#include <QtGui/QImage>

namespace Zorn {

// Maps any picture onto a 256-entry table as Format_Indexed8 with that table: each pixel takes
// the entry of smallest cost, the first of equals, where cost is the squared colour distance
// weighted by the pixel's alpha plus the squared alpha difference. Alpha counts only for ARGB32
// pictures and indexed ones with a translucent colour; otherwise the table is taken opaque.
void adaptToTable(QImage &image, const RGBA *palette);

// A true-colour picture as one GIF frame: quantized to 255 colours from index 1 up, pixels
// with alpha below 128 at index 0, whose table entry has alpha 0.
QImage quantizeForGif(const QImage &image);

} // namespace Zorn

#endif
