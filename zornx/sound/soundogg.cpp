// Ogg Vorbis through libvorbisfile (reading) and libvorbis/libvorbisenc (writing).

#include "soundsample.h"
#include "soundsample_p.h"

#include <vorbis/vorbisenc.h>
#include <vorbis/vorbisfile.h>

#include <cstdlib>
#include <cstring>

namespace Zorn {

namespace {

size_t readDevice(void *buffer, size_t size, size_t count, void *device)
{
    const qint64 n = static_cast<QIODevice *>(device)->read(static_cast<char *>(buffer),
                                                            qint64(size * count));
    return n > 0 && size ? size_t(n) / size : 0;
}

int seekDevice(void *handle, ogg_int64_t offset, int whence)
{
    return SoundPrivate::seekWhence(static_cast<QIODevice *>(handle), offset, whence) < 0 ? -1 : 0;
}

long tellDevice(void *device)
{
    return long(static_cast<QIODevice *>(device)->pos());
}

bool writePage(QIODevice *device, const ogg_page &page)
{
    return device->write(reinterpret_cast<const char *>(page.header), page.header_len)
               == page.header_len
        && device->write(reinterpret_cast<const char *>(page.body), page.body_len)
               == page.body_len;
}

} // namespace

SoundSample soundFromOGG(QIODevice *device)
{
    SoundSample sample;
    if (!SoundPrivate::openFor(device, QIODevice::ReadOnly))
        return sample;
    const ov_callbacks callbacks = {readDevice, seekDevice, nullptr, tellDevice};
    OggVorbis_File file;
    if (ov_open_callbacks(device, &file, nullptr, 0, callbacks) != 0)
        return sample;
    const vorbis_info *info = ov_info(&file, -1);
    const ogg_int64_t total = ov_pcm_total(&file, -1);
    if (info && info->channels > 0 && info->channels <= 0xFFFF && info->rate > 0 && total > 0) {
        const qint64 frameBytes = 2 * qint64(info->channels);
        const qint64 wanted = qMin<qint64>(total, SoundPrivate::MaxBytes / frameBytes) * frameBytes;
        // Decoded straight into the data, which grows as it comes: a forged length in the last
        // page costs no memory.
        QByteArray data(SoundPrivate::reserveFor(wanted, device->size()), Qt::Uninitialized);
        qint64 size = 0;
        int section = 0;
        while (size < wanted) {
            if (data.size() - size < 16384)
                data.resize(int(qMin(wanted, qMax<qint64>(size + 65536, 2 * size))));
            const int room = int(qMin<qint64>(data.size(), wanted) - size);
            const long n = ov_read(&file, data.data() + size, room, 0, 2, 1, &section);
            if (n < 1)
                break;
            size += n;
        }
        data.resize(int(size));
        data.chop(int(data.size() % frameBytes));
        sample.channels = quint16(info->channels);
        sample.bits = 16;
        sample.frequency = quint32(info->rate);
        sample.samples = quint32(data.size() / frameBytes);
        sample.data = data;
    }
    ov_clear(&file);
    return sample;
}

bool soundToOGG(const SoundSample &sample, QIODevice *device)
{
    if (!SoundPrivate::openFor(device, QIODevice::WriteOnly) || sample.channels == 0
        || !SoundPrivate::isKnownWidth(sample.bits))
        return false;
    const unsigned int channels = sample.channels;
    const unsigned int width = bytesPerSample(sample.bits);
    const quint32 frames = quint32(qMin<qint64>(sample.samples,
                                                sample.data.size() / (width * channels)));

    vorbis_info info;
    vorbis_info_init(&info);
    if (vorbis_encode_init_vbr(&info, long(channels), long(sample.frequency), 0.4f) != 0) {
        vorbis_info_clear(&info);
        return false;
    }
    ogg_stream_state stream;
    ogg_stream_init(&stream, std::rand());
    vorbis_dsp_state dsp;
    vorbis_block block;
    vorbis_comment comment;
    vorbis_analysis_init(&dsp, &info);
    vorbis_block_init(&dsp, &block);
    vorbis_comment_init(&comment);

    bool ok = true;
    ogg_packet header, headerComment, headerCode;
    vorbis_analysis_headerout(&dsp, &comment, &header, &headerComment, &headerCode);
    ogg_stream_packetin(&stream, &header);
    ogg_stream_packetin(&stream, &headerComment);
    ogg_stream_packetin(&stream, &headerCode);
    ogg_page page;
    while (ok && ogg_stream_flush(&stream, &page) != 0)
        ok = writePage(device, page);

    auto drain = [&] {
        ogg_packet packet;
        while (ok && vorbis_analysis_blockout(&dsp, &block) == 1) {
            vorbis_analysis(&block, nullptr);
            vorbis_bitrate_addblock(&block);
            while (ok && vorbis_bitrate_flushpacket(&dsp, &packet)) {
                ogg_stream_packetin(&stream, &packet);
                while (ok && ogg_stream_pageout(&stream, &page) != 0)
                    ok = writePage(device, page);
            }
        }
    };

    const auto *in = reinterpret_cast<const uchar *>(sample.data.constData());
    for (quint32 done = 0; ok && done < frames;) {
        const int count = int(qMin<quint32>(65536, frames - done));
        float **buffer = vorbis_analysis_buffer(&dsp, 65536);
        if (!buffer) {
            ok = false;
            break;
        }
        const uchar *p = in + size_t(done) * channels * width;
        for (int i = 0; i < count; ++i) {
            for (unsigned int c = 0; c < channels; ++c, p += width)
                buffer[c][i] = sample.bits == 16
                                   ? float(qFromLittleEndian<qint16>(p) / 32767.0)
                                   : decodeSample(p, sample.bits);
        }
        vorbis_analysis_wrote(&dsp, count);
        drain();
        done += quint32(count);
    }
    if (ok) {
        vorbis_analysis_wrote(&dsp, 0);
        drain();
    }

    ogg_stream_clear(&stream);
    vorbis_block_clear(&block);
    vorbis_dsp_clear(&dsp);
    vorbis_comment_clear(&comment);
    vorbis_info_clear(&info);
    return ok;
}

} // namespace Zorn
