// Every caption, list line and message text of the "Data Maintenance" tab, the backup warning and
// the compaction form that the maintenance code writes at run time. Support staff read these
// words to users over the telephone: spelling, spacing and capitals stay exactly as they are.
#pragma once

#include <array>
#include <string_view>

namespace qx::maintenance::text {

// cmdFix(3), "Clear Temporary Files".
inline constexpr std::string_view kCleanupLine1 = "This utility deletes temporary";
inline constexpr std::string_view kCleanupLine2 = "database tables used in the";
inline constexpr std::string_view kCleanupLine3 = "creation of output reports";
inline constexpr std::string_view kReportDatabase = "report.mdb";
// The report tables the suite leaves behind, in the order they are dropped. "usercontrol" and
// "USERCONTROL" are two drops on purpose: older report builds made the table in either case.
inline constexpr std::array<std::string_view, 22> kTemporaryTables = {
    "report",        "invoice",      "property",        "assigned",   "Temp",         "tempinvoice",
    "tempproperty",  "check1",       "check2",          "check3",     "users",        "company",
    "client",        "CANCELCLIENT", "CANCELAPPRAISER", "appraiser",  "appraiserfee", "usercontrol",
    "clientcontact", "clientfee",    "formtypes",       "USERCONTROL"};

// cmdFix(4), "4-Digit Year Check".
inline constexpr std::string_view kYearCurrentTime = "Current time:";
inline constexpr std::array<std::string_view, 5> kYearAdvice = {
    "If your current year settings do not", "follow standard four number year", "presentation (ie 2007), ",
    "change your Regional Settings", "in the Control Panel."};

// cmdFix(5), "Database Table Listing". The two headings differ in "Tables" / "tables".
inline constexpr std::string_view kListingOffice = "Database Tables within Office.mdb";
inline constexpr std::string_view kListingReport = "Database tables within Report.mdb";
inline constexpr std::string_view kOfficeDatabase = "office.mdb";
inline constexpr std::string_view kListingRule = "-------------------------------------------------";

// Compaction targets.
inline constexpr std::string_view kTargetData = "KELDATA";
inline constexpr std::string_view kTargetPrivate = "KELPRIV";

// frmCompress.
inline constexpr std::string_view kDatabasePattern = "*.mdb";
inline constexpr std::string_view kProbeData = "Office.mdb";
inline constexpr std::string_view kProbePrivate = "Report.mdb";
inline constexpr std::string_view kScratchName = "compress.mdb";
inline constexpr std::string_view kSelectFirst = "Please select a file from the list of databases";
inline constexpr std::string_view kNothingChosen = "Please highlight/select the database before compressing";
inline constexpr std::string_view kNothingChosenTitle = "No database chosen";
inline constexpr std::string_view kCompleteShared =
    "Process Complete.  Everyone can now reopen their applications.";
inline constexpr std::string_view kCompletePrivate = "Process Complete.";
inline constexpr std::string_view kWorkingOn = "Working on '";
inline constexpr std::string_view kNoChange = "No Change";
inline constexpr std::string_view kCompressed = "Compressed ";
inline constexpr std::string_view kInUse = "This File Was In Use... No Change.";
inline constexpr std::string_view kOpenLocked =
    "This database is open/locked.  Please have all users exit from the application (run this program "
    "again).";
inline constexpr std::string_view kCompressProcedure = "cmdcompress_Click";
inline constexpr std::string_view kDropProcedure = "DropTheTable";

}  // namespace qx::maintenance::text
