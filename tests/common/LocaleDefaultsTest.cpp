#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "common/LocaleDefaults.h"

#include <QDateTime>
#include <QTimeZone>
#include <gtest/gtest.h>

using namespace qf;

TEST(LocaleDefaults, FormattersMadeWithoutALocaleFollowTheDefaults)
{
    const QString originalLocale = LocaleDefaults::localeIdentifier();
    const QString originalZone = LocaleDefaults::timeZoneId();

    LocaleDefaults::setLocaleIdentifier(QStringLiteral("de_DE"));
    EXPECT_EQ(LocaleDefaults::localeIdentifier(), QStringLiteral("de_DE"));
    EXPECT_EQ(AmountFormatter().currencySymbol(), QStringLiteral("€"));
    EXPECT_EQ(DateFormatter(DateFormatter::Style::Short).icuPattern(), QStringLiteral("dd.MM.yy"));

    // 2024-06-30 23:30 UTC is already July in Tokyo, still June in New York.
    const AbsoluteTime instant = double(QDateTime(QDate(2024, 6, 30), QTime(23, 30), QTimeZone::utc()).toMSecsSinceEpoch()) / 1000.0
        - 978307200.0;
    ASSERT_TRUE(LocaleDefaults::setTimeZoneId(QStringLiteral("Asia/Tokyo")));
    const DateFormatter tokyo = DateFormatter::fromPercentPattern(u"%Y-%m-%d");
    ASSERT_TRUE(LocaleDefaults::setTimeZoneId(QStringLiteral("America/New_York")));
    const DateFormatter newYork = DateFormatter::fromPercentPattern(u"%Y-%m-%d");
    EXPECT_EQ(tokyo.format(instant), QStringLiteral("2024-07-01")); // keeps the zone it was made in
    EXPECT_EQ(newYork.format(instant), QStringLiteral("2024-06-30"));

    EXPECT_FALSE(LocaleDefaults::setTimeZoneId(QStringLiteral("Nowhere/Special")));
    EXPECT_EQ(LocaleDefaults::timeZoneId(), QStringLiteral("America/New_York"));

    LocaleDefaults::setLocaleIdentifier(originalLocale);
    EXPECT_TRUE(LocaleDefaults::setTimeZoneId(originalZone));
    EXPECT_EQ(LocaleDefaults::localeIdentifier(), originalLocale);
}
