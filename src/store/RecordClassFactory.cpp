#include "store/RecordClassFactory.h"

#include "store/BudgetManagedObject.h"
#include "store/TransManagedObject.h"
#include "store/VaultManagedObject.h"

namespace qf {

ObjectFactory recordClassFactory(const RecordEnvironment* environment)
{
    return [environment](const EntityDescription& entity, ManagedObjectContext& context,
                         std::int64_t primaryKey) -> std::unique_ptr<ManagedObject> {
        const ManagedObjectModel& model = ManagedObjectModel::shared();
        if (&entity == &model.trans())
            return std::make_unique<TransManagedObject>(entity, context, primaryKey, environment);
        if (&entity == &model.vault())
            return std::make_unique<VaultManagedObject>(entity, context, primaryKey, environment);
        if (&entity == &model.budget())
            return std::make_unique<BudgetManagedObject>(entity, context, primaryKey, environment);
        return std::make_unique<ManagedObject>(entity, context, primaryKey);
    };
}

} // namespace qf
