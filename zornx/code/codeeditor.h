#ifndef ZORNX_CODE_CODEEDITOR_H
#define ZORNX_CODE_CODEEDITOR_H

#include <zornx/global.h>

#include <QtCore/QPoint>
#include <QtGui/QColor>
#include <QtGui/QIcon>
#include <QtGui/QTextCharFormat>
#include <QtWidgets/QPlainTextEdit>

namespace Zorn {

class CodeDocument;
class CodeEditorPrivate;

// The text widget over one CodeDocument: a gutter with line numbers, marks, fold boxes and
// the changed-line bar, folding, current-line and nested-block highlights, parenthesis
// matching, word completion, links under Control, and tool tips for syntax messages.
// Everything per line is read from the blocks' CodeBlockData: the widget parses nothing.
class ZORNX_EXPORT CodeEditor : public QPlainTextEdit
{
    Q_OBJECT
public:
    struct LinePos
    {
        int line = 0;   // block number
        int column = 0; // position in the block
        int scroll = 0; // the vertical scroll bar's value
    };

    // Where setCurrentLine(uint, LineType) puts the line: at the nearest edge, at the top with
    // a page below it, or in the middle.
    enum LineType { NearestEdge = 0, PageBelow = 1, HalfPageBelow = 2 };

    struct SyntaxFormatting
    {
        bool revisionBar = true;
        bool lineNumbers = true;
        bool lineMarks = true;
        bool markRequests = true;
        bool foldingMarkers = true;
        bool highlightLine = true;
        bool highlightBlocks = false;
        bool paintBlockRanges = true;
        bool parenMatching = true;
        QColor lineColor = QColor(Qt::yellow).lighter(160);
        QColor blockRangeColor;
        QTextCharFormat parenFormat;
        QTextCharFormat parenRangeFormat;
        QTextCharFormat linkFormat;
    };

    explicit CodeEditor(QWidget *parent = nullptr);
    ~CodeEditor() override;

    CodeDocument *document() const;
    void setDocument(CodeDocument *document);
    void setFont(const QFont &font);

    // Reads the completion models of an XML file; false when it cannot be opened or does
    // not read to its end (models read before the fault stay).
    bool completerFromFile(const QString &path);

    // Whole lines that fit in the viewport.
    uint displayedLineCount() const;
    LinePos currentLine() const;
    void setCurrentLine(const LinePos &position);
    void setCurrentLine(uint line, LineType type);
    // Shows the line-mark icon on the cursor's line, or on none.
    void markCurrentLine(bool mark);

    const SyntaxFormatting &syntaxFormatting() const;
    void setSyntaxFormatting(const SyntaxFormatting &formatting);
    void updateBlockHighlight();

    // Folds or unfolds the lines under header.
    void toggleBlockVisible(const QTextBlock &header);

    // The icon of the marked line, shared by all editors.
    static void setLineMarkIcon(const QIcon &icon);

Q_SIGNALS:
    // x is the block number, y the column.
    void cursorChanged(QPoint pos);
    void currentLineChanged(int line);
    // line is one-based.
    void markRequested(int line);

protected:
    bool viewportEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    friend class CodeEditorPrivate;
    CodeEditorPrivate *d;
};

} // namespace Zorn

#endif
