#ifndef MINIMAL_HOST_HOST_H
#define MINIMAL_HOST_HOST_H

#include <zornx/core/interface.h>
#include <zornx/core/object.h>

#include <QtCore/QMap>

#include <memory>
#include <vector>

// The smallest host: settings in a map, status and progress printed to standard output.
// A real host answers with its main window, menus and settings store.
class MinimalHost : public Zorn::Interface, public Zorn::ProgressProvider
{
public:
    MinimalHost();
    ~MinimalHost() override;

    QString text(int id) const override;
    QWidget *mainWidget() const override { return nullptr; }
    QString applicationPath() const override;
    QString engineDataPath() const override;
    QString engineUserPath() const override;
    Zorn::ProgressProvider *progressProvider() override { return this; }
    Zorn::Engine *currentEngine() const override { return nullptr; }
    Zorn::Editor *currentEditor() const override { return nullptr; }
    Zorn::FileEditor *editorFor(Zorn::ProjectFile *, int) override { return nullptr; }
    Zorn::Editor *editor(const char *) override { return nullptr; }
    Zorn::ExtraEditor *currentExtraEditor() const override { return nullptr; }
    int projectCount() const override { return 0; }
    Zorn::Project *projectAt(int) const override { return nullptr; }
    Zorn::Project *currentProject() const override { return nullptr; }
    int scaleToDPI(int value) const override { return value; }
    using Zorn::Interface::scaleToDPI;
    QIcon icon(const QString &) const override { return QIcon(); }
    QColor colorOption(const QString &name) const override;
    QTextCharFormat formatOption(const QString &) const override { return QTextCharFormat(); }
    QVariant option(const QString &name, const QVariant &fallback) const override;
    void setOption(const QString &name, const QVariant &value) override;
    void setStatus(int field, const QString &text) override;
    QObject *registerAction(const char *, const ActionEntry &) override { return nullptr; }
    void registerWidget(const char *, QWidget *) override {}
    QAbstractSlider *control(const char *) override { return nullptr; }
    Zorn::Menu *menu(const char *) override { return nullptr; }
    QAction *addAction(const char *, const Zorn::Translator &, int, const QString &, int, bool,
                       QObject *, const char *) override
    {
        return nullptr;
    }
    QAction *action(const char *) override { return nullptr; }
    QAction *editorAction(const char *, const Zorn::Translator &, int) override { return nullptr; }
    QWidget *toolWidget(int) override { return nullptr; }
    void refreshEditors() override {}
    void switchToEditor(Zorn::Editor *) override {}
    void switchExtraEditor(Zorn::ExtraEditor *, int) override {}
    void setWorkspace(Zorn::Workspace *) override {}

    Zorn::ProviderJob *newJob(const QString &title, int flags) override;

private:
    QMap<QString, QVariant> options;
    std::vector<std::unique_ptr<Zorn::ProviderJob>> jobs;
};

#endif
