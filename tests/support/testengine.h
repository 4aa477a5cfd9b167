#ifndef ZORNX_TESTS_TESTENGINE_H
#define ZORNX_TESTS_TESTENGINE_H

// The test engine module: the smallest set of concrete classes a real engine module would
// supply, over an ini-like text format ("key = value" lines, ';' comments).

#include <zornx/core/archive.h>
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
    QList<SearchResult> search(const Zorn::RegExp &expression, unsigned int flags) const override;
    void replace(const QList<SearchResult> &results, const QString &replacement) override;
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

class TestParentProject : public Zorn::ParentProject
{
    Q_OBJECT
public:
    using Zorn::ParentProject::ParentProject;
    Zorn::Engine *engine() const override { return nullptr; }
};

// A project whose main file is an IniFile.
class TestProject : public Zorn::Project
{
    Q_OBJECT
public:
    using Zorn::Project::Project;
    QString name() const override { return QStringLiteral("test"); }
    QString version() const override { return QStringLiteral("1.0"); }
    QPair<int, int> gameResolution() const override { return qMakePair(320, 240); }
    QPair<double, double> localScale() const override { return qMakePair(1.0, 1.0); }
    void externalFiles(QList<ExternalFile> &) const override {}
};

} // namespace ZornTest

#endif
