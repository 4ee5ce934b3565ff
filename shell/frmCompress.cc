#include "shell/frmCompress.h"

namespace qx::forms {

FrmCompress::FrmCompress(FormContext context) : Form(context, "frmCompress") {
    setCaption("Compress and Repair Databases");
    filDatabases.setPattern("*.mdb");
    filDatabases.setVisible(false);
    // One click marks or unmarks a database, so several can be chosen without the keyboard.
    lstdatabases.setMultiSelect(1);
    ckbselectall.setCaption("Select All");
    lblworking.setCaption("");
    cmdCompress.setCaption("Compress");
    cmdDefault.setCaption("Default");
    cmdClose.setCaption("Close");
    captureDesign();
}

}  // namespace qx::forms
