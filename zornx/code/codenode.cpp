#include "codenode.h"

#include "codedocument.h"

#include <zornx/core/engine.h>
#include <zornx/core/interface.h>
#include <zornx/project/parentproject.h>
#include <zornx/project/project.h>

#include <QtCore/QDate>
#include <QtCore/QMap>
#include <QtGui/QIcon>
#include <QtGui/QTextDocument>

#include <cstdlib>
#include <new>

namespace Zorn {

// ---------------------------------------------------------------------------------------------
// The pool

namespace {

// Each block starts with one header word: its total size, with the top bit set while the
// block waits in a free list. The bit answers isValid() at once, where a scan of the free
// list would cost time linear in the number of released nodes.
const quint64 freeBit = quint64(1) << 63;
const std::size_t headerSize = 8;

struct NodePool
{
    QMap<quint64, QList<void *>> freeBlocks; // by total size
    quint64 total = 0;                       // bytes ever taken from malloc

    ~NodePool()
    {
        for (const QList<void *> &list : qAsConst(freeBlocks))
            for (void *block : list)
                std::free(block);
    }
};

NodePool &pool()
{
    static NodePool nodePool;
    return nodePool;
}

quint64 *headerOf(const void *address)
{
    return static_cast<quint64 *>(const_cast<void *>(address)) - 1;
}

bool isList(const QVariant &value)
{
    const int type = value.userType();
    return type == QMetaType::QVariantList || type == QMetaType::QStringList;
}

QPointF pointFOf(const QVariant &value)
{
    const int type = value.userType();
    if (type == QMetaType::QPointF || type == QMetaType::QPoint)
        return value.toPointF();
    if (isList(value)) {
        const QVariantList list = value.toList();
        return QPointF(list.value(0).toReal(), list.value(1).toReal());
    }
    return value.toPointF();
}

// The elements of a stored list, or the two numbers of a stored point.
QVariantList elementsOf(const QVariant &value)
{
    if (value.userType() == QMetaType::QPoint) {
        const QPoint point = value.toPoint();
        return QVariantList({point.x(), point.y()});
    }
    if (value.userType() == QMetaType::QPointF) {
        const QPointF point = value.toPointF();
        return QVariantList({point.x(), point.y()});
    }
    return value.toList();
}

QPoint pointOf(const QVariant &value)
{
    const int type = value.userType();
    if (type == QMetaType::QPoint)
        return value.toPoint();
    if (isList(value)) {
        const QVariantList list = value.toList();
        return QPoint(list.value(0).toInt(), list.value(1).toInt());
    }
    return value.toPoint();
}

// The line-comment marker of the engine behind file, or of the host's engine.
QString lineComment(const ProjectFile *file)
{
    Engine *engine = nullptr;
    if (const Project *project = file ? file->project() : nullptr)
        if (const ParentProject *parent = project->parent())
            engine = parent->engine();
    if (!engine)
        if (const Interface *host = Interface::instance())
            engine = host->currentEngine();
    return engine ? engine->queryString(Engine::LineComment, 0) : QString();
}

// True when type is one of those that a parent node can be.
ParentCode *asParent(CodeNode *node)
{
    return dynamic_cast<ParentCode *>(node);
}

} // namespace

void *CodeNode::allocate(std::size_t size)
{
    const quint64 total = quint64(size) + headerSize;
    NodePool &nodes = pool();
    QList<void *> &list = nodes.freeBlocks[total];
    void *block;
    if (!list.isEmpty()) {
        block = list.takeLast();
    } else {
        block = std::malloc(total);
        if (!block)
            throw std::bad_alloc();
        nodes.total += total;
    }
    *static_cast<quint64 *>(block) = total;
    return static_cast<char *>(block) + headerSize;
}

void CodeNode::operator delete(void *address)
{
    if (!address)
        return;
    quint64 *header = headerOf(address);
    *header |= freeBit;
    pool().freeBlocks[*header & ~freeBit].append(header);
}

quint64 CodeNode::allocatedBytes()
{
    return pool().total;
}

// ---------------------------------------------------------------------------------------------
// CodeNode

CodeNode::CodeNode(Type type, const QTextBlock &block, CodeNode *previous)
    : nodeBlock(block), nodeType(type)
{
    if (previous)
        linkAfter(previous);
}

CodeNode::~CodeNode()
{
    if (parentNode)
        parentNode->removeChild(this);
    unlink();
}

void CodeNode::release()
{
    if (!isValid())
        return; // already free: a second entry in the free list would hand the block out twice
    // Leave the tree while the object is whole: views may still read it during the removal.
    if (parentNode)
        parentNode->removeChild(this);
    void *block = dynamic_cast<void *>(this);
    const Type deadType = nodeType;
    this->~CodeNode();
    // A bare CodeNode takes the place of the dead one: views keep pointers to it, and
    // isValid() must be callable on them.
    ::new (static_cast<void *>(this)) CodeNode(deadType);
    CodeNode::operator delete(block);
}

void CodeNode::linkAfter(CodeNode *previous)
{
    previousNode = previous;
    nextNode = previous->nextNode;
    if (nextNode)
        nextNode->previousNode = this;
    previous->nextNode = this;
}

void CodeNode::unlink()
{
    if (previousNode)
        previousNode->nextNode = nextNode;
    if (nextNode)
        nextNode->previousNode = previousNode;
    previousNode = nextNode = nullptr;
}

int CodeNode::firstLine() const
{
    return lineNo();
}

int CodeNode::lastLine() const
{
    return lineNo();
}

CodeDocument *CodeNode::document() const
{
    if (!nodeBlock.isValid())
        return nullptr;
    return qobject_cast<CodeDocument *>(const_cast<QTextDocument *>(nodeBlock.document()));
}

void CodeNode::remove(bool withChildren)
{
    const QTextCursor cursor = withChildren ? selectAll() : select();
    if (CodeDocument *doc = cursor.isNull() ? nullptr : document()) {
        doc->insertOnCursor(QString(), cursor);
        return;
    }
    if (withChildren)
        if (ParentCode *self = asParent(this))
            while (self->childCount() > 0)
                self->childAt(0)->remove(true);
    release();
}

void CodeNode::valueChanged(const QVariant &)
{
    if (!parentNode)
        return;
    parentNode->childChanged(this);
    changed(parentNode, parentNode->childIndex(this), 0);
}

void CodeNode::changed(const ParentCode *parent, int row, int column)
{
    if (parentNode)
        parentNode->changed(parent, row, column);
}

int CodeNode::lineNo() const
{
    for (const CodeNode *node = this; node; node = node->previousNode)
        if (node->nodeBlock.isValid())
            return node->nodeBlock.blockNumber();
    return -1;
}

// The first node of type along link from first, or null once a node of stopMask is passed.
template <typename Node>
static Node *walk(Node *first, Node *CodeNode::*link, CodeNode::Type type, int stopMask)
{
    for (Node *node = first; node; node = node->*link) {
        if (node->type() == type)
            return node;
        if (node->type() & stopMask)
            return nullptr;
    }
    return nullptr;
}

ParentCode *CodeNode::parent(Type type, int stopMask) const
{
    return walk(parentNode, &CodeNode::parentNode, type, stopMask);
}

CodeNode *CodeNode::previous(Type type, int stopMask) const
{
    return walk(previousNode, &CodeNode::previousNode, type, stopMask);
}

CodeNode *CodeNode::next(Type type, int stopMask) const
{
    return walk(nextNode, &CodeNode::nextNode, type, stopMask);
}

bool CodeNode::isValid() const
{
    // A root may live outside the pool (a document holds its own by value).
    if (nodeType == Root)
        return true;
    return !(*headerOf(this) & freeBit);
}

bool CodeNode::isValid(const CodeNode *node)
{
    return node && node->isValid();
}

QTextCursor CodeNode::select() const
{
    CodeDocument *doc = document();
    if (!doc)
        return QTextCursor();
    QTextCursor cursor(doc);
    const int start = nodeBlock.position();
    cursor.setPosition(start);
    cursor.setPosition(qMin(start + nodeBlock.length(), doc->characterCount() - 1),
                       QTextCursor::KeepAnchor);
    return cursor;
}

QTextCursor CodeNode::selectAll() const
{
    CodeDocument *doc = document();
    if (!doc)
        return QTextCursor();
    const int last = doc->characterCount() - 1;
    const QTextBlock first = doc->findBlockByNumber(qMax(firstLine(), 0));
    const QTextBlock end = doc->findBlockByNumber(lastLine());
    QTextCursor cursor(doc);
    cursor.setPosition(first.isValid() ? first.position() : 0);
    cursor.setPosition(end.isValid() ? qMin(end.position() + end.length(), last) : last,
                       QTextCursor::KeepAnchor);
    return cursor;
}

QString CodeNode::code() const
{
    return selectAll().selectedText();
}

void CodeNode::change(const QString &line)
{
    CodeDocument *doc = document();
    if (!doc)
        return;
    const QString old = nodeBlock.text();
    const QString comment = lineComment(doc);
    const int skip = !comment.isEmpty() && old.startsWith(comment) ? comment.length() : 0;

    QString result;
    if (doc->option(QStringLiteral("preserve_code_formatting"), false).toBool()) {
        int i = skip;
        int j = 0;
        auto skipSpace = [&]() {
            while (j < line.length() && line.at(j).isSpace())
                ++j;
        };
        while (i < old.length()) {
            const QChar c = old.at(i);
            if (c.isSpace()) {
                while (i < old.length() && old.at(i).isSpace())
                    result += old.at(i++);
                skipSpace();
            } else if (!comment.isEmpty() && c == comment.at(0)) {
                result += line.midRef(j);
                result += old.midRef(i);
                i = old.length();
                j = line.length();
            } else {
                while (i < old.length() && !old.at(i).isSpace())
                    ++i;
                skipSpace();
                while (j < line.length() && !line.at(j).isSpace())
                    result += line.at(j++);
            }
        }
        // Tokens that the old line had no place for follow with the new line's own spacing.
        if (!result.isEmpty() && j < line.length())
            result += line.midRef(j);
    }
    if (result.isEmpty()) {
        result = line;
        const int found = comment.isEmpty() ? -1 : old.indexOf(comment, skip);
        if (found >= 0) {
            int from = found;
            while (from > skip && old.at(from - 1).isSpace())
                --from;
            result += old.midRef(from);
        }
    }

    // Replace only what differs, so that the undo history holds one small edit.
    int prefix = 0;
    const int shorter = qMin(old.length(), result.length());
    while (prefix < shorter && old.at(prefix) == result.at(prefix))
        ++prefix;
    int suffix = 0;
    while (suffix < shorter - prefix
           && old.at(old.length() - 1 - suffix) == result.at(result.length() - 1 - suffix))
        ++suffix;
    if (prefix == old.length() && prefix == result.length())
        return;
    QTextCursor cursor(doc);
    cursor.setPosition(nodeBlock.position() + prefix);
    cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor,
                        old.length() - prefix - suffix);
    doc->insertOnCursor(result.mid(prefix, result.length() - prefix - suffix), cursor);
}

