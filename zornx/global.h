#ifndef ZORNX_GLOBAL_H
#define ZORNX_GLOBAL_H

#include <QtCore/qglobal.h>

#if defined(ZORNX_LIBRARY)
#define ZORNX_EXPORT Q_DECL_EXPORT
#else
#define ZORNX_EXPORT Q_DECL_IMPORT
#endif

#endif
