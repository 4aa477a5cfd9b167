#ifndef ZORNX_TESTS_TESTCODE_H
#define ZORNX_TESTS_TESTCODE_H

// The sample module's code classes with the hooks tests need: counters, recorded lines,
// callbacks from inside the parse, and text accounts of a parse to compare.

#include "samplecode.h"

#include <functional>

namespace ZornTest {

// Counts the links alive, so that tests see the document free the ones it replaces, and
// the times each was opened.
class TestCodeLink : public Sample::Link
{
public:
    TestCodeLink(int start, int end, const QString &target) : Link(start, end, target)
    {
        ++alive;
    }
    ~TestCodeLink() override { --alive; }
    bool open() override
    {
        ++opened;
        return Link::open();
    }

    int opened = 0;
    static int alive; // links not yet deleted
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

// Counts its calls and records the block numbers it parsed, so that tests can see how far a
// change rippled.
class TestParser : public Sample::Parser
{
public:
    Zorn::CodeNode *parse(const QString &text, QTextBlock *block, Zorn::CodeNode *oldNode,
                          Zorn::CodeNode *insertAfter, Zorn::RootCode *root,
                          Zorn::CodeParserSyntax *syntax) override;
    Sample::Link *createLink(int start, int end, const QString &target) const override
    {
        return new TestCodeLink(start, end, target);
    }
    bool reuseNodes() const override { return keepNodes; }

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
};

class TestCodeDocument : public Sample::CodeDocument
{
    Q_OBJECT
public:
    // Parses with its own TestParser unless given another one.
    explicit TestCodeDocument(Zorn::CodeParser *parser = nullptr, short fileType = -1);
    ~TestCodeDocument() override;

    TestParser ownParser; // hides the module's own
    int updates = 0;
    std::function<void()> onCodeUpdated;
    bool *destroyed = nullptr;

protected:
    void codeUpdated() override;
};

class TestNodeFile : public Sample::NodeFile
{
public:
    using Sample::NodeFile::NodeFile;
    ~TestNodeFile() override;

    void childChanged(Zorn::CodeNode *) override { ++changes; }

    int changes = 0;
    bool *destroyed = nullptr;
};

// A well-formed file of lineCount lines: sections of twenty lines (header, comment, values)
// that cycle through the section types, with no messages.
QString generateCode(int lineCount);

// A text account of everything the parse left: per line the state, folding depth, parsed
// flag, messages, parentheses, links and formats; then the chain of nodes with their places
// in the tree, and the message model. Two documents parsed alike describe alike.
QString describeDocument(const Zorn::CodeDocument *document);
// The tree in one line, e.g. "[Data](life=1000 power=3000) [Info](name=Lantern)".
QString describeTree(const Zorn::RootCode *root);

} // namespace ZornTest

#endif
