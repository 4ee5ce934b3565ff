#include "shell/frmSM.h"

namespace qx::forms {

FrmSM::FrmSM(FormContext context) : Form(context, "frmSM") {
    setCaption("Free Memory");
    // The maxima are set from the memory figures when the form loads; until the first tick the
    // bars stand empty.
    pgbPhysMem.setMin(0.0f);
    pgbVirtMem.setMin(0.0f);
    lblPhysUsed.setCaption("Free Physical Memory:");
    lblVirtUsed.setCaption("Free Virtual Memory:");
    Timer1.setVisible(false);
    Timer1.setInterval(3000);
    Command1.setCaption("Details");
    Command2.setCaption("Quit");
    captureDesign();
}

}  // namespace qx::forms
