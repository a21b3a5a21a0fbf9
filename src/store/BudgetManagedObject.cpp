#include "store/BudgetManagedObject.h"
#include "common/AbsoluteTime.h"

#include "store/RecordEnvironment.h"

#include <QDateTime>
#include <QtGlobal>
#include <cmath>

namespace qf {

namespace {

// Seconds from 1970-01-01 to 2001-01-01, both UTC.

struct BudgetKeys {
    BudgetKeys()
    {
        const EntityDescription& e = ManagedObjectModel::shared().budget();
        vaultID = e.indexOfAttribute(u"budget_vaultID");
        direction = e.indexOfAttribute(u"budget_direction");
        tags = e.indexOfAttribute(u"budget_tags");
        limitAmount = e.indexOfAttribute(u"budget_limitAmount");
        dateRange = e.indexOfAttribute(u"budget_dateRange");
        const int attributes = e.attributeCount();
        limitAdjusted = e.indexOfKey(u"budget_limitAmountAdjusted") - attributes;
        actual = e.indexOfKey(u"budget_actualAmount") - attributes;
    }
    int vaultID, direction, tags, limitAmount, dateRange;
    int limitAdjusted, actual;
};

const BudgetKeys& keys()
{
    static const BudgetKeys k;
    return k;
}

} // namespace

BudgetManagedObject::BudgetManagedObject(const EntityDescription& entity, ManagedObjectContext& context,
                                         std::int64_t primaryKey, const RecordEnvironment* environment)
    : ManagedObject(entity, context, primaryKey), m_environment(environment)
{
    Q_ASSERT(&entity == &ManagedObjectModel::shared().budget());
}

QStringList BudgetManagedObject::keysDerivedFrom(QStringView key) const
{
    if (key == u"budget_limitAmount")
        return {QStringLiteral("budget_limitAmountAdjusted"), QStringLiteral("budget_actualAmount")};
    return {};
}

Value BudgetManagedObject::derivedValue(int derivedIndex) const
{
    if (derivedIndex == keys().limitAdjusted)
        return Value(static_cast<double>(limitAmountAdjusted()));
    if (derivedIndex == keys().actual)
        return Value(static_cast<double>(actualAmount()));
    return {};
}

int BudgetManagedObject::dayOfMonthOneMonthLater(AbsoluteTime time)
{
    const QDate today =
        dateTimeFromAbsoluteTime(time).date();
    const QDate nextMonth = QDate(today.year(), today.month(), 1).addMonths(1);
    const int length = nextMonth.daysInMonth();
    return today.day() <= length ? today.day() : today.day() - length;
}

QString BudgetManagedObject::reportingPeriod() const
{
    const Value vaultID = primitiveValue(keys().vaultID);
    if (!m_environment || vaultID.string().isEmpty())
        return {};
    const auto vaults =
        m_environment->fetch(QStringLiteral("VaultEntity"), QStringLiteral("vault_uniqueID == %@"), {vaultID});
    return vaults.empty() ? QString() : vaults.front()->valueForKey(u"vault_budgetDateRange").toString();
}

float BudgetManagedObject::limitAmountAdjusted() const
{
    const float limit = static_cast<float>(primitiveValue(keys().limitAmount).toDouble());
    const QString interval = primitiveValue(keys().dateRange).toString();
    const QString period = reportingPeriod();
    // The factors are the ledger's own (a day number for "Daily" within a
    // month, 356 days a year) and are kept as they are.
    if (period == u"This Month" || period == u"Last Month") {
        if (interval == u"Daily")
            return limit * static_cast<float>(dayOfMonthOneMonthLater(m_environment->now()));
        if (interval == u"Weekly")
            return limit * 4;
        if (interval == u"Bi-Weekly")
            return limit * 2;
        if (interval == u"Yearly")
            return limit / 12;
        return limit;
    }
    if (period == u"This Year" || period == u"Last Year") {
        if (interval == u"Daily")
            return limit * 356;
        if (interval == u"Weekly")
            return limit * 52;
        if (interval == u"Bi-Weekly")
            return limit * 26;
        if (interval == u"Monthly")
            return limit * 12;
        return limit;
    }
    return limit;
}

std::optional<BudgetManagedObject::MatchFilter> BudgetManagedObject::matchFilter() const
{
    if (!m_environment)
        return std::nullopt;
    const auto bounds = m_environment->periodBounds(reportingPeriod());
    if (!bounds) {
        qWarning("Date Filter Predicate NULL");
        return std::nullopt;
    }
    MatchFilter filter{QStringLiteral("trans_date >= %@ AND trans_date <= %@"),
                       {Value::date(bounds->first), Value::date(bounds->second)}};
    int tagCount = 0;
    for (const QString& tag : primitiveValue(keys().tags).toString().split(QStringLiteral(", "))) {
        if (tag.isEmpty())
            continue;
        filter.format += QStringLiteral(" AND trans_keywords contains[cd] %@");
        filter.arguments.push_back(Value(tag));
        ++tagCount;
    }
    if (tagCount == 0) {
        qWarning("Tag Predicate NULL");
        return std::nullopt;
    }
    return filter;
}

float BudgetManagedObject::actualAmount() const
{
    if (!m_environment || primitiveValue(keys().vaultID).string().isEmpty())
        return 0.0f;
    const std::optional<MatchFilter> filter = matchFilter();
    if (!filter)
        return 0.0f;
    const QString& format = filter->format;
    const ValueArray& arguments = filter->arguments;

    const Value direction = primitiveValue(keys().direction);
    double sum = 0;
    for (const ManagedObject* trans : m_environment->fetch(QStringLiteral("TransEntity"), format, arguments)) {
        if (trans->valueForKey(u"trans_direction") == direction)
            sum += trans->valueForKey(u"trans_amount").toDouble();
    }
    return static_cast<float>(std::fabs(sum));
}

} // namespace qf
