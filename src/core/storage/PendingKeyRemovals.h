#pragma once

#include "storage/SecretStore.h"
#include "storage/Storage.h"

#include <QCoroTask>
#include <QStringList>
#include <memory>

// Keyring entries whose accounts are gone. Each is written to a file of the data folder
// before the keyring is asked to drop it, and leaves the queue only once the keyring confirms:
// a removal the keyring refused, missed while it was away or cut short by a quit is tried
// again at the next start. An entry the file could not take waits in memory instead; copies
// share it.
class PendingKeyRemovals
{
public:
    static constexpr auto fileName = "keyring_removals.json";

    explicit PendingKeyRemovals(Storage storage) : m_storage(std::move(storage)) {}

    QStringList entries() const;
    // Queues `entry`: in the file, else in memory for this run.
    void add(const QString &entry) const;
    // Takes `entries` off the queue. A file that cannot be rewritten still lists them: the
    // next start asks the keyring to drop them again, which it takes as done.
    void drop(const QStringList &entries) const;

private:
    QStringList saved() const;
    Storage m_storage;
    std::shared_ptr<QStringList> m_unsaved = std::make_shared<QStringList>();
};

// Asks the keyring to drop every queued entry and takes off the queue those it dropped. An
// entry an account in `inUse` still names (its removal never reached the accounts file) is
// taken off without being dropped. Touches only the keyring and the data folder.
QCoro::Task<> removePendingKeys(std::shared_ptr<SecretStore> store, PendingKeyRemovals queue, QStringList inUse);
