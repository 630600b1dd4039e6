#include "Account.h"

using namespace Qt::StringLiterals;

QString uuidText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

Account Account::decode(JsonReader &r, DateForm)
{
    Account a;
    a.id = r.uuid("id"_L1);
    a.name = r.string("name"_L1);
    a.provider = r.enumeration<AccountProvider>("provider"_L1);
    a.stripeRestrictedKey = r.string("stripeRestrictedKey"_L1);
    a.paypalClientId = r.string("paypalClientId"_L1);
    a.paypalSecret = r.string("paypalSecret"_L1);
    a.paypalLive = r.boolean("paypalLive"_L1);
    a.enabled = r.boolean("enabled"_L1);
    a.websiteDomain = r.optString("websiteDomain"_L1);
    a.stripeAccountId = r.optString("stripeAccountId"_L1);
    return a;
}

QJsonObject toJson(const Account &a)
{
    QJsonObject o{
        {"id"_L1, uuidText(a.id)},
        {"name"_L1, a.name},
        {"provider"_L1, toRaw(a.provider)},
        {"stripeRestrictedKey"_L1, a.stripeRestrictedKey},
        {"paypalClientId"_L1, a.paypalClientId},
        {"paypalSecret"_L1, a.paypalSecret},
        {"paypalLive"_L1, a.paypalLive},
        {"enabled"_L1, a.enabled},
    };
    if (a.websiteDomain)
        o.insert("websiteDomain"_L1, *a.websiteDomain);
    if (a.stripeAccountId)
        o.insert("stripeAccountId"_L1, *a.stripeAccountId);
    return o;
}

size_t qHash(const Account &a, size_t seed)
{
    return qHashMulti(seed, a.id, a.name, toRaw(a.provider), a.stripeRestrictedKey, a.paypalClientId, a.paypalSecret,
                      a.paypalLive, a.enabled, a.websiteDomain.value_or(QString()), a.websiteDomain.has_value(),
                      a.stripeAccountId.value_or(QString()), a.stripeAccountId.has_value());
}
