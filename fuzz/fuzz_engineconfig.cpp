// The engine configuration XML.
#include "fuzzing.h"
#include "testengine.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QXmlStreamReader>

static QCoreApplication *application;
static ZornTest::TestEngine *engine;

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    application = new QCoreApplication(*argc, *argv);
    engine = new ZornTest::TestEngine(QStringLiteral("fuzz"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QXmlStreamReader reader(ZornFuzz::bytes(data, size));
    reader.setNamespaceProcessing(false);
    engine->load(&reader);
    return 0;
}
