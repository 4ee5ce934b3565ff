// The checks behind the numbered tests of the "Software Utilities" tab: the in-place strip of a
// folder's trailing backslash, the file check (tests 1, 6, 7, 8), the folder check (tests 2, 3, 5),
// the read/write check (test 4) and the tab's folder list keeping its file list in step.
//
// Each check points the tab's folder list DIRKEL (and through DIRKEL_Change the file list
// FILSource) at the place it tests, so the user sees the folder and its matching files, and shows
// its verdict in the result box passed in: ticked and "Passed", or unticked and "Failed".
//
// Folder arguments are the program-wide values themselves (Globals::appDir, dataDir, userDir,
// windowsDirectory), taken by reference: the strip changes them for the rest of the run, which
// later users of those values see (a joined file name then lacks its separator). Support staff know
// the program by that behaviour, so it stays.
#pragma once

#include <cstdint>
#include <string>

#include "shell/program.h"

namespace qx::forms {
class CheckBox;
class Label;
}  // namespace qx::forms

namespace qx::diagnostics {

// Trims blanks from `dataPath` itself, then cuts one trailing "\" from it; returns the new text.
// "" stays "". Records "StripRChar" as the current procedure name first (the error report of a
// later failure in the folder check names that routine).
std::string StripRSlash(Runtime& rt, std::string& dataPath);

// The file check. `filePath` is looked up as a normal file (wildcards in it act as wildcards).
// `directory` is stripped in place and shown in DIRKEL; FILSource gets the pattern "*." followed by
// everything after the first "." of `filePath`. An empty `directory` with `emptyDirFlag` non-zero
// fails with "File does not exist" in `errorLabel`; a file that is not found fails and leaves the
// label as it is. Errors are not trapped: a folder DIRKEL cannot show (76, 68) leaves this routine
// and its caller as an unhandled error, with the result box's caption already emptied.
void CheckFilePresent(forms::Program& p, const std::string& filePath, forms::CheckBox& resultBox,
                      std::string& directory, std::int16_t emptyDirFlag, forms::Label& errorLabel);

// The folder check. `directory` is stripped in place and shown in DIRKEL (FILSource "*.*"); the
// check passes only when DIRKEL then reports exactly the stripped text (so a drive root, stored as
// "C:\" and stripped to "C:", fails). Pass sets only the tick (the caption stays whatever it was);
// failure shows an OK box titled with the tool title ("Directory does not exist" for an empty
// value or error 76, "Directory is unavailable (check permissions)" otherwise) and marks the box
// "Failed". Every run-time error is trapped; a number other than 76 and 68 goes to ErrorReport
// first, whose answer is kept in Globals::lastDirCheckAction and not acted on.
void CheckDirPresent(forms::Program& p, std::string& directory, forms::CheckBox& resultBox);

// The read/write check of the data folder: writes "Write Privilege allowed" CR LF as the marker
// file "test.log" through file number 1, checks that FILSource lists it, reads its first field
// back. The verdict goes to `resultBox` and frmMain.lblReadWriteError; every run-time error is
// trapped (76 "Path Not Found", anything else "Access Denied - Check Permissions"). File number 1
// is not closed after an error, so it stays taken and every later run fails on its opening until
// the program restarts. `directory` is taken by value: the backslash joined to it for the marker
// file does not reach the caller's variable, which keeps the strip of the folder check before it.
void CheckReadWrite(forms::Program& p, forms::CheckBox& resultBox, std::string directory);

// DIRKEL's Change: FILSource follows the folder DIRKEL shows.
void DIRKEL_Change(forms::Program& p);

}  // namespace qx::diagnostics
