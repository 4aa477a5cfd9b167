#include "mainwindow.h"

#include "enginemodule.h"

#include <zornx/core/archive.h>
#include <zornx/core/engine.h>
#include <zornx/core/messages.h>
#include <zornx/editor/editor.h>
#include <zornx/editor/menu.h>
#include <zornx/editor/workspace.h>
#include <zornx/project/parentproject.h>
#include <zornx/project/project.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QIdentityProxyModel>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>
#include <QtGui/QCloseEvent>
#include <QtWidgets/QActionGroup>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDockWidget>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QInputDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListView>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QSlider>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QStyle>
#include <QtWidgets/QTableView>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QTreeView>
#include <QtWidgets/QVBoxLayout>

namespace Studio {

namespace {

const int maxRecent = 8;

// What the studio answers for an option that the user never set.
const QMap<QString, QVariant> &defaultOptions()
{
    static const QMap<QString, QVariant> defaults = {
        {QStringLiteral("enable_file_watcher"), true},
        {QStringLiteral("showmsg_reload_file"), 0},
        {QStringLiteral("use_native_open"), true},
        {QStringLiteral("sort_file_names"), true},
        {QStringLiteral("auto_expand_tree"), true},
        {QStringLiteral("show_code_bar"), true},
        {QStringLiteral("code_line_numbers"), true},
        {QStringLiteral("code_highlight_line"), true},
        {QStringLiteral("code_highlight_blocks"), true},
        {QStringLiteral("code_folding_markers"), true},
        {QStringLiteral("code_paren_matching"), true},
        {QStringLiteral("font_name"), QStringLiteral("DejaVu Sans Mono")},
        {QStringLiteral("font_size"), 10},
        {QStringLiteral("color_background"), QStringLiteral("#ffffff")},
        {QStringLiteral("color_foreground"), QStringLiteral("#1e1e1e")},
        {QStringLiteral("color_line"), QStringLiteral("#fff7d6")},
        {QStringLiteral("color_block_range"), QStringLiteral("#eef2fb")},
        {QStringLiteral("color_paren_range"), QStringLiteral("#dcefdc")},
        {QStringLiteral("color_paren"), QStringLiteral("#b00000")},
    };
    return defaults;
}

// The stock icon that stands for a name the library asks for.
QIcon stockIcon(const QString &name)
{
    static const QMap<QString, QStyle::StandardPixmap> stock = {
        {QStringLiteral("icon_folder"), QStyle::SP_DirIcon},
        {QStringLiteral("icon_file"), QStyle::SP_FileIcon},
        {QStringLiteral("icon_code"), QStyle::SP_FileDialogDetailedView},
        {QStringLiteral("icon_sprite"), QStyle::SP_FileIcon},
        {QStringLiteral("icon_sound"), QStyle::SP_MediaVolume},
        {QStringLiteral("icon_animation"), QStyle::SP_MediaPlay},
        {QStringLiteral("open"), QStyle::SP_DialogOpenButton},
        {QStringLiteral("save"), QStyle::SP_DialogSaveButton},
        {QStringLiteral("save_all"), QStyle::SP_DriveHDIcon},
        {QStringLiteral("code_goto"), QStyle::SP_ArrowRight},
        {QStringLiteral("code_prev_error"), QStyle::SP_ArrowUp},
        {QStringLiteral("code_next_error"), QStyle::SP_ArrowDown},
        {QStringLiteral("code_prev_deprecation"), QStyle::SP_MediaSeekBackward},
        {QStringLiteral("code_next_deprecation"), QStyle::SP_MediaSeekForward},
        {QStringLiteral("code_comment"), QStyle::SP_FileDialogContentsView},
    };
    const auto found = stock.constFind(name);
    return found == stock.constEnd() ? QIcon() : QApplication::style()->standardIcon(*found);
}

// The message table with the names of its columns.
class MessageTable : public QIdentityProxyModel
{
public:
    using QIdentityProxyModel::QIdentityProxyModel;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        static const char *const names[] = {"Message", "File", "Line"};
        if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 && section < 3)
            return MainWindow::tr(names[section]);
        return QIdentityProxyModel::headerData(section, orientation, role);
    }
};

