#ifndef ZORNX_CACHE_FILECACHE_H
#define ZORNX_CACHE_FILECACHE_H

#include <zornx/cache/streamcache.h>

#include <QtCore/QMetaType>
#include <QtCore/QString>

namespace Zorn {

// One whole file per item, for engines that store a file per sprite or sound. Items hold
// only encoded data: the encoding comes from the file's suffix through the codec.
class ZORNX_EXPORT FileCache : public StreamCache
{
public:
    class ZORNX_EXPORT FileCodec : public StreamCache::Codec
    {
    public:
        // The encoding of a file with that suffix; 0 for a file not of the codec's kinds.
        virtual unsigned int encodingForSuffix(const QString &suffix) = 0;
    };

    // What newItem() expects in its QVariant; anything else gives an empty one.
    struct ItemInfo
    {
        QString fileName;
        void *codecData = nullptr;
    };

    class ZORNX_EXPORT Item : public StreamCache::Item
    {
    public:
        // The whole file, read each time; empty when it does not open.
        QByteArray rawData() const override;
        // False for encoding 0 and when the file cannot be written. The file is replaced,
        // whatever its old encoding, only once all of raw is written.
        bool setRawData(const QByteArray &raw, unsigned int encoding, void *codecData,
                        unsigned int crc) override;

        QString fileName() const { return m_fileName; }
        bool isValid() const { return size() > 0; }
        // Renames the file; the item takes the new name whatever the outcome.
        bool rename(const QString &fileName);
        // Removes the file; the item stays.
        bool remove();

    private:
        friend class FileCache;
        Item(FileCache *cache, const QString &fileName) : StreamCache::Item(cache), m_fileName(fileName) {}
        QString m_fileName;
    };

    explicit FileCache(FileCodec *codec);
    Type type() const override { return File; }

protected:
    FileCodec *codec() const;
    StreamCache::Item *newItem(const QVariant &info) override;
};

} // namespace Zorn

Q_DECLARE_METATYPE(Zorn::FileCache::ItemInfo)

#endif
