#pragma once

#include "CommandLine.h"
#include "common/Result.h"

namespace qf {
class Quillfen_AppDelegate;
}

namespace qf::cli {

// The account an import command's --account names (identifier or title):
// its vault_uniqueID, or empty without the option (the library). An error
// when no account has that identifier or title.
Result<QString> importTargetAccountID(Quillfen_AppDelegate& delegate, const CommandLine& line);

} // namespace qf::cli
