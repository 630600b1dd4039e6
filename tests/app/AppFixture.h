#pragma once

#include "engine/RevenueEngine.h"
#include "support/VirtualClock.h"

#include <QTemporaryDir>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <memory>

// A real engine in a fresh data folder, on a virtual clock, in a fixed zone and locale.
// The loops do not run; tests drive refreshes themselves.
struct AppFixture : ::testing::Test
{
    QTemporaryDir dir;
    std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>(); // 2026-03-10 12:00 UTC
    TimeContext calendar{QTimeZone("Europe/Berlin"), Qt::Monday};
    QLocale locale{QLocale::English, QLocale::UnitedStates};
    std::unique_ptr<RevenueEngine> engine;

    Storage storage() const { return Storage(dir.path()); }

    EngineEnvironment environment() const
    {
        EngineEnvironment env;
        env.storage = storage();
        env.clock = clock;
        env.calendar = calendar;
        env.startLoops = false;
        return env;
    }

    RevenueEngine &startEngine()
    {
        engine = std::make_unique<RevenueEngine>(environment());
        return *engine;
    }

    Date now() const { return clock->now(); }
    Date daysAgo(double days) const { return now().addingSeconds(-days * 86400); }

    static PaymentEvent event(const QString &id, Date date, RevenueKind kind, double usd, const QUuid &account,
                              const QString &accountName = QStringLiteral("Acme"))
    {
        PaymentEvent e;
        e.id = id;
        e.date = date;
        e.amount = usd;
        e.currency = QStringLiteral("usd");
        e.usdAmount = usd;
        e.accountId = account;
        e.accountName = accountName;
        e.kind = kind;
        e.description = QStringLiteral("Payment ") + id;
        e.customerEmail = id + QStringLiteral("@example.com");
        return e;
    }
};
