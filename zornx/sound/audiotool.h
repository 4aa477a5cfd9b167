#ifndef ZORNX_SOUND_AUDIOTOOL_H
#define ZORNX_SOUND_AUDIOTOOL_H

#include <zornx/global.h>

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QPoint>

class QCursor;

namespace Zorn {

class AudioData;
class AudioWaveform;

// Turns key and mouse events of the waveform view into changes of the selection, the view or
// the samples. sample is the frame under the mouse (clamped by the view to the sound), value
// the vertical value under it; a tool sets cursor to what the mouse should show. The base does
// nothing.
class ZORNX_EXPORT AudioTool : public QObject
{
    Q_OBJECT
public:
    AudioTool(AudioData *data, AudioWaveform *waveform, QObject *parent = nullptr);

    // True when the key was handled.
    virtual bool keyPress(Qt::KeyboardModifiers modifiers, int key);
    virtual void mousePress(Qt::KeyboardModifiers modifiers, Qt::MouseButton button,
                            const QPoint &pos, quint32 sample, float value, QCursor &cursor);
    virtual void mouseRelease(Qt::KeyboardModifiers modifiers, Qt::MouseButton button,
                              const QPoint &pos, quint32 sample, float value, QCursor &cursor);
    virtual void mouseMove(Qt::KeyboardModifiers modifiers, const QPoint &pos, quint32 sample,
                           float value, QCursor &cursor);

protected:
    // Records the press; every tool's mousePress() begins with it.
    void press(const QPoint &pos, quint32 sample);
    // The selection's ends in order.
    quint32 selectionLow() const;
    quint32 selectionHigh() const;
    bool insideSelection(quint32 sample) const;
    // Puts the resize previews back to 1, with an update when they were not.
    void resetScales();

    AudioData *data;
    AudioWaveform *waveform;
    bool pressed = false;
    int pressX = 0;
    quint32 pressSample = 0;
};

// Pans the view.
class ZORNX_EXPORT MoveTool : public AudioTool
{
    Q_OBJECT
public:
    using AudioTool::AudioTool;
    void mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &pos, quint32 sample,
                    float, QCursor &cursor) override;
    void mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &, quint32, float,
                      QCursor &cursor) override;
    void mouseMove(Qt::KeyboardModifiers, const QPoint &pos, quint32, float,
                   QCursor &cursor) override;

private:
    quint32 startAtPress = 0;
};

// Selects frames; Shift with Left or Right moves the selection's end by one frame.
class ZORNX_EXPORT SelectionTool : public AudioTool
{
    Q_OBJECT
public:
    using AudioTool::AudioTool;
    bool keyPress(Qt::KeyboardModifiers modifiers, int key) override;
    void mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &pos, quint32 sample,
                    float, QCursor &cursor) override;
    void mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &, quint32, float,
                      QCursor &cursor) override;
    void mouseMove(Qt::KeyboardModifiers, const QPoint &, quint32 sample, float,
                   QCursor &cursor) override;
};

// Zooms the view onto a dragged stretch; the selection stays as it was.
class ZORNX_EXPORT ZoomTool : public SelectionTool
{
    Q_OBJECT
public:
    using SelectionTool::SelectionTool;
    void mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &pos, quint32 sample,
                    float, QCursor &cursor) override;
    void mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &, quint32, float,
                      QCursor &cursor) override;
    void mouseMove(Qt::KeyboardModifiers, const QPoint &, quint32 sample, float,
                   QCursor &cursor) override;

private:
    quint32 oldStart = 0;
    quint32 oldEnd = 0;
};

// Drags the selected frames through the sound; the drag previews in place and makes one undo
// step at the release. Shift with Left or Right moves them by one frame, one undo step a key.
class ZORNX_EXPORT SelectionMoveTool : public AudioTool
{
    Q_OBJECT
public:
    using AudioTool::AudioTool;
    bool keyPress(Qt::KeyboardModifiers modifiers, int key) override;
    void mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &pos, quint32 sample,
                    float, QCursor &cursor) override;
    void mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &, quint32, float,
                      QCursor &cursor) override;
    void mouseMove(Qt::KeyboardModifiers, const QPoint &, quint32 sample, float,
                   QCursor &cursor) override;

private:
    void commit(quint32 position);

    QByteArray pressBytes;
    quint32 moveStart = 0;
    quint32 moveEnd = 0;
};

// Stretches the selection in time.
class ZORNX_EXPORT HResizeTool : public AudioTool
{
    Q_OBJECT
public:
    using AudioTool::AudioTool;
    void mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &pos, quint32 sample,
                    float, QCursor &cursor) override;
    void mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &, quint32 sample,
                      float, QCursor &cursor) override;
    void mouseMove(Qt::KeyboardModifiers, const QPoint &, quint32 sample, float,
                   QCursor &cursor) override;
};

// Changes the amplitude of the selection.
class ZORNX_EXPORT VResizeTool : public AudioTool
{
    Q_OBJECT
public:
    using AudioTool::AudioTool;
    void mousePress(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &pos, quint32 sample,
                    float value, QCursor &cursor) override;
    void mouseRelease(Qt::KeyboardModifiers, Qt::MouseButton, const QPoint &, quint32 sample,
                      float value, QCursor &cursor) override;
    void mouseMove(Qt::KeyboardModifiers, const QPoint &, quint32 sample, float value,
                   QCursor &cursor) override;

private:
    float pressValue = 0.0f;
};

} // namespace Zorn

#endif
