#include "exchange/PercentDateParser.h"

#include "common/AbsoluteTime.h"

#include <QDateTime>

namespace qf {

namespace {

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// A numeric field at position i: an optional padding space, then between
// minDigits and maxDigits digits (as many as stand there). Advances i.
std::optional<int> readNumber(QStringView text, qsizetype& i, int minDigits, int maxDigits)
{
    qsizetype j = i;
    if (j + 1 < text.size() && text[j] == u' ' && isDigit(text[j + 1]))
        ++j;
    int value = 0;
    int digits = 0;
    while (digits < maxDigits && j < text.size() && isDigit(text[j])) {
        value = value * 10 + (text[j].unicode() - u'0');
        ++digits;
        ++j;
    }
    if (digits < minDigits)
        return std::nullopt;
    i = j;
    return value;
}

QStringView trimmed(QStringView text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && (text[begin] == u' ' || text[begin] == u'\t'))
        ++begin;
    while (end > begin && (text[end - 1] == u' ' || text[end - 1] == u'\t'))
        --end;
    return text.sliced(begin, end - begin);
}

} // namespace

PercentDateParser::PercentDateParser(QStringView pattern)
{
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != u'%' || i + 1 == pattern.size()) {
            m_tokens.push_back({Field::Literal, pattern[i]});
            continue;
        }
        const QChar code = pattern[i + 1];
        Field field = Field::Literal;
        if (code == u'd')
            field = Field::Day;
        else if (code == u'm')
            field = Field::Month;
        else if (code == u'Y')
            field = Field::FullYear;
        else if (code == u'y')
            field = Field::ShortYear;
        if (field != Field::Literal) {
            m_tokens.push_back({field, {}});
            ++i;
        } else if (code == u'%') {
            m_tokens.push_back({Field::Literal, u'%'});
            ++i;
        } else {
            m_tokens.push_back({Field::Literal, u'%'}); // the escape's letter follows as a literal
        }
    }
}

int PercentDateParser::expandTwoDigitYear(int year)
{
    return year < 50 ? 2000 + year : 1900 + year;
}

std::optional<QDate> PercentDateParser::parseDate(QStringView whole) const
{
    const QStringView text = trimmed(whole);
    if (text.isEmpty() || m_tokens.empty())
        return std::nullopt;
    int day = -1;
    int month = -1;
    int year = -1;
    qsizetype i = 0;
    for (const Token& token : m_tokens) {
        std::optional<int> number;
        switch (token.field) {
        case Field::Literal:
            if (i >= text.size() || text[i] != token.literal)
                return std::nullopt;
            ++i;
            continue;
        case Field::Day:
        case Field::Month:
            number = readNumber(text, i, 1, 2);
            break;
        case Field::FullYear:
            number = readNumber(text, i, 4, 4);
            break;
        case Field::ShortYear:
            number = readNumber(text, i, 1, 2);
            if (number)
                number = expandTwoDigitYear(*number);
            break;
        }
        if (!number)
            return std::nullopt;
        (token.field == Field::Day ? day : token.field == Field::Month ? month : year) = *number;
    }
    // A pattern without a day, month or year names no single day.
    if (i != text.size() || day < 0 || month < 0 || year < 0)
        return std::nullopt;
    const QDate date(year, month, day);
    if (!date.isValid())
        return std::nullopt;
    return date;
}

std::optional<AbsoluteTime> PercentDateParser::parse(QStringView text) const
{
    const std::optional<QDate> date = parseDate(text);
    if (!date)
        return std::nullopt;
    // Converting to local time costs far more than reading the digits, and a
    // statement holds many transactions per day.
    const qint64 day = date->toJulianDay();
    if (auto found = m_midnights.find(day); found != m_midnights.end())
        return found->second;
    const AbsoluteTime midnight = absoluteTimeFromDateTime(QDateTime(*date, QTime(0, 0)));
    m_midnights.emplace(day, midnight);
    return midnight;
}

} // namespace qf
