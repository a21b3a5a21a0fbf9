#pragma once

#include "exchange/OfxLineSink.h"

#include <QString>
#include <QStringView>
#include <cstring>

namespace qf {

// The older form of a statement as its line rules read it: every tag at the
// start of a line of its own, wherever the bank put it (a transaction on one
// line, a whole file on one line, values left open inside each other), and
// "<!-- … -->" comments dropped, also those spanning lines.
//
// Lines break at LF, CR, CR LF, NEL, U+2028 and U+2029 and before every tag
// ("<" then a letter, "_", "/", "!" or "?") that has text before it on its
// line, except the end tag of the element that opens the line
// ("<NAME>text</NAME>" stays whole). Lines are trimmed; empty ones are
// dropped. A file that already holds one tag per line gives exactly the
// lines it holds. A comment left open runs to the end of the text.
class OfxTagLines {
public:
    static void printLines(QStringView text, OfxLineSink& sink);
    // The same lines, each ended by "\n".
    static QString print(QStringView text);

    static bool isLineBreak(char16_t c)
    {
        // One comparison clears printable ASCII, nearly every character a statement holds.
        if (c > u'\r' && c < 0x85)
            return false;
        return c == u'\n' || c == u'\r' || c == 0x85 || c == 0x2028 || c == 0x2029;
    }

    // Whether `marker` stands in `text` at `at`; the markers looked for are
    // too short for the general search to pay off.
    static bool startsWithAt(QStringView text, qsizetype at, QStringView marker)
    {
        return text.size() - at >= marker.size() &&
               std::memcmp(text.utf16() + at, marker.utf16(), std::size_t(marker.size()) * sizeof(char16_t)) == 0;
    }
};

} // namespace qf
