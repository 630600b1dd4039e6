#include "AccountsMerge.h"

namespace AccountsMerge {

QSet<QUuid> idsOf(const QList<Account> &accounts)
{
    QSet<QUuid> ids;
    for (const Account &a : accounts)
        ids.insert(a.id);
    return ids;
}

QList<Account> merge(const QList<Account> &ours, const QSet<QUuid> &known, const QList<Account> &onDisk,
                     bool diskComplete)
{
    const QSet<QUuid> ourIds = idsOf(ours);
    const QSet<QUuid> diskIds = idsOf(onDisk);
    QList<Account> merged;
    for (const Account &a : ours)
        if (!diskComplete || diskIds.contains(a.id) || !known.contains(a.id))
            merged.append(a);
    for (const Account &a : onDisk)
        if (!ourIds.contains(a.id) && !known.contains(a.id))
            merged.append(a);
    return merged;
}

} // namespace AccountsMerge