// A strip of tool buttons; the host's answer to toolWidget().
class ToolStrip : public QToolBar
{
    Q_OBJECT
public:
    explicit ToolStrip(QWidget *parent) : QToolBar(parent)
    {
        connect(this, &QToolBar::actionTriggered, this,
                [this](QAction *action) { emit itemClicked(actions().indexOf(action)); });
    }

Q_SIGNALS:
    void itemClicked(int index);
};

} // namespace

// A job of the studio: its progress goes to the status bar, its errors are kept until the
// window reports them, or shown as they come for a job that runs in the background.
class MainWindow::Job : public Zorn::ProviderJob
{
public:
    Job(MainWindow *window, const QString &title) : window(window), title(title) {}
    void error(const QString &text) override
    {
        if (!background) {
            errors.append(text);
            return;
        }
        const QString caption = title;
        QMetaObject::invokeMethod(window, [window = window, caption, text] {
            QMessageBox::warning(window, caption, text);
        }, Qt::QueuedConnection);
    }
    void setMaximum(unsigned int value) override { maximum = value; }
    void setValue(unsigned int v) override
    {
        value = v;
        if (maximum)
            window->statusBar()->showMessage(
                QStringLiteral("%1: %2 of %3").arg(title).arg(value).arg(maximum), 2000);
    }
    void incrementValue() override { setValue(value + 1); }
    bool wasCancelled() const override { return false; }
    void setBackground(bool on) override { background = on; }

    MainWindow *window;
    bool background = false;
    QString title;
    QStringList errors;
    unsigned int maximum = 0;
    unsigned int value = 0;
};

MainWindow::MainWindow(const QString &settingsFile, QWidget *parentWidget)
    : QMainWindow(parentWidget),
      settings(settingsFile.isEmpty()
                   ? std::make_unique<QSettings>(QStringLiteral("zornx"), QStringLiteral("studio"))
                   : std::make_unique<QSettings>(settingsFile, QSettings::IniFormat))
{
    Zorn::setGlobalInterface(this);
    setObjectName(QStringLiteral("studio"));
    setWindowTitle(QStringLiteral("zornx studio"));

    stack = new QStackedWidget(this);
    auto *welcome = new QLabel;
    welcome->setAlignment(Qt::AlignCenter);
    welcome->setEnabled(false);
    stack->addWidget(welcome);
    setCentralWidget(stack);

    tree = new QTreeView;
    tree->setObjectName(QStringLiteral("projectTree"));
    tree->setHeaderHidden(true);
    connect(tree, &QTreeView::activated, this, &MainWindow::treeActivated);
    auto *treeDock = new QDockWidget(tr("Project"), this);
    treeDock->setObjectName(QStringLiteral("projectDock"));
    treeDock->setWidget(tree);
    addDockWidget(Qt::LeftDockWidgetArea, treeDock);

    messages = new QTableView;
    messages->setObjectName(QStringLiteral("messageView"));
    messages->setSelectionBehavior(QAbstractItemView::SelectRows);
    messages->setSelectionMode(QAbstractItemView::SingleSelection);
    messages->setEditTriggers(QAbstractItemView::NoEditTriggers);
    messages->verticalHeader()->hide();
    messages->setModel(new MessageTable(this));
    messages->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    messages->setShowGrid(false);
    connect(messages, &QTableView::activated, this, &MainWindow::messageActivated);
    auto *messageDock = new QDockWidget(tr("Messages"), this);
    messageDock->setObjectName(QStringLiteral("messageDock"));
    messageDock->setWidget(messages);
    addDockWidget(Qt::BottomDockWidgetArea, messageDock);

    for (int field = 0; field < 3; ++field) {
        status[field] = new QLabel;
        status[field]->setObjectName(QStringLiteral("status%1").arg(field));
        status[field]->setContentsMargins(6, 0, 6, 0);
        statusBar()->addPermanentWidget(status[field]);
    }
    status[2]->installEventFilter(this);

    mainBar = addToolBar(tr("Main"));
    mainBar->setObjectName(QStringLiteral("mainBar"));
    editorBar = addToolBar(tr("Editor"));
    editorBar->setObjectName(QStringLiteral("editorBar"));
    editorGroup = new QActionGroup(this);
    buildMenus();
    menus.value("view")->addAction(treeDock->toggleViewAction());
    menus.value("view")->addAction(messageDock->toggleViewAction());
    menus.value("view")->addSeparator();

    // The module comes last: its engine reads its configuration and its editors register
    // their actions with this window as they are made.
    module = createEngineModule();
    for (Zorn::FileEditor *fileEditor : module->editors()) {
        connect(fileEditor, &Zorn::FileEditor::modified, this, &MainWindow::updateTitle);
        fileEditor->engineSwitched(true);
    }
    resize(1100, 720);
    resizeDocks({treeDock}, {240}, Qt::Horizontal);
    resizeDocks({messageDock}, {110}, Qt::Vertical);
    restoreGeometry(settings->value(QStringLiteral("window_geometry")).toByteArray());
    restoreState(settings->value(QStringLiteral("window_state")).toByteArray());
    updateTitle();
}

