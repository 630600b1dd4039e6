#pragma once

#include "model/Account.h"
#include "model/Achievement.h"
#include "model/PaymentEvent.h"
#include "model/Preferences.h"
#include "storage/DamagedFiles.h"
#include "storage/FeedCodec.h"

#include <QHash>
#include <QList>

// The data folder and its files. Every file is read whole and written whole with atomic
// replacement, readable by the user alone. A missing file counts as absent; a file that
// does not decode completely is kept aside first (see DamagedFiles) and reported through
// the loaders' `damaged` list, and what could be read of it is used.
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

    const QString &folder() const { return m_folder; }
    // The accounts file; resolving it creates the data folder when missing.
    QString fileURL() const;
    // The icons folder, created when missing.
    QString iconsDir() const;
    QString pathOf(const char *fileName) const;

    std::optional<QByteArray> read(const char *fileName) const;
    // Writes through a temporary file in the same folder that then replaces the target.
    bool writeAtomically(const char *fileName, const QByteArray &bytes) const;

    // Accounts are decoded one by one: an account that does not decode is left out, the
    // others are kept.
    QList<Account> loadAccounts(QList<FileDamage> *damaged = nullptr) const;
    bool saveAccounts(const QList<Account> &accounts) const;
    std::optional<Preferences> loadPreferences(QList<FileDamage> *damaged = nullptr) const;
    bool savePreferences(const Preferences &preferences) const;
    std::optional<AchievementsState> loadAchievements(QList<FileDamage> *damaged = nullptr) const;
    bool saveAchievements(const AchievementsState &state) const;
    QList<PaymentEvent> loadFeed(QList<FileDamage> *damaged = nullptr) const;
    bool saveFeed(const QList<PaymentEvent> &feed) const;
    QHash<QUuid, Date> loadSyncState(QList<FileDamage> *damaged = nullptr) const;
    bool saveSyncState(const QHash<QUuid, Date> &state) const;

    // At start: the folder and every file in it made private to the user, temporary copies
    // left by an interrupted save removed.
    void tightenFolder() const;

private:
    void ensureFolder(const QString &path) const;
    // Keeps `bytes` of `fileName` aside and records the damage.
    void reportDamage(const char *fileName, const QByteArray &bytes, qsizetype skipped,
                      QList<FileDamage> *damaged) const;
    QString m_folder;
};
