// Engine internals shared by the reader parts: the open file and parsed table definitions.
// Not part of the public interface; include only from jet/ sources.
#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "jet/database.h"
#include "jet/error.h"
#include "jet/file.h"
#include "jet/format.h"
#include "jet/locks.h"
#include "jet/page_channel.h"
#include "jet/table.h"

namespace jet::detail {

// Sanity limits: nothing a real database needs, everything a damaged one might claim.
inline constexpr std::size_t kMaxTableDefPages = 256;  // a table definition's page chain
inline constexpr std::size_t kMaxColumns = 4096;       // columns per table (Jet allows 255)
inline constexpr std::size_t kMaxIndexes = 1024;
inline constexpr std::size_t kMaxLongValueBytes = 256u << 20;  // one memo or OLE value
inline constexpr std::size_t kMaxOverflowHops = 16;            // overflow pointer chain

inline std::uint16_t u16(const std::uint8_t* p) noexcept {
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
inline std::uint32_t u24(const std::uint8_t* p) noexcept {
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16);
}
inline std::uint32_t u32(const std::uint8_t* p) noexcept {
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}
inline std::uint32_t u32be(const std::uint8_t* p) noexcept {
    return (static_cast<std::uint32_t>(p[0]) << 24) | (static_cast<std::uint32_t>(p[1]) << 16) |
           (static_cast<std::uint32_t>(p[2]) << 8) | static_cast<std::uint32_t>(p[3]);
}

struct TableLayout {
    std::string name;
    std::uint32_t tdefPage = 0;
    std::uint32_t rowCount = 0;
    std::uint32_t autoNumber = 0;
    std::uint8_t tableType = 0;
    std::uint16_t maxColumns = 0;
    std::uint16_t varColumnCount = 0;
    std::uint32_t ownedPagesMap = 0;  // row (low byte) + page (upper 3 bytes)
    std::uint32_t freePagesMap = 0;
    std::vector<Column> columns;  // in display order
    std::vector<RealIndex> realIndexes;
    std::vector<Index> indexes;
    // Memo and OLE columns: column number and the usage maps of its long-value pages.
    struct LongValueMaps {
        std::uint16_t column = 0;
        std::uint32_t owned = 0;
        std::uint32_t free = 0;
    };
    std::vector<LongValueMaps> longValueMaps;
    std::vector<std::uint32_t> definitionPages;  // the TDEF chain, first page first
};

// The open file.
class Store {
  public:
    std::string path;
    FileSystem* fs = nullptr;
    std::unique_ptr<File> file;  // before channel and locks: they use it
    std::unique_ptr<OpenLocks> locks;
    bool writable = false;       // the file is open for writing
    std::size_t spillBytes = 0;  // OpenOptions::spillBytes
    std::uint64_t device = 0, inode = 0;
    std::uint64_t generation = 0;  // fileGeneration() when the catalog was read
    // Things found while opening that the caller may want to tell (a journal that was rolled
    // back, one that was ignored).
    std::vector<std::string> notices;
    const JetFormat* fmt = nullptr;
    FormatVersion version = FormatVersion::Jet4;
    std::uint16_t codePage = 0;
    std::uint32_t sortOrder = 0;
    bool encrypted = false;
    std::unique_ptr<PageChannel> channel;
    std::vector<CatalogEntry> catalog;
    std::vector<RowId> catalogRows;  // where each catalog entry lives
    std::vector<TableDefInfo> tableDefs;

    [[noreturn]] void corrupt(std::uint32_t page, std::size_t offset, const std::string& what) const {
        if (channel) channel->markDamaged();
        throw Error::corrupt(path, page, static_cast<std::uint32_t>(offset), what);
    }

    PageRef page(std::uint32_t number) { return channel->page(number); }

    // After a commit (ours or another open of the same file in this process): drops what was cached,
    // takes the file's new size and reads the catalog again. No PageRef may be alive.
    void reload();
    // reload() when another open of this file in this process committed since we last read.
    void refreshIfChanged();

