// The one place where subsystems join the program. shell/CMakeLists.txt defines QX_WIRE_<NAME>
// for every subsystem library that is built and provides <name>/wire.h; until then its controls
// simply have no handlers, as the shell's hooks have no effect.
#include "shell/app.h"

#ifdef QX_WIRE_DIAGNOSTICS
#include "diagnostics/wire.h"
#endif
#ifdef QX_WIRE_DBINSPECT
#include "dbinspect/wire.h"
#endif
#ifdef QX_WIRE_SEARCH
#include "search/wire.h"
#endif
#ifdef QX_WIRE_MAINTENANCE
#include "maintenance/wire.h"
#endif

namespace qx::shell {

void wireSubsystems([[maybe_unused]] forms::Program& program) {
#ifdef QX_WIRE_DIAGNOSTICS
    diagnostics::wire(program);
#endif
#ifdef QX_WIRE_DBINSPECT
    dbinspect::wire(program);
#endif
#ifdef QX_WIRE_SEARCH
    search::wire(program);
#endif
#ifdef QX_WIRE_MAINTENANCE
    maintenance::wire(program);
#endif
}

}  // namespace qx::shell
