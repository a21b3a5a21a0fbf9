#pragma once

// ICU glue for the .cpp files of the formatters and the calendar. Never
// include this from a public header: ICU stays out of the rest of the program.

#include "common/Value.h"
#include "common/AbsoluteTime.h"

#include <QString>
#include <QStringView>
#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace qf::icuglue {

// Milliseconds since 1970 (ICU's UDate) from seconds since 2001 and back.
inline constexpr double kReferenceOffsetSeconds = kReferenceDateOffset;

inline double udateFromAbsolute(AbsoluteTime seconds) { return (seconds + kReferenceOffsetSeconds) * 1000.0; }
inline AbsoluteTime absoluteFromUDate(double udate) { return udate / 1000.0 - kReferenceOffsetSeconds; }

// A read-only ICU view of Qt text; the text must outlive the view.
inline icu::UnicodeString aliasOf(QStringView text)
{
    return icu::UnicodeString(false, reinterpret_cast<const char16_t*>(text.utf16()), int32_t(text.size()));
}

inline icu::UnicodeString copyOf(QStringView text)
{
    return icu::UnicodeString(reinterpret_cast<const char16_t*>(text.utf16()), int32_t(text.size()));
}

inline QString toQString(const icu::UnicodeString& text)
{
    return QString(reinterpret_cast<const QChar*>(text.getBuffer()), text.length());
}

// The locale an identifier names; the empty identifier means ICU's default
// locale, which LocaleDefaults sets from the user's choice.
inline icu::Locale localeFor(const QString& identifier)
{
    if (identifier.isEmpty())
        return icu::Locale::getDefault();
    return icu::Locale::createCanonical(identifier.toUtf8().constData());
}

} // namespace qf::icuglue
