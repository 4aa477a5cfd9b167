#include "testengine.h"

#include <zornx/core/object.h>

namespace ZornTest {

bool IniFile::fromFile(Zorn::Archive &archive, const QString &fileName, unsigned int flags,
                       Zorn::JobStats *job)
{
    QIODevice *device = archive.openFile(fileName, QIODevice::ReadOnly);
    if (!device) {
        if (job)
            job->error(QStringLiteral("Can't open '%1'.").arg(fileName));
        return false;
    }
    const QString text = QString::fromUtf8(device->readAll());
    archive.closeFile(device);

    lines = text.split(QLatin1Char('\n'));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    for (QString &line : lines)
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
    fileLoaded(archive, fileName, flags & Copy);
    if (!(flags & Copy)) {
        name = fileName;
        modified = false;
    }
    Zorn::ProjectFile::fromFile(archive, fileName, flags, job);
    return true;
}

bool IniFile::toFile(Zorn::Archive &archive, const QString &fileName, unsigned int flags,
                     Zorn::JobStats *job)
{
    QIODevice *device = archive.openFile(fileName, QIODevice::WriteOnly);
    if (!device) {
        if (job)
            job->error(QStringLiteral("Can't write '%1'.").arg(fileName));
        return false;
    }
    QByteArray bytes;
    for (const QString &line : qAsConst(lines))
        bytes += line.toUtf8() + "\r\n";
    if (device->write(bytes) != bytes.size()) {
        archive.discardFile(device);
        if (job)
            job->error(QStringLiteral("Can't write '%1'.").arg(fileName));
        return false;
    }
    archive.closeFile(device);
    fileSaved(archive, fileName, flags & Copy);
    if (!(flags & Copy)) {
        name = fileName;
        modified = false;
    }
    Zorn::ProjectFile::toFile(archive, fileName, flags, job);
    return true;
}

void IniFile::reload()
{
    ++reloads;
    fromFile(archive(), name, 0, nullptr);
}

QString IniFile::value(const QString &key) const
{
    for (const QString &line : lines) {
        const int eq = line.indexOf(QLatin1Char('='));
        if (eq > 0 && line.left(eq).trimmed() == key)
            return line.mid(eq + 1).section(QLatin1Char(';'), 0, 0).trimmed();
    }
    return QString();
}

void IniFile::setValue(const QString &key, const QString &value)
{
    modified = true;
    for (QString &line : lines) {
        const int eq = line.indexOf(QLatin1Char('='));
        if (eq > 0 && line.left(eq).trimmed() == key) {
            line = key + QStringLiteral(" = ") + value;
            return;
        }
    }
    lines.append(key + QStringLiteral(" = ") + value);
}

QList<Zorn::ProjectFile::SearchResult> IniFile::search(const Zorn::RegExp &expression,
                                                       unsigned int) const
{
    QList<SearchResult> results;
    for (int i = 0; i < lines.size(); ++i) {
        const Zorn::RegExp::Match match = expression.match(lines.at(i), 0);
        if (match.position < 0)
            continue;
        SearchResult result;
        result.line = i;
        result.position = match.position;
        result.length = match.length;
        result.text = lines.at(i);
        result.captures = match.captured.mid(1);
        results.append(result);
    }
    return results;
}

void IniFile::replace(const QList<SearchResult> &results, const QString &replacement)
{
    for (const SearchResult &result : results)
        if (result.line >= 0 && result.line < lines.size())
            lines[result.line].replace(result.position, result.length, replacement);
    modified = modified || !results.isEmpty();
}

} // namespace ZornTest
