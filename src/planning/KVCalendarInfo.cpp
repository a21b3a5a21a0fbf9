#include "planning/KVCalendarInfo.h"

#include "common/IcuInternal.h"

#include <cmath>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

namespace qf {

namespace {

std::function<AbsoluteTime()>& testingClock()
{
    static std::function<AbsoluteTime()> clock;
    return clock;
}

int& roundingRule()
{
    static int rule = 2;
    return rule;
}

std::unique_ptr<icu::Calendar> makeCalendar(const icu::Locale& locale)
{
    UErrorCode status = U_ZERO_ERROR;
    auto calendar = std::make_unique<icu::GregorianCalendar>(icu::TimeZone::createDefault(), locale, status);
    if (U_FAILURE(status))
        return nullptr;
    return calendar;
}

int fieldAt(icu::Calendar& calendar, AbsoluteTime instant, UCalendarDateFields field)
{
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(icuglue::udateFromAbsolute(instant), status);
    const int value = calendar.get(field, status);
    return U_SUCCESS(status) ? value : 0;
}

int daysInMonthAt(icu::Calendar& calendar, AbsoluteTime instant)
{
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(icuglue::udateFromAbsolute(instant), status);
    const int days = calendar.getActualMaximum(UCAL_DAY_OF_MONTH, status);
    return U_SUCCESS(status) ? days : 0;
}

} // namespace

struct KVCalendarInfo::Private {
    icu::Locale locale;
    // Every question sets the instant first, so the calendar's own time is scratch.
    std::unique_ptr<icu::Calendar> calendar;
};

KVCalendarInfo::KVCalendarInfo()
    : KVCalendarInfo(now())
{
}

KVCalendarInfo::KVCalendarInfo(AbsoluteTime instant, const QString& localeIdentifier)
    : m_absoluteTime(instant)
    , d(std::make_unique<Private>())
{
    d->locale = icuglue::localeFor(localeIdentifier);
    d->calendar = makeCalendar(d->locale);
    if (!d->calendar)
        d->calendar = makeCalendar(icu::Locale::getRoot());
}

KVCalendarInfo::KVCalendarInfo(const KVCalendarInfo& other)
    : m_absoluteTime(other.m_absoluteTime)
    , d(std::make_unique<Private>())
{
    d->locale = other.d->locale;
    d->calendar.reset(other.d->calendar->clone());
}

KVCalendarInfo& KVCalendarInfo::operator=(const KVCalendarInfo& other)
{
    if (this != &other) {
        KVCalendarInfo copy(other);
        *this = std::move(copy);
    }
    return *this;
}

KVCalendarInfo::KVCalendarInfo(KVCalendarInfo&& other) noexcept = default;
KVCalendarInfo& KVCalendarInfo::operator=(KVCalendarInfo&& other) noexcept = default;
KVCalendarInfo::~KVCalendarInfo() = default;

AbsoluteTime KVCalendarInfo::now()
{
    if (const auto& clock = testingClock())
        return clock();
    return double(QDateTime::currentMSecsSinceEpoch()) / 1000.0 - icuglue::kReferenceOffsetSeconds;
}

void KVCalendarInfo::setClockForTesting(std::function<AbsoluteTime()> clock)
{
    testingClock() = std::move(clock);
}

int KVCalendarInfo::defaultRoundingRule()
{
    return roundingRule();
}

void KVCalendarInfo::setDefaultRoundingRule(int rule)
{
    roundingRule() = rule;
}

int KVCalendarInfo::currentMonth() { return KVCalendarInfo().month(); }
int KVCalendarInfo::currentYear() { return KVCalendarInfo().year(); }
int KVCalendarInfo::daysInCurrentMonth() { return KVCalendarInfo().daysInMonth(); }
int KVCalendarInfo::currentDayOfMonth() { return KVCalendarInfo().dayOfMonth(); }
int KVCalendarInfo::currentDayOfWeek() { return KVCalendarInfo().dayOfWeek(); }
QDateTime KVCalendarInfo::currentCalendarDate() { return KVCalendarInfo().date(); }

std::optional<AbsoluteTime> KVCalendarInfo::localMidnight(int year, int month, int day)
{
    std::unique_ptr<icu::Calendar> calendar = makeCalendar(icu::Locale::getDefault());
    if (!calendar)
        return std::nullopt;
    calendar->clear();
    calendar->set(year, month - 1, day, 0, 0, 0);
    UErrorCode status = U_ZERO_ERROR;
    const UDate date = calendar->getTime(status);
    if (U_FAILURE(status))
        return std::nullopt;
    return icuglue::absoluteFromUDate(date);
}

int KVCalendarInfo::month() const
{
    return fieldAt(*d->calendar, m_absoluteTime, UCAL_MONTH) + 1;
}

int KVCalendarInfo::year() const
{
    return fieldAt(*d->calendar, m_absoluteTime, UCAL_YEAR);
}

int KVCalendarInfo::daysInMonth() const
{
    return daysInMonthAt(*d->calendar, m_absoluteTime);
}

int KVCalendarInfo::dayOfMonth() const
{
    return fieldAt(*d->calendar, m_absoluteTime, UCAL_DAY_OF_MONTH);
}

int KVCalendarInfo::dayOfWeek() const
{
    // The local day of week counts from the calendar's first weekday.
    return fieldAt(*d->calendar, m_absoluteTime, UCAL_DOW_LOCAL);
}

int KVCalendarInfo::firstWeekday() const
{
    UErrorCode status = U_ZERO_ERROR;
    return d->calendar->getFirstDayOfWeek(status);
}

QDateTime KVCalendarInfo::date() const
{
    const qint64 milliseconds = qint64(std::llround(icuglue::udateFromAbsolute(m_absoluteTime)));
    return QDateTime::fromMSecsSinceEpoch(milliseconds);
}

void KVCalendarInfo::setDate(const QDateTime& date)
{
    if (date.isValid())
        setAbsoluteTime(double(date.toMSecsSinceEpoch()) / 1000.0 - icuglue::kReferenceOffsetSeconds);
}

QString KVCalendarInfo::timeZoneId() const
{
    icu::UnicodeString id;
    d->calendar->getTimeZone().getID(id);
    return icuglue::toQString(id);
}

bool KVCalendarInfo::setTimeZone(const QString& ianaId)
{
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(icuglue::copyOf(ianaId)));
    icu::UnicodeString id;
    zone->getID(id);
    if (id == icu::UnicodeString(u"Etc/Unknown"))
        return false;
    d->calendar->adoptTimeZone(zone.release());
    return true;
}

