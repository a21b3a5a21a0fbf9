#include "common/KeyValueCoding.h"
#include "common/Predicate.h"

#include <QDateTime>
#include <QTimeZone>
#include <gtest/gtest.h>

#include <memory>

using namespace qf;


namespace {

// A schema that counts its lookups, to show that evaluation resolves names once.
class CountingSchema : public KeySchema {
public:
    explicit CountingSchema(QStringList keys) : m_keys(std::move(keys)) {}
    int indexOfKey(QStringView key) const override
    {
        ++lookups;
        return static_cast<int>(m_keys.indexOf(key.toString()));
    }
    const QStringList& keys() const { return m_keys; }
    mutable int lookups = 0;

private:
    QStringList m_keys;
};

const QStringList kTransKeys = {u"trans_title"_qs,    u"trans_amount"_qs,    u"trans_date"_qs,
                                u"trans_keywords"_qs, u"trans_isPending"_qs, u"trans_accountID"_qs,
                                u"trans_direction"_qs};

// A transaction-like record: amounts stored at float precision, the direction
// derived from the sign as the record classes do.
class TestTrans : public KeyValueCoding {
public:
    TestTrans(const CountingSchema& schema, ValueDictionary values) : m_schema(schema)
    {
        for (const QString& key : schema.keys())
            m_values.push_back(values.count(key) ? values[key] : Value());
        Value& amount = m_values[1];
        if (!amount.isNull())
            amount = Value(static_cast<double>(static_cast<float>(amount.toDouble())));
    }
    Value valueForKey(QStringView key) const override
    {
        const int index = static_cast<int>(m_schema.keys().indexOf(key.toString()));
        return index < 0 ? Value() : valueForKeyIndex(index);
    }
    const KeySchema* keySchema() const override { return &m_schema; }
    Value valueForKeyIndex(int index) const override
    {
        if (index == 6) {
            const double amount = m_values[1].toDouble();
            return Value(amount > 0 ? "Incoming" : amount < 0 ? "Outgoing" : "");
        }
        return m_values[static_cast<std::size_t>(index)];
    }
    // Stored keys are lent in place; the derived direction is not stored.
    const Value* storedValueForKeyIndex(int index) const override
    {
        return index == 6 ? nullptr : &m_values[static_cast<std::size_t>(index)];
    }

private:
    const CountingSchema& m_schema;
    std::vector<Value> m_values;
};

// An object without a schema, read by name only (like a bill row).
class NamedOnly : public KeyValueCoding {
public:
    explicit NamedOnly(ValueDictionary values) : m_values(std::move(values)) {}
    Value valueForKey(QStringView key) const override
    {
        const auto it = m_values.find(key.toString());
        return it == m_values.end() ? Value() : it->second;
    }

private:
    ValueDictionary m_values;
};

Value localDate(int year, int month, int day, int hour = 0)
{
    const QDateTime t(QDate(year, month, day), QTime(hour, 0), QTimeZone::systemTimeZone());
    return Value::date(static_cast<double>(t.toSecsSinceEpoch() - 978307200));
}

Predicate parsed(QStringView text, const ValueArray& arguments = {})
{
    Result<Predicate> result = Predicate::parse(text, arguments);
    EXPECT_TRUE(result.isOk()) << text.toString().toStdString() << ": " << result.message().toStdString();
    return result ? *result : Predicate::falsePredicate();
}

bool holds(QStringView text, const Value& object, const ValueArray& arguments = {})
{
    return parsed(text, arguments).evaluate(object);
}

class PredicateEvaluation : public ::testing::Test {
protected:
    TestTrans& add(ValueDictionary values)
    {
        m_records.push_back(std::make_unique<TestTrans>(m_schema, std::move(values)));
        return *m_records.back();
    }

    // Titles of the records matching, joined by "|", so a failure shows the whole selection.
    QString select(QStringView text, const ValueArray& arguments = {})
    {
        const Predicate p = parsed(text, arguments);
        QStringList titles;
        for (const auto& record : m_records) {
            if (p.evaluate(*record))
                titles << record->valueForKey(u"trans_title").toString();
        }
        return titles.join(u'|');
    }

    CountingSchema m_schema{kTransKeys};
    std::vector<std::unique_ptr<TestTrans>> m_records;
};

} // namespace

