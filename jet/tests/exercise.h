// Reads everything the engine can reach in a database: catalog, every table's definition and
// every value of every row. Used by the damage tests and the fuzz target, where all that matters
// is that reading ends, and ends either normally or with a jet::Error.
#pragma once

#include <cstdint>
#include <filesystem>

#include "jet/database.h"
#include "jet/table.h"
#include "output/json_export.h"

namespace jettest {

// Returns a number derived from what was read (so the work cannot be optimised away).
inline std::uint64_t exerciseDatabase(const std::filesystem::path& path) {
    std::uint64_t sum = 0;
    jet::Database db = jet::Database::open(path);
    sum += db.catalog().size();
    for (const auto& def : db.tableDefs()) {
        if (def.type != 1) continue;
        jet::Table table = db.openTable(def.name);
        sum += table.rowCount();
        jet::Cursor cursor = table.cursor();
        std::string line;
        std::size_t rows = 0;
        while (cursor.next()) {
            line.clear();
            jet::json::appendRow(line, table, cursor);
            for (std::size_t i = 0; i < table.columns().size(); ++i) sum += cursor.text(i).size();
            sum += line.size();
            ++rows;
        }
        sum += rows;
    }
    return sum;
}

}  // namespace jettest