// ---------------------------------------------------------------------------------------------
// ParentCode

unsigned int ParentCode::childCount() const
{
    return 0;
}

int ParentCode::childIndex(CodeNode *) const
{
    return -1;
}

CodeNode *ParentCode::childAt(unsigned int) const
{
    return nullptr;
}

void ParentCode::insertChild(CodeNode *node, unsigned int)
{
    if (ParentCode *old = node->parent())
        old->removeChild(node);
    setParentOf(node, this);
}

void ParentCode::removeChild(CodeNode *node)
{
    setParentOf(node, nullptr);
}

void ParentCode::childChanged(CodeNode *) {}

void ParentCode::beginInsert(const ParentCode *parent, int row)
{
    if (ParentCode *up = CodeNode::parent())
        up->beginInsert(parent, row);
}

void ParentCode::endInsert()
{
    if (ParentCode *up = CodeNode::parent())
        up->endInsert();
}

void ParentCode::beginRemove(const ParentCode *parent, int row)
{
    if (ParentCode *up = CodeNode::parent())
        up->beginRemove(parent, row);
}

void ParentCode::endRemove()
{
    if (ParentCode *up = CodeNode::parent())
        up->endRemove();
}

void ParentCode::appendValue(const QString &text)
{
    CodeDocument *doc = document();
    if (!doc)
        return;
    const unsigned int count = childCount();
    CodeNode *anchor = count > 0 ? childAt(count - 1) : this;
    doc->insertAfter(anchor ? anchor : this, text, true);
}

