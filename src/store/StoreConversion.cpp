#include "store/StoreConversion.h"

#include <QHash>

namespace qf {

namespace {

Value directionForAmount(const Value& amount)
{
    const double value = amount.toDouble();
    if (value > 0)
        return Value("Incoming");
    if (value < 0)
        return Value("Outgoing");
    return Value(SharedString::empty());
}

} // namespace

Status copyRecords(PersistentStore& source, PersistentStore& target)
{
    const EntityDescription& trans = ManagedObjectModel::shared().trans();
    const int amountIndex = trans.indexOfAttribute(u"trans_amount");
    const int directionIndex = trans.indexOfAttribute(u"trans_direction");

    ChangeSet changes;
    // Old key -> new key, per entity name: keys of different entities may coincide in the source.
    QHash<QString, QHash<std::int64_t, std::int64_t>> newKeys;
    std::int64_t nextKey = std::max<std::int64_t>(1, target.metadata().nextObjectID);
    const Status loaded = source.load([&](RawRecord&& record) {
        if (!record.entity)
            return;
        newKeys[record.entity->name()].insert(record.primaryKey, nextKey);
        record.primaryKey = nextKey++;
        if (record.entity == &trans && static_cast<int>(record.attributes.size()) == trans.attributeCount())
            record.attributes[static_cast<std::size_t>(directionIndex)] =
                directionForAmount(record.attributes[static_cast<std::size_t>(amountIndex)]);
        changes.inserted.push_back(std::move(record));
    });
    if (!loaded)
        return loaded;

    for (RawRecord& record : changes.inserted) {
        const auto& relationships = record.entity->relationships();
        for (std::size_t r = 0; r < record.relationships.size() && r < relationships.size(); ++r) {
            const auto keys = newKeys.constFind(relationships[r].destinationEntity);
            std::vector<std::int64_t> linked;
            for (std::int64_t oldKey : record.relationships[r]) {
                if (keys == newKeys.constEnd())
                    break;
                const auto found = keys->constFind(oldKey);
                if (found != keys->constEnd())
                    linked.push_back(*found);
            }
            record.relationships[r] = std::move(linked);
        }
    }
    Result<SaveOutcome> saved = target.save(changes);
    return saved ? Status::ok() : Status(saved.error());
}

} // namespace qf
