#include "StripeClient.h"

#include "StripeDecoding.h"
#include "net/Http.h"

#include <QScopeGuard>
#include <QSet>
#include <QUrlQuery>
#include <cmath>

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

StripeClient::StripeClient(Account account, QUrl baseUrl, std::shared_ptr<RequestBudget> budget)
    : m_account(std::move(account))
    , m_baseUrl(std::move(baseUrl))
    , m_budget(budget ? std::move(budget) : std::make_shared<RequestBudget>(0, std::make_shared<SystemClock>()))
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

    // A GET refused for the rate limit is asked again once the wait Stripe names is over
    // (or, without one, after a wait that doubles), holding back the account's other
    // requests meanwhile; past rateLimitWaitLimit in all the 429 stands.
    const std::shared_ptr<RequestBudget> budget = self.m_budget;
    HttpResponse response;
    double waited = 0.0;
    double backoff = 1.0;
    for (;;) {
        if (!co_await budget->acquire(token))
            co_return StripeError::cancelled(cancelledText);
        response = co_await Http::send(request, verb, {}, token);
        if (response.status != 429 || verb != "GET")
            break;
        const std::optional<double> asked = retryAfterSeconds(response.retryAfter, budget->clock()->now());
        const double wait = asked.value_or(backoff);
        backoff *= 2.0;
        if (asked && *asked > rateLimitWaitLimit) {
            // Asking again sooner is refused again: the account's requests wait, and the user
            // is told why.
            budget->pause(std::min(*asked, longestRateLimitPause));
            co_return StripeError::rateLimited(*asked);
        }
        if (waited + wait > rateLimitWaitLimit)
            break;
        waited += wait;
        budget->pause(wait);
    }
    if (response.isCancelled() && token.isCancelled())
        co_return StripeError::cancelled(response.errorText);
    if (response.status == 0)
        co_return StripeError::transport(response.errorText.isEmpty() ? u"no response"_s : response.errorText);
    if (response.status >= 400)
        co_return StripeError::http(response.status, response.body);
    co_return response.body;
}

template<typename Out>
struct StripeClient::Run
{
    ListingSlices::Part<Out> part;
    bool hasMore = false; // the run stopped at its page cap with more to come
    std::optional<QString> lastId;
    ListingSlices::FirstPage first; // what the run's first page held
};

template<typename Page, typename Out, typename Keep>
StripeClient::Reply<StripeClient::Run<Out>> StripeClient::pageRun(QString path, Query query, std::optional<QString> cursor,
                                                                  int pageCap, std::shared_ptr<int> pagesUsed,
                                                                  CancellationToken token, Keep &keep,
                                                                  QByteArray apiVersionOverride) const
{
    using Element = typename decltype(Page::data)::value_type;
    const StripeClient self = *this;
    Run<Out> run;
    const std::shared_ptr<qsizetype> skipped = m_skipped;
    QSet<QString> cursors; // every cursor asked for: a repeat means the list goes round
    if (cursor)
        cursors.insert(*cursor);
    qsizetype largestBody = 0;
    // Each page's body and decoded records go at the end of its turn; what stays is what is kept.
    const auto released = qScopeGuard([&largestBody] { Http::releaseFreedMemory(largestBody); });
    for (int pageNumber = 0; pageCap <= 0 || pageNumber < pageCap; ++pageNumber) {
        if (token.isCancelled())
            co_return StripeError::cancelled(cancelledText);
        if (*pagesUsed >= listingPageLimit)
            co_return StripeError::paging(u"%1 has more than %2 pages"_s.arg(path, QString::number(listingPageLimit)));
        ++*pagesUsed;
        Query pageQuery = query;
        if (cursor)
            pageQuery.append({u"starting_after"_s, *cursor});
        auto body = co_await self.send("GET", path, pageQuery, token, apiVersionOverride);
        if (!body)
            co_return body.error();
        largestBody = std::max(largestBody, body.value().size());
        auto page = StripeWire::decode<Page>(body.value());
        if (!page)
            co_return page.error();
        *skipped += page->skipped;
        for (const Element &element : page->data) {
            const qsizetype before = run.part.records.size();
            keep(element, run.part.records);
            if (run.part.records.size() > before)
                run.part.ids.append(element.id);
        }
        if constexpr (requires(const Element &e) { qint64(e.created); }) {
            if (pageNumber == 0 && !page->data.isEmpty()) {
                const auto [oldest, newest] = std::minmax_element(
                    page->data.cbegin(), page->data.cend(), [](const Element &a, const Element &b) { return a.created < b.created; });
                run.first = {page->records(), newest->created, oldest->created};
            }
        }
        run.hasMore = page->has_more && page->records() > 0;
        if (!run.hasMore)
            break;
        if (!page->lastId)
            co_return StripeError::paging(u"%1 sent a page without a single id to go on from"_s.arg(path));
        // A server (or a cache in between) that ignores starting_after answers the same
        // page again and again while saying there is more.
        if (cursors.contains(*page->lastId))
            co_return StripeError::paging(u"%1 repeated a page (after %2)"_s.arg(path, *page->lastId));
        cursor = page->lastId;
        cursors.insert(*cursor);
        run.lastId = cursor;
    }
    co_return run;
}

