#pragma once

#include "icons/IconSources.h"
#include "model/Enums.h"
#include "model/PaymentEvent.h"

#include <QList>
#include <QSet>
#include <QUrl>

// US-dollar sums over a time range.
struct Totals
{
    double newMRR = 0;
    double recurringMRR = 0;
    double churn = 0;
    friend bool operator==(const Totals &, const Totals &) = default;
};

// What loading one account produced.
struct StripeLoad
{
    QList<PaymentEvent> events;
    QSet<RevenueKind> loadedKinds;
    // Ids of charges found to have paid an invoice: if an earlier cycle stored one of them
    // as a sale before its invoice arrived, the merge drops it.
    QSet<QString> supersededEventIds;
    // Records of the account left out because they did not decode; the rest were used.
    qsizetype skippedRecords = 0;
    // Part of the window could not be placed yet: the next load starts where this one did.
    bool askAgainFromSameStart = false;
};

inline size_t qHash(RevenueKind kind, size_t seed = 0)
{
    return ::qHash(static_cast<int>(kind), seed);
}

// Where the provider APIs live. Release builds use the public hosts; tests pass loopback URLs.
struct ProviderEndpoints
{
    QUrl stripeApi = QUrl(QStringLiteral("https://api.stripe.com"));
    QUrl paypalLive = QUrl(QStringLiteral("https://api-m.paypal.com"));
    QUrl paypalSandbox = QUrl(QStringLiteral("https://api-m.sandbox.paypal.com"));
    IconEndpoints icons;
};

// The outcome of an invoice retry: success, or the error's user-visible description.
struct RetryOutcome
{
    bool succeeded = false;
    QString errorDescription;
    bool throttled = false; // refused for the spacing between retries; clears itself
    int secondsToWait = 0;  // throttled: the whole seconds that were left
    friend bool operator==(const RetryOutcome &, const RetryOutcome &) = default;
};
