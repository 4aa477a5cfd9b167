#include "samplecode.h"

#include <zornx/code/codeblockdata.h>
#include <zornx/core/messages.h>

#include <QtCore/QRegularExpression>
#include <QtGui/QTextLayout>

using namespace Zorn;

namespace Sample {

namespace {

// Where the comment of a line starts: the first ';' outside quotes, or the line's end.
int commentStart(const QString &text)
{
    bool quoted = false;
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('"'))
            quoted = !quoted;
        else if (c == QLatin1Char(';') && !quoted)
            return i;
    }
    return text.size();
}

void trim(const QString &text, int &start, int &end)
{
    while (start < end && text.at(start).isSpace())
        ++start;
    while (end > start && text.at(end - 1).isSpace())
        --end;
}

bool validKey(const QString &key)
{
    if (key.isEmpty() || !(key.at(0).isLetter() || key.at(0) == QLatin1Char('_')))
        return false;
    for (const QChar c : key)
        if (!(c.isLetterOrNumber() || c == QLatin1Char('_') || c == QLatin1Char('.')))
            return false;
    return true;
}

bool looksReal(const QString &text)
{
    bool digit = false;
    for (const QChar c : text) {
        if (c.isDigit())
            digit = true;
        else if (!QStringLiteral("+-.eE").contains(c))
            return false;
    }
    return digit;
}

// The section type that decides what the values of a new line mean: that of the group the
// line's node goes into. A plain section adds no meaning: its values mean what those of the
// section above it mean, as the line state that the document carries down says.
unsigned int contextOf(const CodeNode *insertAfter)
{
    const CodeNode *group = insertAfter;
    if (group->type() == CodeNode::Value)
        group = group->parent();
    if (!group || group->type() != CodeNode::Group)
        return 0;
    for (; group; group = group->previous(CodeNode::Group, 0))
        if (const unsigned int kind = static_cast<const GroupCode *>(group)->subType())
            return kind;
    return 0;
}

struct Element
{
    int start;
    int end;
    QString text;
};

struct ParsedValue
{
    ValueCode::Type type = ValueCode::String;
    QVariant value;
};

bool isNumeric(ValueCode::Type type)
{
    return (type >= ValueCode::Float && type <= ValueCode::FloatVector)
           || (type >= ValueCode::Int && type <= ValueCode::IntVector);
}

