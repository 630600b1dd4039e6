#include "PayPalBodies.h"
#include "net/Http.h"
#include "paypal/PayPalClient.h"
#include "support/FakeHttpServer.h"
#include "support/TestUtil.h"

#include <QCoroTask>
#include <QSet>
#include <QTimer>
#include <gtest/gtest.h>

using namespace PayPalBodies;
using namespace Qt::StringLiterals;

namespace {

const Date since = Date::fromUnix(1773144000); // 2026-03-10T12:00:00Z
const Date now = Date::fromUnix(1773230400);   // 2026-03-11T12:00:00Z

Account paypalAccount(bool live = true, const QString &id = u"AYSq3RDGsmBLJE-otTkBtM"_s,
                      const QString &secret = u"EGnHDxD_qRPdaLdZz8iCr8N7"_s)
{
    Account a = Account::newAccount(AccountProvider::PayPal);
    a.name = u"Shop"_s;
    a.paypalClientId = id;
    a.paypalSecret = secret;
    a.paypalLive = live;
    return a;
}

struct PayPalClientTest : ::testing::Test
{
    FakeHttpServer live;
    FakeHttpServer sandbox;

    Result<QList<PPTransaction>, PPError> fetch(const Account &account, CancellationToken cancel = {})
    {
        return run(PayPalClient(account, live.baseUrl(), sandbox.baseUrl()).fetchTransactions(since, now, cancel));
    }

    // A live account whose token and searches `server` answers alone.
    static Result<QList<PPTransaction>, PPError> fetchFrom(const FakeHttpServer &server)
    {
        return run(PayPalClient(paypalAccount(), server.baseUrl(), server.baseUrl()).fetchTransactions(since, now));
    }

    void serveToken(FakeHttpServer &server, const QString &token = u"A21AAtestTokenQw3Er5Ty7"_s)
    {
        server.enqueue("POST", "/v1/oauth2/token", FakeResponse::json(200, tokenBody(token)));
    }
};

// Headers Qt's network stack adds to every request on its own.
const QSet<QByteArray> transportHeaders = {"host", "connection", "accept-encoding", "accept-language",
                                           "user-agent", "content-length"};

QSet<QByteArray> ownHeaders(const RecordedRequest &request)
{
    QSet<QByteArray> names;
    for (const auto &[name, value] : request.headers)
        if (!transportHeaders.contains(name.toLower()))
            names.insert(name.toLower());
    return names;
}

} // namespace

TEST_F(PayPalClientTest, SendsTheTokenAndSearchRequestsExactly)
{
    serveToken(live, u"A21AAbearer"_s);
    live.enqueue("GET", "/v1/reporting/transactions", FakeResponse::json(200, pageOf({{"5TY05013RG002845M"}})));

    const auto result = fetch(paypalAccount());

    ASSERT_TRUE(result.ok()) << result.error().description().toStdString();
    EXPECT_EQ(result->size(), 1);
    ASSERT_EQ(live.requests().size(), 2);

    const RecordedRequest &token = live.requests()[0];
    EXPECT_EQ(token.method, "POST");
    EXPECT_EQ(token.path, "/v1/oauth2/token");
    EXPECT_TRUE(token.rawQuery.isEmpty());
    EXPECT_EQ(token.header("Authorization"), "Basic " + QByteArray("AYSq3RDGsmBLJE-otTkBtM:EGnHDxD_qRPdaLdZz8iCr8N7").toBase64());
    EXPECT_EQ(token.header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(token.body, "grant_type=client_credentials");
    EXPECT_EQ(ownHeaders(token), (QSet<QByteArray>{"authorization", "content-type"}));

    const RecordedRequest &search = live.requests()[1];
    EXPECT_EQ(search.method, "GET");
    EXPECT_EQ(search.path, "/v1/reporting/transactions");
    const QList<std::pair<QString, QString>> expectedQuery = {
        {u"start_date"_s, u"2026-03-10T12:00:00Z"_s}, {u"end_date"_s, u"2026-03-11T12:00:00Z"_s},
        {u"fields"_s, u"all"_s}, {u"page_size"_s, u"100"_s}};
    EXPECT_EQ(search.queryItems(), expectedQuery);
    EXPECT_EQ(search.header("Authorization"), "Bearer A21AAbearer");
    EXPECT_EQ(ownHeaders(search), (QSet<QByteArray>{"authorization"}));
    EXPECT_TRUE(search.body.isEmpty());
    EXPECT_TRUE(sandbox.requests().isEmpty());
}

TEST_F(PayPalClientTest, MissingCredentialsSendNothing)
{
    // name, client id, secret
    const std::tuple<const char *, QString, QString> rows[] = {
        {"ten-character id, empty secret", u"AYSq3RDGsm"_s, QString()},
        {"empty id", QString(), u"EGnHDxD_qRPdaLdZz8iCr8N7"_s},
    };
    for (const auto &[name, id, secret] : rows) {
        SCOPED_TRACE(name);
        const auto result = fetch(paypalAccount(true, id, secret));
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().kind(), PPError::Kind::MissingCreds);
        EXPECT_EQ(result.error().description(), u"Missing PayPal client credentials"_s);
    }
    EXPECT_TRUE(live.requests().isEmpty());
    EXPECT_TRUE(sandbox.requests().isEmpty());
}

