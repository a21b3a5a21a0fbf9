#include "common/StringMatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace qf;

namespace {

std::string fold(const char* utf8, StringOptions options)
{
    return foldText(utf8, options);
}

bool contains(const char* text, const char* needle, StringOptions options)
{
    return textContains(SharedString::fromUtf8(text), FoldedText(SharedString::fromUtf8(needle), options));
}

} // namespace

TEST(StringMatch, FoldedForms)
{
    EXPECT_EQ(fold("Caf\xc3\xa9", 0), "Caf\xc3\xa9");
    EXPECT_EQ(fold("Caf\xc3\xa9", CaseInsensitive), "caf\xc3\xa9");
    EXPECT_EQ(fold("Caf\xc3\xa9", DiacriticInsensitive), "Cafe");
    EXPECT_EQ(fold("CAFE\xcc\x81", CaseInsensitive), "caf\xc3\xa9"); // composed again
    EXPECT_EQ(fold("Stra\xc3\x9f" "e", CaseInsensitive), "strasse");
    EXPECT_EQ(fold("\xc3\x85ngstr\xc3\xb6m", CaseInsensitive | DiacriticInsensitive), "angstrom");
    EXPECT_EQ(fold("\xe2\x84\xaa", CaseInsensitive), "k"); // Kelvin sign
    // Spacing vowel signs are letters, not diacritics: only nonspacing marks go.
    EXPECT_EQ(fold("\xe0\xa4\x95\xe0\xa4\xbe", DiacriticInsensitive), "\xe0\xa4\x95\xe0\xa4\xbe");
}

TEST(StringMatch, AsciiFastPathAgreesWithFolding)
{
    EXPECT_TRUE(contains("Morning COFFEE to go", "coffee", CaseInsensitive | DiacriticInsensitive));
    EXPECT_TRUE(contains("cofcoffee", "COFFEE", CaseInsensitive));
    EXPECT_FALSE(contains("cofcoffe", "coffee", CaseInsensitive));
    EXPECT_TRUE(contains("Strasse", "STRA\xc3\x9f" "E", CaseInsensitive)); // needle folds to ASCII
    EXPECT_FALSE(contains("Cafe", "caf\xc3\xa9", CaseInsensitive));
    EXPECT_TRUE(contains("Cafe", "caf\xc3\xa9", CaseInsensitive | DiacriticInsensitive));
    EXPECT_TRUE(contains("anything", "", CaseInsensitive));
    EXPECT_FALSE(contains("", "a", CaseInsensitive));
    EXPECT_TRUE(asciiContainsIgnoringCase("xxABab", "abab"));
    EXPECT_FALSE(asciiContainsIgnoringCase("ab", "abc"));

    const FoldedText lower(SharedString::fromUtf8("b"), CaseInsensitive);
    EXPECT_LT(textCompare(SharedString::fromUtf8("A"), lower), 0);
    EXPECT_GT(textCompare(SharedString::fromUtf8("BB"), lower), 0);
    EXPECT_EQ(textCompare(SharedString::fromUtf8("B"), lower), 0);
}

TEST(StringMatch, Wildcards)
{
    EXPECT_TRUE(wildcardMatch("", "*", false));
    EXPECT_FALSE(wildcardMatch("", "?", false));
    EXPECT_TRUE(wildcardMatch("abcabd", "*abd", false));
    EXPECT_TRUE(wildcardMatch("abcabd", "a*b?", false));
    EXPECT_FALSE(wildcardMatch("abcabd", "a*c", false));
    EXPECT_TRUE(wildcardMatch("a?c", "a\\?c", false));
    EXPECT_FALSE(wildcardMatch("abc", "a\\?c", false));
    EXPECT_TRUE(wildcardMatch("a\\", "a\\", false)); // a lone trailing backslash is literal
    EXPECT_TRUE(wildcardMatch("ABC", "a*c", true));
    EXPECT_TRUE(wildcardMatch("\xe2\x82\xac" "5", "?5", false)); // one character, three bytes
    EXPECT_FALSE(wildcardMatch("\xe2\x82\xac" "5", "??5", false));
    EXPECT_TRUE(wildcardMatch("x\xc3\xa9y\xc3\xa9z", "*\xc3\xa9z", false));
}

// The word-at-a-time scan against the obvious definition, on texts built from
// a small alphabet so that near-misses, overlaps and tails are frequent.
TEST(StringMatch, CaseInsensitiveScanAgreesWithNaiveSearch)
{
    std::mt19937 random(7);
    const std::string alphabet = "aAbB c@`{[";
    auto text = [&](std::size_t maxLength) {
        std::string out(random() % (maxLength + 1), ' ');
        for (char& c : out)
            c = alphabet[random() % alphabet.size()];
        return out;
    };
    auto lower = [](std::string s) {
        for (char& c : s)
            c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
        return s;
    };
    int found = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::string haystack = text(40);
        std::string needle = lower(text(6));
        if (needle.empty())
            needle = "a";
        const bool expected = lower(haystack).find(needle) != std::string::npos;
        ASSERT_EQ(asciiContainsIgnoringCase(haystack, needle), expected) << haystack << " / " << needle;
        found += expected ? 1 : 0;
    }
    EXPECT_GT(found, 1000); // the alphabet is small enough for hits to be common
}
