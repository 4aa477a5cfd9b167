#include "codeworkspace.h"
#include "codeworkspace_p.h"

#include <zornx/code/codeblockdata.h>
#include <zornx/code/codedocument.h>
#include <zornx/code/codeeditor.h>
#include <zornx/code/textcodecs.h>
#include <zornx/codeedit/snippets.h>
#include <zornx/core/engine.h>
#include <zornx/core/interface.h>
#include <zornx/core/messages.h>
#include <zornx/core/plaintranslator.h>
#include <zornx/editor/menu.h>
#include <zornx/project/parentproject.h>
#include <zornx/project/project.h>

#include <QtCore/QHash>
#include <QtGui/QStandardItemModel>
#include <QtGui/QTextBlock>
#include <QtWidgets/QAction>
#include <QtWidgets/QActionGroup>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QVBoxLayout>

namespace Zorn {

namespace {

const Translator &plain()
{
    return PlainTranslator::instance();
}

} // namespace

// ---- dialogs ----

EncDlg::EncDlg(int codecId, QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Encoding"));
    resize(314, 67);
    codePage = new QComboBox(this);
    codePage->setObjectName(QStringLiteral("codePage"));
    for (int i = 0; i < TextCodecs::count(); ++i)
        codePage->addItem(TextCodecs::displayName(i) + QStringLiteral(" - ") + TextCodecs::name(i));
    codePage->setCurrentIndex(codecId);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *column = new QVBoxLayout(this);
    column->addWidget(codePage);
    column->addWidget(buttons);
}

int EncDlg::codecId() const
{
    return codePage->currentIndex();
}

GoToDlg::GoToDlg(const Interface &iface, int line, QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Number"));
    setWindowIcon(iface.icon(QStringLiteral("code_goto")));
    setFixedSize(172, 82);
    number = new QSpinBox(this);
    number->setObjectName(QStringLiteral("number"));
    number->setRange(1, 99999999);
    number->setValue(line);
    number->selectAll();
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *column = new QVBoxLayout(this);
    column->addWidget(number);
    column->addWidget(buttons);
}

int GoToDlg::line() const
{
    return number->value();
}

// ---- private ----

CodeWorkspace::EditorDocumentHook CodeWorkspacePrivate::editorDocumentHook = nullptr;

CodeWorkspacePrivate::CodeWorkspacePrivate(CodeWorkspace *workspace, Interface &iface)
    : QObject(workspace), iface(iface)
{
    if (TextCodecs::count() == 0)
        TextCodecs::initialize();

    widget = new QWidget;
    toolBar = new QToolBar(widget);
    editor = new CodeEditor(widget);
    editor->setWordWrapMode(QTextOption::WrapMode(0));
    editor->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(editor, &QWidget::customContextMenuRequested, this,
            &CodeWorkspacePrivate::showContextMenu);
    noDocument = new QLabel(widget);
    QFont big = noDocument->font();
    big.setPointSize(12);
    noDocument->setFont(big);
    noDocument->setAlignment(Qt::AlignCenter);

    snippetBox = new QComboBox(toolBar);
    snippetBox->setMinimumWidth(200);
    snippetBox->setModel(SnippetManager::instance());
    connect(snippetBox, QOverload<int>::of(&QComboBox::activated), this,
            &CodeWorkspacePrivate::snipActivated);
    errorBox = new QComboBox(toolBar);
    errorBox->setSizePolicy(QSizePolicy::Expanding, errorBox->sizePolicy().verticalPolicy());
    emptyModel = new QStandardItemModel(this);
    errorBox->setModel(emptyModel);
    connect(errorBox, QOverload<int>::of(&QComboBox::activated), this,
            &CodeWorkspacePrivate::errorActivated);

    auto *column = new QVBoxLayout;
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(toolBar);
    column->addWidget(editor);
    column->addWidget(noDocument);
    layout = new QHBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(column);
    editor->hide();

    const Translator &texts = plain();
    QHash<QByteArray, QAction *> made;
    auto add = [&](const char *name, int id, const char *slot) {
        QAction *action =
            iface.addAction(name, texts, id, QString::fromLatin1(name), -1, false, this, slot);
        made.insert(name, action);
        return action;
    };
    codeMenu = new Menu(widget);
    codeMenu->addAction(add("code_goto", 95, SLOT(goToLine())));
    codeMenu->addAction(add("code_prev_error", 96, SLOT(prevError())));
    codeMenu->addAction(add("code_next_error", 97, SLOT(nextError())));
    codeMenu->addAction(add("code_prev_deprecation", 98, SLOT(prevDepr())));
    codeMenu->addAction(add("code_next_deprecation", 99, SLOT(nextDepr())));
    codeMenu->addSeparator();
    codeMenu->addAction(add("code_comment", 100, SLOT(comment())));
    codeMenu->addAction(add("code_fold_all", 101, SLOT(foldAll())));
    codeMenu->addAction(add("code_unfold_all", 102, SLOT(unfoldAll())));
    codeMenu->addSeparator();
    codeMenu->addAction(add("code_auto_indent", 103, SLOT(autoIndent())));
    codeMenu->addAction(add("code_auto_format", 104, SLOT(autoFormat())));

    toolBar->addWidget(snippetBox);
    toolBar->addAction(add("code_snippet_insert", 91, SLOT(snipInsert())));
    toolBar->addAction(add("code_snippet_new", 92, SLOT(snipNew())));
    toolBar->addAction(add("code_snippet_edit", 93, SLOT(snipEdit())));
    toolBar->addWidget(errorBox);

    encodingMenu = new Menu(widget);
    encodingGroup = new QActionGroup(this);
    encodingGroup->setExclusive(true);
    for (int i = 0; i < TextCodecs::count(); ++i) {
        auto *action = new QAction(TextCodecs::displayName(i) + QLatin1Char('\t') +
                                       TextCodecs::aliases(i),
                                   encodingGroup);
        action->setToolTip(TextCodecs::languages(i));
        action->setObjectName(QString::number(i));
        action->setCheckable(true);
        encodingMenu->addAction(action);
    }
    connect(encodingGroup, &QActionGroup::triggered, this, &CodeWorkspacePrivate::encTriggered);

    // Checkable: the state arrives through toggled(bool), which a host's triggered()
    // connection could not carry.
    toolBarAction = iface.addAction("view_code_bar", texts, 81, QStringLiteral("view_code_bar"),
                                    -1, true, nullptr, nullptr);
    connect(toolBarAction, &QAction::toggled, this, &CodeWorkspacePrivate::showTextBar);
    made.insert("view_code_bar", toolBarAction);

    if (Menu *edit = iface.menu("edit")) {
        edit->addSeparator();
        edit->addMenu(codeMenu);
        edit->addMenu(encodingMenu);
    }
    if (Menu *view = iface.menu("view")) {
        view->addSeparator();
        view->addAction(toolBarAction);
    }
    for (const char *name : {"view_code_bar", "code_goto", "code_next_error", "code_prev_error",
                             "code_next_deprecation", "code_prev_deprecation", "code_comment"}) {
        Interface::ActionEntry entry;
        entry.kind = 0;
        entry.flags = 16;
        entry.action = made.value(name);
        iface.registerAction(name, entry);
    }
    toolBarAction->setEnabled(false);
    codeMenu->setEnabled(false);
    encodingMenu->setEnabled(false);
}

CodeWorkspacePrivate::~CodeWorkspacePrivate()
{
    if (widget) {
        editor->setDocument(nullptr);
        delete widget;
    }
}

CodeDocument *CodeWorkspacePrivate::writableDocument() const
{
    return editor->isReadOnly() ? nullptr : editor->document();
}

QString CodeWorkspacePrivate::dataDirectory() const
{
    Engine *engine = iface.currentEngine();
    return engine ? iface.engineDataPath() + engine->basePath() : QString();
}

void CodeWorkspacePrivate::showEncoding()
{
    CodeDocument *document = editor->document();
    if (!document)
        return;
    const QList<QAction *> actions = encodingGroup->actions();
    if (QAction *action = actions.value(document->codecId()))
        action->setChecked(true);
    iface.setStatus(2, plain().text(105) +
                           QStringLiteral(": %1").arg(document->codecName()));
}

void CodeWorkspacePrivate::changeCodec(int id)
{
    CodeDocument *document = editor->document();
    if (!document)
        return;
    document->waitForSave();
    document->setCodecId(id);
    if (document->fileExists() &&
        Interface::yesNoOption(plain().text(79), plain().text(80),
                               QStringLiteral("showmsg_enc_reload"), 0, Interface::Yes))
        document->reload();
    showEncoding();
}

void CodeWorkspacePrivate::encTriggered(QAction *action)
{
    changeCodec(action->objectName().toInt());
}

void CodeWorkspacePrivate::showTextBar(bool checked)
{
    toolBar->setVisible(checked);
    iface.setOption(QStringLiteral("show_code_bar"), toolBarAction->isChecked());
}

void CodeWorkspacePrivate::goToLine()
{
    CodeDocument *document = writableDocument();
    if (!document)
        return;
    GoToDlg dialog(iface, editor->textCursor().blockNumber() + 1, iface.mainWidget());
    if (dialog.exec() != QDialog::Accepted)
        return;
    const int n = dialog.line();
    int target = n - 1;
    if (n > document->blockCount()) {
        if (QMessageBox::question(iface.mainWidget(), plain().text(95),
                                  QStringLiteral("Invalid line! Do you want go to the last line?"),
                                  QMessageBox::Yes | QMessageBox::No,
                                  QMessageBox::Yes) != QMessageBox::Yes)
            return;
        target = document->blockCount() - 1;
    }
    editor->setCurrentLine(uint(target), CodeEditor::PageBelow);
}

void CodeWorkspacePrivate::findMessage(int type, bool forward)
{
    if (!writableDocument())
        return;
    QTextCursor cursor = editor->textCursor();
    QTextBlock block = cursor.block();
    const int column = cursor.position() - block.position();
    auto search = [type](const QTextBlock &in, auto accept) -> int {
        if (const CodeBlockData *data = CodeDocument::blockData(in))
            for (const CodeBlockData::SyntaxMessage &message : data->syntaxMessages())
                if (message.type == type && accept(message))
                    return message.start;
        return -1;
    };
    int start = -1;
    if (forward) {
        start = search(block, [column](const CodeBlockData::SyntaxMessage &m) {
            return m.start >= column + 1;
        });
        while (start < 0 && (block = block.next()).isValid())
            start = search(block, [](const CodeBlockData::SyntaxMessage &m) {
                return m.start >= 0;
            });
    } else {
        start = search(block, [column](const CodeBlockData::SyntaxMessage &m) {
            return m.end < column;
        });
        while (start < 0 && (block = block.previous()).isValid()) {
            const int length = block.length();
            start = search(block, [length](const CodeBlockData::SyntaxMessage &m) {
                return m.end < length;
            });
        }
    }
    if (start < 0)
        return;
    cursor.setPosition(block.position() + start);
    editor->setTextCursor(cursor);
}

void CodeWorkspacePrivate::prevError()
{
    findMessage(0, false);
}

void CodeWorkspacePrivate::nextError()
{
    findMessage(0, true);
}

void CodeWorkspacePrivate::prevDepr()
{
    findMessage(1, false);
}

void CodeWorkspacePrivate::nextDepr()
{
    findMessage(1, true);
}

void CodeWorkspacePrivate::errorActivated(int index)
{
    CodeDocument *document = editor->document();
    const auto *messages = qobject_cast<const Messages *>(errorBox->model());
    if (!document || !messages || index < 0)
        return;
    const Message message = messages->at(unsigned(index), Message::All);
    const QTextBlock block = document->findBlockByNumber(int(message.line));
    if (!block.isValid())
        return;
    QTextCursor cursor = editor->textCursor();
    cursor.setPosition(qMin(block.position() + int(message.column),
                            block.position() + block.length() - 1));
    editor->setTextCursor(cursor);
    editor->setFocus();
}

void CodeWorkspacePrivate::comment()
{
    CodeDocument *document = writableDocument();
    if (!document)
        return;
    const Project *project = document->project();
    const ParentProject *parent = project ? project->parent() : nullptr;
    const Engine *engine = parent ? parent->engine() : nullptr;
    const QString marker = engine ? engine->queryString(EnginePrivate::LineComment, 0) : QString();
    if (marker.isEmpty())
        return;
    QTextCursor cursor = editor->textCursor();
    const int start = cursor.selectionStart();
    int end = cursor.selectionEnd();
    QTextBlock block = document->findBlock(start);
    const bool uncomment = block.text().startsWith(marker);
    cursor.beginEditBlock();
    for (; block.isValid() && block.position() < end; block = block.next()) {
        QTextCursor at(block);
        if (!uncomment) {
            at.insertText(marker);
            end += marker.length();
        } else if (block.text().startsWith(marker)) {
            at.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor, marker.length());
            at.removeSelectedText();
            end -= marker.length();
        }
    }
    cursor.endEditBlock();
    editor->setTextCursor(cursor);
}

