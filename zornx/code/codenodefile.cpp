#include "codenodefile.h"

#include "codedocument.h"
#include "codedocument_p.h"

#include <zornx/project/project_p.h>

namespace Zorn {

namespace {

// Project::addFile binds the document behind a node file to the project as well; the project
// layer cannot see this class, so it asks through this function.
const bool wrappedFiles = (setWrappedFileFunction([](ProjectFile *file) -> ProjectFile * {
                               const auto *nodeFile = dynamic_cast<CodeNodeFile *>(file);
                               return nodeFile ? nodeFile->document() : nullptr;
                           }),
                           true);

} // namespace

CodeNodeFile::CodeNodeFile(CodeDocument *document) : d(new CodeNodeFilePrivate)
{
    d->document = document;
}

CodeNodeFile::~CodeNodeFile()
{
    CodeDocument *document = d->document;
    if (document && document->d) {
        const unsigned int none = ~0u;
        const unsigned int key = document->d->nodeFiles.key(this, none);
        if (key != none && document->d->nodeFiles.remove(key) > 0)
            document->release();
    }
    delete d;
}

CodeDocument *CodeNodeFile::document() const
{
    return d->document;
}

Project *CodeNodeFile::project() const
{
    if (Project *own = ProjectFile::project())
        return own;
    return d->document ? d->document->project() : nullptr;
}

QAbstractItemModel *CodeNodeFile::model()
{
    return d->document ? d->document->model() : nullptr;
}

ProjectFile::Capabilities CodeNodeFile::capabilities() const
{
    if (!d->document)
        return Capabilities();
    Capabilities result = d->document->capabilities() & ~Capabilities(TextDocument);
    if (d->document->refCount() >= 2)
        result |= CanDiscard;
    return result;
}

bool CodeNodeFile::canSave() const
{
    return d->document && d->document->refCount() == 1 && d->document->canSave();
}

bool CodeNodeFile::isModified() const
{
    return d->document && d->document->isModified();
}

bool CodeNodeFile::isEmpty() const
{
    return !d->document || d->document->isEmpty();
}

void CodeNodeFile::reset()
{
    if (d->document)
        d->document->reset();
}

bool CodeNodeFile::toFile(Archive &archive, const QString &name, unsigned int flags, JobStats *job)
{
    return d->document && d->document->toFile(archive, name, flags, job);
}

bool CodeNodeFile::fromFile(Archive &archive, const QString &name, unsigned int flags,
                            JobStats *job)
{
    return d->document && d->document->fromFile(archive, name, flags, job);
}

QString CodeNodeFile::fileName() const
{
    return d->document ? d->document->fileName() : QString();
}

void CodeNodeFile::beginChange()
{
    if (d->document)
        d->document->beginChange();
}

void CodeNodeFile::endChange()
{
    if (d->document)
        d->document->endChange();
}

void CodeNodeFile::undo()
{
    if (d->document)
        d->document->undo();
}

void CodeNodeFile::redo()
{
    if (d->document)
        d->document->redo();
}

QList<ProjectFile::SearchResult> CodeNodeFile::search(const RegExp &expression,
                                                      unsigned int flags) const
{
    return d->document ? d->document->search(expression, flags) : QList<SearchResult>();
}

void CodeNodeFile::replace(const QList<SearchResult> &results, const QString &replacement)
{
    if (d->document)
        d->document->replace(results, replacement);
}

QVariant CodeNodeFile::option(const QString &name, QVariant fallback) const
{
    return d->document ? d->document->option(name, fallback) : fallback;
}

QVariant CodeNodeFile::option(const QString &name) const
{
    return d->document ? d->document->option(name) : QVariant();
}

void CodeNodeFile::setOption(const QString &name, const QVariant &value, bool project, bool host)
{
    if (d->document)
        d->document->setOption(name, value, project, host);
}

void CodeNodeFile::childChanged(CodeNode *) {}

Messages *CodeNodeFile::fileMessages() const
{
    return nullptr;
}

void CodeNodeFile::populateChilds(CodeNode::Type type, unsigned int subType)
{
    if (!d->document)
        return;
    unsigned int index = 0;
    for (CodeNode *node = d->document->root()->next(); node; node = node->next()) {
        if (node->type() != type)
            continue;
        if (type == CodeNode::Group && static_cast<GroupCode *>(node)->subType() != subType)
            continue;
        insertChild(node, index++);
    }
}

} // namespace Zorn
