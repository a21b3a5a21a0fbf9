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

// Inserted records carry a key from this range until a save has given them
// one of the file's own: keys are handed out inside the save's write
// transaction, so two processes saving to one file never pick the same one.
inline constexpr std::int64_t kFirstProvisionalKey = std::int64_t(1) << 48;
inline bool isProvisionalKey(std::int64_t key) { return key >= kFirstProvisionalKey; }

// What a store file says about itself.
struct StoreMetadata {
    QString uuid;              // the store's identity; part of every object URI
    int version = 1;
    std::int64_t nextObjectID = 1; // the next primary key to hand out
};

// An updated record: all its values, and which of them this save changed.
// Only those are written, so that what another process saved meanwhile to
// the record's other keys stays.
struct RecordUpdate {
    RawRecord record;
    std::uint32_t changedAttributes = 0; // bit i: attribute i
    bool relationshipsChanged = false;
};

// The changes of one save. Inserted records carry all their attributes and
// relationships, and a provisional key unless they are copied with the key
// they have; deleted ones only entity and key. Relationships may name the
// provisional keys of records inserted by the same save.
struct ChangeSet {
    std::vector<RawRecord> inserted;
    std::vector<RecordUpdate> updated;
    std::vector<RawRecord> deleted;
    bool isEmpty() const { return inserted.empty() && updated.empty() && deleted.empty(); }
};

// What a save did.
struct SaveOutcome {
    // The key each inserted record got, parallel to ChangeSet::inserted.
    std::vector<std::int64_t> insertedKeys;
    // The number this save has in the file's history of saves (0 for files without one).
    std::uint64_t generation = 0;
    // Updates of records another process had deleted meanwhile: dropped, the deletion stands.
    std::vector<std::int64_t> vanishedKeys;
};

// What other processes saved since a given point of the file's history.
struct StoreChanges {
    std::uint64_t generation = 0; // the point now reached
    // True: records holds every record of the file, and any other record is gone.
    bool complete = false;
    std::vector<RawRecord> records; // current values of the records changed
    std::vector<std::pair<const EntityDescription*, std::int64_t>> gone; // deleted since
};

} // namespace qf
