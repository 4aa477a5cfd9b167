#include "spritefile.h"

#include <zornx/core/archive.h>
#include <zornx/core/object.h>
#include <zornx/image/imageoperations.h>
#include <zornx/image/palette.h>

#include <QtCore/QBuffer>
#include <QtCore/QDataStream>

#include <algorithm>
#include <cstring>

namespace Sample {

namespace {

const char Magic[4] = {'Z', 'S', 'P', 'R'};
const quint16 Version = 1;

bool sameTable(const Zorn::RGBA *a, const Zorn::RGBA *b)
{
    return std::memcmp(a, b, 256 * sizeof(Zorn::RGBA)) == 0;
}

QString idText(const Zorn::SubItem &id)
{
    return QStringLiteral("%1, %2").arg(id.group).arg(id.item);
}

// "group, number" from an identifier; a bare number is group 0.
Zorn::SubItem parseId(const QVariant &value)
{
    Zorn::SubItem id;
    if (!Zorn::SubItem::parse(value.toString(), id))
        id.item = value.toInt();
    return id;
}

QByteArray encode(const QImage &image, bool pcx)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!(pcx ? Zorn::savePCX(image, &buffer) : Zorn::savePNG(image, &buffer)))
        return QByteArray();
    return buffer.data();
}

} // namespace

// The handle on a sprite's encoded picture; the sprite owns it.
class SpriteImage : public Zorn::StreamCacheData
{
public:
    using Zorn::StreamCacheData::createItem;

protected:
    void destroy() override { delete this; }
};

// ---------------------------------------------------------------------------------------------
// Palettes

QVariant SpritePalette::property(const QString &name) const
{
    return name == QLatin1String("Identifier") ? QVariant(id) : QVariant();
}

void SpritePalette::setProperty(const QString &name, const QVariant &value)
{
    if (name == QLatin1String("Identifier")) {
        id = value.toString();
        if (owner)
            owner->file->touch();
    }
}

Zorn::Palettes *SpritePalette::parent() const
{
    return owner;
}

unsigned int SpritePalette::index() const
{
    return owner ? unsigned(owner->list.indexOf(const_cast<SpritePalette *>(this))) : 0;
}

bool SpritePalette::colorTable(Zorn::RGBA (&table)[256]) const
{
    std::copy(colors, colors + 256, table);
    return true;
}

void SpritePalette::setColorTable(const Zorn::RGBA *table, Zorn::ShareMode)
{
    // Each palette keeps its own table here: there is nothing to share.
    std::copy(table, table + 256, colors);
    if (owner)
        owner->file->touch();
}

Zorn::Palette *SpritePalette::duplicate() const
{
    if (!owner)
        return nullptr;
    return owner->insert(index() + 1, colors, id, Zorn::NoShare);
}

SpritePalettes::~SpritePalettes()
{
    qDeleteAll(list);
}

int SpritePalettes::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : list.size();
}

QVariant SpritePalettes::data(const QModelIndex &index, int role) const
{
    if (role != Qt::DisplayRole || index.row() < 0 || index.row() >= list.size())
        return QVariant();
    return list[index.row()]->id;
}

void SpritePalettes::move(unsigned int from, unsigned int to)
{
    if (from >= count() || to > count() || from == to)
        return;
    beginResetModel();
    SpritePalette *moved = list.takeAt(int(from));
    const int target = int(to > from ? to - 1 : to);
    list.insert(target, moved);
    // Sprites refer to palettes by position: follow the move.
    for (SampleSprite *sprite : qAsConst(file->sprites)) {
        int &p = sprite->paletteIndex;
        if (p == int(from))
            p = target;
        else if (int(from) < p && p <= target)
            --p;
        else if (target <= p && p < int(from))
            ++p;
    }
    endResetModel();
    file->touch();
}

void SpritePalettes::beginChange()
{
    file->beginChange();
}

void SpritePalettes::endChange()
{
    file->endChange();
}

