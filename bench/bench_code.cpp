// What typing costs in a code document: one keystroke in the middle of files of 1k, 10k and
// 100k lines, against a full reparse of the same files, measured in one run; and the heap
// over 10k edits that make and drop nodes. Prints the ratios itself.

#include "testcode.h"

#include <zornx/code/codenode.h>

#include <QtCore/QMap>
#include <QtGui/QAbstractTextDocumentLayout>
#include <QtWidgets/QApplication>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>

using ZornTest::TestCodeDocument;

namespace {

// One document per size, parsed once; a reparse or a keystroke leaves it as it was. They go
// before the application object does.
std::map<int, std::unique_ptr<TestCodeDocument>> documents;

TestCodeDocument &documentOf(int lines)
{
    std::unique_ptr<TestCodeDocument> &doc = documents[lines];
    if (!doc) {
        doc = std::make_unique<TestCodeDocument>();
        doc->ownParser.recordLines = false;
        // A long first line, laid out as a view would: the widest line of the layout is then
        // not the one being typed in. (When the widest line shrinks, the plain text layout
        // measures every line of the document again; that is the widget's cost, not the
        // parse's, and no view meets it on every keystroke.)
        doc->setPlainText(QStringLiteral("; ") + QString(300, QLatin1Char('-')) + QLatin1Char('\n')
                          + ZornTest::generateCode(lines));
        doc->documentLayout()->blockBoundingRect(doc->firstBlock());
    }
    return *doc;
}

// A position inside the number of a value line in the middle of the file.
int middlePosition(TestCodeDocument &doc)
{
    QTextBlock block = doc.findBlockByNumber(doc.blockCount() / 2);
    while (!block.text().startsWith(QLatin1String("value")))
        block = block.next();
    return block.position() + block.text().indexOf(QLatin1Char('=')) + 3;
}

// Types a digit into the number, and takes it out again on the next iteration: each
// iteration is one keystroke, and the text stays as it was.
void keystroke(benchmark::State &state)
{
    TestCodeDocument &doc = documentOf(int(state.range(0)));
    const int position = middlePosition(doc);
    QTextCursor cursor(&doc);
    doc.ownParser.resetCounts();
    bool typed = false;
    for (auto _ : state) {
        cursor.setPosition(position);
        if (typed)
            cursor.deleteChar();
        else
            cursor.insertText(QStringLiteral("7"));
        typed = !typed;
    }
    if (typed) {
        cursor.setPosition(position);
        cursor.deleteChar();
    }
    state.counters["lines parsed per keystroke"] =
        double(doc.ownParser.calls) / double(state.iterations());
}

void fullReparse(benchmark::State &state)
{
    TestCodeDocument &doc = documentOf(int(state.range(0)));
    for (auto _ : state)
        doc.reparse();
}

BENCHMARK(keystroke)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(fullReparse)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// Keeps the time per iteration of every run, by name, besides the usual table.
class RecordingReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred && run.iterations > 0)
                seconds[run.benchmark_name()] = run.real_accumulated_time / double(run.iterations);
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> seconds;
};

void printRatios(const std::map<std::string, double> &seconds)
{
    auto time = [&](const char *name) {
        const auto it = seconds.find(name);
        return it == seconds.end() ? 0.0 : it->second;
    };
    const double key1k = time("keystroke/1000");
    const double key10k = time("keystroke/10000");
    const double key100k = time("keystroke/100000");
    const double full100k = time("fullReparse/100000");
    if (key1k <= 0 || key100k <= 0 || full100k <= 0) {
        std::printf("\nRatios: not every benchmark ran.\n");
        return;
    }
    std::printf("\nRatios\n");
    std::printf("  keystroke 10k / 1k lines:           %8.2f\n", key10k / key1k);
    std::printf("  keystroke 100k / 1k lines:          %8.2f   (goal: at most 2)\n",
                key100k / key1k);
    std::printf("  full reparse / keystroke, 1k:       %8.0f\n", time("fullReparse/1000") / key1k);
    std::printf("  full reparse / keystroke, 10k:      %8.0f\n",
                time("fullReparse/10000") / key10k);
    std::printf("  full reparse / keystroke, 100k:     %8.0f   (goal: at least 1000)\n",
                full100k / key100k);
}

// Bytes in use from malloc, in the heap and in chunks of their own (large blocks are mapped
// apart, and glibc moves that threshold as it goes).
size_t heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// 10k edits that each make and drop nodes: a key renamed (a new value node), a value line
// turned into a header and back (a group made, values adopted and given back), a line
// deleted and written again (a block record and its node go and come). Returns the growth
// of the heap after a warm-up of 100 edits; without a parser the same edits give the
// baseline of the text document alone.
long long measureHeap(bool parse)
{
    TestCodeDocument doc;
    doc.ownParser.recordLines = false;
    if (!parse)
        doc.setParser(nullptr);
    doc.setUndoRedoEnabled(false); // the undo history would grow by design
    doc.setPlainText(ZornTest::generateCode(10000));
    const int first = 5003; // a value line in the middle
    auto lineText = [&](int number) { return doc.findBlockByNumber(number).text(); };
    auto replaceLine = [&](int number, const QString &text) {
        const QTextBlock block = doc.findBlockByNumber(number);
        QTextCursor cursor(&doc);
        cursor.setPosition(block.position());
        cursor.setPosition(block.position() + block.length() - 1, QTextCursor::KeepAnchor);
        cursor.insertText(text);
    };

    std::printf("\nHeap over 10k edits, 10k-line file, undo off, %s\n",
                parse ? "parsed" : "no parser (baseline)");
    std::printf("  %6s %14s %16s\n", "edits", "heap in use", "node pool growth");
    const quint64 poolStart = Zorn::CodeNode::allocatedBytes();
    size_t afterWarmUp = 0;
    for (int edit = 0; edit <= 10000; ++edit) {
        if (edit == 100)
            afterWarmUp = heapInUse();
        if (edit % 2000 == 0 || edit == 100)
            std::printf(
                "  %6d %14zu %16llu\n", edit, heapInUse(),
                static_cast<unsigned long long>(Zorn::CodeNode::allocatedBytes() - poolStart));
        if (edit == 10000)
            break;
        const int number = first + (edit % 7);
        switch (edit % 3) {
        case 0: { // rename the key, and back on the next round
            const QString text = lineText(number);
            replaceLine(number,
                        text.startsWith(QLatin1Char('x')) ? text.mid(1) : QLatin1Char('x') + text);
            break;
        }
        case 1: { // a header for a moment
            const QString text = lineText(number);
            replaceLine(number, QStringLiteral("[Info]"));
            replaceLine(number, text);
            break;
        }
        default: { // delete the line and write it again
            const QString text = lineText(number);
            const QTextBlock block = doc.findBlockByNumber(number);
            QTextCursor cursor(&doc);
            cursor.setPosition(block.position());
            cursor.setPosition(block.position() + block.length(), QTextCursor::KeepAnchor);
            cursor.removeSelectedText();
            cursor.insertText(text + QLatin1Char('\n'));
            break;
        }
        }
    }
    const long long growth =
        static_cast<long long>(heapInUse()) - static_cast<long long>(afterWarmUp);
    std::printf("  growth after the first 100 edits: %lld bytes\n", growth);
    return growth;
}

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
    printRatios(reporter.seconds);
    documents.clear();
    const long long parsed = measureHeap(true);
    const long long baseline = measureHeap(false);
    std::printf("\nHeap growth over 10k edits, parsed less baseline: %lld bytes\n",
                parsed - baseline);
    benchmark::Shutdown();
    return 0;
}
