// Splitting a Jet SQL statement into tokens, shared by the statement parsers (parser.h, ddl.h).
//
// The whole statement is split first: Jet reports a quote left open before it reports what the
// rest of the statement does wrong, so the parsers look at the complete token list.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace jet::sql::lex {

enum class Tok {
    End,
    Ident,
    Bracket,
    String,
    Number,
    LParen,
    RParen,
    Comma,
    Star,
    Dot,
    Semicolon,
    Eq,
    Ne,
    Lt,
    Gt,
    Le,
    Ge,
    Minus,
    Other,
    BadString,   // a quote with no closing quote: runs to the end of the statement
    BadBracket,  // a "[" with no "]"
};

struct Token {
    Tok kind = Tok::End;
    std::string text;  // identifier, bracketed name, string value, number text; Other: the character
    std::size_t begin = 0, end = 0;  // byte offsets in the statement
};

bool isSpace(char c) noexcept;
bool isDigit(char c) noexcept;
bool isIdentChar(char c) noexcept;

// The tokens of `s`, always ending with one Tok::End.
std::vector<Token> tokenize(std::string_view s);

// The tokens of one statement and the reading position in them, for the statement parsers.
// Reading never passes the final Tok::End: peeking beyond it gives it again.
struct TokenReader {
    explicit TokenReader(std::string_view sql) : toks_(tokenize(sql)) {}

    const Token& peek(std::size_t ahead = 0) const {
        const std::size_t i = pos_ + ahead;
        return i < toks_.size() ? toks_[i] : toks_.back();
    }
    const Token& take() {
        const Token& t = peek();
        if (pos_ + 1 < toks_.size()) ++pos_;
        return t;
    }

    std::vector<Token> toks_;
    std::size_t pos_ = 0;
};

// Whether `t` is the identifier `word` (given in upper case), without regard to case.
bool keywordIs(const Token& t, std::string_view word) noexcept;

}  // namespace jet::sql::lex
