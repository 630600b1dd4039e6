#pragma once

#include "DemoBusiness.h"
#include "stripe/StripeSource.h"
#include "util/Clock.h"

// Invoices paid by hand on demo accounts during this process, and how often each was tried.
// The engine keeps one for all its demo sources, so a paid invoice stays paid.
struct DemoRetryBook
{
    QHash<QUuid, DemoManualPayments> paid;
    QHash<QString, int> attempts; // by invoice id
};

// A demo account's Stripe, answered in process from the demo business of its id at the
// clock's current time. Nothing here touches the network. Each answer is ready at once.
class DemoStripeSource final : public StripeSource
{
public:
    DemoStripeSource(Account account, std::shared_ptr<Clock> clock, std::shared_ptr<DemoRetryBook> book);

    Reply<QList<RawInvoice>> fetchPaidInvoices(Date since, CancellationToken token) const override;
    Reply<QList<FailedPaymentEvent>> fetchFailedPayments(Date since, CancellationToken token) const override;
    Reply<QList<RefundEvent>> fetchRefunds(Date since, CancellationToken token) const override;
    Reply<QList<SucceededChargeEvent>> fetchStandaloneCharges(Date since, CancellationToken token) const override;
    Reply<QList<SubscriptionCancellation>> fetchSubscriptionCancellations(Date since, CancellationToken token) const override;
    Reply<QList<RawCharge>> fetchSucceededChargesHistorical(Date since, std::optional<Date> until,
                                                            CancellationToken token) const override;
    Reply<QList<ExpandedSubscription>> fetchSubscriptionsByStatus(QString status, CancellationToken token) const override;
    Reply<bool> retryInvoice(QString invoiceId, CancellationToken token) const override;
    Reply<QList<RawInvoicePayment>> fetchPaidInvoicePayments(Date since, CancellationToken token) const override;
    Reply<QList<RawInvoicePayment>> fetchPaidInvoicePaymentsByIntent(QString paymentIntentId,
                                                                     CancellationToken token) const override;
    Reply<ExpandedSubscription::SubCustomer> fetchCustomer(QString customerId, CancellationToken token) const override;
    Reply<QList<BillingSubscription>> fetchAllSubscriptions(CancellationToken token) const override;
    Reply<QList<BillingInvoice>> fetchPaidSubscriptionInvoices(Date since, CancellationToken token) const override;

private:
    DemoBusiness business() const;
    qint64 now() const;
    // The ledger of [since, now]; the listings of one load share it.
    const DemoLedger &ledger(qint64 since, qint64 until) const;

    Account m_account;
    std::shared_ptr<Clock> m_clock;
    std::shared_ptr<DemoRetryBook> m_book;
    mutable std::optional<std::pair<std::pair<qint64, qint64>, DemoLedger>> m_ledger;
};
