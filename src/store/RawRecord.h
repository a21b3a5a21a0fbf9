#pragma once

#include "common/Value.h"
#include "store/EntityDescription.h"

#include <QString>
#include <cstdint>
#include <functional>
#include <vector>

namespace qf {

// One record as a store file holds it, without any behaviour: what loaders
// produce and writers consume. Values are indexed like the entity's
// attributes and already coerced to their attribute types; relationships are
// indexed like the entity's relationships and hold destination primary keys.
struct RawRecord {
    const EntityDescription* entity = nullptr;
    std::int64_t primaryKey = 0;
    std::vector<Value> attributes;
    std::vector<std::vector<std::int64_t>> relationships;
};

// Receives records one by one while a file is read, so a million records are
// never held twice.
using RecordSink = std::function<void(RawRecord&&)>;

// What a store file says about itself.
struct StoreMetadata {
    QString uuid;              // the store's identity; part of every object URI
    int version = 1;
    std::int64_t nextObjectID = 1; // the next primary key to hand out
};

// The changes of one save. Inserted and updated records carry all their
// attributes and relationships; deleted ones only entity and key.
struct ChangeSet {
    std::vector<RawRecord> inserted;
    std::vector<RawRecord> updated;
    std::vector<RawRecord> deleted;
    bool isEmpty() const { return inserted.empty() && updated.empty() && deleted.empty(); }
};

} // namespace qf
