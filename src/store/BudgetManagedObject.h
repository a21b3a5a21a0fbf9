#pragma once

#include "store/ManagedObject.h"

#include <optional>

namespace qf {

class RecordEnvironment;

// Record class of BudgetEntity: a budget line's limit converted to its
// budget's reporting period, and the actual amount of the matching
// transactions. Both are computed on every read.
class BudgetManagedObject final : public ManagedObject {
public:
    // The environment may be null (then both figures read as 0); it must outlive the record.
    BudgetManagedObject(const EntityDescription& entity, ManagedObjectContext& context, std::int64_t primaryKey,
                        const RecordEnvironment* environment);

    QStringList keysDerivedFrom(QStringView key) const override;

    float limitAmountAdjusted() const;
    float actualAmount() const;

    // What the actual amount sums before the direction is checked: the
    // budget's period AND every tag. None, and the reason logged, when the
    // period has no bounds or the line no tags.
    struct MatchFilter {
        QString format;
        ValueArray arguments;
    };
    std::optional<MatchFilter> matchFilter() const;

    // The day of the month reached one calendar month after the given time
    // (local time), a day the next month lacks carried into the month after.
    static int dayOfMonthOneMonthLater(AbsoluteTime time);

protected:
    Value derivedValue(int derivedIndex) const override;

private:
    // The owning budget's reporting period ("This Month", ...); empty when unknown.
    QString reportingPeriod() const;

    const RecordEnvironment* m_environment;
};

} // namespace qf
