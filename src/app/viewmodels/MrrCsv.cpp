#include "MrrCsv.h"

#include "engine/CsvExport.h"
#include "viewmodels/MrrTexts.h"

using namespace Qt::StringLiterals;

namespace MrrCsv {

QByteArray movements(const QList<CustomerMovement> &movements, const QHash<QUuid, QString> &accountNames,
                     const QSet<QUuid> &estimatedAccounts)
{
    QString out = u"customer,customer_id,account,movement,mrr_before_usd,mrr_after_usd,change_usd,approximate\r\n"_s;
    const auto amount = [](double usd) { return QString::number(usd, 'f', 2); };
    for (const CustomerMovement &m : movements) {
        const QStringList fields{CsvExport::field(m.customerName),
                                 CsvExport::field(m.customerId),
                                 CsvExport::field(accountNames.value(m.accountId)),
                                 MrrTexts::movementName(m.kind).toLower(),
                                 amount(m.fromUsd),
                                 amount(m.toUsd),
                                 amount(m.changeUsd()),
                                 estimatedAccounts.contains(m.accountId) ? u"yes"_s : u"no"_s};
        out += fields.join(u',') + u"\r\n"_s;
    }
    return out.toUtf8();
}

} // namespace MrrCsv
