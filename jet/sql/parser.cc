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
    std::string_view("SELECT"), std::string_view("FROM"),    std::string_view("WHERE"),
    std::string_view("AND"),    std::string_view("OR"),      std::string_view("NOT"),
    std::string_view("LIKE"),   std::string_view("IS"),      std::string_view("NULL"),
    std::string_view("AS"),     std::string_view("DROP"),    std::string_view("TABLE"),
    std::string_view("TRUE"),   std::string_view("FALSE"),   std::string_view("ORDER"),
    std::string_view("GROUP"),  std::string_view("HAVING"),  std::string_view("UNION"),
    std::string_view("IN"),     std::string_view("BETWEEN"),
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

class Parser : TokenReader {
  public:
    Parser(std::string_view sql) : TokenReader(sql), sql_(sql) {}

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
        selectHead(st);
        selectList(st);
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
            const std::size_t clause = clauseAfter(pos_);
            st.whereText =
                clause < toks_.size() ? trimmed(where.end, toks_[clause].begin) : conditionText(where.end);
            for (std::size_t i = pos_; i < toks_.size(); ++i) {
                if (toks_[i].kind == Tok::BadString)
                    throw makeError(Failure::SyntaxErrorInString, st.whereText);
                if (toks_[i].kind == Tok::BadBracket)
                    throw makeError(Failure::InvalidBracketing, toks_[i].text);
            }
            exprText_ = st.whereText;
            st.where = orExpr();
            if (peek().kind == Tok::RParen) throw makeError(Failure::ExtraParenthesis, exprText_);
            if (const auto failure = clauses(st)) {
                finish(*failure);
                return st;
            }
            finish(Failure::MissingOperator, exprText_);
            return st;
        }
        if (const auto failure = clauses(st)) {
            finish(*failure);
            return st;
        }
        finish(Failure::FromClause);
        return st;
    }

    // DISTINCT, DISTINCTROW or ALL, then TOP n [PERCENT]. A TOP not followed by a number is a name.
    void selectHead(SelectStatement& st) {
        if (keywordIs(peek(), "DISTINCT")) {
            take();
            st.distinct = true;
        } else if (keywordIs(peek(), "DISTINCTROW") || keywordIs(peek(), "ALL")) {
            take();  // one table: every row is distinct already
        }
        if (keywordIs(peek(), "TOP") && peek(1).kind == Tok::Number) {
            take();
            const std::string& digits = take().text;
            if (digits.find_first_not_of("0123456789") != std::string::npos)
                throw makeError(Failure::SelectSyntax);
            const unsigned long long n = std::strtoull(digits.c_str(), nullptr, 10);
            if (n == 0) throw makeError(Failure::SelectSyntax);
            st.top = n;
            if (keywordIs(peek(), "PERCENT")) {
                take();
                if (n > 100) throw makeError(Failure::SelectSyntax);
                st.topPercent = true;
            }
        }
    }

    void selectList(SelectStatement& st) {
        while (true) {
            const Token& t = peek();
            if (t.kind == Tok::End || t.kind == Tok::Semicolon || keywordIs(t, "FROM"))
                throw makeError(Failure::SelectSyntax);
            SelectItem item;
            if (t.kind == Tok::Star) {
                take();
                item.text = "*";
            } else if (nameToken(t) && peek(1).kind == Tok::Dot && peek(2).kind == Tok::Star) {
                item.starOf = take().text;
                item.text = item.starOf + ".*";
                take();
                take();
            } else {
                const std::size_t start = pos_;
                item.text = trimmed(toks_[start].begin, toks_[itemEnd(start)].begin);
                exprText_ = item.text;
                item.expr = orExpr();
                if (keywordIs(peek(), "AS")) {
                    take();
                    if (!nameToken(peek())) throw makeError(Failure::SelectSyntax);
                    item.alias = take().text;
                }
            }
            st.items.push_back(std::move(item));
            if (peek().kind != Tok::Comma) break;
            take();
        }
    }

    // The position of the first token that ends a select item starting at `from`: a comma or
    // FROM outside parentheses, or the end.
    std::size_t itemEnd(std::size_t from) const {
        int depth = 0;
        for (std::size_t i = from; i < toks_.size(); ++i) {
            const Token& t = toks_[i];
            if (t.kind == Tok::LParen) ++depth;
            if (t.kind == Tok::RParen) --depth;
            if (t.kind == Tok::End ||
                (depth <= 0 && (t.kind == Tok::Comma || keywordIs(t, "FROM") || keywordIs(t, "AS"))))
                return i;
        }
        return toks_.size() - 1;
    }

    bool clauseStart(std::size_t i) const {
        const Token& t = toks_[i];
        const bool by = i + 1 < toks_.size() && keywordIs(toks_[i + 1], "BY");
        return ((keywordIs(t, "ORDER") || keywordIs(t, "GROUP")) && by) || keywordIs(t, "HAVING");
    }

    // The first GROUP BY, ORDER BY or HAVING outside parentheses from token `from`, or
    // toks_.size() when there is none.
    std::size_t clauseAfter(std::size_t from) const {
        int depth = 0;
        for (std::size_t i = from; i < toks_.size(); ++i) {
            if (toks_[i].kind == Tok::LParen) ++depth;
            if (toks_[i].kind == Tok::RParen) --depth;
            if (depth <= 0 && clauseStart(i)) return i;
        }
        return toks_.size();
    }

    // GROUP BY, HAVING and ORDER BY after FROM or WHERE. Returns the failure for what follows
    // them, or nothing when there was no clause.
    std::optional<Failure> clauses(SelectStatement& st) {
        std::optional<Failure> last;
        if (keywordIs(peek(), "GROUP") && keywordIs(peek(1), "BY")) {
            take();
            take();
            st.groupBy = keyList(false, Failure::GroupBySyntax);
            last = Failure::GroupBySyntax;
        }
        if (keywordIs(peek(), "HAVING")) throw makeError(Failure::NotSupported, "HAVING");
        if (keywordIs(peek(), "ORDER") && keywordIs(peek(1), "BY")) {
            take();
            take();
            st.orderBy = keyList(true, Failure::OrderBySyntax);
            last = Failure::OrderBySyntax;
        }
        return last;
    }

    std::vector<OrderKey> keyList(bool directions, Failure failure) {
        std::vector<OrderKey> keys;
        while (true) {
            const Token& t = peek();
            if (t.kind == Tok::End || t.kind == Tok::Semicolon || clauseStart(pos_)) throw makeError(failure);
            OrderKey key;
            std::size_t end = pos_;
            int depth = 0;
            for (; end < toks_.size(); ++end) {
                const Token& k = toks_[end];
                if (k.kind == Tok::LParen) ++depth;
                if (k.kind == Tok::RParen) --depth;
                if (k.kind == Tok::End || (depth <= 0 && (k.kind == Tok::Comma || clauseStart(end) ||
                                                          keywordIs(k, "ASC") || keywordIs(k, "DESC"))))
                    break;
            }
            key.text = trimmed(t.begin, toks_[std::min(end, toks_.size() - 1)].begin);
            exprText_ = key.text;
            key.expr = orExpr();
            if (directions && (keywordIs(peek(), "ASC") || keywordIs(peek(), "DESC"))) {
                key.descending = keywordIs(take(), "DESC");
            }
            keys.push_back(std::move(key));
            if (peek().kind != Tok::Comma) break;
            take();
        }
        const Token& next = peek();
        if (next.kind != Tok::End && next.kind != Tok::Semicolon && !clauseStart(pos_))
            throw makeError(failure);
        return keys;
    }

    std::string trimmed(std::size_t from, std::size_t to) const {
        std::string_view text = sql_.substr(from, to > from ? to - from : 0);
        while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
        while (!text.empty() && (isSpace(text.back()) || text.back() == ';')) text.remove_suffix(1);
        return std::string(text);
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

    [[noreturn]] void missingOperator() const { throw makeError(Failure::MissingOperator, exprText_); }

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
            case Tok::Eq:
                op = CompareOp::Eq;
                break;
            case Tok::Ne:
                op = CompareOp::Ne;
                break;
            case Tok::Lt:
                op = CompareOp::Lt;
                break;
            case Tok::Gt:
                op = CompareOp::Gt;
                break;
            case Tok::Le:
                op = CompareOp::Le;
                break;
            case Tok::Ge:
                op = CompareOp::Ge;
                break;
            default:
                break;
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
        if (keywordIs(t, "IN") || keywordIs(t, "BETWEEN") ||
            (keywordIs(t, "NOT") && (keywordIs(peek(1), "IN") || keywordIs(peek(1), "BETWEEN"))))
            return inOrBetween(std::move(left));
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

    ExprPtr inOrBetween(ExprPtr subject) {
        bool negated = false;
        if (keywordIs(peek(), "NOT")) {
            take();
            negated = true;
        }
        if (keywordIs(take(), "IN")) {
            if (peek().kind != Tok::LParen) missingOperator();
            take();
            InList in{negated, std::move(subject), {}};
            while (true) {
                in.items.push_back(orExpr());
                if (peek().kind != Tok::Comma) break;
                take();
            }
            closeParenthesis();
            return make(std::move(in));
        }
        Between between{negated, std::move(subject), unary(), {}};
        if (!keywordIs(peek(), "AND")) throw makeError(Failure::BetweenWithoutAnd, exprText_);
        take();
        between.high = unary();
        return make(std::move(between));
    }

    void closeParenthesis() {
        if (peek().kind != Tok::RParen) {
            if (peek().kind == Tok::End || peek().kind == Tok::Semicolon)
                throw makeError(Failure::MissingParenthesis, exprText_);
            missingOperator();
        }
        take();
    }

    static std::optional<AggregateFn> aggregateNamed(std::string_view name) {
        if (name == "COUNT") return AggregateFn::Count;
        if (name == "MIN") return AggregateFn::Min;
        if (name == "MAX") return AggregateFn::Max;
        if (name == "SUM") return AggregateFn::Sum;
        if (name == "AVG") return AggregateFn::Avg;
        return std::nullopt;
    }

    ExprPtr aggregate(AggregateFn fn) {
        Aggregate a{fn, {}};
        if (fn == AggregateFn::Count && peek().kind == Tok::Star) {
            take();
        } else {
            if (peek().kind == Tok::RParen) throw makeError(Failure::WrongArgumentCount, exprText_);
            a.arg = orExpr();
            if (peek().kind == Tok::Comma) throw makeError(Failure::WrongArgumentCount, exprText_);
        }
        closeParenthesis();
        return make(std::move(a));
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
                        throw makeError(Failure::MissingParenthesis, exprText_);
                    missingOperator();
                }
                take();
                return inner;
            }
            case Tok::Bracket:
                return columnRef();
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
            default:
                missingOperator();
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
        if (const auto fn = aggregateNamed(c.name)) return aggregate(*fn);
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
                throw makeError(Failure::MissingParenthesis, exprText_);
            missingOperator();
        }
        take();
        if (c.args.size() != 1) throw makeError(Failure::WrongArgumentCount, exprText_);
        return make(std::move(c));
    }

    std::string_view sql_;
    std::string exprText_;  // the expression being read, as written (quoted in error texts)
};

}  // namespace

Statement parse(std::string_view sql) {
    return Parser(sql).statement();
}

}  // namespace jet::sql