RootCode *ParentCode::chainRoot() const
{
    if (CodeDocument *doc = document())
        return const_cast<RootCode *>(doc->root());
    const CodeNode *node = this;
    while (node->previous())
        node = node->previous();
    return node->type() == Root ? dynamic_cast<RootCode *>(const_cast<CodeNode *>(node)) : nullptr;
}

void ParentCode::insertRootChild(CodeNode *child)
{
    RootCode *root = chainRoot();
    if (!root)
        return;
    for (CodeNode *node = child->previous(); node; node = node->previous()) {
        if (node->parent() == root) {
            root->insertChild(child, unsigned(root->childIndex(node) + 1));
            return;
        }
    }
    root->insertChild(child, 0);
}

// ---------------------------------------------------------------------------------------------
// NamedCode

static const QString displayNameKey = QStringLiteral("DisplayName");
static const QString nameKey = QStringLiteral("Name");

QStringList NamedCode::propertyNames() const
{
    return QStringList({displayNameKey, nameKey});
}

QVariant NamedCode::property(const QString &name) const
{
    if (name == displayNameKey)
        return displayName();
    if (name == nameKey)
        return this->name();
    return QVariant();
}

void NamedCode::setProperty(const QString &name, const QVariant &value)
{
    if (name == nameKey)
        setName(value.toString());
}

