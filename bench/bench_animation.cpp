// What one frame edit costs in a large animation file: the delay of one frame in a file of
// 2,000 animations of 10 frames, against a fresh parse of the same file, measured in the same
// run; and what the list model emits for the edit. Prints the figures itself.

#include "sampleanimation.h"

#include <QtCore/QElapsedTimer>
#include <QtWidgets/QApplication>

#include <cstdio>

using namespace Zorn;

namespace
{

QString animationText(int animations, int frames)
{
    QString text;
    for (int a = 0; a < animations; ++a) {
        text += QStringLiteral("@%1 move\n").arg(a);
        for (int f = 0; f < frames; ++f) {
            text += QStringLiteral("show %1,%2 | %3,0 | %4 | - | normal\n")
                        .arg(a)
                        .arg(f)
                        .arg(f)
                        .arg(f + 2);
            if (f == 0)
                text += QStringLiteral("hit 0,-40,20,10\nbody -10,-80,20,80\n");
        }
        text += QLatin1Char('\n');
    }
    return text;
}

// Milliseconds per fresh document of text, with its animation file.
double freshParse(const QString &text, int rounds)
{
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < rounds; ++i) {
        auto *doc = new Sample::AnimationDocument;
        doc->setPlainText(text);
        auto *file = new Sample::AnimationFile(doc);
        if (file->count() == 0)
            std::puts("empty parse");
        doc->release();
        file->release();
    }
    return double(timer.nsecsElapsed()) / 1e6 / rounds;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int animations = 2000;
    const int frames = 10;
    const QString text = animationText(animations, frames);

    const double full = freshParse(text, 3);

    auto *doc = new Sample::AnimationDocument;
    doc->setPlainText(text);
    auto *file = new Sample::AnimationFile(doc);
    int changedRows = 0;
    int otherSignals = 0;
    int changedRow = -1;
    QObject::connect(file, &QAbstractItemModel::dataChanged,
                     [&](const QModelIndex &from, const QModelIndex &to) {
                         changedRows += to.row() - from.row() + 1;
                         changedRow = from.row();
                     });
    for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        QObject::connect(file, signal, [&] { ++otherSignals; });
    QObject::connect(file, &QAbstractItemModel::modelReset, [&] { ++otherSignals; });

    const int edits = 2000;
    const unsigned int target = animations / 2;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < edits; ++i)
        file->at(target)->frameAt(5)->setDelay(100 + i % 2);
    const double edit = double(timer.nsecsElapsed()) / 1e6 / edits;

    std::printf("animation file: %d animations x %d frames, %d lines\n", animations, frames,
                doc->blockCount());
    std::printf("fresh parse      %10.3f ms\n", full);
    std::printf("one delay edit   %10.4f ms\n", edit);
    std::printf("ratio            %10.0fx cheaper (goal >= 500x)\n", full / edit);
    std::printf("model signals    %d changed rows over %d edits (row %d), %d inserts/removes/"
                "resets\n",
                changedRows, edits, changedRow, otherSignals);
    doc->release();
    file->release();
    return 0;
}
