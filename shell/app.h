// The application object: owns the program-wide state and every form, wires the handlers of the
// shell and of the subsystems to the controls, and runs start-up, page resets, the tab change,
// Clear All and the exit paths of the main window.
//
// Hosts (the Qt windows, the script driver) create one Application over a platform, call start(),
// and then turn each user gesture into a call run through dispatch().
//
// Errors: a qx::RuntimeError that escapes a handler is the program's unhandled error; dispatch()
// gives it to the host's onUnhandledError and the program goes on with everything as the handler
// left it. qx::ProgramEnd (the process ends) makes dispatch() return false; from then on the
// application is ended() and the host stops.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "common/globals.h"
#include "platform/errors.h"
#include "platform/system.h"
#include "shell/frmCompress.h"
#include "shell/frmDate.h"
#include "shell/frmDetails.h"
#include "shell/frmGridSecurity.h"
#include "shell/frmMain.h"
#include "shell/frmSM.h"
#include "shell/frmWarning.h"
#include "shell/program.h"

namespace qx::shell {

// The tool's own version numbers (major, minor, revision), from the build.
struct Version {
    int major = 0, minor = 0, revision = 0;
};
Version buildVersion();
// "7.0.12".
std::string versionText(const Version& version);

class Application {
  public:
    // Joins the subsystems to the program (the hosts pass assembly::wireSubsystems; tests of the
    // shell alone pass nothing).
    using Wiring = std::function<void(forms::Program&)>;

    // `os` must outlive the application. Creates every form (none loaded) and wires the shell's
    // handlers and then calls `wireSubsystems`.
    explicit Application(platform::Platform& os, Version version = buildVersion(),
                         const Wiring& wireSubsystems = {});
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    Globals& globals() noexcept { return globals_; }
    forms::Screen& screen() noexcept { return screen_; }
    forms::Program& program() noexcept { return *program_; }
    forms::ShellHooks& hooks() noexcept { return hooks_; }
    forms::FrmMain& frmMain() noexcept { return *frmMain_; }
    forms::FrmSM& frmSM() noexcept { return *frmSM_; }
    forms::FrmDetails& frmDetails() noexcept { return *frmDetails_; }
    forms::FrmGridSecurity& frmGridSecurity() noexcept { return *frmGridSecurity_; }
    forms::FrmDate& frmDate() noexcept { return *frmDate_; }
    forms::FrmWarning& frmWarning() noexcept { return *frmWarning_; }
    forms::FrmCompress& frmCompress() noexcept { return *frmCompress_; }
    const Version& version() const noexcept { return version_; }

    // Creates the main window: frmMain is loaded (start-up runs) and shown. Runs through
    // dispatch(); returns false when the program ended during start-up.
    bool start();

    // Runs one event of the program. Returns false when the program has ended (now or before).
    bool dispatch(const std::function<void()>& event);
    bool ended() const noexcept { return ended_; }

    // The host's last-resort handling of an unhandled run-time error. Without one, the error is
    // dropped (the program still goes on).
    std::function<void(const RuntimeError&)> onUnhandledError;

    // The user closes `form` with its window frame: it is unloaded. Run it through dispatch(),
    // which ends the program once no form is left loaded (by this or by any handler).
    void closeForm(forms::Form& form);

    // ---- Handlers of frmMain that the shell owns (public so hosts and tests can name them) ----
    void Form_Load();
    void cmdClear_Click(int index);
    void mnuFileClear_Click();
    void cmdexit_Click(int index);
    void mnuFileExit_Click();
    // The tab strip's click: the page shown before is given; the new one is SSTab1's tab.
    void SSTab1_Click(int previousTab);
    // The second event of the tab strip (its double-click): the three resets of Clear All.
    void SSTab1_DblClick();

  private:
    void wireShell();
    void captionRoutine();
    void closeAdoIfOpen(forms::Grid& grid);
    void resetCountsLabels();
    void runTableListing();

    platform::Platform& os_;
    Version version_;
    Globals globals_;
    forms::Screen screen_;
    forms::ShellHooks hooks_;
    std::unique_ptr<forms::FrmMain> frmMain_;
    std::unique_ptr<forms::FrmSM> frmSM_;
    std::unique_ptr<forms::FrmDetails> frmDetails_;
    std::unique_ptr<forms::FrmGridSecurity> frmGridSecurity_;
    std::unique_ptr<forms::FrmDate> frmDate_;
    std::unique_ptr<forms::FrmWarning> frmWarning_;
    std::unique_ptr<forms::FrmCompress> frmCompress_;
    std::unique_ptr<forms::Program> program_;
    bool started_ = false;
    bool ended_ = false;
};

}  // namespace qx::shell
