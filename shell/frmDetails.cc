#include "shell/frmDetails.h"

namespace qx::forms {

FrmDetails::FrmDetails(FormContext context) : Form(context, "frmDetails") {
    setCaption("Memory Status");
    Command1.setCaption("OK");
    captureDesign();
}

}  // namespace qx::forms
