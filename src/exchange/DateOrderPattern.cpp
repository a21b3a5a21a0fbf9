#include "exchange/DateOrderPattern.h"

#include <algorithm>

namespace qf {

namespace {

bool isSeparator(QChar c)
{
    return c == u'-' || c == u'/' || c == u'\'' || c == u',';
}

QString tokenFor(const QString& word, qsizetype yearWidth)
{
    if (word == QLatin1String("Day"))
        return QStringLiteral("d");
    if (word == QLatin1String("Month"))
        return QStringLiteral("m");
    if (word == QLatin1String("Year"))
        return yearWidth == 4 ? QStringLiteral("Y") : QStringLiteral("y");
    return {};
}

// Replaces from..to of the text, both clamped to it, as the shifted
// positions of an over-long first part demand.
void replaceClamped(QString& text, qsizetype from, qsizetype to, const QString& with)
{
    from = std::clamp<qsizetype>(from, 0, text.size());
    to = std::clamp<qsizetype>(to, from, text.size());
    text.replace(from, to - from, with);
}

} // namespace

QStringList DateOrderPattern::orderTitles()
{
    return {QStringLiteral("Month/Day/Year"), QStringLiteral("Day/Month/Year"), QStringLiteral("Year/Month/Day"),
            QStringLiteral("Year/Day/Month"), QStringLiteral("Month/Year/Day"), QStringLiteral("Day/Year/Month")};
}

bool DateOrderPattern::isOrderTitle(const QString& title)
{
    return orderTitles().contains(title);
}

std::optional<QString> DateOrderPattern::patternFromSample(const QString& sample, const QString& orderTitle)
{
    qsizetype first = -1;
    qsizetype last = -1;
    for (qsizetype i = 0; i < sample.size(); ++i) {
        if (isSeparator(sample[i])) {
            if (first < 0)
                first = i;
            last = i;
        }
    }
    if (first < 0 || first == last)
        return std::nullopt;
    const qsizetype yearWidth = sample.size() - last - 1;
    const qsizetype middle = last - first - 1;

    const QStringList words = orderTitle.split(QLatin1Char('/'));
    auto token = [&](int position) { return position < words.size() ? tokenFor(words[position], yearWidth) : QString(); };
    const QString percent = QStringLiteral("%");

    // One-character stretches are written bare while replacing, so every
    // measured position stays valid, and get their "%" at the end.
    QString pattern = sample;
    replaceClamped(pattern, 0, first, first > 1 ? percent + token(0) : token(0));
    replaceClamped(pattern, first + 1, last, middle > 1 ? percent + token(1) : token(1));
    replaceClamped(pattern, last + 1, sample.size(), percent + token(2));
    if (middle == 1)
        pattern.insert(std::min(first + 1, pattern.size()), percent);
    if (first == 1)
        pattern.insert(0, percent);
    return pattern;
}

} // namespace qf
