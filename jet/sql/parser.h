// The Jet SQL statements the engine understands, and their parser.
//
//   SELECT * | column [, column ...] FROM table [[AS] alias] [WHERE condition] [;]
//   DROP TABLE table [;]
//
// Conditions: OR, AND, NOT, parentheses; = <> < > <= >=; [NOT] LIKE; IS [NOT] NULL; the functions
// UCASE and LCASE; column names plain, [bracketed] or qualified by the table or its alias; string
// literals in single or double quotes (a doubled quote stands for one); numbers; TRUE, FALSE, NULL.
// Keywords are matched without regard to case. The statements a user's typing produces in the
// search boxes (a stray quote, a wildcard, a bracket) are all inside this language or are refused
// with the error Jet gives for them (errors.h).
#pragma once

#include <memory>
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

struct Expr {
    std::variant<Literal, ColumnRef, Not, Logical, Compare, Like, IsNull, Negate, Call> node;
};

struct SelectStatement {
    std::string table;
    std::string alias;
    std::vector<std::string> columns;  // empty for *
    ExprPtr where;                     // null without WHERE
    std::string whereText;             // the condition as written (quoted in error texts)
};

struct DropTableStatement {
    std::string table;
};

using Statement = std::variant<SelectStatement, DropTableStatement>;

// Parses one statement. Throws jet::Error (errors.h) for anything outside the language.
Statement parse(std::string_view sql);

}  // namespace jet::sql
