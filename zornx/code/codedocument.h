#ifndef ZORNX_CODE_CODEDOCUMENT_H
#define ZORNX_CODE_CODEDOCUMENT_H

#include <zornx/code/codenode.h>
#include <zornx/code/codeparser.h>
#include <zornx/core/archive.h>
#include <zornx/project/projectfile.h>

#include <QtGui/QIcon>
#include <QtGui/QTextCharFormat>
#include <QtGui/QTextCursor>
#include <QtGui/QTextDocument>

class QCompleter;

namespace Zorn {

class CodeBlockData;
class CodeDocument;
class CodeDocumentPrivate;
class CodeEditor;
class CodeNodeFile;

// The root of a document's tree. It gates the model: while the document suspends it (bulk
// work) or the option "modelCode" is off, views see a fixed, possibly empty, top level.
// Internal; held by value in CodeDocument.
class ZORNX_EXPORT CodeDocumentRoot : public RootCode
{
public:
    CodeDocumentRoot(CodeDocument *document, int fileType);

    // Owned by the document, never released.
    void release() override;
    CodeDocument *document() const override;

    void insertChild(CodeNode *node, unsigned int index) override;
    void removeChild(CodeNode *node) override;
    void childChanged(CodeNode *node) override;

    QModelIndex index(int row, int column,
                      const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    using RootCode::parent;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

protected:
    void beginInsert(const ParentCode *parent, int row) override;
    void endInsert() override;
    void beginRemove(const ParentCode *parent, int row) override;
    void endRemove() override;
    void changed(const ParentCode *parent, int row, int column) override;

private:
    friend class CodeDocument;
    friend class CodeDocumentPrivate;
    bool isLive() const;
    // Top-level rows admitted to while the model is live.
    int admittedRows() const;

    CodeDocument *doc;
};

// The text file of the library: a QTextDocument that is also a project file. It parses
// nothing itself; the engine's CodeParser is driven line by line on every change, and only
// the lines that a change touches are parsed again, plus the following ones while their
// state differs from before.
class ZORNX_EXPORT CodeDocument : public QTextDocument, public ProjectFile, public FileWatchObject
{
    Q_OBJECT
public:
    explicit CodeDocument(short fileType = -1);

    virtual void setVersion(unsigned int version);
    // Takes text, with no file name.
    virtual void fromString(const QString &text);
    virtual bool autoComplete(QTextCursor &cursor, QCompleter *completer, int key, QString &prefix);
    virtual bool insertCompletion(CodeEditor *editor, QTextCursor cursor, const QString &text);
    virtual void autoCompleteDone();
    // Re-indents (indentOnly) or reformats the zero-based range of lines.
    virtual void formatLines(int firstLine, int lastLine, bool indentOnly) = 0;
    virtual QIcon nodeIcon(const CodeNode *node) const;

protected:
    // The end of every pass over changed lines that was not interrupted.
    virtual void codeUpdated();
    // The tree's top level changed: tell the node file of the node's kind.
    virtual void insertChild(CodeNode *node, unsigned int index);
    virtual void removeChild(CodeNode *node);
    virtual void childChanged(CodeNode *node);

public:
    void release() override;
    QAbstractItemModel *model() override;
    Capabilities capabilities() const override;
    bool canSave() const override;
    bool isModified() const override;
    bool isEmpty() const override;
    void reset() override;
    bool toFile(Archive &archive, const QString &name, unsigned int flags, JobStats *job) override;
    bool fromFile(Archive &archive, const QString &name, unsigned int flags,
                  JobStats *job) override;
    QString fileName() const override;
    void beginChange() override;
    void endChange() override;
    void undo() override;
    void redo() override;
    QList<SearchResult> search(const RegExp &expression, unsigned int flags) const override;
    void replace(const QList<SearchResult> &results, const QString &replacement) override;
    void reload() override;

    const RootCode *root() const;
    // Null when none is set; not owned.
    CodeParser *parser() const;
    void setParser(CodeParser *parser);
    // Option "highlightCode".
    bool hasSyntaxHighlight() const;
    void setSyntaxHighlight(bool on);

    void setTitle(const QString &title);
    QString title() const;
    void setCursor(const QTextCursor &cursor);
    QTextCursor cursor() const;
    QString toString() const;
    int fileType() const;
    void setFileType(int fileType, bool emitSignal);
    unsigned int version() const;

    CodeNode *nodeInBlock(const QTextBlock &block) const;
    CodeNode *nodeFromIndex(const QModelIndex &index) const;
    int lineNo(const QModelIndex &index) const;
    // The index of the deepest node of the zero-based line.
    QModelIndex indexInLine(unsigned int line) const;

    bool isCodeBeingChanged() const;
    // Programmatic edits. Inside beginChange()/endChange() the tree follows each of them at
    // once (with "parseCode"); formats and messages follow when the change ends.
    void insert(const QString &text);
    void insertAfter(CodeNode *node, const QString &text, bool inNodeLine);
    void insertBefore(CodeNode *node, const QString &text, bool inNodeLine);
    void insertOnCursor(const QString &text, QTextCursor cursor);

    // line is one-based; false for a line outside the document.
    bool addMark(CodeMark *mark, int line);
    QList<CodeMark *> marksAt(int line) const;
    void removeMark(CodeMark *mark);
    bool hasMark(CodeMark *mark) const;
    void updateMark(CodeMark *mark);

    // The file shows the root children of the kind; the document holds a reference for it.
    void registerNodeFile(CodeNodeFile *file, CodeNode::Type type, unsigned int subType);
    CodeNodeFile *nodeFile(CodeNode::Type type, unsigned int subType) const;

    // The index into the codec table, kept in the document's user data.
    int codecId() const;
    // Both setters first wait for a running background save.
    void setCodecId(int id);
    QString codecName() const;
    void setCodec(const char *name);

    // The document revision of the last save or load: a block whose revision() differs has
    // changed since.
    int savedRevision() const;
    // Blocks until a running background save has finished and been committed.
    void waitForSave();
    // The record of block, or null; never makes one.
    static CodeBlockData *blockData(const QTextBlock &block);

    // The ten formats shared by all documents.
    static void setSyntaxFormat(CodeParserSyntax::TokenType type, const QTextCharFormat &format);
    static QTextCharFormat syntaxFormat(CodeParserSyntax::TokenType type);

public Q_SLOTS:
    // Parses every line again, keeping the nodes that the parser keeps.
    void rehighlight();

protected:
    ~CodeDocument() override;
    // Drops the whole tree and parses every line again.
    void reparse();
    void setFileName(const QString &name);
    Messages *fileMessages() const override;

private:
    // The load behind fromFile() and reload(); codecId -1 detects the codec.
    bool fromFile(Archive &archive, const QString &name, int codecId, unsigned int flags,
                  JobStats *job);
    // The end of every save, on the GUI thread: commits the file, or drops it when the
    // bytes did not all reach it, and gives the name back. false for a failed save.
    bool saveFinished(Archive *archive, QIODevice *device, const QString &name,
                      unsigned int flags, JobStats *job);

    friend class CodeDocumentPrivate;
    friend class CodeDocumentRoot;
    friend class CodeNodeFile;
    CodeDocumentRoot rootNode;
    CodeDocumentPrivate *d;
};

} // namespace Zorn

#endif
