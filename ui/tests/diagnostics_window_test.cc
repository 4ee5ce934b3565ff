// The "Software Utilities" page and the memory forms on the real windows. "Test All (1-9)" clicked
// in the window must show what the headless driver reports for the same installation: the driver
// runs the same gestures on its own copy of the suite, and every box and every control it prints
// is compared with what the window shows.
#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QTest>
#include <QTimer>

#include <filesystem>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "driver/driver.h"
#include "driver/json.h"
#include "ui/form_binding.h"
#include "ui/tests/session.h"
#include "ui/widgets.h"

namespace qx::ui::testing {
namespace {

std::string str(const QString& text) {
    return text.toUtf8().toStdString();
}

// A new text reaches the window's size one layout level per pass of the event loop; a few passes
// let every level (label, frame, page, tabs, window) take it in, as the running program's loop does.
void settleLayouts() {
    for (int pass = 0; pass < 8; ++pass) QApplication::processEvents();
}

// One line of the driver's transcript, flattened: "msgbox.title", "control", "items", ...
// Scalars keep their JSON text without quotes; arrays of strings are kept as lists.
struct Line {
    std::map<std::string, std::string> scalars;
    std::map<std::string, std::vector<std::string>> arrays;
    bool has(const std::string& key) const { return scalars.count(key) || arrays.count(key); }
};

void skipBlanks(std::string_view t, std::size_t& p) {
    while (p < t.size() && t[p] == ' ') ++p;
}

void readObject(std::string_view t, std::size_t& p, const std::string& prefix, Line& line) {
    ASSERT_EQ(t[p], '{');
    ++p;
    while (p < t.size() && t[p] != '}') {
        auto key = driver::json::readString(t, p);
        ASSERT_TRUE(key) << t;
        ASSERT_EQ(t[p], ':');
        ++p;
        skipBlanks(t, p);
        const std::string name = prefix + *key;
        if (t[p] == '"') {
            auto value = driver::json::readString(t, p);
            ASSERT_TRUE(value);
            line.scalars[name] = *value;
        } else if (t[p] == '{') {
            readObject(t, p, name + ".", line);
        } else if (t[p] == '[') {
            ++p;
            std::vector<std::string> items;
            while (t[p] != ']') {
                if (t[p] == '"') {
                    auto item = driver::json::readString(t, p);
                    ASSERT_TRUE(item);
                    items.push_back(*item);
                } else {
                    const std::size_t start = p;
                    while (t[p] != ',' && t[p] != ']') ++p;
                    items.emplace_back(t.substr(start, p - start));
                }
                if (t[p] == ',') ++p;
            }
            ++p;
            line.arrays[name] = items;
        } else {
            const std::size_t start = p;
            while (p < t.size() && t[p] != ',' && t[p] != '}') ++p;
            line.scalars[name] = std::string(t.substr(start, p - start));
        }
        if (p < t.size() && t[p] == ',') ++p;
    }
    ++p;
}

Line parse(const std::string& text) {
    Line line;
    std::size_t p = 0;
    readObject(text, p, "", line);
    return line;
}

// Runs `script` through the driver on a fresh copy of the suite with `remove` taken away.
std::vector<std::string> driverTranscript(const std::string& script, const char* remove) {
    qx::testing::TempDriveC drive(QX_SHARED_DIR);
    if (remove) std::filesystem::remove_all(drive.host(remove));
    std::istringstream in(script);
    std::ostringstream out, err;
    const int status = driver::runScript(in, out, err, driver::DriverOptions{drive.root().string()});
    EXPECT_EQ(status, 0) << err.str();
    std::vector<std::string> lines;
    std::istringstream split(out.str());
    for (std::string l; std::getline(split, l);) lines.push_back(l);
    return lines;
}

QMessageBox::StandardButton button(const std::string& answer) {
    if (answer == "Yes") return QMessageBox::Yes;
    if (answer == "No") return QMessageBox::No;
    if (answer == "Cancel") return QMessageBox::Cancel;
    if (answer == "Abort") return QMessageBox::Abort;
    if (answer == "Retry") return QMessageBox::Retry;
    if (answer == "Ignore") return QMessageBox::Ignore;
    return QMessageBox::Ok;
}

// Compares one printed control of the driver with its widget in the window.
void expectWidgetShows(Session& user, const Line& line) {
    const std::string path = line.scalars.at("control");
    const std::string form = path.substr(0, path.find('.'));
    const std::string name = path.substr(path.find('.') + 1);
    QWidget* w = user.widget(name, form.c_str());
    ASSERT_NE(w, nullptr) << path;
    if (auto* box = qobject_cast<QCheckBox*>(w)) {
        const int value = box->checkState() == Qt::Checked            ? 1
                          : box->checkState() == Qt::PartiallyChecked ? 2
                                                                      : 0;
        EXPECT_EQ(std::to_string(value), line.scalars.at("value")) << path;
        EXPECT_EQ(str(box->text()), line.scalars.at("caption")) << path;
    } else if (auto* label = qobject_cast<QLabel*>(w)) {
        EXPECT_EQ(str(label->text()), line.scalars.at("caption")) << path;
        EXPECT_EQ(label->isVisible() ? "true" : "false", line.scalars.at("visible")) << path;
    } else if (auto* text = qobject_cast<QPlainTextEdit*>(w)) {
        EXPECT_EQ(str(text->toPlainText()), line.scalars.at("text")) << path;
        EXPECT_EQ(text->isVisible() ? "true" : "false", line.scalars.at("visible")) << path;
    } else if (auto* list = qobject_cast<QListWidget*>(w)) {
        std::vector<std::string> items;
        std::string open;
        for (int i = 0; i < list->count(); ++i) {
            QListWidgetItem* item = list->item(i);
            if (item->data(kOpenFolderRole).toBool())
                open = str(item->data(Qt::UserRole).toString());
            else
                items.push_back(str(item->text().trimmed()));
        }
        EXPECT_EQ(items, line.arrays.at("items")) << path;
        // A folder list shows its path as the last line of the open chain.
        if (!line.has("pattern") && line.has("path")) {
            EXPECT_EQ(open, line.scalars.at("path")) << path;
        }
    } else {
        ADD_FAILURE() << "no comparison for " << path;
    }
}

// The window goes through the gestures of `gestures` (run by the test) with the answers the driver
// gave, and must show every box and every printed control of the driver's transcript.
void expectWindowMatchesDriver(const std::vector<std::string>& transcript, const char* remove,
                               const std::function<void(Session&)>& gestures,
                               const std::function<void(Session&)>& afterwards = nullptr) {
    Session user;
    if (remove) std::filesystem::remove_all(user.platform().drive().host(remove));
    std::vector<Line> boxes, controls;
    for (const auto& text : transcript) {
        Line line = parse(text);
        if (line.has("msgbox.title")) {
            user.answer(button(line.scalars.at("answer")));
            boxes.push_back(line);
        } else if (line.has("error.number")) {
            user.answer(QMessageBox::Ok);
            boxes.push_back(line);
        } else if (line.has("control")) {
            controls.push_back(line);
        } else {
            ADD_FAILURE() << "unexpected transcript line " << text;
        }
    }
    ASSERT_TRUE(user.start());
    gestures(user);
    EXPECT_EQ(user.pendingAnswers(), 0u) << "the window showed fewer boxes than the driver";
    ASSERT_EQ(user.boxes().size(), boxes.size());
    const std::string title = user.app().globals().toolTitle;
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        const ShownBox& shown = user.boxes()[i];
        if (boxes[i].has("msgbox.title")) {
            EXPECT_EQ(shown.title, boxes[i].scalars.at("msgbox.title")) << i;
            EXPECT_EQ(shown.text, boxes[i].scalars.at("msgbox.text")) << i;
        } else {
            // The window's last-resort report of the same unhandled error.
            EXPECT_EQ(shown.title, title) << i;
            EXPECT_EQ(shown.text, "Run-time error '" + boxes[i].scalars.at("error.number") + "':\n\n" +
                                      boxes[i].scalars.at("error.description"))
                << i;
            EXPECT_EQ(shown.icon, QMessageBox::Critical) << i;
        }
    }
    for (const Line& line : controls) expectWidgetShows(user, line);
    if (afterwards) afterwards(user);
}

const char* const kPageZeroPrints =
    "print frmMain.ckbKELini\nprint frmMain.lblKELINIerror\nprint frmMain.ckbKELAPPPresent\n"
    "print frmMain.ckbDataDir\nprint frmMain.ckbReadWrite\nprint frmMain.lblReadWriteError\n"
    "print frmMain.ckbUserDIR\nprint frmMain.ckbOfficeMDB\nprint frmMain.lblOFFICEMDBerror\n"
    "print frmMain.ckbCommentMDB\nprint frmMain.lblKELCOMerror\nprint frmMain.ckbKELRET\n"
    "print frmMain.lblKELRETerror\nprint frmMain.lblWindows\nprint frmMain.lblWindowsSYS\n"
    "print frmMain.DIRKEL\nprint frmMain.FILSource\nprint frmMain.txterrorlog\n";

TEST(SoftwareUtilitiesWindow, TestAllOnTheSuiteShowsWhatTheDriverReports) {
    const auto transcript =
        driverTranscript(std::string("start\nclick frmMain.cmdTestALL\n") + kPageZeroPrints, nullptr);
    ASSERT_EQ(transcript.size(), 18u);
    expectWindowMatchesDriver(transcript, nullptr, [](Session& user) { user.click("cmdTestALL"); });
}

TEST(SoftwareUtilitiesWindow, TestAllWithoutTheDataFolderShowsTheThreeBoxesTheDriverShows) {
    const auto transcript = driverTranscript(
        std::string("start\nanswer OK\nanswer OK\nanswer OK\nclick frmMain.cmdTestALL\n") + kPageZeroPrints,
        "KELDATA");
    ASSERT_EQ(transcript.size(), 21u);
    expectWindowMatchesDriver(transcript, "KELDATA", [](Session& user) { user.click("cmdTestALL"); });
}

TEST(SoftwareUtilitiesWindow, AnUnhandledErrorIsReportedAndTheWindowKeepsItsResults) {
    // Without the application folder test 8 meets an error it does not trap; the window reports it
    // in a box and keeps every result shown so far.
    const auto transcript = driverTranscript(
        std::string("start\nanswer OK\nanswer OK\nclick frmMain.cmdTestALL\n") + kPageZeroPrints, "KEL");
    ASSERT_NE(transcript.size(), 0u);
    EXPECT_NE(transcript[2].find("\"error\""), std::string::npos) << transcript[2];
    expectWindowMatchesDriver(
        transcript, "KEL", [](Session& user) { user.click("cmdTestALL"); },
        [](Session& user) {
            // The program goes on: the next test still runs from the window.
            user.click("cmdWinDIR");
            EXPECT_EQ(user.text("lblWindows"), "Configuration Directory = C:\\WINDOWS\\");
        });
}

TEST(SoftwareUtilitiesWindow, DoubleClickOnTheTabStripResetsThePageLikeClearAll) {
    Session user;
    ASSERT_TRUE(user.start());
    user.click("cmdKELDIRPresent");
    ASSERT_EQ(user.find<QCheckBox>("ckbKELAPPPresent")->checkState(), Qt::Checked);
    user.click("cmdWinDIR");
    ASSERT_NE(user.text("lblWindows"), "");
    user.doubleClickTabStrip();
    EXPECT_EQ(user.find<QCheckBox>("ckbKELAPPPresent")->checkState(), Qt::Unchecked);
    EXPECT_EQ(user.text("lblWindows"), "");
    EXPECT_EQ(user.text("lblWindowsSYS"), "");
}

TEST(SoftwareUtilitiesWindow, ClearAllFromTheMenuResetsTheResults) {
    Session user;
    ASSERT_TRUE(user.start());
    user.click("cmdTestALL");
    ASSERT_EQ(user.find<QCheckBox>("ckbReadWrite")->checkState(), Qt::Checked);
    ASSERT_EQ(user.text("lblReadWriteError"), "Read/Write Privileges allowed");
    user.menu("mnuFileClear");
    EXPECT_EQ(user.find<QCheckBox>("ckbReadWrite")->checkState(), Qt::Unchecked);
    EXPECT_EQ(user.text("lblReadWriteError"), "Data Directory (Read/Write Check)");
    EXPECT_EQ(user.text("lblWindows"), "");
}

TEST(SoftwareUtilitiesWindow, OpeningAFolderInTheFolderListShowsItsFilesBelow) {
    Session user;
    ASSERT_TRUE(user.start());
    user.click("cmdWinDIR");
    auto* folders = user.find<QListWidget>("DIRKEL");
    ASSERT_NE(folders, nullptr);
    QListWidgetItem* system32 = nullptr;
    for (int i = 0; i < folders->count(); ++i) {
        if (folders->item(i)->text().trimmed() == "SYSTEM32") system32 = folders->item(i);
    }
    ASSERT_NE(system32, nullptr);
    EXPECT_EQ(user.items("FILSource"), (std::vector<std::string>{"system.ini", "win.ini"}));
    doubleClick(folders->viewport(), folders->visualItemRect(system32).center());
    EXPECT_EQ(user.app().frmMain().DIRKEL.dirPath(), "C:\\WINDOWS\\SYSTEM32");
    EXPECT_EQ(user.items("FILSource"), (std::vector<std::string>{"config.nt"}));
    // The open chain now ends in the folder just opened.
    EXPECT_TRUE(folders->item(2)->data(kOpenFolderRole).toBool());
    EXPECT_EQ(folders->item(2)->text().trimmed(), "SYSTEM32");
}

// ---- Memory forms ---------------------------------------------------------------------------------

void setMemory(Session& user, std::uint32_t load, std::uint32_t totalPhys, std::uint32_t availPhys,
               std::uint32_t totalPage, std::uint32_t availPage, std::uint32_t totalVirtual,
               std::uint32_t availVirtual) {
    auto& m = user.platform().system().memory;
    m.dwMemoryLoad = load;
    m.dwTotalPhys = totalPhys;
    m.dwAvailPhys = availPhys;
    m.dwTotalPageFile = totalPage;
    m.dwAvailPageFile = availPage;
    m.dwTotalVirtual = totalVirtual;
    m.dwAvailVirtual = availVirtual;
}

// Three seconds pass on the program's clock; the monitor's timer comes due.
void threeSecondsLater(Session& user) {
    user.platform().clock().advance(3000);
    user.windows().binder().timerDue();
}

TEST(MemoryWindows, TheMonitorOpensBesideTheMainWindowAndRefreshesEveryThreeSeconds) {
    Session user;
    setMemory(user, 45, 536870912, 268436480, 1073741824, 805306879, 2147352576, 2100000000);
    ASSERT_TRUE(user.start());
    user.click("cmdMemory");
    QWidget* monitor = user.windows().view("frmSM");
    ASSERT_NE(monitor, nullptr);
    EXPECT_TRUE(monitor->isVisible());
    EXPECT_FALSE(monitor->isModal());
    EXPECT_EQ(str(monitor->windowTitle()), "Free Memory");
    // Until the first tick: the design captions and empty bars.
    EXPECT_EQ(user.text("lblPhysUsed", "frmSM"), "Free Physical Memory:");
    EXPECT_EQ(user.text("lblVirtUsed", "frmSM"), "Free Virtual Memory:");
    EXPECT_EQ(user.find<QProgressBar>("pgbPhysMem", "frmSM")->value(), 0);
    auto* timer = monitor->findChild<QTimer*>("Timer1");
    ASSERT_NE(timer, nullptr);
    EXPECT_TRUE(timer->isActive());
    EXPECT_EQ(timer->remainingTime() > 2000, true);

    // The main window stays usable meanwhile.
    user.click("cmdWinDIR");
    EXPECT_EQ(user.text("lblWindows"), "Configuration Directory = C:\\WINDOWS\\");

    threeSecondsLater(user);
    EXPECT_EQ(user.text("lblPhysUsed", "frmSM"), "Physical Memory Usage: 50.00%");
    EXPECT_EQ(user.text("lblVirtUsed", "frmSM"), "Virtual Memory Usage: 2.21%");
    auto* phys = user.find<QProgressBar>("pgbPhysMem", "frmSM");
    EXPECT_NEAR(phys->value(), phys->maximum() / 2, 1);
    EXPECT_TRUE(timer->isActive()) << "the next tick is scheduled";

    // A second click shows the same monitor again.
    user.click("cmdMemory");
    EXPECT_TRUE(monitor->isVisible());
    EXPECT_EQ(user.text("lblPhysUsed", "frmSM"), "Physical Memory Usage: 50.00%");
}

TEST(MemoryWindows, TheMonitorsQtTimerFiresOnItsOwnInTheEventLoop) {
    Session user;
    setMemory(user, 45, 536870912, 268436480, 1073741824, 805306879, 2147352576, 2100000000);
    ASSERT_TRUE(user.start());
    // The host's own clock this time: the timer is left to Qt's event loop, as in the real program.
    QElapsedTimer clock;
    clock.start();
    user.windows().binder().setElapsedSource([&clock] { return clock.elapsed(); });
    user.click("cmdMemory");
    EXPECT_EQ(user.text("lblPhysUsed", "frmSM"), "Free Physical Memory:");
    QTest::qWait(1000);
    EXPECT_EQ(user.text("lblPhysUsed", "frmSM"), "Free Physical Memory:") << "no tick before three seconds";
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return user.text("lblPhysUsed", "frmSM") != "Free Physical Memory:"; }, 5000));
    EXPECT_GE(clock.elapsed(), 3000);
    EXPECT_EQ(user.text("lblPhysUsed", "frmSM"), "Physical Memory Usage: 50.00%");
}

