#pragma once

#include "common/Value.h"

#include <QString>
#include <QStringView>
#include <optional>
#include <utility>

namespace qf {

// The named reporting periods that budgets and the transaction list's date
// menu share. Their names are stored vocabulary: "This Month", "Last Month",
// "This Year", "Last Year".
enum class NamedPeriod { ThisMonth, LastMonth, ThisYear, LastYear };

// First and last day of a period, each at 00:00:00 local time. The upper bound
// is the start of the last day, so a filter "trans_date <= upper" admits only
// what is dated exactly midnight that day: the periods are defined that way.
struct PeriodBounds {
    AbsoluteTime lower = 0.0;
    AbsoluteTime upper = 0.0;
};

QString namedPeriodName(NamedPeriod period);
// Accepts the stored English name and the name as translated for menus.
std::optional<NamedPeriod> namedPeriodFromName(QStringView name);

// Bounds of the period that holds `now`, in the default locale and time zone.
PeriodBounds namedPeriodBounds(NamedPeriod period, AbsoluteTime now);
// Nothing for a name that is not one of the four periods.
std::optional<std::pair<AbsoluteTime, AbsoluteTime>> namedPeriodBounds(QStringView name, AbsoluteTime now);

} // namespace qf
