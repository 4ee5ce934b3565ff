// frmDetails ("Memory Status"): the six memory figures of the last refresh, in kilobytes, and an
// "OK" button. Modeless; filled once when it loads.
#pragma once

#include "shell/form.h"

namespace qx::forms {

class FrmDetails final : public Form {
  public:
    explicit FrmDetails(FormContext context);

    Label& lblTotalPhys = make<Label>("lblTotalPhys");
    Label& lblAvailPhys = make<Label>("lblAvailPhys");
    Label& lblTotalPage = make<Label>("lblTotalPage");
    Label& lblAvailPage = make<Label>("lblAvailPage");
    Label& lblTotalVirtual = make<Label>("lblTotalVirtual");
    Label& lblAvailVirtual = make<Label>("lblAvailVirtual");
    CommandButton& Command1 = make<CommandButton>("Command1");
};

}  // namespace qx::forms
