// How a code document meets its file: text in and out, and search.

#include "codedocument.h"
#include "codedocument_p.h"

#include "textcodecs.h"
#include "textcodecs_p.h"

#include <zornx/core/object.h>

#include <cerrno>
#include <cstring>
#ifdef Q_OS_UNIX
#include <unistd.h>
#endif
#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QCoreApplication>
#include <QtCore/QFileDevice>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QTextCodec>
#include <QtWidgets/QPlainTextDocumentLayout>

namespace Zorn {

namespace {

const QString modelKey = QStringLiteral("modelCode");
// Carries "save_spaceToTab" to the save worker.
const unsigned int spaceToTabFlag = 1u << 15;
// Tells the end of a save that the bytes did not all reach the file.
const unsigned int writeFailedFlag = 1u << 14;

// The types that cross the queued connection from the save worker.
const bool saveTypesRegistered = (qRegisterMetaType<Zorn::Archive *>("Zorn::Archive*"),
                                  qRegisterMetaType<Zorn::JobStats *>("Zorn::JobStats*"),
                                  qRegisterMetaType<QIODevice *>("QIODevice*"), true);

void markRevisions(CodeDocument *document, int &savedRevision)
{
    savedRevision = document->revision();
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next())
        block.setRevision(savedRevision);
}

CodeDocumentUserData *codecData(const CodeDocument *document)
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    return static_cast<CodeDocumentUserData *>(document->userData(CodeDocumentUserDataId));
    QT_WARNING_POP
}

void setBom(const CodeDocument *document, bool bom)
{
    if (CodeDocumentUserData *data = codecData(document))
        data->bom = bom;
}

// The bytes of the file: CR LF line ends, optionally blanks to tabs, in the codec. The
// text may be raw (paragraph separators, no-break spaces) as the document holds it: it is
// made plain here, in the one pass, off the GUI thread.
QByteArray saveData(const QString &text, const CodeDocument *document, bool spaceToTab)
{
    const CodeDocumentUserData *data = codecData(document);
    const int codecId = data ? data->codecId : 0;
    QString out;
    out.reserve(text.size() + text.size() / 16 + 16);
    const QChar *c = text.constData();
    const QChar *const end = c + text.size();
    int column = 0;
    for (; c != end; ++c) {
        ushort u = c->unicode();
        switch (u) {
        case 0x2029: // paragraph separator
        case 0x2028: // line separator
        case 0xfdd0: // frame start
        case 0xfdd1: // frame end
            u = '\n';
            break;
        case 0x00a0: // no-break space
            u = ' ';
            break;
        default:
            break;
        }
        if (u == '\n') {
            out += QLatin1String("\r\n");
            column = 0;
        } else if (u == '\r') {
            out += QLatin1Char('\r');
            column = 0;
        } else if (u == ' ' && spaceToTab) {
            const int toStop = 4 - column % 4;
            int run = 1;
            while (run < 4 && c + run != end
                   && (c[run].unicode() == ' ' || c[run].unicode() == 0x00a0))
                ++run;
            if (toStop == 1 || run < toStop) {
                out += QLatin1Char(' ');
                ++column;
            } else {
                out += QLatin1Char('\t');
                c += toStop - 1;
                column += toStop;
            }
        } else if (u == '\t') {
            out += QLatin1Char('\t');
            column += 4 - column % 4;
        } else {
            out += QChar(u);
            ++column;
        }
    }
    const QVector<TextCodecItem> &codecs = TextCodecsPrivate::items();
    QTextCodec *codec =
        codecId >= 0 && codecId < codecs.size() ? QTextCodec::codecForMib(codecs.at(codecId).mib)
                                                : nullptr;
    if (!codec)
        return QByteArray();
    // The Unicode codecs write a byte order mark of their own accord: a file gets one back
    // when it had one, and only then.
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    QByteArray bytes;
    if (data && data->bom && codec->name().startsWith("UTF-")) {
        const QChar mark(0xFEFF);
        bytes = codec->fromUnicode(&mark, 1, &state);
    }
    return bytes + codec->fromUnicode(out.constData(), out.size(), &state);
}

