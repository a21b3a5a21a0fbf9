#include "common/DateFormatter.h"

#include "common/IcuInternal.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <unicode/basictz.h>
#include <unicode/datefmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/tztrans.h>
#include <unordered_map>
#include <vector>

namespace qf {

namespace {

struct PatternField {
    char16_t letter = 0; // 0 for literal text
    int count = 0;
    QString text;        // literal text exactly as written in the pattern (quotes included)
};

bool isPatternLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

std::vector<PatternField> splitPattern(QStringView pattern)
{
    std::vector<PatternField> fields;
    qsizetype i = 0;
    while (i < pattern.size()) {
        const QChar c = pattern[i];
        if (isPatternLetter(c)) {
            qsizetype j = i;
            while (j < pattern.size() && pattern[j] == c)
                ++j;
            fields.push_back({c.unicode(), int(j - i), {}});
            i = j;
            continue;
        }
        qsizetype j = i;
        bool quoted = false;
        while (j < pattern.size() && (quoted || !isPatternLetter(pattern[j]))) {
            if (pattern[j] == u'\'')
                quoted = !quoted;
            ++j;
        }
        fields.push_back({0, 0, pattern.sliced(i, j - i).toString()});
        i = j;
    }
    return fields;
}

bool isNumericField(const PatternField& field)
{
    switch (field.letter) {
    case u'y': case u'd': case u'H': case u'h': case u'm': case u's': case u'S':
    case u'k': case u'K': case u'D': case u'u':
        return true;
    case u'M': case u'L':
        return field.count <= 2;
    default:
        return false;
    }
}

// The pattern with two-digit day, month, hour, minute and second fields
// shortened to one letter, which still reads two digits but also accepts one.
// Fields that abut another number keep their width: it is what splits them.
QString withFlexibleDigits(QStringView pattern)
{
    std::vector<PatternField> fields = splitPattern(pattern);
    QString result;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        PatternField field = fields[i];
        const bool abutting = (i > 0 && isNumericField(fields[i - 1])) || (i + 1 < fields.size() && isNumericField(fields[i + 1]));
        if (field.count == 2 && QStringView(u"dMHhmsLkK").contains(QChar(field.letter)) && !abutting)
            field.count = 1;
        result += field.letter ? QString(field.count, QChar(field.letter)) : field.text;
    }
    return result;
}

// Whether the text of a pattern depends on the calendar day alone.
bool showsDayOnly(QStringView pattern)
{
    for (const PatternField& field : splitPattern(pattern)) {
        if (field.letter && !QStringView(u"GyYuUrQqMLlwWdDFgEecj").contains(QChar(field.letter)))
            return false;
    }
    return true;
}

QString quotedLiteral(const QString& literal)
{
    QString escaped = literal;
    escaped.replace(u'\'', QStringLiteral("''"));
    const bool hasLetters = std::any_of(literal.begin(), literal.end(), isPatternLetter);
    return hasLetters ? u'\'' + escaped + u'\'' : escaped;
}

const char16_t* icuFieldForPercent(QChar specifier)
{
    switch (specifier.unicode()) {
    case u'a': return u"EEE";
    case u'A': return u"EEEE";
    case u'b': return u"MMM";
    case u'B': return u"MMMM";
    case u'd': return u"dd";
    case u'e': return u"d";
    case u'F': return u"SSS";
    case u'H': return u"HH";
    case u'I': return u"hh";
    case u'j': return u"DDD";
    case u'm': return u"MM";
    case u'M': return u"mm";
    case u'p': return u"a";
    case u'S': return u"ss";
    case u'y': return u"yy";
    case u'Y': return u"yyyy";
    case u'z': return u"Z";
    case u'Z': return u"zzz";
    default: return nullptr;
    }
}

std::unique_ptr<icu::SimpleDateFormat> makeFormat(const icu::UnicodeString& pattern, const icu::Locale& locale)
{
    UErrorCode status = U_ZERO_ERROR;
    auto format = std::make_unique<icu::SimpleDateFormat>(pattern, locale, status);
    if (U_FAILURE(status))
        return nullptr;
    format->setLenient(false);
    return format;
}

// Long enough for every day of a large ledger, small enough to stay cheap.
constexpr std::size_t kCacheLimit = 1 << 16;
constexpr double kMillisecondsPerDay = 86400000.0;

// The offset of a time zone from UTC, remembered per span between two of its
// transitions. Asking ICU costs more than formatting a cached day, and a
// ledger's dates fall into a few dozen such spans.
class ZoneOffsets {
public:
    explicit ZoneOffsets(const icu::TimeZone& zone)
        : m_zone(zone.clone())
    {
    }

