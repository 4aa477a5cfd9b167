// RIFF WAVE files of integer PCM.

#include "soundsample.h"
#include "soundsample_p.h"

#include <QtCore/QDataStream>
#include <QtCore/QtEndian>

#include <cstring>

namespace Zorn {

namespace {

struct WavHeaders
{
    SampleInfo info;
    quint32 byteRate = 0;
    int dataOffset = -1; // into the RIFF body
    quint32 dataSize = 0;
};

quint32 le32(const char *p)
{
    return qFromLittleEndian<quint32>(p);
}

// Walks the chunks of a RIFF body (what follows "WAVE") by their sizes, so that a "data" in
// another chunk's text is never taken for the sound. The "fmt " chunk must come first of the
// two and describe integer PCM of a known width; WAVE_FORMAT_EXTENSIBLE and float are refused.
bool parseBody(const QByteArray &body, WavHeaders &headers)
{
    const char *p = body.constData();
    const qint64 end = body.size();
    bool haveFormat = false;
    for (qint64 at = 0; at + 8 <= end;) {
        const quint32 size = le32(p + at + 4);
        const qint64 content = at + 8;
        if (std::memcmp(p + at, "fmt ", 4) == 0 && !haveFormat) {
            if (size < 16 || content + 16 > end)
                return false;
            const char *f = p + content;
            if (qFromLittleEndian<quint16>(f) != 1)
                return false;
            headers.info.channels = qFromLittleEndian<quint16>(f + 2);
            headers.info.frequency = le32(f + 4);
            headers.byteRate = le32(f + 8);
            headers.info.bits = qFromLittleEndian<quint16>(f + 14);
            if (headers.info.channels == 0 || !SoundPrivate::isKnownWidth(headers.info.bits))
                return false;
            haveFormat = true;
        } else if (std::memcmp(p + at, "data", 4) == 0) {
            if (!haveFormat)
                return false;
            headers.dataOffset = int(content);
            headers.dataSize = size;
            const quint64 block =
                quint64(headers.info.channels) * bytesPerSample(headers.info.bits);
            headers.info.samples = headers.byteRate ? quint32(size / block) : 0;
            return true;
        }
        at = content + qint64(size) + (size & 1); // chunks are padded to even sizes
    }
    return false;
}

// "RIFF", its size and "WAVE"; then the body as far as the size says and the device holds.
bool readRiff(QIODevice *device, QByteArray &body)
{
    if (!SoundPrivate::openFor(device, QIODevice::ReadOnly))
        return false;
    QDataStream in(device);
    in.setByteOrder(QDataStream::LittleEndian);
    char riff[4], wave[4];
    quint32 size = 0;
    if (in.readRawData(riff, 4) != 4)
        return false;
    in >> size;
    if (in.readRawData(wave, 4) != 4 || std::memcmp(wave, "WAVE", 4) != 0 || size < 4)
        return false;
    // Never more than the device holds: read() allocates what it is asked for.
    qint64 want = qMin<qint64>(size - 4, SoundPrivate::MaxBytes);
    if (!device->isSequential())
        want = qMin(want, device->size() - device->pos());
    body = device->read(qMax<qint64>(want, 0));
    return true;
}

} // namespace

SoundSample soundFromWAV(QIODevice *device)
{
    SoundSample sample;
    QByteArray body;
    WavHeaders headers;
    if (!readRiff(device, body) || !parseBody(body, headers))
        return sample;
    // A data chunk that claims more than the file holds is cut to whole frames present, the
    // last one completed with silence: a truncated file keeps what it has.
    const int block = int(headers.info.channels * bytesPerSample(headers.info.bits));
    const qint64 present = qMin<qint64>(headers.dataSize, body.size() - headers.dataOffset);
    QByteArray data = body.mid(headers.dataOffset, int(present));
    const int partial = data.size() % block;
    if (partial)
        data.append(QByteArray(block - partial, headers.info.bits == 8 ? char(0x80) : '\0'));
    if (headers.byteRate)
        headers.info.samples = quint32(data.size() / block);
    sample.channels = headers.info.channels;
    sample.bits = headers.info.bits;
    sample.frequency = headers.info.frequency;
    sample.samples = headers.info.samples;
    sample.data = data;
    return sample;
}

SampleInfo soundInfoFromWAV(QIODevice *device)
{
    QByteArray body;
    WavHeaders headers;
    if (!readRiff(device, body) || !parseBody(body, headers)) {
        SampleInfo none;
        none.bits = 0;
        return none;
    }
    return headers.info;
}

bool soundToWAV(const SoundSample &sample, QIODevice *device)
{
    if (!device || (!device->isWritable() && !device->open(QIODevice::WriteOnly)))
        return false;
    QDataStream out(device);
    out.setByteOrder(QDataStream::LittleEndian);
    const quint32 size = quint32(sample.data.size());
    const quint16 block = quint16(sample.channels * bytesPerSample(sample.bits));
    out.writeRawData("RIFF", 4);
    out << quint32(size + 36);
    out.writeRawData("WAVEfmt ", 8);
    out << quint32(16) << quint16(1) << quint16(sample.channels) << quint32(sample.frequency)
        << quint32(block * sample.frequency) << block << quint16(sample.bits);
    out.writeRawData("data", 4);
    out << size;
    out.writeRawData(sample.data.constData(), sample.data.size());
    return out.status() == QDataStream::Ok;
}

} // namespace Zorn
