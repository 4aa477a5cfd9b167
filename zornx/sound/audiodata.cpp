#include "audiodata.h"
#include "audiodata_p.h"

#include <QtWidgets/QUndoStack>

#include <cstring>

namespace Zorn {

AudioData::AudioData(StreamCache *cache, QObject *parent)
    : QObject(parent), m_cache(cache), m_undo(new QUndoStack(this))
{
    if (!m_cache)
        m_cache = m_ownCache = new MemoryCache;
    connect(m_undo, &QUndoStack::indexChanged, this, &AudioData::undoStepDone);
}

AudioData::~AudioData()
{
    // The commands give their items back to the cache, which must outlive them.
    m_quiet = true;
    m_undo->clear();
    delete m_ownCache;
}

void AudioData::setSample(const SoundSample &sample)
{
    emit sampleAboutToChange();
    m_quiet = true;
    m_undo->clear();
    m_quiet = false;
    m_sample = sample;
    m_bytesPerFrame = quint32(sample.channels) * bytesPerSample(sample.bits);
    // The frame count never claims more than the bytes hold.
    if (m_bytesPerFrame)
        m_sample.samples = qMin<quint32>(m_sample.samples,
                                         quint32(m_sample.data.size()) / m_bytesPerFrame);
    m_selectionStart = m_selectionEnd = 0;
    emit sampleChanged();
    emit selectionChanged(0, 0);
}

void AudioData::setSelection(quint32 start, quint32 end)
{
    const quint32 n = m_sample.samples;
    if (n == 0) {
        start = end = 0;
    } else if (end <= start) {
        if (end >= n)
            end = n - 1;
        if (start > n)
            start = n;
    } else {
        if (start >= n)
            start = n - 1;
        if (end > n)
            end = n;
    }
    m_selectionStart = start;
    m_selectionEnd = end;
    emit selectionChanged(start, end);
}

QByteArray AudioData::selectedBytes() const
{
    const quint32 a = qMin(m_selectionStart, m_selectionEnd);
    const quint32 b = qMax(m_selectionStart, m_selectionEnd);
    if (a == b)
        return QByteArray();
    return m_sample.data.mid(int(quint64(a) * m_bytesPerFrame),
                             int(quint64(b - a) * m_bytesPerFrame));
}

bool AudioData::replaceSelection(const QByteArray &bytes)
{
    const quint32 a = qMin(m_selectionStart, m_selectionEnd);
    const quint32 len = qMax(m_selectionStart, m_selectionEnd) - a;
    const quint32 offset = a * m_bytesPerFrame;
    const bool remove = len > 0 && bytes.isEmpty();
    if (!remove
        && (m_bytesPerFrame == 0 || bytes.isEmpty() || bytes.size() % m_bytesPerFrame != 0))
        return false;
    const quint32 frames = m_bytesPerFrame ? quint32(bytes.size()) / m_bytesPerFrame : 0;
    m_quiet = true;
    emit sampleAboutToChange();
    if (remove) {
        m_undo->push(new SampleRemove(this, offset, len * m_bytesPerFrame));
    } else if (len == 0) {
        m_undo->push(new SampleInsert(this, offset, bytes));
    } else if (frames != len) {
        m_undo->beginMacro(QString());
        m_undo->push(new SampleRemove(this, offset, len * m_bytesPerFrame));
        m_undo->push(new SampleInsert(this, offset, bytes));
        m_undo->endMacro();
    } else {
        m_undo->push(new SampleChange(this, offset, bytes));
    }
    m_quiet = false;
    emit sampleChanged();
    return true;
}

// Undo and redo tell the views once a step (a macro is one); a step pushed by
// replaceSelection() is told by replaceSelection() itself. The selection is clamped to what is
// left of the sound.
void AudioData::undoStepDone()
{
    if (m_quiet)
        return;
    setSelection(m_selectionStart, m_selectionEnd);
    emit sampleChanged();
}

SampleUndoCommand::SampleUndoCommand(AudioData *data, quint32 offset, quint32 size)
    : m_data(data),
      m_offset(offset),
      m_size(size),
      m_frames(data->bytesPerFrame() ? size / data->bytesPerFrame() : 0),
      m_item(data->cache()->addItem())
{
}

SampleUndoCommand::~SampleUndoCommand()
{
    m_item->cache()->removeItem(m_item);
}

void SampleUndoCommand::insertFromItem()
{
    SoundSample &sample = m_data->m_sample;
    const QByteArray bytes = m_item->data();
    sample.data.insert(int(qMin<quint32>(m_offset, quint32(sample.data.size()))), bytes);
    sample.samples += m_frames;
    m_item->setData(QByteArray());
}

void SampleUndoCommand::removeToItem()
{
    SoundSample &sample = m_data->m_sample;
    m_item->setData(sample.data.mid(int(m_offset), int(m_size)));
    sample.data.remove(int(m_offset), int(m_size));
    sample.samples -= qMin(m_frames, sample.samples);
}

void SampleUndoCommand::swapWithItem()
{
    SoundSample &sample = m_data->m_sample;
    const QByteArray incoming = m_item->data();
    const int offset = int(qMin<quint32>(m_offset, quint32(sample.data.size())));
    const int size = qMin(incoming.size(), sample.data.size() - offset);
    m_item->setData(sample.data.mid(offset, size));
    std::memcpy(sample.data.data() + offset, incoming.constData(), size_t(size));
}

SampleInsert::SampleInsert(AudioData *data, quint32 offset, const QByteArray &bytes)
    : SampleUndoCommand(data, offset, quint32(bytes.size()))
{
    m_item->setData(bytes);
}

SampleRemove::SampleRemove(AudioData *data, quint32 offset, quint32 size)
    : SampleUndoCommand(data, offset, size)
{
}

SampleChange::SampleChange(AudioData *data, quint32 offset, const QByteArray &bytes)
    : SampleUndoCommand(data, offset, quint32(bytes.size()))
{
    m_item->setData(bytes);
}

} // namespace Zorn
