#pragma once

#include "common/KeyPath.h"
#include "common/Result.h"
#include "common/Value.h"

#include <QString>
#include <QStringView>
#include <memory>
#include <vector>

namespace qf {

class KeySchema;
class KeyValueCoding;

namespace predicate_detail {
struct Node;
struct Access;
}

// A condition over records, dictionaries or plain texts, written in the
// ledger's predicate grammar:
//
//   predicate   := or
//   or          := and (("OR" | "||") and)*
//   and         := unary (("AND" | "&&") unary)*
//   unary       := ("NOT" | "!") unary | "(" or ")" | "TRUEPREDICATE" | "FALSEPREDICATE" | comparison
//   comparison  := [ "ANY" | "SOME" | "ALL" | "NONE" ] expression operator [ "[" c|d|cd "]" ] expression
//   operator    := == = != <> < <= =< > >= => CONTAINS BEGINSWITH ENDSWITH LIKE MATCHES IN BETWEEN
//   expression  := SELF | keypath | nil | NULL | YES | NO | TRUE | FALSE | number | string
//                | "{" [constant ("," constant)*] "}" | CAST(number, "NSDate") | %@ | %K | %d | %i | %f
//   keypath     := key ("." key)*, a key being an identifier, "#" + a reserved word, or
//                  @count @sum @avg @min @max
//
// Reserved words are case-insensitive. Strings are quoted with ' or " and take
// the escapes \\ \' \" \n \r \t \uXXXX (any other escaped character stands for
// itself with its backslash). Dates are seconds since 2001-01-01 00:00:00 UTC.
//
// Canonical text (predicateFormat): reserved words upper case; comparison
// operators as == != < <= > >= CONTAINS BEGINSWITH ENDSWITH LIKE MATCHES IN
// BETWEEN, modifiers as [c] [d] [cd] right after them; strings double-quoted
// with the escapes above; booleans YES/NO; nil; integers plainly and doubles
// always with a point or an exponent; dates as CAST(seconds, "NSDate");
// arrays as {a, b}; keys that are reserved words prefixed by '#'; a compound
// inside a compound or under NOT parenthesised. Parsing the canonical text
// gives an equal predicate, except for constants that have no literal form
// (data, dictionaries and objects passed through %@), which print as a
// description only.
//
// Semantics: texts compare exactly unless [c] (full case folding) or [d]
// (diacritics dropped) say otherwise; numbers, booleans (0/1) and dates
// (seconds) compare numerically, and a text that is wholly a number compares
// with a number as that number. When one number has single precision (a
// stored float) and the other has not, both are compared at single precision.
// nil equals only nil; every ordering, text, LIKE, MATCHES, IN and BETWEEN
// test with a nil operand is false. CONTAINS on a text is a substring test,
// on an array membership; IN with an array on the right is membership, with a
// text on the right a substring test of the left operand. ANY/ALL/NONE apply
// the comparison to each element of the left operand's array.
//
// Immutable and cheap to copy: copies share one tree. The tree keeps a small
// evaluation cache, so a predicate (and its copies) must be evaluated on one
// thread at a time.
class Predicate {
public:
    Predicate(); // the null predicate: no condition at all

    // A malformed text, too few arguments for its substitutions or nesting
    // deeper than 200 levels give an error with the offending offset.
    static Result<Predicate> parse(QStringView format, const ValueArray& arguments = {});

    static Predicate truePredicate();
    static Predicate falsePredicate();
    // Null subpredicates are left out. No subpredicate at all gives
    // TRUEPREDICATE (and) or FALSEPREDICATE (or); a single one is returned as is.
    static Predicate andPredicate(std::vector<Predicate> subpredicates);
    static Predicate orPredicate(std::vector<Predicate> subpredicates);
    // NOT of a null predicate is the null predicate.
    static Predicate notPredicate(const Predicate& predicate);

    bool isNull() const { return !m_root; }

    // Canonical text (see above); empty for the null predicate.
    QString predicateFormat() const;

    // The null predicate matches everything.
    bool evaluate(const Value& object) const;
    bool evaluate(const KeyValueCoding& object) const;

    // The first key path head (the first plain key of a path read from the
    // evaluated object) unknown to the schema, as an error naming it.
    Status validateKeys(const KeySchema& schema) const;

    friend bool operator==(const Predicate& a, const Predicate& b);
    friend bool operator!=(const Predicate& a, const Predicate& b) { return !(a == b); }

private:
    explicit Predicate(std::shared_ptr<const predicate_detail::Node> root) : m_root(std::move(root)) {}
    friend struct predicate_detail::Access;

    std::shared_ptr<const predicate_detail::Node> m_root;
};

// Key-value coding by path on any value; see KeyPath.h.
Value valueForKeyPath(const Value& object, QStringView keyPath);

} // namespace qf