    std::optional<double> offsetAt(UDate date) const
    {
        auto after = std::upper_bound(m_spans.begin(), m_spans.end(), date,
                                      [](UDate value, const Span& span) { return value < span.start; });
        if (after != m_spans.begin() && date < std::prev(after)->end)
            return std::prev(after)->offset;

        int32_t rawOffset = 0;
        int32_t dstOffset = 0;
        UErrorCode status = U_ZERO_ERROR;
        m_zone->getOffset(date, false, rawOffset, dstOffset, status);
        if (U_FAILURE(status))
            return std::nullopt;
        const double offset = double(rawOffset) + double(dstOffset);
        if (auto* basic = dynamic_cast<icu::BasicTimeZone*>(m_zone.get())) {
            Span span{-std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(), offset};
            icu::TimeZoneTransition transition;
            if (basic->getPreviousTransition(date, true, transition))
                span.start = transition.getTime();
            if (basic->getNextTransition(date, false, transition))
                span.end = transition.getTime();
            if (m_spans.size() >= kCacheLimit)
                m_spans.clear();
            m_spans.insert(std::upper_bound(m_spans.begin(), m_spans.end(), span.start,
                                            [](UDate value, const Span& s) { return value < s.start; }),
                           span);
        }
        return offset;
    }

private:
    struct Span {
        UDate start;
        UDate end;
        double offset;
    };
    std::unique_ptr<icu::TimeZone> m_zone;
    mutable std::vector<Span> m_spans; // sorted by start, not overlapping
};

} // namespace

struct DateFormatter::Private {
    QString requestedLocale;
    icu::Locale locale;
    std::optional<Style> style;
    QString percentPattern;
    std::unique_ptr<icu::SimpleDateFormat> formatter;
    std::unique_ptr<icu::SimpleDateFormat> flexibleParser; // null when no field could be relaxed
    std::unique_ptr<ZoneOffsets> offsets;
    bool cacheByDay = false;
    mutable std::unordered_map<qint64, QString> cache;

    Private(const QString& localeIdentifier, std::optional<Style> style, QString percentPattern);
    std::optional<AbsoluteTime> parseWith(const icu::SimpleDateFormat& parser, const icu::UnicodeString& text,
                                          ParseExtent extent) const;
};

static icu::DateFormat::EStyle icuStyle(DateFormatter::Style style)
{
    switch (style) {
    case DateFormatter::Style::Short: return icu::DateFormat::kShort;
    case DateFormatter::Style::Medium: return icu::DateFormat::kMedium;
    case DateFormatter::Style::Long: return icu::DateFormat::kLong;
    case DateFormatter::Style::Full: return icu::DateFormat::kFull;
    }
    return icu::DateFormat::kShort;
}

DateFormatter::Private::Private(const QString& localeIdentifier, std::optional<Style> style_, QString percentPattern_)
    : requestedLocale(localeIdentifier)
    , locale(icuglue::localeFor(localeIdentifier))
    , style(style_)
    , percentPattern(std::move(percentPattern_))
{
    icu::UnicodeString pattern;
    if (style) {
        std::unique_ptr<icu::DateFormat> styled(icu::DateFormat::createDateInstance(icuStyle(*style), locale));
        if (auto* simple = dynamic_cast<icu::SimpleDateFormat*>(styled.get()))
            simple->toPattern(pattern);
    } else {
        pattern = icuglue::copyOf(DateFormatter::icuPatternFromPercentPattern(percentPattern));
    }
    formatter = makeFormat(pattern, locale);
    if (!formatter)
        formatter = makeFormat(icu::UnicodeString(u"yyyy-MM-dd"), locale);
    offsets = std::make_unique<ZoneOffsets>(formatter->getTimeZone());

    const QString patternText = icuglue::toQString(pattern);
    const QString flexible = withFlexibleDigits(patternText);
    if (flexible != patternText)
        flexibleParser = makeFormat(icuglue::copyOf(flexible), locale);
    cacheByDay = showsDayOnly(patternText);
}