TEST_F(PredicateEvaluation, NilOperands)
{
    add({{u"trans_title"_qs, Value("none")}});
    add({{u"trans_title"_qs, Value("empty")}, {u"trans_keywords"_qs, Value("")}});
    add({{u"trans_title"_qs, Value("comma")}, {u"trans_keywords"_qs, Value(", ")}});
    add({{u"trans_title"_qs, Value("food")}, {u"trans_keywords"_qs, Value("Food, Rent")}});

    EXPECT_EQ(select(u"trans_keywords == nil"), u"none"_qs);
    EXPECT_EQ(select(u"trans_keywords == nil || trans_keywords == ''"), u"none|empty"_qs);
    EXPECT_EQ(select(u"trans_keywords != nil"), u"empty|comma|food"_qs);
    EXPECT_EQ(select(u"trans_keywords != 'Food, Rent'"), u"none|empty|comma"_qs);
    EXPECT_EQ(select(u"trans_keywords CONTAINS 'Food'"), u"food"_qs);
    EXPECT_EQ(select(u"NOT trans_keywords CONTAINS 'Food'"), u"none|empty|comma"_qs);
    EXPECT_EQ(select(u"NOT %@ IN[cd] trans_keywords", {Value("rent")}), u"none|empty|comma"_qs);
    EXPECT_EQ(select(u"trans_keywords < 'Z' OR trans_keywords BEGINSWITH '' OR trans_keywords LIKE '*'"),
              u"empty|comma|food"_qs);
    EXPECT_EQ(select(u"self != nil"), u"none|empty|comma|food"_qs);
    EXPECT_EQ(select(u"self == nil"), QString());
    EXPECT_EQ(select(u"trans_bogus == nil AND nil == nil"), u"none|empty|comma|food"_qs);
    EXPECT_TRUE(Predicate().evaluate(Value()));
}

TEST_F(PredicateEvaluation, DirectionAndAmounts)
{
    add({{u"trans_title"_qs, Value("salary")}, {u"trans_amount"_qs, Value(2500.0)}});
    add({{u"trans_title"_qs, Value("coffee")}, {u"trans_amount"_qs, Value(-3.2)}});
    add({{u"trans_title"_qs, Value("zero")}, {u"trans_amount"_qs, Value(0)}});
    add({{u"trans_title"_qs, Value("Coffee beans")}, {u"trans_amount"_qs, Value(12.34)}});

    EXPECT_EQ(select(u"trans_direction == %@", {Value("Incoming")}), u"salary|Coffee beans"_qs);
    EXPECT_EQ(select(u"trans_direction == 'Outgoing'"), u"coffee"_qs);
    EXPECT_EQ(select(u"trans_direction != 'Incoming'"), u"coffee|zero"_qs);
    // Smart-folder rules "Title contains coffee" and "Amount less than 0" under All and Any.
    EXPECT_EQ(select(u"%@ IN[cd] trans_title AND trans_amount < %@", {Value("coffee"), Value(0.0)}), u"coffee"_qs);
    EXPECT_EQ(select(u"%@ IN[cd] trans_title OR trans_amount < %@", {Value("coffee"), Value(0.0)}),
              u"coffee|Coffee beans"_qs);
    EXPECT_EQ(select(u"trans_amount < %@", {Value(100.0f)}), u"coffee|zero|Coffee beans"_qs);
    // Stored floats meet typed decimals and float readings alike.
    EXPECT_EQ(select(u"trans_amount == 12.34"), u"Coffee beans"_qs);
    EXPECT_EQ(select(u"trans_amount == %@", {Value(static_cast<double>(12.34f))}), u"Coffee beans"_qs);
    EXPECT_EQ(select(u"trans_amount <= 12.34 AND trans_amount >= -3.2"), u"coffee|zero|Coffee beans"_qs);
    EXPECT_EQ(select(u"trans_amount BETWEEN {-3.2, 0}"), u"coffee|zero"_qs);
    EXPECT_EQ(select(u"trans_amount == 0.0 AND trans_amount == 0 AND trans_amount == NO"), u"zero"_qs);
    // A search text compares with an amount only when it is wholly a number.
    EXPECT_EQ(select(u"trans_amount == %@", {Value("2500")}), u"salary"_qs);
    EXPECT_EQ(select(u"trans_amount == %@", {Value("2500 EUR")}), QString());
    EXPECT_EQ(select(u"trans_amount > '100'"), u"salary"_qs);
}

