#include "jet/sql/parser.h"

#include <array>
#include <cstdlib>
#include <optional>

#include "jet/sql/errors.h"
#include "jet/sql/lexer.h"
#include "jet/sql/text.h"

namespace jet::sql {

using namespace lex;

namespace {

constexpr std::array kReserved{
    std::string_view("SELECT"), std::string_view("FROM"), std::string_view("WHERE"),
    std::string_view("AND"), std::string_view("OR"), std::string_view("NOT"), std::string_view("LIKE"),
    std::string_view("IS"), std::string_view("NULL"), std::string_view("AS"), std::string_view("DROP"),
    std::string_view("TABLE"), std::string_view("TRUE"), std::string_view("FALSE"),
    std::string_view("ORDER"), std::string_view("GROUP"), std::string_view("HAVING"),
    std::string_view("UNION"), std::string_view("IN"), std::string_view("BETWEEN"),
};

bool reserved(const Token& t) {
    for (auto w : kReserved)
        if (keywordIs(t, w)) return true;
    return false;
}

std::string upperAscii(std::string s) {
    for (char& c : s)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 0x20);
    return s;
}

class Parser {
public:
    Parser(std::string_view sql) : sql_(sql), toks_(tokenize(sql)) {}

    Statement statement() {
        const Token& first = peek();
        if (keywordIs(first, "SELECT")) return select();
        if (keywordIs(first, "DROP")) return drop();
        for (auto verb : {"INSERT", "UPDATE", "DELETE", "CREATE", "ALTER", "TRANSFORM", "PARAMETERS",
                          "PROCEDURE", "GRANT", "REVOKE", "EXECUTE", "EXEC", "ADD"}) {
            if (keywordIs(first, verb)) throw makeError(Failure::NotSupported, upperAscii(first.text));
        }
        throw makeError(Failure::InvalidStatement);
    }

private:
    const Token& peek(std::size_t ahead = 0) const {
        const std::size_t i = pos_ + ahead;
        return i < toks_.size() ? toks_[i] : toks_.back();
    }
    const Token& take() {
        const Token& t = peek();
        if (pos_ + 1 < toks_.size()) ++pos_;
        return t;
    }

    // After the statement: nothing, or one ';' and nothing.
    void finish(Failure otherwise, std::string_view argument = {}) {
        if (peek().kind == Tok::Semicolon) {
            take();
            if (peek().kind != Tok::End) throw makeError(Failure::TrailingCharacters);
            return;
        }
        if (peek().kind != Tok::End) throw makeError(otherwise, argument);
    }

    bool nameToken(const Token& t) const {
        return (t.kind == Tok::Ident && !reserved(t)) || t.kind == Tok::Bracket;
    }

    Statement select() {
        take();  // SELECT
        SelectStatement st;
        if (peek().kind == Tok::Star) {
            take();
        } else {
            while (true) {
                if (!nameToken(peek())) throw makeError(Failure::SelectSyntax);
                std::string name = take().text;
                if (peek().kind == Tok::Dot) {
                    take();
                    if (!nameToken(peek())) throw makeError(Failure::SelectSyntax);
                    name = take().text;
                }
                st.columns.push_back(std::move(name));
                if (peek().kind != Tok::Comma) break;
                take();
            }
        }
        if (!keywordIs(peek(), "FROM")) throw makeError(Failure::SelectSyntax);
        take();
        if (peek().kind == Tok::BadBracket) throw makeError(Failure::InvalidBracketing, peek().text);
        if (!nameToken(peek())) throw makeError(Failure::FromClause);
        st.table = take().text;
        if (keywordIs(peek(), "AS")) {
            take();
            if (!nameToken(peek())) throw makeError(Failure::FromClause);
            st.alias = take().text;
        } else if (nameToken(peek())) {
            st.alias = take().text;
        }
        if (keywordIs(peek(), "WHERE")) {
            const Token& where = take();
            st.whereText = conditionText(where.end);
            for (std::size_t i = pos_; i < toks_.size(); ++i) {
                if (toks_[i].kind == Tok::BadString)
                    throw makeError(Failure::SyntaxErrorInString, st.whereText);
                if (toks_[i].kind == Tok::BadBracket)
                    throw makeError(Failure::InvalidBracketing, toks_[i].text);
            }
            whereText_ = st.whereText;
            st.where = orExpr();
            if (peek().kind == Tok::RParen) throw makeError(Failure::ExtraParenthesis, whereText_);
            finish(Failure::MissingOperator, whereText_);
            return st;
        }
        finish(Failure::FromClause);
        return st;
    }

    std::string conditionText(std::size_t from) const {
        std::string_view rest = sql_.substr(from);
        while (!rest.empty() && isSpace(rest.front())) rest.remove_prefix(1);
        while (!rest.empty() && isSpace(rest.back())) rest.remove_suffix(1);
        if (!rest.empty() && rest.back() == ';') rest.remove_suffix(1);
        while (!rest.empty() && isSpace(rest.back())) rest.remove_suffix(1);
        return std::string(rest);
    }

