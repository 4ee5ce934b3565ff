#include "assembly/subsystems.h"

#include "dbinspect/wire.h"
#include "diagnostics/wire.h"
#include "maintenance/wire.h"
#include "search/wire.h"

namespace qx::assembly {

void wireSubsystems(forms::Program& program) {
    diagnostics::wire(program);
    search::wire(program);
    dbinspect::wire(program);
    maintenance::wire(program);
}

}  // namespace qx::assembly