MainWindow::~MainWindow()
{
    if (parent) {
        for (Zorn::FileEditor *fileEditor : module->editors())
            fileEditor->setCurrentFile(nullptr);
        module->close(parent, projects);
    }
    if (activeEditor)
        activeEditor->deactivate();
    if (workspace)
        workspace->deactivate();
    // The workspaces' widgets belong to their workspaces, which the module ends.
    while (stack->count() > 1)
        stack->removeWidget(stack->widget(1));
    module.reset();
    Zorn::setGlobalInterface(nullptr);
}

void MainWindow::buildMenus()
{
    Zorn::Menu *file = menu("file");
    Zorn::Menu *edit = menu("edit");
    Zorn::Menu *view = menu("view");
    menu("editors");
    QAction *open = file->addAction(icon(QStringLiteral("open")), tr("&Open directory..."),
                                    this, &MainWindow::openDirectoryDialog, QKeySequence::Open);
    open->setObjectName(QStringLiteral("file_open_directory"));
    Zorn::Menu *recent = file->addMenu(tr("&Recent directories"));
    recent->setObjectName(QStringLiteral("recentMenu"));
    connect(recent, &QMenu::aboutToShow, this, &MainWindow::rebuildRecentMenu);
    file->addSeparator();
    QAction *save = file->addAction(icon(QStringLiteral("save")), tr("&Save"), this, [this] {
        if (auto *fileEditor = qobject_cast<Zorn::FileEditor *>(activeEditor))
            fileEditor->save();
        updateTitle();
    }, QKeySequence::Save);
    save->setObjectName(QStringLiteral("file_save"));
    QAction *all = file->addAction(icon(QStringLiteral("save_all")), tr("Save &all"), this,
                                   &MainWindow::saveAll, QKeySequence(tr("Ctrl+Shift+S")));
    all->setObjectName(QStringLiteral("file_save_all"));
    file->addAction(tr("&Backup..."), this, &MainWindow::backup)
        ->setObjectName(QStringLiteral("file_backup"));
    file->addAction(tr("&Close directory"), this, &MainWindow::closeDirectory)
        ->setObjectName(QStringLiteral("file_close_directory"));
    file->addSeparator();
    file->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence::Quit);
    for (QAction *action : {open, save, all})
        actions.insert(action->objectName().toLatin1(), action);
    mainBar->addActions({open, save, all});

    // The edit entries go to the active file editor.
    const struct
    {
        const char *name;
        QString text;
        QKeySequence key;
        void (Zorn::FileEditor::*slot)();
    } editEntries[] = {
        {"edit_undo", tr("&Undo"), QKeySequence::Undo, &Zorn::FileEditor::undo},
        {"edit_redo", tr("&Redo"), QKeySequence::Redo, &Zorn::FileEditor::redo},
        {"edit_cut", tr("Cu&t"), QKeySequence::Cut, &Zorn::FileEditor::cut},
        {"edit_copy", tr("&Copy"), QKeySequence::Copy, &Zorn::FileEditor::copy},
        {"edit_paste", tr("&Paste"), QKeySequence::Paste, &Zorn::FileEditor::paste},
    };
    for (const auto &entry : editEntries) {
        const auto slot = entry.slot;
        QAction *action = edit->addAction(entry.text, this, [this, slot] {
            if (auto *fileEditor = qobject_cast<Zorn::FileEditor *>(activeEditor))
                (fileEditor->*slot)();
        });
        action->setObjectName(QString::fromLatin1(entry.name));
        // The editor widget handles its own keys; the menu shows them.
        action->setShortcut(entry.key);
        action->setShortcutContext(Qt::WidgetShortcut);
        actions.insert(entry.name, action);
    }

    // The zoom entries go to the active workspace.
    const struct
    {
        const char *name;
        QString text;
        QKeySequence key;
        void (Zorn::Workspace::*slot)();
    } zoomEntries[] = {
        {"view_zoom_in", tr("Zoom &in"), QKeySequence::ZoomIn, &Zorn::Workspace::zoomIn},
        {"view_zoom_out", tr("Zoom &out"), QKeySequence::ZoomOut, &Zorn::Workspace::zoomOut},
        {"view_zoom_actual", tr("&Actual size"), QKeySequence(tr("Ctrl+0")),
         &Zorn::Workspace::zoomActual},
        {"view_zoom_fit", tr("&Fit"), QKeySequence(), &Zorn::Workspace::zoomFit},
    };
    for (const auto &entry : zoomEntries) {
        const auto slot = entry.slot;
        QAction *action = view->addAction(entry.text, this, [this, slot] {
            if (workspace)
                (workspace->*slot)();
        }, entry.key);
        action->setObjectName(QString::fromLatin1(entry.name));
        actions.insert(entry.name, action);
    }
    view->addSeparator();
}

