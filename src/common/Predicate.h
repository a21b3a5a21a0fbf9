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
// (data, dictionaries, objects and NaN passed through substitutions), which
// print as a description only. Equality of predicates is structural: 1 and
// 1.0, or "a AND (b AND c)" and "a AND b AND c", are different predicates.
//
// Semantics: texts compare exactly unless [c] (full case folding) or [d]
// (diacritics dropped) say otherwise; numbers, booleans (0/1) and dates
// (seconds) compare numerically, and a text that is wholly a number compares
// with a number as that number. When a double of single precision (a stored
// float) meets a double that is not, both are compared at single precision,
// so that "trans_amount == 12.34" finds a stored 12.34f. nil equals only nil;
// every ordering, text, LIKE, MATCHES, IN and BETWEEN test with a nil operand
// is false ("NOT x CONTAINS 'a'" holds for a nil x). CONTAINS on a text is a
// substring test (the empty text is in every text), on an array membership;
// IN with an array on the right is membership, with a text on the right a
// substring test of the left operand. LIKE matches the whole text with '*'
// and '?'; MATCHES the whole text with a regular expression (an invalid one
// matches nothing). ANY/ALL/NONE apply the comparison to each element of the
// left operand's array (a single value counts as one element, nil as none).
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
