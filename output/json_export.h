// JSON Lines text for engine values, rows and errors, as `qxtest-cli jet ...` prints them.
//
// Value forms: null; Boolean true/false; Byte, Integer, Long as integers; Single and Double as the
// shortest number text that reads back to the same value (non-finite values as null); Currency
// and Decimal as strings of exact digits (Currency with 4 decimals); Date/Time as
// "YYYY-MM-DD HH:MM:SS"; Text and Memo as strings; Binary, OLE and unknown types as base64; GUID as
// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}".
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "jet/error.h"
#include "jet/value.h"

namespace jet {

class Table;
class Cursor;
class Database;

namespace json {

// Appends `text` as a JSON string literal (quotes included) to `out`.
void appendString(std::string& out, std::string_view text);
// Reads a JSON string literal starting at text[pos] (which must be '"'); on success moves pos past
// the closing quote and returns the decoded UTF-8 text. Nothing for a malformed literal (a raw
// control character, a bad escape, a surrogate without its other half, no closing quote).
std::optional<std::string> readString(std::string_view text, std::size_t& pos);
// Appends one value in the forms above. This and columnsLine, appendRow and writeExport go through
// the command line's row writer (output/row_output.h), the one place values are formatted.
void appendValue(std::string& out, const Value& value);
std::string base64(const void* data, std::size_t size);

// {"columns":[{"name":N,"type":T,"size":S},...]} (no newline). T is typeName().
std::string columnsLine(const Table& table);
// [v1,v2,...] for the cursor's current row (no newline).
void appendRow(std::string& out, const Table& table, const Cursor& cursor);
// {"error":{"number":N,"description":D}} (no newline).
std::string errorLine(const Error& error);
// {"name":N,"attributes":A,"fields":F,"records":R} per table definition, one line each, in DAO
// order. Linked tables (no local data) report fields and records as 0 unless their definition is
// in this file.
void writeTables(std::ostream& out, const Database& db);
// The columns line and one line per row, in scan order.
void writeExport(std::ostream& out, const Table& table);

}  // namespace json
}  // namespace jet
