#ifndef ZORNX_CODE_CODEBLOCKDATA_H
#define ZORNX_CODE_CODEBLOCKDATA_H

#include <zornx/global.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVector>
#include <QtGui/QTextBlock>
#include <QtGui/QTextBlockUserData>

namespace Zorn {

class CodeBlockDataPrivate;
class CodeDocumentPrivate;
class CodeLink;
class CodeMark;
class CodeNode;

// What the parse left on one line: its node, folding depth, messages, parentheses, links and
// marks. The widget reads all of it while painting, so no work per line happens there.
class ZORNX_EXPORT CodeBlockData : public QTextBlockUserData
{
public:
    struct SyntaxMessage
    {
        int type = 0; // 0 error, 1 deprecation, 2 warning
        int start = 0;
        int end = 0;
        QString text;
    };

    struct Parenthesis
    {
        int type = 0; // 0 opening, 1 closing
        QChar character;
        int position = 0;
    };

    // The record of block, made when the block is valid and has none; null for an invalid
    // block.
    static CodeBlockData *blockData(QTextBlock block, CodeDocumentPrivate *document);
    // The record of block, or null; never makes one.
    static CodeBlockData *testBlockData(QTextBlock block);

    ~CodeBlockData() override;

    bool isFolded() const;
    void setFolded(bool folded);
    // The parser coloured something other than comments on the line.
    bool isParsed() const;
    CodeNode *codeNode() const;
    unsigned int foldingIndent() const;
    QList<CodeMark *> marks() const;
    QList<CodeLink *> links() const;
    QVector<SyntaxMessage> syntaxMessages() const;
    QVector<Parenthesis> parenthesis() const;

private:
    CodeBlockData(CodeDocumentPrivate *document, const QTextBlock &block);
    Q_DISABLE_COPY(CodeBlockData)
    friend class CodeDocumentPrivate;
    friend class CodeDocument;
    CodeBlockDataPrivate *d;
};

} // namespace Zorn

#endif
