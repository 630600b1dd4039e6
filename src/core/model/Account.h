#pragma once

#include "model/Enums.h"
#include "json/JsonReader.h"

#include <QHash>
#include <QUuid>

// One connected payment account. Credentials are kept as plain text.
struct Account
{
    QUuid id = QUuid::createUuid();
    QString name;
    AccountProvider provider = AccountProvider::Stripe;
    QString stripeRestrictedKey;
    QString paypalClientId;
    QString paypalSecret;
    bool paypalLive = true;
    bool enabled = true;
    std::optional<QString> websiteDomain;
    std::optional<QString> stripeAccountId;

    static Account newAccount(AccountProvider provider)
    {
        Account a;
        a.provider = provider;
        return a;
    }

    // The built-in demo business: no credentials, no network.
    static Account newDemoAccount()
    {
        Account a = newAccount(AccountProvider::Demo);
        a.name = QStringLiteral("Demo business");
        return a;
    }
    bool isDemo() const { return provider == AccountProvider::Demo; }
    // Whether the account's activity comes as Stripe records (real Stripe or the demo).
    bool hasStripeRecords() const { return provider != AccountProvider::PayPal; }

    // Accounts hold no dates; the form is accepted so every record decodes alike.
    static Account decode(JsonReader &reader, DateForm form = DateForm::Iso8601);
    friend bool operator==(const Account &, const Account &) = default;
};

QJsonObject toJson(const Account &account);
size_t qHash(const Account &account, size_t seed = 0);

// Canonical upper-case 36-character form used in every file.
QString uuidText(const QUuid &id);
