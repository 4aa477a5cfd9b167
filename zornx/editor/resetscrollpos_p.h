#ifndef ZORNX_EDITOR_RESETSCROLLPOS_P_H
#define ZORNX_EDITOR_RESETSCROLLPOS_P_H

#include <zornx/global.h>

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtWidgets/QTreeView>

namespace Zorn {
namespace Private {

// Restores a tree view's vertical scroll position once a model reset has run its course:
// connect reset() to run after it (e.g. queued); the object deletes itself.
class ZORNX_EXPORT ResetScrollPos : public QObject
{
    Q_OBJECT
public:
    ResetScrollPos(QTreeView *view, int position);

public Q_SLOTS:
    void reset();

private:
    QPointer<QTreeView> view;
    int position;
};

} // namespace Private
} // namespace Zorn

#endif
