// What the code editor costs on screen: painting one viewport deep in a 100k-line file
// against near its top, scrolling page by page through the whole file, and a keystroke (key
// event to the end of the repaint it causes) in files of 1k and 100k lines. Offscreen, at a
// fixed size; prints the ratios itself, of processor time.

#include "testcode.h"

#include <zornx/code/codeeditor.h>

#include <QtGui/QTextBlock>
#include <QtWidgets/QApplication>
#include <QtWidgets/QScrollBar>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>

using ZornTest::TestCodeDocument;
using Zorn::CodeEditor;

namespace {

struct View
{
    TestCodeDocument *document = nullptr;
    std::unique_ptr<CodeEditor> editor;
};

// One shown editor per size, with its document, made once.
std::map<int, View> views;

View &viewOf(int lines)
{
    View &view = views[lines];
    if (!view.editor) {
        view.document = new TestCodeDocument;
        view.document->ownParser.recordLines = false;
        // A long first line: the widest line of the layout is then not the one being typed
        // in. (When the widest line shrinks, the plain text layout measures every line again,
        // which a keystroke in a real file rarely meets.)
        view.document->fromString(QStringLiteral("; ") + QString(300, QLatin1Char('-'))
                                  + QLatin1Char('\n') + ZornTest::generateCode(lines));
        view.editor = std::make_unique<CodeEditor>();
        view.editor->setFont(QFont(QStringLiteral("DejaVu Sans Mono"), 10));
        view.editor->setDocument(view.document);
        view.editor->setFixedSize(800, 600);
        view.editor->show();
        QApplication::setActiveWindow(view.editor.get());
        view.editor->setFocus();
        QApplication::processEvents();
    }
    return view;
}

void scrollTo(CodeEditor &editor, int line)
{
    editor.verticalScrollBar()->setValue(line);
    editor.repaint();
}

// One whole repaint of the editor (text and gutter) with the given line at the top.
void paintAt(benchmark::State &state)
{
    View &view = viewOf(100000);
    scrollTo(*view.editor, int(state.range(0)));
    for (auto _ : state)
        view.editor->repaint();
}

// Page down from the top to the end, painting each page; the time is per page.
void scrollPages(benchmark::State &state)
{
    View &view = viewOf(100000);
    QScrollBar *bar = view.editor->verticalScrollBar();
    long long pages = 0;
    for (auto _ : state) {
        scrollTo(*view.editor, 0);
        while (bar->value() < bar->maximum()) {
            bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
            view.editor->repaint();
            ++pages;
        }
    }
    state.counters["pages"] = double(pages) / double(state.iterations());
    state.SetItemsProcessed(pages);
}

// A digit typed into a value in the middle of the file and taken out again on the next
// iteration, each with the repaint that follows it.
void keystroke(benchmark::State &state)
{
    View &view = viewOf(int(state.range(0)));
    CodeEditor &editor = *view.editor;
    QTextBlock block = view.document->findBlockByNumber(view.document->blockCount() / 2);
    while (!block.text().startsWith(QLatin1String("value")))
        block = block.next();
    editor.setCurrentLine(uint(block.blockNumber()), CodeEditor::HalfPageBelow);
    QTextCursor cursor(block);
    cursor.setPosition(block.position() + block.text().indexOf(QLatin1Char('=')) + 3);
    editor.setTextCursor(cursor);
    QApplication::processEvents();
    bool typed = false;
    for (auto _ : state) {
        QKeyEvent press(QEvent::KeyPress, typed ? Qt::Key_Backspace : Qt::Key_7,
                        Qt::NoModifier, typed ? QString() : QStringLiteral("7"));
        QApplication::sendEvent(&editor, &press);
        QApplication::processEvents(); // the repaint that the keystroke asked for
        typed = !typed;
    }
    if (typed) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Backspace, Qt::NoModifier);
        QApplication::sendEvent(&editor, &press);
    }
}

BENCHMARK(paintAt)->Arg(10)->Arg(50000)->Unit(benchmark::kMicrosecond);
BENCHMARK(scrollPages)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(keystroke)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);

// Keeps the time per iteration of every run, by name, besides the usual table.
class RecordingReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred && run.iterations > 0) {
                // Processor time: the machine may be shared, and the wall clock then measures
                // the neighbours.
                seconds[run.benchmark_name()] = run.cpu_accumulated_time / double(run.iterations);
                const auto pages = run.counters.find("pages");
                if (pages != run.counters.end())
                    counts[run.benchmark_name()] = pages->second;
            }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> seconds;
    std::map<std::string, double> counts;
};

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RecordingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    auto time = [&](const char *name) {
        const auto it = reporter.seconds.find(name);
        return it == reporter.seconds.end() ? 0.0 : it->second;
    };
    const double paintTop = time("paintAt/10");
    const double paintMiddle = time("paintAt/50000");
    const double key1k = time("keystroke/1000");
    const double key100k = time("keystroke/100000");
    const double scroll = time("scrollPages/iterations:1");
    const double pages = reporter.counts["scrollPages/iterations:1"];
    std::printf("\nRatios\n");
    if (paintTop > 0 && paintMiddle > 0)
        std::printf("  paint at line 50,000 / at line 10:  %6.2f   (goal: at most 1.5)\n",
                    paintMiddle / paintTop);
    if (key1k > 0 && key100k > 0)
        std::printf("  keystroke 100k / 1k lines:          %6.2f   (goal: at most 2)\n",
                    key100k / key1k);
    if (scroll > 0 && pages > 0)
        std::printf("  scrolling page by page:             %6.3f ms per page over %.0f pages\n",
                    scroll * 1000.0 / pages, pages);

    for (auto &entry : views) {
        entry.second.editor.reset();
        entry.second.document->release();
    }
    benchmark::Shutdown();
    return 0;
}
