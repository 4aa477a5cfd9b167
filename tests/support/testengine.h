#ifndef ZORNX_TESTS_TESTENGINE_H
#define ZORNX_TESTS_TESTENGINE_H

// The sample engine module with the hooks tests need: counters and settable filters.

#include "sampleengine.h"

namespace ZornTest {

// Counts the reloads the file watcher asks for.
class TestIniFile : public Sample::IniFile
{
public:
    void reload() override
    {
        ++reloads;
        Sample::IniFile::reload();
    }

    int reloads = 0;
};

// Counts free() instead of deleting, so that a test can own it on the stack; without tree,
// the game lists no paths until the test adds them.
class TestParentProject : public Sample::ParentProject
{
    Q_OBJECT
public:
    TestParentProject(const QString &path, Zorn::Archive &archive,
                      Zorn::Engine *engine = nullptr, bool tree = true);
    using Sample::ParentProject::addPath;
    using Sample::ParentProject::removePath;

    int freed = 0;

protected:
    void free() override { ++freed; }
};

class TestProject : public Sample::Project
{
    Q_OBJECT
public:
    static TestProject *open(Zorn::ParentProject *parent, const QString &mainFile)
    {
        return Sample::Project::open<TestProject>(parent, mainFile);
    }
    using Sample::Project::Project;

    using Sample::Project::addToParent;
    using Sample::Project::fileHierarchyChanged;
    using Sample::Project::reload;
    using Sample::Project::takeFile;
};

// Makes TestIniFiles, and its single-file filters can be changed.
class TestEngine : public Sample::Engine
{
    Q_OBJECT
public:
    explicit TestEngine(const QString &name = QStringLiteral("test")) : Sample::Engine(name) {}

    QMap<int, QString> singleFileFilters() const override { return fileFilters; }
    Zorn::ProjectFile *createFile(int type, Zorn::Project *project) override;

    // The patterns that singleFileFilters() gives, by file type: the module's to begin with.
    QMap<int, QString> fileFilters{{0, QStringLiteral("*.ini")},
                                   {4, QStringLiteral("*.ini *.txt")}};
};

} // namespace ZornTest

#endif
