#ifndef ZORNX_IMAGE_PALETTE_H
#define ZORNX_IMAGE_PALETTE_H

#include <zornx/core/color.h>
#include <zornx/core/extension.h>

#include <QtCore/QObject>
#include <QtGui/QColor>

class QIODevice;
class QImage;

namespace Zorn {

// Effects of PaletteObject::applyEffect; 0 and values above 14 change nothing.
enum RGBPaletteEffect {
    NoEffect = 0,
    SwapRedBlue = 1,
    SwapGreenBlue = 2,
    SwapRedGreen = 3,
    SwapGreenBlue2 = 4,
    SwapRedGreen2 = 5,
    SwapRedBlue2 = 6,
    Lighten = 7,
    Darken = 8,
    Grey = 9,
    Warm = 10,
    Violet = 11,
    Contrast = 12,
    LightenMore = 13,
    DarkenMore = 14,
};

// An observable view on a table of 256 colours that someone else owns. Bulk changes are
// bracketed by changing() and changed(); reading, writing to a file and empty() emit nothing.
// A selection is an array of 256 bool parallel to the table; null means every entry.
class ZORNX_EXPORT PaletteObject : public QObject
{
    Q_OBJECT
public:
    typedef RGBA Table[256];

    explicit PaletteObject(RGBA *palette, QObject *parent = nullptr);
    // Rebinds to another table, without a signal.
    PaletteObject &operator=(RGBA *palette);

    Table &palette() const;
    RGBA at(uchar index) const { return m_palette[index]; }
    RGBA operator[](uchar index) const { return m_palette[index]; }
    QColor colorAt(uchar index) const;
    // The nearest entry by squared colour distance; among equals, the alpha rule of the
    // palette editor (first of equal colours in an opaque table).
    uchar index(RGBA color) const;

    void fromPalette(const RGBA *palette);
    void toPalette(RGBA (&palette)[256]) const;
    // format: upper-case name ("ACT", "PNG", ...). Signals only on success.
    bool fromFile(QIODevice *device, const char *format);
    bool toFile(QIODevice *device, const char *format) const;

    void setColor(uchar index, RGBA color);
    void setColor(const bool *selection, RGBA color);
    // So that setColor(0, c) with a literal means entry 0, not a null selection.
    void setColor(int index, RGBA color) { setColor(uchar(index), color); }
    // Entries first to last - 1 run from a towards b; last itself is not written.
    void gradient(uchar first, RGBA a, uchar last, const RGBA &b);
    // The selected entries in order, the first taking a and the last b.
    void gradient(const bool *selection, RGBA a, RGBA b);
    void clearDuplicated(RGB color);
    void addColors(const RGBA *colors);
    void applyEffect(RGBPaletteEffect effect, const bool *selection);
    void switchColors(const bool *selection, bool swapAlpha);
    void sortByTones();
    void addHueSaturation(const bool *selection, short hue, short saturation);
    void addRGB(const bool *selection, short red, short green, short blue);
    // All 1024 bytes to 0, without a signal.
    void empty();

Q_SIGNALS:
    void changing();
    void changed();

private:
    RGBA *m_palette;
};

// Maps any picture onto palette: the result is Format_Indexed8 with the palette as its colour
// table (opaque unless the picture has alpha), each pixel taking the entry of least cost.
ZORNX_EXPORT void adaptImageToPalette(QImage &image, const RGBA palette[256]);

// Type 3: reads a palette format the library does not know. format() is compared by its
// characters with the name PaletteObject::fromFile is given; palette is a work table of 256
// entries, all zero, which is taken only when load() returns true.
class ZORNX_EXPORT PaletteReaderExtension : public Extension
{
public:
    Type type() const override;
    virtual bool load(QIODevice *device, RGBA *palette) = 0;
};

// Type 4: writes a palette format. Every writer is asked in turn with the format name until
// one returns true.
class ZORNX_EXPORT PaletteWriterExtension : public Extension
{
public:
    Type type() const override;
    virtual bool save(const char *format, const RGBA *palette, QIODevice *device) = 0;
};

} // namespace Zorn

#endif
