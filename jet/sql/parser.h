// The Jet SQL statements the engine understands, and their parser.
//
//   SELECT [DISTINCT] [TOP n] * | item [, item ...] FROM table [[AS] alias] [WHERE condition]
//          [GROUP BY expression [, ...]] [ORDER BY expression [ASC | DESC] [, ...]] [;]
//   DROP TABLE table [;]
//
// A select item is an expression with an optional `AS name`, or `table.*`. Expressions: OR, AND,
// NOT, parentheses; = <> < > <= >=; [NOT] LIKE; IS [NOT] NULL; [NOT] IN (list); [NOT] BETWEEN a
// AND b; the functions UCASE and LCASE; the aggregates COUNT(*), COUNT, MIN, MAX, SUM, AVG (not in
// WHERE); column names plain, [bracketed] or qualified by the table or its alias; string literals
// in single or double quotes (a doubled quote stands for one); numbers; TRUE, FALSE, NULL.
// Keywords are matched without regard to case. The statements a user's typing produces in the
// search boxes (a stray quote, a wildcard, a bracket) are all inside this language or are refused
// with the error Jet gives for them (errors.h).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace jet::sql {

struct Expr;
using ExprPtr = std::unique_ptr<Expr>;

enum class CompareOp { Eq, Ne, Lt, Gt, Le, Ge };

struct Literal {
    enum class Kind { Null, Boolean, Number, Text } kind = Kind::Null;
    bool boolean = false;
    double number = 0;
    std::string text;
};
struct ColumnRef {
    std::string qualifier;  // table or alias, empty when not given
    std::string name;
};
struct Not {
    ExprPtr operand;
};
struct Logical {
    bool isAnd = true;
    ExprPtr left, right;
};
struct Compare {
    CompareOp op = CompareOp::Eq;
    ExprPtr left, right;
};
struct Like {
    bool negated = false;
    ExprPtr subject, pattern;
};
struct IsNull {
    bool negated = false;
    ExprPtr operand;
};
struct Negate {
    ExprPtr operand;
};
struct Call {
    std::string name;  // upper case
    std::vector<ExprPtr> args;
};
// x [NOT] IN (a, b, ...)
struct InList {
    bool negated = false;
    ExprPtr subject;
    std::vector<ExprPtr> items;
};
// x [NOT] BETWEEN low AND high
struct Between {
    bool negated = false;
    ExprPtr subject, low, high;
};
enum class AggregateFn { Count, Min, Max, Sum, Avg };
struct Aggregate {
    AggregateFn fn = AggregateFn::Count;
    ExprPtr arg;  // null for COUNT(*)
};

struct Expr {
    std::variant<Literal, ColumnRef, Not, Logical, Compare, Like, IsNull, Negate, Call, InList, Between,
                 Aggregate>
        node;
};

struct SelectItem {
    ExprPtr expr;        // null for * (all columns of the table)
    std::string alias;   // the name after AS, empty when not given
    std::string text;    // the item as written (quoted in error texts)
    std::string starOf;  // for table.*: the table or alias named
};

struct OrderKey {
    ExprPtr expr;
    bool descending = false;
    std::string text;  // as written
};

struct SelectStatement {
    std::string table;
    std::string alias;
    bool distinct = false;
    std::optional<std::uint64_t> top;  // TOP n
    bool topPercent = false;           // TOP n PERCENT
    std::vector<SelectItem> items;     // never empty; one item without expr stands for *
    ExprPtr where;                     // null without WHERE
    std::string whereText;             // the condition as written (quoted in error texts)
    std::vector<OrderKey> groupBy;     // descending unused
    std::vector<OrderKey> orderBy;

    // True for the plain `SELECT * FROM ...` list.
    bool selectsAll() const noexcept { return items.size() == 1 && !items[0].expr; }
};

struct DropTableStatement {
    std::string table;
};

using Statement = std::variant<SelectStatement, DropTableStatement>;

// Parses one statement. Throws jet::Error (errors.h) for anything outside the language.
Statement parse(std::string_view sql);

}  // namespace jet::sql
