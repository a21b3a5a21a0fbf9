#include "common/DateFormatter.h"

#include "support/PinnedZone.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::testing::berlinTime;

namespace {

class DateFormatterTest : public qf::testing::PinnedZoneTest {};

QString plainSpaces(QString text)
{
    return text.replace(QChar(0x00A0), u' ').replace(QChar(0x202F), u' ');
}

QString styled(DateFormatter::Style style, const char* locale, AbsoluteTime date)
{
    return plainSpaces(DateFormatter(style, QString::fromLatin1(locale)).format(date));
}

} // namespace

TEST_F(DateFormatterTest, FormatsTheFourStylesInFourLocales)
{
    using Style = DateFormatter::Style;
    const AbsoluteTime monday = berlinTime(2024, 10, 7, 15, 30);
    EXPECT_EQ(styled(Style::Short, "en_US", monday), QStringLiteral("10/7/24"));
    EXPECT_EQ(styled(Style::Medium, "en_US", monday), QStringLiteral("Oct 7, 2024"));
    EXPECT_EQ(styled(Style::Long, "en_US", monday), QStringLiteral("October 7, 2024"));
    EXPECT_EQ(styled(Style::Full, "en_US", monday), QStringLiteral("Monday, October 7, 2024"));
    EXPECT_EQ(styled(Style::Short, "de_DE", monday), QStringLiteral("07.10.24"));
    EXPECT_EQ(styled(Style::Long, "de_DE", monday), QStringLiteral("7. Oktober 2024"));
    EXPECT_EQ(styled(Style::Medium, "fr_FR", monday), QStringLiteral("7 oct. 2024"));
    EXPECT_EQ(styled(Style::Full, "fr_FR", monday), QStringLiteral("lundi 7 octobre 2024"));
    EXPECT_EQ(styled(Style::Long, "ja_JP", monday), QStringLiteral("2024年10月7日"));

    // 23:30 in Berlin is already the next day in UTC; the user's zone decides.
    EXPECT_EQ(styled(Style::Short, "en_US", berlinTime(2024, 12, 31, 23, 30)), QStringLiteral("12/31/24"));
    EXPECT_EQ(styled(Style::Short, "en_US", berlinTime(2025, 1, 1, 0, 30)), QStringLiteral("1/1/25"));
}

TEST_F(DateFormatterTest, ParsesEveryStyleBackToLocalMidnight)
{
    const AbsoluteTime afternoon = berlinTime(2024, 3, 31, 16, 45); // the day clocks go forward
    for (const char* locale : {"en_US", "de_DE", "fr_FR", "ja_JP"}) {
        for (auto style : {DateFormatter::Style::Short, DateFormatter::Style::Medium, DateFormatter::Style::Long,
                           DateFormatter::Style::Full}) {
            const DateFormatter formatter(style, QString::fromLatin1(locale));
            const auto parsed = formatter.parse(formatter.format(afternoon));
            ASSERT_TRUE(parsed.has_value()) << locale << " " << int(style);
            EXPECT_EQ(*parsed, berlinTime(2024, 3, 31)) << locale << " " << int(style);
        }
    }
}

TEST_F(DateFormatterTest, StrictParsingRejectsGarbageAndImpossibleDays)
{
    const DateFormatter usShort(DateFormatter::Style::Short, QStringLiteral("en_US"));
    const DateFormatter usMedium(DateFormatter::Style::Medium, QStringLiteral("en_US"));
    const DateFormatter deLong(DateFormatter::Style::Long, QStringLiteral("de_DE"));
    for (const char16_t* text : {u"", u"  ", u"garbage", u"2/30/24", u"13/8/24", u"10/8/24 extra", u"10/8", u"10-8-24"})
        EXPECT_FALSE(usShort.parse(text).has_value()) << QString::fromUtf16(text).toStdString();
    EXPECT_FALSE(usShort.parse(u"2/29/23").has_value());
    EXPECT_EQ(usShort.parse(u"2/29/24"), berlinTime(2024, 2, 29));
    EXPECT_FALSE(usMedium.parse(u"Oct 32, 2024").has_value());
    EXPECT_FALSE(usMedium.parse(u"Oct 8 2024").has_value());
    EXPECT_FALSE(deLong.parse(u"30. Februar 2024").has_value());
    EXPECT_EQ(deLong.parse(u"31. März 2024"), berlinTime(2024, 3, 31));

    // Surrounding blanks are ignored, and a one-digit day or month reads
    // under a two-digit field.
    EXPECT_EQ(usShort.parse(u"  10/8/24 "), berlinTime(2024, 10, 8));
    const DateFormatter deShort(DateFormatter::Style::Short, QStringLiteral("de_DE"));
    EXPECT_EQ(deShort.parse(u"7.3.24"), berlinTime(2024, 3, 7));
    EXPECT_FALSE(deShort.parse(u"7.13.24").has_value());
}

