// Every caption and message text of the "Software Utilities" tab and of the memory forms that the
// diagnostics write at run time. Texts are kept exactly as the program has always shown them: support
// staff talk users through the tab by these words, so spelling, spacing and the odd "Read/Write" wording
// in the database test are part of the behaviour and must not be tidied.
#pragma once

#include <string_view>

namespace qx::diagnostics::text {

// Result boxes.
inline constexpr std::string_view kPassed = "Passed";
inline constexpr std::string_view kFailed = "Failed";

// File check (tests 1, 6, 7, 8).
inline constexpr std::string_view kFileDoesNotExist = "File does not exist";

// Directory check (tests 2, 3, 5): OK-only boxes titled with the tool title.
inline constexpr std::string_view kDirectoryDoesNotExist = "Directory does not exist";
inline constexpr std::string_view kDirectoryUnavailable = "Directory is unavailable (check permissions)";

// Tests 4 and 6 when their prerequisite, test 3, failed.
inline constexpr std::string_view kTest3Aborted = "Test #3 Failure: Aborted Read/Write";

// Read/write check (test 4).
inline constexpr std::string_view kMarkerFileName = "test.log";
inline constexpr std::string_view kMarkerLine = "Write Privilege allowed";
inline constexpr std::string_view kUnableToAccessFile = "Unable to access File - Check Permissions";
inline constexpr std::string_view kReadWriteAllowed = "Read/Write Privileges allowed";
inline constexpr std::string_view kPathNotFound = "Path Not Found";
inline constexpr std::string_view kAccessDenied = "Access Denied - Check Permissions";

// Test 9.
inline constexpr std::string_view kConfigurationDirectory = "Configuration Directory = ";
inline constexpr std::string_view kWindowsSystemDirectory = "Windows System Directory = ";

// File patterns of the tab's file list.
inline constexpr std::string_view kAllFiles = "*.*";
inline constexpr std::string_view kPatternPrefix = "*.";

// Database files the tests look for, joined to their folder with one "\".
inline constexpr std::string_view kOfficeDatabase = "\\Office.mdb";
inline constexpr std::string_view kCommentsDatabase = "\\KelCom.mdb";
inline constexpr std::string_view kTransferDatabase = "\\KelRet.mdb";

// Memory monitor (frmSM) and its details (frmDetails).
inline constexpr std::string_view kPhysicalUsage = "Physical Memory Usage: ";
inline constexpr std::string_view kVirtualUsage = "Virtual Memory Usage: ";
inline constexpr std::string_view kTotalPhys = "Total physical memory (RAM): ";
inline constexpr std::string_view kAvailPhys = "Free physical memory (RAM): ";
inline constexpr std::string_view kTotalPage = "Total KB in current paging file: ";
inline constexpr std::string_view kAvailPage = "Free KB in current paging file: ";
inline constexpr std::string_view kTotalVirtual = "Total virtual memory: ";
inline constexpr std::string_view kAvailVirtual = "Free virtual memory: ";
// The two paging-file lines carry their unit in the prefix and get no suffix.
inline constexpr std::string_view kKilobytes = " KB";

// Procedure name recorded by the in-place strip (the name of the routine it was copied from, which
// is what the error report has always shown).
inline constexpr std::string_view kStripProcedureName = "StripRChar";

}  // namespace qx::diagnostics::text
