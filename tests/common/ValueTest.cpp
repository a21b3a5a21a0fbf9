#include "common/Value.h"

#include <gtest/gtest.h>

using namespace qf;

TEST(Value, TextsAreSharedAndNullIsNotEmpty)
{
    const Value empty(QString(""));
    const Value none{QString()};
    EXPECT_EQ(empty.type(), Value::Type::String);
    EXPECT_TRUE(none.isNull());
    EXPECT_NE(empty, none);

    const Value text(QStringLiteral("Café au lait"));
    Value copy = text;
    EXPECT_EQ(copy.string().data(), text.string().data()); // shared, not copied
    EXPECT_EQ(copy.toString(), QStringLiteral("Café au lait"));
    EXPECT_FALSE(text.string().isAscii());
}

TEST(Value, NumbersCompareAcrossTypesButNotWithTexts)
{
    EXPECT_EQ(Value(3), Value(3.0));
    EXPECT_EQ(Value::boolean(true), Value(1));
    EXPECT_NE(Value(3), Value("3"));
    EXPECT_EQ(Value::date(10.0), Value(10.0));
}

TEST(Value, LenientReadingsOfTexts)
{
    EXPECT_DOUBLE_EQ(Value("12.5abc").toDouble(), 12.5);
    EXPECT_DOUBLE_EQ(Value("abc").toDouble(), 0.0);
    EXPECT_TRUE(Value("YES").toBool());
    EXPECT_FALSE(Value("NO").toBool());
    EXPECT_FALSE(Value().toBool());
}

TEST(Value, ContainersCopyByReferenceAndCompareByContent)
{
    const Value a(ValueArray{Value(1), Value("x")});
    const Value b(ValueArray{Value(1), Value("x")});
    EXPECT_EQ(a, b);
    Value moved = a;
    Value target;
    target = std::move(moved);
    EXPECT_TRUE(moved.isNull());
    EXPECT_EQ(target.array().size(), 2u);
    EXPECT_EQ(Value::data(QByteArray("abc")).toByteArray(), QByteArray("abc"));
}
