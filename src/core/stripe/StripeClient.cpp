#include "StripeClient.h"

#include "StripeDecoding.h"
#include "net/Http.h"

#include <QScopeGuard>
#include <QSet>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace {

const QString cancelledText = u"Operation canceled"_s;

QString unixSeconds(Date date)
{
    return QString::number(date.unixSecondsTruncated());
}

// Builds the query by hand so the bytes on the wire are fixed: every character outside the
// unreserved set is percent-encoded, brackets included ("created%5Bgte%5D").
QByteArray encodeQuery(const QList<std::pair<QString, QString>> &items)
{
    QByteArray out;
    for (const auto &[key, value] : items) {
        if (!out.isEmpty())
            out += '&';
        out += QUrl::toPercentEncoding(key) + '=' + QUrl::toPercentEncoding(value);
    }
    return out;
}

} // namespace

StripeClient::StripeClient(Account account, QUrl baseUrl)
    : m_account(std::move(account))
    , m_baseUrl(std::move(baseUrl))
{
}

bool StripeClient::isPlainStripeId(QStringView id)
{
    if (id.isEmpty())
        return false;
    for (QChar c : id) {
        const char16_t u = c.unicode();
        const bool plain = (u >= u'a' && u <= u'z') || (u >= u'A' && u <= u'Z') || (u >= u'0' && u <= u'9') || u == u'_';
        if (!plain)
            return false;
    }
    return true;
}

StripeClient::Reply<QByteArray> StripeClient::send(QByteArray verb, QString path, Query query, CancellationToken token,
                                                   QByteArray apiVersionOverride) const
{
    const StripeClient self = *this;
    if (self.m_account.stripeRestrictedKey.isEmpty())
        co_return StripeError::missingKey();
    if (token.isCancelled())
        co_return StripeError::cancelled(cancelledText);

    QUrl url = self.m_baseUrl;
    QString basePath = url.path();
    while (basePath.endsWith(u'/'))
        basePath.chop(1);
    url.setPath(basePath + path);
    if (!query.isEmpty())
        url.setQuery(QString::fromLatin1(encodeQuery(query)), QUrl::StrictMode);

    QNetworkRequest request = Http::makeRequest(url);
    // The key is the user name and the password is empty; the ":" is never left out.
    request.setRawHeader("Authorization", "Basic " + (self.m_account.stripeRestrictedKey + u':').toUtf8().toBase64());
    request.setRawHeader("Content-Type", "application/x-www-form-urlencoded");
    request.setRawHeader("Stripe-Version", apiVersionOverride.isEmpty() ? QByteArray(apiVersion.data(), apiVersion.size())
                                                                        : apiVersionOverride);

    const HttpResponse response = co_await Http::send(request, verb, {}, token);
    if (response.isCancelled() && token.isCancelled())
        co_return StripeError::cancelled(response.errorText);
    if (response.status == 0)
        co_return StripeError::transport(response.errorText.isEmpty() ? u"no response"_s : response.errorText);
    if (response.status >= 400)
        co_return StripeError::http(response.status, response.body);
    co_return response.body;
}

template<typename Page, typename Out, typename Keep>
StripeClient::Reply<QList<Out>> StripeClient::collectPages(QString path, Query query, int pageCap,
                                                           CancellationToken token, Keep keep,
                                                           QByteArray apiVersionOverride) const
{
    const std::shared_ptr<qsizetype> skipped = m_skipped;
    QList<Out> results;
    std::optional<QString> cursor;
    QSet<QString> cursors; // every cursor asked for: a repeat means the list goes round
    qsizetype largestBody = 0;
    // Each page's body and decoded records go at the end of its turn; what stays is what is kept.
    const auto released = qScopeGuard([&largestBody] { Http::releaseFreedMemory(largestBody); });
    for (int pageNumber = 0; pageCap <= 0 || pageNumber < pageCap; ++pageNumber) {
        if (token.isCancelled())
            co_return StripeError::cancelled(cancelledText);
        if (pageCap <= 0 && pageNumber >= listingPageLimit)
            co_return StripeError::paging(u"%1 has more than %2 pages"_s.arg(path, QString::number(listingPageLimit)));
        Query pageQuery = query;
        if (cursor)
            pageQuery.append({u"starting_after"_s, *cursor});
        auto body = co_await send("GET", path, pageQuery, token, apiVersionOverride);
        if (!body)
            co_return body.error();
        largestBody = std::max(largestBody, body.value().size());
        auto page = StripeWire::decode<Page>(body.value());
        if (!page)
            co_return page.error();
        *skipped += page->skipped;
        for (const auto &element : page->data)
            keep(element, results);
        if (!page->has_more || page->records() == 0)
            break;
        if (!page->lastId)
            co_return StripeError::paging(u"%1 sent a page without a single id to go on from"_s.arg(path));
        // A server (or a cache in between) that ignores starting_after answers the same
        // page again and again while saying there is more.
        if (cursors.contains(*page->lastId))
            co_return StripeError::paging(u"%1 repeated a page (after %2)"_s.arg(path, *page->lastId));
        cursor = page->lastId;
        cursors.insert(*cursor);
    }
    co_return results;
}

