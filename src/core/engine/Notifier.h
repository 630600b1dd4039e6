#pragma once

#include "model/PaymentEvent.h"

#include <QList>

// What one refresh announces: a few events one by one, the rest in one line, and at most
// one sound however many sales came in.
struct NotificationBatch
{
    QList<PaymentEvent> events; // one notification each, in order
    QString summary;            // "+2,996 more sales · $41,380"; empty when nothing is left over
    bool rings = false;         // a sale is among them: the sale sound plays once
    bool privacyMode = false;   // no amount and no description in any of them
    friend bool operator==(const NotificationBatch &, const NotificationBatch &) = default;
};

// Where the engine's notifications go: the desktop's notification service in the
// application, a recorder in tests. Calls come from the engine on the main thread.
class Notifier
{
public:
    virtual ~Notifier() = default;
    // Asks the user for permission if they have never been asked. No result.
    virtual void requestAuthorizationIfNeeded() = 0;
    // One notification per event, in order, then the summary; failures are not reported.
    virtual void notify(const NotificationBatch &batch) = 0;
    // Whether sales ring as well (the user's "Sale sound" switch); on until told otherwise.
    virtual void setSaleSound(bool on) { (void)on; }
};