// Writes all of data and puts it on the disk; false when any of it was refused.
bool writeAll(QIODevice *device, const QByteArray &data)
{
    if (device->write(data) != data.size())
        return false;
    if (auto *file = qobject_cast<QFileDevice *>(device)) {
        if (!file->flush())
            return false;
#ifdef Q_OS_UNIX
        // On the disk here, so that the commit on the GUI thread only renames.
        if (::fsync(file->handle()) != 0)
            return false;
#endif
    }
    return true;
}

// After a save of the text as it was at snapshotRevision: lines unchanged since the last
// mark take the new saved revision, lines changed before the snapshot become negative
// (changed and saved), lines changed after it keep their revision and so count as unsaved.
void updateRevisions(CodeDocument *document, int &savedRevision, int snapshotRevision)
{
    const int old = savedRevision;
    savedRevision = snapshotRevision;
    if (old == savedRevision)
        return;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        const int revision = block.revision();
        if (revision == old)
            block.setRevision(savedRevision);
        else if (revision < 0 || revision <= snapshotRevision)
            block.setRevision(~savedRevision);
    }
}

// Lays out the longest line of text, just set as the document's text. The plain text layout
// measures every line of the document again whenever its widest laid-out line shrinks; with
// no view, the line being edited would be the only one laid out, and so the widest, and each
// edit that shortens it would cost a walk over the whole document.
void layOutLongestLine(CodeDocument *document, const QString &text)
{
    auto *layout = qobject_cast<QPlainTextDocumentLayout *>(document->documentLayout());
    if (!layout)
        return;
    int longest = 0, longestLength = -1, line = 0, start = 0;
    for (;;) {
        int end = text.indexOf(QLatin1Char('\n'), start);
        if (end < 0)
            end = text.size();
        if (end - start > longestLength) {
            longest = line;
            longestLength = end - start;
        }
        if (end == text.size())
            break;
        start = end + 1;
        ++line;
    }
    layout->ensureBlockLayout(document->findBlockByNumber(longest));
}

} // namespace

void CodeDocumentPrivate::waitForSave()
{
    saveFuture.waitForFinished();
    // The worker has posted its end; deliver it before anything else touches the document.
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
}

void CodeDocumentPrivate::callDocSaveFinished(Archive *archive, QIODevice *file,
                                              QString fileName, uint flags, JobStats *stats)
{
    document->saveFinished(archive, file, fileName, flags, stats);
}

// "Can't <verb> file '<name>'!" and the reason the system gave.
static QString fileError(const char *verb, const QString &name, const QString &reason)
{
    QString text = QStringLiteral("Can't %1 file '%2'!").arg(QLatin1String(verb), name);
    if (!reason.isEmpty())
        text += QLatin1Char(' ') + reason;
    return text;
}

void expandTabs(QString &text)
{
    if (!text.contains(QLatin1Char('\t')))
        return;
    // Into a new string in one pass: an insert per tab would move the rest of the text each time.
    QString out;
    out.reserve(text.size() + text.size() / 8);
    int column = 0;
    for (const QChar c : qAsConst(text)) {
        if (c == QLatin1Char('\t')) {
            do
                out.append(QLatin1Char(' '));
            while (++column % 4);
        } else {
            out.append(c);
            column = c == QLatin1Char('\r') || c == QLatin1Char('\n') ? 0 : column + 1;
        }
    }
    text = out;
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
    d->waitForSave();
    fileLoaded(FileSystemArchive::instance(), QString(), false);
    QString copy = text;
    if (option(QStringLiteral("open_tabToSpace"), false).toBool())
        expandTabs(copy);
    d->suspendModel();
    setPlainText(copy);
    layOutLongestLine(this, copy);
    setFileName(QString());
    markRevisions(this, d->savedRevision);
    setModified(false);
    setCodecId(TextCodecs::index("UTF-8"));
    setBom(this, false);
    d->modelEnabled = option(modelKey, true).toBool();
    d->resumeModel();
}

