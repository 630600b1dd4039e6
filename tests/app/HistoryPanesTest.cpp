// The achievements pane's decisions, the drill-down's model and CSV files, and the MRR pane.
#include "AppFixture.h"
#include "model/CurrencyConverter.h"
#include "support/TestUtil.h"
#include "viewmodels/AchievementsModel.h"
#include "viewmodels/DrillDownModel.h"
#include "viewmodels/MrrModel.h"
#include "viewmodels/MrrTexts.h"
#include "mrr/MrrTracker.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

TEST(AchievementsLogic, HandEditsOnlyRaiseRecordsInUSD)
{
    const TimeContext calendar(QTimeZone("Europe/Berlin"), Qt::Monday);
    const AchievementsState stored{.bestDayUSD = 500, .bestDayDate = Date::fromUnix(1'773'100'000)};
    const QDate picked(2025, 12, 24);
    const struct { const char *name; QString draft, currency; double bestDay; bool redated; } cases[] = {
        {"grouped digits", u"1,250"_s, u"USD"_s, 1250, true},
        {"converted from euros", u"1000"_s, u"EUR"_s, 1080, true},
        {"below the record", u"499"_s, u"USD"_s, 500, false},
        {"unreadable", u"lots"_s, u"USD"_s, 500, false},
        {"negative", u"-900"_s, u"USD"_s, 500, false},
        {"empty", u""_s, u"USD"_s, 500, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const auto s = AchievementsLogic::applyDrafts(stored, {{{c.draft, picked}, {}, {}}}, c.currency, calendar);
        EXPECT_DOUBLE_EQ(s.bestDayUSD, c.bestDay);
        EXPECT_EQ(s.bestDayDate == Date::fromDateTime(picked.startOfDay(calendar.zone())), c.redated);
        EXPECT_EQ(s.bestWeekUSD, 0);
    }
    EXPECT_DOUBLE_EQ(AchievementsLogic::inputAmount(1080, u"EUR"_s), 1000);
    EXPECT_DOUBLE_EQ(AchievementsLogic::inputAmount(70, u"XYZ"_s), 70);
}

TEST(AchievementsLogic, CaptionsAndNextMilestones)
{
    Preferences prefs;
    EXPECT_EQ(AchievementsLogic::caption(300, 300, prefs), (AchievementsLogic::Caption{u"New best"_s, true}));
    EXPECT_EQ(AchievementsLogic::caption(0, 0, prefs), (AchievementsLogic::Caption{u"First record"_s, false}));
    EXPECT_EQ(AchievementsLogic::caption(10, 3672, prefs).text, u"Best $3,672"_s);

    // The milestone is the next above the record; the bar is the current period's way to it.
    const AchievementsState s{.bestDayUSD = 100'000, .bestWeekUSD = 999, .bestMonthUSD = 56'488}; // every day milestone reached
    auto rows = AchievementsLogic::nextUp(s, {3000, 999.4, 12'000}, prefs);
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0].period, AchievementPeriod::Week);
    EXPECT_EQ(rows[0].title + u' ' + rows[0].periodName, u"$1,000 in a week"_s);
    EXPECT_EQ(rows[0].percent, u"99%"_s) << "truncated, not rounded";
    EXPECT_EQ(rows[0].toGo, u"This week $999 · $1 to go"_s);
    EXPECT_EQ(rows[1].title, u"$100,000"_s) << "one money form across the pane, not $100K beside $5000";
    EXPECT_EQ(rows[1].toGo, u"This month $12,000 · $88,000 to go"_s);
    EXPECT_DOUBLE_EQ(rows[1].fraction, 0.12) << "this month, not the best month";
    rows = AchievementsLogic::nextUp({}, {60, 0, 0}, prefs);
    EXPECT_EQ(rows[0].title + u' ' + rows[0].toGo, u"$100 Today $60 · $40 to go"_s) << "$50 is reached today, records or not";

    // A typed record that would not be stored says why instead of being dropped on Save.
    const struct { const char *typed; double record; const char *problem; } drafts[] = {
        {"", 500, ""}, {"1,250", 500, ""}, {"500", 500, ""}, {"abc", 500, "Not an amount: type a number such as 1,250"},
        {"-3", 500, "Not an amount: type a number such as 1,250"},
        {"499", 500, "Below the record of $500: records are only raised"}};
    for (const auto &d : drafts)
        EXPECT_EQ(AchievementsLogic::draftProblem(QString::fromUtf8(d.typed), d.record, prefs), QString::fromUtf8(d.problem))
            << d.typed;
}

TEST_F(AppFixture, DrillDownListsCustomersAndWritesCsv)
{
    const QUuid acme = QUuid::createUuid();
    ASSERT_TRUE(storage().saveFeed({event(u"ann"_s, daysAgo(1), RevenueKind::Churn, 49, acme), event(u"bob"_s, daysAgo(2), RevenueKind::Churn, 99, acme),
                        event(u"cat"_s, daysAgo(3), RevenueKind::New, 10, acme), event(u"old"_s, daysAgo(60), RevenueKind::Churn, 5, acme)}));
    RevenueEngine &e = startEngine();
    DrillDownModel model(&e, locale);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setKindName(u"churn"_s);
    EXPECT_EQ(model.title(), u"Canceled subscriptions"_s);
    EXPECT_EQ(model.summaryLine(), u"2 unique customers · 2 events"_s);
    ASSERT_EQ(model.rowCount(), 2);
    const auto role = [&](int row, int r) { return model.data(model.index(row, 0), r).toString(); };
    EXPECT_EQ(role(0, DrillDownModel::DisplayNameRole), u"bob@example.com"_s);
    EXPECT_EQ(role(0, DrillDownModel::AmountTextRole), u"-$99"_s);
    EXPECT_EQ(role(0, DrillDownModel::CountLineRole), u"1× cancel · Payment bob"_s) << "what was cancelled";
    model.copyEmail(0);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"bob@example.com"_s);
    EXPECT_EQ(role(0, DrillDownModel::CopiedRole), u"true"_s);

    const QString file = dir.filePath(u"out.csv"_s);
    ASSERT_TRUE(model.writeCsv(u"customers"_s, file));
    EXPECT_EQ(readFile(file).count("\r\n"), 3);
    ASSERT_TRUE(model.writeCsv(u"events"_s, file));
    EXPECT_EQ(readFile(file).count("\r\n"), 4) << "every kind of the range, the 60-day-old event left out";
    EXPECT_EQ(model.exportStatus(), u"Saved out.csv in "_s + QDir::toNativeSeparators(dir.path()));
    QStringList shown;
    QObject::connect(&model, &DrillDownModel::showInFolderRequested, [&](const QString &path) { shown << path; });
    model.showSavedFile();
    EXPECT_EQ(shown, QStringList{QFileInfo(file).absoluteFilePath()});
    EXPECT_FALSE(model.writeCsv(u"events"_s, dir.filePath(u"missing/out.csv"_s)));
    EXPECT_TRUE(model.exportStatus().startsWith(u"Couldn't save out.csv: "_s));
    EXPECT_EQ(model.savedFile(), u""_s) << "nothing to show after a failed save";
    // The dialog starts in the first of Documents, Downloads and home that exists.
    EXPECT_EQ(DrillDownLogic::exportFolder({dir.filePath(u"missing"_s), dir.path()}), dir.path());
    EXPECT_EQ(DrillDownLogic::exportFolder({QString(), dir.filePath(u"missing"_s)}), QDir::homePath());

    Preferences prefs = e.preferences();
    prefs.privacyMode = true;
    e.setPreferences(prefs);
    EXPECT_EQ(role(0, DrillDownModel::DisplayNameRole), CurrencyConverter::maskEmail(u"bob@example.com"_s));
    ASSERT_TRUE(model.writeCsv(u"customers"_s, file));
    EXPECT_TRUE(readFile(file).contains(",1,99.00,USD,99.00,")) << "privacy mode hides nothing from the export";
    // The kinds without a tile are reached from any drill-down.
    QStringList requested;
    QObject::connect(&model, &DrillDownModel::kindRequested, [&](const QString &kind) { requested << kind; });
    model.kinds()->choose(4);
    EXPECT_EQ(requested, QStringList{u"refund"_s});
    model.setKindName(u"refund"_s);
    const auto &kinds = model.kinds()->items();
    EXPECT_TRUE(kinds.size() == 5 && kinds[4].label == u"REFUND"_s && kinds[4].checked && !kinds[2].checked);
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.emptyText(), u"No refunds in this range."_s);
    EXPECT_EQ(DrillDownLogic::summaryLine(1, 1), u"1 unique customer · 1 event"_s);
}

TEST_F(AppFixture, MrrPaneFiltersMovementsMarksEstimatesAndSetsTheGoal)
{
    const Account demo = Account::newDemoAccount();
    Account shop = Account::newAccount(AccountProvider::PayPal);
    shop.name = u"Shop"_s;
    ASSERT_TRUE(storage().saveAccounts({demo, shop}));
    RevenueEngine &e = startEngine();
    MrrModel model(&e, locale);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QCoro::waitFor(e.mrr()->refresh(e.accounts(), {}, true, {}));
    const MrrState &state = e.mrr()->state();
    ASSERT_FALSE(state.monthMovements.isEmpty());
    EXPECT_EQ(model.approxText(), QString()) << "nothing estimated yet";
    EXPECT_EQ(model.rowCount(), state.monthMovements.size());
    const auto texts = [&](int role) {
        QStringList out;
        for (int row = 0; row < model.rowCount(); ++row)
            out.append(model.data(model.index(row), role).toString());
        return out;
    };
    for (int k = 0; k < model.kinds()->rowCount(); ++k) {
        model.kinds()->choose(k);
        const QString kind = model.kinds()->items()[k].label;
        EXPECT_TRUE(model.kinds()->items()[k].checked);
        EXPECT_EQ(texts(MrrModel::KindTextRole), QStringList(model.rowCount(), kind));
        EXPECT_EQ(model.rowCount(), std::count_if(state.monthMovements.cbegin(), state.monthMovements.cend(),
                                                  [&](const CustomerMovement &m) { return MrrTexts::movementName(m.kind) == kind; }))
            << kind.toStdString();
        model.kinds()->choose(k); // the chosen kind again lists every movement
        EXPECT_EQ(model.rowCount(), state.monthMovements.size());
    }
    const QString file = dir.filePath(u"mrr.csv"_s);
    ASSERT_TRUE(model.writeCsv(file));
    const QList<QByteArray> lines = readFile(file).split('\n');
    EXPECT_EQ(lines.size() - 1, model.rowCount() + 1);
    EXPECT_EQ(lines[0], "customer,customer_id,account,movement,mrr_before_usd,mrr_after_usd,change_usd,approximate\r");
    const CustomerMovement &first = state.monthMovements.first();
    EXPECT_TRUE(lines[1].endsWith(QStringLiteral(",Demo business,%1,%2,%3,%4,no\r").arg(MrrTexts::movementName(first.kind).toLower(),
        QString::number(first.fromUsd, 'f', 2), QString::number(first.toUsd, 'f', 2), QString::number(first.changeUsd(), 'f', 2)).toUtf8()))
        << lines[1].toStdString();
    EXPECT_EQ(model.exportStatus(), u"Saved mrr.csv"_s);

    // A PayPal payer is an estimate: every figure it is part of says so.
    QCoro::waitFor(e.mrr()->refresh(e.accounts(), {event(u"pp"_s, daysAgo(3), RevenueKind::Recurring, 30, shop.id)}, false, {}));
    EXPECT_EQ(model.approxText(), u"approx."_s);
    EXPECT_TRUE(model.entryText().endsWith(u" approx."_s)) << model.entryText().toStdString();

    EXPECT_FALSE(model.setGoal(u"lots"_s));
    EXPECT_FALSE(model.goalError().isEmpty());
    EXPECT_EQ(e.preferences().mrrGoalUsd, 0);
    ASSERT_TRUE(model.setGoal(u"20k"_s));
    EXPECT_DOUBLE_EQ(e.preferences().mrrGoalUsd, 20'000);
    EXPECT_EQ(model.goalText(), u"Goal $20.0K"_s);
    EXPECT_DOUBLE_EQ(model.chart()->goal().value_or(0), 20'000) << "the chart draws the new goal at once";
    ASSERT_TRUE(model.setGoal(u"1"_s));
    EXPECT_EQ(model.goalLine(), u"$1 MRR reached"_s) << "a goal below MRR";
    ASSERT_TRUE(model.setGoal(QString()));
    EXPECT_EQ(model.goalLine(), u"No MRR goal set"_s);
    EXPECT_FALSE(model.chart()->goal().has_value());

    Preferences prefs = e.preferences();
    prefs.privacyMode = true;
    e.setPreferences(prefs);
    EXPECT_FALSE(texts(MrrModel::ChangeTextRole).join(QString()).contains(QRegularExpression(u"\\d"_s)));
    EXPECT_FALSE(texts(MrrModel::FromToTextRole).join(QString()).contains(QRegularExpression(u"\\d"_s)));
}
