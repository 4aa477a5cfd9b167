#ifndef ZORNX_IMAGE_IMAGECODECS_H
#define ZORNX_IMAGE_IMAGECODECS_H

#include <zornx/core/extension.h>

#include <QtGui/QImage>

class QIODevice;

namespace Zorn {

// Size and kind of a picture, read from the head of its file without decoding it.
struct ImageInfo
{
    quint16 width = 0;
    quint16 height = 0;
    QImage::Format format = QImage::Format_Indexed8;
};

// Which file-dialog filter text imageFileExtension() gives.
enum ImageExtensionType {
    ImageReadPatterns = 0,
    ImageReadFilters = 1,
    ImageWriteFilters = 2,
    PaletteReadPatterns = 3,
    PaletteReadFilters = 4,
    PaletteWriteFilters = 5,
};

// Raw codecs. A load on a device that is not readable first opens it read-only, a save on one
// that is not writable opens it write-only; false when that fails.
//
// loadLZ5, loadRLE5 and loadRLE8 decode a headerless packet stream into an image the caller
// has made at the right size (Format_Indexed8; RLE8 also takes 24- and 32-bit images);
// saveLZ5 and saveRLE8 write such a stream and nothing else. They read the device's remaining
// bytes at once and leave its position behind the last byte they used, where it can seek.
ZORNX_EXPORT bool loadPNG(QImage &image, QIODevice *device);
ZORNX_EXPORT bool savePNG(const QImage &image, QIODevice *device);
// hasPalette may be null; it tells whether an 8-bit file carried its 256-colour palette.
ZORNX_EXPORT bool loadPCX(QImage &image, QIODevice *device, bool *hasPalette);
ZORNX_EXPORT bool savePCX(const QImage &image, QIODevice *device);
ZORNX_EXPORT bool loadLZ5(QImage &image, QIODevice *device);
// compress false writes run items only. Indices are cut to their low 5 bits.
ZORNX_EXPORT bool saveLZ5(const QImage &image, QIODevice *device, bool compress);
ZORNX_EXPORT bool loadRLE5(QImage &image, QIODevice *device);
// RLE5 is read only: writes nothing and gives false.
ZORNX_EXPORT bool saveRLE5(const QImage &image, QIODevice *device);
ZORNX_EXPORT bool loadRLE8(QImage &image, QIODevice *device);
ZORNX_EXPORT bool saveRLE8(const QImage &image, QIODevice *device);

// Dispatch by an upper-case format name: "PNG", "BMP", "GIF", "PCX" or one an extension
// registers. The device must already be open; loadImage is true when the image is not null.
// PNG and BMP pictures come back as Format_Indexed8 (with their colour table), Format_RGB32
// or Format_ARGB32, with line padding cleared so that equal pictures compare equal.
ZORNX_EXPORT bool loadImage(QIODevice *device, const char *format, QImage &image);
ZORNX_EXPORT bool saveImage(QIODevice *device, const char *format, const QImage &image);
ZORNX_EXPORT ImageInfo imageInfoFromFile(QIODevice *device, const char *format);
// The filter texts of the file dialogs; null above PaletteWriteFilters.
ZORNX_EXPORT const char *imageFileExtension(ImageExtensionType type);

// Type 1: reads an image format that loadImage does not know. format() is the upper-case name
// loadImage is given; its characters are compared.
class ZORNX_EXPORT ImageReaderExtension : public Extension
{
public:
    Type type() const override;
    virtual bool load(QIODevice *device, QImage &image) = 0;
};

// Type 2: writes an image format that saveImage does not know.
class ZORNX_EXPORT ImageWriterExtension : public Extension
{
public:
    Type type() const override;
    virtual bool save(QIODevice *device, const QImage &image) = 0;
};

} // namespace Zorn

#endif