TEST_F(PredicateEvaluation, DatesAreSeconds)
{
    add({{u"trans_title"_qs, Value("last day 10:00")}, {u"trans_date"_qs, localDate(2024, 5, 31, 10)}});
    add({{u"trans_title"_qs, Value("last day 0:00")}, {u"trans_date"_qs, localDate(2024, 5, 31)}});
    add({{u"trans_title"_qs, Value("first")}, {u"trans_date"_qs, localDate(2024, 5, 1)}});
    add({{u"trans_title"_qs, Value("april")}, {u"trans_date"_qs, localDate(2024, 4, 30, 23)}});
    add({{u"trans_title"_qs, Value("undated")}});

    const ValueArray may = {localDate(2024, 5, 1), localDate(2024, 5, 31)};
    EXPECT_EQ(select(u"trans_date >= %@ AND trans_date <= %@", may), u"last day 0:00|first"_qs);
    EXPECT_EQ(select(u"trans_date == %@", {localDate(2024, 5, 1)}), u"first"_qs);
    EXPECT_EQ(select(u"trans_date < %@", {localDate(2024, 5, 1)}), u"april"_qs);
    EXPECT_EQ(select(u"trans_date BETWEEN %@", {Value(ValueArray(may))}), u"last day 0:00|first"_qs);

    const double firstOfMay = localDate(2024, 5, 1).toDouble();
    const QString cast = QStringLiteral("trans_date == CAST(%1, \"NSDate\")").arg(firstOfMay, 0, 'f', 0);
    EXPECT_EQ(select(cast), u"first"_qs);
    EXPECT_EQ(select(QStringLiteral("trans_date > %1").arg(firstOfMay, 0, 'f', 0)), u"last day 10:00|last day 0:00"_qs);
}

TEST_F(PredicateEvaluation, KeyIndexesAreResolvedOncePerSchema)
{
    for (int i = 0; i < 100; ++i)
        add({{u"trans_title"_qs, Value(QStringLiteral("t%1").arg(i))}, {u"trans_amount"_qs, Value(i)}});
    const Predicate p = parsed(u"trans_amount >= 50 AND trans_title BEGINSWITH 't9' AND trans_bogus == nil");
    m_schema.lookups = 0;
    int hits = 0;
    for (const auto& record : m_records)
        hits += p.evaluate(*record) ? 1 : 0;
    EXPECT_EQ(hits, 10);
    EXPECT_EQ(m_schema.lookups, 3);

    // Another schema in between is resolved on its own and does not poison the cache.
    CountingSchema other({u"x"_qs, u"trans_amount"_qs, u"trans_title"_qs});
    TestTrans odd(other, {});
    EXPECT_FALSE(p.evaluate(odd));
    EXPECT_TRUE(p.evaluate(*m_records[95]));
}

TEST(PredicateModifiers, CaseAndDiacriticsWithNonAsciiText)
{
    const Value cafe(u"Caf\u00e9"_qs);
    const Value decomposed(u"Cafe\u0301"_qs);
    const Value strasse(u"Stra\u00dfe"_qs);
    EXPECT_FALSE(holds(u"SELF == 'cafe'", cafe));
    EXPECT_FALSE(holds(u"SELF ==[c] 'cafe'", cafe));
    EXPECT_TRUE(holds(u"SELF ==[c] 'CAF\u00c9'", cafe));
    EXPECT_TRUE(holds(u"SELF ==[d] 'Cafe'", cafe));
    EXPECT_FALSE(holds(u"SELF ==[d] 'CAFE'", cafe));
    EXPECT_TRUE(holds(u"SELF ==[cd] 'CAFE'", cafe));
    EXPECT_TRUE(holds(u"SELF ==[c] %@", cafe, {decomposed}));
    EXPECT_FALSE(holds(u"SELF == %@", cafe, {decomposed}));
    EXPECT_TRUE(holds(u"SELF CONTAINS[cd] 'E'", decomposed));
    EXPECT_TRUE(holds(u"SELF ENDSWITH[d] '\u00e8'", Value("cafe")));
    EXPECT_FALSE(holds(u"SELF ENDSWITH '\u00e8'", Value("cafe")));
    EXPECT_TRUE(holds(u"SELF CONTAINS[c] 'STRASSE'", strasse));
    EXPECT_TRUE(holds(u"SELF CONTAINS[c] '\u00df'", Value("STRASSE")));
    EXPECT_FALSE(holds(u"SELF CONTAINS 'ss'", strasse));
    EXPECT_TRUE(holds(u"SELF BEGINSWITH[cd] 'ang'", Value(u"\u00c5ngstr\u00f6m"_qs)));
    EXPECT_FALSE(holds(u"SELF CONTAINS[c] '\u00e4'", Value("Arger")));
    EXPECT_TRUE(holds(u"SELF CONTAINS[cd] '\u00e4'", Value("Arger")));
    EXPECT_TRUE(holds(u"'\u00c9T\u00c9' IN[cd] SELF", Value("summer ete")));
    EXPECT_TRUE(holds(u"SELF <[c] 'b' AND SELF >[c] 'A'", Value(u"a\u00e4"_qs)));
    // Tag rules ignore diacritics but not case.
    EXPECT_TRUE(holds(u"SELF contains[d] %@ AND SELF contains[d] %@", Value(u"F\u00f6od, Rent"_qs),
                      {Value("Food"), Value("Rent")}));
    EXPECT_FALSE(holds(u"SELF contains[d] %@", Value("Food, rent"), {Value("Rent")}));
}

