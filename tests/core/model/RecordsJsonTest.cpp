// Every record against a hand-written document: decoding gives the expected value, and
// encoding that value gives back exactly the document's keys and values.
#include "ModelTestUtil.h"
#include "model/Account.h"
#include "model/Achievement.h"
#include "model/AtRiskSub.h"
#include "model/DailyBucket.h"
#include "model/PaymentEvent.h"
#include "model/Preferences.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QUuid accountId = QUuid::fromString(u"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F"_s);
// 2026-03-10T12:00:00Z is 794 836 800 s after 2001-01-01.
const Date noon = Date::fromReferenceSeconds(794836800);

template<typename T>
void expectRoundTrip(const QByteArray &document, const T &expected, DateForm form)
{
    const Decoded<T> decoded = decodeText<T>(document, form);
    ASSERT_TRUE(decoded.value.has_value()) << decoded.error.toStdString();
    EXPECT_TRUE(*decoded.value == expected);
    if constexpr (std::is_same_v<T, Account>)
        EXPECT_EQ(toJson(expected), objectOf(document)); // accounts hold no dates
    else
        EXPECT_EQ(toJson(expected, form), objectOf(document));
}

} // namespace

TEST(RecordsJson, Account)
{
    Account full = Account::newAccount(AccountProvider::Stripe);
    full.id = accountId;
    full.name = u"Acme SaaS"_s;
    full.stripeRestrictedKey = u"rk_live_51Pgaf"_s;
    full.paypalLive = false;
    full.enabled = false;
    full.websiteDomain = u"acme.example"_s;
    full.stripeAccountId = u"acct_1PgafTB7WZ01zgkW"_s;
    expectRoundTrip(R"({"id":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","name":"Acme SaaS","provider":"stripe",
        "stripeRestrictedKey":"rk_live_51Pgaf","paypalClientId":"","paypalSecret":"","paypalLive":false,
        "enabled":false,"websiteDomain":"acme.example","stripeAccountId":"acct_1PgafTB7WZ01zgkW"})",
                    full, DateForm::Iso8601);

    // Optionals left out decode as absent and stay out when encoded again.
    Account bare = Account::newAccount(AccountProvider::PayPal);
    bare.id = accountId;
    bare.name = u"Shop"_s;
    bare.paypalClientId = u"AYSq3RDGsmBLJE"_s;
    bare.paypalSecret = u"EGnHDxD_qRPd"_s;
    expectRoundTrip(R"({"id":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","name":"Shop","provider":"paypal",
        "stripeRestrictedKey":"","paypalClientId":"AYSq3RDGsmBLJE","paypalSecret":"EGnHDxD_qRPd",
        "paypalLive":true,"enabled":true})",
                    bare, DateForm::Iso8601);

    // Null optionals mean absent too; unknown keys are ignored; lower-case UUID text is read.
    const auto withNulls = decodeText<Account>(R"({"id":"6f1c2b9e-4a7d-4c3b-9e2f-1a2b3c4d5e6f","name":"Shop",
        "provider":"paypal","stripeRestrictedKey":"","paypalClientId":"AYSq3RDGsmBLJE","paypalSecret":"EGnHDxD_qRPd",
        "paypalLive":true,"enabled":true,"websiteDomain":null,"stripeAccountId":null,"color":"blue"})",
                                               DateForm::Iso8601);
    ASSERT_TRUE(withNulls.value.has_value()) << withNulls.error.toStdString();
    EXPECT_TRUE(*withNulls.value == bare);
}

TEST(RecordsJson, PreferencesInBothDateForms)
{
    Preferences p;
    p.showCaptured = false;
    p.showFailed = true;
    p.showRefunds = true;
    p.showPayouts = false;
    p.showNewSubscriptions = false;
    p.showCanceledSubscriptions = true;
    p.showNotifications = false;
    p.dashboardCurrency = u"EUR"_s;
    p.darkMode = false;
    p.startAtLogin = true;
    p.refreshSeconds = 300;
    p.selectedRange = TimeRange::Custom;
    p.customRangeStart = noon.addingSeconds(-14 * 86400 + 0.25);
    p.customRangeEnd = noon;
    p.privacyMode = true;

    // The preferences file keeps full precision as seconds since 2001.
    expectRoundTrip(R"({"showCaptured":false,"showFailed":true,"showRefunds":true,"showPayouts":false,
        "showNewSubscriptions":false,"showCanceledSubscriptions":true,"showNotifications":false,
        "dashboardCurrency":"EUR","darkMode":false,"startAtLogin":true,"refreshSeconds":300,
        "selectedRange":"custom","customRangeStart":793627200.25,"customRangeEnd":794836800,"privacyMode":true})",
                    p, DateForm::ReferenceSeconds);

    // The ISO form has whole seconds only.
    p.customRangeStart = noon.addingSeconds(-14 * 86400);
    expectRoundTrip(R"({"showCaptured":false,"showFailed":true,"showRefunds":true,"showPayouts":false,
        "showNewSubscriptions":false,"showCanceledSubscriptions":true,"showNotifications":false,
        "dashboardCurrency":"EUR","darkMode":false,"startAtLogin":true,"refreshSeconds":300,
        "selectedRange":"custom","customRangeStart":"2026-02-24T12:00:00Z","customRangeEnd":"2026-03-10T12:00:00Z",
        "privacyMode":true})",
                    p, DateForm::Iso8601);
}