TEST(MemoryWindows, DetailsShowTheSixFiguresAndQuitClosesBothForms) {
    Session user;
    setMemory(user, 45, 536870912, 268436480, 1073741824, 805306879, 2147352576, 2100000000);
    ASSERT_TRUE(user.start());
    user.click("cmdMemory");
    user.click("Command1", "frmSM");
    QWidget* details = user.windows().view("frmDetails");
    ASSERT_NE(details, nullptr);
    EXPECT_TRUE(details->isVisible());
    EXPECT_FALSE(details->isModal());
    EXPECT_EQ(str(details->windowTitle()), "Memory Status");
    EXPECT_EQ(user.text("lblTotalPhys", "frmDetails"), "Total physical memory (RAM): 524288 KB");
    EXPECT_EQ(user.text("lblAvailPhys", "frmDetails"), "Free physical memory (RAM): 262145 KB");
    EXPECT_EQ(user.text("lblTotalPage", "frmDetails"), "Total KB in current paging file: 1048576");
    EXPECT_EQ(user.text("lblAvailPage", "frmDetails"), "Free KB in current paging file: 786432.499023438");
    EXPECT_EQ(user.text("lblTotalVirtual", "frmDetails"), "Total virtual memory: 2097024 KB");
    EXPECT_EQ(user.text("lblAvailVirtual", "frmDetails"), "Free virtual memory: 2050781.25 KB");

    user.click("Command2", "frmSM");
    EXPECT_FALSE(details->isVisible());
    EXPECT_FALSE(user.windows().view("frmSM")->isVisible());
    EXPECT_FALSE(user.windows().view("frmSM")->findChild<QTimer*>("Timer1")->isActive());
    EXPECT_TRUE(user.main().isVisible());
}

