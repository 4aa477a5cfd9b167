// A shared library that matches the plug-in pattern but has no registerExtension().

#include "pluginlog.h"

#include <QtCore/qglobal.h>

static UnloadLogger unloadLogger{"noentry"};

extern "C" Q_DECL_EXPORT int notAnExtension()
{
    return 1;
}