void CodeDocument::reset()
{
    d->waitForSave();
    fileLoaded(FileSystemArchive::instance(), QString(), false);
    d->suspendModel();
    setFileName(QString());
    clear();
    markRevisions(this, d->savedRevision);
    setModified(false);
    emit modificationChanged(false);
    setCodecId(TextCodecs::index("UTF-8"));
    setBom(this, false);
    d->modelEnabled = option(modelKey, true).toBool();
    d->resumeModel();
}

bool CodeDocument::fromFile(Archive &archive, const QString &name, unsigned int flags,
                            JobStats *job)
{
    fileLoaded(archive, name, flags & Copy);
    return fromFile(archive, name, -1, flags, job);
}

bool CodeDocument::fromFile(Archive &archive, const QString &name, int codec, unsigned int flags,
                            JobStats *job)
{
    Archive::setLastError(QString()); // an archive that gives no reason leaves none
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (!device) {
        if (job)
            job->error(fileError("open", name, Archive::lastError()));
        return false;
    }
    d->waitForSave();
    const QByteArray bytes = device->readAll();
    QString text = TextCodecs::stringFromData(bytes, &codec);
    setCodecId(codec);
    // The codecs drop the mark that they read; one that another codec left goes too.
    bool bom = QTextCodec::codecForUtfText(bytes, nullptr) != nullptr;
    if (text.startsWith(QChar(0xFEFF))) {
        text.remove(0, 1);
        bom = true;
    }
    setBom(this, bom);
    if (option(QStringLiteral("open_tabToSpace"), false).toBool())
        expandTabs(text);
    d->suspendModel();
    ++d->updateDepth;
    setPlainText(text);
    layOutLongestLine(this, text);
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
    Archive::setLastError(QString());
    QIODevice *device = archive.isWritable(name) ? archive.openFile(name, QIODevice::WriteOnly)
                                                 : nullptr;
    if (!device) {
        if (job)
            job->error(fileError("save", name, archive.isWritable(name)
                                           ? Archive::lastError()
                                           : QString::fromLocal8Bit(std::strerror(EACCES))));
        return false;
    }
    d->waitForSave();
    if (job)
        job->setMaximum(1);
    d->heldName = fileName();
    if (!(flags & Copy))
        setFileName(QString());
    d->snapshotRevision = revision();
    if (option(QStringLiteral("save_spaceToTab"), false).toBool())
        flags |= spaceToTabFlag;
    if (flags & SaveInBackground) {
        Q_UNUSED(saveTypesRegistered)
        connect(d, &CodeDocumentPrivate::saveFinished, d, &CodeDocumentPrivate::callDocSaveFinished,
                Qt::ConnectionType(Qt::QueuedConnection | Qt::UniqueConnection));
        CodeDocumentPrivate *priv = d;
        Archive *store = &archive;
        // The raw text spares the GUI thread a pass; the worker makes it plain.
        const QString text = toRawText();
        d->saveFuture = QtConcurrent::run([priv, device, text, store, name, flags, job] {
            const bool written =
                writeAll(device, saveData(text, priv->document, flags & spaceToTabFlag));
            emit priv->saveFinished(store, device, name, written ? flags : flags | writeFailedFlag,
                                    job);
        });
        return true;
    }
    const bool written = writeAll(device, saveData(toRawText(), this, flags & spaceToTabFlag));
    return saveFinished(&archive, device, name, written ? flags : flags | writeFailedFlag, job);
}

