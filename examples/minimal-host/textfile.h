#ifndef MINIMAL_HOST_TEXTFILE_H
#define MINIMAL_HOST_TEXTFILE_H

#include <zornx/core/archive.h>
#include <zornx/project/projectfile.h>

// A whole-text file, the simplest ProjectFile an engine module could supply: it reads and
// writes through any Archive and is told when its file changes on disk.
class TextFile : public Zorn::ProjectFile, public Zorn::FileWatchObject
{
public:
    bool fromFile(Zorn::Archive &archive, const QString &name, unsigned int flags,
                  Zorn::JobStats *job) override;
    bool toFile(Zorn::Archive &archive, const QString &name, unsigned int flags,
                Zorn::JobStats *job) override;
    QString fileName() const override { return name; }
    bool isEmpty() const override { return text.isEmpty(); }
    bool isModified() const override { return modified; }
    bool canSave() const override { return true; }
    QList<SearchResult> search(const Zorn::RegExp &, unsigned int) const override { return {}; }
    void replace(const QList<SearchResult> &, const QString &) override {}
    void reload() override { fromFile(archive(), name, 0, nullptr); }

    QString text;
    void setText(const QString &newText)
    {
        text = newText;
        modified = true;
    }

protected:
    void free() override { delete this; }
    Zorn::Messages *fileMessages() const override { return nullptr; }

private:
    QString name;
    bool modified = false;
};

#endif