void SpritePalettes::removed(int index)
{
    for (SampleSprite *sprite : qAsConst(file->sprites)) {
        if (sprite->paletteIndex == index)
            sprite->paletteIndex = -1;
        else if (sprite->paletteIndex > index)
            --sprite->paletteIndex;
    }
}

void SpritePalettes::remove(unsigned int index)
{
    if (index >= count())
        return;
    beginResetModel();
    delete list.takeAt(int(index));
    removed(int(index));
    if (current >= count() && current > 0)
        current = count() - 1;
    endResetModel();
    file->touch();
}

int SpritePalettes::compare(unsigned int a, unsigned int b) const
{
    return QString::compare(list.value(int(a))->id, list.value(int(b))->id);
}

void SpritePalettes::setSelected(unsigned int index)
{
    if (index < count())
        current = index;
}

Zorn::Sprites *SpritePalettes::sprites() const
{
    return file;
}

Zorn::Palette *SpritePalettes::at(unsigned int index) const
{
    return index < count() ? list[int(index)] : nullptr;
}

Zorn::Palette *SpritePalettes::add(const Zorn::RGBA *table, const QVariant &id,
                                   Zorn::ShareMode mode)
{
    return insert(count(), table, id, mode);
}

Zorn::Palette *SpritePalettes::insert(unsigned int index, const Zorn::RGBA *table,
                                      const QVariant &id, Zorn::ShareMode mode)
{
    const int at = int(qMin(index, count()));
    // Share: an equal table already there serves instead of a new one.
    if (mode == Zorn::Share || mode == Zorn::AskToShare) {
        for (SpritePalette *palette : qAsConst(list))
            if (sameTable(palette->colors, table))
                return palette;
    }
    beginResetModel();
    auto *palette = new SpritePalette;
    palette->owner = this;
    palette->id = id.toString();
    std::copy(table, table + 256, palette->colors);
    list.insert(at, palette);
    for (SampleSprite *sprite : qAsConst(file->sprites))
        if (sprite->paletteIndex >= at)
            ++sprite->paletteIndex;
    endResetModel();
    file->touch();
    return palette;
}

void SpritePalettes::removeDuplicates()
{
    beginResetModel();
    for (int i = list.size() - 1; i > 0; --i) {
        for (int j = 0; j < i; ++j) {
            if (!sameTable(list[i]->colors, list[j]->colors))
                continue;
            for (SampleSprite *sprite : qAsConst(file->sprites))
                if (sprite->paletteIndex == i)
                    sprite->paletteIndex = j;
            delete list.takeAt(i);
            removed(i);
            break;
        }
    }
    current = qMin(current, count() ? count() - 1 : 0);
    endResetModel();
    file->touch();
}

int SpritePalettes::find(unsigned int start, const QVariant &id) const
{
    const QString text = id.toString();
    for (int i = int(start); i < list.size(); ++i)
        if (list[i]->id == text)
            return i;
    return -1;
}

void SpritePalettes::clear()
{
    beginResetModel();
    qDeleteAll(list);
    list.clear();
    current = 0;
    for (SampleSprite *sprite : qAsConst(file->sprites))
        sprite->paletteIndex = -1;
    endResetModel();
    file->touch();
}

void SpritePalettes::clearUnused()
{
    for (int i = list.size() - 1; i >= 0; --i) {
        const bool used = std::any_of(file->sprites.begin(), file->sprites.end(),
                                      [i](SampleSprite *s) { return s->paletteIndex == i; });
        if (!used)
            remove(unsigned(i));
    }
}

// ---------------------------------------------------------------------------------------------
// Sprites

SampleSprite::SampleSprite(SpriteFile *file) : file(file), data(new SpriteImage) {}

SampleSprite::~SampleSprite()
{
    data->release();
}

QStringList SampleSprite::propertyNames() const
{
    return Zorn::Sprite::propertyNames() << QStringLiteral("Format");
}

