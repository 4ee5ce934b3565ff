// Compaction and new databases: whole files written by the engine.
//
// compactDatabase() does what DAO's DBEngine.CompactDatabase does: it writes a new database of the
// source's format that holds everything the source holds (every table, the system tables with the
// saved queries, relationships, permissions and Access's properties, hidden and linked tables),
// rows in primary-key order where a table has one and in scan order otherwise, every index rebuilt
// from the source's own key bytes, autonumber seeds at the last value in use, stored row counts
// right, and no deleted rows or free pages. The source is only read. The destination is written
// under a temporary name in its folder and appears under its name complete or not at all.
//
// createDatabase() writes a new empty database as Jet makes one: the header page, the global usage
// map, and the system tables MSysObjects, MSysACEs, MSysQueries and MSysRelationships with the
// rows Jet puts there.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/error.h"

namespace jet {

namespace detail {
class NewFileOps;
}

struct CompactProgress {
    std::size_t tablesDone = 0;
    std::size_t tablesTotal = 0;
    std::uint64_t rowsDone = 0;
    std::uint64_t bytesWritten = 0;
    std::string table;  // the table being copied
};

struct CompactOptions {
    // Copy what can be read from a damaged source and report the rest, instead of failing with 3049.
    bool salvage = false;
    // Called after each table and every few thousand rows. May throw to abandon the compaction
    // (nothing is then written).
    std::function<void(const CompactProgress&)> progress;
    // Tests: the file operations used for the destination (null: the host's).
    detail::NewFileOps* fileOps = nullptr;
};

// What salvage could not copy from one table.
struct SalvageLoss {
    std::string table;
    std::uint64_t rowsCopied = 0;
    std::uint64_t rowsLost = 0;         // rows that could not be read
    bool tableLost = false;             // its definition could not be read: nothing copied
    std::vector<std::string> indexes;   // indexes whose entries could not be read (left empty)
    std::vector<std::string> problems;  // the errors met, as Jet words them
};

struct CompactResult {
    std::uint64_t sizeBefore = 0;
    std::uint64_t sizeAfter = 0;
    std::size_t tables = 0;
    std::uint64_t rows = 0;
    double seconds = 0;
    std::vector<SalvageLoss> losses;  // salvage: tables with anything lost
};

// The source is opened exclusively for the whole run: 3045 when others share it, 3356 when someone
// holds it exclusively (a source that cannot be written is opened shared instead).
// Errors: 3204 "Database already exists." when `destination` exists (the source itself included);
// the source's open errors (3024, 3044, 3051, 3343, 3031); 3049 for a damaged source without
// `salvage`; 3051 when the destination cannot be written. On any error nothing is left at
// `destination`.
CompactResult compactDatabase(const std::filesystem::path& source, const std::filesystem::path& destination,
                              const CompactOptions& options = {});

// The same from a database the caller has open, so that it can hold the file (an exclusive open
// keeps every other user out) from before the compaction until it has put the result in place.
// The open's page cache is what the copy reads through: kCompactCacheBytes is the size the
// path form uses.
inline constexpr std::size_t kCompactCacheBytes = 8u << 20;
CompactResult compactDatabase(const Database& source, const std::filesystem::path& destination,
                              const CompactOptions& options = {});

// Errors: 3204 when `path` exists (it is left alone); 3044 when its folder does not exist; 3051
// when it cannot be written.
void createDatabase(const std::filesystem::path& path, FormatVersion format = FormatVersion::Jet4,
                    detail::NewFileOps* fileOps = nullptr);

}  // namespace jet
