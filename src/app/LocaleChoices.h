#pragma once

#include <QString>
#include <vector>

namespace qf {

struct LocaleChoice {
    QString identifier;  // ICU form: "de_DE", "sr_Latn_RS"
    QString displayName; // "German (Germany)" when shown in English
};

// The locales the user may pick for LocaleIdentifier.
class LocaleChoices {
public:
    // Every available locale that names a country (not a wider region such
    // as "001", the world), named in the language of
    // displayLocale and sorted by that language's collation. A locale without
    // a country has no currency, and amounts would show the generic sign.
    static std::vector<LocaleChoice> available(const QString& displayLocale);

    // The display name of one identifier, in the language of displayLocale.
    static QString displayName(const QString& identifier, const QString& displayLocale);
};

} // namespace qf
