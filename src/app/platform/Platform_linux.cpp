#include "platform/StatusNotifierItem.h"
#include "platform/SystemTrayItem.h"
#include "platform/XdgAutostart.h"

namespace Platform {

std::unique_ptr<TrayItem> createTrayItem()
{
    if (StatusNotifierItem::isAvailable())
        return std::make_unique<StatusNotifierItem>();
    return std::make_unique<SystemTrayItem>();
}

std::unique_ptr<LoginItem> createLoginItem(const QString &configHome)
{
    return std::make_unique<XdgAutostart>(configHome);
}

} // namespace Platform
