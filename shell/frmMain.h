// frmMain, the tool's main window: a four-page tab strip, the File and Setup menus, and every
// control of the four pages with its design values (captions, tooltips, initial states).
//
// This is the model only: the behaviour of the pages lives with the subsystems that own them
// (diagnostics, dbinspect, search, maintenance) and with the application shell (start-up, tab
// change, Clear All, exit), which fill in the event slots of these controls when they are wired.
//
// Controls are public members named as the program names them; control arrays are ControlArray
// members addressed as cmdClear(0). Pages: 0 "Software Utilities", 1 "Database Counts",
// 2 "Database Search", 3 "Data Maintenance" (Control::page() tells where each control sits).
//
// Form-level state that the handlers of several subsystems share is kept here as plain members.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "shell/form.h"

namespace qx::forms {

class FrmMain final : public Form {
  public:
    explicit FrmMain(FormContext context);

    // Tab pages.
    static constexpr int kPageUtilities = 0;
    static constexpr int kPageCounts = 1;
    static constexpr int kPageSearch = 2;
    static constexpr int kPageMaintenance = 3;

    // Search categories: optSearch(0..10) are categories, optSearch(11) the hidden "blank" one.
    static constexpr int kSearchCategories = 11;
    static constexpr int kBlankSearchOption = 11;

    // ---- Form-level state --------------------------------------------------------------------
    // "grdListing" or "grdData": which grid holds the shared data control ("" before any).
    std::string boundGridName;
    // The table of the selected search category, and that category's index (0..10).
    std::string searchTableName;
    std::int16_t searchCategoryIndex = 0;
    // The database name the search binds ("office.mdb" once a category was chosen).
    std::string searchDatabaseName;

    // ---- Menus -------------------------------------------------------------------------------
    MenuItem& mnuFile = make<MenuItem>("mnuFile");
    MenuItem& mnuFileClear = make<MenuItem>("mnuFileClear");
    MenuItem& mnuFileLine1 = make<MenuItem>("mnuFileLine1");
    MenuItem& mnuFileExit = make<MenuItem>("mnuFileExit");
    MenuItem& mnuSetup = make<MenuItem>("mnuSetup");
    MenuItem& mnuFileSecurity = make<MenuItem>("mnuFileSecurity");

    // ---- Tab strip ---------------------------------------------------------------------------
    TabStrip& SSTab1 = make<TabStrip>("SSTab1");

    // One Clear and one Exit button per page; the index is the page's.
    ControlArray<CommandButton> cmdClear{"cmdClear"};
    ControlArray<CommandButton> cmdexit{"cmdexit"};

    // ---- Page 0: Software Utilities ----------------------------------------------------------
    CommandButton& cmdKELini = make<CommandButton>("cmdKELini");
    CommandButton& cmdKELDIRPresent = make<CommandButton>("cmdKELDIRPresent");
    CommandButton& cmdKELDATADirPresent = make<CommandButton>("cmdKELDATADirPresent");
    CommandButton& cmdReadWrite = make<CommandButton>("cmdReadWrite");
    CommandButton& cmdKELUserDirPresent = make<CommandButton>("cmdKELUserDirPresent");
    CommandButton& cmdOfficeMDB = make<CommandButton>("cmdOfficeMDB");
    CommandButton& cmdCommentMDB = make<CommandButton>("cmdCommentMDB");
    CommandButton& cmdKELRET = make<CommandButton>("cmdKELRET");
    CommandButton& cmdWinDIR = make<CommandButton>("cmdWinDIR");
    CommandButton& cmdMemory = make<CommandButton>("cmdMemory");
    CommandButton& cmdTestALL = make<CommandButton>("cmdTestALL");

    Label& lblKELini = make<Label>("lblKELini");
    Label& lblKELDirPresent = make<Label>("lblKELDirPresent");
    Label& lblDataDIR = make<Label>("lblDataDIR");
    Label& lblReadWrite = make<Label>("lblReadWrite");
    Label& lblUserDIR = make<Label>("lblUserDIR");
    Label& lblOfficeMDB = make<Label>("lblOfficeMDB");
    Label& lblCommentMDB = make<Label>("lblCommentMDB");
    Label& lblKELRET = make<Label>("lblKELRET");
    Label& lblWindowsDIR = make<Label>("lblWindowsDIR");
    Label& lblMemory = make<Label>("lblMemory");

    CheckBox& ckbKELini = make<CheckBox>("ckbKELini");
    CheckBox& ckbKELAPPPresent = make<CheckBox>("ckbKELAPPPresent");
    CheckBox& ckbDataDir = make<CheckBox>("ckbDataDir");
    CheckBox& ckbReadWrite = make<CheckBox>("ckbReadWrite");
    CheckBox& ckbUserDIR = make<CheckBox>("ckbUserDIR");
    CheckBox& ckbOfficeMDB = make<CheckBox>("ckbOfficeMDB");
    CheckBox& ckbCommentMDB = make<CheckBox>("ckbCommentMDB");
    CheckBox& ckbKELRET = make<CheckBox>("ckbKELRET");

