#include "codefileeditor.h"
#include "codefileeditor_p.h"

#include <zornx/code/codedocument.h>
#include <zornx/code/codeeditor.h>
#include <zornx/code/codenodefile.h>
#include <zornx/code/textcodecs.h>
#include <zornx/codeedit/codeworkspace.h>
#include <zornx/core/interface.h>
#include <zornx/core/messages.h>
#include <zornx/editor/menu.h>

#include <QtGui/QClipboard>
#include <QtGui/QTextBlock>
#include <QtWidgets/QAction>
#include <QtWidgets/QApplication>
#include <QtWidgets/QTreeView>

namespace Zorn {

CodeFileEditorPrivate::CodeFileEditorPrivate(CodeFileEditor *editor) : QObject(editor) {}

QModelIndexList CodeFileEditorPrivate::selectedNodes(bool outermost) const
{
    if (!tree || !tree->selectionModel() || !tree->selectionModel()->hasSelection())
        return {};
    const QModelIndexList rows = tree->selectionModel()->selectedRows(0);
    if (!outermost)
        return rows;
    // Removing a node takes its children along: a selected child would go twice.
    QModelIndexList out;
    for (const QModelIndex &row : rows) {
        bool inner = false;
        for (QModelIndex up = row.parent(); up.isValid() && !inner; up = up.parent())
            inner = rows.contains(up);
        if (!inner)
            out.append(row);
    }
    return out;
}

void CodeFileEditorPrivate::onCustomContextMenu(const QPoint &point)
{
    menuIndex = tree->indexAt(point);
    if (!menuIndex.isValid() || !tree->selectionModel() ||
        !tree->selectionModel()->hasSelection())
        return;
    const bool canPaste = !QApplication::clipboard()->text().isEmpty();
    nodeActions[3]->setEnabled(canPaste);
    nodeActions[4]->setEnabled(canPaste);
    nodeMenu->exec(tree->viewport()->mapToGlobal(point));
}

void CodeFileEditorPrivate::deleteNode()
{
    const QModelIndexList rows = selectedNodes(true);
    if (rows.isEmpty() || !document)
        return;
    QList<CodeNode *> nodes;
    for (const QModelIndex &row : rows)
        nodes.append(document->nodeFromIndex(row));
    document->beginChange();
    for (CodeNode *node : qAsConst(nodes))
        node->remove(true);
    document->endChange();
}

void CodeFileEditorPrivate::copyNode()
{
    const QModelIndexList rows = selectedNodes(false);
    if (rows.isEmpty() || !document)
        return;
    QString text;
    document->beginChange();
    for (const QModelIndex &row : rows)
        text += document->nodeFromIndex(row)->code();
    document->endChange();
    // Node text comes from a text cursor: lines end in paragraph separators.
    text.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    if (!text.isEmpty())
        QApplication::clipboard()->setText(text);
}

void CodeFileEditorPrivate::cutNode()
{
    copyNode();
    deleteNode();
}

void CodeFileEditorPrivate::pasteBefore()
{
    if (document && menuIndex.isValid())
        document->insertBefore(document->nodeFromIndex(menuIndex),
                               QApplication::clipboard()->text(), false);
}

void CodeFileEditorPrivate::pasteAfter()
{
    if (document && menuIndex.isValid())
        document->insertAfter(document->nodeFromIndex(menuIndex),
                              QApplication::clipboard()->text(), false);
}

CodeFileEditor::CodeFileEditor(CodeWorkspace *workspace, const char *treeName)
    : workspace(workspace), d(new CodeFileEditorPrivate(this))
{
    if (treeName && interface) {
        Interface::ActionEntry entry;
        entry.kind = 12;
        entry.flags = 48;
        entry.receiver = this;
        entry.slot = "1selectedItem(QModelIndex)";
        d->tree = qobject_cast<QTreeView *>(interface->registerAction(treeName, entry));
    }
    if (d->tree) {
        d->nodeMenu = new Menu;
        void (CodeFileEditorPrivate::*const handlers[])() = {
            &CodeFileEditorPrivate::deleteNode, &CodeFileEditorPrivate::cutNode,
            &CodeFileEditorPrivate::copyNode, &CodeFileEditorPrivate::pasteBefore,
            &CodeFileEditorPrivate::pasteAfter};
        for (int i = 0; i < 5; ++i)
            d->nodeActions[i] = d->nodeMenu->addAction(QString(), d, handlers[i]);
        d->tree->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(d->tree, &QWidget::customContextMenuRequested, d,
                &CodeFileEditorPrivate::onCustomContextMenu);
    }
    retranslate();
}

CodeFileEditor::~CodeFileEditor()
{
    delete d->nodeMenu;
    delete d;
}

unsigned int CodeFileEditor::areas() const
{
    return 5;
}

CodeDocument *CodeFileEditor::document() const
{
    return d->document;
}

void CodeFileEditor::setCodeModel(QAbstractItemModel *model)
{
    if (d->tree)
        d->tree->setModel(model);
}

void CodeFileEditor::activate()
{
    FileEditor::activate();
    CodeEditor *editor = workspace->editor();
    connect(editor, &CodeEditor::currentLineChanged, this, &CodeFileEditor::currLineChanged,
            Qt::UniqueConnection);
    connect(editor, &CodeEditor::cursorChanged, this, &CodeFileEditor::cursorChanged,
            Qt::UniqueConnection);
    if (interface)
        interface->setWorkspace(workspace);
}

void CodeFileEditor::deactivate()
{
    FileEditor::deactivate();
    CodeEditor *editor = workspace->editor();
    disconnect(editor, &CodeEditor::currentLineChanged, this, &CodeFileEditor::currLineChanged);
    disconnect(editor, &CodeEditor::cursorChanged, this, &CodeFileEditor::cursorChanged);
    workspace->setDocument(nullptr);
    setCodeModel(nullptr);
}

void CodeFileEditor::retranslate()
{
    if (!d->nodeMenu)
        return;
    d->nodeActions[0]->setText(tr("Remove"));
    d->nodeActions[1]->setText(tr("Cut"));
    d->nodeActions[2]->setText(tr("Copy"));
    d->nodeActions[3]->setText(tr("Paste before"));
    d->nodeActions[4]->setText(tr("Paste after"));
}

void CodeFileEditor::setCurrentFile(ProjectFile *file)
{
    if (d->document)
        disconnect(d->document, &QTextDocument::modificationChanged, this, &FileEditor::modified);
    FileEditor::setCurrentFile(file);
    d->document = dynamic_cast<CodeDocument *>(file);
    if (!d->document)
        if (auto *nodeFile = dynamic_cast<CodeNodeFile *>(file))
            d->document = nodeFile->document();
    workspace->setDocument(d->document);
    if (d->document) {
        setCodeModel(d->document->model());
        connect(d->document, &QTextDocument::modificationChanged, this, &FileEditor::modified);
    }
}

void CodeFileEditor::cursorChanged(QPoint pos)
{
    if (!d->document || !interface)
        return;
    interface->setStatus(0, tr("Line: %1, Column: %2, Line count: %3")
                                .arg(pos.x() + 1)
                                .arg(pos.y() + 1)
                                .arg(d->document->lineCount()));
    const Messages *messages = d->document->messages();
    interface->setStatus(1, tr("Syntax error count: %1")
                                .arg(messages ? messages->count(Message::Error) : 0));
}

void CodeFileEditor::currLineChanged(int line)
{
    if (!d->document || !d->tree || !interface ||
        !interface->option(QStringLiteral("auto_expand_tree"), QVariant()).toBool())
        return;
    d->tree->collapseAll();
    const QModelIndex index = d->document->indexInLine(unsigned(line));
    if (QItemSelectionModel *selection = d->tree->selectionModel())
        selection->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    d->tree->setExpanded(index, true);
    d->tree->scrollTo(index, QAbstractItemView::EnsureVisible);
}

void CodeFileEditor::selectedItem(const QModelIndex &index)
{
    if (!active || !d->document)
        return;
    int line = 0;
    if (index.isValid()) {
        const CodeNode *node = d->document->nodeFromIndex(index);
        line = node->block().isValid() ? node->block().blockNumber() : node->lineNo();
    }
    CodeEditor *editor = workspace->editor();
    editor->setCurrentLine(uint(line), CodeEditor::PageBelow);
    editor->setFocus();
}

void CodeFileEditor::navigateTo(unsigned int line, unsigned int column)
{
    CodeEditor *editor = workspace->editor();
    editor->setCurrentLine(line, CodeEditor::HalfPageBelow);
    QTextCursor cursor = editor->textCursor();
    cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::MoveAnchor, int(column));
    editor->setTextCursor(cursor);
}

