#include "Credentials.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace Credentials {

bool hasAny(const Account &a)
{
    return !a.stripeRestrictedKey.isEmpty() || !a.paypalClientId.isEmpty() || !a.paypalSecret.isEmpty();
}

QByteArray encode(const Account &a)
{
    return QJsonDocument(QJsonObject{{"stripeRestrictedKey"_L1, a.stripeRestrictedKey},
                                     {"paypalClientId"_L1, a.paypalClientId},
                                     {"paypalSecret"_L1, a.paypalSecret}})
        .toJson(QJsonDocument::Compact);
}

bool decodeInto(const QByteArray &entry, Account &account)
{
    const QJsonObject o = QJsonDocument::fromJson(entry).object();
    const QJsonValue key = o.value("stripeRestrictedKey"_L1), id = o.value("paypalClientId"_L1),
                     secret = o.value("paypalSecret"_L1);
    if (!key.isString() || !id.isString() || !secret.isString())
        return false;
    account.stripeRestrictedKey = key.toString();
    account.paypalClientId = id.toString();
    account.paypalSecret = secret.toString();
    return true;
}

Account stripped(Account account)
{
    account.stripeRestrictedKey.clear();
    account.paypalClientId.clear();
    account.paypalSecret.clear();
    return account;
}

QString keyOf(const Account &account)
{
    return u"account-"_s + uuidText(account.id);
}

} // namespace Credentials