TEST(MemoryWindows, AnOverflowInTheMonitorIsReportedAndTheProgramGoesOn) {
    Session user;
    setMemory(user, 60, 2147483648u, 1048576, 1073741824, 805306368, 2147352576, 2100000000);
    ASSERT_TRUE(user.start());
    user.click("cmdMemory");
    user.answer(QMessageBox::Ok);
    threeSecondsLater(user);
    ASSERT_EQ(user.boxes().size(), 1u);
    EXPECT_EQ(user.boxes()[0].title, "Corvid Office Plus - QX Test");
    EXPECT_EQ(user.boxes()[0].text, "Run-time error '6':\n\nOverflow");
    // What the monitor showed stays; the monitor and the main window are still there.
    EXPECT_EQ(user.text("lblPhysUsed", "frmSM"), "Free Physical Memory:");
    EXPECT_TRUE(user.windows().view("frmSM")->isVisible());
    EXPECT_TRUE(user.main().isVisible());
    user.click("Command2", "frmSM");
    EXPECT_FALSE(user.windows().view("frmSM")->isVisible());
}

TEST(MemoryWindows, ClosingTheMainWindowLeavesAnOpenMonitorRunning) {
    Session user;
    ASSERT_TRUE(user.start());
    user.click("cmdMemory");
    user.main().close();
    EXPECT_FALSE(user.main().isVisible());
    EXPECT_FALSE(user.windows().binder().ended());
    EXPECT_TRUE(user.windows().view("frmSM")->isVisible());
    EXPECT_FALSE(user.app().frmMain().loaded());
    // Closing the last form ends the program.
    user.windows().view("frmSM")->close();
    EXPECT_TRUE(user.windows().binder().ended());
    EXPECT_TRUE(user.platform().process().ended());
}

