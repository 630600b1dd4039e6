#pragma once

#include "engine/KeyringStatus.h"
#include "model/Account.h"
#include "storage/PendingKeyRemovals.h"
#include "storage/SecretStore.h"

#include <QCoroTask>
#include <QHash>
#include <QObject>
#include <QStringList>
#include <functional>
#include <memory>

// Credentials in the desktop keyring: read at start, moved there from the accounts file,
// written there before the file loses them, and removed with their account.
class CredentialSync : public QObject
{
    Q_OBJECT

public:
    struct Neighbours
    {
        std::function<QList<Account>()> accounts;
        // Fills a keyring entry into the account of that id unless it holds credentials of its
        // own (edited meanwhile); true when it was filled.
        std::function<bool(const QUuid &accountId, const QByteArray &entry)> fill;
        // Writes the accounts file in the form given: with or without credentials; true when saved.
        std::function<bool(const QList<Account> &fileForm)> writeFile;
    };

    // Without a store the accounts file keeps the credentials and this is ready at once.
    // Removals of keyring entries are queued in `storage`'s folder until the keyring confirms them.
    CredentialSync(Neighbours neighbours, std::shared_ptr<SecretStore> store, const Storage &storage,
                   QObject *parent = nullptr);

    // False while the credentials are still being read from the keyring.
    bool isReady() const { return m_ready; }
    // Whether credentials go to the keyring (false: the accounts file keeps them).
    bool usesKeyring() const { return m_keyringUsable; }
    // What the user should know of the keyring: locked, or refusing keys; none when it serves.
    std::optional<QString> notice() const { return KeyringStatus::notice(m_keyringState); }
    KeyringStatus::State keyringState() const { return m_keyringState; }

    // Reads every account's entry; announces accountsFilled (when any was) and readyChanged.
    QCoro::Task<> load();
    // Saves the accounts: into the keyring, then the file without keys; or the file alone.
    void save();
    // The keyring entry of a removed account is queued and goes once the file no longer names it.
    void forget(const Account &account);

Q_SIGNALS:
    void readyChanged();
    void accountsFilled();
    void noticeChanged();

private:
    QCoro::Task<> persistAccounts();

    Neighbours m_neighbours;
    std::shared_ptr<SecretStore> m_store;
    bool m_ready = true;
    bool m_keyringUsable = false;
    bool m_persisting = false;
    bool m_persistAgain = false;
    QHash<QUuid, QByteArray> m_storedCredentials; // keyring entries known to be written
    PendingKeyRemovals m_keyRemovals;             // keyring entries of removed accounts
    KeyringStatus::State m_keyringState = KeyringStatus::State::Absent;
};
