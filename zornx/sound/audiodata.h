#ifndef ZORNX_SOUND_AUDIODATA_H
#define ZORNX_SOUND_AUDIODATA_H

#include <zornx/sound/soundsample.h>

#include <QtCore/QObject>

class QUndoStack;

namespace Zorn {

class StreamCache;
class MemoryCache;

// The one sound under edit, with its selection and undo stack. Positions are frames. The undo
// commands keep the bytes they remember in items of a stream cache, not on the heap.
class ZORNX_EXPORT AudioData : public QObject
{
    Q_OBJECT
public:
    // cache holds the undo bytes; null gives the data a memory cache of its own.
    explicit AudioData(StreamCache *cache = nullptr, QObject *parent = nullptr);
    ~AudioData() override;

    StreamCache *cache() const { return m_cache; }
    const SoundSample &sample() const { return m_sample; }
    // For previews that work on the bytes in place, outside the undo stack.
    SoundSample &sample() { return m_sample; }
    QUndoStack *undoStack() const { return m_undo; }
    quint32 bytesPerFrame() const { return m_bytesPerFrame; }
    // The ends in the order the user made them: the end may lie before the start.
    quint32 selectionStart() const { return m_selectionStart; }
    quint32 selectionEnd() const { return m_selectionEnd; }

    // Replaces the sound; forgets the undo history and the selection.
    void setSample(const SoundSample &sample);
    // Clamps both ends to the sound, keeping their order.
    void setSelection(quint32 start, quint32 end);
    // Replaces the selected frames by bytes (removes them when bytes is empty, inserts when
    // nothing is selected) as one undo step. False, with no change, when bytes is not a whole
    // number of frames or is empty while nothing is selected.
    bool replaceSelection(const QByteArray &bytes);
    // The bytes between the two ends, whichever comes first.
    QByteArray selectedBytes() const;

Q_SIGNALS:
    void sampleAboutToChange();
    void sampleChanged();
    void selectionChanged(uint start, uint end);

private:
    friend class SampleUndoCommand;
    void undoStepDone();


    StreamCache *m_cache;
    MemoryCache *m_ownCache = nullptr;
    SoundSample m_sample;
    QUndoStack *m_undo;
    quint32 m_bytesPerFrame = 0;
    quint32 m_selectionStart = 0;
    quint32 m_selectionEnd = 0;
    bool m_quiet = false; // no signals for steps that the caller tells of itself
};

} // namespace Zorn

#endif