QString NamedCode::name() const
{
    return QString();
}

QString NamedCode::displayName() const
{
    return name();
}

// ---------------------------------------------------------------------------------------------
// ValueCode

ValueCode::ValueCode(Type type, const QTextBlock &block, CodeNode *previous, const QVariant &value)
    : CodeNode(CodeNode::Value, block, previous), storedType(type)
{
    // keyword() is not there yet: keywords given as text cannot be looked up.
    stored = convert(type, value, false);
    ParentCode *target = nullptr;
    unsigned int position = 0;
    for (CodeNode *node = previous; node; node = node->previous()) {
        const CodeNode::Type kind = node->type();
        if (kind == CodeNode::Value) {
            target = node->parent();
            if (target)
                position = unsigned(qMax(target->childIndex(node) + 1, 0));
            break;
        }
        if (kind == CodeNode::Group) {
            target = static_cast<GroupCode *>(node);
            break;
        }
        if (kind == CodeNode::Animation)
            break;
    }
    if (target)
        target->insertChild(this, position);
}

QVariant ValueCode::value() const
{
    if (storedType == Keyword)
        return stored.isValid() ? QVariant(keyword(stored.toUInt())) : QVariant();
    return stored;
}

bool ValueCode::setValue(const QVariant &value)
{
    const QVariant converted = convertFrom(storedType, value);
    if (!converted.isValid() && value.isValid())
        return false;
    stored = converted;
    return true;
}

int ValueCode::keywordIndex(const QString &text) const
{
    // keyword() answers an empty text past the end of the table; the bound guards a table
    // that never ends.
    for (unsigned int index = 0; index < 0x10000; ++index) {
        const QString word = keyword(index);
        if (word.isEmpty())
            break;
        if (word.compare(text, Qt::CaseInsensitive) == 0)
            return int(index);
    }
    return -1;
}

void ValueCode::valueChanged(const QVariant &value)
{
    stored = convertFrom(storedType, value);
    CodeNode::valueChanged(value);
}

bool ValueCode::isScalar() const
{
    switch (storedType) {
    case String:
    case File:
    case Date:
    case Keyword:
    case Float:
    case Int:
        return true;
    default:
        return false;
    }
}

bool ValueCode::asBool() const
{
    return stored.toBool();
}

int ValueCode::asInt() const
{
    return stored.toInt();
}

unsigned int ValueCode::asUInt() const
{
    return stored.toUInt();
}

QVector<int> ValueCode::asIntVector() const
{
    QVector<int> out;
    if (isScalar()) {
        out.append(asInt());
        return out;
    }
    const QVariantList list = elementsOf(stored);
    out.reserve(list.size());
    for (const QVariant &element : list)
        out.append(element.toInt());
    return out;
}

qreal ValueCode::asReal() const
{
    return stored.toReal();
}

