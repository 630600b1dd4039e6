#include "AccountFiles.h"

#include "storage/AccountsMerge.h"

AccountFiles::AccountFiles(Storage &storage, QObject *parent)
    : QObject(parent)
    , m_storage(storage)
{
}

QList<Account> AccountFiles::loadAccounts(QList<FileDamage> *damaged)
{
    QList<Account> accounts = m_storage.loadAccounts(damaged);
    m_accountIdsOnDisk = AccountsMerge::idsOf(accounts);
    return accounts;
}

bool AccountFiles::writeAccounts(const QList<Account> &fileForm, QList<Account> &accounts)
{
    auto written = m_storage.updateAccounts(fileForm, m_accountIdsOnDisk);
    if (!noteSave(SaveFailures::File::Accounts, written ? Storage::Saved(Done{}) : Storage::Saved(written.error())))
        return false;
    // What the merge added came from another process; what it dropped, that process removed.
    const QSet<QUuid> ours = AccountsMerge::idsOf(fileForm);
    const QSet<QUuid> onDisk = AccountsMerge::idsOf(written.value());
    m_accountIdsOnDisk = onDisk;
    const qsizetype removed =
        accounts.removeIf([&](const Account &a) { return ours.contains(a.id) && !onDisk.contains(a.id); });
    const QSet<QUuid> current = AccountsMerge::idsOf(accounts);
    bool added = false;
    for (const Account &a : written.value())
        if (!ours.contains(a.id) && !current.contains(a.id)) {
            accounts.append(a);
            added = true;
        }
    if (removed > 0 || added)
        Q_EMIT accountsMerged();
    return true;
}

bool AccountFiles::savePreferences(const Preferences &preferences)
{
    return noteSave(SaveFailures::File::Preferences, m_storage.savePreferences(preferences));
}

bool AccountFiles::noteSave(SaveFailures::File file, const Storage::Saved &saved)
{
    if (m_saveFailures.record(file, saved))
        Q_EMIT saveFailuresChanged();
    return saved.ok();
}

void AccountFiles::takeDamage(const QList<FileDamage> &damaged)
{
    m_damagedFiles += damaged;
    for (const FileDamage &damage : damaged)
        if (damage.blocksWrites)
            m_storage.holdWrites(damage.file, damage.reason);
}

bool AccountFiles::accountsDamaged() const
{
    return std::any_of(m_damagedFiles.cbegin(), m_damagedFiles.cend(),
                       [](const FileDamage &d) { return d.file == QLatin1StringView(Storage::accountsFile); });
}

void AccountFiles::setSkippedRecords(const QHash<QUuid, qsizetype> &skipped)
{
    if (skipped == m_skippedRecords)
        return;
    m_skippedRecords = skipped;
    Q_EMIT skippedRecordsChanged();
}

void AccountFiles::dropAccount(const QUuid &accountId)
{
    if (m_skippedRecords.remove(accountId) > 0)
        Q_EMIT skippedRecordsChanged();
}
