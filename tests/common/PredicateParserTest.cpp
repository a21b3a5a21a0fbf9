#include "common/Predicate.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace qf;


namespace {

// "message@position" of a parse that must fail, or "parsed" when it did not.
QString failure(QStringView text, const ValueArray& arguments = {})
{
    const Result<Predicate> result = Predicate::parse(text, arguments);
    if (result)
        return QStringLiteral("parsed: ") + result->predicateFormat();
    return result.error().message + u'@' + QString::number(result.error().position);
}

QString canonical(QStringView text, const ValueArray& arguments = {})
{
    const Result<Predicate> result = Predicate::parse(text, arguments);
    return result ? result->predicateFormat() : QStringLiteral("error: ") + result.message();
}

Predicate parsed(QStringView text, const ValueArray& arguments = {})
{
    Result<Predicate> result = Predicate::parse(text, arguments);
    EXPECT_TRUE(result.isOk()) << text.toString().toStdString() << ": " << result.message().toStdString();
    return result ? *result : Predicate();
}

} // namespace

TEST(PredicateParser, MalformedTextsReportWhereTheyFail)
{
    EXPECT_EQ(failure(u""), QStringLiteral("Unexpected end of predicate@0"));
    EXPECT_EQ(failure(u"trans_title =="), QStringLiteral("Unexpected end of predicate@14"));
    EXPECT_EQ(failure(u"trans_title == 'abc"), QStringLiteral("Unterminated string@15"));
    EXPECT_EQ(failure(u"trans_title === 'a'"), QStringLiteral("Expected a value@14"));
    EXPECT_EQ(failure(u"(a == 1"), QStringLiteral("Expected ')'@7"));
    EXPECT_EQ(failure(u"a == 1)"), QStringLiteral("Unexpected text after the predicate@6"));
    EXPECT_EQ(failure(u"a == 1 AND"), QStringLiteral("Unexpected end of predicate@10"));
    EXPECT_EQ(failure(u"a 1"), QStringLiteral("Expected a comparison operator@2"));
    EXPECT_EQ(failure(u"a CONTAINS[x] 'b'"), QStringLiteral("Unknown modifier \"x\"@11"));
    EXPECT_EQ(failure(u"a ==[c 'x'"), QStringLiteral("Expected ']'@7"));
    EXPECT_EQ(failure(u"a BETWEEN 5"), QStringLiteral("BETWEEN needs {lower, upper}@10"));
    EXPECT_EQ(failure(u"a BETWEEN {1, 2, 3}"), QStringLiteral("BETWEEN needs {lower, upper}@10"));
    EXPECT_EQ(failure(u"a.@total == 1"), QStringLiteral("Unknown collection operator \"@total\"@2"));
    EXPECT_EQ(failure(u"a. == 1"), QStringLiteral("Expected a key@3"));
    EXPECT_EQ(failure(u"a & b"), QStringLiteral("Expected '&&'@2"));
    EXPECT_EQ(failure(u"a == ^"), QStringLiteral("Unexpected character '^'@5"));
    EXPECT_EQ(failure(u"AND == 1"), QStringLiteral("Unexpected \"AND\"@0"));
    EXPECT_EQ(failure(u"a == {1, b}"), QStringLiteral("Unexpected \"b\"@9"));
    EXPECT_EQ(failure(u"a == {1 2}"), QStringLiteral("Expected ',' or '}'@8"));
    EXPECT_EQ(failure(u"a == 'x\\u12'"), QStringLiteral("Invalid \\u escape@7"));
    EXPECT_EQ(failure(u"a == '\\uD800'"), QStringLiteral("Unpaired surrogate in \\u escape@6"));
    EXPECT_EQ(failure(u"a == CAST('x', \"NSDate\")"), QStringLiteral("CAST needs a number of seconds@10"));
    EXPECT_EQ(failure(u"a == CAST(5, \"NSNumber\")"), QStringLiteral("CAST supports only \"NSDate\"@13"));
    EXPECT_EQ(failure(u"a == %x"), QStringLiteral("Unknown substitution@5"));
}

