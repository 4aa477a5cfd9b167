#include "editor.h"

#include <zornx/core/archive.h>
#include <zornx/core/engine.h>
#include <zornx/core/interface.h>
#include <zornx/project/parentproject_p.h>
#include <zornx/project/project.h>

#include <QtCore/QFileInfo>
#include <QtCore/QRegExp>
#include <QtWidgets/QAction>
#include <QtWidgets/QMessageBox>

namespace Zorn {

namespace {

// ParentProject::save() hands files that cannot be saved in place to our "Save as".
const struct InstallSaveFileAs
{
    InstallSaveFileAs() { setSaveFileAsFunction(&FileEditor::saveFileAs); }
} installSaveFileAs;

QString directoryKey(const FileEditor *editor)
{
    return QString::fromLatin1(editor->name()) + QStringLiteral("_path");
}

// Where a file dialog of the editor starts: the editor's last directory in the project, else
// the project's own directory option.
QString defaultDirectory(const FileEditor *editor, const Project *project)
{
    if (!project)
        return QString();
    QString directory = project->option(directoryKey(editor)).toString();
    if (directory.isEmpty())
        directory = project->option(QStringLiteral("project_path")).toString();
    return directory;
}

void rememberDirectory(const FileEditor *editor, Interface *host, Project *project,
                       const QString &fileName)
{
    const QString key = directoryKey(editor);
    const QString directory = QFileInfo(fileName).absolutePath();
    if (host)
        host->setOption(key, directory);
    if (project)
        project->setOption(key, directory);
}

QString filePatterns(const FileEditor *editor, const Interface *host)
{
    const Engine *engine = host ? host->currentEngine() : nullptr;
    return engine ? engine->singleFileFilters().value(editor->canEditFileType()) : QString();
}

// A new, empty file of the editor's type in project; null when the engine or the project
// refuses it.
ProjectFile *addNewFile(const FileEditor *editor, Engine *engine, Project *project)
{
    const int type = editor->canEditFileType();
    ProjectFile *file = engine->createFile(type, project);
    if (file && !project->addFile(file, type)) {
        file->release();
        return nullptr;
    }
    return file;
}

QString actionText(const FileEditor *editor)
{
    const QAction *action = editor->action();
    return action ? action->text() : QString::fromLatin1(editor->name());
}

bool isInside(const QString &name, const QString &directory)
{
    if (directory.isEmpty())
        return false;
    if (directory.endsWith(QLatin1Char('/')))
        return name.startsWith(directory);
    return name.startsWith(directory + QLatin1Char('/'));
}

// Flags of fromFile()/toFile() for name: a file outside the project is loaded or saved as a
// copy if the user wants it so. A file without a project has nothing to be outside of.
unsigned int outsideFlags(const Project *project, const QString &name, Interface *host,
                          const char *question)
{
    if (!project || isInside(name, project->absolutePath()))
        return 0;
    const QMessageBox::StandardButton answer = QMessageBox::warning(
        host ? host->mainWidget() : nullptr, FileEditor::tr("External file!"),
        FileEditor::tr("This file isn't a child of the project directory, so will be ignored "
                       "on 'Run in engine', 'Backup' and 'Save as' functions. %1")
            .arg(FileEditor::tr(question)),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    return answer == QMessageBox::Yes ? ProjectFile::Copy : 0;
}

// The extension that saveFileAs() appends to name, or an empty string. Only a list of
// "*.ext" patterns written together qualifies; a name ending in one of them keeps its own.
QString missingExtension(const QString &patterns, const QString &name)
{
    const QRegExp whole(QStringLiteral("^(?:\\*(\\.[a-zA-Z]+))*$"));
    if (!whole.exactMatch(patterns))
        return QString();
    QRegExp one(QStringLiteral("\\*(\\.[a-zA-Z]+)"));
    QStringList extensions;
    for (int at = one.indexIn(patterns); at >= 0; at = one.indexIn(patterns, at + 1))
        extensions << one.cap(1);
    for (const QString &extension : qAsConst(extensions))
        if (name.endsWith(extension, Qt::CaseSensitive))
            return QString();
    return extensions.value(0);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Editor

Editor::Editor(QObject *parent)
    : QObject(parent), interface(Interface::instance()), active(false)
{
}

Editor::~Editor() = default;

void Editor::activate()
{
    active = true;
}

void Editor::deactivate()
{
    active = false;
}

void Editor::reconfig() {}

void Editor::projectSwitched(Project *) {}

void Editor::engineSwitched(bool) {}

bool Editor::isActive() const
{
    return active;
}

void Editor::switchToThis()
{
    if (!active && interface)
        interface->switchToEditor(this);
}

void Editor::setVisible(bool changed)
{
    emit visible(changed);
}

void Editor::setWritable(bool changed)
{
    emit writable(changed);
}

// ---------------------------------------------------------------------------------------------
// FileEditor

FileEditor::FileEditor(QObject *parent) : Editor(parent), current(nullptr) {}

FileEditor::~FileEditor() = default;

bool FileEditor::isModified() const
{
    return current && current->isModified();
}

bool FileEditor::canSwitchOut() const
{
    return true;
}

bool FileEditor::canDiscard(const ProjectFile *file) const
{
    if (!file || (file->capabilities() & ProjectFile::CanDiscard) || !file->isModified())
        return true;
    return Interface::yesNoOption(
        tr("Discard changes?"),
        tr("Do you want to discard the changes made in %1?").arg(QString::fromLatin1(name())),
        QStringLiteral("showmsg_discard"), 0, Interface::Yes);
}

bool FileEditor::canDiscard(const Project *project) const
{
    if (!project && interface)
        project = interface->currentProject();
    if (!project)
        return true;
    bool all = true;
    const QList<ProjectFile *> files = project->filesByType(canEditFileType());
    for (const ProjectFile *file : files)
        all = canDiscard(file) && all; // every file is asked, even after a refusal
    return all;
}

bool FileEditor::canClose(const ProjectFile *) const
{
    return true;
}

void FileEditor::navigateTo(unsigned int, unsigned int) {}

void FileEditor::setCurrentFile(ProjectFile *file)
{
    current = file;
}

ProjectFile *FileEditor::currentFile() const
{
    return current;
}

void FileEditor::create()
{
    Project *project = interface ? interface->currentProject() : nullptr;
    Engine *engine = interface ? interface->currentEngine() : nullptr;
    if (!project || !engine || !addNewFile(this, engine, project))
        return;
    switchToThis();
    contentsChanged();
}

void FileEditor::open()
{
    const QString patterns = filePatterns(this, interface);
    Project *project = interface ? interface->currentProject() : nullptr;
    if (patterns.isEmpty() || !project)
        return;
    const QString name = getOpenFileName(
        interface->mainWidget(), tr("Open %1...").arg(QString::fromLatin1(this->name())),
        defaultDirectory(this, project),
        QStringLiteral("%1 (%2)").arg(actionText(this), patterns));
    if (name.isEmpty())
        return;

    ProjectFile *file = addNewFile(this, interface->currentEngine(), project);
    if (!file)
        return;
    const unsigned int flags = outsideFlags(project, name, interface,
                                            QT_TR_NOOP("Do you want to load it as copy?"));
    if (!file->fromFile(FileSystemArchive::instance(), name, flags, nullptr)) {
        project->removeFile(file);
        return;
    }
    rememberDirectory(this, interface, project, name);
    switchToThis();
    contentsChanged();
}

void FileEditor::save()
{
    switchToThis();
    if (!current || !current->isModified() || !current->canSave())
        return;
    ProgressProvider *progress = interface ? interface->progressProvider() : nullptr;
    ProviderJob *job =
        progress ? progress->newJob(tr("Saving") + QLatin1Char(' ') + current->displayName(), 0)
                 : nullptr;
    const bool background = current->capabilities() & ProjectFile::SavesInBackground;
    if (job)
        job->setBackground(background);
    const unsigned int flags = background ? ProjectFile::SaveInBackground : 0;
    if (current->toFile(current->archive(), current->fileName(), flags, job))
        contentsChanged();
    else
        saveAs();
}

void FileEditor::saveAs()
{
    switchToThis();
    if (current)
        saveFileAs(current, this, interface);
}

void FileEditor::saveFileAs(ProjectFile *file, FileEditor *editor, Interface *interface)
{
    if (!file || !editor)
        return;
    const QString patterns = filePatterns(editor, interface);
    if (patterns.isEmpty() || !file->canSave())
        return;
    const QString filter = QStringLiteral("%1 (%2);;%3 (*.*)")
                               .arg(actionText(editor), patterns, tr("All files"));
    Project *project = file->project();
    QString name = getSaveFileName(
        interface ? interface->mainWidget() : nullptr,
        tr("Save %1 as...").arg(QString::fromLatin1(editor->name())),
        defaultDirectory(editor, project), filter);
    if (name.isEmpty())
        return;
    name += missingExtension(patterns, name);

    const unsigned int flags = outsideFlags(project, name, interface,
                                            QT_TR_NOOP("Do you want to save it as copy?"));
    if (!file->toFile(FileSystemArchive::instance(), name, flags, nullptr))
        QMessageBox::critical(interface ? interface->mainWidget() : nullptr,
                              tr("Save file error!"),
                              tr("An error has occurred while trying to save the file!"),
                              QMessageBox::Ok);
    rememberDirectory(editor, interface, project, name);
    emit editor->modified();
}

void FileEditor::undo()
{
    if (current)
        current->undo();
}

void FileEditor::redo()
{
    if (current)
        current->redo();
}

void FileEditor::contentsChanged()
{
    emit modified();
}

// ---------------------------------------------------------------------------------------------
// ExtraEditor

ExtraEditor::ExtraEditor(QObject *parent)
    : QObject(parent), interface(Interface::instance()), active(false)
{
}

ExtraEditor::~ExtraEditor() = default;

void ExtraEditor::projectSwitched(Project *) {}

void ExtraEditor::engineSwitched(bool) {}

void ExtraEditor::activate()
{
    active = true;
}

void ExtraEditor::deactivate()
{
    active = false;
}

void ExtraEditor::reconfig() {}

void ExtraEditor::retranslate() {}

bool ExtraEditor::isActive() const
{
    return active;
}

void ExtraEditor::contentsChanged()
{
    emit modified();
}

} // namespace Zorn
