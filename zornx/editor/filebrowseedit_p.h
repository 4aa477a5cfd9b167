#ifndef ZORNX_EDITOR_FILEBROWSEEDIT_P_H
#define ZORNX_EDITOR_FILEBROWSEEDIT_P_H

#include "filebrowseedit.h"

#include <QtCore/QStringListModel>

class QLineEdit;
class QToolButton;

namespace Zorn {

// The completer's list: the entries of one directory, each completed to prefix + entry so
// that a completion keeps the part of the path already typed.
class FileModel : public QStringListModel
{
    Q_OBJECT
public:
    using QStringListModel::QStringListModel;
    QVariant data(const QModelIndex &index, int role) const override;

    QString prefix;
};

class FileBrowseEditPrivate : public QObject
{
    Q_OBJECT
public:
    explicit FileBrowseEditPrivate(FileBrowseEdit *edit);
    ~FileBrowseEditPrivate() override;

    // Lists directory anew when it is not the one listed.
    void list(const QString &text, bool force);

public Q_SLOTS:
    void textChanged(const QString &text);
    void browse();

public:
    FileBrowseEdit *edit;
    QLineEdit *line = nullptr;
    QToolButton *button = nullptr;
    FileModel *model = nullptr;
    QString directory;
    Archive *archive = nullptr;
    QString basePath;
    QString filter = QStringLiteral("*.*");
};

} // namespace Zorn

#endif
