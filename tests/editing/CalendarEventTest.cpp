#include "editing/CalendarEvent.h"

#include "editing/TransactionRecords.h"
#include "store/ManagedObjectContext.h"
#include "support/FileBytes.h"
#include "support/TempLedger.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QRegularExpression>

using namespace qf;
using qf::test::TempLedger;

namespace {

const QString allPlaceholders = QStringLiteral(
    "$CALENDAR_NAME$|$CALENDAR_DESCRIPTION$|$EVENT_TITLE$|$EVENT_DESCRIPTION$|$EVENT_DATE$|$IS_INCOMING$|"
    "$BOUNTY_EMAIL$|$IS_RECURRING$|$RECCUR_STRING$");

// 2024-01-31 23:30 in Berlin: still 31 January there, 22:30 UTC.
constexpr AbsoluteTime lateOn31January = 728433000.0;

struct Fixture {
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();

    ManagedObject* add(const QString& title, double amount, const QString& repeat)
    {
        TransactionDraft draft;
        draft.title = title;
        draft.amount = amount;
        draft.date = lateOn31January;
        draft.repeat = repeat;
        return TransactionRecords::insert(context, ledger.delegate(), draft);
    }
};

} // namespace

TEST(CalendarEvent, FillsTheNinePlaceholders)
{
    Fixture f;
    ManagedObject* pay = f.add(QStringLiteral("Pay"), 100, QStringLiteral("Never"));
    EXPECT_EQ(CalendarEvent::fillPlaceholders(allPlaceholders, *pay),
              QStringLiteral("Quillfen Calendar|Calendar for Quillfen Events|Pay||01/31/24|true||false|"));
    ManagedObject* rent = f.add(QStringLiteral("Rent, flat; Jan"), -100, QStringLiteral("Every Week"));
    EXPECT_EQ(CalendarEvent::fillPlaceholders(allPlaceholders, *rent),
              QStringLiteral("Quillfen Calendar|Calendar for Quillfen Events|Rent\\, flat\\; Jan||01/31/24|false||"
                             "true|FREQ=DAILY;INTERVAL=1"));
}

TEST(CalendarEvent, RepeatValuesKeepTheirOddPairing)
{
    Fixture f;
    const auto repeatPart = [&](const QString& repeat) {
        ManagedObject* r = f.add(QStringLiteral("T"), 1, repeat);
        return CalendarEvent::fillPlaceholders(QStringLiteral("$IS_RECURRING$ $RECCUR_STRING$"), *r);
    };
    EXPECT_EQ(repeatPart(QStringLiteral("Every Day")), QStringLiteral("true FREQ=WEEKLY;INTERVAL=1"));
    EXPECT_EQ(repeatPart(QStringLiteral("Every Week")), QStringLiteral("true FREQ=DAILY;INTERVAL=1"));
    EXPECT_EQ(repeatPart(QStringLiteral("Every Month")), QStringLiteral("true FREQ=MONTHLY;INTERVAL=1"));
    EXPECT_EQ(repeatPart(QStringLiteral("Every Year")), QStringLiteral("true FREQ=YEARLY;INTERVAL=1"));
    // The selector's own titles have no rule and leave the placeholders standing.
    EXPECT_EQ(repeatPart(QStringLiteral("Monthly")), QStringLiteral("$IS_RECURRING$ $RECCUR_STRING$"));
    ManagedObject* none = f.add(QStringLiteral("T"), 1, QStringLiteral("Never"));
    none->setValueForKey(u"trans_reoccurrence", Value());
    EXPECT_EQ(CalendarEvent::fillPlaceholders(QStringLiteral("$IS_RECURRING$"), *none), QStringLiteral("$IS_RECURRING$"));
}

TEST(CalendarEvent, WritesAValidAllDayEventFromTheTemplate)
{
    Fixture f;
    ManagedObject* rent = f.add(QStringLiteral("Rent"), -100, QStringLiteral("Every Day"));
    const QString path = f.ledger.folder() + QStringLiteral("/event.ics");
    const Status written = CalendarEvent::createiCalEventWithObject(*rent, path, lateOn31January + 60);
    ASSERT_TRUE(written.isOk()) << written.message().toStdString();
    const QString text = QString::fromUtf8(qf::test::readFile(path));
    EXPECT_FALSE(text.contains(QLatin1Char('$'))) << text.toStdString();
    EXPECT_FALSE(text.contains(QRegularExpression(QStringLiteral("[^\\r]\\n")))) << "bare LF";
    const QStringList lines = text.split(QStringLiteral("\r\n"));
    for (const char* expected :
         {"BEGIN:VCALENDAR", "X-WR-CALNAME:Quillfen Calendar", "DTSTART;VALUE=DATE:20240131",
          "DTEND;VALUE=DATE:20240201", "DTSTAMP:20240131T223100Z", "SUMMARY:Rent", "X-QUILLFEN-DATE:01/31/24",
          "X-QUILLFEN-INCOMING:false", "RRULE:FREQ=WEEKLY;INTERVAL=1", "END:VCALENDAR"})
        EXPECT_TRUE(lines.contains(QString::fromUtf8(expected))) << expected;
    EXPECT_EQ(lines.indexOf(QStringLiteral("RRULE:FREQ=WEEKLY;INTERVAL=1")) + 1,
              lines.indexOf(QStringLiteral("END:VEVENT")));
    EXPECT_TRUE(lines.contains(QStringLiteral("UID:") + rent->valueForKey(u"trans_uniqueID").toString()));

    EXPECT_FALSE(CalendarEvent::createiCalEventWithObject(*rent, path, 0, QStringLiteral("/nonexistent.ics")).isOk());
    EXPECT_FALSE(CalendarEvent::createiCalEventWithObject(*rent, QStringLiteral("/nonexistent/dir/e.ics"), 0).isOk());
}

TEST(CalendarEvent, LongTitlesAreFoldedWithoutSplittingCharacters)
{
    Fixture f;
    const QString title = QString(40, QChar(0x00E9)); // 80 octets in UTF-8
    ManagedObject* r = f.add(title, 1, QStringLiteral("Never"));
    const QString text = CalendarEvent::eventText(QStringLiteral("SUMMARY:$EVENT_TITLE$\n"), *r, 0);
    const QStringList lines = text.split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 2);
    EXPECT_LE(lines[0].toUtf8().size(), 75);
    EXPECT_TRUE(lines[1].startsWith(QLatin1Char(' ')));
    EXPECT_EQ(lines[0] + lines[1].mid(1), QStringLiteral("SUMMARY:") + title);
}
