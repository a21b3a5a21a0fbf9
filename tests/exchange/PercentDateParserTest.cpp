#include "exchange/PercentDateParser.h"

#include "support/PinnedZone.h"

#include <gtest/gtest.h>

using namespace qf;

namespace {

QString read(const QString& pattern, const QString& text)
{
    const std::optional<QDate> date = PercentDateParser(pattern).parseDate(text);
    return date ? date->toString(Qt::ISODate) : QStringLiteral("none");
}

} // namespace

TEST(PercentDateParser, ReadsBankStyleDatesWithPaddingAndApostropheYears)
{
    EXPECT_EQ(read(QStringLiteral("%m/%d'%y"), QStringLiteral("1/ 5'98")), QStringLiteral("1998-01-05"));
    EXPECT_EQ(read(QStringLiteral("%m/%d'%y"), QStringLiteral("12/31'08")), QStringLiteral("2008-12-31"));
    EXPECT_EQ(read(QStringLiteral("%m/%d'%y"), QStringLiteral(" 1/ 5' 8")), QStringLiteral("2008-01-05"));
    EXPECT_EQ(read(QStringLiteral("%m/%d/%Y"), QStringLiteral("12/31/2007")), QStringLiteral("2007-12-31"));
    EXPECT_EQ(read(QStringLiteral("%d-%m-%y"), QStringLiteral("05-01-08")), QStringLiteral("2008-01-05"));
    EXPECT_EQ(read(QStringLiteral("%Y%m%d"), QStringLiteral("20080105")), QStringLiteral("2008-01-05"));
    EXPECT_EQ(read(QStringLiteral("%d.%m.%Y"), QStringLiteral("  7.3.2024\t")), QStringLiteral("2024-03-07"));
    // The pivot is fixed: 49 is this century, 50 the last.
    EXPECT_EQ(read(QStringLiteral("%y"), QStringLiteral("49")), QStringLiteral("none")); // no day, no month
    EXPECT_EQ(PercentDateParser::expandTwoDigitYear(49), 2049);
    EXPECT_EQ(PercentDateParser::expandTwoDigitYear(50), 1950);
    EXPECT_EQ(read(QStringLiteral("100%% %d/%m/%Y"), QStringLiteral("100% 1/2/2003")), QStringLiteral("2003-02-01"));
}

TEST(PercentDateParser, RejectsTextThatDoesNotFit)
{
    const QString pattern = QStringLiteral("%m/%d'%y");
    for (const char* text : {"", "1/5/98", "1/ 5'98x", "13/ 5'98", "2/30'08", "1/  5'98", "a/ 5'98", "1/ 5'", "1/ 5'998"})
        EXPECT_EQ(read(pattern, QString::fromLatin1(text)), QStringLiteral("none")) << text;
    EXPECT_EQ(read(QStringLiteral("%m/%d/%Y"), QStringLiteral("12/31/07")), QStringLiteral("none"));
    EXPECT_EQ(read(QString(), QStringLiteral("1/5/98")), QStringLiteral("none"));
    // Unknown escapes are literal text, not fields.
    EXPECT_EQ(read(QStringLiteral("%q%d/%m/%Y"), QStringLiteral("%q1/2/2003")), QStringLiteral("2003-02-01"));
    EXPECT_EQ(read(QStringLiteral("%q%d/%m/%Y"), QStringLiteral("1/2/2003")), QStringLiteral("none"));
    EXPECT_EQ(read(QStringLiteral("%m/%d/%Y"), QStringLiteral("2/29/2008")), QStringLiteral("2008-02-29"));
    EXPECT_EQ(read(QStringLiteral("%m/%d/%Y"), QStringLiteral("2/29/2007")), QStringLiteral("none"));
}

TEST(PercentDateParser, GivesLocalMidnightOfTheDay)
{
    const PercentDateParser parser(QStringLiteral("%m/%d/%Y"));
    // Winter and summer time in Berlin, the zone tests run in; the second
    // read of a day comes from the cache and must agree.
    EXPECT_EQ(parser.parse(QStringLiteral("1/5/2008")), qf::testing::berlinTime(2008, 1, 5));
    EXPECT_EQ(parser.parse(QStringLiteral("7/1/2008")), qf::testing::berlinTime(2008, 7, 1));
    EXPECT_EQ(parser.parse(QStringLiteral("01/05/2008")), qf::testing::berlinTime(2008, 1, 5));
    EXPECT_FALSE(parser.parse(QStringLiteral("1/5/08")));
}
