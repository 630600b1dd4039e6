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

struct Customer
{
    const char *name;
    const char *email;
};
constexpr Customer customers[] = {
    {"Jenny Rosen", "jenny.rosen@example.com"},   {"Marco Bellini", "marco@bellini.studio"},
    {"Aiko Tanaka", "aiko.tanaka@example.jp"},    {"Priya Raman", "priya@ramanlabs.io"},
    {"Lukas Becker", "lukas.becker@example.de"},  {"Chloé Martin", "chloe.martin@example.fr"},
    {"Samir Haddad", "samir@haddad.dev"},         {"Olivia Brown", "olivia.brown@example.co.uk"},
    {"Diego Alvarez", "diego@alvarez.mx"},        {"Emma Johansson", "emma.j@example.se"},
};

struct Plan
{
    const char *label;
    qint64 cents;
    const char *currency;
};
constexpr Plan plans[] = {
    {"Starter (at $29.00 / month)", 2900, "usd"}, {"Pro (at $49.00 / month)", 4900, "usd"},
    {"Team (at $99.00 / month)", 9900, "usd"},    {"Pro (at €45.00 / month)", 4500, "eur"},
    {"Pro yearly (at $490.00 / year)", 49000, "usd"},
};

// A fixed sequence, so every run of the screenshots draws the same month.
struct Sequence
{
    quint32 state = 20260310;
    quint32 next(quint32 bound)
    {
        state = state * 1664525u + 1013904223u;
        return (state >> 8) % bound;
    }
};

qint64 unix(Date date)
{
    return date.unixSecondsTruncated();
}

QJsonArray populatedInvoices(Date now)
{
    QJsonArray events;
    Sequence seq;
    for (int i = 0; i < 46; ++i) {
        const double age = 1800 + seq.next(29 * 86400);
        const Customer &c = customers[seq.next(std::size(customers))];
        const Plan &p = plans[seq.next(std::size(plans))];
        InvoiceFields fields;
        fields.id = u"in_1Q%1Canned"_s.arg(i, 4, 10, QLatin1Char('0'));
        fields.amountPaid = p.cents;
        fields.currency = QString::fromLatin1(p.currency);
        fields.created = unix(now.addingSeconds(-age));
        fields.billingReason = seq.next(10) < 3 ? u"subscription_create"_s : u"subscription_cycle"_s;
        fields.customer = u"cus_Canned%1"_s.arg(i);
        fields.customerName = QString::fromUtf8(c.name);
        fields.customerEmail = QString::fromLatin1(c.email);
        fields.charge = u"ch_3Q%1Canned"_s.arg(i, 4, 10, QLatin1Char('0'));
        fields.subscription = u"sub_1Q%1Canned"_s.arg(i);
        fields.lineDescription = u"1 × "_s + QString::fromUtf8(p.label);
        events.append(event(u"evt_inv_%1"_s.arg(i), u"invoice.payment_succeeded"_s, fields.created, invoice(fields, shape), shape));
    }
    return events;
}

QJsonArray todayInvoices(Date now)
{
    QJsonArray events;
    const qint64 amounts[] = {4900, 9900, 120000};
    for (int i = 0; i < 3; ++i) {
        InvoiceFields fields;
        fields.id = u"in_today_%1"_s.arg(i);
        fields.amountPaid = amounts[i];
        fields.created = unix(now.addingSeconds(-60.0 * (i + 1)));
        fields.billingReason = i == 0 ? u"subscription_create"_s : u"subscription_cycle"_s;
        fields.charge = u"ch_today_%1"_s.arg(i);
        fields.customer = u"cus_today_%1"_s.arg(i);
        fields.subscription = u"sub_today_%1"_s.arg(i);
        events.append(event(u"evt_today_%1"_s.arg(i), u"invoice.payment_succeeded"_s, fields.created, invoice(fields, shape), shape));
    }
    return events;
}

QJsonArray cancellations(Date now)
{
    QJsonArray events;
    const qint64 amounts[] = {4900, 2900, 9900};
    const char *intervals[] = {"month", "month", "month"};
    for (int i = 0; i < 3; ++i) {
        SubscriptionFields fields;
        fields.id = u"sub_1QCanceled%1"_s.arg(i);
        fields.unitAmount = amounts[i];
        fields.interval = QString::fromLatin1(intervals[i]);
        fields.nickname = QString();
        fields.canceledAt = unix(now.addingSeconds(-86400.0 * (2 + i * 6) - 3600));
        events.append(event(u"evt_cancel_%1"_s.arg(i), u"customer.subscription.deleted"_s, fields.canceledAt,
                            subscription(fields, shape), shape));
    }
    return events;
}

