// frmSM, the memory monitor ("Free Memory"): two progress bars and two percentage lines that its
// timer refreshes every three seconds, and the buttons "Details" and "Quit". Modeless.
#pragma once

#include "shell/form.h"

namespace qx::forms {

class FrmSM final : public Form {
  public:
    explicit FrmSM(FormContext context);

    ProgressBar& pgbPhysMem = make<ProgressBar>("pgbPhysMem");
    ProgressBar& pgbVirtMem = make<ProgressBar>("pgbVirtMem");
    Label& lblPhysUsed = make<Label>("lblPhysUsed");
    Label& lblVirtUsed = make<Label>("lblVirtUsed");
    Timer& Timer1 = make<Timer>("Timer1");
    CommandButton& Command1 = make<CommandButton>("Command1");
    CommandButton& Command2 = make<CommandButton>("Command2");
};

}  // namespace qx::forms