// --- Directories -------------------------------------------------------------------------

bool MainWindow::openDirectory(const QString &directory)
{
    if (!closeDirectory())
        return false;
    const QString path = QDir(directory).absolutePath();
    parent = module->open(path, projects);
    if (!parent) {
        QMessageBox::warning(this, tr("Open directory"),
                             tr("%1 holds no project that the engine knows.")
                                 .arg(QDir::toNativeSeparators(path)));
        return false;
    }
    for (Zorn::Project *opened : qAsConst(projects))
        opened->setOption(QStringLiteral("project_path"), opened->absolutePath());
    connect(parent, &Zorn::ParentProject::fileSaved, this, &MainWindow::updateTitle);
    tree->setModel(parent);
    for (int row = 0; row < parent->rowCount(); ++row)
        tree->expand(parent->index(row, 0));
    setCurrentProject(projects.value(0));
    addRecentDirectory(path);
    setOption(QStringLiteral("last_directory"), path);
    updateTitle();
    return true;
}

bool MainWindow::closeDirectory()
{
    if (!parent)
        return true;
    bool discard = true;
    for (Zorn::FileEditor *fileEditor : module->editors())
        for (Zorn::Project *opened : qAsConst(projects))
            discard = fileEditor->canDiscard(opened) && discard;
    if (!discard)
        return false;
    for (Zorn::FileEditor *fileEditor : module->editors())
        fileEditor->setCurrentFile(nullptr);
    setCurrentProject(nullptr);
    tree->setModel(nullptr);
    module->close(parent, projects);
    parent = nullptr;
    projects.clear();
    updateTitle();
    return true;
}

Zorn::ParentProject *MainWindow::parentProject() const
{
    return parent;
}

void MainWindow::openDirectoryDialog()
{
    const QString directory = Zorn::getExistingDirectory(
        this, tr("Open directory"), option(QStringLiteral("last_directory"), QDir::homePath()).toString());
    if (!directory.isEmpty())
        openDirectory(directory);
}

void MainWindow::addRecentDirectory(const QString &directory)
{
    QStringList recent = option(QStringLiteral("recent_directories"), QStringList()).toStringList();
    recent.removeAll(directory);
    recent.prepend(directory);
    setOption(QStringLiteral("recent_directories"), QStringList(recent.mid(0, maxRecent)));
}

