#pragma once

#include <QHash>
#include <QList>
#include <QString>

// The life of the demo business's subscribers as plain numbers: who signed up when, on
// which plan and currency, and what happened at every renewal. Ids, names and Stripe records
// are made from these later (DemoBusiness), so walking a customer stays cheap.

// Invoices paid by hand from the at-risk pane: invoice key → Unix second of the payment.
using DemoManualPayments = QHash<quint64, qint64>;

enum class DemoPlan { Starter, Pro, Team };

struct DemoCustomer
{
    quint64 key = 0;
    qint64 signup = 0; // Unix seconds; also the billing anchor
    int currency = 0;  // index into demoCurrencies
    DemoPlan plan = DemoPlan::Starter;
    bool yearly = false;
};

struct DemoCurrency
{
    const char *code; // Stripe's lower-case code
    const char *symbol;
    bool zeroDecimal;
    qint64 monthly[3]; // minor units per month for Starter, Pro, Team
};

inline constexpr DemoCurrency demoCurrencies[] = {
    {"usd", "$", false, {1900, 4900, 14900}},
    {"eur", "\u20AC", false, {1800, 4500, 13900}},
    {"gbp", "\u00A3", false, {1500, 3900, 11900}},
    {"jpy", "\u00A5", true, {2900, 7400, 22000}},
};

// Something that happened to one subscription, in time order.
struct DemoHappening
{
    enum class Kind {
        Paid,       // an invoice was paid
        Failed,     // an attempt to pay an invoice failed
        Refunded,   // the charge of an earlier paid invoice was refunded
        Canceled,   // the subscription ended
        PastDue,    // a renewal failed; Stripe will try again at nextAttempt
        Unpaid,     // every automatic attempt failed; the invoice stays open
        Incomplete, // the first payment failed; the customer has 23 hours to fix it
        Active,     // back to normal
    };
    enum class Reason { Create, Cycle, Upgrade };

    Kind kind = Kind::Paid;
    qint64 time = 0;       // Unix seconds
    quint64 invoice = 0;   // key of the invoice concerned
    qint64 invoiceCreated = 0;
    qint64 amount = 0;     // minor units due, paid or (for a refund) refunded
    qint64 charged = 0;    // a refund: what the refunded charge took
    int attempt = 0;       // Failed, and the charge of a Paid invoice after failures
    Reason reason = Reason::Cycle;
    DemoPlan plan = DemoPlan::Starter; // the plan after this happening
    qint64 nextAttempt = 0;            // PastDue: Stripe's next automatic retry; 0 when none
    qint64 periodEnd = 0;              // end of the billing period this happening falls in
    bool paymentFailure = false;       // Canceled: because payments kept failing
};

namespace DemoLifecycle {

// No subscription lives longer than this, so a walk over a window need not start earlier.
inline constexpr qint64 longestLifeDays = 800;
inline constexpr qint64 daySeconds = 86400;

// The customers who signed up on the Unix day `day` (days since 1970-01-01 UTC).
QList<DemoCustomer> signupsOn(quint64 seed, qint64 day);

// Everything that happens to `customer` up to `until`.
QList<DemoHappening> walk(const DemoCustomer &customer, qint64 until, const DemoManualPayments &manual);

// Start of billing period `index` (0 is the signup): same day of month, clamped to the
// month's end, same time of day, in UTC.
qint64 periodStart(const DemoCustomer &customer, int index);

qint64 monthlyPrice(const DemoCustomer &customer, DemoPlan plan);
qint64 periodPrice(const DemoCustomer &customer, DemoPlan plan);

} // namespace DemoLifecycle
