#include "planning/NamedPeriod.h"

#include "planning/KVCalendarInfo.h"

#include <QCoreApplication>

namespace qf {

namespace {

constexpr NamedPeriod kAllPeriods[] = {NamedPeriod::ThisMonth, NamedPeriod::LastMonth, NamedPeriod::ThisYear,
                                       NamedPeriod::LastYear};

const char* englishName(NamedPeriod period)
{
    switch (period) {
    case NamedPeriod::ThisMonth: return QT_TRANSLATE_NOOP("NamedPeriod", "This Month");
    case NamedPeriod::LastMonth: return QT_TRANSLATE_NOOP("NamedPeriod", "Last Month");
    case NamedPeriod::ThisYear: return QT_TRANSLATE_NOOP("NamedPeriod", "This Year");
    case NamedPeriod::LastYear: return QT_TRANSLATE_NOOP("NamedPeriod", "Last Year");
    }
    return "";
}

AbsoluteTime midnight(int year, int month, int day)
{
    // Years of a ledger are always composable; 0 only guards absurd input.
    return KVCalendarInfo::localMidnight(year, month, day).value_or(0.0);
}

PeriodBounds wholeMonth(const KVCalendarInfo& cursor)
{
    return {midnight(cursor.year(), cursor.month(), 1), midnight(cursor.year(), cursor.month(), cursor.daysInMonth())};
}

PeriodBounds wholeYear(int year)
{
    return {midnight(year, 1, 1), midnight(year, 12, 31)};
}

} // namespace

QString namedPeriodName(NamedPeriod period)
{
    return QString::fromLatin1(englishName(period));
}

std::optional<NamedPeriod> namedPeriodFromName(QStringView name)
{
    for (NamedPeriod period : kAllPeriods) {
        const char* english = englishName(period);
        if (name == QLatin1String(english) || name == QCoreApplication::translate("NamedPeriod", english))
            return period;
    }
    return std::nullopt;
}

PeriodBounds namedPeriodBounds(NamedPeriod period, AbsoluteTime now)
{
    KVCalendarInfo cursor(now);
    switch (period) {
    case NamedPeriod::ThisMonth:
        return wholeMonth(cursor);
    case NamedPeriod::LastMonth:
        // Stepping back clamps 31 March to the end of February, so the cursor
        // is always inside the previous month.
        cursor.moveToPreviousMonth();
        return wholeMonth(cursor);
    case NamedPeriod::ThisYear:
        return wholeYear(cursor.year());
    case NamedPeriod::LastYear:
        cursor.moveToPreviousYear();
        return wholeYear(cursor.year());
    }
    return {};
}

std::optional<std::pair<AbsoluteTime, AbsoluteTime>> namedPeriodBounds(QStringView name, AbsoluteTime now)
{
    const std::optional<NamedPeriod> period = namedPeriodFromName(name);
    if (!period)
        return std::nullopt;
    const PeriodBounds bounds = namedPeriodBounds(*period, now);
    return std::make_pair(bounds.lower, bounds.upper);
}

} // namespace qf
