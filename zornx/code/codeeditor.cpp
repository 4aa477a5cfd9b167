#include "codeeditor_p.h"

#include <zornx/code/codeblockdata.h>
#include <zornx/code/codedocument.h>
#include <zornx/code/codeparser.h>
#include <zornx/core/interface.h>

#include <QtCore/QFile>
#include <QtCore/QStringListModel>
#include <QtCore/QXmlStreamReader>
#include <QtGui/QPainter>
#include <QtGui/QTextBlock>
#include <QtGui/QTextLayout>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCompleter>
#include <QtWidgets/QPlainTextDocumentLayout>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QStyle>
#include <QtWidgets/QToolTip>

#ifdef Q_OS_WIN
#include <QtCore/QLibrary>
#include <windows.h>
#endif

namespace Zorn {

QIcon CodeEditorPrivate::lineMarkIcon;

namespace {

unsigned int indentOf(const QTextBlock &block)
{
    const CodeBlockData *data = CodeDocument::blockData(block);
    return data ? data->foldingIndent() : 0;
}

// A header: the next line lies deeper.
bool isHeader(const QTextBlock &block)
{
    const QTextBlock next = block.next();
    return next.isValid() && CodeDocument::blockData(block) && indentOf(next) > indentOf(block);
}

// The main window's DPI over 96.
qreal dpiScale()
{
#ifdef Q_OS_WIN
    QWidget *window = Interface::instance() ? Interface::instance()->mainWidget() : nullptr;
    const HWND hwnd = window ? reinterpret_cast<HWND>(window->winId()) : nullptr;
    using GetDpiForWindowFn = UINT(WINAPI *)(HWND);
    static const auto getDpi = reinterpret_cast<GetDpiForWindowFn>(
        QLibrary::resolve(QStringLiteral("User32.dll"), "GetDpiForWindow"));
    if (getDpi && hwnd)
        return getDpi(hwnd) / 96.0;
    HDC dc = GetDC(hwnd);
    const int dpi = GetDeviceCaps(dc, LOGPIXELSX);
    ReleaseDC(hwnd, dc);
    return dpi > 0 ? dpi / 96.0 : 1.0;
#else
    return 1.0;
#endif
}

// Colour step i of n of the block-range backgrounds.
QColor rangeColor(const QColor &base, int i, int n)
{
    if (i >= n)
        return base;
    int h, s, v, a;
    base.getHsv(&h, &s, &v, &a);
    QColor first, second;
    if (v <= 128) {
        first = QColor::fromHsv(h, s, qMin(v + 40, 255), a);
        second = QColor::fromHsv(h, s, qMin(v + 20, 255), a);
    } else {
        first = QColor::fromHsv(h, s, qMax(v - 30, 0), a);
        second = QColor::fromHsv(h, s, qMax(v - 15, 0), a);
    }
    if (i == 0)
        return first;
    if (i == n - 1)
        return second;
    const int weight = (256 / (n - 2)) * i;
    auto mix = [weight](int a, int b) { return (a * (256 - weight) + b * weight) / 256; };
    return QColor(mix(first.red(), second.red()), mix(first.green(), second.green()),
                  mix(first.blue(), second.blue()), mix(first.alpha(), second.alpha()));
}

bool isLinkFormat(const QTextCharFormat &format)
{
    return !format.hasProperty(QTextFormat::ForegroundBrush)
           && format.underlineStyle() != QTextCharFormat::NoUnderline
           && !format.hasProperty(QTextFormat::BackgroundBrush);
}

const QString endOfWord = QStringLiteral("~!@#$%^&*)_+{}|:\"<>?,./;'[]\\-=");

} // namespace

// ---------------------------------------------------------------------------------------------
// Gutter

CodeEditorExtraArea::CodeEditorExtraArea(CodeEditor *editor, CodeEditorPrivate *d)
    : QWidget(editor), d(d)
{
    setAutoFillBackground(true);
    setMouseTracking(true);
}

QSize CodeEditorExtraArea::sizeHint() const
{
    return QSize(d->extraAreaWidth(), 0);
}

void CodeEditorExtraArea::paintEvent(QPaintEvent *event)
{
    d->paintExtraArea(event);
}

void CodeEditorExtraArea::mouseMoveEvent(QMouseEvent *event)
{
    d->extraAreaMouseEvent(event);
}

void CodeEditorExtraArea::mousePressEvent(QMouseEvent *event)
{
    d->extraAreaMouseEvent(event);
}

void CodeEditorExtraArea::mouseReleaseEvent(QMouseEvent *event)
{
    d->extraAreaMouseEvent(event);
}

void CodeEditorExtraArea::mouseDoubleClickEvent(QMouseEvent *event)
{
    d->extraAreaMouseEvent(event);
}

void CodeEditorExtraArea::wheelEvent(QWheelEvent *event)
{
    QApplication::sendEvent(d->q->viewport(), event);
}

void CodeEditorExtraArea::leaveEvent(QEvent *)
{
    // Clears the fold highlight.
    QMouseEvent move(QEvent::MouseMove, QPoint(0, -1), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    d->extraAreaMouseEvent(&move);
}

// ---------------------------------------------------------------------------------------------
// Private

CodeEditorPrivate::CodeEditorPrivate(CodeEditor *editor) : q(editor)
{
    formatting.parenFormat.setForeground(QColor(Qt::red));
    formatting.parenRangeFormat.setBackground(QColor(Qt::magenta).lighter(190));
    formatting.blockRangeColor = editor->palette().color(QPalette::Base);
    parenTimer.setSingleShot(true);
    blockTimer.setSingleShot(true);
    connect(&parenTimer, &QTimer::timeout, this, &CodeEditorPrivate::parenthesesMatchingTimeOut);
    connect(&blockTimer, &QTimer::timeout, this, &CodeEditorPrivate::blockHighlightTimeOut);
}

int CodeEditorPrivate::lineSpacing() const
{
    return extraArea->fontMetrics().lineSpacing();
}

int CodeEditorPrivate::numbersWidth() const
{
    if (!formatting.lineNumbers)
        return 0;
    int digits = 1;
    for (int count = q->blockCount(); count >= 10; count /= 10)
        ++digits;
    return qMax(digits, 2) * extraArea->fontMetrics().horizontalAdvance(QLatin1Char('9'));
}

int CodeEditorPrivate::markWidth() const
{
    return formatting.lineMarks ? lineSpacing() : 0;
}

int CodeEditorPrivate::boxWidth() const
{
    const int spacing = lineSpacing();
    return spacing + 1 + spacing % 2;
}

int CodeEditorPrivate::extraAreaWidth() const
{
    return numbersWidth() + 4 + (formatting.lineMarks ? lineSpacing() : 2)
           + (formatting.foldingMarkers ? boxWidth() : 0);
}

int CodeEditorPrivate::foldColumn() const
{
    return extraArea->width() - boxWidth();
}

void CodeEditorPrivate::updateExtraAreaWidth()
{
    const int width = extraAreaWidth();
    const QMargins margins = q->isRightToLeft() ? QMargins(0, 0, width, 0)
                                                : QMargins(width, 0, 0, 0);
    if (q->viewportMargins() == margins)
        return;
    q->setViewportMargins(margins);
    layoutExtraArea();
}

void CodeEditorPrivate::layoutExtraArea()
{
    const QRect content = q->contentsRect();
    const QRect strip(content.topLeft(), QSize(extraAreaWidth(), content.height()));
    extraArea->setGeometry(QStyle::visualRect(q->layoutDirection(), content, strip));
}

void CodeEditorPrivate::updateExtraAreaBlock(int blockNumber)
{
    if (blockNumber < 0 || !q->document())
        return;
    const QTextBlock block = q->document()->findBlockByNumber(blockNumber);
    if (!block.isValid() || !block.isVisible())
        return;
    const QRectF rect = q->blockBoundingGeometry(block).translated(q->contentOffset());
    extraArea->update(0, int(rect.top()), extraArea->width(), int(rect.height()) + 1);
}

void CodeEditorPrivate::setExtraSelections(int kind,
                                           const QList<QTextEdit::ExtraSelection> &selections)
{
    if (selections.isEmpty() && extraSelections[kind].isEmpty())
        return;
    extraSelections[kind] = selections;
    QList<QTextEdit::ExtraSelection> all;
    for (const QList<QTextEdit::ExtraSelection> &list : extraSelections)
        all += list;
    q->setExtraSelections(all);
}

int CodeEditorPrivate::visualIndent(const QTextBlock &block) const
{
    const QString text = block.text();
    int column = 0;
    while (column < text.size() && text.at(column).isSpace())
        ++column;
    if (column == text.size() || !block.layout() || block.layout()->lineCount() == 0)
        return 0;
    const QTextLine line = block.layout()->lineForTextPosition(column);
    return line.isValid() ? qRound(line.cursorToX(column)) : 0;
}

QRectF CodeEditorPrivate::foldBoxRect(const QTextBlock &block) const
{
    const QTextBlock next = block.next();
    if (!block.isVisible() || !next.isValid() || next.isVisible())
        return QRectF();
    const QTextLayout *layout = block.layout();
    if (!layout || layout->lineCount() == 0)
        return QRectF();
    const QPointF topLeft =
        q->blockBoundingGeometry(block).translated(q->contentOffset()).topLeft();
    const QRectF line =
        layout->lineAt(layout->lineCount() - 1).naturalTextRect().translated(topLeft);
    const qreal width = QFontMetricsF(q->document()->defaultFont()).horizontalAdvance(
        QStringLiteral(" ... "));
    return QRectF(line.right() + 12, line.top(), width, line.height() - 1);
}

QTextBlock CodeEditorPrivate::foldBoxAt(const QPoint &pos) const
{
    if (!document)
        return QTextBlock();
    const int height = q->viewport()->height();
    for (QTextBlock block = q->firstVisibleBlock(); block.isValid(); block = block.next()) {
        if (!block.isVisible())
            continue;
        const QRectF rect = q->blockBoundingGeometry(block).translated(q->contentOffset());
        if (rect.top() > height)
            break;
        if (rect.top() <= pos.y() && pos.y() < rect.bottom()
            && foldBoxRect(block).contains(pos))
            return block;
    }
    return QTextBlock();
}

void CodeEditorPrivate::clearHover()
{
    pendingFoldLine = -1;
    hoverTimer.stop();
    if (hoverFoldLine >= 0) {
        hoverFoldLine = -1;
        q->viewport()->update();
    }
}

void CodeEditorPrivate::checkCursorVisible()
{
    QTextCursor cursor = q->textCursor();
    if (cursor.block().isVisible())
        return;
    cursor.setVisualNavigation(true);
    cursor.movePosition(QTextCursor::Up);
    q->setTextCursor(cursor);
}

CodeLink *CodeEditorPrivate::linkAt(const QTextCursor &cursor) const
{
    const CodeBlockData *data = CodeDocument::blockData(cursor.block());
    if (!data)
        return nullptr;
    const int position = cursor.position();
    for (CodeLink *link : data->links())
        if (link->start <= position && position <= link->end)
            return link;
    return nullptr;
}

void CodeEditorPrivate::updateLink(const QPoint &pos, Qt::KeyboardModifiers modifiers)
{
    if (!(modifiers & Qt::ControlModifier) || !document) {
        clearLink();
        return;
    }
    const QTextCursor cursor = q->cursorForPosition(pos);
    QTextCursor next = cursor;
    // Over a character, not past the end of the line.
    bool over = pos.x() < q->cursorRect(cursor).x();
    if (!over && next.movePosition(QTextCursor::Right) && next.block() == cursor.block())
        over = pos.x() < q->cursorRect(next).x();
    CodeLink *found = over ? linkAt(cursor) : nullptr;
    if (!found) {
        clearLink();
        return;
    }
    if (found == link)
        return;
    link = found;
    QTextEdit::ExtraSelection selection;
    selection.cursor = QTextCursor(document);
    selection.cursor.setPosition(found->start);
    selection.cursor.setPosition(found->end, QTextCursor::KeepAnchor);
    selection.format = formatting.linkFormat;
    selection.format.setUnderlineStyle(QTextCharFormat::SingleUnderline);
    setExtraSelections(Link, {selection});
    q->viewport()->setCursor(Qt::PointingHandCursor);
}

void CodeEditorPrivate::clearLink()
{
    if (!link && extraSelections[Link].isEmpty() && !linkPressed)
        return;
    setExtraSelections(Link, {});
    q->viewport()->setCursor(Qt::IBeamCursor);
    link = nullptr;
    linkPressed = false;
}

void CodeEditorPrivate::currentLineSteps()
{
    const QTextCursor cursor = q->textCursor();
    if (formatting.highlightLine) {
        QTextEdit::ExtraSelection selection;
        selection.cursor = cursor;
        selection.cursor.clearSelection();
        selection.format.setBackground(formatting.lineColor);
        selection.format.setProperty(QTextFormat::FullWidthSelection, true);
        setExtraSelections(CurrentLine, {selection});
    }
    const int block = cursor.blockNumber();
    if (block != lastCursorBlock) {
        updateExtraAreaBlock(lastCursorBlock);
        updateExtraAreaBlock(block);
        emit q->currentLineChanged(block);
        lastCursorBlock = block;
    }
}

void CodeEditorPrivate::cursorPositionChanged()
{
    if (formatting.parenMatching && q->hasFocus())
        parenTimer.start(extraSelections[Parentheses].isEmpty() ? 50 : 0);
    currentLineSteps();
    const QTextCursor cursor = q->textCursor();
    if (formatting.highlightBlocks) {
        highlightBlock = cursor.blockNumber();
        blockTimer.start(100);
    }
    emit q->cursorChanged(QPoint(cursor.blockNumber(), cursor.positionInBlock()));
}

void CodeEditorPrivate::parenthesesMatchingTimeOut()
{
    if (q->isReadOnly() || !document)
        return;
    using Paren = CodeBlockData::Parenthesis;
    const QTextCursor cursor = q->textCursor();
    const int position = cursor.position();
    const QTextBlock home = cursor.block();
    auto parens = [](const QTextBlock &block) {
        const CodeBlockData *data = CodeDocument::blockData(block);
        return data ? data->parenthesis() : QVector<Paren>();
    };
    auto indexAt = [](const QVector<Paren> &list, int type, int at) {
        for (int i = 0; i < list.size(); ++i)
            if (list.at(i).type == type && list.at(i).position == at)
                return i;
        return -1;
    };
    QList<QTextCursor> ranges;

    QVector<Paren> list = parens(home);
    int index = indexAt(list, 1, position - 1 - home.position());
    if (index >= 0) {
        int depth = 0;
        QTextBlock block = home;
        for (;;) {
            if (--index < 0) {
                do
                    block = block.previous();
                while (block.isValid() && (list = parens(block)).isEmpty());
                if (!block.isValid())
                    break;
                index = list.size() - 1;
            }
            const Paren &paren = list.at(index);
            if (paren.type == 1) {
                ++depth;
            } else if (depth == 0) {
                QTextCursor range = cursor;
                range.setPosition(position);
                range.setPosition(block.position() + paren.position, QTextCursor::KeepAnchor);
                ranges.append(range);
                break;
            } else {
                --depth;
            }
        }
    }

    list = parens(home);
    index = indexAt(list, 0, position - home.position());
    if (index >= 0) {
        int depth = 0;
        QTextBlock block = home;
        for (;;) {
            if (++index >= list.size()) {
                do
                    block = block.next();
                while (block.isValid() && (list = parens(block)).isEmpty());
                if (!block.isValid())
                    break;
                index = 0;
            }
            const Paren &paren = list.at(index);
            if (paren.type == 0) {
                ++depth;
            } else if (depth == 0) {
                QTextCursor range = cursor;
                range.setPosition(position);
                range.setPosition(block.position() + paren.position + 1, QTextCursor::KeepAnchor);
                ranges.append(range);
                break;
            } else {
                --depth;
            }
        }
    }

    QList<QTextEdit::ExtraSelection> selections;
    for (const QTextCursor &range : ranges) {
        const int start = range.selectionStart();
        const int end = range.selectionEnd();
        QTextEdit::ExtraSelection selection;
        selection.cursor = range;
        selection.format = formatting.parenRangeFormat;
        selections.append(selection);
        selection.format = formatting.parenFormat;
        selection.cursor.setPosition(start);
        selection.cursor.setPosition(start + 1, QTextCursor::KeepAnchor);
        selections.append(selection);
        selection.cursor.setPosition(end - 1);
        selection.cursor.setPosition(end, QTextCursor::KeepAnchor);
        selections.append(selection);
    }
    setExtraSelections(Parentheses, selections);
}

void CodeEditorPrivate::blockHighlightTimeOut()
{
    Ranges ranges;
    if (highlightBlock >= 0 && document) {
        QTextBlock block = document->findBlockByNumber(highlightBlock);
        if (block.isValid() && block.next().isValid() && indentOf(block.next()) > indentOf(block))
            block = block.next();
        QTextBlock close = block;
        while (block.isValid()) {
            const unsigned int indent = indentOf(block);
            if (indent == 0)
                break; // nothing lies above the top level: spare the walk to the start
            QTextBlock header = block;
            while (indentOf(header) >= indent && header.previous().isValid())
                header = header.previous();
            if (indentOf(header) >= indent)
                break;
            ranges.open.append(header.blockNumber());
            while (close.next().isValid() && indentOf(close.next()) >= indent)
                close = close.next();
            ranges.close.append(close.blockNumber());
            ranges.visualIndent.append(qMin(visualIndent(header), visualIndent(close)));
            block = header;
        }
    }
    if (ranges == highlightBlocks)
        return;
    highlightBlocks = ranges;
    q->viewport()->update();
    extraArea->update();
}

void CodeEditorPrivate::updateRequest(const QRect &rect, int dy)
{
    if (dy)
        extraArea->scroll(0, dy);
    else if (rect.width() > 4)
        extraArea->update(0, rect.y(), extraArea->width(), rect.height());
    if (rect.contains(q->viewport()->rect()))
        updateExtraAreaWidth();
}

void CodeEditorPrivate::contentsChange(int position, int removed, int added)
{
    if (!document)
        return;
    // The lines above the change keep their numbers.
    auto renumberFrom = [](QTextBlock block) {
        for (; block.isValid(); block = block.next())
            if (const CodeBlockData *data = CodeDocument::blockData(block))
                for (CodeMark *mark : data->marks())
                    mark->setLine(block.blockNumber() + 1);
    };
    auto setBlock = [](const QTextBlock &block) {
        if (const CodeBlockData *data = CodeDocument::blockData(block))
            for (CodeMark *mark : data->marks())
                mark->setBlock(block);
    };
    const QTextBlock first = document->findBlock(position);
    const QTextBlock last = document->findBlock(position + added);
    // Line numbers below the change move only when the line count does.
    const int blocks = document->blockCount();
    const bool moved = blocks != blockCount;
    blockCount = blocks;
    if (removed > 0) {
        if (moved)
            renumberFrom(first);
        setBlock(first);
    } else if (first == last) {
        setBlock(first);
    } else {
        if (moved)
            renumberFrom(first);
        setBlock(first);
        setBlock(last);
    }
    // The link under the pointer may have gone with the old text.
    link = nullptr;
}

void CodeEditorPrivate::insertCompletion(const QString &text)
{
    QTextCursor cursor = q->textCursor();
    if (!document || !document->insertCompletion(q, cursor, text)) {
        if (!completer->completionPrefix().isEmpty()) {
            cursor.movePosition(QTextCursor::Left);
            cursor.movePosition(QTextCursor::StartOfWord);
            cursor.movePosition(QTextCursor::EndOfWord, QTextCursor::KeepAnchor);
        }
        cursor.insertText(text);
        q->setTextCursor(cursor);
    }
    if (document)
        document->autoCompleteDone();
}

void CodeEditorPrivate::modificationChanged(bool modified)
{
    if (!modified)
        extraArea->update();
}

void CodeEditorPrivate::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == hoverTimer.timerId()) {
        hoverFoldLine = pendingFoldLine;
        pendingFoldLine = -1;
        hoverTimer.stop();
        q->viewport()->update();
    } else if (event->timerId() == autoScrollTimer.timerId()) {
        const QPoint pos = extraArea->mapFromGlobal(QCursor::pos());
        const int height = extraArea->height();
        q->verticalScrollBar()->triggerAction(pos.y() < height / 2
                                                  ? QAbstractSlider::SliderSingleStepSub
                                                  : QAbstractSlider::SliderSingleStepAdd);
        QMouseEvent move(QEvent::MouseMove, pos, Qt::LeftButton, Qt::LeftButton,
                         Qt::NoModifier);
        extraAreaMouseEvent(&move);
        const int outside = pos.y() < 0 ? -pos.y() : pos.y() - height;
        const int distance = qMax(7, outside);
        if (autoScrollTimer.isActive())
            autoScrollTimer.start(4900 / (distance * distance), this);
    }
}

