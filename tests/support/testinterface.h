#ifndef ZORNX_TESTS_TESTINTERFACE_H
#define ZORNX_TESTS_TESTINTERFACE_H

#include <zornx/core/interface.h>
#include <zornx/core/object.h>

#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <memory>
#include <vector>

namespace ZornTest {

// A job that records what it is told; cancelAt makes it report cancellation once its value
// reaches that number.
class TestJob : public Zorn::ProviderJob
{
public:
    explicit TestJob(const QString &title) : title(title) {}
    void error(const QString &text) override { errors.append(text); }
    void setMaximum(unsigned int value) override { maximum = value; }
    void setValue(unsigned int v) override { value = v; }
    void incrementValue() override { ++value; }
    bool wasCancelled() const override { return cancelled || (cancelAt >= 0 && value >= unsigned(cancelAt)); }
    void setBackground(bool on) override { background = on; }

    QString title;
    QStringList errors;
    unsigned int maximum = 0;
    unsigned int value = 0;
    bool cancelled = false;
    int cancelAt = -1;
    bool background = false;
};

class TestProgressProvider : public Zorn::ProgressProvider
{
public:
    Zorn::ProviderJob *newJob(const QString &title, int) override
    {
        jobs.push_back(std::make_unique<TestJob>(title));
        return jobs.back().get();
    }
    std::vector<std::unique_ptr<TestJob>> jobs;
};

// The host of the tests: options live in a map, status texts and registered names are
// recorded, and every object it hands out belongs to it. It installs itself as the global
// Interface for its lifetime.
class TestInterface : public Zorn::Interface
{
public:
    TestInterface();
    ~TestInterface() override;

    QString text(int id) const override;

    QWidget *mainWidget() const override { return nullptr; }
    QString applicationPath() const override { return appPath; }
    QString engineDataPath() const override { return dataPath; }
    QString engineUserPath() const override { return userPath; }
    Zorn::ProgressProvider *progressProvider() override { return &progress; }
    Zorn::Engine *currentEngine() const override { return engine; }
    Zorn::Editor *currentEditor() const override { return nullptr; }
    Zorn::FileEditor *editorFor(Zorn::ProjectFile *, int) override { return fileEditor; }
    Zorn::Editor *editor(const char *) override { return nullptr; }
    Zorn::ExtraEditor *currentExtraEditor() const override { return nullptr; }
    int projectCount() const override { return 0; }
    Zorn::Project *projectAt(int) const override { return nullptr; }
    Zorn::Project *currentProject() const override { return project; }
    int scaleToDPI(int value) const override { return value; }
    using Zorn::Interface::scaleToDPI;
    QIcon icon(const QString &) const override { return QIcon(); }
    QColor colorOption(const QString &name) const override;
    QTextCharFormat formatOption(const QString &name) const override;
    QVariant option(const QString &name, const QVariant &fallback) const override;
    void setOption(const QString &name, const QVariant &value) override;
    void setStatus(int field, const QString &text) override;
    QObject *registerAction(const char *name, const ActionEntry &entry) override;
    void registerWidget(const char *name, QWidget *widget) override;
    QAbstractSlider *control(const char *) override { return nullptr; }
    Zorn::Menu *menu(const char *) override { return nullptr; }
    QAction *addAction(const char *name, const Zorn::Translator &translator, int textId,
                       const QString &icon, int index, bool checkable, QObject *receiver,
                       const char *slot) override;
    QAction *action(const char *name) override;
    QAction *editorAction(const char *name, const Zorn::Translator &translator,
                          int textId) override;
    QWidget *toolWidget(int) override { return nullptr; }
    void refreshEditors() override {}
    // Records the editor and activates it, as a host does.
    void switchToEditor(Zorn::Editor *editor) override;
    void switchExtraEditor(Zorn::ExtraEditor *, int) override {}
    void setWorkspace(Zorn::Workspace *) override {}

    QMap<QString, QVariant> options;
    QList<QPair<int, QString>> statusTexts;
    QStringList registered;
    QMap<QString, QAction *> actions;
    TestProgressProvider progress;
    Zorn::Engine *engine = nullptr;
    Zorn::Project *project = nullptr;
    Zorn::FileEditor *fileEditor = nullptr; // what editorFor() answers
    QList<Zorn::Editor *> switchedTo;
    QString appPath, dataPath, userPath;

private:
    std::vector<std::unique_ptr<QObject>> owned;
};

} // namespace ZornTest

#endif
