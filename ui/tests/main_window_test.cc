// The main window as a user meets it: start-up with and without the configuration file, the
// caption, Clear All, the page resets, the tab changes and every way out.
#include <QAction>
#include <QCheckBox>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QRadioButton>
#include <QTest>

#include <filesystem>

#include <gtest/gtest.h>

#include "ui/tests/session.h"
#include "ui/widgets.h"

namespace qx::ui::testing {
namespace {

std::string str(const QString& text) {
    return text.toUtf8().toStdString();
}

const std::string kMissingTwoPlaces =
    "KEL.INI configuration file is missing from C:\\APPRAISE\\ (primary location) and C:\\WINDOWS\\ "
    "(secondary "
    "location). DO you wish to coninue? (Program may not function correctly)";
const std::string kMissingOnePlace =
    "KEL.INI configuration file is missing from C:\\WINDOWS\\ . DO you wish to coninue? (Program may not "
    "function correctly)";

std::string expectedCaption(const std::string& suiteName) {
    return suiteName + " - QX Test - Version " + shell::versionText(shell::buildVersion());
}

const char* const kResultBoxes[] = {"ckbKELini",  "ckbKELAPPPresent", "ckbDataDir",    "ckbReadWrite",
                                    "ckbUserDIR", "ckbOfficeMDB",     "ckbCommentMDB", "ckbKELRET"};

void expectPageZeroReset(Session& user) {
    for (const char* name : kResultBoxes) {
        auto* box = user.find<QCheckBox>(name);
        ASSERT_NE(box, nullptr) << name;
        EXPECT_EQ(box->checkState(), Qt::Unchecked) << name;
        EXPECT_EQ(str(box->text()), "Passed") << name;
    }
    EXPECT_EQ(user.text("lblKELINIerror"), "(Check for INI file)");
    EXPECT_EQ(user.text("lblReadWriteError"), "Data Directory (Read/Write Check)");
    EXPECT_EQ(user.text("lblOFFICEMDBerror"), "(Check for database)");
    EXPECT_EQ(user.text("lblKELCOMerror"), "(Check for database)");
    EXPECT_EQ(user.text("lblKELRETerror"), "(Check for database)");
    EXPECT_EQ(user.text("lblWindows"), "");
    EXPECT_EQ(user.text("lblWindowsSYS"), "");
}

TEST(MainWindow, StartsOnTheUtilitiesPageWithTheSuiteNameAndVersionInTheCaption) {
    Session user;
    ASSERT_TRUE(user.start());
    EXPECT_TRUE(user.main().isVisible());
    EXPECT_EQ(str(user.main().windowTitle()), expectedCaption("Corvid Office Plus"));
    EXPECT_TRUE(user.boxes().empty());
    EXPECT_EQ(user.currentTab(), 0);
    expectPageZeroReset(user);
    // The support lock starts closed: the menu item is ticked.
    EXPECT_TRUE(user.main().action("mnuFileSecurity")->isChecked());
}

TEST(MainWindow, CaptionCarriesTheVersionNumbersAsPlainIntegers) {
    Session user;
    user.create(shell::Version{12, 3, 456});
    ASSERT_TRUE(user.start());
    EXPECT_EQ(str(user.main().windowTitle()), "Corvid Office Plus - QX Test - Version 12.3.456");
}

TEST(MainWindow, CaptionUsesTheSuiteNameOfTheConfigurationFile) {
    Session user;
    user.platform().drive().write(
        "APPRAISE\\kel.ini",
        "[directories]\r\nappdir=C:\\KEL\r\ndatadir=C:\\KELDATA\r\nuserdir=C:\\KELUSER\r\n"
        "[PROGRAM ALIAS]\r\nCORVID Office Plus=Talvik Appraisal Office\r\n");
    ASSERT_TRUE(user.start());
    EXPECT_EQ(str(user.main().windowTitle()), expectedCaption("Talvik Appraisal Office"));
}

TEST(MainWindow, MissingConfigurationFileAsksAndYesGoesOnWithTheDefaultName) {
    Session user;
    std::filesystem::remove(user.platform().drive().host("APPRAISE\\kel.ini"));
    user.answer(QMessageBox::Yes);
    ASSERT_TRUE(user.start());
    ASSERT_EQ(user.boxes().size(), 1u);
    EXPECT_EQ(user.boxes()[0].title, "Configuration File Missing");
    EXPECT_EQ(user.boxes()[0].text, kMissingTwoPlaces);
    EXPECT_EQ(user.boxes()[0].buttons, QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
    EXPECT_EQ(user.boxes()[0].icon, QMessageBox::NoIcon);
    EXPECT_TRUE(user.main().isVisible());
    EXPECT_EQ(str(user.main().windowTitle()), expectedCaption("Corvid Office Plus"));
}

TEST(MainWindow, MissingConfigurationFileAnsweredNoEndsBeforeTheWindowOpens) {
    Session user;
    std::filesystem::remove(user.platform().drive().host("APPRAISE\\kel.ini"));
    user.answer(QMessageBox::No);
    EXPECT_FALSE(user.start());
    EXPECT_EQ(user.boxes().size(), 1u);
    EXPECT_FALSE(user.main().isVisible());
    EXPECT_TRUE(user.platform().process().ended());
}

TEST(MainWindow, MissingConfigurationFileAnsweredCancelEndsToo) {
    Session user;
    std::filesystem::remove(user.platform().drive().host("APPRAISE\\kel.ini"));
    user.answer(QMessageBox::Cancel);
    EXPECT_FALSE(user.start());
    EXPECT_FALSE(user.main().isVisible());
    EXPECT_TRUE(user.platform().process().ended());
}

TEST(MainWindow, WithoutTheAppraiseFolderTheQuestionNamesOnePlace) {
    Session user;
    std::filesystem::remove_all(user.platform().drive().host("APPRAISE"));
    user.answer(QMessageBox::Yes);
    ASSERT_TRUE(user.start());
    ASSERT_EQ(user.boxes().size(), 1u);
    EXPECT_EQ(user.boxes()[0].text, kMissingOnePlace);
}

TEST(MainWindow, OnVistaWithoutTheAppraiseFolderTheNoticeComesUpOnceAndStartUpGoesOn) {
    Session user;
    std::filesystem::remove_all(user.platform().drive().host("APPRAISE"));
    user.platform().drive().write(
        "WINDOWS\\kel.ini",
        "[directories]\r\nappdir=C:\\KEL\r\ndatadir=C:\\KELDATA\r\nuserdir=C:\\KELUSER\r\n");
    user.platform().system().setVersion(6, 0, 2, "Service Pack 1");
    user.answer(QMessageBox::Ok);
    ASSERT_TRUE(user.start());
    ASSERT_EQ(user.boxes().size(), 1u);
    EXPECT_EQ(user.boxes()[0].title, "NON-STANDARD INI FILE PLACEMENT");
    EXPECT_EQ(user.boxes()[0].text,
              "Reinstall this program to correct INI placement and avoid potential configuration errors.");
    EXPECT_EQ(user.boxes()[0].buttons, QMessageBox::Ok);
    EXPECT_EQ(user.boxes()[0].icon, QMessageBox::Information);
    EXPECT_TRUE(user.main().isVisible());
    EXPECT_EQ(str(user.main().windowTitle()), expectedCaption("Corvid Office Plus"));
}

TEST(MainWindow, EveryPageHasItsCaptionAndItsClearAndExitButtons) {
    Session user;
    ASSERT_TRUE(user.start());
    QTabWidget* tabs = user.main().tabs();
    ASSERT_EQ(tabs->count(), 4);
    EXPECT_EQ(str(tabs->tabText(0)), "Software Utilities");
    EXPECT_EQ(str(tabs->tabText(1)), "Database Counts");
    EXPECT_EQ(str(tabs->tabText(2)), "Database Search");
    EXPECT_EQ(str(tabs->tabText(3)), "Data Maintenance");
    for (int page = 0; page < 4; ++page) {
        const std::string clear = "cmdClear(" + std::to_string(page) + ")";
        const std::string exit = "cmdexit(" + std::to_string(page) + ")";
        ASSERT_NE(user.widget(clear), nullptr) << clear;
        ASSERT_NE(user.widget(exit), nullptr) << exit;
        EXPECT_EQ(user.text(clear), "Clear");
        EXPECT_EQ(user.text(exit), "E&xit");
        // Each sits on its own page.
        EXPECT_TRUE(tabs->widget(page)->isAncestorOf(user.widget(clear))) << clear;
        EXPECT_TRUE(tabs->widget(page)->isAncestorOf(user.widget(exit))) << exit;
    }
    QMenu* file = user.main().findChild<QMenu*>("mnuFile");
    QMenu* setup = user.main().findChild<QMenu*>("mnuSetup");
    ASSERT_NE(file, nullptr);
    ASSERT_NE(setup, nullptr);
    EXPECT_EQ(str(file->title()), "File");
    EXPECT_EQ(str(setup->title()), "Setup");
    EXPECT_EQ(str(user.main().action("mnuFileClear")->text()), "Clear All");
    EXPECT_TRUE(user.main().action("mnuFileLine1")->isSeparator());
    EXPECT_EQ(str(user.main().action("mnuFileExit")->text()), "Exit");
    EXPECT_EQ(str(user.main().action("mnuFileSecurity")->text()), "Security");
}

TEST(MainWindow, TestButtonsCarryTheirCaptionsAndTooltipsAsTheProgramHasThem) {
    Session user;
    ASSERT_TRUE(user.start());
    const std::string newFile = "Does the \"new\" file contain the same number of fields (it should).";
    const std::string standard =
        "Reports whether the standard directories were used. Was this a non-standard installation used.";
    const struct {
        const char* name;
        const char* caption;
        std::string tip;
    } buttons[] = {
        {"cmdKELini", "Test 1 (INI File Present)", "Does dap2000.ini exist"},
        {"cmdKELDIRPresent", "Test 2 (Application Dir)", "Is data file present?"},
        {"cmdKELDATADirPresent", "Test 3 (Data Directory)",
         "Does databook contain the proper number of fields"},
        {"cmdReadWrite", "Test 4 (Read/Write)", newFile},
        {"cmdKELUserDirPresent", "Test 5 (User Directory)", newFile},
        {"cmdOfficeMDB", "Test 6 (Database)", newFile},
        {"cmdCommentMDB", "Test 7 (Comments)", "Reports the number of records within the database."},
        {"cmdKELRET", "Test 8 (Transfer)", standard},
        {"cmdWinDIR", "Test 9 (Windows)", standard},
        {"cmdMemory", "Test 10 (Memory)",
         "Reports both the windows and windows system directories for this particular operating system (Win "
         "98, "
         "ME, 2000, XP, etc)."},
        {"cmdTestALL", "Test All (1-9)", ""},
    };
    for (const auto& b : buttons) {
        QWidget* w = user.widget(b.name);
        ASSERT_NE(w, nullptr) << b.name;
        EXPECT_EQ(user.text(b.name), b.caption) << b.name;
        EXPECT_EQ(str(w->toolTip()), b.tip) << b.name;
        EXPECT_TRUE(w->isVisible()) << b.name;
    }
    const struct {
        const char* name;
        const char* caption;
    } labels[] = {
        {"lblKELini", "KEL.Ini File Present:"},         {"lblKELDirPresent", "Application Directory Present"},
        {"lblDataDIR", "Data Directory Present"},       {"lblReadWrite", "Data Read/Write Permissions:"},
        {"lblUserDIR", "User Directory Present"},       {"lblOfficeMDB", "Office.mdb Present:"},
        {"lblCommentMDB", "Kelcom.mdb Present:"},       {"lblKELRET", "KELRET.mdb Present:"},
        {"lblWindowsDIR", "Check Windows Directories"}, {"lblMemory", "Check Memory Usage"},
    };
    for (const auto& l : labels) EXPECT_EQ(user.text(l.name), l.caption) << l.name;
}

TEST(MainWindow, CountsSearchAndMaintenancePagesCarryTheirCaptions) {
    Session user;
    ASSERT_TRUE(user.start());
    user.chooseTab(1);
    EXPECT_EQ(user.text("cmdTableListing"), "Refresh Database Listings");
    user.chooseTab(2);
    const char* const options[] = {"Property Records",   "Invoice Records", "Assigned Appraisals",
                                   "Client Record",      "Client Contacts", "Client Fees",
                                   "Appraiser Records",  "Appraiser Fees",  "Form Types",
                                   "Company Information"};
    for (int i = 0; i < 10; ++i) {
        const std::string name = "optSearch(" + std::to_string(i) + ")";
        EXPECT_EQ(user.text(name), options[i]) << name;
        EXPECT_TRUE(user.widget(name)->isVisible()) << name;
    }
    // "Users" is withheld while the support lock is closed; "blank" is never shown.
    EXPECT_EQ(user.text("optSearch(10)"), "Users");
    EXPECT_FALSE(user.widget("optSearch(10)")->isVisible());
    EXPECT_FALSE(user.widget("optSearch(11)")->isVisible());
    EXPECT_EQ(user.text("fraSearch(0)"), "Property Record Search");
    EXPECT_EQ(user.text("lblPhoneNum(4)"), "Phone #");
    EXPECT_EQ(user.text("lblCheckNum(1)"), "CheckNum:");
    user.chooseTab(3);
    const char* const fixes[] = {
        "Data Maintenance",       "Conversion Maintenance", "Compress Central Database",
        "Clear Temporary Files",  "4-Digit Year Check",     "Database Table Listing",
        "Compress Temp Database", "Auto-Update Check",      "Run the Auto-Update program"};
    for (int i = 0; i < 9; ++i) {
        const std::string name = "cmdFix(" + std::to_string(i) + ")";
        EXPECT_EQ(user.text(name), fixes[i]) << name;
    }
}

TEST(MainWindow, PageThreeClearRefillsTheDetailsWithThePrompt) {
    Session user;
    ASSERT_TRUE(user.start());
    user.chooseTab(3);
    auto* details = user.find<QListWidget>("lstDetails");
    ASSERT_NE(details, nullptr);
    // The user marks a line of the prompt; the page's own Clear starts the list afresh.
    QTest::mouseClick(details->viewport(), Qt::LeftButton, Qt::NoModifier,
                      details->visualItemRect(details->item(1)).center());
    EXPECT_EQ(user.app().frmMain().lstDetails.listIndex(), 1);
    user.click("cmdClear(3)");
    EXPECT_EQ(user.items("lstDetails"),
              (std::vector<std::string>{"Please select a maintenance option", "shown to the left."}));
    EXPECT_EQ(details->currentRow(), -1);
    EXPECT_EQ(user.app().frmMain().lstDetails.listIndex(), -1);
}

TEST(MainWindow, ClearAllLeavesTheMaintenancePageAlone) {
    Session user;
    ASSERT_TRUE(user.start());
    user.chooseTab(3);
    auto* details = user.find<QListWidget>("lstDetails");
    ASSERT_NE(details, nullptr);
    QTest::mouseClick(details->viewport(), Qt::LeftButton, Qt::NoModifier,
                      details->visualItemRect(details->item(1)).center());
    ASSERT_EQ(user.app().frmMain().lstDetails.listIndex(), 1);
    user.menu("mnuFileClear");
    // Had page 3 been reset, the list would have been cleared and refilled with no line current.
    EXPECT_EQ(user.app().frmMain().lstDetails.listIndex(), 1);
    EXPECT_EQ(details->currentRow(), 1);
    EXPECT_EQ(user.currentTab(), 3);
}

TEST(MainWindow, ChoosingATabInTheWindowMovesTheModelAndBack) {
    Session user;
    ASSERT_TRUE(user.start());
    user.chooseTab(2);
    EXPECT_EQ(user.app().frmMain().SSTab1.tab(), 2);
    EXPECT_EQ(user.app().frmMain().boundGridName, "grdData");
    EXPECT_TRUE(user.app().frmMain().optSearch(11).value());
    user.chooseTab(1);
    EXPECT_EQ(user.app().frmMain().SSTab1.tab(), 1);
    EXPECT_EQ(user.app().frmMain().boundGridName, "grdListing");
    EXPECT_EQ(user.text("lblTableCount"), "TableCount:");
    user.chooseTab(2);
    EXPECT_EQ(user.app().frmMain().boundGridName, "grdData");
    user.chooseTab(0);
    EXPECT_EQ(user.app().frmMain().SSTab1.tab(), 0);
    EXPECT_EQ(user.currentTab(), 0);
}

TEST(MainWindow, ExitButtonOfEveryPageEndsTheProgram) {
    for (int page = 0; page < 4; ++page) {
        Session user;
        ASSERT_TRUE(user.start());
        if (page != 0) user.chooseTab(page);
        user.click("cmdexit(" + std::to_string(page) + ")");
        EXPECT_TRUE(user.windows().binder().ended()) << "page " << page;
        EXPECT_TRUE(user.platform().process().ended()) << "page " << page;
        EXPECT_FALSE(user.main().isVisible()) << "page " << page;
        EXPECT_TRUE(user.boxes().empty()) << "no confirmation";
    }
}

TEST(MainWindow, FileExitEndsTheProgram) {
    Session user;
    ASSERT_TRUE(user.start());
    user.menu("mnuFileExit");
    EXPECT_TRUE(user.windows().binder().ended());
    EXPECT_TRUE(user.platform().process().ended());
    EXPECT_FALSE(user.main().isVisible());
}

TEST(MainWindow, ClosingTheOnlyWindowWithItsFrameEndsTheProgram) {
    Session user;
    ASSERT_TRUE(user.start());
    user.main().close();
    EXPECT_TRUE(user.windows().binder().ended());
    EXPECT_TRUE(user.platform().process().ended());
    EXPECT_FALSE(user.main().isVisible());
}

// The names of the search options a user can see and tick (the hidden "blank" one excluded).
std::vector<std::string> tickedVisibleSearchOptions(const Session& user) {
    std::vector<std::string> ticked;
    for (int i = 0; i <= 11; ++i) {
        const std::string name = "optSearch(" + std::to_string(i) + ")";
        auto* option = user.find<QRadioButton>(name);
        if (option == nullptr) {
            ADD_FAILURE() << "no widget " << name;
            continue;
        }
        if (!option->isHidden() && option->isChecked()) ticked.push_back(name);
    }
    return ticked;
}

TEST(MainWindow, SearchOptionsShowExactlyTheTickOfTheProgramIncludingNone) {
    Session user;
    ASSERT_TRUE(user.start());
    // The program selects the hidden "blank" option so that no search category is ticked.
    ASSERT_TRUE(user.app().frmMain().optSearch(11).value());
    EXPECT_EQ(tickedVisibleSearchOptions(user), std::vector<std::string>{});
    user.chooseTab(2);
    ASSERT_TRUE(user.app().frmMain().optSearch(11).value());
    EXPECT_EQ(tickedVisibleSearchOptions(user), std::vector<std::string>{});
    for (int i = 0; i <= 11; ++i) {
        const std::string name = "optSearch(" + std::to_string(i) + ")";
        EXPECT_EQ(user.find<QRadioButton>(name)->isChecked(), user.app().frmMain().optSearch(i).value())
            << name;
    }

    user.click("optSearch(3)");
    EXPECT_TRUE(user.app().frmMain().optSearch(3).value());
    EXPECT_EQ(tickedVisibleSearchOptions(user), std::vector<std::string>{"optSearch(3)"});
    // A second click on the ticked option leaves it ticked, as the program has it.
    user.click("optSearch(3)");
    EXPECT_EQ(tickedVisibleSearchOptions(user), std::vector<std::string>{"optSearch(3)"});
    user.click("optSearch(5)");
    EXPECT_EQ(tickedVisibleSearchOptions(user), std::vector<std::string>{"optSearch(5)"});
    // The program may clear the selected option outright, leaving none selected at all, not even the
    // hidden one; the window then shows no tick either (a radio group of its own would keep one).
    ASSERT_TRUE(user.windows().binder().dispatch([&] { user.app().frmMain().optSearch(5).setValue(false); }));
    for (int i = 0; i <= 11; ++i) {
        const std::string name = "optSearch(" + std::to_string(i) + ")";
        EXPECT_FALSE(user.app().frmMain().optSearch(i).value()) << name;
        EXPECT_FALSE(user.find<QRadioButton>(name)->isChecked()) << name;
    }

    user.menu("mnuFileClear");
    EXPECT_TRUE(user.app().frmMain().optSearch(11).value());
    EXPECT_EQ(tickedVisibleSearchOptions(user), std::vector<std::string>{});
    user.chooseTab(2);
    EXPECT_EQ(tickedVisibleSearchOptions(user), std::vector<std::string>{});
}

}  // namespace
}  // namespace qx::ui::testing