void MainWindow::rebuildRecentMenu()
{
    auto *recent = qobject_cast<QMenu *>(sender());
    recent->clear();
    const QStringList directories =
        option(QStringLiteral("recent_directories"), QStringList()).toStringList();
    for (const QString &directory : directories)
        recent->addAction(QDir::toNativeSeparators(directory), this,
                          [this, directory] { openDirectory(directory); });
    if (directories.isEmpty())
        recent->addAction(tr("(none)"))->setEnabled(false);
}

bool MainWindow::saveAll()
{
    if (!parent)
        return true;
    parent->save(this);
    const bool ok = reportJobErrors(tr("Save all"));
    if (ok)
        statusBar()->showMessage(tr("Saved."), 3000);
    updateTitle();
    return ok;
}

void MainWindow::backup()
{
    if (!parent)
        return;
    bool ok = false;
    const QString name = QInputDialog::getText(this, tr("Backup"), tr("Name of the backup:"),
                                               QLineEdit::Normal, QStringLiteral("backup"), &ok);
    if (!ok)
        return;
    if (!parent->backup(name, newJob(tr("Backup"), 0)))
        QMessageBox::warning(this, tr("Backup"), tr("The backup could not be written."));
    else if (reportJobErrors(tr("Backup")))
        statusBar()->showMessage(tr("Backup written."), 3000);
}

bool MainWindow::reportJobErrors(const QString &title)
{
    QStringList errors;
    for (; reportedJobs < jobs.size(); ++reportedJobs)
        errors += jobs[reportedJobs]->errors;
    if (errors.isEmpty())
        return true;
    QMessageBox::warning(this, title, errors.join(QLatin1Char('\n')));
    return false;
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (!closeDirectory()) {
        event->ignore();
        return;
    }
    settings->setValue(QStringLiteral("window_geometry"), saveGeometry());
    settings->setValue(QStringLiteral("window_state"), saveState());
    event->accept();
}

// --- Files, projects and messages --------------------------------------------------------

Zorn::ProjectFile *MainWindow::fileAt(const QModelIndex &index) const
{
    const Zorn::ParentProject::Path *node = parent ? parent->itemPath(index) : nullptr;
    if (!node || !node->isFile())
        return nullptr;
    for (Zorn::Project *opened : projects)
        for (Zorn::ProjectFile *file : opened->files())
            if (parent->filePath(file->fileName()) == node)
                return file;
    return nullptr;
}

bool MainWindow::openFile(Zorn::ProjectFile *file)
{
    Zorn::Project *owner = file ? file->project() : nullptr;
    if (!owner)
        return false;
    const Zorn::Project::FileTypes ids = owner->fileID(file);
    Zorn::FileEditor *fileEditor = nullptr;
    for (int type = 0; type < 32 && !fileEditor; ++type)
        if (ids & (1u << type))
            fileEditor = editorFor(file, type);
    if (!fileEditor) {
        statusBar()->showMessage(tr("No editor for %1.").arg(file->displayName()), 4000);
        return false;
    }
    setCurrentProject(owner);
    const QModelIndex index = treeIndex(parent->filePath(file->fileName()), QModelIndex());
    if (index.isValid() && tree->currentIndex() != index) {
        for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
            tree->expand(above);
        tree->setCurrentIndex(index);
    }
    switchToEditor(fileEditor);
    if (activeEditor != fileEditor)
        return false;
    if (fileEditor->currentFile() != file)
        fileEditor->setCurrentFile(file);
    updateTitle();
    return true;
}

QModelIndex MainWindow::treeIndex(const void *node, const QModelIndex &below) const
{
    for (int row = 0; node && row < parent->rowCount(below); ++row) {
        const QModelIndex index = parent->index(row, 0, below);
        if (parent->itemPath(index) == node)
            return index;
        const QModelIndex found = treeIndex(node, index);
        if (found.isValid())
            return found;
    }
    return QModelIndex();
}

void MainWindow::treeActivated(const QModelIndex &index)
{
    if (Zorn::ProjectFile *file = fileAt(index))
        openFile(file);
}

