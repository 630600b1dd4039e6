#include "AccountEditor.h"

#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace ProviderLinks {

QUrl stripeCreateURL()
{
    QUrl url(u"https://dashboard.stripe.com/apikeys/create"_s);
    QUrlQuery query;
    query.addQueryItem(u"name"_s, u"Quorvane"_s);
    for (const char *permission : {"rak_charge_read", "rak_invoice_read", "rak_subscription_read", "rak_customer_read",
                                   "rak_event_read", "rak_account_read", "rak_invoice_write"})
        query.addQueryItem(u"permissions[]"_s, QString::fromLatin1(permission));
    url.setQuery(query);
    return url;
}

QUrl paypalApplicationsURL(bool live)
{
    return QUrl(live ? u"https://developer.paypal.com/dashboard/applications/live"_s
                     : u"https://developer.paypal.com/dashboard/applications/sandbox"_s);
}

} // namespace ProviderLinks

AccountEditor::AccountEditor(Account account, QString fallbackTitle, QObject *parent)
    : QObject(parent)
    , m_account(std::move(account))
    , m_fallbackTitle(std::move(fallbackTitle))
{
}

bool AccountEditor::isValid(const Account &account)
{
    if (account.provider == AccountProvider::Stripe)
        return account.stripeRestrictedKey.trimmed().toLower().startsWith(u"rk_"_s);
    return !account.paypalClientId.trimmed().isEmpty() && !account.paypalSecret.trimmed().isEmpty();
}

QString AccountEditor::paypalHelpText(bool live)
{
    return u"Create a REST app in your [PayPal Developer Dashboard]("_s
           + ProviderLinks::paypalApplicationsURL(live).toString(QUrl::FullyEncoded) + u") and paste the credentials above."_s;
}

void AccountEditor::setName(const QString &name)
{
    assign(m_account.name, name);
}

void AccountEditor::setWebsite(const QString &typed)
{
    // Kept as typed while editing; reduced to the domain when saved.
    assign(m_account.websiteDomain, typed.trimmed().isEmpty() ? std::nullopt : std::optional<QString>(typed));
}

QString AccountEditor::websiteDomain(const QString &typed)
{
    const QString text = typed.trimmed();
    if (text.isEmpty() || text.contains(u' '))
        return {};
    QString host = QUrl::fromUserInput(text).host().toLower();
    if (host.startsWith(u"www."_s))
        host = host.mid(4);
    return host.contains(u'.') ? host : QString();
}

void AccountEditor::setProviderIndex(int index)
{
    assign(m_account.provider, index == 1 ? AccountProvider::PayPal : AccountProvider::Stripe);
}

void AccountEditor::setStripeRestrictedKey(const QString &key)
{
    assign(m_account.stripeRestrictedKey, key);
}

void AccountEditor::setPaypalClientId(const QString &id)
{
    assign(m_account.paypalClientId, id);
}

void AccountEditor::setPaypalSecret(const QString &secret)
{
    assign(m_account.paypalSecret, secret);
}

void AccountEditor::setEnvironmentIndex(int index)
{
    assign(m_account.paypalLive, index != 1);
}

void AccountEditor::setEnabled(bool enabled)
{
    assign(m_account.enabled, enabled);
}

QString AccountEditor::titleText() const
{
    const QString trimmed = m_account.name.trimmed();
    return trimmed.isEmpty() ? m_fallbackTitle : trimmed;
}

QStringList AccountEditor::providerLabels() const
{
    return {u"Stripe"_s, u"PayPal"_s};
}

QStringList AccountEditor::environmentLabels() const
{
    return {u"Live environment"_s, u"Sandbox"_s};
}

QString AccountEditor::invalidReason(const Account &account)
{
    if (account.provider == AccountProvider::Stripe) {
        const QString key = account.stripeRestrictedKey.trimmed().toLower();
        if (key.isEmpty())
            return u"Paste a restricted API key to save."_s;
        if (key.startsWith(u"sk_"_s))
            return u"This is a secret key with full access. Create a restricted key (rk_…) instead."_s;
        if (key.startsWith(u"pk_"_s))
            return u"This is a publishable key. Paste a restricted key (rk_…) instead."_s;
        if (!key.startsWith(u"rk_"_s))
            return u"A restricted API key starts with rk_."_s;
        return {};
    }
    if (account.paypalClientId.trimmed().isEmpty())
        return u"Paste the app's client ID to save."_s;
    if (account.paypalSecret.trimmed().isEmpty())
        return u"Paste the app's secret to save."_s;
    return {};
}

Account AccountEditor::trimmed(Account account)
{
    account.name = account.name.trimmed();
    account.stripeRestrictedKey = account.stripeRestrictedKey.trimmed();
    account.paypalClientId = account.paypalClientId.trimmed();
    account.paypalSecret = account.paypalSecret.trimmed();
    if (account.websiteDomain) {
        const QString domain = websiteDomain(*account.websiteDomain);
        account.websiteDomain = domain.isEmpty() ? std::nullopt : std::optional<QString>(domain);
    }
    return account;
}

void AccountEditor::save()
{
    if (isValid())
        Q_EMIT saved(trimmed(m_account));
}

void AccountEditor::cancel()
{
    Q_EMIT cancelled();
}

QString AccountEditor::storageNote(bool usesKeyring, bool keyringNeedsSetup)
{
    if (!usesKeyring)
        return QStringLiteral("No keyring answers on this desktop: the key is kept in Quorvane's accounts file, "
                              "readable by you alone.");
    if (keyringNeedsSetup)
        return QStringLiteral("Your desktop will ask you to set up a keyring to store this key.");
    return QStringLiteral("The key is kept in your desktop's keyring.");
}
