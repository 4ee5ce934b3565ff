// Running a statement against an open database.
//
// RowSet is what a keyset cursor gives a program: opening it checks the statement (names, types),
// walks the table once to find the rows that satisfy the condition, and keeps only where they are
// (their ordinals in the engine's scan order, in result order); the true number of rows is known
// at once, and the values of a row are decoded when a caller asks for that row.
//
// Rows by position. A row found by a scan is kept as where it lives (page and row); a row known by
// its ordinal (the whole table, or the kept text of column_cache.h) leads there through the
// table's row directory (its data pages with their live row counts, read from the pages' row
// tables, rows untouched). row(i) goes to the page and row directly, so any window of rows, forwards or
// backwards, costs the same wherever it lies; reading the next row after the current one is one cursor step.
// A statement without WHERE keeps no keyset at all: opening it costs the directory (or the count
// kept for an unchanged file), never the rows. A row that cannot be read (a damaged page) raises
// its error from row(); the rows around it stay readable.
//
// Results Jet computes (aggregates, GROUP BY, DISTINCT) are kept whole: one row per group or per
// distinct value set. ORDER BY sorts the keyset (Null first, text without regard to case, ties in
// scan order); TOP keeps the first n (n percent) rows, and with ORDER BY the rows that tie with the
// last one as well. The condition is evaluated as Jet evaluates it in ANSI-92 mode: LIKE with
// % _ [list] [!list] [a-z], text without regard to case and with regard to accents, Null never
// satisfying a condition (three-valued AND, OR, NOT), non-text values turned into text before
// LIKE (text.h), and only the columns the condition names are decoded for each row.
//
// Errors are jet::Error numbered as ADO reports them (errors.h): parsing, a missing table, a name
// that is not a column (taken for a parameter), a type mismatch; engine failures while reading
// (a damaged page) arrive through the provider's number with the engine's text.
//
// A RowSet keeps the database file open until it is destroyed. It reads what the file holds when
// it is opened; rows that change afterwards are read as they are then.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "jet/database.h"
#include "jet/table.h"
#include "jet/value.h"

namespace jet::sql {

struct OpenOptions {
    // Keep the folded text of the columns a LIKE-only condition searches, for the statements
    // that follow on the same unchanged file (column_cache.h). A program that runs one statement
    // and exits gains nothing from it and pays for building it: it sets this false, and the
    // condition is tested row by row during the scan.
    bool keepColumnText = true;
};

// Receives the rows of RowSet::stream: the fields once, then each row, either as the engine's
// cursor standing on a table row (field k is the cursor's column columns[k]; valid during the
// call) or, for computed results, as values.
class RowSink {
  public:
    virtual ~RowSink() = default;
    virtual void fields(const std::vector<Column>& fields) = 0;
    virtual void row(const Cursor& cursor, const std::vector<std::size_t>& columns) = 0;
    virtual void row(const std::vector<Value>& values) = 0;
};

class RowSet {
  public:
    // Runs a SELECT. A DROP TABLE is parsed and checked (a missing table gives Jet's "Table '...'
    // does not exist.") but not carried out: it is refused as not supported.
    static RowSet open(const Database& db, std::string_view sql);
    static RowSet open(const Database& db, std::string_view sql, const OpenOptions& options);

    // Runs a statement for a program that writes its rows out once, in order: rows of the table
    // in scan order (no ORDER BY, DISTINCT or aggregates, every field a column) go to the sink as
    // the one scan finds them, with nothing kept; other results are opened as by open() and then
    // handed over row by row. Errors as open() and row(); an error raised after some rows were
    // handed over leaves those rows handed over.
    static void stream(const Database& db, std::string_view sql, RowSink& sink);

    RowSet(RowSet&&) noexcept;
    RowSet& operator=(RowSet&&) noexcept;
    ~RowSet();

    // The fields of the result, in order (all columns of the table for *).
    const std::vector<Column>& fields() const noexcept;
    // The number of rows that satisfy the condition.
    std::size_t recordCount() const noexcept;
    // The values of result row `index` (0 <= index < recordCount()), in field order. The cost does
    // not depend on the distance from the row read before. Throws NoCurrentRecord (ADO 3021) for
    // an index past the end or a row gone from the file since opening, and the engine's failure
    // (3049 through the provider's number) for a row that cannot be read.
    std::vector<Value> row(std::size_t index);
    // Rows [first, first + count), as row() gives them; 3021 when the window passes the end.
    std::vector<std::vector<Value>> rows(std::size_t first, std::size_t count);

    // For readers that format values straight from the stored bytes: when every field is a
    // column of the table (no computed rows, no expressions), the engine's cursor standing on
    // result row `index`, valid until the next call on this RowSet; field k is the cursor's
    // column fieldColumn(k). Null when the result is computed. Errors as row().
    const Cursor* tableRow(std::size_t index);
    std::size_t fieldColumn(std::size_t field) const noexcept;
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);
    // The name of the table the statement reads.
    const std::string& tableName() const noexcept;

    struct Impl;

  private:
    static RowSet open(const Database& db, std::string_view sql, const OpenOptions& options, RowSink* sink);
    explicit RowSet(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

}  // namespace jet::sql
