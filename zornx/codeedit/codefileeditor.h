#ifndef ZORNX_CODEEDIT_CODEFILEEDITOR_H
#define ZORNX_CODEEDIT_CODEFILEEDITOR_H

#include <zornx/editor/editor.h>

#include <QtCore/QPoint>

class QAbstractItemModel;
class QModelIndex;

namespace Zorn {

class CodeDocument;
class CodeFileEditorPrivate;
class CodeWorkspace;

// The file editor for text: it shows a CodeDocument, or the document behind a CodeNodeFile,
// in the shared CodeWorkspace, with the document's code tree beside it, and keeps tree,
// cursor and status bar in step. Engine modules derive their text editors from it.
class ZORNX_EXPORT CodeFileEditor : public FileEditor
{
    Q_OBJECT
public:
    // treeName: the host's tree view is asked for under that name (kind 12, flags 48, with
    // this editor's selectedItem(QModelIndex) as the slot); null: no tree.
    CodeFileEditor(CodeWorkspace *workspace, const char *treeName);
    ~CodeFileEditor() override;

    // 5.
    unsigned int areas() const override;
    void activate() override;
    void deactivate() override;
    void retranslate() override;
    void setCurrentFile(ProjectFile *file) override;
    // Puts line in the middle of the view and moves column characters on.
    void navigateTo(unsigned int line, unsigned int column) override;
    // Selects the first match and marks the others.
    QList<ProjectFile::SearchResult> find(const RegExp &expression, unsigned int flags) override;
    void replace(const QList<ProjectFile::SearchResult> &results, const QString &text) override;

public Q_SLOTS:
    void cut() override;
    void copy() override;
    void paste() override;
    // Saves in UTF-8, after any save still running.
    void saveAsUTF8();

protected:
    CodeDocument *document() const;
    // The tree's model, when there is a tree.
    void setCodeModel(QAbstractItemModel *model);

    CodeWorkspace *workspace;

protected Q_SLOTS:
    // Status texts: the 1-based cursor position and the error count.
    void cursorChanged(QPoint pos);
    // The tree follows the text (option "auto_expand_tree").
    void currLineChanged(int line);
    // The text follows the tree.
    void selectedItem(const QModelIndex &index);

private:
    CodeFileEditorPrivate *d;
};

} // namespace Zorn

#endif
