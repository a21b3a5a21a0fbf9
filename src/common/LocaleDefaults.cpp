#include "common/LocaleDefaults.h"

#include "common/IcuInternal.h"

#include <QByteArray>
#include <memory>
#include <unicode/timezone.h>
#include <unicode/uloc.h>

namespace qf {

QString LocaleDefaults::localeIdentifier()
{
    return QString::fromUtf8(icu::Locale::getDefault().getName());
}

void LocaleDefaults::setLocaleIdentifier(const QString& identifier)
{
    UErrorCode status = U_ZERO_ERROR;
    if (identifier.isEmpty()) {
        // ICU re-reads the environment when asked for the default by a null name.
        uloc_setDefault(nullptr, &status);
        return;
    }
    icu::Locale::setDefault(icu::Locale::createCanonical(identifier.toUtf8().constData()), status);
}

QString LocaleDefaults::timeZoneId()
{
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
    icu::UnicodeString id;
    zone->getID(id);
    return icuglue::toQString(id);
}

bool LocaleDefaults::setTimeZoneId(const QString& ianaId)
{
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(icuglue::copyOf(ianaId)));
    // ICU answers an unknown identifier with GMT under the name "Etc/Unknown".
    icu::UnicodeString id;
    zone->getID(id);
    if (id == icu::UnicodeString(u"Etc/Unknown"))
        return false;
    icu::TimeZone::adoptDefault(zone.release());
    return true;
}

} // namespace qf
