#ifndef ZORNX_SAMPLE_SAMPLEANIMATION_H
#define ZORNX_SAMPLE_SAMPLEANIMATION_H

// The sample engine's animation files (".anim"), one line per item:
//
//     ; a comment
//     @200 walking                 an animation: '@', its identifier, an optional name
//     hit 10,-60,30,20             an attack box of the frame below: x, y, width, height
//     body -10,-80,20,80           a collision box of the frame below
//     show 0,1 | 0,0 | 6 | - | normal
//     loop                         the next frame is where the animation continues
//     show 0,2 | 3,-1 | -1 | hv | add 1 0.5 | 1.5,1.5 | 30
//
// Box lines stand above their frame, so that the frame's lines (from the line behind the
// frame before it) hold its boxes.
//
// A frame: sprite "group,number" | offset x,y | delay (-1 endless) | flip (- h v hv) | blend
// (normal, add, sub, overlay, hardlight, dodge, alpha; then source and destination, 1 1 when
// left out) | scale x,y (optional) | angle in degrees (optional). See README.md.

#include "samplecode.h"

#include <zornx/animation/animationcode.h>

namespace Zorn
{
class Sprites;
}

namespace Sample
{

// The values of one frame line, as the parser reads them and the writer writes them.
struct FrameLine {
    QString sprite = QStringLiteral("0,0");
    QPoint offset;
    int delay = 1;
    unsigned int flip = 0;
    Zorn::FrameCode::Blend blend;
    QPointF scale{1.0, 1.0};
    double angle = 0.0;

    bool operator==(const FrameLine &other) const;
    // The line's text in the written form.
    QString text() const;
    // The values of the text behind "show"; false for a malformed line (error in message).
    static bool parse(const QString &body, FrameLine &line, QString *message = nullptr);
};

class AnimationNode : public Zorn::AnimationCode
{
public:
    AnimationNode(const QTextBlock &block, Zorn::CodeNode *previous, const QString &identifier,
                  const QString &title);

    QString name() const override { return title; }
    QString displayName() const override;
    void setName(const QString &name) override;
    QVariant property(const QString &name) const override;
    void setProperty(const QString &name, const QVariant &value) override;
    unsigned int loopPoint() const override;
    Zorn::FrameCode *insertFrame(unsigned int index, int delay) override;
    Zorn::FrameCode *addFrame(int delay) override;

    // The parser keeps the node for a changed header.
    void update(const QString &newIdentifier, const QString &newTitle);

    QString identifier; // a number, or a word of letters, digits and '_'
    QString title;
};

class FrameNode;

class BoxList : public Zorn::ContactBoxesCode
{
public:
    BoxList(FrameNode *frame, Zorn::ContactBoxCode::BoxType type)
        : ContactBoxesCode(type), frame(frame)
    {
    }
    Zorn::FrameCode *parent() const override;
    unsigned int count() const override;
    Zorn::ContactBoxCode *at(unsigned int index) const override;
    Zorn::ContactBoxCode *add(const QRect &rect) override;
    void remove(unsigned int index) override;
    void clear() override;

private:
    FrameNode *frame;
};

class FrameNode : public Zorn::FrameCode
{
public:
    FrameNode(const QTextBlock &block, Zorn::CodeNode *previous, const FrameLine &values);

    Zorn::Sprite *sprite() const override;
    void setSprite(Zorn::Sprite *sprite) override;
    int offsetX() const override { return values.offset.x(); }
    void setOffsetX(int x) override { setOffset(QPoint(x, values.offset.y())); }
    int offsetY() const override { return values.offset.y(); }
    void setOffsetY(int y) override { setOffset(QPoint(values.offset.x(), y)); }
    QPoint offset() const override { return values.offset; }
    void setOffset(QPoint offset) override;
    int delay() const override { return values.delay; }
    void setDelay(int delay) override;
    double scaleX() const override { return values.scale.x(); }
    void setScaleX(double x) override { setScale(QPointF(x, values.scale.y())); }
    double scaleY() const override { return values.scale.y(); }
    void setScaleY(double y) override { setScale(QPointF(values.scale.x(), y)); }
    QPointF scale() const override { return values.scale; }
    void setScale(QPointF scale) override;
    double angle() const override { return values.angle; }
    void setAngle(double angle) override;
    unsigned char flipFlags() const override { return static_cast<unsigned char>(values.flip); }
    void setFlipFlags(unsigned int flags) override;
    Blend::Mode blendMode() const override { return values.blend.mode; }
    void setBlendMode(Blend::Mode mode) override;
    double blendSource() const override { return values.blend.source; }
    void setBlendSource(double source) override;
    double blendDestination() const override { return values.blend.destination; }
    void setBlendDestination(double destination) override;
    Blend blend() const override { return values.blend; }
    void setBlend(Blend blend) override;
    // One box line per box, as the file writes them.
    QString contactBoxesText(const QList<Zorn::ContactBoxCode *> &boxes) override;
    void pasteContactBoxes(const QString &text) override;
    void addContactBox(Zorn::ContactBoxCode::BoxType type, QRect rect) override;

    QVariant property(const QString &name) const override;
    void setProperty(const QString &name, const QVariant &value) override;

    void update(const FrameLine &line);
    const FrameLine &line() const { return values; }

private:
    void write(const FrameLine &line);

    FrameLine values;
    BoxList attackList;
    BoxList collisionList;
};

class BoxNode : public Zorn::ContactBoxCode
{
public:
    BoxNode(const QTextBlock &block, Zorn::CodeNode *previous, BoxType type, const QRect &rect);
    void setRect(const QRect &rect) override;
    QStringList propertyNames() const override;
    QVariant property(const QString &name) const override;
    void setProperty(const QString &name, const QVariant &value) override;

    void update(BoxType newType, const QRect &rect);
    // "hit x,y,w,h" or "body x,y,w,h".
    static QString text(BoxType type, const QRect &rect);
};

// The "loop" line; its node has no kind the library knows.
class LoopNode : public Zorn::CodeNode
{
public:
    LoopNode(const QTextBlock &block, Zorn::CodeNode *previous) : CodeNode(None, block, previous) {}
};

class AnimationParser : public Zorn::CodeParser
{
public:
    Zorn::CodeNode *parse(const QString &text, QTextBlock *block, Zorn::CodeNode *oldNode,
                          Zorn::CodeNode *insertAfter, Zorn::RootCode *root,
                          Zorn::CodeParserSyntax *syntax) override;
};

// A code document over an animation file.
class AnimationDocument : public Sample::CodeDocument
{
    Q_OBJECT
public:
    AnimationDocument() { setParser(&animationParser); }
    AnimationParser animationParser;
};

// The animations of a document; it registers itself for them.
class AnimationFile : public Zorn::Animations
{
    Q_OBJECT
public:
    explicit AnimationFile(Zorn::CodeDocument *document);

    // Merges equal consecutive frames (same values and boxes, nothing else between, finite
    // delays, no comments) into the first, with the sum of their delays.
    unsigned int optimize() override;
    QString codeTemplate() const override;

    // Where frames look their sprites up; null leaves every sprite() null.
    Zorn::Sprites *sprites = nullptr;

    // The file that a document's animations are registered with.
    static AnimationFile *of(const Zorn::CodeNode *node);

protected:
    void free() override { delete this; }
};

} // namespace Sample

#endif