TEST(RecordsJson, PaymentEventInBothDateForms)
{
    PaymentEvent e;
    e.id = u"in_1SQaPaB7WZ01zgkW5pWc8Xq1"_s;
    e.date = noon;
    e.amount = 49.0;
    e.currency = u"eur"_s;
    e.usdAmount = 52.92;
    e.accountId = accountId;
    e.accountName = u"Acme EU"_s;
    e.kind = RevenueKind::New;
    e.description = u"1 × Pro, €49.00 per month"_s;
    e.customerEmail = u"lena.fischer@example.de"_s;
    e.dashboardURL = QUrl(u"https://dashboard.stripe.com/acct_1PgafTB7WZ01zgkW/invoices/in_1SQaPaB7WZ01zgkW5pWc8Xq1"_s);
    expectRoundTrip(R"({"id":"in_1SQaPaB7WZ01zgkW5pWc8Xq1","date":"2026-03-10T12:00:00Z","amount":49,"currency":"eur",
        "usdAmount":52.92,"accountId":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","accountName":"Acme EU","kind":"new",
        "description":"1 × Pro, €49.00 per month","customerEmail":"lena.fischer@example.de",
        "dashboardURL":"https://dashboard.stripe.com/acct_1PgafTB7WZ01zgkW/invoices/in_1SQaPaB7WZ01zgkW5pWc8Xq1"})",
                    e, DateForm::Iso8601);

    e.date = noon.addingSeconds(0.5);
    e.customerEmail.reset();
    e.dashboardURL.reset();
    e.kind = RevenueKind::Refund;
    expectRoundTrip(R"({"id":"in_1SQaPaB7WZ01zgkW5pWc8Xq1","date":794836800.5,"amount":49,"currency":"eur",
        "usdAmount":52.92,"accountId":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","accountName":"Acme EU","kind":"refund",
        "description":"1 × Pro, €49.00 per month"})",
                    e, DateForm::ReferenceSeconds);
}

TEST(RecordsJson, DailyBucketAtRiskSubAndAchievements)
{
    expectRoundTrip(R"({"date":"2026-03-10T00:00:00Z","newMRR":120.5,"recurringMRR":980,"churn":49})",
                    DailyBucket{noon.addingSeconds(-12 * 3600), 120.5, 980, 49}, DateForm::Iso8601);

    AtRiskSub sub;
    sub.id = u"sub_1SQaPaB7WZ01zgkWcU7mBq2R"_s;
    sub.accountId = accountId;
    sub.accountName = u"Acme SaaS"_s;
    sub.customerEmail = u"jenny.rosen@example.com"_s;
    sub.customerName = u"Jenny Rosen"_s;
    sub.planLabel = u"Pro monthly"_s;
    sub.monthlyAmount = 20;
    sub.currency = u"usd"_s;
    sub.monthlyUSD = 20;
    sub.kind = AtRiskKind::CanceledPayment;
    sub.sinceDate = noon;
    sub.latestInvoiceId = u"in_1SQaPaB7WZ01zgkW5pWc8Xq1"_s;
    sub.dashboardURL = QUrl(u"https://dashboard.stripe.com/subscriptions/sub_1SQaPaB7WZ01zgkWcU7mBq2R"_s);
    expectRoundTrip(R"({"id":"sub_1SQaPaB7WZ01zgkWcU7mBq2R","accountId":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F",
        "accountName":"Acme SaaS","customerEmail":"jenny.rosen@example.com","customerName":"Jenny Rosen",
        "planLabel":"Pro monthly","monthlyAmount":20,"currency":"usd","monthlyUSD":20,"kind":"canceledPayment",
        "sinceDate":"2026-03-10T12:00:00Z","latestInvoiceId":"in_1SQaPaB7WZ01zgkW5pWc8Xq1",
        "dashboardURL":"https://dashboard.stripe.com/subscriptions/sub_1SQaPaB7WZ01zgkWcU7mBq2R"})",
                    sub, DateForm::Iso8601);
    sub.customerEmail.reset();
    sub.customerName.reset();
    sub.latestInvoiceId.reset();
    sub.dashboardURL.reset();
    sub.kind = AtRiskKind::PastDue;
    expectRoundTrip(R"({"id":"sub_1SQaPaB7WZ01zgkWcU7mBq2R","accountId":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F",
        "accountName":"Acme SaaS","planLabel":"Pro monthly","monthlyAmount":20,"currency":"usd","monthlyUSD":20,
        "kind":"pastDue","sinceDate":"2026-03-10T12:00:00Z"})",
                    sub, DateForm::Iso8601);

    expectRoundTrip(R"({"period":"week","thresholdUSD":2500,"achievedAt":"2026-03-10T12:00:00Z"})",
                    Achievement{AchievementPeriod::Week, 2500, noon}, DateForm::Iso8601);
}

