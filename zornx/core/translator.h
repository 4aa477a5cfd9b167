#ifndef ZORNX_CORE_TRANSLATOR_H
#define ZORNX_CORE_TRANSLATOR_H

#include <zornx/global.h>

#include <QtCore/QString>

namespace Zorn {

// Table from a text number to a text. The host's Interface is one, so a host can translate
// every action of the library.
class ZORNX_EXPORT Translator
{
public:
    virtual ~Translator();
    virtual QString text(int id) const = 0;
    // Base: text(id, 0).
    virtual QString toolTip(int id) const;
    // A variant of a text; the base has none and gives an empty string.
    virtual QString text(int id, int variant) const;
};

} // namespace Zorn

#endif