void MainWindow::messageActivated(const QModelIndex &index)
{
    if (!project)
        return;
    const Zorn::Messages *owner = nullptr;
    const Zorn::Message message = project->messages()->messageAt(index.row(), owner);
    if (!owner || !owner->file() || !openFile(owner->file()))
        return;
    if (auto *fileEditor = qobject_cast<Zorn::FileEditor *>(activeEditor))
        fileEditor->navigateTo(message.line, message.column);
}

void MainWindow::setCurrentProject(Zorn::Project *current)
{
    if (project == current)
        return;
    project = current;
    static_cast<QIdentityProxyModel *>(messages->model())
        ->setSourceModel(current ? current->messages() : nullptr);
    if (current)
        messages->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    for (Zorn::FileEditor *fileEditor : module->editors())
        fileEditor->projectSwitched(current);
}

void MainWindow::updateTitle()
{
    bool modified = false;
    for (Zorn::Project *opened : qAsConst(projects))
        modified = modified || opened->isModified();
    QString title = QStringLiteral("zornx studio");
    if (parent)
        title = QStringLiteral("%1[*] - %2").arg(QDir::toNativeSeparators(parent->basePath()), title);
    if (auto *fileEditor = qobject_cast<Zorn::FileEditor *>(activeEditor))
        if (Zorn::ProjectFile *file = fileEditor->currentFile())
            title.prepend(file->displayName() + (file->isModified() ? QStringLiteral("* - ")
                                                                      : QStringLiteral(" - ")));
    setWindowTitle(title);
    setWindowModified(modified);
    static_cast<QLabel *>(stack->widget(0))
        ->setText(parent ? tr("Double-click a file in the project tree to edit it.")
                         : tr("Open the directory of a game with File > Open directory..."));
}

QTreeView *MainWindow::projectTree() const
{
    return tree;
}

QTableView *MainWindow::messageView() const
{
    return messages;
}

QString MainWindow::statusText(int field) const
{
    return field >= 0 && field < 3 ? status[field]->text() : QString();
}

// --- Interface ---------------------------------------------------------------------------

QString MainWindow::text(int id) const
{
    switch (id) {
    case 0:
        return tr("XML error");
    case 1:
        return tr("%1\nLine %2, column %3.");
    }
    return QString();
}

QWidget *MainWindow::mainWidget() const
{
    return const_cast<MainWindow *>(this);
}

QString MainWindow::applicationPath() const
{
    return QCoreApplication::applicationDirPath();
}

QString MainWindow::engineDataPath() const
{
    return module ? module->dataPath() : QString();
}

QString MainWindow::engineUserPath() const
{
    // Beside the settings, so that a studio with settings of its own keeps its engines apart.
    return QFileInfo(settings->fileName()).absolutePath();
}

Zorn::ProgressProvider *MainWindow::progressProvider()
{
    return this;
}

Zorn::Engine *MainWindow::currentEngine() const
{
    return module ? module->engine() : nullptr;
}

Zorn::Editor *MainWindow::currentEditor() const
{
    return activeEditor;
}

Zorn::FileEditor *MainWindow::editorFor(Zorn::ProjectFile *, int type)
{
    if (module)
        for (Zorn::FileEditor *fileEditor : module->editors())
            if (fileEditor->canEditFileType() == type)
                return fileEditor;
    return nullptr;
}

Zorn::Editor *MainWindow::editor(const char *name)
{
    if (module && name)
        for (Zorn::FileEditor *fileEditor : module->editors())
            if (qstrcmp(fileEditor->name(), name) == 0)
                return fileEditor;
    return nullptr;
}

Zorn::ExtraEditor *MainWindow::currentExtraEditor() const
{
    return extraEditor;
}

int MainWindow::projectCount() const
{
    return projects.size();
}

Zorn::Project *MainWindow::projectAt(int index) const
{
    return projects.value(index);
}

Zorn::Project *MainWindow::currentProject() const
{
    return project;
}

int MainWindow::scaleToDPI(int value) const
{
    return value * logicalDpiX() / 96;
}

QIcon MainWindow::icon(const QString &name) const
{
    const QString resource = QStringLiteral(":/zornl_icons/icons/%1.png").arg(name);
    if (QFileInfo::exists(resource))
        return QIcon(resource);
    return stockIcon(name);
}

