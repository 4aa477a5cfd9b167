#ifndef ZORNX_CODE_CODEPARSER_H
#define ZORNX_CODE_CODEPARSER_H

#include <zornx/global.h>

#include <QtCore/QChar>
#include <QtCore/QString>
#include <QtGui/QIcon>

class QTextBlock;

namespace Zorn {

class CodeLink;
class CodeNode;
class RootCode;

// What a parser tells the document about one line: formats, messages, parentheses, links.
// Positions are character positions in the line; ends are exclusive.
class ZORNX_EXPORT CodeParserSyntax
{
public:
    // An index into the ten shared formats of CodeDocument. The library gives only Comment a
    // meaning of its own: it does not mark the line as parsed.
    enum TokenType : int {
        Normal = 0,
        Comment = 1,
        Invalid = 2,
        Name = 3,
        Section = 4,
        Keyword = 5,
        Constant = 6,
        Function = 7,
        Number = 8,
        String = 9,
    };

    // Colours the range; with start below 0 only marks the line as parsed.
    virtual void setToken(TokenType type, int start, int end) = 0;
    virtual void addError(TokenType type, const QString &text, int start, int end) = 0;
    virtual void addDeprecation(TokenType type, const QString &text, int start, int end) = 0;
    virtual void addWarning(TokenType type, const QString &text, int start, int end) = 0;
    virtual void addParenthesis(bool opening, QChar character, int position) = 0;
    // The line takes ownership of link.
    virtual void addLink(CodeLink *link) = 0;
    virtual ~CodeParserSyntax();
};

// An engine's parser of one line at a time, supplied by an engine module.
class ZORNX_EXPORT CodeParser
{
public:
    // The node that stands for the line of block, or null (blank line, comment). oldNode is
    // the line's node from the last parse, already taken out of the chain: return it to keep
    // it, or make a new node behind insertAfter. syntax is null when highlighting is off.
    virtual CodeNode *parse(const QString &text, QTextBlock *block, CodeNode *oldNode,
                            CodeNode *insertAfter, RootCode *root, CodeParserSyntax *syntax) = 0;
    virtual ~CodeParser();
};

// A mark on a line (a bookmark, a breakpoint), supplied by an engine module. The document
// keeps it on its line and tells it where that line is.
class ZORNX_EXPORT CodeMark
{
public:
    virtual ~CodeMark();
    virtual QIcon icon() const = 0;
    // One-based.
    virtual void setLine(int line) = 0;
    virtual void setBlock(const QTextBlock &block) = 0;
    // The line of the mark has been deleted.
    virtual void removed() = 0;
};

// A clickable range of the text, made by a parser; the line that it was reported on owns it.
class ZORNX_EXPORT CodeLink
{
public:
    CodeLink(int start = 0, int end = 0) : start(start), end(end) {}
    virtual ~CodeLink();
    virtual bool open() = 0;

    // Positions in the document, as the parser gives them; CodeBlockData::links() brings
    // them up to date with the line's place.
    int start;
    int end;
};

} // namespace Zorn

#endif
