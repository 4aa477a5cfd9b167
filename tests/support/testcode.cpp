#include "testcode.h"

#include <zornx/code/codeblockdata.h>
#include <zornx/core/messages.h>

#include <QtGui/QTextLayout>

using namespace Zorn;

namespace ZornTest {

int TestCodeLink::alive = 0;

CodeNode *TestParser::parse(const QString &text, QTextBlock *block, CodeNode *oldNode,
                            CodeNode *insertAfter, RootCode *root, CodeParserSyntax *syntax)
{
    ++calls;
    if (recordLines)
        lines.append(block->blockNumber());
    if (syntax)
        ++syntaxGiven;
    if (onParse)
        onParse(text);
    return Sample::Parser::parse(text, block, oldNode, insertAfter, root, syntax);
}

TestCodeDocument::TestCodeDocument(CodeParser *parser, short fileType)
    : Sample::CodeDocument(parser, fileType)
{
    if (!parser)
        setParser(&ownParser);
}

TestCodeDocument::~TestCodeDocument()
{
    if (destroyed)
        *destroyed = true;
}

void TestCodeDocument::codeUpdated()
{
    ++updates;
    if (onCodeUpdated)
        onCodeUpdated();
}

TestNodeFile::~TestNodeFile()
{
    if (destroyed)
        *destroyed = true;
}

// ---------------------------------------------------------------------------------------------
// Descriptions

QString generateCode(int lineCount)
{
    static const char *const headers[] = {"[Data]", "[Info]", "[State %1]", "[Files]"};
    QString text;
    text.reserve(lineCount * 16);
    int kind = 0;
    for (int line = 0; line < lineCount; ++line) {
        const int row = line % 20;
        if (row == 0) {
            kind = (line / 20) % 4;
            text += kind == 2 ? QString::fromLatin1(headers[kind]).arg(line / 20)
                              : QString::fromLatin1(headers[kind]);
        } else if (row == 1) {
            text += QStringLiteral("; section %1").arg(line / 20);
        } else if (kind == 1) {
            text += QStringLiteral("name%1 = \"text %2\"").arg(row).arg(line);
        } else if (kind == 3) {
            text += QStringLiteral("file%1 = \"f%2.spr\"").arg(row).arg(line);
        } else if (row % 3 == 0) {
            text += QStringLiteral("pos%1 = %2, %3").arg(row).arg(line).arg(row);
        } else {
            text += QStringLiteral("value%1 = %2").arg(row).arg(line * 7);
        }
        text += QLatin1Char('\n');
    }
    return text;
}

namespace {

QString describeFormat(const QTextCharFormat &format)
{
    return QStringLiteral("%1/%2/%3/%4/%5")
        .arg(format.foreground().color().name())
        .arg(format.fontWeight())
        .arg(format.fontItalic())
        .arg(int(format.underlineStyle()))
        .arg(format.underlineColor().name());
}

QString describeNode(const CodeNode *node)
{
    QString text = QStringLiteral("%1@%2").arg(int(node->type())).arg(node->lineNo());
    if (node->type() == CodeNode::Group) {
        const auto *group = static_cast<const Sample::GroupNode *>(node);
        text += QStringLiteral(" [%1]#%2").arg(group->title).arg(group->subType());
    } else if (node->type() == CodeNode::Value) {
        const auto *value = static_cast<const ValueCode *>(node);
        text += QStringLiteral(" %1=%2:%3")
                    .arg(value->name())
                    .arg(ValueCode::asString(value, value->valueType(), value->rawValue(),
                                             QLatin1Char(',')))
                    .arg(int(value->valueType()));
    }
    return text;
}

} // namespace

QString describeDocument(const CodeDocument *document)
{
    QStringList lines;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        QString line = QStringLiteral("%1 s=%2").arg(block.blockNumber()).arg(block.userState());
        if (const CodeBlockData *data = CodeBlockData::testBlockData(block)) {
            line += QStringLiteral(" i=%1 p=%2").arg(data->foldingIndent()).arg(data->isParsed());
            if (const CodeNode *node = data->codeNode())
                line += QStringLiteral(" n=") + describeNode(node);
            for (const CodeBlockData::SyntaxMessage &message : data->syntaxMessages())
                line += QStringLiteral(" m[%1:%2-%3:%4]")
                            .arg(message.type)
                            .arg(message.start)
                            .arg(message.end)
                            .arg(message.text);
            for (const CodeBlockData::Parenthesis &paren : data->parenthesis())
                line += QStringLiteral(" (%1%2@%3)")
                            .arg(paren.type)
                            .arg(paren.character)
                            .arg(paren.position);
            for (const CodeLink *link : data->links())
                line += QStringLiteral(" link=") + static_cast<const Sample::Link *>(link)->target;
        } else {
            line += QStringLiteral(" -");
        }
        for (const QTextLayout::FormatRange &range : block.layout()->formats())
            line += QStringLiteral(" f%1+%2:%3")
                        .arg(range.start)
                        .arg(range.length)
                        .arg(describeFormat(range.format));
        lines.append(line);
    }
    lines.append(QStringLiteral("-- chain"));
    for (const CodeNode *node = document->root()->next(); node; node = node->next()) {
        const ParentCode *parent = node->parent();
        QString place = QStringLiteral("-");
        if (parent)
            place = (parent->type() == CodeNode::Root ? QStringLiteral("root")
                                                      : QString::number(parent->lineNo()))
                    + QLatin1Char('#')
                    + QString::number(parent->childIndex(const_cast<CodeNode *>(node)));
        lines.append(describeNode(node) + QStringLiteral(" in ") + place);
    }
    lines.append(QStringLiteral("-- tree ") + describeTree(document->root()));
    const Messages *messages = document->messages();
    lines.append(QStringLiteral("-- messages %1 %2 %3")
                     .arg(messages->count(Message::Error))
                     .arg(messages->count(Message::Warning))
                     .arg(messages->count(Message::All)));
    for (unsigned int i = 0; i < messages->count(Message::All); ++i) {
        const Message message = messages->at(i, Message::All);
        lines.append(QStringLiteral("%1 %2:%3 %4")
                         .arg(int(message.type))
                         .arg(message.line)
                         .arg(message.column)
                         .arg(message.text));
    }
    // Read again through a filter, which must not follow the reads above.
    for (unsigned int i = 0; i < messages->count(Message::Error); ++i)
        lines.append(QStringLiteral("error %1").arg(messages->at(i, Message::Error).line));
    return lines.join(QLatin1Char('\n'));
}

QString describeTree(const RootCode *root)
{
    QStringList parts;
    for (const CodeNode *child : root->childs()) {
        if (child->type() != CodeNode::Group) {
            parts.append(describeNode(child));
            continue;
        }
        const auto *group = static_cast<const Sample::GroupNode *>(child);
        QStringList values;
        for (const ValueCode *value : group->values())
            values.append(value->name() + QLatin1Char('=')
                          + ValueCode::asString(value, value->valueType(), value->rawValue(),
                                                QLatin1Char(',')));
        parts.append(QLatin1Char('[') + group->title + QStringLiteral("](")
                     + values.join(QLatin1Char(' ')) + QLatin1Char(')'));
    }
    return parts.join(QLatin1Char(' '));
}

} // namespace ZornTest