QRect CodeEditorPrivate::foldRangeRect() const
{
    if (highlightBlocks.open.isEmpty() || highlightBlock < 0 || !document)
        return QRect();
    const QPointF offset = q->contentOffset();
    const QTextBlock first = document->findBlockByNumber(highlightBlocks.open.last());
    const QTextBlock last = document->findBlockByNumber(highlightBlocks.close.first());
    const int top = int(q->blockBoundingGeometry(first).translated(offset).top());
    const int bottom = int(q->blockBoundingGeometry(last).translated(offset).bottom());
    const int left = extraArea->width() - boxWidth();
    return QRect(left, top, extraArea->width() - left, bottom - top);
}

void CodeEditorPrivate::paintExtraArea(QPaintEvent *event)
{
    QPainter painter(extraArea);
    const QPalette palette = extraArea->palette();
    const QRect area = event->rect();
    const int width = extraArea->width();
    const int spacing = lineSpacing();
    const int box = boxWidth();
    const int marks = markWidth();
    const int numberRight = marks + numbersWidth() + 4;
    const int foldLeft = formatting.foldingMarkers ? width - box : width;

    painter.fillRect(area, palette.color(QPalette::Active, QPalette::Base));
    painter.fillRect(QRect(area.left(), area.top(), foldLeft - area.left(), area.height()),
                     palette.color(QPalette::Active, QPalette::Base).darker(115));
    if (!document)
        return;

    const QTextCursor cursor = q->textCursor();
    const int selectionStart = cursor.selectionStart();
    const int selectionEnd = cursor.selectionEnd();
    const int saved = document->savedRevision();
    int first = -1;
    int last = -1;
    if (!highlightBlocks.open.isEmpty()) {
        first = highlightBlocks.open.last();
        last = highlightBlocks.close.first();
    }
    const bool endVisible = last >= 0 && document->findBlockByNumber(last).isVisible();
    const QPixmap contract(QStringLiteral(":/zornl_icons/icons/contract.png"));
    const QPixmap expand(QStringLiteral(":/zornl_icons/icons/expand.png"));
    QColor numberColor = palette.color(QPalette::Active, QPalette::WindowText);
    QColor dimNumberColor = numberColor;
    dimNumberColor.setAlpha(100);

    QTextBlock block = q->firstVisibleBlock();
    qreal top = q->blockBoundingGeometry(block).translated(q->contentOffset()).top();
    qreal bottom = top;
    while (block.isValid() && top <= area.bottom()) {
        bottom = top + q->blockBoundingRect(block).height();
        QTextBlock following = block.next();
        if (following.isValid() && !following.isVisible())
            following = document->findBlockByLineNumber(following.firstLineNumber());
        const int number = block.blockNumber();

        if (block.isVisible() && bottom >= area.top()) {
            const CodeBlockData *data = CodeDocument::blockData(block);
            if (formatting.lineMarks) {
                int k = 0;
                if (data)
                    for (const CodeMark *mark : data->marks()) {
                        mark->icon().paint(&painter, QRect(2 * k, int(top), spacing - 1,
                                                           spacing - 1));
                        ++k;
                    }
                if (number == markedLine)
                    lineMarkIcon.paint(&painter, QRect(0, int(top), spacing - 1, spacing - 1));
            }

            if (formatting.foldingMarkers) {
                const QTextBlock next = block.next();
                if (first >= 0 && number >= first && number <= last) {
                    const bool drawEnd = number == last || (number == first && !endVisible);
                    const int x = foldLeft - 1 + box / 2;
                    const int y1 = qRound(top) + (number == first ? box / 2 : 0);
                    const int y2 = qRound(bottom) - (drawEnd ? box / 2 : 0);
                    painter.setPen(Qt::gray);
                    painter.drawLine(x, y1, x, y2);
                    if (drawEnd)
                        painter.drawLine(x, y2, x + (box / 2) / 2, y2);
                }
                if (next.isValid() && CodeDocument::blockData(next) && data
                    && indentOf(next) > data->foldingIndent()) {
                    const int size = box / 4;
                    QRect square(foldLeft + size, int(top) + size, 2 * size + 1, 2 * size + 1);
                    if (square.width() < 9) {
                        const QPoint centre = square.center();
                        square.setSize(QSize(9, 9));
                        square.moveCenter(centre);
                    }
                    painter.drawPixmap(square, next.isVisible() ? contract : expand);
                }
            }

            if (formatting.revisionBar && block.revision() != saved) {
                painter.setPen(QPen(block.revision() < 0 ? Qt::darkGreen : Qt::red, 2.0));
                painter.drawLine(QPointF(numberRight - 1, top),
                                 QPointF(numberRight - 1, bottom - 1));
            }

            if (formatting.lineNumbers) {
                const int start = block.position();
                const int end = start + block.length();
                const bool selected =
                    (selectionStart < end && selectionEnd > start)
                    || (selectionStart == selectionEnd && selectionStart == start);
                painter.setPen(selected ? numberColor : dimNumberColor);
                painter.drawText(QRectF(marks, top, numberRight - 4 - marks, spacing),
                                 Qt::AlignRight | Qt::AlignTop, QString::number(number + 1));
            }
        }
        block = following;
        top = bottom;
    }
}

