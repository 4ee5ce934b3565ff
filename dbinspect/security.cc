#include "dbinspect/security.h"

#include <string>

#include "common/vb.h"
#include "dbinspect/texts.h"
#include "dbinspect/unlock_code.h"
#include "shell/frmGridSecurity.h"
#include "shell/frmMain.h"

namespace qx::dbinspect {

namespace {

constexpr int kCategoryUsers = 10;

// The three editing permissions of both grids and the users category follow the lock.
void applyLock(forms::FrmMain& f, bool locked) {
    f.mnuFileSecurity.setChecked(locked);
    f.optSearch(kCategoryUsers).setVisible(!locked);
    f.grdData.setEditing(!locked);
    f.grdListing.setEditing(!locked);
}

void refuse(forms::FrmGridSecurity& form, std::string_view first, std::string_view second) {
    form.lblPassword.setCaption(std::string(first));
    form.lblPassword2.setCaption(std::string(second));
    form.txtPassword.setText("");
    form.txtPassword.setFocus();
}

}  // namespace

void mnuFileSecurity_Click(forms::Program& program) {
    forms::FrmMain& f = program.frmMain;
    Globals& g = program.rt.g;
    if (f.mnuFileSecurity.checked()) {
        if (g.rememberedUnlockCode.empty()) {
            program.frmGridSecurity.show(true);
            return;
        }
        applyLock(f, false);
    } else {
        g.usersTableLocked = kVbTrue;
        applyLock(f, true);
    }
}

void cmdEnter_Click(forms::Program& program) {
    forms::FrmGridSecurity& form = program.frmGridSecurity;
    Globals& g = program.rt.g;
    const DateFields fields = unlockDateFields(program.rt, program.rt.os.clock.now());
    const std::string entry = vb::Trim(form.txtPassword.text());

    if (entry.empty()) return refuse(form, text::kBlankEntered, text::kPleaseEnter);
    if (vb::Val(entry) == 0) return refuse(form, text::kInvalid, text::kNumericOnly);
    const auto length = vb::Len(entry);
    if (length < kUnlockCodeLength) return refuse(form, text::kInvalid, text::kReEnter8);
    if (length > kUnlockCodeLength) return refuse(form, text::kInvalid, text::kReEnter8);
    if (length != kUnlockCodeLength) return refuse(form, text::kInvalid, text::kUnableToAuthenticate);

    g.rememberedUnlockCode = entry;
    if (!unlockFieldsMatch(entry, fields)) return refuse(form, text::kInvalid, text::kReEnter8);

    applyLock(program.frmMain, false);
    g.usersTableLocked = kVbFalse;
    form.unload();
}

void txtPassword_KeyPress(forms::Program& program, std::int16_t& keyAscii) {
    if (keyAscii == 13) cmdEnter_Click(program);
}

void cmdCancel_Click(forms::Program& program) {
    program.rt.g.usersTableLocked = kVbTrue;
    program.frmGridSecurity.unload();
}

}  // namespace qx::dbinspect
