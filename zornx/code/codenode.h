#ifndef ZORNX_CODE_CODENODE_H
#define ZORNX_CODE_CODENODE_H

#include <zornx/core/object.h>
#include <zornx/core/propertyitem.h>
#include <zornx/project/treemodel.h>

#include <QtCore/QList>
#include <QtCore/QPoint>
#include <QtCore/QPointF>
#include <QtCore/QRect>
#include <QtCore/QSize>
#include <QtCore/QVariant>
#include <QtCore/QVector>
#include <QtGui/QTextBlock>
#include <QtGui/QTextCursor>

#include <cstddef>

namespace Zorn {

class CodeDocument;
class ParentCode;
class RootCode;

// What a parsed line means. A node is made by the parser of its line and dies with the line;
// code changes the tree by changing the text. All nodes of a document form one chain in line
// order, and the tree is derived from that chain by the constructors: a new node only looks
// at its neighbours to find its place.
//
// Nodes live in a pool of their own (views keep raw node pointers in model indexes, and
// isValid() must be safe on a released one). Make them with new and end them with release();
// CodeNode, or a class derived from it, must be the first base of a node class.
class ZORNX_EXPORT CodeNode : public Object
{
public:
    // Bit values; 0 is a node of no structural kind, and modules may use further bits.
    enum Type : int {
        None = 0,
        Root = 1,
        Group = 2,
        Value = 4,
        Animation = 8,
        Frame = 16,
        HitBox = 32,
    };

    // Links the node into the chain behind previous; a root without previous starts a chain.
    CodeNode(Type type, const QTextBlock &block, CodeNode *previous);

    // Runs the destructor and gives the memory back to the pool.
    void release() override;
    ~CodeNode() override;
    virtual int firstLine() const;
    virtual int lastLine() const;
    // The document of block(); null for an invalid block.
    virtual CodeDocument *document() const;
    // Deletes the line (with children: the lines of the children too); the parse then
    // destroys the node. Without a document the node is released at once.
    virtual void remove(bool withChildren);
    // A parser that keeps a line's node (returns oldNode) calls this with the line's new
    // value: the node stores it and the tree model shows the change. Nothing else calls it.
    virtual void valueChanged(const QVariant &value);

protected:
    virtual void changed(const ParentCode *parent, int row, int column);

public:
    Type type() const { return nodeType; }
    QTextBlock block() const { return nodeBlock; }
    ParentCode *parent() const { return parentNode; }
    CodeNode *previous() const { return previousNode; }
    CodeNode *next() const { return nextNode; }

    // The block number; a node without a valid block belongs to the line before it.
    int lineNo() const;
    // The nearest node of the given type up the parents or along the chain; null when a node
    // whose type shares a bit with stopMask comes first, or when the walk ends.
    ParentCode *parent(Type type, int stopMask) const;
    CodeNode *previous(Type type, int stopMask) const;
    CodeNode *next(Type type, int stopMask) const;

    // False for a node that has been released (and not yet reused by a new node).
    bool isValid() const;
    // The same, safe for null.
    static bool isValid(const CodeNode *node);

    // This node's line with its line end.
    QTextCursor select() const;
    // From the start of firstLine() to the end of lastLine(), line end included.
    QTextCursor selectAll() const;
    QString code() const;

    static void *operator new(std::size_t size) { return allocate(size); }
    static void operator delete(void *block);
    // Bytes ever taken from malloc by the pool.
    static quint64 allocatedBytes();

protected:
    // Replaces the text of this node's line with line, keeping the user's spacing and a
    // trailing comment.
    void change(const QString &line);
    static void *allocate(std::size_t size);

    // For the tree operations of parent classes.
    static void setParentOf(CodeNode *node, ParentCode *parent) { node->parentNode = parent; }
    void setBlock(const QTextBlock &block) { nodeBlock = block; }

private:
    friend class CodeDocumentPrivate;
    // What stays in the memory of a released node, so that a stale pointer still points to a
    // CodeNode that isValid() may ask.
    explicit CodeNode(Type deadType) : nodeType(deadType) {}
    CodeNode(const CodeNode &) = delete;
    CodeNode &operator=(const CodeNode &) = delete;
    void unlink();
    void linkAfter(CodeNode *previous);