QVector<qreal> ValueCode::asRealVector() const
{
    QVector<qreal> out;
    if (isScalar()) {
        out.append(asReal());
        return out;
    }
    const QVariantList list = elementsOf(stored);
    out.reserve(list.size());
    for (const QVariant &element : list)
        out.append(element.toReal());
    return out;
}

QVariantList ValueCode::asVector() const
{
    if (isScalar())
        return QVariantList({stored});
    return elementsOf(stored);
}

QPoint ValueCode::asPoint() const
{
    if (stored.userType() == QMetaType::QPoint)
        return stored.toPoint();
    if (isScalar())
        return QPoint(asInt(), 0);
    if (storedType == IntVec2)
        return stored.toPoint();
    const QVariantList list = elementsOf(stored);
    return QPoint(list.value(0).toInt(), list.value(1).toInt());
}

QPointF ValueCode::asPointF() const
{
    const int kind = stored.userType();
    if (kind == QMetaType::QPoint || kind == QMetaType::QPointF)
        return stored.toPointF();
    if (isScalar())
        return QPointF(asReal(), 0);
    if (storedType == FloatVec2)
        return stored.toPointF();
    const QVariantList list = stored.toList();
    return QPointF(list.value(0).toReal(), list.value(1).toReal());
}

QSize ValueCode::asSize() const
{
    const QPoint point = asPoint();
    return QSize(point.x(), point.y());
}

QRect ValueCode::asRect() const
{
    if (stored.userType() == QMetaType::QRect)
        return stored.toRect();
    QRect rect(QPoint(0, 0), QPoint(-1, -1));
    if (isScalar()) {
        rect.setLeft(asInt());
        return rect;
    }
    const QVariantList list = elementsOf(stored);
    if (list.size() > 0)
        rect.setLeft(list.at(0).toInt());
    if (list.size() > 1)
        rect.setTop(list.at(1).toInt());
    if (list.size() > 2)
        rect.setRight(list.at(2).toInt());
    if (list.size() > 3)
        rect.setBottom(list.at(3).toInt());
    return rect;
}

QVariant ValueCode::convertFrom(ValueCode::Type type, const QVariant &value) const
{
    return convert(type, value, true);
}

QVariant ValueCode::keywordOf(const QVariant &value, bool lookUp) const
{
    bool number = false;
    const uint index = value.toUInt(&number);
    if (number)
        return QVariant(index);
    if (!lookUp || value.userType() != QMetaType::QString)
        return QVariant();
    const int found = keywordIndex(value.toString());
    return found < 0 ? QVariant() : QVariant(uint(found));
}

QVariant ValueCode::convert(ValueCode::Type type, const QVariant &value, bool lookUp) const
{
    switch (type) {
    case String:
    case File:
        return value.toString();
    case Keyword:
        return keywordOf(value, lookUp);
    case KeywordVector: {
        QVariantList out;
        const QVariantList list = isList(value) ? value.toList() : QVariantList({value});
        for (const QVariant &element : list) {
            const QVariant index = keywordOf(element, lookUp);
            if (!index.isValid())
                return QVariant(); // one unknown keyword spoils the value
            out.append(index);
        }
        return out;
    }
    case FloatVec2:
        return value.userType() == QMetaType::QPointF ? value : QVariant(pointFOf(value));
    case FloatVec3:
    case FloatVec4:
    case FloatVector:
        return isList(value) ? QVariant(value.toList()) : QVariant(QVariantList({value.toReal()}));
    case Int:
        return QVariant(value.toInt());
    case IntVec2:
        return QVariant(pointOf(value));
    case IntVec3:
    case IntVec4:
    case IntVector:
        return isList(value) ? QVariant(value.toList()) : QVariant(QVariantList({value.toInt()}));
    default:
        return value;
    }
}

