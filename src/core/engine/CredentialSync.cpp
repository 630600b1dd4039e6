// Credentials in the desktop keyring: read at start, moved there from the accounts file,
// written there before the file loses them, and removed with their account.
#include "CredentialSync.h"

#include "engine/Credentials.h"

#include <QPointer>

using namespace Qt::StringLiterals;

CredentialSync::CredentialSync(Neighbours neighbours, std::shared_ptr<SecretStore> store, const Storage &storage,
                               QObject *parent)
    : QObject(parent)
    , m_neighbours(std::move(neighbours))
    , m_store(std::move(store))
    , m_ready(!m_store)
    , m_keyRemovals(storage)
{
}

void CredentialSync::save()
{
    if (m_keyringUsable && m_ready)
        persistAccounts();
    else
        m_neighbours.writeFile(m_neighbours.accounts());
}

void CredentialSync::forget(const Account &account)
{
    if (!m_store)
        return;
    // Queued whether or not the keyring answers now: it may hold an entry this run never
    // read. A queue file that cannot be written keeps the entry in memory for this run.
    m_storedCredentials.remove(account.id);
    m_keyRemovals.add(Credentials::keyOf(account));
}

QCoro::Task<> CredentialSync::load()
{
    QPointer<CredentialSync> self(this);
    const std::shared_ptr<SecretStore> store = m_store;
    // A look-up of an entry that never exists tells whether a keyring answers at all.
    const auto probe = co_await store->read(u"probe"_s);
    if (!self)
        co_return;
    m_keyringState = KeyringStatus::afterRead(m_keyringState, probe.status);
    bool usable = m_keyringState == KeyringStatus::State::Serving;
    bool filled = false;
    bool plainInFile = false;
    const QList<Account> accounts = m_neighbours.accounts();
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
        // An account edited meanwhile keeps what the user typed.
        if (entry.status == SecretStore::Status::Ok && m_neighbours.fill(account.id, entry.value)) {
            m_storedCredentials.insert(account.id, entry.value);
            filled = true;
        }
    }
    m_keyringUsable = usable;
    m_ready = true;
    if (filled)
        Q_EMIT accountsFilled();
    Q_EMIT readyChanged();
    if (KeyringStatus::notice(m_keyringState))
        Q_EMIT noticeChanged();
    if (usable && plainInFile)
        co_await persistAccounts();
    if (self && usable)
        co_await removePendingKeys(store, m_keyRemovals, KeyringStatus::entriesOf(m_neighbours.accounts()));
}

QCoro::Task<> CredentialSync::persistAccounts()
{
    if (m_persisting) {
        m_persistAgain = true; // the running pass writes again with the newest accounts
        co_return;
    }
    m_persisting = true;
    QPointer<CredentialSync> self(this);
    const std::shared_ptr<SecretStore> store = m_store;
    do {
        m_persistAgain = false;
        const QList<Account> accounts = m_neighbours.accounts();
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
            Q_EMIT noticeChanged();
        }
        // Entries of removed accounts go once the file no longer names their accounts.
        if (m_neighbours.writeFile(file)) {
            co_await removePendingKeys(store, m_keyRemovals, KeyringStatus::entriesOf(accounts));
            if (!self)
                co_return;
        }
    } while (m_persistAgain);
    m_persisting = false;
}
