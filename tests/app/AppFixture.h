#pragma once

#include "engine/RevenueEngine.h"
#include "shell/QuorvaneApp.h"
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
        EngineEnvironment env{.storage = storage(), .clock = clock, .calendar = calendar, .startLoops = false};
        // Turns of a request budget come on the clock, which stands still unless a test moves it.
        env.stripeRequestsPerSecond = 0;
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
        return {.id = id, .date = date, .amount = usd, .currency = QStringLiteral("usd"), .usdAmount = usd,
                .accountId = account, .accountName = accountName, .kind = kind,
                .description = u"Payment " + id, .customerEmail = id + u"@example.com"};
    }

    // The whole application on this fixture's data folder, zone and locale, with no tray item
    // unless asked for, its login item in a folder of its own and no update check (whatever
    // host the build names, a test never asks it).
    AppOptions appOptions(bool tray = false) const
    {
        return {.environment = environment(), .update = {.configURL = std::nullopt}, .locale = locale,
                .autostartConfigHome = dir.filePath(QStringLiteral("config")), .createTray = tray};
    }
};
