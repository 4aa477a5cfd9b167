#ifndef ZORNX_CORE_OBJECT_P_H
#define ZORNX_CORE_OBJECT_P_H

#include <zornx/core/object.h>

namespace Zorn {

// A look inside the deletion queue, for tests: its length, whether the timer runs, and one
// tick run by hand.
struct ZORNX_EXPORT DeleterProbe
{
    static int queued();
    static bool running();
    static void tick();
};

} // namespace Zorn

#endif
