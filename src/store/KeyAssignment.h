#pragma once

#include "store/RawRecord.h"

#include <unordered_map>

namespace qf {

// The keys one save gives its inserted records: a provisional key gets the
// next free key of the file, counting from next; any other key is kept and
// moves the count past itself.
class KeyAssignment {
public:
    KeyAssignment(const ChangeSet& changes, std::int64_t next);

    // Parallel to ChangeSet::inserted.
    const std::vector<std::int64_t>& insertedKeys() const { return m_insertedKeys; }
    // The key to write for a key a record holds or names.
    std::int64_t finalKey(std::int64_t key) const;
    std::vector<std::vector<std::int64_t>> finalRelationships(const RawRecord& record) const;
    // The first key left free.
    std::int64_t next() const { return m_next; }

private:
    std::vector<std::int64_t> m_insertedKeys;
    std::unordered_map<std::int64_t, std::int64_t> m_assigned;
    std::int64_t m_next;
};

} // namespace qf
