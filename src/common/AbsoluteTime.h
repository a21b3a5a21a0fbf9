#pragma once

#include "common/Value.h"

#include <QDateTime>

namespace qf {

// 2001-01-01 00:00:00 UTC, the reference instant of every stored date, in
// seconds since the Unix epoch.
inline constexpr double kReferenceDateOffset = 978307200.0;

// A stored date as a QDateTime in local time (to the millisecond), and back.
QDateTime dateTimeFromAbsoluteTime(AbsoluteTime time);
AbsoluteTime absoluteTimeFromDateTime(const QDateTime& dateTime);

} // namespace qf
