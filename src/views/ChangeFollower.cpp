#include "views/ChangeFollower.h"

#include "store/ManagedObjectContext.h"

namespace qf {

bool ChangeFollower::follow(const ManagedObjectContext& context, const EntityDescription& entity,
                            std::size_t cachedRecords)
{
    if (m_context != &context || m_loadGeneration != context.loadGeneration())
        return true;
    const std::vector<ManagedObject*>& log = context.changeLog();
    for (std::size_t i = m_logPosition; i < log.size(); ++i) {
        if (&log[i]->entity() == &entity)
            m_stale.insert(log[i]);
    }
    m_logPosition = log.size();
    // Stale records cost a full test each; past a share of the whole, a
    // rebuild is cheaper than carrying them.
    return m_stale.size() > cachedRecords / 20 + 1000;
}

void ChangeFollower::rebuilt(const ManagedObjectContext& context)
{
    m_context = &context;
    m_loadGeneration = context.loadGeneration();
    m_logPosition = context.changeLog().size();
    m_stale.clear();
}

} // namespace qf