TEST(MemoryWindows, QuittingTheMonitorAfterTheMainWindowWasClosedEndsTheProgram) {
    Session user;
    ASSERT_TRUE(user.start());
    user.click("cmdMemory");
    user.click("Command1", "frmSM");
    user.main().close();
    ASSERT_FALSE(user.windows().binder().ended());
    user.click("Command2", "frmSM");
    EXPECT_TRUE(user.windows().binder().ended());
    EXPECT_FALSE(user.windows().view("frmSM")->isVisible());
    EXPECT_FALSE(user.windows().view("frmDetails")->isVisible());
}

// Every label of the page shows its whole text at the window's own size: none is cut off at the
// edge of its frame, the long system directory of test 9 included, and the window need not grow
// to make room for it.
TEST(SoftwareUtilitiesWindow, ResultTextsShowInFullAtTheDefaultWindowSize) {
    Session user;
    ASSERT_TRUE(user.start());
    settleLayouts();
    const int defaultWidth = user.main().width();
    user.click("cmdTestALL");
    ASSERT_EQ(user.text("lblWindowsSYS"), "Windows System Directory = C:\\WINDOWS\\SYSTEM32\\");
    ASSERT_EQ(user.text("lblWindows"), "Configuration Directory = C:\\WINDOWS\\");
    settleLayouts();
    EXPECT_EQ(user.main().width(), defaultWidth);
    QWidget* page = user.main().tabs()->widget(0);
    ASSERT_NE(page, nullptr);
    const QList<QLabel*> labels = page->findChildren<QLabel*>();
    ASSERT_FALSE(labels.isEmpty());
    for (QLabel* label : labels) {
        if (!label->isVisible() || label->text().isEmpty()) continue;
        const std::string name = str(label->objectName());
        EXPECT_GE(label->width(), label->sizeHint().width()) << name << ": " << str(label->text());
        // Nor may the frame around it cut it: its right edge lies inside the frame.
        const QWidget* frame = label->parentWidget();
        const int labelRight = label->mapTo(page, QPoint(label->sizeHint().width(), 0)).x();
        const int frameRight = frame->mapTo(page, QPoint(frame->contentsRect().right(), 0)).x();
        EXPECT_LE(labelRight, frameRight + 1) << name;
    }
}

}  // namespace
}  // namespace qx::ui::testing
