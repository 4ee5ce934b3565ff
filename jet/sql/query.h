// Running a statement against an open database.
//
// RowSet is what a keyset cursor gives a program: opening it checks the statement (names, types),
// walks the table once to find the rows that satisfy the condition, and keeps only where they are;
// the true number of rows is known at once, and the values of a row are decoded when a caller
// asks for that row. The condition is evaluated as Jet evaluates it in ANSI-92 mode: LIKE with
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

class RowSet {
public:
    // Runs a SELECT. A DROP TABLE is parsed and checked (a missing table gives Jet's "Table '...'
    // does not exist.") but not carried out: it is refused as not supported.
    static RowSet open(const Database& db, std::string_view sql);

    RowSet(RowSet&&) noexcept;
    RowSet& operator=(RowSet&&) noexcept;
    ~RowSet();

    // The fields of the result, in order (all columns of the table for *).
    const std::vector<Column>& fields() const noexcept;
    // The number of rows that satisfy the condition.
    std::size_t recordCount() const noexcept;
    // The values of result row `index` (0 <= index < recordCount()), in field order. Reading rows
    // in ascending order costs one step of the table scan per row; going back restarts the scan.
    // Throws NoCurrentRecord (ADO 3021) for an index past the end.
    std::vector<Value> row(std::size_t index);
    // The name of the table the statement reads.
    const std::string& tableName() const noexcept;

private:
    struct Impl;
    explicit RowSet(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

}  // namespace jet::sql
