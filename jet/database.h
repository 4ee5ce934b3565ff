// Opening a Jet 3 / Jet 4 database file and reading its catalog.
//
// A Database is a handle on one open file. It reads the header page, checks the format and the
// password, and loads the catalog (every row of MSysObjects). Tables opened from it keep the file
// open on their own, so a Table or Cursor stays valid after the Database handle is dropped.
// Reading never writes to the file; writes go through jet/transaction.h (and statements in
// jet/sql). Every open, for reading or writing, first rolls back a journal that a stopped writer
// left beside the file (see jet/journal.h), and holds Jet's locks (jet/locks.h) while it lasts.
//
// Threads: a Database and everything opened from it belong to one thread at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "jet/error.h"

namespace jet {

namespace detail {
class Store;  // the open file: page channel, format constants, catalog
}

class Table;

enum class FormatVersion {
    Jet3,   // Access 97 (page size 2048)
    Jet4,   // Access 2000-2003 (page size 4096)
    Ace12,  // Access 2007 (.accdb)
    Ace14,  // Access 2010 and later
};

class FileSystem;

struct OpenOptions {
    // False: open for writing (statements through jet/sql, Transaction). A file or folder that
    // cannot be written is then opened for reading and a write gives 3027.
    bool readOnly = true;
    // Exclusive open: refused (3045) while anyone else has the file open; while it lasts, other
    // opens are refused with 3356. Shared opens record themselves in the .ldb beside the file.
    bool exclusive = false;
    // The file system to go through; null = the host's (tests put a failing one here).
    FileSystem* fileSystem = nullptr;
    // Upper bound on the memory the page cache may use, in bytes (see page_channel.h).
    std::size_t cacheBytes = 1u << 20;
    // Changed pages a write holds in memory before it writes those beyond the file's original end
    // early (see jet/transaction.h); 0 = never.
    std::size_t spillBytes = 16u << 20;
};

// One row of MSysObjects.
struct CatalogEntry {
    std::int32_t id = 0;        // object id; for local tables the page of the table definition
    std::int32_t parentId = 0;  // container id (0x0F000001 "Tables", ...)
    std::string name;
    std::int16_t type = 0;    // 1 local table, 4 ODBC-linked, 6 linked table, 5 query, 3 container...
    std::int32_t flags = 0;   // MSysObjects.Flags
    std::string database;     // linked tables: the linked file (empty otherwise)
    std::string foreignName;  // linked tables: the table's name in the linked file
};

// A table definition as DAO's TableDefs collection shows it.
struct TableDefInfo {
    std::string name;
    std::int32_t attributes = 0;  // DAO TableDef.Attributes (signed 32-bit)
    std::int32_t id = 0;          // MSysObjects.Id (TDEF page for local tables)
    std::int16_t type = 0;        // MSysObjects.Type
    bool linked() const noexcept { return type == 4 || type == 6; }
    bool system() const noexcept { return (static_cast<std::uint32_t>(attributes) & 0x80000002u) != 0; }
};

// DAO attribute bits.
inline constexpr std::int32_t kAttrSystemObject = static_cast<std::int32_t>(0x80000002u);
inline constexpr std::int32_t kAttrHiddenObject = 0x00000001;
inline constexpr std::int32_t kAttrAttachedTable = 0x40000000;
inline constexpr std::int32_t kAttrAttachedODBC = 0x20000000;

class Database {
  public:
    // Opens `path` (a host path). Errors: 3024 when the file does not exist, 3044 when the path is
    // not usable (a directory, an empty name), 3051 when it cannot be read (or a journal left
    // beside it cannot be rolled back), 3343 when it is not a Jet file or of an unknown version,
    // 3031 when it is password-protected, 3049 when it is damaged (the description names page
    // and offset), 3045 / 3356 when the locks of another open refuse this one.
    static Database open(const std::filesystem::path& path, const OpenOptions& options = {});

    Database(Database&&) noexcept;
    Database& operator=(Database&&) noexcept;
    ~Database();

    const std::string& path() const noexcept;  // as given to open()
    // What open() found and did beside reading (a journal rolled back or ignored), one line each.
    const std::vector<std::string>& notices() const noexcept;
    FormatVersion version() const noexcept;
    std::uint32_t pageSize() const noexcept;
    std::uint32_t pageCount() const noexcept;
    std::uint16_t codePage() const noexcept;   // e.g. 1252
    std::uint32_t sortOrder() const noexcept;  // e.g. 0x409 General (Jet 4)
    bool encrypted() const noexcept;           // pages are RC4-encrypted with the database key

    // Every row of MSysObjects, in the order they were read (scan order).
    const std::vector<CatalogEntry>& catalog() const noexcept;

    // Tables (local, linked, system) in DAO's enumeration order: the order of the catalog's
    // ParentIdName index (names without regard to case, in the database's sort order).
    const std::vector<TableDefInfo>& tableDefs() const noexcept;

    // Opens a local table by name, without regard to case. Errors: 3078 when there is no such
    // table (linked tables included: their data is not in this file), 3049 for a damaged definition.
    Table openTable(std::string_view name) const;
    bool hasTable(std::string_view name) const noexcept;

    // Internal: shared with tables and future writers.
    const std::shared_ptr<detail::Store>& store() const noexcept { return store_; }

  private:
    explicit Database(std::shared_ptr<detail::Store> store);
    std::shared_ptr<detail::Store> store_;
};

}  // namespace jet