template<typename Page, typename Out, typename Keep>
StripeClient::Reply<QList<Out>> StripeClient::collectPages(QString path, Query query, int pageCap,
                                                           CancellationToken token, Keep keep,
                                                           QByteArray apiVersionOverride) const
{
    const StripeClient self = *this;
    auto run = co_await self.pageRun<Page, Out>(path, query, std::nullopt, pageCap, std::make_shared<int>(0), token, keep,
                                                apiVersionOverride);
    if (!run)
        co_return run.error();
    co_return std::move(run->part.records);
}

namespace {

// Awaits one slice's run and, should it fail, stops its siblings at once.
template<typename T>
QCoro::Task<T> stoppingSiblingsOnFailure(QCoro::Task<T> run, CancellationToken siblings)
{
    auto result = co_await std::move(run);
    if (!result)
        siblings.cancel();
    co_return result;
}

} // namespace

template<typename Page, typename Out, typename Keep>
StripeClient::Reply<QList<Out>> StripeClient::collectSliced(QString path, Query query, Date since,
                                                            CancellationToken token, Keep keep,
                                                            QByteArray apiVersionOverride) const
{
    const StripeClient self = *this;
    const qint64 start = since.unixSecondsTruncated();
    const auto within = [&query](qint64 from, std::optional<qint64> to) {
        Query q = query;
        q.append({u"created[gte]"_s, QString::number(from)});
        if (to)
            q.append({u"created[lte]"_s, QString::number(*to)});
        return q;
    };
    const auto pagesUsed = std::make_shared<int>(0);
    auto first = co_await self.pageRun<Page, Out>(path, within(start, std::nullopt), std::nullopt, 1, pagesUsed, token,
                                                  keep, apiVersionOverride);
    if (!first)
        co_return first.error();
    if (!first->hasMore)
        co_return std::move(first->part.records);

    const int sliceCount = self.m_maxSlices > 1 ? ListingSlices::sliceCount(first->first, start, self.m_maxSlices) : 1;
    if (sliceCount <= 1) {
        auto rest = co_await self.pageRun<Page, Out>(path, within(start, std::nullopt), first->lastId, 0, pagesUsed,
                                                     token, keep, apiVersionOverride);
        if (!rest)
            co_return rest.error();
        co_return first->part.records + rest->part.records;
    }

    // The rest of the window, from its start to the first page's oldest second (included:
    // records of that second may not all have fitted on the first page), in slices.
    const CancellationToken siblings = token.linked();
    std::vector<Reply<Run<Out>>> runs;
    for (const ListingSlices::Slice &slice : ListingSlices::split(start, first->first.oldest, sliceCount))
        runs.push_back(stoppingSiblingsOnFailure(self.pageRun<Page, Out>(path, within(slice.from, slice.to), std::nullopt,
                                                                         0, pagesUsed, siblings, keep, apiVersionOverride),
                                                 siblings));
    QList<ListingSlices::Part<Out>> parts{std::move(first->part)};
    std::optional<StripeError> failure;
    for (auto &run : runs) {
        auto done = co_await run;
        if (done)
            parts.append(std::move(done->part));
        else if (!failure || failure->kind() == StripeError::Kind::Cancelled)
            failure = done.error(); // the slice that failed first, not the ones it stopped
    }
    if (token.isCancelled())
        co_return StripeError::cancelled(cancelledText);
    if (failure)
        co_return *failure;
    co_return ListingSlices::merge(std::move(parts));
}

template<typename Event, typename Out, typename Make>
StripeClient::Reply<QList<Out>> StripeClient::collectEvents(QString type, Date since, CancellationToken token,
                                                            Make make) const
{
    // Not a coroutine itself: collectSliced keeps its own copies of everything it is given.
    auto keep = [make](const Event &event, QList<Out> &out) {
        // An event whose object is missing carries nothing to count.
        if (event.data && event.data->object)
            make(event, *event.data->object, out);
    };
    return collectSliced<ListResponse<Event>, Out>(u"/v1/events"_s, {{u"type"_s, type}, {u"limit"_s, u"100"_s}}, since,
                                                   token, std::move(keep));
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
                      {u"expand[]"_s, u"data.latest_invoice"_s},
                      {u"expand[]"_s, u"data.latest_invoice.charge"_s}};
    // Past the record bound nothing more is kept, so a page far larger than asked for cannot
    // grow the list either.
    bool overflowed = false;
    auto keep = [&overflowed](const ExpandedSubscription &subscription, QList<ExpandedSubscription> &out) {
        if (out.size() < atRiskRecordLimit)
            out.append(subscription);
        else
            overflowed = true;
    };
    auto run = co_await self.pageRun<ExpandedSubscriptionListResponse, ExpandedSubscription>(
        u"/v1/subscriptions"_s, query, std::nullopt, atRiskPageLimit, std::make_shared<int>(0), token, keep);
    if (!run)
        co_return run.error();
    if (overflowed)
        co_return StripeError::paging(u"more than %1 subscriptions are %2"_s.arg(QString::number(atRiskRecordLimit), status));
    if (run->hasMore)
        co_return StripeError::paging(u"the %1 subscriptions have more than %2 pages"_s.arg(status, QString::number(atRiskPageLimit)));
    co_return std::move(run->part.records);
}

