// A user's session with the real windows, for the widget tests: a copy of the fixture suite's
// drive C:, the application over it, every window bound to its form, and message boxes answered
// from a queue the test fills (as a user would press the button). Widgets are found by their
// control names; clicks go through Qt's test tools on visible widgets, so a button that a user
// could not reach (another page, a hidden frame, a modal form in front) cannot be clicked either.
#pragma once

#include <QAbstractButton>
#include <QMessageBox>
#include <QTabBar>
#include <QTabWidget>
#include <QWidget>

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/testing/test_drive.h"
#include "shell/app.h"
#include "ui/qt_message_boxes.h"
#include "ui/windows.h"

namespace qx::ui::testing {

// A double-click as the window system delivers it: press and release, then the second press (the
// double-click) and its release.
void doubleClick(QWidget* widget, QPoint at);

// One message box as the user saw it.
struct ShownBox {
    std::string title;
    std::string text;
    QMessageBox::StandardButtons buttons;
    QMessageBox::Icon icon;
};

class Session {
  public:
    // A copy of the fixture suite (or an empty drive C:). The application is created by create(),
    // so a test can change the drive first.
    explicit Session(bool withSuite = true);
    ~Session();

    qx::testing::TestPlatform& platform() { return tp_; }
    shell::Application& app() { return *app_; }
    Windows& windows() { return *windows_; }
    MainWindowView& main() { return windows_->main(); }

    // Builds the application (with the given version, or the build's) and the windows.
    void create(shell::Version version = shell::buildVersion());
    // create() if needed, then start-up. False when the program ended during start-up.
    bool start();

    // Queues the button the user presses on the next message box.
    void answer(QMessageBox::StandardButton button) { answers_.push_back(button); }
    const std::vector<ShownBox>& boxes() const { return shown_; }
    std::size_t pendingAnswers() const { return answers_.size(); }

    // The widget of a control ("cmdClear(3)") on any of the windows; nullptr when none.
    QWidget* widget(const std::string& name, const char* form = "frmMain") const;
    template <class T>
    T* find(const std::string& name, const char* form = "frmMain") const {
        return qobject_cast<T*>(widget(name, form));
    }

    // User gestures. Each fails the test when the control is missing or out of the user's reach.
    void click(const std::string& name, const char* form = "frmMain");
    void chooseTab(int tab);
    void doubleClickTabStrip();
    void menu(const char* actionName);
    void typeInto(const std::string& name, const std::string& text, const char* form = "frmMain");

    // Widget state, as the user reads it.
    std::string text(const std::string& name, const char* form = "frmMain") const;
    std::vector<std::string> items(const std::string& name, const char* form = "frmMain") const;
    int currentTab() const { return main().tabs()->currentIndex(); }

  private:
    MainWindowView& main() const { return windows_->main(); }

    qx::testing::TestPlatform tp_;
    QtMessageBoxes boxes_;
    std::unique_ptr<platform::Platform> os_;
    std::unique_ptr<shell::Application> app_;
    std::unique_ptr<Windows> windows_;
    std::deque<QMessageBox::StandardButton> answers_;
    std::vector<ShownBox> shown_;
};

}  // namespace qx::ui::testing