void CodeEditorPrivate::extraAreaMouseEvent(QMouseEvent *event)
{
    if (!document)
        return;
    const QPoint pos = event->pos();
    QTextCursor cursor = q->cursorForPosition(QPoint(0, pos.y()));
    const int width = extraArea->width();
    const bool inFoldColumn = formatting.foldingMarkers && pos.x() > width - boxWidth();
    const QEvent::Type type = event->type();

    if (type == QEvent::MouseMove && event->buttons() == Qt::NoButton
        && formatting.foldingMarkers) {
        int block = -1;
        if (inFoldColumn)
            block = cursor.blockNumber();
        else if (formatting.highlightBlocks)
            block = q->textCursor().blockNumber();
        if (block != highlightBlock) {
            highlightBlock = block;
            blockTimer.start(highlightBlocks.open.isEmpty() ? 120 : 0);
        }
    }
    if (type == QEvent::MouseMove)
        extraArea->setCursor(pos.x() <= markWidth() ? Qt::PointingHandCursor : Qt::ArrowCursor);

    if ((type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick)
        && event->button() == Qt::LeftButton) {
        if (inFoldColumn) {
            const QTextBlock block = cursor.block();
            QTextBlock header = block;
            if (block.next().isVisible()) {
                if (!foldRangeRect().contains(pos))
                    return;
                header = document->findBlockByNumber(highlightBlocks.open.last());
            }
            q->toggleBlockVisible(header);
            checkCursorVisible();
        } else if (!formatting.lineNumbers || pos.x() <= markWidth()) {
            markPressBlock = cursor.blockNumber();
        } else {
            selectionAnchorBlock = cursor.blockNumber();
            cursor.setVisualNavigation(true);
            cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
            cursor.movePosition(QTextCursor::Right, QTextCursor::KeepAnchor);
            q->setTextCursor(cursor);
        }
        return;
    }

    if (selectionAnchorBlock >= 0) {
        if (type == QEvent::MouseMove) {
            const QTextBlock anchor = document->findBlockByNumber(selectionAnchorBlock);
            QTextCursor selection(document);
            selection.setVisualNavigation(true);
            if (cursor.blockNumber() >= selectionAnchorBlock) {
                selection.setPosition(anchor.position());
                selection.setPosition(cursor.block().position(), QTextCursor::KeepAnchor);
                selection.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
                selection.movePosition(QTextCursor::Right, QTextCursor::KeepAnchor);
            } else {
                selection.setPosition(anchor.position());
                selection.movePosition(QTextCursor::EndOfBlock);
                selection.movePosition(QTextCursor::Right);
                selection.setPosition(cursor.block().position(), QTextCursor::KeepAnchor);
            }
            q->setTextCursor(selection);
            if (pos.y() < 0 || pos.y() > extraArea->height()) {
                if (!autoScrollTimer.isActive())
                    autoScrollTimer.start(100, this);
            } else {
                autoScrollTimer.stop();
            }
        } else if (type == QEvent::MouseButtonRelease) {
            autoScrollTimer.stop();
            selectionAnchorBlock = -1;
        }
        return;
    }

    if (type == QEvent::MouseButtonRelease && event->button() == Qt::LeftButton) {
        if (markPressBlock >= 0 && cursor.blockNumber() == markPressBlock
            && formatting.lineMarks && formatting.markRequests)
            emit q->markRequested(markPressBlock + 1);
        markPressBlock = -1;
    }
}

