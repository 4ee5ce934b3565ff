// Failures of the statements that define tables and add rows, with the numbers and texts the
// engine's DAO interface reports for them; the one table of them is in ddl_errors.cc.
#pragma once

#include <string_view>

#include "jet/error.h"

namespace jet::sql {

enum class ChangeFailure {
    TableExists,         // 3010 "Table 'x' already exists."
    ConstraintSyntax,    // 3289
    CreateTableSyntax,   // 3290
    CreateIndexSyntax,   // 3291
    FieldSyntax,         // 3292 an unknown type, a bad size
    DropSyntax,          // 3295
    InsertSyntax,        // 3134
    UpdateSyntax,        // 3144
    ValueCount,          // 3346 values and fields differ in number
    UnknownInsertField,  // 3127 names the field
    DuplicateField,      // 3191 a column defined twice
    IndexExists,         // 3375 names table and index
    PrimaryKeyExists,    // 3283
    NoSuchField,         // 3265 an index on a column the table lacks
    NoSuchIndex,         // 3265 DROP INDEX of an index the table lacks
    DuplicateKey,        // 3022
    RequiredNull,        // 3314 names the field
    ValueDoesNotFit,  // 3163 "The field is too small to accept the amount of data you attempted to add. ..."
    TypeConversion,   // 3464 "Data type mismatch in criteria expression."
};

// `a` and `b` fill the text's places (names), in order.
Error changeError(ChangeFailure failure, std::string_view a = {}, std::string_view b = {});

}  // namespace jet::sql
