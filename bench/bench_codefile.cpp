// What saving and loading a large code file costs: the time the GUI thread spends on a
// background save of a 20 MB document against a synchronous save of the same document, in
// one run; and the load of that file (detection, decoding and parse) in MB/s. Prints the
// ratio itself.

#include "testcode.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtWidgets/QApplication>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>

using ZornTest::TestCodeDocument;
using Zorn::FileSystemArchive;
using Zorn::ProjectFile;

namespace {

const int documentBytes = 20 * 1024 * 1024;

std::unique_ptr<QTemporaryDir> directory;
std::unique_ptr<TestCodeDocument> document;
double syncSeconds = 0;       // per save
double backgroundSeconds = 0; // GUI thread per save

QString fileName(const char *name)
{
    return directory->path() + QLatin1Char('/') + QLatin1String(name);
}

// One parsed document of about 20 MB, shared by the save benchmarks.
TestCodeDocument &documentOf()
{
    if (!document) {
        directory = std::make_unique<QTemporaryDir>();
        const QString chunk = ZornTest::generateCode(10000);
        QString text;
        text.reserve(documentBytes + chunk.size());
        while (text.size() < documentBytes)
            text += chunk;
        document = std::make_unique<TestCodeDocument>();
        document->ownParser.recordLines = false;
        document->fromString(text);
    }
    return *document;
}

// One line changed before each save, as the user would have done.
void touch(TestCodeDocument &doc, int iteration)
{
    QTextCursor cursor(doc.findBlockByNumber(1 + iteration % 100));
    cursor.insertText(iteration % 2 ? QStringLiteral(" ") : QString());
}

void syncSave(benchmark::State &state)
{
    TestCodeDocument &doc = documentOf();
    int iteration = 0;
    for (auto _ : state) {
        state.PauseTiming();
        touch(doc, iteration++);
        state.ResumeTiming();
        doc.toFile(FileSystemArchive::instance(), fileName("sync.cfg"), 0, nullptr);
    }
    state.SetBytesProcessed(state.iterations() * documentBytes);
}

// Counts the time in toFile() and in the event that ends the save; not the wait between.
void backgroundSave(benchmark::State &state)
{
    TestCodeDocument &doc = documentOf();
    int iteration = 0;
    for (auto _ : state) {
        touch(doc, iteration++);
        QElapsedTimer timer;
        timer.start();
        doc.toFile(FileSystemArchive::instance(), fileName("background.cfg"),
                   ProjectFile::SaveInBackground, nullptr);
        qint64 gui = timer.nsecsElapsed();
        while (doc.fileName().isEmpty()) {
            QThread::usleep(500);
            timer.restart();
            QCoreApplication::processEvents();
            gui += timer.nsecsElapsed();
        }
        state.SetIterationTime(double(gui) / 1e9);
    }
}

void load(benchmark::State &state)
{
    TestCodeDocument &source = documentOf();
    const QString name = fileName("load.cfg");
    source.toFile(FileSystemArchive::instance(), name, 0, nullptr);
    const qint64 size = QFile(name).size();
    TestCodeDocument doc;
    doc.ownParser.recordLines = false;
    for (auto _ : state)
        doc.fromFile(FileSystemArchive::instance(), name, 0, nullptr);
    state.SetBytesProcessed(state.iterations() * size);
}

BENCHMARK(syncSave)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(backgroundSave)->Unit(benchmark::kMillisecond)->Iterations(10)->UseManualTime();
BENCHMARK(load)->Unit(benchmark::kMillisecond)->Iterations(3);

class RecordingReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            const double perIteration = run.GetAdjustedRealTime() / 1e3; // ms to s
            if (run.benchmark_name().rfind("syncSave", 0) == 0)
                syncSeconds = perIteration;
            else if (run.benchmark_name().rfind("backgroundSave", 0) == 0)
                backgroundSeconds = perIteration;
        }
        ConsoleReporter::ReportRuns(runs);
    }
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
    if (syncSeconds > 0)
        std::printf("\nGUI thread, background save / synchronous save of 20 MB: %.1f%% "
                    "(goal: at most 5%%)\n",
                    100.0 * backgroundSeconds / syncSeconds);
    document.reset();
    directory.reset();
    benchmark::Shutdown();
    return 0;
}
