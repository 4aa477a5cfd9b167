#include "soundtest.h"

#include <zornx/sound/soundsample.h>

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

using namespace Zorn;
using namespace SoundTest;

namespace {

// A RIFF WAVE of our own making: the chunks given, behind "RIFF", a size and "WAVE".
QByteArray riff(const QByteArray &chunks, qint64 size = -1)
{
    QByteArray out("RIFF");
    const quint32 s = quint32(size < 0 ? chunks.size() + 4 : size);
    out.append(reinterpret_cast<const char *>(&s), 4).append("WAVE").append(chunks);
    return out;
}

QByteArray chunk(const char *id, const QByteArray &body, qint64 size = -1)
{
    const quint32 s = quint32(size < 0 ? body.size() : size);
    return QByteArray(id, 4).append(reinterpret_cast<const char *>(&s), 4).append(body);
}

QByteArray fmt(quint16 format, quint16 channels, quint32 rate, quint16 bits, quint32 byteRate)
{
    QByteArray f(16, '\0');
    char *p = f.data();
    qToLittleEndian(format, p);
    qToLittleEndian(channels, p + 2);
    qToLittleEndian(rate, p + 4);
    qToLittleEndian(byteRate, p + 8);
    qToLittleEndian(quint16(channels * ((bits + 7) / 8)), p + 12);
    qToLittleEndian(bits, p + 14);
    return chunk("fmt ", f);
}

// A reader extension of our own format word: the bytes are the sound, 16-bit mono.
class PlainReader : public SoundReaderExtension
{
public:
    const char *format() const override { return "PLNX"; }
    bool readSound(QIODevice *device, SoundSample &sample) override
    {
        sample.channels = 1;
        sample.bits = 16;
        sample.frequency = 8000;
        sample.data = device->readAll();
        sample.samples = quint32(sample.data.size() / 2);
        return !sample.data.isEmpty();
    }
};

class PlainWriter : public SoundWriterExtension
{
public:
    const char *format() const override { return "PLNX"; }
    bool writeSound(QIODevice *device, const SoundSample &sample) override
    {
        return device->write(sample.data) == sample.data.size();
    }
};

} // namespace

