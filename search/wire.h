// Wiring of the search subsystem into the program: the binding object behind frmMain.adodata and
// the shell's CloseADOifOpen hook.
#pragma once

#include "shell/program.h"

namespace qx::search {

void wire(forms::Program& program);

}  // namespace qx::search
