#pragma once

#include "common/Value.h"

#include <QString>
#include <optional>

namespace qf {

// Repeat intervals shared by bills and repeating transactions.
class Recurrence {
public:
    // The date one interval after date in the Gregorian calendar ("Daily",
    // "Weekly", "Bi-Weekly", "Monthly", "Yearly"), time of day kept; a month
    // step from a day the target month lacks lands on its last day. None for
    // any other title ("Never" included).
    static std::optional<AbsoluteTime> nextDueDate(AbsoluteTime date, const QString& interval);
    static bool isInterval(const QString& title);
};

} // namespace qf
