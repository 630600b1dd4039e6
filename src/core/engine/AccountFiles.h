#pragma once

#include "engine/SaveFailures.h"
#include "model/Account.h"
#include "storage/Storage.h"

#include <QHash>
#include <QObject>
#include <QSet>

// The accounts and preferences files, and what reading and writing the data files found: the
// damage at start, the saves that failed until one succeeds, the accounts another process
// added or removed meanwhile, and the records each account's last load left out.
class AccountFiles : public QObject
{
    Q_OBJECT

public:
    // `storage` outlives this; files that could not be read are held on it, never written over.
    explicit AccountFiles(Storage &storage, QObject *parent = nullptr);

    // The accounts file as it reads; what another process may change is measured from here.
    QList<Account> loadAccounts(QList<FileDamage> *damaged);
    // Writes the accounts file (in the form given: with or without credentials) merged with
    // what another process wrote, and takes that process's additions and removals into
    // `accounts`; false when it was not saved.
    bool writeAccounts(const QList<Account> &fileForm, QList<Account> &accounts);
    bool savePreferences(const Preferences &preferences);

    // Records a save's outcome for the user and the retry; true when it was saved.
    bool noteSave(SaveFailures::File file, const Storage::Saved &saved);
    bool isPending(SaveFailures::File file) const { return m_saveFailures.isPending(file); }
    std::optional<QString> saveFailuresText() const { return m_saveFailures.text(); }

    // Damage found while loading: published, and files that could not be read are never
    // written over.
    void takeDamage(const QList<FileDamage> &damaged);
    const QList<FileDamage> &damagedFiles() const { return m_damagedFiles; }
    // True when the accounts file did not read completely.
    bool accountsDamaged() const;

    // Per account, the records its last successful load left out because they did not decode.
    const QHash<QUuid, qsizetype> &skippedRecords() const { return m_skippedRecords; }
    void setSkippedRecords(const QHash<QUuid, qsizetype> &skipped);
    void dropAccount(const QUuid &accountId);

Q_SIGNALS:
    void saveFailuresChanged();
    // writeAccounts() took in another process's additions or removals.
    void accountsMerged();
    void skippedRecordsChanged();

private:
    Storage &m_storage;
    QList<FileDamage> m_damagedFiles;
    SaveFailures m_saveFailures;
    QSet<QUuid> m_accountIdsOnDisk; // as last read or written: what another process may have changed
    QHash<QUuid, qsizetype> m_skippedRecords;
};
