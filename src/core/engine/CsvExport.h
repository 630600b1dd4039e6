#pragma once

#include "engine/DrillDown.h"

#include <QByteArray>

// Spreadsheet exports as RFC 4180 text in UTF-8: CRLF line ends, a header row, fields with a
// comma, quote or line break quoted and their quotes doubled. Amounts are plain numbers in
// the native currency and in US dollars; dates are ISO 8601 in UTC. Text that starts like a
// formula ("=", "+", "-", "@", a tab, a carriage return) gets a leading "'", so that a
// spreadsheet shows what a customer typed instead of running it.
namespace CsvExport {

// One field, with a leading "'" when it starts like a formula, quoted when it needs to be.
QString field(const QString &text);

// One row per event.
QByteArray events(const QList<PaymentEvent> &events);
// One row per customer and currency, amounts in different currencies never summed into one;
// `groups` hold positions in `feed`.
QByteArray customers(const QList<PaymentEvent> &feed, const QList<CustomerGroup> &groups);

} // namespace CsvExport
