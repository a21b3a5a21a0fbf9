#pragma once

#include <QString>
#include <QStringView>
#include <memory>
#include <optional>

namespace qf {

// Currency-style amounts for one locale: "$1,234.50", "1.234,50 €", "￥1,235".
//
// The locale is an ICU identifier ("en_US", "de_DE"); the empty identifier
// means the default locale (LocaleDefaults) at the time of construction. The
// currency is the locale's own, with its number of fraction digits.
//
// An instance caches its ICU objects; use one instance per thread.
class AmountFormatter {
public:
    explicit AmountFormatter(const QString& localeIdentifier = QString());
    AmountFormatter(const AmountFormatter& other);
    AmountFormatter& operator=(const AmountFormatter& other);
    AmountFormatter(AmountFormatter&& other) noexcept;
    AmountFormatter& operator=(AmountFormatter&& other) noexcept;
    ~AmountFormatter();

    // The resolved ICU name of the locale in use.
    QString localeIdentifier() const;
    QString currencySymbol() const;
    int fractionDigits() const;

    // Rounds half to even at the currency's digits, as ICU does; a negative
    // amount that rounds to zero keeps its minus sign.
    QString format(double amount) const;

    // The amount a text states: the whole text must be a currency amount or a
    // plain number in this locale ("$12.50" or "12.50" in en_US, "12,50 €" or
    // "12,50" in de_DE). Spaces of any kind are ignored, so typed blanks match
    // the no-break spaces the formatter writes. Anything else is no amount.
    std::optional<double> parse(QStringView text) const;

    // True when amounts are put together without ICU, which happens only
    // after that way reproduced ICU's output for a set of probe amounts.
    bool hasFastPath() const;

    // parse(), or else the number the text starts with (leadingNumber()).
    double parseOrLeadingNumber(QStringView text) const;

    // The locale-independent reading of the number a text starts with, after
    // leading white space: "12.50abc" is 12.5, " -3e2x" is -300, "abc" is 0.
    static double leadingNumber(QStringView text);

    // Every character a formatted amount of this formatter can hold, with
    // their lower-case, case-folded and compatibility-decomposed forms.
    const QString& characterRepertoire() const;

    // False when the needle can occur in no formatted amount, so a text search
    // may skip formatting amounts at all. The empty needle occurs everywhere.
    bool mayContain(QStringView needle) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace qf