QString ValueCode::asString(const ValueCode *node, ValueCode::Type type, const QVariant &value,
                            const QChar &separator)
{
    if (value.userType() == QMetaType::QString)
        return value.toString();
    QString between;
    if (!separator.isNull())
        between += separator;
    between += QLatin1Char(' ');
    switch (type) {
    case Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case Date:
        return value.toDate().toString(Qt::ISODate);
    case Keyword:
        if (!value.isValid())
            return QString();
        return node ? node->keyword(value.toUInt()) : value.toString();
    case KeywordVector: {
        if (!value.isValid())
            return QString();
        QStringList words;
        const QVariantList list = isList(value) ? value.toList() : QVariantList({value});
        for (const QVariant &index : list)
            words.append(node ? node->keyword(index.toUInt()) : index.toString());
        return words.join(between);
    }
    case FloatVec2: {
        const QPointF point = pointFOf(value);
        return QString::number(point.x(), 'g', 6) + between + QString::number(point.y(), 'g', 6);
    }
    case IntVec2: {
        const QPoint point = pointOf(value);
        return QString::number(point.x()) + between + QString::number(point.y());
    }
    case FloatVec3:
    case FloatVec4:
    case FloatVector:
    case IntVec3:
    case IntVec4:
    case IntVector: {
        QString text;
        const QVariantList list = value.toList();
        for (int i = 0; i < list.size(); ++i) {
            if (i > 0)
                text += between;
            text += list.at(i).toString();
        }
        return text;
    }
    default:
        return value.toString();
    }
}

// ---------------------------------------------------------------------------------------------
// GroupCode

GroupCode::GroupCode(const QTextBlock &block, CodeNode *previous, unsigned int subType)
    : ParentCode(Group, block, previous), groupSubType(subType)
{
    for (CodeNode *node = next(); node; node = node->next()) {
        const CodeNode::Type kind = node->type();
        if (kind == Value) {
            insertChild(node, unsigned(valueList.size()));
        } else if (kind == Frame) {
            if (ParentCode *old = node->parent())
                old->removeChild(node);
        } else if (kind == Group || kind == Animation) {
            break;
        }
    }
}

GroupCode::~GroupCode()
{
    if (valueList.isEmpty() && groupList.isEmpty())
        return;
    GroupCode *above = nullptr;
    for (CodeNode *node = previous(); node; node = node->previous()) {
        const CodeNode::Type kind = node->type();
        if (kind == Group) {
            above = static_cast<GroupCode *>(node);
            break;
        }
        if (kind == Animation || kind == Frame)
            break;
    }
    if (above) {
        while (!valueList.isEmpty())
            above->insertChild(valueList.first(), above->childCount());
    } else {
        while (!valueList.isEmpty())
            removeChild(valueList.last());
    }
    while (!groupList.isEmpty()) {
        if (above && above != groupList.first())
            above->insertChild(groupList.first(), above->childCount());
        else if (chainRoot())
            insertRootChild(groupList.first());
        else
            removeChild(groupList.first());
    }
}

int GroupCode::lastLine() const
{
    CodeDocument *doc = document();
    if (!doc)
        return -1;
    const ParentCode *own = parent();
    const bool nested = own && own->type() == Group;
    for (const CodeNode *node = next(); node; node = node->next()) {
        if (node->type() == Animation)
            return node->firstLine() - 1;
        if (node->type() == Group) {
            const ParentCode *up = node->parent();
            if (nested || !(up && up->type() == Group))
                return node->firstLine() - 1;
        }
    }
    return doc->blockCount();
}

unsigned int GroupCode::childCount() const
{
    return unsigned(valueList.size() + groupList.size());
}

int GroupCode::childIndex(CodeNode *node) const
{
    if (node && node->type() == Group) {
        const int at = groupList.indexOf(node);
        return at < 0 ? -1 : valueList.size() + at;
    }
    if (!node || node->type() != Value)
        return -1;
    // Outward from the row met last: a load asks for the value just appended, a reparse drops
    // values from the end, a pass walks them in order; a scan from the front would make each
    // of these quadratic in the size of a section.
    const ValueCode *value = static_cast<const ValueCode *>(node);
    const int count = valueList.size();
    const int hint = qBound(0, lastRow, count);
    for (int up = hint, down = hint - 1; up < count || down >= 0; ++up, --down) {
        if (up < count && valueList.at(up) == value)
            return lastRow = up;
        if (down >= 0 && valueList.at(down) == value)
            return lastRow = down;
    }
    return -1;
}

CodeNode *GroupCode::childAt(unsigned int index) const
{
    if (index < unsigned(valueList.size()))
        return valueList.at(int(index));
    return groupList.value(int(index) - valueList.size());
}

