// frmGridSecurity ("Database Grid - Security"): the unlock-code entry of the support lock. Modal.
#pragma once

#include "shell/form.h"

namespace qx::forms {

class FrmGridSecurity final : public Form {
  public:
    explicit FrmGridSecurity(FormContext context);

    Label& lblPassword = make<Label>("lblPassword");
    Label& lblPassword2 = make<Label>("lblPassword2");
    TextBox& txtPassword = make<TextBox>("txtPassword");
    CommandButton& cmdEnter = make<CommandButton>("cmdEnter");
    CommandButton& cmdCancel = make<CommandButton>("cmdCancel");
};

}  // namespace qx::forms
