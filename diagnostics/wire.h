// Joins the installation diagnostics to the program: the click handlers of the "Software
// Utilities" tab, DIRKEL's Change, and the events of frmSM and frmDetails. Called once by the
// application (through assembly/subsystems.cc) before start-up; the handlers keep a reference to `program`,
// which lives as long as the application.
#pragma once

#include "shell/program.h"

namespace qx::diagnostics {

void wire(forms::Program& program);

}  // namespace qx::diagnostics