// ---------------------------------------------------------------------------------------------
// Editor

CodeEditor::CodeEditor(QWidget *parent) : QPlainTextEdit(parent), d(new CodeEditorPrivate(this))
{
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    viewport()->setMouseTracking(true);
    setFrameStyle(0);
    d->extraArea = new CodeEditorExtraArea(this, d);

    d->completer = new QCompleter(this);
    d->completer->setModelSorting(QCompleter::CaseInsensitivelySortedModel);
    d->completer->setCaseSensitivity(Qt::CaseInsensitive);
    d->completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    d->completer->setWrapAround(false);
    d->completer->setWidget(this);
    connect(d->completer, QOverload<const QString &>::of(&QCompleter::activated), d,
            &CodeEditorPrivate::insertCompletion);

    connect(this, &QPlainTextEdit::cursorPositionChanged, d,
            &CodeEditorPrivate::cursorPositionChanged);
    connect(this, &QPlainTextEdit::updateRequest, d, &CodeEditorPrivate::updateRequest);
    connect(this, &QPlainTextEdit::blockCountChanged, d,
            [this] { d->updateExtraAreaWidth(); });
    connect(this, &QPlainTextEdit::modificationChanged, d,
            &CodeEditorPrivate::modificationChanged);
    connect(this, &QPlainTextEdit::selectionChanged, d, [this] { d->clearLink(); });
    d->updateExtraAreaWidth();
}