    // Parsed definition of the table whose TDEF starts at `tdefPage`; cached.
    std::shared_ptr<const TableLayout> layout(std::uint32_t tdefPage, const std::string& name);

  private:
    std::map<std::uint32_t, std::shared_ptr<const TableLayout>> layouts_;
};

// Parses the table definition chain starting at `tdefPage`.
std::shared_ptr<const TableLayout> readTableLayout(Store& store, std::uint32_t tdefPage,
                                                   const std::string& name);

// Pages a usage map (row+page pointer) marks, in page order. Pages beyond the file are left out.
std::vector<std::uint32_t> usageMapPages(Store& store, std::uint32_t mapPointer);

// Bounds of row `row` on a data page: [start, end) within the page, plus the raw offset entry.
struct RowBounds {
    std::uint16_t start = 0;
    std::uint16_t end = 0;
    std::uint16_t flags = 0;
};
// Number of rows on a data page (checked against the page size).
std::uint16_t dataPageRowCount(const Store& store, const PageRef& page);
RowBounds dataRowBounds(const Store& store, const PageRef& page, std::uint16_t row);

// Text conversions to UTF-8. The write* forms need textCapacity(length) bytes at `dst` and return
// the end of what they wrote; the append* forms append to `out`.
inline std::size_t textCapacity(std::size_t length) noexcept {
    return length * 3 + 4;
}
char* writeUcs2(char* dst, const std::uint8_t* data, std::size_t length);
char* writeJet4Text(char* dst, const std::uint8_t* data, std::size_t length);
char* writeCodePageText(char* dst, const std::uint8_t* data, std::size_t length, std::uint16_t codePage);
char* writeText(const Store& store, char* dst, const std::uint8_t* data, std::size_t length);
void appendUcs2(std::string& out, const std::uint8_t* data, std::size_t length);
// Jet 4 text: UCS-2, or the compressed form starting FF FE.
void appendJet4Text(std::string& out, const std::uint8_t* data, std::size_t length);
// Jet 3 text in the database code page (1252 and anything else read as Windows-1252).
void appendCodePageText(std::string& out, const std::uint8_t* data, std::size_t length,
                        std::uint16_t codePage);
void appendText(const Store& store, std::string& out, const std::uint8_t* data, std::size_t length);
// The reverse for Jet 3: UTF-8 text appended to `out` in Windows-1252, the five unassigned
// positions included (their C1 controls are what reading them gives). False, with `missing` set,
// at the first character the code page lacks; `out` then holds a part and is to be discarded.
bool encodeCp1252(std::string_view utf8, std::string& out, std::uint32_t& missing);
// Jet 4's compressed form of UTF-8 text appended to `out`: the mark FF FE, then one byte per
// character. Only for more than two characters, all in U+0001..U+00FF, and at most
// kMostCompressedTextCharacters of them; otherwise false with `out` unchanged (the text is
// then stored as UCS-2). Malformed UTF-8 is never compressed.
bool appendCompressedJet4Text(std::string& out, std::string_view utf8);

// Reads a memo/OLE value whose 12-byte field (and inline data) is `field`; `page` and `offset`
// locate the field for error texts. Appends the value's bytes to `out`.
void readLongValue(Store& store, const std::uint8_t* field, std::size_t length, std::uint32_t page,
                   std::size_t offset, std::string& out);

// The same, without copying when the value lies in one piece (inline or a single row): then
// the view points into the row or into the page `holder` keeps. Otherwise the pieces are
// gathered into `scratch` and the view points there.
struct ByteView {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
};
ByteView longValueView(Store& store, const std::uint8_t* field, std::size_t length, std::uint32_t page,
                       std::size_t offset, PageRef& holder, std::string& scratch);

// Case-insensitive comparison of names as the engine matches them.
bool sameName(std::string_view a, std::string_view b) noexcept;

}  // namespace jet::detail
