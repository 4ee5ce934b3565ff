#include "shell/frmGridSecurity.h"

namespace qx::forms {

FrmGridSecurity::FrmGridSecurity(FormContext context) : Form(context, "frmGridSecurity") {
    setCaption("Database Grid - Security");
    lblPassword.setCaption("Please Enter Unlock Code");
    lblPassword2.setCaption("(8-digit numeric)");
    cmdEnter.setCaption("&Enter");
    cmdCancel.setCaption("Cancel");
    captureDesign();
}

}  // namespace qx::forms
