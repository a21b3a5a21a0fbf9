#pragma once

#include "common/Value.h"

#include <QDateTime>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

namespace qf {

// A calendar cursor: one instant, and calendar questions about it (year,
// month, days in its month, day of week) in the Gregorian calendar of a locale
// and the default time zone, plus steps by whole days, months or years.
//
// Made for one computation and dropped. The locale decides only the first
// day of the week; the empty identifier means the default locale. The time
// zone is the default one (LocaleDefaults) at the time of construction.
class KVCalendarInfo {
public:
    // The cursor at now() in the default locale.
    KVCalendarInfo();
    explicit KVCalendarInfo(AbsoluteTime instant, const QString& localeIdentifier = QString());
    KVCalendarInfo(const KVCalendarInfo& other);
    KVCalendarInfo& operator=(const KVCalendarInfo& other);
    KVCalendarInfo(KVCalendarInfo&& other) noexcept;
    KVCalendarInfo& operator=(KVCalendarInfo&& other) noexcept;
    ~KVCalendarInfo();

    static KVCalendarInfo calendarInfo() { return KVCalendarInfo(); }

    // The present moment; tests replace the clock, an empty function restores
    // the system clock. Not for use while other threads ask for the time.
    static AbsoluteTime now();
    static void setClockForTesting(std::function<AbsoluteTime()> clock);

    // 2 steps months as calendar months; 4 steps them as 30 days.
    static int defaultRoundingRule();
    static void setDefaultRoundingRule(int rule);
    static int defaultHourFormat() { return 4; }

    // Questions about the present moment, asked afresh at every call.
    static int currentMonth();
    static int currentYear();
    static int daysInCurrentMonth();
    static int currentDayOfMonth();
    static int currentDayOfWeek();
    static AbsoluteTime currentDate() { return now(); }
    static QDateTime currentCalendarDate();

    // Local midnight starting a day; the calendar carries overflowing days and
    // months into the next month or year (day 31 of April is 1 May, month 13
    // is January). Nothing for a day the calendar cannot compose.
    static std::optional<AbsoluteTime> localMidnight(int year, int month, int day);

    int month() const;       // 1-12
    int year() const;
    int daysInMonth() const;
    int dayOfMonth() const;  // 1-31
    int dayOfWeek() const;   // 1-7, 1 being the locale's first day of the week
    int firstWeekday() const; // 1 is Sunday, 2 Monday

    QDateTime date() const;
    // An invalid date leaves the cursor where it is.
    void setDate(const QDateTime& date);
    AbsoluteTime absoluteTime() const { return m_absoluteTime; }
    void setAbsoluteTime(AbsoluteTime absoluteTime) { m_absoluteTime = absoluteTime; }
    void resetDateAndTimeToCurrent() { setAbsoluteTime(now()); }

    QString timeZoneId() const;
    // False, and nothing changed, for an unknown zone.
    bool setTimeZone(const QString& ianaId);

    // Steps keep the local time of day; a month or year step that lands on a
    // day the target month lacks goes to that month's last day.
    void adjustDays(int days);
    void adjustMonths(int months);
    void adjustYears(int years);
    void moveToNextDay() { adjustDays(1); }
    void moveToPreviousDay() { adjustDays(-1); }
    void moveToNextMonth() { adjustMonths(1); }
    void moveToPreviousMonth() { adjustMonths(-1); }
    void moveToNextYear() { adjustYears(1); }
    void moveToPreviousYear() { adjustYears(-1); }
    // To 00:00:00 on day 1 of the cursor's month; false, and the cursor stays,
    // when the calendar cannot compose that instant.
    bool moveToFirstDayOfMonth();

private:
    struct Private;
    AbsoluteTime m_absoluteTime = 0.0;
    std::unique_ptr<Private> d;
};

} // namespace qf
