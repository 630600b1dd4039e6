// Decoding failures, derived identities, defaults, equality and hashing of the records.
#include "ModelTestUtil.h"
#include "model/Account.h"
#include "model/Achievement.h"
#include "model/AtRiskSub.h"
#include "model/PaymentEvent.h"
#include "model/Preferences.h"

#include <QTimeZone>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray eventDocument = R"({"id":"in_1","date":"2026-03-10T12:00:00Z","amount":49,"currency":"usd",
    "usdAmount":49,"accountId":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","accountName":"Acme","kind":"new",
    "description":"Pro","customerEmail":"a@b.co"})";
const QByteArray accountDocument = R"({"id":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","name":"Acme","provider":"stripe",
    "stripeRestrictedKey":"rk","paypalClientId":"","paypalSecret":"","paypalLive":true,"enabled":true})";
const QByteArray preferencesDocument = R"({"showCaptured":true,"showFailed":true,"showRefunds":false,"showPayouts":true,
    "showNewSubscriptions":true,"showCanceledSubscriptions":true,"showNotifications":true,"dashboardCurrency":"USD",
    "darkMode":true,"startAtLogin":false,"refreshSeconds":60,"selectedRange":"mtd","customRangeStart":793627200,
    "customRangeEnd":794836800,"privacyMode":false})";

QByteArray with(const QByteArray &document, const char *key, const QJsonValue &value)
{
    QJsonObject o = objectOf(document);
    if (value.isUndefined())
        o.remove(QLatin1StringView(key));
    else
        o.insert(QLatin1StringView(key), value);
    return QJsonDocument(o).toJson(QJsonDocument::Compact);
}

} // namespace

TEST(RecordRules, DecodeFailuresLoseTheWholeValue)
{
    struct Row
    {
        const char *name;
        QByteArray document;
        QString error;
    };
    const QJsonValue missing = QJsonValue::Undefined;
    const Row rows[] = {
        {"missing id", with(eventDocument, "id", missing), u"key not found: id"_s},
        {"null amount", with(eventDocument, "amount", QJsonValue::Null), u"amount: expected a number, found null"_s},
        {"amount as text", with(eventDocument, "amount", u"49"_s), u"amount: expected a number"_s},
        {"unknown kind", with(eventDocument, "kind", u"payout"_s), u"kind: unknown value \"payout\""_s},
        {"kind in another case", with(eventDocument, "kind", u"New"_s), u"kind: unknown value \"New\""_s},
        {"date as seconds in an ISO file", with(eventDocument, "date", 794836800), u"date: expected an ISO 8601 date"_s},
        {"account id not a UUID", with(eventDocument, "accountId", u"acct_1"_s), u"accountId: expected a UUID"_s},
        {"email of wrong type", with(eventDocument, "customerEmail", 5), u"customerEmail: expected a string"_s},
        {"URL that is not one", with(eventDocument, "dashboardURL", u"http://exa mple.com/%zz"_s),
         u"dashboardURL: expected a URL"_s},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const auto decoded = decodeText<PaymentEvent>(row.document, DateForm::Iso8601);
        EXPECT_FALSE(decoded.value.has_value());
        EXPECT_EQ(decoded.error, row.error);
    }

    const Row accountRows[] = {
        {"unknown provider", with(accountDocument, "provider", u"square"_s), u"provider: unknown value \"square\""_s},
        {"enabled as text", with(accountDocument, "enabled", u"true"_s), u"enabled: expected a boolean"_s},
        {"missing secret", with(accountDocument, "paypalSecret", missing), u"key not found: paypalSecret"_s},
        {"null name", with(accountDocument, "name", QJsonValue::Null), u"name: expected a string, found null"_s},
    };
    for (const Row &row : accountRows) {
        SCOPED_TRACE(row.name);
        const auto decoded = decodeText<Account>(row.document, DateForm::Iso8601);
        EXPECT_FALSE(decoded.value.has_value());
        EXPECT_EQ(decoded.error, row.error);
    }

    const auto badAchievement = decodeText<AchievementsState>(
        R"({"achievements":[{"period":"year","thresholdUSD":1,"achievedAt":"2026-03-10T12:00:00Z"}],"bestDayUSD":0,"bestWeekUSD":0,"bestMonthUSD":0})",
        DateForm::Iso8601);
    EXPECT_FALSE(badAchievement.value.has_value());
    EXPECT_EQ(badAchievement.error, u"achievements[0].period: unknown value \"year\""_s);
}

TEST(RecordRules, PreferencesNeedAllFifteenKeys)
{
    ASSERT_TRUE(decodeText<Preferences>(preferencesDocument, DateForm::ReferenceSeconds).value.has_value());
    const QStringList keys = objectOf(preferencesDocument).keys();
    ASSERT_EQ(keys.size(), 15);
    for (const QString &key : keys) {
        SCOPED_TRACE(key.toStdString());
        QJsonObject o = objectOf(preferencesDocument);
        o.remove(key);
        const auto withoutKey =
            decodeText<Preferences>(QJsonDocument(o).toJson(QJsonDocument::Compact), DateForm::ReferenceSeconds);
        EXPECT_FALSE(withoutKey.value.has_value());
        EXPECT_EQ(withoutKey.error, u"key not found: "_s + key);
        o.insert(key, QJsonValue::Null);
        EXPECT_FALSE(
            decodeText<Preferences>(QJsonDocument(o).toJson(QJsonDocument::Compact), DateForm::ReferenceSeconds).value);
    }
    // Whole seconds are required for refreshSeconds.
    EXPECT_FALSE(decodeText<Preferences>(with(preferencesDocument, "refreshSeconds", 60.5), DateForm::ReferenceSeconds)
                     .value.has_value());
}

