#pragma once

#include "engine/RevenueEngine.h"
#include "support/FakeHttpServer.h"
#include "support/StripeBodies.h"
#include "support/TestUtil.h"
#include "support/VirtualClock.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

// An engine over a fresh data folder, a virtual clock and Berlin time with Monday weeks. Its
// Stripe API is a loopback server, so no test can ever reach the real one.
class EngineFixture : public ::testing::Test
{
protected:
    QTemporaryDir dir;
    FakeHttpServer stripe;
    std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
    TimeContext calendar{QTimeZone(QByteArrayLiteral("Europe/Berlin")), Qt::Monday};
    std::unique_ptr<RevenueEngine> engine;

    Storage storage() const { return Storage(dir.path()); }

    EngineEnvironment environment(bool startLoops = false) const
    {
        EngineEnvironment env{.storage = storage(), .clock = clock, .calendar = calendar,
                              .endpoints = {.stripeApi = stripe.baseUrl()}, .startLoops = startLoops};
        // Turns of a request budget come on the clock, which stands still unless a test moves it.
        env.stripeRequestsPerSecond = 0;
        return env;
    }

    RevenueEngine &start(bool startLoops = false) { return start(environment(startLoops)); }
    RevenueEngine &start(EngineEnvironment env)
    {
        engine = std::make_unique<RevenueEngine>(std::move(env));
        return *engine;
    }

    // A local wall-clock time in the fixture's zone.
    Date local(int y, int m, int d, int h = 12, int min = 0, int s = 0) const
    {
        return Date::fromDateTime(QDateTime(QDate(y, m, d), QTime(h, min, s), calendar.zone()));
    }

public:
    static PaymentEvent event(const QString &id, Date date, RevenueKind kind, double usd,
                              QUuid account = QUuid::fromString(QStringLiteral("11111111-1111-1111-1111-111111111111")))
    {
        return {.id = id, .date = date, .amount = usd, .currency = QStringLiteral("usd"), .usdAmount = usd,
                .accountId = account, .accountName = QStringLiteral("Main"), .kind = kind,
                .description = QStringLiteral("Payment")};
    }

    static Account stripeAccount(const QString &name, const QString &key = QStringLiteral("rk_test_1"))
    {
        Account a = Account::newAccount(AccountProvider::Stripe);
        a.name = name;
        a.stripeRestrictedKey = key;
        return a;
    }

    // The feed by event id.
    static QMap<QString, PaymentEvent> byId(const QList<PaymentEvent> &feed)
    {
        QMap<QString, PaymentEvent> out;
        for (const PaymentEvent &e : feed)
            out.insert(e.id, e);
        return out;
    }

    // The Authorization header of the account's Stripe requests.
    static QByteArray stripeAuth(const Account &a)
    {
        return "Basic " + (a.stripeRestrictedKey + u':').toUtf8().toBase64();
    }

    // Stripe events on an invoice or a charge, written in the API version of `shape`.
    static QJsonObject paidInvoice(const QString &id, qint64 created, const StripeBodies::InvoiceFields &fields,
                                   StripeBodies::Shape shape)
    {
        return StripeBodies::event(id, QStringLiteral("invoice.payment_succeeded"), created,
                                   StripeBodies::invoice(fields, shape), shape);
    }
    static QJsonObject succeededCharge(const QString &id, qint64 created, const StripeBodies::ChargeFields &fields,
                                       StripeBodies::Shape shape)
    {
        return StripeBodies::event(id, QStringLiteral("charge.succeeded"), created,
                                   StripeBodies::charge(fields, shape), shape);
    }

    static Account paypalAccount(const QString &name)
    {
        Account a = Account::newAccount(AccountProvider::PayPal);
        a.name = name;
        a.paypalClientId = QStringLiteral("AeA1QIZXiflr1");
        a.paypalSecret = QStringLiteral("ECYYrrSHdKfk");
        return a;
    }
};
