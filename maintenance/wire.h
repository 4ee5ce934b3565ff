// Joins the data maintenance to the program: the cmdFix buttons of the "Data Maintenance" tab and
// the events of frmWarning and frmCompress. Called once by the application (through
// assembly/subsystems.cc) before start-up; the handlers keep a reference to `program`, which lives
// as long as the application.
#pragma once

#include "shell/program.h"

namespace qx::maintenance {

void wire(forms::Program& program);

}  // namespace qx::maintenance
