#include "projectfile.h"
#include "projectfile_p.h"

#include "parentproject.h"
#include "project.h"

#include <zornx/core/archive.h>
#include <zornx/core/interface.h>
#include <zornx/core/messages_p.h>
#include <zornx/core/propertyitem.h>

namespace Zorn {

// ---------------------------------------------------------------------------------------------
// RegExp

RegExp::Match RegExp::match(const QString &text, int offset) const
{
    QRegExp expression(*this); // matching changes a QRegExp's captures
    Match result;
    result.position = expression.indexIn(text, offset);
    result.length = expression.matchedLength();
    result.captured = expression.capturedTexts();
    return result;
}

RegExp::MatchIterator RegExp::globalMatch(const QString &text) const
{
    return MatchIterator(*this, text);
}

RegExp::MatchIterator::MatchIterator(const RegExp &expression, const QString &text)
    : expression(expression), text(text), held(expression.match(text, 0))
{
}

RegExp::Match RegExp::MatchIterator::next()
{
    const Match current = held;
    if (current.position >= 0)
        held = RegExp(expression).match(text, current.position + 1);
    return current;
}

// ---------------------------------------------------------------------------------------------
// ProjectFile

namespace {
// Message tables name the file of each message; the core cannot ask a ProjectFile itself.
const bool messageFileNames = (setMessageFileNameFunction([](const ProjectFile *file) {
                                   return file ? file->fileName() : QString();
                               }),
                               true);
} // namespace

void ProjectFilePrivate::bind(Archive &newArchive)
{
    if (archive)
        archive->release();
    archive = &newArchive;
    archive->addRef();
}

ProjectFile::ProjectFile() : d(new ProjectFilePrivate) {}

ProjectFile::~ProjectFile()
{
    if (d->archive)
        d->archive->release();
    delete d;
}

void ProjectFile::release()
{
    if (--d->refCount == 0)
        free();
}

void ProjectFile::addRef()
{
    ++d->refCount;
}

unsigned int ProjectFile::refCount() const
{
    return d->refCount;
}

Archive &ProjectFile::archive() const
{
    return d->archive ? *d->archive : FileSystemArchive::instance();
}

Project *ProjectFile::project() const
{
    return d->project;
}

QAbstractItemModel *ProjectFile::model()
{
    return nullptr;
}

ProjectFile::Capabilities ProjectFile::capabilities() const
{
    return Capabilities();
}

bool ProjectFile::canSave() const
{
    return false;
}

bool ProjectFile::isModified() const
{
    return false;
}

void ProjectFile::reset() {}

static ParentProject *parentOf(const ProjectFile *file)
{
    return file->project() ? file->project()->parent() : nullptr;
}

bool ProjectFile::fromFile(Archive &archive, const QString &, unsigned int flags, JobStats *)
{
    if (!(flags & Copy) && &archive != d->archive)
        d->bind(archive);
    if (ParentProject *parent = parentOf(this))
        emit parent->fileOpened(this);
    return false;
}

bool ProjectFile::toFile(Archive &archive, const QString &, unsigned int flags, JobStats *)
{
    if ((flags & Copy) || &archive == d->archive)
        return false;
    d->bind(archive);
    if (ParentProject *parent = parentOf(this))
        emit parent->fileSaved(this);
    return false;
}

QString ProjectFile::fileName() const
{
    return QString();
}

QString ProjectFile::displayName() const
{
    const QStringList parts = fileName().split(QLatin1Char('/'), Qt::SkipEmptyParts);
    return parts.isEmpty() ? QString() : parts.last();
}

void ProjectFile::beginChange() {}
void ProjectFile::endChange() {}
void ProjectFile::undo() {}
void ProjectFile::redo() {}

QVariant ProjectFile::option(const QString &name) const
{
    const QVariant value = d->options.value(name);
    if (value.isValid())
        return value;
    if (d->project)
        return d->project->option(name);
    if (Interface *host = Interface::instance())
        return host->option(name, QVariant());
    return QVariant();
}

QVariant ProjectFile::option(const QString &name, QVariant fallback) const
{
    const QVariant value = option(name);
    return value.isValid() ? value : fallback;
}

void ProjectFile::setOption(const QString &name, const QVariant &value, bool project, bool host)
{
    if (project && d->project) {
        d->project->setOption(name, value, host);
        return;
    }
    if (value.isNull())
        d->options.remove(name);
    else
        d->options.insert(name, value);
}

bool ProjectFile::fileExists() const
{
    return archive().fileExists(fileName());
}

bool ProjectFile::isReadOnly() const
{
    const QString name = fileName();
    return !name.isEmpty() && !archive().isWritable(name);
}

const Messages *ProjectFile::messages() const
{
    return fileMessages();
}

const char *ProjectFile::fileExtension() const
{
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// SearchableProjectFile

static const QString identifierKey = QStringLiteral("Identifier");

QList<ProjectFile::SearchResult> SearchableProjectFile::search(const RegExp &expression,
                                                               unsigned int flags) const
{
    QList<SearchResult> results;
    const int n = int(itemCount());
    if (n == 0)
        return results;

    // Tests item i; true when it matched.
    auto test = [&](int i) {
        PropertyItem *it = item(unsigned(i));
        if (!it)
            return false;
        const QString text = it->property(identifierKey).toString();
        const RegExp::Match match = expression.match(text, 0);
        if (match.position < 0)
            return false;
        SearchResult result;
        result.line = i;
        result.position = match.position;
        result.length = match.length;
        result.text = text;
        result.captures = match.captured.mid(1);
        results.append(result);
        return true;
    };

    if (flags & FindAll) {
        for (int i = 0; i < n; ++i)
            test(i);
        return results;
    }

    const int c = int(currentItem());
    const bool fromStart = flags & FromStart;
    if (flags & Backwards) {
        for (int i = fromStart ? n - 1 : std::min(c - 1, n - 1); i >= 0; --i)
            if (test(i))
                return results;
        if (!fromStart && (flags & Wrap))
            for (int i = n - 1; i >= std::max(c, 0); --i)
                if (test(i))
                    return results;
    } else {
        for (int i = fromStart ? 0 : std::max(c + 1, 0); i < n; ++i)
            if (test(i))
                return results;
        if (!fromStart && (flags & Wrap))
            for (int i = 0; i <= std::min(c + 1, n - 1); ++i)
                if (test(i))
                    return results;
    }
    return results;
}

void SearchableProjectFile::replace(const QList<SearchResult> &results,
                                    const QString &replacement)
{
    const bool bracket = results.size() >= 2;
    if (bracket)
        beginChange();
    for (const SearchResult &result : results) {
        PropertyItem *it = item(unsigned(result.line));
        if (!it)
            continue;
        QString text = replacement;
        for (const QString &capture : result.captures)
            text = text.arg(capture);
        it->setProperty(identifierKey, text);
    }
    if (bracket)
        endChange();
}

} // namespace Zorn