TEST(RecordRules, AchievementIdentity)
{
    struct Row
    {
        AchievementPeriod period;
        double threshold;
        const char *id;
    };
    const Row rows[] = {
        {AchievementPeriod::Week, 2500.0, "week_2500"}, {AchievementPeriod::Day, 999.9, "day_999"},
        {AchievementPeriod::Day, 1000, "day_1000"},     {AchievementPeriod::Month, 100000, "month_100000"},
        {AchievementPeriod::Month, 0.5, "month_0"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.id);
        EXPECT_EQ((Achievement{row.period, row.threshold, {}}.id()), QString::fromLatin1(row.id));
    }
}

TEST(RecordRules, DefaultCustomRangeIsTwoCalendarWeeks)
{
    struct Row
    {
        const char *zone;
        QDateTime now;
        QDateTime expectedStart;
    };
    const QTimeZone berlin("Europe/Berlin");
    const QTimeZone newYork("America/New_York");
    const Row rows[] = {
        {"Europe/Berlin", QDateTime(QDate(2026, 3, 10), QTime(12, 0), berlin),
         QDateTime(QDate(2026, 2, 24), QTime(12, 0), berlin)},
        // Clocks went forward on 8 March: two calendar weeks are one hour short of 14 × 24 h.
        {"America/New_York", QDateTime(QDate(2026, 3, 10), QTime(12, 0), newYork),
         QDateTime(QDate(2026, 2, 24), QTime(12, 0), newYork)},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.zone);
        const Date now = Date::fromDateTime(row.now);
        const Preferences p = Preferences::defaults(now, TimeContext(row.now.timeZone(), Qt::Monday));
        EXPECT_EQ(p.customRangeStart, Date::fromDateTime(row.expectedStart));
        EXPECT_EQ(p.customRangeEnd, now);
        EXPECT_EQ(p.selectedRange, TimeRange::Mtd);
        EXPECT_EQ(p.refreshSeconds, 60);
        EXPECT_EQ(p.dashboardCurrency, u"USD"_s);
        EXPECT_FALSE(p.showRefunds);
        EXPECT_FALSE(p.privacyMode);
    }
    EXPECT_EQ(Date::fromDateTime(rows[1].now).secondsSince(Date::fromDateTime(rows[1].expectedStart)), 14 * 86400 - 3600);
}

TEST(RecordRules, EqualityAndHashCoverEveryField)
{
    const auto decoded = decodeText<PaymentEvent>(eventDocument, DateForm::Iso8601);
    ASSERT_TRUE(decoded.value.has_value());
    const PaymentEvent base = *decoded.value;
    struct Row
    {
        const char *name;
        std::function<void(PaymentEvent &)> change;
    };
    const Row rows[] = {
        {"accountName", [](PaymentEvent &e) { e.accountName = u"Acme Inc"_s; }},
        {"date", [](PaymentEvent &e) { e.date = e.date.addingSeconds(1); }},
        {"usdAmount", [](PaymentEvent &e) { e.usdAmount += 0.01; }},
        {"kind", [](PaymentEvent &e) { e.kind = RevenueKind::Recurring; }},
        {"email absent", [](PaymentEvent &e) { e.customerEmail.reset(); }},
        {"email empty", [](PaymentEvent &e) { e.customerEmail = QString(); }},
        {"URL present", [](PaymentEvent &e) { e.dashboardURL = QUrl(u"https://dashboard.stripe.com"_s); }},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        PaymentEvent changed = base;
        row.change(changed);
        EXPECT_FALSE(changed == base);
        EXPECT_NE(qHash(changed), qHash(base));
    }
    PaymentEvent copy = base;
    EXPECT_TRUE(copy == base);
    EXPECT_EQ(qHash(copy), qHash(base));

    Account a = Account::newAccount(AccountProvider::Stripe);
    Account b = a;
    EXPECT_EQ(qHash(a), qHash(b));
    b.websiteDomain = QString(); // present but empty differs from absent
    EXPECT_FALSE(a == b);
    EXPECT_NE(qHash(a), qHash(b));
    EXPECT_NE(Account::newAccount(AccountProvider::Stripe).id, a.id); // fresh random id each time

    const AtRiskSub sub{u"sub_1"_s, a.id, u"Acme"_s, std::nullopt, std::nullopt, u"Pro"_s, 20, u"usd"_s, 20,
                        AtRiskKind::PastDue, Date(), std::nullopt, std::nullopt};
    AtRiskSub unpaid = sub;
    unpaid.kind = AtRiskKind::Unpaid;
    EXPECT_FALSE(unpaid == sub);
    EXPECT_NE(qHash(unpaid), qHash(sub));
    EXPECT_EQ(qHash(AtRiskSub(sub)), qHash(sub));

    const Achievement day{AchievementPeriod::Day, 1000, Date()};
    const Achievement later{AchievementPeriod::Day, 1000, Date().addingSeconds(60)};
    EXPECT_FALSE(day == later);
    EXPECT_NE(qHash(day), qHash(later));
}