    QTextBlock nodeBlock;
    ParentCode *parentNode = nullptr;
    CodeNode *previousNode = nullptr;
    CodeNode *nextNode = nullptr;
    Type nodeType;
};

// A node that can have children. The default keeps none and only sets the parent pointer.
class ZORNX_EXPORT ParentCode : public CodeNode
{
public:
    using CodeNode::CodeNode;

    virtual unsigned int childCount() const;
    virtual int childIndex(CodeNode *node) const;
    virtual CodeNode *childAt(unsigned int index) const;
    virtual void insertChild(CodeNode *node, unsigned int index);
    virtual void removeChild(CodeNode *node);
    virtual void childChanged(CodeNode *node);

protected:
    // Travel up the tree until the root turns them into model signals.
    virtual void beginInsert(const ParentCode *parent, int row);
    virtual void endInsert();
    virtual void beginRemove(const ParentCode *parent, int row);
    virtual void endRemove();

public:
    // Inserts text as a line behind the last child, or behind this node without children.
    void appendValue(const QString &text);

protected:
    // Places child among the root's children, behind the nearest earlier top-level node.
    void insertRootChild(CodeNode *child);
    // The root of this node's chain.
    RootCode *chainRoot() const;

    friend class CodeNode;
    friend class RootCode;
};

// Second base of the nodes that have a name.
class ZORNX_EXPORT NamedCode : public PropertyItem
{
public:
    QStringList propertyNames() const override;
    QVariant property(const QString &name) const override;
    void setProperty(const QString &name, const QVariant &value) override;

    virtual QString name() const;
    virtual QString displayName() const;
    virtual void setName(const QString &name) = 0;
};

// One value of a line. The value is kept in the normal form of its type.
class ZORNX_EXPORT ValueCode : public CodeNode, public NamedCode
{
public:
    enum Type : int {
        Unknown = 0,
        String = 3,
        Bool = 4,
        File = 5,
        Date = 6,
        Keyword = 7,
        KeywordVector = 8,
        Float = 9,
        FloatVec2 = 10,
        FloatVec3 = 11,
        FloatVec4 = 12,
        FloatVector = 13,
        Int = 14,
        IntVec2 = 15,
        IntVec3 = 16,
        IntVec4 = 17,
        IntVector = 18,
    };

    // Stores convertFrom(type, value) and enters the parent that the chain before it gives.
    ValueCode(Type type, const QTextBlock &block, CodeNode *previous, const QVariant &value);

    // For Keyword the text of the keyword (invalid when none is stored); otherwise the stored
    // value.
    virtual QVariant value() const;
    // Stores convertFrom(valueType(), value) without touching the text. A keyword may be given
    // as its index or its text; false, with the old value kept, for a text that keyword()
    // does not know.
    virtual bool setValue(const QVariant &value);
    virtual bool asBool() const;
    virtual int asInt() const;
    virtual unsigned int asUInt() const;
    virtual QVector<int> asIntVector() const;
    virtual qreal asReal() const;
    virtual QVector<qreal> asRealVector() const;
    virtual QVariantList asVector() const;
    virtual QPoint asPoint() const;
    virtual QPointF asPointF() const;
    virtual QSize asSize() const;
    virtual QRect asRect() const;
    // The text of keyword index; an empty text past the end of the engine's table.
    virtual QString keyword(unsigned int index) const = 0;
    // The index of a keyword's text (case ignored), -1 when keyword() does not know it.
    int keywordIndex(const QString &text) const;

    // Stores convertFrom(valueType(), value), then tells the parent and the model.
    void valueChanged(const QVariant &value) override;

protected:
    virtual QVariant convertFrom(ValueCode::Type type, const QVariant &value) const;

public:
    ValueCode::Type valueType() const { return storedType; }
    QVariant rawValue() const { return stored; }

