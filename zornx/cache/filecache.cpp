#include <zornx/cache/filecache.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

namespace Zorn {

FileCache::FileCache(FileCodec *codec) : StreamCache(codec)
{
    qRegisterMetaType<ItemInfo>("Zorn::FileCache::ItemInfo");
}

FileCache::FileCodec *FileCache::codec() const
{
    return static_cast<FileCodec *>(StreamCache::codec());
}

StreamCache::Item *FileCache::newItem(const QVariant &info)
{
    const ItemInfo itemInfo =
        info.userType() == qMetaTypeId<ItemInfo>() ? info.value<ItemInfo>() : ItemInfo();
    const QFileInfo file(itemInfo.fileName);
    const unsigned int encoding = codec() ? codec()->encodingForSuffix(file.suffix()) : 0;
    auto *item = new Item(this, itemInfo.fileName);
    // An encoded file's CRC is worked out when it is first needed; a file that does not
    // exist has size 0 and is not valid.
    item->setFields(unsigned(file.size()), encoding == 0 ? 0xFFFFFFFFu : 0, encoding,
                    itemInfo.codecData);
    return item;
}

QByteArray FileCache::Item::rawData() const
{
    // Qt warns about opening a file without a name.
    QFile file(m_fileName);
    if (m_fileName.isEmpty() || !file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

bool FileCache::Item::setRawData(const QByteArray &raw, unsigned int encoding, void *codecData,
                                 unsigned int crc)
{
    if (encoding == 0)
        return false;
    StreamCache::Item::setRawData(raw, encoding, codecData, crc);
    QSaveFile file(m_fileName);
    if (m_fileName.isEmpty() || !file.open(QIODevice::WriteOnly))
        return false;
    file.write(raw);
    return file.commit();
}

bool FileCache::Item::rename(const QString &fileName)
{
    const bool renamed = QFile::rename(m_fileName, fileName);
    m_fileName = fileName;
    return renamed;
}

bool FileCache::Item::remove()
{
    return QFile::remove(m_fileName);
}

} // namespace Zorn
