#ifndef ZORNX_CODE_CODEDOCUMENT_P_H
#define ZORNX_CODE_CODEDOCUMENT_P_H

#include <zornx/code/codeblockdata.h>
#include <zornx/code/codedocument.h>
#include <zornx/code/codenodefile.h>
#include <zornx/core/archive.h>
#include <zornx/core/messages.h>

#include <QtCore/QFuture>
#include <QtCore/QIODevice>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QVector>
#include <QtGui/QTextCharFormat>

namespace Zorn {

// The codec id of a document, kept in its QObject user data.
class CodeDocumentUserData : public QObjectUserData
{
public:
    int codecId = 0;
    // The file began with a byte order mark, which the codecs drop: saves in a Unicode
    // codec write it again, and only then.
    bool bom = false;
};

enum { CodeDocumentUserDataId = 0xC0DE };

class CodeBlockDataPrivate
{
public:
    CodeBlockDataPrivate *nextWithMessages = nullptr;
    CodeDocumentPrivate *document = nullptr; // null once the document has gone
    CodeNode *node = nullptr;                // owned
    bool folded = false;
    bool parsed = false;
    unsigned int foldingIndent = 0;
    QTextBlock block;
    QList<CodeMark *> marks;
    QList<CodeLink *> links; // owned
    // Where each link lies in the line: the lines below an edit are not parsed again, and
    // their links move with them.
    QVector<QPair<int, int>> linkOffsets;
    QVector<CodeBlockData::SyntaxMessage> messages;
    QVector<CodeBlockData::Parenthesis> parenthesis;
    // The record before this one in the chain of lines with messages, for an unlink in place.
    CodeBlockDataPrivate *previousWithMessages = nullptr;
    // The block's state has been set by a parse. A block that a split has just made starts
    // with the state -1, which tells nothing about the lines behind it.
    bool stated = false;
};

class CodeNodeFilePrivate
{
public:
    CodeDocument *document = nullptr;
};

// The machine behind a CodeDocument: the passes over changed lines, the per-line records,
// the syntax interface that parsers write to, and the document's messages as a list model
// (a view of the chain of the lines that have messages, in document order).
class CodeDocumentPrivate : public Messages, public CodeParserSyntax
{
    Q_OBJECT
public:
    explicit CodeDocumentPrivate(CodeDocument *document);
    ~CodeDocumentPrivate() override;

    // Messages
    ProjectFile *file() const override;
    unsigned int count(Message::Type type) const override;
    Message at(unsigned int index, Message::Type type) const override;

    // CodeParserSyntax
    void setToken(TokenType type, int start, int end) override;
    void addError(TokenType type, const QString &text, int start, int end) override;
    void addDeprecation(TokenType type, const QString &text, int start, int end) override;
    void addWarning(TokenType type, const QString &text, int start, int end) override;
    void addParenthesis(bool opening, QChar character, int position) override;
    void addLink(CodeLink *link) override;

    // The reformat pass over the blocks that a change touched, and on while states differ.
    void reformatBlocks(int from, int charsRemoved, int charsAdded);
    // Every block, with the model suspended by the caller.
    void wholeDocumentPass();
    // The edit behind every programmatic insertion; parses at once inside a change.
    void insertText(const QString &text, QTextCursor cursor);

    // Lowers updateDepth and tells the message list at the outermost level.
    void endUpdate();
    void suspendModel();
    void resumeModel();
    void removeMessages(CodeBlockDataPrivate *record);

    CodeDocument *document;
    CodeParser *parser = nullptr;
    CodeBlockDataPrivate *currentData = nullptr;
    QTextCursor cursor;
    qint16 changeDepth = 0;
    quint16 updateDepth = 0;
    QMap<unsigned int, CodeNodeFile *> nodeFiles; // key: subType << 12 | type
    QFuture<void> saveFuture;
    int errorCount = 0;
    int warningCount = 0;
    int infoCount = 0;
    QVector<CodeBlockData::SyntaxMessage> pendingMessages;
    CodeBlockDataPrivate *firstWithMessages = nullptr;
    // Per character of the current block, which format it takes: 0 none, 1 to 10 the syntax
    // format of a token type (type + 1), 11 on an entry of messageFormats (11 + index). A byte
    // per character instead of a format: a long line costs no copies of shared formats.
    QVector<quint8> formatChanges;
    QTextBlock currentBlock;
    bool rehighlighting = false;
    bool reformatting = false;
    bool reparsePending = false;
    bool rehighlightPending = false;
    bool modelEnabled = true;
    int modelLock = 0;
    int modelRows = 0;
    bool destroying = false;
    int savedRevision = 0;
    // The document's revision when the running save took its text.
    int snapshotRevision = 0;
    // The name that the running save holds back; a failed save gives it back.
    QString heldName;
    // The document is going: a save that ends now only finishes its file.
    bool closing = false;

