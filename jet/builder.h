// Writing a whole database file from table definitions and row streams (engine internal).
//
// The builder makes a new Jet 3 or Jet 4 file page by page, front to back, never reading what it
// wrote: the header page, the global usage map (page 1), the catalog's definition on page 2, then
// per table its data pages filled densely, its long-value pages, its index trees built bottom-up
// from entries given in key order, the page that holds its usage maps, and finally its definition
// on the pages reserved for it beforehand (so that object ids, which are definition pages, are
// known before any catalog row is written).
//
// Definitions are given as the bytes Jet stores (the pages of a TDEF chain joined, the first page
// whole, continuations without their 8-byte headers): everything Access keeps there that the
// builder does not own (column descriptors, index flags, unknown bytes) is written back as it came;
// the builder sets counts, the autonumber seed, usage map pointers, index roots, the related-table
// pointers of foreign keys, and splits the definition over pages again.
//
// Memory: one page buffer per open page (data, one per long-value column, one per index level),
// plus the page lists of the table being written (four bytes per page). Nothing grows with the
// number of rows except through those lists.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/format.h"

namespace jet::detail {

// Where the new file's bytes go. Errors are thrown (jet::Error).
class PageSink {
  public:
    virtual ~PageSink() = default;
    virtual void writeAt(std::uint64_t offset, const std::uint8_t* data, std::size_t length) = 0;
};

// Positions of the parts of a table definition the builder rewrites, found by walking it.
struct DefinitionShape {
    struct Col {
        std::uint8_t type = 0;
        std::uint16_t number = 0;
        std::uint16_t varIndex = 0;
        std::uint16_t fixedOffset = 0;
        std::uint16_t length = 0;
        std::uint8_t flags = 0;
        bool fixed = false;
        std::string name;  // UTF-8 for Jet 4, code-page bytes as stored for Jet 3
    };
    struct Real {
        std::vector<std::pair<std::uint16_t, bool>> columns;  // column number, ascending
        std::size_t mapPos = 0;                               // usage map pointer
        std::size_t rootPos = 0;                              // root page
        std::uint8_t flags = 0;
    };
    struct Logical {
        std::int32_t realIndex = -1;
        std::uint8_t kind = 0;       // 1 primary key, 2 foreign key
        std::size_t relatedPos = 0;  // related table's definition page
        std::string name;
    };
    struct LongColumnMaps {
        std::uint16_t column = 0;
        std::size_t ownedPos = 0, freePos = 0;
    };
    std::size_t length = 0;  // bytes of the definition (first page header included)
    std::uint16_t maxColumns = 0;
    std::uint16_t varColumns = 0;
    std::vector<Col> columns;  // in stored order
    std::vector<Real> reals;
    std::vector<Logical> logicals;
    std::vector<LongColumnMaps> longMaps;

    const Col* column(std::uint16_t number) const;
};

// Walks `definition`; throws 3049 (naming `file`, page `page`) when it does not hold together.
DefinitionShape parseDefinition(const JetFormat& f, const std::vector<std::uint8_t>& definition,
                                const std::string& file, std::uint32_t page);

// One column value of a row to write. Long values (memo/OLE) hold the value's bytes; every other
// type the bytes as stored in a row. Boolean columns use `flag`.
struct Cell {
    bool present = false;
    bool flag = false;
    bool preferInline = false;  // long value: keep it inside the row when it fits
    // Long value: `bytes` is its field as a row already stores it (the 12 bytes and any inline
    // data), copied as it is, so a rewritten row keeps the pages its value lives on.
    bool asStored = false;
    std::string bytes;

    // Back to an absent cell; the byte buffer keeps its memory for the next value.
    void clear() noexcept {
        present = flag = preferInline = asStored = false;
        bytes.clear();
    }
};

// The largest row a data page takes (one row and its offset entry).
inline std::size_t maxDataRowSize(const JetFormat& f) noexcept {
    return f.pageSize - f.dataRowOffsets - 2;
}

// Encodes rows of one table as Jet stores them: column count, fixed part, variable part with its
// offset table (Jet 3: jump table too), null mask. Long values go inline when the cell prefers it
// and the row has room; otherwise `LongWriter` stores them elsewhere and fills the 12-byte field.
// Throws 3049 "Record is too large." for a row no page can hold. `shape` must outlive the encoder.
class RowEncoder {
  public:
    using LongWriter =
        std::function<void(std::uint16_t column, const std::string& value, std::uint8_t field[12])>;
    RowEncoder(const JetFormat& f, const DefinitionShape& shape);
    // The row's bytes, valid until the next call.
    const std::vector<std::uint8_t>& encode(const std::vector<Cell>& cells, const LongWriter& writeLong);

