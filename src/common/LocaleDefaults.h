#pragma once

#include <QString>

namespace qf {

// The process-wide locale and time zone that formatters and calendar cursors
// made without an explicit locale follow.
//
// Call the setters on the main thread before making those objects (at start-up
// from the LocaleIdentifier default, or in a test fixture); objects already
// made keep the locale and zone they were made with.
class LocaleDefaults {
public:
    // The ICU name of the default locale ("en_US", "de_DE", "en_US_POSIX" under LANG=C).
    static QString localeIdentifier();
    // An empty identifier returns to the locale the environment names.
    static void setLocaleIdentifier(const QString& identifier);

    // The zone the user's dates are shown in; initially the one TZ names.
    static QString timeZoneId();
    // False, and nothing changed, for an identifier ICU does not know.
    static bool setTimeZoneId(const QString& ianaId);
};

} // namespace qf
