#pragma once

#include "model/PaymentEvent.h"

#include <QList>

// Where the engine's notifications go: the desktop's notification service in the
// application, a recorder in tests. Calls come from the engine on the main thread.
class Notifier
{
public:
    virtual ~Notifier() = default;
    // Asks the user for permission if they have never been asked. No result.
    virtual void requestAuthorizationIfNeeded() = 0;
    // One notification per event, in order; failures are not reported. In privacy mode they
    // show no amount.
    virtual void notify(const QList<PaymentEvent> &newEvents, bool privacyMode) = 0;
    // Whether sales ring as well (the user's "Sale sound" switch); on until told otherwise.
    virtual void setSaleSound(bool on) { (void)on; }
};
