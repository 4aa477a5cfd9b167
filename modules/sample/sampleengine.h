#ifndef ZORNX_TESTS_TESTENGINE_H
#define ZORNX_TESTS_TESTENGINE_H

// The test engine module: the smallest set of concrete classes a real engine module would
// supply, over an ini-like text format ("key = value" lines, ';' comments).

#include <zornx/core/archive.h>
#include <zornx/core/engine.h>
#include <zornx/project/parentproject.h>
#include <zornx/project/project.h>
#include <zornx/project/projectfile.h>

#include <QtCore/QStringList>

namespace ZornTest {

// A text file of "key = value" lines, read and written through any Archive.
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
    // Searching is tried on lists of items (tst_projectfile), not here.
    QList<SearchResult> search(const Zorn::RegExp &, unsigned int) const override { return {}; }
    void replace(const QList<SearchResult> &, const QString &) override {}
    void reload() override;

    QString value(const QString &key) const;
    void setValue(const QString &key, const QString &value);

    QStringList lines;
    QString name;
    bool modified = false;
    int reloads = 0;
    bool freed = false;

protected:
    void free() override { delete this; }
    Zorn::Messages *fileMessages() const override { return nullptr; }
};

// A game directory: "chars/" holds one directory per character (each the place of a project)
// and "data/" lists its .ini files. engine() is the one given, which may be null.
class TestParentProject : public Zorn::ParentProject
{
    Q_OBJECT
public:
    TestParentProject(const QString &path, Zorn::Archive &archive,
                      Zorn::Engine *engine = nullptr, bool tree = true);
    Zorn::Engine *engine() const override { return testEngine; }
    using Zorn::ParentProject::addPath;
    using Zorn::ParentProject::removePath;

    int freed = 0;
    Zorn::Engine *testEngine;

protected:
    void collectFiles(const QString &directory, QStringList &files) override;
    void free() override { ++freed; }
};

// A content item defined by a main file that lists its other files:
//     [Files]
//     sprites = a.sff, b.sff        (type 1; sounds 2, animations 3, scripts 4)
// Every listed file is made by the engine (an IniFile without one); a missing one is skipped.
class TestProject : public Zorn::Project
{
    Q_OBJECT
public:
    // Opens the main file and everything it lists, then enters the parent's tree.
    static TestProject *open(Zorn::ParentProject *parent, const QString &mainFile);
    using Zorn::Project::Project;

    QString name() const override;
    QString version() const override { return QStringLiteral("1.0"); }
    QPair<int, int> gameResolution() const override { return qMakePair(320, 240); }
    QPair<double, double> localScale() const override { return qMakePair(1.0, 1.0); }
    void externalFiles(QList<ExternalFile> &list) const override;

    using Zorn::Project::addToParent;
    using Zorn::Project::fileHierarchyChanged;
    using Zorn::Project::reload;
    using Zorn::Project::takeFile;
};

// The engine of the test module: ';' comments, "game.ini" marks a game directory, and the
// five project file types have plain names. createFile() gives an IniFile.
class TestEngine : public Zorn::Engine
{
    Q_OBJECT
public:
    explicit TestEngine(const QString &name = QStringLiteral("test")) : Zorn::Engine(name) {}

    QString queryString(StringType type, unsigned int index) const override;
    QMap<int, QString> singleFileFilters() const override;
    Zorn::ProjectFile *createFile(int type, Zorn::Project *project) override;

    // The patterns that singleFileFilters() gives, by file type.
    QMap<int, QString> fileFilters{{0, QStringLiteral("*.ini")},
                                   {4, QStringLiteral("*.ini *.txt")}};
};

} // namespace ZornTest

#endif
