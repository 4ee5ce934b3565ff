// Changes to a database's structure.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

#include "jet/database.h"
#include "jet/table.h"
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

// DELETE: removes rows of the local table `name` (matched without regard to case) from a database
// opened for writing, as one transaction. `choose` is called once the write lock is held (no other
// writer can change the table meanwhile) and returns the rows to delete, as a scan of the table
// finds them; rows it names that are not live rows of the table are ignored. Each row is marked
// deleted as Access marks rows (with the rows of its long values), its entries leave every index
// of the table, and the definition's row count goes down by the number deleted. The space stays
// on its pages until the database is compacted, as with Jet. Returns the number of rows deleted.
// Errors (nothing written): 3078 no such table; 3033 a system table; 3200 rows of a table that
// other tables refer to through a relationship that enforces integrity (the related rows are not
// examined: such deletes are refused rather than risk orphans); 3049 damage met on the way; and
// those of Transaction and its commit.
std::size_t deleteRows(const Database& db, std::string_view name,
                       const std::function<std::vector<RowId>()>& choose, CommitStats* stats = nullptr);

}  // namespace jet
