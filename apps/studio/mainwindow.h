#ifndef ZORNX_STUDIO_MAINWINDOW_H
#define ZORNX_STUDIO_MAINWINDOW_H

#include <zornx/core/interface.h>
#include <zornx/core/object.h>

#include <QtCore/QMap>
#include <QtCore/QPointer>
#include <QtWidgets/QMainWindow>

#include <memory>
#include <vector>

class QActionGroup;
class QLabel;
class QSettings;
class QStackedWidget;
class QTableView;
class QToolBar;
class QTreeView;

namespace Zorn {
class ParentProject;
class Translator;
}

namespace Studio {

class EngineModule;

// The studio's main window and the library's host: it implements every operation of
// Zorn::Interface, builds its menus and tool bars from the actions that editors and
// workspaces register, shows the project tree and the messages as docks and the active
// workspace in the middle, and keeps the options in a QSettings file.
class MainWindow : public QMainWindow, public Zorn::Interface, public Zorn::ProgressProvider
{
    Q_OBJECT
public:
    // settingsFile: the options' file; empty for the user's own.
    explicit MainWindow(const QString &settingsFile = QString(), QWidget *parent = nullptr);
    ~MainWindow() override;

    // Closes what is open (asking about unsaved changes) and opens directory with the engine
    // module. false when the user kept the old one or the directory holds no project.
    bool openDirectory(const QString &directory);
    // Asks about unsaved changes; false when the user keeps them open.
    bool closeDirectory();
    Zorn::ParentProject *parentProject() const;
    // Shows file in the editor of its type; false without one.
    bool openFile(Zorn::ProjectFile *file);
    // The project file behind a row of the project tree, or null.
    Zorn::ProjectFile *fileAt(const QModelIndex &index) const;
    QTreeView *projectTree() const;
    QTableView *messageView() const;
    // The texts of the status fields: 0 cursor, 1 syntax errors, 2 renderer.
    QString statusText(int field) const;

    // Translator
    QString text(int id) const override;

    // Interface
    QWidget *mainWidget() const override;
    QString applicationPath() const override;
    QString engineDataPath() const override;
    QString engineUserPath() const override;
    Zorn::ProgressProvider *progressProvider() override;
    Zorn::Engine *currentEngine() const override;
    Zorn::Editor *currentEditor() const override;
    Zorn::FileEditor *editorFor(Zorn::ProjectFile *file, int type) override;
    Zorn::Editor *editor(const char *name) override;
    Zorn::ExtraEditor *currentExtraEditor() const override;
    int projectCount() const override;
    Zorn::Project *projectAt(int index) const override;
    Zorn::Project *currentProject() const override;
    int scaleToDPI(int value) const override;
    using Zorn::Interface::scaleToDPI;
    QIcon icon(const QString &name) const override;
    QColor colorOption(const QString &name) const override;
    QTextCharFormat formatOption(const QString &name) const override;
    QVariant option(const QString &name, const QVariant &fallback) const override;
    void setOption(const QString &name, const QVariant &value) override;
    void setStatus(int field, const QString &text) override;
    QObject *registerAction(const char *name, const ActionEntry &entry) override;
    void registerWidget(const char *name, QWidget *widget) override;
    QAbstractSlider *control(const char *name) override;
    Zorn::Menu *menu(const char *name) override;
    QAction *addAction(const char *name, const Zorn::Translator &translator, int textId,
                       const QString &icon, int index, bool checkable, QObject *receiver,
                       const char *slot) override;
    QAction *action(const char *name) override;
    QAction *editorAction(const char *name, const Zorn::Translator &translator,
                          int textId) override;
    QWidget *toolWidget(int index) override;
    void refreshEditors() override;
    void switchToEditor(Zorn::Editor *editor) override;
    void switchExtraEditor(Zorn::ExtraEditor *editor, int flags) override;
    void setWorkspace(Zorn::Workspace *workspace) override;

    // ProgressProvider
    Zorn::ProviderJob *newJob(const QString &title, int flags) override;

public Q_SLOTS:
    void openDirectoryDialog();
    // Saves every modified file; false when one failed.
    bool saveAll();
    void backup();

protected:
    void closeEvent(QCloseEvent *event) override;
    // A click on the workspace's status field.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildMenus();
    void addRecentDirectory(const QString &directory);
    void rebuildRecentMenu();
    // The row of the tree's node, searched below the row below.
    QModelIndex treeIndex(const void *node, const QModelIndex &below) const;
    void treeActivated(const QModelIndex &index);
    void messageActivated(const QModelIndex &index);
    void setCurrentProject(Zorn::Project *project);
    void updateTitle();
    // Shows the errors the jobs since the last call reported; false when there were any.
    bool reportJobErrors(const QString &title);

    class Job;

    std::unique_ptr<QSettings> settings;
    std::unique_ptr<EngineModule> module;
    Zorn::ParentProject *parent = nullptr;
    QList<Zorn::Project *> projects;
    Zorn::Project *project = nullptr;
    Zorn::Editor *activeEditor = nullptr;
    Zorn::ExtraEditor *extraEditor = nullptr;
    Zorn::Workspace *workspace = nullptr;

    QStackedWidget *stack;
    QTreeView *tree;
    QTableView *messages;
    QLabel *status[3];
    QToolBar *mainBar;
    QToolBar *editorBar;
    QActionGroup *editorGroup;
    QMap<QByteArray, Zorn::Menu *> menus;
    QMap<QByteArray, QAction *> actions;
    QMap<QByteArray, QPointer<QWidget>> controls;
    QMap<int, QWidget *> tools;
    std::vector<std::unique_ptr<Job>> jobs;
    size_t reportedJobs = 0;
};

} // namespace Studio

#endif
