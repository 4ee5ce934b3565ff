// A whole-database check of indexes against the tables they index, for tests and tools.
//
// For every real index of every local table (system tables included): the tree is walked with
// every check of walkIndex(); its entries must be strictly increasing and point at exactly the
// table's live rows (an index that ignores Nulls may leave out rows whose key columns are all
// Null); and where the engine can compute a row's key (index_key.h), the entry's key bytes must
// equal it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace jet {

class Database;

struct IndexCheckReport {
    std::size_t tables = 0;
    std::size_t indexes = 0;          // real indexes walked
    std::size_t entries = 0;          // leaf entries seen
    std::size_t keysCompared = 0;     // entries whose key bytes were recomputed and compared
    std::size_t keysNotComputed = 0;  // entries whose key the engine cannot compute (checked by row only)
    std::vector<std::string> problems;
    bool ok() const noexcept { return problems.empty(); }
};

IndexCheckReport checkIndexes(const Database& db);

}  // namespace jet
