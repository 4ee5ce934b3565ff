// The database operations of the maintenance tab, on Windows paths as the program names files:
// DAO's OpenDatabase with Execute and TableDefs, and CompactDatabase. Engine failures arrive as
// RuntimeError with the engine's number (3024, 3045, 3356, ...) and its text naming the file by
// its Windows path.
//
// Every database file the engine creates or changes is a write of the platform's file system
// (FileSystem::hostPathForWrite): a refused or failing write stops the operation before the engine
// touches the file.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/globals.h"

namespace jet {
class Database;
}

namespace qx::maintenance {

struct TableDef {
    std::string name;
    std::int32_t attributes = 0;
};

// OpenDatabase(path).Execute(statement), the database opened shared for writing and released
// before returning.
void executeStatement(Runtime& rt, std::string_view path, std::string_view statement);

// OpenDatabase(path).TableDefs: every table definition in the collection's order.
std::vector<TableDef> tableDefs(Runtime& rt, std::string_view path);

// A database held for compaction: nobody else has it open from open() until the object is gone,
// so nothing another user writes can fall between the compacted copy and its putting in place.
class CompactionSource {
  public:
    // Raises 3356 when another user holds `path` exclusively and 3045 when anyone else has it open
    // (DAO's CompactDatabase needs it closed by everyone), and the engine's open errors (3024,
    // 3049, 3343, ...). Opening counts as a write: the file is about to be replaced.
    static CompactionSource open(Runtime& rt, std::string_view path);

    CompactionSource(CompactionSource&&) noexcept;
    CompactionSource& operator=(CompactionSource&&) noexcept;
    ~CompactionSource();

    // Writes a compacted copy of the database at `destination` (a write; 3204 when it exists).
    // `progress` gets the share done, 0 to 1, after each table and every few thousand rows. On any
    // failure nothing is left at `destination`.
    void compactTo(std::string_view destination, const std::function<void(double)>& progress = {}) const;

  private:
    CompactionSource(Runtime& rt, std::string path, std::string host, std::unique_ptr<jet::Database> db);
    Runtime* rt_;
    std::string path_, host_;
    std::unique_ptr<jet::Database> db_;
};

}  // namespace qx::maintenance
