#pragma once

#include "DemoLifecycle.h"
#include "stripe/StripeRecords.h"

#include <QUuid>

// Everything the demo business's Stripe account reports for a window, as Stripe's own
// records, each list newest first as Stripe lists it.
struct DemoLedger
{
    QList<PaidInvoiceEvent> paidInvoices;     // invoice.payment_succeeded
    QList<FailedRawEvent> failedInvoices;     // invoice.payment_failed
    QList<RefundRawEvent> refunds;            // charge.refunded
    QList<SucceededChargeRawEvent> charges;   // charge.succeeded, invoice payments included
    QList<RawEvent> cancellations;            // customer.subscription.deleted
    QList<RawInvoicePayment> invoicePayments; // one per paid invoice
    QList<RawCharge> chargeList;              // GET /v1/charges: the succeeded charges as they stand now
    // GET /v1/customers/{id} of the customers whose subscriptions ended, by id.
    QHash<QString, ExpandedSubscription::SubCustomer> cancelledCustomers;
};

// A made-up subscription business: a few hundred new customers a quarter on three plans in
// four currencies (one without decimals), renewing on their billing days, upgrading,
// cancelling, failing to pay and recovering or not, asking for refunds; one-off purchases
// every day and, while the app runs, every few minutes. It is a pure function of the seed,
// the window and the invoices paid by hand, so one account tells the same story every run.
class DemoBusiness
{
public:
    // One-off sales come every few minutes, but only this close to `now`: they are what a
    // running app sees arrive, not a history that would bury the subscriptions.
    static constexpr qint64 liveWindowSeconds = 20 * 60;
    static constexpr qint64 liveSlotSeconds = 300;

    explicit DemoBusiness(quint64 seed, DemoManualPayments manual = {});
    static quint64 seedFor(const QUuid &accountId);

    // What happened from `since` to `now`, Unix seconds, both included.
    DemoLedger activity(qint64 since, qint64 now) const;
    // The subscriptions whose Stripe status is `status` at `now`, as listed with the customer
    // and the latest invoice expanded.
    QList<ExpandedSubscription> subscriptions(QStringView status, qint64 now) const;
    // Every subscription as listed at `now` with any status, and the invoices paid from
    // `since` to `now` with their lines: what the MRR history is rebuilt from.
    std::pair<QList<BillingSubscription>, QList<BillingInvoice>> billing(qint64 since, qint64 now) const;
    // The key of the open invoice `invoiceId` of a subscription at risk at `now`, or none.
    std::optional<quint64> openInvoice(QStringView invoiceId, qint64 now) const;
    // Whether paying an open invoice by hand goes through: none when it does, else the body of
    // Stripe's 402 answer. `attempt` counts the hand retries of that invoice from 1.
    static std::optional<QByteArray> declineFor(quint64 invoice, int attempt);

private:
    template<typename Visit>
    void forEachCustomer(qint64 since, qint64 now, Visit visit) const;

    quint64 m_seed;
    DemoManualPayments m_manual;
};
