#include "AppFixture.h"
#include "support/CannedProviders.h"
#include "support/FakeHttpServer.h"
#include "support/TestUtil.h"
#include "viewmodels/AccountsModel.h"
#include "viewmodels/CopiedEmail.h"
#include "viewmodels/DashboardModel.h"
#include "viewmodels/GeneralSettingsModel.h"
#include "viewmodels/MrrModel.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace {

QStringList column(const QAbstractItemModel &model, const QByteArray &role)
{
    const int r = model.roleNames().key(role, -1);
    QStringList out;
    for (int i = 0; i < model.rowCount(); ++i)
        out.append(model.data(model.index(i, 0), r).toString());
    return out;
}

QJsonObject preferencesOnDisk(const Storage &storage)
{
    return QJsonDocument::fromJson(storage.read(Storage::preferencesFile).value_or(QByteArray())).object();
}

} // namespace

TEST(DashboardLogic, HeadlineCases)
{
    Preferences prefs;
    const Totals totals{1200, 148, 99};
    const QSet<RevenueKind> none;
    using Headline = DashboardLogic::Headline;
    using State = Headline::State;
    const struct { const char *name; QSet<RevenueKind> failed; bool incomplete, privacy; Headline expected; }
        cases[] = {
        {"amount with churn line", none, false, false, {State::Amount, u"$1348"_s, u"MRR lost from cancellations: -$99"_s}},
        {"loading deeper history", none, true, false, {State::Loading, {}, {}}},
        {"both revenue kinds failed", {RevenueKind::New, RevenueKind::Recurring}, false, false, {State::Unavailable, {}, {}}},
        {"one revenue kind failed", {RevenueKind::New}, false, false, {State::Amount, u"$1348"_s, u"MRR lost from cancellations: -$99"_s}},
        {"churn unavailable hides the line", {RevenueKind::Churn}, false, false, {State::Amount, u"$1348"_s, {}}},
        {"privacy masks both", none, false, true, {State::Amount, u"$••••"_s, u"MRR lost from cancellations: -$••••"_s}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        prefs.privacyMode = c.privacy;
        EXPECT_EQ(DashboardLogic::headline(totals, c.failed, prefs, c.incomplete), c.expected);
    }
    prefs.privacyMode = false;
    EXPECT_TRUE(DashboardLogic::headline(Totals{10, 0, 0}, none, prefs, false).churnLine.isEmpty());
}

TEST_F(AppFixture, HistoricalLimitStartsPastThirtyDays)
{
    const struct { const char *name; TimeRange range; double customDaysAgo; bool limit; } cases[] = {
        {"month to date", TimeRange::Mtd, 0, false},
        {"last 30 days", TimeRange::Last30Days, 0, false},
        {"last 90 days", TimeRange::Last90Days, 0, true},
        {"custom from 29 days ago", TimeRange::Custom, 29, false},
        {"custom from 31 days ago", TimeRange::Custom, 31, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const Date start = daysAgo(c.customDaysAgo);
        EXPECT_EQ(DashboardLogic::rangeHasHistoricalLimit(c.range, start, now(), calendar), c.limit);
        EXPECT_EQ(DashboardLogic::isRangeDataIncomplete(c.range, start, true, now(), calendar), c.limit);
        EXPECT_FALSE(DashboardLogic::isRangeDataIncomplete(c.range, start, false, now(), calendar));
    }
}

TEST_F(AppFixture, DashboardSplitsFeedAtRangeStartWithDivider)
{
    const Account acme{.name = u"Acme"_s}, beta{.name = u"Beta"_s}, quiet{.name = u"Quiet"_s};
    ASSERT_TRUE(storage().saveAccounts({acme, beta, quiet}));
    // Range: last 7 days. Two events inside, two older, one from the other account.
    ASSERT_TRUE(storage().saveFeed({event(u"a"_s, daysAgo(0.1), RevenueKind::New, 49, acme.id),
                        event(u"b"_s, daysAgo(3), RevenueKind::Churn, 29, acme.id),
                        event(u"c"_s, daysAgo(4), RevenueKind::Recurring, 99, beta.id, u"Beta"_s),
                        event(u"d"_s, daysAgo(12), RevenueKind::Recurring, 99, acme.id),
                        event(u"e"_s, daysAgo(20), RevenueKind::Refund, 15, acme.id)}));
    Preferences prefs = Preferences::defaults(now(), calendar);
    prefs.selectedRange = TimeRange::Last7Days;
    ASSERT_TRUE(storage().savePreferences(prefs));
    RevenueEngine &engine = startEngine();
    DashboardModel dashboard(&engine, locale);
    QAbstractItemModelTester feedTester(dashboard.feed(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    QAbstractItemModelTester filterTester(dashboard.accountFilters(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    QAbstractItemModelTester rangeTester(dashboard.ranges(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    QAbstractItemModelTester tileTester(dashboard.tiles(), QAbstractItemModelTester::FailureReportingMode::Fatal);

    EXPECT_EQ(column(*dashboard.feed(), "eventId"), (QStringList{u"a"_s, u"b"_s, u"c"_s, QString(), u"d"_s, u"e"_s}));
    EXPECT_EQ(column(*dashboard.feed(), "dividerText")[3], u"Older than last 7 days");
    // Hairlines separate event rows only: none before the divider and none after the last row.
    EXPECT_EQ(column(*dashboard.feed(), "hairline").join(u' '), u"true true false false true false");
    EXPECT_EQ(column(*dashboard.feed(), "amountText").join(u'|'), u"$ 49|-$ 29|$ 99||$ 99|$ 15");
    EXPECT_EQ(dashboard.feedCount(), 5);

    // Filtering to the other account leaves only its event; no divider without older events.
    dashboard.accountFilters()->choose(3);
    EXPECT_EQ(dashboard.accountFilterLabel(), u"Beta");
    EXPECT_EQ(column(*dashboard.feed(), "eventId"), QStringList{u"c"_s});
    EXPECT_EQ(dashboard.feedCount(), 1) << "the count is of the rows shown";
    EXPECT_EQ(column(*dashboard.accountFilters(), "isChecked").join(u' '), u"false false false true false");
    dashboard.accountFilters()->choose(4);
    EXPECT_EQ(dashboard.feedCount(), 0);
    EXPECT_EQ(dashboard.feedEmptyText(), u"No activity for Quiet in this range");
    dashboard.accountFilters()->choose(3);
    // The filtered account is deleted: the label falls back.
    engine.removeAccount(beta);
    EXPECT_EQ(dashboard.accountFilterLabel(), u"All accounts");

    dashboard.accountFilters()->choose(0);
    dashboard.ranges()->choose(3); // last 90 days: nothing older
    EXPECT_EQ(preferencesOnDisk(storage()).value(u"selectedRange"_s).toString(), u"last90Days");
    EXPECT_EQ(dashboard.feed()->olderCount(), 0);
    EXPECT_EQ(dashboard.rangeTitle(), u"Revenue • Last 90 days");
    EXPECT_TRUE(dashboard.rangeHasHistoricalLimit());
}

TEST_F(AppFixture, DashboardMarksTheDemoAndOffersToRemoveItOnceAnOwnAccountIsIn)
{
    RevenueEngine &engine = startEngine();
    DashboardModel dashboard(&engine, locale);
    const auto marks = [&] { return std::pair(dashboard.showsDemo(), dashboard.offersDemoRemoval()); };
    engine.addDemoAccount();
    EXPECT_EQ(marks(), std::pair(true, false));
    const Account acme{.name = u"Acme"_s};
    engine.upsertAccount(acme);
    EXPECT_EQ(marks(), std::pair(true, true));
    dashboard.keepDemo();
    EXPECT_EQ(marks(), std::pair(true, false));
    dashboard.removeDemo();
    EXPECT_EQ(marks(), std::pair(false, false));
    EXPECT_EQ(engine.accounts(), QList<Account>{acme});
}

TEST_F(AppFixture, FeedRowsOpenOneAtATimeAndCopyTheRealEmail)
{
    const Account acme{.name = u"acme"_s};
    ASSERT_TRUE(storage().saveAccounts({acme}));
    ASSERT_TRUE(storage().saveFeed({event(u"a"_s, daysAgo(0.1), RevenueKind::New, 49, acme.id, u"acme"_s),
                        event(u"b"_s, daysAgo(1), RevenueKind::Recurring, 99, acme.id, u"acme"_s)}));
    Preferences prefs = Preferences::defaults(now(), calendar);
    prefs.privacyMode = true;
    ASSERT_TRUE(storage().savePreferences(prefs));
    RevenueEngine &engine = startEngine();
    DashboardModel dashboard(&engine, locale);
    FeedModel &feed = *dashboard.feed();
    QAbstractItemModelTester tester(&feed, QAbstractItemModelTester::FailureReportingMode::Fatal);

    EXPECT_EQ(column(feed, "letter"), (QStringList{u"A"_s, u"A"_s}));
    EXPECT_EQ(column(feed, "emailText")[0], u"a••••@e••••.com");
    for (const auto &[row, expanded] : {std::pair{0, "true false"}, {1, "false true"}, {1, "false false"}}) {
        feed.toggle(row);
        EXPECT_EQ(column(feed, "expanded").join(u' '), QLatin1StringView(expanded)) << "toggled row " << row;
    }

    feed.copyEmail(0);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"a@example.com");
    EXPECT_EQ(column(feed, "copied"), (QStringList{u"true"_s, u"false"_s}));
    EXPECT_TRUE(waitUntil([&] { return column(feed, "copied")[0] == u"false"_s; }, CopiedEmail::lastsMs + 1500));
}

TEST_F(AppFixture, CopiedMarkFollowsTheLatestCopyAndLastsFromIt)
{
    const int lasts = 1000 * waitScale;
    CopiedEmail copied(lasts);
    QSignalSpy changed(&copied, &CopiedEmail::changed);
    copied.copy(std::nullopt);
    copied.copy(u""_s);
    EXPECT_EQ(changed.count(), 0) << "nothing to copy";

    QElapsedTimer clock;
    clock.start();
    copied.copy(u"a@example.com"_s);
    copied.copy(u"b@example.com"_s);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"b@example.com");
    EXPECT_FALSE(copied.marks(u"a@example.com"_s));
    EXPECT_TRUE(copied.marks(u"b@example.com"_s));
    waitUntil([&] { return clock.elapsed() >= lasts / 2; });
    copied.copy(u"b@example.com"_s);
    waitUntil([&] { return clock.elapsed() >= lasts * 6 / 5; });
    EXPECT_TRUE(copied.marks(u"b@example.com"_s)) << "copied again half-way, so the mark outlives the first moment";
    EXPECT_TRUE(waitUntil([&] { return !copied.marks(u"b@example.com"_s); }, 2000));
}

TEST_F(AppFixture, TilesShowDashForUnavailableKinds)
{
    Preferences prefs;
    const auto tiles = TilesModel::tiles(Totals{1200, 300, 45}, {RevenueKind::Churn}, prefs);
    ASSERT_EQ(tiles.size(), 3);
    EXPECT_EQ(QStringList({tiles[0].value, tiles[1].value, tiles[2].value}), (QStringList{u"$1200"_s, u"$300"_s, u"—"_s}));
    EXPECT_TRUE(tiles[2].unavailable);
    EXPECT_EQ(TilesModel::tiles(Totals{1200, 300, 45}, {}, prefs)[2].value, u"-$45");
    prefs.dashboardCurrency = u"EUR"_s;
    EXPECT_EQ(TilesModel::tiles(Totals{108, 0, 0}, {}, prefs)[0].value, u"€100");

    TilesModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setTiles(tiles);
    EXPECT_EQ(column(model, "name"), (QStringList{u"NEW"_s, u"RECURRING"_s, u"CHURN"_s}));
    EXPECT_EQ(column(model, "tooltip")[2], u"Click to see canceled subscriptions");
}

TEST_F(AppFixture, DashboardPrivacyToggleAndCustomRangeSaveThePreferences)
{
    RevenueEngine &engine = startEngine();
    DashboardModel dashboard(&engine, locale);
    EXPECT_FALSE(dashboard.hasAccounts());
    EXPECT_EQ(dashboard.privacySymbol(), u"eye");
    dashboard.togglePrivacy();
    EXPECT_EQ(dashboard.privacySymbol(), u"eye.slash.fill");
    EXPECT_EQ(dashboard.privacyTooltip(), u"Privacy mode ON — numbers hidden. Click to show.");
    EXPECT_TRUE(preferencesOnDisk(storage()).value(u"privacyMode"_s).toBool());

    dashboard.selectRange(TimeRange::Custom);
    EXPECT_TRUE(dashboard.isCustomRange());
    const QDate today = calendar.local(now()).date();
    // An end before the start is pulled up to the start; a start in the future back to today.
    dashboard.setCustomRange(today.addDays(-40), today.addDays(-50));
    EXPECT_EQ(calendar.local(engine.preferences().customRangeStart).date(), today.addDays(-40));
    EXPECT_EQ(calendar.local(engine.preferences().customRangeEnd).date(), today.addDays(-40));
    EXPECT_TRUE(dashboard.rangeHasHistoricalLimit());
    dashboard.customEnd()->pick(20); // some day of the shown month, within its bounds or ignored
    EXPECT_GE(engine.preferences().customRangeEnd, engine.preferences().customRangeStart);
    dashboard.setCustomRange(today.addDays(5), today.addDays(9));
    EXPECT_EQ(calendar.local(engine.preferences().customRangeStart).date(), today);
}

// Every text that carries a figure shows a digit with privacy off and none with it on; the
// counts beside a figure ("· 2 · $148/mo") are cut off first, and no price is quoted with a quantity.
TEST_F(AppFixture, PrivacyModeHidesEveryFigureOfEveryPane)
{
    FakeHttpServer stripe;
    CannedProviders::installStripe(stripe, CannedProviders::Scenario::AtRisk, now()); // one plan name quotes its price
    const Account acme{.name = u"Acme"_s, .stripeRestrictedKey = u"rk_test_1"_s};
    ASSERT_TRUE(storage().saveAccounts({acme}));
    PaymentEvent sale = event(u"sale"_s, daysAgo(0.1), RevenueKind::New, 49, acme.id),
                 topUp = event(u"top"_s, daysAgo(2), RevenueKind::New, 19.99, acme.id);
    sale.description = u"Pro (at $49.00 / month)"_s, topUp.description = u"Credit top-up 19.99"_s;
    topUp.customerEmail.reset();
    ASSERT_TRUE(storage().saveFeed({sale, topUp, event(u"gone"_s, daysAgo(2), RevenueKind::Churn, 49, acme.id)}));
    ASSERT_TRUE(storage().saveAchievements({.achievements = {{AchievementPeriod::Day, 50, daysAgo(3)}}, .bestDayUSD = 75}));
    AppOptions options = appOptions();
    options.environment.endpoints.stripeApi = stripe.baseUrl();
    QuorvaneApp app(options);
    RevenueEngine &e = *app.engine();
    QCoro::waitFor(e.runAtRiskRefresh());
    ASSERT_EQ(e.atRiskSubs().size(), 4);
    DashboardModel &dashboard = *app.dashboard();
    AtRiskModel &atRisk = *app.atRisk();
    DrillDownModel &drillDown = *app.drillDown();
    AchievementsModel &achievements = *app.achievements();
    MrrModel &mrr = *app.mrr();
    ASSERT_TRUE(mrr.setGoal(u"10000"_s));
    drillDown.setKind(RevenueKind::New);

    const auto figures = [&] {
        QStringList readouts, sectionSums, records;
        for (int day = 0; day < dashboard.chart()->dayCount(); ++day)
            readouts.append(dashboard.chart()->readout(day).section(u'\n', 1)); // below the date
        for (int row = 0; row < atRisk.rowCount(); ++row)
            if (atRisk.data(atRisk.index(row), AtRiskModel::IsHeaderRole).toBool())
                sectionSums.append(atRisk.data(atRisk.index(row), AtRiskModel::DetailRole).toString().section(u'·', 2));
        for (const QVariantList &list : {achievements.current(), achievements.nextUpRows(), achievements.unlocked()})
            for (const QVariant &entry : list) // without the dates and percentages
                for (const QString &key : {u"title"_s, u"value"_s, u"caption"_s, u"toGo"_s})
                    records.append(entry.toMap().value(key).toString());
        achievements.toggleEditing();
        records.append(achievements.property("dayDraft").toString());
        achievements.discardEditing();
        return QList<std::pair<const char *, QStringList>>{
            {"headline and banner", {dashboard.headlineAmount(), dashboard.churnLine(), dashboard.atRiskAmountLine()}},
            {"banner tooltip", {dashboard.atRiskTooltip().section(u'·', 1)}},
            {"tiles", column(*dashboard.tiles(), "value")},
            {"chart readouts", readouts},
            {"chart axis", dashboard.chart()->yLabels()},
            {"feed amounts", column(*dashboard.feed(), "amountText")},
            {"feed descriptions quoting prices", column(*dashboard.feed(), "description")},
            {"at-risk total and sections", QStringList{atRisk.totalText()} + sectionSums},
            {"at-risk rows", column(atRisk, "amountText")},
            {"at-risk plan names quoting prices", column(atRisk, "title")},
            {"drill-down amounts", QStringList{drillDown.totalText()} + column(drillDown, "amountText")},
            {"drill-down customer named by a description", column(drillDown, "displayName")},
            {"records, milestones and the draft of a record", records},
            {"tray", {app.trayLabel(), app.trayPresentation().toolTipTitle}},
            {"MRR figures and goal", {mrr.mrrText(), mrr.entryText(), mrr.arrText(), mrr.netNewText(), mrr.arpaText(), mrr.goalText()}},
            {"MRR movement totals and chart axes", mrr.kindAmounts() + mrr.chart()->mrrLabels() + mrr.chart()->barLabels()},
        };
    };
    for (const bool privacy : {false, true}) {
        Preferences prefs = e.preferences();
        prefs.privacyMode = privacy;
        e.setPreferences(prefs);
        for (const auto &[name, texts] : figures()) {
            const QString shown = texts.join(u" | "_s);
            EXPECT_EQ(shown.contains(QRegularExpression(u"\\d"_s)), !privacy) << name << ": " << shown.toStdString();
        }
    }
}

TEST_F(AppFixture, HeadlineWarnsOnlyWhenAConnectedAccountFailedToLoad)
{
    FakeHttpServer stripe;
    stripe.setFallback([](const RecordedRequest &) { return FakeResponse::json(401, "{\"error\":{}}"); });
    EngineEnvironment env = environment();
    env.endpoints.stripeApi = stripe.baseUrl();
    RevenueEngine &e = *(engine = std::make_unique<RevenueEngine>(env));
    DashboardModel dashboard(&e, locale);
    ASSERT_EQ(e.unavailableKinds().size(), 5);
    EXPECT_EQ(dashboard.headlineState(), u"noAccount") << "nothing failed while no account is connected";
    e.upsertAccount({.name = u"Acme"_s, .stripeRestrictedKey = u"rk_test_1"_s});
    EXPECT_EQ(dashboard.headlineState(), u"loading") << "nothing has been loaded yet";
    EXPECT_EQ(column(*dashboard.tiles(), "loading").join(u' '), u"true true true");
    EXPECT_EQ(column(*dashboard.tiles(), "value").join(QString()), QString()) << "no $0 while the first load runs";
    QCoro::waitFor(e.refresh());
    EXPECT_EQ(dashboard.headlineState(), u"unavailable") << "the account's load failed";
    EXPECT_EQ(column(*dashboard.tiles(), "loading").join(u' '), u"false false false");
    // The banner leads to the refused key's editor.
    EXPECT_EQ(dashboard.errorSummary(), u"Stripe rejected the key for Acme — edit it");
    QList<QUuid> edited;
    QObject::connect(&dashboard, &DashboardModel::accountEditRequested, [&](const QUuid &id) { edited.append(id); });
    dashboard.actOnError();
    EXPECT_EQ(edited, QList<QUuid>{e.accounts()[0].id});
}

TEST(Accounts, ValidationTrimsAndComparesInLowerCase)
{
    // reason: part of the text that says why Save is disabled
    const struct { const char *name; AccountProvider provider; const char *key, *clientId, *secret; bool valid;
                   const char *reason; } cases[] = {
        {"restricted key", AccountProvider::Stripe, "rk_live_abc", "", "", true, ""},
        {"upper case with spaces", AccountProvider::Stripe, "  RK_live_abc  ", "", "", true, ""},
        {"secret key", AccountProvider::Stripe, "sk_live_abc", "", "", false, "secret key"},
        {"publishable key", AccountProvider::Stripe, " pk_live_abc", "", "", false, "publishable key"},
        {"other text", AccountProvider::Stripe, "hello", "", "", false, "starts with rk_"},
        {"empty key", AccountProvider::Stripe, "", "", "", false, "Paste a restricted"},
        {"paypal credentials", AccountProvider::PayPal, "", "AZ-client", "EL-secret", true, ""},
        {"paypal secret of spaces", AccountProvider::PayPal, "", "AZ-client", "   ", false, "secret"},
        {"paypal without id", AccountProvider::PayPal, "rk_live_abc", "", "EL-secret", false, "client ID"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const Account a{.provider = c.provider, .stripeRestrictedKey = QString::fromUtf8(c.key),
                        .paypalClientId = QString::fromUtf8(c.clientId), .paypalSecret = QString::fromUtf8(c.secret)};
        EXPECT_EQ(AccountEditor::isValid(a), c.valid);
        const QString reason = AccountEditor::invalidReason(a);
        EXPECT_EQ(reason.isEmpty(), c.valid);
        EXPECT_TRUE(reason.contains(QString::fromUtf8(c.reason))) << reason.toStdString();
    }
}

TEST(Accounts, UnnamedAccountsAreNumberedInTitlesAndNamedInTheFilter)
{
    const Account first, second{.name = u"Acme"_s};
    const QList<Account> two{first, second};
    EXPECT_EQ(DashboardLogic::accountFilterLabel({first}, first.id), u"Account");
    EXPECT_EQ(AccountsModel::nextAccountNumberTitle(Account::newAccount(AccountProvider::Stripe), {}), u"Account 1");
    EXPECT_EQ(AccountsModel::nextAccountNumberTitle(Account::newAccount(AccountProvider::Stripe), two), u"Account 3");
    EXPECT_EQ(AccountsModel::nextAccountNumberTitle(first, two), u"Account 1");
    EXPECT_EQ(AccountsModel::nextAccountNumberTitle(second, two), u"Acme");
}

TEST(Accounts, ProviderLinks)
{
    const QUrl url = ProviderLinks::stripeCreateURL();
    EXPECT_EQ(url.host(), u"dashboard.stripe.com");
    EXPECT_EQ(url.path(), u"/apikeys/create");
    QList<std::pair<QString, QString>> expected = {{u"name"_s, u"Quorvane"_s}};
    for (const char *p : {"charge_read", "invoice_read", "subscription_read", "customer_read", "event_read", "account_read", "invoice_write"})
        expected.append({u"permissions[]"_s, u"rak_"_s + QLatin1StringView(p)});
    EXPECT_EQ(QUrlQuery(url).queryItems(QUrl::FullyDecoded), expected);
    EXPECT_TRUE(AccountEditor::paypalHelpText(false).contains(u"/dashboard/applications/sandbox)"_s));
    EXPECT_TRUE(AccountEditor::paypalHelpText(true).contains(u"/dashboard/applications/live)"_s));
}

TEST_F(AppFixture, AccountsPaneAddsEditsDisablesAndRemoves)
{
    RevenueEngine &engine = startEngine();
    AccountsModel accounts(&engine);
    QAbstractItemModelTester tester(&accounts, QAbstractItemModelTester::FailureReportingMode::Fatal);
    EXPECT_TRUE(accounts.isEmpty());

    accounts.addAccount(u"stripe"_s);
    ASSERT_NE(accounts.editor(), nullptr);
    AccountEditor *editor = accounts.editor();
    EXPECT_EQ(editor->titleText(), u"Account 1");
    EXPECT_FALSE(editor->isValid());
    editor->save(); // refused while invalid
    EXPECT_TRUE(engine.accounts().isEmpty());
    editor->setStripeRestrictedKey(u" rk_test_123 "_s);
    editor->setName(u"  Acme  "_s);
    editor->setWebsite(u" https://www.Acme.io/x"_s);
    EXPECT_EQ(editor->titleText(), u"Acme");
    editor->save();
    EXPECT_EQ(accounts.editor(), nullptr);
    ASSERT_EQ(engine.accounts().size(), 1);
    EXPECT_EQ(engine.accounts()[0].stripeRestrictedKey, u"rk_test_123"); // pasted keys are trimmed
    EXPECT_EQ(engine.accounts()[0].websiteDomain, u"acme.io"_s);
    const struct { const char *typed, *domain; } websites[] = {{" https://www.Acme.io/pricing ", "acme.io"},
        {"shop.example.com", "shop.example.com"}, {"", ""}, {"not a site", ""}, {"localhost", ""}};
    for (const auto &w : websites)
        EXPECT_EQ(AccountEditor::websiteDomain(QString::fromUtf8(w.typed)), QString::fromUtf8(w.domain)) << w.typed;
    EXPECT_EQ(storage().loadAccounts().size(), 1);

    accounts.addAccount(u"paypal"_s);
    accounts.editor()->cancel();
    EXPECT_EQ(accounts.editor(), nullptr);
    EXPECT_EQ(engine.accounts().size(), 1);

    accounts.setEnabled(0, false);
    EXPECT_FALSE(storage().loadAccounts()[0].enabled);
    EXPECT_EQ(column(accounts, "provider"), QStringList{u"Stripe"_s});
    accounts.edit(0);
    EXPECT_EQ(accounts.editor()->titleText(), u"Acme");
    accounts.closeEditor();
    const QModelIndex row = accounts.index(0);
    for (const bool confirmed : {false, true}) { // asked first; only a confirmed removal deletes
        accounts.askToRemove(0);
        EXPECT_TRUE(row.data(AccountsModel::RemovalPendingRole).toBool());
        EXPECT_EQ(accounts.removalQuestion(), u"Remove Acme? Its key is deleted from this computer.");
        EXPECT_EQ(storage().loadAccounts().size(), 1);
        confirmed ? accounts.confirmRemoval() : accounts.cancelRemoval();
        EXPECT_EQ(accounts.removalQuestion(), u"");
    }
    EXPECT_TRUE(accounts.isEmpty());
    EXPECT_TRUE(storage().loadAccounts().isEmpty());
    const struct { AccountProvider provider; const char *name; bool keyring; const char *asked; } questions[] = {
        {AccountProvider::PayPal, "Design Shop", true, "Remove Design Shop? Its client secret is deleted from the keyring."},
        {AccountProvider::Stripe, "Acme", true, "Remove Acme? Its key is deleted from the keyring."},
        {AccountProvider::Demo, "Demo business", true, "Remove Demo business? Its made-up figures leave the dashboard."}};
    for (const auto &q : questions)
        EXPECT_EQ(AccountsModel::removalQuestion({.name = QString::fromUtf8(q.name), .provider = q.provider}, q.keyring),
                  QString::fromUtf8(q.asked));
}

TEST_F(AppFixture, GeneralPaneWritesEveryChangeAndBoundsTheStepper)
{
    RevenueEngine &engine = startEngine();
    GeneralSettingsModel general(&engine);
    general.setShowRefunds(true);
    EXPECT_TRUE(preferencesOnDisk(storage()).value(u"showRefunds"_s).toBool());
    general.setDarkMode(false);
    EXPECT_FALSE(preferencesOnDisk(storage()).value(u"darkMode"_s).toBool());
    general.setTrayShowsMrr(true);
    general.setMrrCountsTrials(true);
    EXPECT_TRUE(preferencesOnDisk(storage()).value(u"menubarShowsMrr"_s).toBool());
    EXPECT_TRUE(preferencesOnDisk(storage()).value(u"mrrCountTrials"_s).toBool());
    general.setCurrencyIndex(4);
    EXPECT_EQ(preferencesOnDisk(storage()).value(u"dashboardCurrency"_s).toString(), u"CAD");
    EXPECT_EQ(general.currencyLabels().first(), u"USD – US Dollar");

    const struct { qint64 from; int direction; qint64 to; } steps[]
        = {{60, 1, 90}, {60, -1, 30}, {30, -1, 30}, {600, 1, 600}, {570, 1, 600}, {45, -1, 30}, {15, 1, 45}};
    for (const auto &s : steps)
        EXPECT_EQ(GeneralSettingsModel::steppedRefresh(s.from, s.direction), s.to) << s.from;
    general.stepRefresh(1);
    EXPECT_EQ(general.refreshLabel(), u"Every 90 seconds");
    EXPECT_EQ(preferencesOnDisk(storage()).value(u"refreshSeconds"_s).toInt(), 90);
}

TEST(DatePicker, GridStartsOnTheFirstWeekdayAndHonoursBounds)
{
    const struct { QLocale locale; const char *header; } headers[] = {{QLocale(QLocale::English, QLocale::UnitedStates), "S M T W T F S"},
        {QLocale::c(), "M T W T F S S"}, {QLocale(QLocale::German, QLocale::Germany), "M D M D F S S"}};
    for (const auto &h : headers)
        EXPECT_EQ(DatePickerModel(h.locale).weekdayNames().join(u' '), QString::fromUtf8(h.header));
    DatePickerModel picker(QLocale(QLocale::English, QLocale::UnitedStates)); // weeks start on Sunday
    QAbstractItemModelTester tester(&picker, QAbstractItemModelTester::FailureReportingMode::Fatal);
    picker.setState(QDate(2026, 3, 10), QDate(2026, 3, 5), QDate(2026, 3, 10));
    EXPECT_EQ(picker.monthTitle(), u"March 2026");
    EXPECT_EQ(picker.selectedText(), u"Mar 10, 2026");
    EXPECT_EQ(picker.cellDate(0), QDate(2026, 3, 1)); // March 2026 begins on a Sunday
    EXPECT_FALSE(picker.canGoBack());
    EXPECT_FALSE(picker.canGoForward());
    QList<QDate> picked;
    QObject::connect(&picker, &DatePickerModel::picked, [&](QDate d) { picked.append(d); });
    picker.pick(3);  // Mar 4: before the minimum
    picker.pick(11); // Mar 12: after the maximum
    picker.pick(6);  // Mar 7
    EXPECT_EQ(picked, QList<QDate>{QDate(2026, 3, 7)});
    EXPECT_EQ(picker.selected(), QDate(2026, 3, 7));
}
