// MPEG audio layer 3 (reading only) through libmpg123.

#include "soundsample.h"
#include "soundsample_p.h"

#include <mpg123.h>

#include <cstdio>

namespace Zorn {

namespace {

mpg123_ssize_t readDevice(void *handle, void *buffer, size_t bytes)
{
    const qint64 n = static_cast<QIODevice *>(handle)->read(static_cast<char *>(buffer),
                                                            qint64(bytes));
    return n < 0 ? -1 : mpg123_ssize_t(n);
}

off_t seekDevice(void *handle, off_t offset, int whence)
{
    return off_t(SoundPrivate::seekWhence(static_cast<QIODevice *>(handle), offset, whence));
}

} // namespace

SoundSample soundFromMP3(QIODevice *device)
{
    SoundSample sample;
    if (!SoundPrivate::openFor(device, QIODevice::ReadOnly) || mpg123_init() != MPG123_OK)
        return sample;
    int error = MPG123_OK;
    mpg123_handle *handle = mpg123_new(nullptr, &error);
    long rate = 0;
    int channels = 0, encoding = 0;
    if (handle) {
        // Quiet: the library keeps no log, and a damaged file is no reason to print.
        mpg123_param(handle, MPG123_ADD_FLAGS, MPG123_QUIET, 0);
    }
    if (handle && mpg123_replace_reader_handle(handle, readDevice, seekDevice, nullptr) == MPG123_OK
        && mpg123_open_handle(handle, device) == MPG123_OK
        && mpg123_getformat(handle, &rate, &channels, &encoding) == MPG123_OK && channels > 0
        && rate > 0) {
        if (encoding != MPG123_ENC_SIGNED_16) {
            mpg123_format_none(handle);
            mpg123_format(handle, rate, channels, MPG123_ENC_SIGNED_16);
        }
        mpg123_scan(handle);
        const off_t length = mpg123_length(handle);
        const qint64 frameBytes = 2 * qint64(channels);
        QByteArray data;
        data.reserve(SoundPrivate::reserveFor(length > 0 ? qint64(length) * frameBytes : 0,
                                              device->size()));
        const size_t block = mpg123_outblock(handle);
        QByteArray buffer(int(block), Qt::Uninitialized);
        for (;;) {
            size_t done = 0;
            const int result = mpg123_read(handle, reinterpret_cast<uchar *>(buffer.data()),
                                           block, &done);
            if (data.size() + qint64(done) > SoundPrivate::MaxBytes)
                break;
            data.append(buffer.constData(), int(done));
            if (result != MPG123_OK)
                break;
        }
        data.chop(int(data.size() % frameBytes));
        sample.channels = quint16(channels);
        sample.bits = 16;
        sample.frequency = quint32(rate);
        sample.samples = quint32(data.size() / frameBytes);
        sample.data = data;
        mpg123_close(handle);
    }
    mpg123_delete(handle);
    return sample;
}

} // namespace Zorn
