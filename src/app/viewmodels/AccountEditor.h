#pragma once

#include "model/Account.h"

#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

// Build configuration: where the provider dashboards live.
namespace ProviderLinks {
QUrl stripeCreateURL();
QUrl paypalApplicationsURL(bool live);
} // namespace ProviderLinks

// The working copy of one account while it is edited. Nothing is stored until save().
class AccountEditor : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the accounts pane")
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY changed)
    // Where the account's icon is looked up; optional (Stripe accounts name their own).
    Q_PROPERTY(QString website READ website WRITE setWebsite NOTIFY changed)
    Q_PROPERTY(int providerIndex READ providerIndex WRITE setProviderIndex NOTIFY changed)
    Q_PROPERTY(bool isStripe READ isStripe NOTIFY changed)
    Q_PROPERTY(QString stripeRestrictedKey READ stripeRestrictedKey WRITE setStripeRestrictedKey NOTIFY changed)
    Q_PROPERTY(QString paypalClientId READ paypalClientId WRITE setPaypalClientId NOTIFY changed)
    Q_PROPERTY(QString paypalSecret READ paypalSecret WRITE setPaypalSecret NOTIFY changed)
    Q_PROPERTY(int environmentIndex READ environmentIndex WRITE setEnvironmentIndex NOTIFY changed)
    Q_PROPERTY(bool enabled READ enabled WRITE setEnabled NOTIFY changed)
    Q_PROPERTY(QString titleText READ titleText NOTIFY changed)
    Q_PROPERTY(QString badgeLetter READ badgeLetter NOTIFY changed)
    Q_PROPERTY(bool isValid READ isValid NOTIFY changed)
    Q_PROPERTY(QString invalidReason READ invalidReason NOTIFY changed)
    Q_PROPERTY(QUrl stripeCreateUrl READ stripeCreateUrl CONSTANT)
    Q_PROPERTY(QString paypalHelpText READ paypalHelpText NOTIFY changed)
    Q_PROPERTY(QStringList providerLabels READ providerLabels CONSTANT)
    Q_PROPERTY(QStringList environmentLabels READ environmentLabels CONSTANT)
    Q_PROPERTY(QString storageNote READ storageNote NOTIFY changed)

public:
    AccountEditor(Account account, QString fallbackTitle, QObject *parent = nullptr);

    static bool isValid(const Account &account);
    // Why Save is disabled, in the user's words; empty when the account can be saved.
    static QString invalidReason(const Account &account);
    // The account as it is stored: pasted credentials lose surrounding white space.
    static Account trimmed(Account account);
    static QString paypalHelpText(bool live);
    // The bare domain of what was typed as a website ("https://www.Acme.io/x" is "acme.io"), or
    // empty when it names none.
    static QString websiteDomain(const QString &typed);
    // Where a saved key goes, said before the desktop asks anything: the keyring (which may
    // first have to be set up) or, without one, the private accounts file.
    static QString storageNote(bool usesKeyring, bool keyringNeedsSetup);

    const Account &account() const { return m_account; }

    QString name() const { return m_account.name; }
    void setName(const QString &name);
    QString website() const { return m_account.websiteDomain.value_or(QString()); }
    void setWebsite(const QString &typed);
    int providerIndex() const { return m_account.provider == AccountProvider::Stripe ? 0 : 1; }
    void setProviderIndex(int index);
    bool isStripe() const { return m_account.provider == AccountProvider::Stripe; }
    QString stripeRestrictedKey() const { return m_account.stripeRestrictedKey; }
    void setStripeRestrictedKey(const QString &key);
    QString paypalClientId() const { return m_account.paypalClientId; }
    void setPaypalClientId(const QString &id);
    QString paypalSecret() const { return m_account.paypalSecret; }
    void setPaypalSecret(const QString &secret);
    int environmentIndex() const { return m_account.paypalLive ? 0 : 1; }
    void setEnvironmentIndex(int index);
    bool enabled() const { return m_account.enabled; }
    void setEnabled(bool enabled);

    QString titleText() const;
    QString badgeLetter() const { return isStripe() ? QStringLiteral("S") : QStringLiteral("P"); }
    bool isValid() const { return isValid(m_account); }
    QString invalidReason() const { return invalidReason(m_account); }
    QUrl stripeCreateUrl() const { return ProviderLinks::stripeCreateURL(); }
    QString paypalHelpText() const { return paypalHelpText(m_account.paypalLive); }
    QStringList providerLabels() const;
    QStringList environmentLabels() const;
    QString storageNote() const { return m_storageNote; }
    void setStorageNote(const QString &note) { assign(m_storageNote, note); }

    Q_INVOKABLE void save();
    Q_INVOKABLE void cancel();

Q_SIGNALS:
    void changed();
    void saved(const Account &account);
    void cancelled();

private:
    template<typename T>
    void assign(T &field, const T &value)
    {
        if (field == value)
            return;
        field = value;
        Q_EMIT changed();
    }
    Account m_account;
    QString m_fallbackTitle;
    QString m_storageNote;
};