TEST_F(PayPalClientTest, DecodesTheRowsTheLoaderReads)
{
    serveToken(live);
    QJsonArray details;
    for (const Row &row : mixedMerchantRows())
        details.append(transaction(row));
    // PayPal may send null for an optional key; it means the same as a missing one.
    QJsonObject nullSubject = transaction({"9XK08612LM0027513", "T0006", "2026-11-20T11:41:07.5+02:00", "USD", "12.50"});
    QJsonObject info = nullSubject["transaction_info"_L1].toObject();
    info.insert("transaction_subject"_L1, QJsonValue::Null);
    nullSubject.insert("transaction_info"_L1, info);
    details.append(nullSubject);
    live.enqueue("GET", "/v1/reporting/transactions", FakeResponse::json(200, page(details)));

    const auto result = fetch(paypalAccount());

    ASSERT_TRUE(result.ok()) << result.error().description().toStdString();
    // Field by field the rows are checked where the loader reads them; here: all of them arrive.
    ASSERT_EQ(result->size(), 7);
    EXPECT_EQ(result->at(0).transaction_info.transaction_id, u"5TY05013RG002845M"_s);
    EXPECT_EQ(result->at(5).transaction_info.transaction_amount, (PPAmount{u"USD"_s, u".50"_s}));
    EXPECT_FALSE(result->at(6).transaction_info.transaction_subject.has_value());
}

TEST_F(PayPalClientTest, FailuresCarryPayPalsStatusAndBody)
{
    const QByteArray invalidClient = R"({"error":"invalid_client","error_description":"Client Authentication failed"})";
    const QByteArray notAuthorized = errorBody("NOT_AUTHORIZED", "Authorization failed due to insufficient permissions.");
    const FakeResponse okToken = FakeResponse::json(200, tokenBody());
    const FakeResponse okSearch = FakeResponse::json(200, pageOf({}));
    FakeResponse truncated = FakeResponse::json(200, pageOf({{"5TY05013RG002845M"}}));
    truncated.action = FakeResponse::Action::TruncateBody;

    // name, the token call's answer, the search's answer, the error's kind and description (empty: any)
    const std::tuple<const char *, FakeResponse, FakeResponse, PPError::Kind, QString> rows[] = {
        {"token 401", FakeResponse::json(401, invalidClient), okSearch, PPError::Kind::Http,
         u"PayPal HTTP 401: "_s + QString::fromUtf8(invalidClient)},
        {"search 403", okToken, FakeResponse::json(403, notAuthorized), PPError::Kind::Http,
         u"PayPal HTTP 403: "_s + QString::fromUtf8(notAuthorized)},
        {"body not UTF-8", okToken, FakeResponse::json(502, "\xff\xfe broken"), PPError::Kind::Http,
         u"PayPal HTTP 502: "_s},
        {"token without access_token", FakeResponse::json(200, R"({"token_type":"Bearer","expires_in":32400})"),
         okSearch, PPError::Kind::Decoding, u"PayPal decode error: key not found: access_token"_s},
        {"token body not JSON", FakeResponse::json(200, "<html>maintenance</html>"), okSearch,
         PPError::Kind::Decoding, {}},
        {"search body an array", okToken, FakeResponse::json(200, "[]"), PPError::Kind::Decoding,
         u"PayPal decode error: expected a JSON object at the top level"_s},
        {"transactions not a list", okToken, FakeResponse::json(200, R"({"transaction_details":{"0":{}}})"),
         PPError::Kind::Decoding, u"PayPal decode error: transaction_details: expected an array"_s},
        {"truncated search body", okToken, truncated, PPError::Kind::Transport, {}},
        {"token with a line break", FakeResponse::json(200, R"({"access_token":"A21AA\r\nX-Injected: 1","token_type":"Bearer","expires_in":32400})"),
         okSearch, PPError::Kind::Decoding, u"PayPal decode error: access_token: not a token of visible ASCII characters"_s},
        {"token with a space", FakeResponse::json(200, R"({"access_token":"A21AA B","token_type":"Bearer","expires_in":32400})"),
         okSearch, PPError::Kind::Decoding, u"PayPal decode error: access_token: not a token of visible ASCII characters"_s},
        {"a megabyte of error page", okToken, FakeResponse::json(503, QByteArray(1 << 20, 'x')), PPError::Kind::Http,
         u"PayPal HTTP 503: "_s + QString(Http::longestBodyText - 1, u'x') + u'\u2026'},
        {"connection dropped", okToken, FakeResponse::drop(), PPError::Kind::Transport, {}},
    };
    for (const auto &[name, tokenResponse, searchResponse, kind, description] : rows) {
        SCOPED_TRACE(name);
        FakeHttpServer server;
        server.enqueue("POST", "/v1/oauth2/token", tokenResponse);
        server.enqueue("GET", "/v1/reporting/transactions", searchResponse);
        const auto result = fetchFrom(server);
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().kind(), kind) << result.error().description().toStdString();
        if (!description.isEmpty())
            EXPECT_EQ(result.error().description(), description);
        else
            EXPECT_FALSE(result.error().description().isEmpty());
        if (kind == PPError::Kind::Http)
            EXPECT_EQ(result.error().status(), tokenResponse.status >= 400 ? tokenResponse.status : searchResponse.status);
        // A failed token call never goes on to the search.
        if (tokenResponse.status != 200)
            EXPECT_TRUE(server.requestsTo("/v1/reporting/transactions").isEmpty());
        EXPECT_TRUE(server.unexpected().isEmpty());
    }
}

