#pragma once

#include "model/JsonReader.h"
#include "mrr/MrrTypes.h"

#include <QJsonObject>

// The daily snapshots: their JSON coding and keeping one per day.
namespace MrrSnapshots {

// How many days the file keeps.
inline constexpr int keptDays = 800;

// `snapshots` (oldest first) with `today` in place of a snapshot of the same day, and the
// oldest dropped past keptDays.
QList<MrrSnapshot> record(QList<MrrSnapshot> snapshots, const MrrSnapshot &today);

} // namespace MrrSnapshots

QJsonObject toJson(const MrrSnapshot &snapshot, DateForm form = DateForm::Iso8601);