void CodeWorkspacePrivate::foldAll()
{
    CodeDocument *document = editor->document();
    if (!document)
        return;
    unsigned int lastIndent = 0;
    QTextBlock previous;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        const CodeBlockData *data = CodeDocument::blockData(block);
        if (!data)
            continue;
        if (block.isVisible() && data->foldingIndent() > lastIndent && previous.isValid()) {
            const CodeBlockData *header = CodeDocument::blockData(previous);
            if (header && !header->isFolded())
                editor->toggleBlockVisible(previous);
        }
        lastIndent = data->foldingIndent();
        previous = block;
    }
}

void CodeWorkspacePrivate::unfoldAll()
{
    CodeDocument *document = editor->document();
    if (!document)
        return;
    QTextBlock previous;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        const CodeBlockData *data = CodeDocument::blockData(block);
        if (!data)
            continue;
        const CodeBlockData *header = previous.isValid() ? CodeDocument::blockData(previous)
                                                         : nullptr;
        if (!block.isVisible() && data->foldingIndent() == 1 && header &&
            header->foldingIndent() == 0 && header->isFolded())
            editor->toggleBlockVisible(previous);
        previous = block;
    }
}

void CodeWorkspacePrivate::autoIndent()
{
    if (CodeDocument *document = writableDocument()) {
        const QTextCursor cursor = editor->textCursor();
        document->formatLines(document->findBlock(cursor.selectionStart()).blockNumber(),
                              document->findBlock(cursor.selectionEnd()).blockNumber(), true);
    }
}

