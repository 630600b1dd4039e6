#include "model/CurrencyConverter.h"
#include "viewmodels/ChartModel.h"
#include "shell/TrayProblem.h"
#include "viewmodels/ErrorSummary.h"
#include "viewmodels/Formatting.h"
#include "viewmodels/MrrChartModel.h"
#include "viewmodels/MrrTexts.h"

#include <limits>
#include <QRegularExpression>
#include <QTimeZone>
#include <QUrl>
#include <gtest/gtest.h>

using namespace Formatting;
using namespace Qt::StringLiterals;

TEST(Formatting, DurationPicksMillisecondsSecondsOrMinutes)
{
    const struct { double seconds; const char *expected; } cases[] = {{0.25, "250ms"}, {0.0, "0ms"},
        {0.9994, "999ms"}, {1.0, "1.0s"}, {12.34, "12.3s"}, {59.94, "59.9s"}, {60.0, "1m 0s"},
        {125.0, "2m 5s"}, {3725.9, "62m 5s"}};
    for (const auto &c : cases)
        EXPECT_EQ(formatDuration(c.seconds), QString::fromUtf8(c.expected)) << c.seconds;
}

TEST(Formatting, EventDateLabelSaysTodayYesterdayRelativeOrDate)
{
    const TimeContext calendar(QTimeZone("Europe/Berlin"), Qt::Monday);
    const QLocale locale(QLocale::English, QLocale::UnitedStates);
    // 2026-03-10 12:00 UTC is 13:00 in Berlin.
    const Date now = Date::fromUnix(1'773'144'000);
    const struct { const char *name; double secondsAgo; const char *expected; } cases[] = {
        {"earlier today", 3 * 3600, "Today at 10:00 AM"},
        {"just after midnight", 13 * 3600 - 60, "Today at 12:01 AM"},
        {"just before midnight", 13 * 3600 + 60, "Yesterday at 11:59 PM"},
        {"yesterday afternoon", 24 * 3600, "Yesterday at 1:00 PM"},
        {"three days ago", 3 * 86400, "3 days ago"},
        {"six days ago", 6 * 86400 + 3600, "6 days ago"},
        {"exactly a week ago", 604800, "Mar 3 at 1:00 PM"},
        {"last month", 20 * 86400, "Feb 18 at 1:00 PM"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(eventDateLabel(now.addingSeconds(-c.secondsAgo), now, calendar, locale), QString::fromUtf8(c.expected))
            << c.name;
}

TEST(Formatting, RelativeTimeUsesFullUnitsInBothDirections)
{
    const Date now = Date::fromUnix(1'773'144'000);
    const struct { double secondsAgo; const char *expected; } cases[] = {{0.2, "just now"},
        {1, "1 second ago"}, {59, "59 seconds ago"}, {60, "1 minute ago"}, {150, "2 minutes ago"},
        {3 * 3600, "3 hours ago"}, {86400, "1 day ago"}, {-7200, "in 2 hours"}, {40 * 86400, "1 month ago"}};
    for (const auto &c : cases)
        EXPECT_EQ(relativeTime(now.addingSeconds(-c.secondsAgo), now), QString::fromUtf8(c.expected))
            << c.secondsAgo;
}

TEST(Formatting, NativeAmountsGroupAndShowCentsOnlyWhenNeeded)
{
    const QLocale us(QLocale::English, QLocale::UnitedStates), de(QLocale::German, QLocale::Germany);
    const struct { double amount; const QLocale &locale; const char *expected; } cases[] = {
        {49, us, "49"}, {1234567, us, "1,234,567"}, {12.5, us, "12.50"}, {1499.99, us, "1,499.99"},
        {1499.99, de, "1.499,99"}};
    for (const auto &c : cases)
        EXPECT_EQ(formatNative(c.amount, c.locale), QString::fromUtf8(c.expected)) << c.expected;
}

TEST(Formatting, ChartYLabelsAreCompactInTheDashboardCurrencyAndHideInPrivacy)
{
    const struct { double value; const char *currency, *expected; } cases[] = {{0, "usd", "$0"}, {250, "USD", "$250"},
        {999.4, "usd", "$999"}, {1000, "usd", "$1.0K"}, {2500, "usd", "$2.5K"}, {1'200'000, "usd", "$1.2M"},
        {-250, "usd", "-$250"}, {-2000, "usd", "-$2.0K"}, {-0.2, "usd", "$0"}, {4000, "EUR", "€4.0K"},
        {-1'500'000, "eur", "-€1.5M"}, {70, "xyz", "XYZ 70"}};
    for (const auto &c : cases) {
        EXPECT_EQ(formatY(c.value, false, QString::fromUtf8(c.currency)), QString::fromUtf8(c.expected)) << c.value;
        EXPECT_EQ(formatY(c.value, true, QString::fromUtf8(c.currency)), u"•") << c.value;
    }
}

TEST(Formatting, XStrideGivesAboutSixLabels)
{
    const struct { qsizetype buckets; int stride; } cases[]
        = {{0, 1}, {1, 1}, {6, 1}, {7, 2}, {13, 3}, {30, 5}, {31, 6}, {90, 15}, {91, 16}};
    for (const auto &c : cases)
        EXPECT_EQ(xStride(c.buckets), c.stride) << c.buckets;
}

TEST(Formatting, LinkLabels)
{
    EXPECT_EQ(linkLabel(QUrl(u"https://dashboard.stripe.com/acct_1/invoices/in_1"_s)), u"stripe.com");
    EXPECT_EQ(linkLabel(QUrl(u"https://www.paypal.com/activity"_s)), u"www.paypal.com");
    EXPECT_EQ(linkLabel(QUrl(u"relative/path"_s)), u"Open");
}

TEST(Chart, PlotsStackNewAndRecurringAboveAndChurnBelow)
{
    const QList<DailyBucket> buckets = {{Date::fromUnix(0), 10, 20, 0}, {Date::fromUnix(86400), 0, 0, 0},
                                        {Date::fromUnix(172800), 0, 0, 30}, {Date::fromUnix(259200), -5, 7, 0}};
    const QList<Plot> expected
        = {{0, 10, u"New"_s}, {0, 20, u"Recurring"_s}, {2, -30, u"Churn"_s}, {3, 7, u"Recurring"_s}};
    EXPECT_EQ(plotData(buckets), expected);
}

TEST(Chart, AxisMarksIncludeZeroAndCoverBothSidesForAnyFiniteExtent)
{
    const double top = std::numeric_limits<double>::max();
    for (const auto &[low, high] : {std::pair{-120.0, 950.0}, {0.0, top}, {-top, top}, {-top, 1.0}, {0.0, 5e-324}}) {
        SCOPED_TRACE(high);
        const QList<double> marks = yAxisMarks(low, high); // used to loop for ever near the top
        ASSERT_FALSE(marks.isEmpty());
        EXPECT_LE(marks.first(), low);
        EXPECT_GE(marks.last(), high);
        EXPECT_TRUE(marks.contains(0.0));
        EXPECT_LE(marks.size(), 9);
    }
    EXPECT_EQ(yAxisMarks(0, 0), QList<double>{0.0});

    // Churn takes the depth its largest day needs, not a whole step below the line.
    const struct { double low, high; YAxis axis; } axes[] = {
        {0, 950, {0, 1000, {0, 250, 500, 750, 1000}}}, {-200, 4000, {-225, 4000, {0, 2000, 4000}}},
        {-2500, 4000, {-2812.5, 4000, {-2000, 0, 2000, 4000}}}, {-950, 100, {-1000, 500, {-1000, -500, 0, 500}}},
    };
    for (const auto &a : axes)
        EXPECT_EQ(yAxis(a.low, a.high), a.axis) << a.low;
}

TEST(Chart, ModelLabelsEveryStrideDayAndMasksYInPrivacy)
{
    const TimeContext calendar(QTimeZone::utc(), Qt::Monday);
    QList<DailyBucket> buckets;
    for (int i = 0; i < 13; ++i)
        buckets.append(DailyBucket{Date::fromUnix(1'772'323'200 + i * 86400.0), 100.0 * i, 0, 0}); // from Mar 1
    ChartModel model(QLocale(QLocale::English, QLocale::UnitedStates));
    const QDate first(2026, 3, 1), last(2026, 3, 13);
    model.setData(buckets, first, last, calendar, false);
    EXPECT_EQ(model.stride(), 3);
    QStringList texts;
    for (const auto &l : model.xLabels())
        texts.append(l.text);
    EXPECT_EQ(texts, (QStringList{u"Mar 1"_s, u"Mar 4"_s, u"Mar 7"_s, u"Mar 10"_s, u"Mar 13"_s}));
    EXPECT_FALSE(model.yLabels().contains(u"•"_s));
    model.setData(buckets, first, last, calendar, true);
    for (const QString &label : model.yLabels())
        EXPECT_EQ(label, u"•");
    model.setData({}, first, last, calendar, false);
    EXPECT_TRUE(model.isEmpty());
    EXPECT_FALSE(model.yLabels().isEmpty()); // axes still drawn
}

TEST(Chart, EveryDayOfTheRangeIsASlotAndHoverReadsItsFigures)
{
    const TimeContext calendar(QTimeZone("Europe/Berlin"), Qt::Monday);
    const auto at = [&](int month, int day, int hour) {
        return Date::fromDateTime(QDateTime(QDate(2026, month, day), QTime(hour, 0), calendar.zone()));
    };
    // A filtered or custom range hands over only the days that had events.
    const QList<DailyBucket> sparse = {{at(3, 2, 0), 10, 0, 0}, {at(3, 5, 23), 0, 0, 4}, {at(2, 27, 0), 99, 0, 0}};
    const QList<DailyBucket> slots = daySlots(sparse, QDate(2026, 3, 1), QDate(2026, 3, 7), calendar);
    ASSERT_EQ(slots.size(), 7);
    EXPECT_EQ(calendar.local(slots[0].date).date(), QDate(2026, 3, 1));
    EXPECT_EQ(slots[1].newMRR, 10);
    EXPECT_EQ(slots[4].churn, 4);
    for (int i : {0, 2, 3, 5, 6}) // the day before the range is dropped, empty days stay empty
        EXPECT_EQ(slots[i].newMRR + slots[i].recurringMRR + slots[i].churn, 0) << "day " << i;
    EXPECT_TRUE(daySlots(sparse, QDate(2026, 3, 7), QDate(2026, 3, 1), calendar).isEmpty());

    ChartModel model(QLocale(QLocale::English, QLocale::UnitedStates));
    model.setData(sparse, QDate(2026, 3, 1), QDate(2026, 3, 7), calendar, false);
    EXPECT_EQ(model.dayCount(), 7);
    EXPECT_EQ(model.readout(1), u"Mon, Mar 2\nNew $10 · Recurring $0 · Churn $0");
    EXPECT_TRUE(model.readout(4).endsWith(u"Churn -$4"));
    EXPECT_TRUE(model.readout(7).isEmpty());
    model.setData(sparse, QDate(2026, 3, 1), QDate(2026, 3, 7), calendar, true);
    EXPECT_FALSE(model.readout(1).contains(u"10"));
    // Another dashboard currency: the bars, the readout and the axis in it.
    model.setData(sparse, QDate(2026, 3, 1), QDate(2026, 3, 7), calendar, false, u"EUR"_s);
    const double euros = CurrencyConverter::fromUSD(10, u"EUR");
    EXPECT_EQ(model.readout(1), u"Mon, Mar 2\nNew €%1 · Recurring €0 · Churn €0"_s.arg(formatNative(euros, QLocale(QLocale::English, QLocale::UnitedStates))));
    EXPECT_DOUBLE_EQ(model.plots().first().value, euros);
    EXPECT_TRUE(model.yLabels().last().startsWith(u"€"_s));
}

TEST(Formatting, NegatedAmountsNeverSignAZero)
{
    const struct { const char *text, *expected; } cases[] = {{"$0", "$0"}, {"$ 0.00", "$ 0.00"},
        {"€0", "€0"}, {"$12", "-$12"}, {"$0.5K", "-$0.5K"}, {"$ 1,200", "-$ 1,200"}, {"$•••", "-$•••"}};
    for (const auto &c : cases)
        EXPECT_EQ(negated(QString::fromUtf8(c.text)), QString::fromUtf8(c.expected)) << c.text;
}

// The banner says in plain words what to do; the details add what it leaves out (status, the
// provider's code and message, the network's wording), never the same line again.
TEST(Formatting, ErrorSummarySaysWhatToDoAndDetailsAddTheRest)
{
    const QString stripeBody
        = uR"({"error": {"code": "api_key_expired", "message": "Expired API Key provided: rk_live_****Key", "type": "invalid_request_error"}})"_s;
    const QHash<QString, QString> providers{{u"Acme"_s, u"Stripe"_s}, {u"Shop"_s, u"PayPal"_s}};
    const struct { const char *name; QString lastError, summary, details, edit; } cases[] = {
        {"refused Stripe key", u"[Acme] Stripe HTTP 401: "_s + stripeBody, u"Stripe rejected the key for Acme — edit it"_s,
         u"Acme: HTTP 401 · api_key_expired · Expired API Key provided: rk_live_****Key"_s, u"Acme"_s},
        {"refused PayPal credentials", uR"([Shop] PayPal HTTP 401: {"error":"invalid_client","error_description":"Client Authentication failed"})"_s,
         u"PayPal rejected the credentials for Shop — edit it"_s, u"Shop: HTTP 401 · invalid_client · Client Authentication failed"_s, u"Shop"_s},
        {"server error with a markup page", u"[Acme] Stripe HTTP 502: <html><body>Bad gateway</body></html>"_s,
         u"Stripe had a problem answering for Acme — try again"_s, u"Acme: HTTP 502"_s, {}},
        {"transport error names the account's provider", u"[Shop] Host api-m.paypal.com not found"_s,
         u"Can't reach PayPal for Shop — check the connection"_s, u"Shop: Host api-m.paypal.com not found"_s, {}},
        {"missing key", u"[Acme] No Stripe API key configured"_s, u"Acme has no key — edit it"_s, {}, u"Acme"_s},
        {"throttled listing", u"[Acme] charges fetch HTTP 429: Too many requests"_s,
         u"Stripe is limiting requests for Acme — try again in a minute"_s, u"Acme: HTTP 429 · Too many requests"_s, {}},
        {"two accounts: the first refused one is edited", u"[Acme] Connection refused · [Shop] PayPal HTTP 403: {}"_s,
         u"Can't reach Stripe for Acme — check the connection\nPayPal rejected the credentials for Shop — edit it"_s,
         u"Acme: Connection refused\nShop: HTTP 403"_s, u"Shop"_s},
        {"nothing", QString(), QString(), QString(), {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const ErrorSummary error = summarizeError(c.lastError, providers);
        EXPECT_EQ(error.summary, c.summary);
        EXPECT_EQ(error.details, c.details);
        EXPECT_EQ(error.accountToEdit, c.edit);
    }
    // The tray's tooltip carries the first line of it; hosts that draw no label show only that.
    const struct { const char *name; QString problem, title; } tray[] = {
        {"no error", {}, u"Quorvane · $12 · Today"_s},
        {"one", u"Stripe rejected the key for Acme — edit it"_s,
         u"Quorvane · $12 · Today · Last refresh failed: Stripe rejected the key for Acme — edit it"_s},
        {"two", u"Can't reach Stripe for A — check the connection\nB has no key — edit it"_s,
         u"Quorvane · $12 · Today · Last refresh failed: Can't reach Stripe for A — check the connection (and more)"_s}};
    for (const auto &t : tray) {
        TrayPresentation shown;
        shown.label = u"$12"_s;
        shown.toolTipTitle = u"Quorvane · $12 · Today"_s;
        const TrayPresentation withProblem = withRefreshProblem(shown, t.problem);
        EXPECT_EQ(withProblem.toolTipTitle, t.title) << t.name;
        EXPECT_EQ(withProblem.label, u"$12") << "the label stays the figure";
    }
}

TEST(Formatting, UnknownCurrenciesAreCountedNotSilentlyZero)
{
    QList<PaymentEvent> feed;
    for (const char *currency : {"usd", "xyz", "eur", "XYZ", "abc"})
        feed.append({.currency = QString::fromLatin1(currency)});
    EXPECT_EQ(Formatting::unconvertedNotes(feed, {0, 1, 2, 3, 4}),
              (QStringList{u"2 payments in XYZ not converted"_s, u"1 payment in ABC not converted"_s}));
    EXPECT_EQ(Formatting::unconvertedNotes(feed, {0, 2}), QStringList());
}

TEST(Formatting, SkippedRecordsAreCountedPerAccountInTheAccountsOrder)
{
    QList<Account> accounts;
    for (const char *name : {"Acme", "Beta", "Quiet"})
        accounts.append({.name = QString::fromLatin1(name)});
    EXPECT_EQ(Formatting::skippedRecordNotes({{accounts[1].id, 1}, {accounts[0].id, 2}, {QUuid::createUuid(), 4}}, accounts),
              (QStringList{u"2 records from Acme could not be read and were skipped"_s,
                           u"1 record from Beta could not be read and was skipped"_s}));
}

TEST(MrrTexts, FiguresInTheDisplayCurrencyAndMaskedInPrivacy)
{
    const Preferences usd, euro{.dashboardCurrency = u"EUR"_s}, hidden{.privacyMode = true};
    const QLocale locale(QLocale::English, QLocale::UnitedStates);
    using MrrTexts::goalEta;
    const struct { const char *name; QString shown; const char *expected; } cases[] = {
        {"gain", MrrTexts::signedAmount(420, usd), "+$420"},
        {"loss", MrrTexts::signedAmount(-120, usd), "-$120"},
        {"no change has no sign", MrrTexts::signedAmount(0, usd), "$0"},
        {"a few cents show as nothing, unsigned", MrrTexts::signedAmount(0.3, usd), "$0"},
        {"privacy hides the direction too", MrrTexts::signedAmount(-120, hidden), "$••••"},
        {"net new in euros", MrrTexts::netNewLine(1100, euro), "+€1018 this month"},
        {"ARR compact", MrrTexts::arrLine(148'800, usd), "ARR $149K"},
        {"ARR masked", MrrTexts::arrLine(148'800, hidden), "ARR $••••"},
        {"rate", MrrTexts::percent(0.0237, locale), "2.4%"},
        {"net expansion is a negative churn rate", MrrTexts::percent(-0.05, locale), "-5.0%"},
        {"a tiny negative rate is no negative zero", MrrTexts::percent(-0.0001, locale), "0.0%"},
        {"eta", goalEta(10'000, 5, usd), "$10.0K MRR in about 5 months"},
        {"eta in one month", goalEta(10'000, 1, usd), "$10.0K MRR in about 1 month"},
        {"eta years away", goalEta(10'000, 30, usd), "$10.0K MRR in about 3 years"},
        {"eta not growing", goalEta(10'000, std::nullopt, usd), "—"},
        {"goal reached", goalEta(10'000, 0, usd), "$10.0K MRR reached"},
        {"no goal", goalEta(0, 5, usd), ""},
        {"eta masked", goalEta(10'000, 5, hidden), "$•••• MRR in about 5 months"},
        {"goal typed back in euros", MrrTexts::goalInput(1080, euro), "1000"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(c.shown, QString::fromUtf8(c.expected)) << c.name;

    const struct { const char *typed, *currency; std::optional<double> usd; } goals[] = {
        {"10,000", "USD", 10'000}, {"12.5k", "USD", 12'500}, {" 2M ", "USD", 2'000'000}, {"1000", "EUR", 1080},
        {"", "USD", 0.0}, {"lots", "USD", std::nullopt}, {"-5", "USD", std::nullopt}};
    for (const auto &g : goals) {
        const auto parsed = MrrTexts::parseGoal(QString::fromUtf8(g.typed), QString::fromUtf8(g.currency));
        ASSERT_EQ(parsed.has_value(), g.usd.has_value()) << g.typed;
        if (parsed)
            EXPECT_NEAR(*parsed, *g.usd, 1e-6) << g.typed;
    }
}

TEST(MrrChart, MovementsStackGainsAboveAndLossesBelowAndTheReadoutMasks)
{
    const MrrMovements month{.newMrr = 100, .expansion = 50, .contraction = 30, .churn = 20, .reactivation = 0};
    using K = MrrMovementKind;
    EXPECT_EQ(movementBars({{}, month}),
              (QList<MovementBar>{{1, 0, 100, K::New}, {1, 100, 150, K::Expansion}, {1, 0, -30, K::Contraction},
                                  {1, -30, -50, K::Churn}}))
        << "an empty month and the zero reactivation draw nothing";

    const TimeContext calendar(QTimeZone("Europe/Berlin"), Qt::Monday);
    const QLocale locale(QLocale::English, QLocale::UnitedStates);
    const Date march = Date::fromDateTime(QDate(2026, 3, 1).startOfDay(calendar.zone()));
    const QList<MrrMonth> months{{.monthStart = march, .mrrUsd = 5'500, .movements = month}};
    MrrChartModel chart(locale);
    chart.setData(months, 10'800, Preferences{.dashboardCurrency = u"EUR"_s}, calendar);
    EXPECT_EQ(chart.monthLabels(), QStringList{u"Mar"_s});
    EXPECT_NEAR(chart.mrrLine().value(0), 5'092.59, 0.01) << "in euros";
    EXPECT_NEAR(chart.goal().value_or(0), 10'000, 1e-6);
    EXPECT_GE(chart.mrrAxis().top, 10'000) << "the goal line stays inside the chart";
    EXPECT_EQ(chart.readout(0), u"March 2026\nMRR €5092\nNew +€92\nExpansion +€46\nReactivation €0\n"
                                u"Contraction -€27\nChurn -€18\nNet new +€92"_s);
    chart.setData(months, 0, Preferences{.privacyMode = true}, calendar);
    EXPECT_FALSE(chart.goal().has_value());
    const QString shown = chart.readout(0).section(u'\n', 1) + chart.mrrLabels().join(QString())
                          + chart.barLabels().join(QString());
    EXPECT_FALSE(shown.contains(QRegularExpression(u"\\d"_s)))
        << chart.readout(0).toStdString();
}
