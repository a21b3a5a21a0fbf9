#include "common/AbsoluteTime.h"

#include <cmath>

namespace qf {

QDateTime dateTimeFromAbsoluteTime(AbsoluteTime time)
{
    return QDateTime::fromMSecsSinceEpoch(std::llround((time + kReferenceDateOffset) * 1000.0));
}

AbsoluteTime absoluteTimeFromDateTime(const QDateTime& dateTime)
{
    return static_cast<double>(dateTime.toMSecsSinceEpoch()) / 1000.0 - kReferenceDateOffset;
}

} // namespace qf