QColor MainWindow::colorOption(const QString &name) const
{
    return QColor(option(QStringLiteral("color_") + name, QVariant()).toString());
}

QTextCharFormat MainWindow::formatOption(const QString &name) const
{
    QTextCharFormat format;
    const QColor color = colorOption(name);
    if (color.isValid())
        format.setForeground(color);
    format.setFontWeight(option(QStringLiteral("bold_") + name, name == QLatin1String("paren"))
                                 .toBool()
                             ? QFont::Bold
                             : QFont::Normal);
    format.setFontItalic(option(QStringLiteral("italic_") + name, false).toBool());
    return format;
}

QVariant MainWindow::option(const QString &name, const QVariant &fallback) const
{
    if (settings->contains(name))
        return settings->value(name);
    return defaultOptions().value(name, fallback);
}

void MainWindow::setOption(const QString &name, const QVariant &value)
{
    if (value.isNull())
        settings->remove(name);
    else
        settings->setValue(name, value);
}

void MainWindow::setStatus(int field, const QString &text)
{
    if (field >= 0 && field < 3)
        status[field]->setText(text);
}

QObject *MainWindow::registerAction(const char *name, const ActionEntry &entry)
{
    const QByteArray key(name);
    if (entry.kind == 0) {
        if (!entry.action)
            return nullptr;
        actions.insert(key, entry.action);
        // Flag 16: the action belongs on the tool bar.
        if (entry.flags & 16)
            editorBar->addAction(entry.action);
        return entry.action;
    }
    if (entry.kind == 1)
        return menu(name);
    if (QWidget *known = controls.value(key))
        return known;

    QWidget *control = nullptr;
    switch (entry.kind) {
    case 3:
    case 14: {
        auto *label = new QLabel;
        if (entry.kind == 14)
            label->setStyleSheet(QStringLiteral("font-weight: bold"));
        control = label;
        break;
    }
    case 4:
    case 5: {
        auto *slider = new QSlider(Qt::Horizontal);
        slider->setMaximumWidth(160);
        control = slider;
        break;
    }
    case 7:
        control = new QSpinBox;
        break;
    case 8:
        control = new QDoubleSpinBox;
        break;
    case 9:
        control = new QCheckBox;
        break;
    case 10:
        control = new QComboBox;
        break;
    case 11:
    case 12: {
        QAbstractItemView *view;
        if (entry.kind == 11) {
            view = new QListView;
        } else {
            auto *treeView = new QTreeView;
            treeView->setHeaderHidden(true);
            view = treeView;
        }
        if (entry.receiver && entry.slot) {
            connect(view, SIGNAL(clicked(QModelIndex)), entry.receiver, entry.slot);
            connect(view, SIGNAL(activated(QModelIndex)), entry.receiver, entry.slot);
        }
        // Lists and trees get a dock of their own (flag 32: on the left, else on the right).
        registerWidget(name, view);
        if (entry.flags & 32) {
            auto *dock = qobject_cast<QDockWidget *>(view->parentWidget());
            addDockWidget(Qt::LeftDockWidgetArea, dock);
            resizeDocks({dock}, {200}, Qt::Vertical);
        }
        controls.insert(key, view);
        return view;
    }
    default:
        return nullptr;
    }
    control->setObjectName(QString::fromLatin1(name));
    editorBar->addWidget(control);
    controls.insert(key, control);
    return control;
}

void MainWindow::registerWidget(const char *name, QWidget *widget)
{
    // "code_tree" shows as "Code tree".
    QString title = QString::fromLatin1(name).replace(QLatin1Char('_'), QLatin1Char(' '));
    if (!title.isEmpty())
        title[0] = title[0].toUpper();
    auto *dock = new QDockWidget(title, this);
    dock->setObjectName(QString::fromLatin1(name) + QStringLiteral("Dock"));
    widget->setObjectName(QString::fromLatin1(name));
    dock->setWidget(widget);
    addDockWidget(Qt::RightDockWidgetArea, dock);
    if (Zorn::Menu *view = menus.value("view"))
        view->addAction(dock->toggleViewAction());
}

