#include "PaymentEvent.h"

#include "model/Account.h"

using namespace Qt::StringLiterals;

PaymentEvent PaymentEvent::decode(JsonReader &r, DateForm form)
{
    PaymentEvent e;
    e.id = r.string("id"_L1);
    e.date = r.date("date"_L1, form);
    e.amount = r.number("amount"_L1);
    e.currency = r.recurringString("currency"_L1);
    e.usdAmount = r.number("usdAmount"_L1);
    e.accountId = r.uuid("accountId"_L1);
    e.accountName = r.recurringString("accountName"_L1);
    e.kind = r.enumeration<RevenueKind>("kind"_L1);
    e.description = r.recurringString("description"_L1);
    e.customerEmail = r.optString("customerEmail"_L1);
    e.dashboardURL = r.optString("dashboardURL"_L1);
    return e;
}

std::optional<QUrl> PaymentEvent::dashboardLink() const
{
    if (!dashboardURL)
        return std::nullopt;
    QUrl url(*dashboardURL, QUrl::StrictMode);
    if (!url.isValid() || (url.scheme() != "https"_L1 && url.scheme() != "http"_L1))
        return std::nullopt;
    return url;
}

QJsonObject toJson(const PaymentEvent &e, DateForm form)
{
    QJsonObject o{
        {"id"_L1, e.id},
        {"date"_L1, encodeDate(e.date, form)},
        {"amount"_L1, e.amount},
        {"currency"_L1, e.currency},
        {"usdAmount"_L1, e.usdAmount},
        {"accountId"_L1, uuidText(e.accountId)},
        {"accountName"_L1, e.accountName},
        {"kind"_L1, toRaw(e.kind)},
        {"description"_L1, e.description},
    };
    if (e.customerEmail)
        o.insert("customerEmail"_L1, *e.customerEmail);
    if (e.dashboardURL)
        o.insert("dashboardURL"_L1, *e.dashboardURL);
    return o;
}

size_t qHash(const PaymentEvent &e, size_t seed)
{
    return qHashMulti(seed, e.id, e.date.referenceSeconds(), e.amount, e.currency, e.usdAmount, e.accountId,
                      e.accountName, toRaw(e.kind), e.description, e.customerEmail.value_or(QString()),
                      e.customerEmail.has_value(), e.dashboardURL.value_or(QString()), e.dashboardURL.has_value());
}
