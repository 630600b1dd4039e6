#pragma once

#include "model/Enums.h"
#include "json/JsonReader.h"
#include "util/TimeContext.h"

// The user's settings, stored whole in "preferences.json" with dates as plain numbers.
struct Preferences
{
    bool showCaptured = true;
    bool showFailed = true;
    bool showRefunds = false;
    bool showPayouts = true;
    bool showNewSubscriptions = true;
    bool showCanceledSubscriptions = true;
    bool showNotifications = true;
    bool saleSound = true; // absent from files written before the switch existed
    QString dashboardCurrency = QStringLiteral("USD");
    bool darkMode = true;
    bool startAtLogin = false;
    qint64 refreshSeconds = 60;
    TimeRange selectedRange = TimeRange::Mtd;
    Date customRangeStart;
    Date customRangeEnd;
    bool privacyMode = false;
    // Monthly recurring revenue: whether trialing subscriptions count, whether the menu bar
    // shows MRR instead of the range's revenue, and the MRR goal in US dollars (0: none).
    bool mrrCountTrials = false;
    bool menubarShowsMrr = false;
    double mrrGoalUsd = 0;

    // The defaults, with the custom range covering the two weeks up to `now`.
    static Preferences defaults(Date now, const TimeContext &calendar);
    static Preferences decode(JsonReader &reader, DateForm form = DateForm::ReferenceSeconds);
    friend bool operator==(const Preferences &, const Preferences &) = default;
};

QJsonObject toJson(const Preferences &preferences, DateForm form = DateForm::ReferenceSeconds);
