#ifndef ZORNX_TESTS_CODEEDITFIXTURE_H
#define ZORNX_TESTS_CODEEDITFIXTURE_H

// A game with one project whose script files are code documents of the test engine, a host
// that hands out a tree view, and the engine's data directory.

#include "dialogresponder.h"
#include "fixtures.h"
#include "testcode.h"
#include "testengine.h"
#include "testinterface.h"

#include <QtCore/QTemporaryDir>
#include <QtWidgets/QAction>
#include <QtWidgets/QTreeView>

#include <memory>

namespace ZornTest {

class CodeEngine : public TestEngine
{
public:
    Zorn::ProjectFile *createFile(int type, Zorn::Project *project) override
    {
        if (type == Zorn::Project::Scripts)
            return new TestCodeDocument;
        return TestEngine::createFile(type, project);
    }
};

// Gives out a tree view for kind 12, wired to the receiver's slot as a host does, and says
// which editor is current.
class TreeHost : public TestInterface
{
public:
    QObject *registerAction(const char *name, const ActionEntry &entry) override
    {
        TestInterface::registerAction(name, entry);
        if (entry.kind != 12)
            return entry.action;
        tree = std::make_unique<QTreeView>();
        tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
        QObject::connect(tree.get(), SIGNAL(clicked(QModelIndex)), entry.receiver, entry.slot);
        return tree.get();
    }
    Zorn::Editor *currentEditor() const override { return current; }

    std::unique_ptr<QTreeView> tree;
    Zorn::Editor *current = nullptr;
};

struct CodeGame
{
    CodeGame()
    {
        game = dir.path() + QStringLiteral("/game");
        home = game + QStringLiteral("/chars/pebble");
        writeFile(game + "/game.ini", "[Game]\r\n");
        writeFile(home + "/pebble.ini",
                  "[Info]\r\nname = Pebble\r\n[Files]\r\nscripts = moves.txt\r\n");
        writeFile(home + "/moves.txt", "[Data]\r\njab = 1\r\n");
        host.engine = &engine;
        host.dataPath = dir.path() + QStringLiteral("/data");
        parent = std::make_unique<TestParentProject>(game, Zorn::FileSystemArchive::instance(),
                                                     &engine);
        project = TestProject::open(parent.get(), home + "/pebble.ini");
        host.project = project;
    }
    ~CodeGame()
    {
        project->release();
        delete project;
    }
    TestCodeDocument *script() const
    {
        return static_cast<TestCodeDocument *>(
            project->filesByType(Zorn::Project::Scripts).value(0));
    }
    QString snippetDir() const { return host.dataPath + QStringLiteral("/engines/test/snippets"); }

    QTemporaryDir dir;
    QString game, home;
    CodeEngine engine;
    TreeHost host;
    std::unique_ptr<TestParentProject> parent;
    TestProject *project = nullptr;
};

} // namespace ZornTest

#endif
