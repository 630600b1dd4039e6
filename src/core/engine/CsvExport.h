#pragma once

#include "engine/DrillDown.h"

#include <QByteArray>

// Spreadsheet exports as RFC 4180 text in UTF-8: CRLF line ends, a header row, fields with a
// comma, quote or line break quoted and their quotes doubled. Amounts are plain numbers in
// the native currency and in US dollars; dates are ISO 8601 in UTC.
namespace CsvExport {

// One field, quoted when it needs to be.
QString field(const QString &text);

// One row per event.
QByteArray events(const QList<PaymentEvent> &events);
// One row per customer.
QByteArray customers(const QList<CustomerGroup> &groups);

} // namespace CsvExport
