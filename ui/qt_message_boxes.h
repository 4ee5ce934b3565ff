// The program's message boxes as QMessageBox: exactly the given title, text, buttons and icon,
// application-modal, returning only when the user has answered.
#pragma once

#include <functional>

#include "platform/system.h"

class QMessageBox;

namespace qx::ui {

class QtMessageBoxes final : public platform::MessageBoxes {
  public:
    // Called with each box after it is set up and before it is shown; tests use it to read the box
    // and press one of its buttons (for example through a zero-delay timer).
    using ShownHook = std::function<void(QMessageBox&)>;

    platform::Answer show(std::string_view title, std::string_view text, platform::Buttons buttons,
                          platform::Icon icon) override;

    void setShownHook(ShownHook hook) { hook_ = std::move(hook); }
    // Called before each box comes up, so the windows behind it show the program's state so far.
    void setBeforeShow(std::function<void()> before) { before_ = std::move(before); }

  private:
    ShownHook hook_;
    std::function<void()> before_;
};

// The answer a box gives when it is closed without a button (Escape or the frame): Cancel where the
// box has one, OK for a box with only OK, otherwise the last button of the set.
platform::Answer answerWithoutButton(platform::Buttons buttons);

}  // namespace qx::ui
