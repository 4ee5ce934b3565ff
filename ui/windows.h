// All of the tool's windows over one application object: the main window and the six small forms,
// each bound to its form model, with the program's message boxes shown as Qt boxes.
//
// Used by `qxtest`, by the widget tests and by the screenshot tool:
//     QtMessageBoxes boxes;
//     platform::Platform os{..., boxes, ...};
//     shell::Application app(os);
//     Windows windows(app, boxes);
//     if (!windows.start()) return 0;   // the program ended during start-up
//     return QApplication::exec();
#pragma once

#include <memory>

#include "shell/app.h"
#include "ui/form_binding.h"
#include "ui/main_window.h"
#include "ui/qt_message_boxes.h"
#include "ui/small_forms.h"

namespace qx::ui {

class Windows {
  public:
    // `app` and `boxes` must outlive the windows. Nothing is shown before start().
    Windows(shell::Application& app, QtMessageBoxes& boxes);
    ~Windows();
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    // Creates the main window the program's way (start-up runs, then it is shown). Returns false
    // when the program ended during start-up (the configuration-file question answered No).
    bool start();

    MainWindowView& main() { return *main_; }
    // The view of a form by its name ("frmSM", ...), nullptr for an unknown name.
    QWidget* view(const char* formName) const;
    Binder& binder() { return *binder_; }
    shell::Application& app() { return app_; }

  private:
    shell::Application& app_;
    QtMessageBoxes& boxes_;
    std::unique_ptr<MainWindowView> main_;
    // Owned by main_ (Qt parent), so they close with it and stay above it.
    MemoryMonitorView* sm_ = nullptr;
    MemoryDetailsView* details_ = nullptr;
    GridSecurityView* security_ = nullptr;
    DateView* date_ = nullptr;
    WarningView* warning_ = nullptr;
    CompressView* compress_ = nullptr;
    std::unique_ptr<Binder> binder_;
};

}  // namespace qx::ui
