// What typing costs in a code document: one keystroke in the middle of files of 1k, 10k and
// 100k lines, against a full reparse of the same files, measured in one run; the same for
// files of other shapes (tabs, a long commented-out block, lines the parser does not know,
// one long section), the load of each, and a keystroke in one very long line; the same text
// in a plain QTextDocument with KSyntaxHighlighting's "INI Files" definition as an outside
// reference; and the heap over 10k edits that make and drop nodes. Prints the ratios itself.

#include "testcode.h"

#include <zornx/code/codenode.h>
#include <zornx/core/messages.h>

#include <QtCore/QMap>
#include <QtGui/QAbstractTextDocumentLayout>
#include <QtWidgets/QApplication>
#include <QtWidgets/QPlainTextDocumentLayout>

#ifdef ZORNX_BENCH_PEER
#include <KSyntaxHighlighting/Definition>
#include <KSyntaxHighlighting/Repository>
#include <KSyntaxHighlighting/SyntaxHighlighter>
#include <KSyntaxHighlighting/Theme>
#endif

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstdio>
#include <ctime>
#include <map>
#include <memory>
#include <string>

using ZornTest::TestCodeDocument;

namespace {

// The shapes of file measured. Each is a whole file of the given number of lines.
enum Shape { Sections, Tabs, Comments, Unknown, OneSection, ShapeCount };
const char *const shapeNames[ShapeCount] = {"sections", "tabs", "comments", "unknown",
                                            "onesection"};

QString shapeText(Shape shape, int lines)
{
    QString text;
    switch (shape) {
    case Sections: // sections of twenty lines, of every kind
        return ZornTest::generateCode(lines);
    case Tabs: // the same with tabs, expanded on load
        text = ZornTest::generateCode(lines);
        text.replace(QLatin1String(" = "), QLatin1String("\t=\t"));
        return text;
    case Comments: // a section, then a block commented out
        text = QStringLiteral("[Data]\nlife = 1\n");
        for (int line = 2; line < lines - 1; ++line)
            text += QStringLiteral("; value%1 = %2\n").arg(line % 20).arg(line * 7);
        return text + QStringLiteral("[Info]\n");
    case Unknown: // no line the parser knows: no node, and an error on every line
        for (int line = 0; line < lines; ++line)
            text += QStringLiteral("word%1 and more\n").arg(line);
        return text;
    default: // one section of values
        text = QStringLiteral("[Data]\n");
        for (int line = 1; line < lines; ++line)
            text += QStringLiteral("value%1 = %2\n").arg(line).arg(line * 7);
        return text;
    }
}

// A long first line, laid out as a view would: the widest line of the layout is then not the
// one being typed in. (When the widest line shrinks, the plain text layout measures every
// line of the document again; that is the widget's cost, not the parse's, and no view meets
// it on every keystroke.)
QString withLongFirstLine(const QString &text)
{
    return QStringLiteral("; ") + QString(300, QLatin1Char('-')) + QLatin1Char('\n') + text;
}

void layOut(QTextDocument &doc)
{
    doc.documentLayout()->blockBoundingRect(doc.firstBlock());
}

// One document per size of the shape in use, parsed once; a reparse or a keystroke leaves it
// as it was. They go before the application object does, and when another shape is asked for.
std::map<int, std::unique_ptr<TestCodeDocument>> documents;
Shape documentsShape = Sections;

TestCodeDocument &documentOf(int lines, Shape shape = Sections, bool laidOut = true)
{
    if (shape != documentsShape) {
        documents.clear();
        documentsShape = shape;
    }
    std::unique_ptr<TestCodeDocument> &doc = documents[lines * 2 + laidOut];
    if (!doc) {
        doc = std::make_unique<TestCodeDocument>();
        doc->ownParser.recordLines = false;
        doc->setOption(QStringLiteral("open_tabToSpace"), true);
        doc->fromString(withLongFirstLine(shapeText(shape, lines)));
        if (laidOut)
            layOut(*doc);
    }
    return *doc;
}

// A position in the middle of the file: in the value of the next value line, else past the
// first two characters of the middle line.
int middlePosition(QTextDocument &doc)
{
    const QTextBlock middle = doc.findBlockByNumber(doc.blockCount() / 2);
    QTextBlock block = middle;
    for (int line = 0; line < 20 && block.isValid(); ++line, block = block.next()) {
        const int equals = block.text().indexOf(QLatin1Char('='));
        if (equals >= 0)
            return block.position() + equals + 3;
    }
    return middle.position() + 2;
}

// A plain text document as a code document is set up, without the parse.
void setUpPlain(QTextDocument &doc)
{
    doc.setDocumentLayout(new QPlainTextDocumentLayout(&doc));
    QFont font(QStringLiteral("Courier"), 10);
    font.setFixedPitch(true);
    font.setStyleHint(QFont::Monospace, QFont::PreferDefault);
    doc.setDefaultFont(font);
}

// Types a digit at position, and takes it out again on the next iteration: each iteration
// is one keystroke, and the text stays as it was.
void typeAndUndo(benchmark::State &state, QTextDocument &doc, int position)
{
    QTextCursor cursor(&doc);
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
}

void keystroke(benchmark::State &state, Shape shape)
{
    TestCodeDocument &doc = documentOf(int(state.range(0)), shape);
    doc.ownParser.resetCounts();
    typeAndUndo(state, doc, middlePosition(doc));
    state.counters["lines parsed per keystroke"] =
        double(doc.ownParser.calls) / double(state.iterations());
}

// The same keystroke made through code in a document that no view has laid out.
void codeEdit(benchmark::State &state)
{
    TestCodeDocument &doc = documentOf(int(state.range(0)), Sections, false);
    typeAndUndo(state, doc, middlePosition(doc));
}

void fullReparse(benchmark::State &state)
{
    TestCodeDocument &doc = documentOf(int(state.range(0)));
    for (auto _ : state)
        doc.reparse();
}

// The processor time of this thread: the machine may be shared, and the ratios should not
// follow the load of its neighbours.
double threadSeconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// A fresh document takes the text (tabs expanded, every line parsed).
void load(benchmark::State &state, Shape shape)
{
    const QString text = withLongFirstLine(shapeText(shape, int(state.range(0))));
    for (auto _ : state) {
        auto doc = std::make_unique<TestCodeDocument>();
        doc->ownParser.recordLines = false;
        doc->setOption(QStringLiteral("open_tabToSpace"), true);
        const double start = threadSeconds();
        doc->fromString(text);
        state.SetIterationTime(threadSeconds() - start);
    }
}

// Every row of the message model read once, as a view shows them.
void messageRows(benchmark::State &state)
{
    TestCodeDocument &doc = documentOf(int(state.range(0)), Unknown, false);
    const Zorn::Messages *messages = doc.messages();
    const int rows = messages->rowCount();
    for (auto _ : state)
        for (int row = 0; row < rows; ++row)
            benchmark::DoNotOptimize(messages->data(messages->index(row), Qt::DisplayRole));
    state.counters["rows"] = rows;
}

// One line of two million characters: a vector of numbers.
QString longLine()
{
    QString line = QStringLiteral("pos = 1");
    line.reserve(2000000 + 8);
    while (line.size() < 2000000)
        line += QStringLiteral(", 12");
    return line;
}

// highlight: with the formats and messages of the parse; without, only its tree.
void longLineKeystroke(benchmark::State &state, bool highlight)
{
    TestCodeDocument doc;
    doc.ownParser.recordLines = false;
    doc.setSyntaxHighlight(highlight);
    doc.fromString(QStringLiteral("[Data]\n") + longLine() + QStringLiteral("\nlife = 1\n"));
    layOut(doc);
    typeAndUndo(state, doc, doc.findBlockByNumber(1).position() + 1000000);
}

// The same edit in a plain text document, laid out alike.
void longLinePlainEdit(benchmark::State &state)
{
    QTextDocument doc;
    setUpPlain(doc);
    doc.setPlainText(QStringLiteral("[Data]\n") + longLine() + QStringLiteral("\nlife = 1\n"));
    layOut(doc);
    typeAndUndo(state, doc, doc.findBlockByNumber(1).position() + 1000000);
}

// A parser call on the line alone, with a syntax that keeps nothing.
class NoSyntax : public Zorn::CodeParserSyntax
{
public:
    void setToken(TokenType, int, int) override {}
    void addError(TokenType, const QString &, int, int) override {}
    void addDeprecation(TokenType, const QString &, int, int) override {}
    void addWarning(TokenType, const QString &, int, int) override {}
    void addParenthesis(bool, QChar, int) override {}
    void addLink(Zorn::CodeLink *link) override { delete link; }
};

void longLineParser(benchmark::State &state)
{
    QTextDocument doc;
    doc.setPlainText(QStringLiteral("[Data]\n") + longLine());
    QTextBlock block = doc.lastBlock();
    const QString text = block.text();
    Zorn::RootCode root;
    ZornTest::TestParser parser;
    parser.recordLines = false;
    NoSyntax syntax;
    for (auto _ : state) {
        Zorn::CodeNode *node = parser.parse(text, &block, nullptr, &root, &root, &syntax);
        if (node)
            node->release();
    }
}

#ifdef ZORNX_BENCH_PEER
// The outside reference: the same text in a plain text document, highlighted by
// KSyntaxHighlighting with its "INI Files" definition.
class PeerDocument
{
public:
    PeerDocument()
    {
        static KSyntaxHighlighting::Repository repository;
        setUpPlain(doc);
        highlighter = new KSyntaxHighlighting::SyntaxHighlighter(&doc);
        highlighter->setTheme(repository.defaultTheme());
        highlighter->setDefinition(repository.definitionForName(QStringLiteral("INI Files")));
        QCoreApplication::processEvents(); // the highlighter's delayed first pass, on nothing
    }
    QTextDocument doc;
    KSyntaxHighlighting::SyntaxHighlighter *highlighter; // owned by doc
};

void peerLoad(benchmark::State &state)
{
    const QString text = withLongFirstLine(shapeText(Sections, int(state.range(0))));
    for (auto _ : state) {
        auto peer = std::make_unique<PeerDocument>();
        const double start = threadSeconds();
        peer->doc.setPlainText(text);
        state.SetIterationTime(threadSeconds() - start);
    }
}

void peerKeystroke(benchmark::State &state)
{
    PeerDocument peer;
    peer.doc.setPlainText(withLongFirstLine(shapeText(Sections, int(state.range(0)))));
    layOut(peer.doc);
    typeAndUndo(state, peer.doc, middlePosition(peer.doc));
}
#endif

void registerBenchmarks()
{
    using benchmark::RegisterBenchmark;
    for (int shape = 0; shape < ShapeCount; ++shape) {
        const std::string name = shapeNames[shape];
        RegisterBenchmark(("keystroke/" + name).c_str(), keystroke, Shape(shape))
            ->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
        RegisterBenchmark(("load/" + name).c_str(), load, Shape(shape))
            ->Arg(1000)->Arg(10000)->Arg(100000)->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    }
    RegisterBenchmark("messageRows/unknown", messageRows)
        ->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
    RegisterBenchmark("fullReparse/sections", fullReparse)
        ->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
    RegisterBenchmark("codeEdit/sections", codeEdit)
        ->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
    // As many insertions as deletions in each.
    RegisterBenchmark("longLine/keystroke", longLineKeystroke, true)
        ->Iterations(4)->Unit(benchmark::kMillisecond);
    RegisterBenchmark("longLine/keystrokeUnformatted", longLineKeystroke, false)
        ->Iterations(4)->Unit(benchmark::kMillisecond);
    RegisterBenchmark("longLine/plainEdit", longLinePlainEdit)
        ->Iterations(4)->Unit(benchmark::kMillisecond);
    RegisterBenchmark("longLine/parser", longLineParser)->Unit(benchmark::kMillisecond);
#ifdef ZORNX_BENCH_PEER
    RegisterBenchmark("peer/load", peerLoad)
        ->Arg(1000)->Arg(10000)->Arg(100000)->UseManualTime()->Unit(benchmark::kMillisecond);
    RegisterBenchmark("peer/keystroke", peerKeystroke)
        ->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
#endif
}

// Keeps the processor time per iteration of every run, by name, besides the usual table.
class RecordingReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred && run.iterations > 0) {
                // The name as registered, without what the options append to it.
                std::string name = run.benchmark_name();
                const bool manualTime = name.find("/manual_time") != std::string::npos;
                for (const char *suffix : {"/manual_time", "/iterations:"})
                    if (name.find(suffix) != std::string::npos)
                        name.resize(name.find(suffix));
                // Manual times are processor times already (see threadSeconds).
                seconds[name] = (manualTime ? run.real_accumulated_time : run.cpu_accumulated_time)
                                / double(run.iterations);
            }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> seconds;
};

