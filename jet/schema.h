// Changes to a database's structure and rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/database.h"
#include "jet/table.h"
#include "jet/transaction.h"
#include "jet/value.h"

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

// A column of a new table. `size`: Text in characters (1..255), Binary in bytes (1..510); 0 for
// every other type. An autonumber column is a Long. `compressed`: Text and Memo values are stored
// compressed where they can be (Jet 4; Jet 3 has no such form and ignores it).
struct NewColumn {
    std::string name;
    ColumnType type = ColumnType::Text;
    std::uint16_t size = 0;
    bool required = false;
    bool autoNumber = false;
    std::uint8_t precision = 0, scale = 0;  // Decimal
    bool compressed = false;
};

struct NewIndexColumn {
    std::string name;
    bool ascending = true;
};

// A primary key is unique and refuses Null by its nature (the other flags are not needed for it).
struct NewIndex {
    std::string name;
    std::vector<NewIndexColumn> columns;  // 1..10
    bool primary = false;
    bool unique = false;
    bool disallowNull = false;
    bool ignoreNull = false;
};

struct NewTable {
    std::string name;
    std::vector<NewColumn> columns;  // 1..255, in display order
    std::vector<NewIndex> indexes;
};

// CREATE TABLE, as one transaction: the definition (columns numbered in the order given, fixed
// columns laid out in that order), its usage maps on a page of their own, an empty root leaf per
// index, and the table's catalog row with its entries in the catalog's indexes.
// Errors (nothing written): 3010 a table or other object of that name exists; 3265 an index names
// a column the table lacks; 3283 two primary keys; and those of Transaction and its commit.
void createTable(const Database& db, const NewTable& table, CommitStats* stats = nullptr);

// CREATE INDEX: adds `index` to the definition of `table` and fills it from the table's rows.
// Errors (nothing written): 3376 no such table; 3375 the table has an index of that name; 3283 a
// second primary key; 3265 a column the table lacks; 3022 a unique index over duplicate values;
// 3058 Null in an index that refuses it.
void createIndex(const Database& db, std::string_view table, const NewIndex& index,
                 CommitStats* stats = nullptr);

// DROP INDEX: removes the index from the table's definition and gives its pages back.
// Errors (nothing written): 3376 no such table; 3265 no such index; 3281 an index that serves a
// relationship.
void dropIndex(const Database& db, std::string_view table, std::string_view index,
               CommitStats* stats = nullptr);

// Rows for insertRows: fills `row` with one value per column in Table::columns() order and
// returns true, or returns false at the end. A Null value in an autonumber column takes the next
// number. Values have their column's type (Value::storage holds the type's own form: bool for
// Boolean, std::uint8_t, std::int16_t, std::int32_t, Currency, float, double, DateTime,
// std::string for Text and Memo, Bytes for Binary and OLE, Guid, Decimal).
using RowFeed = std::function<bool(std::vector<Value>& row)>;

// INSERT: every row of `feed` into `table`, all in one transaction (a failing row leaves the file
// as it was). Rows go to the table's last data page while it has room, then to new pages; long
// values inline when short, else on long-value pages (one row, or a chain of whole pages); every
// index of the table gets the row's entry; the definition's row count and autonumber follow.
// Errors (nothing written): 3078 no such table; 3314 Null in a required column; 3022 a duplicate
// in a unique index or primary key; 3058 Null in an index that refuses it; 3163 text or binary
// longer than its column; 3464 a value of another type; 3033 a system table; "no index key code
// for character U+XXXX" (3049) for text an index cannot sort. Returns the number of rows.
std::uint64_t insertRows(const Database& db, std::string_view table, const RowFeed& feed,
                         CommitStats* stats = nullptr);

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

// New values for UPDATE: given the row's values (one per column in Table::columns() order),
// sets the columns being changed. Values have their column's type (see RowFeed).
using RowChange = std::function<void(std::vector<Value>& row)>;

// UPDATE: changes the columns at `columns` (positions in Table::columns()) of rows of the local
// table `name`, as one transaction. `choose` is called once the write lock is held and returns
// the rows, as a scan finds them (rows it names that are not live rows are left alone); `change`
// is called once per row with its values. A row whose new image fits its page's free space is
// rewritten in place; one that no longer fits moves to another page as an overflow row, its slot
// keeping a pointer (so the row keeps its place in scans and the slot index entries name).
// Unchanged long values keep their pages; changed ones give theirs back and are written as
// insertRows writes them. Entries of indexes over changed columns are replaced; the row count
// stays. Returns the number of rows changed.
// Errors (nothing written): 3078 no such table; 3033 a system table; 3164 an autonumber column;
// 3200 / 3201 a column that takes part in a relationship that enforces integrity (referred to /
// referring; refused whatever the values); 3314 Null in a required column; 3022 a duplicate in a
// unique index or primary key (old entries of every changed row count as gone); 3058 Null in an
// index that refuses it; 3163 text or binary longer than its column; 3464 a value of another
// type; 3049 damage met on the way; and those of Transaction and its commit.
std::size_t updateRows(const Database& db, std::string_view name,
                       const std::function<std::vector<RowId>()>& choose,
                       const std::vector<std::size_t>& columns, const RowChange& change,
                       CommitStats* stats = nullptr);

}  // namespace jet
