#include "common/RtfTextReader.h"

#include <gtest/gtest.h>

using namespace qf;

namespace {

QString textOf(const char* rtf)
{
    Result<QString> text = RtfTextReader::plainText(QByteArray(rtf));
    return text ? text.value() : QStringLiteral("ERROR: ") + text.message();
}

} // namespace

TEST(RtfTextReader, MalformedInputIsRefusedWithPosition)
{
    EXPECT_EQ(textOf("plain text"), QStringLiteral("ERROR: Not a rich-text document (at position 0)"));
    EXPECT_EQ(textOf("{\\rtf1 a}}b"), QStringLiteral("ERROR: Unmatched closing brace (at position 9)"));
    QByteArray deep("{\\rtf1 ");
    deep += QByteArray(RtfTextReader::kMaxDepth + 1, '{');
    EXPECT_FALSE(RtfTextReader::plainText(deep).isOk());
    // Cut short: the text so far.
    EXPECT_EQ(textOf("{\\rtf1 {\\b bold} and mo"), QStringLiteral("bold and mo"));
    EXPECT_EQ(textOf("{\\rtf1 end\\"), QStringLiteral("end"));
    EXPECT_EQ(textOf("{\\rtf1 x\\'4"), QStringLiteral("x"));
}

TEST(RtfTextReader, DestinationsAndUnicodeFallbacks)
{
    EXPECT_EQ(textOf("{\\rtf1{\\*\\unknown hidden}{\\pict 0a0b}{\\stylesheet{x;}}shown}"), QStringLiteral("shown"));
    // \uc2 skips two fallback characters, an escape counting as one.
    EXPECT_EQ(textOf("{\\rtf1\\uc2\\u228\\'61\\'62c}"), QStringLiteral("äc"));
    // The fallback count belongs to the group.
    EXPECT_EQ(textOf("{\\rtf1{\\uc0\\u246}\\u252 u!}"), QStringLiteral("öü!"));
    EXPECT_EQ(textOf("{\\rtf1 a\\~b\\-c\\line d\\bin3 {}xe}"), QStringLiteral("a\u00A0bc\nde"));
    EXPECT_EQ(textOf("{\\rtf1 \\ldblquote q\\rdblquote\\emdash\\'93}"), QStringLiteral("\u201Cq\u201D\u2014\u201C"));
}
