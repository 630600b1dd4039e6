#pragma once

#include "model/JsonReader.h"
#include "mrr/MrrTypes.h"
#include "util/TimeContext.h"

#include <QJsonObject>

// The daily snapshots: their JSON coding and keeping one per day.
namespace MrrSnapshots {

// How many days the file keeps.
inline constexpr int keptDays = 800;

// `snapshots` (oldest first) with `today` in place of a snapshot of the same day, and the
// oldest dropped past keptDays.
QList<MrrSnapshot> record(QList<MrrSnapshot> snapshots, const MrrSnapshot &today);

// The last `monthCount` months (oldest first, the running one last) as the snapshots saw
// them: each month's MRR and customers from its last snapshot, without movements, which
// snapshots cannot tell. Months that end before the first snapshot are left out.
QList<MrrMonth> months(const QList<MrrSnapshot> &snapshots, Date now, const TimeContext &calendar, int monthCount);

} // namespace MrrSnapshots

QJsonObject toJson(const MrrSnapshot &snapshot, DateForm form = DateForm::Iso8601);
