#include "common/AmountFormatter.h"

#include "common/IcuInternal.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>
#include <unicode/numfmt.h>
#include <vector>

namespace qf {

namespace {

bool isSpaceLike(char16_t c)
{
    return QChar(c).isSpace();
}

icu::UnicodeString withoutSpaces(const icu::UnicodeString& text)
{
    icu::UnicodeString result;
    for (int32_t i = 0; i < text.length(); ++i) {
        if (!isSpaceLike(text[i]))
            result.append(text[i]);
    }
    return result;
}

// The pieces of a currency pattern, put together without ICU.
//
// ICU takes roughly half a microsecond per amount; a search that must look at
// the formatted amount of every transaction cannot afford that. An amount is
// turned into its shortest decimal digits (as ICU does), rounded half to even
// and decorated with the locale's affixes, separators and digits. The pieces
// are only used after they reproduced ICU's output for a set of probes.
struct FastPath {
    QString positivePrefix, positiveSuffix, negativePrefix, negativeSuffix;
    QString decimalSeparator, groupingSeparator;
    char16_t zeroDigit = u'0';
    int fractionDigits = 2;
    int primaryGroup = 3;
    int secondaryGroup = 3;
    int minimumGrouping = 1;
    bool grouping = true;

    // Amounts beyond this have more integer digits than a double holds exactly.
    static constexpr double kLimit = 1e15;
    // Room for 16 integer digits, their separators, the fraction and affixes;
    // pieces longer than kPieceLimit leave the amount to ICU.
    static constexpr std::size_t kBufferSize = 256;
    static constexpr qsizetype kPieceLimit = 8;

    bool fitsBuffer() const
    {
        return positivePrefix.size() + positiveSuffix.size() <= 4 * kPieceLimit
            && negativePrefix.size() + negativeSuffix.size() <= 4 * kPieceLimit
            && decimalSeparator.size() <= kPieceLimit && groupingSeparator.size() <= kPieceLimit
            && fractionDigits <= 6;
    }

    QString format(double amount) const;
};

QString FastPath::format(double amount) const
{
    const bool negative = std::signbit(amount);
    char buffer[40];
    const auto written = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(amount), std::chars_format::scientific);

    // buffer holds d[.ddd]e±xx: collect the digits and the exponent.
    std::array<char, 40> digits{};
    int digitCount = 0;
    const char* p = buffer;
    for (; p < written.ptr && *p != 'e'; ++p) {
        if (*p != '.')
            digits[digitCount++] = *p;
    }
    int exponent = 0;
    if (p < written.ptr) {
        ++p;
        const bool negativeExponent = *p == '-';
        if (*p == '-' || *p == '+')
            ++p;
        std::from_chars(p, written.ptr, exponent);
        if (negativeExponent)
            exponent = -exponent;
    }

    // scaled = the amount times 10^fractionDigits, rounded half to even, as digits.
    const int keep = exponent + 1 + fractionDigits;
    std::array<char, 48> scaled{};
    int scaledCount = 0;
    bool roundUp = false;
    if (keep >= 0) {
        for (int i = 0; i < keep; ++i)
            scaled[scaledCount++] = i < digitCount ? digits[i] : '0';
        if (keep < digitCount) {
            const char first = digits[keep];
            if (first > '5') {
                roundUp = true;
            } else if (first == '5') {
                const bool moreThanHalf = std::any_of(digits.begin() + keep + 1, digits.begin() + digitCount,
                                                      [](char c) { return c != '0'; });
                const int lastKept = keep > 0 ? scaled[keep - 1] - '0' : 0;
                roundUp = moreThanHalf || lastKept % 2 == 1;
            }
        }
    }
    if (roundUp) {
        int i = scaledCount - 1;
        while (i >= 0 && scaled[i] == '9')
            scaled[i--] = '0';
        if (i >= 0) {
            ++scaled[i];
        } else {
            std::move_backward(scaled.begin(), scaled.begin() + scaledCount, scaled.begin() + scaledCount + 1);
            scaled[0] = '1';
            ++scaledCount;
        }
    }
    // At least one integer digit.
    const int padding = std::max(0, fractionDigits + 1 - scaledCount);
    if (padding > 0) {
        std::move_backward(scaled.begin(), scaled.begin() + scaledCount, scaled.begin() + scaledCount + padding);
        std::fill(scaled.begin(), scaled.begin() + padding, '0');
        scaledCount += padding;
    }
    const int integerCount = scaledCount - fractionDigits;

