#ifndef ZORNX_EDITOR_WORKSPACE_H
#define ZORNX_EDITOR_WORKSPACE_H

#include <zornx/core/object.h>

#include <QtCore/QObject>

class QWidget;

namespace Zorn {

// The large central widget that several editors share. The host activates one at a time and
// shows its widget().
class ZORNX_EXPORT Workspace : public QObject, public Object
{
    Q_OBJECT
public:
    explicit Workspace(QObject *parent = nullptr);
    ~Workspace() override;

    virtual const char *name() const = 0;
    virtual QWidget *widget() const = 0;
    virtual void engineSwitched(bool enabled);
    virtual void activate();
    virtual void deactivate();
    virtual void reconfig() = 0;
    virtual void retranslate() = 0;

    bool isActive() const;

public Q_SLOTS:
    // The user clicked this workspace's field in the status bar.
    virtual void statusClicked();
    virtual void zoomActual() = 0;
    virtual void zoomFit() = 0;
    virtual void zoomIn() = 0;
    virtual void zoomOut() = 0;

protected:
    bool active;
};

} // namespace Zorn

#endif
