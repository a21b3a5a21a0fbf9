#pragma once

#include "common/Predicate.h"

#include <QString>
#include <optional>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;
class RecordEnvironment;

// What a smart folder's own view lists: the folder's predicate, narrowed by
// the direction the view stores on the vault (vault_directionFilter), or by
// a search that ignores that direction.
class SmartViewQuery {
public:
    // The folder's predicate; "self == nil" (nothing) when it is missing or
    // does not parse.
    static Predicate folderPredicate(const ManagedObject& vault);
    // By the stored direction: "FilterAll", "FilterIncoming", "FilterOutgoing";
    // none for any other value, which lists every transaction.
    static std::optional<Predicate> listPredicate(const ManagedObject& vault);
    // The folder's predicate AND the text in title, amount, tags, from or to.
    static Predicate searchPredicate(const ManagedObject& vault, const QString& text);

    // The listed transactions by date, oldest first: the search's when the
    // text is not empty, else the list's.
    static std::vector<ManagedObject*> transactions(const ManagedObjectContext& context, const ManagedObject& vault,
                                                    const QString& searchText);
    // Cards are made by identifier: a listed transaction without one gets one
    // here, stored on the record.
    static void giveIdentifiers(const std::vector<ManagedObject*>& transactions, const RecordEnvironment& environment);
};

} // namespace qf
