#include "jet/sql/errors.h"

#include <array>
#include <string>

#include "base/message_table.h"

namespace jet::sql {

namespace {

using Entry = qx::base::MessageRow<Failure>;

// HRESULTs as ADO passes them on (signed 32-bit).
constexpr std::int32_t kErrorsInCommand = -2147217900;   // 0x80040E14
constexpr std::int32_t kNoTable = -2147217865;           // 0x80040E37
constexpr std::int32_t kParamNotOptional = -2147217904;  // 0x80040E10
constexpr std::int32_t kCantConvertValue = -2147217913;  // 0x80040E07
constexpr std::int32_t kNotInAggregate = -2147217887;    // 0x80040E21
constexpr std::int32_t kFail = -2147467259;              // 0x80004005
constexpr std::int32_t kNotImplemented = -2147467263;    // 0x80004001

constexpr std::array kTable{
    Entry{Failure::NoSuchTable, kNoTable,
          "The Microsoft Jet database engine cannot find the input table or query '%s'.  Make sure it "
          "exists and that its name is spelled correctly."},
    Entry{Failure::MissingParameter, kParamNotOptional,
          "No value given for one or more required parameters."},
    Entry{Failure::SyntaxErrorInString, kErrorsInCommand, "Syntax error in string in query expression '%s'."},
    Entry{Failure::MissingOperator, kErrorsInCommand,
          "Syntax error (missing operator) in query expression '%s'."},
    Entry{Failure::MissingParenthesis, kErrorsInCommand, "Missing ), ], or Item in query expression '%s'."},
    Entry{Failure::ExtraParenthesis, kErrorsInCommand, "Extra ) in query expression '%s'."},
    Entry{Failure::InvalidBracketing, kErrorsInCommand, "Invalid bracketing of name '%s'."},
    Entry{Failure::FromClause, kErrorsInCommand, "Syntax error in FROM clause."},
    Entry{Failure::SelectSyntax, kErrorsInCommand,
          "The SELECT statement includes a reserved word or an argument name that is misspelled or "
          "missing, or the punctuation is incorrect."},
    Entry{Failure::InvalidStatement, kErrorsInCommand,
          "Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT', or 'UPDATE'."},
    Entry{Failure::TrailingCharacters, kErrorsInCommand, "Characters found after end of SQL statement."},
    Entry{Failure::DropSyntax, kErrorsInCommand, "Syntax error in DROP TABLE or DROP INDEX."},
    Entry{Failure::UndefinedFunction, kErrorsInCommand, "Undefined function '%s' in expression."},
    Entry{Failure::WrongArgumentCount, kErrorsInCommand,
          "Wrong number of arguments used with function in query expression '%s'."},
    Entry{Failure::BetweenWithoutAnd, kErrorsInCommand,
          "Between operator without And in query expression '%s'."},
    Entry{Failure::OrderBySyntax, kErrorsInCommand, "Syntax error in ORDER BY clause."},
    Entry{Failure::GroupBySyntax, kErrorsInCommand, "Syntax error in GROUP BY clause."},
    Entry{Failure::AggregateInWhere, kErrorsInCommand,
          "Cannot have aggregate function in WHERE clause (%s)."},
    Entry{Failure::AggregateInGroupBy, kErrorsInCommand,
          "Cannot have aggregate function in GROUP BY clause (%s)."},
    Entry{Failure::NestedAggregate, kErrorsInCommand, "Cannot have aggregate function in expression (%s)."},
    Entry{Failure::NotInAggregate, kNotInAggregate,
          "You tried to execute a query that does not include the specified expression '%s' as part of an "
          "aggregate function."},
    Entry{Failure::DistinctOrderBy, kErrorsInCommand, "ORDER BY clause (%s) conflicts with DISTINCT."},
    Entry{Failure::GroupOnStar, kErrorsInCommand, "Cannot group on fields selected with '*' (%s)."},
    Entry{Failure::TypeMismatch, kCantConvertValue, "Data type mismatch in criteria expression."},
    Entry{Failure::TableDoesNotExist, kNoTable, "Table '%s' does not exist."},
    Entry{Failure::NotSupported, kNotImplemented, "The statement '%s' is not supported by this engine."},
    Entry{Failure::EngineFailure, kFail, "%s"},
    Entry{Failure::NoCurrentRecord, 3021,
          "Either BOF or EOF is True, or the current record has been deleted. Requested operation "
          "requires a current record."},
};

}  // namespace

std::int32_t errorNumber(Failure failure) noexcept {
    return qx::base::messageFor(kTable, failure).number;
}

std::string errorText(Failure failure, std::string_view argument) {
    return qx::base::withArgument(qx::base::messageFor(kTable, failure).text, argument);
}

Error makeError(Failure failure, std::string_view argument) {
    return Error(errorNumber(failure), errorText(failure, argument));
}

Error throughProvider(const Error& engineError) {
    if (engineError.number() == errc::kTableNotFound)
        return Error(errorNumber(Failure::NoSuchTable), engineError.description());
    return Error(errorNumber(Failure::EngineFailure), engineError.description());
}

}  // namespace jet::sql
