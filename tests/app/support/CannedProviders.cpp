#include "CannedProviders.h"

#include "support/StripeBodies.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;
using namespace StripeBodies;

namespace CannedProviders {

namespace {

constexpr Shape shape = Shape::Legacy;

QJsonArray todayInvoices(Date now)
{
    QJsonArray events;
    const qint64 amounts[] = {4900, 9900, 120000};
    for (int i = 0; i < 3; ++i) {
        const InvoiceFields fields{.id = u"in_today_%1"_s.arg(i), .amountPaid = amounts[i],
                                   .created = now.addingSeconds(-60.0 * (i + 1)).unixSecondsTruncated(),
                                   .billingReason = i == 0 ? u"subscription_create"_s : u"subscription_cycle"_s,
                                   .customer = u"cus_today_%1"_s.arg(i), .charge = u"ch_today_%1"_s.arg(i),
                                   .subscription = u"sub_today_%1"_s.arg(i)};
        events.append(event(u"evt_today_%1"_s.arg(i), u"invoice.payment_succeeded"_s, fields.created, invoice(fields, shape), shape));
    }
    return events;
}

FakeResponse jsonPage(const QJsonArray &data, const QString &url)
{
    return FakeResponse::json(200, page(data, false, url));
}

// Subscriptions whose payments failed, listed by status with customer and invoice expanded.
QJsonArray atRisk(const QString &status, Date now)
{
    // Days are from now; no next or last attempt when 0.
    struct Sub { const char *status, *id, *plan, *email, *currency, *interval, *invoice; qint64 unitAmount;
                 double nextAttemptDays, lastAttemptDays; };
    static const Sub subs[] = {
        {"past_due", "sub_1QpdTeam", "Team yearly", "ops@northwind.io", "eur", "year", "in_1QpdTeam", 110000, 0.1, -3},
        {"past_due", "sub_1QpdPro", "Pro monthly", "maria.lopez@example.com", "usd", "month", "in_1QpdPro", 4900, 3.5, -1},
        {"unpaid", "sub_1QupStarter", "Starter $19/mo", "dev@tinyapps.co", "usd", "month", "in_1QupStarter", 1900, 0, -12},
        {"incomplete", "sub_1QicPro", "Pro monthly", "", "usd", "month", "in_1QicPro", 4900, 0, 0},
    };
    QJsonArray out;
    for (const Sub &sub : subs) {
        if (status != QLatin1StringView(sub.status))
            continue;
        const auto at = [&](double days) { return qint64(now.addingSeconds(days * 86400).unixSeconds()); };
        QJsonObject invoice{{u"id"_s, QLatin1StringView(sub.invoice)}, {u"object"_s, u"invoice"_s}, {u"status"_s, u"open"_s}};
        invoice.insert(u"next_payment_attempt"_s, sub.nextAttemptDays > 0 ? QJsonValue(at(sub.nextAttemptDays)) : QJsonValue());
        if (sub.lastAttemptDays != 0)
            invoice.insert(u"charge"_s, QJsonObject{{u"id"_s, u"ch_1Qlast"_s}, {u"created"_s, at(sub.lastAttemptDays)}});
        const QJsonObject price{{u"unit_amount"_s, sub.unitAmount},
                                {u"nickname"_s, QLatin1StringView(sub.plan)},
                                {u"recurring"_s, QJsonObject{{u"interval"_s, QLatin1StringView(sub.interval)}, {u"interval_count"_s, 1}}}};
        QJsonObject customer{{u"id"_s, QString(u"cus_"_s + QLatin1StringView(sub.id).mid(4))}, {u"object"_s, u"customer"_s}};
        if (*sub.email)
            customer.insert(u"email"_s, QLatin1StringView(sub.email));
        QJsonObject object{{u"id"_s, QLatin1StringView(sub.id)}, {u"object"_s, u"subscription"_s},
                           {u"status"_s, status}, {u"created"_s, at(-2)},
                           {u"currency"_s, QLatin1StringView(sub.currency)}, {u"customer"_s, customer},
                           {u"items"_s, QJsonObject{{u"data"_s, QJsonArray{QJsonObject{{u"price"_s, price}}}}}},
                           {u"latest_invoice"_s, invoice}};
        object.insert(u"current_period_end"_s, at(25)); // Stripe keeps it ahead while a period goes unpaid
        out.append(object);
    }
    return out;
}

} // namespace

void installStripe(FakeHttpServer &server, Scenario scenario, Date now)
{
    if (scenario == Scenario::Failing) {
        server.setFallback([](const RecordedRequest &) {
            return FakeResponse::json(401, error(u"invalid_request_error"_s, u"api_key_invalid"_s,
                                                 u"Invalid API Key provided: rk_live_****************************Xq2w"_s));
        });
        return;
    }
    const int delayMs = scenario == Scenario::Slow ? 60'000 : 0;
    server.setHandler("GET", "/v1/events", [scenario, now, delayMs](const RecordedRequest &request) {
        const QJsonArray data = scenario == Scenario::TodayOnly && request.query(u"type"_s) == u"invoice.payment_succeeded"_s
            ? todayInvoices(now)
            : QJsonArray();
        FakeResponse response = jsonPage(data, u"/v1/events"_s);
        response.delayMs = delayMs;
        return response;
    });
    server.setHandler("GET", "/v1/account", [scenario](const RecordedRequest &) {
        QJsonObject profile{{u"name"_s, u"Acme Analytics"_s}};
        // Only the at-risk scenario has a web site, and so an icon to fetch.
        if (scenario == Scenario::AtRisk)
            profile.insert(u"url"_s, u"https://acme-analytics.com"_s);
        const QJsonObject account{{u"id"_s, u"acct_1QCannedAcme"_s}, {u"object"_s, u"account"_s},
                                  {u"business_profile"_s, profile}};
        return FakeResponse::json(200, QJsonDocument(account).toJson(QJsonDocument::Compact));
    });
    if (scenario == Scenario::AtRisk) {
        server.setHandler("GET", "/v1/subscriptions", [now](const RecordedRequest &request) {
            return jsonPage(atRisk(request.query(u"status"_s), now), u"/v1/subscriptions"_s);
        });
        // One retry that takes its time, two declines and one that goes through.
        FakeResponse slow = FakeResponse::json(200, R"({"id":"in_1QpdPro","object":"invoice","status":"paid"})");
        slow.delayMs = 60'000;
        server.setHandler("POST", "/v1/invoices/in_1QpdPro/pay", [slow](const RecordedRequest &) { return slow; });
        server.setHandler("POST", "/v1/invoices/in_1QpdTeam/pay", [](const RecordedRequest &) {
            return FakeResponse::json(402, error(u"card_error"_s, u"card_declined"_s, u"Your card has expired."_s,
                                                 u"expired_card"_s));
        });
        server.setHandler("POST", "/v1/invoices/in_1QupStarter/pay", [](const RecordedRequest &) {
            return FakeResponse::json(402, error(u"card_error"_s, u"processing_error"_s,
                                                 u"An error occurred while processing the card. Try again later."_s));
        });
        server.setHandler("POST", "/v1/invoices/in_1QicPro/pay", [](const RecordedRequest &) {
            return FakeResponse::json(200, R"({"id":"in_1QicPro","object":"invoice","status":"paid"})");
        });
    }
    // Subscriptions by status, invoice lookups: nothing at risk, nothing to resolve.
    server.setFallback([delayMs](const RecordedRequest &request) {
        FakeResponse response = request.method == "GET" ? jsonPage({}, QString::fromLatin1(request.path))
                                                        : FakeResponse::json(404, "{}");
        response.delayMs = delayMs;
        return response;
    });
}

void installPayPal(FakeHttpServer &server)
{
    server.setHandler("POST", "/v1/oauth2/token", [](const RecordedRequest &) {
        return FakeResponse::json(200, R"({"scope":"https://uri.paypal.com/services/reporting/search/read","access_token":"A21AAKcannedtoken","token_type":"Bearer","app_id":"APP-80W284485P519543T","expires_in":32400,"nonce":"2026-03-10T12:00:00Zcanned"})");
    });
    server.setHandler("GET", "/v1/reporting/transactions", [](const RecordedRequest &) {
        return FakeResponse::json(200, R"({"transaction_details":[],"account_number":"QXL6RDJEW7ZRS","page":1,"total_items":0,"total_pages":1})");
    });
}

} // namespace CannedProviders
