// The binding's own duties: modal and modeless windows, the hourglass, and message boxes that
// carry exactly the program's title, text, buttons and icon.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCursor>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "ui/qt_message_boxes.h"
#include "ui/tests/session.h"
#include "ui/widgets.h"

namespace qx::ui::testing {
namespace {

std::string str(const QString& text) {
    return text.toUtf8().toStdString();
}

bool hourglassShowing() {
    const QCursor* cursor = QApplication::overrideCursor();
    return cursor && cursor->shape() == Qt::WaitCursor;
}

TEST(Binding, AModalFormBlocksTheMainWindowUntilItCloses) {
    Session user;
    ASSERT_TRUE(user.start());
    ASSERT_TRUE(user.windows().binder().dispatch([&] { user.app().frmWarning().show(true); }));
    QWidget* warning = user.windows().view("frmWarning");
    ASSERT_NE(warning, nullptr);
    EXPECT_TRUE(warning->isVisible());
    EXPECT_EQ(warning->windowModality(), Qt::ApplicationModal);
    EXPECT_EQ(str(warning->windowTitle()), "Backup Declaration");
    // Escape does not close it: the form has no button bound to the key.
    QTest::keyClick(warning, Qt::Key_Escape);
    EXPECT_TRUE(warning->isVisible());
    EXPECT_TRUE(user.app().frmWarning().loaded());
    // A click on the main window does not reach the program while the warning is up.
    user.click("cmdWinDIR");
    EXPECT_EQ(user.text("lblWindows"), "");
    // Closed with its window frame, it lets the main window have the user again.
    warning->close();
    EXPECT_FALSE(warning->isVisible());
    EXPECT_FALSE(user.app().frmWarning().loaded());
    user.click("cmdWinDIR");
    EXPECT_EQ(user.text("lblWindows"), "Configuration Directory = C:\\WINDOWS\\");
}

TEST(Binding, TheWarningShowsItsMessageWordForWord) {
    Session user;
    ASSERT_TRUE(user.start());
    ASSERT_TRUE(user.windows().binder().dispatch([&] { user.app().frmWarning().show(true); }));
    EXPECT_EQ(user.text("lblMessage", "frmWarning"), user.app().frmWarning().lblMessage.caption());
    EXPECT_EQ(user.text("lblMessage", "frmWarning").size(), 709u);
    EXPECT_EQ(user.text("cmdProceed", "frmWarning"), "Proceed");
}

TEST(Binding, TheHourglassShowsWhileAHandlerWorksAndWhileTheProgramAsksForIt) {
    Session user;
    ASSERT_TRUE(user.start());
    EXPECT_FALSE(hourglassShowing());
    bool duringHandler = false;
    user.windows().binder().dispatch([&] { duringHandler = hourglassShowing(); });
    EXPECT_TRUE(duringHandler);
    EXPECT_FALSE(hourglassShowing());

    user.windows().binder().dispatch([&] { user.app().screen().setMousePointer(forms::kPointerHourglass); });
    EXPECT_TRUE(hourglassShowing());
    user.windows().binder().dispatch([&] { user.app().screen().setMousePointer(forms::kPointerDefault); });
    EXPECT_FALSE(hourglassShowing());

    // The form's own pointer shows over that form only.
    user.windows().binder().dispatch([&] { user.app().frmMain().setMousePointer(forms::kPointerHourglass); });
    EXPECT_FALSE(hourglassShowing());
    EXPECT_EQ(user.main().cursor().shape(), Qt::WaitCursor);
    user.windows().binder().dispatch([&] { user.app().frmMain().setMousePointer(forms::kPointerDefault); });
    EXPECT_EQ(user.main().cursor().shape(), Qt::ArrowCursor);
}

TEST(Binding, AMessageBoxShowsTheNormalPointerEvenInsideAHandler) {
    Session user;
    ASSERT_TRUE(user.start());
    bool hourglassOverBox = true;
    bool hourglassAfterBox = false;
    QtMessageBoxes boxes;
    boxes.setShownHook([&](QMessageBox& box) {
        hourglassOverBox = hourglassShowing();
        QTimer::singleShot(0, &box, [&box] { box.button(QMessageBox::Ok)->click(); });
    });
    user.windows().binder().dispatch([&] {
        boxes.show("t", "x", platform::Buttons::OK, platform::Icon::None);
        hourglassAfterBox = hourglassShowing();
    });
    EXPECT_FALSE(hourglassOverBox);
    EXPECT_TRUE(hourglassAfterBox);
}

TEST(Binding, TypingReachesTheProgramOneKeyAtATimeAndEditsAsANewText) {
    Session user;
    ASSERT_TRUE(user.start());
    forms::TextBox& code = user.app().frmGridSecurity().txtPassword;
    int changes = 0;
    std::vector<int> keys;
    code.onChange = [&] { ++changes; };
    code.onKeyPress = [&](std::int16_t& key) { keys.push_back(key); };
    ASSERT_TRUE(user.windows().binder().dispatch([&] { user.app().frmGridSecurity().show(true); }));
    user.typeInto("txtPassword", "12ab", "frmGridSecurity");
    EXPECT_EQ(code.text(), "12ab");
    EXPECT_EQ(changes, 4);
    EXPECT_EQ(keys, (std::vector<int>{'1', '2', 'a', 'b'}));

    // Enter raises KeyPress with 13 and adds nothing to a one-line box.
    auto* line = user.find<QLineEdit>("txtPassword", "frmGridSecurity");
    QTest::keyClick(line, Qt::Key_Return);
    EXPECT_EQ(keys.back(), 13);
    EXPECT_EQ(code.text(), "12ab");

    // An edit in the middle of the text reaches the program as the whole new text, once.
    line->setCursorPosition(0);
    QTest::keyClick(line, Qt::Key_9);
    EXPECT_EQ(code.text(), "912ab");
    EXPECT_EQ(changes, 5);
    EXPECT_EQ(str(line->text()), "912ab");
}

TEST(Binding, KeysAndDoubleClicksInAListReachItsEvents) {
    Session user;
    ASSERT_TRUE(user.start());
    user.chooseTab(3);
    forms::ListBox& details = user.app().frmMain().lstDetails;
    std::vector<int> keys;
    int clicks = 0, doubleClicks = 0;
    details.onKeyPress = [&](std::int16_t& key) { keys.push_back(key); };
    details.onClick = [&] { ++clicks; };
    details.onDblClick = [&] { ++doubleClicks; };
    auto* list = user.find<QListWidget>("lstDetails");
    ASSERT_NE(list, nullptr);
    const QPoint second = list->visualItemRect(list->item(1)).center();
    doubleClick(list->viewport(), second);
    EXPECT_EQ(details.listIndex(), 1);
    EXPECT_GE(clicks, 1);
    EXPECT_EQ(doubleClicks, 1);
    list->setFocus();
    QTest::keyClick(list, Qt::Key_S);
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_EQ(keys, (std::vector<int>{'s', 13}));
    // Keys without a character (arrows) raise no KeyPress but still move the current line.
    QTest::keyClick(list, Qt::Key_Up);
    EXPECT_EQ(keys.size(), 2u);
    EXPECT_EQ(details.listIndex(), 0);
}

struct BoxCase {
    platform::Buttons buttons;
    QMessageBox::StandardButtons expected;
    QMessageBox::StandardButton press;
    platform::Answer answer;
};

TEST(Binding, MessageBoxesCarryTheProgramsButtonsAndGiveBackThePressedOne) {
    Session user;  // provides the Qt application
    const BoxCase cases[] = {
        {platform::Buttons::OK, QMessageBox::Ok, QMessageBox::Ok, platform::Answer::OK},
        {platform::Buttons::OKCancel, QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Cancel,
         platform::Answer::Cancel},
        {platform::Buttons::AbortRetryIgnore, QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore,
         QMessageBox::Ignore, platform::Answer::Ignore},
        {platform::Buttons::YesNoCancel, QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
         QMessageBox::No, platform::Answer::No},
        {platform::Buttons::YesNo, QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes,
         platform::Answer::Yes},
        {platform::Buttons::RetryCancel, QMessageBox::Retry | QMessageBox::Cancel, QMessageBox::Retry,
         platform::Answer::Retry},
    };
    for (const BoxCase& c : cases) {
        QtMessageBoxes boxes;
        QMessageBox::StandardButtons seen;
        std::string title, text;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        boxes.setShownHook([&](QMessageBox& box) {
            seen = box.standardButtons();
            title = s(box.windowTitle());
            text = s(box.text());
            icon = box.icon();
            QTimer::singleShot(0, &box, [&box, press = c.press] { box.button(press)->click(); });
        });
        const platform::Answer answer = boxes.show("Error", "Disk full.\r\nError # 61 in module x.",
                                                   c.buttons, platform::Icon::Exclamation);
        EXPECT_EQ(seen, c.expected);
        EXPECT_EQ(answer, c.answer);
        EXPECT_EQ(title, "Error");
        EXPECT_EQ(text, "Disk full.\r\nError # 61 in module x.");
        EXPECT_EQ(icon, QMessageBox::Warning);
    }
}

TEST(Binding, MessageBoxTextIsNeverReadAsMarkup) {
    Session user;
    QtMessageBoxes boxes;
    Qt::TextFormat format = Qt::AutoText;
    boxes.setShownHook([&](QMessageBox& box) {
        format = box.textFormat();
        QTimer::singleShot(0, &box, [&box] { box.button(QMessageBox::Ok)->click(); });
    });
    boxes.show("<b>t</b>", "<i>x</i>", platform::Buttons::OK, platform::Icon::Information);
    EXPECT_EQ(format, Qt::PlainText);
}

}  // namespace
}  // namespace qx::ui::testing