TEST(PredicateParser, SubstitutionsNeedTheirArguments)
{
    EXPECT_EQ(failure(u"a == %@"), QStringLiteral("Missing argument for %@@5"));
    EXPECT_EQ(failure(u"a == %@ AND b == %d", {Value(1)}), QStringLiteral("Missing argument for %d@17"));
    EXPECT_EQ(failure(u"%K == 1", {Value("bad key")}), QStringLiteral("Invalid key path \"bad key\" for %K@0"));
    EXPECT_EQ(failure(u"%K == 1", {Value("a..b")}), QStringLiteral("Invalid key path \"a..b\" for %K@0"));
    EXPECT_EQ(failure(u"a == %K", {Value("b")}), QStringLiteral("parsed: a == b"));
    EXPECT_EQ(failure(u"a == {%K}", {Value("b")}), QStringLiteral("%K is not allowed here@6"));
}

TEST(PredicateParser, NestingIsCappedWithoutCrashing)
{
    const QString deepNot = QStringLiteral("NOT ").repeated(250) + QStringLiteral("a == 1");
    EXPECT_TRUE(failure(deepNot).startsWith(QStringLiteral("Nesting deeper than 200 levels@")));
    const QString deepParens = QString(300, u'(') + QStringLiteral("a == 1") + QString(300, u')');
    EXPECT_EQ(failure(deepParens), QStringLiteral("Nesting deeper than 200 levels@200"));
    const QString deepArray = QStringLiteral("a IN ") + QString(300, u'{') + QString(300, u'}');
    EXPECT_TRUE(failure(deepArray).startsWith(QStringLiteral("Nesting deeper than 200 levels@")));

    const QString fine = QString(150, u'(') + QStringLiteral("a == 1") + QString(150, u')');
    EXPECT_EQ(canonical(fine), QStringLiteral("a == 1"));
}

TEST(PredicateParser, AlternativeSpellingsParseToTheSamePredicate)
{
    const std::pair<const char16_t*, const char16_t*> pairs[] = {
        {u"a = 1", u"a == 1"},
        {u"a <> 1", u"a != 1"},
        {u"a =< 1", u"a <= 1"},
        {u"a => 1", u"a >= 1"},
        {u"a == 1 && b == 2 || c == 3", u"a == 1 and b == 2 or c == 3"},
        {u"!(a == 1)", u"not a == 1"},
        {u"a == TRUE AND b == false", u"a == yes AND b == NO"},
        {u"a == NULL", u"a == nil"},
        {u"SOME tags == 'x'", u"any tags == 'x'"},
        {u"a contains[dc] 'x'", u"a CONTAINS[cd] \"x\""},
        {u"SELF.trans_title beginswith 'x'", u"trans_title BEGINSWITH 'x'"},
        {u"a == -5", u"a == %d"},
        {u"a == 2.5", u"a == %f"},
        {u"truepredicate", u"TRUEPREDICATE"},
    };
    for (const auto& [left, right] : pairs) {
        const ValueArray arguments = QStringView(right).contains(u"%d") ? ValueArray{Value(-5.7)} : ValueArray{Value(2.5)};
        EXPECT_EQ(parsed(left), parsed(right, arguments)) << QString::fromUtf16(left).toStdString();
    }
    EXPECT_NE(parsed(u"a == 1"), parsed(u"a == 1.0"));
    EXPECT_NE(parsed(u"a == 1"), parsed(u"a == CAST(1, \"NSDate\")"));
    EXPECT_NE(parsed(u"a CONTAINS 'x'"), parsed(u"a CONTAINS[c] 'x'"));
    EXPECT_NE(parsed(u"(a == 1 AND b == 2) AND c == 3"), parsed(u"a == 1 AND b == 2 AND c == 3"));
}

