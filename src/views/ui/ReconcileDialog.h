#pragma once

#include "common/Value.h"

#include <optional>
#include <utility>

class QWidget;

namespace qf {

// The small date sheets of the transaction list: the reconcile date, and the
// two ends of a custom date range. None when the user cancels.
class ReconcileDialog {
public:
    static std::optional<AbsoluteTime> askForDate(QWidget* parent, AbsoluteTime preset);
    static std::optional<std::pair<AbsoluteTime, AbsoluteTime>> askForRange(QWidget* parent, AbsoluteTime from,
                                                                            AbsoluteTime to);
};

} // namespace qf