TEST_F(DateFormatterTest, TranslatesPercentPatterns)
{
    auto icu = [](const char16_t* pattern) { return DateFormatter::icuPatternFromPercentPattern(pattern); };
    EXPECT_EQ(icu(u"%m/%d/%y"), QStringLiteral("MM/dd/yy"));
    EXPECT_EQ(icu(u"%Y%m%d"), QStringLiteral("yyyyMMdd"));
    EXPECT_EQ(icu(u"%m/%d'%y"), QStringLiteral("MM/dd''yy"));
    EXPECT_EQ(icu(u"%e %b %Y, %H:%M:%S"), QStringLiteral("d MMM yyyy, HH:mm:ss"));
    EXPECT_EQ(icu(u"%A %B %I%p %j %Z %z"), QStringLiteral("EEEE MMMM hha DDD zzz Z"));
    EXPECT_EQ(icu(u"Due %d at 100%%"), QStringLiteral("'Due 'dd' at 100%'"));
    EXPECT_EQ(icu(u"%q%"), QStringLiteral("'%q%'")); // unknown escapes and a lone % stay literal
}

TEST_F(DateFormatterTest, PercentPatternsFormatAndParseStrictly)
{
    const DateFormatter event = DateFormatter::fromPercentPattern(u"%m/%d/%y");
    EXPECT_EQ(event.format(berlinTime(2024, 1, 5, 9)), QStringLiteral("01/05/24"));
    EXPECT_EQ(event.parse(u"01/05/24"), berlinTime(2024, 1, 5));
    EXPECT_EQ(event.parse(u"1/5/24"), berlinTime(2024, 1, 5));
    EXPECT_EQ(event.parse(u"12/31/2007"), berlinTime(2007, 12, 31));
    EXPECT_FALSE(event.parse(u"13/05/24").has_value());
    EXPECT_FALSE(event.parse(u"01-05-24").has_value());

    const DateFormatter qif = DateFormatter::fromPercentPattern(u"%m/%d'%y");
    EXPECT_EQ(qif.parse(u"1/ 5'98"), berlinTime(1998, 1, 5));
    const DateFormatter european = DateFormatter::fromPercentPattern(u"%d-%m-%y");
    EXPECT_EQ(european.parse(u"05-01-08"), berlinTime(2008, 1, 5));
    EXPECT_FALSE(european.parse(u"32-01-08").has_value());

    // Abutting numbers keep their widths; a bank's longer stamp reads as a prefix.
    const DateFormatter ofx = DateFormatter::fromPercentPattern(u"%Y%m%d");
    EXPECT_EQ(ofx.parse(u"20240105"), berlinTime(2024, 1, 5));
    EXPECT_FALSE(ofx.parse(u"20240105120000[0:GMT]").has_value());
    EXPECT_EQ(ofx.parse(u"20240105120000[0:GMT]", DateFormatter::ParseExtent::Prefix), berlinTime(2024, 1, 5));
    EXPECT_FALSE(ofx.parse(u"2024015").has_value());

    const DateFormatter named = DateFormatter::fromPercentPattern(u"%d %b %Y");
    EXPECT_EQ(named.format(berlinTime(2024, 3, 9)), QStringLiteral("09 Mar 2024"));
    EXPECT_EQ(named.parse(u"9 Mar 2024"), berlinTime(2024, 3, 9));
}

TEST_F(DateFormatterTest, RememberedDaysFollowDaylightSavingChanges)
{
    // Every half hour through both changes of 2024, in and out of order, the
    // remembered text must be the day Berlin's calendar shows.
    const DateFormatter iso = DateFormatter::fromPercentPattern(u"%Y-%m-%d");
    for (int pass = 0; pass < 2; ++pass) {
        for (const auto& [month, day] : {std::pair{3, 30}, std::pair{10, 26}}) {
            for (int step = 0; step < 4 * 48; ++step) {
                const int index = pass == 0 ? step : (step * 37) % (4 * 48);
                const AbsoluteTime when = berlinTime(2024, month, day) + index * 1800.0;
                ASSERT_EQ(iso.format(when), qf::testing::inBerlin(when).date().toString(Qt::ISODate)) << when;
            }
        }
    }
}