TEST(PredicateParser, CanonicalText)
{
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"trans_keywords == nil || trans_keywords == ''", u"trans_keywords == nil OR trans_keywords == \"\""},
        {u"a == 1 OR b == 2 AND c == 3", u"a == 1 OR (b == 2 AND c == 3)"},
        {u"(a == 1 OR b == 2) AND NOT (c == 3 OR d == 4)", u"(a == 1 OR b == 2) AND NOT (c == 3 OR d == 4)"},
        {u"not not a == 1", u"NOT NOT a == 1"},
        {u"self != nil", u"SELF != nil"},
        {u"x BETWEEN {-1, .5}", u"x BETWEEN {-1, 0.5}"},
        {u"x == 1e3 OR x == 1E-2 OR x == 100.", u"x == 1000.0 OR x == 0.01 OR x == 100.0"},
        {u"x == 9223372036854775807 OR x == -9223372036854775808",
         u"x == 9223372036854775807 OR x == -9223372036854775808"},
        {u"x == 9223372036854775808", u"x == 9223372036854775808.0"},
        {u"x == 1e999 OR x == -1e999 OR x == 1e-999", u"x == 1e999 OR x == -1e999 OR x == 0.0"},
        {u"x == CAST(-86400.25, 'NSDate')", u"x == CAST(-86400.25, \"NSDate\")"},
        {u"x == 'it\\'s \"q\" \\\\ \\d \\t\\u0001'", u"x == \"it's \\\"q\\\" \\\\ \\\\d \\t\\u0001\""},
        {u"x == '\\uD83D\\uDE00 Café'", u"x == \"\U0001F600 Café\""},
        {u"#in == 1 AND a.#self.@count > 2 AND @sum.x < 0", u"#in == 1 AND a.#self.@count > 2 AND @sum.x < 0"},
        {u"x.@AVG > 1", u"x.@avg > 1"},
        {u"ALL x LIKE[c] 'a*' AND NONE y MATCHES '\\\\d'", u"ALL x LIKE[c] \"a*\" AND NONE y MATCHES \"\\\\d\""},
        {u"x IN {'a', {1, nil}, YES}", u"x IN {\"a\", {1, nil}, YES}"},
        {u"x ==[d] 'é' OR x endswith[c] 'É'", u"x ==[d] \"é\" OR x ENDSWITH[c] \"É\""},
        {u"FALSEPREDICATE OR TRUEPREDICATE", u"FALSEPREDICATE OR TRUEPREDICATE"},
    };
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(canonical(input), QString::fromUtf16(expected)) << QString::fromUtf16(input).toStdString();
}

TEST(PredicateParser, SubstitutedValuesPrintAsLiterals)
{
    EXPECT_EQ(canonical(u"%@ IN[cd] trans_title", {Value("coffee")}), QStringLiteral("\"coffee\" IN[cd] trans_title"));
    EXPECT_EQ(canonical(u"trans_date >= %@", {Value::date(100.5)}), QStringLiteral("trans_date >= CAST(100.5, \"NSDate\")"));
    EXPECT_EQ(canonical(u"a == %@ AND b == %@", {Value(), Value::boolean(true)}), QStringLiteral("a == nil AND b == YES"));
    EXPECT_EQ(canonical(u"trans_uniqueID IN %@", {Value(ValueArray{Value("A"), Value("B")})}),
              QStringLiteral("trans_uniqueID IN {\"A\", \"B\"}"));
    EXPECT_EQ(canonical(u"%K == %i", {Value("in"), Value(4.9)}), QStringLiteral("#in == 4"));
    EXPECT_EQ(canonical(u"%K.@count > %f", {Value("items"), Value(2)}), QStringLiteral("items.@count > 2.0"));
    // A float reading keeps its exact value through the text.
    const double amount = static_cast<float>(12.34);
    const Predicate p = parsed(u"trans_amount == %@", {Value(amount)});
    EXPECT_EQ(p.predicateFormat(), QStringLiteral("trans_amount == 12.34000015258789"));
    EXPECT_EQ(parsed(p.predicateFormat()), p);
    // Extra arguments are ignored; they are consumed in order.
    EXPECT_EQ(canonical(u"a == %@ AND b == %@", {Value(1), Value(2), Value(3)}), QStringLiteral("a == 1 AND b == 2"));
}

