#ifndef ZORNX_STUDIO_ENGINEMODULE_H
#define ZORNX_STUDIO_ENGINEMODULE_H

#include <QtCore/QList>
#include <QtCore/QString>

#include <memory>

namespace Zorn {
class Engine;
class FileEditor;
class ParentProject;
class Project;
}

namespace Studio {

// What the studio asks of the engine module it runs with: the engine, the directory of a
// game as a parent project with its projects, and the editors of the module's file types.
class EngineModule
{
public:
    virtual ~EngineModule() = default;

    virtual Zorn::Engine *engine() const = 0;
    // The root of the engines' data: the engine's own is below it, at engine()->basePath().
    virtual QString dataPath() const = 0;
    // Opens directory as the module's parent project, with every project found in it
    // appended to projects; null when it holds none.
    virtual Zorn::ParentProject *open(const QString &directory,
                                      QList<Zorn::Project *> &projects) = 0;
    // Releases the projects, the last of which frees the parent, and deletes them all.
    virtual void close(Zorn::ParentProject *parent, const QList<Zorn::Project *> &projects) = 0;
    // The editors of the module's file types, owned by the module.
    virtual QList<Zorn::FileEditor *> editors() const = 0;
};

// The module the studio is built with. Made after the host's Interface is installed, since
// the engine reads its configuration and the editors register their actions at once.
std::unique_ptr<EngineModule> createEngineModule();

} // namespace Studio

#endif