    // The last record of the chain of lines with messages: a pass that goes down the
    // document appends there without a walk.
    CodeBlockDataPrivate *lastWithMessages = nullptr;
    // The record of the chain changed last (or the one in front of a removal) and the row of
    // its first message: a pass going down the document removes and inserts next to it.
    CodeBlockDataPrivate *touchedRecord = nullptr;
    int touchedRow = 0;
    // The record of the last message read through at(), the filter of that read, the number
    // of messages passing the filter in front of the record, and the record's line. Forgotten
    // on every change of the text or of the chain.
    mutable const CodeBlockDataPrivate *readRecord = nullptr;
    mutable Message::Type readType = Message::All;
    mutable unsigned int readFirst = 0;
    mutable int readLine = 0;
    // The row of the first message of a record in the chain.
    int rowOf(const CodeBlockDataPrivate *record) const;
    // The block parsed last in the running pass, and the node that the next block's
    // insertion point starts from; spares each line a walk back over lines without nodes.
    QTextBlock cachedBlock;
    CodeNode *cachedPrevious = nullptr;
    // Raised whenever a line gains, loses or changes its node, or goes: the insertion point
    // found for a block holds while this stays, however long the walk back to it was.
    quint32 nodeLines = 0;
    QTextBlock rememberedBlock;
    CodeNode *rememberedPrevious = nullptr;
    quint32 rememberedLines = 0;

    // Waits for the running save and finishes it here and now, so that its commit cannot
    // land after what the caller does next.
    void waitForSave();

Q_SIGNALS:
    // Emitted by the save worker; arrives queued on the GUI thread.
    void saveFinished(Zorn::Archive *archive, QIODevice *file, QString fileName, uint flags,
                      Zorn::JobStats *stats);

public Q_SLOTS:
    void reformatBlocksSlot(int from, int charsRemoved, int charsAdded);
    void callDocSaveFinished(Zorn::Archive *archive, QIODevice *file, QString fileName,
                             uint flags, Zorn::JobStats *stats);

private:
    // The block parser, on currentBlock.
    void parseBlock(bool highlight);
    // With no parser: what an earlier parser left on the line goes.
    void clearRecord(CodeBlockDataPrivate *record);
    // Where the node of block goes in the chain; previousNode is the node of the nearest
    // earlier line that has one.
    CodeNode *insertionPoint(const QTextBlock &block, CodeNode **previousNode);
    // Calls the parser on one block; returns the last node of the line.
    CodeNode *callParser(CodeBlockDataPrivate *record, const QTextBlock &block,
                         CodeNode *insertAfter, CodeParserSyntax *syntax);
    void setState(QTextBlock block, CodeBlockDataPrivate *record) const;
    void insertMessages(CodeBlockDataPrivate *record);
    void computeFoldingIndent(const QTextBlock &block, CodeBlockDataPrivate *record,
                              CodeNode *previousNode, CodeNode *insertAfter) const;
    void applyFormats();
    void addMessage(int kind, TokenType type, const QString &text, int start, int end);
    void writeFormat(quint8 format, int start, int end);
    const QTextCharFormat &formatOf(quint8 format) const;
    // The underlined formats of messages, by kind * 11 + token type (10 for none); each made
    // again by the message that uses it.
    QTextCharFormat messageFormats[33];
};

// Expands tabs to blanks with stops every four columns.
void expandTabs(QString &text);

} // namespace Zorn

Q_DECLARE_METATYPE(Zorn::JobStats *)

#endif
