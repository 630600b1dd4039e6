#include "DemoStripeSource.h"

using namespace Qt::StringLiterals;

namespace {

StripeError cancelled()
{
    return StripeError::cancelled(u"Operation canceled"_s);
}

qint64 unixSeconds(Date date)
{
    return date.unixSecondsTruncated();
}

Date fromUnix(qint64 seconds)
{
    return Date::fromUnix(double(seconds));
}

// A demo invoice is settled at most 37 days after it was made (a week of retries, then 30
// days unpaid): the window in which a look-up by payment intent finds its payment.
constexpr qint64 invoiceSettlementSeconds = 40 * 86400;
// How far back a customer look-up finds the customers whose subscriptions ended: as far as
// the feed keeps their cancellations.
constexpr qint64 customerLookbackSeconds = 100 * 86400;

} // namespace

DemoStripeSource::DemoStripeSource(Account account, std::shared_ptr<Clock> clock, std::shared_ptr<DemoRetryBook> book)
    : m_account(std::move(account))
    , m_clock(std::move(clock))
    , m_book(std::move(book))
{
}

DemoBusiness DemoStripeSource::business() const
{
    return DemoBusiness(DemoBusiness::seedFor(m_account.id), m_book->paid.value(m_account.id));
}

qint64 DemoStripeSource::now() const
{
    return unixSeconds(m_clock->now());
}

const DemoLedger &DemoStripeSource::ledger(qint64 since, qint64 until) const
{
    const std::pair<qint64, qint64> window{since, until};
    if (!m_ledger || m_ledger->first != window)
        m_ledger.emplace(window, business().activity(since, until));
    return m_ledger->second;
}

StripeSource::Reply<QList<RawInvoice>> DemoStripeSource::fetchPaidInvoices(Date since, CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    QList<RawInvoice> out;
    for (const PaidInvoiceEvent &event : ledger(unixSeconds(since), now()).paidInvoices) {
        RawInvoice invoice = *event.data->object;
        invoice.created = event.created; // when the payment was reported, as the REST query gives it
        out.append(std::move(invoice));
    }
    co_return out;
}

StripeSource::Reply<QList<FailedPaymentEvent>> DemoStripeSource::fetchFailedPayments(Date since, CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    QList<FailedPaymentEvent> out;
    for (const FailedRawEvent &event : ledger(unixSeconds(since), now()).failedInvoices)
        out.append({event.id, fromUnix(event.created), *event.data->object});
    co_return out;
}

StripeSource::Reply<QList<RefundEvent>> DemoStripeSource::fetchRefunds(Date since, CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    QList<RefundEvent> out;
    for (const RefundRawEvent &event : ledger(unixSeconds(since), now()).refunds)
        out.append({event.id, fromUnix(event.created), *event.data->object});
    co_return out;
}

StripeSource::Reply<QList<SucceededChargeEvent>> DemoStripeSource::fetchStandaloneCharges(Date since,
                                                                                        CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    QList<SucceededChargeEvent> out;
    for (const SucceededChargeRawEvent &event : ledger(unixSeconds(since), now()).charges) {
        const RawCharge &charge = *event.data->object;
        if (!charge.invoice || charge.invoice->isEmpty()) // the REST query keeps these alone
            out.append({event.id, fromUnix(event.created), charge});
    }
    co_return out;
}

StripeSource::Reply<QList<SubscriptionCancellation>> DemoStripeSource::fetchSubscriptionCancellations(
    Date since, CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    QList<SubscriptionCancellation> out;
    for (const RawEvent &event : ledger(unixSeconds(since), now()).cancellations)
        out.append({event.id, fromUnix(event.created), *event.data->object});
    co_return out;
}

StripeSource::Reply<QList<RawCharge>> DemoStripeSource::fetchSucceededChargesHistorical(Date since, std::optional<Date> until,
                                                                                      CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    const qint64 end = until ? std::min(unixSeconds(*until), now()) : now();
    QList<RawCharge> charges = ledger(unixSeconds(since), end).chargeList;
    if (charges.size() > StripeClient::historicalChargePageCap * 100)
        charges.resize(StripeClient::historicalChargePageCap * 100);
    co_return charges;
}

StripeSource::Reply<QList<ExpandedSubscription>> DemoStripeSource::fetchSubscriptionsByStatus(QString status,
                                                                                            CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    co_return business().subscriptions(status, now());
}

StripeSource::Reply<bool> DemoStripeSource::retryInvoice(QString invoiceId, CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    if (!StripeClient::isPlainStripeId(invoiceId))
        co_return StripeError::invalidRequest(u"Not a Stripe invoice id: \"%1\""_s.arg(invoiceId.left(80)));
    const qint64 at = now();
    const std::optional<quint64> invoice = business().openInvoice(invoiceId, at);
    if (!invoice)
        co_return StripeError::http(400, R"({"error":{"type":"invalid_request_error","code":"invoice_not_open",)"
                                         R"("message":"This invoice is no longer open for payment."}})");
    const int attempt = ++m_book->attempts[invoiceId];
    if (const std::optional<QByteArray> decline = DemoBusiness::declineFor(*invoice, attempt))
        co_return StripeError::http(402, *decline);
    m_book->paid[m_account.id].insert(*invoice, at);
    m_ledger.reset();
    co_return true;
}

StripeSource::Reply<QList<RawInvoicePayment>> DemoStripeSource::fetchPaidInvoicePayments(Date since,
                                                                                       CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    co_return ledger(unixSeconds(since), now()).invoicePayments;
}

StripeSource::Reply<QList<RawInvoicePayment>> DemoStripeSource::fetchPaidInvoicePaymentsByIntent(QString paymentIntentId,
                                                                                               CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    QList<RawInvoicePayment> out;
    const qint64 end = now();
    for (const RawInvoicePayment &payment : business().activity(end - invoiceSettlementSeconds, end).invoicePayments)
        if (payment.payment_intent == paymentIntentId)
            out.append(payment);
    co_return out;
}

StripeSource::Reply<ExpandedSubscription::SubCustomer> DemoStripeSource::fetchCustomer(QString customerId,
                                                                                     CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    // The load that listed the cancellation usually still holds its ledger.
    if (m_ledger)
        if (auto found = m_ledger->second.cancelledCustomers.constFind(customerId);
            found != m_ledger->second.cancelledCustomers.cend())
            co_return *found;
    const qint64 end = now();
    const DemoLedger &recent = ledger(end - customerLookbackSeconds, end);
    if (auto found = recent.cancelledCustomers.constFind(customerId); found != recent.cancelledCustomers.cend())
        co_return *found;
    co_return StripeError::http(404, R"({"error":{"type":"invalid_request_error","code":"resource_missing",)"
                                     R"("message":"No such customer"}})");
}

StripeSource::Reply<QList<BillingSubscription>> DemoStripeSource::fetchAllSubscriptions(CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    const qint64 at = now();
    co_return business().billing(at, at).first;
}

StripeSource::Reply<QList<BillingInvoice>> DemoStripeSource::fetchPaidSubscriptionInvoices(Date since,
                                                                                         CancellationToken token) const
{
    if (token.isCancelled())
        co_return cancelled();
    co_return business().billing(since.unixSecondsTruncated(), now()).second;
}
