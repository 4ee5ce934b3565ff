// The forms' design values (captions, tooltips, arrays) and their lifecycle: load, show, modal
// display, unload back to the design state.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/errors.h"
#include "platform/testing/test_drive.h"
#include "shell/frmCompress.h"
#include "shell/frmDate.h"
#include "shell/frmDetails.h"
#include "shell/frmGridSecurity.h"
#include "shell/frmMain.h"
#include "shell/frmSM.h"
#include "shell/frmWarning.h"

namespace qx::forms {
namespace {

std::size_t characters(std::string_view utf8) {
    std::size_t n = 0;
    for (char c : utf8)
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++n;
    return n;
}

class FormsTest : public ::testing::Test {
  protected:
    FormsTest() : host(QX_SHARED_DIR, true), context{host.platform(), screen} {}
    testing::TestPlatform host;
    Screen screen;
    FormContext context;
};

TEST_F(FormsTest, MainFormDesignCaptionAndPages) {
    FrmMain main(context);
    EXPECT_EQ(main.caption(), "Talvik Corvid Office Plus QX Test");
    ASSERT_EQ(main.SSTab1.tabCount(), 4);
    EXPECT_EQ(main.SSTab1.tabCaption(0), "Software Utilities");
    EXPECT_EQ(main.SSTab1.tabCaption(1), "Database Counts");
    EXPECT_EQ(main.SSTab1.tabCaption(2), "Database Search");
    EXPECT_EQ(main.SSTab1.tabCaption(3), "Data Maintenance");
    EXPECT_EQ(main.SSTab1.tab(), 0);
    for (int page = 0; page < 4; ++page) {
        EXPECT_EQ(main.cmdClear(page).caption(), "Clear");
        EXPECT_EQ(main.cmdClear(page).page(), page);
        EXPECT_EQ(main.cmdexit(page).caption(), "E&xit");
        EXPECT_EQ(main.cmdexit(page).page(), page);
    }
}

TEST_F(FormsTest, MainFormMenus) {
    FrmMain main(context);
    EXPECT_EQ(main.mnuFile.caption(), "File");
    EXPECT_EQ(main.mnuFileClear.caption(), "Clear All");
    EXPECT_TRUE(main.mnuFileLine1.isSeparator());
    EXPECT_EQ(main.mnuFileExit.caption(), "Exit");
    EXPECT_EQ(main.mnuSetup.caption(), "Setup");
    EXPECT_EQ(main.mnuFileSecurity.caption(), "Security");
    EXPECT_TRUE(main.mnuFileSecurity.checked());
    EXPECT_EQ(main.mnuFileSecurity.parentMenu(), &main.mnuSetup);
    EXPECT_EQ(main.mnuFileExit.parentMenu(), &main.mnuFile);
}

TEST_F(FormsTest, TestButtonsKeepTheirOddTooltips) {
    FrmMain main(context);
    const std::string fields = "Does the \"new\" file contain the same number of fields (it should).";
    const std::string dirs =
        "Reports whether the standard directories were used. Was this a non-standard installation used.";
    struct Row {
        CommandButton& button;
        std::string caption, tip;
    };
    const std::vector<Row> rows = {
        {main.cmdKELini, "Test 1 (INI File Present)", "Does dap2000.ini exist"},
        {main.cmdKELDIRPresent, "Test 2 (Application Dir)", "Is data file present?"},
        {main.cmdKELDATADirPresent, "Test 3 (Data Directory)",
         "Does databook contain the proper number of fields"},
        {main.cmdReadWrite, "Test 4 (Read/Write)", fields},
        {main.cmdKELUserDirPresent, "Test 5 (User Directory)", fields},
        {main.cmdOfficeMDB, "Test 6 (Database)", fields},
        {main.cmdCommentMDB, "Test 7 (Comments)", "Reports the number of records within the database."},
        {main.cmdKELRET, "Test 8 (Transfer)", dirs},
        {main.cmdWinDIR, "Test 9 (Windows)", dirs},
        {main.cmdMemory, "Test 10 (Memory)",
         "Reports both the windows and windows system directories for this particular operating system "
         "(Win 98, ME, 2000, XP, etc)."},
        {main.cmdTestALL, "Test All (1-9)", ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.button.caption(), row.caption);
        EXPECT_EQ(row.button.toolTipText(), row.tip) << row.button.name();
        EXPECT_EQ(row.button.page(), 0);
    }
}

TEST_F(FormsTest, ResultBoxesAndLabelsOfPageZero) {
    FrmMain main(context);
    for (CheckBox* box : {&main.ckbKELini, &main.ckbKELAPPPresent, &main.ckbDataDir, &main.ckbReadWrite,
                          &main.ckbUserDIR, &main.ckbOfficeMDB, &main.ckbCommentMDB, &main.ckbKELRET}) {
        EXPECT_EQ(box->caption(), "Passed");
        EXPECT_EQ(box->value(), 0);
    }
    EXPECT_EQ(main.lblKELINIerror.caption(), "(Check for INI file)");
    EXPECT_EQ(main.lblReadWriteError.caption(), "Data Directory (Read/Write Check)");
    EXPECT_EQ(main.lblOFFICEMDBerror.caption(), "(Check for database)");
    EXPECT_EQ(main.lblKELini.caption(), "KEL.Ini File Present:");
    EXPECT_EQ(main.lblKELRET.caption(), "KELRET.mdb Present:");
    EXPECT_EQ(main.lblWindows.caption(), "");
    EXPECT_EQ(main.FILSource.pattern(), "*.*");
}

TEST_F(FormsTest, PageOneLabelsAndList) {
    FrmMain main(context);
    EXPECT_EQ(main.cmdTableListing.caption(), "Refresh Database Listings");
    EXPECT_EQ(main.lblTableCount.caption(), "TableCount:");
    EXPECT_EQ(main.lblFieldCount.caption(), "Field Count:");
    EXPECT_EQ(main.lstTableListing.appearance(), 0);
    EXPECT_EQ(main.lstTableListing.backColor(), kColorButtonFace);
    EXPECT_EQ(main.lstTableListing.height(), 2670);
    EXPECT_EQ(main.grdListing.dataSource(), &main.adodata);
}

TEST_F(FormsTest, SearchOptionsFramesAndCriteriaAtTheirIndexes) {
    FrmMain main(context);
    ASSERT_EQ(main.optSearch.size(), 12u);
    ASSERT_EQ(main.fraSearch.size(), 11u);
    EXPECT_EQ(main.optSearch(0).caption(), "Property Records");
    EXPECT_EQ(main.optSearch(3).caption(), "Client Record");
    EXPECT_EQ(main.optSearch(11).caption(), "blank");
    EXPECT_FALSE(main.optSearch(11).visible());
    EXPECT_FALSE(main.optSearch(10).visible());
    EXPECT_TRUE(main.optSearch(9).visible());
    EXPECT_EQ(main.fraSearch(1).caption(), "Invoice Record Search");
    EXPECT_EQ(main.fraSearch(10).caption(), "Users Search");
    EXPECT_EQ(main.txtFileNumber.indexes(), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(main.txtAppraiser.indexes(), (std::vector<int>{2, 6, 7}));
    EXPECT_EQ(main.txtClient.indexes(), (std::vector<int>{3, 4, 5}));
    EXPECT_EQ(main.txtFormType.indexes(), (std::vector<int>{5, 7, 8}));
    EXPECT_EQ(main.txtCategory.indexes(), (std::vector<int>{8}));
    EXPECT_EQ(main.txtPhoneNum(4).container(), &main.fraSearch(4));
    EXPECT_EQ(main.lblPhoneNum(4).caption(), "Phone #");
    EXPECT_EQ(main.lblCheckNum(1).caption(), "CheckNum:");
    EXPECT_EQ(main.imgInvoiceDate(1).container(), &main.fraSearch(1));
    EXPECT_EQ(main.lblCount.caption(), "Record Count");
    EXPECT_EQ(main.lblFCount.caption(), "Field Count");
    EXPECT_EQ(main.criteriaInResetOrder().size(), 22u);
    EXPECT_EQ(main.criteriaInResetOrder().front(), &main.txtAddress(0));
    EXPECT_EQ(main.criteriaInResetOrder().back(), &main.txtZip(0));
}

TEST_F(FormsTest, SearchOptionsFormOneGroup) {
    FrmMain main(context);
    main.optSearch(3).setValue(true);
    main.optSearch(11).setValue(true);
    EXPECT_FALSE(main.optSearch(3).value());
}

TEST_F(FormsTest, MaintenanceButtonsAndPromptLines) {
    FrmMain main(context);
    ASSERT_EQ(main.cmdFix.size(), 9u);
    EXPECT_EQ(main.cmdFix(2).caption(), "Compress Central Database");
    EXPECT_EQ(main.cmdFix(6).caption(), "Compress Temp Database");
    EXPECT_EQ(main.cmdFix(8).caption(), "Run the Auto-Update program");
    EXPECT_EQ(main.lstDetails.items(),
              (std::vector<std::string>{"Please select a maintenance option", "shown to the left."}));
}

TEST_F(FormsTest, SmallFormsDesignValues) {
    FrmSM sm(context);
    EXPECT_EQ(sm.caption(), "Free Memory");
    EXPECT_EQ(sm.lblPhysUsed.caption(), "Free Physical Memory:");
    EXPECT_EQ(sm.Timer1.interval(), 3000);
    EXPECT_EQ(sm.Command2.caption(), "Quit");
    FrmDetails details(context);
    EXPECT_EQ(details.caption(), "Memory Status");
    EXPECT_EQ(details.Command1.caption(), "OK");
    FrmGridSecurity security(context);
    EXPECT_EQ(security.caption(), "Database Grid - Security");
    EXPECT_EQ(security.lblPassword2.caption(), "(8-digit numeric)");
    FrmDate date(context);
    EXPECT_EQ(date.caption(), "Invoice Date Selection");
    FrmCompress compress(context);
    EXPECT_EQ(compress.filDatabases.pattern(), "*.mdb");
    EXPECT_EQ(compress.lstdatabases.multiSelect(), 1);
}

TEST_F(FormsTest, WarningTextIsTheFull709Characters) {
    FrmWarning warning(context);
    EXPECT_EQ(warning.caption(), "Backup Declaration");
    EXPECT_EQ(characters(warning.lblMessage.caption()), 709u);
    EXPECT_NE(warning.lblMessage.caption().find("Repair.   This process is irreversable.    On"),
              std::string::npos);
    EXPECT_EQ(warning.lblMessage.caption().back(), ' ');
}

TEST_F(FormsTest, LoadRaisesLoadOnceAndUnloadReturnsToDesign) {
    FrmGridSecurity form(context);
    int loads = 0, unloads = 0;
    form.onLoad = [&] { ++loads; };
    form.onUnload = [&] { ++unloads; };
    form.load();
    form.show();
    EXPECT_EQ(loads, 1);
    form.lblPassword.setCaption("Invalid Unlock Code");
    form.txtPassword.setText("1234");
    form.setCaption("changed");
    form.unload();
    EXPECT_EQ(unloads, 1);
    EXPECT_FALSE(form.loaded());
    EXPECT_FALSE(form.visible());
    EXPECT_EQ(form.lblPassword.caption(), "Please Enter Unlock Code");
    EXPECT_EQ(form.txtPassword.text(), "");
    EXPECT_EQ(form.caption(), "Database Grid - Security");
    form.unload();
    EXPECT_EQ(unloads, 1);
}

TEST_F(FormsTest, ModalFormBlocksOthersUntilItGoes) {
    FrmMain main(context);
    FrmWarning warning(context);
    FrmSM sm(context);
    main.show();
    EXPECT_TRUE(screen.acceptsInput(main));
    warning.show(true);
    EXPECT_TRUE(warning.modal());
    EXPECT_EQ(screen.activeModal(), &warning);
    EXPECT_FALSE(screen.acceptsInput(main));
    EXPECT_TRUE(screen.acceptsInput(warning));
    try {
        sm.show(false);
        ADD_FAILURE() << "a modeless form was shown over a modal one";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kErrCantShowNonModal);
    }
    warning.unload();
    EXPECT_EQ(screen.activeModal(), nullptr);
    EXPECT_TRUE(screen.acceptsInput(main));
}

TEST_F(FormsTest, ScreenFindsFormsByName) {
    FrmMain main(context);
    FrmDate date(context);
    EXPECT_EQ(screen.findForm("frmDate"), &date);
    EXPECT_EQ(screen.findForm("frmNone"), nullptr);
    date.show();
    EXPECT_EQ(screen.loadedForms(), (std::vector<Form*>{&date}));
}

TEST_F(FormsTest, MousePointersAreObservableState) {
    FrmMain main(context);
    int notices = 0;
    screen.changed.connect([&] { ++notices; });
    screen.setMousePointer(kPointerHourglass);
    main.setMousePointer(kPointerHourglass);
    EXPECT_EQ(screen.mousePointer(), 11);
    EXPECT_EQ(main.mousePointer(), 11);
    EXPECT_EQ(notices, 1);
}

TEST_F(FormsTest, FolderListsStartAtTheCurrentFolderWhenTheFormLoads) {
    FrmMain main(context);
    main.load();
    EXPECT_EQ(main.DIRKEL.dirPath(), host.platform().fs.currentFolder(host.platform().fs.currentDrive()));
    EXPECT_FALSE(main.DIRKEL.items().empty());
}

}  // namespace
}  // namespace qx::forms
