#ifndef ZORNX_CODE_CODENODEFILE_H
#define ZORNX_CODE_CODENODEFILE_H

#include <zornx/code/codenode.h>
#include <zornx/project/projectfile.h>

namespace Zorn {

class CodeDocument;
class CodeNodeFilePrivate;

// One kind of top-level node of a document, shown as a file of its own (the animations of an
// animation file, say). File operations go to the document. Register the file with
// CodeDocument::registerNodeFile; it then hears of every node of its kind that enters, leaves
// or changes, in document order.
class ZORNX_EXPORT CodeNodeFile : public ProjectFile
{
public:
    explicit CodeNodeFile(CodeDocument *document);

    CodeDocument *document() const;

    Project *project() const override;
    QAbstractItemModel *model() override;
    Capabilities capabilities() const override;
    bool canSave() const override;
    bool isModified() const override;
    bool isEmpty() const override;
    void reset() override;
    bool toFile(Archive &archive, const QString &name, unsigned int flags, JobStats *job) override;
    bool fromFile(Archive &archive, const QString &name, unsigned int flags,
                  JobStats *job) override;
    QString fileName() const override;
    void beginChange() override;
    void endChange() override;
    void undo() override;
    void redo() override;
    QList<SearchResult> search(const RegExp &expression, unsigned int flags) const override;
    void replace(const QList<SearchResult> &results, const QString &replacement) override;
    QVariant option(const QString &name, QVariant fallback) const override;
    QVariant option(const QString &name) const override;
    void setOption(const QString &name, const QVariant &value, bool project = false,
                   bool host = false) override;

    // index counts the document's top-level nodes of this file's kind before node.
    virtual void insertChild(CodeNode *node, unsigned int index) = 0;
    virtual void removeChild(CodeNode *node) = 0;
    virtual void childChanged(CodeNode *node);

protected:
    // Leaves the document's registry, and gives back the reference it held.
    ~CodeNodeFile() override;
    Messages *fileMessages() const override;
    // Hands every existing node of the kind to insertChild, in document order.
    void populateChilds(CodeNode::Type type, unsigned int subType);

private:
    friend class CodeDocument;
    CodeNodeFilePrivate *d;
};

} // namespace Zorn

#endif