TEST(PredicateModifiers, LikeAndMatches)
{
    EXPECT_TRUE(holds(u"SELF LIKE 'Caf?'", Value(u"Caf\u00e9"_qs)));
    EXPECT_TRUE(holds(u"SELF LIKE[c] '*BEANS'", Value("Coffee beans")));
    EXPECT_FALSE(holds(u"SELF LIKE '*BEANS'", Value("Coffee beans")));
    EXPECT_TRUE(holds(u"SELF LIKE 'a\\*b*'", Value("a*bc")));
    EXPECT_FALSE(holds(u"SELF LIKE 'a\\*b*'", Value("axbc")));
    EXPECT_TRUE(holds(u"SELF LIKE[cd] 'cafe*'", Value(u"CAF\u00c9 au lait"_qs)));
    EXPECT_TRUE(holds(u"SELF MATCHES '[A-Z][a-z]+ \\d+'", Value("Rent 2024")));
    EXPECT_FALSE(holds(u"SELF MATCHES '[A-Z][a-z]+'", Value("Rent 2024")));
    EXPECT_TRUE(holds(u"SELF MATCHES[c] 'rent.*'", Value("RENT 2024")));
    EXPECT_TRUE(holds(u"SELF MATCHES[d] 'cafe'", Value(u"caf\u00e9"_qs)));
    EXPECT_FALSE(holds(u"SELF MATCHES '('", Value("(")));
}

TEST(PredicateEvaluationValues, DictionariesStringsAndCollections)
{
    // Bill rows and import rows are dictionaries.
    const Value bill(ValueDictionary{{u"title"_qs, Value("Rent home")},
                                     {u"keywords"_qs, Value("rent, home")},
                                     {u"billType"_qs, Value("Transfer")},
                                     {u"amount"_qs, Value(50.0)}});
    EXPECT_TRUE(holds(u"billType == %@", bill, {Value("Transfer")}));
    EXPECT_TRUE(holds(u"title contains[cd] %@ OR (keywords contains[cd] %@ AND keywords contains[cd] %@)", bill,
                      {Value("RENT HOME"), Value("home"), Value("rent")}));
    EXPECT_FALSE(holds(u"title contains[cd] %@", bill, {Value("home rent")}));
    NamedOnly row({{u"title"_qs, Value("Rent")}, {u"date"_qs, Value::date(10.0)}});
    EXPECT_TRUE(holds(u"title == 'Rent' AND date >= %@ AND date <= %@", Value(&row), {Value::date(5), Value::date(10)}));

    // Completion lists filter plain strings.
    const QStringList keywords = {u"Food"_qs, u"Rent"_qs, u"rent"_qs};
    auto hints = [&](const QString& text, QStringView format) {
        const Predicate p = parsed(format, {Value(text), Value(text)});
        QStringList out;
        for (const QString& k : keywords) {
            if (p.evaluate(Value(k)))
                out << k;
        }
        return out.join(u',');
    };
    EXPECT_EQ(hints(u"re"_qs, u"SELF beginswith[cd] %@ AND SELF != %@"), u"Rent,rent"_qs);
    EXPECT_EQ(hints(u"Rent"_qs, u"SELF beginswith[cd] %@ AND SELF != %@"), u"rent"_qs);
    EXPECT_EQ(hints(u"R"_qs, u"SELF beginswith %@ AND SELF != %@"), u"Rent"_qs);

    // Arrays: membership both ways, quantifiers, and the hash path for long lists.
    const Value tags(ValueArray{Value("food"), Value("Rent")});
    const Value row2(ValueDictionary{{u"tags"_qs, tags}, {u"id"_qs, Value("ID-7")}, {u"n"_qs, Value(3)}});
    EXPECT_TRUE(holds(u"tags CONTAINS 'Rent' AND NOT tags CONTAINS 'rent' AND tags CONTAINS[c] 'rent'", row2));
    EXPECT_TRUE(holds(u"ANY tags BEGINSWITH 'f' AND NOT (ALL tags BEGINSWITH 'f') AND NONE tags == 'x'", row2));
    EXPECT_TRUE(holds(u"ALL missing == 1 AND NOT ANY missing == 1 AND NONE missing == 1", row2));
    EXPECT_TRUE(holds(u"n IN {1, 2, 3} AND n IN {'3'} AND NOT n IN {'three'} AND n IN %@", row2,
                      {Value(ValueArray{Value(3.0)})}));
    ValueArray ids;
    for (int i = 0; i < 40; ++i)
        ids.push_back(Value(QStringLiteral("ID-%1").arg(i)));
    EXPECT_TRUE(holds(u"id IN %@", row2, {Value(ids)}));
    EXPECT_FALSE(holds(u"id IN %@", row2, {Value(ValueArray(ids.begin() + 8, ids.end()))}));
    EXPECT_TRUE(holds(u"id IN[c] %@", Value(ValueDictionary{{u"id"_qs, Value("id-39")}}), {Value(ids)}));
}

