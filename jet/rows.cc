// Data pages, usage maps and long values.
//
// Data page: 01 01, free space (2), owning TDEF page (4); Jet 4 has 4 more bytes before the row
// count. Then the row count (2) and one 2-byte entry per row: low 13 bits the row's start,
// 0x8000 deleted, 0x4000 "overflow" (the row is a 4-byte pointer to where the row really is).
// Rows are filled from the end of the page, so row i ends where row i-1 starts.
//
// Usage map (a row on some data page): type 0 = start page (4) and a bitmap of the pages from it;
// type 1 = a list of 4-byte page numbers of 0x05 bitmap pages, the i-th covering
// (pageSize - 4) * 8 pages from i times that.
//
// Long value field (12 bytes): length with flags in the top two bits (0x80 data inline after the
// field, 0x40 data is one whole row elsewhere, neither: a chain of rows each starting with a
// 4-byte pointer to the next piece), a row+page pointer, 4 unused bytes.
#include <algorithm>
#include <unordered_set>

#include "jet/store.h"

namespace jet::detail {

std::uint16_t dataPageRowCount(const Store& store, const PageRef& page) {
    const JetFormat& f = *store.fmt;
    std::uint16_t count = u16(page.data() + f.dataRowCount);
    std::size_t maxRows = (f.pageSize - f.dataRowOffsets) / 2;
    if (count > maxRows) store.corrupt(page.number(), f.dataRowCount, "implausible row count");
    return count;
}

RowBounds dataRowBounds(const Store& store, const PageRef& page, std::uint16_t row) {
    const JetFormat& f = *store.fmt;
    const std::uint8_t* p = page.data();
    std::size_t entry = f.dataRowOffsets + 2u * row;
    std::uint16_t raw = u16(p + entry);
    RowBounds b;
    b.flags = raw & static_cast<std::uint16_t>(~kRowOffsetMask);
    b.start = raw & kRowOffsetMask;
    if (row == 0) {
        b.end = static_cast<std::uint16_t>(f.pageSize);
    } else {
        b.end = u16(p + entry - 2) & kRowOffsetMask;
    }
    std::uint16_t rowCount = u16(p + f.dataRowCount);
    std::size_t tableEnd = f.dataRowOffsets + 2u * rowCount;
    if ((b.flags & kRowDeleted) == 0 && (b.start < tableEnd || b.start > b.end || b.end > f.pageSize)) {
        store.corrupt(page.number(), entry, "row offsets out of order");
    }
    return b;
}

std::vector<std::uint32_t> usageMapPages(Store& store, std::uint32_t mapPointer) {
    const JetFormat& f = *store.fmt;
    std::uint32_t mapPage = mapPointer >> 8;
    std::uint16_t mapRow = mapPointer & 0xFF;
    PageRef page = store.page(mapPage);
    if (page.data()[0] != kPageData) store.corrupt(mapPage, 0, "usage map is not on a data page");
    if (mapRow >= dataPageRowCount(store, page))
        store.corrupt(mapPage, f.dataRowCount, "usage map row missing");
    RowBounds b = dataRowBounds(store, page, mapRow);
    if (b.start >= b.end || (b.flags & kRowDeleted))
        store.corrupt(mapPage, b.start, "usage map row is empty");
    const std::uint8_t* row = page.data() + b.start;
    std::size_t len = b.end - b.start;
    std::uint32_t pageCount = store.channel->pageCount();
    std::vector<std::uint32_t> pages;

    auto addBits = [&](const std::uint8_t* bits, std::size_t n, std::uint64_t firstPage) {
        for (std::size_t i = 0; i < n; ++i) {
            std::uint8_t byte = bits[i];
            if (byte == 0) continue;
            for (int bit = 0; bit < 8; ++bit) {
                if (byte & (1u << bit)) {
                    std::uint64_t pg = firstPage + i * 8 + static_cast<unsigned>(bit);
                    if (pg < pageCount) pages.push_back(static_cast<std::uint32_t>(pg));
                }
            }
        }
    };

    if (row[0] == 0) {
        if (len < 5) store.corrupt(mapPage, b.start, "usage map too short");
        addBits(row + 5, len - 5, u32(row + 1));
    } else if (row[0] == 1) {
        std::size_t perPage = static_cast<std::size_t>(f.pageSize - 4) * 8;
        std::size_t slots = (len - 1) / 4;
        for (std::size_t s = 0; s < slots; ++s) {
            std::uint32_t bitmapPage = u32(row + 1 + 4 * s);
            if (bitmapPage == 0) continue;
            if (std::uint64_t(s) * perPage >= pageCount) break;
            PageRef bp = store.page(bitmapPage);
            if (bp.data()[0] != kPageUsageMap) store.corrupt(bitmapPage, 0, "not a usage bitmap page");
            addBits(bp.data() + 4, f.pageSize - 4, std::uint64_t(s) * perPage);
        }
    } else {
        store.corrupt(mapPage, b.start, "unknown usage map type");
    }
    std::sort(pages.begin(), pages.end());
    pages.erase(std::unique(pages.begin(), pages.end()), pages.end());
    return pages;
}

ByteView longValueView(Store& store, const std::uint8_t* field, std::size_t length, std::uint32_t page,
                       std::size_t offset, PageRef& holder, std::string& out) {
    const JetFormat& f = *store.fmt;
    if (length < kLongValueFieldSize) store.corrupt(page, offset, "long value field too short");
    std::uint32_t head = u32(field);
    std::uint32_t total = head & kLongValueLengthMask;
    std::uint32_t pointer = u32(field + 4);
    // No value can be larger than the file that holds it.
    if (total > kMaxLongValueBytes ||
        total > static_cast<std::uint64_t>(store.channel->pageCount()) * store.channel->pageSize())
        store.corrupt(page, offset, "implausible long value length");

    if (head & kLongValueInline) {
        if (total > length - kLongValueFieldSize)
            store.corrupt(page, offset, "inline long value overruns its row");
        return ByteView{field + kLongValueFieldSize, total};
    }
    if (total == 0) return ByteView{field, 0};

    auto rowOf = [&](std::uint32_t ptr, PageRef& keep, std::uint32_t fromPage,
                     std::size_t fromOffset) -> std::pair<const std::uint8_t*, std::size_t> {
        std::uint32_t pg = ptr >> 8;
        std::uint16_t rw = ptr & 0xFF;
        if (pg == 0 || pg >= store.channel->pageCount())
            store.corrupt(fromPage, fromOffset, "long value pointer beyond the file");
        keep = store.page(pg);
        if (keep.data()[0] != kPageData) store.corrupt(pg, 0, "long value page is not a data page");
        if (rw >= dataPageRowCount(store, keep)) store.corrupt(pg, f.dataRowCount, "long value row missing");
        RowBounds b = dataRowBounds(store, keep, rw);
        if (b.start > b.end || b.end > f.pageSize || b.start < f.dataRowOffsets)
            store.corrupt(pg, f.dataRowOffsets + 2u * rw, "long value row out of bounds");
        return {keep.data() + b.start, static_cast<std::size_t>(b.end - b.start)};
    };

    if (head & kLongValueSingle) {
        auto [data, len] = rowOf(pointer, holder, page, offset + 4);
        if (len < total) store.corrupt(pointer >> 8, 0, "long value row shorter than its length");
        return ByteView{data, total};
    }
    out.clear();
    out.reserve(total);
    // Chain: bounded by the page count and by the value's own length (each piece adds bytes).
    std::size_t remaining = total;
    std::uint32_t current = pointer;
    std::uint32_t fromPage = page;
    std::size_t fromOffset = offset + 4;
    std::unordered_set<std::uint32_t> visited;
    while (remaining > 0) {
        if (current == 0) store.corrupt(fromPage, fromOffset, "long value chain ends early");
        if (!visited.insert(current).second) store.corrupt(fromPage, fromOffset, "long value chain loops");
        auto [data, len] = rowOf(current, holder, fromPage, fromOffset);
        if (len < 4) store.corrupt(current >> 8, 0, "long value piece too short");
        std::size_t piece = std::min(len - 4, remaining);
        if (piece == 0) store.corrupt(current >> 8, 0, "empty long value piece");
        out.append(reinterpret_cast<const char*>(data + 4), piece);
        remaining -= piece;
        fromPage = current >> 8;
        fromOffset = static_cast<std::size_t>(data - holder.data());
        current = u32(data);
    }
    return ByteView{reinterpret_cast<const std::uint8_t*>(out.data()), out.size()};
}

void readLongValue(Store& store, const std::uint8_t* field, std::size_t length, std::uint32_t page,
                   std::size_t offset, std::string& out) {
    PageRef holder;
    std::string scratch;
    ByteView v = longValueView(store, field, length, page, offset, holder, scratch);
    out.append(reinterpret_cast<const char*>(v.data), v.size);
}

}  // namespace jet::detail
