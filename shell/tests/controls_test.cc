// The controls' event rules and properties, which the handlers of every subsystem rely on.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "platform/errors.h"
#include "platform/testing/test_drive.h"
#include "shell/controls.h"
#include "shell/form.h"

namespace qx::forms {
namespace {

// A form with one control of each kind, for exercising them.
class Bench final : public Form {
  public:
    explicit Bench(FormContext context) : Form(context, "frmBench") {
        setCaption("Bench");
        check.setCaption("Passed");
        for (int i = 0; i < 3; ++i) member(options, i).setCaption("Option " + std::to_string(i));
        groupOptions({&options(0), &options(1), &options(2)});
        list.addItem("design line");
        timer.setInterval(3000);
        captureDesign();
    }
    Label& label = make<Label>("lblInfo");
    CommandButton& button = make<CommandButton>("cmdGo");
    CheckBox& check = make<CheckBox>("ckbResult");
    ControlArray<OptionButton> options{"optPick"};
    TextBox& text = make<TextBox>("txtInput");
    ListBox& list = make<ListBox>("lstLines");
    DirListBox& dirs = make<DirListBox>("dirFolders");
    FileListBox& files = make<FileListBox>("filFiles");
    DriveListBox& drives = make<DriveListBox>("drvDrives");
    Grid& grid = make<Grid>("grdRows");
    ProgressBar& bar = make<ProgressBar>("pgbBar");
    MenuItem& menu = make<MenuItem>("mnuItem");
    Timer& timer = make<Timer>("tmrTick");
    Calendar& calendar = make<Calendar>("calDate");
    TabStrip& tabs = make<TabStrip>("tabPages");
};

class ControlsTest : public ::testing::Test {
  protected:
    ControlsTest() : host(QX_SHARED_DIR, false), bench(FormContext{host.platform(), screen}) {}
    testing::TestPlatform host;
    Screen screen;
    Bench bench;
};

std::int32_t errorNumberOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return 0;
}

TEST_F(ControlsTest, CheckBoxValueSetByCodeRaisesClickOnlyWhenItChanges) {
    int clicks = 0;
    bench.check.onClick = [&] { ++clicks; };
    bench.check.setValue(1);
    bench.check.setValue(1);
    EXPECT_EQ(clicks, 1);
    bench.check.setValue(0);
    EXPECT_EQ(clicks, 2);
    EXPECT_EQ(bench.check.value(), 0);
}

TEST_F(ControlsTest, CheckBoxUserClickTogglesAndGreyedBecomesUnticked) {
    std::vector<int> seen;
    bench.check.onClick = [&] { seen.push_back(bench.check.value()); };
    bench.check.userClick();
    bench.check.userClick();
    bench.check.setValue(2);
    bench.check.userClick();
    EXPECT_EQ(seen, (std::vector<int>{1, 0, 2, 0}));
}

TEST_F(ControlsTest, CheckBoxRefusesValuesOutsideZeroToTwo) {
    EXPECT_EQ(errorNumberOf([&] { bench.check.setValue(3); }), kErrInvalidPropertyValue);
    EXPECT_EQ(bench.check.value(), 0);
}

TEST_F(ControlsTest, OptionButtonSetTrueClearsTheGroupAndClicksOnce) {
    std::vector<int> clicks;
    for (const auto& [index, option] : bench.options)
        option->onClick = [&clicks, i = index] { clicks.push_back(i); };
    bench.options(1).setValue(true);
    EXPECT_TRUE(bench.options(1).value());
    bench.options(2).setValue(true);
    EXPECT_FALSE(bench.options(1).value());
    EXPECT_TRUE(bench.options(2).value());
    bench.options(2).setValue(true);  // already selected: no event
    EXPECT_EQ(clicks, (std::vector<int>{1, 2}));
}

TEST_F(ControlsTest, OptionButtonUserClickOnTheSelectedButtonStillClicks) {
    int clicks = 0;
    bench.options(0).onClick = [&] { ++clicks; };
    bench.options(0).userClick();
    bench.options(0).userClick();
    EXPECT_EQ(clicks, 2);
}

TEST_F(ControlsTest, OptionButtonSetFalseRaisesNothingAndSelectsNoOther) {
    int clicks = 0;
    bench.options(0).setValue(true);
    for (const auto& entry : bench.options) entry.second->onClick = [&] { ++clicks; };
    bench.options(0).setValue(false);
    EXPECT_EQ(clicks, 0);
    for (const auto& entry : bench.options) EXPECT_FALSE(entry.second->value());
}

TEST_F(ControlsTest, TextBoxSetTextRaisesChangeOnlyForADifferentText) {
    int changes = 0;
    bench.text.onChange = [&] { ++changes; };
    bench.text.setText("abc");
    bench.text.setText("abc");
    bench.text.setText("");
    EXPECT_EQ(changes, 2);
}

TEST_F(ControlsTest, TextBoxTypingRaisesKeyPressThenOneChangePerCharacter) {
    std::vector<std::string> log;
    bench.text.onKeyPress = [&](std::int16_t& key) { log.push_back("key " + std::to_string(key)); };
    bench.text.onChange = [&] { log.push_back("text " + bench.text.text()); };
    bench.text.userType("a\xC3\xA9");  // "a", then e with acute accent (one character)
    EXPECT_EQ(log, (std::vector<std::string>{"key 97", "text a", "key 233", "text a\xC3\xA9"}));
}

TEST_F(ControlsTest, TextBoxKeyPressCanCancelTheKeyAndEnterAddsNothing) {
    bench.text.onKeyPress = [](std::int16_t& key) {
        if (key == 'x') key = 0;
    };
    bench.text.userType("axb");
    bench.text.userKeyPress(13);
    EXPECT_EQ(bench.text.text(), "ab");
    bench.text.userKeyPress(8);
    EXPECT_EQ(bench.text.text(), "a");
}

TEST_F(ControlsTest, CommandButtonIsPressedOnlyDuringItsOwnClickEvenWhenItFails) {
    bool pressedInside = false;
    bench.button.onClick = [&] {
        pressedInside = bench.button.pressed();
        raise(err::kPathNotFound);
    };
    EXPECT_EQ(errorNumberOf([&] { bench.button.userClick(); }), err::kPathNotFound);
    EXPECT_TRUE(pressedInside);
    EXPECT_FALSE(bench.button.pressed());
}

// A second form shown modally from the button's Click.
class Dialog final : public Form {
  public:
    explicit Dialog(FormContext context) : Form(context, "frmDialog") { captureDesign(); }
    CommandButton& proceed = make<CommandButton>("cmdProceed");
};

TEST_F(ControlsTest, AButtonStaysPressedWhileTheModalFormItShowedIsUp) {
    Dialog dialog(FormContext{host.platform(), screen});
    bench.show();
    bench.button.onClick = [&] { dialog.show(true); };
    bool pressedAtProceed = false;
    dialog.proceed.onClick = [&] {
        dialog.unload();
        pressedAtProceed = bench.button.pressed();
    };
    bench.button.userClick();
    EXPECT_TRUE(bench.button.pressed());
    dialog.proceed.userClick();
    EXPECT_TRUE(pressedAtProceed);
    // The first gesture after the dialog has gone finds the button let go.
    bench.check.userClick();
    EXPECT_FALSE(bench.button.pressed());
}

TEST_F(ControlsTest, HiddenOrDisabledControlsIgnoreTheUser) {
    int clicks = 0;
    bench.button.onClick = [&] { ++clicks; };
    bench.button.setEnabled(false);
    EXPECT_FALSE(bench.button.userClick());
    bench.button.setEnabled(true);
    bench.button.setVisible(false);
    EXPECT_FALSE(bench.button.userClick());
    EXPECT_EQ(clicks, 0);
    // Code may still run the click.
    bench.button.press();
    EXPECT_EQ(clicks, 1);
}

TEST_F(ControlsTest, SetFocusOnAHiddenControlIsError5) {
    bench.text.setVisible(false);
    EXPECT_EQ(errorNumberOf([&] { bench.text.setFocus(); }), err::kInvalidProcedureCall);
    bench.text.setVisible(true);
    bench.text.setFocus();
    EXPECT_TRUE(bench.text.hasFocus());
}

TEST_F(ControlsTest, ListBoxListIndexRaisesClickAndTextFollowsIt) {
    int clicks = 0;
    bench.list.onClick = [&] { ++clicks; };
    bench.list.clear();
    bench.list.addItem("one");
    bench.list.addItem("two");
    EXPECT_EQ(bench.list.listIndex(), -1);
    EXPECT_EQ(bench.list.text(), "");
    bench.list.setListIndex(1);
    bench.list.setListIndex(1);
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(bench.list.text(), "two");
    EXPECT_TRUE(bench.list.selected(1));
    EXPECT_EQ(errorNumberOf([&] { bench.list.setListIndex(2); }), kErrInvalidPropertyValue);
    EXPECT_EQ(errorNumberOf([&] { (void)bench.list.selected(5); }), kErrInvalidPropertyArrayIndex);
    EXPECT_EQ(bench.list.list(7), "");
    bench.list.clear();
    EXPECT_EQ(bench.list.listIndex(), -1);
    EXPECT_EQ(bench.list.listCount(), 0u);
}

TEST_F(ControlsTest, MultiSelectListKeepsEachLinesMarkApart) {
    bench.list.setMultiSelect(1);
    bench.list.clear();
    for (const char* line : {"a.mdb", "b.mdb", "c.mdb"}) bench.list.addItem(line);
    bench.list.setSelected(0, true);
    bench.list.setSelected(2, true);
    EXPECT_EQ(bench.list.selectedIndexes(), (std::vector<int>{0, 2}));
    EXPECT_EQ(bench.list.listIndex(), 2);
    bench.list.userSelect(0);  // a click toggles in a simple multi-selection list
    EXPECT_EQ(bench.list.selectedIndexes(), (std::vector<int>{2}));
}

TEST_F(ControlsTest, DirListBoxResolvesThePathAndRaisesChangeOnlyForAnotherFolder) {
    host.drive().write("KELDATA\\Sub\\x.txt", "x");
    host.drive().write("KELDATA\\Other\\y.txt", "y");
    bench.load();
    std::vector<std::string> changes;
    bench.dirs.onChange = [&] { changes.push_back(bench.dirs.dirPath()); };
    bench.dirs.setPath("c:\\keldata\\");
    bench.dirs.setPath("C:\\KELDATA");
    EXPECT_EQ(changes, (std::vector<std::string>{"C:\\KELDATA"}));
    EXPECT_EQ(bench.dirs.items(), (std::vector<std::string>{"Other", "Sub"}));
}

TEST_F(ControlsTest, DirListBoxMissingFolderIsError76AndKeepsThePath) {
    host.drive().write("KELDATA\\x.txt", "x");
    bench.load();
    bench.dirs.setPath("C:\\KELDATA");
    EXPECT_EQ(errorNumberOf([&] { bench.dirs.setPath("C:\\NOWHERE"); }), err::kPathNotFound);
    EXPECT_EQ(bench.dirs.dirPath(), "C:\\KELDATA");
    EXPECT_EQ(errorNumberOf([&] { bench.dirs.setPath("Q:\\"); }), err::kDeviceUnavailable);
}

TEST_F(ControlsTest, FileListBoxFollowsPathAndPattern) {
    host.drive().write("KELDATA\\Office.mdb", "x");
    host.drive().write("KELDATA\\kel.ini", "x");
    bench.load();
    int pathChanges = 0, patternChanges = 0;
    bench.files.onPathChange = [&] { ++pathChanges; };
    bench.files.onPatternChange = [&] { ++patternChanges; };
    bench.files.setPath("C:\\KELDATA");
    EXPECT_EQ(bench.files.items(), (std::vector<std::string>{"kel.ini", "Office.mdb"}));
    bench.files.setPattern("*.mdb");
    EXPECT_EQ(bench.files.items(), (std::vector<std::string>{"Office.mdb"}));
    bench.files.setPattern("*.mdb");
    EXPECT_EQ(pathChanges, 1);
    EXPECT_EQ(patternChanges, 1);
    host.drive().write("KELDATA\\Report.mdb", "x");
    bench.files.refreshFiles();
    EXPECT_EQ(bench.files.listCount(), 2u);
}

TEST_F(ControlsTest, DriveListBoxKnowsOnlyMappedDrives) {
    bench.load();
    EXPECT_EQ(bench.drives.drive(), "c:");
    EXPECT_EQ(errorNumberOf([&] { bench.drives.setDrive("q:"); }), err::kDeviceUnavailable);
}

class TwoRows final : public RowSource {
  public:
    bool open = true;
    bool isOpen() const override { return open; }
    std::vector<std::string> columnNames() const override { return {"ID", "Name"}; }
    std::size_t rowCount() const override { return 2; }
    std::vector<std::string> rowTexts(std::size_t row) const override {
        return {std::to_string(row + 1), row == 0 ? "Ann" : "Bob"};
    }
};

TEST_F(ControlsTest, GridShowsItsSourceUntilClosedAndAgainAfterRebind) {
    TwoRows rows;
    bench.grid.setDataSource(&rows);
    EXPECT_EQ(bench.grid.columns(), (std::vector<std::string>{"ID", "Name"}));
    EXPECT_EQ(bench.grid.rowTexts(1), (std::vector<std::string>{"2", "Bob"}));
    bench.grid.close();
    EXPECT_EQ(bench.grid.rowCount(), 0u);
    bench.grid.rebind();
    EXPECT_EQ(bench.grid.rowCount(), 2u);
    rows.open = false;
    EXPECT_TRUE(bench.grid.columns().empty());
    bench.grid.setEditing(true);
    EXPECT_TRUE(bench.grid.allowAddNew() && bench.grid.allowDelete() && bench.grid.allowUpdate());
}

// Writes what a control describes as "name=value" lines; rows are read through the window.
class Recorder final : public PropertyVisitor {
  public:
    std::vector<std::string> lines;
    void text(std::string_view n, const std::string& v) override { add(n, v); }
    void flag(std::string_view n, bool v) override { add(n, v ? "true" : "false"); }
    void integer(std::string_view n, std::int64_t v) override { add(n, std::to_string(v)); }
    void real(std::string_view n, float v) override { add(n, std::to_string(v)); }
    void texts(std::string_view n, const std::vector<std::string>& v) override { add(n, join(v)); }
    void integers(std::string_view n, const std::vector<int>& v) override {
        std::vector<std::string> t;
        for (int i : v) t.push_back(std::to_string(i));
        add(n, join(t));
    }
    void rows(std::string_view n, std::size_t count, const RowWindow& window) override {
        std::vector<std::string> all;
        for (const auto& row : window(0, count)) all.push_back(join(row));
        add(n, join(all));
    }

