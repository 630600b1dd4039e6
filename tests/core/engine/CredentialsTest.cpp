#include "EngineFixture.h"

using namespace Qt::StringLiterals;

namespace {

// A keyring in memory that answers at once; `available` false is a desktop without one,
// `refuseWrites` one that fails while storing.
struct MemoryKeyring final : SecretStore
{
    QHash<QString, QByteArray> entries;
    bool available = true;
    bool refuseWrites = false;

    QCoro::Task<ReadResult> read(QString key) override
    {
        if (!available)
            co_return ReadResult{Status::Unavailable, {}};
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
        entries.remove(key);
        co_return available;
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
