#pragma once

#include "store/ManagedObject.h"

#include <memory>
#include <utility>
#include <vector>

namespace qf {

// Bookkeeping of a record that was changed, inserted, deleted or has
// relationships. Records loaded and never touched carry none of it, which is
// what keeps a million-record ledger small.
struct ManagedObject::State {
    using Relationships = std::vector<std::vector<ManagedObject*>>;

    bool inStore = true;    // the store holds the record as of the last save or load
    bool present = true;    // live in the context (not deleted)
    bool updated = false;   // a value or relationship was written since the last save
    bool tracked = false;   // listed among the context's unsaved changes
    bool queued = false;    // listed for the next objects-did-change announcement
    bool wasPresent = true; // presence when it was queued

    // Values as of the last save, kept only for attributes written since:
    // copy on first write.
    std::vector<std::pair<int, Value>> committed;
    Relationships relationships;
    std::unique_ptr<Relationships> committedRelationships;

    const Value* committedValue(int attributeIndex) const
    {
        for (const auto& [index, value] : committed) {
            if (index == attributeIndex)
                return &value;
        }
        return nullptr;
    }

    bool hasRelationships() const
    {
        for (const auto& related : relationships) {
            if (!related.empty())
                return true;
        }
        return false;
    }

    // True when the record reads exactly like one freshly loaded and untouched.
    bool isPlain() const
    {
        return inStore && present && !updated && !tracked && !queued && committed.empty() && !committedRelationships
            && !hasRelationships();
    }
};

} // namespace qf
