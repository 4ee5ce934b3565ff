// frmDate ("Invoice Date Selection"): the pop-up calendar of the invoice search. Modeless.
#pragma once

#include "shell/form.h"

namespace qx::forms {

class FrmDate final : public Form {
  public:
    explicit FrmDate(FormContext context);

    Calendar& calcCalendar = make<Calendar>("calcCalendar");
};

}  // namespace qx::forms
