#include "audiotool.h"

#include "audiodata.h"
#include "audiowaveform.h"

#include <QtGui/QCursor>
#include <QtWidgets/QUndoStack>

#include <cmath>
#include <cstring>
#include <limits>

namespace Zorn {

namespace {

constexpr double Epsilon = 1e-12;

quint32 lastFrame(const AudioData *data)
{
    return data->sample().samples ? data->sample().samples - 1 : 0;
}

} // namespace

AudioTool::AudioTool(AudioData *data, AudioWaveform *waveform, QObject *parent)
    : QObject(parent), data(data), waveform(waveform)
{
}

bool AudioTool::keyPress(Qt::KeyboardModifiers, int)
{
    return false;
}

void AudioTool::mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &, quint32,
                           float, QCursor &)
{
}

void AudioTool::mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &, quint32,
                             float, QCursor &)
{
}

void AudioTool::mouseMove(Qt::KeyboardModifiers, const QPoint &, quint32, float, QCursor &)
{
}

void AudioTool::press(const QPoint &pos, quint32 sample)
{
    pressed = true;
    pressX = pos.x();
    pressSample = sample;
}

quint32 AudioTool::selectionLow() const
{
    return qMin(data->selectionStart(), data->selectionEnd());
}

quint32 AudioTool::selectionHigh() const
{
    return qMax(data->selectionStart(), data->selectionEnd());
}

bool AudioTool::insideSelection(quint32 sample) const
{
    return sample >= selectionLow() && sample < selectionHigh();
}

void AudioTool::resetScales()
{
    if (waveform->hScale == 1.0 && waveform->vScale == 1.0)
        return;
    waveform->hScale = waveform->vScale = 1.0;
    waveform->update();
}

// Panning.

void MoveTool::mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &pos,
                          quint32 sample, float, QCursor &cursor)
{
    press(pos, sample);
    startAtPress = waveform->startSample;
    cursor.setShape(Qt::ClosedHandCursor);
}

void MoveTool::mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &, quint32,
                            float, QCursor &cursor)
{
    pressed = false;
    cursor.setShape(Qt::OpenHandCursor);
}

void MoveTool::mouseMove(Qt::KeyboardModifiers, const QPoint &pos, quint32, float,
                         QCursor &cursor)
{
    if (!pressed) {
        cursor.setShape(Qt::OpenHandCursor);
        return;
    }
    const double start = std::round(startAtPress - (pos.x() - pressX) * waveform->samplesPerPixel);
    const quint32 clamped = quint32(qBound(0.0, start, double(lastFrame(data))));
    if (clamped != waveform->startSample) {
        waveform->startSample = clamped;
        waveform->update();
    }
    cursor.setShape(Qt::ClosedHandCursor);
}

// Selecting.

bool SelectionTool::keyPress(Qt::KeyboardModifiers modifiers, int key)
{
    if (!(modifiers & Qt::ShiftModifier) || (key != Qt::Key_Left && key != Qt::Key_Right))
        return false;
    const quint32 end = data->selectionEnd();
    if (key == Qt::Key_Left)
        data->setSelection(data->selectionStart(), end ? end - 1 : 0);
    else
        data->setSelection(data->selectionStart(), end + 1);
    return true;
}

void SelectionTool::mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &pos,
                               quint32 sample, float, QCursor &)
{
    press(pos, sample);
    data->setSelection(sample, sample);
}

void SelectionTool::mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &,
                                 quint32, float, QCursor &)
{
    pressed = false;
}

void SelectionTool::mouseMove(Qt::KeyboardModifiers, const QPoint &, quint32 sample, float,
                              QCursor &cursor)
{
    cursor.setShape(Qt::ArrowCursor);
    if (pressed)
        data->setSelection(data->selectionStart(), sample);
}

// Zooming into a drag.

void ZoomTool::mousePress(Qt::KeyboardModifiers modifiers, Qt::MouseButton button,
                          const QPoint &pos, quint32 sample, float value, QCursor &cursor)
{
    oldStart = selectionLow();
    oldEnd = selectionHigh();
    SelectionTool::mousePress(modifiers, button, pos, sample, value, cursor);
}