TEST_F(PayPalClientTest, CancellingStopsAHangingSearch)
{
    serveToken(live);
    live.enqueue("GET", "/v1/reporting/transactions", FakeResponse::hang());
    CancellationToken cancel;
    QTimer::singleShot(100, [cancel] { cancel.cancel(); });

    const auto result = fetch(paypalAccount(), cancel);

    ASSERT_FALSE(result.ok());
    EXPECT_EQ(result.error().kind(), PPError::Kind::Cancelled);
    EXPECT_EQ(live.requestsTo("/v1/reporting/transactions").size(), 1);
}

TEST_F(PayPalClientTest, FollowsPagesUntilTheLastOrAnEmptyOne)
{
    const QByteArray rowsA = pageOf({{"A1"}, {"A2"}}, 1, 3), rowsB = pageOf({{"B1"}}, 2, 3);
    // name, answers for page 1, 2, ..., searches made, rows read
    const std::tuple<const char *, QList<QByteArray>, int, int> rows[] = {
        {"one page", {pageOf({{"A1"}, {"A2"}}, 1, 1)}, 1, 2},
        {"three pages", {rowsA, rowsB, pageOf({{"C1"}}, 3, 3)}, 3, 4},
        {"no totals: first page only", {pageOf({{"A1"}}, 1, -1)}, 1, 1},
        {"empty page ends early", {rowsA, pageOf({}, 2, 3)}, 2, 2},
        {"absent details end early", {rowsA, json({{"page"_L1, 2}, {"total_pages"_L1, 3}})}, 2, 2},
        {"empty window", {pageOf({}, 1, 0)}, 1, 0},
    };
    for (const auto &[name, pages, expectedRequests, expectedRows] : rows) {
        SCOPED_TRACE(name);
        FakeHttpServer server;
        server.enqueue("POST", "/v1/oauth2/token", FakeResponse::json(200, tokenBody()));
        server.setHandler("GET", "/v1/reporting/transactions", [&](const RecordedRequest &) {
            const int index = server.requestsTo("/v1/reporting/transactions").size() - 1;
            return FakeResponse::json(200, pages.value(index, pageOf({{"never"}}, index + 1, 99)));
        });

        const auto result = fetchFrom(server);

        ASSERT_TRUE(result.ok()) << result.error().description().toStdString();
        EXPECT_EQ(result->size(), expectedRows);
        const auto searches = server.requestsTo("/v1/reporting/transactions");
        ASSERT_EQ(searches.size(), expectedRequests);
        for (qsizetype i = 0; i < searches.size(); ++i) {
            const auto items = searches[i].queryItems();
            // Later pages repeat the window and add the 1-based page number last.
            ASSERT_EQ(items.size(), i == 0 ? 4 : 5);
            EXPECT_EQ(items[0], searches[0].queryItems()[0]);
            if (i > 0)
                EXPECT_EQ(items[4], std::make_pair(u"page"_s, QString::number(i + 1)));
        }
    }
}

TEST_F(PayPalClientTest, PagingIsBoundedAndASandboxAccountUsesTheSandbox)
{
    serveToken(sandbox);
    sandbox.setHandler("GET", "/v1/reporting/transactions", [&](const RecordedRequest &) {
        const int number = sandbox.requestsTo("/v1/reporting/transactions").size();
        return FakeResponse::json(200, pageOf({{"row"}}, number, 1'000'000));
    });
    const auto result = fetch(paypalAccount(false));
    ASSERT_TRUE(result.ok());
    EXPECT_TRUE(live.requests().isEmpty());
    EXPECT_EQ(sandbox.requestsTo("/v1/reporting/transactions").size(), PayPalClient::maxPages);
    EXPECT_EQ(result->size(), PayPalClient::maxPages);
}
