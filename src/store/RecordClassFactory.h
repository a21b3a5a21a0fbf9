#pragma once

#include "store/ManagedObjectContext.h"

namespace qf {

class RecordEnvironment;

// Makes TransManagedObject, VaultManagedObject and BudgetManagedObject for
// their entities of the shared model and plain records for the others. The
// environment must outlive every record made.
ObjectFactory recordClassFactory(const RecordEnvironment* environment);

} // namespace qf