QVariant SampleSprite::property(const QString &name) const
{
    if (name == QLatin1String("Identifier"))
        return idText(id);
    if (name == QLatin1String("Format"))
        return pcx ? QStringLiteral("PCX") : QStringLiteral("PNG");
    return QVariant();
}

void SampleSprite::setProperty(const QString &name, const QVariant &value)
{
    if (name == QLatin1String("Identifier")) {
        Zorn::SubItem parsed;
        if (Zorn::SubItem::parse(value.toString(), parsed)) {
            id = parsed;
            file->touch();
        }
    } else if (name == QLatin1String("Format")) {
        const bool wantPcx = value.toString().compare(QLatin1String("PCX"), Qt::CaseInsensitive) == 0;
        if (wantPcx != pcx && !isEmpty())
            setBytes(encode(image(), wantPcx), wantPcx, Zorn::NoShare);
    }
}

unsigned int SampleSprite::index() const
{
    return unsigned(file->sprites.indexOf(const_cast<SampleSprite *>(this)));
}

Zorn::Sprites *SampleSprite::parent() const
{
    return file;
}

Zorn::Sprite *SampleSprite::duplicate() const
{
    auto *copy = new SampleSprite(file);
    copy->id = id;
    copy->spriteAxis = spriteAxis;
    copy->paletteIndex = paletteIndex;
    copy->pcx = pcx;
    // The copy shares the encoded picture until one of the two changes it.
    Zorn::StreamCache::Item *item = data->item();
    copy->data->itemSwap(item);
    if (item)
        item->release();
    file->insertSprite(index() + 1, copy);
    return copy;
}

void SampleSprite::crop()
{
    QImage picture = image();
    QPoint offset;
    if (Zorn::cropImage(picture, &offset, 0)) {
        setImage(picture, Zorn::NoShare);
        setAxis(spriteAxis - offset);
    }
}

void SampleSprite::splitRGB()
{
    const QImage picture = image().convertToFormat(QImage::Format_ARGB32);
    if (picture.isNull())
        return;
    QVector<QRgb> grey(256);
    for (int i = 0; i < 256; ++i)
        grey[i] = qRgb(i, i, i);
    unsigned int at = index();
    for (int channel = 0; channel < 3; ++channel) {
        QImage plane(picture.size(), QImage::Format_Indexed8);
        plane.setColorTable(grey);
        for (int y = 0; y < picture.height(); ++y) {
            const QRgb *in = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
            uchar *out = plane.scanLine(y);
            for (int x = 0; x < picture.width(); ++x)
                out[x] = uchar(in[x] >> (16 - 8 * channel));
        }
        Zorn::SubItem planeId = id;
        planeId.item = id.item * 10 + channel + 1;
        auto *sprite = static_cast<SampleSprite *>(
            file->insert(++at, idText(planeId), plane, Zorn::NoShare));
        sprite->setAxis(spriteAxis);
    }
}

bool SampleSprite::isEmpty() const
{
    return data->isEmpty();
}

QByteArray SampleSprite::bytes() const
{
    return data->toData();
}

void SampleSprite::setBytes(const QByteArray &encoded, bool asPcx, Zorn::ShareMode share)
{
    Zorn::StreamCache *cache = file->cache();
    pcx = asPcx;
    Zorn::StreamCache::Item *own = data->item();
    // AskToShare shares as well: this module has no dialog of its own to ask with.
    if (share != Zorn::NoShare) {
        Zorn::StreamCache::Item *hit = cache->find(encoded, own);
        if (hit) {
            data->itemSwap(hit);
            if (own)
                own->release();
            file->touch();
            return;
        }
    }
    // A shared item would change for every user: write to one of our own.
    if (!own || own->refCount() > 2)
        data->createItem(cache);
    if (own)
        own->release();
    data->fromData(encoded);
    file->touch();
}