void ZoomTool::mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &, quint32,
                            float, QCursor &)
{
    if (!pressed)
        return;
    pressed = false;
    const quint32 a = selectionLow();
    const quint32 b = selectionHigh();
    // An empty drag (both ends on one frame) has no zoom: the view stays as it was.
    if (b > a) {
        waveform->startSample = qMin(a, lastFrame(data));
        waveform->setZoom(double(waveform->width) / double(b - a));
        waveform->update();
    }
    data->setSelection(oldStart, oldEnd);
}

void ZoomTool::mouseMove(Qt::KeyboardModifiers modifiers, const QPoint &pos, quint32 sample,
                         float value, QCursor &cursor)
{
    SelectionTool::mouseMove(modifiers, pos, sample, value, cursor);
    cursor.setShape(Qt::PointingHandCursor);
}

// Dragging the selected frames.

bool SelectionMoveTool::keyPress(Qt::KeyboardModifiers modifiers, int key)
{
    if (!(modifiers & Qt::ShiftModifier) || (key != Qt::Key_Left && key != Qt::Key_Right))
        return false;
    // The key moves what is selected now, by one frame, as one undo step.
    if (selectionHigh() > selectionLow()) {
        moveStart = selectionLow();
        moveEnd = selectionHigh();
    }
    if (moveEnd <= moveStart)
        return false;
    pressBytes = data->sample().data;
    if (key == Qt::Key_Left)
        commit(moveStart ? moveStart - 1 : 0);
    else
        commit(moveStart + 1);
    return true;
}

void SelectionMoveTool::mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &pos,
                                   quint32 sample, float, QCursor &)
{
    press(pos, sample);
    pressBytes = data->sample().data;
    moveStart = selectionLow();
    moveEnd = selectionHigh();
}

void SelectionMoveTool::mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &,
                                     quint32, float, QCursor &)
{
    if (!pressed)
        return;
    pressed = false;
    if (moveEnd > moveStart)
        commit(data->selectionStart());
}

void SelectionMoveTool::mouseMove(Qt::KeyboardModifiers, const QPoint &, quint32 sample, float,
                                  QCursor &cursor)
{
    if (!pressed) {
        cursor.setShape(insideSelection(sample) ? Qt::SizeAllCursor : Qt::ArrowCursor);
        return;
    }
    const quint32 a = selectionLow();
    const quint32 len = selectionHigh() - a;
    if (len == 0)
        return;
    const qint64 wanted = qint64(moveStart) - pressSample + sample;
    const quint32 target = quint32(qBound<qint64>(0, wanted, qint64(data->sample().samples) - len));
    if (target != a) {
        // Preview in place: the block and the frames between it and the target swap places.
        const size_t frame = data->bytesPerFrame();
        char *bytes = data->sample().data.data();
        const QByteArray block(bytes + size_t(a) * frame, int(size_t(len) * frame));
        if (target < a)
            std::memmove(bytes + (size_t(target) + len) * frame, bytes + size_t(target) * frame,
                         size_t(a - target) * frame);
        else
            std::memmove(bytes + size_t(a) * frame, bytes + (size_t(a) + len) * frame,
                         size_t(target - a) * frame);
        std::memcpy(bytes + size_t(target) * frame, block.constData(), size_t(block.size()));
    }
    data->setSelection(target, target + len);
    waveform->update();
}

void SelectionMoveTool::commit(quint32 position)
{
    // The preview leaves no trace: the one real edit starts from the bytes of the press.
    data->sample().data = pressBytes;
    const quint32 len = moveEnd - moveStart;
    position = qMin(position, data->sample().samples - qMin(len, data->sample().samples));
    if (position == moveStart) {
        pressBytes.clear();
        data->setSelection(moveStart, moveEnd);
        waveform->update();
        return;
    }
    // One change of the span that the block crosses: the block and the frames it passes swap
    // places. (A removal and an insertion would need an empty selection at the very end of
    // the sound, which the selection's clamping does not allow.)
    const quint32 low = qMin(moveStart, position);
    const quint32 high = qMax(moveEnd, position + len);
    data->setSelection(low, high);
    const QByteArray span = data->selectedBytes();
    const int frame = int(data->bytesPerFrame());
    const int block = int(len) * frame;
    const int from = int(moveStart - low) * frame;
    QByteArray moved = span;
    moved.remove(from, block);
    moved.insert(int(position - low) * frame, span.mid(from, block));
    data->replaceSelection(moved);
    data->setSelection(position, position + len);
    moveStart = position;
    moveEnd = position + len;
    pressBytes.clear(); // no second copy of the sound beside the next edit
}

