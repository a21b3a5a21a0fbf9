#include "editing/CalendarEvent.h"
#include "common/AbsoluteTime.h"

#include "app/ResourceFolder.h"
#include "common/DateFormatter.h"
#include "store/ManagedObject.h"

#include <QDate>
#include <QDateTime>
#include <QFile>
#include <QSaveFile>
#include <QStringList>
#include <QTimeZone>

namespace qf {

namespace {


QString escapeText(const QString& text)
{
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        if (c == QLatin1Char('\\') || c == QLatin1Char(';') || c == QLatin1Char(','))
            out += QLatin1Char('\\');
        if (c == QLatin1Char('\n')) {
            out += QLatin1String("\\n");
            continue;
        }
        if (c != QLatin1Char('\r'))
            out += c;
    }
    return out;
}

// Content lines may be at most 75 octets; longer ones continue on lines
// starting with a blank. A character is never split.
QString foldLine(const QString& line)
{
    QString out;
    int octets = 0;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const bool pair = line[i].isHighSurrogate() && i + 1 < line.size();
        const QString unit = line.mid(i, pair ? 2 : 1);
        const int size = int(unit.toUtf8().size());
        if (octets + size > 75) {
            out += QLatin1String("\r\n ");
            octets = 1;
        }
        out += unit;
        octets += size;
        if (pair)
            ++i;
    }
    return out;
}

} // namespace

QString CalendarEvent::templatePath()
{
    return resourceFolder() + QStringLiteral("/iCalEventScript.ics");
}

Result<QString> CalendarEvent::readTemplate(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Result<QString>::failure(QStringLiteral("Cannot read the calendar template %1: %2")
                                            .arg(path, file.errorString()));
    return QString::fromUtf8(file.readAll());
}

std::optional<QString> CalendarEvent::recurrenceRule(const QString& reoccurrence)
{
    if (reoccurrence == QLatin1String("Never"))
        return QString(QLatin1String(""));
    if (reoccurrence == QLatin1String("Every Week"))
        return QStringLiteral("FREQ=DAILY;INTERVAL=1");
    if (reoccurrence == QLatin1String("Every Day"))
        return QStringLiteral("FREQ=WEEKLY;INTERVAL=1");
    if (reoccurrence == QLatin1String("Every Month"))
        return QStringLiteral("FREQ=MONTHLY;INTERVAL=1");
    if (reoccurrence == QLatin1String("Every Year"))
        return QStringLiteral("FREQ=YEARLY;INTERVAL=1");
    return std::nullopt;
}

QString CalendarEvent::fillPlaceholders(const QString& templateText, const ManagedObject& record)
{
    QString text = templateText;
    const Value date = record.valueForKey(u"trans_date");
    const QString eventDate =
        date.isNull() ? QString() : DateFormatter::fromPercentPattern(u"%m/%d/%y").format(date.toDate());
    const bool incoming = record.valueForKey(u"trans_direction").toString() == QLatin1String("Incoming");

    text.replace(QLatin1String("$CALENDAR_NAME$"), QLatin1String("Quillfen Calendar"));
    text.replace(QLatin1String("$CALENDAR_DESCRIPTION$"), QLatin1String("Calendar for Quillfen Events"));
    text.replace(QLatin1String("$EVENT_TITLE$"), escapeText(record.valueForKey(u"trans_title").toString()));
    text.replace(QLatin1String("$EVENT_DESCRIPTION$"), QString());
    text.replace(QLatin1String("$EVENT_DATE$"), eventDate);
    text.replace(QLatin1String("$IS_INCOMING$"), incoming ? QLatin1String("true") : QLatin1String("false"));
    text.replace(QLatin1String("$BOUNTY_EMAIL$"), QString());
    const Value repeat = record.valueForKey(u"trans_reoccurrence");
    if (const std::optional<QString> rule = recurrenceRule(repeat.isNull() ? QString() : repeat.toString())) {
        text.replace(QLatin1String("$IS_RECURRING$"), rule->isEmpty() ? QLatin1String("false") : QLatin1String("true"));
        text.replace(QLatin1String("$RECCUR_STRING$"), *rule);
    }
    return text;
}

QString CalendarEvent::eventText(const QString& templateText, const ManagedObject& record, AbsoluteTime now)
{
    QString text = fillPlaceholders(templateText, record);

    const Value date = record.valueForKey(u"trans_date");
    const AbsoluteTime when = date.isNull() ? now : date.toDate();
    const DateFormatter dayFormat = DateFormatter::fromPercentPattern(u"%Y%m%d");
    const QString start = dayFormat.format(when);
    const QDate startDay = QDate::fromString(start, QStringLiteral("yyyyMMdd"));
    const QDateTime stamp = dateTimeFromAbsoluteTime(now).toUTC();
    text.replace(QLatin1String("$EVENT_UID$"), record.valueForKey(u"trans_uniqueID").toString());
    text.replace(QLatin1String("$EVENT_STAMP$"), stamp.toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'")));
    text.replace(QLatin1String("$EVENT_START$"), start);
    text.replace(QLatin1String("$EVENT_END$"), startDay.addDays(1).toString(QStringLiteral("yyyyMMdd")));

    const Value repeat = record.valueForKey(u"trans_reoccurrence");
    const std::optional<QString> rule = recurrenceRule(repeat.isNull() ? QString() : repeat.toString());

    QStringList lines;
    for (QString line : text.split(QLatin1Char('\n'))) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        if (line.isEmpty())
            continue;
        if (line == QLatin1String("END:VEVENT") && rule && !rule->isEmpty())
            lines.append(QStringLiteral("RRULE:") + *rule);
        lines.append(foldLine(line));
    }
    return lines.join(QLatin1String("\r\n")) + QLatin1String("\r\n");
}

Status CalendarEvent::createiCalEventWithObject(const ManagedObject& record, const QString& outputPath,
                                                AbsoluteTime now, const QString& templateFile)
{
    Result<QString> templateText = readTemplate(templateFile);
    if (!templateText)
        return templateText.error();
    QSaveFile file(outputPath);
    if (!file.open(QIODevice::WriteOnly))
        return Status::failure(QStringLiteral("Cannot write %1: %2").arg(outputPath, file.errorString()));
    file.write(eventText(*templateText, record, now).toUtf8());
    if (!file.commit())
        return Status::failure(QStringLiteral("Cannot write %1: %2").arg(outputPath, file.errorString()));
    return Status::ok();
}

} // namespace qf
