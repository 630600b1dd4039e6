// Credentials in the desktop keyring: read at start, moved there from the accounts file,
// written there before the file loses them.
#include "CredentialSync.h"

#include "engine/Credentials.h"

#include <QPointer>

using namespace Qt::StringLiterals;

CredentialSync::CredentialSync(Neighbours neighbours, std::shared_ptr<SecretStore> store, QObject *parent)
    : QObject(parent)
    , m_neighbours(std::move(neighbours))
    , m_store(std::move(store))
    , m_ready(!m_store)
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
    if (m_storedCredentials.remove(account.id))
        m_credentialRemovals.append(Credentials::keyOf(account));
}

QCoro::Task<> CredentialSync::load()
{
    QPointer<CredentialSync> self(this);
    const std::shared_ptr<SecretStore> store = m_store;
    // A look-up of an entry that never exists tells whether a keyring answers at all.
    const auto probe = co_await store->read(u"probe"_s);
    if (!self)
        co_return;
    bool usable = probe.status != SecretStore::Status::Unavailable;
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
        if (entry.status == SecretStore::Status::Unavailable) {
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
    if (usable && plainInFile)
        co_await persistAccounts();
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
        const QStringList removals = std::exchange(m_credentialRemovals, {});
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
        m_neighbours.writeFile(file);
        for (const QString &key : removals) {
            co_await store->remove(key);
            if (!self)
                co_return;
        }
    } while (m_persistAgain);
    m_persisting = false;
}