void CodeWorkspacePrivate::autoFormat()
{
    if (CodeDocument *document = writableDocument()) {
        const QTextCursor cursor = editor->textCursor();
        document->formatLines(document->findBlock(cursor.selectionStart()).blockNumber(),
                              document->findBlock(cursor.selectionEnd()).blockNumber(), false);
    }
}

void CodeWorkspacePrivate::snipInsert()
{
    snipActivated(snippetBox->currentIndex());
}

void CodeWorkspacePrivate::snipActivated(int index)
{
    if (!writableDocument() || index < 0)
        return;
    QString text = SnippetManager::instance()->text(&iface, index);
    if (text.isEmpty())
        return;
    static const QString marker = QStringLiteral("CURSOR");
    const int place = text.indexOf(marker);
    text.remove(marker);
    editor->insertPlainText(text);
    if (place >= 0) {
        QTextCursor cursor = editor->textCursor();
        cursor.movePosition(QTextCursor::PreviousCharacter, QTextCursor::MoveAnchor,
                            text.length() - place);
        editor->setTextCursor(cursor);
    }
    editor->setFocus();
}

void CodeWorkspacePrivate::snipNew()
{
    SnipDlg dialog(&iface, editor->textCursor().selectedText().replace(QChar::ParagraphSeparator,
                                                                       QLatin1Char('\n')));
    dialog.exec();
}

