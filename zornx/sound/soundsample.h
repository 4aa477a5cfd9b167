#ifndef ZORNX_SOUND_SOUNDSAMPLE_H
#define ZORNX_SOUND_SOUNDSAMPLE_H

#include <zornx/core/extension.h>

#include <QtCore/QByteArray>

class QIODevice;

namespace Zorn {

// How to read a block of interleaved PCM.
struct SampleInfo
{
    quint16 channels = 0;
    quint16 bits = 1;      // 8 (unsigned, silence 128), 16, 20, 24 or 32 (signed, little-endian)
    quint32 frequency = 0; // frames per second
    quint32 samples = 0;   // frames
};

// One sound: interleaved samples and how to read them. Empty data is no sound.
struct SoundSample
{
    // Playback states, used by the sound workspace.
    enum State { Playing = 0, Looping = 1, Paused = 2, Stopped = 3 };

    quint16 channels = 0;
    quint16 bits = 1;
    quint32 frequency = 0;
    quint32 samples = 0;
    QByteArray data;

    SampleInfo info() const { return {channels, bits, frequency, samples}; }
};

// Bytes one stored sample takes: 20-bit samples sit left-justified in three bytes, as 24-bit
// ones do (their lowest four bits are zero).
inline unsigned int bytesPerSample(unsigned short bits) { return (bits + 7u) / 8u; }

enum SoundExtensionType {
    SoundFilterTail = 0,     // " (*.wav *.ogg *.flac *.mp3);;"
    SoundReadFilter = 1,     // every format that can be read
    SoundWriteFilter = 2,    // every format that can be written
};
// The file dialog filters above; null for any other value.
ZORNX_EXPORT const char *soundFileExtension(SoundExtensionType type);

// format is the upper-case extension without its dot ("WAV", "OGG", "FLAC", "MP3"); other
// formats go to the sound reader (writer) extensions. Closed devices are opened, never closed.
ZORNX_EXPORT bool loadSound(QIODevice *device, const char *format, SoundSample &sample);
ZORNX_EXPORT bool saveSound(QIODevice *device, const char *format, const SoundSample &sample);

// Readers give a sample with empty data on failure.
ZORNX_EXPORT SoundSample soundFromWAV(QIODevice *device);
ZORNX_EXPORT SoundSample soundFromOGG(QIODevice *device);
ZORNX_EXPORT SoundSample soundFromFLAC(QIODevice *device);
ZORNX_EXPORT SoundSample soundFromMP3(QIODevice *device);
ZORNX_EXPORT bool soundToWAV(const SoundSample &sample, QIODevice *device);
ZORNX_EXPORT bool soundToOGG(const SoundSample &sample, QIODevice *device);
ZORNX_EXPORT bool soundToFLAC(const SoundSample &sample, QIODevice *device);
// The headers of a PCM WAV; all zero when they are not those of one.
ZORNX_EXPORT SampleInfo soundInfoFromWAV(QIODevice *device);

// Converts sample to the frequency, width and channel count of info (its samples are ignored),
// resampling with libsamplerate at its best quality. False, with sample unchanged, when the
// conversion is impossible (a ratio beyond libsamplerate's limit of 256 either way, an unknown
// width, a channel conversion other than mono to stereo or back, a result too large).
ZORNX_EXPORT bool resampleSound(SoundSample &sample, SampleInfo info);

// One stored sample to -1 .. 1.
ZORNX_EXPORT float decodeSample(const void *from, unsigned short bits);
// One value to storage, cut towards zero and clamped to the width's range (1.0 stores the
// largest value).
ZORNX_EXPORT void encodeSample(float value, void *to, unsigned short bits);
// to = from times factor, cut towards zero and clamped to the width's range; to may be from.
ZORNX_EXPORT void scaleSample(void *to, const void *from, float factor, unsigned short bits);

// Type 5: reads one format into a sample; true on success.
class ZORNX_EXPORT SoundReaderExtension : public Extension
{
public:
    Type type() const override;
    virtual bool readSound(QIODevice *device, SoundSample &sample) = 0;
};

// Type 6: writes a sample in one format; true on success.
class ZORNX_EXPORT SoundWriterExtension : public Extension
{
public:
    Type type() const override;
    virtual bool writeSound(QIODevice *device, const SoundSample &sample) = 0;
};

} // namespace Zorn

#endif
