#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace qf {

// The date pattern for a file, built from a sample date of the file and the
// order of its parts the user names ("Month/Day/Year"): the sample's
// separators (- / ' ,) stay, and each stretch between them becomes %d, %m,
// %Y or %y. "1/ 5'98" with Month/Day/Year gives "%m/%d'%y".
//
// The stretches are measured once on the sample and replaced in turn, so a
// first part longer than two characters shifts the later ones and yields a
// pattern under which no date reads; that limit is deliberate. A sample
// with fewer than two separators has no three parts: none.
class DateOrderPattern {
public:
    // The orders offered to the user, each three of "Day", "Month" and
    // "Year" joined by "/".
    static QStringList orderTitles();
    static bool isOrderTitle(const QString& title);

    static std::optional<QString> patternFromSample(const QString& sample, const QString& orderTitle);
};

} // namespace qf
