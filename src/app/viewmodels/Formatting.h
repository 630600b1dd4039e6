#pragma once

#include "model/Account.h"
#include "model/Enums.h"
#include "model/PaymentEvent.h"
#include "model/Preferences.h"
#include "util/Date.h"
#include "util/TimeContext.h"

#include <QColor>
#include <QLocale>
#include <QString>

// The texts and colours the panes show, as pure functions of their inputs ("now", the
// calendar and the locale included) so that every one of them is tested without a window.
namespace Formatting {

// 250ms, 12.3s, 2m 5s.
QString formatDuration(double seconds);

// "Today at 3:05 PM", "Yesterday at 9:12 AM", "3 days ago", "Mar 2 at 4:00 PM".
QString eventDateLabel(Date date, Date now, const TimeContext &calendar, const QLocale &locale);

// The drill-down's shorter form: "Today 3:05 PM", "Yesterday", "3 days ago", "Mar 2".
QString shortDateLabel(Date date, Date now, const TimeContext &calendar, const QLocale &locale);

// A relative phrase in full units: "just now", "5 minutes ago", "in 2 hours".
QString relativeTime(Date date, Date now);

// Grouped decimal: no fraction for whole amounts, otherwise exactly two digits.
QString formatNative(double amount, const QLocale &locale);

// The dashboard's money text: masked in privacy mode, else compact in the dashboard currency.
QString formatMoney(double usd, const Preferences &preferences);
// The same in whole units with grouped digits ("$25,000"), for a pane whose amounts are read
// against each other; masked in privacy mode.
QString formatMoneyWhole(double usd, const Preferences &preferences);

// "-" before an amount text, unless the text shows a zero: a zero never carries a sign.
QString negated(const QString &amountText);

// The chart's y labels in the dashboard currency, compact and signed before the symbol
// ("-$2.0K"); "•" in privacy mode.
QString formatY(double value, bool privacyMode, QStringView currency);
// Days between x labels, so that about six labels show whatever the range.
int xStride(qsizetype bucketCount);

QString rangeMenuLabel(TimeRange range);
QString rangeTitle(TimeRange range);
QString kindName(RevenueKind kind);

// Fixed colours shared by the tiles, the chart, the badges and the amounts.
QColor kindColor(RevenueKind kind);      // tiles, chart and dots
QColor kindBadgeColor(RevenueKind kind); // feed status badges
QColor kindAmountColor(RevenueKind kind, const QColor &primary);
QColor providerColor(const QString &name);
inline const QColor atRiskOrange = QColor::fromRgbF(0.95f, 0.55f, 0.20f);

// "dashboard.stripe.com" → "stripe.com"; "Open" when the URL has no host.
QString linkLabel(const QUrl &url);

// Events in a currency the rate table does not know count as nothing in every total; these
// lines say so per currency ("1 payment in XYZ not converted"), in order of first appearance.
QStringList unconvertedNotes(const QList<PaymentEvent> &feed, const QList<qsizetype> &indices);

// Records a load left out because they did not decode, one line per account in the order
// of `accounts` ("2 records from Acme could not be read and were skipped").
QStringList skippedRecordNotes(const QHash<QUuid, qsizetype> &skipped, const QList<Account> &accounts);

} // namespace Formatting
