#include "shell/frmMain.h"

#include <algorithm>
#include <vector>

#include "shell/search_categories.h"

namespace qx::forms {

namespace {

// Several of the test buttons' tips describe another test or another program; the window has
// always shown them so and support staff know them by these words.
constexpr const char* kTipFieldsNew = "Does the \"new\" file contain the same number of fields (it should).";
constexpr const char* kTipStandardDirs =
    "Reports whether the standard directories were used. Was this a non-standard installation used.";

void onPage(Control& control, int page) {
    control.setPage(page);
}

}  // namespace

FrmMain::FrmMain(FormContext context) : Form(context, "frmMain") {
    setCaption("Talvik Corvid Office Plus QX Test");
    designMenus();

    SSTab1.addTab("Software Utilities");
    SSTab1.addTab("Database Counts");
    SSTab1.addTab("Database Search");
    SSTab1.addTab("Data Maintenance");

    for (int page = 0; page < 4; ++page) {
        CommandButton& clear = member(cmdClear, page);
        clear.setCaption("Clear");
        clear.setPage(page);
        CommandButton& exit = member(cmdexit, page);
        exit.setCaption("E&xit");
        exit.setPage(page);
    }

    designPageUtilities();
    designPageCounts();
    designPageSearch();
    designPageMaintenance();

    adodata.setVisible(false);
    grdListing.setDataSource(&adodata);
    grdData.setDataSource(&adodata);

    captureDesign();
}

void FrmMain::designMenus() {
    mnuFile.setCaption("File");
    mnuFileClear.setCaption("Clear All");
    mnuFileLine1.setCaption("-");
    mnuFileExit.setCaption("Exit");
    mnuSetup.setCaption("Setup");
    mnuFileSecurity.setCaption("Security");
    mnuFileClear.setParentMenu(&mnuFile);
    mnuFileLine1.setParentMenu(&mnuFile);
    mnuFileExit.setParentMenu(&mnuFile);
    mnuFileSecurity.setParentMenu(&mnuSetup);
    // Checked means the support lock is closed, which it is whenever the program starts.
    mnuFileSecurity.setChecked(true);
}

void FrmMain::designPageUtilities() {
    struct Test {
        CommandButton& button;
        const char* caption;
        const char* tip;
    };
    const Test tests[] = {
        {cmdKELini, "Test 1 (INI File Present)", "Does dap2000.ini exist"},
        {cmdKELDIRPresent, "Test 2 (Application Dir)", "Is data file present?"},
        {cmdKELDATADirPresent, "Test 3 (Data Directory)",
         "Does databook contain the proper number of fields"},
        {cmdReadWrite, "Test 4 (Read/Write)", kTipFieldsNew},
        {cmdKELUserDirPresent, "Test 5 (User Directory)", kTipFieldsNew},
        {cmdOfficeMDB, "Test 6 (Database)", kTipFieldsNew},
        {cmdCommentMDB, "Test 7 (Comments)", "Reports the number of records within the database."},
        {cmdKELRET, "Test 8 (Transfer)", kTipStandardDirs},
        {cmdWinDIR, "Test 9 (Windows)", kTipStandardDirs},
        {cmdMemory, "Test 10 (Memory)",
         "Reports both the windows and windows system directories for this particular operating system "
         "(Win 98, ME, 2000, XP, etc)."},
        {cmdTestALL, "Test All (1-9)", ""},
    };
    for (const Test& test : tests) {
        test.button.setCaption(test.caption);
        test.button.setToolTipText(test.tip);
        onPage(test.button, kPageUtilities);
    }

    struct Caption {
        Label& label;
        const char* caption;
    };
    const Caption labels[] = {
        {lblKELini, "KEL.Ini File Present:"},
        {lblKELDirPresent, "Application Directory Present"},
        {lblDataDIR, "Data Directory Present"},
        {lblReadWrite, "Data Read/Write Permissions:"},
        {lblUserDIR, "User Directory Present"},
        {lblOfficeMDB, "Office.mdb Present:"},
        {lblCommentMDB, "Kelcom.mdb Present:"},
        {lblKELRET, "KELRET.mdb Present:"},
        {lblWindowsDIR, "Check Windows Directories"},
        {lblMemory, "Check Memory Usage"},
        {lblKELINIerror, "(Check for INI file)"},
        {lblReadWriteError, "Data Directory (Read/Write Check)"},
        {lblOFFICEMDBerror, "(Check for database)"},
        {lblKELCOMerror, "(Check for database)"},
        {lblKELRETerror, "(Check for database)"},
        {lblWindows, ""},
        {lblWindowsSYS, ""},
    };
    for (const Caption& label : labels) {
        label.label.setCaption(label.caption);
        onPage(label.label, kPageUtilities);
    }

    for (CheckBox* box : {&ckbKELini, &ckbKELAPPPresent, &ckbDataDir, &ckbReadWrite, &ckbUserDIR,
                          &ckbOfficeMDB, &ckbCommentMDB, &ckbKELRET}) {
        box->setCaption("Passed");
        onPage(*box, kPageUtilities);
    }

    onPage(DIRKEL, kPageUtilities);
    onPage(FILSource, kPageUtilities);
    onPage(txterrorlog, kPageUtilities);
}

void FrmMain::designPageCounts() {
    cmdTableListing.setCaption("Refresh Database Listings");
    onPage(cmdTableListing, kPageCounts);

    // The list starts flat on the button face until the first listing gives it its 3-D look.
    lstTableListing.setAppearance(0);
    lstTableListing.setBackColor(kColorButtonFace);
    lstTableListing.setHeight(2670);
    onPage(lstTableListing, kPageCounts);
    onPage(grdListing, kPageCounts);

    lblLocation.setCaption("Location:");
    lblDatabaseName.setCaption("Database:");
    lblTableName.setCaption("Table Name:");
    lblFieldCount.setCaption("Field Count:");
    lblRecordCount.setCaption("Record Count:");
    lblTableCount.setCaption("TableCount:");
    lblDoubleClick.setCaption("Double-click a table (or press a key) to view it");
    for (Label* label : {&lblLocation, &lblDatabaseName, &lblTableName, &lblFieldCount, &lblRecordCount,
                         &lblTableCount, &lblDoubleClick})
        onPage(*label, kPageCounts);
}

TextBox& FrmMain::criterion(ControlArray<TextBox>& boxes, ControlArray<Label>& labels, int index,
                            std::string_view labelCaption) {
    Frame& frame = fraSearch(index);
    Label& label = member(labels, index);
    label.setCaption(std::string(labelCaption));
    label.setPage(kPageSearch);
    label.setContainer(&frame);
    TextBox& box = member(boxes, index);
    box.setPage(kPageSearch);
    box.setContainer(&frame);
    return box;
}

void FrmMain::designPageSearch() {
    const auto& categories = searchCategories();
    std::vector<OptionButton*> group;
    for (int i = 0; i < kSearchCategories; ++i) {
        OptionButton& option = member(optSearch, i);
        option.setCaption(std::string(categories[static_cast<std::size_t>(i)].option));
        option.setPage(kPageSearch);
        group.push_back(&option);
        Frame& frame = member(fraSearch, i);
        frame.setCaption(std::string(categories[static_cast<std::size_t>(i)].frame));
        frame.setPage(kPageSearch);
        frame.setVisible(false);
    }
    // The blank option stands for "no category" and is never shown.
    OptionButton& blank = member(optSearch, kBlankSearchOption);
    blank.setCaption("blank");
    blank.setPage(kPageSearch);
    blank.setVisible(false);
    group.push_back(&blank);
    groupOptions(group);
    // The Users category appears only while the support lock is open.
    optSearch(10).setVisible(false);

    // Criteria, frame by frame, from the top of each frame.
    for (int i = 0; i < kSearchCategories; ++i) {
        std::vector<const SearchCriterion*> shown;
        for (const auto& c : categories[static_cast<std::size_t>(i)].criteria) shown.push_back(&c);
        std::sort(shown.begin(), shown.end(), [](const auto* a, const auto* b) { return a->row < b->row; });
        for (const SearchCriterion* c : shown) {
            criterion(this->*c->box, this->*c->label, i, c->caption);
            if (c->datePicker) {
                Image& picker = member(imgInvoiceDate, i);
                picker.setPage(kPageSearch);
                picker.setContainer(&fraSearch(i));
            }
        }
    }

    onPage(grdData, kPageSearch);
    lblCount.setCaption("Record Count");
    lblFCount.setCaption("Field Count");
    onPage(lblCount, kPageSearch);
    onPage(lblFCount, kPageSearch);
}

void FrmMain::designPageMaintenance() {
    const char* captions[] = {
        "Data Maintenance",       "Conversion Maintenance", "Compress Central Database",
        "Clear Temporary Files",  "4-Digit Year Check",     "Database Table Listing",
        "Compress Temp Database", "Auto-Update Check",      "Run the Auto-Update program",
    };
    for (int i = 0; i < 9; ++i) {
        CommandButton& button = member(cmdFix, i);
        button.setCaption(captions[i]);
        button.setPage(kPageMaintenance);
    }
    lstDetails.addItem("Please select a maintenance option");
    lstDetails.addItem("shown to the left.");
    onPage(lstDetails, kPageMaintenance);
}

std::vector<TextBox*> FrmMain::criteriaInResetOrder() const {
    return {&txtAddress(0),     &txtAppraiser(2), &txtAppraiser(6),  &txtAppraiser(7),   &txtCategory(8),
            &txtCheckNum(1),    &txtCity(0),      &txtClient(3),     &txtClient(4),      &txtClient(5),
            &txtContactName(4), &txtEmail(4),     &txtFileNumber(0), &txtFileNumber(1),  &txtFileNumber(2),
            &txtFormType(5),    &txtFormType(7),  &txtFormType(8),   &txtInvoiceDate(1), &txtPhoneNum(4),
            &txtState(0),       &txtZip(0)};
}

}  // namespace qx::forms
