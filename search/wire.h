// Wiring of the search subsystem into the program: the handlers of the "Database Search" tab.
#pragma once

#include "shell/program.h"

namespace qx::search {

void wire(forms::Program& program);

}  // namespace qx::search