void CodeWorkspacePrivate::snipEdit()
{
    const int row = snippetBox->currentIndex();
    if (row < 0 || row >= SnippetManager::instance()->rowCount())
        return;
    SnipDlg dialog(&iface, dataDirectory() + QStringLiteral("/snippets/") +
                               SnippetManager::instance()->name(row) + QStringLiteral(".xml"));
    dialog.exec();
}

void CodeWorkspacePrivate::showContextMenu(QPoint point)
{
    QMenu *menu = editor->createStandardContextMenu();
    menu->addSeparator();
    menu->addMenu(codeMenu);
    menu->exec(editor->viewport()->mapToGlobal(point));
    delete menu;
}

void CodeWorkspacePrivate::applyFont(const QFont &font)
{
    editor->setFont(font);
    if (CodeDocument *document = editor->document())
        document->setDefaultFont(font);
    if (editorDocumentHook)
        if (Editor *current = iface.currentEditor())
            if (QTextDocument *text = editorDocumentHook(current))
                text->setDefaultFont(font);
}

// ---- workspace ----

CodeWorkspace::CodeWorkspace(Interface &iface) : d(new CodeWorkspacePrivate(this, iface))
{
    retranslate();
}

CodeWorkspace::~CodeWorkspace()
{
    delete d;
}

