#include "store/KeyAssignment.h"

#include <algorithm>

namespace qf {

KeyAssignment::KeyAssignment(const ChangeSet& changes, std::int64_t next) : m_next(std::max<std::int64_t>(1, next))
{
    m_insertedKeys.reserve(changes.inserted.size());
    for (const RawRecord& record : changes.inserted) {
        if (!isProvisionalKey(record.primaryKey))
            m_next = std::max(m_next, record.primaryKey + 1);
    }
    for (const RawRecord& record : changes.inserted) {
        if (isProvisionalKey(record.primaryKey)) {
            m_assigned.emplace(record.primaryKey, m_next);
            m_insertedKeys.push_back(m_next++);
        } else {
            m_insertedKeys.push_back(record.primaryKey);
        }
    }
}

std::int64_t KeyAssignment::finalKey(std::int64_t key) const
{
    if (!isProvisionalKey(key))
        return key;
    const auto found = m_assigned.find(key);
    return found != m_assigned.end() ? found->second : key;
}

std::vector<std::vector<std::int64_t>> KeyAssignment::finalRelationships(const RawRecord& record) const
{
    std::vector<std::vector<std::int64_t>> result = record.relationships;
    for (auto& keys : result) {
        for (std::int64_t& key : keys)
            key = finalKey(key);
    }
    return result;
}

} // namespace qf
