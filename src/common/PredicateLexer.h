#pragma once

// Tokens of the predicate grammar. Internal to the predicate parser.

#include "common/Result.h"
#include "common/Value.h"

#include <QString>
#include <QStringView>
#include <vector>

namespace qf::predicate_detail {

struct Token {
    enum class Kind : std::uint8_t {
        End,
        Identifier,
        EscapedIdentifier, // #name: a key even when the name is a reserved word
        AtIdentifier,      // @name: a collection operator
        Number,
        String,
        Substitution, // %@ %K %d %i %f; text holds the letter
        LParen,
        RParen,
        LBrace,
        RBrace,
        LBracket,
        RBracket,
        Comma,
        Dot,
        Equal,
        NotEqual,
        Less,
        LessOrEqual,
        Greater,
        GreaterOrEqual,
        And,
        Or,
        Not,
    };
    Kind kind = Kind::End;
    int position = 0; // offset of the token's first character
    QString text;     // a name, or the letter of a substitution
    Value value;      // a number's or a string's value
};

// Splits a predicate text into tokens, ending with one End token; an
// unknown character, an unterminated string or a bad escape is an error at
// its offset.
Status tokenize(QStringView text, std::vector<Token>& tokens);

// A key as the grammar writes it without '#': a letter, '_' or '$', then
// letters, digits, '_' or '$'.
bool isIdentifier(QStringView text);

} // namespace qf::predicate_detail
