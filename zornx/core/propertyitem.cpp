#include "propertyitem.h"

namespace Zorn {

PropertyItem::~PropertyItem() = default;

} // namespace Zorn
