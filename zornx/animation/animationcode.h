#ifndef ZORNX_ANIMATION_ANIMATIONCODE_H
#define ZORNX_ANIMATION_ANIMATIONCODE_H

// The animation file as the code document's tree sees it. The text stays the only model: an
// engine module parses its animation syntax into concrete classes derived from these, and
// every change below is a change of the text that the document reparses. Node pointers do not
// survive an edit; take animations and frames anew by index after one.

// X11's headers define None as a macro; it would break the enumerators below and those of the
// code tree.
#ifdef None
#pragma push_macro("None")
#undef None
#define ZORNX_ANIMATION_RESTORE_NONE
#endif

#include <zornx/code/codenode.h>
#include <zornx/code/codenodefile.h>
#include <zornx/project/organizable.h>

#include <QtCore/QList>
#include <QtCore/QPoint>
#include <QtCore/QPointF>
#include <QtCore/QRect>

namespace Zorn
{

class AnimationCode;
class ContactBoxesCode;
class FrameCode;
class Sprite;

// One contact box of a frame, in the frame's coordinates.
class ZORNX_EXPORT ContactBoxCode : public CodeNode, public PropertyItem
{
public:
    enum BoxType : int { Attack = 1, Collision = 2 };

    ContactBoxCode(const QTextBlock &block, CodeNode *previous, BoxType type, const QRect &rect);

    // Writes the text; the parse then updates rect().
    virtual void setRect(const QRect &rect) = 0;

    BoxType boxType() const { return type; }
    QRect rect() const { return box; }

protected:
    BoxType type;
    QRect box;
};

// The boxes of one kind that belong to a frame.
class ZORNX_EXPORT ContactBoxesCode
{
public:
    explicit ContactBoxesCode(ContactBoxCode::BoxType type) : type(type) {}
    virtual ~ContactBoxesCode();

    ContactBoxCode::BoxType boxType() const { return type; }

    virtual FrameCode *parent() const = 0;
    virtual unsigned int count() const = 0;
    virtual ContactBoxCode *at(unsigned int index) const = 0;
    virtual ContactBoxCode *add(const QRect &rect) = 0;
    virtual void remove(unsigned int index) = 0;
    virtual void clear() = 0;

private:
    ContactBoxCode::BoxType type;
};

// One frame line. It finds its animation by itself: the nearest frame or animation before it.
class ZORNX_EXPORT FrameCode : public ParentCode, public PropertyItem
{
public:
    struct Blend {
        enum Mode : int {
            None = 0,
            Addition = 1,
            Subtraction = 2,
            Overlay = 3,
            HardLight = 4,
            Dodge = 5,
            Opacity = 6,
        };
        Blend() = default;
        Blend(Mode mode, double source, double destination)
            : mode(mode), source(source), destination(destination)
        {
        }
        bool operator==(const Blend &other) const
        {
            return mode == other.mode && source == other.source && destination == other.destination;
        }

        Mode mode = None;
        double source = 1.0;
        double destination = 1.0;
    };
    enum Flip : int { None = 0, Horizontal = 1, Vertical = 2, Both = 3 };

    virtual Sprite *sprite() const = 0;
    virtual void setSprite(Sprite *sprite) = 0;
    virtual int offsetX() const = 0;
    virtual void setOffsetX(int x) = 0;
    virtual int offsetY() const = 0;
    virtual void setOffsetY(int y) = 0;
    virtual QPoint offset() const = 0;
    virtual void setOffset(QPoint offset) = 0;
    // Ticks; below 0 the engine's endless delay.
    virtual int delay() const = 0;
    virtual void setDelay(int delay) = 0;
    virtual double scaleX() const = 0;
    virtual void setScaleX(double x) = 0;
    virtual double scaleY() const = 0;
    virtual void setScaleY(double y) = 0;
    virtual QPointF scale() const = 0;
    virtual void setScale(QPointF scale) = 0;
    // Degrees.
    virtual double angle() const = 0;
    virtual void setAngle(double angle) = 0;
    virtual unsigned char flipFlags() const = 0;
    virtual void setFlipFlags(unsigned int flags) = 0;
    virtual Blend::Mode blendMode() const = 0;
    virtual void setBlendMode(Blend::Mode mode) = 0;
    virtual double blendSource() const = 0;
    virtual void setBlendSource(double source) = 0;
    virtual double blendDestination() const = 0;
    virtual void setBlendDestination(double destination) = 0;
    virtual Blend blend() const = 0;
    virtual void setBlend(Blend blend) = 0;
    // The text form of boxes, for the clipboard, and the way back.
    virtual QString contactBoxesText(const QList<ContactBoxCode *> &boxes) = 0;
    virtual void pasteContactBoxes(const QString &text) = 0;
    virtual void addContactBox(ContactBoxCode::BoxType type, QRect rect) = 0;
    // An odd kind gives the attack boxes, an even one the collision boxes.
    virtual ContactBoxesCode *contactBoxes(ContactBoxCode::BoxType type) const;

