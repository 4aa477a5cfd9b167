#ifndef ZORNX_SOUND_AUDIOWAVEFORM_H
#define ZORNX_SOUND_AUDIOWAVEFORM_H

#include <zornx/global.h>

#include <QtCore/QObject>
#include <QtCore/QVector>

class QColor;
class QPainter;
class QPalette;

namespace Zorn {

class AudioData;

// The visible stretch of a sound as columns of values, and their painting. Only the visible
// columns are computed, so the cost does not grow with the sound's length at a given zoom.
//
// values holds channel c, column i at c * columns + i: a float in -1 .. 1, or, where the
// column's bit in packed is set, a min/max pair packed into the slot's four bytes (two signed
// 16-bit numbers, the minimum in the low half, each the value times 32768).
//
// The view fields below are changed directly by the tools and the widget; whoever changes one
// calls update().
class ZORNX_EXPORT AudioWaveform : public QObject
{
    Q_OBJECT
public:
    explicit AudioWaveform(AudioData *data, QObject *parent = nullptr);

    AudioData *data() const { return m_data; }
    const QVector<float> &values() const { return m_values; }
    const QVector<quint32> &packed() const { return m_packed; }
    int columns() const { return m_columns; }
    bool isPacked(int column) const { return m_packed.value(column / 32) >> (column % 32) & 1; }
    // The minimum and maximum of a packed column, in -1 .. 1.
    static void unpack(float slot, float *minimum, float *maximum);

    // Sets zoom and samplesPerPixel together.
    void setZoom(double pixelsPerFrame);

    // Paints the channel boxes from y 30 down, each h high with 5 pixels between, the wave in
    // color and the selection. Leaves the painter in RasterOp_NotSourceXorDestination where the
    // device supports it, for the play cursor.
    void paint(QPainter *painter, const QPalette &palette, const QColor &color, int h) const;

    int width = 0;              // of the view, in pixels
    quint32 startSample = 0;    // first frame in view
    double zoom = 1.0;          // pixels per frame
    double samplesPerPixel = 1.0;
    double hScale = 1.0;        // preview scales of the selection, set by the resize tools
    double vScale = 1.0;

public Q_SLOTS:
    void update();

Q_SIGNALS:
    void changed();

private:
    int render(quint32 from, quint32 to, int col, double sx, double sy);

    AudioData *m_data;
    QVector<float> m_values;
    QVector<quint32> m_packed;
    int m_columns = 0;
};

} // namespace Zorn

#endif
