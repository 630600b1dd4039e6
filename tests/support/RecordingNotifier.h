#pragma once

#include "engine/Notifier.h"

#include <QStringList>

// Keeps what the engine asked of its notifier: permission requests, each batch's ids and
// summary, and how many batches rang.
class RecordingNotifier final : public Notifier
{
public:
    int permissionRequests = 0, rings = 0;
    QList<QStringList> batches;
    QStringList summaries;

    void requestAuthorizationIfNeeded() override { ++permissionRequests; }
    void notify(const NotificationBatch &batch) override
    {
        batches.append(QStringList());
        std::ranges::transform(batch.events, std::back_inserter(batches.last()), &PaymentEvent::id);
        summaries.append(batch.summary);
        rings += batch.rings ? 1 : 0;
    }
    QStringList notifiedIds() const
    {
        QStringList all;
        for (const QStringList &batch : batches)
            all += batch;
        return all;
    }
};