QJsonArray failures(Date now)
{
    QJsonArray events;
    for (int i = 0; i < 2; ++i) {
        InvoiceFields fields;
        fields.id = u"in_failed_%1"_s.arg(i);
        fields.amountPaid = 0;
        fields.amountDue = i == 0 ? 4900 : 9900;
        fields.created = unix(now.addingSeconds(-86400.0 * (1 + i * 9) - 7200));
        fields.customer = u"cus_failed_%1"_s.arg(i);
        fields.customerName = QString::fromUtf8(customers[i + 3].name);
        fields.customerEmail = QString::fromLatin1(customers[i + 3].email);
        fields.charge = u"ch_failed_%1"_s.arg(i);
        fields.subscription = u"sub_failed_%1"_s.arg(i);
        fields.lineDescription = i == 0 ? u"1 × Pro (at $49.00 / month)"_s : u"1 × Team (at $99.00 / month)"_s;
        events.append(event(u"evt_failed_%1"_s.arg(i), u"invoice.payment_failed"_s, fields.created, invoice(fields, shape), shape));
    }
    return events;
}

QJsonArray standaloneCharges(Date now)
{
    ChargeFields fields;
    fields.id = u"ch_3QLifetime"_s;
    fields.amount = 29900;
    fields.created = unix(now.addingSeconds(-86400.0 * 4 - 1800));
    fields.description = u"Lifetime licence"_s;
    fields.email = u"olivia.brown@example.co.uk"_s;
    fields.name = u"Olivia Brown"_s;
    return {event(u"evt_charge_0"_s, u"charge.succeeded"_s, fields.created, charge(fields, shape), shape)};
}

QJsonArray historicalCharges(Date now)
{
    QJsonArray out;
    Sequence seq;
    for (int i = 0; i < 40; ++i) {
        const Plan &p = plans[seq.next(std::size(plans))];
        ChargeFields fields;
        fields.id = u"ch_hist_%1"_s.arg(i);
        fields.amount = p.cents;
        fields.currency = QString::fromLatin1(p.currency);
        fields.created = unix(now.addingSeconds(-86400.0 * (31 + seq.next(58)) - 3600));
        fields.invoice = u"in_hist_%1"_s.arg(i);
        fields.description = QString::fromUtf8(p.label);
        out.append(charge(fields, shape));
    }
    return out;
}

FakeResponse jsonPage(const QJsonArray &data, const QString &url)
{
    return FakeResponse::json(200, page(data, false, url));
}

