#ifndef ZORNX_CORE_PROPERTYITEM_H
#define ZORNX_CORE_PROPERTYITEM_H

#include <zornx/global.h>

#include <QtCore/QStringList>
#include <QtCore/QVariant>

namespace Zorn {

// Anything that exposes named properties: sprites, code nodes, sounds. The key "Identifier"
// names an item everywhere.
class ZORNX_EXPORT PropertyItem
{
public:
    virtual ~PropertyItem();
    virtual QStringList propertyNames() const = 0;
    virtual QVariant property(const QString &name) const = 0;
    virtual void setProperty(const QString &name, const QVariant &value) = 0;
};

} // namespace Zorn

#endif