template<typename Event, typename Out, typename Make>
StripeClient::Reply<QList<Out>> StripeClient::collectEvents(QString type, Date since, CancellationToken token,
                                                            Make make) const
{
    const Query query{{u"type"_s, type}, {u"limit"_s, u"100"_s}, {u"created[gte]"_s, unixSeconds(since)}};
    co_return co_await collectPages<ListResponse<Event>, Out>(
        u"/v1/events"_s, query, 0, token, [&make](const Event &event, QList<Out> &out) {
            // An event whose object is missing carries nothing to count.
            if (event.data && event.data->object)
                make(event, *event.data->object, out);
        });
}

StripeClient::Reply<QList<RawInvoice>> StripeClient::fetchPaidInvoices(Date since, CancellationToken token) const
{
    const StripeClient self = *this;
    co_return co_await self.collectEvents<PaidInvoiceEvent, RawInvoice>(
        u"invoice.payment_succeeded"_s, since, token,
        [](const PaidInvoiceEvent &event, const RawInvoice &invoice, QList<RawInvoice> &out) {
            RawInvoice paid = invoice;
            paid.created = event.created;
            out.append(std::move(paid));
        });
}

StripeClient::Reply<QList<FailedPaymentEvent>> StripeClient::fetchFailedPayments(Date since, CancellationToken token) const
{
    const StripeClient self = *this;
    co_return co_await self.collectEvents<FailedRawEvent, FailedPaymentEvent>(
        u"invoice.payment_failed"_s, since, token,
        [](const FailedRawEvent &event, const RawInvoice &invoice, QList<FailedPaymentEvent> &out) {
            out.append({event.id, Date::fromUnix(double(event.created)), invoice});
        });
}

StripeClient::Reply<QList<RefundEvent>> StripeClient::fetchRefunds(Date since, CancellationToken token) const
{
    const StripeClient self = *this;
    co_return co_await self.collectEvents<RefundRawEvent, RefundEvent>(
        u"charge.refunded"_s, since, token, [](const RefundRawEvent &event, const RawCharge &charge, QList<RefundEvent> &out) {
            out.append({event.id, Date::fromUnix(double(event.created)), charge});
        });
}

StripeClient::Reply<QList<SucceededChargeEvent>> StripeClient::fetchStandaloneCharges(Date since,
                                                                                     CancellationToken token) const
{
    const StripeClient self = *this;
    co_return co_await self.collectEvents<SucceededChargeRawEvent, SucceededChargeEvent>(
        u"charge.succeeded"_s, since, token,
        [](const SucceededChargeRawEvent &event, const RawCharge &charge, QList<SucceededChargeEvent> &out) {
            if (charge.invoice && !charge.invoice->isEmpty())
                return;
            out.append({event.id, Date::fromUnix(double(event.created)), charge});
        });
}

StripeClient::Reply<QList<SubscriptionCancellation>> StripeClient::fetchSubscriptionCancellations(Date since,
                                                                                                 CancellationToken token) const
{
    const StripeClient self = *this;
    co_return co_await self.collectEvents<RawEvent, SubscriptionCancellation>(
        u"customer.subscription.deleted"_s, since, token,
        [](const RawEvent &event, const RawSubscription &subscription, QList<SubscriptionCancellation> &out) {
            out.append({event.id, Date::fromUnix(double(event.created)), subscription});
        });
}

StripeClient::Reply<QList<RawCharge>> StripeClient::fetchSucceededChargesHistorical(Date since, std::optional<Date> until,
                                                                                   CancellationToken token) const
{
    const StripeClient self = *this;
    Query query{{u"limit"_s, u"100"_s}, {u"created[gte]"_s, unixSeconds(since)}};
    if (until)
        query.append({u"created[lte]"_s, unixSeconds(*until)});
    co_return co_await self.collectPages<ChargeListResponse, RawCharge>(
        u"/v1/charges"_s, query, historicalChargePageCap, token, [](const RawCharge &charge, QList<RawCharge> &out) {
            if (charge.status == u"succeeded"_s && charge.paid.value_or(true))
                out.append(charge);
        });
}

