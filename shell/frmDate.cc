#include "shell/frmDate.h"

namespace qx::forms {

FrmDate::FrmDate(FormContext context) : Form(context, "frmDate") {
    setCaption("Invoice Date Selection");
    captureDesign();
}

}  // namespace qx::forms
