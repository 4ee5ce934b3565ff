// The "Data Maintenance" tab: the nine cmdFix buttons, the cleanup of the report database's
// temporary tables, the year-setting report, the table listing, and the backup warning
// (frmWarning) that stands before compaction of the central database.
#pragma once

#include <string_view>

#include "shell/program.h"

namespace qx::maintenance {

// One handler for the whole button array; `index` is the button's (0..8). Every click first
// empties lstDetails. Errors of the table listing are not trapped: they reach the caller.
void cmdFix_Click(forms::Program& p, int index);

// Drops `table` (blanks around it trimmed) from the database at `path`. Every error, a missing
// table or database included, ends the routine without a word.
void DropTheTable(forms::Program& p, std::string_view path, std::string_view table);

// frmWarning's buttons. Proceed goes on to frmCompress only when the warning was opened by
// "Compress Central Database" (cmdFix(2) held down by its click, cmdFix(0) and (1) not).
void frmWarning_cmdProceed_Click(forms::Program& p);
void frmWarning_cmdCancel_Click(forms::Program& p);

}  // namespace qx::maintenance
