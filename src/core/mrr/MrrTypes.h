#pragma once

#include "model/JsonReader.h"
#include "util/Date.h"

#include <QList>
#include <QString>
#include <QUuid>
#include <optional>

// The records of monthly recurring revenue: what one subscription's MRR is made of, how a
// month's MRR moved, and the figures the pane shows. Amounts are in US dollars unless a
// field says minor units of the subscription's currency.

// One priced line of a subscription.
struct MrrItem
{
    QString id;              // the subscription item, to find its metered usage on invoices
    qint64 unitAmount = 0;   // minor units per interval
    qint64 quantity = 1;
    QString interval = QStringLiteral("month"); // "day", "week", "month", "year"
    qint64 intervalCount = 1;
    bool metered = false;    // billed by usage: worth what the last paid invoice charged for it
    std::optional<qint64> lastPaidAmount; // metered only: minor units on the last paid invoice
    friend bool operator==(const MrrItem &, const MrrItem &) = default;
};

struct MrrDiscount
{
    enum class Duration { Forever, Repeating, Once };
    double percentOff = 0;  // 0..100
    qint64 amountOff = 0;   // minor units per invoice, in the subscription's currency
    Duration duration = Duration::Forever;
    std::optional<Date> end; // repeating discounts stop applying here
    friend bool operator==(const MrrDiscount &, const MrrDiscount &) = default;
};

// A subscription's MRR inputs, whatever the provider.
struct MrrSubscription
{
    QString id;
    QUuid accountId;
    QString customerId;
    QString customerName; // name or e-mail when known
    QString currency;     // lower-case ISO code
    QString status;       // Stripe's: active, past_due, trialing, canceled, ...
    QList<MrrItem> items;
    QList<MrrDiscount> discounts;
    Date startDate;
    std::optional<Date> canceledAt;
    std::optional<Date> endedAt;
    std::optional<Date> trialEnd;
    friend bool operator==(const MrrSubscription &, const MrrSubscription &) = default;
};

// One paid invoice line of a subscription, prorations left out: what the subscription cost
// for the period it covers.
struct MrrInvoiceLine
{
    QString subscriptionId;
    QString itemId;
    Date periodStart;
    Date periodEnd;
    qint64 amount = 0;   // minor units, discounts taken off
    QString currency;
    QString interval = QStringLiteral("month"); // of the line's price
    qint64 intervalCount = 1;
    friend bool operator==(const MrrInvoiceLine &, const MrrInvoiceLine &) = default;
};

enum class MrrMovementKind { New, Expansion, Contraction, Churn, Reactivation };

// How MRR moved over a period, each part positive, in US dollars.
struct MrrMovements
{
    double newMrr = 0;
    double expansion = 0;
    double contraction = 0;
    double churn = 0;
    double reactivation = 0;
    double netNew() const { return newMrr + expansion + reactivation - contraction - churn; }
    friend bool operator==(const MrrMovements &, const MrrMovements &) = default;
};

// One customer's move over a period.
struct CustomerMovement
{
    QUuid accountId;
    QString customerId;
    QString customerName;
    MrrMovementKind kind = MrrMovementKind::New;
    double fromUsd = 0;
    double toUsd = 0;
    double changeUsd() const { return toUsd - fromUsd; }
    friend bool operator==(const CustomerMovement &, const CustomerMovement &) = default;
};

// One calendar month: MRR at its end (for the running month: now) and how it got there.
struct MrrMonth
{
    Date monthStart;
    double mrrUsd = 0;
    int activeCustomers = 0;
    MrrMovements movements;
    friend bool operator==(const MrrMonth &, const MrrMonth &) = default;
};

// The figures of the running month.
struct MrrSummary
{
    double mrrUsd = 0;
    double arrUsd = 0;
    double netNewUsd = 0;    // this month
    int activeCustomers = 0;
    double arpaUsd = 0;      // MRR per active customer; 0 without customers
    double logoChurnRate = 0;   // customers lost this month ÷ customers at its start (0..1)
    double netMrrChurnRate = 0; // (churn + contraction − expansion − reactivation) ÷ MRR at its start
    bool approximate = false;   // part of it is estimated from PayPal payments
    friend bool operator==(const MrrSummary &, const MrrSummary &) = default;
};

// When MRR reaches the goal at the recent pace.
struct MrrGoalEta
{
    double goalUsd = 0;               // 0: no goal set
    double averageNetNewUsd = 0;      // of the last three months
    std::optional<int> months;        // none when MRR does not grow, 0 when reached
    QString text;                     // "$10K MRR in about 5 months", "—"
    friend bool operator==(const MrrGoalEta &, const MrrGoalEta &) = default;
};

// MRR as it stood on one day; the snapshot file keeps one per day.
struct MrrSnapshot
{
    Date day; // local midnight
    double mrrUsd = 0;
    int activeCustomers = 0;
    bool approximate = false;
    static MrrSnapshot decode(JsonReader &reader, DateForm form = DateForm::Iso8601);
    friend bool operator==(const MrrSnapshot &, const MrrSnapshot &) = default;
};

// Everything the MRR pane shows.
struct MrrState
{
    MrrSummary summary;
    QList<MrrMonth> months;                  // the last twelve, oldest first, the running one last
    QList<CustomerMovement> monthMovements;  // this month's, largest change first
    MrrGoalEta goal;
    QList<MrrSnapshot> snapshots;            // oldest first
    bool isLoading = false;
    std::optional<QString> lastError;
    std::optional<Date> updatedAt;
    friend bool operator==(const MrrState &, const MrrState &) = default;
};

// What the user chose in Preferences that changes MRR.
struct MrrSettings
{
    bool countTrials = false;
    double goalUsd = 0;
    QString displayCurrency = QStringLiteral("USD"); // of the goal's text
    friend bool operator==(const MrrSettings &, const MrrSettings &) = default;
};
