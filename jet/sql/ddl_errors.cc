#include "jet/sql/ddl_errors.h"

#include <array>
#include <cstdint>
#include <string>

namespace jet::sql {

namespace {

struct Entry {
    ChangeFailure failure;
    std::int32_t number;
    std::string_view text;  // "%1" and "%2" mark the names
};

constexpr std::array kEntries{
    Entry{ChangeFailure::TableExists, 3010, "Table '%1' already exists."},
    Entry{ChangeFailure::ConstraintSyntax, 3289, "Syntax error in CONSTRAINT clause."},
    Entry{ChangeFailure::CreateTableSyntax, 3290, "Syntax error in CREATE TABLE statement."},
    Entry{ChangeFailure::CreateIndexSyntax, 3291, "Syntax error in CREATE INDEX statement."},
    Entry{ChangeFailure::FieldSyntax, 3292, "Syntax error in field definition."},
    Entry{ChangeFailure::DropSyntax, 3295, "Syntax error in DROP TABLE or DROP INDEX."},
    Entry{ChangeFailure::InsertSyntax, 3134, "Syntax error in INSERT INTO statement."},
    Entry{ChangeFailure::ValueCount, 3346, "Number of query values and destination fields are not the same."},
    Entry{ChangeFailure::UnknownInsertField, 3127,
          "The INSERT INTO statement contains the following unknown field name: '%1'.  Make sure you have "
          "typed the name correctly, and try the operation again."},
    Entry{ChangeFailure::DuplicateField, 3191, "Cannot define field more than once."},
    Entry{ChangeFailure::IndexExists, 3375, "Table '%1' already has an index named '%2'."},
    Entry{ChangeFailure::PrimaryKeyExists, 3283, "Primary key already exists."},
    Entry{ChangeFailure::NoSuchField, 3265, "Item not found in this collection."},
    Entry{ChangeFailure::NoSuchIndex, 3265, "Item not found in this collection."},
    Entry{ChangeFailure::DuplicateKey, 3022,
          "The changes you requested to the table were not successful because they would create duplicate "
          "values in the index, primary key, or relationship.  Change the data in the field or fields that "
          "contain duplicate data, remove the index, or redefine the index to permit duplicate entries and "
          "try again."},
    Entry{ChangeFailure::RequiredNull, 3314,
          "The field '%1' cannot contain a Null value because the Required property for this field is set "
          "to True.  Enter a value in this field."},
    Entry{ChangeFailure::ValueDoesNotFit, 3163,
          "The field is too small to accept the amount of data you attempted to add.  Try inserting or "
          "pasting less data."},
    Entry{ChangeFailure::TypeConversion, 3464, "Data type mismatch in criteria expression."},
};

void fill(std::string& text, std::string_view mark, std::string_view value) {
    const auto at = text.find(mark);
    if (at != std::string::npos) text.replace(at, mark.size(), value);
}

}  // namespace

Error changeError(ChangeFailure failure, std::string_view a, std::string_view b) {
    for (const auto& e : kEntries) {
        if (e.failure != failure) continue;
        std::string text(e.text);
        fill(text, "%1", a);
        fill(text, "%2", b);
        return Error(e.number, std::move(text));
    }
    return Error(3000, "Reserved error; there is no message for this error.");
}

}  // namespace jet::sql
