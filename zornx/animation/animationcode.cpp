#include "animationcode.h"

#include <zornx/code/codedocument.h>

#include <QtGui/QTextDocument>

namespace Zorn
{

namespace
{

const QString identifierKey = QStringLiteral("Identifier");

QString identifierOf(const AnimationCode *animation)
{
    return animation ? animation->property(identifierKey).toString() : QString();
}

} // namespace

// ---------------------------------------------------------------------------------------------
// ContactBoxCode, ContactBoxesCode

ContactBoxCode::ContactBoxCode(const QTextBlock &block, CodeNode *previous, BoxType type,
                               const QRect &rect)
    : CodeNode(HitBox, block, previous), type(type), box(rect)
{
}

ContactBoxesCode::~ContactBoxesCode() = default;

// ---------------------------------------------------------------------------------------------
// FrameCode

FrameCode::FrameCode(const QTextBlock &block, CodeNode *previous, ContactBoxesCode *attackBoxes,
                     ContactBoxesCode *collisionBoxes)
    : ParentCode(Frame, block, previous), attack(attackBoxes), collision(collisionBoxes)
{
    for (CodeNode *node = CodeNode::previous(); node; node = node->previous()) {
        const CodeNode::Type kind = node->type();
        if (kind == Frame) {
            if (ParentCode *animation = node->parent())
                animation->insertChild(this, unsigned(static_cast<FrameCode *>(node)->index() + 1));
            return;
        }
        if (kind == Animation) {
            static_cast<AnimationCode *>(node)->insertChild(this, 0);
            return;
        }
        if (kind == Group)
            return;
    }
}

ContactBoxesCode *FrameCode::contactBoxes(ContactBoxCode::BoxType type) const
{
    return (int(type) & 1) ? attack : collision;
}

int FrameCode::index() const
{
    const ParentCode *animation = parent();
    return animation ? animation->childIndex(const_cast<FrameCode *>(this)) : -1;
}

// The block of a frame may have been invalidated by the edit that is being parsed; the line
// then follows from the node before it.
int FrameCode::firstLine() const
{
    const auto lineBehind = [](const CodeNode *node) {
        if (node->block().isValid())
            return node->block().blockNumber() + 1;
        return (node->next() ? node->next()->lineNo() : node->lineNo()) + 1;
    };
    const ParentCode *animation = parent();
    if (!animation) {
        if (block().isValid())
            return block().blockNumber();
        if (next())
            return next()->lineNo();
        return block().blockNumber();
    }
    if (animation->childAt(0) == this)
        return lineBehind(animation);
    const CodeNode *earlier = CodeNode::previous(Frame, 0);
    return earlier ? lineBehind(earlier) : lineBehind(animation);
}

QStringList FrameCode::propertyNames() const
{
    return {identifierKey,
            QStringLiteral("Offset"),
            QStringLiteral("Delay"),
            QStringLiteral("Scale"),
            QStringLiteral("Angle"),
            QStringLiteral("Flip"),
            QStringLiteral("LoopPoint")};
}

// ---------------------------------------------------------------------------------------------
// AnimationCode

AnimationCode::AnimationCode(const QTextBlock &block, CodeNode *previous)
    : ParentCode(Animation, block, previous)
{
    insertRootChild(this);
    for (CodeNode *node = next(); node; node = node->next()) {
        const CodeNode::Type kind = node->type();
        if (kind == Group || kind == Animation)
            break;
        if (kind == Frame)
            insertChild(node, frameCount());
    }
}

AnimationCode::~AnimationCode()
{
    if (frameList.isEmpty())
        return;
    AnimationCode *before = nullptr;
    for (CodeNode *node = previous(); node; node = node->previous()) {
        if (node->type() == Group)
            break;
        if (node->type() == Animation) {
            before = static_cast<AnimationCode *>(node);
            break;
        }
    }
    while (!frameList.isEmpty()) {
        if (before)
            before->insertChild(frameList.first(), before->frameCount());
        else
            removeChild(frameList.first());
    }
}

int AnimationCode::lastLine() const
{
    const CodeDocument *doc = document();
    if (!doc)
        return -1;
    for (const CodeNode *node = next(); node; node = node->next())
        if (node->type() == Group || node->type() == Animation)
            return node->firstLine() - 1;
    return doc->blockCount();
}

unsigned int AnimationCode::childCount() const
{
    return frameCount();
}

int AnimationCode::childIndex(CodeNode *node) const
{
    return indexOfFrame(static_cast<const FrameCode *>(node));
}

CodeNode *AnimationCode::childAt(unsigned int index) const
{
    return frameAt(index);
}

void AnimationCode::insertChild(CodeNode *node, unsigned int index)
{
    if (node->type() != Frame) {
        ParentCode::insertChild(node, index);
        return;
    }
    if (ParentCode *old = node->parent())
        old->removeChild(node);
    index = qMin(index, frameCount());
    beginInsert(this, int(index));
    setParentOf(node, this);
    frameList.insert(int(index), static_cast<FrameCode *>(node));
    endInsert();
}

void AnimationCode::removeChild(CodeNode *node)
{
    const int row = frameList.indexOf(static_cast<FrameCode *>(node));
    if (row < 0)
        return;
    beginRemove(this, row);
    frameList.removeAt(row);
    setParentOf(node, nullptr);
    endRemove();
}

void AnimationCode::childChanged(CodeNode *)
{
    if (ParentCode *up = parent())
        up->childChanged(this);
}

QStringList AnimationCode::propertyNames() const
{
    return {QStringLiteral("DisplayName"), QStringLiteral("Name"), identifierKey};
}

FrameCode *AnimationCode::frameAt(unsigned int index) const
{
    return index < frameCount() ? frameList.at(int(index)) : nullptr;
}

int AnimationCode::indexOfFrame(const FrameCode *frame) const
{
    return frameList.indexOf(const_cast<FrameCode *>(frame));
}

void AnimationCode::removeFrame(unsigned int index)
{
    if (FrameCode *frame = frameAt(index))
        frame->remove(true);
}

QString AnimationCode::code() const
{
    return selectAll()
        .selectedText()
        .replace(QChar::ParagraphSeparator, QLatin1Char('\n'))
        .trimmed();
}

void AnimationCode::setCode(const QString &text)
{
    QTextCursor cursor = selectAll();
    if (CodeDocument *doc = document(); doc && cursor.document())
        doc->insertOnCursor(text.trimmed() + QStringLiteral("\n\n"), cursor);
}

// ---------------------------------------------------------------------------------------------
// Animations

Animations::Animations(CodeDocument *document) : CodeNodeFile(document) {}

Animations::~Animations() = default;

int Animations::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : list.size();
}

