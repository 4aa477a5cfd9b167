#ifndef ZORNX_CORE_ENGINE_P_H
#define ZORNX_CORE_ENGINE_P_H

#include <zornx/core/engine.h>

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QVariant>

namespace Zorn {

class EngineInstancesPrivate
{
public:
    QString basePath;
    QString configFile;
    QList<EngineInstances::Info *> instances; // owned, in the user's order
};

class EnginePrivateData
{
public:
    QMap<QString, QVariant> options;
    // The last load() failed: the destructor leaves the file alone rather than replace it with
    // what was read before the failure.
    bool loadFailed = false;
};

} // namespace Zorn

#endif
