#pragma once

#include "common/Result.h"
#include "editing/SmartRule.h"

namespace qf {
class Quillfen_AppDelegate;
}

namespace qf::cli {

// A --rule "FIELD|OPERATOR[|VALUE[|VALUE2]]" read as the rule sheet reads
// its fields: amounts by their float reading (empty is 0), an account by
// title or id (empty is "None"), dates as YYYY-MM-DD[THH:MM]. An unknown
// field, operator, type, account or a date that does not read is an error.
Result<SmartRule> parseSmartRuleOption(const QString& text, Quillfen_AppDelegate& delegate);

} // namespace qf::cli
