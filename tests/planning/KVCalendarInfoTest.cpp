#include "planning/KVCalendarInfo.h"

#include "support/PinnedZone.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::testing::berlinTime;
using qf::testing::inBerlin;

namespace {

class KVCalendarInfoTest : public qf::testing::PinnedZoneTest {
protected:
    void TearDown() override
    {
        KVCalendarInfo::setClockForTesting({});
        KVCalendarInfo::setDefaultRoundingRule(2);
    }

    static void pinNow(AbsoluteTime now)
    {
        KVCalendarInfo::setClockForTesting([now] { return now; });
    }
};

QString berlinText(AbsoluteTime time)
{
    return inBerlin(time).toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

} // namespace

TEST_F(KVCalendarInfoTest, AnswersAboutTheCursorInTheLocalZone)
{
    const KVCalendarInfo leapFebruary(berlinTime(2024, 2, 10, 12));
    EXPECT_EQ(leapFebruary.year(), 2024);
    EXPECT_EQ(leapFebruary.month(), 2);
    EXPECT_EQ(leapFebruary.dayOfMonth(), 10);
    EXPECT_EQ(leapFebruary.daysInMonth(), 29);
    EXPECT_EQ(KVCalendarInfo(berlinTime(2023, 2, 10)).daysInMonth(), 28);
    EXPECT_EQ(KVCalendarInfo(berlinTime(1900, 2, 10)).daysInMonth(), 28);
    EXPECT_EQ(KVCalendarInfo(berlinTime(2000, 2, 10)).daysInMonth(), 29);

    // Just after midnight on New Year in Berlin is still 31 December in UTC.
    const KVCalendarInfo newYear(berlinTime(2025, 1, 1, 0, 30));
    EXPECT_EQ(newYear.year(), 2025);
    EXPECT_EQ(newYear.month(), 1);
    EXPECT_EQ(newYear.dayOfMonth(), 1);

    KVCalendarInfo elsewhere(berlinTime(2025, 1, 1, 0, 30));
    EXPECT_TRUE(elsewhere.setTimeZone(QStringLiteral("America/New_York")));
    EXPECT_EQ(elsewhere.year(), 2024);
    EXPECT_EQ(elsewhere.dayOfMonth(), 31);
    EXPECT_FALSE(elsewhere.setTimeZone(QStringLiteral("Mars/Olympus_Mons")));
    EXPECT_EQ(elsewhere.timeZoneId(), QStringLiteral("America/New_York"));
}

TEST_F(KVCalendarInfoTest, DayOfWeekCountsFromTheLocalesFirstWeekday)
{
    const AbsoluteTime sunday = berlinTime(2024, 10, 6, 12);
    const AbsoluteTime monday = berlinTime(2024, 10, 7, 12);
    const KVCalendarInfo us(monday, QStringLiteral("en_US"));
    const KVCalendarInfo german(monday, QStringLiteral("de_DE"));
    EXPECT_EQ(us.firstWeekday(), 1);
    EXPECT_EQ(german.firstWeekday(), 2);
    EXPECT_EQ(us.dayOfWeek(), 2);
    EXPECT_EQ(german.dayOfWeek(), 1);
    EXPECT_EQ(KVCalendarInfo(sunday, QStringLiteral("en_US")).dayOfWeek(), 1);
    EXPECT_EQ(KVCalendarInfo(sunday, QStringLiteral("de_DE")).dayOfWeek(), 7);
}

TEST_F(KVCalendarInfoTest, MonthAndYearStepsClampToTheLastDayAndKeepTheTime)
{
    KVCalendarInfo cursor(berlinTime(2024, 5, 31, 14, 30));
    cursor.adjustMonths(-1);
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2024-04-30 14:30"));

    cursor.setAbsoluteTime(berlinTime(2024, 3, 31, 9));
    cursor.moveToPreviousMonth();
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2024-02-29 09:00"));
    cursor.setAbsoluteTime(berlinTime(2023, 3, 31, 9));
    cursor.moveToPreviousMonth();
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2023-02-28 09:00"));

    cursor.setAbsoluteTime(berlinTime(2024, 1, 31, 8));
    cursor.moveToNextMonth();
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2024-02-29 08:00"));
    cursor.adjustMonths(11);
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2025-01-29 08:00"));

    cursor.setAbsoluteTime(berlinTime(2024, 2, 29, 18));
    cursor.moveToNextYear();
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2025-02-28 18:00"));
    cursor.adjustYears(-5);
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2020-02-28 18:00"));
}

TEST_F(KVCalendarInfoTest, DayStepsKeepWallClockTimeAcrossDaylightSaving)
{
    KVCalendarInfo cursor(berlinTime(2024, 3, 30, 12));
    cursor.moveToNextDay();
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2024-03-31 12:00"));
    EXPECT_EQ(cursor.absoluteTime() - berlinTime(2024, 3, 30, 12), 23 * 3600.0);
    cursor.adjustDays(-31);
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2024-02-29 12:00"));
    cursor.setAbsoluteTime(berlinTime(2024, 10, 26, 12));
    cursor.adjustDays(2);
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2024-10-28 12:00"));
    cursor.moveToPreviousDay();
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2024-10-27 12:00"));
}

TEST_F(KVCalendarInfoTest, RoundingRuleFourStepsMonthsAsThirtyDays)
{
    EXPECT_EQ(KVCalendarInfo::defaultRoundingRule(), 2);
    KVCalendarInfo::setDefaultRoundingRule(4);
    KVCalendarInfo cursor(berlinTime(2024, 3, 31, 10));
    cursor.moveToPreviousMonth();
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2024-03-01 10:00"));
    cursor.adjustMonths(2);
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2024-04-30 10:00"));
    cursor.adjustYears(1); // years are unaffected
    EXPECT_EQ(berlinText(cursor.absoluteTime()), QStringLiteral("2025-04-30 10:00"));
}

TEST_F(KVCalendarInfoTest, FirstDayOfMonthAndLocalMidnightCarryOverflow)
{
    KVCalendarInfo cursor(berlinTime(2024, 10, 27, 23, 59)); // the day clocks go back
    EXPECT_TRUE(cursor.moveToFirstDayOfMonth());
    EXPECT_EQ(cursor.absoluteTime(), berlinTime(2024, 10, 1));

    EXPECT_EQ(KVCalendarInfo::localMidnight(2024, 3, 31), berlinTime(2024, 3, 31));
    EXPECT_EQ(KVCalendarInfo::localMidnight(2024, 1, 30 + 5), berlinTime(2024, 2, 4));
    EXPECT_EQ(KVCalendarInfo::localMidnight(2024, 4, 31), berlinTime(2024, 5, 1));
    EXPECT_EQ(KVCalendarInfo::localMidnight(2024, 13, 1), berlinTime(2025, 1, 1));
    EXPECT_EQ(KVCalendarInfo::localMidnight(2024, 3, 0), berlinTime(2024, 2, 29));
}

TEST_F(KVCalendarInfoTest, ClassQueriesAskThePinnedClockAfresh)
{
    pinNow(berlinTime(2024, 3, 31, 10));
    EXPECT_EQ(KVCalendarInfo::currentMonth(), 3);
    EXPECT_EQ(KVCalendarInfo::currentYear(), 2024);
    EXPECT_EQ(KVCalendarInfo::daysInCurrentMonth(), 31);
    EXPECT_EQ(KVCalendarInfo::currentDayOfMonth(), 31);
    EXPECT_EQ(KVCalendarInfo::currentDate(), berlinTime(2024, 3, 31, 10));
    EXPECT_EQ(KVCalendarInfo::calendarInfo().absoluteTime(), berlinTime(2024, 3, 31, 10));

    pinNow(berlinTime(2023, 2, 1));
    EXPECT_EQ(KVCalendarInfo::daysInCurrentMonth(), 28);
    KVCalendarInfo cursor(berlinTime(2000, 1, 1));
    cursor.resetDateAndTimeToCurrent();
    EXPECT_EQ(cursor.absoluteTime(), berlinTime(2023, 2, 1));

    KVCalendarInfo::setClockForTesting({});
    const double system = double(QDateTime::currentMSecsSinceEpoch()) / 1000.0 - 978307200.0;
    EXPECT_NEAR(KVCalendarInfo::now(), system, 5.0);
}

TEST_F(KVCalendarInfoTest, DatesConvertBothWaysAndInvalidOnesAreIgnored)
{
    KVCalendarInfo cursor(berlinTime(2024, 6, 15, 8, 45));
    const QDateTime date = cursor.date();
    EXPECT_EQ(date.toTimeZone(QTimeZone("Europe/Berlin")).toString(Qt::ISODate), QStringLiteral("2024-06-15T08:45:00+02:00"));
    cursor.setDate(QDateTime());
    EXPECT_EQ(cursor.absoluteTime(), berlinTime(2024, 6, 15, 8, 45));
    cursor.setDate(date.addDays(1));
    EXPECT_EQ(cursor.dayOfMonth(), 16);
}