class tst_SoundFormats : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;
    QString path(const QString &name) const { return dir.filePath(name); }
    QByteArray sox(const QStringList &arguments) { return run(QStringLiteral("sox"), arguments); }
    // Raw signed 16-bit little-endian as sox decodes a file.
    QByteArray soxRaw16(const QString &file)
    {
        sox({file, "-t", "raw", "-e", "signed", "-b", "16", "-L", path("ref.raw")});
        return readAll(path("ref.raw"));
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(dir.isValid()); }

    // sox writes a plain PCM WAV; we read it and write it back byte for byte.
    void wavGoldenBytes_data()
    {
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("rate");
        QTest::newRow("8-bit mono") << 1 << 8 << 11025;
        QTest::newRow("16-bit stereo") << 2 << 16 << 22050;
        QTest::newRow("24-bit mono") << 1 << 24 << 44100;
        QTest::newRow("32-bit stereo") << 2 << 32 << 8000;
        QTest::newRow("16-bit, 3 channels") << 3 << 16 << 8000;
    }
    void wavGoldenBytes()
    {
        QFETCH(int, channels);
        QFETCH(int, bits);
        QFETCH(int, rate);
        const QString file = path("golden.wav");
        sox({"-r", QString::number(rate), "-n", "-c", QString::number(channels), "-b",
             QString::number(bits), "-t", "wavpcm", file, "synth", "1000s", "sine", "440"});
        const QByteArray made = readAll(file);
        const SoundSample sample = fromBytes(soundFromWAV, made);
        QCOMPARE(int(sample.channels), channels);
        QCOMPARE(int(sample.bits), bits);
        QCOMPARE(int(sample.frequency), rate);
        QCOMPARE(sample.samples, 1000u);
        QCOMPARE(toBytes(soundToWAV, sample), made);
        QBuffer buffer;
        buffer.setData(made);
        const SampleInfo info = soundInfoFromWAV(&buffer);
        QCOMPARE(info.samples, 1000u);
        QCOMPARE(int(info.bits), bits);
    }

    // What must not be read as sound, and what is read in spite of damage.
    void wavDamaged_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("samples"); // -1: refused
        const QByteArray pcm = fmt(1, 1, 8000, 16, 16000);
        const QByteArray body = QByteArray::fromHex("0100020003000400");
        QTest::newRow("plain") << riff(pcm + chunk("data", body)) << 4;
        QTest::newRow("RIFF size below 4") << riff(pcm + chunk("data", body), 2) << -1;
        QTest::newRow("RIFF size 0") << riff(pcm + chunk("data", body), 0) << -1;
        QTest::newRow("no data chunk") << riff(pcm) << -1;
        QTest::newRow("data word in another chunk")
            << riff(pcm + chunk("note", "the data is below")) << -1;
        QTest::newRow("data word in another chunk, then data")
            << riff(pcm + chunk("note", "a data word") + '\0' + chunk("data", body)) << 4;
        QTest::newRow("odd chunk padded") << riff(pcm + chunk("note", "odd") + '\0'
                                                  + chunk("data", body)) << 4;
        QTest::newRow("data before fmt") << riff(chunk("data", body) + pcm) << -1;
        QTest::newRow("float") << riff(fmt(3, 1, 8000, 32, 32000) + chunk("data", body)) << -1;
        QTest::newRow("extensible")
            << riff(fmt(0xFFFE, 1, 8000, 16, 16000) + chunk("data", body)) << -1;
        QTest::newRow("12 bits") << riff(fmt(1, 1, 8000, 12, 16000) + chunk("data", body)) << -1;
        QTest::newRow("no channels") << riff(fmt(1, 0, 8000, 16, 0) + chunk("data", body)) << -1;
        QTest::newRow("short fmt") << riff(chunk("fmt ", "\1\0\1\0")) << -1;
        QTest::newRow("data size beyond the file")
            << riff(pcm + chunk("data", body, 0xFFFFFFF0)) << 4;
        QTest::newRow("half a frame at the end") << riff(pcm + chunk("data", body + '\7')) << 5;
        QTest::newRow("byte rate 0 keeps data")
            << riff(fmt(1, 1, 8000, 16, 0) + chunk("data", body)) << 0;
        QTest::newRow("RIFF size beyond the file") << riff(pcm + chunk("data", body), 1000) << 4;
        QTest::newRow("not WAVE") << QByteArray("RIFF\4\0\0\0AVI ") << -1;
        QTest::newRow("empty") << QByteArray() << -1;
    }
    void wavDamaged()
    {
        QFETCH(QByteArray, file);
        QFETCH(int, samples);
        const SoundSample sample = fromBytes(soundFromWAV, file);
        QCOMPARE(sample.data.isEmpty(), samples < 0);
        if (samples >= 0) {
            QCOMPARE(int(sample.samples), samples);
            QVERIFY(sample.data.size() % 2 == 0);
            QCOMPARE(sample.data.left(8), QByteArray::fromHex("0100020003000400"));
        }
        for (int cut = 0; cut < file.size(); cut += 3) // every truncation fails cleanly
            fromBytes(soundFromWAV, file.left(cut));
    }

    // ffmpeg puts a LIST chunk, here with the word "data" in its text, before the data.
    void wavWithListChunk()
    {
        const QString file = path("list.wav");
        bool ok = false;
        run(QStringLiteral("ffmpeg"), {"-v", "quiet", "-y", "-f", "lavfi", "-i",
                                       "sine=frequency=500:duration=0.2", "-metadata",
                                       "title=the data comes later", "-c:a", "pcm_s16le", file},
            &ok);
        if (!ok)
            QSKIP("ffmpeg is not installed");
        QVERIFY(readAll(file).indexOf("LIST") > 0);
        const SoundSample sample = fromBytes(soundFromWAV, readAll(file));
        QCOMPARE(sample.data, soxRaw16(file));
    }

    // The OGG reader gives what sox gives; our encoding comes back with its length and a
    // signal to noise ratio of at least 20 dB (quality 0.4 on a tone).
    void ogg_data()
    {
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("bits");
        QTest::newRow("mono 16") << 1 << 16;
        QTest::newRow("stereo 24") << 2 << 24;
        QTest::newRow("mono 8") << 1 << 8;
    }
    void ogg()
    {
        QFETCH(int, channels);
        QFETCH(int, bits);
        const QString file = path("sox.ogg");
        sox({"-n", "-r", "22050", "-c", QString::number(channels), file, "synth", "0.5", "sine",
             "300", "sine", "700"});
        const SoundSample read = fromBytes(soundFromOGG, readAll(file));
        QCOMPARE(int(read.channels), channels);
        QCOMPARE(read.frequency, 22050u);
        QCOMPARE(read.data, soxRaw16(file));

        const SoundSample source = tone(quint16(channels), quint16(bits), 22050, 11025);
        bool written = false;
        const QByteArray ogg = toBytes(soundToOGG, source, &written);
        QVERIFY(written);
        const SoundSample back = fromBytes(soundFromOGG, ogg);
        QCOMPARE(back.samples, source.samples);
        SoundSample reference = source;
        QVERIFY(resampleSound(reference, {quint16(channels), 16, 22050, 0}));
        QVERIFY2(snr16(reference.data, back.data) >= 20.0,
                 qPrintable(QString::number(snr16(reference.data, back.data))));
        for (int cut = 0; cut < ogg.size(); cut += ogg.size() / 7 + 1)
            fromBytes(soundFromOGG, ogg.left(cut));
    }

    // Every width goes through FLAC bit for bit, and the flac tool finds the file sound.
    void flacRoundTrip_data()
    {
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("bits");
        for (int bits : {8, 16, 20, 24, 32})
            for (int channels : {1, 2})
                QTest::addRow("%d bits, %d channel(s)", bits, channels) << channels << bits;
    }
    void flacRoundTrip()
    {
        QFETCH(int, channels);
        QFETCH(int, bits);
        const SoundSample source = tone(quint16(channels), quint16(bits), 44100, 30000);
        bool written = false;
        const QByteArray flac = toBytes(soundToFLAC, source, &written);
        QVERIFY(written);
        QFile file(path("ours.flac"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(flac) == flac.size());
        file.close();
        bool sound = false;
        run(QStringLiteral("flac"), {"-t", "-s", file.fileName()}, &sound);
        QVERIFY(sound);
        const SoundSample back = fromBytes(soundFromFLAC, flac);
        QCOMPARE(int(back.bits), bits);
        QCOMPARE(back.samples, source.samples);
        QVERIFY(back.data == source.data);
        if (bits == 16) // and as the outside decoder has it
            QCOMPARE(back.data, soxRaw16(file.fileName()));
        for (int cut = 0; cut < flac.size(); cut += flac.size() / 9 + 1)
            QVERIFY(fromBytes(soundFromFLAC, flac.left(cut)).samples <= source.samples);
    }

    // sox's FLAC files read as sox reads them, 8-bit ones as unsigned bytes.
    void flacFromSox_data()
    {
        QTest::addColumn<int>("bits");
        QTest::newRow("8") << 8;
        QTest::newRow("16") << 16;
        QTest::newRow("24") << 24;
    }
    void flacFromSox()
    {
        QFETCH(int, bits);
        const QString flac = path("sox.flac");
        sox({"-r", "8000", "-n", "-c", "2", "-b", QString::number(bits), flac, "synth", "700s",
             "sine", "300", "vol", "0.9"});
        sox({flac, "-t", "wavpcm", path("sox.wav")});
        const SoundSample sample = fromBytes(soundFromFLAC, readAll(flac));
        QCOMPARE(int(sample.bits), bits);
        QCOMPARE(sample.samples, 700u);
        QCOMPARE(sample.data, fromBytes(soundFromWAV, readAll(path("sox.wav"))).data);
    }

    void mp3()
    {
        const QString file = path("tone.mp3");
        sox({"-n", "-r", "44100", "-c", "2", file, "synth", "0.4", "sine", "440"});
        const SoundSample sample = fromBytes(soundFromMP3, readAll(file));
        const QByteArray reference = run(QStringLiteral("mpg123"), {"-q", "-s", file});
        QCOMPARE(int(sample.channels), 2);
        QCOMPARE(sample.frequency, 44100u);
        QCOMPARE(sample.data.size(), reference.size());
        QVERIFY(snr16(reference, sample.data) > 90);
        const QByteArray bytes = readAll(file);
        for (int cut = 0; cut < bytes.size(); cut += bytes.size() / 7 + 1)
            fromBytes(soundFromMP3, bytes.left(cut));
        QVERIFY(fromBytes(soundFromMP3, QByteArray(3000, '\xff')).data.isEmpty());
    }

    void samples_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<QByteArray>("one");      // encodeSample(1.0): the largest value
        QTest::addColumn<QByteArray>("minusOne"); // encodeSample(-1.0)
        QTest::newRow("8") << 8 << QByteArray("\xff") << QByteArray("\x00", 1);
        QTest::newRow("16") << 16 << QByteArray("\xff\x7f") << QByteArray("\x00\x80", 2);
        QTest::newRow("20") << 20 << QByteArray("\xf0\xff\x7f") << QByteArray("\x00\x00\x80", 3);
        QTest::newRow("24") << 24 << QByteArray("\xff\xff\x7f") << QByteArray("\x00\x00\x80", 3);
        QTest::newRow("32") << 32 << QByteArray("\xff\xff\xff\x7f")
                            << QByteArray("\x00\x00\x00\x80", 4);
    }
    void samples()
    {
        QFETCH(int, bits);
        QFETCH(QByteArray, one);
        QFETCH(QByteArray, minusOne);
        const auto w = quint16(bits);
        QByteArray b(4, '\0');
        encodeSample(1.0f, b.data(), w);
        QCOMPARE(b.left(one.size()), one);
        encodeSample(2.5f, b.data(), w);
        QCOMPARE(b.left(one.size()), one);
        encodeSample(-1.0f, b.data(), w);
        QCOMPARE(b.left(one.size()), minusOne);
        QCOMPARE(decodeSample(b.constData(), w), -1.0f);
        // Scaling the extremes clamps at the ends of the range.
        scaleSample(b.data(), b.constData(), -3.0f, w);
        QCOMPARE(b.left(one.size()), one);
        scaleSample(b.data(), b.constData(), 4.0f, w);
        QCOMPARE(b.left(one.size()), one);
        scaleSample(b.data(), b.constData(), 0.0f, w);
        QCOMPARE(decodeSample(b.constData(), w), 0.0f);
        for (float v : {-0.75f, -0.1f, 0.0f, 0.3f, 0.999f}) {
            encodeSample(v, b.data(), w);
            QVERIFY(qAbs(decodeSample(b.constData(), w) - v) <= 1.0f / 128);
            scaleSample(b.data(), b.constData(), 0.5f, w);
            QVERIFY(qAbs(decodeSample(b.constData(), w) - v / 2) <= 1.0f / 64);
        }
        if (bits == 20) // the lowest nibble of a 20-bit sample stays zero
            QCOMPARE(b.at(0) & 0x0F, 0);
    }

    // sox's high quality rate against ours, by signal to noise.
    void resampleAgainstSox()
    {
        const QString in = path("r.wav");
        sox({"-n", "-r", "44100", "-c", "2", "-b", "16", "-t", "wavpcm", in, "synth", "0.5",
             "sine", "1000", "sine", "3000"});
        SoundSample sample = fromBytes(soundFromWAV, readAll(in));
        QVERIFY(resampleSound(sample, {2, 16, 48000, 0}));
        QCOMPARE(sample.samples, 24000u);
        sox({in, "-t", "raw", "-e", "signed", "-b", "16", "-L", path("r.raw"), "rate", "-v",
             "48000"});
        const QByteArray reference = readAll(path("r.raw"));
        // Both filters start up differently: compare the middle.
        const int skip = 4 * 2000;
        QVERIFY(snr16(reference.mid(skip, reference.size() - 2 * skip),
                      sample.data.mid(skip, reference.size() - 2 * skip))
                > 50);
    }

    void resample_data()
    {
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("toChannels");
        QTest::addColumn<int>("toBits");
        QTest::addColumn<int>("toRate");
        QTest::addColumn<int>("frames"); // -1: refused
        QTest::newRow("same, 8-bit") << 1 << 8 << 8000 << 1 << 8 << 8000 << 1000;
        QTest::newRow("same, 24-bit") << 1 << 24 << 8000 << 1 << 24 << 8000 << 1000;
        QTest::newRow("stereo to mono") << 2 << 16 << 8000 << 1 << 16 << 8000 << 1000;
        QTest::newRow("mono to stereo") << 1 << 16 << 8000 << 2 << 16 << 8000 << 1000;
        QTest::newRow("half, 32 to 20 bits") << 1 << 32 << 8000 << 1 << 20 << 4000 << 500;
        QTest::newRow("ratio 256") << 1 << 16 << 100 << 1 << 16 << 25600 << 256000;
        QTest::newRow("ratio beyond 256") << 1 << 16 << 100 << 1 << 16 << 25700 << -1;
        QTest::newRow("ratio below 1/256") << 1 << 16 << 25700 << 1 << 16 << 100 << -1;
        QTest::newRow("three channels to two") << 3 << 16 << 8000 << 2 << 16 << 8000 << -1;
        QTest::newRow("unknown width") << 1 << 16 << 8000 << 1 << 12 << 8000 << -1;
    }
    void resample()
    {
        QFETCH(int, channels);
        QFETCH(int, bits);
        QFETCH(int, rate);
        QFETCH(int, toChannels);
        QFETCH(int, toBits);
        QFETCH(int, toRate);
        QFETCH(int, frames);
        const SoundSample source = tone(quint16(channels), quint16(bits), quint32(rate), 1000);
        SoundSample sample = source;
        const bool ok = resampleSound(sample, {quint16(toChannels), quint16(toBits),
                                               quint32(toRate), 12345});
        QCOMPARE(ok, frames >= 0);
        if (!ok) {
            QCOMPARE(sample.data, source.data); // unchanged
            QCOMPARE(sample.frequency, source.frequency);
            return;
        }
        QCOMPARE(int(sample.samples), frames);
        QCOMPARE(int(sample.channels), toChannels);
        QCOMPARE(sample.data.size(), frames * toChannels * int(bytesPerSample(quint16(toBits))));
        if (rate == toRate && bits == toBits && channels == toChannels) {
            for (int i = 0; i < source.data.size(); ++i) // within one step of each byte
                QVERIFY(qAbs(uchar(sample.data[i]) - uchar(source.data[i])) <= 1
                        || (i % 3 != 2 && bits == 24));
        }
        if (toChannels == 2 && channels == 1)
            QCOMPARE(sample.data.mid(0, 2), sample.data.mid(2, 2));
    }

    // Speech-like signal from espeak-ng: read as sox reads it, through FLAC bit for bit, and
    // resampled close to sox's high quality rate.
    void speech()
    {
        const QString file = path("speech.wav");
        bool ok = false;
        run(QStringLiteral("espeak-ng"),
            {"-w", file, "Seven quiet lanterns drift over the harbour."}, &ok);
        if (!ok)
            QSKIP("espeak-ng is not installed");
        SoundSample sample = fromBytes(soundFromWAV, readAll(file));
        QCOMPARE(sample.data, soxRaw16(file));
        bool written = false;
        const QByteArray flac = toBytes(soundToFLAC, sample, &written);
        QVERIFY(written);
        QCOMPARE(fromBytes(soundFromFLAC, flac).data, sample.data);
        QVERIFY(resampleSound(sample, {1, 16, 48000, 0}));
        sox({file, "-t", "raw", "-e", "signed", "-b", "16", "-L", path("s.raw"), "rate", "-v",
             "48000"});
        const double snr = snr16(readAll(path("s.raw")), sample.data);
        QVERIFY2(snr > 40, qPrintable(QString::number(snr)));
    }

    void loadAndSave()
    {
        ExtensionManager manager(dir.path()); // no plug-ins there; releases ours at the end
        ExtensionManager::add(new PlainReader);
        ExtensionManager::add(new PlainWriter);
        const SoundSample source = tone(1, 16, 8000, 100);
        for (const char *format : {"WAV", "OGG", "FLAC", "PLNX"}) {
            QBuffer buffer;
            QVERIFY2(saveSound(&buffer, format, source), format);
            buffer.close();
            SoundSample back;
            QVERIFY2(loadSound(&buffer, format, back), format);
            QCOMPARE(back.samples, source.samples);
        }
        QBuffer buffer;
        QVERIFY(!saveSound(&buffer, "MP3", source));
        QVERIFY(!saveSound(&buffer, "NONE", source));
        SoundSample none;
        QVERIFY(!loadSound(&buffer, "NONE", none));
        QBuffer readOnly;
        readOnly.open(QIODevice::ReadOnly);
        QVERIFY(!saveSound(&readOnly, "WAV", source));
        QVERIFY(!saveSound(&readOnly, "FLAC", source));
        QCOMPARE(soundFileExtension(SoundExtensionType(3)), nullptr);
        QCOMPARE(soundFileExtension(SoundFilterTail), " (*.wav *.ogg *.flac *.mp3);;");
    }
};

QTEST_GUILESS_MAIN(tst_SoundFormats)
#include "tst_soundformats.moc"