CodeEditor::~CodeEditor()
{
    delete d->extraArea; // before the private object that its events go to
    delete d;
}

CodeDocument *CodeEditor::document() const
{
    return d->document;
}

void CodeEditor::setDocument(CodeDocument *document)
{
    const QFont current = font();
    if (d->document)
        disconnect(d->document, &QTextDocument::contentsChange, d,
                   &CodeEditorPrivate::contentsChange);
    d->link = nullptr;
    d->linkPressed = false;
    d->highlightBlocks = CodeEditorPrivate::Ranges();
    d->hoverFoldLine = d->pendingFoldLine = -1;
    d->hoverTimer.stop();
    for (QList<QTextEdit::ExtraSelection> &list : d->extraSelections)
        list.clear();
    QPlainTextEdit::setExtraSelections({});
    d->document = nullptr;
    QPlainTextEdit::setDocument(nullptr);
    d->parenTimer.stop();
    d->setExtraSelections(CodeEditorPrivate::Parentheses, {});
    d->lastCursorBlock = -1;
    if (document) {
        d->document = document;
        QPlainTextEdit::setDocument(document);
        setCursorWidth(2);
        document->setDefaultFont(font());
        d->blockCount = document->blockCount();
        connect(document, &QTextDocument::contentsChange, d, &CodeEditorPrivate::contentsChange);
    }
    d->updateExtraAreaWidth();
    d->cursorPositionChanged();
    setFont(current);
}

void CodeEditor::setFont(const QFont &font)
{
    QFont fixed = font;
    fixed.setFixedPitch(true);
    fixed.setStyleHint(QFont::Monospace, QFont::PreferDefault);
    const qreal blank = QFontMetricsF(fixed).horizontalAdvance(QLatin1Char(' '));
    if (fixed != QPlainTextEdit::font())
        QPlainTextEdit::setFont(fixed);
    setTabStopDistance(blank * dpiScale() * 4);
}

bool CodeEditor::completerFromFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QXmlStreamReader xml(&file);
    xml.setNamespaceProcessing(false);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement
            || xml.name() != QLatin1String("model"))
            continue;
        const QString prefix = xml.attributes().value(QLatin1String("prefix")).toString();
        QStringList words;
        while (!xml.atEnd()) {
            const QXmlStreamReader::TokenType token = xml.readNext();
            if (token == QXmlStreamReader::EndElement && xml.name() == QLatin1String("model"))
                break;
            if (token == QXmlStreamReader::StartElement && xml.name() == QLatin1String("word"))
                words.append(xml.attributes().value(QLatin1String("value")).toString());
        }
        QStringListModel *&model = d->models[prefix];
        if (!model)
            model = new QStringListModel(d);
        model->setStringList(words);
    }
    return !xml.hasError();
}

uint CodeEditor::displayedLineCount() const
{
    return uint(viewport()->height() / fontMetrics().height());
}

CodeEditor::LinePos CodeEditor::currentLine() const
{
    const QTextCursor cursor = textCursor();
    LinePos pos;
    pos.line = cursor.blockNumber();
    pos.column = cursor.positionInBlock();
    pos.scroll = verticalScrollBar()->value();
    return pos;
}