TEST(PredicateEvaluationValues, CollectionOperators)
{
    const Value a(ValueDictionary{{u"trans_amount"_qs, Value(2.5)}, {u"trans_title"_qs, Value("b")}});
    const Value b(ValueDictionary{{u"trans_amount"_qs, Value(-1.0)}, {u"trans_title"_qs, Value("a")}});
    const Value c(ValueDictionary{{u"trans_title"_qs, Value("c")}});
    const Value records(ValueArray{a, b, c});
    EXPECT_EQ(valueForKeyPath(records, u"@count"), Value(3));
    EXPECT_EQ(valueForKeyPath(records, u"@sum.trans_amount"), Value(1.5));
    EXPECT_EQ(valueForKeyPath(records, u"@avg.trans_amount"), Value(0.75));
    EXPECT_EQ(valueForKeyPath(records, u"@min.trans_amount"), Value(-1.0));
    EXPECT_EQ(valueForKeyPath(records, u"@max.trans_title"), Value("c"));
    EXPECT_EQ(valueForKeyPath(records, u"trans_title"), Value(ValueArray{Value("b"), Value("a"), Value("c")}));
    EXPECT_EQ(valueForKeyPath(Value(ValueArray{Value(1), Value(2)}), u"@sum").type(), Value::Type::Int);
    EXPECT_EQ(valueForKeyPath(Value(ValueArray{}), u"@sum.x"), Value(0));
    EXPECT_TRUE(valueForKeyPath(Value(ValueArray{}), u"@avg.x").isNull());
    EXPECT_TRUE(valueForKeyPath(Value(ValueArray{}), u"@max.x").isNull());
    EXPECT_TRUE(valueForKeyPath(Value("text"), u"@count").isNull());
    EXPECT_TRUE(valueForKeyPath(records, u"@median.x").isNull());

    const Value folder(ValueDictionary{{u"items"_qs, records}, {u"owner"_qs, a}});
    EXPECT_EQ(valueForKeyPath(folder, u"owner.trans_title"), Value("b"));
    EXPECT_TRUE(holds(u"items.@count == 3 AND items.@sum.trans_amount == 1.5 AND owner.trans_amount > 2", folder));
    EXPECT_TRUE(holds(u"items.@max.trans_amount == 2.5 AND ANY items.trans_title == 'a'", folder));
    EXPECT_TRUE(holds(u"@sum.trans_amount < 2 AND @count == 3", records));
}

TEST(PredicateValidation, NamesTheFirstUnknownKey)
{
    CountingSchema schema(kTransKeys);
    EXPECT_TRUE(parsed(u"trans_title == 'x' AND SELF != nil AND trans_direction.@count == 1")
                    .validateKeys(schema)
                    .isOk());
    const Status status = parsed(u"trans_title == 'x' OR NOT (trans_amount > 1 AND 'a' IN trans_nots)")
                              .validateKeys(schema);
    ASSERT_FALSE(status.isOk());
    EXPECT_EQ(status.message(), QStringLiteral("Unknown key \"trans_nots\""));
}
