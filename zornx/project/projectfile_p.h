#ifndef ZORNX_PROJECT_PROJECTFILE_P_H
#define ZORNX_PROJECT_PROJECTFILE_P_H

#include <QtCore/QMap>
#include <QtCore/QVariant>

namespace Zorn {

class Archive;
class Project;

class ProjectFilePrivate
{
public:
    Project *project = nullptr; // not counted
    Archive *archive = nullptr; // holds one reference
    QMap<QString, QVariant> options;
    qint32 refCount = 1;

    // Binds archive in place of the current one, adding a reference to it.
    void bind(Archive &archive);
};

} // namespace Zorn

#endif
