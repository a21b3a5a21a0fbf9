#include "app/LocaleChoices.h"

#include "common/IcuInternal.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <unicode/coll.h>

namespace qf {

std::vector<LocaleChoice> LocaleChoices::available(const QString& displayLocale)
{
    const icu::Locale display = icuglue::localeFor(displayLocale);
    int32_t count = 0;
    const icu::Locale* locales = icu::Locale::getAvailableLocales(count);
    std::vector<LocaleChoice> choices;
    choices.reserve(std::size_t(count));
    for (int32_t i = 0; i < count; ++i) {
        const icu::Locale& locale = locales[i];
        // Regions such as "001" (world) or "150" (Europe) have no currency either.
        const char* country = locale.getCountry();
        if (std::strlen(country) != 2)
            continue;
        // Variants ("en_US_POSIX") are for programs, not for people.
        if (locale.getVariant()[0] != '\0')
            continue;
        icu::UnicodeString name;
        locale.getDisplayName(display, name);
        choices.push_back({QString::fromLatin1(locale.getName()), icuglue::toQString(name)});
    }

    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(display, status));
    if (U_SUCCESS(status) && collator) {
        std::stable_sort(choices.begin(), choices.end(), [&](const LocaleChoice& a, const LocaleChoice& b) {
            UErrorCode compareStatus = U_ZERO_ERROR;
            return collator->compare(icuglue::aliasOf(a.displayName), icuglue::aliasOf(b.displayName),
                                     compareStatus) == UCOL_LESS;
        });
    } else {
        std::stable_sort(choices.begin(), choices.end(),
                         [](const LocaleChoice& a, const LocaleChoice& b) { return a.displayName < b.displayName; });
    }
    return choices;
}

QString LocaleChoices::displayName(const QString& identifier, const QString& displayLocale)
{
    icu::UnicodeString name;
    icuglue::localeFor(identifier).getDisplayName(icuglue::localeFor(displayLocale), name);
    return icuglue::toQString(name);
}

} // namespace qf