    // One allocation: the text is put together in a local buffer first.
    const QString& prefix = negative ? negativePrefix : positivePrefix;
    const QString& suffix = negative ? negativeSuffix : positiveSuffix;
    std::array<char16_t, kBufferSize> out;
    std::size_t length = 0;
    auto put = [&out, &length](const QString& text) {
        std::copy(text.utf16(), text.utf16() + text.size(), out.begin() + length);
        length += std::size_t(text.size());
    };
    auto putDigit = [&](char digit) { out[length++] = char16_t(zeroDigit + (digit - '0')); };
    put(prefix);
    const bool grouped = grouping && integerCount >= primaryGroup + minimumGrouping;
    for (int i = 0; i < integerCount; ++i) {
        if (grouped && i > 0) {
            const int fromRight = integerCount - i; // digits still to come, this one included
            if (fromRight == primaryGroup
                || (fromRight > primaryGroup && (fromRight - primaryGroup) % secondaryGroup == 0))
                put(groupingSeparator);
        }
        putDigit(scaled[i]);
    }
    if (fractionDigits > 0) {
        put(decimalSeparator);
        for (int i = integerCount; i < scaledCount; ++i)
            putDigit(scaled[i]);
    }
    put(suffix);
    return QString(reinterpret_cast<const QChar*>(out.data()), qsizetype(length));
}

// Amounts that exercise rounding ties, carries, grouping and signs.
constexpr double kProbes[] = {
    0.0, -0.0, 0.004, -0.004, 0.005, 0.015, 0.025, 0.125, 0.5, 1.5, 2.5, -2.5, 1.005, 2.675, 9.995, -9.995,
    12.5, -12.5, 99.5, 999.995, 1000, 1234, -1234.5, 12345.678, 123456.7, 1234567.891, -98765432.1,
    1234567890.12, -999999.995, 12.345f, 0.1f, 123456789012345.0, 99999999999999.99,
};

} // namespace

struct AmountFormatter::Private {
    QString requestedLocale;
    icu::Locale locale;
    std::unique_ptr<icu::NumberFormat> currency;
    std::unique_ptr<icu::NumberFormat> currencyParser; // the currency pattern without spaces
    std::unique_ptr<icu::NumberFormat> plainParser;
    std::optional<FastPath> fast;
    QString symbol;
    int fractionDigits = 2;
    QString repertoire;
    std::vector<char16_t> sortedRepertoire;

    explicit Private(const QString& identifier);
    QString icuFormat(double amount) const;
    void prepareFastPath();
    void prepareRepertoire();
};

AmountFormatter::Private::Private(const QString& identifier)
    : requestedLocale(identifier)
    , locale(icuglue::localeFor(identifier))
{
    UErrorCode status = U_ZERO_ERROR;
    currency.reset(icu::NumberFormat::createCurrencyInstance(locale, status));
    if (U_FAILURE(status))
        currency.reset();
    if (currency) {
        fractionDigits = currency->getMaximumFractionDigits();
        if (auto* decimal = dynamic_cast<icu::DecimalFormat*>(currency.get())) {
            symbol = icuglue::toQString(decimal->getDecimalFormatSymbols()->getSymbol(icu::DecimalFormatSymbols::kCurrencySymbol));
            auto* parser = decimal->clone();
            icu::UnicodeString pattern;
            decimal->toPattern(pattern);
            status = U_ZERO_ERROR;
            parser->applyPattern(withoutSpaces(pattern), status);
            if (U_SUCCESS(status))
                currencyParser.reset(parser);
            else
                delete parser;
        }
    }
    status = U_ZERO_ERROR;
    plainParser.reset(icu::NumberFormat::createInstance(locale, status));
    if (U_FAILURE(status))
        plainParser.reset();
    prepareFastPath();
    prepareRepertoire();
}

QString AmountFormatter::Private::icuFormat(double amount) const
{
    if (!currency)
        return QString::number(amount, 'f', fractionDigits);
    icu::UnicodeString text;
    currency->format(amount, text);
    return icuglue::toQString(text);
}