  private:
    static std::string join(const std::vector<std::string>& v) {
        std::string out;
        for (const auto& s : v) out += (out.empty() ? "" : "|") + s;
        return out;
    }
    void add(std::string_view n, const std::string& v) { lines.push_back(std::string(n) + "=" + v); }
};

TEST_F(ControlsTest, AGridDescribesItsRowsThroughWindows) {
    TwoRows rows;
    bench.grid.setDataSource(&rows);
    EXPECT_EQ(bench.grid.rowWindow(1, 5), (std::vector<std::vector<std::string>>{{"2", "Bob"}}));
    EXPECT_TRUE(bench.grid.rowWindow(2, 1).empty());
    Recorder r;
    bench.grid.describe(r);
    EXPECT_EQ(r.lines,
              (std::vector<std::string>{"columns=ID|Name", "rows=1|Ann|2|Bob", "visible=true",
                                        "allowAddNew=false", "allowDelete=false", "allowUpdate=false"}));
    bench.grid.close();
    Recorder closed;
    bench.grid.describe(closed);
    EXPECT_EQ(closed.lines.at(1), "rows=");
}

TEST_F(ControlsTest, EveryKindDescribesWhatItShows) {
    Recorder label;
    bench.label.setCaption("Passed");
    bench.label.describe(label);
    EXPECT_EQ(label.lines, (std::vector<std::string>{"caption=Passed", "visible=true"}));
    Recorder check;
    bench.check.setValue(1);
    bench.check.describe(check);
    EXPECT_EQ(check.lines.at(0), "value=1");
}

TEST_F(ControlsTest, TimerRunsOnlyWhileItsFormIsLoadedAndEnabled) {
    EXPECT_FALSE(bench.timer.running());
    screen.setElapsedMs(500);
    bench.load();
    ASSERT_TRUE(bench.timer.running());
    EXPECT_EQ(bench.timer.nextDueMs(), 3500);
    int ticks = 0;
    bench.timer.onTimer = [&] { ++ticks; };
    bench.timer.tick();
    EXPECT_EQ(ticks, 1);
    EXPECT_EQ(bench.timer.nextDueMs(), 6500);
    bench.timer.setTimerEnabled(false);
    EXPECT_TRUE(screen.runningTimers().empty());
    bench.timer.setTimerEnabled(true);
    bench.unload();
    EXPECT_TRUE(screen.runningTimers().empty());
}

TEST_F(ControlsTest, CalendarTodayReadsThePlatformClock) {
    host.clock().set({2007, 3, 9, 10, 0, 0});
    bench.calendar.today();
    EXPECT_EQ(bench.calendar.value(), (Date{2007, 3, 9}));
    int clicks = 0;
    bench.calendar.onClick = [&] { ++clicks; };
    bench.calendar.userClickDate({2007, 3, 1});
    EXPECT_EQ(bench.calendar.value(), (Date{2007, 3, 1}));
    EXPECT_EQ(clicks, 1);
}

TEST_F(ControlsTest, TabStripReportsThePreviousTab) {
    bench.tabs.addTab("A");
    bench.tabs.addTab("B");
    std::vector<int> previous;
    bench.tabs.onTabClick = [&](int before) { previous.push_back(before); };
    bench.tabs.userSelectTab(1);
    bench.tabs.setTab(1);
    bench.tabs.setTab(0);
    EXPECT_EQ(previous, (std::vector<int>{0, 1}));
    EXPECT_EQ(errorNumberOf([&] { bench.tabs.setTab(2); }), kErrInvalidPropertyValue);
}

TEST_F(ControlsTest, MissingControlArrayMemberIsError340) {
    EXPECT_EQ(errorNumberOf([&] { (void)bench.options(7); }), kErrControlArrayElementMissing);
    EXPECT_TRUE(bench.options.contains(2));
    EXPECT_EQ(bench.find("optPick", 1), &bench.options(1));
    EXPECT_EQ(bench.options(1).path(), "frmBench.optPick(1)");
}

TEST_F(ControlsTest, ViewsAreToldOfEveryChange) {
    int notices = 0;
    const int token = bench.label.changed.connect([&] { ++notices; });
    bench.label.setCaption("one");
    bench.label.setCaption("one");
    bench.label.setVisible(false);
    bench.label.changed.disconnect(token);
    bench.label.setCaption("two");
    EXPECT_EQ(notices, 2);
}

TEST_F(ControlsTest, ProgressBarKeepsValuesOutsideItsRange) {
    bench.bar.setMax(10.0f);
    bench.bar.setValue(-5.0f);
    EXPECT_FLOAT_EQ(bench.bar.value(), -5.0f);
}

}  // namespace
}  // namespace qx::forms
