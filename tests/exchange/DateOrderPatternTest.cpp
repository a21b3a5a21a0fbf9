#include "exchange/DateOrderPattern.h"

#include <gtest/gtest.h>

using namespace qf;

namespace {

QString pattern(const char* sample, const char* order)
{
    return DateOrderPattern::patternFromSample(QString::fromLatin1(sample), QString::fromLatin1(order))
        .value_or(QStringLiteral("none"));
}

} // namespace

TEST(DateOrderPattern, BuildsThePatternFromSampleAndOrder)
{
    EXPECT_EQ(pattern("1/ 5'98", "Month/Day/Year"), QStringLiteral("%m/%d'%y"));
    EXPECT_EQ(pattern("12/31/2007", "Month/Day/Year"), QStringLiteral("%m/%d/%Y"));
    EXPECT_EQ(pattern("05-01-08", "Day/Month/Year"), QStringLiteral("%d-%m-%y"));
    // One-character stretches get their "%" at the end, first and middle alike.
    EXPECT_EQ(pattern("1/5/2008", "Day/Month/Year"), QStringLiteral("%d/%m/%Y"));
    EXPECT_EQ(pattern("12/5,08", "Month/Day/Year"), QStringLiteral("%m/%d,%y"));
    // The width behind the last separator decides the year, wherever it stands.
    EXPECT_EQ(pattern("08/01/2005", "Year/Month/Day"), QStringLiteral("%Y/%m/%d"));
    EXPECT_EQ(pattern("01/08/05", "Day/Year/Month"), QStringLiteral("%d/%y/%m"));
    // Words outside Day, Month, Year give empty fields.
    EXPECT_EQ(pattern("1/2/3", "Month/Day"), QStringLiteral("%m/%d/%"));
}

TEST(DateOrderPattern, OverLongFirstPartShiftsTheRestAndNoSeparatorGivesNone)
{
    // A four-digit year first shifts the later stretches: the pattern is
    // wrong, but building it must neither fail nor run past the text.
    const QString shifted = pattern("2008-01-05", "Year/Month/Day");
    EXPECT_NE(shifted, QStringLiteral("%Y-%m-%d"));
    EXPECT_EQ(shifted, QStringLiteral("%y-01%m5%d"));
    EXPECT_EQ(pattern("20080105", "Year/Month/Day"), QStringLiteral("none"));
    EXPECT_EQ(pattern("1/598", "Month/Day/Year"), QStringLiteral("none"));
    EXPECT_EQ(pattern("", "Month/Day/Year"), QStringLiteral("none"));
}
