#pragma once

#include "engine/RevenueEngine.h"
#include "support/TestUtil.h"
#include "support/VirtualClock.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

// An engine over a fresh data folder, a virtual clock and Berlin time with Monday weeks.
class EngineFixture : public ::testing::Test
{
protected:
    QTemporaryDir dir;
    std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
    TimeContext calendar{QTimeZone(QByteArrayLiteral("Europe/Berlin")), Qt::Monday};
    std::unique_ptr<RevenueEngine> engine;

    Storage storage() const { return Storage(dir.path()); }

    EngineEnvironment environment(bool startLoops = false) const
    {
        EngineEnvironment env;
        env.storage = storage();
        env.clock = clock;
        env.calendar = calendar;
        env.startLoops = startLoops;
        return env;
    }

    RevenueEngine &start(bool startLoops = false)
    {
        engine = std::make_unique<RevenueEngine>(environment(startLoops));
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
        PaymentEvent e;
        e.id = id;
        e.date = date;
        e.amount = usd;
        e.currency = QStringLiteral("usd");
        e.usdAmount = usd;
        e.accountId = account;
        e.accountName = QStringLiteral("Main");
        e.kind = kind;
        e.description = QStringLiteral("Payment");
        return e;
    }

    static Account stripeAccount(const QString &name, const QString &key = QStringLiteral("rk_test_1"))
    {
        Account a = Account::newAccount(AccountProvider::Stripe);
        a.name = name;
        a.stripeRestrictedKey = key;
        return a;
    }
};
