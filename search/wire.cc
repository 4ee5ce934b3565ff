#include "search/wire.h"

#include "search/query_routines.h"

namespace qx::search {

void wire(forms::Program& program) {
    binding(program);
    program.hooks.closeAdoIfOpen = [&program](forms::Grid& grid) { CloseADOifOpen(program, grid); };
}

}  // namespace qx::search
