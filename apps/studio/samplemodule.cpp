// The studio runs with the sample engine module (modules/sample): an ini-like format of our
// own. This file is the only one that knows its classes.

#include "enginemodule.h"

#include <samplecode.h>
#include <sampleengine.h>

#include <zornx/codeedit/codefileeditor.h>
#include <zornx/codeedit/codeworkspace.h>
#include <zornx/core/archive.h>
#include <zornx/core/interface.h>
#include <zornx/core/plaintranslator.h>

namespace Studio {

namespace {

// Scripts are code documents, parsed line by line; the other types stay plain ini files.
class SampleEngine : public Sample::Engine
{
public:
    SampleEngine() : Sample::Engine(QStringLiteral("sample")) {}

    QMap<int, QString> singleFileFilters() const override
    {
        return {{Zorn::Project::Main, QStringLiteral("*.ini")},
                {Zorn::Project::Scripts, QStringLiteral("*.moves")}};
    }

    Zorn::ProjectFile *createFile(int type, Zorn::Project *project) override
    {
        if (type == Zorn::Project::Scripts)
            return new Sample::CodeDocument(nullptr, short(type));
        return Sample::Engine::createFile(type, project);
    }
};

// The editor of the scripts, in the shared code workspace, with the code tree in a dock.
class ScriptEditor : public Zorn::CodeFileEditor
{
public:
    explicit ScriptEditor(Zorn::CodeWorkspace *workspace)
        : Zorn::CodeFileEditor(workspace, "code_tree"),
          entry(interface->editorAction("scripts", Zorn::PlainTranslator::instance(), 94))
    {
    }
    void release() override { delete this; }
    QAction *action() const override { return entry; }
    const char *name() const override { return "scripts"; }
    int canEditFileType() const override { return Zorn::Project::Scripts; }

private:
    QAction *entry;
};

class SampleModule : public EngineModule
{
public:
    SampleModule()
        : workspace(new Zorn::CodeWorkspace(*Zorn::Interface::instance())),
          scripts(new ScriptEditor(workspace))
    {
    }
    ~SampleModule() override
    {
        scripts->release();
        workspace->release();
    }

    Zorn::Engine *engine() const override { return const_cast<SampleEngine *>(&sample); }

    QString dataPath() const override { return QStringLiteral(ZORNX_STUDIO_DATA); }

    Zorn::ParentProject *open(const QString &directory, QList<Zorn::Project *> &projects) override
    {
        Zorn::Archive &fs = Zorn::FileSystemArchive::instance();
        auto *parent = new Sample::ParentProject(directory, fs, &sample);
        // Every directory of chars/ with a main file of its own name is a character.
        const QString base = parent->basePath();
        const QStringList names = fs.entries(base + QStringLiteral("chars"), QDir::Dirs, QDir::Name);
        for (const QString &name : names) {
            const QString main = QStringLiteral("%1chars/%2/%2.ini").arg(base, name);
            if (fs.fileExists(main))
                if (Sample::Project *project = Sample::Project::open(parent, main))
                    projects.append(project);
        }
        if (projects.isEmpty()) {
            delete parent;
            return nullptr;
        }
        return parent;
    }

    void close(Zorn::ParentProject *parent, const QList<Zorn::Project *> &projects) override
    {
        for (Zorn::Project *project : projects)
            project->release();
        qDeleteAll(projects);
        delete parent;
    }

    QList<Zorn::FileEditor *> editors() const override { return {scripts}; }

private:
    SampleEngine sample;
    Zorn::CodeWorkspace *workspace;
    ScriptEditor *scripts;
};

} // namespace

std::unique_ptr<EngineModule> createEngineModule()
{
    return std::make_unique<SampleModule>();
}

} // namespace Studio