void CodeWorkspace::release()
{
    delete this;
}

const char *CodeWorkspace::name() const
{
    return "code";
}

QWidget *CodeWorkspace::widget() const
{
    return d->widget;
}

CodeEditor *CodeWorkspace::editor() const
{
    return d->editor;
}

const Interface &CodeWorkspace::interfaceObject() const
{
    return d->iface;
}

void CodeWorkspace::setEditorDocumentHook(EditorDocumentHook hook)
{
    CodeWorkspacePrivate::editorDocumentHook = hook;
}

void CodeWorkspace::addWidget(QWidget *widget)
{
    d->layout->addWidget(widget);
}

void CodeWorkspace::setDocument(CodeDocument *document)
{
    const Messages *messages = document ? document->messages() : nullptr;
    d->errorBox->setModel(messages ? const_cast<Messages *>(messages)
                                   : static_cast<QAbstractItemModel *>(d->emptyModel));
    if (CodeDocument *old = d->editor->document()) {
        const CodeEditor::LinePos pos = d->editor->currentLine();
        old->setObjectName(
            QStringLiteral("%1,%2,%3").arg(pos.line).arg(pos.column).arg(pos.scroll));
    }
    d->editor->setDocument(document);
    if (document) {
        QString place = document->objectName();
        if (place.isEmpty())
            place = QStringLiteral("0,0,0");
        const QStringList parts = place.split(QLatin1Char(','));
        if (parts.size() == 3) {
            CodeEditor::LinePos pos;
            pos.line = parts.at(0).toInt();
            pos.column = parts.at(1).toInt();
            pos.scroll = parts.at(2).toInt();
            d->editor->setCurrentLine(pos);
        }
        d->editor->setFocus();
        d->showEncoding();
    }
    d->editor->setVisible(document);
    d->noDocument->setVisible(!document);
}

void CodeWorkspace::engineSwitched(bool enabled)
{
    if (!enabled)
        return;
    const QString dir = d->dataDirectory();
    if (dir.isEmpty())
        return;
    d->editor->completerFromFile(dir + QStringLiteral("/completer.xml"));
    SnippetManager::instance()->load(dir + QStringLiteral("/snippets"));
}

void CodeWorkspace::activate()
{
    Workspace::activate();
    d->toolBar->setVisible(d->toolBarAction->isChecked());
    const QVariant shown = d->iface.option(QStringLiteral("show_code_bar"), QVariant());
    d->toolBarAction->setChecked(shown.toBool());
    d->toolBarAction->setEnabled(true);
    d->codeMenu->setEnabled(true);
    d->encodingMenu->setEnabled(true);
}

void CodeWorkspace::deactivate()
{
    Workspace::deactivate();
    d->toolBar->setVisible(d->toolBarAction->isChecked());
    d->toolBarAction->setEnabled(false);
    d->codeMenu->setEnabled(false);
    d->encodingMenu->setEnabled(false);
}