std::optional<AbsoluteTime> DateFormatter::Private::parseWith(const icu::SimpleDateFormat& parser,
                                                              const icu::UnicodeString& text, ParseExtent extent) const
{
    icu::ParsePosition position(0);
    const UDate date = parser.parse(text, position);
    // ICU signals some failures only by leaving the position where it was.
    if (position.getErrorIndex() >= 0 || position.getIndex() == 0)
        return std::nullopt;
    if (extent == ParseExtent::WholeText && position.getIndex() != text.length())
        return std::nullopt;
    return icuglue::absoluteFromUDate(date);
}

DateFormatter::DateFormatter(Style style, const QString& localeIdentifier)
    : d(std::make_unique<Private>(localeIdentifier, style, QString()))
{
}

DateFormatter::DateFormatter(std::unique_ptr<Private> p)
    : d(std::move(p))
{
}

DateFormatter DateFormatter::fromPercentPattern(QStringView percentPattern, const QString& localeIdentifier)
{
    return DateFormatter(std::make_unique<Private>(localeIdentifier, std::nullopt, percentPattern.toString()));
}

DateFormatter::DateFormatter(const DateFormatter& other)
    : d(std::make_unique<Private>(other.d->requestedLocale, other.d->style, other.d->percentPattern))
{
}

DateFormatter& DateFormatter::operator=(const DateFormatter& other)
{
    if (this != &other)
        d = std::make_unique<Private>(other.d->requestedLocale, other.d->style, other.d->percentPattern);
    return *this;
}

DateFormatter::DateFormatter(DateFormatter&& other) noexcept = default;
DateFormatter& DateFormatter::operator=(DateFormatter&& other) noexcept = default;
DateFormatter::~DateFormatter() = default;

QString DateFormatter::localeIdentifier() const
{
    return QString::fromUtf8(d->locale.getName());
}

QString DateFormatter::icuPattern() const
{
    icu::UnicodeString pattern;
    d->formatter->toPattern(pattern);
    return icuglue::toQString(pattern);
}

QString DateFormatter::format(AbsoluteTime date) const
{
    const UDate udate = icuglue::udateFromAbsolute(date);
    if (!std::isfinite(udate))
        return QString();
    // ICU needs about a microsecond per date; lists and searches format the
    // same few thousand days over and over, so remember them by local day.
    qint64 day = 0;
    std::optional<double> offset;
    if (d->cacheByDay)
        offset = d->offsets->offsetAt(udate);
    if (offset) {
        day = qint64(std::floor((udate + *offset) / kMillisecondsPerDay));
        if (auto found = d->cache.find(day); found != d->cache.end())
            return found->second;
    }
    icu::UnicodeString text;
    d->formatter->format(udate, text);
    QString result = icuglue::toQString(text);
    if (offset) {
        if (d->cache.size() >= kCacheLimit)
            d->cache.clear();
        d->cache.emplace(day, result);
    }
    return result;
}

std::optional<AbsoluteTime> DateFormatter::parse(QStringView text, ParseExtent extent) const
{
    const QStringView trimmed = extent == ParseExtent::WholeText ? text.trimmed() : text;
    if (trimmed.isEmpty())
        return std::nullopt;
    const icu::UnicodeString input = icuglue::aliasOf(trimmed);
    if (auto date = d->parseWith(*d->formatter, input, extent))
        return date;
    if (d->flexibleParser)
        return d->parseWith(*d->flexibleParser, input, extent);
    return std::nullopt;
}

QString DateFormatter::icuPatternFromPercentPattern(QStringView percentPattern)
{
    QString result;
    QString literal;
    auto flush = [&] {
        if (!literal.isEmpty())
            result += quotedLiteral(literal);
        literal.clear();
    };
    qsizetype i = 0;
    while (i < percentPattern.size()) {
        const QChar c = percentPattern[i];
        if (c != u'%' || i + 1 == percentPattern.size()) {
            literal += c;
            ++i;
            continue;
        }
        const QChar specifier = percentPattern[i + 1];
        i += 2;
        if (const char16_t* field = icuFieldForPercent(specifier)) {
            flush();
            result += QString::fromUtf16(field);
        } else if (specifier == u'%') {
            literal += u'%';
        } else {
            literal += c;
            literal += specifier;
        }
    }
    flush();
    return result;
}

} // namespace qf
