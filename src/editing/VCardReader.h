#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QString>
#include <QStringView>
#include <vector>

namespace qf {

// The names of one card. A field the card does not give is a null QString.
struct VCardContact {
    QString firstName;    // N: given name
    QString lastName;     // N: family name
    QString organization; // ORG: the organisation's name, units dropped
    QString formattedName; // FN
};

// Reads the cards of a vCard 3.0 or 4.0 file (also 2.1 as far as the
// properties below go): BEGIN:VCARD ... END:VCARD blocks, several per file,
// CRLF or LF line ends, folded lines (a line end followed by a blank or a
// tab), property groups ("item1.ORG"), parameters (quoted values may hold
// ':'), and the escapes \, \; \: \\ \n \N. Only N, FN and ORG are read; a
// card without a name in N and without ORG takes its FN as first name. The text is UTF-8 (a leading
// byte-order mark is dropped). Not supported: quoted-printable and other
// encodings, other character sets, cards nested in a property.
//
// Malformed structure is an error whose position is the 1-based line
// number where the unfolded line starts: a card opened inside a card, END without
// BEGIN, a card left open at the end, or a line in a card without ':'.
class VCardReader {
public:
    static Result<std::vector<VCardContact>> read(const QByteArray& bytes);

    // The components of a structured value, split at unescaped ';' and
    // unescaped. Exposed for tests of the escaping.
    static QStringList components(QStringView value);
    static QString unescape(QStringView value);
};

} // namespace qf
