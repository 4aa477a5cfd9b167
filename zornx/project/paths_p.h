#ifndef ZORNX_PROJECT_PATHS_P_H
#define ZORNX_PROJECT_PATHS_P_H

#include <QtCore/QString>

namespace Zorn {

// Joins two path pieces with exactly one '/' between them.
inline QString joinPath(const QString &a, const QString &b)
{
    if (a.isEmpty() || b.isEmpty())
        return a + b;
    const bool aSlash = a.endsWith(QLatin1Char('/'));
    const bool bSlash = b.startsWith(QLatin1Char('/'));
    if (aSlash && bSlash)
        return a + b.mid(1);
    return aSlash || bSlash ? a + b : a + QLatin1Char('/') + b;
}

// Whether name lies in directory, on a separator boundary: "/a/bc" is not in "/a/b".
inline bool isBelow(const QString &name, const QString &directory)
{
    if (directory.isEmpty())
        return true;
    if (!name.startsWith(directory))
        return false;
    return directory.endsWith(QLatin1Char('/')) || name.size() == directory.size()
        || name.at(directory.size()) == QLatin1Char('/');
}

} // namespace Zorn

#endif
