#pragma once

// PayPal response bodies for tests, shaped like PayPal's transaction search answers
// (fields=all): string amounts, "+0000" offsets, sub-objects the loader never reads, and
// the paging totals.

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

using namespace Qt::StringLiterals;

namespace PayPalBodies {

inline QByteArray json(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

inline QJsonObject money(const char *currency, const char *value)
{
    return {{"currency_code"_L1, QString::fromLatin1(currency)}, {"value"_L1, QString::fromLatin1(value)}};
}

inline QByteArray tokenBody(const QString &accessToken = QStringLiteral("A21AAtestTokenQw3Er5Ty7"))
{
    return json({{"scope"_L1, "https://uri.paypal.com/services/reporting/search/read openid"_L1},
                 {"access_token"_L1, accessToken}, {"token_type"_L1, "Bearer"_L1},
                 {"app_id"_L1, "APP-80W284485P519543T"_L1}, {"expires_in"_L1, 32400},
                 {"nonce"_L1, "2026-11-21T07:00:04ZkT3vR9pLm2Qx"_L1}});
}

struct Row
{
    const char *id = nullptr; // nullptr leaves the key out
    const char *eventCode = "T0006";
    const char *date = "2026-11-20T09:41:07+0000";
    const char *currency = "USD";
    const char *value = "465.00"; // nullptr leaves transaction_amount out
    const char *status = "S";
    const char *subject = nullptr;
};

// One transaction_details element with the noise PayPal sends beside the read keys.
inline QJsonObject transaction(const Row &row)
{
    QJsonObject info{{"paypal_account_id"_L1, "6STWC2LSUYYYE"_L1}, {"protection_eligibility"_L1, "02"_L1},
                     {"transaction_updated_date"_L1, QString::fromLatin1(row.date ? row.date : "")},
                     {"fee_amount"_L1, money(row.currency, "-1.33")},
                     {"ending_balance"_L1, money(row.currency, "2067.82")},
                     {"available_balance"_L1, money(row.currency, "2067.82")}};
    const std::pair<QLatin1StringView, const char *> texts[] = {
        {"transaction_id"_L1, row.id}, {"transaction_event_code"_L1, row.eventCode},
        {"transaction_initiation_date"_L1, row.date}, {"transaction_status"_L1, row.status},
        {"transaction_subject"_L1, row.subject}};
    for (const auto &[key, text] : texts)
        if (text)
            info.insert(key, QString::fromUtf8(text));
    if (row.value)
        info.insert("transaction_amount"_L1, money(row.currency, row.value));
    const QJsonObject name{{"given_name"_L1, "Test"_L1}, {"surname"_L1, "Consumer"_L1}};
    const QJsonObject payer{{"account_id"_L1, "6STWC2LSUYYYE"_L1}, {"email_address"_L1, "consumer@example.com"_L1},
                            {"payer_name"_L1, name}};
    return {{"transaction_info"_L1, info}, {"payer_info"_L1, payer}, {"shipping_info"_L1, QJsonObject{}},
            {"cart_info"_L1, QJsonObject{}}, {"store_info"_L1, QJsonObject{}},
            {"auction_info"_L1, QJsonObject{}}, {"incentive_info"_L1, QJsonObject{}}};
}

// A search page; totalPages < 0 leaves the paging keys out.
inline QByteArray page(const QJsonArray &details, int pageNumber = 1, int totalPages = 1)
{
    const QJsonObject self{{"href"_L1, "https://api-m.sandbox.paypal.com/v1/reporting/transactions"_L1},
                           {"rel"_L1, "self"_L1}, {"method"_L1, "GET"_L1}};
    QJsonObject o{{"transaction_details"_L1, details}, {"account_number"_L1, "XZXSPECPDZHZU"_L1},
                  {"start_date"_L1, "2026-10-22T00:00:00+0000"_L1}, {"end_date"_L1, "2026-11-21T00:00:00+0000"_L1},
                  {"last_refreshed_datetime"_L1, "2026-11-21T06:59:59+0000"_L1}, {"links"_L1, QJsonArray{self}}};
    if (totalPages >= 0) {
        o.insert("page"_L1, pageNumber);
        o.insert("total_items"_L1, details.size());
        o.insert("total_pages"_L1, totalPages);
    }
    return json(o);
}

inline QByteArray pageOf(const QList<Row> &rows, int pageNumber = 1, int totalPages = 1)
{
    QJsonArray details;
    for (const Row &row : rows)
        details.append(transaction(row));
    return page(details, pageNumber, totalPages);
}

// The six kinds of rows a real merchant page mixes: a checkout sale, a subscription payment
// in EUR, a refund, a bank withdrawal, a pending JPY sale and a reversed mobile payment.
inline QList<Row> mixedMerchantRows()
{
    return {
        {"5TY05013RG002845M", "T0006", "2026-11-20T09:41:07+0000", "USD", "465.00", "S", "Annual plan – Example Pro"},
        {"8MC585209K746392H", "T0002", "2026-11-19T23:05:12+0000", "EUR", "29.00", "S", "Team plan (monthly)"},
        {"1FN09943UV279134T", "T1107", "2026-11-20T15:02:44+0000", "USD", "-100.00", "S", "Annual plan – Example Pro"},
        {"4PJ17322AB1157216", "T0400", "2026-11-21T02:00:31+0000", "USD", "-500.00", "S", nullptr},
        {"0E348129SM3411405", "T0006", "2026-11-21T06:30:00+0000", "JPY", "1500", "P", nullptr},
        {"7AB62414BC4437210", "T0011", "2026-11-18T12:00:00+0000", "USD", ".50", "V", nullptr},
    };
}

inline QByteArray errorBody(const char *name, const char *message)
{
    const QJsonObject link{{"href"_L1, "https://developer.paypal.com/api/rest/reference/orders/v2/errors/"_L1},
                           {"rel"_L1, "information_link"_L1}};
    return json({{"name"_L1, QString::fromLatin1(name)}, {"message"_L1, QString::fromLatin1(message)},
                 {"debug_id"_L1, "90957fca61718"_L1}, {"links"_L1, QJsonArray{link}}});
}

} // namespace PayPalBodies
