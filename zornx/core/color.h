#ifndef ZORNX_CORE_COLOR_H
#define ZORNX_CORE_COLOR_H

#include <zornx/global.h>

namespace Zorn {

// Three bytes in the order red, green, blue. From an unsigned integer the lowest byte is red,
// as in the bytes of a little-endian palette file.
struct RGB
{
    unsigned char red = 0;
    unsigned char green = 0;
    unsigned char blue = 0;

    RGB() = default;
    explicit RGB(unsigned int value)
        : red(value & 0xff), green((value >> 8) & 0xff), blue((value >> 16) & 0xff)
    {
    }
    RGB(const RGB &) = default;
    RGB(unsigned char red, unsigned char green, unsigned char blue)
        : red(red), green(green), blue(blue)
    {
    }
    RGB &operator=(const RGB &) = default;
    bool operator==(const RGB &o) const
    {
        return red == o.red && green == o.green && blue == o.blue;
    }
    bool operator!=(const RGB &o) const { return !(*this == o); }
};

// Four bytes in the order red, green, blue, alpha. This is not the byte order of a QRgb:
// a palette entry meets a QImage colour table as qRgba(red, green, blue, alpha).
struct RGBA
{
    unsigned char red = 0;
    unsigned char green = 0;
    unsigned char blue = 0;
    unsigned char alpha = 0;

    RGBA() = default;
    explicit RGBA(unsigned int value)
        : red(value & 0xff), green((value >> 8) & 0xff), blue((value >> 16) & 0xff),
          alpha((value >> 24) & 0xff)
    {
    }
    explicit RGBA(const RGB &rgb) : red(rgb.red), green(rgb.green), blue(rgb.blue) {}
    RGBA(const RGBA &) = default;
    RGBA(unsigned char red, unsigned char green, unsigned char blue, unsigned char alpha)
        : red(red), green(green), blue(blue), alpha(alpha)
    {
    }
    RGBA &operator=(const RGBA &) = default;

    static RGBA fromRGB(const RGB &rgb) { return RGBA(rgb.red, rgb.green, rgb.blue, 255); }
    RGB toRGB() const { return RGB(red, green, blue); }

    bool operator==(const RGBA &o) const
    {
        return red == o.red && green == o.green && blue == o.blue && alpha == o.alpha;
    }
    bool operator!=(const RGBA &o) const { return !(*this == o); }
};

static_assert(sizeof(RGB) == 3, "RGB is three packed bytes");
static_assert(sizeof(RGBA) == 4, "a palette of 256 RGBA is 1024 bytes");

} // namespace Zorn

#endif
