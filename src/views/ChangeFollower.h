#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_set>

namespace qf {

class EntityDescription;
class ManagedObject;
class ManagedObjectContext;

// Keeps a cache built from a context's records in step with it: says when
// the cache must be built afresh (another context, a reload, too many
// changes) and which records changed since it was built.
class ChangeFollower {
public:
    // Follows the context's changes of one entity; true when the cache must
    // be rebuilt, after which the caller rebuilds and calls rebuilt().
    bool follow(const ManagedObjectContext& context, const EntityDescription& entity, std::size_t cachedRecords);
    void rebuilt(const ManagedObjectContext& context);

    // Records changed since the cache was built: the cache may be wrong about
    // them. Every insert, delete, undelete and rollback passes the change
    // log, so a record the cache holds that is not stale is not deleted.
    const std::unordered_set<ManagedObject*>& stale() const { return m_stale; }

private:
    const ManagedObjectContext* m_context = nullptr;
    std::uint64_t m_loadGeneration = 0;
    std::size_t m_logPosition = 0;
    std::unordered_set<ManagedObject*> m_stale;
};

} // namespace qf
