// Wiring of the database inspection subsystem into the program: the handlers of the "Database
// Counts" tab (listing and viewer), the Security menu item and frmGridSecurity.
#pragma once

#include "shell/program.h"

namespace qx::dbinspect {

void wire(forms::Program& program);

}  // namespace qx::dbinspect
