#include "testengine.h"

namespace ZornTest {

TestParentProject::TestParentProject(const QString &path, Zorn::Archive &archive,
                                     Zorn::Engine *engine, bool tree)
    : Sample::ParentProject(path, archive, engine)
{
    if (!tree) {
        removePath(QStringLiteral("chars"));
        removePath(QStringLiteral("data"));
    }
}

Zorn::ProjectFile *TestEngine::createFile(int type, Zorn::Project *)
{
    return type >= 0 && type < 5 ? new TestIniFile : nullptr;
}

} // namespace ZornTest
