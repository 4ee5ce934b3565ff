#include "ui/tests/session.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "assembly/subsystems.h"
#include "ui/widgets.h"

namespace qx::ui::testing {

namespace {

// One QApplication for the whole test binary (Qt allows one per process), on the offscreen
// platform that qx_add_test selects.
class QtEnvironment final : public ::testing::Environment {
  public:
    void SetUp() override {
        if (!QApplication::instance()) app_ = std::make_unique<QApplication>(argc_, argv_);
        QApplication::setQuitOnLastWindowClosed(false);
    }
    void TearDown() override { app_.reset(); }

  private:
    int argc_ = 1;
    char name_[16] = "qx_ui_tests";
    char* argv_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> app_;
};

[[maybe_unused]] ::testing::Environment* const kQt = ::testing::AddGlobalTestEnvironment(new QtEnvironment);

}  // namespace

void doubleClick(QWidget* widget, QPoint at) {
    QTest::mouseClick(widget, Qt::LeftButton, Qt::NoModifier, at);
    QTest::mouseDClick(widget, Qt::LeftButton, Qt::NoModifier, at);
    QTest::mouseRelease(widget, Qt::LeftButton, Qt::NoModifier, at);
}

Session::Session(bool withSuite) : tp_(QX_SHARED_DIR, withSuite) {
    platform::Platform& base = tp_.platform();
    os_ = std::make_unique<platform::Platform>(
        platform::Platform{base.fs, base.profile, base.system, base.clock, boxes_, base.process});
    boxes_.setShownHook([this](QMessageBox& box) {
        shown_.push_back({s(box.windowTitle()), s(box.text()), box.standardButtons(), box.icon()});
        QMessageBox::StandardButton press = QMessageBox::NoButton;
        if (answers_.empty()) {
            ADD_FAILURE() << "a message box came up with no answer queued: " << shown_.back().title << " / "
                          << shown_.back().text;
        } else {
            press = answers_.front();
            answers_.pop_front();
        }
        QAbstractButton* button = press != QMessageBox::NoButton ? box.button(press) : nullptr;
        if (!button) {
            if (press != QMessageBox::NoButton) ADD_FAILURE() << "the box has no button " << press;
            button = box.buttons().value(0);
        }
        // The box is up once its event loop runs; the press comes through that loop.
        QTimer::singleShot(0, &box, [button] { button->click(); });
    });
}

Session::~Session() {
    windows_.reset();
    app_.reset();
}

void Session::create(shell::Version version) {
    app_ = std::make_unique<shell::Application>(*os_, version, assembly::wireSubsystems);
    windows_ = std::make_unique<Windows>(*app_, boxes_);
    // Timers fire when the test moves the fixed clock, never on their own.
    windows_->binder().setElapsedSource([this] { return tp_.clock().elapsedMilliseconds(); });
}

bool Session::start() {
    if (!app_) create();
    return windows_->start();
}

QWidget* Session::widget(const std::string& name, const char* form) const {
    QWidget* view = windows_->view(form);
    if (!view) return nullptr;
    return view->findChild<QWidget*>(q(name));
}

void Session::click(const std::string& name, const char* form) {
    auto* button = find<QAbstractButton>(name, form);
    ASSERT_NE(button, nullptr) << "no button " << name << " on " << form;
    ASSERT_TRUE(button->isVisible()) << name << " is not on screen";
    ASSERT_TRUE(button->isEnabled()) << name << " is disabled";
    QTest::mouseClick(button, Qt::LeftButton);
}

void Session::chooseTab(int tab) {
    QTabBar* bar = main().tabs()->tabBar();
    ASSERT_TRUE(bar->isVisible());
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(tab).center());
}

void Session::doubleClickTabStrip() {
    QTabBar* bar = main().tabs()->tabBar();
    doubleClick(bar, bar->tabRect(bar->currentIndex()).center());
}

void Session::menu(const char* actionName) {
    QAction* action = main().action(actionName);
    ASSERT_NE(action, nullptr) << "no menu item " << actionName;
    ASSERT_TRUE(action->isVisible() && action->isEnabled()) << actionName << " cannot be chosen";
    action->trigger();
}

void Session::typeInto(const std::string& name, const std::string& text, const char* form) {
    auto* line = find<QLineEdit>(name, form);
    ASSERT_NE(line, nullptr) << "no text box " << name;
    ASSERT_TRUE(line->isVisible()) << name << " is not on screen";
    line->setFocus();
    line->setCursorPosition(static_cast<int>(line->text().size()));
    QTest::keyClicks(line, q(text));
}

std::string Session::text(const std::string& name, const char* form) const {
    QWidget* w = widget(name, form);
    if (auto* label = qobject_cast<QLabel*>(w)) return s(label->text());
    if (auto* button = qobject_cast<QAbstractButton*>(w)) return s(button->text());
    if (auto* line = qobject_cast<QLineEdit*>(w)) return s(line->text());
    if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) return s(plain->toPlainText());
    if (auto* frame = qobject_cast<QGroupBox*>(w)) return s(frame->title());
    ADD_FAILURE() << "no text control " << name << " on " << form;
    return {};
}

std::vector<std::string> Session::items(const std::string& name, const char* form) const {
    std::vector<std::string> out;
    auto* list = find<QListWidget>(name, form);
    if (!list) {
        ADD_FAILURE() << "no list " << name << " on " << form;
        return out;
    }
    for (int i = 0; i < list->count(); ++i) out.push_back(s(list->item(i)->text()));
    return out;
}

}  // namespace qx::ui::testing
