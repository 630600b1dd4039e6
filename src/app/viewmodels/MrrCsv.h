#pragma once

#include "mrr/MrrTypes.h"

#include <QByteArray>
#include <QHash>
#include <QSet>

// This month's MRR movements as a spreadsheet, in the drill-down's CSV dialect (see
// CsvExport): one row per customer, amounts in US dollars a month.
namespace MrrCsv {

QByteArray movements(const QList<CustomerMovement> &movements, const QHash<QUuid, QString> &accountNames,
                     const QSet<QUuid> &estimatedAccounts);

} // namespace MrrCsv
