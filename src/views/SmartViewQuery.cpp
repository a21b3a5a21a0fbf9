#include "views/SmartViewQuery.h"

#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"

#include <algorithm>

namespace qf {

namespace {

Predicate parsedOr(const QString& format, const ValueArray& arguments, const char* fallback)
{
    if (auto parsed = Predicate::parse(format, arguments))
        return *parsed;
    return *Predicate::parse(QString::fromLatin1(fallback));
}

} // namespace

Predicate SmartViewQuery::folderPredicate(const ManagedObject& vault)
{
    return parsedOr(vault.valueForKey(u"vault_smartPredicateString").toString(), {}, "self == nil");
}

std::optional<Predicate> SmartViewQuery::listPredicate(const ManagedObject& vault)
{
    const QString filter = vault.valueForKey(u"vault_directionFilter").toString();
    if (filter == QLatin1String("FilterAll"))
        return folderPredicate(vault);
    QString direction;
    if (filter == QLatin1String("FilterIncoming"))
        direction = QStringLiteral("Incoming");
    else if (filter == QLatin1String("FilterOutgoing"))
        direction = QStringLiteral("Outgoing");
    else
        return std::nullopt;
    return Predicate::andPredicate(
        {folderPredicate(vault), parsedOr(QStringLiteral("trans_direction == %@"), {Value(direction)}, "self == nil")});
}

Predicate SmartViewQuery::searchPredicate(const ManagedObject& vault, const QString& text)
{
    const Value word(text);
    return Predicate::andPredicate(
        {folderPredicate(vault),
         parsedOr(QStringLiteral("trans_title contains[cd] %@ OR trans_amount == %@ OR trans_keywords contains[cd] %@ "
                                 "OR trans_from contains[cd] %@ OR trans_to contains[cd] %@"),
                  {word, word, word, word, word}, "self == nil")});
}

std::vector<ManagedObject*> SmartViewQuery::transactions(const ManagedObjectContext& context, const ManagedObject& vault,
                                                         const QString& searchText)
{
    const std::optional<Predicate> filter =
        searchText.isEmpty() ? listPredicate(vault) : std::optional<Predicate>(searchPredicate(vault, searchText));
    std::vector<ManagedObject*> listed;
    for (ManagedObject* t : context.objects(ManagedObjectModel::shared().trans())) {
        if (!filter || filter->evaluate(*t))
            listed.push_back(t);
    }
    const int date = ManagedObjectModel::shared().trans().indexOfAttribute(u"trans_date");
    std::stable_sort(listed.begin(), listed.end(), [date](const ManagedObject* a, const ManagedObject* b) {
        return a->primitiveValue(date).toDouble() < b->primitiveValue(date).toDouble();
    });
    return listed;
}

void SmartViewQuery::giveIdentifiers(const std::vector<ManagedObject*>& transactions,
                                     const RecordEnvironment& environment)
{
    for (ManagedObject* t : transactions) {
        if (t->valueForKey(u"trans_uniqueID").toString().isEmpty())
            t->setValueForKey(u"trans_uniqueID", Value(environment.createUniqueID()));
    }
}

} // namespace qf
