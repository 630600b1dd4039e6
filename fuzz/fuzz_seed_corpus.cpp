// Writes a seed corpus per fuzz target, built with the tests' own body builders, into the
// folder given as the only argument: {folder}/{target}/{n}.
#include "core/paypal/PayPalBodies.h"
#include "storage/Storage.h"
#include "support/StripeBodies.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

namespace {

void put(const QString &root, const char *target, const QByteArray &bytes)
{
    QDir dir(root + u'/' + QLatin1StringView(target));
    dir.mkpath(u"."_s);
    QFile file(dir.filePath(QString::number(dir.count())));
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

PaymentEvent sampleEvent(RevenueKind kind)
{
    PaymentEvent e;
    e.id = u"in_1"_s;
    e.date = Date::fromUnix(1'795'000'000);
    e.amount = 29;
    e.currency = u"eur"_s;
    e.usdAmount = 31.32;
    e.accountName = u"Acme"_s;
    e.kind = kind;
    e.description = u"Team plan"_s;
    e.customerEmail = u"a@example.com"_s;
    e.dashboardURL = u"https://dashboard.stripe.com/invoices/in_1"_s;
    return e;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 2)
        return 2;
    const QString root = QString::fromLocal8Bit(argv[1]);
    using namespace StripeBodies;
    for (Shape shape : {Shape::Legacy, Shape::Current}) {
        const QJsonObject inv = invoice(InvoiceFields{}, shape);
        const QJsonObject ch = charge(ChargeFields{}, shape);
        const QJsonObject sub = subscription(SubscriptionFields{}, shape);
        put(root, "fuzz_stripe_page", page({event(u"evt_1"_s, u"invoice.payment_succeeded"_s, 1'795'000'000, inv, shape)}, true));
        put(root, "fuzz_stripe_page", page({event(u"evt_2"_s, u"charge.refunded"_s, 1'795'000'000, ch, shape)}, false));
        put(root, "fuzz_stripe_page", page({event(u"evt_3"_s, u"customer.subscription.deleted"_s, 1'795'000'000, sub, shape)}, false));
        put(root, "fuzz_stripe_page", page({ch}, false, u"/v1/charges"_s));
        put(root, "fuzz_stripe_page", page({sub}, false, u"/v1/subscriptions"_s));
    }
    put(root, "fuzz_stripe_page", error(u"card_error"_s, u"card_declined"_s, u"Your card was declined."_s, u"insufficient_funds"_s));
    put(root, "fuzz_paypal_page", PayPalBodies::pageOf({PayPalBodies::Row{}}));
    put(root, "fuzz_paypal_page", PayPalBodies::tokenBody());

    put(root, "fuzz_remote_version",
        R"({"latest_version":"1.2.0","minimum_version":"1.0.0","download_url":"https://quorvane.example/download",)"
        R"("release_notes":"Faster","force_update":false,"blocking_message":null})");
    put(root, "fuzz_icon_links",
        R"(<html><head><link rel="icon" href="/favicon.ico"><link rel="apple-touch-icon" sizes="180x180" )"
        R"(href="https://cdn.acme.example/touch.png"><LINK REL='shortcut icon' HREF=icon.png></head></html>)");

    // The data files as the program writes them.
    QDir scratch(root + u"/.scratch"_s);
    scratch.mkpath(u"."_s);
    const Storage storage(scratch.path());
    Account stripe = Account::newAccount(AccountProvider::Stripe);
    stripe.name = u"Acme"_s;
    stripe.stripeRestrictedKey = u"rk_live_1"_s;
    stripe.websiteDomain = u"acme.test"_s;
    Preferences prefs;
    bool written = storage.saveAccounts({stripe, Account::newAccount(AccountProvider::PayPal)})
        && storage.savePreferences(prefs)
        && storage.saveFeed({sampleEvent(RevenueKind::New), sampleEvent(RevenueKind::Churn)});
    AchievementsState state;
    state.achievements = {{AchievementPeriod::Day, 1000, Date::fromUnix(1'795'000'000)}};
    state.bestDayUSD = 1234;
    state.bestDayDate = Date::fromUnix(1'795'000'000);
    written = written && storage.saveAchievements(state)
        && storage.saveSyncState({{stripe.id, Date::fromUnix(1'795'000'000)}});
    if (!written)
        return 1;
    const std::pair<const char *, const char *> files[] = {
        {"fuzz_accounts", Storage::accountsFile},         {"fuzz_preferences", Storage::preferencesFile},
        {"fuzz_feed", Storage::feedFile},                 {"fuzz_achievements", Storage::achievementsFile},
        {"fuzz_sync_state", Storage::syncStateFile},
    };
    for (const auto &[target, file] : files)
        put(root, target, storage.read(file).value_or(QByteArray()));
    scratch.removeRecursively();
    return 0;
}
