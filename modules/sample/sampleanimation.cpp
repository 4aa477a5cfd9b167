#include "sampleanimation.h"

#include <zornx/image/sprite.h>

#include <QtGui/QTextDocument>

using namespace Zorn;

namespace Sample
{

namespace
{

using Blend = FrameCode::Blend;

const char *const blendNames[] = {"normal", "add", "sub", "overlay", "hardlight", "dodge", "alpha"};
const char *const flipNames[] = {"-", "h", "v", "hv"};

QString number(double value)
{
    return QString::number(value, 'g', 10);
}

// "a,b" with two numbers of the kind that convert accepts.
template <typename T, typename Convert>
bool pair(const QString &text, T &first, T &second, Convert convert)
{
    const QStringList parts = text.split(QLatin1Char(','));
    if (parts.size() != 2)
        return false;
    bool ok1 = false;
    bool ok2 = false;
    first = convert(parts.at(0).trimmed(), &ok1);
    second = convert(parts.at(1).trimmed(), &ok2);
    return ok1 && ok2;
}

int toInt(const QString &text, bool *ok)
{
    return text.toInt(ok);
}

double toReal(const QString &text, bool *ok)
{
    return text.toDouble(ok);
}

bool parseRect(const QString &text, QRect &rect)
{
    const QStringList parts = text.split(QLatin1Char(','));
    if (parts.size() != 4)
        return false;
    int v[4];
    for (int i = 0; i < 4; ++i) {
        bool ok = false;
        v[i] = parts.at(i).trimmed().toInt(&ok);
        if (!ok)
            return false;
    }
    if (v[2] < 0 || v[3] < 0)
        return false;
    rect = QRect(v[0], v[1], v[2], v[3]);
    return true;
}

// The text before the comment, trimmed.
QString body(const QString &text)
{
    const int comment = text.indexOf(QLatin1Char(';'));
    return (comment < 0 ? text : text.left(comment)).trimmed();
}

// A whole number, or a word of letters, digits and '_'.
bool validIdentifier(const QString &text)
{
    bool numeric = false;
    text.toInt(&numeric);
    if (numeric)
        return true;
    if (text.isEmpty() || text.at(0).isDigit())
        return false;
    for (const QChar c : text)
        if (!c.isLetterOrNumber() && c != QLatin1Char('_'))
            return false;
    return true;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// FrameLine

bool FrameLine::operator==(const FrameLine &other) const
{
    return sprite == other.sprite && offset == other.offset && delay == other.delay &&
           flip == other.flip && blend == other.blend && scale == other.scale &&
           angle == other.angle;
}

QString FrameLine::text() const
{
    QString blendText = QString::fromLatin1(blendNames[blend.mode]);
    if (blend.source != 1.0 || blend.destination != 1.0)
        blendText +=
            QLatin1Char(' ') + number(blend.source) + QLatin1Char(' ') + number(blend.destination);
    QStringList fields{sprite, QStringLiteral("%1,%2").arg(offset.x()).arg(offset.y()),
                       QString::number(delay), QString::fromLatin1(flipNames[flip & 3]), blendText};
    if (scale != QPointF(1.0, 1.0) || angle != 0.0)
        fields.append(number(scale.x()) + QLatin1Char(',') + number(scale.y()));
    if (angle != 0.0)
        fields.append(number(angle));
    return QStringLiteral("show ") + fields.join(QStringLiteral(" | "));
}

bool FrameLine::parse(const QString &text, FrameLine &line, QString *message)
{
    const auto fail = [message](const char *why) {
        if (message)
            *message = QString::fromLatin1(why);
        return false;
    };
    const QStringList fields = text.split(QLatin1Char('|'));
    if (fields.size() < 5 || fields.size() > 7)
        return fail("A frame has 5 to 7 fields");
    FrameLine parsed;
    int group = 0;
    int item = 0;
    if (!pair(fields.at(0), group, item, toInt))
        return fail("Sprite \"group,number\" expected");
    parsed.sprite = QStringLiteral("%1,%2").arg(group).arg(item);
    int x = 0;
    int y = 0;
    if (!pair(fields.at(1), x, y, toInt))
        return fail("Offset \"x,y\" expected");
    parsed.offset = QPoint(x, y);
    bool ok = false;
    parsed.delay = fields.at(2).trimmed().toInt(&ok);
    if (!ok)
        return fail("Delay expected");
    const QString flip = fields.at(3).trimmed().toLower();
    int flipIndex = -1;
    for (int i = 0; i < 4; ++i)
        if (flip == QLatin1String(flipNames[i]))
            flipIndex = i;
    if (flipIndex < 0)
        return fail("Flip expected: - h v hv");
    parsed.flip = unsigned(flipIndex);
    const QStringList blend = fields.at(4).simplified().split(QLatin1Char(' '));
    int mode = -1;
    for (int i = 0; i < 7; ++i)
        if (blend.first().toLower() == QLatin1String(blendNames[i]))
            mode = i;
    if (mode < 0 || (blend.size() != 1 && blend.size() != 3))
        return fail("Blend expected");
    parsed.blend.mode = Blend::Mode(mode);
    if (blend.size() == 3) {
        bool okSource = false;
        bool okDestination = false;
        parsed.blend.source = blend.at(1).toDouble(&okSource);
        parsed.blend.destination = blend.at(2).toDouble(&okDestination);
        if (!okSource || !okDestination)
            return fail("Blend factors expected");
    }
    if (fields.size() > 5) {
        double sx = 1.0;
        double sy = 1.0;
        if (!pair(fields.at(5), sx, sy, toReal))
            return fail("Scale \"x,y\" expected");
        parsed.scale = QPointF(sx, sy);
    }
    if (fields.size() > 6) {
        parsed.angle = fields.at(6).trimmed().toDouble(&ok);
        if (!ok)
            return fail("Angle expected");
    }
    line = parsed;
    return true;
}

// ---------------------------------------------------------------------------------------------
// AnimationNode

AnimationNode::AnimationNode(const QTextBlock &block, CodeNode *previous, const QString &identifier,
                             const QString &title)
    : AnimationCode(block, previous), identifier(identifier), title(title)
{
}

QString AnimationNode::displayName() const
{
    return title.isEmpty() ? identifier : identifier + QLatin1Char(' ') + title;
}

void AnimationNode::setName(const QString &name)
{
    change(QStringLiteral("@%1 %2").arg(identifier, name).trimmed());
}

QVariant AnimationNode::property(const QString &name) const
{
    if (name == QLatin1String("Identifier")) {
        bool numeric = false;
        const int number = identifier.toInt(&numeric);
        return numeric ? QVariant(number) : QVariant(identifier);
    }
    return NamedCode::property(name);
}

void AnimationNode::setProperty(const QString &name, const QVariant &value)
{
    if (name == QLatin1String("Identifier")) {
        const QString text = value.toString();
        if (validIdentifier(text))
            change(QStringLiteral("@%1 %2").arg(text, title).trimmed());
        return;
    }
    NamedCode::setProperty(name, value);
}

unsigned int AnimationNode::loopPoint() const
{
    unsigned int frames = 0;
    for (const CodeNode *node = next(); node; node = node->next()) {
        if (node->type() == Group || node->type() == Animation)
            break;
        if (node->type() == Frame)
            ++frames;
        else if (node->type() == None)
            return frames < frameCount() ? frames : 0;
    }
    return 0;
}

FrameCode *AnimationNode::insertFrame(unsigned int index, int delay)
{
    Zorn::CodeDocument *doc = document();
    if (!doc)
        return nullptr;
    FrameLine line;
    line.delay = delay;
    index = qMin(index, frameCount());
    // In front of the frame's box lines, or behind the last frame line.
    if (index < frameCount())
        doc->insertBefore(frameAt(index), line.text(), false);
    else
        doc->insertAfter(frameCount() ? static_cast<CodeNode *>(frameAt(frameCount() - 1)) : this,
                         line.text(), true);
    return frameAt(index);
}

FrameCode *AnimationNode::addFrame(int delay)
{
    return insertFrame(frameCount(), delay);
}

void AnimationNode::update(const QString &newIdentifier, const QString &newTitle)
{
    if (newIdentifier == identifier && newTitle == title)
        return;
    identifier = newIdentifier;
    title = newTitle;
    valueChanged(identifier);
}

// ---------------------------------------------------------------------------------------------
// BoxList

FrameCode *BoxList::parent() const
{
    return frame;
}

// The box lines right above the frame line, in text order.
static QList<ContactBoxCode *> boxesOf(const FrameNode *frame, ContactBoxCode::BoxType type)
{
    QList<ContactBoxCode *> boxes;
    for (CodeNode *node = frame->previous(); node && node->type() == CodeNode::HitBox;
         node = node->previous()) {
        auto *box = static_cast<ContactBoxCode *>(node);
        if (box->boxType() == type)
            boxes.prepend(box);
    }
    return boxes;
}

unsigned int BoxList::count() const
{
    return unsigned(boxesOf(frame, boxType()).size());
}

ContactBoxCode *BoxList::at(unsigned int index) const
{
    return boxesOf(frame, boxType()).value(int(index));
}

ContactBoxCode *BoxList::add(const QRect &rect)
{
    frame->addContactBox(boxType(), rect);
    return count() > 0 ? at(count() - 1) : nullptr;
}

void BoxList::remove(unsigned int index)
{
    if (ContactBoxCode *box = at(index))
        box->remove(false);
}

void BoxList::clear()
{
    Zorn::CodeDocument *doc = frame->document();
    if (!doc)
        return;
    doc->beginChange();
    // Every removal parses at once; the box pointers are taken anew each time.
    for (unsigned int left = count(); left > 0; --left)
        at(0)->remove(false);
    doc->endChange();
}

// ---------------------------------------------------------------------------------------------
// FrameNode

FrameNode::FrameNode(const QTextBlock &block, CodeNode *previous, const FrameLine &values)
    : FrameCode(block, previous, &attackList, &collisionList), values(values),
      attackList(this, ContactBoxCode::Attack), collisionList(this, ContactBoxCode::Collision)
{
}

Sprite *FrameNode::sprite() const
{
    const AnimationFile *file = AnimationFile::of(this);
    if (!file || !file->sprites)
        return nullptr;
    const int found = file->sprites->find(0, values.sprite);
    return found < 0 ? nullptr : file->sprites->at(unsigned(found));
}

void FrameNode::setSprite(Sprite *sprite)
{
    if (!sprite)
        return;
    FrameLine line = values;
    line.sprite =
        sprite->property(QStringLiteral("Identifier")).toString().remove(QLatin1Char(' '));
    write(line);
}

void FrameNode::write(const FrameLine &line)
{
    if (!(line == values))
        change(line.text());
}

void FrameNode::setOffset(QPoint offset)
{
    FrameLine line = values;
    line.offset = offset;
    write(line);
}

void FrameNode::setDelay(int delay)
{
    FrameLine line = values;
    line.delay = delay;
    write(line);
}

void FrameNode::setScale(QPointF scale)
{
    FrameLine line = values;
    line.scale = scale;
    write(line);
}

void FrameNode::setAngle(double angle)
{
    FrameLine line = values;
    line.angle = angle;
    write(line);
}

void FrameNode::setFlipFlags(unsigned int flags)
{
    FrameLine line = values;
    line.flip = flags & 3;
    write(line);
}

void FrameNode::setBlendMode(Blend::Mode mode)
{
    setBlend(Blend(mode, values.blend.source, values.blend.destination));
}

void FrameNode::setBlendSource(double source)
{
    setBlend(Blend(values.blend.mode, source, values.blend.destination));
}

void FrameNode::setBlendDestination(double destination)
{
    setBlend(Blend(values.blend.mode, values.blend.source, destination));
}

void FrameNode::setBlend(Blend blend)
{
    if (blend.mode < Blend::None || blend.mode > Blend::Opacity)
        return;
    FrameLine line = values;
    line.blend = blend;
    write(line);
}

QString FrameNode::contactBoxesText(const QList<ContactBoxCode *> &boxes)
{
    QStringList lines;
    for (const ContactBoxCode *box : boxes)
        lines.append(BoxNode::text(box->boxType(), box->rect()));
    return lines.join(QLatin1Char('\n'));
}

void FrameNode::pasteContactBoxes(const QString &text)
{
    QStringList lines;
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        const QString content = body(line);
        const bool attack = content.startsWith(QLatin1String("hit "));
        QRect rect;
        if ((attack || content.startsWith(QLatin1String("body "))) &&
            parseRect(content.mid(attack ? 4 : 5), rect))
            lines.append(content);
    }
    if (Zorn::CodeDocument *doc = document(); doc && !lines.isEmpty())
        doc->insertBefore(this, lines.join(QLatin1Char('\n')), true);
}

void FrameNode::addContactBox(ContactBoxCode::BoxType type, QRect rect)
{
    if (Zorn::CodeDocument *doc = document())
        doc->insertBefore(this, BoxNode::text(type, rect.normalized()), true);
}

QVariant FrameNode::property(const QString &name) const
{
    if (name == QLatin1String("Identifier"))
        return values.sprite;
    if (name == QLatin1String("Offset"))
        return values.offset;
    if (name == QLatin1String("Delay"))
        return values.delay;
    if (name == QLatin1String("Scale"))
        return values.scale;
    if (name == QLatin1String("Angle"))
        return values.angle;
    if (name == QLatin1String("Flip"))
        return values.flip;
    if (name == QLatin1String("LoopPoint")) {
        const auto *animation = static_cast<const AnimationCode *>(parent());
        return animation && int(animation->loopPoint()) == index();
    }
    return QVariant();
}

void FrameNode::setProperty(const QString &name, const QVariant &value)
{
    FrameLine line = values;
    if (name == QLatin1String("Identifier")) {
        int group = 0;
        int item = 0;
        if (!pair(value.toString(), group, item, toInt))
            return;
        line.sprite = QStringLiteral("%1,%2").arg(group).arg(item);
    } else if (name == QLatin1String("Offset")) {
        line.offset = value.toPoint();
    } else if (name == QLatin1String("Delay")) {
        line.delay = value.toInt();
    } else if (name == QLatin1String("Scale")) {
        line.scale = value.toPointF();
    } else if (name == QLatin1String("Angle")) {
        line.angle = value.toDouble();
    } else if (name == QLatin1String("Flip")) {
        line.flip = value.toUInt() & 3;
    } else {
        return;
    }
    write(line);
}

void FrameNode::update(const FrameLine &line)
{
    if (line == values)
        return;
    values = line;
    valueChanged(line.delay);
}

// ---------------------------------------------------------------------------------------------
// BoxNode

BoxNode::BoxNode(const QTextBlock &block, CodeNode *previous, BoxType type, const QRect &rect)
    : ContactBoxCode(block, previous, type, rect)
{
}

QString BoxNode::text(BoxType type, const QRect &rect)
{
    return QStringLiteral("%1 %2,%3,%4,%5")
        .arg(QLatin1String(type == Attack ? "hit" : "body"))
        .arg(rect.x())
        .arg(rect.y())
        .arg(rect.width())
        .arg(rect.height());
}

void BoxNode::setRect(const QRect &rect)
{
    if (rect.normalized() != box)
        change(text(type, rect.normalized()));
}

QStringList BoxNode::propertyNames() const
{
    return {QStringLiteral("Rect")};
}

QVariant BoxNode::property(const QString &name) const
{
    return name == QLatin1String("Rect") ? QVariant(box) : QVariant();
}

void BoxNode::setProperty(const QString &name, const QVariant &value)
{
    if (name == QLatin1String("Rect"))
        setRect(value.toRect());
}

void BoxNode::update(BoxType newType, const QRect &rect)
{
    if (newType == type && rect == box)
        return;
    type = newType;
    box = rect;
    valueChanged(rect);
}

// ---------------------------------------------------------------------------------------------
// AnimationParser

CodeNode *AnimationParser::parse(const QString &text, QTextBlock *block, CodeNode *oldNode,
                                 CodeNode *insertAfter, RootCode *, CodeParserSyntax *syntax)
{
    using Syntax = CodeParserSyntax;
    const int comment = text.indexOf(QLatin1Char(';'));
    if (comment >= 0 && syntax)
        syntax->setToken(Syntax::Comment, comment, text.size());
    const QString content = body(text);
    if (content.isEmpty())
        return nullptr;
    const int start = text.indexOf(content);
    const int end = start + content.size();
    const auto error = [&](const QString &message) -> CodeNode * {
        if (syntax)
            syntax->addError(Syntax::Invalid, message, start, end);
        return nullptr;
    };

    if (content.startsWith(QLatin1Char('@'))) {
        const int space = content.indexOf(QLatin1Char(' '));
        const QString identifier = content.mid(1, space < 0 ? -1 : space - 1);
        if (!validIdentifier(identifier))
            return error(QStringLiteral("Animation identifier expected"));
        const QString title = space < 0 ? QString() : content.mid(space + 1).trimmed();
        if (syntax)
            syntax->setToken(Syntax::Section, start, end);
        if (oldNode && oldNode->type() == CodeNode::Animation) {
            static_cast<AnimationNode *>(oldNode)->update(identifier, title);
            return oldNode;
        }
        return new AnimationNode(*block, insertAfter, identifier, title);
    }
    if (content.compare(QLatin1String("loop"), Qt::CaseInsensitive) == 0) {
        if (syntax)
            syntax->setToken(Syntax::Keyword, start, end);
        if (oldNode && oldNode->type() == CodeNode::None)
            return oldNode;
        return new LoopNode(*block, insertAfter);
    }
    const int space = content.indexOf(QLatin1Char(' '));
    const QString word = content.left(space).toLower();
    const QString rest = space < 0 ? QString() : content.mid(space + 1);
    if (word == QLatin1String("show")) {
        FrameLine line;
        QString message;
        if (!FrameLine::parse(rest, line, &message))
            return error(message);
        if (syntax)
            syntax->setToken(Syntax::Keyword, start, start + 4);
        if (oldNode && oldNode->type() == CodeNode::Frame) {
            static_cast<FrameNode *>(oldNode)->update(line);
            return oldNode;
        }
        return new FrameNode(*block, insertAfter, line);
    }
    if (word == QLatin1String("hit") || word == QLatin1String("body")) {
        QRect rect;
        if (!parseRect(rest, rect))
            return error(QStringLiteral("Box \"x,y,width,height\" expected"));
        if (syntax)
            syntax->setToken(Syntax::Keyword, start, start + space);
        const auto type =
            word == QLatin1String("hit") ? ContactBoxCode::Attack : ContactBoxCode::Collision;
        if (oldNode && oldNode->type() == CodeNode::HitBox) {
            static_cast<BoxNode *>(oldNode)->update(type, rect);
            return oldNode;
        }
        return new BoxNode(*block, insertAfter, type, rect);
    }
    return error(QStringLiteral("Unknown line"));
}

// ---------------------------------------------------------------------------------------------
// AnimationFile

AnimationFile::AnimationFile(Zorn::CodeDocument *document) : Animations(document)
{
    document->registerNodeFile(this, CodeNode::Animation, 0);
}

AnimationFile *AnimationFile::of(const CodeNode *node)
{
    const Zorn::CodeDocument *doc = node ? node->document() : nullptr;
    return doc ? dynamic_cast<AnimationFile *>(doc->nodeFile(CodeNode::Animation, 0)) : nullptr;
}

QString AnimationFile::codeTemplate() const
{
    return QStringLiteral("@%1\n");
}

unsigned int AnimationFile::optimize()
{
    Zorn::CodeDocument *doc = document();
    if (!doc)
        return 0;
    const QStringList lines = doc->toPlainText().split(QLatin1Char('\n'));
    QStringList out;
    // The last frame written, if a following equal one may still join it: its line in out,
    // its values and its boxes; and the box lines read since.
    int open = -1;
    FrameLine openLine;
    QStringList openBoxes;
    QStringList boxes;
    int boxesFrom = 0; // where in out the box lines read since begin
    for (const QString &text : lines) {
        const QString content = body(text);
        const bool plain = content == text.trimmed(); // no comment
        if (plain && (content.startsWith(QLatin1String("hit ")) ||
                      content.startsWith(QLatin1String("body ")))) {
            if (boxes.isEmpty())
                boxesFrom = out.size();
            boxes.append(content);
            out.append(text);
            continue;
        }
        FrameLine line;
        if (plain && content.startsWith(QLatin1String("show ")) &&
            FrameLine::parse(content.mid(5), line)) {
            FrameLine joined = openLine;
            joined.delay = line.delay;
            if (open >= 0 && joined == line && boxes == openBoxes && line.delay >= 0 &&
                openLine.delay >= 0) {
                openLine.delay += line.delay;
                out[open] = openLine.text();
                out.erase(out.begin() + (boxes.isEmpty() ? out.size() : boxesFrom), out.end());
            } else {
                out.append(text);
                open = out.size() - 1;
                openLine = line;
                openBoxes = boxes;
            }
            boxes.clear();
            continue;
        }
        // Anything but a blank line between two frames keeps them apart.
        if (!text.trimmed().isEmpty())
            open = -1;
        boxes.clear();
        out.append(text);
    }
    const unsigned int removed = unsigned(lines.size() - out.size());
    if (removed == 0)
        return 0;
    QTextCursor all(doc);
    all.select(QTextCursor::Document);
    doc->insertOnCursor(out.join(QLatin1Char('\n')), all);
    return removed;
}

} // namespace Sample
