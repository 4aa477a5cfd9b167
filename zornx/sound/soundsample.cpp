#include "soundsample.h"
#include "soundsample_p.h"

#include <QtCore/QIODevice>

#include <samplerate.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

namespace Zorn {

namespace {

// Clamps in double precision before the cut, so that no conversion leaves the target's range.
template<typename T>
T clampCut(double value, double low, double high)
{
    if (!(value >= low)) // NaN lands on the low end too, never converted as it is
        return value != value ? T(0) : T(low);
    if (value > high)
        return T(high);
    return T(value);
}

qint32 read24(const uchar *p)
{
    return qint32(quint32(p[0]) << 8 | quint32(p[1]) << 16 | quint32(p[2]) << 24);
}

// The upper three bytes of a 32-bit value; a 20-bit sample keeps its lowest nibble zero.
void write24(uchar *p, qint32 value, unsigned short bits)
{
    const quint32 v = quint32(value);
    p[0] = uchar(v >> 8) & (bits == 20 ? 0xF0 : 0xFF);
    p[1] = uchar(v >> 16);
    p[2] = uchar(v >> 24);
}

constexpr double Two31 = 2147483648.0;

} // namespace

const char *soundFileExtension(SoundExtensionType type)
{
    switch (type) {
    case SoundFilterTail:
        return " (*.wav *.ogg *.flac *.mp3);;";
    case SoundReadFilter:
        return "WAVEform audio format (*.wav);;Ogg Vorbis (*.ogg);;Free Lossless Audio Codec "
               "(*.flac);;MPEG-1/2 Audio Layer 3 (*.mp3)";
    case SoundWriteFilter:
        return "WAVEform audio format (*.wav);;Ogg Vorbis (*.ogg);;Free Lossless Audio Codec "
               "(*.flac)";
    }
    return nullptr;
}

qint64 SoundPrivate::seekWhence(QIODevice *device, qint64 offset, int whence)
{
    if (device->isSequential())
        return -1;
    qint64 to = offset;
    if (whence == SEEK_CUR)
        to += device->pos();
    else if (whence == SEEK_END)
        to += device->size();
    return to >= 0 && device->seek(to) ? to : -1;
}

bool SoundPrivate::openFor(QIODevice *device, QIODevice::OpenMode mode)
{
    if (!device)
        return false;
    if (!device->isOpen() && !device->open(mode))
        return false;
    return mode == QIODevice::ReadOnly ? device->isReadable() : device->isWritable();
}

bool loadSound(QIODevice *device, const char *format, SoundSample &sample)
{
    if (!SoundPrivate::openFor(device, QIODevice::ReadOnly) || !format)
        return false;
    if (qstrcmp(format, "WAV") == 0) {
        sample = soundFromWAV(device);
    } else if (qstrcmp(format, "OGG") == 0) {
        sample = soundFromOGG(device);
    } else if (qstrcmp(format, "FLAC") == 0) {
        sample = soundFromFLAC(device);
    } else if (qstrcmp(format, "MP3") == 0) {
        sample = soundFromMP3(device);
    } else {
        for (Extension *extension : ExtensionManager::list(Extension::SoundReaderType)) {
            if (qstrcmp(extension->format(), format) == 0
                && static_cast<SoundReaderExtension *>(extension)->readSound(device, sample))
                break;
        }
    }
    return !sample.data.isEmpty();
}

bool saveSound(QIODevice *device, const char *format, const SoundSample &sample)
{
    if (!SoundPrivate::openFor(device, QIODevice::WriteOnly) || !format)
        return false;
    if (qstrcmp(format, "WAV") == 0)
        return soundToWAV(sample, device);
    if (qstrcmp(format, "OGG") == 0)
        return soundToOGG(sample, device);
    if (qstrcmp(format, "FLAC") == 0)
        return soundToFLAC(sample, device);
    for (Extension *extension : ExtensionManager::list(Extension::SoundWriterType)) {
        if (qstrcmp(extension->format(), format) == 0
            && static_cast<SoundWriterExtension *>(extension)->writeSound(device, sample))
            return true;
    }
    return false;
}

Extension::Type SoundReaderExtension::type() const
{
    return SoundReaderType;
}

Extension::Type SoundWriterExtension::type() const
{
    return SoundWriterType;
}

float decodeSample(const void *from, unsigned short bits)
{
    const auto *p = static_cast<const uchar *>(from);
    switch (bits) {
    case 8:
        return (int(*p) - 128) * 0.0078125f;
    case 16:
        return qint16(quint16(p[0] | p[1] << 8)) * (1.0f / 32768.0f);
    case 20:
    case 24:
        return float(read24(p) * (1.0 / Two31));
    case 32: {
        qint32 v;
        std::memcpy(&v, p, 4);
        return float(qFromLittleEndian(v) * (1.0 / Two31));
    }
    }
    return 0.0f;
}

void encodeSample(float value, void *to, unsigned short bits)
{
    auto *p = static_cast<uchar *>(to);
    switch (bits) {
    case 8:
        *p = clampCut<uchar>(value * 128.0 + 128.0, 0, 255);
        break;
    case 16:
        qToLittleEndian(clampCut<qint16>(value * 32768.0, -32768, 32767), p);
        break;
    case 20:
    case 24:
        write24(p, clampCut<qint32>(value * Two31, -Two31, Two31 - 1), bits);
        break;
    case 32:
        qToLittleEndian(clampCut<qint32>(value * Two31, -Two31, Two31 - 1), p);
        break;
    }
}

void scaleSample(void *to, const void *from, float factor, unsigned short bits)
{
    const auto *in = static_cast<const uchar *>(from);
    auto *out = static_cast<uchar *>(to);
    switch (bits) {
    case 8:
        *out = uchar(clampCut<int>((int(*in) - 128) * double(factor), -128, 127) + 128);
        break;
    case 16:
        qToLittleEndian(clampCut<qint16>(qFromLittleEndian<qint16>(in) * double(factor),
                                         -32768, 32767),
                        out);
        break;
    case 20:
    case 24:
        // On the 24-bit value; written back shifted into the upper bytes of 32 bits.
        write24(out, qint32(quint32(clampCut<qint32>((read24(in) >> 8) * double(factor),
                                                     -8388608, 8388607))
                            << 8),
                bits);
        break;
    case 32:
        qToLittleEndian(clampCut<qint32>(qFromLittleEndian<qint32>(in) * double(factor),
                                         -Two31, Two31 - 1),
                        out);
        break;
    }
}

bool SoundPrivate::isKnownWidth(unsigned int bits)
{
    return bits == 8 || bits == 16 || bits == 20 || bits == 24 || bits == 32;
}

bool resampleSound(SoundSample &sample, SampleInfo info)
{
    if (!SoundPrivate::isKnownWidth(sample.bits) || !SoundPrivate::isKnownWidth(info.bits)
        || sample.channels == 0 || info.channels == 0 || sample.frequency == 0
        || info.frequency == 0)
        return false;
    const unsigned int channels = sample.channels;
    // Mono to stereo and back are the only channel conversions.
    const bool toMono = info.channels == 1 && channels == 2;
    const bool toStereo = info.channels >= 2 && channels == 1;
    if (info.channels != channels && !toMono && !toStereo)
        return false;
    const double ratio = double(info.frequency) / double(sample.frequency);
    if (!src_is_valid_ratio(ratio))
        return false;

    const unsigned int inBytes = bytesPerSample(sample.bits);
    const size_t frames = qMin<size_t>(sample.samples,
                                       size_t(sample.data.size()) / (inBytes * channels));
    const size_t count = frames * channels;
    const auto *in = reinterpret_cast<const uchar *>(sample.data.constData());
    std::vector<float> source(count);
    switch (sample.bits) {
    case 8:
        for (size_t i = 0; i < count; ++i)
            source[i] = float(in[i] / 127.5 - 1.0);
        break;
    case 16:
        src_short_to_float_array(reinterpret_cast<const short *>(in), source.data(), int(count));
        break;
    case 20:
    case 24:
        for (size_t i = 0; i < count; ++i)
            source[i] = float(read24(in + 3 * i) * (1.0 / Two31));
        break;
    case 32:
        src_int_to_float_array(reinterpret_cast<const int *>(in), source.data(), int(count));
        break;
    }

    const double newFramesExact = std::floor(double(frames) * ratio);
    const unsigned int outBytes = bytesPerSample(info.bits);
    const unsigned int outChannels = toMono ? 1 : toStereo ? 2 : channels;
    if (newFramesExact * outChannels * outBytes > double(std::numeric_limits<int>::max()))
        return false;
    const size_t newFrames = size_t(newFramesExact);

    std::vector<float> converted;
    if (info.frequency == sample.frequency || count == 0) {
        converted.swap(source);
    } else {
        converted.resize(newFrames * channels);
        SRC_DATA job = {};
        job.data_in = source.data();
        job.data_out = converted.data();
        job.input_frames = long(frames);
        job.output_frames = long(newFrames);
        job.src_ratio = ratio;
        if (src_simple(&job, SRC_SINC_BEST_QUALITY, int(channels)) != 0)
            return false;
        // Frames the converter did not produce stay silent. The input goes before the
        // conversion back, so that at most two arrays live at once.
        source = std::vector<float>();
    }
    const size_t outFrames = converted.size() / channels;

    if (toMono) {
        for (size_t i = 0; i < outFrames; ++i)
            converted[i] = (converted[2 * i] + converted[2 * i + 1]) * 0.5f;
        converted.resize(outFrames);
    } else if (toStereo) {
        converted.resize(outFrames * 2);
        for (size_t i = outFrames; i-- > 0;)
            converted[2 * i] = converted[2 * i + 1] = converted[i];
    }

    const size_t values = converted.size();
    QByteArray data(int(values * outBytes), Qt::Uninitialized);
    auto *out = reinterpret_cast<uchar *>(data.data());
    switch (info.bits) {
    case 8:
        for (size_t i = 0; i < values; ++i)
            out[i] = clampCut<uchar>((converted[i] + 1.0) * 127.5, 0, 255);
        break;
    case 16:
        src_float_to_short_array(converted.data(), reinterpret_cast<short *>(out), int(values));
        break;
    case 20:
    case 24:
        for (size_t i = 0; i < values; ++i)
            write24(out + 3 * i, clampCut<qint32>(converted[i] * Two31, -Two31, Two31 - 1),
                    info.bits);
        break;
    case 32:
        src_float_to_int_array(converted.data(), reinterpret_cast<int *>(out), int(values));
        break;
    }
    sample.channels = quint16(outChannels);
    sample.bits = info.bits;
    sample.frequency = info.frequency;
    sample.samples = quint32(outFrames);
    sample.data = data;
    return true;
}

} // namespace Zorn