void printRatios(const std::map<std::string, double> &seconds)
{
    auto time = [&](const std::string &name) {
        const auto it = seconds.find(name);
        return it == seconds.end() ? 0.0 : it->second;
    };
    // a / b, or a dash when either did not run.
    auto ratio = [&](const std::string &a, const std::string &b) {
        const double x = time(a), y = time(b);
        static char text[32];
        if (x > 0 && y > 0)
            std::snprintf(text, sizeof text, "%8.2f", x / y);
        else
            std::snprintf(text, sizeof text, "%8s", "-");
        return std::string(text);
    };
    std::printf("\nRatios, 10k / 1k lines and 100k / 1k lines (goals: keystroke at most 2, "
                "load at most 150)\n");
    std::printf("  %-12s %-10s %8s %8s\n", "shape", "", "10k/1k", "100k/1k");
    for (const char *shape : shapeNames)
        for (const char *kind : {"keystroke", "load"}) {
            const std::string base = std::string(kind) + "/" + shape + "/";
            std::printf("  %-12s %-10s %s %s\n", shape, kind,
                        ratio(base + "10000", base + "1000").c_str(),
                        ratio(base + "100000", base + "1000").c_str());
        }
    std::printf("  %-12s %-10s %s %s\n", "unknown", "all rows",
                ratio("messageRows/unknown/10000", "messageRows/unknown/1000").c_str(),
                ratio("messageRows/unknown/100000", "messageRows/unknown/1000").c_str());
    std::printf("  %-12s %-10s %s %s\n", "sections", "reparse",
                ratio("fullReparse/sections/10000", "fullReparse/sections/1000").c_str(),
                ratio("fullReparse/sections/100000", "fullReparse/sections/1000").c_str());
    std::printf("  %-12s %-10s %s %s   (not laid out)\n", "sections", "code edit",
                ratio("codeEdit/sections/10000", "codeEdit/sections/1000").c_str(),
                ratio("codeEdit/sections/100000", "codeEdit/sections/1000").c_str());
    std::printf("\n  full reparse / keystroke, 100k:        %s   (goal: at least 1000)\n",
                ratio("fullReparse/sections/100000", "keystroke/sections/100000").c_str());
    std::printf("  code edit, not laid out / laid out, 100k: %s\n",
                ratio("codeEdit/sections/100000", "keystroke/sections/100000").c_str());
    const double plain = time("longLine/plainEdit"), parser = time("longLine/parser");
    if (plain > 0 && parser > 0 && time("longLine/keystroke") > 0)
        std::printf("  2M-character line, keystroke / (plain edit + parser): %8.2f   (goal: at "
                    "most 2; plain edit / parser %.2f)\n",
                    time("longLine/keystroke") / (plain + parser), plain / parser);
    if (time("longLine/keystrokeUnformatted") > 0 && parser > 0)
        std::printf("  2M-character line without highlighting, keystroke / (plain edit + parser): "
                    "%.2f\n",
                    time("longLine/keystrokeUnformatted") / (plain + parser));
#ifdef ZORNX_BENCH_PEER
    std::printf("\nAgainst KSyntaxHighlighting (\"INI Files\"), ours / peer\n");
    for (const char *lines : {"1000", "10000", "100000"})
        std::printf("  %6s lines: keystroke %s (goal: at most 1)   load %s (goal: at most 0.5)\n",
                    lines,
                    ratio(std::string("keystroke/sections/") + lines,
                          std::string("peer/keystroke/") + lines).c_str(),
                    ratio(std::string("load/sections/") + lines,
                          std::string("peer/load/") + lines).c_str());
#else
    std::printf("\nKSyntaxHighlighting not found at build time: no outside reference.\n");
#endif
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
    doc.fromString(ZornTest::generateCode(10000));
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
    // A run given a filter measures only what it names: no heap growth then.
    bool filtered = false;
    for (int i = 1; i < argc; ++i)
        filtered = filtered || std::string(argv[i]).rfind("--benchmark_filter", 0) == 0;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    registerBenchmarks();
    RecordingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printRatios(reporter.seconds);
    documents.clear();
    if (filtered) {
        benchmark::Shutdown();
        return 0;
    }
    const long long parsed = measureHeap(true);
    const long long baseline = measureHeap(false);
    std::printf("\nHeap growth over 10k edits, parsed less baseline: %lld bytes\n",
                parsed - baseline);
    benchmark::Shutdown();
    return 0;
}