void AmountFormatter::Private::prepareFastPath()
{
    const auto* decimal = dynamic_cast<const icu::DecimalFormat*>(currency.get());
    if (!decimal)
        return;
    if (decimal->getRoundingMode() != icu::DecimalFormat::kRoundHalfEven || decimal->getRoundingIncrement() != 0.0
        || decimal->getMinimumFractionDigits() != decimal->getMaximumFractionDigits()
        || decimal->getMinimumIntegerDigits() != 1 || decimal->areSignificantDigitsUsed())
        return;

    const icu::DecimalFormatSymbols& symbols = *decimal->getDecimalFormatSymbols();
    FastPath path;
    const icu::UnicodeString zero = symbols.getSymbol(icu::DecimalFormatSymbols::kZeroDigitSymbol);
    if (zero.length() != 1)
        return;
    path.zeroDigit = zero[0];
    constexpr icu::DecimalFormatSymbols::ENumberFormatSymbol digitSymbols[] = {
        icu::DecimalFormatSymbols::kOneDigitSymbol, icu::DecimalFormatSymbols::kTwoDigitSymbol,
        icu::DecimalFormatSymbols::kThreeDigitSymbol, icu::DecimalFormatSymbols::kFourDigitSymbol,
        icu::DecimalFormatSymbols::kFiveDigitSymbol, icu::DecimalFormatSymbols::kSixDigitSymbol,
        icu::DecimalFormatSymbols::kSevenDigitSymbol, icu::DecimalFormatSymbols::kEightDigitSymbol,
        icu::DecimalFormatSymbols::kNineDigitSymbol,
    };
    for (int i = 0; i < 9; ++i) {
        const icu::UnicodeString digit = symbols.getSymbol(digitSymbols[i]);
        if (digit.length() != 1 || digit[0] != char16_t(path.zeroDigit + i + 1))
            return;
    }

    icu::UnicodeString affix;
    path.positivePrefix = icuglue::toQString(decimal->getPositivePrefix(affix));
    path.positiveSuffix = icuglue::toQString(decimal->getPositiveSuffix(affix));
    path.negativePrefix = icuglue::toQString(decimal->getNegativePrefix(affix));
    path.negativeSuffix = icuglue::toQString(decimal->getNegativeSuffix(affix));
    path.decimalSeparator = icuglue::toQString(symbols.getSymbol(icu::DecimalFormatSymbols::kMonetarySeparatorSymbol));
    path.groupingSeparator = icuglue::toQString(symbols.getSymbol(icu::DecimalFormatSymbols::kMonetaryGroupingSeparatorSymbol));
    path.fractionDigits = decimal->getMaximumFractionDigits();
    path.grouping = decimal->isGroupingUsed();
    path.primaryGroup = decimal->getGroupingSize();
    path.secondaryGroup = decimal->getSecondaryGroupingSize() > 0 ? decimal->getSecondaryGroupingSize() : path.primaryGroup;
    if (path.primaryGroup <= 0)
        path.grouping = false;
    // Some locales leave four-digit amounts ungrouped; ICU reports that only as
    // "the locale's default", so read it off ICU's own output.
    if (path.grouping && !icuFormat(1234).contains(path.groupingSeparator))
        path.minimumGrouping = 2;

    if (!path.fitsBuffer())
        return;
    for (double probe : kProbes) {
        if (path.format(probe) != icuFormat(probe))
            return;
    }
    fast = std::move(path);
}

void AmountFormatter::Private::prepareRepertoire()
{
    // Conservative on purpose: a character missing here would make a search
    // skip amounts it should have found, an extra one only costs formatting.
    QString seen = QStringLiteral("0123456789+-\u2212() \u00A0\u202F\u2009\u2007.,'\u2019");
    for (double probe : kProbes)
        seen += icuFormat(probe);
    seen += icuFormat(-1234567890.5) + icuFormat(INFINITY) + icuFormat(-INFINITY) + icuFormat(NAN);

    std::vector<char16_t> all;
    auto add = [&all](const QString& text) {
        for (QChar c : text)
            all.push_back(c.unicode());
    };
    for (QChar c : std::as_const(seen)) {
        const QString one(c);
        add(one);
        add(one.toLower());
        add(one.toUpper());
        add(one.toCaseFolded());
        const QString decomposed = one.normalized(QString::NormalizationForm_KD);
        add(decomposed);
        add(decomposed.toCaseFolded());
    }
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    sortedRepertoire = all;
    repertoire = QString(reinterpret_cast<const QChar*>(all.data()), qsizetype(all.size()));
}

