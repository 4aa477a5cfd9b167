#ifndef ZORNX_TESTS_SOUNDTEST_H
#define ZORNX_TESTS_SOUNDTEST_H

// Helpers of the sound tests: outside tools (sox, flac, mpg123, ffmpeg) make the fixtures and
// serve as references.

#include <zornx/sound/soundsample.h>

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QtEndian>
#include <QtTest/QtTest>

#include <cmath>

namespace SoundTest {

// Runs a tool; its standard output, or a failed test when it does not end with 0.
inline QByteArray run(const QString &program, const QStringList &arguments, bool *ok = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    const bool done = process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit
        && process.exitCode() == 0;
    if (ok)
        *ok = done;
    else if (!done)
        qWarning().noquote() << program << arguments.join(' ') << "failed:"
                             << process.readAllStandardError();
    return process.readAllStandardOutput();
}

inline QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline Zorn::SoundSample fromBytes(Zorn::SoundSample (*reader)(QIODevice *),
                                   const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    return reader(&buffer);
}

inline QByteArray toBytes(bool (*writer)(const Zorn::SoundSample &, QIODevice *),
                          const Zorn::SoundSample &sample, bool *ok = nullptr)
{
    QBuffer buffer;
    const bool written = writer(sample, &buffer);
    if (ok)
        *ok = written;
    return buffer.data();
}

// Signal to noise of test against reference, in dB, over 16-bit samples.
inline double snr16(const QByteArray &reference, const QByteArray &test)
{
    double signal = 0, noise = 0;
    const int n = qMin(reference.size(), test.size()) / 2;
    for (int i = 0; i < n; ++i) {
        const double r = qFromLittleEndian<qint16>(reference.constData() + 2 * i);
        const double t = qFromLittleEndian<qint16>(test.constData() + 2 * i);
        signal += r * r;
        noise += (r - t) * (r - t);
    }
    return noise == 0 ? 200.0 : 10.0 * std::log10(signal / noise);
}

// A sound of our own: two sines per channel, in the given width.
inline Zorn::SoundSample tone(quint16 channels, quint16 bits, quint32 frequency, quint32 frames)
{
    Zorn::SoundSample sample;
    sample.channels = channels;
    sample.bits = bits;
    sample.frequency = frequency;
    sample.samples = frames;
    const int width = int(Zorn::bytesPerSample(bits));
    sample.data.resize(int(frames * channels) * width);
    char *p = sample.data.data();
    for (quint32 i = 0; i < frames; ++i)
        for (int c = 0; c < channels; ++c, p += width)
            Zorn::encodeSample(float(0.5 * std::sin(i * (0.05 + 0.02 * c))
                                     + 0.3 * std::sin(i * 0.31)),
                               p, bits);
    return sample;
}

} // namespace SoundTest

#endif
