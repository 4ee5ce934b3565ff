// Building the search statement and binding frmMain's data control.
//
// The statement is put together from fixed fragments and the criteria exactly as typed: nothing is
// escaped, so a quote typed into a box ends the string literal early and the statement fails when
// the data control runs it, and % or _ typed into a box act as wildcards. That is how the tool has
// always behaved and support staff rely on it; keep it.
//
// None of these routines traps errors: a failure of the data control (missing database, table or
// column, a statement broken by a quote, a closed recordset) leaves the routine as a
// qx::RuntimeError carrying ADO's number and text.
#pragma once

#include <cstdint>
#include <string>

#include "search/binding.h"
#include "shell/frmMain.h"
#include "shell/program.h"

namespace qx::search {

// The connection string's provider part and its tail.
inline constexpr std::string_view kConnectPrefix = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=";
inline constexpr std::string_view kConnectSuffix = ";Persist Security Info=False";

// One text criterion appended with AND: nothing for a blank criterion; otherwise
// "UCASE(<COLUMN>) LIKE '%<VALUE>%'", the column and the value trimmed and upper-cased, preceded by
// " AND " unless it is the first condition.
std::string AddSQLWhere(const std::string& InputStr, const std::string& fieldname, const std::string& TextBox);
// The same appended with OR (no search category uses it).
std::string ORSQLWhere(const std::string& InputStr, const std::string& fieldname, const std::string& TextBox);
// The check-number group over check1, check2 and check3, with the number exactly as typed; after
// another condition it follows the closing quote with no blank: ...%'AND (check1 like ...
std::string LookAtChecks(const std::string& TempStr, const std::string& CheckNumber);

// The statement for search category `Index` over `TableName`, reading the criteria boxes of that
// category on `form` as they are now. Categories 9 and 10 and indexes outside 0..8 have no
// criteria: the statement is then the whole table.
std::string BuildSearchSQL(const forms::FrmMain& form, const std::string& TableName, std::int16_t Index);

// The binding object behind frmMain.adodata, installed on first use.
AdoBinding& binding(forms::Program& program);

// Points adodata at `DatabaseName` in `Directory` (a trailing "\" is added when missing), its
// record source "Select * from " & TableName, refreshes it and sets the ADO-open flag. Shows
// fraSearch(0) first, whoever calls.
void AdoConnectTableANDDatabase(forms::Program& program, const std::string& TableName,
                                const std::string& DatabaseName, const std::string& Directory);
// The same for "office.mdb" in the data directory (no search category uses it).
void AdoConnectTable(forms::Program& program, const std::string& TableName);

// With the ADO-open flag set: closes adodata's recordset, closes `GridName` and clears the flag.
// Does nothing while the flag is clear. A recordset that is already closed raises 3704.
void CloseADOifOpen(forms::Program& program, forms::Grid& GridName);

// The search a changed criterion runs: hourglass, BuildSearchSQL for the search table and
// `Index`, the statement into adodata.RecordSource, adodata.Refresh, grdData.Refresh, default
// pointer. The count labels are left alone. On a failure the pointer stays the hourglass, as
// the original leaves it when the error escapes.
void RunSearch(forms::Program& program, std::int16_t Index);

}  // namespace qx::search
