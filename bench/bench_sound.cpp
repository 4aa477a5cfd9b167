// Sound figures, each against a baseline measured in the same run:
// - decoding and encoding 60 s of stereo 44.1 kHz per format, as a multiple of real time,
//   beside sox doing the same conversion (process start included, a few milliseconds);
// - resampleSound 44.1 -> 48 kHz on 10 s of stereo, as a multiple of real time, and its peak
//   memory per sample, beside libsamplerate's src_simple alone on floats already converted;
// - AudioWaveform::update() at 1920 columns on 10 minutes of stereo, zoom 1 against fit, and
//   zoom 1 on 1 minute against 10 (which must not grow with the length).

#include "benchtiming.h"

#include <zornx/sound/audiodata.h>
#include <zornx/sound/audiowaveform.h>
#include <zornx/sound/soundsample.h>

#include <QtCore/QBuffer>
#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <samplerate.h>
#include <sys/resource.h>

#include <cmath>
#include <cstdio>
#include <vector>

using namespace Zorn;

namespace {

SoundSample tone(quint32 seconds)
{
    SoundSample sample;
    sample.channels = 2;
    sample.bits = 16;
    sample.frequency = 44100;
    sample.samples = seconds * 44100;
    sample.data.resize(int(sample.samples * 4));
    auto *p = reinterpret_cast<qint16 *>(sample.data.data());
    for (quint32 i = 0; i < sample.samples; ++i) {
        p[2 * i] = qint16(12000 * std::sin(i * 0.0627) + 3000 * std::sin(i * 0.31));
        p[2 * i + 1] = qint16(11000 * std::sin(i * 0.0411 + 1));
    }
    return sample;
}

double sox(const QStringList &arguments)
{
    return bestSeconds(3, [&] {
        QProcess process;
        process.start(QStringLiteral("sox"), arguments);
        process.waitForFinished(-1);
    });
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

long peakKilobytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;

    // Resampling first, while the peak of the process is still low.
    {
        SoundSample sample = tone(10);
        const double values = sample.samples * 2.0;
        const long before = peakKilobytes();
        SoundSample copy = sample;
        const double seconds = bestSeconds(1, [&] {
            copy = sample;
            resampleSound(copy, {2, 16, 48000, 0});
        });
        const long after = peakKilobytes();
        std::vector<float> in(static_cast<size_t>(values));
        std::vector<float> out(static_cast<size_t>(values * 48000 / 44100));
        src_short_to_float_array(reinterpret_cast<const short *>(sample.data.constData()),
                                 in.data(), int(values));
        const double bare = bestSeconds(1, [&] {
            SRC_DATA job = {};
            job.data_in = in.data();
            job.data_out = out.data();
            job.input_frames = long(sample.samples);
            job.output_frames = long(out.size() / 2);
            job.src_ratio = 48000.0 / 44100.0;
            src_simple(&job, SRC_SINC_BEST_QUALITY, 2);
        });
        std::printf("resampleSound 44.1 -> 48 kHz, 10 s stereo: %.1fx real time (goal 20x), "
                    "src_simple alone %.1fx (ours / alone = %.2f); peak memory %.1f bytes per "
                    "sample\n",
                    10.0 / seconds, 10.0 / bare, bare / seconds,
                    (after - before) * 1024.0 / values);
    }

    const SoundSample sound = tone(60);
    const QString wav = dir.filePath(QStringLiteral("in.wav"));
    QBuffer buffer;
    soundToWAV(sound, &buffer);
    writeFile(wav, buffer.data());
    std::printf("\n60 s stereo 44.1 kHz, multiples of real time (ours / sox, ratio):\n");

    struct Format
    {
        const char *name;
        SoundSample (*read)(QIODevice *);
        bool (*write)(const SoundSample &, QIODevice *);
        QStringList soxEncode; // options for sox writing this format
    };
    const Format formats[] = {
        {"wav", soundFromWAV, soundToWAV, {}},
        {"ogg", soundFromOGG, soundToOGG, {"-C", "4"}},
        {"flac", soundFromFLAC, soundToFLAC, {"-C", "8"}},
        {"mp3", soundFromMP3, nullptr, {}},
    };
    for (const Format &format : formats) {
        const QString file = dir.filePath(QStringLiteral("in.") + QLatin1String(format.name));
        if (format.write) {
            QBuffer out;
            format.write(sound, &out);
            writeFile(file, out.data());
        } else {
            sox({wav, file});
        }
        QFile in(file);
        in.open(QIODevice::ReadOnly);
        const double decode = bestSeconds(3, [&] {
            in.seek(0);
            format.read(&in);
        });
        const double soxDecode = sox({file, "-t", "wav", dir.filePath(QStringLiteral("d.wav"))});
        std::printf("  %-4s decode: %7.1fx / %7.1fx sox = %.2f\n", format.name, 60 / decode,
                    60 / soxDecode, soxDecode / decode);
        if (!format.write)
            continue;
        const double encode = bestSeconds(format.name == QByteArray("wav") ? 3 : 1, [&] {
            QBuffer out;
            format.write(sound, &out);
        });
        QStringList arguments{wav};
        arguments << format.soxEncode
                  << dir.filePath(QStringLiteral("e.") + QLatin1String(format.name));
        const double soxEncode = sox(arguments);
        std::printf("  %-4s encode: %7.1fx / %7.1fx sox = %.2f\n", format.name, 60 / encode,
                    60 / soxEncode, soxEncode / encode);
    }

    // The waveform at 1920 columns.
    AudioData data;
    AudioWaveform wave(&data);
    wave.width = 1920;
    auto update = [&](double zoom) {
        wave.setZoom(zoom);
        return bestSeconds(5, [&] { wave.update(); });
    };
    data.setSample(tone(60));
    const double zoomOneShort = update(1.0);
    data.setSample(tone(600));
    const double zoomOne = update(1.0);
    const double fit = update(1920.0 / data.sample().samples);
    std::printf("\nAudioWaveform::update(), 1920 columns, 10 min stereo: zoom 1 %.3f ms, fit "
                "%.1f ms (fit / zoom 1 = %.0f); zoom 1 on 10 min / on 1 min = %.2f\n",
                zoomOne * 1e3, fit * 1e3, fit / zoomOne, zoomOne / zoomOneShort);
    return 0;
}
