#include "shell/app.h"

#include <utility>

#include "common/modmaster.h"
#include "config/config.h"
#include "shell/data_control.h"

#ifndef QX_VERSION_MAJOR
#error "the build gives the tool's version numbers (QX_VERSION_MAJOR, _MINOR, _REVISION)"
#endif

namespace qx::shell {

namespace {

constexpr const char* kGridListing = "grdListing";
constexpr const char* kGridData = "grdData";

}  // namespace

Version buildVersion() {
    return Version{QX_VERSION_MAJOR, QX_VERSION_MINOR, QX_VERSION_REVISION};
}

std::string versionText(const Version& v) {
    return std::to_string(v.major) + "." + std::to_string(v.minor) + "." + std::to_string(v.revision);
}

Application::Application(platform::Platform& os, Version version, const Wiring& wireSubsystems)
    : os_(os), version_(version) {
    const forms::FormContext context{os_, screen_};
    frmMain_ = std::make_unique<forms::FrmMain>(context);
    frmSM_ = std::make_unique<forms::FrmSM>(context);
    frmDetails_ = std::make_unique<forms::FrmDetails>(context);
    frmGridSecurity_ = std::make_unique<forms::FrmGridSecurity>(context);
    frmDate_ = std::make_unique<forms::FrmDate>(context);
    frmWarning_ = std::make_unique<forms::FrmWarning>(context);
    frmCompress_ = std::make_unique<forms::FrmCompress>(context);
    program_ = std::make_unique<forms::Program>(
        forms::Program{Runtime{os_, globals_}, screen_, *frmMain_, *frmSM_, *frmDetails_, *frmGridSecurity_,
                       *frmDate_, *frmWarning_, *frmCompress_, hooks_});
    // The shared routines set the screen's pointer through the program-wide state.
    globals_.onScreenMousePointer = [this](int pointer) { screen_.setMousePointer(pointer); };
    wireShell();
    hooks_.closeAdoIfOpen = [this](forms::Grid& grid) { CloseADOifOpen(*program_, grid); };
    if (wireSubsystems) wireSubsystems(*program_);
}

Application::~Application() = default;

void Application::wireShell() {
    forms::FrmMain& f = *frmMain_;
    f.onLoad = [this] { Form_Load(); };
    for (const auto& [index, button] : f.cmdClear) button->onClick = [this, i = index] { cmdClear_Click(i); };
    for (const auto& [index, button] : f.cmdexit) button->onClick = [this, i = index] { cmdexit_Click(i); };
    f.mnuFileClear.onClick = [this] { mnuFileClear_Click(); };
    f.mnuFileExit.onClick = [this] { mnuFileExit_Click(); };
    f.SSTab1.onTabClick = [this](int previous) { SSTab1_Click(previous); };
    f.SSTab1.onDblClick = [this] { SSTab1_DblClick(); };
}

bool Application::start() {
    // A start-up that fails with an unhandled error still leaves a window to work with.
    started_ = true;
    dispatch([this] { frmMain_->load(); });
    return dispatch([this] { frmMain_->show(); });
}

bool Application::dispatch(const std::function<void()>& event) {
    if (ended_) return false;
    try {
        event();
    } catch (const RuntimeError& error) {
        if (onUnhandledError) onUnhandledError(error);
    } catch (const ProgramEnd&) {
        ended_ = true;
    }
    // The process lives as long as one of its forms is loaded: whichever handler unloads the last
    // one ends it.
    if (!ended_ && started_ && screen_.loadedForms().empty()) {
        ended_ = true;
        try {
            os_.process.end();
        } catch (const ProgramEnd&) {
        }
    }
    return !ended_;
}

void Application::closeForm(forms::Form& form) {
    form.unload();
}

// ---- Start-up ---------------------------------------------------------------------------------

void Application::Form_Load() {
    Runtime rt{os_, globals_};
    globals_.iniDirectory = IniDirectory(rt);
    // The Windows directory that finding the INI folder asked for is kept program-wide with its
    // backslash: the tests of the first page show and probe it.
    if (globals_.windowsDirectory.empty()) globals_.windowsDirectory = GetWinDir(rt);
    globals_.systemDirectory = GetSysDir(rt);
    globals_.configFilePath = LocateConfigFile(rt, "kel.ini", false);

    // Each directory gains its one trailing backslash here; the tests and listings rely on it.
    std::string* const targets[] = {&globals_.appDir, &globals_.dataDir, &globals_.userDir};
    const char* const keys[] = {"appdir", "datadir", "userdir"};
    for (int i = 0; i < 3; ++i) {
        std::string value = ReadIniString(rt, globals_.configFilePath, "directories", keys[i], "");
        *targets[i] = CkRSlash(rt, value);
    }

    captionRoutine();
    frmMain_->setCaption(globals_.toolTitle + " - Version " + versionText(version_));

    globals_.usersTableLocked = kVbTrue;
    globals_.rememberedUnlockCode.clear();

    mnuFileClear_Click();
}

void Application::captionRoutine() {
    Runtime rt{os_, globals_};
    globals_.captionBase = ReadIniString(rt, globals_.configFilePath, "PROGRAM ALIAS", "CORVID Office Plus",
                                         "Corvid Office Plus");
    globals_.toolTitle = globals_.captionBase + " - QX Test";
}

// ---- Page resets ------------------------------------------------------------------------------

void Application::closeAdoIfOpen(forms::Grid& grid) {
    if (hooks_.closeAdoIfOpen) hooks_.closeAdoIfOpen(grid);
}

void Application::resetCountsLabels() {
    forms::FrmMain& f = *frmMain_;
    f.lblLocation.setCaption("Location:");
    f.lblDatabaseName.setCaption("Database:");
    f.lblTableName.setCaption("Table Name:");
    f.lblFieldCount.setCaption("Field Count:");
    f.lblRecordCount.setCaption("Record Count:");
    f.lblTableCount.setCaption("TableCount:");
}

void Application::cmdClear_Click(int index) {
    forms::FrmMain& f = *frmMain_;
    switch (index) {
        case forms::FrmMain::kPageUtilities: {
            struct Result {
                forms::CheckBox& box;
                forms::Label* label;
                const char* text;
            };
            const Result results[] = {
                {f.ckbKELini, &f.lblKELINIerror, "(Check for INI file)"},
                {f.ckbKELAPPPresent, nullptr, nullptr},
                {f.ckbDataDir, nullptr, nullptr},
                {f.ckbReadWrite, &f.lblReadWriteError, "Data Directory (Read/Write Check)"},
                {f.ckbUserDIR, nullptr, nullptr},
                {f.ckbOfficeMDB, &f.lblOFFICEMDBerror, "(Check for database)"},
                {f.ckbCommentMDB, &f.lblKELCOMerror, "(Check for database)"},
                {f.ckbKELRET, &f.lblKELRETerror, "(Check for database)"},
            };
            for (const Result& r : results) {
                r.box.setValue(0);
                r.box.setCaption("Passed");
                if (r.label != nullptr) r.label->setCaption(r.text);
            }
            f.lblWindows.setCaption("");
            f.lblWindowsSYS.setCaption("");
            f.DIRKEL.setPath(globals_.iniDirectory);
            f.FILSource.setPattern("*.*");
            break;
        }
        case forms::FrmMain::kPageCounts:
            if (f.boundGridName == kGridListing) closeAdoIfOpen(f.grdListing);
            f.lstTableListing.clear();
            f.lstTableListing.setAppearance(0);
            f.lstTableListing.setBackColor(forms::kColorButtonFace);
            f.lstTableListing.setHeight(2670);
            resetCountsLabels();
            break;
        case forms::FrmMain::kPageSearch:
            f.lblCount.setCaption("Record Count:");
            f.lblFCount.setCaption("Field Count:");
            if (f.boundGridName == kGridData) closeAdoIfOpen(f.grdData);
            for (forms::TextBox* box : f.criteriaInResetOrder()) box->setText("");
            f.optSearch(forms::FrmMain::kBlankSearchOption).setValue(true);
            break;
        case forms::FrmMain::kPageMaintenance:
            f.lstDetails.clear();
            f.lstDetails.addItem("Please select a maintenance option");
            f.lstDetails.addItem("shown to the left.");
            break;
        default:
            break;
    }
}

void Application::mnuFileClear_Click() {
    // Page 3 keeps its report: only its own Clear button empties it.
    cmdClear_Click(0);
    cmdClear_Click(1);
    cmdClear_Click(2);
}

// ---- Tab change -------------------------------------------------------------------------------

void Application::runTableListing() {
    // The listing is the page's button handler, run as a procedure call (the button is not pressed).
    if (frmMain_->cmdTableListing.onClick) frmMain_->cmdTableListing.onClick();
}

void Application::SSTab1_Click(int /*previousTab*/) {
    forms::FrmMain& f = *frmMain_;
    switch (f.SSTab1.tab()) {
        case forms::FrmMain::kPageCounts:
            if (f.boundGridName == kGridData) closeAdoIfOpen(f.grdData);
            f.boundGridName = kGridListing;
            f.grdListing.rebind();
            if (f.lstTableListing.listCount() > 0) f.lstTableListing.setFocus();
            resetCountsLabels();
            runTableListing();
            break;
        case forms::FrmMain::kPageSearch:
            if (f.boundGridName == kGridListing) closeAdoIfOpen(f.grdListing);
            f.boundGridName = kGridData;
            f.grdData.rebind();
            f.optSearch(forms::FrmMain::kBlankSearchOption).setValue(true);
            cmdClear_Click(2);
            break;
        default:
            break;
    }
}

void Application::SSTab1_DblClick() {
    cmdClear_Click(0);
    cmdClear_Click(1);
    cmdClear_Click(2);
}

// ---- Exit -------------------------------------------------------------------------------------

void Application::cmdexit_Click(int /*index*/) {
    frmMain_->unload();
    os_.process.end();
}

void Application::mnuFileExit_Click() {
    cmdexit_Click(1);
}

}  // namespace qx::shell
