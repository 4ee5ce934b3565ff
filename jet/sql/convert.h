// Values of statements and imported rows turned into a column's type, as Jet converts a value
// on its way into a field.
#pragma once

#include <string>

#include "jet/sql/ddl.h"
#include "jet/table.h"
#include "jet/value.h"

namespace jet::sql {

// A value as it arrives: a statement's literal (ddl.h), or one of an exported row (JSON Lines of
// `jet export`: numbers as written, Currency, Decimal, dates and GUIDs as text, bytes already
// decoded from base64).
struct IncomingValue {
    enum class Kind { Null, Boolean, Number, Text, Date, Bytes } kind = Kind::Null;
    bool boolean = false;
    std::string text;  // Number: as written; Text: UTF-8
    DateTime date;
    Bytes bytes;
};

IncomingValue incomingOf(const InsertValue& v);

// The value `v` becomes in column `c`. Errors: 3464 "Data type mismatch in criteria expression."
// for a value of a kind the column cannot take (text that is no number, for a number column);
// 3163 for a number outside the column's range (text longer than the column is the engine's to
// find).
Value convertForColumn(const Column& c, const IncomingValue& v);

}  // namespace jet::sql
