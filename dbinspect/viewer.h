// The table viewer of the "Database Counts" tab: a double click on a table line of
// frmMain.lstTableListing, or any key typed while the list has the focus, binds the shared data
// control (and through it grdListing) to the whole table and shows where it lives and its counts.
//
// Kept on purpose: the six labels' captions with their uneven blanks (texts.h); lblTableCount
// shows the zero-based index of the selected line; any key re-runs the viewer, Enter or not; the
// walk upward to the nearest location line moves the list's selection on its way and puts it back;
// the line splits at its first "-"; USERS (any case) is refused while UsersTableLocked is set.
//
// A failure of the binding (a moved file, a locked database, a table removed since the listing)
// leaves lstTableListing_DblClick as a qx::RuntimeError, with the labels already set left as they
// are.
#pragma once

#include <cstdint>

#include "shell/program.h"

namespace qx::dbinspect {

void lstTableListing_DblClick(forms::Program& program);
// Runs the viewer for every key; the key itself is left as it came.
void lstTableListing_KeyPress(forms::Program& program, std::int16_t& keyAscii);

}  // namespace qx::dbinspect