QAbstractSlider *MainWindow::control(const char *name)
{
    return qobject_cast<QAbstractSlider *>(controls.value(QByteArray(name)));
}

Zorn::Menu *MainWindow::menu(const char *name)
{
    const QByteArray key(name);
    if (Zorn::Menu *known = menus.value(key))
        return known;
    QString title = QString::fromLatin1(name);
    if (!title.isEmpty())
        title[0] = title[0].toUpper();
    auto *created = new Zorn::Menu(QLatin1Char('&') + title, this);
    created->setObjectName(QString::fromLatin1(name));
    menuBar()->addMenu(created);
    menus.insert(key, created);
    return created;
}

QAction *MainWindow::addAction(const char *name, const Zorn::Translator &translator, int textId,
                               const QString &iconName, int, bool checkable, QObject *receiver,
                               const char *slot)
{
    auto *made = new QAction(translator.text(textId), this);
    made->setObjectName(QString::fromLatin1(name));
    made->setToolTip(translator.toolTip(textId));
    made->setIcon(icon(iconName.isEmpty() ? QString::fromLatin1(name) : iconName));
    made->setCheckable(checkable);
    if (receiver && slot)
        connect(made, SIGNAL(triggered(bool)), receiver, slot);
    actions.insert(QByteArray(name), made);
    return made;
}

QAction *MainWindow::action(const char *name)
{
    return actions.value(QByteArray(name));
}

QAction *MainWindow::editorAction(const char *name, const Zorn::Translator &translator, int textId)
{
    QAction *made = addAction(name, translator, textId, QString(), 0, true, nullptr, nullptr);
    editorGroup->addAction(made);
    menus.value("editors")->addAction(made);
    const QByteArray editorName(name);
    connect(made, &QAction::triggered, this, [this, editorName] {
        if (Zorn::Editor *target = editor(editorName.constData()))
            switchToEditor(target);
    });
    return made;
}

QWidget *MainWindow::toolWidget(int index)
{
    QWidget *&strip = tools[index];
    if (!strip) {
        auto *bar = new ToolStrip(this);
        bar->setObjectName(QStringLiteral("tools%1").arg(index));
        addToolBar(Qt::LeftToolBarArea, bar);
        strip = bar;
    }
    return strip;
}

void MainWindow::refreshEditors()
{
    if (module)
        for (Zorn::FileEditor *fileEditor : module->editors())
            if (QAction *entry = fileEditor->action())
                entry->setChecked(fileEditor == activeEditor);
    updateTitle();
}

void MainWindow::switchToEditor(Zorn::Editor *target)
{
    if (!target || (target == activeEditor && target->isActive()))
        return;
    if (auto *leaving = qobject_cast<Zorn::FileEditor *>(activeEditor))
        if (!leaving->canSwitchOut())
            return;
    if (activeEditor)
        activeEditor->deactivate();
    activeEditor = target;
    target->activate();
    refreshEditors();
}

void MainWindow::switchExtraEditor(Zorn::ExtraEditor *target, int)
{
    if (target == extraEditor)
        return;
    if (extraEditor)
        extraEditor->deactivate();
    extraEditor = target;
    if (target)
        target->activate();
}

void MainWindow::setWorkspace(Zorn::Workspace *target)
{
    if (target == workspace)
        return;
    if (workspace)
        workspace->deactivate();
    workspace = target;
    if (!target) {
        stack->setCurrentIndex(0);
        return;
    }
    QWidget *widget = target->widget();
    if (stack->indexOf(widget) < 0) {
        // First shown: it reads its looks and texts, and learns of the engine.
        stack->addWidget(widget);
        target->reconfig();
        target->retranslate();
        target->engineSwitched(currentEngine() != nullptr);
    }
    stack->setCurrentWidget(widget);
    target->activate();
}

Zorn::ProviderJob *MainWindow::newJob(const QString &title, int)
{
    jobs.push_back(std::make_unique<Job>(this, title));
    return jobs.back().get();
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == status[2] && event->type() == QEvent::MouseButtonRelease && workspace)
        workspace->statusClicked();
    return QMainWindow::eventFilter(watched, event);
}

} // namespace Studio

#include "mainwindow.moc"
