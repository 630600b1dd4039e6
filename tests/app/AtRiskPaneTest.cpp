// The at-risk pane's texts and its model over the demo business's failing subscriptions.
#include "AppFixture.h"
#include "model/CurrencyConverter.h"
#include "engine/InvoiceRetry.h"
#include "stripe/StripeClient.h"
#include "support/TestUtil.h"
#include "viewmodels/AtRiskModel.h"

#include <QAbstractItemModelTester>

using namespace Qt::StringLiterals;

TEST(AtRiskLogic, LabelsAgesAndRetryWording)
{
    const Date now = Date::fromUnix(1'773'144'000);
    const auto sub = [&](AtRiskKind kind, double daysFromNow) {
        return AtRiskSub{.id = u"sub_1"_s, .kind = kind, .sinceDate = now.addingSeconds(daysFromNow * 86400),
                         .latestInvoiceId = u"in_1"_s};
    };
    const struct { AtRiskSub sub; QString label; } labels[] = {
        {sub(AtRiskKind::PastDue, 5.5), u"Next retry in 5d"_s}, {sub(AtRiskKind::PastDue, 1.25), u"Next retry in 1d"_s},
        {sub(AtRiskKind::PastDue, 0.125), u"Next retry imminent"_s},
        {sub(AtRiskKind::PastDue, -2), u"Next retry imminent"_s},
        {sub(AtRiskKind::Unpaid, -10), u"Stripe stopped retrying 10d ago"_s},
        {sub(AtRiskKind::Incomplete, -3.9), u"Never paid \u00B7 3d old"_s},
        {sub(AtRiskKind::CanceledPayment, 1), u"Canceled 0d ago (payment failed)"_s},
    };
    for (const auto &row : labels)
        EXPECT_EQ(AtRiskLogic::sinceLabel(row.sub, now), row.label);
    EXPECT_EQ(AtRiskLogic::subscriptionsLine(1), u"Across 1 subscription"_s);
    EXPECT_EQ(AtRiskLogic::subscriptionsLine(3), u"Across 3 subscriptions"_s);

    const QString scope = u"Restricted key is missing the `Invoice \u2192 Write` scope. Edit the key in Stripe and set "
                          u"Invoice \u2192 Write."_s;
    const QString longText(300, u'x');
    const struct { RetryOutcome outcome; QString message; } messages[] = {
        {{false, u"Wait 2s before next retry. (scope)"_s, true}, u"Wait 2s before next retry. (scope)"_s},
        {{false, u"Stripe HTTP 403: {\"error\":{\"message\":\"The provided key does not have the required permissions\"}}"_s, false}, scope},
        {{false, u"Stripe HTTP 402: {\"error\":{\"type\":\"card_error\",\"message\":\"Your card was declined.\"}}"_s, false},
         *StripeClient::parseHumanError(R"({"error":{"type":"card_error","message":"Your card was declined."}})")},
        {{false, longText, false}, longText.left(180)},
    };
    for (const auto &row : messages)
        EXPECT_EQ(AtRiskLogic::retryErrorMessage(row.outcome), row.message);

    using State = AtRiskLogic::RetryState;
    const AtRiskSub pastDue = sub(AtRiskKind::PastDue, 1);
    AtRiskSub noInvoice = pastDue;
    noInvoice.latestInvoiceId.reset();
    const QHash<QString, RetryOutcome> declined{{u"sub_1"_s, {false, u"Stripe HTTP 402: {\"decline_code\":\"expired_card\"}"_s, false}}};
    const QHash<QString, RetryOutcome> failed{{u"sub_1"_s, {false, u"Stripe HTTP 500: {}"_s, false}}};
    const QHash<QString, RetryOutcome> retried{{u"sub_1"_s, {true, {}, false}}};
    const QHash<QString, RetryOutcome> spaced{{u"sub_1"_s, {false, RetryThrottleError{3}.description(), true, 3}}};
    const struct { QSet<QString> retrying; QHash<QString, RetryOutcome> results; State state; QString label; } states[] = {
        {{}, {}, State::Idle, u"Retry now"_s}, {{u"in_1"_s}, retried, State::Retrying, u"Retrying\u2026"_s},
        {{}, retried, State::Retried, u"Paid \u2713"_s}, {{}, failed, State::Failed, u"Retry failed"_s},
        {{}, spaced, State::Throttled, u"Wait 3 s"_s}, {{}, declined, State::NeedsNewCard, u"Retry now"_s},
    };
    for (const auto &row : states) {
        EXPECT_EQ(AtRiskLogic::retryState(pastDue, row.retrying, row.results), row.state) << row.label.toStdString();
        EXPECT_EQ(AtRiskLogic::retryLabel(row.state, row.results.value(u"sub_1"_s).secondsToWait), row.label) << row.label.toStdString();
    }
    EXPECT_EQ(AtRiskLogic::retryState(noInvoice, {}, {}), State::Hidden);
    EXPECT_EQ(AtRiskLogic::retryState(sub(AtRiskKind::CanceledPayment, 0), {}, {}), State::Hidden);
}

TEST_F(AppFixture, AtRiskModelGroupsByKindRetriesAndMasks)
{
    ASSERT_TRUE(storage().saveAccounts({Account::newDemoAccount()}));
    RevenueEngine &e = startEngine();
    AtRiskModel model(&e, locale);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    EXPECT_TRUE(model.isEmpty());
    EXPECT_EQ(model.subscriptionsLine(), u"Across 0 subscriptions"_s);
    QCoro::waitFor(e.runAtRiskRefresh());
    ASSERT_FALSE(model.isEmpty());

    const auto value = [&](int row, int role) { return model.data(model.index(row, 0), role); };
    // Every header is followed by exactly its count of rows, and the sections sum to the list.
    int counted = 0, firstSub = -1;
    for (int row = 0; row < model.rowCount(); ++row) {
        if (!value(row, AtRiskModel::IsHeaderRole).toBool()) {
            if (firstSub < 0 && !value(row, AtRiskModel::EmailRole).toString().isEmpty()
                && value(row, AtRiskModel::RetryStateRole) == u"idle"_s)
                firstSub = row;
            continue;
        }
        const int n = value(row, AtRiskModel::DetailRole).toString().section(u' ', 1, 1).toInt();
        ASSERT_GT(n, 0);
        for (int i = 1; i <= n; ++i)
            EXPECT_FALSE(value(row + i, AtRiskModel::IsHeaderRole).toBool());
        EXPECT_TRUE(value(row + n, AtRiskModel::LastInSectionRole).toBool());
        counted += n;
    }
    EXPECT_EQ(counted, e.atRiskSubs().size());
    EXPECT_EQ(model.subscriptionsLine(), AtRiskLogic::subscriptionsLine(counted));
    ASSERT_GE(firstSub, 0);

    const QString email = value(firstSub, AtRiskModel::EmailRole).toString();
    Preferences prefs = e.preferences();
    prefs.privacyMode = true;
    e.setPreferences(prefs);
    EXPECT_EQ(value(firstSub, AtRiskModel::EmailRole).toString(), CurrencyConverter::maskEmail(email));

    // A retry answers in process for the demo. A paid invoice shows "Paid" in place for a
    // moment, then lists again (its row and its outcome go); a refused one stays with its outcome.
    const qsizetype listed = e.atRiskSubs().size();
    model.retry(firstSub);
    EXPECT_TRUE(waitUntil([&] {
        return e.retryingInvoiceIds().isEmpty() && (!e.retryResults().isEmpty() || e.atRiskSubs().size() < listed);
    }));
    if (e.retryResults().isEmpty())
        return;
    const QString state = value(firstSub, AtRiskModel::RetryStateRole).toString();
    EXPECT_TRUE(state == u"retried"_s || state == u"failed"_s || state == u"needsNewCard"_s) << state.toStdString();
    EXPECT_EQ(value(firstSub, AtRiskModel::ErrorTextRole).toString().isEmpty(), state == u"retried"_s);
}
