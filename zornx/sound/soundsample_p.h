#ifndef ZORNX_SOUND_SOUNDSAMPLE_P_H
#define ZORNX_SOUND_SOUNDSAMPLE_P_H

#include <QtCore/QIODevice>
#include <QtCore/QtEndian>

namespace Zorn {
namespace SoundPrivate {

// Opens a closed device in mode; true if it can then be read (written).
bool openFor(QIODevice *device, QIODevice::OpenMode mode);
// Seeks device as a decoder library's seek callback asks (whence SEEK_SET, SEEK_CUR or
// SEEK_END); the new position, or -1 where the device is sequential or cannot go there.
qint64 seekWhence(QIODevice *device, qint64 offset, int whence);
// 8, 16, 20, 24 or 32.
bool isKnownWidth(unsigned int bits);
// The largest decoded sound a QByteArray holds.
constexpr qint64 MaxBytes = 0x7FFFFF00;
// What a reader reserves for the size a header claims: never more than the stream could
// plausibly give, so that a forged header costs no memory; the data grows past it if needed.
inline int reserveFor(qint64 claimed, qint64 deviceSize)
{
    return int(qBound<qint64>(0, claimed, qMin<qint64>(MaxBytes, deviceSize * 32 + (1 << 20))));
}

} // namespace SoundPrivate
} // namespace Zorn

#endif
