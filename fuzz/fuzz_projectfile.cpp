// Project files the test engine module reads: a main file that lists other files, opened as a
// project. The input up to its first zero byte is the main file, the rest each listed file.
#include "fuzzing.h"
#include "memoryarchive.h"
#include "testengine.h"

#include <QtCore/QCoreApplication>

static QCoreApplication *application;

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    application = new QCoreApplication(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input = ZornFuzz::bytes(data, size);
    const int split = input.indexOf('\0');
    ZornTest::MemoryArchive archive;
    archive.files.insert(QStringLiteral("/game/chars/one/one.ini"), input.left(split));
    const QByteArray rest = split < 0 ? QByteArray() : input.mid(split + 1);
    for (const char *name : {"a.ini", "b.ini", "c.ini"})
        archive.files.insert(QStringLiteral("/game/chars/one/") + QLatin1String(name), rest);
    {
        ZornTest::TestParentProject parent(QStringLiteral("/game"), archive, nullptr, false);
        if (ZornTest::TestProject *project =
                ZornTest::TestProject::open(&parent, QStringLiteral("/game/chars/one/one.ini"))) {
            project->release(); // the object stays with its owner
            delete project;
        }
    }
    return 0;
}
