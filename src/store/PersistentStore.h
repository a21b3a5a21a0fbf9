#pragma once

#include "common/Result.h"
#include "store/RawRecord.h"

#include <set>

namespace qf {

// A file that holds records: the SQLite store, or an XML store being read.
class PersistentStore {
public:
    virtual ~PersistentStore() = default;

    virtual QString path() const = 0;
    virtual const StoreMetadata& metadata() const = 0;

    // Hands every record of the file to the sink, in the file's order.
    virtual Status load(const RecordSink& sink) = 0;

    // Writes the changes atomically: either all of them land or the file is
    // left as it was. Inserted records with a provisional key get the next
    // free keys of the file; the outcome says which.
    virtual Result<SaveOutcome> save(const ChangeSet& changes) = 0;

    // The file's point in its history of saves as of the last load.
    virtual std::uint64_t loadedGeneration() const { return 0; }
    // Cheap enough to poll: whether another process saved since the last
    // call (or the last load). Files that only this process writes never do.
    virtual bool hasChangedElsewhere() { return false; }
    // What was saved after the given generation by anyone but the saves
    // whose generations are listed as own.
    virtual Result<StoreChanges> changesSince(std::uint64_t generation, const std::set<std::uint64_t>& own)
    {
        (void)own;
        StoreChanges none;
        none.generation = generation;
        return none;
    }
};

} // namespace qf
