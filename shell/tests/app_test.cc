// Start-up, page resets, Clear All, the tab change and the exit paths of the main window.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "common/modmaster.h"
#include "platform/errors.h"
#include "platform/testing/test_drive.h"
#include "shell/app.h"

namespace qx::shell {
namespace {

constexpr const char* kIni = "APPRAISE\\kel.ini";

// The shell alone: no subsystem is wired, so every handler the tests see is the shell's or the
// test's own.
class AppTest : public ::testing::Test {
  protected:
    AppTest() : host(QX_SHARED_DIR, true) {}

    Application& make() {
        app = std::make_unique<Application>(host.platform(), Version{7, 0, 12});
        app->onUnhandledError = [this](const RuntimeError& e) { errors.push_back(e.number()); };
        return *app;
    }
    void writeIni(const std::string& text) { host.drive().write(kIni, text); }
    void removeIni() { std::filesystem::remove(host.drive().host(kIni)); }

    testing::TestPlatform host;
    std::unique_ptr<Application> app;
    std::vector<int> errors;
};

TEST_F(AppTest, StartUpReadsTheDirectoriesAndBuildsTheCaption) {
    Application& a = make();
    ASSERT_TRUE(a.start());
    const Globals& g = a.globals();
    EXPECT_EQ(g.iniDirectory, "C:\\APPRAISE\\");
    EXPECT_EQ(g.systemDirectory, "C:\\WINDOWS\\SYSTEM32");
    EXPECT_EQ(g.windowsDirectory, "C:\\WINDOWS\\");
    EXPECT_EQ(g.configFilePath, "C:\\APPRAISE\\KEL.INI");
    EXPECT_EQ(g.appDir, "C:\\KEL\\");
    EXPECT_EQ(g.dataDir, "C:\\KELDATA\\");
    EXPECT_EQ(g.userDir, "C:\\KELUSER\\");
    EXPECT_EQ(g.toolTitle, "Corvid Office Plus - QX Test");
    EXPECT_EQ(a.frmMain().caption(), "Corvid Office Plus - QX Test - Version 7.0.12");
    EXPECT_EQ(g.usersTableLocked, kVbTrue);
    EXPECT_EQ(g.rememberedUnlockCode, "");
    EXPECT_TRUE(a.frmMain().loaded());
    EXPECT_TRUE(a.frmMain().visible());
    EXPECT_TRUE(host.messages().shown().empty());
    EXPECT_TRUE(errors.empty());
}

TEST_F(AppTest, CaptionCarriesTheSuiteNameAndTheGivenVersion) {
    writeIni(
        "[directories]\r\nappdir=C:\\KEL\r\n[PROGRAM ALIAS]\r\nCORVID Office Plus=Talvik Appraisal "
        "Office\r\n");
    app = std::make_unique<Application>(host.platform(), Version{8, 1, 3});
    ASSERT_TRUE(app->start());
    EXPECT_EQ(app->frmMain().caption(), "Talvik Appraisal Office - QX Test - Version 8.1.3");
    EXPECT_EQ(app->globals().toolTitle, "Talvik Appraisal Office - QX Test");
}

TEST_F(AppTest, TheBuildsVersionIsTheProjectVersion) {
    EXPECT_EQ(versionText(buildVersion()), QX_PROJECT_VERSION);
}

TEST_F(AppTest, DirectoryValuesGetExactlyOneTrailingBackslash) {
    writeIni("[directories]\r\nappdir=C:\\Kel\r\ndatadir=C:\\KELDATA\\\r\nuserdir=   \r\n");
    ASSERT_TRUE(make().start());
    EXPECT_EQ(app->globals().appDir, "C:\\Kel\\");
    EXPECT_EQ(app->globals().dataDir, "C:\\KELDATA\\");
    EXPECT_EQ(app->globals().userDir, "");
    EXPECT_EQ(app->frmMain().caption(), "Corvid Office Plus - QX Test - Version 7.0.12");
}

TEST_F(AppTest, MissingIniAnsweredYesGoesOnWithDefaults) {
    removeIni();
    host.messages().queue(platform::Answer::Yes);
    ASSERT_TRUE(make().start());
    ASSERT_EQ(host.messages().shown().size(), 1u);
    const auto& box = host.messages().shown()[0];
    EXPECT_EQ(box.title, "Configuration File Missing");
    EXPECT_EQ(
        box.text,
        "KEL.INI configuration file is missing from C:\\APPRAISE\\ (primary location) and C:\\WINDOWS\\ "
        "(secondary location). DO you wish to coninue? (Program may not function correctly)");
    EXPECT_EQ(box.buttons, platform::Buttons::YesNoCancel);
    EXPECT_EQ(app->globals().appDir, "");
    EXPECT_EQ(app->frmMain().caption(), "Corvid Office Plus - QX Test - Version 7.0.12");
    EXPECT_FALSE(app->ended());
}

TEST_F(AppTest, MissingIniWithoutAppraiseFolderAsksWithOneLocation) {
    std::filesystem::remove_all(host.drive().host("APPRAISE"));
    host.messages().queue(platform::Answer::Yes);
    ASSERT_TRUE(make().start());
    ASSERT_EQ(host.messages().shown().size(), 1u);
    EXPECT_EQ(host.messages().shown()[0].text,
              "KEL.INI configuration file is missing from C:\\WINDOWS\\ . DO you wish to coninue? "
              "(Program may not function correctly)");
}

TEST_F(AppTest, MissingIniAnsweredNoOrCancelEndsTheProgram) {
    for (platform::Answer answer : {platform::Answer::No, platform::Answer::Cancel}) {
        removeIni();
        host.messages().queue(answer);
        Application& a = make();
        EXPECT_FALSE(a.start());
        EXPECT_TRUE(a.ended());
        // Start-up stopped at the question: the caption is still the design one.
        EXPECT_EQ(a.frmMain().caption(), "Talvik Corvid Office Plus QX Test");
        EXPECT_FALSE(a.dispatch([] {}));
    }
    EXPECT_EQ(host.process().ends(), 2);
}

TEST_F(AppTest, ClearAllResetsPagesZeroToTwoButNotPageThree) {
    Application& a = make();
    ASSERT_TRUE(a.start());
    auto& f = a.frmMain();
    f.ckbDataDir.setValue(1);
    f.ckbDataDir.setCaption("Failed");
    f.lblReadWriteError.setCaption("Path Not Found");
    f.lblWindows.setCaption("Configuration Directory = C:\\WINDOWS\\");
    f.lstTableListing.addItem("Database Tables within Office.mdb");
    f.lstTableListing.setAppearance(1);
    f.lblTableCount.setCaption("Table count = 3");
    f.lblCount.setCaption("Record Count = 5");
    f.txtCity(0).setText("york");
    f.optSearch(3).setValue(true);
    f.lstDetails.clear();
    f.lstDetails.addItem("Current time:");

    ASSERT_TRUE(a.dispatch([&] { f.mnuFileClear.userClick(); }));
    EXPECT_EQ(f.ckbDataDir.value(), 0);
    EXPECT_EQ(f.ckbDataDir.caption(), "Passed");
    EXPECT_EQ(f.lblReadWriteError.caption(), "Data Directory (Read/Write Check)");
    EXPECT_EQ(f.lblWindows.caption(), "");
    EXPECT_EQ(f.DIRKEL.dirPath(), "C:\\APPRAISE");
    EXPECT_EQ(f.lstTableListing.listCount(), 0u);
    EXPECT_EQ(f.lstTableListing.appearance(), 0);
    EXPECT_EQ(f.lstTableListing.height(), 2670);
    EXPECT_EQ(f.lblTableCount.caption(), "TableCount:");
    EXPECT_EQ(f.lblCount.caption(), "Record Count:");
    EXPECT_EQ(f.lblFCount.caption(), "Field Count:");
    EXPECT_EQ(f.txtCity(0).text(), "");
    EXPECT_TRUE(f.optSearch(11).value());
    EXPECT_FALSE(f.optSearch(3).value());
    EXPECT_EQ(f.lstDetails.items(), (std::vector<std::string>{"Current time:"}));

    ASSERT_TRUE(a.dispatch([&] { f.cmdClear(3).press(); }));
    EXPECT_EQ(f.lstDetails.items(),
              (std::vector<std::string>{"Please select a maintenance option", "shown to the left."}));
}

TEST_F(AppTest, EachClearButtonResetsOnlyItsOwnPage) {
    Application& a = make();
    ASSERT_TRUE(a.start());
    auto& f = a.frmMain();
    f.lblKELRETerror.setCaption("x");
    f.lblLocation.setCaption("x");
    f.lblFCount.setCaption("x");
    a.cmdClear_Click(1);
    EXPECT_EQ(f.lblLocation.caption(), "Location:");
    EXPECT_EQ(f.lblKELRETerror.caption(), "x");
    EXPECT_EQ(f.lblFCount.caption(), "x");
    a.cmdClear_Click(0);
    EXPECT_EQ(f.lblKELRETerror.caption(), "(Check for database)");
    a.cmdClear_Click(7);  // no such page: nothing
    EXPECT_EQ(f.lblFCount.caption(), "x");
}

TEST_F(AppTest, TabChangesHandTheDataControlFromGridToGrid) {
    Application& a = make();
    std::vector<std::string> log;
    a.hooks().closeAdoIfOpen = [&](forms::Grid& grid) { log.push_back("close " + grid.name()); };
    auto& f = a.frmMain();
    f.cmdTableListing.onClick = [&] {
        log.push_back("listing");
        f.lstTableListing.addItem("Database Tables within Office.mdb");
    };
    f.optSearch(11).onClick = [&] { log.push_back("blank option"); };
    ASSERT_TRUE(a.start());
    log.clear();

    a.dispatch([&] { f.SSTab1.userSelectTab(1); });
    EXPECT_EQ(log, (std::vector<std::string>{"listing"}));
    EXPECT_EQ(f.boundGridName, "grdListing");
    f.lblTableName.setCaption("Table Name = Clients");

    f.txtZip(0).setText("12");
    f.optSearch(3).setValue(true);
    log.clear();
    a.dispatch([&] { f.SSTab1.userSelectTab(2); });
    // Leaving the listing grid releases it; the blank option is selected by the tab change (its
    // Click runs once: the reset that follows finds it selected already); that reset, with the
    // search grid now named as bound, asks to release it too (the data control knows it is closed).
    EXPECT_EQ(log, (std::vector<std::string>{"close grdListing", "blank option", "close grdData"}));
    EXPECT_EQ(f.boundGridName, "grdData");
    EXPECT_EQ(f.txtZip(0).text(), "");

    log.clear();
    a.dispatch([&] { f.SSTab1.userSelectTab(1); });
    EXPECT_EQ(log, (std::vector<std::string>{"close grdData", "listing"}));
    EXPECT_EQ(f.lblTableName.caption(), "Table Name:");
    EXPECT_TRUE(f.lstTableListing.hasFocus());

    log.clear();
    a.dispatch([&] { f.SSTab1.userSelectTab(3); });
    a.dispatch([&] { f.SSTab1.userSelectTab(0); });
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(f.boundGridName, "grdListing");  // only tabs 1 and 2 move the binding
    a.dispatch([&] { f.SSTab1.userSelectTab(1); });
    EXPECT_EQ(log, (std::vector<std::string>{"listing"}));  // re-entering re-runs the listing
}

TEST_F(AppTest, DoubleClickOnTheTabStripResetsLikeClearAll) {
    Application& a = make();
    ASSERT_TRUE(a.start());
    auto& f = a.frmMain();
    f.lblKELINIerror.setCaption("File does not exist");
    f.lstDetails.clear();
    a.dispatch([&] { f.SSTab1.userDblClick(); });
    EXPECT_EQ(f.lblKELINIerror.caption(), "(Check for INI file)");
    EXPECT_EQ(f.lstDetails.listCount(), 0u);
}

TEST_F(AppTest, EveryExitButtonAndTheMenuEndTheProgramAtOnce) {
    for (int i = 0; i < 5; ++i) {
        Application& a = make();
        ASSERT_TRUE(a.start());
        auto& f = a.frmMain();
        f.SSTab1.setTab(i < 4 ? i : 0);
        const bool running = a.dispatch([&] {
            if (i < 4)
                f.cmdexit(i).userClick();
            else
                f.mnuFileExit.userClick();
        });
        EXPECT_FALSE(running);
        EXPECT_TRUE(a.ended());
        EXPECT_FALSE(f.loaded());
    }
    EXPECT_EQ(host.process().ends(), 5);
}

TEST_F(AppTest, ClosingTheMainWindowEndsTheProgramOnlyWhenNoFormIsLeft) {
    Application& a = make();
    ASSERT_TRUE(a.start());
    a.frmSM().show();
    EXPECT_TRUE(a.dispatch([&] { a.closeForm(a.frmMain()); }));
    EXPECT_FALSE(a.frmMain().loaded());
    EXPECT_FALSE(a.dispatch([&] { a.closeForm(a.frmSM()); }));
    EXPECT_EQ(host.process().ends(), 1);
}

TEST_F(AppTest, AHandlerThatUnloadsTheLastFormEndsTheProgram) {
    Application& a = make();
    ASSERT_TRUE(a.start());
    a.frmSM().Command2.onClick = [&] { a.frmSM().unload(); };
    a.frmSM().show();
    ASSERT_TRUE(a.dispatch([&] { a.closeForm(a.frmMain()); }));
    EXPECT_FALSE(a.dispatch([&] { a.frmSM().Command2.userClick(); }));
    EXPECT_TRUE(a.ended());
}

TEST_F(AppTest, AnUnhandledErrorIsReportedAndTheProgramGoesOn) {
    Application& a = make();
    ASSERT_TRUE(a.start());
    auto& f = a.frmMain();
    f.cmdKELini.onClick = [&] {
        f.lblKELINIerror.setCaption("half done");
        raise(err::kPathNotFound);
    };
    EXPECT_TRUE(a.dispatch([&] { f.cmdKELini.userClick(); }));
    EXPECT_EQ(errors, (std::vector<int>{err::kPathNotFound}));
    EXPECT_EQ(f.lblKELINIerror.caption(), "half done");
    EXPECT_TRUE(a.dispatch([&] { f.cmdClear(0).userClick(); }));
    EXPECT_EQ(f.lblKELINIerror.caption(), "(Check for INI file)");
}

TEST_F(AppTest, AStartUpThatFailsStillShowsTheWindow) {
    // A load that ends in an unhandled error after its steps have run.
    Application& a = make();
    a.frmMain().onLoad = [&] {
        a.Form_Load();
        raise(err::kPathNotFound);
    };
    EXPECT_TRUE(a.start());
    EXPECT_EQ(errors, (std::vector<int>{err::kPathNotFound}));
    EXPECT_TRUE(a.frmMain().visible());
    EXPECT_EQ(a.frmMain().caption(), "Corvid Office Plus - QX Test - Version 7.0.12");
}

TEST_F(AppTest, TheSharedRoutinesPointerReachesTheScreen) {
    Application& a = make();
    ASSERT_TRUE(a.start());
    Runtime rt{host.platform(), a.globals()};
    setScreenMousePointer(rt, forms::kPointerHourglass);
    EXPECT_EQ(a.screen().mousePointer(), forms::kPointerHourglass);
}

}  // namespace
}  // namespace qx::shell
