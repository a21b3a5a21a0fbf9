#pragma once

#include "common/SharedString.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace qf {

// How two texts are compared: exactly, or ignoring case ([c]), diacritics
// ([d]) or both ([cd]).
enum StringOption : std::uint8_t {
    CaseInsensitive = 1,
    DiacriticInsensitive = 2,
};
using StringOptions = std::uint8_t;

// The form a text is compared in under the options: full Unicode case folding
// for [c] (so "Straße" and "STRASSE" meet), canonical decomposition with the
// nonspacing marks dropped for [d] ("Café" becomes "Cafe"), NFC for [c] alone.
// Without options the text is returned unchanged.
std::string foldText(std::string_view utf8, StringOptions options);

// A constant operand folded once, so that evaluating it against a million
// records folds nothing per record in the common (ASCII) case.
class FoldedText {
public:
    FoldedText() = default;
    FoldedText(const SharedString& text, StringOptions options);

    std::string_view view() const { return m_folded; }
    bool isAscii() const { return m_ascii; }
    StringOptions options() const { return m_options; }

private:
    std::string m_folded;
    bool m_ascii = true;
    StringOptions m_options = 0;
};

// Tests of a record's text against a folded operand. The text is folded only
// when it is not ASCII; an ASCII text under [c] is searched byte-wise.
bool textEquals(const SharedString& text, const FoldedText& operand);
bool textContains(const SharedString& text, const FoldedText& needle);
bool textBeginsWith(const SharedString& text, const FoldedText& prefix);
bool textEndsWith(const SharedString& text, const FoldedText& suffix);
// Negative, zero or positive as text sorts before, with or after the operand
// (code point order of the folded forms).
int textCompare(const SharedString& text, const FoldedText& operand);
// Whole-text wildcard match: '*' any run, '?' one character, '\' escapes.
bool textLike(const SharedString& text, const FoldedText& pattern);

// Plain UTF-8 helpers on already folded texts.
bool asciiContainsIgnoringCase(std::string_view haystack, std::string_view lowerNeedle);
bool wildcardMatch(std::string_view text, std::string_view pattern, bool asciiIgnoringCase);

} // namespace qf
