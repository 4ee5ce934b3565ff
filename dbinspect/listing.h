// The table listing of the "Database Counts" tab (cmdTableListing_Click): the user tables of the
// suite's databases, one section per database, written into frmMain.lstTableListing in the line
// format that the table viewer (viewer.h) reads back.
//
// Sections, always in this order: Office.mdb (data directory), Report.mdb (user directory),
// KelRet.mdb (application directory), KelCom.mdb from the user directory ("LOCAL") and from the
// data directory ("SHARED"). Each section is a header line, a location line (the only kind of
// line with a ":", from the drive letter), an empty line, then one line per user table (prefix
// such as "office-" followed by the table's name) or "***UNABLE TO LOCATE***" when the file is
// missing; a line of 60 hyphens follows every section but the last.
//
// A missing file is the only failure the listing handles. Any other failure of opening a database
// (not a database, password-protected, held exclusively by another user) leaves the handler as a
// qx::RuntimeError: the lines already appended stay, and the sections after it are not listed.
#pragma once

#include <memory>
#include <string_view>

#include "ado/dao.h"
#include "shell/program.h"

namespace qx::dbinspect {

// The table definitions whose Attributes carry any of these bits are the engine's own system
// tables and are not listed.
inline constexpr std::uint32_t kSystemObjectMask = 0x80000002u;

// The form-level database variable of frmMain: each section's open replaces the previous one, and
// the last database opened stays open (and recorded in its lock file) until it is replaced or
// the program ends, as a DAO reference that is never closed explicitly does.
struct ListingState {
    std::shared_ptr<jet::dao::DaoDatabase> database;
};

void cmdTableListing_Click(forms::Program& program, ListingState& state);

}  // namespace qx::dbinspect