// Stretching in time.

void HResizeTool::mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &pos,
                             quint32 sample, float, QCursor &)
{
    press(pos, sample);
}

void HResizeTool::mouseMove(Qt::KeyboardModifiers, const QPoint &, quint32 sample, float,
                            QCursor &cursor)
{
    if (!pressed) {
        cursor.setShape(insideSelection(sample) ? Qt::SizeHorCursor : Qt::ArrowCursor);
        return;
    }
    const double len = double(selectionHigh()) - selectionLow();
    if (len <= 0)
        return;
    const double scale = qMax(0.0, (len - pressSample + sample) / len);
    if (std::abs(scale - waveform->hScale) > Epsilon) {
        waveform->hScale = scale;
        waveform->update();
    }
}

void HResizeTool::mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &,
                               quint32 sample, float, QCursor &cursor)
{
    const quint32 a = selectionLow();
    const quint32 len = selectionHigh() - a;
    if (!pressed || len == 0) {
        pressed = false;
        return;
    }
    pressed = false;
    const SoundSample &sound = data->sample();
    SoundSample copy;
    copy.channels = sound.channels;
    copy.bits = sound.bits;
    copy.frequency = sound.frequency;
    copy.samples = len;
    copy.data = data->selectedBytes();
    // In 64 bits: the frame counts of a long sound times its frequency pass 32 bits.
    const qint64 newLen = qMax<qint64>(0, qint64(len) - pressSample + sample);
    bool ok = true;
    if (newLen == 0) {
        copy.data.clear();
    } else {
        SampleInfo target = copy.info();
        const double frequency = std::ceil(double(newLen) * sound.frequency / len + 0.5);
        // A stretch beyond what the resampler can do (256 times either way) changes nothing.
        ok = frequency <= std::numeric_limits<quint32>::max();
        target.frequency = ok ? quint32(frequency) : 0;
        ok = ok && resampleSound(copy, target);
        if (ok)
            copy.data.truncate(int(qMin<qint64>(newLen * data->bytesPerFrame(), copy.data.size())));
    }
    const double oldHScale = waveform->hScale;
    resetScales();
    if (ok) {
        data->replaceSelection(copy.data);
        data->setSelection(a, quint32(len * oldHScale + a));
    }
    cursor.setShape(insideSelection(sample) ? Qt::SizeHorCursor : Qt::ArrowCursor);
}

// Changing the amplitude.

void VResizeTool::mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &pos,
                             quint32 sample, float value, QCursor &)
{
    press(pos, sample);
    pressValue = value;
}

void VResizeTool::mouseMove(Qt::KeyboardModifiers, const QPoint &, quint32 sample, float value,
                            QCursor &cursor)
{
    if (!pressed) {
        cursor.setShape(insideSelection(sample) ? Qt::SizeVerCursor : Qt::ArrowCursor);
        return;
    }
    if (selectionHigh() == selectionLow())
        return;
    const double scale = double(value) - pressValue + 1.0;
    if (std::abs(scale - waveform->vScale) > Epsilon) {
        waveform->vScale = scale;
        waveform->update();
    }
}

void VResizeTool::mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &,
                               quint32 sample, float value, QCursor &cursor)
{
    const bool wasPressed = pressed;
    pressed = false;
    if (!wasPressed || selectionHigh() == selectionLow())
        return;
    const float factor = float(double(value) - pressValue + 1.0);
    const unsigned short bits = data->sample().bits;
    const unsigned int width = bytesPerSample(bits);
    QByteArray bytes = data->selectedBytes();
    char *p = bytes.data();
    for (int i = 0; i + int(width) <= bytes.size(); i += int(width))
        scaleSample(p + i, p + i, factor, bits);
    resetScales();
    data->replaceSelection(bytes);
    cursor.setShape(insideSelection(sample) ? Qt::SizeVerCursor : Qt::ArrowCursor);
}

} // namespace Zorn
