#include "AtRiskSub.h"

#include "model/Account.h"

using namespace Qt::StringLiterals;

AtRiskSub AtRiskSub::decode(JsonReader &r, DateForm form)
{
    AtRiskSub s;
    s.id = r.string("id"_L1);
    s.accountId = r.uuid("accountId"_L1);
    s.accountName = r.string("accountName"_L1);
    s.customerEmail = r.optString("customerEmail"_L1);
    s.customerName = r.optString("customerName"_L1);
    s.planLabel = r.string("planLabel"_L1);
    s.monthlyAmount = r.amount("monthlyAmount"_L1);
    s.currency = r.string("currency"_L1);
    s.monthlyUSD = r.amount("monthlyUSD"_L1);
    s.kind = r.enumeration<AtRiskKind>("kind"_L1);
    s.sinceDate = r.date("sinceDate"_L1, form);
    s.latestInvoiceId = r.optString("latestInvoiceId"_L1);
    s.dashboardURL = r.optUrl("dashboardURL"_L1);
    return s;
}

QJsonObject toJson(const AtRiskSub &s, DateForm form)
{
    QJsonObject o{
        {"id"_L1, s.id},
        {"accountId"_L1, uuidText(s.accountId)},
        {"accountName"_L1, s.accountName},
        {"planLabel"_L1, s.planLabel},
        {"monthlyAmount"_L1, s.monthlyAmount},
        {"currency"_L1, s.currency},
        {"monthlyUSD"_L1, s.monthlyUSD},
        {"kind"_L1, toRaw(s.kind)},
        {"sinceDate"_L1, encodeDate(s.sinceDate, form)},
    };
    if (s.customerEmail)
        o.insert("customerEmail"_L1, *s.customerEmail);
    if (s.customerName)
        o.insert("customerName"_L1, *s.customerName);
    if (s.latestInvoiceId)
        o.insert("latestInvoiceId"_L1, *s.latestInvoiceId);
    if (s.dashboardURL)
        o.insert("dashboardURL"_L1, s.dashboardURL->toString(QUrl::FullyEncoded));
    return o;
}

size_t qHash(const AtRiskSub &s, size_t seed)
{
    return qHashMulti(seed, s.id, s.accountId, s.accountName, s.customerEmail.value_or(QString()),
                      s.customerEmail.has_value(), s.customerName.value_or(QString()), s.customerName.has_value(),
                      s.planLabel, s.monthlyAmount, s.currency, s.monthlyUSD, toRaw(s.kind), s.sinceDate.referenceSeconds(),
                      s.latestInvoiceId.value_or(QString()), s.latestInvoiceId.has_value(), s.dashboardURL.value_or(QUrl()),
                      s.dashboardURL.has_value());
}
