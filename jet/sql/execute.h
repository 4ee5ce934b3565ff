// Running a statement that changes a database (DAO's Database.Execute).
#pragma once

#include <cstdint>
#include <string_view>

#include "jet/database.h"
#include "jet/transaction.h"

namespace jet::sql {

// Runs `sql` on `db` (opened for writing) and returns the number of rows it affected (0 for a
// change of structure such as DROP TABLE). CREATE TABLE, CREATE INDEX, DROP INDEX, INSERT, UPDATE
// (literals only; the rows are those SELECT * FROM t WHERE ... finds), DROP TABLE and DELETE
// (delete.h) run. A SELECT is
// refused with 3065 "Cannot execute a select query.". Errors are the engine's (jet/schema.h,
// jet/transaction.h) and the parser's; after any error the file is unchanged. `stats` (optional) receives the
// commit's figures.
std::int64_t execute(const Database& db, std::string_view sql, CommitStats* stats = nullptr);

}  // namespace jet::sql
