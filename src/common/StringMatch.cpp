#include "common/StringMatch.h"

#include <bit>
#include <cstring>

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace qf {

namespace {

inline unsigned char lowerAscii(unsigned char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + 32) : c;
}

bool isAsciiText(std::string_view text)
{
    for (unsigned char c : text) {
        if (c >= 0x80)
            return false;
    }
    return true;
}

bool equalsIgnoringAsciiCase(std::string_view text, std::string_view lower)
{
    if (text.size() != lower.size())
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (lowerAscii(static_cast<unsigned char>(text[i])) != static_cast<unsigned char>(lower[i]))
            return false;
    }
    return true;
}

int compareIgnoringAsciiCase(std::string_view text, std::string_view lower)
{
    const std::size_t n = std::min(text.size(), lower.size());
    for (std::size_t i = 0; i < n; ++i) {
        const unsigned char a = lowerAscii(static_cast<unsigned char>(text[i]));
        const unsigned char b = static_cast<unsigned char>(lower[i]);
        if (a != b)
            return a < b ? -1 : 1;
    }
    return text.size() == lower.size() ? 0 : (text.size() < lower.size() ? -1 : 1);
}

int compareBytes(std::string_view a, std::string_view b)
{
    const int c = a.compare(b);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

// Index just past the UTF-8 sequence that starts at i.
std::size_t nextCodePoint(std::string_view text, std::size_t i)
{
    ++i;
    while (i < text.size() && (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80)
        ++i;
    return i;
}

} // namespace

std::string foldText(std::string_view utf8, StringOptions options)
{
    if (options == 0)
        return std::string(utf8);
    if (isAsciiText(utf8)) {
        // ASCII has no marks to drop, and its full case folding is plain lowering.
        std::string out(utf8);
        if (options & CaseInsensitive) {
            for (char& c : out)
                c = static_cast<char>(lowerAscii(static_cast<unsigned char>(c)));
        }
        return out;
    }

    icu::UnicodeString text = icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
    if (options & CaseInsensitive)
        text.foldCase(U_FOLD_CASE_DEFAULT);
    UErrorCode status = U_ZERO_ERROR;
    if (options & DiacriticInsensitive) {
        const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
        if (U_SUCCESS(status)) {
            const icu::UnicodeString decomposed = nfd->normalize(text, status);
            if (U_SUCCESS(status)) {
                icu::UnicodeString stripped;
                for (int32_t i = 0; i < decomposed.length();) {
                    const UChar32 c = decomposed.char32At(i);
                    if (u_charType(c) != U_NON_SPACING_MARK)
                        stripped.append(c);
                    i += U16_LENGTH(c);
                }
                text = stripped;
            }
        }
    } else {
        const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
        if (U_SUCCESS(status)) {
            icu::UnicodeString composed = nfc->normalize(text, status);
            if (U_SUCCESS(status))
                text = composed;
        }
    }
    std::string out;
    text.toUTF8String(out);
    return out;
}

FoldedText::FoldedText(const SharedString& text, StringOptions options)
    : m_folded(foldText(text.view(), options)), m_ascii(isAsciiText(m_folded)), m_options(options)
{
}

bool asciiContainsIgnoringCase(std::string_view haystack, std::string_view lowerNeedle)
{
    const std::size_t n = lowerNeedle.size();
    if (n == 0)
        return true;
    if (n > haystack.size())
        return false;
    const unsigned char* h = reinterpret_cast<const unsigned char*>(haystack.data());
    const unsigned char* nd = reinterpret_cast<const unsigned char*>(lowerNeedle.data());
    const unsigned char first = nd[0];
    const std::size_t last = haystack.size() - n;
    auto matchesAt = [&](std::size_t i) {
        for (std::size_t j = 0; j < n; ++j) {
            if (lowerAscii(h[i + j]) != nd[j])
                return false;
        }
        return true;
    };

    std::size_t i = 0;
    if constexpr (std::endian::native == std::endian::little) {
        // Eight candidate positions per step, filtered on the needle's first
        // and last byte at once. OR-ing 0x20 folds a letter's two cases into
        // one compare (for a letter c, (b | 0x20) == c exactly when b is c or
        // its upper case); other bytes compare exactly. A zero byte of the
        // combined XOR marks a candidate; the zero-byte test may also flag a
        // byte above a true one, which matchesAt() rejects.
        constexpr std::uint64_t ones = 0x0101010101010101ull;
        constexpr std::uint64_t highs = 0x8080808080808080ull;
        const unsigned char lastByte = nd[n - 1];
        const std::uint64_t firstFold = (first >= 'a' && first <= 'z') ? ones * 0x20 : 0;
        const std::uint64_t lastFold = (lastByte >= 'a' && lastByte <= 'z') ? ones * 0x20 : 0;
        const std::uint64_t firstPattern = ones * first;
        const std::uint64_t lastPattern = ones * lastByte;
        auto scanEight = [&](std::size_t at) {
            std::uint64_t head;
            std::uint64_t tail;
            std::memcpy(&head, h + at, sizeof head);
            std::memcpy(&tail, h + at + n - 1, sizeof tail);
            const std::uint64_t x = ((head | firstFold) ^ firstPattern) | ((tail | lastFold) ^ lastPattern);
            std::uint64_t zeros = (x - ones) & ~x & highs;
            while (zeros) {
                if (matchesAt(at + static_cast<std::size_t>(std::countr_zero(zeros) / 8)))
                    return true;
                zeros &= zeros - 1;
            }
            return false;
        };
        if (last >= 7) {
            for (; i + 8 <= last + 1; i += 8) {
                if (scanEight(i))
                    return true;
            }
            // The last positions in one overlapping step instead of one by one.
            return i <= last && scanEight(last - 7);
        }
    }
    for (; i <= last; ++i) {
        if (lowerAscii(h[i]) == first && matchesAt(i))
            return true;
    }
    return false;
}

bool wildcardMatch(std::string_view text, std::string_view pattern, bool asciiIgnoringCase)
{
    constexpr std::size_t none = std::string_view::npos;
    std::size_t t = 0;
    std::size_t p = 0;
    std::size_t starPattern = none;
    std::size_t starText = 0;
    while (t < text.size()) {
        if (p < pattern.size()) {
            const char pc = pattern[p];
            if (pc == '*') {
                starPattern = ++p;
                starText = t;
                continue;
            }
            if (pc == '?') {
                t = nextCodePoint(text, t);
                ++p;
                continue;
            }
            const bool escaped = pc == '\\' && p + 1 < pattern.size();
            const unsigned char literal = static_cast<unsigned char>(escaped ? pattern[p + 1] : pc);
            unsigned char actual = static_cast<unsigned char>(text[t]);
            if (asciiIgnoringCase)
                actual = lowerAscii(actual);
            if (actual == literal) {
                ++t;
                p += escaped ? 2 : 1;
                continue;
            }
        }
        if (starPattern == none)
            return false;
        starText = nextCodePoint(text, starText);
        t = starText;
        p = starPattern;
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

bool textEquals(const SharedString& text, const FoldedText& operand)
{
    const StringOptions options = operand.options();
    if (options == 0)
        return text.view() == operand.view();
    if (text.isAscii()) {
        if (!operand.isAscii())
            return false;
        return (options & CaseInsensitive) ? equalsIgnoringAsciiCase(text.view(), operand.view())
                                           : text.view() == operand.view();
    }
    return foldText(text.view(), options) == operand.view();
}

bool textContains(const SharedString& text, const FoldedText& needle)
{
    const StringOptions options = needle.options();
    if (options == 0)
        return text.view().find(needle.view()) != std::string_view::npos;
    if (text.isAscii()) {
        if (!needle.isAscii())
            return false;
        return (options & CaseInsensitive) ? asciiContainsIgnoringCase(text.view(), needle.view())
                                           : text.view().find(needle.view()) != std::string_view::npos;
    }
    return foldText(text.view(), options).find(needle.view()) != std::string::npos;
}

bool textBeginsWith(const SharedString& text, const FoldedText& prefix)
{
    const StringOptions options = prefix.options();
    if (options == 0)
        return text.view().starts_with(prefix.view());
    if (text.isAscii()) {
        if (!prefix.isAscii() || prefix.view().size() > text.size())
            return false;
        const std::string_view head = text.view().substr(0, prefix.view().size());
        return (options & CaseInsensitive) ? equalsIgnoringAsciiCase(head, prefix.view()) : head == prefix.view();
    }
    return std::string_view(foldText(text.view(), options)).starts_with(prefix.view());
}

bool textEndsWith(const SharedString& text, const FoldedText& suffix)
{
    const StringOptions options = suffix.options();
    if (options == 0)
        return text.view().ends_with(suffix.view());
    if (text.isAscii()) {
        if (!suffix.isAscii() || suffix.view().size() > text.size())
            return false;
        const std::string_view tail = text.view().substr(text.size() - suffix.view().size());
        return (options & CaseInsensitive) ? equalsIgnoringAsciiCase(tail, suffix.view()) : tail == suffix.view();
    }
    return std::string_view(foldText(text.view(), options)).ends_with(suffix.view());
}

int textCompare(const SharedString& text, const FoldedText& operand)
{
    const StringOptions options = operand.options();
    if (options == 0)
        return compareBytes(text.view(), operand.view());
    if (text.isAscii()) {
        return (options & CaseInsensitive) ? compareIgnoringAsciiCase(text.view(), operand.view())
                                           : compareBytes(text.view(), operand.view());
    }
    return compareBytes(foldText(text.view(), options), operand.view());
}

bool textLike(const SharedString& text, const FoldedText& pattern)
{
    const StringOptions options = pattern.options();
    if (options == 0 || text.isAscii())
        return wildcardMatch(text.view(), pattern.view(), (options & CaseInsensitive) != 0);
    return wildcardMatch(foldText(text.view(), options), pattern.view(), false);
}

} // namespace qf
