#ifndef ZORNX_CODE_CODEEDITOR_P_H
#define ZORNX_CODE_CODEEDITOR_P_H

#include <zornx/code/codedocument.h>
#include <zornx/code/codeeditor.h>

#include <QtCore/QBasicTimer>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtWidgets/QTextEdit>
#include <QtWidgets/QWidget>

class QCompleter;
class QMouseEvent;
class QStringListModel;

namespace Zorn {

class CodeEditorPrivate;
class CodeLink;

// The gutter. Painting and mouse events go to the editor's private object.
class CodeEditorExtraArea : public QWidget
{
public:
    CodeEditorExtraArea(CodeEditor *editor, CodeEditorPrivate *d);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    CodeEditorPrivate *d;
};

class CodeEditorPrivate : public QObject
{
    Q_OBJECT
public:
    enum SelectionKind { CurrentLine = 0, Parentheses = 1, Unused = 2, Link = 3, KindCount = 4 };

    explicit CodeEditorPrivate(CodeEditor *editor);

    // The gutter's columns.
    int lineSpacing() const;
    int numbersWidth() const;
    int markWidth() const;
    int boxWidth() const;
    int extraAreaWidth() const;
    // Left of the fold column, in gutter coordinates.
    int foldColumn() const;
    void updateExtraAreaWidth();
    // Lays the gutter along the viewport's side.
    void layoutExtraArea();
    void updateExtraAreaBlock(int blockNumber);

    void setExtraSelections(int kind, const QList<QTextEdit::ExtraSelection> &selections);
    void paintExtraArea(QPaintEvent *event);
    void extraAreaMouseEvent(QMouseEvent *event);
    // The fold column's rectangle of the highlighted range; empty when there is none.
    QRect foldRangeRect() const;
    // The x of the block's first non-blank character; 0 for a blank line.
    int visualIndent(const QTextBlock &block) const;
    // The "..." box of a visible block whose next block is hidden, in viewport coordinates;
    // empty otherwise.
    QRectF foldBoxRect(const QTextBlock &block) const;
    // The folded header whose box is at pos (viewport coordinates), or an invalid block.
    QTextBlock foldBoxAt(const QPoint &pos) const;
    void clearHover();
    void checkCursorVisible();

    // The link at the viewport position with Control held: sets or clears the link.
    void updateLink(const QPoint &pos, Qt::KeyboardModifiers modifiers);
    CodeLink *linkAt(const QTextCursor &cursor) const;
    void clearLink();

    void currentLineSteps();

    CodeEditor *q;
    QPointer<CodeDocument> document;
    QCompleter *completer = nullptr;
    QMap<QString, QStringListModel *> models;
    CodeEditor::SyntaxFormatting formatting;
    QList<QTextEdit::ExtraSelection> extraSelections[KindCount];
    QTimer parenTimer;
    QTimer blockTimer;
    struct Ranges
    {
        QList<int> open;         // header block numbers, innermost first
        QList<int> close;        // last block numbers
        QList<int> visualIndent; // pixels
        bool operator==(const Ranges &o) const
        {
            return open == o.open && close == o.close && visualIndent == o.visualIndent;
        }
    } highlightBlocks;
    int hoverFoldLine = -1;
    int pendingFoldLine = -1;
    QBasicTimer hoverTimer;
    bool overFoldBox = false;
    CodeLink *link = nullptr;
    bool linkPressed = false;
    int markedLine = -1;
    int lastCursorBlock = -1;
    int selectionAnchorBlock = -1;
    int markPressBlock = -1;
    int highlightBlock = -1;
    int blockCount = 0; // the document's, at the last change
    CodeEditorExtraArea *extraArea = nullptr;
    QBasicTimer autoScrollTimer;

    static QIcon lineMarkIcon;

public Q_SLOTS:
    void cursorPositionChanged();
    void parenthesesMatchingTimeOut();
    void blockHighlightTimeOut();
    void updateRequest(const QRect &rect, int dy);
    void contentsChange(int position, int removed, int added);
    void insertCompletion(const QString &text);
    void modificationChanged(bool modified);

protected:
    void timerEvent(QTimerEvent *event) override;
};

} // namespace Zorn

#endif
