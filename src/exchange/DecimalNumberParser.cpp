#include "exchange/DecimalNumberParser.h"

#include "common/IcuInternal.h"

#include <charconv>
#include <cmath>
#include <unicode/decimfmt.h>
#include <unicode/numfmt.h>

namespace qf {

struct DecimalNumberParser::Private {
    std::unique_ptr<icu::NumberFormat> format;
    // Set when the locale writes its minus as '-' and its decimal mark as one
    // ASCII character: then "-123.45" needs no trip through ICU.
    char decimalMark = 0;

    std::optional<double> fastParse(QStringView text) const;
};

DecimalNumberParser::DecimalNumberParser(const QString& localeIdentifier) : d(std::make_unique<Private>())
{
    UErrorCode status = U_ZERO_ERROR;
    d->format.reset(icu::NumberFormat::createInstance(icuglue::localeFor(localeIdentifier), status));
    if (U_FAILURE(status)) {
        d->format.reset();
        return;
    }
    d->format->setParseIntegerOnly(false);
    if (const auto* decimal = dynamic_cast<const icu::DecimalFormat*>(d->format.get())) {
        const icu::DecimalFormatSymbols* symbols = decimal->getDecimalFormatSymbols();
        const icu::UnicodeString mark = symbols->getSymbol(icu::DecimalFormatSymbols::kDecimalSeparatorSymbol);
        const icu::UnicodeString minus = symbols->getSymbol(icu::DecimalFormatSymbols::kMinusSignSymbol);
        if (mark.length() == 1 && mark[0] < 0x80 && !(mark[0] >= u'0' && mark[0] <= u'9') && minus == u"-")
            d->decimalMark = char(mark[0]);
    }
}

DecimalNumberParser::DecimalNumberParser(DecimalNumberParser&&) noexcept = default;
DecimalNumberParser& DecimalNumberParser::operator=(DecimalNumberParser&&) noexcept = default;
DecimalNumberParser::~DecimalNumberParser() = default;

std::optional<double> DecimalNumberParser::Private::fastParse(QStringView text) const
{
    // Only "-?digits(mark digits)?" of modest length; anything else (grouping,
    // exponents, other digits) is left to ICU.
    if (!decimalMark || text.isEmpty() || text.size() > 24)
        return std::nullopt;
    char buffer[32];
    qsizetype n = 0;
    qsizetype i = 0;
    if (text[0] == u'-')
        buffer[n++] = '-', ++i;
    qsizetype intDigits = 0;
    while (i < text.size() && text[i] >= u'0' && text[i] <= u'9')
        buffer[n++] = char(text[i++].unicode()), ++intDigits;
    if (intDigits == 0)
        return std::nullopt;
    if (i < text.size() && text[i] == QChar::fromLatin1(decimalMark)) {
        buffer[n++] = '.';
        ++i;
        qsizetype fractionDigits = 0;
        while (i < text.size() && text[i] >= u'0' && text[i] <= u'9')
            buffer[n++] = char(text[i++].unicode()), ++fractionDigits;
        if (fractionDigits == 0)
            return std::nullopt;
    }
    if (i != text.size())
        return std::nullopt;
    double value = 0;
    if (std::from_chars(buffer, buffer + n, value).ec != std::errc())
        return std::nullopt;
    return value;
}

std::optional<double> DecimalNumberParser::parse(QStringView text) const
{
    if (text.isEmpty())
        return std::nullopt;
    if (auto fast = d->fastParse(text))
        return fast;
    if (!d->format)
        return std::nullopt;
    icu::Formattable result;
    icu::ParsePosition position(0);
    const icu::UnicodeString icuText = icuglue::aliasOf(text);
    d->format->parse(icuText, result, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != icuText.length())
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const double value = result.getDouble(status);
    if (U_FAILURE(status) || !std::isfinite(value))
        return std::nullopt;
    return value;
}

} // namespace qf
