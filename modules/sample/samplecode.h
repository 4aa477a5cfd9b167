#ifndef ZORNX_TESTS_TESTCODE_H
#define ZORNX_TESTS_TESTCODE_H

// The code side of the test engine module: a line parser for the engine's ini-like text
// format, the node classes it makes, and a concrete code document.
//
//     ; a comment, anywhere
//     [Data]                 a section header; its first word picks the section type
//     life = 1000            an integer
//     scale = 1.5, 2         a vector (here of reals: one real makes the vector real)
//     name = "Kung Fu Man"   a quoted string
//     facing = left, up      keywords
//
// Messages: errors for lines that do not parse, warnings for unknown sections, unquoted
// strings, empty values and non-numbers in [Data], deprecations for a few keys. Values in
// [Files] are file names and carry a link.

#include <zornx/code/codedocument.h>
#include <zornx/code/codenode.h>
#include <zornx/code/codenodefile.h>
#include <zornx/code/codeparser.h>

#include <QtCore/QStringList>

#include <functional>

namespace ZornTest {

// Section types, by the first word of the header (case ignored).
enum SectionType {
    InfoSection = 1,  // "Info"
    DataSection = 2,  // "Data": numbers only
    StateSection = 3, // "State", "Statedef"
    FilesSection = 4, // "Files": file names with links
    OtherSection = 5, // anything else, with a warning
    PlainSection = 0, // "Plain": a section whose kind leaves the line state to the line above
};

class TestValueCode : public Zorn::ValueCode
{
public:
    TestValueCode(Type type, const QTextBlock &block, Zorn::CodeNode *previous,
                  const QVariant &value, const QString &key);

    QString name() const override { return key; }
    // Writes the line anew with the new key.
    void setName(const QString &name) override;
    QString keyword(unsigned int index) const override;

    // The parser keeps the node and hands it the value of the changed line.
    void update(const QVariant &value) { valueChanged(value); }
    // Writes "key = value" over the line, through the document.
    void rewrite(const QString &line) { change(line); }

    static const QStringList &keywords();

    QString key;
};

class TestGroupCode : public Zorn::GroupCode
{
public:
    TestGroupCode(const QTextBlock &block, Zorn::CodeNode *previous, unsigned int subType,
                  const QString &title);

    QString name() const override { return title; }
    // Writes the header anew.
    void setName(const QString &name) override;
    // flag: quote the value.
    Zorn::ValueCode *insertValue(unsigned int index, const QString &name, const QString &value,
                                 bool flag) override;
    Zorn::ValueCode *addValue(const QString &name, const QString &value, bool flag) override;

    // The parser keeps the node under a changed title.
    void rename(const QString &newTitle);

    QString title;
};

class TestCodeLink : public Zorn::CodeLink
{
public:
    TestCodeLink(int start, int end, const QString &target);
    ~TestCodeLink() override;
    bool open() override;

    QString target;
    int opened = 0;
    static int alive; // links not yet deleted
    static std::function<bool(TestCodeLink *)> onOpen; // the result of open()
};

class TestCodeMark : public Zorn::CodeMark
{
public:
    QIcon icon() const override { return QIcon(); }
    void setLine(int value) override { line = value; }
    void setBlock(const QTextBlock &value) override { block = value; }
    void removed() override { ++removals; }

    int line = 0;
    QTextBlock block;
    int removals = 0;
};

// The line parser. It counts its calls and records the block numbers it parsed, so that
// tests can see how far a change rippled.
class TestParser : public Zorn::CodeParser
{
public:
    Zorn::CodeNode *parse(const QString &text, QTextBlock *block, Zorn::CodeNode *oldNode,
                          Zorn::CodeNode *insertAfter, Zorn::RootCode *root,
                          Zorn::CodeParserSyntax *syntax) override;

    void resetCounts()
    {
        calls = 0;
        lines.clear();
        syntaxGiven = 0;
    }

    int calls = 0;
    QList<int> lines; // only while recordLines is set
    bool recordLines = true;
    int syntaxGiven = 0;   // calls with a syntax object
    bool keepNodes = true; // return the old node when it still fits the line
    // Called at the start of every parse, for tests that act from inside the parser.
    std::function<void(const QString &text)> onParse;

    // The section type of a header text, and the subtype the parser gives sections.
    static unsigned int sectionType(const QString &title);
};

class TestCodeDocument : public Zorn::CodeDocument
{
    Q_OBJECT
public:
    // Parses with its own TestParser unless given another one.
    explicit TestCodeDocument(Zorn::CodeParser *parser = nullptr, short fileType = -1);
    ~TestCodeDocument() override;

    // Indenting puts values four blanks in; reformatting also writes "key = value".
    void formatLines(int firstLine, int lastLine, bool indentOnly) override;

    using Zorn::CodeDocument::reparse;
    using Zorn::CodeDocument::setFileName;

    TestParser ownParser;
    int updates = 0;
    std::function<void()> onCodeUpdated;
    bool *destroyed = nullptr;

protected:
    void codeUpdated() override;
    void free() override { delete this; }
};

// A node file over the sections of one type.
class TestNodeFile : public Zorn::CodeNodeFile
{
public:
    using Zorn::CodeNodeFile::CodeNodeFile;
    ~TestNodeFile() override;

    void insertChild(Zorn::CodeNode *node, unsigned int index) override;
    void removeChild(Zorn::CodeNode *node) override;
    void childChanged(Zorn::CodeNode *node) override;

    // The titles of the sections held, in order.
    QStringList titles() const;

    QList<Zorn::CodeNode *> nodes;
    int changes = 0;
    bool *destroyed = nullptr;

protected:
    void free() override { delete this; }
};

// A well-formed file of lineCount lines: sections of twenty lines (header, comment, values)
// that cycle through the section types, with no messages.
QString generateCode(int lineCount);

// A text account of everything the parse left: per line the state, folding depth, parsed
// flag, messages, parentheses, links and formats; then the chain of nodes with their places
// in the tree, and the message model. Two documents parsed alike describe alike.
QString describeDocument(const Zorn::CodeDocument *document);
// The tree in one line, e.g. "[Data](life=1000 power=3000) [Info](name=KFM)".
QString describeTree(const Zorn::RootCode *root);

} // namespace ZornTest

#endif