AmountFormatter::AmountFormatter(const QString& localeIdentifier)
    : d(std::make_unique<Private>(localeIdentifier))
{
}

AmountFormatter::AmountFormatter(const AmountFormatter& other)
    : d(std::make_unique<Private>(other.d->requestedLocale))
{
}

AmountFormatter& AmountFormatter::operator=(const AmountFormatter& other)
{
    if (this != &other)
        d = std::make_unique<Private>(other.d->requestedLocale);
    return *this;
}

AmountFormatter::AmountFormatter(AmountFormatter&& other) noexcept = default;
AmountFormatter& AmountFormatter::operator=(AmountFormatter&& other) noexcept = default;
AmountFormatter::~AmountFormatter() = default;

QString AmountFormatter::localeIdentifier() const
{
    return QString::fromUtf8(d->locale.getName());
}

QString AmountFormatter::currencySymbol() const
{
    return d->symbol;
}

int AmountFormatter::fractionDigits() const
{
    return d->fractionDigits;
}

QString AmountFormatter::format(double amount) const
{
    if (d->fast && std::isfinite(amount) && std::fabs(amount) < FastPath::kLimit)
        return d->fast->format(amount);
    return d->icuFormat(amount);
}

bool AmountFormatter::hasFastPath() const
{
    return d->fast.has_value();
}

static std::optional<double> parseWhole(const icu::NumberFormat* parser, const icu::UnicodeString& text)
{
    if (!parser)
        return std::nullopt;
    icu::Formattable result;
    icu::ParsePosition position(0);
    parser->parse(text, result, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != text.length())
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const double value = result.getDouble(status);
    if (U_FAILURE(status))
        return std::nullopt;
    return value;
}

std::optional<double> AmountFormatter::parse(QStringView text) const
{
    const icu::UnicodeString compact = withoutSpaces(icuglue::aliasOf(text));
    if (compact.isEmpty())
        return std::nullopt;
    if (auto value = parseWhole(d->currencyParser.get(), compact))
        return value;
    return parseWhole(d->plainParser.get(), compact);
}

double AmountFormatter::parseOrLeadingNumber(QStringView text) const
{
    if (auto value = parse(text))
        return *value;
    return leadingNumber(text);
}

double AmountFormatter::leadingNumber(QStringView text)
{
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace())
        ++i;
    // Copy the plausible number into ASCII for from_chars, which takes no '+'.
    std::string buffer;
    auto take = [&buffer](char c) { buffer.push_back(c); };
    bool negative = false;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-'))
        negative = text[i++] == u'-';
    bool anyDigit = false;
    auto takeDigits = [&] {
        while (i < text.size() && text[i] >= u'0' && text[i] <= u'9') {
            take(char(text[i++].unicode()));
            anyDigit = true;
        }
    };
    takeDigits();
    if (i < text.size() && text[i] == u'.') {
        take('.');
        ++i;
        takeDigits();
    }
    if (!anyDigit)
        return 0.0;
    // An exponent counts only when digits follow it.
    if (i + 1 < text.size() && (text[i] == u'e' || text[i] == u'E')) {
        qsizetype j = i + 1;
        if (j < text.size() && (text[j] == u'+' || text[j] == u'-'))
            ++j;
        if (j < text.size() && text[j] >= u'0' && text[j] <= u'9') {
            take('e');
            if (text[i + 1] == u'-')
                take('-');
            i = j;
            while (i < text.size() && text[i] >= u'0' && text[i] <= u'9')
                take(char(text[i++].unicode()));
        }
    }
    double value = 0.0;
    if (std::from_chars(buffer.data(), buffer.data() + buffer.size(), value).ec == std::errc::result_out_of_range)
        value = buffer.find("e-") == std::string::npos ? HUGE_VAL : 0.0;
    return negative ? -value : value;
}

const QString& AmountFormatter::characterRepertoire() const
{
    return d->repertoire;
}

bool AmountFormatter::mayContain(QStringView needle) const
{
    const auto& set = d->sortedRepertoire;
    return std::all_of(needle.begin(), needle.end(),
                       [&set](QChar c) { return std::binary_search(set.begin(), set.end(), c.unicode()); });
}

} // namespace qf