void CodeEditor::setCurrentLine(const LinePos &position)
{
    QTextBlock block = QPlainTextEdit::document()->findBlockByNumber(position.line);
    if (!block.isValid())
        block = QPlainTextEdit::document()->lastBlock();
    QTextCursor cursor(block);
    cursor.setPosition(block.position() + qBound(0, position.column, block.length() - 1));
    setTextCursor(cursor);
    verticalScrollBar()->setValue(position.scroll);
    d->parenTimer.start(50);
    emit cursorChanged(QPoint(cursor.blockNumber(), cursor.positionInBlock()));
}

void CodeEditor::setCurrentLine(uint line, LineType type)
{
    QTextDocument *doc = QPlainTextEdit::document();
    const uint blocks = uint(doc->blockCount());
    line = qMin(line, blocks - 1);
    const uint displayed = displayedLineCount();
    if (line >= displayed) {
        uint extra = type == PageBelow ? displayed : type == HalfPageBelow ? displayed >> 1 : 0;
        if (blocks <= extra + line)
            extra = blocks - 1 - line;
        QTextCursor cursor(doc->findBlockByNumber(int(line + extra)));
        setTextCursor(cursor);
        cursor.movePosition(QTextCursor::PreviousBlock, QTextCursor::MoveAnchor, int(extra));
        setTextCursor(cursor);
    } else {
        setTextCursor(QTextCursor(doc->findBlockByNumber(int(line))));
    }
    d->parenTimer.start(50);
}

void CodeEditor::markCurrentLine(bool mark)
{
    d->markedLine = mark ? textCursor().blockNumber() : -1;
    d->extraArea->update();
}

const CodeEditor::SyntaxFormatting &CodeEditor::syntaxFormatting() const
{
    return d->formatting;
}

void CodeEditor::setSyntaxFormatting(const SyntaxFormatting &formatting)
{
    d->formatting = formatting;
    updateBlockHighlight();
}

void CodeEditor::updateBlockHighlight()
{
    if (!d->formatting.highlightBlocks)
        d->highlightBlocks.open.clear();
    else
        d->cursorPositionChanged();
    d->updateExtraAreaWidth();
    update();
    viewport()->update();
    d->extraArea->update();
}

void CodeEditor::toggleBlockVisible(const QTextBlock &header)
{
    CodeBlockData *data = CodeDocument::blockData(header);
    if (data && isHeader(header)) {
        const bool fold = !data->isFolded();
        data->setFolded(fold);
        const unsigned int indent = data->foldingIndent();
        QTextBlock block = header.next();
        while (block.isValid() && indentOf(block) > indent) {
            if (fold) {
                block.setVisible(false);
                block.setLineCount(0);
                block = block.next();
                continue;
            }
            block.setVisible(true);
            block.setLineCount(qMax(block.layout()->lineCount(), 1));
            const CodeBlockData *nested = CodeDocument::blockData(block);
            if (nested && nested->isFolded() && isHeader(block)) {
                const unsigned int nestedIndent = nested->foldingIndent();
                block = block.next();
                while (block.isValid() && indentOf(block) > nestedIndent)
                    block = block.next();
            } else {
                block = block.next();
            }
        }
    }
    QAbstractTextDocumentLayout *documentLayout = QPlainTextEdit::document()->documentLayout();
    if (auto *layout = qobject_cast<QPlainTextDocumentLayout *>(documentLayout)) {
        layout->requestUpdate();
        // The scroll bars follow the line count.
        emit layout->documentSizeChanged(layout->documentSize());
    }
    d->extraArea->update();
}

void CodeEditor::setLineMarkIcon(const QIcon &icon)
{
    CodeEditorPrivate::lineMarkIcon = icon;
}

bool CodeEditor::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        auto *help = static_cast<QHelpEvent *>(event);
        if (QGuiApplication::keyboardModifiers() & Qt::ControlModifier) {
            QToolTip::hideText();
            return true;
        }
        const QTextCursor cursor = cursorForPosition(help->pos());
        const int column = cursor.positionInBlock();
        if (const CodeBlockData *data = CodeDocument::blockData(cursor.block()))
            for (const CodeBlockData::SyntaxMessage &message : data->syntaxMessages())
                if (message.start <= column && message.end >= column) {
                    QToolTip::showText(help->globalPos(), message.text, viewport());
                    return true;
                }
        QToolTip::hideText();
    } else if (event->type() == QEvent::ContextMenu) {
        auto *menu = static_cast<QContextMenuEvent *>(event);
        if (menu->reason() == QContextMenuEvent::Mouse && !textCursor().hasSelection())
            setTextCursor(cursorForPosition(menu->pos()));
    } else if (event->type() == QEvent::Leave) {
        d->clearLink();
        d->clearHover();
    }
    return QPlainTextEdit::viewportEvent(event);
}