TEST(PredicateParser, FactoriesNormaliseTheirOperands)
{
    const Predicate a = parsed(u"a == 1");
    const Predicate b = parsed(u"b == 2");
    EXPECT_TRUE(Predicate().isNull());
    EXPECT_EQ(Predicate().predicateFormat(), QString());
    EXPECT_EQ(Predicate::andPredicate({}), Predicate::truePredicate());
    EXPECT_EQ(Predicate::orPredicate({Predicate()}), Predicate::falsePredicate());
    EXPECT_EQ(Predicate::andPredicate({Predicate(), a}), a);
    EXPECT_TRUE(Predicate::notPredicate(Predicate()).isNull());

    const Predicate combined = Predicate::andPredicate({Predicate::orPredicate({a, b}), Predicate::notPredicate(a), b});
    EXPECT_EQ(combined.predicateFormat(), QStringLiteral("(a == 1 OR b == 2) AND NOT a == 1 AND b == 2"));
    EXPECT_EQ(parsed(combined.predicateFormat()), combined);
    const Predicate nested = Predicate::andPredicate({Predicate::andPredicate({a, b}), a});
    EXPECT_EQ(nested.predicateFormat(), QStringLiteral("(a == 1 AND b == 2) AND a == 1"));
    EXPECT_EQ(parsed(nested.predicateFormat()), nested);
}

// Every predicate text the ledger uses, with arguments of the kinds it passes.
TEST(PredicateParser, LedgerPredicatesRoundTrip)
{
    const Value id("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");
    const Value text(QStringLiteral("Caf\u00e9 \"au\" lait \\ 'x'"));
    const Value when = Value::date(254016000.0);
    const Value amount(static_cast<double>(static_cast<float>(-19.99)));
    const Value ids(ValueArray{id, Value("B"), Value("C")});
    const std::pair<const char16_t*, ValueArray> cases[] = {
        {u"trans_accountID == %@", {id}},
        {u"trans_accountID == %@ || trans_billFromAccountID == %@ || trans_billToAccountID == %@", {id, id, id}},
        {u"trans_listIDs contains %@", {id}},
        {u"trans_isPending == YES", {}},
        {u"trans_keywords == nil || trans_keywords == ''", {}},
        {u"trans_uniqueID IN %@", {ids}},
        {u"attachment_transParentID == %@", {id}},
        {u"budget_vaultID == %@ AND budget_direction == %@", {id, Value("Incoming")}},
        {u"self != nil", {}},
        {u"%K == %@", {Value("trans_title"), text}},
        {u"%K contains[cd] %@", {Value("attachment_title"), text}},
        {u"trans_direction == 'Incoming' AND (trans_accountID == %@ || trans_billFromAccountID == %@ || "
         u"trans_billToAccountID == %@)",
         {id, id, id}},
        {u"trans_isUpcoming == YES AND (trans_billFromAccountID == %@ || trans_billToAccountID == %@)", {id, id}},
        {u"trans_date >= %@ AND trans_date <= %@", {when, when}},
        {u"trans_title contains[cd] %@", {text}},
        {u"trans_amountStringValue contains[cd] %@", {Value("-19,99 €")}},
        {u"trans_listIDs contains %@ AND trans_direction == %@", {id, Value("Incoming")}},
        {u"SELF beginswith[cd] %@ AND SELF != %@", {text, text}},
        {u"SELF contains[cd] %@", {text}},
        {u"trans_isPending == YES AND (trans_keywords == nil || trans_keywords == '')", {}},
        {u"%@ IN[cd] trans_title", {text}},
        {u"NOT %@ IN[cd] trans_notes", {text}},
        {u"trans_keywords contains[d] %@", {Value("Caf\u00e9")}},
        {u"NOT trans_keywords contains[d] %@", {Value("Food")}},
        {u"trans_amount == %@", {amount}},
        {u"trans_amount > %@", {Value(0.0)}},
        {u"trans_amount >= %@ AND trans_amount <= %@", {amount, Value(100.0)}},
        {u"trans_date > %@", {Value::date(-1.5)}},
        {u"trans_accountID != %@", {Value()}},
        {u"trans_title contains[cd] %@ OR trans_amount == %@ OR trans_keywords contains[cd] %@ OR "
         u"trans_from contains[cd] %@ OR trans_to contains[cd] %@",
         {text, text, text, text, text}},
        {u"keywords contains[cd] %@", {Value("rent")}},
    };
    for (const auto& [format, arguments] : cases) {
        const Predicate original = parsed(format, arguments);
        const QString text1 = original.predicateFormat();
        const Result<Predicate> again = Predicate::parse(text1);
        ASSERT_TRUE(again.isOk()) << text1.toStdString() << ": " << again.message().toStdString();
        EXPECT_EQ(*again, original) << text1.toStdString();
        EXPECT_EQ(again->predicateFormat(), text1);
    }
}
