// Writes seeds for the sound fuzz targets with the library's own writers (and, for MP3, a few
// frame headers, since there is no writer):   fuzz_sound_seeds <corpus directory>
#include <zornx/sound/soundsample.h>

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtCore/QFile>

#include <cmath>

using namespace Zorn;

static void seed(const QString &root, const char *target, const QString &name,
                 const QByteArray &bytes)
{
    const QString dir = root + QLatin1Char('/') + QLatin1String(target);
    QDir().mkpath(dir);
    QFile file(dir + QLatin1Char('/') + name);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

int main(int argc, char **argv)
{
    if (argc < 2)
        return 1;
    const QString root = QString::fromLocal8Bit(argv[1]);
    int n = 0;
    for (quint16 bits : {8, 16, 20, 24, 32}) {
        for (quint16 channels : {1, 2}) {
            SoundSample sample;
            sample.channels = channels;
            sample.bits = bits;
            sample.frequency = 8000;
            sample.samples = 300;
            sample.data.resize(int(300 * channels * bytesPerSample(bits)));
            for (int i = 0; i < int(300 * channels); ++i)
                encodeSample(float(0.6 * std::sin(i * 0.07)),
                             sample.data.data() + i * int(bytesPerSample(bits)), bits);
            const QString name = QString::number(++n);
            QBuffer wav, ogg, flac;
            soundToWAV(sample, &wav);
            seed(root, "sound_wav", name, wav.data());
            soundToFLAC(sample, &flac);
            seed(root, "sound_flac", name, flac.data());
            if (bits == 16) {
                soundToOGG(sample, &ogg);
                seed(root, "sound_ogg", name, ogg.data());
            }
        }
    }
    // MPEG-1 layer III frame headers at 128 kbit/s, 44.1 kHz, with empty frames behind.
    QByteArray mp3;
    for (int i = 0; i < 8; ++i)
        mp3.append(QByteArray::fromHex("fffb9064")).append(QByteArray(413, '\0'));
    seed(root, "sound_mp3", QStringLiteral("frames"), mp3);
    return 0;
}
