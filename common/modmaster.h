// The shared routines of the program (the original's modMaster module) and the error report.
//
// Routines that change their caller's variable take it by non-const reference, as the original
// passed strings by reference and callers rely on the change. Every routine that traps errors
// sets the current procedure name on entry (see trap.h) and routes errors through ErrorReport.
#pragma once

#include <string>
#include <string_view>

#include "common/globals.h"
#include "common/listmodel.h"
#include "common/vb.h"
#include "platform/errors.h"

namespace qx {

// The notice shown before the program ends on database error 3218 (two blanks after "corrupt.").
inline constexpr std::string_view kCorruptDatabaseNotice =
    "The databases may be corrupt.  Please run the rebuild programs. (Double Click on the icons) and restart "
    "Snapwell.";
inline constexpr std::string_view kErrorBoxTitle = "Error";
inline constexpr std::int32_t kErrRecordLocked = 3218;

// CkRSlash: when the trimmed path is not empty and does not end in "\", the caller's variable
// becomes the trimmed path & "\"; the result is the trimmed path (with that backslash). A blank
// path gives "" and is left as it was; an existing backslash is kept as is (no second one).
std::string CkRSlash(Runtime& rt, std::string& path);

// StripRChar: the caller's variable is trimmed and loses one trailing "\" (only one); the result is
// the trimmed variable.
std::string StripRChar(Runtime& rt, std::string& path);

// ParseFileName: splits an upper-cased path into drive ("C:"), directory (up to and including
// the last "\"), name and extension; the extension is everything after the FIRST dot of what
// follows the drive, even when that dot lies in a folder name (kept so on purpose).
void ParseFileName(Runtime& rt, std::string_view full, std::string& drive, std::string& dir,
                   std::string& name, std::string& ext);

// SplitAt: the part of `text` left ("L...") or right ("R...") of the first `separator`; "" when
// the separator does not occur or `side` starts with another letter.
std::string SplitAt(std::string_view text, std::string_view side, std::string_view separator);

// SepDate: the date's year, month (1-12) and day of month. The text form takes a date as the
// English (United States) forms write it ("11/20/2006", "11/20/2006 1:45:00 PM") or "2006-11-20";
// another text raises 13 (type mismatch) through the trap.
void SepDate(Runtime& rt, const platform::LocalTime& date, vb::Integer& year, vb::Integer& month,
             vb::Integer& day);
void SepDate(Runtime& rt, std::string_view date, vb::Integer& year, vb::Integer& month, vb::Integer& day);

// FileExists: true when the file is at least 1 byte long; false when it is empty or missing
// (53 answers false without a report). Other errors go through the trap.
bool FileExists(Runtime& rt, std::string_view path);

// DelPict: deletes the file `path` (asking first unless `quiet`) and returns 1, or returns 0.
// When asking and `prompt` is "", the caller's `prompt` becomes "Delete " & path & "?".
vb::Integer DelPict(Runtime& rt, std::string_view path, bool quiet, std::string& prompt);

// DebugNote: with "/W" in the command line (any case), shows "DEBUGGER DELETING " & path, titled
// with the upper-cased command line; otherwise nothing.
void DebugNote(Runtime& rt, std::string_view path);

void lstSelectAll(Runtime& rt, ListModel& list);
void lstUnSelectAll(Runtime& rt, ListModel& list);
// lstCopy: the target becomes a copy of the source's lines (and is refreshed); an empty source
// just clears the target. The source's current line becomes the first.
void lstCopy(Runtime& rt, ListModel& source, ListModel& target);

// ErrorReport(number) with `pending` the error being handled (Err). Returns the action code:
// 0 retry, 1 go on, 2 leave, 3 raise.
// - pending 3218: the corrupt-database notice (OK, titled with the tool title), then the program
//   ends (Process::end throws ProgramEnd).
// - number 57, 61, 68, 71: Abort/Retry/Ignore box titled "Error" with
//   description & "." & CR LF & "Error #" & Str(number) & " in module " & Trim(procedure) & ".";
//   the screen's pointer becomes the hourglass; Retry (or OK) 0, Abort (or Cancel) 2, Ignore 1.
// - anything else: nothing shown, 3.
// The number is a 16-bit Integer: a pending error number outside its range raises 6 (overflow)
// when handed over, as the original's call did.
vb::Integer ErrorReport(Runtime& rt, vb::Integer number, const RuntimeError& pending);
vb::Integer ErrorReport(Runtime& rt, const RuntimeError& pending);
vb::Integer ErrorReport(Runtime& rt, vb::Integer number);

// Screen.MousePointer as the shared routines set it: kept in Globals and passed to the shell's hook.
void setScreenMousePointer(Runtime& rt, int pointer);

}  // namespace qx
