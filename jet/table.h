// Table definitions and a forward cursor over a table's rows.
//
// Table holds the parsed table definition (columns, indexes, counts). Cursor walks the rows in the
// engine's scan order: the data pages listed by the table's usage map in page order, rows in
// their order on the page, deleted rows skipped, overflow rows followed. Values are decoded only
// when asked for, so reading one column of a wide table costs little more than finding the rows.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "jet/error.h"

#include "jet/value.h"

namespace jet {

namespace detail {
class Store;
struct TableLayout;
}  // namespace detail

struct Column {
    std::string name;
    ColumnType type = ColumnType::Unknown;
    std::uint8_t rawType = 0;           // the type byte as stored
    std::uint16_t number = 0;           // column number: the row's null-mask bit
    std::uint16_t index = 0;            // display order (DAO's OrdinalPosition)
    std::uint16_t size = 0;             // bytes (Text: bytes as stored, i.e. 2 per character in Jet 4)
    std::uint8_t flags = 0;             // 0x01 fixed length, 0x02 nullable, 0x04 autonumber, ...
    std::uint8_t extFlags = 0;          // Jet 4: kColumnExtCompressedText, ...
    bool fixed = false;                 // stored in the fixed-length part of a row
    std::uint16_t fixedOffset = 0;      // fixed columns: offset in the fixed part
    std::uint16_t varIndex = 0;         // variable columns: slot in the row's offset table
    std::uint8_t precision = 0;         // Decimal
    std::uint8_t scale = 0;             // Decimal
    std::uint16_t collation = 0;        // Text/Memo: sort order (Jet 4) / code page
    std::uint8_t collationVersion = 0;  // Jet 4 Text/Memo: 0 "General Legacy", 1 "General" (2010+)
};

struct IndexColumn {
    std::uint16_t columnNumber = 0;
    bool ascending = true;
};

// A physical index ("real index"): the B-tree that logical indexes share.
struct RealIndex {
    std::vector<IndexColumn> columns;
    std::uint32_t usageMap = 0;  // row+page pointer of its usage map
    std::uint32_t rootPage = 0;
    std::uint8_t flags = 0;  // 0x01 unique, 0x02 ignore nulls, 0x08 required
    std::uint32_t uniqueEntryCount = 0;
};

// A logical index as DAO lists it (primary key, foreign key, ordinary index).
struct Index {
    std::string name;
    std::int32_t number = 0;
    std::int32_t realIndex = -1;
    std::uint8_t kind = 0;           // 1 primary key, 2 foreign key, 0 other
    std::uint32_t relatedTable = 0;  // foreign keys: TDEF page of the other table
    std::int32_t relatedIndex = -1;
    std::uint8_t cascade = 0;
};

// Where a row lives: data page and row number on it.
struct RowId {
    std::uint32_t page = 0;
    std::uint16_t row = 0;
    friend bool operator==(const RowId&, const RowId&) = default;
};

class Cursor;

// Where a table's rows live: its data pages in scan order and the number of live rows on each,
// found from the pages' row tables without reading any row. Row `ordinal` of the scan lies on
// pages[p] for the p with firstOrdinal[p] <= ordinal < firstOrdinal[p + 1] (the last entry of
// firstOrdinal is the row count).
struct RowDirectory {
    std::vector<std::uint32_t> pages;
    std::vector<std::uint64_t> firstOrdinal;  // pages.size() + 1 entries
    std::uint64_t rowCount() const noexcept { return firstOrdinal.empty() ? 0 : firstOrdinal.back(); }
};

class Table {
  public:
    Table(std::shared_ptr<detail::Store> store, std::shared_ptr<const detail::TableLayout> layout);
    Table(Table&&) noexcept;
    Table& operator=(Table&&) noexcept;
    ~Table();

    const std::string& name() const noexcept;
    std::uint32_t definitionPage() const noexcept;

    // Columns in display order (by Column::index).
    const std::vector<Column>& columns() const noexcept;
    std::size_t fieldCount() const noexcept { return columns().size(); }
    // Position in columns() of the named column (without regard to case), or -1.
    int findColumn(std::string_view name) const noexcept;

    const std::vector<RealIndex>& realIndexes() const noexcept;
    const std::vector<Index>& indexes() const noexcept;

    // The row count the table definition keeps (what the engine reports as RecordCount).
    std::uint32_t rowCount() const noexcept;
    // Counts live rows by scanning (3049 on damage).
    std::uint64_t countRows() const;

    // A new cursor before the first row.
    Cursor cursor() const;
    // The table's data pages with their live row counts (3049 when the usage map or a page's
    // row count is damaged; damage inside a row is found only when the row is read).
    RowDirectory rowDirectory() const;

    const detail::TableLayout& layout() const noexcept { return *layout_; }

  private:
    std::shared_ptr<detail::Store> store_;
    std::shared_ptr<const detail::TableLayout> layout_;
};

// Forward cursor. Accessors take a position in Table::columns(). Errors: 3049 with page and
// offset when a row or long value is damaged; 3021 when there is no current row (before the
// first next() or after the last); 3265 for a column position out of range.
class Cursor {
  public:
    Cursor(std::shared_ptr<detail::Store> store, std::shared_ptr<const detail::TableLayout> layout);
    Cursor(Cursor&&) noexcept;
    Cursor& operator=(Cursor&&) noexcept;
    ~Cursor();

    // Moves to the next live row; false at the end (and on every call after).
    bool next();
    // Moves onto the `live`-th live row (from 0) of data page `page`, from where next() goes on
    // in scan order. False, leaving no current row, when the page holds fewer live rows or is no
    // longer a data page of this table (the file changed); 3049 when the row is damaged.
    bool seek(std::uint32_t page, std::uint32_t live);
    // Moves onto the row at `id` (as rowId() gave it). False, leaving no current row, when that
    // row is deleted or its page is no longer a data page of this table.
    bool seek(RowId id);
    RowId rowId() const noexcept;
    // Makes the row at `id` (as rowId() gave it) the current row, for reading rows in an index's
    // order. False when no live row of this table is there. Ends a scan in progress: next()
    // returns false afterwards.
    bool moveTo(RowId id);

    bool isNull(std::size_t column) const;
    Value value(std::size_t column) const;
    // Text and Memo as UTF-8 without building a Value; the view stays valid until the next call
    // of text() or next(). Empty for Null. Other types: their value formatted as export text.
    std::string_view text(std::size_t column) const;
    // The stored form of a Text or Memo value, for writers that convert text straight into
    // their own output, valid until the next call of text()/stored() or next():
    //   Utf16: `data` is the value as little-endian UTF-16 code units (Jet 4 text stored
    //          uncompressed; an odd last byte is not a unit);
    //   Narrow: `data` has one byte a character (Jet 4 compressed text after its marker, Jet 3
    //          code-page text), and every byte from 0x01 to 0x7F is that ASCII character; a value
    //          holding any other byte (a compression mode switch, a code-page character) is to
    //          be read through text();
    //   Other: everything else (Null, other types): read those through text().
    enum class Stored { Utf16, Narrow, Other };
    Stored stored(std::size_t column, std::string_view& data) const;
    // The stored bytes of a fixed or inline variable column (long values: the 12-byte field
    // and inline data), valid until next(). Empty for Null or absent columns.
    std::string_view raw(std::size_t column) const;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace jet
