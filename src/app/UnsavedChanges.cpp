#include "app/UnsavedChanges.h"

#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"

#include <QHash>
#include <algorithm>
#include <map>

namespace qf {

namespace {

// Every entity of the model keeps its uniqueID first.
constexpr int kUniqueID = 0;

// The library, the Scheduler and Untagged exist once. When the first save of
// a new store failed, the ones made at that launch were kept as inserted,
// and the next launch made its own.
bool isFixedVaultAlreadyThere(const ManagedObjectContext& context, const RecordChange& change)
{
    const EntityDescription& vault = ManagedObjectModel::shared().vault();
    if (change.entity != &vault)
        return false;
    const int typeIndex = vault.indexOfAttribute(u"vault_type");
    for (const auto& [attribute, value] : change.values) {
        if (attribute != typeIndex)
            continue;
        const QString type = value.toString();
        return (type == VaultType::MasterVault || type == VaultType::BillManager || type == VaultType::Untagged)
               && !VaultLibrary::vaultsOfType(context, type).empty();
    }
    return false;
}

QStringList relatedIDs(const ManagedObject& record, int relationshipIndex)
{
    QStringList ids;
    for (const ManagedObject* related : record.relatedObjects(relationshipIndex)) {
        const QString id = related->primitiveValue(kUniqueID).toString();
        if (!id.isEmpty())
            ids << id;
    }
    return ids;
}

void takeRelationships(RecordChange& change, const ManagedObject& record)
{
    const int count = static_cast<int>(record.entity().relationships().size());
    for (int i = 0; i < count; ++i)
        change.relationships.emplace_back(i, relatedIDs(record, i));
}

// Records by entity and uniqueID, first match as the lookups find it; made
// per entity on first use and kept up to date while changes apply.
class RecordIndex {
public:
    explicit RecordIndex(ManagedObjectContext& context) : m_context(context) {}

    ManagedObject* find(const EntityDescription& entity, const QString& uniqueID)
    {
        return records(entity).value(uniqueID, nullptr);
    }
    void add(ManagedObject* record, const QString& uniqueID) { records(record->entity()).insert(uniqueID, record); }
    void remove(const EntityDescription& entity, const QString& uniqueID) { records(entity).remove(uniqueID); }

private:
    QHash<QString, ManagedObject*>& records(const EntityDescription& entity)
    {
        auto it = m_byEntity.find(&entity);
        if (it == m_byEntity.end()) {
            QHash<QString, ManagedObject*> byID;
            for (ManagedObject* record : m_context.objects(entity)) {
                const QString id = record->primitiveValue(kUniqueID).toString();
                if (!id.isEmpty() && !byID.contains(id))
                    byID.insert(id, record);
            }
            it = m_byEntity.emplace(&entity, std::move(byID)).first;
        }
        return it->second;
    }

    ManagedObjectContext& m_context;
    std::map<const EntityDescription*, QHash<QString, ManagedObject*>> m_byEntity;
};

} // namespace

UnsavedChanges UnsavedChanges::collect(const ManagedObjectContext& context)
{
    UnsavedChanges result;
    auto named = [&result](RecordChange change) {
        if (change.uniqueID.isEmpty())
            ++result.m_unnamed;
        else
            result.m_changes.push_back(std::move(change));
    };
    // Deleted and updated records are named as the store knows them, in case
    // the uniqueID itself is among the changes.
    for (const ManagedObject* record : context.deletedObjects())
        named({RecordChange::Kind::Delete, &record->entity(), record->committedValue(kUniqueID).toString(), {}, {}});
    for (const ManagedObject* record : context.insertedObjects()) {
        RecordChange change{RecordChange::Kind::Insert, &record->entity(), record->primitiveValue(kUniqueID).toString(),
                            {}, {}};
        for (int i = 0; i < record->entity().attributeCount(); ++i) {
            if (!record->primitiveValue(i).isNull())
                change.values.emplace_back(i, record->primitiveValue(i));
        }
        takeRelationships(change, *record);
        named(std::move(change));
    }
    for (const ManagedObject* record : context.updatedObjects()) {
        RecordChange change{RecordChange::Kind::Update, &record->entity(), record->committedValue(kUniqueID).toString(),
                            {}, {}};
        for (int i = 0; i < record->entity().attributeCount(); ++i) {
            if (record->committedValue(i) != record->primitiveValue(i))
                change.values.emplace_back(i, record->primitiveValue(i));
        }
        // Only the record itself knows whether its relationships changed, so
        // they travel whole; applying an unchanged list changes nothing.
        takeRelationships(change, *record);
        if (!change.values.empty() || !change.relationships.empty())
            named(std::move(change));
    }
    return result;
}

void UnsavedChanges::appendAll(const UnsavedChanges& later)
{
    m_changes.insert(m_changes.end(), later.m_changes.begin(), later.m_changes.end());
    m_unnamed += later.m_unnamed;
}

int UnsavedChanges::count(RecordChange::Kind kind) const
{
    return static_cast<int>(
        std::count_if(m_changes.begin(), m_changes.end(), [kind](const RecordChange& c) { return c.kind == kind; }));
}

ApplyReport UnsavedChanges::applyTo(ManagedObjectContext& context) const
{
    ApplyReport report;
    RecordIndex index(context);
    std::vector<std::pair<ManagedObject*, const RecordChange*>> linked;
    for (const RecordChange& change : m_changes) {
        const EntityDescription& entity = *change.entity;
        ManagedObject* record = index.find(entity, change.uniqueID);
        if (!record && change.kind != RecordChange::Kind::Insert) {
            ++report.notFound;
            continue;
        }
        switch (change.kind) {
        case RecordChange::Kind::Delete:
            index.remove(entity, change.uniqueID);
            context.deleteObject(record);
            ++report.applied;
            continue;
        case RecordChange::Kind::Insert: {
            if (!record && isFixedVaultAlreadyThere(context, change)) {
                ++report.applied;
                continue;
            }
            if (!record)
                record = context.insertNewObject(entity);
            // Every attribute, so defaults made on insertion give way to
            // the values the record had.
            std::vector<Value> values(entity.attributeCount());
            for (const auto& [attribute, value] : change.values)
                values[attribute] = value;
            for (int i = 0; i < entity.attributeCount(); ++i)
                record->setValue(i, values[i]);
            break;
        }
        case RecordChange::Kind::Update:
            for (const auto& [attribute, value] : change.values)
                record->setValue(attribute, value);
            break;
        }
        const QString uniqueID = record->primitiveValue(kUniqueID).toString();
        if (uniqueID != change.uniqueID)
            index.remove(entity, change.uniqueID);
        if (!uniqueID.isEmpty())
            index.add(record, uniqueID);
        if (!change.relationships.empty())
            linked.emplace_back(record, &change);
        ++report.applied;
    }
    for (const auto& [record, change] : linked) {
        if (record->isDeleted())
            continue;
        for (const auto& [relationship, ids] : change->relationships) {
            const RelationshipDescription& description = record->entity().relationships()[relationship];
            const EntityDescription* destination = ManagedObjectModel::shared().entity(description.destinationEntity);
            std::vector<ManagedObject*> related;
            for (const QString& id : ids) {
                if (ManagedObject* found = destination ? index.find(*destination, id) : nullptr)
                    related.push_back(found);
                else
                    ++report.notFound;
            }
            // A stored record keeps its links when some of the new ones are
            // gone: a partial list would cut the others.
            if (related.size() == static_cast<std::size_t>(ids.size()) || change->kind == RecordChange::Kind::Insert)
                record->setRelatedObjects(relationship, std::move(related));
        }
    }
    return report;
}

} // namespace qf
