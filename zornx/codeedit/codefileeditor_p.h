#ifndef ZORNX_CODEEDIT_CODEFILEEDITOR_P_H
#define ZORNX_CODEEDIT_CODEFILEEDITOR_P_H

#include <zornx/codeedit/codefileeditor.h>

#include <QtCore/QModelIndex>
#include <QtCore/QObject>
#include <QtCore/QPointer>

class QAction;
class QTreeView;

namespace Zorn {

class Menu;

class ZORNX_EXPORT CodeFileEditorPrivate : public QObject
{
    Q_OBJECT
public:
    explicit CodeFileEditorPrivate(CodeFileEditor *editor);

    // The selected rows, without those whose ancestor is selected too.
    QModelIndexList selectedNodes(bool outermost) const;

    CodeDocument *document = nullptr;
    // The host's; it may go first.
    QPointer<QTreeView> tree;
    Menu *nodeMenu = nullptr;
    QAction *nodeActions[5] = {};
    QModelIndex menuIndex;

public Q_SLOTS:
    void onCustomContextMenu(const QPoint &point);
    void deleteNode();
    void cutNode();
    void copyNode();
    void pasteBefore();
    void pasteAfter();
};

} // namespace Zorn

#endif
