#ifndef ZORNX_PROJECT_PROJECTFILE_H
#define ZORNX_PROJECT_PROJECTFILE_H

#include <zornx/core/object.h>

#include <QtCore/QFlags>
#include <QtCore/QMetaType>
#include <QtCore/QList>
#include <QtCore/QRegExp>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

class QAbstractItemModel;

namespace Zorn {

class Archive;
class JobStats;
class Messages;
class Project;
class PropertyItem;
class ProjectFilePrivate;

// A QRegExp with a match value and an iterator over all (possibly overlapping) matches.
class ZORNX_EXPORT RegExp : public QRegExp
{
public:
    struct Match
    {
        QStringList captured; // the whole match first
        int position = -1;    // negative when nothing matched
        int length = 0;
    };

    class MatchIterator
    {
    public:
        MatchIterator(const RegExp &expression, const QString &text);
        bool hasNext() const { return held.position >= 0; }
        Match next();

    private:
        QRegExp expression;
        QString text;
        Match held;
    };

    using QRegExp::QRegExp;
    RegExp() = default;
    RegExp(const QRegExp &expression) : QRegExp(expression) {}

    Match match(const QString &text, int offset) const;
    MatchIterator globalMatch(const QString &text) const;
};

// The base of every document that a project holds, whatever its format.
class ZORNX_EXPORT ProjectFile : public Object
{
public:
    enum Capability {
        CanDiscard = 1,    // can be closed without asking about changes
        SavesInBackground = 4, // toFile() with SaveInBackground finishes the job itself
        TextDocument = 8,
    };
    Q_DECLARE_FLAGS(Capabilities, Capability)

    // Flags of toFile() and fromFile().
    enum FileFlag {
        Copy = 1,             // the binding and name stay; the file watcher hears nothing
        SaveInBackground = 2, // toFile() only
    };

    // Flags of search().
    enum SearchFlag {
        Backwards = 1,
        Wrap = 2,
        FromStart = 4, // from the start (backwards: the end), without wrapping
        FindAll = 8,   // every match over the whole file; the other bits do not count
    };

    struct SearchResult
    {
        void *file = nullptr; // copied along; for the caller's use
        int line = 0;         // text block, or item index
        int position = 0;     // within the line or identifier
        int length = 0;
        QString text;         // the whole line or identifier
        QStringList captures; // the captured groups without the whole match
    };

    ProjectFile();
    ProjectFile(const ProjectFile &) = delete;
    ProjectFile &operator=(const ProjectFile &) = delete;

    void release() override;
    // The bound archive, or the FileSystemArchive while none is bound.
    virtual Archive &archive() const;
    virtual Project *project() const;
    virtual QAbstractItemModel *model();
    virtual Capabilities capabilities() const;
    virtual bool canSave() const;
    virtual bool isModified() const;
    virtual bool isEmpty() const = 0;
    virtual void reset();
    // A concrete class does its own work, then calls the base for the archive binding.
    virtual bool toFile(Archive &archive, const QString &name, unsigned int flags, JobStats *job);
    virtual bool fromFile(Archive &archive, const QString &name, unsigned int flags,
                          JobStats *job);
    virtual QString fileName() const;
    // The last part of fileName().
    virtual QString displayName() const;
    virtual void beginChange();
    virtual void endChange();
    virtual void undo();
    virtual void redo();
    virtual QList<SearchResult> search(const RegExp &expression, unsigned int flags) const = 0;
    virtual void replace(const QList<SearchResult> &results, const QString &replacement) = 0;
    // The file's own value, else its project's, else the host's.
    virtual QVariant option(const QString &name, QVariant fallback) const;
    virtual QVariant option(const QString &name) const;
    // project: hand the value to the project (which hands it to the host when host is set).
    // A null value removes the key.
    virtual void setOption(const QString &name, const QVariant &value, bool project = false,
                           bool host = false);

    void addRef();
    unsigned int refCount() const;
    bool fileExists() const;
    bool isReadOnly() const;
    const Messages *messages() const;

protected:
    ~ProjectFile() override;
    virtual void free() = 0;
    virtual const char *fileExtension() const;
    virtual Messages *fileMessages() const = 0;

private:
    friend class Project;
    ProjectFilePrivate *d;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(ProjectFile::Capabilities)

// A file that is a list of named items; search and replace work on their "Identifier".
class ZORNX_EXPORT SearchableProjectFile : public ProjectFile
{
public:
    QList<SearchResult> search(const RegExp &expression, unsigned int flags) const override;
    void replace(const QList<SearchResult> &results, const QString &replacement) override;

    virtual unsigned int itemCount() const = 0;
    // Where a search starts.
    virtual unsigned int currentItem() const = 0;
    virtual PropertyItem *item(unsigned int index) const = 0;
};

} // namespace Zorn

Q_DECLARE_METATYPE(Zorn::ProjectFile *)
Q_DECLARE_METATYPE(const Zorn::ProjectFile *)

#endif
