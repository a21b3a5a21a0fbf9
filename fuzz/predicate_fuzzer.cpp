// Arbitrary text into the predicate parser: it must never crash, and whatever
// it accepts must print canonically and parse back to the same predicate.

#include "common/Predicate.h"

#include <QString>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

using namespace qf;

namespace {

const ValueArray& arguments()
{
    static const ValueArray values = {
        Value("trans_title"), Value("Caf\xc3\xa9 \"x\""), Value(3), Value(-2.5), Value::date(86400.0),
        Value(ValueArray{Value("a"), Value(1), Value()}), Value(), Value::boolean(true), Value("items.@count"),
    };
    return values;
}

const Value& sampleObject()
{
    static const Value record(ValueDictionary{
        {QStringLiteral("trans_title"), Value("Coffee Beans")},
        {QStringLiteral("trans_amount"), Value(-3.5)},
        {QStringLiteral("trans_date"), Value::date(86400.0)},
        {QStringLiteral("items"), Value(ValueArray{Value("a"), Value("\xc3\x84rger"), Value(2)})},
    });
    return record;
}

[[noreturn]] void mismatch(const char* what, const QString& first, const QString& second)
{
    std::fprintf(stderr, "%s\n first:  %s\n second: %s\n", what, first.toUtf8().constData(), second.toUtf8().constData());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const Result<Predicate> first = Predicate::parse(text, arguments());
    if (!first)
        return 0;

    const QString format = first->predicateFormat();
    const Result<Predicate> second = Predicate::parse(format);
    if (!second)
        mismatch("canonical text does not parse", format, second.message());
    if (!(*second == *first))
        mismatch("canonical text parses to another predicate", format, second->predicateFormat());
    if (second->predicateFormat() != format)
        mismatch("canonical text is not stable", format, second->predicateFormat());

    // Evaluation must not crash either, and both trees must agree.
    for (const Value& object : {sampleObject(), Value("Coffee"), Value(), sampleObject().dictionary().at(QStringLiteral("items"))}) {
        if (first->evaluate(object) != second->evaluate(object))
            mismatch("evaluations differ", format, text);
    }
    return 0;
}
