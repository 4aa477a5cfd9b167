#ifndef ZORNX_FUZZ_FUZZING_H
#define ZORNX_FUZZ_FUZZING_H

// What the fuzz targets share: the input as bytes and as an open device.

#include <QtCore/QBuffer>
#include <QtCore/QByteArray>

#include <cstddef>
#include <cstdint>

namespace ZornFuzz {

inline QByteArray bytes(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), int(size));
}

// A read-only device over bytes that stay alive as long as the buffer.
class InputDevice : public QBuffer
{
public:
    explicit InputDevice(const QByteArray &input) : bytes(input)
    {
        setBuffer(&bytes);
        open(QIODevice::ReadOnly);
    }

private:
    QByteArray bytes;
};

} // namespace ZornFuzz

#endif
