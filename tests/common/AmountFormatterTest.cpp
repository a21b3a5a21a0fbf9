#include "common/AmountFormatter.h"

#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <unicode/numfmt.h>

using namespace qf;

namespace {

// ICU releases differ in which no-break space they put where.
QString plainSpaces(QString text)
{
    return text.replace(QChar(0x00A0), u' ').replace(QChar(0x202F), u' ');
}

QString icuFormat(const icu::NumberFormat& format, double amount)
{
    icu::UnicodeString text;
    format.format(amount, text);
    return QString(reinterpret_cast<const QChar*>(text.getBuffer()), text.length());
}

} // namespace

TEST(AmountFormatter, FormatsCurrencyInFourLocales)
{
    const AmountFormatter us(QStringLiteral("en_US"));
    const AmountFormatter de(QStringLiteral("de_DE"));
    const AmountFormatter fr(QStringLiteral("fr_FR"));
    const AmountFormatter ja(QStringLiteral("ja_JP"));

    EXPECT_EQ(us.format(1234.5), QStringLiteral("$1,234.50"));
    EXPECT_EQ(us.format(-12.5), QStringLiteral("-$12.50"));
    EXPECT_EQ(plainSpaces(de.format(-1234567.891)), QStringLiteral("-1.234.567,89 €"));
    EXPECT_EQ(plainSpaces(fr.format(1234.5)), QStringLiteral("1 234,50 €"));
    EXPECT_EQ(ja.format(-1234.5), QStringLiteral("-￥1,234")); // no fraction digits, ties to even
    EXPECT_EQ(ja.format(1235.5), QStringLiteral("￥1,236"));

    EXPECT_EQ(us.currencySymbol(), QStringLiteral("$"));
    EXPECT_EQ(de.currencySymbol(), QStringLiteral("€"));
    EXPECT_EQ(ja.fractionDigits(), 0);
    // Rounding: half to even on the shortest decimal form, and a negative
    // amount that rounds to zero keeps its sign.
    EXPECT_EQ(us.format(0.125), QStringLiteral("$0.12"));
    EXPECT_EQ(us.format(0.015), QStringLiteral("$0.02"));
    EXPECT_EQ(us.format(999.995), QStringLiteral("$1,000.00"));
    EXPECT_EQ(us.format(-0.001), QStringLiteral("-$0.00"));
}

TEST(AmountFormatter, AgreesWithIcuOnRandomAndTieAmounts)
{
    const char* locales[] = {"en_US", "de_DE", "fr_FR", "ja_JP", "de_CH", "en_IN", "es_ES", "ar_EG", "fa_IR", "pt_BR"};
    for (const char* locale : {"en_US", "de_DE", "fr_FR", "ja_JP", "de_CH", "en_IN", "es_ES"})
        EXPECT_TRUE(AmountFormatter(QString::fromLatin1(locale)).hasFastPath()) << locale;
    std::mt19937_64 random(20240331);
    std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
    std::uniform_int_distribution<int> magnitude(-3, 14);
    for (const char* locale : locales) {
        const AmountFormatter formatter{QString::fromLatin1(locale)};
        UErrorCode status = U_ZERO_ERROR;
        const std::unique_ptr<icu::NumberFormat> icu(icu::NumberFormat::createCurrencyInstance(icu::Locale(locale), status));
        for (int i = 0; i < 3000; ++i) {
            double amount = mantissa(random) * std::pow(10.0, magnitude(random));
            if (i % 3 == 0) // exact ties at the currency's last digit
                amount = std::round(amount * 100.0) / 100.0 + 0.005;
            if (i % 7 == 0) // amounts as the store keeps them, in single precision
                amount = double(float(amount));
            ASSERT_EQ(formatter.format(amount), icuFormat(*icu, amount)) << locale << " " << amount;
        }
        EXPECT_EQ(formatter.format(1e300), icuFormat(*icu, 1e300)) << locale;
        EXPECT_EQ(formatter.format(std::nan("")), icuFormat(*icu, std::nan(""))) << locale;
    }
}

