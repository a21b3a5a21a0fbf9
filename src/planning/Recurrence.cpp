#include "planning/Recurrence.h"

#include "planning/KVCalendarInfo.h"

namespace qf {

bool Recurrence::isInterval(const QString& title)
{
    return title == QLatin1String("Daily") || title == QLatin1String("Weekly") || title == QLatin1String("Bi-Weekly") ||
           title == QLatin1String("Monthly") || title == QLatin1String("Yearly");
}

std::optional<AbsoluteTime> Recurrence::nextDueDate(AbsoluteTime date, const QString& interval)
{
    if (!isInterval(interval))
        return std::nullopt;
    KVCalendarInfo cursor;
    cursor.setAbsoluteTime(date);
    if (interval == QLatin1String("Daily"))
        cursor.adjustDays(1);
    else if (interval == QLatin1String("Weekly"))
        cursor.adjustDays(7);
    else if (interval == QLatin1String("Bi-Weekly"))
        cursor.adjustDays(14);
    else if (interval == QLatin1String("Monthly"))
        cursor.adjustMonths(1);
    else
        cursor.adjustYears(1);
    return cursor.absoluteTime();
}

} // namespace qf