    int firstLine() const override;

    ContactBoxesCode *collisionBoxes() const { return collision; }
    ContactBoxesCode *attackBoxes() const { return attack; }
    // The place in the animation, or -1 without one.
    int index() const;

    QStringList propertyNames() const override;

protected:
    FrameCode(const QTextBlock &block, CodeNode *previous, ContactBoxesCode *attackBoxes,
              ContactBoxesCode *collisionBoxes);

private:
    ContactBoxesCode *attack;
    ContactBoxesCode *collision;
};

// One animation: a header line and the frames below it up to the next header or section.
class ZORNX_EXPORT AnimationCode : public ParentCode, public NamedCode
{
public:
    // Hands the frames that remain to the animation before, if one comes before any section.
    ~AnimationCode() override;

    int lastLine() const override;
    unsigned int childCount() const override;
    int childIndex(CodeNode *node) const override;
    CodeNode *childAt(unsigned int index) const override;
    void insertChild(CodeNode *node, unsigned int index) override;
    void removeChild(CodeNode *node) override;
    // A frame's change is a change of this animation's row for the file.
    void childChanged(CodeNode *node) override;

    virtual unsigned int loopPoint() const = 0;
    virtual FrameCode *insertFrame(unsigned int index, int delay) = 0;
    virtual FrameCode *addFrame(int delay) = 0;

    // "DisplayName", "Name" and "Identifier"; the module reads and writes "Identifier".
    QStringList propertyNames() const override;

    const QList<FrameCode *> &frames() const { return frameList; }
    unsigned int frameCount() const { return unsigned(frameList.size()); }
    FrameCode *frameAt(unsigned int index) const;
    int indexOfFrame(const FrameCode *frame) const;
    unsigned int selectedFrame() const { return selected; }
    void setSelectedFrame(unsigned int index) { selected = index; }
    void removeFrame(unsigned int index);
    // The trimmed text of the whole animation, and its replacement.
    QString code() const;
    void setCode(const QString &text);

protected:
    AnimationCode(const QTextBlock &block, CodeNode *previous);

private:
    QList<FrameCode *> frameList; // not owned
    unsigned int selected = 0;
};

// An animation file: the document's animations as a list model, and the edits of whole
// animations. An engine module derives it, supplies optimize() and codeTemplate(), and
// registers it with the document for the Animation nodes.
class ZORNX_EXPORT Animations : public OrganizableObject, public CodeNodeFile
{
    Q_OBJECT
public:
    explicit Animations(CodeDocument *document);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    // The display name, for valid rows, and nothing while an edit block is open.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    void move(unsigned int from, unsigned int to) override;
    void beginChange() override;
    void endChange() override;
    void remove(unsigned int index) override;
    // -1 or 1: numeric identifiers first in numeric order, then the others ignoring case.
    int compare(unsigned int a, unsigned int b) const override;

    // Rewrites the file in the engine's tidiest form; the number of lines removed.
    virtual unsigned int optimize() = 0;
    // The text of a new animation; %1 stands for the identifier.
    virtual QString codeTemplate() const = 0;

    void insertChild(CodeNode *node, unsigned int index) override;
    void removeChild(CodeNode *node) override;
    void childChanged(CodeNode *node) override;
    QAbstractItemModel *model() override { return this; }

    unsigned int count() const { return unsigned(list.size()); }
    const QList<AnimationCode *> &animations() const { return list; }
    AnimationCode *at(unsigned int index) const;
    int indexOf(const AnimationCode *animation) const;
    int find(unsigned int from, const QVariant &value) const;
    AnimationCode *add(const QString &identifier);
    AnimationCode *insert(unsigned int index, const QString &identifier);
    void duplicate(unsigned int index, const QString &identifier);
    unsigned int selected() const { return selectedIndex; }
    void setSelected(unsigned int index) { selectedIndex = index; }

protected:
    ~Animations() override;

private:
    QList<AnimationCode *> list; // the document's nodes, not owned
    bool moving = false;
    unsigned int selectedIndex = 0;
};

} // namespace Zorn

#ifdef ZORNX_ANIMATION_RESTORE_NONE
#pragma pop_macro("None")
#undef ZORNX_ANIMATION_RESTORE_NONE
#endif

#endif
