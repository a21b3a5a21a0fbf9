#pragma once

#include "common/Result.h"
#include "store/RawRecord.h"

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
    // left as it was. nextObjectID is stored with them.
    virtual Status save(const ChangeSet& changes, std::int64_t nextObjectID) = 0;
};

} // namespace qf
