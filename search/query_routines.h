// Building the search statement and running the search on frmMain's data control.
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

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "shell/data_control.h"
#include "shell/frmMain.h"
#include "shell/program.h"

namespace qx::search {

// The data control and the routines that point it at a table and release it are the shell's
// (shell/data_control.h); the search knows them by these names.
using AdoBinding = ado::Adodc;
inline AdoBinding& binding(forms::Program& program) {
    return shell::adodc(program);
}
using shell::AdoConnectTable;
using shell::AdoConnectTableANDDatabase;
using shell::CloseADOifOpen;

// One text criterion appended with AND: nothing for a blank criterion; otherwise
// "UCASE(<COLUMN>) LIKE '%<VALUE>%'", the column and the value trimmed and upper-cased, preceded by
// " AND " unless it is the first condition.
std::string AddSQLWhere(const std::string& InputStr, const std::string& fieldname,
                        const std::string& TextBox);
// The same appended with OR (no search category uses it).
std::string ORSQLWhere(const std::string& InputStr, const std::string& fieldname, const std::string& TextBox);
// The three columns the check number is matched against.
inline constexpr std::array<std::string_view, 3> kCheckColumns{"check1", "check2", "check3"};

// The check-number group over check1, check2 and check3, with the number exactly as typed; after
// another condition it follows the closing quote with no blank: ...%'AND (check1 like ...
std::string LookAtChecks(const std::string& TempStr, const std::string& CheckNumber);

// The statement for search category `Index` over `TableName`, reading the criteria boxes of that
// category on `form` as they are now. Categories 9 and 10 and indexes outside 0..8 have no
// criteria: the statement is then the whole table.
std::string BuildSearchSQL(const forms::FrmMain& form, const std::string& TableName, std::int16_t Index);

// The search a changed criterion runs: hourglass, BuildSearchSQL for the search table and
// `Index`, the statement into adodata.RecordSource, adodata.Refresh, grdData.Refresh, default
// pointer. The count labels are left alone. On a failure the pointer stays the hourglass, as
// the original leaves it when the error escapes.
void RunSearch(forms::Program& program, std::int16_t Index);

}  // namespace qx::search