namespace qx::ui::testing {
namespace {

// Every control of every form has its widget, named after it, and the widget shows what the
// control holds.
void expectEveryWidgetShowsItsControl(Session& user) {
    std::vector<std::string> missing;
    for (forms::Form* form : user.app().screen().forms()) {
        QWidget* view = user.windows().view(form->name().c_str());
        ASSERT_NE(view, nullptr) << form->name();
        EXPECT_EQ(s(view->windowTitle()), form->caption()) << form->name();
        EXPECT_EQ(view->isVisible(), form->loaded() && form->visible()) << form->name();
        for (forms::Control* c : form->controls()) {
            const std::string name =
                c->index() >= 0 ? c->name() + "(" + std::to_string(c->index()) + ")" : c->name();
            QObject* object = view->findChild<QObject*>(q(name));
            if (!object) {
                missing.push_back(c->path());
                continue;
            }
            auto* w = qobject_cast<QWidget*>(object);
            if (auto* menu = qobject_cast<QMenu*>(object)) {
                // A menu bar entry: its popup is hidden until opened; the entry itself shows.
                EXPECT_EQ(menu->menuAction()->isVisible(), c->visible()) << c->path();
                EXPECT_EQ(s(menu->title()), static_cast<forms::MenuItem*>(c)->caption()) << c->path();
            } else if (w) {
                EXPECT_EQ(w->isHidden(), !c->visible()) << c->path();
                EXPECT_EQ(s(w->toolTip()), c->toolTipText()) << c->path();
            }
            switch (c->kind()) {
                case forms::ControlKind::Label:
                    EXPECT_EQ(s(qobject_cast<QLabel*>(object)->text()),
                              static_cast<forms::Label*>(c)->caption())
                        << c->path();
                    break;
                case forms::ControlKind::CommandButton:
                    EXPECT_EQ(s(qobject_cast<QAbstractButton*>(object)->text()),
                              static_cast<forms::CommandButton*>(c)->caption())
                        << c->path();
                    EXPECT_EQ(w->isEnabled(), c->enabled()) << c->path();
                    break;
                case forms::ControlKind::CheckBox: {
                    auto* box = qobject_cast<QCheckBox*>(object);
                    auto* model = static_cast<forms::CheckBox*>(c);
                    EXPECT_EQ(s(box->text()), model->caption()) << c->path();
                    EXPECT_EQ(box->checkState() == Qt::Checked, model->value() == 1) << c->path();
                    break;
                }
                case forms::ControlKind::OptionButton: {
                    auto* radio = qobject_cast<QRadioButton*>(object);
                    auto* model = static_cast<forms::OptionButton*>(c);
                    EXPECT_EQ(s(radio->text()), model->caption()) << c->path();
                    EXPECT_EQ(radio->isChecked(), model->value()) << c->path();
                    break;
                }
                case forms::ControlKind::Frame:
                    EXPECT_EQ(s(qobject_cast<QGroupBox*>(object)->title()),
                              static_cast<forms::Frame*>(c)->caption())
                        << c->path();
                    break;
                case forms::ControlKind::ListBox:
                case forms::ControlKind::FileListBox: {
                    auto* list = qobject_cast<QListWidget*>(object);
                    auto* model = static_cast<forms::ListBox*>(c);
                    ASSERT_EQ(static_cast<std::size_t>(list->count()), model->listCount()) << c->path();
                    for (int i = 0; i < list->count(); ++i) {
                        EXPECT_EQ(s(list->item(i)->text()), model->list(i)) << c->path();
                    }
                    break;
                }
                case forms::ControlKind::MenuItem:
                    if (auto* action = qobject_cast<QAction*>(object)) {
                        auto* model = static_cast<forms::MenuItem*>(c);
                        if (!model->isSeparator()) {
                            EXPECT_EQ(s(action->text()), model->caption()) << c->path();
                        }
                        EXPECT_EQ(action->isChecked(), model->checked()) << c->path();
                    }
                    break;
                default:
                    break;
            }
        }
    }
    // The data control has no face of its own: the grids show it.
    EXPECT_EQ(missing, (std::vector<std::string>{"frmMain.adodata"}));
}

TEST(Binding, EveryControlOfEveryFormHasItsWidgetShowingItsState) {
    Session user;
    ASSERT_TRUE(user.start());
    expectEveryWidgetShowsItsControl(user);
    user.click("cmdTestALL");
    user.click("cmdMemory");
    user.click("Command1", "frmSM");
    expectEveryWidgetShowsItsControl(user);
    user.chooseTab(2);
    expectEveryWidgetShowsItsControl(user);
    user.chooseTab(3);
    user.click("cmdClear(3)");
    expectEveryWidgetShowsItsControl(user);
}

}  // namespace
}  // namespace qx::ui::testing
