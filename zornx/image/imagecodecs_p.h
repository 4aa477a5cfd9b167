#ifndef ZORNX_IMAGE_IMAGECODECS_P_H
#define ZORNX_IMAGE_IMAGECODECS_P_H

#include <zornx/global.h>

#include <QtGui/QImage>

namespace Zorn {

// Reads bytes from memory the way a QDataStream reads a device: a read past the end gives 0
// and marks the whole read as failed.
class ByteReader
{
public:
    ByteReader(const char *bytes, qsizetype size)
        : begin(reinterpret_cast<const uchar *>(bytes)), p(begin), end(begin + size)
    {
    }
    bool atEnd() const { return p >= end; }
    bool failed() const { return readPastEnd; }
    qsizetype used() const { return p - begin; }
    qsizetype remaining() const { return end - p; }
    const uchar *data() const { return p; }
    // Only within what remains.
    void skip(qsizetype count) { p += count; }
    unsigned int next()
    {
        if (p < end)
            return *p++;
        readPastEnd = true;
        return 0;
    }

private:
    const uchar *begin;
    const uchar *p;
    const uchar *end;
    bool readPastEnd = false;
};

// The decoders behind loadPCX and loadLZ5.
bool decodePCX(ByteReader &in, QImage &image, bool *hasPalette);
void decodeLZ5(ByteReader &in, uchar *buffer, qsizetype size);

} // namespace Zorn

#endif
