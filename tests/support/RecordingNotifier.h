#pragma once

#include "engine/Notifier.h"

#include <QStringList>

// Keeps what the engine asked of its notifier: permission requests and each batch's ids.
class RecordingNotifier final : public Notifier
{
public:
    int permissionRequests = 0;
    QList<QStringList> batches;

    void requestAuthorizationIfNeeded() override { ++permissionRequests; }
    void notify(const QList<PaymentEvent> &newEvents, bool /*privacyMode*/) override
    {
        QStringList ids;
        for (const PaymentEvent &e : newEvents)
            ids.append(e.id);
        batches.append(ids);
    }
    QStringList notifiedIds() const
    {
        QStringList all;
        for (const QStringList &batch : batches)
            all += batch;
        return all;
    }
};
