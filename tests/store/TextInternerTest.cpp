#include "store/SqliteRecordReader.h"

#include <gtest/gtest.h>
#include <string>

using qf::SharedString;
using qf::sqlite::TextInterner;

TEST(TextInterner, HandsOutOneCopyPerRepeatedTextAndNeverConfusesTexts)
{
    TextInterner interner;
    // More distinct texts than the interner keeps, texts of one length that
    // differ in one byte, and texts too long to keep: each comes back as given.
    std::string mismatch;
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 6000; ++i) {
            const std::string text = (i % 2 ? "ab-" : "ba-") + std::to_string(i);
            const std::string common = "common-" + std::to_string(i % 7); // repeats keep the interner going
            for (const std::string& t : {text, common, common, common}) {
                if (interner.make(t).view() != t)
                    mismatch = t;
            }
        }
        const std::string longText(200, static_cast<char>('a' + round));
        if (interner.make(longText).view() != longText)
            mismatch = longText;
    }
    EXPECT_EQ(mismatch, std::string());
    EXPECT_EQ(interner.make("common-3").data(), interner.make("common-3").data()); // kept: one copy
    EXPECT_EQ(interner.make("ab-1").data(), interner.make("ab-1").data());
    EXPECT_TRUE(interner.make("").isEmpty());
    EXPECT_FALSE(interner.make("").isNull());
}

TEST(TextInterner, GivesUpOnTextsThatDoNotRepeatAndStaysCorrect)
{
    TextInterner interner;
    const SharedString early = interner.make("repeated");
    for (int i = 0; i < 5000; ++i)
        ASSERT_EQ(interner.make("unique-" + std::to_string(i)).view(), "unique-" + std::to_string(i));
    // Given up: the same text now comes back as a copy of its own, still equal.
    const SharedString late = interner.make("repeated");
    EXPECT_EQ(late.view(), "repeated");
    EXPECT_NE(late.data(), early.data());
}
