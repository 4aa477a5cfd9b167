#include "audiowaveform.h"

#include "audiodata.h"

#include <QtGui/QPaintEngine>
#include <QtGui/QPainter>
#include <QtGui/QPalette>

#include <cmath>
#include <cstring>
#include <limits>

namespace Zorn {

namespace {

constexpr int Ruler = 30;   // height of the ruler above the channel boxes
constexpr int Gap = 5;      // between two channel boxes
constexpr unsigned int PackedChannels = 8;

float pack(float minimum, float maximum)
{
    auto half = [](float v) {
        return quint32(quint16(qint16(qBound(-32768.0, std::trunc(v * 32768.0), 32767.0))));
    };
    const quint32 word = half(minimum) | half(maximum) << 16;
    float slot;
    std::memcpy(&slot, &word, sizeof slot);
    return slot;
}

bool hasRasterOps(const QPainter *painter)
{
    return painter->paintEngine()
        && painter->paintEngine()->hasFeature(QPaintEngine::RasterOpModes);
}

} // namespace

AudioWaveform::AudioWaveform(AudioData *data, QObject *parent) : QObject(parent), m_data(data)
{
    connect(data, &AudioData::sampleChanged, this, &AudioWaveform::update);
}

void AudioWaveform::unpack(float slot, float *minimum, float *maximum)
{
    quint32 word;
    std::memcpy(&word, &slot, sizeof word);
    *minimum = qint16(quint16(word)) / 32768.0f;
    *maximum = qint16(quint16(word >> 16)) / 32768.0f;
}

void AudioWaveform::setZoom(double pixelsPerFrame)
{
    zoom = pixelsPerFrame;
    samplesPerPixel = 1.0 / pixelsPerFrame;
}

void AudioWaveform::update()
{
    const SoundSample &sample = m_data->sample();
    if (sample.data.isEmpty() || sample.channels == 0) {
        m_values.clear();
        m_packed.clear();
        m_columns = 0;
        emit changed();
        return;
    }
    const double visible = (double(sample.samples) - startSample) * zoom;
    m_columns = int(qBound(0.0, visible, double(qMax(width, 0))));
    m_values.fill(0.0f, sample.channels * m_columns);
    m_packed.fill(0, m_columns / 32 + 1);

    const quint32 last = quint32(qBound(0.0, width * samplesPerPixel + startSample,
                                        double(std::numeric_limits<quint32>::max())));
    const quint32 a = qMax(qMin(m_data->selectionStart(), m_data->selectionEnd()), startSample);
    const quint32 b = qMin(qMax(m_data->selectionStart(), m_data->selectionEnd()), last);
    if (b > a && (hScale != 1.0 || vScale != 1.0)) {
        int col = 0;
        if (a > startSample)
            col = render(startSample, a, col, 1.0, 1.0);
        col = render(a, b, col, hScale, vScale);
        if (last > b)
            col = render(b, last, col, 1.0, 1.0);
        if (col < m_columns) {
            // The selection was shrunk: drop the unused columns of each channel.
            for (int c = sample.channels - 1; c >= 0; --c)
                m_values.remove(c * m_columns + col, m_columns - col);
            m_columns = col;
        }
    } else if (last > startSample) {
        render(startSample, last, 0, 1.0, 1.0);
    }
    emit changed();
}

int AudioWaveform::render(quint32 from, quint32 to, int col, double sx, double sy)
{
    if (sx == 0.0)
        return col;
    const SoundSample &sample = m_data->sample();
    const unsigned int channels = sample.channels;
    const unsigned int width = bytesPerSample(sample.bits);
    const quint64 frames = sample.samples;
    const char *bytes = sample.data.constData();
    auto value = [&](quint64 frame, unsigned int channel) {
        const float v = decodeSample(bytes + (frame * channels + channel) * width, sample.bits);
        return qBound(-1.0f, float(v * sy), 1.0f);
    };

    const double step = samplesPerPixel / sx;
    const double n = std::round((double(to) - from) * sx * zoom);
    const int end = int(qMin<double>(col + n, std::numeric_limits<int>::max()));
    const int stop = qMin(end, m_columns);
    float *out = m_values.data();
    for (int c = col; c < stop; ++c) {
        const double pos = (c - col) * step + from;
        if (step <= 1.0) {
            const double whole = std::floor(pos);
            const quint64 p = quint64(whole);
            const float t = float(pos - whole);
            if (p >= frames)
                continue; // silence past the end
            for (unsigned int ch = 0; ch < channels; ++ch) {
                const float v0 = value(p, ch);
                float v = v0;
                if (t != 0.0f) {
                    // A quadratic Bézier through the two frames around pos.
                    const float v1 = p + 1 < frames ? value(p + 1, ch) : 0.0f;
                    const float m = (v1 - v0) * t + v0;
                    const float q = (m - v0) * t + v0;
                    v = t * ((v1 - m) * t + m - q) + q;
                }
                out[ch * m_columns + c] = v;
            }
        } else {
            const quint64 i0 = quint64(pos);
            const quint64 i1 = quint64(std::ceil(pos + step));
            if (i0 >= frames)
                continue;
            if (i1 - i0 > 1) {
                const quint64 e = qMin(i1, frames);
                for (unsigned int ch = 0; ch < qMin(channels, PackedChannels); ++ch) {
                    float lo = 1.0f, hi = -1.0f;
                    for (quint64 f = i0; f < e; ++f) {
                        const float v = value(f, ch);
                        lo = qMin(lo, v);
                        hi = qMax(hi, v);
                    }
                    out[ch * m_columns + c] = pack(lo, hi);
                }
                m_packed[c / 32] |= 1u << (c % 32);
            } else {
                for (unsigned int ch = 0; ch < channels; ++ch)
                    out[ch * m_columns + c] = value(i0, ch);
            }
        }
    }
    return end;
}

void AudioWaveform::paint(QPainter *painter, const QPalette &palette, const QColor &color,
                          int h) const
{
    const SoundSample &sample = m_data->sample();
    const bool rasterOps = hasRasterOps(painter);
    const QColor window = palette.color(QPalette::Window);
    const QPen framePen(window.lighter(140), 1);
    const QPen wavePen(color, 1);
    const QPen centrePen(QColor(Qt::cyan).lighter(70), 1);
    const int shown = qMin(width, m_columns);
    const double half = h / 2.0;
    int top = Ruler;
    QVector<QPoint> points;
    for (int ch = 0; ch < sample.channels; ++ch, top += h + Gap) {
        const int baseline = top + h / 2;
        painter->setPen(framePen);
        painter->setBrush(window.lighter(70));
        painter->drawRect(QRect(QPoint(0, top), QPoint(width - 1, top + h - 1)));
        if (!sample.data.isEmpty() && shown > 0) {
            points.clear();
            const float *column = m_values.constData() + ch * m_columns;
            for (int x = 0; x < shown; ++x) {
                if (isPacked(x)) {
                    float lo, hi;
                    unpack(column[x], &lo, &hi);
                    points << QPoint(x, baseline + int(std::round(half * lo)))
                           << QPoint(x, baseline + int(std::round(half * hi)));
                } else {
                    points << QPoint(x, baseline + int(std::round(half * column[x])));
                }
            }
            points << QPoint(shown, baseline);
            painter->setPen(wavePen);
            painter->drawPolyline(points.constData(), points.size());
        }
        if (rasterOps)
            painter->setCompositionMode(QPainter::RasterOp_NotSourceXorDestination);
        painter->setPen(centrePen);
        painter->drawLine(0, baseline, width, baseline);
        painter->setCompositionMode(QPainter::CompositionMode_SourceOver);
    }

    const quint32 a = qMin(m_data->selectionStart(), m_data->selectionEnd());
    const quint32 b = qMax(m_data->selectionStart(), m_data->selectionEnd());
    if (rasterOps)
        painter->setCompositionMode(QPainter::RasterOp_NotSourceXorDestination);
    if (a == b)
        return;
    auto toX = [this](quint32 frame) {
        return int(qBound<double>(std::numeric_limits<int>::min() / 2,
                                  (double(frame) - startSample) * zoom,
                                  std::numeric_limits<int>::max() / 2));
    };
    const int x1 = toX(a);
    const int x2 = toX(b);
    const int right = int(qMin<double>(x1 + std::trunc((x2 - x1) * hScale), width));
    painter->setPen(Qt::NoPen);
    painter->setBrush(palette.brush(QPalette::Highlight));
    top = Ruler;
    for (int ch = 0; ch < sample.channels; ++ch, top += h + Gap)
        painter->drawRect(QRect(QPoint(qMax(x1, 0), top), QPoint(right, top + h)));
}

} // namespace Zorn