void CodeWorkspace::reconfig()
{
    Interface &iface = d->iface;
    d->toolBar->setIconSize(QSize(16, 16));
    CodeEditor::SyntaxFormatting formatting = d->editor->syntaxFormatting();
    const CodeEditor::SyntaxFormatting defaults;
    auto flag = [&iface](const char *name, bool fallback) {
        return iface.option(QString::fromLatin1(name), fallback).toBool();
    };
    formatting.lineNumbers = flag("code_line_numbers", defaults.lineNumbers);
    formatting.highlightLine = flag("code_highlight_line", defaults.highlightLine);
    formatting.highlightBlocks = flag("code_highlight_blocks", defaults.highlightBlocks);
    formatting.foldingMarkers = flag("code_folding_markers", defaults.foldingMarkers);
    formatting.parenMatching = flag("code_paren_matching", defaults.parenMatching);
    const QColor line = iface.colorOption(QStringLiteral("line"));
    if (line.isValid())
        formatting.lineColor = line;
    const QColor range = iface.colorOption(QStringLiteral("block_range"));
    if (range.isValid())
        formatting.blockRangeColor = range;
    const QColor parenRange = iface.colorOption(QStringLiteral("paren_range"));
    if (parenRange.isValid())
        formatting.parenRangeFormat.setBackground(parenRange);
    const QTextCharFormat paren = iface.formatOption(QStringLiteral("paren"));
    if (paren.isValid() && !paren.properties().isEmpty())
        formatting.parenFormat = paren;
    d->editor->setSyntaxFormatting(formatting);

    const QColor background = iface.colorOption(QStringLiteral("background"));
    const QColor foreground = iface.colorOption(QStringLiteral("foreground"));
    if (background.isValid() && foreground.isValid())
        d->editor->setStyleSheet(
            QStringLiteral("QPlainTextEdit { background-color: %1; color: %2; }")
                .arg(background.name(), foreground.name()));
    zoomActual();
}

void CodeWorkspace::retranslate()
{
    const Translator &texts = plain();
    d->codeMenu->setTitle(texts.text(94));
    d->encodingMenu->setTitle(texts.text(105));
    d->snippetBox->setToolTip(texts.text(90));
    d->noDocument->setText(texts.text(78));
    d->toolBarAction->setText(texts.text(81));
}

void CodeWorkspace::statusClicked()
{
    CodeDocument *document = d->editor->document();
    if (document) {
        EncDlg dialog(document->codecId(), d->iface.mainWidget());
        if (dialog.exec() == QDialog::Accepted)
            d->changeCodec(dialog.codecId());
    }
    d->showEncoding();
}

void CodeWorkspace::zoomActual()
{
    const Interface &iface = d->iface;
    const QTextCharFormat foreground = iface.formatOption(QStringLiteral("foreground"));
    QFont font(iface.option(QStringLiteral("font_name"), QStringLiteral("Courier")).toString(),
               iface.option(QStringLiteral("font_size"), 10).toInt());
    font.setFixedPitch(true);
    font.setStyleHint(QFont::Monospace, QFont::PreferDefault);
    font.setWeight(foreground.fontWeight());
    font.setItalic(foreground.fontItalic());
    d->applyFont(font);
}

void CodeWorkspace::zoomFit()
{
    CodeDocument *document = d->editor->document();
    if (!document)
        return;
    QTextBlock widest;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next())
        if (!widest.isValid() || block.length() > widest.length())
            widest = block;
    QFont font = d->editor->font();
    const int textWidth = QFontMetrics(font).horizontalAdvance(widest.text());
    if (textWidth == 0)
        return;
    const QRect area = d->editor->geometry();
    font.setPointSize(font.pointSize() * (area.right() - area.left() - 49) / textWidth);
    font.setFamily(
        d->iface.option(QStringLiteral("font_name"), QStringLiteral("Courier")).toString());
    d->applyFont(font);
}

void CodeWorkspace::zoomIn()
{
    QFont font = d->editor->font();
    font.setPointSize(font.pointSize() + 2);
    d->applyFont(font);
}

void CodeWorkspace::zoomOut()
{
    QFont font = d->editor->font();
    font.setPointSize(font.pointSize() - 2);
    d->applyFont(font);
}

} // namespace Zorn