void CodeEditor::paintEvent(QPaintEvent *event)
{
    QTextDocument *doc = QPlainTextEdit::document();
    auto *docLayout = qobject_cast<QPlainTextDocumentLayout *>(doc->documentLayout());
    if (!docLayout)
        return QPlainTextEdit::paintEvent(event);
    QPainter painter(viewport());
    const QPalette pal = palette();
    const QRect viewportRect = viewport()->rect();
    const int viewportWidth = viewportRect.width();
    QPointF offset = contentOffset();
    QRect area = event->rect();
    const qreal maximumWidth = docLayout->documentSize().width();
    painter.setBrushOrigin(offset);
    // Full-width selections stop at the right margin.
    const int maxX = int(offset.x() + qMax(qreal(viewportWidth), maximumWidth)
                         - doc->documentMargin());
    area.setRight(qMin(area.right(), maxX));
    painter.setClipRect(area);

    // 1. The nested block ranges.
    const CodeEditorPrivate::Ranges &ranges = d->highlightBlocks;
    if (d->formatting.paintBlockRanges && !ranges.open.isEmpty()) {
        const int n = ranges.open.size();
        const QColor base = d->formatting.blockRangeColor.isValid()
                                ? d->formatting.blockRangeColor
                                : pal.color(QPalette::Base);
        for (QTextBlock block = firstVisibleBlock(); block.isValid(); block = block.next()) {
            if (!block.isVisible())
                continue;
            const QRectF rect = blockBoundingGeometry(block).translated(offset);
            if (rect.top() > viewportRect.height() + 5)
                break;
            const int number = block.blockNumber();
            int depth = 0;
            for (int open : ranges.open)
                depth += open <= number;
            for (int close : ranges.close)
                depth -= close < number;
            for (int i = 0; depth >= 0 && i <= depth; ++i) {
                const qreal x = rect.x() + (i > 0 ? ranges.visualIndent.value(i - 1) : 0);
                const qreal right = viewportWidth - 8 * i;
                painter.fillRect(QRectF(x, rect.y(), right - x, rect.height()),
                                 rangeColor(base, i, n));
            }
        }
    }

    // 2. The blocks.
    QAbstractTextDocumentLayout::PaintContext context = getPaintContext();
    const QTextCursor cursor = textCursor();
    {
        // The user's selection and links draw last, over everything else.
        QVector<QAbstractTextDocumentLayout::Selection> first, last;
        const int count = context.selections.size();
        for (int i = 0; i < count; ++i) {
            const auto &selection = context.selections.at(i);
            const bool user = i == count - 1 && cursor.hasSelection();
            (user || isLinkFormat(selection.format) ? last : first).append(selection);
        }
        context.selections = first + last;
    }
    painter.setPen(context.palette.text().color());
    const bool editable = !isReadOnly();
    const bool cursorShown = editable || (textInteractionFlags() & Qt::TextSelectableByKeyboard);
    const QFontMetricsF metrics(doc->defaultFont());
    const qreal blankWidth = metrics.horizontalAdvance(QLatin1Char(' '));
    QTextBlock cursorBlock;
    QPointF cursorOffset;
    struct FoldMark
    {
        QRectF box;
        bool selected;
    };
    QVector<FoldMark> foldMarks;
    QPointF previewPos;
    qreal previewLineWidth = 0; // that of the header's lines
    bool preview = false;

    QTextBlock block = firstVisibleBlock();
    while (block.isValid()) {
        const QRectF rect = docLayout->blockBoundingRect(block).translated(offset);
        QTextLayout *layout = block.layout();
        if (!block.isVisible()) {
            offset.ry() += rect.height();
            block = block.next();
            continue;
        }
        if (rect.bottom() >= area.top() && rect.top() <= area.bottom()) {
            if (layout->font() != doc->defaultFont())
                layout->setFont(doc->defaultFont());
            const int blockPosition = block.position();
            const int blockLength = block.length();
            QVector<QTextLayout::FormatRange> selections;
            for (const auto &range : qAsConst(context.selections)) {
                const int start = range.cursor.selectionStart() - blockPosition;
                const int end = range.cursor.selectionEnd() - blockPosition;
                if (start < blockLength && end > 0 && end > start) {
                    selections.append({start, end - start, range.format});
                } else if (!range.cursor.hasSelection()
                           && range.format.hasProperty(QTextFormat::FullWidthSelection)
                           && block.contains(range.cursor.position())) {
                    const QTextLine line =
                        layout->lineForTextPosition(range.cursor.position() - blockPosition);
                    QTextLayout::FormatRange full{line.textStart(), line.textLength(),
                                                  range.format};
                    if (full.start + full.length == blockLength - 1)
                        ++full.length; // the line break
                    selections.append(full);
                }
            }

            const bool hasCursor = cursorShown && context.cursorPosition >= blockPosition
                                   && context.cursorPosition < blockPosition + blockLength;
            if (block == cursor.block()) {
                // 3. The current line.
                if (d->formatting.highlightLine) {
                    const QTextLine line = layout->lineForTextPosition(cursor.positionInBlock());
                    if (line.isValid())
                        painter.fillRect(QRectF(0, offset.y() + line.y(), viewportWidth,
                                                line.height()),
                                         d->formatting.lineColor);
                }
                cursorBlock = block;
                cursorOffset = offset;
            }
            // 4. Overwrite mode inverts the character under the cursor.
            if (hasCursor && overwriteMode()) {
                const int column = context.cursorPosition - blockPosition;
                const QTextLine line = layout->lineForTextPosition(column);
                if (line.isValid()) {
                    const qreal x = line.cursorToX(column);
                    QRectF box(offset.x() + x, offset.y() + line.y(), blankWidth, line.height());
                    if (column < blockLength - 1) {
                        const qreal right = line.cursorToX(column + 1);
                        if (block.text().at(column) == QLatin1Char('\t')) {
                            box.moveLeft(offset.x() + right - blankWidth);
                        } else {
                            box.setWidth(right - x);
                            QTextCharFormat inverted;
                            inverted.setForeground(pal.base());
                            selections.append({column, 1, inverted});
                        }
                    }
                    painter.fillRect(box, pal.text());
                }
            }

            layout->draw(&painter, offset, selections, area);

            // 6. The box of a folded block.
            const QTextBlock next = block.next();
            if (next.isValid() && !next.isVisible()) {
                const QRectF box = d->foldBoxRect(block);
                if (!box.isEmpty())
                    foldMarks.append({box, cursor.selectionStart() <= next.position()
                                               && cursor.selectionEnd() > next.position()});
            }
        }
        // The preview may reach into the painted area from a header above it.
        if (d->hoverFoldLine >= 0 && block.next().blockNumber() == d->hoverFoldLine
            && !block.next().isVisible()
            && layout->lineCount() > 0) {
            preview = true;
            previewLineWidth = layout->lineAt(0).width();
            previewPos = QPointF(offset.x(), offset.y() + rect.height() + 1);
        }
        offset.ry() += rect.height();
        if (offset.y() > viewportRect.height())
            break;
        block = block.next();
    }

    // 5. Below the end of the document.
    if (backgroundVisible() && !block.isValid() && offset.y() <= area.bottom()
        && (centerOnScroll() || verticalScrollBar()->maximum() == verticalScrollBar()->minimum()))
        painter.fillRect(QRect(QPoint(area.left(), int(offset.y())), area.bottomRight()),
                         pal.window());

    for (const FoldMark &mark : qAsConst(foldMarks)) {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(0.5, 0.5);
        painter.setPen(Qt::gray);
        painter.setBrush(mark.selected ? pal.highlight() : Qt::NoBrush);
        painter.drawRoundedRect(mark.box, 2.0, 2.0);
        painter.setPen(mark.selected ? pal.color(QPalette::HighlightedText)
                                     : pal.color(QPalette::Text));
        painter.drawText(mark.box, Qt::AlignCenter, QStringLiteral("..."));
        painter.restore();
    }

    // 7. The text cursor.
    if (cursorBlock.isValid() && cursorShown && !overwriteMode()) {
        const int position = context.cursorPosition;
        QTextLayout *layout = cursorBlock.layout();
        if (position >= cursorBlock.position()
            && position < cursorBlock.position() + cursorBlock.length())
            layout->drawCursor(&painter, cursorOffset, position - cursorBlock.position(),
                               cursorWidth());
        else if (editable && position < -1 && !layout->preeditAreaText().isEmpty())
            layout->drawCursor(&painter, cursorOffset,
                               layout->preeditAreaPosition() - (position + 2), cursorWidth());
    }

    // 8. The preview of a folded block's content.
    const QTextBlock hidden = d->hoverFoldLine >= 0 ? doc->findBlockByNumber(d->hoverFoldLine)
                                                    : QTextBlock();
    if (preview && hidden.isValid() && !hidden.isVisible()) {
        const qreal margin = doc->documentMargin();
        QVector<QTextBlock> blocks;
        QSizeF size;
        for (QTextBlock b = hidden; b.isValid() && !b.isVisible(); b = b.next()) {
            QTextLayout *layout = b.layout();
            if (layout->lineCount() == 0) {
                // Laid out here as the document layout would, without making it visible.
                layout->setTextOption(doc->defaultTextOption());
                layout->setFont(doc->defaultFont());
                layout->beginLayout();
                qreal height = 0;
                for (QTextLine line = layout->createLine(); line.isValid();
                     line = layout->createLine()) {
                    line.setLeadingIncluded(true);
                    line.setLineWidth(previewLineWidth);
                    line.setPosition(QPointF(margin, height));
                    height += line.height();
                }
                layout->endLayout();
            }
            qreal width = 0;
            for (int i = 0; i < layout->lineCount(); ++i)
                width = qMax(width, layout->lineAt(i).naturalTextWidth());
            size.setWidth(qMax(size.width(), width + 2 * margin));
            size.rheight() += layout->boundingRect().height();
            blocks.append(b);
            if (previewPos.y() + size.height() > viewportRect.height())
                break;
        }
        painter.setClipRect(viewportRect);
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::gray);
        painter.setBrush(pal.base());
        painter.drawRoundedRect(QRectF(previewPos, size).translated(0.5, 0.5), 2.0, 2.0);
        painter.restore();
        QPointF at = previewPos;
        for (const QTextBlock &b : qAsConst(blocks)) {
            b.layout()->draw(&painter, at);
            at.ry() += b.layout()->boundingRect().height();
        }
    }
}

