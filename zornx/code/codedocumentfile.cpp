// How a code document meets its file: text in and out, and search.

#include "codedocument.h"
#include "codedocument_p.h"

#include "textcodecs.h"

#include <zornx/core/object.h>

#include <QtCore/QFileInfo>

namespace Zorn {

namespace {

const QString modelKey = QStringLiteral("modelCode");

void markRevisions(CodeDocument *document, int &savedRevision)
{
    savedRevision = document->revision();
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next())
        block.setRevision(savedRevision);
}

// The bytes of the file: CR LF line ends, optionally blanks to tabs, in the codec.
QByteArray saveData(QString text, int codecId, bool spaceToTab)
{
    text.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    if (spaceToTab) {
        QString out;
        out.reserve(text.size());
        int column = 0;
        for (int i = 0; i < text.size(); ++i) {
            const QChar c = text.at(i);
            if (c == QLatin1Char(' ')) {
                const int toStop = 4 - column % 4;
                int run = 0;
                while (run < 4 && i + run < text.size() && text.at(i + run) == QLatin1Char(' '))
                    ++run;
                if (toStop == 1 || run < toStop) {
                    out += c;
                    ++column;
                } else {
                    out += QLatin1Char('\t');
                    i += toStop - 1;
                    column += toStop;
                }
            } else if (c == QLatin1Char('\t')) {
                out += c;
                column += 4 - column % 4;
            } else if (c == QLatin1Char('\r') || c == QLatin1Char('\n')) {
                out += c;
                column = 0;
            } else {
                out += c;
                ++column;
            }
        }
        text = out;
    }
    return TextCodecs::stringToData(text, codecId);
}

} // namespace

void expandTabs(QString &text)
{
    int column = 0;
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('\t')) {
            const int extra = 3 - column % 4;
            text[i] = QLatin1Char(' ');
            text.insert(i + 1, QString(extra, QLatin1Char(' ')));
            i += extra;
            column += extra + 1;
        } else if (c == QLatin1Char('\r') || c == QLatin1Char('\n')) {
            column = 0;
        } else {
            ++column;
        }
    }
}

void CodeDocument::setFileName(const QString &name)
{
    if (name.isEmpty()) {
        setMetaInformation(QTextDocument::DocumentTitle, QString());
        setMetaInformation(QTextDocument::DocumentUrl, QString());
        return;
    }
    const QFileInfo info(name);
    setMetaInformation(QTextDocument::DocumentTitle, info.fileName());
    setMetaInformation(QTextDocument::DocumentUrl, info.filePath());
}

void CodeDocument::fromString(const QString &text)
{
    d->saveFuture.waitForFinished();
    fileLoaded(FileSystemArchive::instance(), QString(), false);
    QString copy = text;
    if (option(QStringLiteral("open_tabToSpace"), false).toBool())
        expandTabs(copy);
    d->suspendModel();
    setPlainText(copy);
    setFileName(QString());
    markRevisions(this, d->savedRevision);
    setModified(false);
    setCodecId(TextCodecs::index("UTF-8"));
    d->modelEnabled = option(modelKey, true).toBool();
    d->resumeModel();
}

void CodeDocument::reset()
{
    d->saveFuture.waitForFinished();
    fileLoaded(FileSystemArchive::instance(), QString(), false);
    d->suspendModel();
    setFileName(QString());
    clear();
    markRevisions(this, d->savedRevision);
    setModified(false);
    emit modificationChanged(false);
    setCodecId(TextCodecs::index("UTF-8"));
    d->modelEnabled = option(modelKey, true).toBool();
    d->resumeModel();
}

bool CodeDocument::fromFile(Archive &archive, const QString &name, unsigned int flags,
                            JobStats *job)
{
    fileLoaded(archive, name, flags & Copy);
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (!device)
        return false;
    d->saveFuture.waitForFinished();
    int codec = -1;
    QString text = TextCodecs::stringFromData(device->readAll(), &codec);
    setCodecId(codec);
    if (option(QStringLiteral("open_tabToSpace"), false).toBool())
        expandTabs(text);
    d->suspendModel();
    ++d->updateDepth;
    setPlainText(text);
    d->endUpdate();
    d->modelEnabled = option(modelKey, true).toBool();
    d->resumeModel();
    if (!(flags & Copy)) {
        setFileName(name);
        markRevisions(this, d->savedRevision);
    }
    setModified(flags & Copy);
    archive.closeFile(device);
    ProjectFile::fromFile(archive, name, flags, job);
    return true;
}

bool CodeDocument::toFile(Archive &archive, const QString &name, unsigned int flags, JobStats *job)
{
    if (!archive.isWritable(name))
        return false;
    QIODevice *device = archive.openFile(name, QIODevice::WriteOnly);
    if (!device)
        return false;
    d->saveFuture.waitForFinished();
    if (job)
        job->setMaximum(1);
    fileSaved(archive, name, flags & Copy);
    const bool spaceToTab = option(QStringLiteral("save_spaceToTab"), false).toBool();
    device->write(saveData(toPlainText(), codecId(), spaceToTab));
    if (!(flags & Copy)) {
        setFileName(name);
        markRevisions(this, d->savedRevision);
        setModified(false);
    }
    archive.closeFile(device);
    ProjectFile::toFile(archive, name, flags, job);
    if (job)
        job->setValue(1);
    return true;
}

void CodeDocument::reload()
{
    const QString name = fileName();
    if (name.isEmpty())
        return;
    Archive &store = archive();
    QIODevice *device = store.openFile(name, QIODevice::ReadOnly);
    if (!device)
        return;
    d->saveFuture.waitForFinished();
    int codec = codecId();
    const QString text = TextCodecs::stringFromData(device->readAll(), &codec);
    store.closeFile(device);
    d->suspendModel();
    ++d->updateDepth;
    setPlainText(text);
    d->endUpdate();
    d->modelEnabled = option(modelKey, true).toBool();
    d->resumeModel();
    markRevisions(this, d->savedRevision);
    setModified(false);
}

QList<ProjectFile::SearchResult> CodeDocument::search(const RegExp &, unsigned int) const
{
    return QList<SearchResult>();
}

void CodeDocument::replace(const QList<SearchResult> &, const QString &) {}

} // namespace Zorn
