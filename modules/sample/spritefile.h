#ifndef ZORNX_SAMPLE_SPRITEFILE_H
#define ZORNX_SAMPLE_SPRITEFILE_H

// The sample module's sprites: one file of PNG or PCX pictures, each with a group and a number,
// an axis and the index of its palette, and the palettes as 256 RGBA entries. The layout is
// told in README.md. Pictures stay encoded in a stream cache until image() is asked for.

#include <zornx/cache/streamcache.h>
#include <zornx/image/sprite.h>

#include <QtCore/QList>

namespace Sample {

class SpriteFile;
class SpritePalettes;

class SpritePalette : public Zorn::Palette
{
public:
    QStringList propertyNames() const override { return {QStringLiteral("Identifier")}; }
    QVariant property(const QString &name) const override;
    void setProperty(const QString &name, const QVariant &value) override;
    Zorn::Palettes *parent() const override;
    unsigned int index() const override;
    bool colorTable(Zorn::RGBA (&table)[256]) const override;
    void setColorTable(const Zorn::RGBA *table, Zorn::ShareMode mode) override;
    Zorn::Palette *duplicate() const override;

    QString id;
    Zorn::RGBA colors[256];
    SpritePalettes *owner = nullptr;
};

class SpritePalettes : public Zorn::Palettes
{
    Q_OBJECT
public:
    explicit SpritePalettes(SpriteFile *file) : file(file) {}
    ~SpritePalettes() override;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    void move(unsigned int from, unsigned int to) override;
    void beginChange() override;
    void endChange() override;
    void remove(unsigned int index) override;
    int compare(unsigned int a, unsigned int b) const override;

    unsigned int selected() const override { return current; }
    void setSelected(unsigned int index) override;
    Zorn::Sprites *sprites() const override;
    unsigned int count() const override { return unsigned(list.size()); }
    Zorn::Palette *at(unsigned int index) const override;
    Zorn::Palette *add(const Zorn::RGBA *table, const QVariant &id, Zorn::ShareMode mode) override;
    Zorn::Palette *insert(unsigned int index, const Zorn::RGBA *table, const QVariant &id,
                          Zorn::ShareMode mode) override;
    void removeDuplicates() override;
    int find(unsigned int start, const QVariant &id) const override;
    void clear() override;
    void clearUnused() override;

    SpriteFile *file;
    QList<SpritePalette *> list;
    unsigned int current = 0;

private:
    // Sprites that used removed entries lose their palette; later ones move down.
    void removed(int index);
};

class SpriteImage;

class SampleSprite : public Zorn::Sprite
{
public:
    explicit SampleSprite(SpriteFile *file);
    ~SampleSprite() override;

    QStringList propertyNames() const override;
    // "Identifier" is "group, number"; "Format" is "PNG" or "PCX", the stored form.
    QVariant property(const QString &name) const override;
    void setProperty(const QString &name, const QVariant &value) override;
    unsigned int index() const override;
    Zorn::Sprites *parent() const override;
    Zorn::Sprite *duplicate() const override;
    void crop() override;
    void splitRGB() override;
    bool isEmpty() const override;
    QImage image() const override;
    Zorn::ImageInfo imageProperties() const override;
    bool imageIsShared() const override;
    using Zorn::Sprite::setImage;
    void setImage(const QImage &image, bool reversed, PaletteMode mode, Zorn::Palette *palette,
                  Zorn::ShareMode share) override;
    void setImage(const QImage &image, Zorn::ShareMode share) override;
    Zorn::Palette *palette() const override;
    void setPalette(Zorn::Palette *palette) override;
    QPoint axis() const override { return spriteAxis; }
    void setAxis(QPoint axis) override;

    // The encoded picture as stored.
    QByteArray bytes() const;
    // Stores encoded picture bytes, sharing an equal item of the cache when share allows.
    void setBytes(const QByteArray &bytes, bool pcx, Zorn::ShareMode share);

    SpriteFile *file;
    Zorn::SubItem id;
    QPoint spriteAxis;
    int paletteIndex = -1;
    bool pcx = false;

private:
    SpriteImage *data;
};

class SpriteFile : public Zorn::Sprites
{
    Q_OBJECT
public:
    SpriteFile();

    // Zorn::ProjectFile
    bool fromFile(Zorn::Archive &archive, const QString &name, unsigned int flags,
                  Zorn::JobStats *job) override;
    bool toFile(Zorn::Archive &archive, const QString &name, unsigned int flags,
                Zorn::JobStats *job) override;
    QString fileName() const override { return name; }
    bool isEmpty() const override { return sprites.isEmpty() && palettesList.list.isEmpty(); }
    bool isModified() const override { return modified; }
    bool canSave() const override { return true; }
    QList<SearchResult> search(const Zorn::RegExp &, unsigned int) const override { return {}; }
    void replace(const QList<SearchResult> &, const QString &) override {}

    // Zorn::OrganizableObject
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    void move(unsigned int from, unsigned int to) override;
    void remove(unsigned int index) override;
    int compare(unsigned int a, unsigned int b) const override;

    // Zorn::Sprites
    unsigned int selected() const override { return current; }
    void setSelected(unsigned int index) override;
    unsigned int count() const override { return unsigned(sprites.size()); }
    Zorn::Palettes *palettes() const override;
    Zorn::Sprite *at(unsigned int index) const override;
    Zorn::Sprite *insert(unsigned int index, const QVariant &id, const QImage &image,
                         Zorn::ShareMode share) override;
    Zorn::Sprite *add(const QVariant &id, const QImage &image, Zorn::ShareMode share) override;
    int find(unsigned int start, const QVariant &id) const override;
    void clear() override;

    // The file's bytes from its parts, and the parts from bytes (false on any malformed or
    // truncated input, leaving the file as it was).
    QByteArray serialize() const;
    bool deserialize(const QByteArray &bytes);

    Zorn::StreamCache *cache() const { return pictureCache; }
    void insertSprite(unsigned int index, SampleSprite *sprite);
    void touch() { modified = true; }

    QList<SampleSprite *> sprites;
    mutable SpritePalettes palettesList;
    QString name;
    unsigned int current = 0;
    bool modified = false;

protected:
    ~SpriteFile() override;
    void free() override { delete this; }
    Zorn::Messages *fileMessages() const override { return nullptr; }

private:
    Zorn::StreamCache *pictureCache;
};

} // namespace Sample

#endif
