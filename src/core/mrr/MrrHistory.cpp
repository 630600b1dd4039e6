#include "MrrHistory.h"

namespace MrrHistory {

double subscriptionUsdAt(const MrrSubscription &, const QList<MrrInvoiceLine> &, Date, bool, Date)
{
    return 0;
}

Rebuilt rebuild(const QList<MrrSubscription> &, const QHash<QString, QList<MrrInvoiceLine>> &, Date, const TimeContext &,
                bool, int)
{
    return {};
}

} // namespace MrrHistory