TEST(AmountFormatter, ParsesOwnOutputAndTypedVariantsStrictly)
{
    const AmountFormatter us(QStringLiteral("en_US"));
    const AmountFormatter de(QStringLiteral("de_DE"));
    const AmountFormatter fr(QStringLiteral("fr_FR"));
    const AmountFormatter ja(QStringLiteral("ja_JP"));
    for (const AmountFormatter* formatter : {&us, &de, &fr, &ja}) {
        for (double amount : {0.0, 12.0, -12.0, 1234567.0, -98765.0}) {
            const auto parsed = formatter->parse(formatter->format(amount));
            ASSERT_TRUE(parsed.has_value()) << formatter->localeIdentifier().toStdString() << " " << amount;
            EXPECT_DOUBLE_EQ(*parsed, amount);
        }
    }
    EXPECT_EQ(us.parse(u"-$1,234.56"), -1234.56);
    EXPECT_EQ(us.parse(u"12.50"), 12.5);
    EXPECT_EQ(us.parse(u" $ 12.50 "), 12.5);
    EXPECT_EQ(de.parse(u"12,50 €"), 12.5); // typed blank instead of a no-break space
    EXPECT_EQ(de.parse(u"-1.234,50€"), -1234.5);
    EXPECT_EQ(de.parse(u"12,50"), 12.5);
    EXPECT_EQ(fr.parse(u"1 234,50 €"), 1234.5);
    EXPECT_EQ(ja.parse(u"￥1,235"), 1235.0);

    for (const char16_t* text : {u"", u"   ", u"abc", u"12.50abc", u"12.5.5", u"1,2,3", u"€12.50", u"($12.50)"})
        EXPECT_FALSE(us.parse(text).has_value()) << QString::fromUtf16(text).toStdString();
    // A point in a German amount is a misplaced group separator, not a decimal point.
    EXPECT_FALSE(de.parse(u"12.50").has_value());
    EXPECT_FALSE(de.parse(u"$12.50").has_value());
}

TEST(AmountFormatter, FallsBackToTheLeadingNumber)
{
    const AmountFormatter us(QStringLiteral("en_US"));
    const AmountFormatter de(QStringLiteral("de_DE"));
    EXPECT_DOUBLE_EQ(us.parseOrLeadingNumber(u"12.50abc"), 12.5);
    EXPECT_DOUBLE_EQ(us.parseOrLeadingNumber(u"abc"), 0.0);
    EXPECT_DOUBLE_EQ(de.parseOrLeadingNumber(u"12.50"), 12.5);
    EXPECT_DOUBLE_EQ(de.parseOrLeadingNumber(u"1.234,50 €"), 1234.5);

    EXPECT_DOUBLE_EQ(AmountFormatter::leadingNumber(u"  -3e2x"), -300.0);
    EXPECT_DOUBLE_EQ(AmountFormatter::leadingNumber(u"+7"), 7.0);
    EXPECT_DOUBLE_EQ(AmountFormatter::leadingNumber(u".5"), 0.5);
    EXPECT_DOUBLE_EQ(AmountFormatter::leadingNumber(u"1e"), 1.0);
    EXPECT_DOUBLE_EQ(AmountFormatter::leadingNumber(u"1,5"), 1.0);
    EXPECT_DOUBLE_EQ(AmountFormatter::leadingNumber(u"-"), 0.0);
    EXPECT_DOUBLE_EQ(AmountFormatter::leadingNumber(u"$12"), 0.0);
}

TEST(AmountFormatter, RepertoireCoversEveryFormattedAmountAndNothingWordy)
{
    const char* locales[] = {"en_US", "de_DE", "fr_FR", "ja_JP", "de_CH", "ar_EG"};
    std::mt19937 random(7);
    std::uniform_real_distribution<double> amounts(-2e7, 2e7);
    for (const char* locale : locales) {
        const AmountFormatter formatter{QString::fromLatin1(locale)};
        EXPECT_FALSE(formatter.mayContain(u"coffee")) << locale;
        EXPECT_TRUE(formatter.mayContain(u"")) << locale;
        for (int i = 0; i < 300; ++i) {
            const QString text = formatter.format(amounts(random) / (1 + i % 1000));
            ASSERT_TRUE(formatter.mayContain(text)) << locale;
            ASSERT_TRUE(formatter.mayContain(text.toCaseFolded())) << locale;
        }
    }
    EXPECT_TRUE(AmountFormatter(QStringLiteral("de_CH")).mayContain(u"chf 12"));
    EXPECT_TRUE(AmountFormatter(QStringLiteral("ja_JP")).mayContain(u"¥")); // folded from the full-width sign
    EXPECT_FALSE(AmountFormatter(QStringLiteral("en_US")).mayContain(u"€"));
    EXPECT_TRUE(AmountFormatter(QStringLiteral("de_DE")).mayContain(u"12,50 €"));
}
