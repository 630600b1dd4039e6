#pragma once

#include "model/Preferences.h"
#include "mrr/MrrTypes.h"
#include "util/TimeContext.h"

#include <QColor>
#include <QLocale>
#include <QString>

// The MRR pane's texts and colours, as pure functions of the figures and the preferences:
// amounts in the dashboard currency, every one of them masked in privacy mode.
namespace MrrTexts {

// "+$420", "-$120", "$0" (a zero has no sign); in privacy mode the mask alone, since a sign
// tells which way the money went.
QString signedAmount(double usd, const Preferences &preferences);
// "+$420 this month"
QString netNewLine(double usd, const Preferences &preferences);
// "ARR $148K"
QString arrLine(double usd, const Preferences &preferences);
// A 0..1 rate as "2.4%"; no sign on a zero.
QString percent(double rate, const QLocale &locale);
// "$10K MRR in about 5 months", "$10K MRR reached", "—" when MRR does not grow, empty without a goal.
QString goalEta(double goalUsd, const std::optional<int> &months, const Preferences &preferences);
// The goal as the user typed it, in the dashboard currency: "10000"; empty without a goal.
QString goalInput(double goalUsd, const Preferences &preferences);
// What the user typed ("10,000", "12.5k") in the dashboard currency, in US dollars; 0 clears
// the goal; nullopt for text that is no amount.
std::optional<double> parseGoal(const QString &text, const QString &currency);

QString movementName(MrrMovementKind kind); // "Expansion"
QColor movementColor(MrrMovementKind kind);
// A row's "$49 → $98" (masked in privacy mode).
QString fromToLine(const CustomerMovement &movement, const Preferences &preferences);

// "Nov" under each month of the chart; "Nov 2026" in its readout.
QString monthLabel(Date monthStart, const TimeContext &calendar, const QLocale &locale);
// The hovered month: its name, MRR and each movement, then net new.
QString monthReadout(const MrrMonth &month, const Preferences &preferences, const TimeContext &calendar,
                     const QLocale &locale);

} // namespace MrrTexts
