#include "maintenance/options.h"

#include <string>

#include "common/trap.h"
#include "common/vb.h"
#include "maintenance/engine.h"
#include "maintenance/texts.h"
#include "platform/errors.h"
#include "shell/frmCompress.h"
#include "shell/frmMain.h"
#include "shell/frmWarning.h"

namespace qx::maintenance {

namespace {

// DAO's dbSystemObject: a table with any of these bits is the engine's, not the suite's.
constexpr std::uint32_t kSystemObjectBits = 0x80000002u;

void clearTemporaryFiles(forms::Program& p) {
    forms::ListBox& list = p.frmMain.lstDetails;
    list.addItem(std::string(text::kCleanupLine1));
    list.addItem(std::string(text::kCleanupLine2));
    list.addItem(std::string(text::kCleanupLine3));
    // The user directory is joined as it stands: after a test that stripped its "\" the name
    // runs on into the folder's (C:\KELUSERreport.mdb), and the drops find nothing.
    const std::string database = p.rt.g.userDir + std::string(text::kReportDatabase);
    for (std::string_view table : text::kTemporaryTables) DropTheTable(p, database, table);
}

void yearCheck(forms::Program& p) {
    forms::ListBox& list = p.frmMain.lstDetails;
    list.addItem(std::string(text::kYearCurrentTime));
    list.addItem(vb::GeneralDate(p.rt.os.clock.now()));
    list.addItem("");
    for (std::string_view line : text::kYearAdvice) list.addItem(std::string(line));
}

void listTables(forms::ListBox& list, Runtime& rt, const std::string& database) {
    for (const TableDef& t : tableDefs(rt, database)) {
        if ((static_cast<std::uint32_t>(t.attributes) & kSystemObjectBits) == 0) list.addItem(t.name);
    }
}

void tableListing(forms::Program& p) {
    forms::ListBox& list = p.frmMain.lstDetails;
    list.addItem(std::string(text::kListingOffice));
    list.addItem("");
    listTables(list, p.rt, p.rt.g.dataDir + std::string(text::kOfficeDatabase));
    list.addItem(std::string(text::kListingRule));
    list.addItem(std::string(text::kListingReport));
    list.addItem("");
    listTables(list, p.rt, p.rt.g.userDir + std::string(text::kReportDatabase));
}

void showWarning(forms::Program& p) {
    p.frmMain.lstDetails.setVisible(false);
    p.frmWarning.show(true);
}

}  // namespace

void cmdFix_Click(forms::Program& p, int index) {
    forms::FrmMain& f = p.frmMain;
    f.lstDetails.clear();
    switch (index) {
        case 0:  // "Data Maintenance"
        case 1:  // "Conversion Maintenance"
            showWarning(p);
            break;
        case 2:  // "Compress Central Database"
            f.lstDetails.setVisible(false);
            p.rt.g.compactTarget = std::string(text::kTargetData);
            p.frmWarning.show(true);
            break;
        case 3:  // "Clear Temporary Files"
            f.lstDetails.setVisible(true);
            clearTemporaryFiles(p);
            break;
        case 4:  // "4-Digit Year Check"
            f.lstDetails.setVisible(true);
            yearCheck(p);
            break;
        case 5:  // "Database Table Listing"
            f.lstDetails.setVisible(true);
            tableListing(p);
            break;
        case 6:  // "Compress Temp Database"
            p.rt.g.compactTarget = std::string(text::kTargetPrivate);
            p.frmCompress.show(true);
            break;
        default:  // 7 "Auto-Update Check", 8 "Run the Auto-Update program": no program is started
            break;
    }
}

void DropTheTable(forms::Program& p, std::string_view path, std::string_view table) {
    enterProcedure(p.rt.g, text::kDropProcedure);
    try {
        executeStatement(p.rt, path, "DROP TABLE [" + vb::Trim(table) + "]");
    } catch (const RuntimeError&) {
        // A report database without the table (or without the file) is the usual case.
    }
}

void frmWarning_cmdProceed_Click(forms::Program& p) {
    p.frmWarning.unload();
    const forms::FrmMain& f = p.frmMain;
    if (!f.cmdFix(0).pressed() && !f.cmdFix(1).pressed() && f.cmdFix(2).pressed()) p.frmCompress.show(true);
}

void frmWarning_cmdCancel_Click(forms::Program& p) {
    p.frmWarning.unload();
}

}  // namespace qx::maintenance
