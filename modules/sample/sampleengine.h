#ifndef ZORNX_SAMPLE_SAMPLEENGINE_H
#define ZORNX_SAMPLE_SAMPLEENGINE_H

// The sample engine module: the smallest set of concrete classes an engine module supplies,
// over an ini-like text format ("key = value" lines, ';' comments). A module author copies
// this folder and replaces the formats; the library asks for nothing beyond these classes.

#include <zornx/core/archive.h>
#include <zornx/core/engine.h>
#include <zornx/project/parentproject.h>
#include <zornx/project/project.h>
#include <zornx/project/projectfile.h>

#include <QtCore/QStringList>

namespace Sample {

// A text file of "key = value" lines, read and written through any Archive. Every project
// file must be a FileWatchObject too, so that the library can reload it on outside change.
class IniFile : public Zorn::ProjectFile, public Zorn::FileWatchObject
{
public:
    IniFile() = default;

    bool fromFile(Zorn::Archive &archive, const QString &name, unsigned int flags,
                  Zorn::JobStats *job) override;
    bool toFile(Zorn::Archive &archive, const QString &name, unsigned int flags,
                Zorn::JobStats *job) override;
    QString fileName() const override { return name; }
    bool isEmpty() const override { return lines.isEmpty(); }
    bool isModified() const override { return modified; }
    bool canSave() const override { return true; }
    // Plain key lists have nothing to search; a module whose files hold items searches them.
    QList<SearchResult> search(const Zorn::RegExp &, unsigned int) const override { return {}; }
    void replace(const QList<SearchResult> &, const QString &) override {}
    void reload() override;

    QString value(const QString &key) const;
    void setValue(const QString &key, const QString &value);

    QStringList lines;
    QString name;
    bool modified = false;

protected:
    // Files are reference counted; the last release() calls free().
    void free() override { delete this; }
    Zorn::Messages *fileMessages() const override { return nullptr; }
};

// A game directory: "chars/" holds one directory per character (each the place of a project)
// and "data/" lists its .ini files. The library builds the project tree from these paths.
class ParentProject : public Zorn::ParentProject
{
    Q_OBJECT
public:
    ParentProject(const QString &path, Zorn::Archive &archive, Zorn::Engine *engine = nullptr);
    // May be null: a game opened without its engine still lists its files.
    Zorn::Engine *engine() const override { return gameEngine; }

protected:
    // Every file under a listed directory, depth first, by name.
    void collectFiles(const QString &directory, QStringList &files) override;
    // The last open project has gone. The host owns the game, so there is nothing to delete;
    // a module that keeps data per game (caches, a script state) lets it go here.
    void free() override {}

private:
    Zorn::Engine *gameEngine;
};

// A content item defined by a main file that lists its other files:
//     [Files]
//     sprites = a.spr, b.spr        (type 1; sounds 2, animations 3, scripts 4)
// Every listed file is made by the engine (an IniFile without one); a missing one is skipped.
class Project : public Zorn::Project
{
    Q_OBJECT
public:
    // Opens the main file and everything it lists, then enters the parent's tree. A module
    // must call addToParent() once the files are in, or the project stays out of the tree.
    // A host or test that derives from Project opens its own class with open<Derived>().
    template <class P = Project>
    static P *open(Zorn::ParentProject *parent, const QString &mainFile)
    {
        auto make = [](Zorn::ParentProject *parent, Zorn::ProjectFile *main) -> Project * {
            return new P(parent, 0, main, true);
        };
        return static_cast<P *>(load(parent, mainFile, make));
    }
    using Zorn::Project::Project;

    QString name() const override;
    QString version() const override { return QStringLiteral("1.0"); }
    QPair<int, int> gameResolution() const override { return qMakePair(320, 240); }
    QPair<double, double> localScale() const override { return qMakePair(1.0, 1.0); }
    void externalFiles(QList<ExternalFile> &list) const override;

private:
    static Project *load(Zorn::ParentProject *parent, const QString &mainFile,
                         Project *(*make)(Zorn::ParentProject *, Zorn::ProjectFile *));
};

// The engine: ';' comments, "game.ini" marks a game directory, and the five project file
// types have plain names. createFile() is the factory the library calls for every file type.
class Engine : public Zorn::Engine
{
    Q_OBJECT
public:
    explicit Engine(const QString &name = QStringLiteral("sample")) : Zorn::Engine(name) {}

    QString queryString(StringType type, unsigned int index) const override;
    QMap<int, QString> singleFileFilters() const override;
    Zorn::ProjectFile *createFile(int type, Zorn::Project *project) override;
};

} // namespace Sample

#endif
