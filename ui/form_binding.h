// The binding between the form models (shell/form.h, shell/controls.h) and their Qt views.
//
// Models to widgets: after every gesture the binding has handled, on every timer tick and before a
// message box comes up, every widget is re-synchronised from its control (a full copy; the widgets
// hold nothing the model does not). Widgets to models: each user gesture becomes the control's
// user* operation (userClick, userKeyPress, setText, userSelect, userSelectTab, ...), run through
// dispatch(): the application's own dispatch, with the hourglass showing while the handler works,
// an unhandled run-time error reported in a box (runtimeErrorText) while the program goes on, and
// the Qt application quitting when the program ends.
//
// A widget is matched to its control by objectName (control_name.h). Controls without a widget
// (the data control) are skipped; widgets without a control keep their design state.
#pragma once

#include <QElapsedTimer>
#include <QObject>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/errors.h"
#include "platform/system.h"
#include "shell/app.h"
#include "shell/form.h"

class QTimer;
class QWidget;

namespace qx::ui {

class FormBinding;

// A folder list shows the open folder's chain above its sub-folders, as the classic control does.
// Each line carries its full path under Qt::UserRole; the lines of the chain (the last of which is
// the list's Path) are marked with this role.
inline constexpr int kOpenFolderRole = Qt::UserRole + 1;

class Binder final {
  public:
    // `messages` shows the box of an unhandled error, titled with the tool title. Neither is
    // owned; both outlive the binder. The binder installs the application's onUnhandledError.
    Binder(shell::Application& app, platform::MessageBoxes& messages);
    ~Binder();
    Binder(const Binder&) = delete;
    Binder& operator=(const Binder&) = delete;

    // Binds `view` (a top-level widget built for the form) to `form`. The binder does not own the
    // view; it must outlive the binder or be unbound first.
    void bind(QWidget* view, forms::Form& form);
    void unbind(QWidget* view);

    // Runs one user gesture as the program's event loop would: hourglass while it works, the host
    // time brought up to date first, an unhandled qx::RuntimeError reported in a box (the program
    // goes on; what was shown stays), the end of the program ending the Qt application. Re-syncs
    // afterwards. Returns false when the program has ended.
    bool dispatch(const std::function<void()>& gesture);

    // Copies every bound form into its widgets, shows and hides the windows, and schedules timers.
    void syncAll();

    // True once the program has ended (exit path, or an end inside a handler).
    bool ended() const noexcept { return ended_; }
    // Called once when the program ends (the application quits there by default).
    std::function<void()> onProgramEnd;

    // The text of the box for an unhandled run-time error.
    static std::string runtimeErrorText(const RuntimeError& error);

    forms::Screen& screen() const noexcept { return screen_; }
    // The view bound to the form of that name, or nullptr.
    QWidget* viewOf(std::string_view formName) const;

    // Where the host's time (ms) comes from: by default a monotonic clock started with the binder.
    // Tests give a clock that moves only when told, so timers fire when the test says.
    void setElapsedSource(std::function<std::int64_t()> source) { elapsedSource_ = std::move(source); }

    // The user closes the form shown by `view` with its window frame.
    void closeRequested(forms::Form& form);

    // A form's timer is due: runs every due timer of the program as one event.
    void timerDue();

  private:
    void endProgram();
    void reportUnhandled(const RuntimeError& error);
    void updateHourglass();
    // Screen::doEvents of this host.
    void doEvents();
    void advanceClock();
    void fireDueTimers();

    shell::Application& app_;
    forms::Screen& screen_;
    platform::MessageBoxes& messages_;
    std::vector<std::unique_ptr<FormBinding>> bindings_;
    QElapsedTimer clock_;
    std::function<std::int64_t()> elapsedSource_;
    bool ended_ = false;
    bool hadForms_ = false;  // a form has been loaded since the binder began
    bool persistentHourglass_ = false;
    int depth_ = 0;
};

}  // namespace qx::ui
