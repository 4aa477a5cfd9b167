#ifndef ZORNX_SAMPLE_SAMPLECODE_H
#define ZORNX_SAMPLE_SAMPLECODE_H

// The code side of the sample engine module: a line parser for the engine's ini-like text
// format, the node classes it makes, and a concrete code document.
//
//     ; a comment, anywhere
//     [Data]                 a section header; its first word picks the section type
//     life = 1000            an integer
//     scale = 1.5, 2         a vector (here of reals: one real makes the vector real)
//     name = "Lantern"       a quoted string
//     facing = left, up      keywords
//
// Messages: errors for lines that do not parse, warnings for unknown sections, unquoted
// strings, empty values and non-numbers in [Data], deprecations for a few keys. Values in
// [Files] are file names and carry a link. See README.md beside this file.

#include <zornx/code/codedocument.h>
#include <zornx/code/codenode.h>
#include <zornx/code/codenodefile.h>
#include <zornx/code/codeparser.h>

#include <QtCore/QStringList>

#include <functional>

namespace Sample {

// Section types, by the first word of the header (case ignored). They are the groups'
// subtypes, which node files and editors select sections by.
enum SectionType {
    InfoSection = 1,  // "Info"
    DataSection = 2,  // "Data": numbers only
    StateSection = 3, // "State", "Step"
    FilesSection = 4, // "Files": file names with links
    OtherSection = 5, // anything else, with a warning
    PlainSection = 0, // "Plain": a section whose kind leaves the line state to the line above
};

// One "key = value" line.
class ValueNode : public Zorn::ValueCode
{
public:
    ValueNode(Type type, const QTextBlock &block, Zorn::CodeNode *previous,
              const QVariant &value, const QString &key);

    QString name() const override { return key; }
    // Writes the line anew with the new key; the parser then updates the node.
    void setName(const QString &name) override;
    QString keyword(unsigned int index) const override;

    // The parser keeps the node and hands it the value of the changed line.
    void update(const QVariant &value) { valueChanged(value); }
    // Writes "key = value" over the line, through the document.
    void rewrite(const QString &line) { change(line); }

    static const QStringList &keywords();

    QString key;
};

// One "[Title]" section; its values are the value lines below it.
class GroupNode : public Zorn::GroupCode
{
public:
    GroupNode(const QTextBlock &block, Zorn::CodeNode *previous, unsigned int subType,
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

// A file name in a [Files] section. Opening it is the host's business: the host sets
// opener (a studio opens the file in its editor); without one, open() does nothing.
class Link : public Zorn::CodeLink
{
public:
    Link(int start, int end, const QString &target) : CodeLink(start, end), target(target) {}
    bool open() override { return opener ? opener(this) : true; }

    QString target;
    static std::function<bool(Link *)> opener;
};

// The line parser. It is called for one line at a time with the node the line had and the
// node it follows; it returns the line's node (the old one kept where it still fits, so that
// views and node files see a change instead of a removal) or null for a line without one.
// Highlighting, messages, brackets and links go to the syntax object, when one is given.
class Parser : public Zorn::CodeParser
{
public:
    Zorn::CodeNode *parse(const QString &text, QTextBlock *block, Zorn::CodeNode *oldNode,
                          Zorn::CodeNode *insertAfter, Zorn::RootCode *root,
                          Zorn::CodeParserSyntax *syntax) override;

    // The section type of a header text, and the subtype the parser gives sections.
    static unsigned int sectionType(const QString &title);

    // The link of a file name; the document owns it through the syntax object.
    virtual Link *createLink(int start, int end, const QString &target) const
    {
        return new Link(start, end, target);
    }
    // Whether an old node that still fits the line is kept.
    virtual bool reuseNodes() const { return true; }
};

// A code document over the sample format, parsed by its own Parser unless given another.
class CodeDocument : public Zorn::CodeDocument
{
    Q_OBJECT
public:
    explicit CodeDocument(Zorn::CodeParser *parser = nullptr, short fileType = -1);

    // Indenting puts values four blanks in; reformatting also writes "key = value".
    void formatLines(int firstLine, int lastLine, bool indentOnly) override;

    using Zorn::CodeDocument::reparse;
    using Zorn::CodeDocument::setFileName;

    Parser ownParser;

protected:
    void free() override { delete this; }
};

// A node file over the sections of one type: the library hands it the sections as they
// come and go, in order, and tells it when one changes.
class NodeFile : public Zorn::CodeNodeFile
{
public:
    using Zorn::CodeNodeFile::CodeNodeFile;

    void insertChild(Zorn::CodeNode *node, unsigned int index) override;
    void removeChild(Zorn::CodeNode *node) override;
    void childChanged(Zorn::CodeNode *) override {}

    // The titles of the sections held, in order.
    QStringList titles() const;

    QList<Zorn::CodeNode *> nodes;

protected:
    void free() override { delete this; }
};

} // namespace Sample

#endif
