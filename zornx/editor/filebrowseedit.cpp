#include "filebrowseedit_p.h"

#include <zornx/core/archive.h>

#include <QtCore/QFileInfo>
#include <QtGui/QRegExpValidator>
#include <QtWidgets/QCompleter>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QToolButton>

namespace Zorn {

QVariant FileModel::data(const QModelIndex &index, int role) const
{
    const QVariant entry = QStringListModel::data(index, role);
    if (role == Qt::EditRole && entry.isValid())
        return prefix + entry.toString();
    return entry;
}

FileBrowseEditPrivate::FileBrowseEditPrivate(FileBrowseEdit *edit)
    : QObject(edit), edit(edit), archive(&FileSystemArchive::instance())
{
    archive->addRef();
}

FileBrowseEditPrivate::~FileBrowseEditPrivate()
{
    archive->release();
}

void FileBrowseEditPrivate::list(const QString &text, bool force)
{
    const QString full = basePath + QLatin1Char('/') + text;
    const QString dir = QFileInfo(full).absolutePath();
    if (dir == directory && !force)
        return;
    const int slash = text.lastIndexOf(QLatin1Char('/'));
    model->prefix = text.left(slash + 1); // the path part and its '/', or nothing
    directory = dir;
    QStringList entries = archive->entries(dir, QStringList(), QDir::Dirs | QDir::NoDotAndDotDot,
                                           QDir::Name);
    const QStringList patterns =
        filter.split(QRegExp(QStringLiteral("[ ;]")), Qt::SkipEmptyParts);
    entries += archive->entries(dir, patterns, QDir::Files, QDir::Name);
    model->setStringList(entries);
}

void FileBrowseEditPrivate::textChanged(const QString &text)
{
    list(text, false);
    emit edit->valueChanged(text);
}

void FileBrowseEditPrivate::browse()
{
    const QString current = basePath + QLatin1Char('/') + line->text();
    const QString start =
        !line->text().isEmpty() && QFileInfo::exists(current) ? current : basePath;
    const QString name = getOpenFileName(edit, QString(), start, filter);
    if (name.isEmpty())
        return;
    line->setText(FileSystemArchive::instance().relativePath(name, archive, basePath));
}

FileBrowseEdit::FileBrowseEdit(QWidget *parent)
    : QWidget(parent), d(new FileBrowseEditPrivate(this))
{
    d->line = new QLineEdit(this);
    d->line->setMinimumWidth(150);
    d->line->setValidator(new QRegExpValidator(
        QRegExp(QStringLiteral("^[^<>:\"\\|\\?\\*]*$")), d->line));
    d->model = new FileModel(d);
    auto *completer = new QCompleter(d->model, d->line);
    completer->setCaseSensitivity(Qt::CaseInsensitive);
    completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    d->line->setCompleter(completer);
    d->button = new QToolButton(this);
    d->button->setText(QStringLiteral("..."));

    auto *layout = new QHBoxLayout(this);
    layout->setSpacing(8);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(d->line);
    layout->addWidget(d->button);

    connect(d->line, &QLineEdit::textChanged, d, &FileBrowseEditPrivate::textChanged);
    connect(d->button, &QToolButton::clicked, d, &FileBrowseEditPrivate::browse);
}

FileBrowseEdit::~FileBrowseEdit() = default; // d is a child

QString FileBrowseEdit::value() const
{
    return d->line->text();
}

void FileBrowseEdit::setValue(const QString &fileName)
{
    d->line->setText(fileName);
}

QString FileBrowseEdit::filter() const
{
    return d->filter;
}

void FileBrowseEdit::setFilter(const QString &filter)
{
    if (filter == d->filter)
        return;
    d->filter = filter;
    d->list(d->line->text(), true);
}

QString FileBrowseEdit::basePath() const
{
    return d->basePath;
}

void FileBrowseEdit::setBasePath(Archive *archive, const QString &path)
{
    if (!archive)
        archive = &FileSystemArchive::instance();
    if (archive == d->archive && path == d->basePath)
        return;
    archive->addRef();
    d->archive->release();
    d->archive = archive;
    d->basePath = path;
    d->list(d->line->text(), true);
}

} // namespace Zorn