void GroupCode::insertChild(CodeNode *node, unsigned int index)
{
    // Values and groups are kept in the lists; anything else just takes this node as its
    // parent.
    const bool group = node->type() == Group;
    if (node->type() != Value && !group) {
        ParentCode::insertChild(node, index);
        return;
    }
    if (node->parent() == this)
        removeChild(node);
    // Values come first, groups behind them.
    const unsigned int first = group ? unsigned(valueList.size()) : 0;
    index = qBound(first, index, group ? childCount() : unsigned(valueList.size()));
    beginInsert(this, int(index));
    if (ParentCode *old = node->parent())
        old->removeChild(node);
    setParentOf(node, this);
    if (group) {
        groupList.insert(int(index - first), node);
    } else {
        valueList.insert(int(index), static_cast<ValueCode *>(node));
        lastRow = int(index);
    }
    endInsert();
}

void GroupCode::removeChild(CodeNode *node)
{
    const int row = childIndex(node);
    if (row < 0) {
        setParentOf(node, nullptr);
        return;
    }
    // The parent pointer stays until the row has gone, so that a view that asks for the
    // parent of the row during the removal gets the right answer.
    beginRemove(this, row);
    if (row < valueList.size())
        valueList.removeAt(row);
    else
        groupList.removeAt(row - valueList.size());
    setParentOf(node, nullptr);
    endRemove();
}

ValueCode *GroupCode::valueAt(unsigned int index) const
{
    return index < unsigned(valueList.size()) ? valueList.at(int(index)) : nullptr;
}

ValueCode *GroupCode::valueByName(const QString &name) const
{
    for (ValueCode *value : valueList)
        if (value->name() == name)
            return value;
    return nullptr;
}

QVariant GroupCode::value(const QString &name) const
{
    const ValueCode *node = valueByName(name);
    return node ? node->value() : QVariant();
}

void GroupCode::removeValue(unsigned int index)
{
    if (ValueCode *node = valueAt(index))
        node->remove(true);
}

// ---------------------------------------------------------------------------------------------
// RootCode

QModelIndex RootCode::s_lastParent;

namespace {

CodeNode *nodeOf(const QModelIndex &index)
{
    return static_cast<CodeNode *>(index.internalPointer());
}

} // namespace

RootCode::RootCode(int fileType)
    : TreeModel(nullptr), ParentCode(Root, QTextBlock(), nullptr), rootFileType(fileType)
{}

RootCode::~RootCode()
{
    destroy();
    if (s_lastParent.model() == this)
        s_lastParent = QModelIndex();
}

void RootCode::destroy()
{
    CodeNode *tail = this;
    while (tail->next())
        tail = tail->next();
    while (tail && tail != this) {
        CodeNode *before = tail->previous();
        tail->release();
        tail = before;
    }
}

unsigned int RootCode::childCount() const
{
    return unsigned(children.size());
}

int RootCode::childIndex(CodeNode *node) const
{
    // From the end: a parse appends, and the node asked for is then usually the last one.
    return children.lastIndexOf(node);
}

CodeNode *RootCode::childAt(unsigned int index) const
{
    return index < unsigned(children.size()) ? children.at(int(index)) : nullptr;
}

void RootCode::insertChild(CodeNode *node, unsigned int index)
{
    if (ParentCode *old = node->CodeNode::parent())
        old->removeChild(node);
    setParentOf(node, this);
    index = qMin(index, childCount());
    beginInsert(this, int(index));
    children.insert(int(index), node);
    endInsert();
}

void RootCode::removeChild(CodeNode *node)
{
    const int row = childIndex(node);
    if (row < 0) {
        setParentOf(node, nullptr);
        return;
    }
    beginRemove(this, row);
    children.removeAt(row);
    setParentOf(node, nullptr);
    endRemove();
}

QModelIndex RootCode::indexOf(const CodeNode *node) const
{
    if (!isValid(node) || node->type() == Root)
        return QModelIndex();
    ParentCode *up = node->CodeNode::parent();
    if (!up)
        return QModelIndex();
    const int row = up->childIndex(const_cast<CodeNode *>(node));
    if (row < 0)
        return QModelIndex();
    return createIndex(row, 0, const_cast<CodeNode *>(node));
}