QVariant Animations::data(const QModelIndex &index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= list.size())
        return QVariant();
    const CodeDocument *doc = document();
    if (doc && doc->isCodeBeingChanged())
        return QVariant();
    return list.at(index.row())->displayName();
}

void Animations::insertChild(CodeNode *node, unsigned int index)
{
    if (node->type() != CodeNode::Animation)
        return;
    const int row = index < count() ? int(index) : list.size();
    if (!moving)
        beginInsertRows(QModelIndex(), row, row);
    list.insert(row, static_cast<AnimationCode *>(node));
    if (!moving)
        endInsertRows();
}

void Animations::removeChild(CodeNode *node)
{
    if (node->type() != CodeNode::Animation)
        return;
    // move() takes its node out of the list before it deletes the text.
    const int row = list.indexOf(static_cast<AnimationCode *>(node));
    if (row < 0)
        return;
    beginRemoveRows(QModelIndex(), row, row);
    list.removeAt(row);
    endRemoveRows();
}

void Animations::childChanged(CodeNode *node)
{
    const int row = list.indexOf(static_cast<AnimationCode *>(node));
    if (row < 0)
        return;
    const QModelIndex changed = index(row);
    emit dataChanged(changed, changed);
}

void Animations::beginChange()
{
    if (CodeDocument *doc = document())
        doc->beginChange();
}

void Animations::endChange()
{
    if (CodeDocument *doc = document())
        doc->endChange();
}

AnimationCode *Animations::at(unsigned int index) const
{
    return index < count() ? list.at(int(index)) : nullptr;
}

int Animations::indexOf(const AnimationCode *animation) const
{
    return list.indexOf(const_cast<AnimationCode *>(animation));
}

int Animations::find(unsigned int from, const QVariant &value) const
{
    const QString wanted = value.toString();
    for (unsigned int i = from; i < count(); ++i)
        if (identifierOf(list.at(int(i))) == wanted)
            return int(i);
    return -1;
}

AnimationCode *Animations::add(const QString &identifier)
{
    if (CodeDocument *doc = document())
        doc->insert(codeTemplate().arg(identifier));
    return list.isEmpty() ? nullptr : list.last();
}

AnimationCode *Animations::insert(unsigned int index, const QString &identifier)
{
    CodeDocument *doc = document();
    if (!doc || index >= count())
        return add(identifier);
    doc->insertBefore(at(index), codeTemplate().arg(identifier), false);
    return at(index);
}

void Animations::duplicate(unsigned int index, const QString &identifier)
{
    AnimationCode *source = at(index);
    CodeDocument *doc = document();
    if (!source || !doc)
        return;
    QString text =
        source->selectAll().selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    if (!identifier.isEmpty()) {
        const QString pattern = codeTemplate().trimmed();
        text.replace(pattern.arg(identifierOf(source)), pattern.arg(identifier),
                     Qt::CaseInsensitive);
    }
    QTextCursor cursor(doc);
    const CodeNode *following = source->next(CodeNode::Animation, 0);
    if (following)
        cursor.setPosition(doc->findBlockByNumber(following->firstLine()).position());
    else
        cursor.movePosition(QTextCursor::End);
    doc->insertOnCursor(text, cursor);
}

void Animations::remove(unsigned int index)
{
    if (AnimationCode *animation = at(index))
        animation->remove(true);
}

void Animations::move(unsigned int from, unsigned int to)
{
    CodeDocument *doc = document();
    if (!doc || from >= count() || to >= count() || from == to)
        return;
    AnimationCode *animation = at(from);
    QTextCursor cursor = animation->selectAll();
    cursor.movePosition(QTextCursor::PreviousCharacter, QTextCursor::KeepAnchor);
    const QString text =
        cursor.selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));

    moving = true;
    beginMoveRows(QModelIndex(), int(from), int(from), QModelIndex(), int(from < to ? to + 1 : to));
    beginChange();
    list.removeAt(int(from));
    animation->remove(true);
    if (to != count())
        doc->insertBefore(at(to), text, false);
    else
        doc->insertAfter(at(to - 1), text, false);
    endChange();
    endMoveRows();
    moving = false;
}

int Animations::compare(unsigned int a, unsigned int b) const
{
    const QString first = identifierOf(at(a));
    const QString second = identifierOf(at(b));
    bool firstNumeric = false;
    bool secondNumeric = false;
    const qlonglong x = first.toLongLong(&firstNumeric, 10);
    const qlonglong y = second.toLongLong(&secondNumeric, 10);
    if (firstNumeric && secondNumeric)
        return x < y ? -1 : 1;
    if (firstNumeric || secondNumeric)
        return 1;
    return first.compare(second, Qt::CaseInsensitive) < 0 ? -1 : 1;
}

} // namespace Zorn
