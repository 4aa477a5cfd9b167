// FLAC through libFLAC's stream decoder and encoder.
//
// FLAC holds signed samples of the declared width. This library's 8-bit samples are unsigned
// around 128, and its 20-bit samples sit left-justified in three bytes; both are converted on
// the way in and out, so that every width goes through bit for bit.

#include "soundsample.h"
#include "soundsample_p.h"

#include <FLAC/stream_decoder.h>
#include <FLAC/stream_encoder.h>

#include <cstring>
#include <vector>

namespace Zorn {

namespace {

struct Decoding
{
    QIODevice *device;
    SoundSample sample;
    unsigned int sourceBits = 0; // the width in the stream
    quint64 total = 0;           // frames STREAMINFO promises; 0 for unknown
    bool error = false;
};

// The stored width of a stream width: the next one this library has.
unsigned short storedBits(unsigned int bits)
{
    return bits <= 8 ? 8 : bits <= 16 ? 16 : bits <= 20 ? 20 : bits <= 24 ? 24 : 32;
}

FLAC__StreamDecoderReadStatus readCallback(const FLAC__StreamDecoder *, FLAC__byte buffer[],
                                           size_t *bytes, void *client)
{
    auto *d = static_cast<Decoding *>(client);
    const qint64 n = d->device->read(reinterpret_cast<char *>(buffer), qint64(*bytes));
    *bytes = n > 0 ? size_t(n) : 0;
    if (n < 0)
        return FLAC__STREAM_DECODER_READ_STATUS_ABORT;
    return n == 0 ? FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM
                  : FLAC__STREAM_DECODER_READ_STATUS_CONTINUE;
}

FLAC__StreamDecoderSeekStatus seekCallback(const FLAC__StreamDecoder *, FLAC__uint64 offset,
                                           void *client)
{
    auto *d = static_cast<Decoding *>(client);
    if (d->device->isSequential())
        return FLAC__STREAM_DECODER_SEEK_STATUS_UNSUPPORTED;
    return d->device->seek(qint64(offset)) ? FLAC__STREAM_DECODER_SEEK_STATUS_OK
                                           : FLAC__STREAM_DECODER_SEEK_STATUS_ERROR;
}

FLAC__StreamDecoderTellStatus tellCallback(const FLAC__StreamDecoder *, FLAC__uint64 *offset,
                                           void *client)
{
    *offset = FLAC__uint64(static_cast<Decoding *>(client)->device->pos());
    return FLAC__STREAM_DECODER_TELL_STATUS_OK;
}

FLAC__StreamDecoderLengthStatus lengthCallback(const FLAC__StreamDecoder *,
                                               FLAC__uint64 *length, void *client)
{
    *length = FLAC__uint64(static_cast<Decoding *>(client)->device->size());
    return FLAC__STREAM_DECODER_LENGTH_STATUS_OK;
}

FLAC__bool eofCallback(const FLAC__StreamDecoder *, void *client)
{
    return static_cast<Decoding *>(client)->device->atEnd();
}

FLAC__StreamDecoderWriteStatus writeCallback(const FLAC__StreamDecoder *,
                                             const FLAC__Frame *frame,
                                             const FLAC__int32 *const buffer[], void *client)
{
    auto *d = static_cast<Decoding *>(client);
    SoundSample &s = d->sample;
    // A frame must agree with STREAMINFO; the decoder checks its CRC, not that.
    if (s.channels == 0 || frame->header.channels != s.channels
        || frame->header.bits_per_sample != d->sourceBits) {
        d->error = true;
        return FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
    }
    const unsigned int width = bytesPerSample(s.bits);
    const unsigned int channels = s.channels;
    quint64 frames = frame->header.blocksize;
    const quint64 have = quint64(s.data.size()) / (width * channels);
    if (d->total)
        frames = qMin(frames, d->total > have ? d->total - have : 0);
    const quint64 bytes = frames * width * channels;
    if (quint64(s.data.size()) + bytes > quint64(SoundPrivate::MaxBytes)) {
        d->error = true;
        return FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
    }
    const int at = s.data.size();
    s.data.resize(at + int(bytes));
    auto *out = reinterpret_cast<uchar *>(s.data.data()) + at;
    // Widen to the stored width: shift the value to the top of its bytes.
    const unsigned int shift = width * 8 - d->sourceBits;
    for (quint64 i = 0; i < frames; ++i) {
        for (unsigned int c = 0; c < channels; ++c) {
            const quint32 v = quint32(buffer[c][i]) << shift;
            switch (width) {
            case 1:
                *out++ = uchar(v + 128);
                break;
            default:
                for (unsigned int b = 0; b < width; ++b)
                    *out++ = uchar(v >> (8 * b));
            }
        }
    }
    return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
}

void metadataCallback(const FLAC__StreamDecoder *, const FLAC__StreamMetadata *metadata,
                      void *client)
{
    auto *d = static_cast<Decoding *>(client);
    if (metadata->type != FLAC__METADATA_TYPE_STREAMINFO)
        return;
    const FLAC__StreamMetadata_StreamInfo &info = metadata->data.stream_info;
    d->sample.channels = quint16(info.channels);
    d->sourceBits = info.bits_per_sample;
    d->sample.bits = storedBits(info.bits_per_sample);
    d->sample.frequency = info.sample_rate;
    d->total = info.total_samples;
}

void errorCallback(const FLAC__StreamDecoder *, FLAC__StreamDecoderErrorStatus, void *client)
{
    static_cast<Decoding *>(client)->error = true;
}

struct Encoding
{
    QIODevice *device;
    bool failed = false;
};

FLAC__StreamEncoderWriteStatus encoderWrite(const FLAC__StreamEncoder *, const FLAC__byte buffer[],
                                            size_t bytes, uint32_t, uint32_t, void *client)
{
    auto *e = static_cast<Encoding *>(client);
    if (e->device->write(reinterpret_cast<const char *>(buffer), qint64(bytes)) != qint64(bytes)) {
        e->failed = true;
        return FLAC__STREAM_ENCODER_WRITE_STATUS_FATAL_ERROR;
    }
    return FLAC__STREAM_ENCODER_WRITE_STATUS_OK;
}

FLAC__StreamEncoderSeekStatus encoderSeek(const FLAC__StreamEncoder *, FLAC__uint64 offset,
                                          void *client)
{
    auto *e = static_cast<Encoding *>(client);
    if (e->device->isSequential())
        return FLAC__STREAM_ENCODER_SEEK_STATUS_UNSUPPORTED;
    return e->device->seek(qint64(offset)) ? FLAC__STREAM_ENCODER_SEEK_STATUS_OK
                                           : FLAC__STREAM_ENCODER_SEEK_STATUS_ERROR;
}

FLAC__StreamEncoderTellStatus encoderTell(const FLAC__StreamEncoder *, FLAC__uint64 *offset,
                                          void *client)
{
    *offset = FLAC__uint64(static_cast<Encoding *>(client)->device->pos());
    return FLAC__STREAM_ENCODER_TELL_STATUS_OK;
}

} // namespace

SoundSample soundFromFLAC(QIODevice *device)
{
    Decoding d{device, SoundSample()};
    if (!SoundPrivate::openFor(device, QIODevice::ReadOnly))
        return SoundSample();
    FLAC__StreamDecoder *decoder = FLAC__stream_decoder_new();
    if (!decoder)
        return SoundSample();
    bool ok = FLAC__stream_decoder_init_stream(decoder, readCallback, seekCallback, tellCallback,
                                               lengthCallback, eofCallback, writeCallback,
                                               metadataCallback, errorCallback, &d)
                  == FLAC__STREAM_DECODER_INIT_STATUS_OK
        && FLAC__stream_decoder_process_until_end_of_metadata(decoder) && !d.error
        && d.sample.channels > 0 && d.sourceBits >= 4;
    if (ok) {
        const qint64 frameBytes = qint64(d.sample.channels) * bytesPerSample(d.sample.bits);
        d.sample.data.reserve(SoundPrivate::reserveFor(
            qint64(qMin<quint64>(d.total, quint64(SoundPrivate::MaxBytes))) * frameBytes,
            device->size()));
        ok = FLAC__stream_decoder_process_until_end_of_stream(decoder) && !d.error;
    }
    FLAC__stream_decoder_finish(decoder);
    FLAC__stream_decoder_delete(decoder);
    if (!ok || d.sample.data.isEmpty())
        return SoundSample();
    d.sample.samples = quint32(quint64(d.sample.data.size())
                               / (d.sample.channels * bytesPerSample(d.sample.bits)));
    return d.sample;
}

bool soundToFLAC(const SoundSample &sample, QIODevice *device)
{
    if (!SoundPrivate::openFor(device, QIODevice::WriteOnly) || sample.channels == 0
        || sample.channels > 8 || !SoundPrivate::isKnownWidth(sample.bits))
        return false;
    const unsigned int channels = sample.channels;
    const unsigned int width = bytesPerSample(sample.bits);
    const quint32 frames = quint32(qMin<qint64>(sample.samples,
                                                sample.data.size() / (width * channels)));
    FLAC__StreamEncoder *encoder = FLAC__stream_encoder_new();
    if (!encoder)
        return false;
    Encoding e{device};
    bool ok = FLAC__stream_encoder_set_channels(encoder, channels)
        && FLAC__stream_encoder_set_bits_per_sample(encoder, sample.bits)
        && FLAC__stream_encoder_set_sample_rate(encoder, sample.frequency)
        && FLAC__stream_encoder_set_compression_level(encoder, 8)
        && FLAC__stream_encoder_set_total_samples_estimate(encoder, frames)
        && FLAC__stream_encoder_init_stream(encoder, encoderWrite, encoderSeek, encoderTell,
                                            nullptr, &e)
               == FLAC__STREAM_ENCODER_INIT_STATUS_OK;
    if (ok) {
        // Narrow from the stored width: 8-bit around 128 to signed, 20-bit down by its nibble.
        const unsigned int shift = width * 8 - sample.bits;
        std::vector<FLAC__int32> block(size_t(10000) * channels);
        const auto *in = reinterpret_cast<const uchar *>(sample.data.constData());
        for (quint32 done = 0; ok && done < frames;) {
            const quint32 count = qMin<quint32>(10000, frames - done);
            const size_t values = size_t(count) * channels;
            for (size_t i = 0; i < values; ++i, in += width) {
                switch (width) {
                case 1:
                    block[i] = FLAC__int32(*in) - 128;
                    break;
                case 2:
                    block[i] = qFromLittleEndian<qint16>(in);
                    break;
                case 3:
                    block[i] = qint32(quint32(in[0]) << 8 | quint32(in[1]) << 16
                                      | quint32(in[2]) << 24)
                        >> (8 + shift);
                    break;
                default:
                    block[i] = qFromLittleEndian<qint32>(in);
                }
            }
            ok = FLAC__stream_encoder_process_interleaved(encoder, block.data(), count);
            done += count;
        }
    }
    // finish() writes the last frame and the final STREAMINFO; its failure is a failed save.
    ok = FLAC__stream_encoder_finish(encoder) && ok && !e.failed;
    FLAC__stream_encoder_delete(encoder);
    return ok;
}

} // namespace Zorn