static void addField(icu::Calendar& calendar, AbsoluteTime& instant, UCalendarDateFields field, int amount)
{
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(icuglue::udateFromAbsolute(instant), status);
    // ICU's add keeps the wall-clock time across daylight-saving changes and
    // pins a month step to the target month's last day.
    calendar.add(field, amount, status);
    const UDate result = calendar.getTime(status);
    if (U_SUCCESS(status))
        instant = icuglue::absoluteFromUDate(result);
}

void KVCalendarInfo::adjustDays(int days)
{
    AbsoluteTime instant = m_absoluteTime;
    addField(*d->calendar, instant, UCAL_DAY_OF_MONTH, days);
    setAbsoluteTime(instant);
}

void KVCalendarInfo::adjustMonths(int months)
{
    if (defaultRoundingRule() == 4) {
        adjustDays(30 * months);
        return;
    }
    AbsoluteTime instant = m_absoluteTime;
    addField(*d->calendar, instant, UCAL_MONTH, months);
    setAbsoluteTime(instant);
}

void KVCalendarInfo::adjustYears(int years)
{
    AbsoluteTime instant = m_absoluteTime;
    addField(*d->calendar, instant, UCAL_YEAR, years);
    setAbsoluteTime(instant);
}

bool KVCalendarInfo::moveToFirstDayOfMonth()
{
    const int cursorYear = year();
    const int cursorMonth = month();
    icu::Calendar& calendar = *d->calendar;
    calendar.clear();
    calendar.set(cursorYear, cursorMonth - 1, 1, 0, 0, 0);
    UErrorCode status = U_ZERO_ERROR;
    const UDate first = calendar.getTime(status);
    if (U_FAILURE(status))
        return false;
    setAbsoluteTime(icuglue::absoluteFromUDate(first));
    return true;
}

} // namespace qf