QImage SampleSprite::image() const
{
    QByteArray encoded = bytes();
    if (encoded.isEmpty())
        return QImage();
    QBuffer buffer(&encoded);
    buffer.open(QIODevice::ReadOnly);
    QImage picture;
    if (!Zorn::loadImage(&buffer, pcx ? "PCX" : "PNG", picture))
        return QImage();
    if (picture.format() == QImage::Format_Indexed8 && paletteIndex >= 0
        && paletteIndex < file->palettesList.list.size()) {
        const Zorn::RGBA *colors = file->palettesList.list[paletteIndex]->colors;
        QVector<QRgb> table(256);
        for (int i = 0; i < 256; ++i)
            table[i] = qRgba(colors[i].red, colors[i].green, colors[i].blue, colors[i].alpha);
        picture.setColorTable(table);
    }
    return picture;
}

Zorn::ImageInfo SampleSprite::imageProperties() const
{
    QByteArray encoded = bytes();
    QBuffer buffer(&encoded);
    buffer.open(QIODevice::ReadOnly);
    return Zorn::imageInfoFromFile(&buffer, pcx ? "PCX" : "PNG");
}

bool SampleSprite::imageIsShared() const
{
    Zorn::StreamCache::Item *item = data->item();
    if (!item)
        return false;
    const bool shared = item->refCount() > 2; // ours, and the one item() just added
    item->release();
    return shared;
}

void SampleSprite::setImage(const QImage &image, bool reversed, PaletteMode mode,
                            Zorn::Palette *palette, Zorn::ShareMode share)
{
    QImage picture = image;
    Zorn::RGBA table[256] = {};
    if (picture.format() == QImage::Format_Indexed8) {
        const QVector<QRgb> colors = picture.colorTable();
        for (int i = 0; i < qMin(256, colors.size()); ++i) {
            const QRgb c = colors[reversed ? colors.size() - 1 - i : i];
            table[i] = Zorn::RGBA(uchar(qRed(c)), uchar(qGreen(c)), uchar(qBlue(c)),
                                  uchar(qAlpha(c)));
        }
    }
    switch (mode) {
    case OwnPalette:
        if (picture.format() == QImage::Format_Indexed8)
            setPalette(file->palettesList.add(table, idText(id), Zorn::Share));
        break;
    case AdaptImage:
        if (palette) {
            Zorn::RGBA target[256];
            palette->colorTable(target);
            Zorn::adaptImageToPalette(picture, target);
            setPalette(palette);
        }
        break;
    case SwapPalette:
        if (palette && picture.format() == QImage::Format_Indexed8) {
            palette->setColorTable(table, share);
            setPalette(palette);
        }
        break;
    case Ignore:
        break;
    }
    setImage(picture, share);
}

void SampleSprite::setImage(const QImage &image, Zorn::ShareMode share)
{
    if (image.isNull()) {
        if (!data->isEmpty()) {
            data->createItem(file->cache());
            data->reset();
            file->touch();
        }
        return;
    }
    setBytes(encode(image, pcx), pcx, share);
}

Zorn::Palette *SampleSprite::palette() const
{
    return file->palettesList.at(unsigned(paletteIndex));
}

void SampleSprite::setPalette(Zorn::Palette *palette)
{
    paletteIndex = file->palettesList.list.indexOf(static_cast<SpritePalette *>(palette));
    file->touch();
}

void SampleSprite::setAxis(QPoint axis)
{
    spriteAxis = axis;
    file->touch();
}

// ---------------------------------------------------------------------------------------------
// The file

SpriteFile::SpriteFile()
    : palettesList(this), pictureCache(Zorn::StreamCache::instance(nullptr, Zorn::StreamCache::Memory))
{
}

SpriteFile::~SpriteFile()
{
    qDeleteAll(sprites);
    sprites.clear();
    pictureCache->release();
}

int SpriteFile::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : sprites.size();
}

QVariant SpriteFile::data(const QModelIndex &index, int role) const
{
    if (role != Qt::DisplayRole || index.row() < 0 || index.row() >= sprites.size())
        return QVariant();
    return idText(sprites[index.row()]->id);
}

