#include "shell/frmWarning.h"

namespace qx::forms {

const std::string_view FrmWarning::kMessage =
    "You should BACK UP your data BEFORE attempting database utilities such as this one - "
    "Compress and Repair.   This process is irreversable.    On the good side - database "
    "compression will speed up search times, repair recoverable/damaged databases, and "
    "decrease the size of your data files.  Backup your data daily and run this utility from "
    "time to time to increase efficiency.  No one can have the databases open (i.e. using "
    "photo or mapping applications).   If this system is on a network completlely close the "
    "applications at this time on all stations (including yourself and all users) - "
    "otherwise no change will occur.  Select (by highlighting the files) or Simply 'Select "
    "All' and then select 'Compress'. ";

FrmWarning::FrmWarning(FormContext context) : Form(context, "frmWarning") {
    setCaption("Backup Declaration");
    lblMessage.setCaption(std::string(kMessage));
    cmdProceed.setCaption("Proceed");
    cmdCancel.setCaption("Cancel");
    captureDesign();
}

}  // namespace qx::forms
