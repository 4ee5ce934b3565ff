#include "jet/sql/ddl_errors.h"

#include <array>
#include <cstdint>
#include <string>

#include "base/message_table.h"

namespace jet::sql {

namespace {

using Entry = qx::base::MessageRow<ChangeFailure>;  // "%1" and "%2" mark the names

constexpr std::array kEntries{
    Entry{ChangeFailure::ConstraintSyntax, 3289, "Syntax error in CONSTRAINT clause."},
    Entry{ChangeFailure::CreateTableSyntax, 3290, "Syntax error in CREATE TABLE statement."},
    Entry{ChangeFailure::CreateIndexSyntax, 3291, "Syntax error in CREATE INDEX statement."},
    Entry{ChangeFailure::FieldSyntax, 3292, "Syntax error in field definition."},
    Entry{ChangeFailure::DropSyntax, 3295, "Syntax error in DROP TABLE or DROP INDEX."},
    Entry{ChangeFailure::InsertSyntax, 3134, "Syntax error in INSERT INTO statement."},
    Entry{ChangeFailure::UpdateSyntax, 3144, "Syntax error in UPDATE statement."},
    Entry{ChangeFailure::ValueCount, 3346, "Number of query values and destination fields are not the same."},
    Entry{ChangeFailure::UnknownInsertField, 3127,
          "The INSERT INTO statement contains the following unknown field name: '%1'.  Make sure you have "
          "typed the name correctly, and try the operation again."},
    Entry{ChangeFailure::DuplicateField, 3191, "Cannot define field more than once."},
};

}  // namespace

Error changeError(ChangeFailure failure, std::string_view a, std::string_view b) {
    // The engine raises these itself; their texts live with it.
    switch (failure) {
        case ChangeFailure::TableExists:
            return Error::tableExists(std::string(a));
        case ChangeFailure::DuplicateKey:
            return Error::duplicateKey();
        case ChangeFailure::RequiredNull:
            return Error::requiredNull(std::string(a));
        case ChangeFailure::ValueDoesNotFit:
            return Error::valueTooLong();
        case ChangeFailure::TypeConversion:
            return Error::typeMismatch();
        case ChangeFailure::IndexExists:
            return Error::indexExists(std::string(a), std::string(b));
        case ChangeFailure::PrimaryKeyExists:
            return Error::primaryKeyExists();
        case ChangeFailure::NoSuchField:
        case ChangeFailure::NoSuchIndex:
            return Error::itemNotFound();
        default:
            break;
    }
    if (const Entry* e = qx::base::findMessage(kEntries, failure))
        return Error(e->number, qx::base::withArgument(qx::base::withArgument(e->text, a, "%1"), b, "%2"));
    return Error(3000, "Reserved error; there is no message for this error.");
}

}  // namespace jet::sql