ParsedValue parseValue(const QString &text, int start, int end, int equals, unsigned int context,
                       const QTextBlock &block, CodeParserSyntax *syntax,
                       const Parser &parser)
{
    using Syntax = CodeParserSyntax;
    ParsedValue parsed;
    auto fileLink = [&](const QString &target) {
        parsed.type = ValueCode::File;
        if (syntax) {
            syntax->setToken(Syntax::Function, start, end);
            const int base = block.position();
            syntax->addLink(parser.createLink(base + start, base + end, target));
        }
    };

    if (start == end) {
        if (syntax)
            syntax->addWarning(Syntax::Normal, QStringLiteral("Empty value"), equals, equals + 1);
        parsed.value = QString();
    } else if (text.at(start) == QLatin1Char('"')) {
        const int close = text.indexOf(QLatin1Char('"'), start + 1);
        int tokenEnd = end;
        QString string;
        if (close < 0 || close >= end) {
            if (syntax)
                syntax->addError(Syntax::String, QStringLiteral("Missing closing quote"), start,
                                 end);
            string = text.mid(start + 1, end - start - 1);
        } else {
            string = text.mid(start + 1, close - start - 1);
            tokenEnd = close + 1;
            if (tokenEnd < end && syntax)
                syntax->addError(Syntax::Invalid, QStringLiteral("Text after string"), tokenEnd,
                                 end);
        }
        parsed.value = string;
        if (context == FilesSection)
            fileLink(string);
        else if (syntax)
            syntax->setToken(Syntax::String, start, tokenEnd);
    } else {
        QList<Element> elements;
        int from = start;
        for (;;) {
            int comma = text.indexOf(QLatin1Char(','), from);
            if (comma < 0 || comma >= end)
                comma = end;
            int s = from;
            int e = comma;
            trim(text, s, e);
            if (s == e) {
                if (syntax)
                    syntax->addError(Syntax::Invalid, QStringLiteral("Empty element"),
                                     qMin(comma, end - 1), qMin(comma, end - 1) + 1);
            } else {
                elements.append(Element{s, e, text.mid(s, e - s)});
            }
            if (comma >= end)
                break;
            from = comma + 1;
        }
        int ints = 0;
        int reals = 0;
        int keywords = 0;
        bool outOfRange = false;
        QVariantList numbers;
        QVariantList indices;
        for (const Element &element : qAsConst(elements)) {
            bool ok = false;
            const int whole = element.text.toInt(&ok);
            if (ok) {
                ++ints;
                numbers.append(whole);
                continue;
            }
            if (looksReal(element.text)) {
                const double real = element.text.toDouble(&ok);
                if (ok) {
                    ++reals;
                    numbers.append(real);
                    outOfRange =
                        outOfRange
                        || !element.text.contains(QRegularExpression(QStringLiteral("[.eE]")));
                    continue;
                }
            }
            const int index = ValueNode::keywords().indexOf(element.text.toLower());
            if (index >= 0) {
                ++keywords;
                indices.append(QVariant(uint(index)));
            }
        }
        const int count = elements.size();
        const QString raw = text.mid(start, end - start);
        if (count == 0) {
            parsed.value = QString();
        } else if (ints + reals == count) {
            if (reals > 0) {
                QVariantList values;
                for (const QVariant &number : qAsConst(numbers))
                    values.append(number.toDouble());
                if (count == 1) {
                    parsed.type = ValueCode::Float;
                    parsed.value = values.first();
                } else if (count == 2) {
                    parsed.type = ValueCode::FloatVec2;
                    parsed.value = QPointF(values.at(0).toDouble(), values.at(1).toDouble());
                } else {
                    parsed.type = count == 3   ? ValueCode::FloatVec3
                                  : count == 4 ? ValueCode::FloatVec4
                                               : ValueCode::FloatVector;
                    parsed.value = values;
                }
            } else if (count == 1) {
                parsed.type = ValueCode::Int;
                parsed.value = numbers.first();
            } else if (count == 2) {
                parsed.type = ValueCode::IntVec2;
                parsed.value = QPoint(numbers.at(0).toInt(), numbers.at(1).toInt());
            } else {
                parsed.type = count == 3   ? ValueCode::IntVec3
                              : count == 4 ? ValueCode::IntVec4
                                           : ValueCode::IntVector;
                parsed.value = numbers;
            }
            if (syntax) {
                for (const Element &element : qAsConst(elements))
                    syntax->setToken(Syntax::Number, element.start, element.end);
                if (outOfRange)
                    syntax->addWarning(Syntax::Number, QStringLiteral("Integer out of range"),
                                       start, end);
            }
        } else if (keywords == count) {
            parsed.type = count == 1 ? ValueCode::Keyword : ValueCode::KeywordVector;
            parsed.value = count == 1 ? indices.first() : QVariant(indices);
            if (syntax)
                for (const Element &element : qAsConst(elements))
                    syntax->setToken(Syntax::Keyword, element.start, element.end);
        } else if (count == 1
                   && (raw.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0
                       || raw.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0)) {
            parsed.type = ValueCode::Bool;
            parsed.value = raw.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
            if (syntax)
                syntax->setToken(Syntax::Keyword, start, end);
        } else if (count == 1) {
            parsed.value = raw;
            if (context == FilesSection) {
                fileLink(raw);
            } else if (syntax) {
                syntax->setToken(Syntax::String, start, end);
                syntax->addWarning(Syntax::String, QStringLiteral("Unquoted string"), start, end);
            }
        } else {
            parsed.value = raw;
            if (syntax)
                syntax->addError(Syntax::Invalid, QStringLiteral("Invalid value"), start, end);
        }
    }
    if (context == DataSection && !isNumeric(parsed.type) && syntax)
        syntax->addWarning(Syntax::Normal, QStringLiteral("Number expected"), start,
                           qMax(end, start + 1));
    return parsed;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Nodes

ValueNode::ValueNode(Type type, const QTextBlock &block, CodeNode *previous,
                             const QVariant &value, const QString &key)
    : ValueCode(type, block, previous, value), key(key)
{}

const QStringList &ValueNode::keywords()
{
    static const QStringList words = {QStringLiteral("none"),  QStringLiteral("left"),
                                      QStringLiteral("right"), QStringLiteral("up"),
                                      QStringLiteral("down"),  QStringLiteral("front"),
                                      QStringLiteral("back")};
    return words;
}

QString ValueNode::keyword(unsigned int index) const
{
    return keywords().value(int(index));
}

void ValueNode::setName(const QString &name)
{
    QString value = asString(this, valueType(), rawValue(), QLatin1Char(','));
    if (valueType() == String || valueType() == File)
        value = QLatin1Char('"') + value + QLatin1Char('"');
    else if (valueType() == KeywordVector) {
        QStringList words;
        const QVariantList list = rawValue().toList();
        for (const QVariant &index : list)
            words.append(keyword(index.toUInt()));
        value = words.join(QStringLiteral(", "));
    }
    change(name + QStringLiteral(" = ") + value);
}

GroupNode::GroupNode(const QTextBlock &block, CodeNode *previous, unsigned int subType,
                             const QString &title)
    : GroupCode(block, previous, subType), title(title)
{
    insertRootChild(this);
}

void GroupNode::setName(const QString &name)
{
    change(QLatin1Char('[') + name + QLatin1Char(']'));
}

void GroupNode::rename(const QString &newTitle)
{
    title = newTitle;
    valueChanged(newTitle);
}

ValueCode *GroupNode::insertValue(unsigned int index, const QString &name, const QString &value,
                                      bool flag)
{
    Zorn::CodeDocument *doc = document();
    ValueCode *at = valueAt(index);
    if (!doc || !at)
        return addValue(name, value, flag);
    const QString text =
        name + QStringLiteral(" = ") + (flag ? QLatin1Char('"') + value + QLatin1Char('"') : value);
    const int line = at->lineNo();
    doc->insertBefore(at, text, true);
    return dynamic_cast<ValueCode *>(doc->nodeInBlock(doc->findBlockByNumber(line)));
}

ValueCode *GroupNode::addValue(const QString &name, const QString &value, bool flag)
{
    Zorn::CodeDocument *doc = document();
    if (!doc)
        return nullptr;
    const QString text =
        name + QStringLiteral(" = ") + (flag ? QLatin1Char('"') + value + QLatin1Char('"') : value);
    CodeNode *anchor = valueCount() > 0 ? static_cast<CodeNode *>(values().last()) : this;
    const int line = anchor->lineNo() + 1;
    doc->insertAfter(anchor, text, true);
    return dynamic_cast<ValueCode *>(doc->nodeInBlock(doc->findBlockByNumber(line)));
}

std::function<bool(Link *)> Link::opener;

// ---------------------------------------------------------------------------------------------
// Parser

unsigned int Parser::sectionType(const QString &title)
{
    const QString word = title.section(QLatin1Char(' '), 0, 0, QString::SectionSkipEmpty).toLower();
    if (word == QLatin1String("info"))
        return InfoSection;
    if (word == QLatin1String("data"))
        return DataSection;
    if (word == QLatin1String("state") || word == QLatin1String("step"))
        return StateSection;
    if (word == QLatin1String("files"))
        return FilesSection;
    if (word == QLatin1String("plain"))
        return PlainSection;
    return OtherSection;
}

CodeNode *Parser::parse(const QString &text, QTextBlock *block, CodeNode *oldNode,
                            CodeNode *insertAfter, RootCode *, CodeParserSyntax *syntax)
{
    using Syntax = CodeParserSyntax;
    const int comment = commentStart(text);
    if (comment < text.size() && syntax)
        syntax->setToken(Syntax::Comment, comment, text.size());
    int start = 0;
    int end = comment;
    trim(text, start, end);
    if (start == end)
        return nullptr;

    if (text.at(start) == QLatin1Char('[')) {
        int close = text.indexOf(QLatin1Char(']'), start + 1);
        if (close >= end)
            close = -1;
        const int innerEnd = close >= 0 ? close : end;
        const QString title = text.mid(start + 1, innerEnd - start - 1).trimmed();
        if (syntax) {
            syntax->addParenthesis(true, QLatin1Char('['), start);
            if (close >= 0)
                syntax->addParenthesis(false, QLatin1Char(']'), close);
            if (close < 0)
                syntax->addError(Syntax::Section, QStringLiteral("Missing ']'"), start, end);
            else if (close + 1 < end)
                syntax->addError(Syntax::Invalid, QStringLiteral("Text after section header"),
                                 close + 1, end);
        }
        if (title.isEmpty()) {
            if (syntax)
                syntax->addError(Syntax::Invalid, QStringLiteral("Empty section name"), start, end);
            return nullptr;
        }
        const unsigned int subType = sectionType(title);
        if (syntax) {
            syntax->setToken(Syntax::Section, start, close >= 0 ? close + 1 : end);
            if (subType == OtherSection)
                syntax->addWarning(
                    Syntax::Section,
                    QStringLiteral("Unknown section \"%1\"")
                        .arg(title.section(QLatin1Char(' '), 0, 0, QString::SectionSkipEmpty)),
                    start + 1, innerEnd);
        }
        if (reuseNodes() && oldNode && oldNode->type() == CodeNode::Group
            && static_cast<GroupCode *>(oldNode)->subType() == subType) {
            auto *group = static_cast<GroupNode *>(oldNode);
            if (group->title != title)
                group->rename(title);
            return group;
        }
        return new GroupNode(*block, insertAfter, subType, title);
    }

    const int equals = text.indexOf(QLatin1Char('='), start);
    if (equals < 0 || equals >= end) {
        if (syntax)
            syntax->addError(Syntax::Invalid, QStringLiteral("'=' expected"), start, end);
        return nullptr;
    }
    int keyStart = start;
    int keyEnd = equals;
    trim(text, keyStart, keyEnd);
    const QString key = text.mid(keyStart, keyEnd - keyStart);
    if (key.isEmpty()) {
        if (syntax)
            syntax->addError(Syntax::Invalid, QStringLiteral("Missing key"), start, equals + 1);
        return nullptr;
    }
    if (syntax) {
        if (!validKey(key))
            syntax->addError(Syntax::Invalid, QStringLiteral("Invalid key"), keyStart, keyEnd);
        syntax->setToken(Syntax::Name, keyStart, keyEnd);
        syntax->setToken(Syntax::Normal, equals, equals + 1);
        const QString lower = key.toLower();
        if (lower == QLatin1String("holdtime") || lower == QLatin1String("ver"))
            syntax->addDeprecation(Syntax::Name, QStringLiteral("\"%1\" is deprecated").arg(key),
                                   keyStart, keyEnd);
    }
    int valueStart = equals + 1;
    int valueEnd = end;
    trim(text, valueStart, valueEnd);
    const ParsedValue parsed =
        parseValue(text, valueStart, valueEnd, equals, contextOf(insertAfter), *block, syntax, *this);
    if (syntax) {
        // Brackets in values pair up across lines, for the editor's matching.
        bool quoted = false;
        for (int i = valueStart; i < valueEnd; ++i) {
            const QChar c = text.at(i);
            if (c == QLatin1Char('"'))
                quoted = !quoted;
            else if (!quoted && QStringLiteral("([{)]}").contains(c))
                syntax->addParenthesis(QStringLiteral("([{").contains(c), c, i);
        }
    }

    if (reuseNodes() && oldNode && oldNode->type() == CodeNode::Value) {
        auto *value = static_cast<ValueNode *>(oldNode);
        if (value->key == key && value->valueType() == parsed.type) {
            if (value->rawValue() != parsed.value)
                value->update(parsed.value);
            return value;
        }
    }
    return new ValueNode(parsed.type, *block, insertAfter, parsed.value, key);
}

// ---------------------------------------------------------------------------------------------
// Document

CodeDocument::CodeDocument(CodeParser *parser, short fileType) : Zorn::CodeDocument(fileType)
{
    setParser(parser ? parser : &ownParser);
}

void CodeDocument::formatLines(int firstLine, int lastLine, bool indentOnly)
{
    beginChange();
    for (int line = qMax(firstLine, 0); line <= lastLine && line < blockCount(); ++line) {
        const QTextBlock block = findBlockByNumber(line);
        const QString text = block.text();
        int start = 0;
        while (start < text.size() && text.at(start).isSpace())
            ++start;
        QString body = text.mid(start);
        const CodeNode *node = nodeInBlock(block);
        const bool inSection = node && node->type() == CodeNode::Value && node->parent();
        if (!indentOnly && node && node->type() == CodeNode::Value) {
            const int equals = body.indexOf(QLatin1Char('='));
            if (equals > 0)
                body = body.left(equals).trimmed() + QStringLiteral(" = ")
                       + body.mid(equals + 1).trimmed();
        }
        const QString result = (inSection ? QStringLiteral("    ") : QString()) + body;
        if (result == text)
            continue;
        QTextCursor cursor(this);
        cursor.setPosition(block.position());
        cursor.setPosition(block.position() + text.size(), QTextCursor::KeepAnchor);
        insertOnCursor(result, cursor);
    }
    endChange();
}

void NodeFile::insertChild(CodeNode *node, unsigned int index)
{
    nodes.insert(int(qMin(index, unsigned(nodes.size()))), node);
}

void NodeFile::removeChild(CodeNode *node)
{
    nodes.removeAll(node);
}

QStringList NodeFile::titles() const
{
    QStringList out;
    for (const CodeNode *node : nodes)
        out.append(static_cast<const GroupNode *>(node)->title);
    return out;
}

} // namespace Sample
