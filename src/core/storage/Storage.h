#pragma once

#include "model/Account.h"
#include "model/Achievement.h"
#include "model/PaymentEvent.h"
#include "model/Preferences.h"
#include "storage/FeedCodec.h"

#include <QHash>
#include <QList>

// The data folder and its files. Every file is read whole and written whole with atomic
// replacement; a file that cannot be read or decoded counts as absent, silently.
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

    QList<Account> loadAccounts() const;
    bool saveAccounts(const QList<Account> &accounts) const;
    std::optional<Preferences> loadPreferences() const;
    bool savePreferences(const Preferences &preferences) const;
    std::optional<AchievementsState> loadAchievements() const;
    bool saveAchievements(const AchievementsState &state) const;
    QList<PaymentEvent> loadFeed() const;
    bool saveFeed(const QList<PaymentEvent> &feed) const;
    QHash<QUuid, Date> loadSyncState() const;
    bool saveSyncState(const QHash<QUuid, Date> &state) const;

private:
    void ensureFolder(const QString &path) const;
    QString m_folder;
};
