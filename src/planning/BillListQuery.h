#pragma once

#include "common/Predicate.h"
#include "common/Value.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;

// The bill screen's choices, kept on the bills vault.
struct BillListSettings {
    QString dateRangeType = QStringLiteral("All Items");
    QString sort = QStringLiteral("By Title");
    QString directionFilter = QStringLiteral("FilterAll");
    QString searchText; // never stored

    // Reads the vault's choices; an empty or older range name is replaced
    // on the vault by "All Items", empty ones by their defaults.
    static BillListSettings ofVault(ManagedObject& vault);
    void storeOn(ManagedObject& vault) const;
};

// The due-range predicates of the display menu. Each is made the first time
// it is asked for and then kept, so a range stays where it was first put
// even after the day changes.
class BillDueRanges {
public:
    explicit BillDueRanges(std::function<AbsoluteTime()> now);

    static const QStringList& items();
    // Unknown items select everything, like "All Items".
    Predicate predicateForItem(const QString& item);

private:
    std::function<AbsoluteTime()> m_now;
    QHash<QString, Predicate> m_made;
};

// Which bills the screen lists and in which order.
class BillListQuery {
public:
    static const QStringList& sortItems();
    static const QStringList& directionFilters();

    static Predicate directionPredicate(const QString& filter);
    // Null for an empty text: the whole text in the title, or every word in the keywords.
    static Predicate searchPredicate(const QString& text);
    // Direction AND search AND due range, over bill rows.
    static Predicate rowPredicate(const BillListSettings& settings, BillDueRanges& ranges);

    static std::vector<ManagedObject*> upcomingBills(const ManagedObjectContext& context);
    static void sortBills(std::vector<ManagedObject*>& bills, const QString& sortItem);
    static std::vector<ManagedObject*> arrangedBills(const ManagedObjectContext& context,
                                                     const BillListSettings& settings, BillDueRanges& ranges);

    // Bills due before today's 00:00 that are still upcoming.
    static int overdueCount(const ManagedObjectContext& context, AbsoluteTime now);
};

} // namespace qf
