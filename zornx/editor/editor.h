#ifndef ZORNX_EDITOR_EDITOR_H
#define ZORNX_EDITOR_EDITOR_H

#include <zornx/core/object.h>
#include <zornx/project/projectfile.h>

#include <QtCore/QList>
#include <QtCore/QObject>

class QAction;

namespace Zorn {

class Interface;
class Project;

// One mode of work of the studio (sprites, sounds, code ...). The host owns every editor,
// decides which one is current and calls activate(), deactivate() and the notifications;
// the library only ever asks the host to switch to an editor (switchToThis()).
class ZORNX_EXPORT Editor : public QObject, public Object
{
    Q_OBJECT
public:
    // interface: the global Interface at construction.
    explicit Editor(QObject *parent = nullptr);
    ~Editor() override;

    // This editor's entry in the host's menu.
    virtual QAction *action() const = 0;
    // The editor's key and display word, as in "sprites".
    virtual const char *name() const = 0;
    // Bit mask of the window areas the editor occupies; the bits are the host's layout.
    virtual unsigned int areas() const = 0;
    virtual void activate();
    virtual void deactivate();
    // The settings changed.
    virtual void reconfig();
    // The language changed.
    virtual void retranslate() = 0;
    virtual void projectSwitched(Project *project);
    virtual void engineSwitched(bool enabled);
    virtual QList<ProjectFile::SearchResult> find(const RegExp &expression,
                                                  unsigned int flags) = 0;
    virtual void replace(const QList<ProjectFile::SearchResult> &results,
                         const QString &text) = 0;

    bool isActive() const;
    // Asks the host to switch to this editor unless it is active already.
    void switchToThis();

Q_SIGNALS:
    void visible(bool changed);
    void writable(bool changed);

protected:
    void setVisible(bool changed);
    void setWritable(bool changed);

    Interface *interface;
    bool active;
};

// An editor for one type of project file. It carries the create, open, save, "Save as" and
// discard logic that every file editor shares.
//
// A subclass that overrides canDiscard(const ProjectFile *) brings the project overload back
// into scope with `using FileEditor::canDiscard;`.
class ZORNX_EXPORT FileEditor : public Editor
{
    Q_OBJECT
public:
    explicit FileEditor(QObject *parent = nullptr);
    ~FileEditor() override;

    // The file type this editor handles, an id of the engine's file types.
    virtual int canEditFileType() const = 0;
    // The current file's state; false without a file.
    virtual bool isModified() const;
    virtual bool canSwitchOut() const;
    // true for a null file, a file that can be discarded or is unmodified; otherwise asks
    // (the answer can be stored under "showmsg_discard").
    virtual bool canDiscard(const ProjectFile *file) const;
    virtual bool canClose(const ProjectFile *file) const;
    virtual void navigateTo(unsigned int line, unsigned int column);
    // Not owned; null shows no file.
    virtual void setCurrentFile(ProjectFile *file);

    // Asks canDiscard() for every file of canEditFileType() in project (null: the current
    // project), all of them, and is true only when each one agrees.
    bool canDiscard(const Project *project) const;
    ProjectFile *currentFile() const;

    // "Save as" of file for editor: asks a name, completes its extension, asks whether a
    // file outside the project is saved as a copy, writes it and remembers the directory.
    static void saveFileAs(ProjectFile *file, FileEditor *editor, Interface *interface);

public Q_SLOTS:
    virtual void create();
    virtual void open();
    virtual void save();
    virtual void saveAs();
    virtual void cut() = 0;
    virtual void copy() = 0;
    virtual void paste() = 0;
    virtual void undo();
    virtual void redo();

Q_SIGNALS:
    void modified();

protected:
    // Emits modified().
    virtual void contentsChanged();

private:
    ProjectFile *current;
};

// A side panel that lives beside the current editor; no Editor of its own.
class ZORNX_EXPORT ExtraEditor : public QObject, public Object
{
    Q_OBJECT
public:
    explicit ExtraEditor(QObject *parent = nullptr);
    ~ExtraEditor() override;

    virtual const char *name() const = 0;
    virtual QString displayName() const = 0;
    virtual bool isModified() const = 0;
    virtual void projectSwitched(Project *project);
    virtual void engineSwitched(bool enabled);
    virtual void activate();
    virtual void deactivate();
    virtual void reconfig();
    virtual void retranslate();

    bool isActive() const;

Q_SIGNALS:
    void modified();

protected:
    // Emits modified().
    virtual void contentsChanged();

    Interface *interface;
    bool active;
};

} // namespace Zorn

#endif
