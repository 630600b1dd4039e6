#include "MrrSnapshots.h"

#include <algorithm>

using namespace Qt::StringLiterals;

MrrSnapshot MrrSnapshot::decode(JsonReader &reader, DateForm form)
{
    MrrSnapshot snapshot;
    snapshot.approximate = reader.optBoolean("approximate"_L1).value_or(false);
    snapshot.activeCustomers = int(reader.integer("customers"_L1));
    snapshot.day = reader.date("day"_L1, form);
    snapshot.mrrUsd = reader.amount("mrrUsd"_L1);
    return snapshot;
}

QJsonObject toJson(const MrrSnapshot &snapshot, DateForm form)
{
    return QJsonObject{
        {"approximate"_L1, snapshot.approximate},
        {"customers"_L1, snapshot.activeCustomers},
        {"day"_L1, encodeDate(snapshot.day, form)},
        {"mrrUsd"_L1, snapshot.mrrUsd},
    };
}

namespace MrrSnapshots {

QList<MrrSnapshot> record(QList<MrrSnapshot> snapshots, const MrrSnapshot &today)
{
    snapshots.removeIf([&today](const MrrSnapshot &s) { return s.day == today.day; });
    const auto at = std::upper_bound(snapshots.begin(), snapshots.end(), today,
                                     [](const MrrSnapshot &a, const MrrSnapshot &b) { return a.day < b.day; });
    snapshots.insert(at, today);
    if (snapshots.size() > keptDays)
        snapshots.remove(0, snapshots.size() - keptDays);
    return snapshots;
}

QList<MrrMonth> months(const QList<MrrSnapshot> &snapshots, Date now, const TimeContext &calendar, int monthCount)
{
    QList<MrrMonth> out;
    Date monthStart = calendar.startOfMonth(now);
    Date monthEnd = now;
    for (int i = 0; i < monthCount; ++i) {
        const auto last = std::upper_bound(snapshots.cbegin(), snapshots.cend(), monthEnd,
                                           [](Date at, const MrrSnapshot &s) { return at < s.day; });
        if (last == snapshots.cbegin())
            break;
        const MrrSnapshot &seen = *(last - 1);
        out.prepend(MrrMonth{monthStart, seen.mrrUsd, seen.activeCustomers, {}});
        monthEnd = monthStart.addingSeconds(-1);
        monthStart = calendar.startOfMonth(monthEnd);
    }
    return out;
}

} // namespace MrrSnapshots
