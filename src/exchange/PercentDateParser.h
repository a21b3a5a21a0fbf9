#pragma once

#include "common/Value.h"

#include <QDate>
#include <QString>
#include <QStringView>
#include <optional>
#include <unordered_map>
#include <vector>

namespace qf {

// Reads dates written in an old-style percent pattern: %d day, %m month,
// %Y four-digit year, %y two-digit year, %% a percent sign; every other
// character, unknown escapes included, must stand in the text as written.
//
// Bank files pad one-digit fields with a space ("1/ 5'98"), so a numeric
// field may start with one space; after it, %d, %m and %y read one or two
// digits, %Y exactly four. Two-digit years below 50 are 20xx, the others
// 19xx, whatever today's date: the same file always gives the same dates.
// Spaces and tabs around the whole text are ignored. A day that does not
// exist (30 February) or any text left over means no date.
//
// The result is 00:00:00 of that day in the local time zone. Results are
// cached per day, so use one instance per thread.
class PercentDateParser {
public:
    explicit PercentDateParser(QStringView pattern = {});

    std::optional<QDate> parseDate(QStringView text) const;
    std::optional<AbsoluteTime> parse(QStringView text) const;

    static int expandTwoDigitYear(int year);

private:
    enum class Field { Literal, Day, Month, FullYear, ShortYear };
    struct Token {
        Field field;
        QChar literal;
    };
    std::vector<Token> m_tokens;
    mutable std::unordered_map<qint64, AbsoluteTime> m_midnights;
};

} // namespace qf
