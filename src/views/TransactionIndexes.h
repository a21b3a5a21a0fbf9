#pragma once

#include "views/TransactionAccountIndex.h"
#include "views/TransactionTextIndex.h"

namespace qf {

// The caches a transaction list keeps between its queries.
struct TransactionIndexes {
    TransactionTextIndex text;
    TransactionAccountIndex accounts;
};

} // namespace qf
