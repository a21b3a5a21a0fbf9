#pragma once

#include "common/Result.h"
#include "common/Value.h"

#include <QString>
#include <optional>

namespace qf {

class ManagedObject;

// The calendar event offered for a pending transaction, as an iCalendar
// file made from the template resources/iCalEventScript.ics; the screen
// opens the file with the default calendar application.
//
// The template's nine placeholders are filled as plain text in this order:
// $CALENDAR_NAME$, $CALENDAR_DESCRIPTION$, $EVENT_TITLE$ (escaped as
// iCalendar text), $EVENT_DESCRIPTION$, $EVENT_DATE$ ("%m/%d/%y", local
// time zone), $IS_INCOMING$, $BOUNTY_EMAIL$, then $IS_RECURRING$ and
// $RECCUR_STRING$ from trans_reoccurrence (see recurrenceRule()). These sit
// in text and X- properties, so every value keeps the file valid. The file's
// own fields come after: $EVENT_UID$ (trans_uniqueID), $EVENT_STAMP$ (now,
// UTC), $EVENT_START$ / $EVENT_END$ (the local day of trans_date and the day
// after, an all-day event), and an RRULE line when the repeat has a rule.
class CalendarEvent {
public:
    static QString templatePath();
    static Result<QString> readTemplate(const QString& path = templatePath());

    // The rule for a stored repeat value: "Never" gives an empty rule, the
    // "Every ..." values their rule, anything else none (the placeholders
    // then stay in the text). "Every Week" gives the daily rule and "Every
    // Day" the weekly one; files made so are kept that way.
    static std::optional<QString> recurrenceRule(const QString& reoccurrence);

    // The nine placeholders filled from the record, nothing else.
    static QString fillPlaceholders(const QString& templateText, const ManagedObject& record);

    // The complete file text: placeholders, the file's own fields, CRLF line
    // ends and lines folded at 75 octets.
    static QString eventText(const QString& templateText, const ManagedObject& record, AbsoluteTime now);

    // Reads the template and writes the event atomically to outputPath.
    static Status createiCalEventWithObject(const ManagedObject& record, const QString& outputPath, AbsoluteTime now,
                                            const QString& templateFile = templatePath());
};

} // namespace qf
