#pragma once

#include "StripeClient.h"

#include <memory>

// What the engine asks of one Stripe account: the listings a load, the gap fill and the
// at-risk run read, and paying an invoice. The REST client answers over HTTP; the demo
// business answers in process. Sources are made per use and shared by the tasks of one
// operation; every reply is a value, so a source may go away while a reply is awaited.
class StripeSource
{
public:
    template<typename T>
    using Reply = StripeClient::Reply<T>;

    virtual ~StripeSource() = default;

    virtual Reply<QList<RawInvoice>> fetchPaidInvoices(Date since, CancellationToken token) const = 0;
    virtual Reply<QList<FailedPaymentEvent>> fetchFailedPayments(Date since, CancellationToken token) const = 0;
    virtual Reply<QList<RefundEvent>> fetchRefunds(Date since, CancellationToken token) const = 0;
    virtual Reply<QList<SucceededChargeEvent>> fetchStandaloneCharges(Date since, CancellationToken token) const = 0;
    virtual Reply<QList<SubscriptionCancellation>> fetchSubscriptionCancellations(Date since,
                                                                                  CancellationToken token) const = 0;
    virtual Reply<QList<RawCharge>> fetchSucceededChargesHistorical(Date since, std::optional<Date> until,
                                                                    CancellationToken token) const = 0;
    virtual Reply<QList<ExpandedSubscription>> fetchSubscriptionsByStatus(QString status,
                                                                          CancellationToken token) const = 0;
    virtual Reply<bool> retryInvoice(QString invoiceId, CancellationToken token) const = 0;
    virtual Reply<QList<RawInvoicePayment>> fetchPaidInvoicePayments(Date since, CancellationToken token) const = 0;
    virtual Reply<QList<RawInvoicePayment>> fetchPaidInvoicePaymentsByIntent(QString paymentIntentId,
                                                                             CancellationToken token) const = 0;
    // One customer's e-mail and name (GET /v1/customers/{id}); a deleted customer has neither.
    virtual Reply<ExpandedSubscription::SubCustomer> fetchCustomer(QString customerId, CancellationToken token) const = 0;
    // The inputs of MRR: every subscription, and the invoices paid since `since` with their
    // lines. A source without subscriptions has none.
    virtual Reply<QList<BillingSubscription>> fetchAllSubscriptions(CancellationToken) const
    {
        return emptyReply<BillingSubscription>();
    }
    virtual Reply<QList<BillingInvoice>> fetchPaidSubscriptionInvoices(Date, CancellationToken) const
    {
        return emptyReply<BillingInvoice>();
    }
    // Records the listings of this source have left out so far because they did not decode.
    virtual qsizetype skippedRecords() const { return 0; }

private:
    template<typename T>
    static Reply<QList<T>> emptyReply()
    {
        co_return QList<T>{};
    }
};

// The Stripe REST API as a source.
class HttpStripeSource final : public StripeSource
{
public:
    explicit HttpStripeSource(StripeClient client) : m_client(std::move(client)) {}

    const StripeClient &client() const { return m_client; }

    Reply<QList<RawInvoice>> fetchPaidInvoices(Date since, CancellationToken token) const override
    {
        return m_client.fetchPaidInvoices(since, token);
    }
    Reply<QList<FailedPaymentEvent>> fetchFailedPayments(Date since, CancellationToken token) const override
    {
        return m_client.fetchFailedPayments(since, token);
    }
    Reply<QList<RefundEvent>> fetchRefunds(Date since, CancellationToken token) const override
    {
        return m_client.fetchRefunds(since, token);
    }
    Reply<QList<SucceededChargeEvent>> fetchStandaloneCharges(Date since, CancellationToken token) const override
    {
        return m_client.fetchStandaloneCharges(since, token);
    }
    Reply<QList<SubscriptionCancellation>> fetchSubscriptionCancellations(Date since, CancellationToken token) const override
    {
        return m_client.fetchSubscriptionCancellations(since, token);
    }
    Reply<QList<RawCharge>> fetchSucceededChargesHistorical(Date since, std::optional<Date> until,
                                                            CancellationToken token) const override
    {
        return m_client.fetchSucceededChargesHistorical(since, until, token);
    }
    Reply<QList<ExpandedSubscription>> fetchSubscriptionsByStatus(QString status, CancellationToken token) const override
    {
        return m_client.fetchSubscriptionsByStatus(std::move(status), token);
    }
    Reply<bool> retryInvoice(QString invoiceId, CancellationToken token) const override
    {
        return m_client.retryInvoice(std::move(invoiceId), token);
    }
    Reply<QList<RawInvoicePayment>> fetchPaidInvoicePayments(Date since, CancellationToken token) const override
    {
        return m_client.fetchPaidInvoicePayments(since, token);
    }
    Reply<QList<RawInvoicePayment>> fetchPaidInvoicePaymentsByIntent(QString paymentIntentId,
                                                                     CancellationToken token) const override
    {
        return m_client.fetchPaidInvoicePaymentsByIntent(std::move(paymentIntentId), token);
    }
    Reply<ExpandedSubscription::SubCustomer> fetchCustomer(QString customerId, CancellationToken token) const override
    {
        return m_client.fetchCustomer(std::move(customerId), token);
    }
    Reply<QList<BillingSubscription>> fetchAllSubscriptions(CancellationToken token) const override
    {
        return m_client.fetchAllSubscriptions(token);
    }
    Reply<QList<BillingInvoice>> fetchPaidSubscriptionInvoices(Date since, CancellationToken token) const override
    {
        return m_client.fetchPaidSubscriptionInvoices(since, token);
    }
    qsizetype skippedRecords() const override { return m_client.skippedRecords(); }

private:
    StripeClient m_client;
};