TEST(RecordsJson, AchievementsState)
{
    const QByteArray document = R"({"achievements":[{"period":"day","thresholdUSD":1000,"achievedAt":"2026-03-10T12:00:00Z"},
        {"period":"month","thresholdUSD":10000,"achievedAt":"2026-03-01T00:00:00Z"}],
        "bestDayUSD":1234.5,"bestDayDate":"2026-03-10T00:00:00Z","bestWeekUSD":4000,
        "bestWeekStartDate":"2026-03-09T00:00:00Z","bestMonthUSD":12000,"bestMonthStartDate":"2026-03-01T00:00:00Z"})";
    const auto decoded = decodeText<AchievementsState>(document, DateForm::Iso8601);
    ASSERT_TRUE(decoded.value.has_value()) << decoded.error.toStdString();
    const AchievementsState &s = *decoded.value;
    const Date march1 = noon.addingSeconds(-9 * 86400 - 12 * 3600);
    EXPECT_EQ(s.achievements, (QList<Achievement>{{AchievementPeriod::Day, 1000, noon},
                                                  {AchievementPeriod::Month, 10000, march1}}));
    EXPECT_EQ(s.bestDayUSD, 1234.5);
    EXPECT_EQ(s.bestDayDate, noon.addingSeconds(-12 * 3600));
    EXPECT_EQ(s.bestWeekUSD, 4000);
    EXPECT_EQ(s.bestWeekStartDate, noon.addingSeconds(-36 * 3600));
    EXPECT_EQ(s.bestMonthUSD, 12000);
    EXPECT_EQ(s.bestMonthStartDate, march1);
    EXPECT_EQ(toJson(s, DateForm::Iso8601), objectOf(document));

    // The defaults: nothing reached, no best dates, and the optional dates left out.
    const QByteArray empty = R"({"achievements":[],"bestDayUSD":0,"bestWeekUSD":0,"bestMonthUSD":0})";
    const auto decodedEmpty = decodeText<AchievementsState>(empty, DateForm::Iso8601);
    ASSERT_TRUE(decodedEmpty.value.has_value()) << decodedEmpty.error.toStdString();
    EXPECT_TRUE(decodedEmpty.value->achievements.isEmpty());
    EXPECT_FALSE(decodedEmpty.value->bestDayDate.has_value());
    EXPECT_EQ(toJson(AchievementsState{}, DateForm::Iso8601), objectOf(empty));
}

TEST(RecordsJson, EnumerationRawValues)
{
    EXPECT_EQ(toRaw(AccountProvider::PayPal), u"paypal"_s);
    const std::pair<RevenueKind, const char *> kinds[] = {{RevenueKind::New, "new"},
                                                          {RevenueKind::Recurring, "recurring"},
                                                          {RevenueKind::Churn, "churn"},
                                                          {RevenueKind::Failed, "failed"},
                                                          {RevenueKind::Refund, "refund"}};
    for (const auto &[kind, raw] : kinds) {
        SCOPED_TRACE(raw);
        EXPECT_EQ(toRaw(kind), QString::fromLatin1(raw));
        EXPECT_EQ(fromRaw<RevenueKind>(QString::fromLatin1(raw)), kind);
    }
    EXPECT_EQ(allCases<AtRiskKind>(), (std::array{AtRiskKind::PastDue, AtRiskKind::Unpaid, AtRiskKind::Incomplete,
                                                  AtRiskKind::CanceledPayment}));
    EXPECT_EQ(allCases<TimeRange>(), (std::array{TimeRange::Mtd, TimeRange::Last7Days, TimeRange::Last30Days,
                                                 TimeRange::Last90Days, TimeRange::Custom}));
    EXPECT_EQ(toRaw(TimeRange::Last90Days), u"last90Days"_s);
    EXPECT_EQ(toRaw(AtRiskKind::CanceledPayment), u"canceledPayment"_s);
    EXPECT_FALSE(fromRaw<RevenueKind>(u"Recurring"_s).has_value());
    EXPECT_FALSE(fromRaw<TimeRange>(u"ytd"_s).has_value());
    EXPECT_FALSE(fromRaw<AchievementPeriod>(u""_s).has_value());
}
