#include "planning/NamedPeriod.h"

#include "support/PinnedZone.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::testing::berlinTime;

namespace {

class NamedPeriodTest : public qf::testing::PinnedZoneTest {};

// The bounds as Berlin dates, "lower..upper", with times shown only when not midnight.
std::string describe(const PeriodBounds& bounds)
{
    auto text = [](AbsoluteTime t) {
        const QDateTime local = qf::testing::inBerlin(t);
        return local.time() == QTime(0, 0) ? local.date().toString(Qt::ISODate) : local.toString(Qt::ISODate);
    };
    return QString(text(bounds.lower) + QStringLiteral("..") + text(bounds.upper)).toStdString();
}

} // namespace

TEST_F(NamedPeriodTest, LastMonthOnTheThirtyFirstOfMarchIsAllOfFebruary)
{
    EXPECT_EQ(describe(namedPeriodBounds(NamedPeriod::LastMonth, berlinTime(2024, 3, 31, 12))), "2024-02-01..2024-02-29");
    EXPECT_EQ(describe(namedPeriodBounds(NamedPeriod::LastMonth, berlinTime(2023, 3, 31, 23, 59))), "2023-02-01..2023-02-28");
    EXPECT_EQ(describe(namedPeriodBounds(NamedPeriod::ThisMonth, berlinTime(2024, 3, 31, 12))), "2024-03-01..2024-03-31");
    EXPECT_EQ(describe(namedPeriodBounds(NamedPeriod::ThisMonth, berlinTime(2024, 2, 1))), "2024-02-01..2024-02-29");
}

TEST_F(NamedPeriodTest, JanuaryLooksBackIntoThePreviousYear)
{
    const AbsoluteTime january = berlinTime(2024, 1, 15, 9);
    EXPECT_EQ(describe(namedPeriodBounds(NamedPeriod::LastMonth, january)), "2023-12-01..2023-12-31");
    EXPECT_EQ(describe(namedPeriodBounds(NamedPeriod::LastYear, january)), "2023-01-01..2023-12-31");
    EXPECT_EQ(describe(namedPeriodBounds(NamedPeriod::ThisYear, january)), "2024-01-01..2024-12-31");
    EXPECT_EQ(describe(namedPeriodBounds(NamedPeriod::ThisMonth, january)), "2024-01-01..2024-01-31");
    // The first minutes of a year in Berlin are still the old year in UTC.
    EXPECT_EQ(describe(namedPeriodBounds(NamedPeriod::ThisYear, berlinTime(2025, 1, 1, 0, 5))), "2025-01-01..2025-12-31");
}

TEST_F(NamedPeriodTest, UpperBoundAdmitsOnlyMidnightOfTheLastDay)
{
    // October 2024 starts in summer time and ends in winter time; both bounds
    // are Berlin midnights all the same.
    const PeriodBounds october = namedPeriodBounds(NamedPeriod::ThisMonth, berlinTime(2024, 10, 15));
    EXPECT_EQ(october.lower, berlinTime(2024, 10, 1));
    EXPECT_EQ(october.upper, berlinTime(2024, 10, 31));
    EXPECT_EQ(october.upper - october.lower, 30 * 86400.0 + 3600.0);

    const AbsoluteTime lastMidnight = berlinTime(2024, 10, 31);
    const AbsoluteTime lastEvening = berlinTime(2024, 10, 31, 23);
    EXPECT_TRUE(lastMidnight >= october.lower && lastMidnight <= october.upper);
    EXPECT_FALSE(lastEvening <= october.upper);
}

TEST_F(NamedPeriodTest, NamesAreTheStoredVocabulary)
{
    const AbsoluteTime now = berlinTime(2024, 3, 31, 12);
    for (NamedPeriod period : {NamedPeriod::ThisMonth, NamedPeriod::LastMonth, NamedPeriod::ThisYear, NamedPeriod::LastYear}) {
        const auto bounds = namedPeriodBounds(namedPeriodName(period), now);
        ASSERT_TRUE(bounds.has_value());
        EXPECT_EQ(bounds->first, namedPeriodBounds(period, now).lower);
        EXPECT_EQ(bounds->second, namedPeriodBounds(period, now).upper);
    }
    EXPECT_EQ(namedPeriodName(NamedPeriod::LastYear), QStringLiteral("Last Year"));
    EXPECT_FALSE(namedPeriodBounds(u"this month", now).has_value());
    EXPECT_FALSE(namedPeriodBounds(u"All", now).has_value());
    EXPECT_FALSE(namedPeriodBounds(u"", now).has_value());
}
