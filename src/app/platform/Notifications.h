#pragma once

#include "engine/Notifier.h"

#include <QObject>
#include <QUrl>
#include <memory>

// A notifier whose notifications the user can act on.
class DesktopNotifier : public QObject, public Notifier
{
    Q_OBJECT
public:
    using QObject::QObject;

Q_SIGNALS:
    // The notification of this event was clicked.
    void eventActivated(const QString &eventId);
    // Its link to the provider's dashboard was chosen.
    void linkActivated(const QUrl &url);
};

namespace Platform {
// The desktop's notifications with the sale sound. `soundsFolder` holds the user's own sale
// sound; `appIcon` is shown beside each notification (a name or a file:// URI).
std::shared_ptr<DesktopNotifier> createNotifier(const QString &soundsFolder, const QString &appIcon);
} // namespace Platform
