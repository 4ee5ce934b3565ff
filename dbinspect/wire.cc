#include "dbinspect/wire.h"

#include <memory>

#include "dbinspect/listing.h"
#include "dbinspect/security.h"
#include "dbinspect/viewer.h"
#include "shell/frmGridSecurity.h"
#include "shell/frmMain.h"

namespace qx::dbinspect {

void wire(forms::Program& program) {
    forms::Program* p = &program;
    forms::FrmMain& f = program.frmMain;
    // The form-level database variable lives as long as the handlers that use it.
    auto listing = std::make_shared<ListingState>();
    f.cmdTableListing.onClick = [p, listing] { cmdTableListing_Click(*p, *listing); };
    f.lstTableListing.onDblClick = [p] { lstTableListing_DblClick(*p); };
    f.lstTableListing.onKeyPress = [p](std::int16_t& keyAscii) { lstTableListing_KeyPress(*p, keyAscii); };
    f.mnuFileSecurity.onClick = [p] { mnuFileSecurity_Click(*p); };

    forms::FrmGridSecurity& security = program.frmGridSecurity;
    security.cmdEnter.onClick = [p] { cmdEnter_Click(*p); };
    security.cmdCancel.onClick = [p] { cmdCancel_Click(*p); };
    security.txtPassword.onKeyPress = [p](std::int16_t& keyAscii) { txtPassword_KeyPress(*p, keyAscii); };
}

}  // namespace qx::dbinspect
