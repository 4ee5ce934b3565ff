#include "jet/sql/execute.h"

#include <variant>

#include "jet/schema.h"
#include "jet/sql/delete.h"
#include "jet/sql/parser.h"

namespace jet::sql {

std::int64_t execute(const Database& db, std::string_view sql, CommitStats* stats) {
    if (const auto deleted = executeDelete(db, sql, stats)) return *deleted;
    Statement statement = parse(sql);
    if (const auto* drop = std::get_if<DropTableStatement>(&statement)) {
        dropTable(db, drop->table, stats);
        return 0;
    }
    throw Error(3065, "Cannot execute a select query.");
}

}  // namespace jet::sql
