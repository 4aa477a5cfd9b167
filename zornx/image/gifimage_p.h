#ifndef ZORNX_IMAGE_GIFIMAGE_P_H
#define ZORNX_IMAGE_GIFIMAGE_P_H

#include <QtGui/QImage>

namespace Zorn {

// A true-colour picture as one GIF frame: quantized to 255 colours from index 1 up, pixels
// with alpha below 128 at index 0, whose table entry has alpha 0.
QImage quantizeForGif(const QImage &image);

} // namespace Zorn

#endif
