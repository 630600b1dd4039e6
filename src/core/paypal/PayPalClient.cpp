#include "PayPalClient.h"

#include "net/Http.h"

#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace {

PPError failureOf(const HttpResponse &response)
{
    if (response.isCancelled())
        return PPError::cancelled(response.errorText);
    if (response.status == 0)
        return PPError::transport(response.errorText);
    return PPError::http(response.status, response.body);
}

} // namespace

PayPalClient::PayPalClient(Account account, QUrl liveBase, QUrl sandboxBase)
    : m_account(std::move(account))
    , m_liveBase(std::move(liveBase))
    , m_sandboxBase(std::move(sandboxBase))
{
}

QUrl PayPalClient::baseUrl() const
{
    return m_account.paypalLive ? m_liveBase : m_sandboxBase;
}

QUrl PayPalClient::endpoint(const QString &path) const
{
    QUrl url = baseUrl();
    QString basePath = url.path();
    while (basePath.endsWith(u'/'))
        basePath.chop(1);
    url.setPath(basePath + path);
    return url;
}

bool payPalHasNextPage(int page, qsizetype rowsOnPage, std::optional<qint64> totalPages)
{
    // An empty page ends the search even when the totals claim more: asking again would
    // only repeat the same empty answer.
    if (rowsOnPage == 0 || !totalPages)
        return false;
    return page < *totalPages && page < PayPalClient::maxPages;
}

QCoro::Task<Result<QString, PPError>> PayPalClient::token(CancellationToken cancel) const
{
    if (m_account.paypalClientId.isEmpty() || m_account.paypalSecret.isEmpty())
        co_return PPError::missingCreds();

    QNetworkRequest request = Http::makeRequest(endpoint(u"/v1/oauth2/token"_s));
    const QByteArray credentials = (m_account.paypalClientId + u':' + m_account.paypalSecret).toUtf8();
    request.setRawHeader("Authorization", "Basic " + credentials.toBase64());
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/x-www-form-urlencoded"));

    const HttpResponse response =
        co_await Http::send(request, QByteArrayLiteral("POST"), QByteArrayLiteral("grant_type=client_credentials"), cancel);
    if (response.status == 0 || response.status >= 400)
        co_return failureOf(response);

    auto token = decodeJsonObject(response.body, [](JsonReader &reader) { return PPToken::decode(reader); });
    if (!token)
        co_return PPError::decoding(token.error());
    // The token goes into a header as it is: a line break in it would end that header and
    // start one of the server's choosing.
    const QString accessToken = std::move(token).value().access_token;
    const bool plain = !accessToken.isEmpty() && std::all_of(accessToken.cbegin(), accessToken.cend(), [](QChar c) {
        return c.unicode() > 0x20 && c.unicode() < 0x7f;
    });
    if (!plain)
        co_return PPError::decoding(u"access_token: not a token of visible ASCII characters"_s);
    co_return accessToken;
}

QCoro::Task<Result<QList<PPTransaction>, PPError>> PayPalClient::fetchTransactions(Date since, Date now,
                                                                                   CancellationToken cancel) const
{
    // The frame keeps its own copy, so a caller may let a temporary client go while this runs.
    const PayPalClient self = *this;
    const auto accessToken = co_await self.token(cancel);
    if (!accessToken)
        co_return accessToken.error();

    QList<PPTransaction> transactions;
    for (int page = 1;; ++page) {
        if (cancel.isCancelled())
            co_return PPError::cancelled(u"Operation canceled"_s);
        QUrlQuery query;
        query.addQueryItem(u"start_date"_s, since.toIsoString());
        query.addQueryItem(u"end_date"_s, now.toIsoString());
        query.addQueryItem(u"fields"_s, u"all"_s);
        query.addQueryItem(u"page_size"_s, QString::number(pageSize));
        // The first request carries no page, so a one-page window costs exactly one request
        // of the plain form; PayPal's pages are 1-based.
        if (page > 1)
            query.addQueryItem(u"page"_s, QString::number(page));
        QUrl url = self.endpoint(u"/v1/reporting/transactions"_s);
        url.setQuery(query);

        QNetworkRequest request = Http::makeRequest(url);
        request.setRawHeader("Authorization", "Bearer " + accessToken->toUtf8());
        const HttpResponse response = co_await Http::send(request, QByteArrayLiteral("GET"), {}, cancel);
        if (response.status == 0 || response.status >= 400)
            co_return failureOf(response);

        auto decoded = decodeJsonObject(response.body, [](JsonReader &reader) { return PPListResp::decode(reader); });
        if (!decoded)
            co_return PPError::decoding(decoded.error());
        PPListResp list = std::move(decoded).value();

        *self.m_skipped += list.skipped;
        const qsizetype rows = (list.transaction_details ? list.transaction_details->size() : 0) + list.skipped;
        if (list.transaction_details)
            transactions.append(std::move(*list.transaction_details));
        if (!payPalHasNextPage(page, rows, list.total_pages))
            break;
    }
    co_return transactions;
}
