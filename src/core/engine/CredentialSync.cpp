// Credentials in the desktop keyring: read at start, moved there from the accounts file,
// written there before the file loses them.
#include "RevenueEngine.h"

#include "engine/Credentials.h"

#include <QPointer>

using namespace Qt::StringLiterals;

QCoro::Task<> RevenueEngine::loadCredentials()
{
    QPointer<RevenueEngine> self(this);
    const std::shared_ptr<SecretStore> store = m_env.secrets;
    // A look-up of an entry that never exists tells whether a keyring answers at all.
    const auto probe = co_await store->read(u"probe"_s);
    if (!self)
        co_return;
    m_keyringState = KeyringStatus::afterRead(m_keyringState, probe.status);
    bool usable = m_keyringState == KeyringStatus::State::Serving;
    bool filled = false;
    bool plainInFile = false;
    const QList<Account> accounts = m_accounts;
    for (const Account &account : accounts) {
        if (!usable)
            break;
        if (Credentials::hasAny(account)) {
            plainInFile = true; // moved into the keyring below
            continue;
        }
        const auto entry = co_await store->read(Credentials::keyOf(account));
        if (!self)
            co_return;
        m_keyringState = KeyringStatus::afterRead(m_keyringState, entry.status);
        if (m_keyringState != KeyringStatus::State::Serving) {
            usable = false;
            break;
        }
        auto it = std::find_if(m_accounts.begin(), m_accounts.end(), [&](const Account &a) { return a.id == account.id; });
        // An account edited meanwhile keeps what the user typed.
        if (entry.status == SecretStore::Status::Ok && it != m_accounts.end() && !Credentials::hasAny(*it)
            && Credentials::decodeInto(entry.value, *it)) {
            m_storedCredentials.insert(account.id, entry.value);
            filled = true;
        }
    }
    m_keyringUsable = usable;
    m_credentialsReady = true;
    if (filled)
        Q_EMIT accountsChanged();
    Q_EMIT credentialsReadyChanged();
    if (KeyringStatus::notice(m_keyringState))
        Q_EMIT lastErrorChanged();
    if (usable && plainInFile)
        co_await persistAccounts();
    if (self && usable)
        co_await removePendingKeys(store, m_keyRemovals, KeyringStatus::entriesOf(m_accounts));
    if (self && m_env.startLoops) {
        triggerRefresh();
        // The loop's first run found no keys: list the at-risk subscriptions now.
        m_atRiskTask.start([this](CancellationToken token) { return runAtRiskRefresh(token); });
    }
}

QCoro::Task<> RevenueEngine::persistAccounts()
{
    if (m_persisting) {
        m_persistAgain = true; // the running pass writes again with the newest accounts
        co_return;
    }
    m_persisting = true;
    QPointer<RevenueEngine> self(this);
    const std::shared_ptr<SecretStore> store = m_env.secrets;
    do {
        m_persistAgain = false;
        const QList<Account> accounts = m_accounts;
        // Keyring first: the file loses a key only once the keyring holds it.
        bool allStored = true;
        for (const Account &account : accounts) {
            const QByteArray entry = Credentials::encode(account);
            const auto known = m_storedCredentials.constFind(account.id);
            if (known != m_storedCredentials.cend() ? *known == entry : !Credentials::hasAny(account))
                continue;
            const bool written = co_await store->write(Credentials::keyOf(account), entry);
            if (!self)
                co_return;
            if (!written) {
                allStored = false;
                break;
            }
            m_storedCredentials.insert(account.id, entry);
        }
        QList<Account> file = accounts;
        if (allStored)
            std::transform(file.begin(), file.end(), file.begin(), Credentials::stripped);
        else
            m_keyringUsable = false; // the private file keeps every key from now on
        if (!allStored && m_keyringState != KeyringStatus::State::Refused) {
            m_keyringState = KeyringStatus::State::Refused;
            Q_EMIT lastErrorChanged();
        }
        // Entries of removed accounts go once the file no longer names their accounts.
        if (writeAccountsFile(file)) {
            co_await removePendingKeys(store, m_keyRemovals, KeyringStatus::entriesOf(accounts));
            if (!self)
                co_return;
        }
    } while (m_persistAgain);
    m_persisting = false;
}
