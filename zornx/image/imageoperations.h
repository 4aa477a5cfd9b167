#ifndef ZORNX_IMAGE_IMAGEOPERATIONS_H
#define ZORNX_IMAGE_IMAGEOPERATIONS_H

#include <zornx/core/color.h>

#include <QtCore/QRect>
#include <QtGui/QImage>

namespace Zorn {

// Resizing filters, in the order a resize dialog offers them.
enum ImageResizeFilter {
    ResizeNearest = 0,        // "Nearest Neighbor"
    ResizeBilinear = 1,       // "Bilinear"
    ResizeEpxNearest = 2,     // "EPX + Nearest Neighbor"
    ResizeEpxBilinear = 3,    // "EPX + Bilinear"
    ResizeHqNearest = 4,      // "HQ + Nearest Neighbor"
    ResizeHqBilinear = 5,     // "HQ + Bilinear"
};

// The name of a filter as a dialog shows it (untranslated); null for an unknown one.
ZORNX_EXPORT const char *imageResizeFilterName(ImageResizeFilter filter);

// The bounding box of the pixels that are not free, grown by margin within the image. Free
// are: in an indexed image the colours of its table with alpha 0, or without such a colour
// the index of the top-left pixel; in ARGB32 alpha 0; in RGB32 and premultiplied ARGB32 the
// top-left colour. Empty (0, 0, 0 × 0) when nothing remains or for other formats.
ZORNX_EXPORT QRect cropImageRect(const QImage &image, int margin);
// Cuts the image to cropImageRect; false, and nothing changed, when that is empty or the whole
// image. offset, if given, receives the rectangle's top-left corner.
ZORNX_EXPORT bool cropImage(QImage &image, QPoint *offset, int margin);
// Rotates about the top-left corner into a picture large enough for the result; pixels that
// come from outside the source are `background` (its low byte in an indexed image).
ZORNX_EXPORT QImage rotateImage(QImage image, float radians, unsigned int background);
ZORNX_EXPORT QImage resizeImageNearest(QImage image, QSize size);
// Indexed images are blended through palette and mapped back to its nearest entry.
ZORNX_EXPORT QImage resizeImageBilinear(QImage image, QSize size, RGBA (&palette)[256]);
// A null image for an unknown filter. EPX and HQ scale by 2, 3 or 4 first (whichever the
// larger ratio calls for) and reach the exact size with the nearest or bilinear filter.
ZORNX_EXPORT QImage resizeImage(QImage image, QSize size, RGBA (&palette)[256],
                                ImageResizeFilter filter);

} // namespace Zorn

#endif
