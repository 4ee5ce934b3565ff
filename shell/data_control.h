// frmMain's data control `adodata`, shared by the table viewer's grid and the search's grid, and
// the routines that point it at a table and release it.
//
// None of these routines traps errors: a failure of the data control (missing database, table or
// column, a statement broken by a quote, a closed recordset) leaves the routine as a
// qx::RuntimeError carrying ADO's number and text.
#pragma once

#include <string>

#include "ado/adodc.h"
#include "shell/program.h"

namespace qx::shell {

// The data control object behind frmMain.adodata, installed on first use.
ado::Adodc& adodc(forms::Program& program);

// The data control's Refresh: the recordset is opened anew and every grid bound to the control
// takes it up, as bound grids do when their data control refreshes (on a failure they show
// nothing, and the failure is raised).
void refreshDataControl(forms::Program& program);

// Points adodata at `DatabaseName` in `Directory` (a trailing "\" is added to a copy when
// missing), its record source "Select * from " & TableName, refreshes it and sets the ADO-open
// flag. Shows fraSearch(0) first, whoever calls.
void AdoConnectTableANDDatabase(forms::Program& program, const std::string& TableName,
                                const std::string& DatabaseName, const std::string& Directory);
// The same for "office.mdb" in the data directory.
void AdoConnectTable(forms::Program& program, const std::string& TableName);

// With the ADO-open flag set: closes adodata's recordset, closes `GridName` and clears the flag.
// Does nothing while the flag is clear. A recordset that is already closed raises 3704.
void CloseADOifOpen(forms::Program& program, forms::Grid& GridName);

}  // namespace qx::shell
