// A code editor in a window, as a host puts it up: a document of the sample engine module's format
// where one can type, fold sections (the boxes in the gutter), hold Control and click a
// file name to follow its link, complete "type =" and "facing =" values from the completion
// file, click the mark column to set a mark, and read the document's messages below.
//
//   code-editor [--screenshot FILE] [--preview]
//
// --screenshot sets up a few things to look at (a fold, a bracket match, a link under the
// pointer, a mark, an edited line), saves a picture of the window and quits; --preview also
// shows the content of the folded section under the pointer.

#include "samplecode.h"

#include <zornx/zornx.h>

#include <QtCore/QFile>
#include <QtCore/QTimer>
#include <QtGui/QPainter>
#include <QtGui/QTextBlock>
#include <QtWidgets/QApplication>
#include <QtWidgets/QListView>
#include <QtWidgets/QMainWindow>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStatusBar>

namespace {

// The document, with its messages shown as a list.
class Document : public Sample::CodeDocument
{
public:
    Zorn::Messages *messageList() const { return fileMessages(); }
};

// A bookmark: a small blue disc in the mark column.
class Bookmark : public Zorn::CodeMark
{
public:
    QIcon icon() const override
    {
        QPixmap pixmap(16, 16);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(QColor(40, 110, 220));
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(QRectF(3, 3, 10, 10));
        return QIcon(pixmap);
    }
    void setLine(int) override {}
    void setBlock(const QTextBlock &) override {}
    void removed() override { delete this; }
};

QString readResource(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int shotIndex = args.indexOf(QStringLiteral("--screenshot"));
    const QString screenshot = shotIndex > 0 ? args.value(shotIndex + 1) : QString();

    auto *document = new Document;
    document->fromString(readResource(QStringLiteral(":/sample.ini")));

    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Code editor"));
    auto *splitter = new QSplitter(Qt::Vertical);
    auto *editor = new Zorn::CodeEditor;
    editor->setFont(QFont(QStringLiteral("DejaVu Sans Mono"), 10));
    editor->setDocument(document);
    editor->setLineWrapMode(QPlainTextEdit::NoWrap);
    editor->completerFromFile(QStringLiteral(":/completer.xml"));
    Zorn::CodeEditor::SyntaxFormatting formatting = editor->syntaxFormatting();
    formatting.highlightBlocks = true;
    editor->setSyntaxFormatting(formatting);
    auto *messages = new QListView;
    messages->setModel(document->messageList());
    splitter->addWidget(editor);
    splitter->addWidget(messages);
    splitter->setSizes({420, 110});
    window.setCentralWidget(splitter);
    window.resize(720, 560);

    QObject::connect(editor, &Zorn::CodeEditor::cursorChanged, &window, [&window](QPoint pos) {
        window.statusBar()->showMessage(
            QStringLiteral("Line %1, column %2").arg(pos.x() + 1).arg(pos.y() + 1));
    });
    QObject::connect(editor, &Zorn::CodeEditor::markRequested, document, [document](int line) {
        const QList<Zorn::CodeMark *> marks = document->marksAt(line);
        if (marks.isEmpty())
            document->addMark(new Bookmark, line);
        else
            document->removeMark(marks.first());
    });
    Sample::Link::opener = [&window](Sample::Link *link) {
        window.statusBar()->showMessage(QStringLiteral("Opening \"%1\"").arg(link->target));
        return true;
    };

    window.show();
    QApplication::setActiveWindow(&window);
    editor->setFocus();
    if (screenshot.isEmpty())
        return app.exec();

    // Something of everything, then a picture.
    document->addMark(new Bookmark, 8);
    QTextCursor(document->findBlockByNumber(20)).insertText(QStringLiteral("; slower\n"));
    const QTextBlock info = document->findBlockByNumber(1);
    const QTextBlock sprites = document->findBlockByNumber(14);
    editor->toggleBlockVisible(info);
    const QTextBlock reach = document->findBlockByNumber(10);
    QTextCursor cursor(reach);
    cursor.movePosition(QTextCursor::EndOfBlock);
    editor->setTextCursor(cursor);
    editor->markCurrentLine(false);

    QTimer::singleShot(400, &window, [&] {
        QWidget *viewport = editor->viewport();
        QTextCursor at(sprites);
        at.setPosition(sprites.position() + 14);
        const QPoint pos = editor->cursorRect(at).center();
        QMouseEvent move(QEvent::MouseMove, pos, Qt::NoButton, Qt::NoButton,
                         Qt::ControlModifier);
        QApplication::sendEvent(viewport, &move);
        if (args.contains(QStringLiteral("--preview"))) {
            QTextCursor end(info);
            end.movePosition(QTextCursor::EndOfBlock);
            const QRect line = editor->cursorRect(end);
            const QPoint pos(line.right() + 20, line.center().y());
            QMouseEvent hover(QEvent::MouseMove, pos, Qt::NoButton,
                              Qt::NoButton, Qt::NoModifier);
            QApplication::sendEvent(viewport, &hover);
        }
    });
    QTimer::singleShot(900, &window, [&] {
        window.grab().save(screenshot);
        app.quit();
    });
    return app.exec();
}
