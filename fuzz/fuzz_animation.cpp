// The sample module's animation files: any text parses into a tree that equals the parse of
// the same text made afresh, also after optimize() has rewritten it.
#include "fuzzing.h"
#include "sampleanimation.h"

#include <QtWidgets/QApplication>

#include <cstdlib>

static QApplication *application;

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    application = new QApplication(*argc, *argv);
    return 0;
}

// Every value a reader of the tree can reach, as one string.
static QString describe(const Zorn::Animations *file)
{
    QString out;
    for (const Zorn::AnimationCode *animation : file->animations()) {
        out += animation->displayName() + QString::number(animation->loopPoint());
        for (const Zorn::FrameCode *frame : animation->frames()) {
            out += frame->property(QStringLiteral("Identifier")).toString()
                   + QString::number(frame->delay()) + QString::number(frame->firstLine());
            for (const auto *boxes : {frame->attackBoxes(), frame->collisionBoxes()})
                for (unsigned int i = 0; i < boxes->count(); ++i)
                    out += QString::number(boxes->at(i)->rect().width());
        }
        out += QLatin1Char('\n');
    }
    return out;
}

static QString parsed(const QString &text)
{
    auto *doc = new Sample::AnimationDocument;
    doc->setPlainText(text);
    auto *file = new Sample::AnimationFile(doc);
    const QString result = describe(file);
    doc->release();
    file->release();
    return result;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(ZornFuzz::bytes(data, size));
    auto *doc = new Sample::AnimationDocument;
    doc->setPlainText(text);
    auto *file = new Sample::AnimationFile(doc);
    file->optimize();
    if (describe(file) != parsed(doc->toPlainText()))
        std::abort();
    doc->release();
    file->release();
    return 0;
}
