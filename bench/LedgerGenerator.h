#pragma once

#include "common/Result.h"

#include <QString>
#include <cstdint>

namespace qf {

// A synthetic ledger for benchmarks: accounts, folders, a few thousand
// payees, tags and twenty years of dates, the same for the same seed.
struct LedgerShape {
    std::int64_t transactions = 100000;
    int accounts = 6;
    int folders = 12;
    int payees = 3000;
    std::uint64_t seed = 20261121;
};

class LedgerGenerator {
public:
    // Writes a new "Quillfen.1ccdb" into folder (replacing one made before).
    static Status writeStore(const QString& folder, const LedgerShape& shape);
    // The folder for a shape under the system's temporary folder, made once
    // and reused by later runs.
    static Result<QString> cachedStoreFolder(const LedgerShape& shape);
};

} // namespace qf
