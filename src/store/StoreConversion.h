#pragma once

#include "common/Result.h"
#include "store/PersistentStore.h"

namespace qf {

// Copies every record of an older store (the XML form, or the SQLite layout
// without trans_direction) into a store of the current layout, in one save:
// the target gets all of them or none.
//
// Records get new primary keys from the target's nextObjectID, so the target
// may already hold records. trans_direction is written from trans_amount
// ("Incoming" above 0, "Outgoing" below, "" at 0), since older stores lack
// it. Relationships follow the records; a link to a record the source does
// not hold is dropped. The application decides what happens to the source
// file afterwards.
Status copyRecords(PersistentStore& source, PersistentStore& target);

} // namespace qf