void SpriteFile::move(unsigned int from, unsigned int to)
{
    if (from >= count() || to > count() || from == to)
        return;
    beginResetModel();
    sprites.insert(int(to > from ? to - 1 : to), sprites.takeAt(int(from)));
    endResetModel();
    touch();
}

void SpriteFile::remove(unsigned int index)
{
    if (index >= count())
        return;
    beginResetModel();
    delete sprites.takeAt(int(index));
    if (current >= count() && current > 0)
        current = count() - 1;
    endResetModel();
    touch();
}

int SpriteFile::compare(unsigned int a, unsigned int b) const
{
    const Zorn::SubItem &x = sprites.value(int(a))->id, &y = sprites.value(int(b))->id;
    if (x.group != y.group)
        return x.group < y.group ? -1 : 1;
    return x.item < y.item ? -1 : x.item > y.item ? 1 : 0;
}

void SpriteFile::setSelected(unsigned int index)
{
    if (index < count())
        current = index;
}

Zorn::Palettes *SpriteFile::palettes() const
{
    return &palettesList;
}

Zorn::Sprite *SpriteFile::at(unsigned int index) const
{
    return index < count() ? sprites[int(index)] : nullptr;
}

Zorn::Sprite *SpriteFile::insert(unsigned int index, const QVariant &id, const QImage &image,
                                 Zorn::ShareMode share)
{
    auto *sprite = new SampleSprite(this);
    sprite->id = parseId(id);
    insertSprite(index, sprite);
    sprite->setImage(image, share);
    return sprite;
}

void SpriteFile::insertSprite(unsigned int index, SampleSprite *sprite)
{
    beginResetModel();
    sprites.insert(int(qMin(index, count())), sprite);
    endResetModel();
    touch();
}

Zorn::Sprite *SpriteFile::add(const QVariant &id, const QImage &image, Zorn::ShareMode share)
{
    return insert(count(), id, image, share);
}

int SpriteFile::find(unsigned int start, const QVariant &id) const
{
    const Zorn::SubItem wanted = parseId(id);
    for (int i = int(start); i < sprites.size(); ++i)
        if (sprites[i]->id.group == wanted.group && sprites[i]->id.item == wanted.item)
            return i;
    return -1;
}

void SpriteFile::clear()
{
    beginResetModel();
    qDeleteAll(sprites);
    sprites.clear();
    current = 0;
    endResetModel();
    touch();
}

QByteArray SpriteFile::serialize() const
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData(Magic, 4);
    out << Version << quint16(palettesList.list.size()) << quint32(sprites.size());
    for (const SpritePalette *palette : palettesList.list) {
        const QByteArray id = palette->id.toUtf8();
        out << quint16(id.size());
        out.writeRawData(id.constData(), id.size());
        out.writeRawData(reinterpret_cast<const char *>(palette->colors), 1024);
    }
    for (const SampleSprite *sprite : sprites) {
        const QByteArray picture = sprite->bytes();
        out << qint32(sprite->id.group) << qint32(sprite->id.item)
            << qint16(sprite->spriteAxis.x()) << qint16(sprite->spriteAxis.y())
            << qint16(sprite->paletteIndex) << quint8(sprite->pcx ? 1 : 0)
            << quint32(picture.size());
        out.writeRawData(picture.constData(), picture.size());
    }
    return bytes;
}

