#include "EngineFixture.h"
#include "engine/Credentials.h"

using namespace Qt::StringLiterals;

namespace {

// A keyring in memory that answers at once; `available` false is a desktop without one,
// `refuseWrites` and `refuseRemovals` one that fails while storing or removing, `locked` one
// whose unlock prompt was refused.
struct MemoryKeyring final : SecretStore
{
    QHash<QString, QByteArray> entries;
    bool available = true;
    bool refuseWrites = false;
    bool refuseRemovals = false;
    bool locked = false;

    QCoro::Task<ReadResult> read(QString key) override
    {
        if (!available || locked)
            co_return ReadResult{available ? Status::Locked : Status::Unavailable, {}};
        const auto it = entries.constFind(key);
        co_return it == entries.cend() ? ReadResult{Status::NotFound, {}} : ReadResult{Status::Ok, *it};
    }
    QCoro::Task<bool> write(QString key, QByteArray value) override
    {
        if (!available || refuseWrites)
            co_return false;
        entries.insert(key, value);
        co_return true;
    }
    QCoro::Task<bool> remove(QString key) override
    {
        if (!available || refuseRemovals)
            co_return false;
        entries.remove(key);
        co_return true;
    }
};

} // namespace

// Keys move from the file into the keyring only once the keyring holds them; without a
// keyring, or when it refuses, the private file keeps every key. Removing the account removes
// its keyring entry.
TEST_F(EngineFixture, KeysMoveToTheKeyringAndAreNeverLostAndGoWithTheirAccount)
{
    const struct { const char *name; bool available, refuseWrites, keyInFile; } cases[] = {
        {"keyring", true, false, false},
        {"no keyring", false, false, true},
        {"keyring refuses", true, true, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        QTemporaryDir folder;
        const Storage files(folder.path());
        const Account acme = stripeAccount(u"Acme"_s, u"rk_live_plain"_s);
        ASSERT_TRUE(files.saveAccounts({acme}));
        auto keyring = std::make_shared<MemoryKeyring>();
        keyring->available = c.available;
        keyring->refuseWrites = c.refuseWrites;
        EngineEnvironment env = environment();
        env.storage = files;
        env.secrets = keyring;

        auto first = std::make_unique<RevenueEngine>(env);
        EXPECT_TRUE(first->credentialsReady());
        EXPECT_EQ(files.read(Storage::accountsFile)->contains("rk_live_plain"), c.keyInFile);
        Account edited = acme;
        edited.stripeRestrictedKey = u"rk_live_new"_s;
        first->upsertAccount(edited);
        EXPECT_EQ(files.read(Storage::accountsFile)->contains("rk_live_new"), c.keyInFile);
        EXPECT_EQ(first->lastError().value_or(QString()).contains(u"kept in Quorvane's accounts file"_s), c.refuseWrites)
            << "a refused key is not moved to the file unsaid";
        first.reset();

        RevenueEngine second(env);
        ASSERT_EQ(second.accounts().size(), 1);
        EXPECT_EQ(second.accounts()[0].stripeRestrictedKey, u"rk_live_new"_s) << "a restart reads the key back";
        EXPECT_EQ(keyring->entries.size(), c.keyInFile ? 0 : 1);
        second.removeAccount(edited);
        EXPECT_TRUE(keyring->entries.isEmpty());
        EXPECT_TRUE(files.loadAccounts().isEmpty());
    }
}

// A removal the keyring missed (away, or refusing it) is tried again at the next start. A
// locked keyring is named, and the accounts file stays as it was.
TEST_F(EngineFixture, KeyRemovalsOutliveTheKeyringsAbsenceAndALockedKeyringIsNamed)
{
    const struct { const char *name; bool available, refuseRemovals, locked; } rows[] = {
        {"keyring away at removal", false, false, false},
        {"removal refused", true, true, false},
        {"keyring locked", true, false, true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        QTemporaryDir folder;
        const Storage files(folder.path());
        const Account acme = stripeAccount(u"Acme"_s, u"rk_live_kept"_s);
        ASSERT_TRUE(files.saveAccounts({Credentials::stripped(acme)}));
        const QByteArray before = *files.read(Storage::accountsFile);
        auto keyring = std::make_shared<MemoryKeyring>();
        keyring->entries.insert(Credentials::keyOf(acme), Credentials::encode(acme));
        keyring->available = row.available;
        keyring->refuseRemovals = row.refuseRemovals;
        keyring->locked = row.locked;
        EngineEnvironment env = environment();
        env.storage = files;
        env.secrets = keyring;
        {
            RevenueEngine first(env);
            if (row.locked) {
                QCoro::waitFor(first.refresh());
                EXPECT_EQ(*files.read(Storage::accountsFile), before);
                const QString error = first.lastError().value_or(QString());
                EXPECT_TRUE(error.startsWith(u"The keyring is locked: "_s)) << error.toStdString();
                EXPECT_TRUE(error.endsWith(u"[Acme] The keyring is locked"_s)) << error.toStdString();
            }
            first.removeAccount(acme);
            EXPECT_EQ(keyring->entries.size(), 1);
        }
        keyring->available = true;
        keyring->refuseRemovals = keyring->locked = false;
        const RevenueEngine second(env);
        EXPECT_TRUE(second.accounts().isEmpty());
        EXPECT_TRUE(keyring->entries.isEmpty()) << "removed at the next start";
    }
}
