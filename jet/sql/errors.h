// Failures of a statement, numbered and worded as the engine's OLE DB provider reports them.
//
// The provider's number is an HRESULT, kept as a signed 32-bit number (0x80040E14 is
// -2147217900), with the engine's own text. The failures of the data-access objects above the
// provider (a closed recordset, a missing provider, a command without text) are not the
// engine's: they live in ado/errors.h. The whole list lives in one table in errors.cc, so a
// number or a text is written down exactly once. All are raised as jet::Error.
#pragma once

#include <cstdint>
#include <string_view>

#include "jet/error.h"

namespace jet::sql {

enum class Failure {
    // Provider errors: the statement.
    NoSuchTable,          // 0x80040E37, names the table
    MissingParameter,     // 0x80040E10, an unknown name is taken for a parameter
    SyntaxErrorInString,  // 0x80040E14, quotes the condition; an unterminated '...'
    MissingOperator,      // 0x80040E14, quotes the condition
    MissingParenthesis,   // 0x80040E14, quotes the condition
    ExtraParenthesis,     // 0x80040E14, quotes the condition
    InvalidBracketing,    // 0x80040E14, quotes the name, e.g. "[City"
    FromClause,           // 0x80040E14
    SelectSyntax,         // 0x80040E14, a select list Jet cannot read
    InvalidStatement,     // 0x80040E14, a statement that is none of Jet's
    TrailingCharacters,   // 0x80040E14
    DropSyntax,           // 0x80040E14
    UndefinedFunction,    // 0x80040E14, names the function
    WrongArgumentCount,   // 0x80040E14, quotes the condition
    BetweenWithoutAnd,    // 0x80040E14, quotes the condition
    OrderBySyntax,        // 0x80040E14
    GroupBySyntax,        // 0x80040E14
    AggregateInWhere,     // 0x80040E14, quotes the condition
    AggregateInGroupBy,   // 0x80040E14, quotes the expression
    NestedAggregate,      // 0x80040E14, quotes the expression
    NotInAggregate,       // 0x80040E21, quotes the expression neither grouped nor aggregated
    DistinctOrderBy,      // 0x80040E14, quotes the ORDER BY expression
    GroupOnStar,          // 0x80040E14, names the table
    TypeMismatch,         // 0x80040E07
    TableDoesNotExist,    // 0x80040E37, DROP TABLE of a missing table; names the table
    NotSupported,         // 0x80004001, a valid statement this engine does not run; names its verb
    // Provider errors: the connection.
    EngineFailure,  // 0x80004005 with the engine's text (file missing, not a database, ...)
    // A row asked for past the end of a result (3021).
    NoCurrentRecord,
};

// The number ADO reports for the failure.
std::int32_t errorNumber(Failure failure) noexcept;
// The text, with `argument` put in place of the table's placeholder (a name, an expression, the
// engine's message); failures without a placeholder ignore it.
std::string errorText(Failure failure, std::string_view argument = {});
// The error to throw.
Error makeError(Failure failure, std::string_view argument = {});

// The same engine failure seen through ADO: the engine's text under the provider's number
// (a missing table keeps its own provider number).
Error throughProvider(const Error& engineError);

}  // namespace jet::sql
