// The studio runs with the sample engine module: an ini-like format of our own, whose
// classes live with the tests' support code. This file is the only one that knows them.

#include "enginemodule.h"

#include "testcode.h"
#include "testengine.h"

#include <zornx/code/codedocument.h>
#include <zornx/code/codeeditor.h>
#include <zornx/core/archive.h>
#include <zornx/core/interface.h>
#include <zornx/core/messages.h>
#include <zornx/core/plaintranslator.h>
#include <zornx/editor/editor.h>
#include <zornx/editor/workspace.h>

#include <QtCore/QFileInfo>
#include <QtCore/QPoint>

namespace Studio {

namespace {

// Scripts are code documents, parsed line by line; the other types stay plain ini files.
class SampleEngine : public ZornTest::TestEngine
{
public:
    SampleEngine() : ZornTest::TestEngine(QStringLiteral("sample"))
    {
        fileFilters = {{Zorn::Project::Main, QStringLiteral("*.ini")},
                       {Zorn::Project::Scripts, QStringLiteral("*.moves")}};
    }

    Zorn::ProjectFile *createFile(int type, Zorn::Project *project) override
    {
        if (type == Zorn::Project::Scripts)
            return new ZornTest::TestCodeDocument(nullptr, short(type));
        return ZornTest::TestEngine::createFile(type, project);
    }
};

// The text workspace: one code editor widget that every script is shown in.
class ScriptWorkspace : public Zorn::Workspace
{
public:
    void release() override { delete this; }
    const char *name() const override { return "code"; }
    QWidget *widget() const override { return view; }
    void reconfig() override { zoomActual(); }
    void retranslate() override {}
    void zoomActual() override
    {
        Zorn::Interface *host = Zorn::Interface::instance();
        QFont font(host->option(QStringLiteral("font_name"), QString()).toString(),
                   host->option(QStringLiteral("font_size"), 10).toInt());
        font.setStyleHint(QFont::Monospace);
        view->setFont(font);
    }
    void zoomFit() override { zoomActual(); }
    void zoomIn() override { view->zoomIn(2); }
    void zoomOut() override { view->zoomOut(2); }

    Zorn::CodeEditor *view = new Zorn::CodeEditor;

private:
    ~ScriptWorkspace() override { delete view; }
};

// The editor of the scripts: shows the current one in the text workspace, with the cursor
// and the error count in the status bar.
class ScriptEditor : public Zorn::FileEditor
{
public:
    ScriptEditor(ScriptWorkspace *workspace) : workspace(workspace)
    {
        entry = interface->editorAction("scripts", Zorn::PlainTranslator::instance(), 94);
    }
    void release() override { delete this; }
    QAction *action() const override { return entry; }
    const char *name() const override { return "scripts"; }
    unsigned int areas() const override { return 5; }
    int canEditFileType() const override { return Zorn::Project::Scripts; }
    void retranslate() override {}
    QList<Zorn::ProjectFile::SearchResult> find(const Zorn::RegExp &, unsigned int) override
    {
        return {};
    }
    void replace(const QList<Zorn::ProjectFile::SearchResult> &, const QString &) override {}
    void cut() override { workspace->view->cut(); }
    void copy() override { workspace->view->copy(); }
    void paste() override { workspace->view->paste(); }

    void setCurrentFile(Zorn::ProjectFile *file) override
    {
        if (document)
            QObject::disconnect(document, nullptr, this, nullptr);
        Zorn::FileEditor::setCurrentFile(file);
        document = dynamic_cast<Zorn::CodeDocument *>(file);
        workspace->view->setDocument(document);
        if (document)
            connect(document, &QTextDocument::modificationChanged, this, &FileEditor::modified);
        showCursor(QPoint());
    }
    void navigateTo(unsigned int line, unsigned int column) override
    {
        workspace->view->setCurrentLine(line, Zorn::CodeEditor::HalfPageBelow);
        QTextCursor cursor = workspace->view->textCursor();
        cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::MoveAnchor, int(column));
        workspace->view->setTextCursor(cursor);
        workspace->view->setFocus();
    }
    void activate() override
    {
        Zorn::FileEditor::activate();
        connect(workspace->view, &Zorn::CodeEditor::cursorChanged, this, &ScriptEditor::showCursor);
        interface->setWorkspace(workspace);
    }
    void deactivate() override
    {
        Zorn::FileEditor::deactivate();
        QObject::disconnect(workspace->view, nullptr, this, nullptr);
    }

private:
    ~ScriptEditor() override = default;

    void showCursor(QPoint pos)
    {
        if (!document)
            return;
        interface->setStatus(0, tr("Line: %1, Column: %2, Line count: %3")
                                    .arg(pos.x() + 1).arg(pos.y() + 1).arg(document->blockCount()));
        interface->setStatus(1, tr("Syntax error count: %1")
                                    .arg(document->messages()->count(Zorn::Message::Error)));
    }

    ScriptWorkspace *workspace;
    QAction *entry;
    Zorn::CodeDocument *document = nullptr;
};

class SampleModule : public EngineModule
{
public:
    SampleModule() : workspace(new ScriptWorkspace), scripts(new ScriptEditor(workspace)) {}
    ~SampleModule() override
    {
        scripts->release();
        workspace->release();
    }

    Zorn::Engine *engine() const override { return const_cast<SampleEngine *>(&sample); }

    Zorn::ParentProject *open(const QString &directory, QList<Zorn::Project *> &projects) override
    {
        Zorn::Archive &fs = Zorn::FileSystemArchive::instance();
        auto *parent = new ZornTest::TestParentProject(directory, fs, &sample);
        // Every directory of chars/ with a main file of its own name is a character.
        const QString base = parent->basePath();
        const QStringList names = fs.entries(base + QStringLiteral("chars"), QDir::Dirs, QDir::Name);
        for (const QString &name : names) {
            const QString main = QStringLiteral("%1chars/%2/%2.ini").arg(base, name);
            if (fs.fileExists(main))
                if (ZornTest::TestProject *project = ZornTest::TestProject::open(parent, main))
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
    ScriptWorkspace *workspace;
    ScriptEditor *scripts;
};

} // namespace

std::unique_ptr<EngineModule> createEngineModule()
{
    return std::make_unique<SampleModule>();
}

} // namespace Studio