StripeClient::Reply<StripeAccountInfo> StripeClient::fetchAccountInfo(CancellationToken token) const
{
    const StripeClient self = *this;
    auto body = co_await self.send("GET", u"/v1/account"_s, {}, token);
    if (!body)
        co_return body.error();
    co_return StripeWire::decode<StripeAccountInfo>(body.value());
}

StripeClient::Reply<ExpandedSubscription::SubCustomer> StripeClient::fetchCustomer(QString customerId,
                                                                                  CancellationToken token) const
{
    const StripeClient self = *this;
    if (!isPlainStripeId(customerId))
        co_return StripeError::invalidRequest(u"Not a Stripe customer id: \"%1\""_s.arg(customerId.left(80)));
    auto body = co_await self.send("GET", u"/v1/customers/"_s + customerId, {}, token);
    if (!body)
        co_return body.error();
    co_return StripeWire::decode<ExpandedSubscription::SubCustomer>(body.value());
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
    const Query query{{u"status"_s, u"paid"_s}, {u"limit"_s, u"100"_s}};
    // Invoice payments came with 2025-03-31.basil; ask in the version that defines them
    // rather than the older one every other request pins.
    co_return co_await self.collectSliced<InvoicePaymentListResponse, RawInvoicePayment>(
        u"/v1/invoice_payments"_s, query, since, token,
        [](const RawInvoicePayment &payment, QList<RawInvoicePayment> &out) { out.append(payment); }, "2025-03-31.basil");
}

StripeClient::Reply<QList<RawInvoicePayment>> StripeClient::fetchPaidInvoicePaymentsByIntent(QString paymentIntentId,
                                                                                           CancellationToken token) const
{
    const StripeClient self = *this;
    if (self.m_account.stripeRestrictedKey.isEmpty())
        co_return StripeError::missingKey();
    if (!isPlainStripeId(paymentIntentId))
        co_return StripeError::invalidRequest(u"Not a Stripe payment intent id: \"%1\""_s.arg(paymentIntentId.left(80)));
    const Query query{{u"payment[type]"_s, u"payment_intent"_s},
                      {u"payment[payment_intent]"_s, paymentIntentId},
                      {u"status"_s, u"paid"_s},
                      {u"limit"_s, u"100"_s}};
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

std::optional<double> StripeClient::retryAfterSeconds(const QByteArray &value, Date now)
{
    const QByteArray text = value.trimmed();
    if (text.isEmpty())
        return std::nullopt;
    bool isNumber = false;
    const double seconds = text.toDouble(&isNumber);
    if (isNumber)
        return std::isfinite(seconds) ? std::optional<double>(std::max(0.0, seconds)) : std::nullopt;
    const QDateTime at = QDateTime::fromString(QString::fromLatin1(text), Qt::RFC2822Date);
    if (!at.isValid())
        return std::nullopt;
    return std::max(0.0, Date::fromDateTime(at).secondsSince(now));
}

StripeClient::Reply<QList<BillingSubscription>> StripeClient::fetchAllSubscriptions(CancellationToken token) const
{
    const StripeClient self = *this;
    const Query query{{u"status"_s, u"all"_s},
                      {u"limit"_s, u"100"_s},
                      {u"expand[]"_s, u"data.customer"_s},
                      {u"expand[]"_s, u"data.discounts"_s}};
    // No subscription predates Stripe itself: the window starts there, so the slices cover
    // the account's years rather than the decades before them.
    co_return co_await self.collectSliced<ListResponse<BillingSubscription>, BillingSubscription>(
        u"/v1/subscriptions"_s, query, Date::fromUnix(stripeEpochUnixSeconds), token,
        [](const BillingSubscription &subscription, QList<BillingSubscription> &out) { out.append(subscription); });
}

StripeClient::Reply<QList<BillingInvoice>> StripeClient::fetchPaidSubscriptionInvoices(Date since,
                                                                                     CancellationToken token) const
{
    const StripeClient self = *this;
    const Query query{{u"status"_s, u"paid"_s}, {u"limit"_s, u"100"_s}};
    co_return co_await self.collectSliced<ListResponse<BillingInvoice>, BillingInvoice>(
        u"/v1/invoices"_s, query, since, token, [](const BillingInvoice &invoice, QList<BillingInvoice> &out) {
            if (!invoice.lines.isEmpty())
                out.append(invoice);
        });
}