    Statement drop() {
        take();  // DROP
        if (keywordIs(peek(), "INDEX")) throw makeError(Failure::NotSupported, "DROP INDEX");
        if (!keywordIs(peek(), "TABLE")) throw makeError(Failure::DropSyntax);
        take();
        if (!nameToken(peek())) throw makeError(Failure::DropSyntax);
        DropTableStatement st{take().text};
        finish(Failure::DropSyntax);
        return st;
    }

    [[noreturn]] void missingOperator() const { throw makeError(Failure::MissingOperator, whereText_); }

    static ExprPtr make(auto node) {
        auto e = std::make_unique<Expr>();
        e->node = std::move(node);
        return e;
    }

    ExprPtr orExpr() {
        ExprPtr left = andExpr();
        while (keywordIs(peek(), "OR")) {
            take();
            left = make(Logical{false, std::move(left), andExpr()});
        }
        return left;
    }

    ExprPtr andExpr() {
        ExprPtr left = notExpr();
        while (keywordIs(peek(), "AND")) {
            take();
            left = make(Logical{true, std::move(left), notExpr()});
        }
        return left;
    }

    ExprPtr notExpr() {
        if (keywordIs(peek(), "NOT")) {
            take();
            return make(Not{notExpr()});
        }
        return predicate();
    }

    ExprPtr predicate() {
        ExprPtr left = unary();
        const Token& t = peek();
        std::optional<CompareOp> op;
        switch (t.kind) {
            case Tok::Eq: op = CompareOp::Eq; break;
            case Tok::Ne: op = CompareOp::Ne; break;
            case Tok::Lt: op = CompareOp::Lt; break;
            case Tok::Gt: op = CompareOp::Gt; break;
            case Tok::Le: op = CompareOp::Le; break;
            case Tok::Ge: op = CompareOp::Ge; break;
            default: break;
        }
        if (op) {
            take();
            return make(Compare{*op, std::move(left), unary()});
        }
        if (keywordIs(t, "LIKE")) {
            take();
            return make(Like{false, std::move(left), unary()});
        }
        if (keywordIs(t, "NOT") && keywordIs(peek(1), "LIKE")) {
            take();
            take();
            return make(Like{true, std::move(left), unary()});
        }
        if (keywordIs(t, "IS")) {
            take();
            bool negated = false;
            if (keywordIs(peek(), "NOT")) {
                take();
                negated = true;
            }
            if (!keywordIs(peek(), "NULL")) missingOperator();
            take();
            return make(IsNull{negated, std::move(left)});
        }
        return left;
    }

    ExprPtr unary() {
        if (peek().kind == Tok::Minus) {
            take();
            return make(Negate{unary()});
        }
        return primary();
    }

    ExprPtr primary() {
        const Token& t = peek();
        switch (t.kind) {
            case Tok::String: {
                Literal lit{Literal::Kind::Text, false, 0, take().text};
                return make(std::move(lit));
            }
            case Tok::Number: {
                Literal lit{Literal::Kind::Number, false, std::strtod(take().text.c_str(), nullptr), {}};
                return make(std::move(lit));
            }
            case Tok::LParen: {
                take();
                ExprPtr inner = orExpr();
                if (peek().kind != Tok::RParen) {
                    if (peek().kind == Tok::End || peek().kind == Tok::Semicolon)
                        throw makeError(Failure::MissingParenthesis, whereText_);
                    missingOperator();
                }
                take();
                return inner;
            }
            case Tok::Bracket: return columnRef();
            case Tok::Ident: {
                if (keywordIs(t, "NULL")) {
                    take();
                    return make(Literal{});
                }
                if (keywordIs(t, "TRUE") || keywordIs(t, "FALSE")) {
                    const bool value = keywordIs(t, "TRUE");
                    take();
                    return make(Literal{Literal::Kind::Boolean, value, 0, {}});
                }
                if (reserved(t)) missingOperator();
                if (peek(1).kind == Tok::LParen) return call();
                return columnRef();
            }
            default: missingOperator();
        }
    }

    ExprPtr columnRef() {
        ColumnRef ref{{}, take().text};
        if (peek().kind == Tok::Dot) {
            take();
            if (!nameToken(peek())) missingOperator();
            ref.qualifier = std::move(ref.name);
            ref.name = take().text;
        }
        return make(std::move(ref));
    }

    ExprPtr call() {
        Call c{upperAscii(take().text), {}};
        take();  // (
        if (c.name != "UCASE" && c.name != "LCASE") throw makeError(Failure::UndefinedFunction, c.name);
        if (peek().kind != Tok::RParen) {
            while (true) {
                c.args.push_back(orExpr());
                if (peek().kind != Tok::Comma) break;
                take();
            }
        }
        if (peek().kind != Tok::RParen) {
            if (peek().kind == Tok::End || peek().kind == Tok::Semicolon)
                throw makeError(Failure::MissingParenthesis, whereText_);
            missingOperator();
        }
        take();
        if (c.args.size() != 1) throw makeError(Failure::WrongArgumentCount, whereText_);
        return make(std::move(c));
    }

    std::string_view sql_;
    std::vector<Token> toks_;
    std::size_t pos_ = 0;
    std::string whereText_;
};

}  // namespace

Statement parse(std::string_view sql) { return Parser(sql).statement(); }

}  // namespace jet::sql
