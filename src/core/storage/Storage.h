#pragma once

#include "model/Account.h"
#include "model/Achievement.h"
#include "model/PaymentEvent.h"
#include "model/Preferences.h"
#include "mrr/MrrTypes.h"
#include "storage/DamagedFiles.h"
#include "storage/FeedCodec.h"
#include "util/Result.h"

#include <QHash>
#include <QList>
#include <QSet>

// The data folder and its files. Every file is read whole and written whole with atomic
// replacement, readable by the user alone. A missing file counts as absent; a file that
// does not decode completely, or is empty, is kept aside first (see DamagedFiles) and
// reported through the loaders' `damaged` list, and what could be read of it is used. A file
// that cannot be read at all (permission denied, a failing disk, a FIFO, a link out of the
// folder) is reported too, and is never written over: its content is unknown, not absent.
// A save returns the reason it failed ("the disk is full"); the previous file is then intact.
class Storage
{
public:
    explicit Storage(QString folder = defaultFolder());

    // "Quorvane" under the platform's per-user application-data directory.
    static QString defaultFolder();

    static constexpr auto accountsFile = "accounts.json";
    static constexpr auto preferencesFile = "preferences.json";
    static constexpr auto feedFile = "feed.json";
    static constexpr auto achievementsFile = "achievements.json";
    static constexpr auto syncStateFile = "sync_state.json";
    static constexpr auto mrrSnapshotsFile = "mrr_snapshots.json";

    const QString &folder() const { return m_folder; }
    // The accounts file; resolving it creates the data folder when missing.
    QString fileURL() const;
    // The icons folder, created when missing.
    QString iconsDir() const;
    QString pathOf(const char *fileName) const;

    using Saved = Result<Done, QString>;

    // The bytes of a file that exists and can be read.
    std::optional<QByteArray> read(const char *fileName) const;
    // Writes through a temporary file in the same folder that then replaces the target.
    Saved writeAtomically(const char *fileName, const QByteArray &bytes) const;
    // Refuses every write of `fileName` from now on: it could not be read, so what it holds
    // is unknown. The accounts file is released by updateAccounts() once it reads it.
    void holdWrites(const QString &fileName, const QString &reason);

    // Accounts are decoded one by one: an account that does not decode is left out, the
    // others are kept.
    QList<Account> loadAccounts(QList<FileDamage> *damaged = nullptr) const;
    Saved saveAccounts(const QList<Account> &accounts) const;
    // Writes `accounts` merged with what another process wrote since this one last saw the
    // file (AccountsMerge), under the data folder's lock, and returns the accounts written.
    // `known`: the account ids this process last read or wrote.
    Result<QList<Account>, QString> updateAccounts(const QList<Account> &accounts, const QSet<QUuid> &known);
    std::optional<Preferences> loadPreferences(QList<FileDamage> *damaged = nullptr) const;
    Saved savePreferences(const Preferences &preferences) const;
    std::optional<AchievementsState> loadAchievements(QList<FileDamage> *damaged = nullptr) const;
    Saved saveAchievements(const AchievementsState &state) const;
    QList<PaymentEvent> loadFeed(QList<FileDamage> *damaged = nullptr) const;
    Saved saveFeed(const QList<PaymentEvent> &feed) const;
    QHash<QUuid, Date> loadSyncState(QList<FileDamage> *damaged = nullptr) const;
    Saved saveSyncState(const QHash<QUuid, Date> &state) const;
    // The daily MRR snapshots, oldest first; a snapshot that does not decode is left out.
    QList<MrrSnapshot> loadMrrSnapshots(QList<FileDamage> *damaged = nullptr) const;
    Saved saveMrrSnapshots(const QList<MrrSnapshot> &snapshots) const;

    // At start: the folder and every file in it made private to the user, temporary copies
    // left by an interrupted save removed.
    void tightenFolder() const;

private:
    struct FileRead;
    FileRead readWhole(const char *fileName) const;
    // Records a file that could not be read at all.
    void reportUnreadable(const char *fileName, const QString &reason, QList<FileDamage> *damaged) const;
    void ensureFolder(const QString &path) const;
    // Keeps `bytes` of `fileName` aside and records the damage.
    void reportDamage(const char *fileName, const QByteArray &bytes, qsizetype skipped,
                      QList<FileDamage> *damaged) const;
    QString m_folder;
    QHash<QString, QString> m_heldWrites; // file name -> why it could not be read
};
