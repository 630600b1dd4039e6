#pragma once

#include "engine/Notifier.h"

#include <memory>

namespace Platform {
// The desktop's notifications with the sale sound. `soundsFolder` holds the user's own sale
// sound; `appIcon` is shown beside each notification (a name or a file:// URI).
std::shared_ptr<Notifier> createNotifier(const QString &soundsFolder, const QString &appIcon);
} // namespace Platform