StripeClient::Reply<QList<ExpandedSubscription>> StripeClient::fetchSubscriptionsByStatus(QString status,
                                                                                         CancellationToken token) const
{
    const StripeClient self = *this;
    const Query query{{u"status"_s, status},
                      {u"limit"_s, u"100"_s},
                      {u"expand[]"_s, u"data.customer"_s},
                      {u"expand[]"_s, u"data.latest_invoice"_s}};
    co_return co_await self.collectPages<ExpandedSubscriptionListResponse, ExpandedSubscription>(
        u"/v1/subscriptions"_s, query, 0, token,
        [](const ExpandedSubscription &subscription, QList<ExpandedSubscription> &out) { out.append(subscription); });
}

StripeClient::Reply<StripeAccountInfo> StripeClient::fetchAccountInfo(CancellationToken token) const
{
    const StripeClient self = *this;
    auto body = co_await self.send("GET", u"/v1/account"_s, {}, token);
    if (!body)
        co_return body.error();
    co_return StripeWire::decode<StripeAccountInfo>(body.value());
}

StripeClient::Reply<bool> StripeClient::retryInvoice(QString invoiceId, CancellationToken token) const
{
    const StripeClient self = *this;
    if (self.m_account.stripeRestrictedKey.isEmpty())
        co_return StripeError::missingKey();
    if (!isPlainStripeId(invoiceId))
        co_return StripeError::invalidRequest(u"Not a Stripe invoice id: \"%1\""_s.arg(invoiceId.left(80)));
    auto body = co_await self.send("POST", u"/v1/invoices/"_s + invoiceId + u"/pay"_s, {}, token);
    if (!body)
        co_return body.error();
    co_return true;
}

StripeClient::Reply<QList<RawInvoicePayment>> StripeClient::fetchPaidInvoicePayments(Date since,
                                                                                   CancellationToken token) const
{
    const StripeClient self = *this;
    const Query query{{u"status"_s, u"paid"_s}, {u"limit"_s, u"100"_s}, {u"created[gte]"_s, unixSeconds(since)}};
    // Invoice payments came with 2025-03-31.basil; ask in the version that defines them
    // rather than the older one every other request pins.
    co_return co_await self.collectPages<InvoicePaymentListResponse, RawInvoicePayment>(
        u"/v1/invoice_payments"_s, query, 0, token,
        [](const RawInvoicePayment &payment, QList<RawInvoicePayment> &out) { out.append(payment); }, "2025-03-31.basil");
}

StripeClient::Reply<QList<RawInvoicePayment>> StripeClient::fetchPaidInvoicePaymentsOf(QString invoiceId,
                                                                                     CancellationToken token) const
{
    const StripeClient self = *this;
    if (self.m_account.stripeRestrictedKey.isEmpty())
        co_return StripeError::missingKey();
    if (!isPlainStripeId(invoiceId))
        co_return StripeError::invalidRequest(u"Not a Stripe invoice id: \"%1\""_s.arg(invoiceId.left(80)));
    const Query query{{u"invoice"_s, invoiceId}, {u"status"_s, u"paid"_s}, {u"limit"_s, u"100"_s}};
    co_return co_await self.collectPages<InvoicePaymentListResponse, RawInvoicePayment>(
        u"/v1/invoice_payments"_s, query, 0, token,
        [](const RawInvoicePayment &payment, QList<RawInvoicePayment> &out) { out.append(payment); }, "2025-03-31.basil");
}

std::optional<QString> StripeClient::parseHumanError(const QByteArray &body)
{
    const auto response = StripeWire::decode<ErrResp>(body);
    if (!response || !response->error)
        return std::nullopt;
    const ErrResp::Err &error = *response->error;
    const QString key = error.decline_code.value_or(error.code.value_or(QString()));
    for (const DeclineSentence &row : stripeFriendlyDeclineMap)
        if (row.code == key)
            return row.sentence.toString();
    if (error.message && !error.message->isEmpty())
        return error.message;
    if (!key.isEmpty())
        return u"Charge declined: "_s + QString(key).replace(u'_', u' ');
    return std::nullopt;
}
