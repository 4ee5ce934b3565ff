// The tool's subsystems joined to the program, for the hosts (the command line's script driver
// and the Qt windows) to hand to shell::Application. Every subsystem is named here explicitly:
// one that is not built is a build error, never a tab that silently does nothing.
#pragma once

#include "shell/program.h"

namespace qx::assembly {

// Calls wire() of the installation diagnostics, the search and the data maintenance, in that order. Each
// fills the event slots of the controls it owns (see shell/program.h).
void wireSubsystems(forms::Program& program);

}  // namespace qx::assembly
