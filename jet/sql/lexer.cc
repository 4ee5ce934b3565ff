#include "jet/sql/lexer.h"

#include "jet/sql/text.h"

namespace jet::sql::lex {

bool isSpace(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v';
}
bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}
bool isIdentChar(char c) noexcept {
    const auto u = static_cast<unsigned char>(c);
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || isDigit(c) || c == '_' || u >= 0x80;
}

std::vector<Token> tokenize(std::string_view s) {
    std::vector<Token> out;
    std::size_t i = 0;
    while (true) {
        while (i < s.size() && isSpace(s[i])) ++i;
        Token t;
        t.begin = i;
        if (i >= s.size()) {
            t.kind = Tok::End;
            t.end = i;
            out.push_back(std::move(t));
            return out;
        }
        const char c = s[i];
        if (c == '\'' || c == '"') {
            std::size_t j = i + 1;
            bool closed = false;
            while (j < s.size()) {
                if (s[j] == c) {
                    if (j + 1 < s.size() && s[j + 1] == c) {
                        t.text.push_back(c);
                        j += 2;
                        continue;
                    }
                    closed = true;
                    ++j;
                    break;
                }
                t.text.push_back(s[j++]);
            }
            t.kind = closed ? Tok::String : Tok::BadString;
            i = j;
        } else if (c == '[') {
            const auto close = s.find(']', i + 1);
            if (close == std::string_view::npos) {
                t.kind = Tok::BadBracket;
                t.text = std::string(s.substr(i));
                i = s.size();
            } else {
                t.kind = Tok::Bracket;
                t.text = std::string(s.substr(i + 1, close - i - 1));
                i = close + 1;
            }
        } else if (isDigit(c) || (c == '.' && i + 1 < s.size() && isDigit(s[i + 1]))) {
            std::size_t j = i;
            while (j < s.size() && isDigit(s[j])) ++j;
            if (j < s.size() && s[j] == '.') {
                ++j;
                while (j < s.size() && isDigit(s[j])) ++j;
            }
            if (j < s.size() && (s[j] == 'e' || s[j] == 'E')) {
                std::size_t k = j + 1;
                if (k < s.size() && (s[k] == '+' || s[k] == '-')) ++k;
                if (k < s.size() && isDigit(s[k])) {
                    while (k < s.size() && isDigit(s[k])) ++k;
                    j = k;
                }
            }
            t.kind = Tok::Number;
            t.text = std::string(s.substr(i, j - i));
            i = j;
        } else if (isIdentChar(c)) {
            std::size_t j = i;
            while (j < s.size() && isIdentChar(s[j])) ++j;
            t.kind = Tok::Ident;
            t.text = std::string(s.substr(i, j - i));
            i = j;
        } else {
            ++i;
            switch (c) {
                case '(':
                    t.kind = Tok::LParen;
                    break;
                case ')':
                    t.kind = Tok::RParen;
                    break;
                case ',':
                    t.kind = Tok::Comma;
                    break;
                case '*':
                    t.kind = Tok::Star;
                    break;
                case '.':
                    t.kind = Tok::Dot;
                    break;
                case ';':
                    t.kind = Tok::Semicolon;
                    break;
                case '=':
                    t.kind = Tok::Eq;
                    break;
                case '-':
                    t.kind = Tok::Minus;
                    break;
                case '<':
                    if (i < s.size() && s[i] == '>') {
                        t.kind = Tok::Ne;
                        ++i;
                    } else if (i < s.size() && s[i] == '=') {
                        t.kind = Tok::Le;
                        ++i;
                    } else {
                        t.kind = Tok::Lt;
                    }
                    break;
                case '>':
                    if (i < s.size() && s[i] == '=') {
                        t.kind = Tok::Ge;
                        ++i;
                    } else {
                        t.kind = Tok::Gt;
                    }
                    break;
                default: {
                    // Any other character is one token; keep a multi-byte character whole.
                    std::size_t pos = i - 1;
                    decodeUtf8(s, pos);
                    i = pos;
                    t.kind = Tok::Other;
                    break;
                }
            }
            t.text = std::string(s.substr(t.begin, i - t.begin));
        }
        t.end = i;
        out.push_back(std::move(t));
    }
}

bool keywordIs(const Token& t, std::string_view word) noexcept {
    if (t.kind != Tok::Ident || t.text.size() != word.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i) {
        char a = t.text[i];
        if (a >= 'a' && a <= 'z') a = static_cast<char>(a - 0x20);
        if (a != word[i]) return false;
    }
    return true;
}

}  // namespace jet::sql::lex
