// Index B-trees: reading, checking and changing the pages of a real index.
//
// Page layout (both formats; offsets from JetFormat):
//   type (0x03 intermediate, 0x04 leaf), 01, free space (2), owning TDEF page (4),
//   [Jet 4: 4 unknown bytes], prev (4), next (4), child tail (4), prefix length
//   (1 byte Jet 3, 2 bytes Jet 4), a byte that is 1 on intermediate pages, the entry mask, entries.
// The mask has one bit per byte of the entry area: a set bit marks where an entry ends. The first
// entry is stored whole; every later one omits the first `prefix length` bytes, which it shares
// with the first. An entry is the key, the row's data page (3 bytes big-endian) and row (1 byte);
// an intermediate entry adds its child page (4 bytes big-endian) and repeats the last entry below
// that child. The last child of an intermediate page with more than one child is not an entry but
// the "child tail" field. Leaves (and pages of one level) are linked by prev/next.
// Entries are strictly increasing by (key bytes unsigned, page, row).
//
// Everything that reads pages checks what it reads: bad page types, entries that do not fit,
// order violations, loops, trees deeper than any real one, or more pages than the file has raise
// jet::Error 3049 naming the page. No input can make these functions crash or run unbounded.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "jet/error.h"
#include "jet/format.h"
#include "jet/page_io.h"

namespace jet::detail {

class Store;

inline constexpr std::size_t kMaxIndexDepth = 32;

// A row pointer as index entries store it: data page in the upper 24 bits, row in the low 8.
inline constexpr std::uint32_t rowPointer(std::uint32_t page, std::uint32_t row) noexcept {
    return (page << 8) | (row & 0xFF);
}

struct IndexEntry {
    std::vector<std::uint8_t> key;
    std::uint32_t page = 0;   // data page (24 bits)
    std::uint8_t row = 0;     // row on that page
    std::uint32_t child = 0;  // intermediate entries: the child page

    std::uint32_t pointer() const noexcept { return rowPointer(page, row); }
};

// <0, 0, >0 as (key, page, row) of a is below, equal to, above b's.
int compareEntries(const IndexEntry& a, const IndexEntry& b) noexcept;

// One index page, decoded. For intermediate pages `entries` holds the stored entries only; the
// tail child (if any) is in `tail`.
struct IndexPage {
    std::uint32_t number = 0;
    bool leaf = true;
    std::uint32_t owner = 0;
    std::uint32_t prev = 0;
    std::uint32_t next = 0;
    std::uint32_t tail = 0;
    std::vector<IndexEntry> entries;
};

// Decodes page `number` (its bytes at `bytes`). 3049 on anything that does not add up, naming
// `fileName` (may be empty).
IndexPage decodeIndexPage(const JetFormat& f, std::uint32_t number, const std::uint8_t* bytes,
                          const std::string& fileName);

// Bytes the entries of `page` take when encoded (prefix compression applied).
std::size_t encodedEntryBytes(const IndexPage& page);
// The most entry bytes a page can hold.
std::size_t indexPageCapacity(const JetFormat& f) noexcept;

// Writes `page` into `out` (f.pageSize bytes). `out` may hold the page's old bytes; bytes this
// layout does not define (Jet 4's four unknown header bytes) are kept. Prefix, mask and free
// space are computed. The caller checks that the entries fit.
void encodeIndexPage(const JetFormat& f, const IndexPage& page, std::uint8_t* out);

// Page access for read-only walks of an open database (write, allocate and release throw).
class StorePageIO final : public PageIO {
  public:
    explicit StorePageIO(Store& store) : store_(store) {}
    const JetFormat& format() const override;
    std::uint32_t pageCount() const override;
    void read(std::uint32_t page, std::uint8_t* out) override;
    void write(std::uint32_t page, const std::uint8_t* data) override;
    std::uint32_t allocate(std::uint32_t usageMap) override;
    void release(std::uint32_t page, std::uint32_t usageMap) override;

  private:
    Store& store_;
};

// Where a real index lives.
struct IndexRef {
    std::uint32_t root = 0;
    std::uint32_t usageMap = 0;  // row+page pointer of the index's usage map (0 = none)
    std::uint32_t owner = 0;     // the table's TDEF page
};

// Calls `visit` for every leaf entry in order. Checks the whole tree (see above). `fileName`
// names the file in error texts.
void walkIndex(PageIO& io, std::uint32_t root, const std::function<void(const IndexEntry&)>& visit,
               const std::string& fileName = {});
std::vector<IndexEntry> readIndexEntries(PageIO& io, std::uint32_t root, const std::string& fileName = {});

// Changes to one index within a transaction. Pages are read through `io` as they are needed and
// written back by commit(); nothing reaches `io` before then (except pages allocated for splits,
// which are only allocated, not written, until commit()).
class IndexEditor {
  public:
    IndexEditor(PageIO& io, const IndexRef& ref, std::string fileName = {});
    ~IndexEditor();
    IndexEditor(const IndexEditor&) = delete;
    IndexEditor& operator=(const IndexEditor&) = delete;

    // Removes every leaf entry whose row pointer (rowPointer(page, row)) is in `rows`, in one pass
    // over the leaves. Leaves (and intermediate pages) left empty are unlinked and released, the
    // root excepted: an emptied root becomes an empty leaf. Returns the number of entries removed.
    std::size_t removeRows(const std::set<std::uint32_t>& rows);

    // Inserts a leaf entry (its child is ignored). Splits full pages, adds a level above the
    // root when the root splits (the root keeps its page number). An entry equal to an existing
    // one (same key and row) is an error (3049: the index would hold a row twice).
    void insert(const IndexEntry& entry);
    void insert(IndexEntry&& entry);

    // Row pointers of the entries whose key bytes equal `key`, in order, as this editor sees the
    // index (its own changes included): what a unique index must not hold twice.
    std::vector<std::uint32_t> findKey(const std::vector<std::uint8_t>& key);

    // Writes every changed page through the PageIO and releases pages no longer used.
    void commit();

    // When more than `keep` pages are held: writes the changed leaves (the root excepted) through
    // the PageIO and forgets them; they are read again when needed. Many inserts then hold the
    // intermediate pages and the leaves they are at, not the whole index.
    void trim(std::size_t keep);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace jet::detail