QModelIndex RootCode::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    CodeNode *node = parent.isValid() ? nodeOf(parent) : const_cast<RootCode *>(this);
    if (!isValid(node))
        return QModelIndex();
    ParentCode *up = asParent(node);
    CodeNode *child = up ? up->childAt(unsigned(row)) : nullptr;
    return child ? createIndex(row, column, child) : QModelIndex();
}

QModelIndex RootCode::parent(const QModelIndex &index) const
{
    if (!index.isValid())
        return QModelIndex();
    const CodeNode *node = nodeOf(index);
    // The parent that the last removal stored, if it was this model's.
    if (!isValid(node))
        return s_lastParent.model() == this ? s_lastParent : QModelIndex();
    ParentCode *up = node->CodeNode::parent();
    if (!up || up->type() == Root)
        return QModelIndex();
    ParentCode *grand = up->CodeNode::parent();
    const int row = grand ? grand->childIndex(up) : 0;
    return createIndex(qMax(row, 0), 0, static_cast<CodeNode *>(up));
}

int RootCode::rowCount(const QModelIndex &parent) const
{
    if (parent.column() > 0)
        return 0;
    CodeNode *node = parent.isValid() ? nodeOf(parent) : const_cast<RootCode *>(this);
    if (!isValid(node))
        return 0;
    const ParentCode *up = asParent(node);
    return up ? int(up->childCount()) : 0;
}

int RootCode::columnCount(const QModelIndex &) const
{
    return 1;
}

bool RootCode::hasChildren(const QModelIndex &parent) const
{
    return rowCount(parent) > 0;
}

Qt::ItemFlags RootCode::flags(const QModelIndex &index) const
{
    return index.isValid() ? Qt::ItemIsSelectable | Qt::ItemIsEnabled : Qt::NoItemFlags;
}

QVariant RootCode::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return QVariant();
    CodeNode *node = nodeOf(index);
    if (!isValid(node) || !node->CodeNode::parent())
        return QVariant();
    switch (role) {
    case Qt::DecorationRole: {
        CodeDocument *doc = node->document();
        if (!doc)
            doc = document();
        return QVariant::fromValue(doc ? doc->nodeIcon(node) : QIcon());
    }
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        switch (node->type()) {
        case Group:
        case Value:
        case Animation:
            if (const NamedCode *named = dynamic_cast<const NamedCode *>(node))
                return named->displayName();
            return QString();
        case Frame: {
            const PropertyItem *item = dynamic_cast<const PropertyItem *>(node);
            const QString identifier =
                item ? item->property(QStringLiteral("Identifier")).toString() : QString();
            if (!identifier.isEmpty())
                return tr("Frame - %1").arg(identifier);
            return tr("Frame %1").arg(node->CodeNode::parent()->childIndex(node) + 1);
        }
        default:
            return QVariant();
        }
    default:
        return QVariant();
    }
}

bool RootCode::canParseCode() const
{
    const CodeDocument *doc = document();
    return !doc || doc->option(QStringLiteral("parseCode"), true).toBool();
}

void RootCode::setVersion(unsigned int version, bool emitSignal)
{
    rootVersion = version;
    if (emitSignal)
        emit versionChanged();
}

void RootCode::setFileType(int fileType, bool emitSignal)
{
    rootFileType = fileType;
    if (emitSignal)
        emit typeChanged();
}

namespace {

QModelIndex parentIndexOf(const RootCode *root, const ParentCode *parent)
{
    if (!parent || parent->type() == CodeNode::Root)
        return QModelIndex();
    return root->indexOf(parent);
}

} // namespace

void RootCode::beginInsert(const ParentCode *parent, int row)
{
    beginInsertRows(parentIndexOf(this, parent), row, row);
}

void RootCode::endInsert()
{
    endInsertRows();
}

void RootCode::beginRemove(const ParentCode *parent, int row)
{
    s_lastParent = parentIndexOf(this, parent);
    beginRemoveRows(s_lastParent, row, row);
}

void RootCode::endRemove()
{
    endRemoveRows();
}

void RootCode::changed(const ParentCode *parent, int row, int)
{
    CodeNode *child = parent ? parent->childAt(unsigned(row)) : nullptr;
    if (!child)
        return;
    const QModelIndex index = createIndex(row, 0, child);
    emit dataChanged(index, index);
}

} // namespace Zorn