    Label& lblKELINIerror = make<Label>("lblKELINIerror");
    Label& lblReadWriteError = make<Label>("lblReadWriteError");
    Label& lblOFFICEMDBerror = make<Label>("lblOFFICEMDBerror");
    Label& lblKELCOMerror = make<Label>("lblKELCOMerror");
    Label& lblKELRETerror = make<Label>("lblKELRETerror");
    Label& lblWindows = make<Label>("lblWindows");
    Label& lblWindowsSYS = make<Label>("lblWindowsSYS");

    DirListBox& DIRKEL = make<DirListBox>("DIRKEL");
    FileListBox& FILSource = make<FileListBox>("FILSource");
    TextBox& txterrorlog = make<TextBox>("txterrorlog");

    // ---- Page 1: Database Counts -------------------------------------------------------------
    CommandButton& cmdTableListing = make<CommandButton>("cmdTableListing");
    ListBox& lstTableListing = make<ListBox>("lstTableListing");
    Grid& grdListing = make<Grid>("grdListing");
    Label& lblLocation = make<Label>("lblLocation");
    Label& lblDatabaseName = make<Label>("lblDatabaseName");
    Label& lblTableName = make<Label>("lblTableName");
    Label& lblFieldCount = make<Label>("lblFieldCount");
    Label& lblRecordCount = make<Label>("lblRecordCount");
    Label& lblTableCount = make<Label>("lblTableCount");
    Label& lblDoubleClick = make<Label>("lblDoubleClick");

    // ---- Page 2: Database Search -------------------------------------------------------------
    ControlArray<OptionButton> optSearch{"optSearch"};  // 0..11
    ControlArray<Frame> fraSearch{"fraSearch"};         // 0..10
    // Criteria text boxes: element i lies in fraSearch(i); each with a label of the same index.
    ControlArray<TextBox> txtFileNumber{"txtFileNumber"};    // 0, 1, 2
    ControlArray<TextBox> txtAddress{"txtAddress"};          // 0
    ControlArray<TextBox> txtCity{"txtCity"};                // 0
    ControlArray<TextBox> txtState{"txtState"};              // 0
    ControlArray<TextBox> txtZip{"txtZip"};                  // 0
    ControlArray<TextBox> txtInvoiceDate{"txtInvoiceDate"};  // 1
    ControlArray<TextBox> txtCheckNum{"txtCheckNum"};        // 1
    ControlArray<TextBox> txtAppraiser{"txtAppraiser"};      // 2, 6, 7
    ControlArray<TextBox> txtClient{"txtClient"};            // 3, 4, 5
    ControlArray<TextBox> txtContactName{"txtContactName"};  // 4
    ControlArray<TextBox> txtEmail{"txtEmail"};              // 4
    ControlArray<TextBox> txtPhoneNum{"txtPhoneNum"};        // 4
    ControlArray<TextBox> txtFormType{"txtFormType"};        // 5, 7, 8
    ControlArray<TextBox> txtCategory{"txtCategory"};        // 8
    ControlArray<Label> lblFileNumber{"lblFileNumber"};
    ControlArray<Label> lblAddress{"lblAddress"};
    ControlArray<Label> lblCity{"lblCity"};
    ControlArray<Label> lblState{"lblState"};
    ControlArray<Label> lblZip{"lblZip"};
    ControlArray<Label> lblInvoiceDate{"lblInvoiceDate"};
    ControlArray<Label> lblCheckNum{"lblCheckNum"};
    ControlArray<Label> lblAppraiser{"lblAppraiser"};
    ControlArray<Label> lblClient{"lblClient"};
    ControlArray<Label> lblContactName{"lblContactName"};
    ControlArray<Label> lblEmail{"lblEmail"};
    ControlArray<Label> lblPhoneNum{"lblPhoneNum"};
    ControlArray<Label> lblFormType{"lblFormType"};
    ControlArray<Label> lblCategory{"lblCategory"};
    ControlArray<Image> imgInvoiceDate{"imgInvoiceDate"};  // 1
    Grid& grdData = make<Grid>("grdData");
    Label& lblCount = make<Label>("lblCount");
    Label& lblFCount = make<Label>("lblFCount");

    // The data control shared by grdListing and grdData. The search subsystem installs its
    // binding object here (DataControl::setBinding); both grids read their rows through it.
    DataControl& adodata = make<DataControl>("adodata");

    // ---- Page 3: Data Maintenance ------------------------------------------------------------
    ControlArray<CommandButton> cmdFix{"cmdFix"};  // 0..8
    ListBox& lstDetails = make<ListBox>("lstDetails");

    // The criteria text boxes of page 2 in the order Clear resets them.
    std::vector<TextBox*> criteriaInResetOrder() const;

  private:
    void designMenus();
    void designPageUtilities();
    void designPageCounts();
    void designPageSearch();
    void designPageMaintenance();
    TextBox& criterion(ControlArray<TextBox>& boxes, ControlArray<Label>& labels, int index,
                       std::string_view labelCaption);
};

}  // namespace qx::forms