// Subscriptions whose payments failed, listed by status with customer and invoice expanded.
QJsonArray atRisk(const QString &status, Date now)
{
    struct Sub
    {
        const char *status, *id, *plan, *email, *currency, *interval, *invoice;
        qint64 unitAmount;
        double nextAttemptDays; // 0: none
        double periodEndDays;
    };
    static const Sub subs[] = {
        {"past_due", "sub_1QpdTeam", "Team yearly", "ops@northwind.io", "eur", "year", "in_1QpdTeam", 110000, 0.1, 20},
        {"past_due", "sub_1QpdPro", "Pro monthly", "maria.lopez@example.com", "usd", "month", "in_1QpdPro", 4900, 3.5, 1},
        {"unpaid", "sub_1QupStarter", "Starter monthly", "dev@tinyapps.co", "usd", "month", "in_1QupStarter", 1900, 0, -12},
        {"incomplete", "sub_1QicPro", "Pro monthly", "", "usd", "month", "in_1QicPro", 4900, 0, 0},
    };
    QJsonArray out;
    for (const Sub &sub : subs) {
        if (status != QLatin1StringView(sub.status))
            continue;
        const auto at = [&](double days) { return qint64(now.addingSeconds(days * 86400).unixSeconds()); };
        QJsonObject invoice{{u"id"_s, QLatin1StringView(sub.invoice)}, {u"object"_s, u"invoice"_s}, {u"status"_s, u"open"_s}};
        invoice.insert(u"next_payment_attempt"_s, sub.nextAttemptDays > 0 ? QJsonValue(at(sub.nextAttemptDays)) : QJsonValue());
        const QJsonObject price{{u"unit_amount"_s, sub.unitAmount},
                                {u"nickname"_s, QLatin1StringView(sub.plan)},
                                {u"recurring"_s, QJsonObject{{u"interval"_s, QLatin1StringView(sub.interval)}, {u"interval_count"_s, 1}}}};
        QJsonObject customer{{u"id"_s, QString(u"cus_"_s + QLatin1StringView(sub.id).mid(4))}, {u"object"_s, u"customer"_s}};
        if (*sub.email)
            customer.insert(u"email"_s, QLatin1StringView(sub.email));
        QJsonObject object{{u"id"_s, QLatin1StringView(sub.id)},
                           {u"object"_s, u"subscription"_s},
                           {u"status"_s, status},
                           {u"created"_s, at(-2)},
                           {u"currency"_s, QLatin1StringView(sub.currency)},
                           {u"customer"_s, customer},
                           {u"items"_s, QJsonObject{{u"data"_s, QJsonArray{QJsonObject{{u"price"_s, price}}}}}},
                           {u"latest_invoice"_s, invoice}};
        if (sub.periodEndDays != 0)
            object.insert(u"current_period_end"_s, at(sub.periodEndDays));
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
        QString type;
        for (const auto &[key, value] : request.queryItems())
            if (key == u"type"_s)
                type = value;
        QJsonArray data;
        if (type == u"invoice.payment_succeeded"_s)
            data = scenario == Scenario::TodayOnly ? todayInvoices(now) : populatedInvoices(now);
        else if (scenario == Scenario::Populated && type == u"customer.subscription.deleted"_s)
            data = cancellations(now);
        else if (scenario == Scenario::Populated && type == u"invoice.payment_failed"_s)
            data = failures(now);
        else if (scenario == Scenario::Populated && type == u"charge.succeeded"_s)
            data = standaloneCharges(now);
        FakeResponse response = jsonPage(data, u"/v1/events"_s);
        response.delayMs = delayMs;
        return response;
    });
    server.setHandler("GET", "/v1/charges", [scenario, now, delayMs](const RecordedRequest &) {
        FakeResponse response = jsonPage(scenario == Scenario::Populated ? historicalCharges(now) : QJsonArray(),
                                         u"/v1/charges"_s);
        response.delayMs = delayMs;
        return response;
    });
    server.setHandler("GET", "/v1/account", [scenario](const RecordedRequest &) {
        QJsonObject profile{{u"name"_s, u"Acme Analytics"_s}};
        // Only the picture scenario has a web site, and so an icon to fetch.
        if (scenario == Scenario::Populated)
            profile.insert(u"url"_s, u"https://acme-analytics.com"_s);
        return FakeResponse::json(200, QJsonDocument(QJsonObject{{u"id"_s, u"acct_1QCannedAcme"_s},
                                                                 {u"object"_s, u"account"_s},
                                                                 {u"business_profile"_s, profile}})
                                           .toJson(QJsonDocument::Compact));
    });
    if (scenario == Scenario::Populated) {
        server.setHandler("GET", "/v1/subscriptions", [now](const RecordedRequest &request) {
            QString status;
            for (const auto &[key, value] : request.queryItems())
                if (key == u"status"_s)
                    status = value;
            return jsonPage(atRisk(status, now), u"/v1/subscriptions"_s);
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

void installPayPal(FakeHttpServer &server, Scenario scenario, Date now)
{
    server.setHandler("POST", "/v1/oauth2/token", [](const RecordedRequest &) {
        return FakeResponse::json(200, R"({"scope":"https://uri.paypal.com/services/reporting/search/read","access_token":"A21AAKcannedtoken","token_type":"Bearer","app_id":"APP-80W284485P519543T","expires_in":32400,"nonce":"2026-03-10T12:00:00Zcanned"})");
    });
    server.setHandler("GET", "/v1/reporting/transactions", [scenario, now](const RecordedRequest &) {
        QJsonArray details;
        if (scenario == Scenario::Populated) {
            const char *subjects[] = {"Pro plan — monthly", "Design pack", "Pro plan — monthly", "Consulting hour"};
            const char *values[] = {"49.00", "120.00", "49.00", "150.00"};
            for (int i = 0; i < 4; ++i) {
                const QDateTime at = now.addingSeconds(-86400.0 * (i * 5 + 1) - 5400).toDateTime();
                details.append(QJsonObject{
                    {u"transaction_info"_s,
                     QJsonObject{{u"transaction_id"_s, u"5TY0%1837HG283542"_s.arg(i)},
                                 {u"transaction_event_code"_s, u"T0006"_s},
                                 {u"transaction_initiation_date"_s, at.toString(Qt::ISODate)},
                                 {u"transaction_amount"_s,
                                  QJsonObject{{u"currency_code"_s, u"USD"_s}, {u"value"_s, QString::fromLatin1(values[i])}}},
                                 {u"transaction_status"_s, u"S"_s},
                                 {u"transaction_subject"_s, QString::fromUtf8(subjects[i])}}}});
            }
        }
        const QJsonObject body{{u"transaction_details"_s, details}, {u"account_number"_s, u"QXL6RDJEW7ZRS"_s},
                               {u"page"_s, 1}, {u"total_items"_s, details.size()}, {u"total_pages"_s, 1}};
        return FakeResponse::json(200, QJsonDocument(body).toJson(QJsonDocument::Compact));
    });
}

} // namespace CannedProviders