  private:
    const JetFormat& f;
    const DefinitionShape& shape;
    std::uint16_t colCount = 0;
    std::size_t fixedEnd = 0;
    std::uint16_t varCount = 0;
    std::vector<const DefinitionShape::Col*> bySlot;
    std::vector<std::uint8_t> mask;
    std::vector<std::uint16_t> offsets;
    std::vector<std::uint8_t> rowBuf_;
};

// Row pointer in the new file: page << 8 | row.
using RowPointer = std::uint32_t;

// One index entry: key bytes as Jet stores them (flags and encodings of every column) and the
// row it points to.
struct BuildEntry {
    std::string key;
    RowPointer row = 0;
};

struct BuildHeader {
    std::uint16_t codePage = 1252;
    std::uint32_t sortOrder = 0;  // 0: the format's General order
    double created = 0;           // OLE date
    // Header bytes (unmasked, whole page 0) to start from; empty: the builder's own.
    std::vector<std::uint8_t> page0;
};

class DatabaseBuilder {
  public:
    DatabaseBuilder(const JetFormat& f, PageSink& sink, std::string fileName);
    ~DatabaseBuilder();

    const JetFormat& format() const noexcept { return f_; }

    // Reserves the pages a definition of `length` bytes needs and returns its first page. The first
    // reservation is the catalog's and lands on page 2.
    std::uint32_t reserveDefinition(std::size_t length);

    class TableWriter;
    // Starts writing the table whose definition was reserved at `tdefPage`. One table at a time.
    std::unique_ptr<TableWriter> table(std::uint32_t tdefPage, std::vector<std::uint8_t> definition,
                                       DefinitionShape shape);

    // Writes page 0 and the global usage map; afterwards the file is complete.
    void finish(const BuildHeader& header);

    std::uint32_t pageCount() const noexcept { return nextPage_; }
    std::uint64_t bytesWritten() const noexcept { return bytesWritten_; }

    // Internal to the builder's parts.
    // Rows that tables share pages for: long values ("LVAL" pages) and usage maps (pages owned by
    // no table). Returns the row pointer (page << 8 | row).
    enum class Shared { LongValue = 0, UsageMap = 1 };
    std::uint32_t addSharedRow(Shared kind, const std::uint8_t* data, std::size_t length);
    // Closes the shared long-value page (before a chain of whole pages is written, for instance).
    void closeShared(Shared kind);
    std::uint32_t allocate(std::uint32_t count = 1);
    void putPage(std::uint32_t page, const std::uint8_t* data);
    void flushPending();

  private:
    const JetFormat& f_;
    PageSink& sink_;
    std::string fileName_;
    std::uint32_t nextPage_ = 2;  // 0 header, 1 global usage map
    std::uint64_t bytesWritten_ = 0;
    // Write combining: consecutive pages go out in one call.
    std::vector<std::uint8_t> pending_;
    std::uint32_t pendingFirst_ = 0;
    std::uint32_t pendingCount_ = 0;
    struct SharedPages;
    std::unique_ptr<SharedPages> shared_;
};

class DatabaseBuilder::TableWriter {
  public:
    TableWriter(DatabaseBuilder& b, std::uint32_t tdefPage, std::vector<std::uint8_t> definition,
                DefinitionShape shape);
    ~TableWriter();

    // Appends a row (cells indexed by column number; missing ones are Null) and returns where it went.
    RowPointer addRow(const std::vector<Cell>& cells);
    std::uint32_t rowCount() const noexcept { return rows_; }
    // Closes the open data and long-value pages (done by beginIndex and finish too).
    void finishRowsIfOpen();

    // Index `real` (position among the definition's real indexes): entries strictly in Jet's key
    // order (key bytes, then row pointer). Call once per real index, after the last addRow.
    void beginIndex(std::size_t real);
    void addIndexEntry(const BuildEntry& e);
    void endIndex();

    // Foreign keys: the definition page of a related table, given its page in the source.
    void setRelatedTable(std::size_t logical, std::uint32_t page);

    // Writes the usage maps and the definition. `autoNumber` is the last autonumber handed out.
    void finish(std::uint32_t autoNumber);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
    std::uint32_t rows_ = 0;
};

// Lays the part of a table definition (`length` bytes at `def`) that belongs on one page of its
// chain onto `page` (f.pageSize bytes, cleared first): the first page holds the definition from
// its start, every further one the next f.pageSize - 8 bytes behind an 8-byte header. Returns the
// bytes it took from `pos`; the caller sets the pointer to the next page.
std::size_t layDefinitionPage(const JetFormat& f, const std::uint8_t* def, std::size_t length,
                              std::size_t pos, bool first, std::uint8_t* page);

// The current time as Jet stores dates (days since 1899-12-30, in whole seconds), for the dates
// written into catalog rows.
double oleNow();

// Encodes an integer column's key part (flag byte and big-endian value with the sign bit flipped;
// descending columns have every byte inverted; Null is the flag byte alone).
void appendIntegerKey(std::string& key, std::uint8_t type, const std::string* stored, bool ascending);

// Writes a little-endian 16/32-bit value.
inline void put16(std::uint8_t* p, std::uint16_t v) {
    p[0] = static_cast<std::uint8_t>(v);
    p[1] = static_cast<std::uint8_t>(v >> 8);
}
inline void put32(std::uint8_t* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}

}  // namespace jet::detail