    // The value as text of the source file; node (may be null) supplies keyword texts.
    static QString asString(const ValueCode *node, ValueCode::Type type, const QVariant &value,
                            const QChar &separator);

private:
    bool isScalar() const;
    // Without lookUp (in the constructor, before keyword() exists) only numbers are indices.
    QVariant convert(ValueCode::Type type, const QVariant &value, bool lookUp) const;
    QVariant keywordOf(const QVariant &value, bool lookUp) const;

    ValueCode::Type storedType;
    QVariant stored;
};

// A section header; owns (in the tree) the values below it up to the next header, and
// the groups that a module nests in it, which follow the values in the model.
class ZORNX_EXPORT GroupCode : public ParentCode, public NamedCode
{
public:
    // Adopts the values behind it in the chain, up to the next header. A concrete class
    // places itself, for example with insertRootChild(this).
    GroupCode(const QTextBlock &block, CodeNode *previous, unsigned int subType);
    // Gives the values and the nested groups to the nearest group above; without one, the
    // nested groups go to the root and the values are left without a parent.
    ~GroupCode() override;

    int lastLine() const override;
    unsigned int childCount() const override;
    int childIndex(CodeNode *node) const override;
    CodeNode *childAt(unsigned int index) const override;
    void insertChild(CodeNode *node, unsigned int index) override;
    void removeChild(CodeNode *node) override;

    // Writes a value line; flag is the engine's.
    virtual ValueCode *insertValue(unsigned int index, const QString &name, const QString &value,
                                   bool flag) = 0;
    virtual ValueCode *addValue(const QString &name, const QString &value, bool flag) = 0;

    const QList<ValueCode *> &values() const { return valueList; }
    int valueCount() const { return valueList.size(); }
    ValueCode *valueAt(unsigned int index) const;
    ValueCode *valueByName(const QString &name) const;
    QVariant value(const QString &name) const;
    // Deletes the line of value index; nothing past the end.
    void removeValue(unsigned int index);
    unsigned int subType() const { return groupSubType; }

private:
    QList<ValueCode *> valueList; // not owned
    QList<CodeNode *> groupList;  // nested groups, not owned
    unsigned int groupSubType;
    mutable int lastRow = 0; // where childIndex starts looking
};

// The root of a tree, and the one-column model of it.
class ZORNX_EXPORT RootCode : public TreeModel, public ParentCode
{
    Q_OBJECT
public:
    explicit RootCode(int fileType = -1);
    ~RootCode() override;

    unsigned int childCount() const override;
    int childIndex(CodeNode *node) const override;
    CodeNode *childAt(unsigned int index) const override;
    void insertChild(CodeNode *node, unsigned int index) override;
    void removeChild(CodeNode *node) override;

    QModelIndex index(int row, int column,
                      const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    using ParentCode::parent;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex &parent = QModelIndex()) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    // The model index of node; invalid for the root and for nodes outside the tree.
    QModelIndex indexOf(const CodeNode *node) const;

    // Whether programmatic edits parse at once (option "parseCode"); true without document.
    bool canParseCode() const;
    const QList<CodeNode *> &childs() const { return children; }
    int fileType() const { return rootFileType; }
    unsigned int version() const { return rootVersion; }
    void setVersion(unsigned int version, bool emitSignal);
    void setFileType(int fileType, bool emitSignal);

Q_SIGNALS:
    void versionChanged();
    void typeChanged();

protected:
    void beginInsert(const ParentCode *parent, int row) override;
    void endInsert() override;
    void beginRemove(const ParentCode *parent, int row) override;
    void endRemove() override;
    void changed(const ParentCode *parent, int row, int column) override;

    // Releases every node of the chain behind the root, last first.
    void destroy();

    static QModelIndex s_lastParent;

private:
    QList<CodeNode *> children; // not owned
    unsigned int rootVersion = 0;
    int rootFileType;
};

} // namespace Zorn

#endif
