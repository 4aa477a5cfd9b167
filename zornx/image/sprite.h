#ifndef ZORNX_IMAGE_SPRITE_H
#define ZORNX_IMAGE_SPRITE_H

// The sprite model as the editors, the renderers and the scripts see it. Engine modules give
// the bodies: how pictures, palettes and identifiers are stored is theirs to decide.

#include <zornx/core/color.h>
#include <zornx/core/propertyitem.h>
#include <zornx/image/imagecodecs.h>
#include <zornx/project/organizable.h>
#include <zornx/project/projectfile.h>

#include <QtCore/QPoint>
#include <QtCore/QPointF>
#include <QtCore/QSizeF>
#include <QtGui/QImage>

namespace Zorn {

class Palettes;
class Sprite;
class Sprites;

// What to do when a picture or a colour table equals one that another item uses.
enum ShareMode {
    Share = 0,
    NoShare = 1,
    AskToShare = 2, // the module asks the user
};

// A sprite or a sound in formats that number them by pairs.
struct ZORNX_EXPORT SubItem
{
    int group = 0;
    int item = 0;

    // "group, item": exactly two comma-separated decimal numbers, blanks around them allowed.
    static bool parse(const QString &text, SubItem &out);
};

// One stored colour table of a Sprites file.
class ZORNX_EXPORT Palette : public PropertyItem
{
public:
    virtual Palettes *parent() const = 0;
    virtual unsigned int index() const = 0;
    virtual bool colorTable(RGBA (&table)[256]) const = 0;
    virtual void setColorTable(const RGBA *table, ShareMode mode) = 0;
    virtual Palette *duplicate() const = 0;
};

// The colour tables of a Sprites file, in order.
class ZORNX_EXPORT Palettes : public OrganizableObject
{
    Q_OBJECT
public:
    using OrganizableObject::OrganizableObject;

    virtual unsigned int selected() const = 0;
    virtual void setSelected(unsigned int index) = 0;
    virtual Sprites *sprites() const = 0;
    virtual unsigned int count() const = 0;
    virtual Palette *at(unsigned int index) const = 0;
    virtual Palette *add(const RGBA *table, const QVariant &id, ShareMode mode) = 0;
    virtual Palette *insert(unsigned int index, const RGBA *table, const QVariant &id,
                            ShareMode mode) = 0;
    virtual void removeDuplicates() = 0;
    // Position of the palette with this identifier from start on, or below 0.
    virtual int find(unsigned int start, const QVariant &id) const = 0;
    virtual void clear() = 0;
    // Removes the palettes that no sprite uses.
    virtual void clearUnused() = 0;
};

// One picture with its axis and, for indexed pictures, its palette.
class ZORNX_EXPORT Sprite : public PropertyItem
{
public:
    // How a new picture meets the palettes of its file.
    enum PaletteMode {
        Ignore = 0,      // palettes stay as they are
        OwnPalette = 1,  // the picture's own palette is added unless it is there already
        AdaptImage = 2,  // the picture is adapted to the given palette
        SwapPalette = 3, // the given palette is exchanged for the picture's
    };

    ~Sprite() override;
    // "Identifier"; modules append their own names.
    QStringList propertyNames() const override;
    virtual unsigned int index() const = 0;
    virtual Sprites *parent() const = 0;
    virtual Sprite *duplicate() const = 0;
    virtual void crop() = 0;
    virtual void splitRGB() = 0;
    virtual bool isEmpty() const = 0;
    // The picture, with its palette as colour table where the module has one.
    virtual QImage image() const = 0;
    virtual ImageInfo imageProperties() const = 0;
    virtual bool imageIsShared() const = 0;
    // setImage(image, NoShare).
    virtual void setImage(const QImage &image);
    // reversed: the picture's colour table is to be taken in reverse order.
    virtual void setImage(const QImage &image, bool reversed, PaletteMode mode, Palette *palette,
                          ShareMode share) = 0;
    // The pixels alone.
    virtual void setImage(const QImage &image, ShareMode share) = 0;
    virtual Palette *palette() const = 0;
    virtual void setPalette(Palette *palette) = 0;
    virtual QPoint axis() const = 0;
    virtual void setAxis(QPoint axis) = 0;

    // The picture on a canvas shared by a set of sprites: of size maximumAxis + rest, with
    // this sprite's axis on maximumAxis. Null for a sprite without picture.
    QImage aligned(QPoint axis, QPoint maximumAxis, QPoint rest) const;
};

// A file of sprites. Changes are bracketed by beginChange() and endChange().
class ZORNX_EXPORT Sprites : public OrganizableObject, public ProjectFile
{
    Q_OBJECT
public:
    void beginChange() override { ProjectFile::beginChange(); }
    void endChange() override { ProjectFile::endChange(); }
    void remove(unsigned int index) override = 0;
    virtual unsigned int selected() const = 0;
    virtual void setSelected(unsigned int index) = 0;
    virtual unsigned int count() const = 0;
    virtual Palettes *palettes() const = 0;
    // Null when there is none at index.
    virtual Sprite *at(unsigned int index) const = 0;
    virtual Sprite *insert(unsigned int index, const QVariant &id, const QImage &image,
                           ShareMode share) = 0;
    virtual Sprite *add(const QVariant &id, const QImage &image, ShareMode share) = 0;
    // Index of the sprite with this identifier from start on, or below 0.
    virtual int find(unsigned int start, const QVariant &id) const = 0;
    virtual void clear() = 0;
};

// What a GraphicsRenderer draws: the sprites of the present frame.
class ZORNX_EXPORT SpriteProvider
{
public:
    struct Info
    {
        enum Flag {
            PositionModeMask = 0x03, // 0 screen, 1 origin, 2 cross, 3 sprite given by reference
            UseSecondPosition = 0x20,
        };
        quint8 flags = 0;
        quint16 reference = 0;
        QPointF position;
        QPointF secondPosition;
        QSizeF size;
        QPointF scale = QPointF(1, 1);
        // What the animation editor sets for the engine's drawing.
        Sprite *sprite = nullptr;
        QPoint axis = QPoint(-1, -1);
        double angle = 0;
        int flip = 0;
        // Computed on each frame by the renderer.
        QPointF screenPosition;
        QSizeF screenSize;
        QPointF screenScale;
        QPointF canvasPosition;
    };

    virtual ~SpriteProvider();
    virtual unsigned int count() const = 0;
    virtual const Info &at(unsigned int index) const = 0;
    virtual Info &at(unsigned int index) = 0;
};

} // namespace Zorn

Q_DECLARE_METATYPE(Zorn::Sprite *)
Q_DECLARE_METATYPE(Zorn::Palette *)

#endif
