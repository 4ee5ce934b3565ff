// The texts of the "Database Counts" tab and of the support lock, exactly as the program shows
// them. Their odd spacing and capitals are part of what users and support staff know: keep them.
#pragma once

#include <string_view>

namespace qx::dbinspect::text {

// ---- The table listing (lstTableListing) ---------------------------------------------------------
// Only the first header writes "Tables" with a capital T; the third and fourth spell the file
// "KelRET.mdb" and "Kelcom.mdb".
inline constexpr std::string_view kHeaderOffice = "Database Tables within Office.mdb";
inline constexpr std::string_view kHeaderReport = "Database tables within Report.mdb";
inline constexpr std::string_view kHeaderKelRet = "Database tables within KelRET.mdb";
inline constexpr std::string_view kHeaderKelCom = "Database tables within Kelcom.mdb";
// Location line: opener, the directory, closer.
inline constexpr std::string_view kOpenerPlain = "   (  ";
inline constexpr std::string_view kOpenerLocal = "   LOCAL = (  ";
inline constexpr std::string_view kOpenerShared = "   SHARED = (  ";
inline constexpr std::string_view kLocationCloser = "  )";
inline constexpr std::string_view kUnableToLocate = "***UNABLE TO LOCATE***";
// 60 hyphens.
inline constexpr std::string_view kSeparator = "------------------------------------------------------------";

// ---- The viewer's labels -----------------------------------------------------------------------
inline constexpr std::string_view kLocationReset = "Location:";
inline constexpr std::string_view kDatabaseReset = "Database:";
inline constexpr std::string_view kTableNameReset = "Table Name:";
inline constexpr std::string_view kFieldCountReset = "Field Count:";
inline constexpr std::string_view kRecordCountReset = "Record Count:";
inline constexpr std::string_view kTableCountReset = "TableCount:";  // no blank, unlike the others
// A line that opens nothing leaves the table name with a trailing blank.
inline constexpr std::string_view kTableNameNothing = "Table Name: ";
inline constexpr std::string_view kLocationIs = "Location = ";
inline constexpr std::string_view kDatabaseIs = "Database = ";
inline constexpr std::string_view kTableNameIs = "Table Name = ";
inline constexpr std::string_view kFieldCountIs = "Field Count =";    // no blank after "="
inline constexpr std::string_view kRecordCountIs = "Record Count =";  // no blank after "="
inline constexpr std::string_view kTableCountIs = "Table count = ";
inline constexpr std::string_view kPermissionDeniedTitle = "Permission Denied";
inline constexpr std::string_view kPermissionDenied =
    "You do not have sufficient SECURITY ACCESS to view this database table";

// ---- frmGridSecurity ---------------------------------------------------------------------------
inline constexpr std::string_view kBlankEntered = "(Blank) Unlock Code Entered ";  // trailing blank
inline constexpr std::string_view kPleaseEnter = "Please Enter Unlock Code";
inline constexpr std::string_view kInvalid = "Invalid Unlock Code";
inline constexpr std::string_view kNumericOnly = "Please Re-Enter code (Numeric Only)";
inline constexpr std::string_view kReEnter8 = "Please Re-Enter 8-digit Unlock Code";
inline constexpr std::string_view kUnableToAuthenticate = "Unable to authenticate Unlock Code";

}  // namespace qx::dbinspect::text
