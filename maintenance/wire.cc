#include "maintenance/wire.h"

#include "maintenance/compress.h"
#include "maintenance/options.h"
#include "shell/frmCompress.h"
#include "shell/frmMain.h"
#include "shell/frmWarning.h"

namespace qx::maintenance {

void wire(forms::Program& program) {
    forms::Program* p = &program;
    for (const auto& [index, button] : program.frmMain.cmdFix) {
        const int i = index;
        button->onClick = [p, i] { cmdFix_Click(*p, i); };
    }

    program.frmWarning.cmdProceed.onClick = [p] { frmWarning_cmdProceed_Click(*p); };
    program.frmWarning.cmdCancel.onClick = [p] { frmWarning_cmdCancel_Click(*p); };

    forms::FrmCompress& f = program.frmCompress;
    f.onLoad = [p] { frmCompress_Load(*p); };
    f.cmdDefault.onClick = [p] { frmCompress_cmdDefault_Click(*p); };
    f.dirDrive.onChange = [p] { frmCompress_dirDrive_Change(*p); };
    f.dirPath.onChange = [p] { frmCompress_dirPath_Change(*p); };
    f.filDatabases.onPathChange = [p] { frmCompress_filDatabases_PathChange(*p); };
    f.ckbselectall.onClick = [p] { frmCompress_ckbselectall_Click(*p); };
    f.cmdCompress.onClick = [p] { frmCompress_cmdCompress_Click(*p); };
    f.cmdClose.onClick = [p] { frmCompress_cmdClose_Click(*p); };
}

}  // namespace qx::maintenance
