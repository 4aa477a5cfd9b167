#ifndef ZORNX_EDITOR_FILEBROWSEEDIT_H
#define ZORNX_EDITOR_FILEBROWSEEDIT_H

#include <zornx/global.h>

#include <QtWidgets/QWidget>

namespace Zorn {

class Archive;
class FileBrowseEditPrivate;

// A file name relative to a base directory: a line edit that completes what can be typed
// next (sub-directories, then the files that match the filter) and a "..." button.
class ZORNX_EXPORT FileBrowseEdit : public QWidget
{
    Q_OBJECT
public:
    explicit FileBrowseEdit(QWidget *parent = nullptr);
    ~FileBrowseEdit() override;

    QString value() const;
    QString filter() const;
    // Name patterns separated by blanks or ';'; "*.*" at start.
    void setFilter(const QString &filter);
    QString basePath() const;
    // A null archive means the file system.
    void setBasePath(Archive *archive, const QString &path);

public Q_SLOTS:
    void setValue(const QString &fileName);

Q_SIGNALS:
    void valueChanged(const QString &fileName);

private:
    FileBrowseEditPrivate *d;
};

} // namespace Zorn

#endif
