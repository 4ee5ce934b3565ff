#include "diagnostics/wire.h"

#include "diagnostics/battery.h"
#include "diagnostics/checks.h"
#include "diagnostics/memory.h"
#include "shell/frmDetails.h"
#include "shell/frmMain.h"
#include "shell/frmSM.h"

namespace qx::diagnostics {

void wire(forms::Program& program) {
    forms::Program* p = &program;
    forms::FrmMain& f = program.frmMain;
    f.cmdKELini.onClick = [p] { cmdKELini_Click(*p); };
    f.cmdKELDIRPresent.onClick = [p] { cmdKELDIRPresent_Click(*p); };
    f.cmdKELDATADirPresent.onClick = [p] { cmdKELDATADirPresent_Click(*p); };
    f.cmdReadWrite.onClick = [p] { cmdReadWrite_Click(*p); };
    f.cmdKELUserDirPresent.onClick = [p] { cmdKELUserDirPresent_Click(*p); };
    f.cmdOfficeMDB.onClick = [p] { cmdOfficeMDB_Click(*p); };
    f.cmdCommentMDB.onClick = [p] { cmdCommentMDB_Click(*p); };
    f.cmdKELRET.onClick = [p] { cmdKELRET_Click(*p); };
    f.cmdWinDIR.onClick = [p] { cmdWinDIR_Click(*p); };
    f.cmdMemory.onClick = [p] { cmdMemory_Click(*p); };
    f.cmdTestALL.onClick = [p] { cmdTestALL_Click(*p); };
    f.DIRKEL.onChange = [p] { DIRKEL_Change(*p); };

    program.frmSM.onLoad = [p] { frmSM_Load(*p); };
    program.frmSM.Timer1.onTimer = [p] { frmSM_Timer1_Timer(*p); };
    program.frmSM.Command1.onClick = [p] { frmSM_Command1_Click(*p); };
    program.frmSM.Command2.onClick = [p] { frmSM_Command2_Click(*p); };

    program.frmDetails.onLoad = [p] { frmDetails_Load(*p); };
    program.frmDetails.Command1.onClick = [p] { frmDetails_Command1_Click(*p); };
}

}  // namespace qx::diagnostics
