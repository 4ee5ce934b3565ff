// frmCompress: compaction of the suite's databases where they lie.
//
// For each selected database the run holds the file so that nobody else has it open, writes a
// compacted copy to the scratch file "compress.mdb" beside it, copies that back over the database
// (FileSystem::copyFile replaces a file whole or not at all), and only then deletes the scratch.
// Whatever stops the run - an error, an answer of the error report, the process killed - the
// database file is its old self or its compacted self, and the scratch is never its only copy.
//
// Failures: 3356 (held exclusively by another user) shows its message and ends the program; 3045
// (open elsewhere) reports "This File Was In Use... No Change." and the run goes on with the next
// selected database, whose line stays selected; any other error goes to the error report, whose
// answer retries the failing step (0), skips it (1), leaves the run (2) or raises it again (3). A
// skipped step never lets a later one work on what it did not make: without this run's compacted
// copy nothing is copied back.
#pragma once

#include <string>
#include <string_view>

#include "shell/program.h"

namespace qx::maintenance {

void frmCompress_Load(forms::Program& p);
void frmCompress_cmdDefault_Click(forms::Program& p);
void frmCompress_dirDrive_Change(forms::Program& p);
void frmCompress_dirPath_Change(forms::Program& p);
void frmCompress_filDatabases_PathChange(forms::Program& p);
void frmCompress_ckbselectall_Click(forms::Program& p);
void frmCompress_cmdCompress_Click(forms::Program& p);
void frmCompress_cmdClose_Click(forms::Program& p);

// The status line for `path`: base name "." extension ": " and "No Change" when the sizes are
// equal, else "Compressed " with (1 - after / before) x 100 as "###.#" and "%" (".4%" for a small
// saving, a negative figure for a file that grew).
std::string statusLine(Runtime& rt, std::string_view path, double sizeBefore, double sizeAfter);

}  // namespace qx::maintenance
