// The support lock: the Security item of frmMain's Setup menu and the unlock form frmGridSecurity.
//
// While the lock is closed (the menu item checked, UsersTableLocked set) the viewer refuses the
// USERS table, the search category optSearch(10) is hidden and neither grid may add, delete or
// change rows. An accepted code (unlock_code.h) opens everything. Kept on purpose:
// - once an entry of the right form has been remembered (RememberedUnlockCode, stored before the
//   comparison, so a wrong code of the right form counts too), the menu opens the lock without
//   asking, but leaves UsersTableLocked as it is;
// - Cancel on the form only sets UsersTableLocked; the menu's check mark and the rest stay;
// - an entry of eight zeros fails the numeric test, one that starts with digits passes it;
// - all refusals are shown in the form's two labels, with the box emptied and focused.
#pragma once

#include <cstdint>

#include "shell/program.h"

namespace qx::dbinspect {

void mnuFileSecurity_Click(forms::Program& program);

// frmGridSecurity.
void cmdEnter_Click(forms::Program& program);
// Enter (13) submits; every key, Enter included, then goes on to the box unchanged.
void txtPassword_KeyPress(forms::Program& program, std::int16_t& keyAscii);
void cmdCancel_Click(forms::Program& program);

}  // namespace qx::dbinspect
