// Everything a subsystem's handlers reach: the host services and program-wide state (Runtime),
// the screen, every form, and the hooks through which the shell calls into later subsystems.
//
// Wiring a subsystem: it provides `<subsystem>/wire.h` declaring
//     namespace qx::<subsystem> { void wire(forms::Program& program); }
// which fills in the event slots of the controls it owns. The application object calls it
// once, after the shell's own handlers are in place and before start-up, through the wiring the
// host hands it (assembly/subsystems.cc names every subsystem). A subsystem must not replace a slot that
// the shell fills (Form_Load, cmdClear, cmdexit, mnuFileClear, mnuFileExit, SSTab1).
//
// The Program object lives as long as the application; references to it and its members stay
// valid for the run.
#pragma once

#include <functional>

#include "common/globals.h"
#include "shell/form.h"

namespace qx::forms {

class FrmMain;
class FrmSM;
class FrmDetails;
class FrmGridSecurity;
class FrmDate;
class FrmWarning;
class FrmCompress;

// Routines that the shell calls at the points where it reaches into the tabs. An empty hook does
// nothing, which is what the program does until the subsystem behind it is wired in.
struct ShellHooks {
    // CloseADOifOpen(grid): releases the shared data control if it is open, closing `grid`. The
    // application installs the shell's own routine (shell/data_control.h).
    std::function<void(Grid& grid)> closeAdoIfOpen;
};

struct Program {
    Runtime rt;  // rt.os: host services; rt.g: program-wide state
    Screen& screen;
    FrmMain& frmMain;
    FrmSM& frmSM;
    FrmDetails& frmDetails;
    FrmGridSecurity& frmGridSecurity;
    FrmDate& frmDate;
    FrmWarning& frmWarning;
    FrmCompress& frmCompress;
    ShellHooks& hooks;
};

}  // namespace qx::forms
