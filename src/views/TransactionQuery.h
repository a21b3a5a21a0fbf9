#pragma once

#include "common/Predicate.h"
#include "common/Value.h"

#include <QString>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;
struct TransactionIndexes;

// The five predicates that scope a vault's transaction list, one per filter
// button: every transaction of the vault, its incoming, outgoing, cleared and
// pending ones.
struct FilterPredicates {
    Predicate all;
    Predicate incoming;
    Predicate outgoing;
    Predicate paid;
    Predicate pending;
};

// What a vault remembers of its list: filters, date range, sort.
struct ListSettings {
    QString directionFilter = QStringLiteral("FilterAll"); // FilterAll, FilterIncoming, FilterOutgoing
    QString typeFilter = QStringLiteral("FilterAll");      // FilterAll, FilterPaid, FilterPending
    QString dateRangeType = QStringLiteral("All Transactions");
    std::optional<AbsoluteTime> customFrom;
    std::optional<AbsoluteTime> customTo;
    QString sort = QStringLiteral("Date");
    QString searchText;
    // A smart folder's search looks through all of the folder's matches,
    // whichever direction is chosen.
    bool searchIgnoresDirection = false;

    static ListSettings ofVault(const ManagedObject& vault);
};

// count, total, incoming and outgoing of the transactions shown.
struct Balances {
    std::size_t count = 0;
    double total = 0;
    double incoming = 0;
    double outgoing = 0;
};

// Everything that decides what a list shows.
struct ListQuery {
    FilterPredicates scope;
    ListSettings settings;
    std::optional<std::pair<AbsoluteTime, AbsoluteTime>> range;
    std::function<bool(const QString&)> amountMayContain;
    Predicate extra; // ANDed on top when not null (scripts' own conditions)
    // The account the scope is made of, when it is an account's: lets an
    // index narrow the records to test.
    QString accountID;

    // The query of a vault's list: its scope, and the account when it is one.
    static ListQuery forVault(const ManagedObject& vault, const ListSettings& settings);
};

// The transaction list's logic without its window: which transactions a vault
// shows under its filters, search text and date range, in which order, and
// what they add up to.
class TransactionQuery {
public:
    static FilterPredicates libraryPredicates();
    static FilterPredicates accountPredicates(const QString& accountID);
    static FilterPredicates folderPredicates(const QString& folderID);
    static FilterPredicates untaggedPredicates();
    static FilterPredicates billListPredicates();
    // A smart folder's stored text; one that is missing or does not parse selects nothing.
    static FilterPredicates smartFolderPredicates(const QString& predicateString);
    // By the vault's kind; null predicates for kinds without a list.
    static FilterPredicates predicatesForVault(const ManagedObject& vault);

    // Bounds of a date-range menu item, both at 00:00:00 local; none for "All Transactions".
    // A custom range fills a missing start with the earliest transaction date
    // (from earliestDate) and a missing end with today.
    static std::optional<std::pair<AbsoluteTime, AbsoluteTime>>
    dateRangeBounds(const ListSettings& settings, AbsoluteTime now,
                    const std::function<std::optional<AbsoluteTime>()>& earliestDate);

    // The search part: every word must be among the tags, or the whole text
    // in title, to, from, notes or the amount's text. amountMayContain tells
    // whether a text can occur in a formatted amount at all; when it cannot,
    // the amount test is left out (it could never match, and formatting a
    // million amounts is the costliest part of a search).
    static Predicate searchPredicate(const QString& text,
                                     const std::function<bool(const QString&)>& amountMayContain = {});

    // The list's predicate: direction AND status, AND search, AND date range.
    static Predicate filterWithSearchString(const FilterPredicates& scope, const ListSettings& settings,
                                            const std::optional<std::pair<AbsoluteTime, AbsoluteTime>>& range,
                                            const std::function<bool(const QString&)>& amountMayContain = {});

    static void sortTransactions(std::vector<ManagedObject*>& transactions, const QString& sortTitle);
    static Balances balances(const std::vector<ManagedObject*>& transactions);
    // What arrangedTransactions(context, query, indexes) adds up to, without
    // arranging it: an account's whole list sums the amounts its index keeps.
    static Balances balances(const ManagedObjectContext& context, const ListQuery& query,
                             TransactionIndexes* indexes = nullptr);
    static std::optional<AbsoluteTime> earliestTransactionDate(const ManagedObjectContext& context);

    static std::vector<ManagedObject*> arrangedTransactions(const ManagedObjectContext& context,
                                                            const Predicate& predicate, const QString& sortTitle);
    // Everything together: the transactions a list shows, in its order. With
    // indexes, a search or an account looks only at the records they name.
    static std::vector<ManagedObject*> arrangedTransactions(const ManagedObjectContext& context, const ListQuery& query,
                                                            TransactionIndexes* indexes = nullptr);
    static Predicate predicate(const ListQuery& query);
};

} // namespace qf
