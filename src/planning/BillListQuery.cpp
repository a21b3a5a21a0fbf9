#include "planning/BillListQuery.h"

#include "planning/BillRow.h"
#include "planning/KVCalendarInfo.h"
#include "store/ManagedObjectContext.h"

#include <algorithm>

namespace qf {

namespace {

Predicate parsed(const QString& format, const ValueArray& arguments = {})
{
    auto p = Predicate::parse(format, arguments);
    return p ? *p : Predicate::falsePredicate();
}

QString storedText(const ManagedObject& vault, QStringView key)
{
    const Value value = vault.valueForKey(key);
    return value.isString() ? value.toString() : QString();
}

AbsoluteTime midnight(int year, int month, int day, AbsoluteTime fallback)
{
    return KVCalendarInfo::localMidnight(year, month, day).value_or(fallback);
}

} // namespace

BillListSettings BillListSettings::ofVault(ManagedObject& vault)
{
    BillListSettings settings;
    const QString range = storedText(vault, u"vault_dateRangeType");
    if (range.isEmpty() || range == QLatin1String("All Bills") || range == QLatin1String("All Transactions"))
        vault.setValueForKey(u"vault_dateRangeType", Value(settings.dateRangeType));
    else
        settings.dateRangeType = range;
    const QString sort = storedText(vault, u"vault_transSort");
    if (sort.isEmpty())
        vault.setValueForKey(u"vault_transSort", Value(settings.sort));
    else
        settings.sort = sort;
    const QString direction = storedText(vault, u"vault_directionFilter");
    if (direction.isEmpty())
        vault.setValueForKey(u"vault_directionFilter", Value(settings.directionFilter));
    else
        settings.directionFilter = direction;
    return settings;
}

void BillListSettings::storeOn(ManagedObject& vault) const
{
    // Unchanged values are not written again: each write is an undo step.
    auto write = [&vault](QStringView key, const QString& value) {
        if (storedText(vault, key) != value)
            vault.setValueForKey(key, Value(value));
    };
    write(u"vault_dateRangeType", dateRangeType);
    write(u"vault_transSort", sort);
    write(u"vault_directionFilter", directionFilter);
}

BillDueRanges::BillDueRanges(std::function<AbsoluteTime()> now) : m_now(std::move(now)) {}

const QStringList& BillDueRanges::items()
{
    static const QStringList kItems{QStringLiteral("All Items"), QStringLiteral("Next 5 Days"),
                                    QStringLiteral("Next 10 Days"), QStringLiteral("This Month"),
                                    QStringLiteral("This Year")};
    return kItems;
}

Predicate BillDueRanges::predicateForItem(const QString& item)
{
    if (auto made = m_made.constFind(item); made != m_made.constEnd())
        return *made;
    const AbsoluteTime now = m_now();
    const KVCalendarInfo today(now);
    const int y = today.year();
    const int m = today.month();
    const int d = today.dayOfMonth();
    AbsoluteTime from = 0;
    AbsoluteTime to = 0;
    bool ranged = true;
    if (item == QLatin1String("Next 5 Days") || item == QLatin1String("Next 10 Days")) {
        from = midnight(y, m, d, now);
        to = midnight(y, m, d + (item == QLatin1String("Next 5 Days") ? 5 : 10), now);
    } else if (item == QLatin1String("This Month")) {
        // Day 31 whatever the month: the calendar carries it over.
        from = midnight(y, m, 1, now);
        to = midnight(y, m, 31, now);
    } else if (item == QLatin1String("This Year")) {
        from = midnight(y, 1, 1, now);
        to = midnight(y, 12, 31, now);
    } else {
        ranged = false;
    }
    const Predicate predicate =
        ranged ? parsed(QStringLiteral("date >= %@ AND date <= %@"), {Value::date(from), Value::date(to)})
               : parsed(QStringLiteral("self != nil"));
    m_made.insert(item, predicate);
    return predicate;
}

const QStringList& BillListQuery::sortItems()
{
    static const QStringList kSorts{QStringLiteral("By Title"), QStringLiteral("By Date"), QStringLiteral("By Amount")};
    return kSorts;
}

const QStringList& BillListQuery::directionFilters()
{
    static const QStringList kFilters{QStringLiteral("FilterAll"), QStringLiteral("FilterIncoming"),
                                      QStringLiteral("FilterOutgoing"), QStringLiteral("FilterTransfer")};
    return kFilters;
}

Predicate BillListQuery::directionPredicate(const QString& filter)
{
    const char* type = filter == QLatin1String("FilterIncoming")   ? "Incoming"
                       : filter == QLatin1String("FilterOutgoing") ? "Outgoing"
                       : filter == QLatin1String("FilterTransfer") ? "Transfer"
                                                                   : nullptr;
    if (!type)
        return parsed(QStringLiteral("self != nil"));
    return parsed(QStringLiteral("billType == %@"), {Value(QString::fromLatin1(type))});
}

Predicate BillListQuery::searchPredicate(const QString& text)
{
    if (text.isEmpty())
        return {};
    std::vector<Predicate> words;
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        words.push_back(parsed(QStringLiteral("keywords contains[cd] %@"), {Value(word)}));
    const Predicate title = parsed(QStringLiteral("title contains[cd] %@"), {Value(text)});
    if (words.empty())
        return title;
    return Predicate::orPredicate({title, Predicate::andPredicate(std::move(words))});
}

Predicate BillListQuery::rowPredicate(const BillListSettings& settings, BillDueRanges& ranges)
{
    return Predicate::andPredicate({directionPredicate(settings.directionFilter),
                                    searchPredicate(settings.searchText),
                                    ranges.predicateForItem(settings.dateRangeType)});
}

std::vector<ManagedObject*> BillListQuery::upcomingBills(const ManagedObjectContext& context)
{
    const EntityDescription& trans = ManagedObjectModel::shared().trans();
    const int upcoming = trans.indexOfAttribute(u"trans_isUpcoming");
    std::vector<ManagedObject*> bills;
    for (ManagedObject* t : context.objects(trans)) {
        if (!t->isDeleted() && t->primitiveValue(upcoming).toBool())
            bills.push_back(t);
    }
    return bills;
}

void BillListQuery::sortBills(std::vector<ManagedObject*>& bills, const QString& sortItem)
{
    if (sortItem == QLatin1String("By Date") || sortItem == QLatin1String("By Amount")) {
        const QStringView key = sortItem == QLatin1String("By Date") ? u"trans_date" : u"trans_amount";
        std::stable_sort(bills.begin(), bills.end(), [key](ManagedObject* a, ManagedObject* b) {
            const Value va = a->valueForKey(key);
            const Value vb = b->valueForKey(key);
            if (va.isNull() || vb.isNull())
                return va.isNull() && !vb.isNull();
            return va.toDouble() < vb.toDouble();
        });
        return;
    }
    std::stable_sort(bills.begin(), bills.end(), [](ManagedObject* a, ManagedObject* b) {
        return QString::compare(a->valueForKey(u"trans_title").toString(), b->valueForKey(u"trans_title").toString(),
                                Qt::CaseInsensitive) < 0;
    });
}

std::vector<ManagedObject*> BillListQuery::arrangedBills(const ManagedObjectContext& context,
                                                         const BillListSettings& settings, BillDueRanges& ranges)
{
    const Predicate wanted = rowPredicate(settings, ranges);
    std::vector<ManagedObject*> shown;
    for (ManagedObject* bill : upcomingBills(context)) {
        if (wanted.evaluate(BillRow(bill)))
            shown.push_back(bill);
    }
    sortBills(shown, settings.sort);
    return shown;
}

int BillListQuery::overdueCount(const ManagedObjectContext& context, AbsoluteTime now)
{
    const KVCalendarInfo today(now);
    const AbsoluteTime startOfToday = midnight(today.year(), today.month(), today.dayOfMonth(), now);
    int count = 0;
    for (ManagedObject* bill : upcomingBills(context)) {
        const Value date = bill->valueForKey(u"trans_date");
        if (!date.isNull() && date.toDate() < startOfToday)
            ++count;
    }
    return count;
}

} // namespace qf