QList<ProjectFile::SearchResult> CodeFileEditor::find(const RegExp &expression,
                                                      unsigned int flags)
{
    CodeEditor *editor = workspace->editor();
    editor->setExtraSelections({});
    if (!d->document || expression.pattern().isEmpty())
        return {};
    d->document->setCursor(editor->textCursor());
    const QList<ProjectFile::SearchResult> results = d->document->search(expression, flags);
    if (results.isEmpty())
        return results;

    // Scroll half a page past the match first, so that it stands away from the edge.
    const ProjectFile::SearchResult &first = results.first();
    const int offset = int(editor->displayedLineCount() / 2);
    const int away = qBound(0, (flags & 1) ? first.line - offset : first.line + offset,
                            d->document->blockCount() - 1);
    QTextCursor cursor(d->document->findBlockByNumber(away));
    editor->setTextCursor(cursor);
    cursor.setPosition(d->document->findBlockByNumber(first.line).position() + first.position);
    cursor.setPosition(cursor.position() + first.length, QTextCursor::KeepAnchor);
    editor->setTextCursor(cursor);

    QList<QTextEdit::ExtraSelection> marks;
    for (int i = 1; i < results.size(); ++i) {
        const ProjectFile::SearchResult &result = results.at(i);
        QTextEdit::ExtraSelection mark;
        mark.cursor = QTextCursor(d->document);
        mark.cursor.setPosition(d->document->findBlockByNumber(result.line).position() +
                                result.position);
        mark.cursor.setPosition(mark.cursor.position() + result.length, QTextCursor::KeepAnchor);
        mark.format.setBackground(Qt::yellow);
        mark.format.setForeground(Qt::black);
        marks.append(mark);
    }
    editor->setExtraSelections(marks);
    return results;
}

void CodeFileEditor::replace(const QList<ProjectFile::SearchResult> &results,
                             const QString &text)
{
    if (!d->document)
        return;
    d->document->replace(results, text);
    CodeEditor *editor = workspace->editor();
    editor->setTextCursor(editor->textCursor());
}

void CodeFileEditor::cut()
{
    workspace->editor()->cut();
}

void CodeFileEditor::copy()
{
    workspace->editor()->copy();
}

void CodeFileEditor::paste()
{
    workspace->editor()->paste();
}

void CodeFileEditor::saveAsUTF8()
{
    if (!d->document)
        return;
    d->document->waitForSave();
    d->document->setCodecId(TextCodecs::index("UTF-8"));
    save();
}

} // namespace Zorn
