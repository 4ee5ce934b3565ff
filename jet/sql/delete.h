// DELETE statements (DAO's Database.Execute of a delete query).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/database.h"
#include "jet/table.h"
#include "jet/transaction.h"

namespace jet::sql {

// Runs `sql` when it is a DELETE and returns the number of rows deleted; nothing (and no work)
// for any other statement. Accepted: DELETE [*] FROM t [WHERE condition] and DELETE t.* FROM t
// [WHERE condition], the condition as SELECT takes it; the rows deleted are exactly those that
// SELECT * FROM t WHERE condition finds. One transaction (jet/schema.h, deleteRows).
// Errors (nothing written): the parser's for the statement and the condition; 3078 no such table;
// 3061 "Too few parameters. Expected N." for names that are not columns (taken for parameters,
// as DAO reports them); those of deleteRows.
// The rows `select` (SELECT * FROM t [WHERE ...]) finds, as the table's scan names them: what
// DELETE and UPDATE change. A name that is no column is 3061 "Too few parameters. Expected 1.",
// as DAO reports a parameter left without a value.
std::vector<RowId> selectedRows(const Database& db, const std::string& select);

std::optional<std::int64_t> executeDelete(const Database& db, std::string_view sql, CommitStats* stats);

}  // namespace jet::sql