bool SpriteFile::deserialize(const QByteArray &bytes)
{
    QDataStream in(bytes);
    in.setByteOrder(QDataStream::LittleEndian);
    char magic[4] = {};
    quint16 version = 0, paletteCount = 0;
    quint32 spriteCount = 0;
    in.readRawData(magic, 4);
    in >> version >> paletteCount >> spriteCount;
    if (in.status() != QDataStream::Ok || std::memcmp(magic, Magic, 4) || version != Version)
        return false;
    const auto remaining = [&] { return bytes.size() - in.device()->pos(); };

    QList<SpritePalette *> palettes;
    QList<SampleSprite *> loaded;
    const auto fail = [&] {
        qDeleteAll(palettes);
        qDeleteAll(loaded);
        return false;
    };
    for (int i = 0; i < paletteCount; ++i) {
        quint16 length = 0;
        in >> length;
        if (in.status() != QDataStream::Ok || remaining() < length + 1024)
            return fail();
        auto *palette = new SpritePalette;
        palettes << palette;
        palette->owner = &palettesList;
        palette->id = QString::fromUtf8(bytes.constData() + in.device()->pos(), length);
        in.skipRawData(length);
        in.readRawData(reinterpret_cast<char *>(palette->colors), 1024);
    }
    // Each sprite takes at least its 21 bytes of head: a count beyond that is a lie.
    if (spriteCount > quint32(remaining() / 21))
        return fail();
    for (quint32 i = 0; i < spriteCount; ++i) {
        qint32 group = 0, number = 0;
        qint16 x = 0, y = 0, palette = 0;
        quint8 kind = 0;
        quint32 length = 0;
        in >> group >> number >> x >> y >> palette >> kind >> length;
        if (in.status() != QDataStream::Ok || kind > 1 || palette < -1 || palette >= paletteCount
            || length > quint32(remaining()))
            return fail();
        auto *sprite = new SampleSprite(this);
        loaded << sprite;
        sprite->id.group = group;
        sprite->id.item = number;
        sprite->spriteAxis = QPoint(x, y);
        sprite->paletteIndex = palette;
        sprite->pcx = kind == 1;
        const QByteArray picture = bytes.mid(int(in.device()->pos()), int(length));
        in.skipRawData(int(length));
        if (!picture.isEmpty())
            sprite->setBytes(picture, sprite->pcx, Zorn::Share);
    }
    if (remaining() != 0)
        return fail();

    beginResetModel();
    qDeleteAll(sprites);
    qDeleteAll(palettesList.list);
    sprites = loaded;
    palettesList.list = palettes;
    current = 0;
    palettesList.current = 0;
    endResetModel();
    return true;
}

bool SpriteFile::fromFile(Zorn::Archive &archive, const QString &fileName, unsigned int flags,
                          Zorn::JobStats *job)
{
    QIODevice *device = archive.openFile(fileName, QIODevice::ReadOnly);
    if (!device) {
        if (job)
            job->error(QStringLiteral("Can't open '%1'.").arg(fileName));
        return false;
    }
    const QByteArray bytes = device->readAll();
    archive.closeFile(device);
    if (!deserialize(bytes)) {
        if (job)
            job->error(QStringLiteral("'%1' is not a sprite file.").arg(fileName));
        return false;
    }
    if (!(flags & Copy)) {
        name = fileName;
        modified = false;
    }
    Zorn::ProjectFile::fromFile(archive, fileName, flags, job);
    return true;
}

bool SpriteFile::toFile(Zorn::Archive &archive, const QString &fileName, unsigned int flags,
                        Zorn::JobStats *job)
{
    // The archive writes beside the target and replaces it only once all is written.
    QIODevice *device = archive.openFile(fileName, QIODevice::WriteOnly);
    if (!device) {
        if (job)
            job->error(QStringLiteral("Can't write '%1'.").arg(fileName));
        return false;
    }
    const QByteArray bytes = serialize();
    if (device->write(bytes) != bytes.size()) {
        archive.discardFile(device);
        if (job)
            job->error(QStringLiteral("Can't write '%1'.").arg(fileName));
        return false;
    }
    if (!archive.closeFile(device)) {
        if (job)
            job->error(QStringLiteral("Can't write '%1'.").arg(fileName));
        return false;
    }
    if (!(flags & Copy)) {
        name = fileName;
        modified = false;
    }
    Zorn::ProjectFile::toFile(archive, fileName, flags, job);
    return true;
}

} // namespace Sample
