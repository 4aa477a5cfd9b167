#ifndef ZORNX_CORE_EXTENSION_P_H
#define ZORNX_CORE_EXTENSION_P_H

#include <zornx/core/extension.h>

#include <QtCore/QList>

class QLibrary;

namespace Zorn {

// What every ExtensionManager shares: one list per extension type and the plug-ins loaded so
// far, in load order.
struct ExtensionRegistry
{
    QList<Extension *> lists[Extension::TypeCount];
    QList<QLibrary *> libraries;

    static ExtensionRegistry &instance();
};

} // namespace Zorn

#endif
