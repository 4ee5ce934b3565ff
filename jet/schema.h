// Changes to a database's structure.
#pragma once

#include <string_view>

#include "jet/database.h"
#include "jet/transaction.h"

namespace jet {

// DROP TABLE: removes the local or linked table `name` (matched without regard to case) from a
// database opened for writing, as one transaction: its catalog row and the entries of the
// catalog's indexes, its MSysACEs rows (and navigation-pane rows where the file has them) and their
// index entries; a local table's pages (definition, data, indexes, long values, usage maps and
// their bitmap pages) are marked free in the global map for later writes to reuse.
// Errors (nothing written): 3376 no such table; 3033 a system table; 3281 a table that takes part
// in a relationship (Jet refuses those; the relationship must go first); 3049 damage found while
// reading what the drop touches or earlier; and those of Transaction and its commit.
// `stats` (optional) receives the commit's figures.
void dropTable(const Database& db, std::string_view name, CommitStats* stats = nullptr);

}  // namespace jet