void CodeEditor::resizeEvent(QResizeEvent *event)
{
    QPlainTextEdit::resizeEvent(event);
    d->layoutExtraArea();
}

void CodeEditor::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::ApplicationFontChange || event->type() == QEvent::FontChange) {
        QFont font = d->extraArea->font();
        font.setPointSizeF(this->font().pointSizeF());
        d->extraArea->setFont(font);
        d->updateExtraAreaWidth();
        d->extraArea->update();
    }
}

void CodeEditor::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Insert && event->modifiers() == Qt::NoModifier) {
        setOverwriteMode(!overwriteMode());
        QPlainTextEdit::keyPressEvent(event);
        return;
    }
    viewport()->setCursor(Qt::BlankCursor);
    d->clearHover();

    QCompleter *completer = d->completer;
    if (completer->popup()->isVisible()) {
        switch (event->key()) {
        case Qt::Key_Escape:
            if (d->document)
                d->document->autoCompleteDone();
            event->ignore();
            return;
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            event->ignore();
            return;
        default:
            break;
        }
    }

    QPlainTextEdit::keyPressEvent(event);
    if ((event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) && event->text().isEmpty())
        return;

    QTextCursor cursor = textCursor();
    QString prefix;
    bool show = false;
    bool asked = false;
    const int key = event->key();
    switch (key) {
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Shift:
    case Qt::Key_Control:
        break;
    default:
        if (d->document) {
            show = asked = d->document->autoComplete(cursor, completer, key, prefix);
            setTextCursor(cursor);
        }
    }
    if (!asked) {
        QString line;
        for (const QChar c : cursor.block().text().left(cursor.positionInBlock()))
            if (!c.isSpace())
                line.append(c);
        QStringListModel *fit = nullptr;
        for (auto it = d->models.cbegin(); it != d->models.cend(); ++it) {
            const QString &ending = it.key();
            if (!line.endsWith(ending, Qt::CaseInsensitive))
                continue;
            const int before = line.size() - ending.size() - 1;
            if (before >= 0
                && (line.at(before).isLetterOrNumber() || line.at(before) == QLatin1Char('.')))
                continue;
            fit = it.value();
            break;
        }
        QTextCursor word = cursor;
        word.select(QTextCursor::WordUnderCursor);
        prefix = word.selectedText();
        const QString text = event->text();
        if (fit && (text.isEmpty() || !endOfWord.contains(text.back()))) {
            show = true;
            completer->setModel(fit);
        }
    }

    if (prefix != completer->completionPrefix())
        completer->setCompletionPrefix(prefix);
    if (show) {
        QRect rect = cursorRect();
        QAbstractItemView *popup = completer->popup();
        rect.setWidth(popup->sizeHintForColumn(0)
                      + popup->verticalScrollBar()->sizeHint().width());
        completer->complete(rect);
    } else {
        if (completer->popup()->isVisible())
            completer->popup()->hide();
        if (d->document)
            d->document->autoCompleteDone();
    }
}

void CodeEditor::keyReleaseEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Control)
        d->clearLink();
    QPlainTextEdit::keyReleaseEvent(event);
}

void CodeEditor::focusOutEvent(QFocusEvent *event)
{
    viewport()->setCursor(Qt::IBeamCursor);
    QPlainTextEdit::focusOutEvent(event);
}

void CodeEditor::leaveEvent(QEvent *event)
{
    d->clearLink();
    d->clearHover();
    QPlainTextEdit::leaveEvent(event);
}

void CodeEditor::mouseMoveEvent(QMouseEvent *event)
{
    viewport()->setCursor(Qt::IBeamCursor);
    if (event->buttons() == Qt::NoButton) {
        const QTextBlock header = d->foldBoxAt(event->pos());
        d->overFoldBox = header.isValid();
        if (d->overFoldBox) {
            viewport()->setCursor(Qt::PointingHandCursor);
            const int line = header.next().blockNumber();
            if (line != d->hoverFoldLine && line != d->pendingFoldLine) {
                d->pendingFoldLine = line;
                d->hoverTimer.start(40, d);
            }
        } else {
            d->clearHover();
        }
    }
    d->updateLink(event->pos(), event->modifiers());
    QPlainTextEdit::mouseMoveEvent(event);
}

void CodeEditor::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        const QTextBlock header = d->foldBoxAt(event->pos());
        if (header.isValid()) {
            toggleBlockVisible(header);
            d->clearHover();
            viewport()->setCursor(Qt::IBeamCursor);
            return;
        }
    }
    d->updateLink(event->pos(), event->modifiers());
    if (event->button() == Qt::LeftButton && d->link)
        d->linkPressed = true;
    QPlainTextEdit::mousePressEvent(event);
}

void CodeEditor::mouseReleaseEvent(QMouseEvent *event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers();
    if (d->linkPressed && (modifiers & Qt::ControlModifier) && !(modifiers & Qt::AltModifier)) {
        if (CodeLink *target = d->linkAt(cursorForPosition(event->pos()))) {
            if (target->open()) {
                d->clearLink();
                event->accept();
                return;
            }
        }
    }
    QPlainTextEdit::mouseReleaseEvent(event);
}

} // namespace Zorn
