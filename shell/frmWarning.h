// frmWarning ("Backup Declaration"): the backup warning shown before the maintenance utilities.
// Modal.
#pragma once

#include <string_view>

#include "shell/form.h"

namespace qx::forms {

class FrmWarning final : public Form {
  public:
    explicit FrmWarning(FormContext context);

    // The warning as users have always read it, misspellings and blank runs included.
    static const std::string_view kMessage;

    Label& lblMessage = make<Label>("lblMessage");
    CommandButton& cmdProceed = make<CommandButton>("cmdProceed");
    CommandButton& cmdCancel = make<CommandButton>("cmdCancel");
};

}  // namespace qx::forms
