#pragma once

#include "common/Value.h"

#include <QStringList>
#include <utility>
#include <vector>

namespace qf {

class EntityDescription;
class ManagedObjectContext;

// One record's unsaved change. A record is named by its entity and its
// uniqueID (the entity's first attribute), never by its primary key, so the
// change applies to whatever store holds that record.
struct RecordChange {
    enum class Kind { Insert, Update, Delete };

    Kind kind = Kind::Update;
    const EntityDescription* entity = nullptr;
    QString uniqueID;
    // Attribute index and value. Insert: every non-null value. Update: the
    // keys changed since the last save, null where a value was removed.
    std::vector<std::pair<int, Value>> values;
    // Relationship index and the uniqueIDs of the related records, for every
    // to-many relationship of an inserted or updated record.
    std::vector<std::pair<int, QStringList>> relationships;
};

// What applyTo() did.
struct ApplyReport {
    int applied = 0;
    // Updates and deletions whose record the store no longer holds, and
    // related records that could not be found.
    int notFound = 0;
};

// The unsaved changes of a context, taken through its public API only, and
// applied again to another context (after a restart) as unsaved changes of
// its own.
class UnsavedChanges {
public:
    // Deletions, then insertions, then updates, each in the context's order.
    // A record without a uniqueID cannot be named and is counted in unnamed().
    static UnsavedChanges collect(const ManagedObjectContext& context);

    const std::vector<RecordChange>& changes() const { return m_changes; }
    void append(RecordChange change) { m_changes.push_back(std::move(change)); }
    // The earlier changes first: applying the result applies both in turn.
    void appendAll(const UnsavedChanges& later);
    bool isEmpty() const { return m_changes.empty(); }
    int count(RecordChange::Kind kind) const;
    int unnamed() const { return m_unnamed; }

    // Applies the changes in order; relationships last, once every record
    // exists. An insertion whose uniqueID is already held sets the values of
    // that record instead of making a second one. Nothing is saved.
    ApplyReport applyTo(ManagedObjectContext& context) const;

private:
    std::vector<RecordChange> m_changes;
    int m_unnamed = 0;
};

} // namespace qf
