#ifndef ZORNX_SOUND_AUDIODATA_P_H
#define ZORNX_SOUND_AUDIODATA_P_H

#include <zornx/cache/streamcache.h>
#include <zornx/sound/audiodata.h>

#include <QtWidgets/QUndoCommand>

namespace Zorn {

// One edit of a sound's bytes. What the command must remember lies in an item of the data's
// stream cache; the command keeps only its place and size.
class ZORNX_EXPORT SampleUndoCommand : public QUndoCommand
{
public:
    ~SampleUndoCommand() override;
    StreamCache::Item *item() const { return m_item; }

protected:
    SampleUndoCommand(AudioData *data, quint32 offset, quint32 size);
    // Moves the bytes of the item into the sound at offset, and empties the item.
    void insertFromItem();
    // Moves size bytes at offset from the sound into the item.
    void removeToItem();
    void swapWithItem();

    AudioData *m_data;
    quint32 m_offset;
    quint32 m_size;
    quint32 m_frames;
    StreamCache::Item *m_item;
};

class SampleInsert : public SampleUndoCommand
{
public:
    SampleInsert(AudioData *data, quint32 offset, const QByteArray &bytes);
    void redo() override { insertFromItem(); }
    void undo() override { removeToItem(); }
};

class SampleRemove : public SampleUndoCommand
{
public:
    SampleRemove(AudioData *data, quint32 offset, quint32 size);
    void redo() override { removeToItem(); }
    void undo() override { insertFromItem(); }
};

class SampleChange : public SampleUndoCommand
{
public:
    SampleChange(AudioData *data, quint32 offset, const QByteArray &bytes);
    void redo() override { swapWithItem(); }
    void undo() override { swapWithItem(); }
};

} // namespace Zorn

#endif
