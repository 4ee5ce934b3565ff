// The click handlers of the "Software Utilities" tab: tests 1 to 10 and "Test All (1-9)".
//
// A handler may be run by another one exactly as if its button had been clicked: tests 4 and 6
// run test 3 first, test 8 runs test 2, and Test All runs tests 1 to 9 in order without stopping
// on a failure (so a missing data folder is reported three times, a missing application folder
// twice). Errors the checks do not trap (a folder the file check cannot show) leave the handler
// and every handler that ran it, as unhandled errors do.
#pragma once

#include "shell/program.h"

namespace qx::diagnostics {

void cmdKELini_Click(forms::Program& p);             // 1: the configuration file
void cmdKELDIRPresent_Click(forms::Program& p);      // 2: the application folder
void cmdKELDATADirPresent_Click(forms::Program& p);  // 3: the data folder
void cmdReadWrite_Click(forms::Program& p);          // 4: read/write in the data folder
void cmdKELUserDirPresent_Click(forms::Program& p);  // 5: the user folder
void cmdOfficeMDB_Click(forms::Program& p);          // 6: the central database
void cmdCommentMDB_Click(forms::Program& p);         // 7: the comments database
void cmdKELRET_Click(forms::Program& p);             // 8: the transfer database
void cmdWinDIR_Click(forms::Program& p);             // 9: the Windows folders
void cmdMemory_Click(forms::Program& p);             // 10: the memory monitor
void cmdTestALL_Click(forms::Program& p);            // tests 1 to 9

}  // namespace qx::diagnostics
