#include "ui/main_window.h"

#include <QAction>
#include <QCheckBox>
#include <QCloseEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

#include <array>

#include "ui/control_name.h"
#include "ui/widgets.h"

namespace qx::ui {

namespace {

// Design captions; the model overwrites them at start-up where the program sets them.
constexpr const char* kDesignCaption = "Talvik Corvid Office Plus QX Test";
constexpr const char* kExitCaption = "E&xit";

// The tooltips are the program's own, including the ones that describe another test.
constexpr const char* kTipNewFile = "Does the \"new\" file contain the same number of fields (it should).";
constexpr const char* kTipStandardDirs =
    "Reports whether the standard directories were used. Was this a non-standard installation used.";

struct TestRow {
    const char* button;
    const char* caption;
    const char* tip;
    const char* description;  // the label in front of the result
    const char* descriptionText;
    const char* check;  // result check box, or nullptr
    const char* error;  // error label, or nullptr
    const char* errorText;
};

constexpr std::array<TestRow, 10> kTests{{
    {"cmdKELini", "Test 1 (INI File Present)", "Does dap2000.ini exist", "lblKELini",
     "KEL.Ini File Present:", "ckbKELini", "lblKELINIerror", "(Check for INI file)"},
    {"cmdKELDIRPresent", "Test 2 (Application Dir)", "Is data file present?", "lblKELDirPresent",
     "Application Directory Present", "ckbKELAPPPresent", nullptr, nullptr},
    {"cmdKELDATADirPresent", "Test 3 (Data Directory)", "Does databook contain the proper number of fields",
     "lblDataDIR", "Data Directory Present", "ckbDataDir", nullptr, nullptr},
    {"cmdReadWrite", "Test 4 (Read/Write)", kTipNewFile, "lblReadWrite", "Data Read/Write Permissions:",
     "ckbReadWrite", "lblReadWriteError", "Data Directory (Read/Write Check)"},
    {"cmdKELUserDirPresent", "Test 5 (User Directory)", kTipNewFile, "lblUserDIR", "User Directory Present",
     "ckbUserDIR", nullptr, nullptr},
    {"cmdOfficeMDB", "Test 6 (Database)", kTipNewFile, "lblOfficeMDB", "Office.mdb Present:", "ckbOfficeMDB",
     "lblOFFICEMDBerror", "(Check for database)"},
    {"cmdCommentMDB", "Test 7 (Comments)", "Reports the number of records within the database.",
     "lblCommentMDB", "Kelcom.mdb Present:", "ckbCommentMDB", "lblKELCOMerror", "(Check for database)"},
    {"cmdKELRET", "Test 8 (Transfer)", kTipStandardDirs, "lblKELRET", "KELRET.mdb Present:", "ckbKELRET",
     "lblKELRETerror", "(Check for database)"},
    {"cmdWinDIR", "Test 9 (Windows)", kTipStandardDirs, "lblWindowsDIR", "Check Windows Directories", nullptr,
     nullptr, nullptr},
    {"cmdMemory", "Test 10 (Memory)",
     "Reports both the windows and windows system directories for this particular operating system (Win 98, "
     "ME, "
     "2000, XP, etc).",
     "lblMemory", "Check Memory Usage", nullptr, nullptr, nullptr},
}};

struct Criterion {
    const char* role;     // text box "txt" + role, label "lbl" + role
    const char* caption;  // label caption
};

struct Category {
    const char* option;
    const char* frame;
    std::vector<Criterion> criteria;
};

const std::array<Category, 12>& categories() {
    static const std::array<Category, 12> kCategories{{
        {"Property Records",
         "Property Record Search",
         {{"FileNumber", "File Number:"},
          {"Address", "Address:"},
          {"City", "City:"},
          {"State", "State:"},
          {"Zip", "Zip Code:"}}},
        {"Invoice Records",
         "Invoice Record Search",
         {{"FileNumber", "File Number:"}, {"InvoiceDate", "Invoice Date:"}, {"CheckNum", "CheckNum:"}}},
        {"Assigned Appraisals",
         "Assigned Appraisals Search",
         {{"FileNumber", "File Number:"}, {"Appraiser", "Appraiser:"}}},
        {"Client Record", "Client Record Search", {{"Client", "Client:"}}},
        {"Client Contacts",
         "Client Contacts Search",
         {{"Client", "Client:"},
          {"ContactName", "Contact Name:"},
          {"PhoneNum", "Phone #"},
          {"Email", "Contact Email:"}}},
        {"Client Fees", "Client Fees Search", {{"Client", "Client:"}, {"FormType", "Form Type:"}}},
        {"Appraiser Records", "Appraiser Records Search", {{"Appraiser", "Appraiser:"}}},
        {"Appraiser Fees",
         "Appraiser Fees Search",
         {{"Appraiser", "Appraiser:"}, {"FormType", "Form Type:"}}},
        {"Form Types", "Form Types Search", {{"FormType", "Form Type:"}, {"Category", "Category:"}}},
        {"Company Information", "Company Information Search", {}},
        {"Users", "Users Search", {}},
        {"blank", nullptr, {}},
    }};
    return kCategories;
}

// The maintenance buttons in the order they stand on the page, with their array index.
struct FixButton {
    int index;
    const char* caption;
};
constexpr std::array<FixButton, 9> kFixButtons{{
    {7, "Auto-Update Check"},
    {8, "Run the Auto-Update program"},
    {6, "Compress Temp Database"},
    {0, "Data Maintenance"},
    {3, "Clear Temporary Files"},
    {4, "4-Digit Year Check"},
    {2, "Compress Central Database"},
    {1, "Conversion Maintenance"},
    {5, "Database Table Listing"},
}};

// The "Clear" and "Exit" pair at the foot of every page; the array index is the page's tab index.
QHBoxLayout* pageFoot(QWidget* page, int tabIndex, QPushButton* leading = nullptr) {
    auto* foot = new QHBoxLayout;
    if (leading) foot->addWidget(leading);
    foot->addStretch(1);
    foot->addWidget(makeButton(page, "cmdClear", tabIndex, "Clear"));
    foot->addWidget(makeButton(page, "cmdexit", tabIndex, kExitCaption));
    return foot;
}

}  // namespace

MainWindowView::MainWindowView(QWidget* parent) : QMainWindow(parent) {
    setObjectName("frmMain");
    setWindowTitle(kDesignCaption);
    buildMenus();

    tabs_ = new QTabWidget(this);
    tabs_->setObjectName("SSTab1");
    tabs_->addTab(buildSoftwareUtilities(), "Software Utilities");
    tabs_->addTab(buildDatabaseCounts(), "Database Counts");
    tabs_->addTab(buildDatabaseSearch(), "Database Search");
    tabs_->addTab(buildDataMaintenance(), "Data Maintenance");
    tabs_->tabBar()->installEventFilter(this);
    setCentralWidget(tabs_);
    // Wide enough for the longest results of the first page (test 9's directories) beside the lists.
    resize(1024, 640);
}

QAction* MainWindowView::action(const char* objectName) const {
    return findChild<QAction*>(objectName);
}

void MainWindowView::buildMenus() {
    QMenu* file = menuBar()->addMenu("File");
    file->setObjectName("mnuFile");
    QAction* clear = file->addAction("Clear All");
    clear->setObjectName("mnuFileClear");
    QAction* line = file->addSeparator();
    line->setObjectName("mnuFileLine1");
    QAction* exit = file->addAction("Exit");
    exit->setObjectName("mnuFileExit");

    QMenu* setup = menuBar()->addMenu("Setup");
    setup->setObjectName("mnuSetup");
    QAction* security = setup->addAction("Security");
    security->setObjectName("mnuFileSecurity");
    security->setCheckable(true);
}

QWidget* MainWindowView::buildSoftwareUtilities() {
    auto* page = new QWidget;
    auto* outer = new QVBoxLayout(page);
    auto* body = new QHBoxLayout;
    outer->addLayout(body, 1);

    auto* testsFrame = new QGroupBox(page);
    auto* grid = new QGridLayout(testsFrame);
    grid->setHorizontalSpacing(10);
    int row = 0;
    for (const TestRow& t : kTests) {
        grid->addWidget(makeButton(testsFrame, t.button, std::nullopt, t.caption, t.tip), row, 0);
        grid->addWidget(makeLabel(testsFrame, t.description, std::nullopt, t.descriptionText), row, 1);
        if (t.check) grid->addWidget(makeCheck(testsFrame, t.check, std::nullopt, "Passed"), row, 2);
        if (t.error) grid->addWidget(makeLabel(testsFrame, t.error, std::nullopt, t.errorText), row, 3);
        if (std::string_view(t.button) == "cmdWinDIR") {
            // Test 9 reports two directories instead of a pass or fail.
            auto* both = new QVBoxLayout;
            both->addWidget(makeLabel(testsFrame, "lblWindows", std::nullopt, ""));
            both->addWidget(makeLabel(testsFrame, "lblWindowsSYS", std::nullopt, ""));
            grid->addLayout(both, row, 2, 1, 2);
        }
        ++row;
    }
    grid->setColumnStretch(3, 1);
    grid->setRowStretch(row, 1);
    body->addWidget(testsFrame, 3);

    auto* placeFrame = new QGroupBox(page);
    auto* place = new QVBoxLayout(placeFrame);
    QListWidget* folders = makeList(placeFrame, "DIRKEL", std::nullopt);
    QListWidget* files = makeList(placeFrame, "FILSource", std::nullopt);
    // The lists take what the results leave: test 9's system directory is the widest text of the
    // page and must show whole without the window having to grow.
    folders->setMinimumWidth(200);
    files->setMinimumWidth(200);
    place->addWidget(folders, 2);
    place->addWidget(files, 2);
    auto* log = new QPlainTextEdit(placeFrame);
    log->setObjectName("txterrorlog");
    place->addWidget(log, 1);
    body->addWidget(placeFrame, 2);

    outer->addLayout(pageFoot(page, 0, makeButton(page, "cmdTestALL", std::nullopt, "Test All (1-9)")));
    return page;
}

QWidget* MainWindowView::buildDatabaseCounts() {
    auto* page = new QWidget;
    auto* outer = new QVBoxLayout(page);
    auto* body = new QHBoxLayout;
    outer->addLayout(body, 1);

    auto* left = new QVBoxLayout;
    left->addWidget(makeButton(page, "cmdTableListing", std::nullopt, "Refresh Database Listings"));
    left->addWidget(makeList(page, "lstTableListing", std::nullopt), 1);
    left->addWidget(makeLabel(page, "lblDoubleClick", std::nullopt, ""));
    body->addLayout(left, 2);

    auto* right = new QVBoxLayout;
    auto* info = new QGroupBox(page);
    auto* labels = new QGridLayout(info);
    labels->addWidget(makeLabel(info, "lblLocation", std::nullopt, "Location:"), 0, 0, 1, 2);
    labels->addWidget(makeLabel(info, "lblDatabaseName", std::nullopt, "Database:"), 1, 0);
    labels->addWidget(makeLabel(info, "lblTableName", std::nullopt, "Table Name:"), 1, 1);
    labels->addWidget(makeLabel(info, "lblFieldCount", std::nullopt, "Field Count:"), 2, 0);
    labels->addWidget(makeLabel(info, "lblRecordCount", std::nullopt, "Record Count:"), 2, 1);
    labels->addWidget(makeLabel(info, "lblTableCount", std::nullopt, "TableCount:"), 3, 0);
    right->addWidget(info);
    right->addWidget(makeGrid(page, "grdListing"), 1);
    body->addLayout(right, 3);

    outer->addLayout(pageFoot(page, 1));
    return page;
}

QWidget* MainWindowView::buildDatabaseSearch() {
    auto* page = new QWidget;
    auto* outer = new QVBoxLayout(page);
    auto* body = new QHBoxLayout;
    outer->addLayout(body, 1);

    auto* optionsFrame = new QGroupBox(page);
    auto* options = new QVBoxLayout(optionsFrame);
    const auto& cats = categories();
    for (int i = 0; i < static_cast<int>(cats.size()); ++i) {
        QRadioButton* o = makeOption(optionsFrame, "optSearch", i, cats[static_cast<std::size_t>(i)].option);
        options->addWidget(o);
        if (i == 11) o->setVisible(false);  // stands for "nothing selected"; never shown
    }
    options->addStretch(1);
    body->addWidget(optionsFrame);

    auto* right = new QVBoxLayout;
    for (int i = 0; i <= 10; ++i) {
        const Category& c = cats[static_cast<std::size_t>(i)];
        QGroupBox* frame = makeFrame(page, "fraSearch", i, c.frame);
        auto* form = new QGridLayout(frame);
        int r = 0;
        for (const Criterion& k : c.criteria) {
            form->addWidget(makeLabel(frame, std::string("lbl") + k.role, i, k.caption), r, 0);
            form->addWidget(makeText(frame, std::string("txt") + k.role, i), r, 1);
            if (std::string_view(k.role) == "InvoiceDate") {
                auto* pick = new QToolButton(frame);
                pick->setObjectName(q(controlObjectName("imgInvoiceDate", i)));
                pick->setIcon(pick->style()->standardIcon(QStyle::SP_FileDialogDetailedView));
                pick->setAutoRaise(true);
                form->addWidget(pick, r, 2);
            }
            ++r;
        }
        form->setColumnStretch(1, 1);
        frame->setVisible(false);
        right->addWidget(frame);
    }
    auto* counts = new QHBoxLayout;
    counts->addWidget(makeLabel(page, "lblFCount", std::nullopt, "Field Count"));
    counts->addWidget(makeLabel(page, "lblCount", std::nullopt, "Record Count"));
    counts->addStretch(1);
    right->addLayout(counts);
    right->addWidget(makeGrid(page, "grdData"), 1);
    body->addLayout(right, 1);

    outer->addLayout(pageFoot(page, 2));
    return page;
}

QWidget* MainWindowView::buildDataMaintenance() {
    auto* page = new QWidget;
    auto* outer = new QVBoxLayout(page);
    auto* body = new QHBoxLayout;
    outer->addLayout(body, 1);

    auto* optionsFrame = new QGroupBox(page);
    auto* buttons = new QVBoxLayout(optionsFrame);
    for (const FixButton& f : kFixButtons)
        buttons->addWidget(makeButton(optionsFrame, "cmdFix", f.index, f.caption));
    buttons->addStretch(1);
    body->addWidget(optionsFrame);
    body->addWidget(makeList(page, "lstDetails", std::nullopt), 1);

    outer->addLayout(pageFoot(page, 3));
    return page;
}

void MainWindowView::closeEvent(QCloseEvent* event) {
    if (onCloseRequest && !onCloseRequest()) {
        event->ignore();
        return;
    }
    event->accept();
}

bool MainWindowView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == tabs_->tabBar() && event->type() == QEvent::MouseButtonDblClick && onTabStripDoubleClick) {
        onTabStripDoubleClick();
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

}  // namespace qx::ui
