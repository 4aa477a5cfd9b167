#include "codedocument.h"
#include "codedocument_p.h"

#include "codeblockdata.h"
#include "codenodefile.h"
#include "textcodecs.h"

#include <zornx/core/interface.h>

#include <QtGui/QFont>
#include <QtGui/QTextLayout>
#include <QtWidgets/QPlainTextDocumentLayout>

#include <algorithm>

namespace Zorn {

namespace {

const QString highlightKey = QStringLiteral("highlightCode");
const QString modelKey = QStringLiteral("modelCode");

QTextCharFormat makeFormat(const QColor &color, bool bold, bool italic)
{
    QFont font(QStringLiteral("Courier"), 10);
    font.setFixedPitch(true);
    font.setStyleHint(QFont::Monospace, QFont::PreferDefault);
    font.setWeight(bold ? 75 : 50);
    font.setItalic(italic);
    QTextCharFormat format;
    format.setFont(font);
    format.setForeground(color);
    return format;
}

QTextCharFormat *syntaxFormats()
{
    static QTextCharFormat formats[10];
    static bool ready = false;
    if (!ready) {
        ready = true;
        formats[0] = makeFormat(Qt::black, false, true);
        formats[1] = makeFormat(Qt::gray, false, true);
        formats[2] = makeFormat(Qt::red, false, false);
        formats[3] = makeFormat(Qt::blue, false, false);
        formats[4] = makeFormat(Qt::black, true, false);
        formats[5] = makeFormat(QColor(0, 128, 0), true, false);
        formats[6] = makeFormat(QColor(255, 128, 0), true, false);
        formats[7] = makeFormat(QColor(0, 128, 128), true, false);
        formats[8] = makeFormat(QColor(128, 0, 255), false, false);
        formats[9] = makeFormat(QColor(255, 0, 255), false, false);
    }
    return formats;
}

bool validToken(int type)
{
    return type >= 0 && type < 10;
}

bool isHeader(const CodeNode *node)
{
    return node && (node->type() == CodeNode::Group || node->type() == CodeNode::Animation);
}

// The key of a node's kind among the node files.
unsigned int nodeFileKey(const CodeNode *node)
{
    const unsigned int subType =
        node->type() == CodeNode::Group ? static_cast<const GroupCode *>(node)->subType() : 0;
    return subType << 12 | unsigned(node->type());
}

// Both of one kind as the node files count them.
bool sameKind(const CodeNode *a, const CodeNode *b)
{
    if (a->type() != b->type())
        return false;
    return a->type() != CodeNode::Group
           || static_cast<const GroupCode *>(a)->subType()
                  == static_cast<const GroupCode *>(b)->subType();
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Interfaces of the engine modules

CodeParserSyntax::~CodeParserSyntax() = default;
CodeParser::~CodeParser() = default;
CodeMark::~CodeMark() = default;
CodeLink::~CodeLink() = default;

// ---------------------------------------------------------------------------------------------
// CodeBlockData

CodeBlockData::CodeBlockData(CodeDocumentPrivate *document, const QTextBlock &block)
    : d(new CodeBlockDataPrivate)
{
    d->document = document;
    d->block = block;
}

CodeBlockData::~CodeBlockData()
{
    CodeDocumentPrivate *document = d->document;
    if (document && !document->destroying)
        for (CodeMark *mark : qAsConst(d->marks))
            mark->removed();
    d->marks.clear();
    qDeleteAll(d->links);
    d->links.clear();
    if (document) {
        ++document->nodeLines; // the line has gone
        document->removeMessages(d);
        if (document->currentData == d)
            document->currentData = nullptr;
    }
    if (CodeNode *node = d->node) {
        d->node = nullptr;
        node->release();
    }
    delete d;
}

CodeBlockData *CodeBlockData::blockData(QTextBlock block, CodeDocumentPrivate *document)
{
    if (!block.isValid())
        return nullptr;
    if (CodeBlockData *data = testBlockData(block))
        return data;
    auto *data = new CodeBlockData(document, block);
    block.setUserData(data);
    return data;
}

CodeBlockData *CodeBlockData::testBlockData(QTextBlock block)
{
    return static_cast<CodeBlockData *>(block.userData());
}

bool CodeBlockData::isFolded() const
{
    return d->folded;
}

void CodeBlockData::setFolded(bool folded)
{
    d->folded = folded;
}

bool CodeBlockData::isParsed() const
{
    return d->parsed;
}

CodeNode *CodeBlockData::codeNode() const
{
    return d->node;
}

unsigned int CodeBlockData::foldingIndent() const
{
    return d->foldingIndent;
}

QList<CodeMark *> CodeBlockData::marks() const
{
    return d->marks;
}

QList<CodeLink *> CodeBlockData::links() const
{
    const int base = d->block.position();
    for (int i = 0; i < d->links.size(); ++i) {
        d->links.at(i)->start = base + d->linkOffsets.at(i).first;
        d->links.at(i)->end = base + d->linkOffsets.at(i).second;
    }
    return d->links;
}

QVector<CodeBlockData::SyntaxMessage> CodeBlockData::syntaxMessages() const
{
    return d->messages;
}

QVector<CodeBlockData::Parenthesis> CodeBlockData::parenthesis() const
{
    return d->parenthesis;
}

// ---------------------------------------------------------------------------------------------
// CodeDocumentRoot

CodeDocumentRoot::CodeDocumentRoot(CodeDocument *document, int fileType)
    : RootCode(fileType), doc(document)
{}

void CodeDocumentRoot::release() {}

CodeDocument *CodeDocumentRoot::document() const
{
    return doc;
}

bool CodeDocumentRoot::isLive() const
{
    const CodeDocumentPrivate *d = doc->d;
    return d && d->modelLock == 0 && d->modelEnabled;
}

int CodeDocumentRoot::admittedRows() const
{
    return doc->d ? doc->d->modelRows : 0;
}

void CodeDocumentRoot::insertChild(CodeNode *node, unsigned int index)
{
    RootCode::insertChild(node, index);
    if (doc->d)
        doc->insertChild(node, index);
}

void CodeDocumentRoot::removeChild(CodeNode *node)
{
    if (doc->d)
        doc->removeChild(node);
    RootCode::removeChild(node);
}

void CodeDocumentRoot::childChanged(CodeNode *node)
{
    if (doc->d)
        doc->childChanged(node);
}

QModelIndex CodeDocumentRoot::index(int row, int column, const QModelIndex &parent) const
{
    if (!isLive() || (!parent.isValid() && row >= admittedRows()))
        return QModelIndex();
    return RootCode::index(row, column, parent);
}

QModelIndex CodeDocumentRoot::parent(const QModelIndex &index) const
{
    return isLive() ? RootCode::parent(index) : QModelIndex();
}

int CodeDocumentRoot::rowCount(const QModelIndex &parent) const
{
    if (isLive() && parent.isValid())
        return RootCode::rowCount(parent);
    return admittedRows();
}

int CodeDocumentRoot::columnCount(const QModelIndex &) const
{
    return isLive() ? 1 : 0;
}

bool CodeDocumentRoot::hasChildren(const QModelIndex &parent) const
{
    if (isLive() && parent.isValid())
        return RootCode::rowCount(parent) > 0;
    return admittedRows() > 0;
}

QVariant CodeDocumentRoot::data(const QModelIndex &index, int role) const
{
    return isLive() ? RootCode::data(index, role) : QVariant();
}

Qt::ItemFlags CodeDocumentRoot::flags(const QModelIndex &index) const
{
    return isLive() && index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags;
}

void CodeDocumentRoot::beginInsert(const ParentCode *parent, int row)
{
    if (isLive())
        RootCode::beginInsert(parent, row);
}

void CodeDocumentRoot::endInsert()
{
    if (!isLive())
        return;
    doc->d->modelRows = int(childCount());
    RootCode::endInsert();
}

void CodeDocumentRoot::beginRemove(const ParentCode *parent, int row)
{
    if (isLive())
        RootCode::beginRemove(parent, row);
}

void CodeDocumentRoot::endRemove()
{
    if (!isLive())
        return;
    doc->d->modelRows = int(childCount());
    RootCode::endRemove();
}

void CodeDocumentRoot::changed(const ParentCode *parent, int row, int column)
{
    if (isLive())
        RootCode::changed(parent, row, column);
}

// ---------------------------------------------------------------------------------------------
// CodeDocumentPrivate: the model of the messages

CodeDocumentPrivate::CodeDocumentPrivate(CodeDocument *document) : document(document) {}

CodeDocumentPrivate::~CodeDocumentPrivate() = default;

ProjectFile *CodeDocumentPrivate::file() const
{
    return document;
}

unsigned int CodeDocumentPrivate::count(Message::Type type) const
{
    switch (type) {
    case Message::Error:
        return unsigned(errorCount);
    case Message::Warning:
        return unsigned(warningCount);
    case Message::Information:
        return unsigned(infoCount);
    default:
        return unsigned(errorCount + warningCount + infoCount);
    }
}

Message CodeDocumentPrivate::at(unsigned int index, Message::Type type) const
{
    if (type == Message::Information)
        return Message();
    auto wanted = [type](const CodeBlockData::SyntaxMessage &message) {
        return type == Message::All || (type == Message::Error) == (message.type == 0);
    };
    // A view asks row after row: go on from the record of the last answer rather than from
    // the head of the chain.
    const CodeBlockDataPrivate *record = firstWithMessages;
    unsigned int before = 0; // wanted messages in the records before record
    if (readRecord && readType == type && readFirst <= index) {
        record = readRecord;
        before = readFirst;
    }
    for (; record; record = record->nextWithMessages) {
        unsigned int rest = index - before;
        for (const CodeBlockData::SyntaxMessage &message : record->messages) {
            if (!wanted(message) || rest-- > 0)
                continue;
            // The line from the last answer's when it is the same line or the next one: a
            // block's number costs a walk up the text's tree.
            if (record != readRecord) {
                const bool next = readRecord && readRecord->nextWithMessages == record
                                  && readRecord->block.next() == record->block;
                readLine = next ? readLine + 1 : record->block.blockNumber();
            }
            readRecord = record;
            readType = type;
            readFirst = before;
            return Message(message.type == 0 ? Message::Error : Message::Warning,
                           unsigned(readLine), unsigned(qMax(message.start, 0)), message.text);
        }
        before += unsigned(
            std::count_if(record->messages.cbegin(), record->messages.cend(), wanted));
    }
    return Message();
}

int CodeDocumentPrivate::rowOf(const CodeBlockDataPrivate *record) const
{
    if (touchedRecord == record)
        return touchedRow;
    if (touchedRecord && touchedRecord->nextWithMessages == record)
        return touchedRow + touchedRecord->messages.size();
    int row = 0;
    for (const CodeBlockDataPrivate *walk = firstWithMessages; walk != record;
         walk = walk->nextWithMessages)
        row += walk->messages.size();
    return row;
}

void CodeDocumentPrivate::removeMessages(CodeBlockDataPrivate *record)
{
    if (record->messages.isEmpty())
        return;
    if (record != firstWithMessages && !record->previousWithMessages) {
        // not in the chain: nothing is shown of it
        record->messages.clear();
        return;
    }
    const int row = rowOf(record);
    readRecord = nullptr;
    beginRemoveRows(QModelIndex(), row, row + record->messages.size() - 1);
    for (const CodeBlockData::SyntaxMessage &message : qAsConst(record->messages)) {
        if (message.type == 0)
            --errorCount;
        else
            --warningCount;
    }
    CodeBlockDataPrivate *before = record->previousWithMessages;
    CodeBlockDataPrivate *after = record->nextWithMessages;
    if (before)
        before->nextWithMessages = after;
    else
        firstWithMessages = after;
    if (after)
        after->previousWithMessages = before;
    else
        lastWithMessages = before;
    record->nextWithMessages = nullptr;
    record->previousWithMessages = nullptr;
    record->messages.clear();
    // The rows in front are where they were.
    touchedRecord = before;
    touchedRow = before ? row - before->messages.size() : 0;
    endRemoveRows();
}

void CodeDocumentPrivate::insertMessages(CodeBlockDataPrivate *record)
{
    const int number = record->block.blockNumber();
    auto isBefore = [number](const CodeBlockDataPrivate *other) {
        return other->block.blockNumber() < number;
    };
    CodeBlockDataPrivate *before = nullptr;
    int row = 0;
    if (lastWithMessages && isBefore(lastWithMessages)) {
        before = lastWithMessages;
        row = int(count(Message::All));
    } else if (touchedRecord && isBefore(touchedRecord)
               && !(touchedRecord->nextWithMessages
                    && isBefore(touchedRecord->nextWithMessages))) {
        // Next to the record a pass touched last, as a pass down the document inserts.
        before = touchedRecord;
        row = touchedRow + touchedRecord->messages.size();
    } else {
        for (CodeBlockDataPrivate *walk = firstWithMessages; walk && isBefore(walk);
             walk = walk->nextWithMessages) {
            before = walk;
            row += walk->messages.size();
        }
    }
    readRecord = nullptr;
    // The counters rise with the rows, so that the model's size and its rows agree at
    // every signal.
    beginInsertRows(QModelIndex(), row, row + pendingMessages.size() - 1);
    record->messages.swap(pendingMessages);
    pendingMessages.clear();
    for (const CodeBlockData::SyntaxMessage &message : qAsConst(record->messages)) {
        if (message.type == 0)
            ++errorCount;
        else
            ++warningCount;
    }
    CodeBlockDataPrivate *after = before ? before->nextWithMessages : firstWithMessages;
    record->previousWithMessages = before;
    record->nextWithMessages = after;
    if (before)
        before->nextWithMessages = record;
    else
        firstWithMessages = record;
    if (after)
        after->previousWithMessages = record;
    else
        lastWithMessages = record;
    touchedRecord = record;
    touchedRow = row;
    endInsertRows();
}

void CodeDocumentPrivate::endUpdate()
{
    if (updateDepth > 0 && --updateDepth == 0)
        notifyUpdate();
}

// ---------------------------------------------------------------------------------------------
// CodeDocumentPrivate: what the parser says

void CodeDocumentPrivate::writeFormat(quint8 format, int start, int end)
{
    const int from = qMax(start, 0);
    const int to = qMin(end, formatChanges.size());
    if (from < to)
        std::fill(formatChanges.begin() + from, formatChanges.begin() + to, format);
}

const QTextCharFormat &CodeDocumentPrivate::formatOf(quint8 format) const
{
    static const QTextCharFormat none;
    if (format == 0)
        return none;
    if (format <= 10)
        return syntaxFormats()[format - 1];
    return messageFormats[format - 11];
}

void CodeDocumentPrivate::setToken(TokenType type, int start, int end)
{
    if (!currentData)
        return;
    if (type != Comment)
        currentData->parsed = true;
    if (start >= 0 && validToken(type))
        writeFormat(quint8(type + 1), start, end);
}

void CodeDocumentPrivate::addMessage(int kind, TokenType type, const QString &text, int start,
                                     int end)
{
    if (!currentData)
        return;
    currentData->parsed = true;
    if (start >= 0 && start < formatChanges.size()) {
        const int slot = kind * 11 + (validToken(type) ? type : 10);
        QTextCharFormat &format = messageFormats[slot];
        format = validToken(type) ? syntaxFormats()[type] : QTextCharFormat();
        format.setUnderlineStyle(QTextCharFormat::SpellCheckUnderline);
        static const QColor colors[3] = {Qt::red, QColor(255, 127, 0), QColor(255, 255, 0)};
        format.setUnderlineColor(colors[kind]);
        writeFormat(quint8(11 + slot), start, end);
    }
    CodeBlockData::SyntaxMessage message;
    message.type = kind;
    message.start = start;
    message.end = end;
    message.text = text;
    pendingMessages.append(message);
}

void CodeDocumentPrivate::addError(TokenType type, const QString &text, int start, int end)
{
    addMessage(0, type, text, start, end);
}

void CodeDocumentPrivate::addDeprecation(TokenType type, const QString &text, int start, int end)
{
    addMessage(1, type, text, start, end);
}

void CodeDocumentPrivate::addWarning(TokenType type, const QString &text, int start, int end)
{
    addMessage(2, type, text, start, end);
}

void CodeDocumentPrivate::addParenthesis(bool opening, QChar character, int position)
{
    if (!currentData)
        return;
    CodeBlockData::Parenthesis parenthesis;
    parenthesis.type = opening ? 0 : 1;
    parenthesis.character = character;
    parenthesis.position = position;
    currentData->parenthesis.append(parenthesis);
}

void CodeDocumentPrivate::addLink(CodeLink *link)
{
    if (!currentData) {
        delete link;
        return;
    }
    currentData->links.append(link);
    const int base = currentBlock.position();
    currentData->linkOffsets.append(qMakePair(link->start - base, link->end - base));
}

// ---------------------------------------------------------------------------------------------
// CodeDocumentPrivate: the passes

void CodeDocumentPrivate::reformatBlocksSlot(int from, int charsRemoved, int charsAdded)
{
    readRecord = nullptr; // its line may have moved
    if (!rehighlighting)
        reformatBlocks(from, charsRemoved, charsAdded);
}

void CodeDocumentPrivate::reformatBlocks(int from, int charsRemoved, int charsAdded)
{
    QTextBlock block = document->findBlock(from);
    if (!block.isValid())
        return;
    ++updateDepth;
    const bool wasReformatting = reformatting;
    reformatting = true;
    const bool highlight = document->hasSyntaxHighlight();

    QTextBlock endBlock = document->findBlock(from + charsAdded);
    if (!endBlock.isValid())
        endBlock = document->lastBlock();
    // A removal may have joined lines, and the joined line keeps the state or the depth of
    // only one of them: the first line behind it, parsed after the lines removed, is parsed
    // too, and compared with what it had.
    if (charsRemoved > 0 && endBlock.next().isValid())
        endBlock = endBlock.next();
    const int endPosition = endBlock.position() + endBlock.length();

    cachedBlock = QTextBlock();
    bool force = false;
    bool first = true;
    int previousOldState = 0;
    while (block.isValid() && (block.position() < endPosition || force)) {
        // A new line (the second half of a split, a pasted line) stands where the line before
        // it stood: the lines behind it were parsed after that line's old state.
        const CodeBlockData *known = CodeBlockData::testBlockData(block);
        const int oldState =
            first || (known && known->d->stated) ? block.userState() : previousOldState;
        // A new line has no depth yet: the one behind it is parsed too.
        const int oldIndent = known ? int(known->d->foldingIndent) : -1;
        first = false;
        previousOldState = oldState;
        currentBlock = block;
        formatChanges.fill(0, block.length() - 1);
        parseBlock(highlight);
        applyFormats();
        currentBlock = QTextBlock();
        if (reparsePending || rehighlightPending)
            break;
        // The depth of folding ripples as the state does: a section whose kind leaves the
        // state alone still moves the lines below it.
        const CodeBlockData *parsed = CodeBlockData::testBlockData(block);
        force = block.userState() != oldState
                || (parsed && int(parsed->d->foldingIndent) != oldIndent);
        block = block.next();
    }
    cachedBlock = QTextBlock();
    formatChanges.resize(0);
    reformatting = wasReformatting;

    if (reparsePending) {
        reparsePending = false;
        document->reparse();
    } else if (rehighlightPending) {
        rehighlightPending = false;
        document->rehighlight();
    } else {
        document->codeUpdated();
    }
    endUpdate();
}

void CodeDocumentPrivate::wholeDocumentPass()
{
    const bool wasRehighlighting = rehighlighting;
    rehighlighting = true;
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    QTextCursor end(document);
    end.movePosition(QTextCursor::End);
    reformatBlocks(0, 0, end.position());
    cursor.endEditBlock();
    rehighlighting = wasRehighlighting;
}

void CodeDocumentPrivate::clearRecord(CodeBlockDataPrivate *record)
{
    removeMessages(record);
    record->parenthesis.clear();
    qDeleteAll(record->links);
    record->links.clear();
    record->linkOffsets.clear();
    record->parsed = false;
}

CodeNode *CodeDocumentPrivate::insertionPoint(const QTextBlock &block,
                                              CodeNode **previousNode)
{
    CodeNode *found = nullptr;
    const QTextBlock before = block.previous();
    if (cachedBlock.isValid() && before == cachedBlock) {
        found = cachedPrevious;
    } else if (block == rememberedBlock && rememberedLines == nodeLines) {
        found = rememberedPrevious; // no line has changed its node since
    } else {
        for (QTextBlock walk = before; walk.isValid(); walk = walk.previous()) {
            const CodeBlockData *data = CodeBlockData::testBlockData(walk);
            if (data && data->d->node) {
                found = data->d->node;
                break;
            }
        }
    }
    rememberedBlock = block;
    rememberedPrevious = found;
    rememberedLines = nodeLines;
    *previousNode = found;
    CodeNode *point = found ? found : &document->rootNode;
    // Nodes without a block of their own belong to the line before them.
    while (point->next() && !point->next()->block().isValid())
        point = point->next();
    return point;
}

CodeNode *CodeDocumentPrivate::callParser(CodeBlockDataPrivate *record, const QTextBlock &block,
                                          CodeNode *insertAfter, CodeParserSyntax *syntax)
{
    CodeNode *old = record->node;
    if (old)
        old->unlink();
    if (!insertAfter || insertAfter == old)
        insertAfter = &document->rootNode;
    QTextBlock handle = block;
    CodeNode *result =
        parser->parse(block.text(), &handle, old, insertAfter, &document->rootNode, syntax);
    record->node = result;
    if (result != old)
        ++nodeLines;
    if (old) {
        // Back in its place, so that its destructor finds its neighbours.
        old->linkAfter(insertAfter);
        if (old != result)
            old->release();
    }
    return result ? result : insertAfter;
}

void CodeDocumentPrivate::setState(QTextBlock block, CodeBlockDataPrivate *record) const
{
    record->stated = true;
    int state = 0;
    if (const CodeNode *node = record->node) {
        if (node->type() == CodeNode::Group) {
            state = int(static_cast<const GroupCode *>(node)->subType());
        } else if (node->type() == CodeNode::Animation) {
            state = 0x40000000;
        } else {
            // The nearest group over nodes of no kind and headers, else the nearest animation.
            const CodeNode *animation = nullptr;
            for (const CodeNode *walk = node->previous(); walk; walk = walk->previous()) {
                const CodeNode::Type type = walk->type();
                if (type == CodeNode::Group) {
                    state = int(static_cast<const GroupCode *>(walk)->subType());
                    break;
                }
                if (type == CodeNode::Animation) {
                    if (!animation)
                        animation = walk;
                } else if (type != CodeNode::None) {
                    break;
                }
            }
            if (state == 0 && animation)
                state = 0x40000000;
        }
    }
    if (state == 0) {
        const QTextBlock before = block.previous();
        state = before.isValid() ? before.userState() : -1;
    }
    block.setUserState(state);
}

void CodeDocumentPrivate::computeFoldingIndent(const QTextBlock &block,
                                               CodeBlockDataPrivate *record, CodeNode *previousNode,
                                               CodeNode *insertAfter) const
{
    const CodeNode *node =
        record->node ? record->node : (insertAfter ? insertAfter->next() : nullptr);
    // The depth follows from the line of the previous node. (A line with no node behind it
    // could also take the line just above it, as deep in a full parse; but that line may be a
    // comment whose depth a node below it decided, and that node may have gone since.)
    const CodeBlockData *referenceData =
        previousNode ? CodeBlockData::testBlockData(previousNode->block()) : nullptr;
    int indent = 0;
    if (referenceData) {
        indent = int(referenceData->d->foldingIndent);
        if (isHeader(referenceData->d->node))
            ++indent;
    }

    if (isHeader(node)) {
        const CodeNode *root = &document->rootNode;
        auto ancestorWithBlock = [root](const CodeNode *of) -> const CodeNode * {
            for (const CodeNode *up = of->parent(); up; up = up->parent())
                if (up->block().isValid() || up->type() == CodeNode::Root)
                    return up;
            return root;
        };
        const CodeNode *earlier = nullptr;
        for (const CodeNode *walk = node->previous(); walk; walk = walk->previous()) {
            if (isHeader(walk) && walk->block().isValid()) {
                earlier = walk;
                break;
            }
        }
        const CodeNode *ancestor = ancestorWithBlock(node);
        if (earlier && earlier != ancestor) {
            --indent;
            for (const CodeNode *up = ancestorWithBlock(earlier);
                 up != ancestor && up->type() != CodeNode::Root; up = ancestorWithBlock(up))
                --indent;
        }
    }
    record->foldingIndent = unsigned(qMax(indent, 0));

    // Comments and blanks in front of this line fold with it. Each such line has given its
    // depth to the whole run in front of it, so the lines of a run share one depth: a line
    // that has this depth already ends the walk. (This keeps a pass over a long run linear,
    // and a keystroke in one independent of its length.)
    for (QTextBlock walk = block.previous(); walk.isValid(); walk = walk.previous()) {
        CodeBlockData *data = CodeBlockData::testBlockData(walk);
        if (data && (data->d->node || data->d->foldingIndent == record->foldingIndent))
            break;
        if (data)
            data->d->foldingIndent = record->foldingIndent;
    }
}

void CodeDocumentPrivate::parseBlock(bool highlight)
{
    const QTextBlock block = currentBlock;
    if (!parser) {
        if (CodeBlockData *data = CodeBlockData::testBlockData(block))
            clearRecord(data->d);
        return;
    }
    CodeBlockData *data = CodeBlockData::blockData(block, this);
    CodeBlockDataPrivate *record = data->d;
    currentData = record;
    clearRecord(record);
    currentBlock.setUserState(0);

    CodeNode *previousNode = nullptr;
    CodeNode *insertAfter = insertionPoint(block, &previousNode);
    callParser(record, block, insertAfter, highlight ? this : nullptr);
    // The parser may have dropped the record (a signal handler that edits the text).
    if (currentData != record)
        return;

    setState(block, record);
    if (!pendingMessages.isEmpty())
        insertMessages(record);
    computeFoldingIndent(block, record, previousNode, insertAfter);
    cachedBlock = block;
    cachedPrevious = record->node ? record->node : previousNode;
    currentData = nullptr;
}

void CodeDocumentPrivate::applyFormats()
{
    QTextLayout *layout = currentBlock.layout();
    if (!layout)
        return;
    const QVector<QTextLayout::FormatRange> old = layout->formats();
    QVector<QTextLayout::FormatRange> ranges;
    const int preeditLength = layout->preeditAreaText().length();
    const int preeditPosition = layout->preeditAreaPosition();
    if (preeditLength > 0) {
        for (const QTextLayout::FormatRange &range : old)
            if (range.start >= preeditPosition
                && range.start + range.length <= preeditPosition + preeditLength)
                ranges.append(range);
    }
    const int count = formatChanges.size();
    const quint8 *ids = formatChanges.constData();
    int i = 0;
    while (i < count) {
        const quint8 id = ids[i];
        const QTextCharFormat &format = formatOf(id);
        if (id == 0 || format.propertyCount() == 0) {
            ++i;
            continue;
        }
        // A run of equal formats; two ids may stand for equal formats.
        const int start = i;
        while (i < count && (ids[i] == id || formatOf(ids[i]) == format))
            ++i;
        QTextLayout::FormatRange range;
        range.start = start;
        range.length = i - start;
        range.format = format;
        if (preeditLength > 0) {
            if (range.start >= preeditPosition)
                range.start += preeditLength;
            else if (range.start + range.length > preeditPosition)
                range.length += preeditLength;
        }
        ranges.append(range);
    }
    if (ranges != old) {
        layout->setFormats(ranges);
        document->markContentsDirty(currentBlock.position(), currentBlock.length());
    }
}

void CodeDocumentPrivate::insertText(const QString &text, QTextCursor cursor)
{
    if (cursor.isNull() || cursor.document() != document)
        return;
    const int start = cursor.selectionStart();
    const QTextBlock after = document->findBlock(cursor.selectionEnd()).next();
    cursor.insertText(text);
    this->cursor = cursor;
    if (changeDepth <= 0 || !parser || !document->rootNode.canParseCode())
        return;
    // Inside a change the text holds its signal back until the change ends, yet the code
    // that edits goes on to read the tree: so the nodes follow now. Formats, messages and
    // states follow with the normal pass when the change ends.
    QTextBlock block = document->findBlock(start);
    CodeNode *previousNode = nullptr;
    CodeNode *point = insertionPoint(block, &previousNode);
    for (; block.isValid() && block != after; block = block.next()) {
        CodeBlockData *data = CodeBlockData::blockData(block, this);
        point = callParser(data->d, block, point, nullptr);
        while (point->next() && !point->next()->block().isValid())
            point = point->next();
    }
}

void CodeDocumentPrivate::suspendModel()
{
    CodeDocumentRoot &root = document->rootNode;
    if (modelLock == 0 && modelEnabled && modelRows != 0) {
        root.beginRemoveRows(QModelIndex(), 0, modelRows - 1);
        ++modelLock;
        modelRows = 0;
        root.endRemoveRows();
    } else {
        ++modelLock;
    }
}

void CodeDocumentPrivate::resumeModel()
{
    CodeDocumentRoot &root = document->rootNode;
    const int children = int(root.childCount());
    if (modelLock == 1 && modelEnabled && children > 0) {
        root.beginInsertRows(QModelIndex(), 0, children - 1);
        --modelLock;
        modelRows = children;
        root.endInsertRows();
    } else if (modelLock > 0) {
        --modelLock;
    }
}

// ---------------------------------------------------------------------------------------------
// CodeDocument

CodeDocument::CodeDocument(short fileType)
    : QTextDocument(nullptr), rootNode(this, fileType), d(new CodeDocumentPrivate(this))
{
    auto *codec = new CodeDocumentUserData;
    codec->codecId = TextCodecs::index("UTF-8");
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    setUserData(CodeDocumentUserDataId, codec);
    QT_WARNING_POP
    setDocumentLayout(new QPlainTextDocumentLayout(this));
    QFont font(QStringLiteral("Courier"), 10);
    font.setFixedPitch(true);
    font.setStyleHint(QFont::Monospace, QFont::PreferDefault);
    setDefaultFont(font);
    d->cursor = QTextCursor(this);
    d->modelEnabled = option(modelKey, true).toBool();
    connect(this, &QTextDocument::contentsChange, d, &CodeDocumentPrivate::reformatBlocksSlot,
            Qt::DirectConnection);
    // A new version or file type can change the meaning of any line.
    connect(&rootNode, &RootCode::versionChanged, this, &CodeDocument::rehighlight);
    connect(&rootNode, &RootCode::typeChanged, this, &CodeDocument::rehighlight);
}

CodeDocument::~CodeDocument()
{
    // What is left of the document tells nothing to anyone: a save still running commits
    // its file, and the clearing below is no edit.
    blockSignals(true);
    d->closing = true;
    d->waitForSave();
    QList<CodeNodeFile *> files;
    for (CodeNodeFile *file : qAsConst(d->nodeFiles))
        if (!files.contains(file))
            files.append(file);
    d->nodeFiles.clear();
    d->parser = nullptr;
    d->suspendModel();
    d->destroying = true;
    clear();
    d->destroying = false;
    d->resumeModel();
    for (CodeNodeFile *file : qAsConst(files))
        file->release();
    // What survives the clear is released by the text document after this record has gone.
    for (QTextBlock block = begin(); block.isValid(); block = block.next()) {
        if (CodeBlockData *data = CodeBlockData::testBlockData(block)) {
            d->removeMessages(data->d);
            if (CodeNode *node = data->d->node) {
                data->d->node = nullptr;
                node->release();
            }
            data->d->document = nullptr;
        }
    }
    disconnect(this, nullptr, d, nullptr);
    delete d;
    d = nullptr;
    blockSignals(false); // destroyed() is still to come
}

void CodeDocument::setVersion(unsigned int version)
{
    rootNode.setVersion(version, version != rootNode.version());
}

bool CodeDocument::autoComplete(QTextCursor &, QCompleter *, int, QString &)
{
    return false;
}

bool CodeDocument::insertCompletion(CodeEditor *, QTextCursor, const QString &)
{
    return false;
}

void CodeDocument::autoCompleteDone() {}

QIcon CodeDocument::nodeIcon(const CodeNode *node) const
{
    const Interface *host = Interface::instance();
    if (!host || !CodeNode::isValid(node) || node->type() != CodeNode::Value)
        return QIcon();
    const char *name = nullptr;
    switch (static_cast<const ValueCode *>(node)->valueType()) {
    case ValueCode::String:
        name = "code_string";
        break;
    case ValueCode::Bool:
        name = "code_bool";
        break;
    case ValueCode::File:
        name = "code_file";
        break;
    case ValueCode::Date:
        name = "code_date";
        break;
    case ValueCode::Keyword:
    case ValueCode::KeywordVector:
        name = "code_keyword";
        break;
    case ValueCode::Float:
    case ValueCode::FloatVec2:
    case ValueCode::FloatVec3:
    case ValueCode::FloatVec4:
    case ValueCode::FloatVector:
        name = "code_float";
        break;
    case ValueCode::Int:
    case ValueCode::IntVec2:
    case ValueCode::IntVec3:
    case ValueCode::IntVec4:
    case ValueCode::IntVector:
        name = "code_int";
        break;
    default:
        return QIcon();
    }
    return host->icon(QString::fromLatin1(name));
}

void CodeDocument::codeUpdated() {}

void CodeDocument::insertChild(CodeNode *node, unsigned int)
{
    if (d->nodeFiles.isEmpty())
        return;
    CodeNodeFile *file = d->nodeFiles.value(nodeFileKey(node));
    if (!file)
        return;
    unsigned int index = 0;
    for (const CodeNode *child : rootNode.childs()) {
        if (child == node)
            break;
        if (sameKind(child, node))
            ++index;
    }
    file->insertChild(node, index);
}

void CodeDocument::removeChild(CodeNode *node)
{
    if (d->nodeFiles.isEmpty())
        return;
    if (CodeNodeFile *file = d->nodeFiles.value(nodeFileKey(node)))
        file->removeChild(node);
}

void CodeDocument::childChanged(CodeNode *node)
{
    if (d->nodeFiles.isEmpty())
        return;
    if (CodeNodeFile *file = d->nodeFiles.value(nodeFileKey(node)))
        file->childChanged(node);
}

void CodeDocument::release()
{
    // A save still running ends while the document is whole.
    if (refCount() == 1)
        d->waitForSave();
    // The last reference but those of the node files: the files go, and with the last of
    // them the document.
    if (refCount() == 1) {
        QList<CodeNodeFile *> files;
        for (CodeNodeFile *file : qAsConst(d->nodeFiles))
            if (!files.contains(file))
                files.append(file);
        for (CodeNodeFile *file : qAsConst(files)) {
            bool registered = false;
            for (CodeNodeFile *entry : qAsConst(d->nodeFiles))
                registered = registered || entry == file;
            if (!registered)
                continue;
            addRef();
            file->release();
        }
    }
    ProjectFile::release();
}

QAbstractItemModel *CodeDocument::model()
{
    return &rootNode;
}

ProjectFile::Capabilities CodeDocument::capabilities() const
{
    return Capabilities(SavesInBackground | TextDocument);
}

bool CodeDocument::canSave() const
{
    return true;
}

bool CodeDocument::isModified() const
{
    return QTextDocument::isModified();
}

bool CodeDocument::isEmpty() const
{
    return QTextDocument::isEmpty();
}

QString CodeDocument::fileName() const
{
    return metaInformation(QTextDocument::DocumentUrl);
}

void CodeDocument::beginChange()
{
    d->cursor.beginEditBlock();
    ++d->changeDepth;
}

void CodeDocument::endChange()
{
    // An unmatched end would close an edit block that nobody opened.
    if (d->changeDepth <= 0)
        return;
    d->cursor.endEditBlock();
    --d->changeDepth;
}

void CodeDocument::undo()
{
    QTextDocument::undo();
}

void CodeDocument::redo()
{
    QTextDocument::redo();
}

const RootCode *CodeDocument::root() const
{
    return &rootNode;
}

CodeParser *CodeDocument::parser() const
{
    return d->parser;
}

void CodeDocument::setParser(CodeParser *parser)
{
    if (parser == d->parser)
        return;
    d->parser = parser;
    reparse();
}

bool CodeDocument::hasSyntaxHighlight() const
{
    return option(highlightKey, true).toBool();
}

void CodeDocument::setSyntaxHighlight(bool on)
{
    if (on == hasSyntaxHighlight())
        return;
    setOption(highlightKey, on, false, false);
    reparse();
}

void CodeDocument::setTitle(const QString &title)
{
    setMetaInformation(QTextDocument::DocumentTitle, title);
}

QString CodeDocument::title() const
{
    return metaInformation(QTextDocument::DocumentTitle);
}

void CodeDocument::setCursor(const QTextCursor &cursor)
{
    d->cursor = cursor;
}

QTextCursor CodeDocument::cursor() const
{
    return d->cursor;
}

QString CodeDocument::toString() const
{
    return toPlainText();
}

int CodeDocument::fileType() const
{
    return rootNode.fileType();
}

void CodeDocument::setFileType(int fileType, bool emitSignal)
{
    rootNode.setFileType(fileType, emitSignal);
}

unsigned int CodeDocument::version() const
{
    return rootNode.version();
}

CodeNode *CodeDocument::nodeInBlock(const QTextBlock &block) const
{
    const CodeBlockData *data = CodeBlockData::testBlockData(block);
    return data ? data->codeNode() : nullptr;
}

CodeNode *CodeDocument::nodeFromIndex(const QModelIndex &index) const
{
    return static_cast<CodeNode *>(index.internalPointer());
}

int CodeDocument::lineNo(const QModelIndex &index) const
{
    const CodeNode *node = index.isValid() ? nodeFromIndex(index) : nullptr;
    return CodeNode::isValid(node) ? node->lineNo() : 0;
}

QModelIndex CodeDocument::indexInLine(unsigned int line) const
{
    if (!rootNode.isLive())
        return QModelIndex();
    // The line's node and the nodes without a block behind it, which belong to the line.
    const CodeNode *first = nodeInBlock(findBlockByNumber(int(line)));
    const CodeNode *best = nullptr;
    int bestDepth = -1;
    for (const CodeNode *node = first; node; node = node->next()) {
        if (node != first && node->block().isValid())
            break;
        int depth = 0;
        for (const CodeNode *up = node->parent(); up; up = up->parent())
            ++depth;
        if (node->parent() && depth > bestDepth) {
            best = node;
            bestDepth = depth;
        }
    }
    return best ? rootNode.indexOf(best) : QModelIndex();
}

bool CodeDocument::isCodeBeingChanged() const
{
    return d->changeDepth > 0;
}

void CodeDocument::insert(const QString &text)
{
    d->cursor.movePosition(QTextCursor::End);
    d->insertText(text, d->cursor);
}

void CodeDocument::insertOnCursor(const QString &text, QTextCursor cursor)
{
    d->insertText(text, cursor);
}

void CodeDocument::insertAfter(CodeNode *node, const QString &text, bool inNodeLine)
{
    QTextCursor cursor(this);
    cursor.movePosition(QTextCursor::End);
    if (!node) {
        d->insertText(text + QLatin1Char('\n'), cursor);
        return;
    }
    const QTextBlock anchor = inNodeLine ? node->block() : findBlockByNumber(node->lastLine());
    if (anchor.isValid() && anchor.document() == this)
        cursor.setPosition(anchor.position() + anchor.length() - 1);
    d->insertText(QLatin1Char('\n') + text, cursor);
}

void CodeDocument::insertBefore(CodeNode *node, const QString &text, bool inNodeLine)
{
    QTextCursor cursor(this);
    if (!node) {
        d->insertText(text + QLatin1Char('\n'), cursor);
        return;
    }
    const QTextBlock anchor = inNodeLine ? node->block() : findBlockByNumber(node->firstLine());
    const QTextBlock before =
        anchor.isValid() && anchor.document() == this ? anchor.previous() : QTextBlock();
    if (before.isValid()) {
        cursor.setPosition(before.position() + before.length() - 1);
        d->insertText(QLatin1Char('\n') + text, cursor);
        return;
    }
    if (anchor.isValid() && anchor.document() == this)
        cursor.setPosition(anchor.position());
    d->insertText(text + QLatin1Char('\n'), cursor);
}

bool CodeDocument::addMark(CodeMark *mark, int line)
{
    if (!mark || line < 1 || line > blockCount())
        return false;
    const QTextBlock block = findBlockByNumber(line - 1);
    CodeBlockData *data = CodeBlockData::blockData(block, d);
    if (!data)
        return false;
    data->d->marks.append(mark);
    mark->setLine(line);
    mark->setBlock(block);
    if (auto *layout = qobject_cast<QPlainTextDocumentLayout *>(documentLayout()))
        layout->requestUpdate();
    return true;
}

QList<CodeMark *> CodeDocument::marksAt(int line) const
{
    if (line < 1 || line > blockCount())
        return QList<CodeMark *>();
    const CodeBlockData *data = CodeBlockData::testBlockData(findBlockByNumber(line - 1));
    return data ? data->d->marks : QList<CodeMark *>();
}

void CodeDocument::removeMark(CodeMark *mark)
{
    bool removed = false;
    for (QTextBlock block = begin(); block.isValid(); block = block.next())
        if (CodeBlockData *data = CodeBlockData::testBlockData(block))
            removed = data->d->marks.removeAll(mark) > 0 || removed;
    if (removed)
        if (auto *layout = qobject_cast<QPlainTextDocumentLayout *>(documentLayout()))
            layout->requestUpdate();
}

bool CodeDocument::hasMark(CodeMark *mark) const
{
    for (QTextBlock block = begin(); block.isValid(); block = block.next())
        if (const CodeBlockData *data = CodeBlockData::testBlockData(block))
            if (data->d->marks.contains(mark))
                return true;
    return false;
}

void CodeDocument::updateMark(CodeMark *)
{
    if (auto *layout = qobject_cast<QPlainTextDocumentLayout *>(documentLayout()))
        layout->requestUpdate();
}

void CodeDocument::registerNodeFile(CodeNodeFile *file, CodeNode::Type type, unsigned int subType)
{
    if (!file)
        return;
    d->nodeFiles.insert(subType << 12 | unsigned(type), file);
    addRef();
    file->populateChilds(type, subType);
}

CodeNodeFile *CodeDocument::nodeFile(CodeNode::Type type, unsigned int subType) const
{
    return d->nodeFiles.value(subType << 12 | unsigned(type), nullptr);
}

int CodeDocument::codecId() const
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    const auto *data = static_cast<CodeDocumentUserData *>(userData(CodeDocumentUserDataId));
    QT_WARNING_POP
    return data ? data->codecId : 0;
}

void CodeDocument::setCodecId(int id)
{
    d->saveFuture.waitForFinished();
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    if (auto *data = static_cast<CodeDocumentUserData *>(userData(CodeDocumentUserDataId)))
        data->codecId = id;
    QT_WARNING_POP
}

void CodeDocument::setSyntaxFormat(CodeParserSyntax::TokenType type, const QTextCharFormat &format)
{
    if (validToken(type))
        syntaxFormats()[type] = format;
}

QTextCharFormat CodeDocument::syntaxFormat(CodeParserSyntax::TokenType type)
{
    return validToken(type) ? syntaxFormats()[type] : QTextCharFormat();
}

void CodeDocument::rehighlight()
{
    if (d->reformatting) {
        d->rehighlightPending = true;
        return;
    }
    d->suspendModel();
    d->wholeDocumentPass();
    d->resumeModel();
}

void CodeDocument::reparse()
{
    if (d->reformatting) {
        d->reparsePending = true;
        return;
    }
    // A reparse parses every line anyway.
    d->rehighlightPending = false;
    d->suspendModel();
    // Last line first: values go before their header, and each leaves its list at the end.
    for (QTextBlock block = lastBlock(); block.isValid(); block = block.previous()) {
        CodeBlockData *data = CodeBlockData::testBlockData(block);
        if (CodeNode *node = data ? data->d->node : nullptr) {
            data->d->node = nullptr;
            node->release();
        }
    }
    ++d->nodeLines;
    ++d->updateDepth;
    d->wholeDocumentPass();
    d->endUpdate();
    d->modelEnabled = option(modelKey, true).toBool();
    d->resumeModel();
}

Messages *CodeDocument::fileMessages() const
{
    return d;
}

int CodeDocument::savedRevision() const
{
    return d->savedRevision;
}

void CodeDocument::waitForSave()
{
    d->waitForSave();
}

CodeBlockData *CodeDocument::blockData(const QTextBlock &block)
{
    return CodeBlockData::testBlockData(block);
}

} // namespace Zorn