bool CodeDocument::saveFinished(Archive *archive, QIODevice *device, const QString &name,
                                unsigned int flags, JobStats *job)
{
    // What did not all reach the file never replaces it.
    bool saved = !(flags & writeFailedFlag);
    QString reason = saved ? QString() : device->errorString();
    if (saved) {
        Archive::setLastError(QString());
        saved = archive->closeFile(device);
        reason = Archive::lastError();
    } else {
        archive->discardFile(device);
    }
    if (d->closing)
        return saved;
    const bool copy = flags & Copy;
    if (!copy)
        setFileName(d->heldName);
    if (!saved) {
        if (job)
            job->error(fileError("save", name, reason));
        return false;
    }
    if (!copy) {
        // The watch follows the name now that the file is there, and knows it as ours.
        fileSaved(*archive, name, false);
        setFileName(name);
        updateRevisions(this, d->savedRevision, d->snapshotRevision);
        // Text typed while the save ran is in no file yet.
        if (revision() == d->snapshotRevision)
            setModified(false);
    }
    ProjectFile::toFile(*archive, name, flags & ~(spaceToTabFlag | writeFailedFlag), job);
    if (job)
        job->setValue(1);
    return true;
}

void CodeDocument::reload()
{
    // A running save holds the name back until it ends.
    d->waitForSave();
    const QString name = fileName();
    if (!name.isEmpty())
        fromFile(archive(), name, codecId(), 0, nullptr);
}

QString CodeDocument::codecName() const
{
    return TextCodecs::name(codecId());
}

void CodeDocument::setCodec(const char *name)
{
    d->waitForSave();
    setCodecId(TextCodecs::index(name));
}

QList<ProjectFile::SearchResult> CodeDocument::search(const RegExp &expression,
                                                      unsigned int flags) const
{
    QList<SearchResult> results;
    const QString text = toPlainText();
    QRegExp rx(expression); // matching changes a QRegExp's captures

    auto add = [&](int position) {
        const QTextBlock block = findBlock(position);
        SearchResult result;
        result.line = block.blockNumber();
        result.position = position - block.position();
        result.length = rx.matchedLength();
        result.captures = rx.capturedTexts().mid(1);
        result.text = block.text();
        // A match over line ends carries the text of every line it reaches.
        const int end = position + result.length;
        for (QTextBlock next = block; end > next.position() + next.length();) {
            next = next.next();
            if (!next.isValid())
                break;
            result.text += next.text();
        }
        results.append(result);
    };

    if (flags & FindAll) {
        // Matches do not overlap, so that replacing all of them keeps every one whole.
        for (int at = rx.indexIn(text, 0); at >= 0;
             at = rx.indexIn(text, at + qMax(rx.matchedLength(), 1))) {
            add(at);
            if (at >= text.size())
                break;
        }
        return results;
    }

    const bool fromStart = flags & FromStart;
    const bool wrap = !fromStart && (flags & Wrap);
    int at;
    if (flags & Backwards) {
        const QTextBlock last = lastBlock();
        const int offset = fromStart ? -1
                                     : d->cursor.selectionStart()
                                           - (last.position() + last.length()) - 1;
        at = rx.lastIndexIn(text, offset);
        if (at < 0 && wrap)
            at = rx.lastIndexIn(text, -1);
    } else {
        at = rx.indexIn(text, fromStart ? 0 : d->cursor.position());
        if (at < 0 && wrap)
            at = rx.indexIn(text, 0);
    }
    if (at >= 0)
        add(at);
    return results;
}

void CodeDocument::replace(const QList<SearchResult> &results, const QString &replacement)
{
    if (results.isEmpty())
        return;
    // Several replacements are one step for undo.
    const bool grouped = results.size() > 1;
    if (grouped)
        beginChange();
    static const QRegularExpression placeholder(QStringLiteral("%L?[0-9]"));
    for (int i = results.size() - 1; i >= 0; --i) {
        const SearchResult &result = results.at(i);
        const int end = characterCount() - 1;
        QString text = replacement;
        for (const QString &capture : result.captures) {
            if (!text.contains(placeholder))
                break;
            text = text.arg(capture, 0, QLatin1Char(' '));
        }
        const QTextBlock block = findBlockByNumber(result.line);
        if (!block.isValid())
            continue;
        const int from = qBound(0, block.position() + result.position, end);
        QTextCursor cursor(this);
        cursor.setPosition(from);
        cursor.setPosition(qBound(from, from + result.length, end), QTextCursor::KeepAnchor);
        cursor.insertText(text);
    }
    if (grouped)
        endChange();
}

} // namespace Zorn
