#ifndef ZORNX_PROJECT_PROJECT_P_H
#define ZORNX_PROJECT_PROJECT_P_H

#include <zornx/global.h>

namespace Zorn {

class ProjectFile;

// The file that Project::addFile binds to the project together with the one it is given: a
// file that wraps another (the code layer's node files wrap their document) names it here.
// This layer cannot see those classes, so the code layer installs the function; null for a
// file that wraps nothing.
typedef ProjectFile *(*WrappedFileFunction)(ProjectFile *file);
ZORNX_EXPORT void setWrappedFileFunction(WrappedFileFunction function);

} // namespace Zorn

#endif
