#pragma once

#include "common/Value.h"

#include <QString>
#include <QStringView>
#include <memory>
#include <optional>

namespace qf {

// Dates as the user reads them: a calendar day in a locale's style, or in an
// old-style percent pattern ("%m/%d/%y"), in the default time zone at the
// time of construction (LocaleDefaults, which follows TZ).
//
// Parsing is strict: the day must exist (no 30 February) and the text must
// match the pattern; only the number of digits of numeric fields is relaxed
// where no other number abuts them ("7.3.24" reads under "dd.MM.yy"). A day
// without a time of day reads as 00:00:00 local time of that day.
//
// An instance caches its ICU objects and recent results; use one per thread.
class DateFormatter {
public:
    enum class Style { Short, Medium, Long, Full };
    // Prefix lets text follow the date ("20240105120000[0:GMT]" under "%Y%m%d").
    enum class ParseExtent { WholeText, Prefix };

    // The locale's style for the date alone; the empty identifier means the
    // default locale.
    explicit DateFormatter(Style style, const QString& localeIdentifier = QString());

    // Month and weekday names (%b, %B, %a, %A) come from the locale, English
    // unless another is named.
    static DateFormatter fromPercentPattern(QStringView percentPattern,
                                            const QString& localeIdentifier = QStringLiteral("en_US_POSIX"));

    DateFormatter(const DateFormatter& other);
    DateFormatter& operator=(const DateFormatter& other);
    DateFormatter(DateFormatter&& other) noexcept;
    DateFormatter& operator=(DateFormatter&& other) noexcept;
    ~DateFormatter();

    QString localeIdentifier() const;
    // The ICU pattern used for formatting ("M/d/yy" for the short style in en_US).
    QString icuPattern() const;

    QString format(AbsoluteTime date) const;
    // Surrounding white space is ignored; nothing for text that is not a date.
    std::optional<AbsoluteTime> parse(QStringView text, ParseExtent extent = ParseExtent::WholeText) const;

    // %a %A %b %B %d %e %F %H %I %j %m %M %p %S %y %Y %z %Z and %% become ICU
    // fields; any other text, unknown escapes included, stays literal.
    static QString icuPatternFromPercentPattern(QStringView percentPattern);

private:
    struct Private;
    explicit DateFormatter(std::unique_ptr<Private> d);
    std::unique_ptr<Private> d;
};

} // namespace qf
