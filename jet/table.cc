// Tables and the row cursor.
//
// Row layout (offsets from the row's start; "end" is one past its last byte):
//   column count (1 byte Jet 3, 2 bytes Jet 4) | fixed-length data | variable-length data |
//   ... | variable offset table | variable column count | null mask
// The null mask holds one bit per column number, (count + 7) / 8 bytes, at the very end; a set
// bit means "has a value" (for Boolean columns the bit is the value). Jet 4: before the mask a
// 2-byte variable column count n, before that n + 1 two-byte offsets stored backwards (entry i
// at end - mask - 4 - 2i; entry n is the end of the variable data). Jet 3: 1-byte count and
// 1-byte offsets, with a jump table (one byte per 256 bytes of row) saying at which variable
// column the offsets pass the next multiple of 256.
// A row carries only the columns that existed when it was written: column numbers from its
// count upwards, and variable columns from its variable count upwards, are absent (Null;
// Boolean False).
#include <algorithm>
#include <charconv>
#include <cstring>

#include "jet/store.h"

namespace jet {

using namespace detail;

namespace {

// A fixed column's bytes in a row; a type the engine does not know keeps the descriptor's length.
std::size_t fixedSize(const Column& c) {
    const std::size_t n = fixedValueSize(c.type);
    return n != 0 ? n : c.size;
}

template <class T>
T loadLE(const std::uint8_t* p) {
    T v;
    std::memcpy(&v, p, sizeof v);  // the engine only builds on little-endian hosts
    return v;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Table

Table::Table(std::shared_ptr<Store> store, std::shared_ptr<const TableLayout> layout)
    : store_(std::move(store)), layout_(std::move(layout)) {}
Table::Table(Table&&) noexcept = default;
Table& Table::operator=(Table&&) noexcept = default;
Table::~Table() = default;

const std::string& Table::name() const noexcept {
    return layout_->name;
}
std::uint32_t Table::definitionPage() const noexcept {
    return layout_->tdefPage;
}
const std::vector<Column>& Table::columns() const noexcept {
    return layout_->columns;
}
const std::vector<RealIndex>& Table::realIndexes() const noexcept {
    return layout_->realIndexes;
}
const std::vector<Index>& Table::indexes() const noexcept {
    return layout_->indexes;
}
std::uint32_t Table::rowCount() const noexcept {
    return layout_->rowCount;
}

int Table::findColumn(std::string_view name) const noexcept {
    const auto& cols = layout_->columns;
    for (std::size_t i = 0; i < cols.size(); ++i) {
        if (sameName(cols[i].name, name)) return static_cast<int>(i);
    }
    return -1;
}

std::uint64_t Table::countRows() const {
    Cursor c = cursor();
    std::uint64_t n = 0;
    while (c.next()) ++n;
    return n;
}

Cursor Table::cursor() const {
    return Cursor(store_, layout_);
}

RowDirectory Table::rowDirectory() const {
    const JetFormat& f = *store_->fmt;
    RowDirectory dir;
    dir.firstOrdinal.push_back(0);
    std::uint64_t total = 0;
    for (const std::uint32_t pg : usageMapPages(*store_, layout_->ownedPagesMap)) {
        PageRef page = store_->page(pg);
        const std::uint8_t* p = page.data();
        // The same pages a cursor visits: only this table's own data pages count.
        if (p[0] != kPageData || u32(p + f.dataOwner) != layout_->tdefPage) continue;
        const std::uint16_t rows = dataPageRowCount(*store_, page);
        std::uint32_t live = 0;
        for (std::uint16_t r = 0; r < rows; ++r)
            if ((u16(p + f.dataRowOffsets + 2u * r) & kRowDeleted) == 0) ++live;
        if (live == 0) continue;
        total += live;
        dir.pages.push_back(pg);
        dir.firstOrdinal.push_back(total);
    }
    return dir;
}

// ---------------------------------------------------------------------------------------------
// Cursor

struct Cursor::Impl {
    std::shared_ptr<Store> store;
    std::shared_ptr<const TableLayout> layout;
    const JetFormat* f = nullptr;

    std::vector<std::uint32_t> pages;  // candidate data pages in order
    std::size_t pageIndex = 0;
    PageRef page;  // current data page
    std::uint16_t rowsOnPage = 0;
    std::uint32_t nextRow = 0;
    bool started = false;
    bool done = false;
    bool onRow = false;

    PageRef overflowPage;         // holds the page of an overflow row's real data
    std::uint32_t rowPageNo = 0;  // page holding the current row's bytes
    const std::uint8_t* row = nullptr;
    std::size_t rowLen = 0;
    std::size_t rowStart = 0;  // offset of the row within its page
    RowId id;

    // Cracked row.
    std::uint16_t colCount = 0;
    const std::uint8_t* nullMask = nullptr;
    std::size_t nullMaskLen = 0;
    std::uint16_t varCount = 0;
    std::size_t varTableStart = 0;  // Jet 4: position of offset entry 0 (entries go backwards)
    std::size_t dataLimit = 0;      // end of the row's data area
    std::vector<std::uint16_t> jet3Offsets;

    mutable std::string text;     // text(): grows, never shrinks; the view covers the front
    mutable std::string scratch;  // long values gathered from several pieces
    mutable PageRef longPage;     // page holding the current single-piece long value

    // Converts stored text into `text` and returns the view.
    std::string_view convert(const std::uint8_t* d, std::size_t n) const {
        std::size_t need = textCapacity(n);
        if (text.size() < need) text.resize(std::max(need, text.size() * 2));
        char* end = writeText(*store, text.data(), d, n);
        return std::string_view(text.data(), static_cast<std::size_t>(end - text.data()));
    }
    ByteView longValue(const std::uint8_t* d, std::size_t n) const {
        return longValueView(*store, d, n, rowPageNo, rowStart + static_cast<std::size_t>(d - row), longPage,
                             scratch);
    }

    [[noreturn]] void corrupt(std::size_t inRow, const std::string& what) const {
        store->corrupt(rowPageNo, rowStart + inRow, what);
    }

    void crack() {
        const std::size_t countSize = f->rowCountSize;
        if (rowLen < countSize) corrupt(0, "row too short");
        colCount = countSize == 1 ? row[0] : u16(row);
        nullMaskLen = (static_cast<std::size_t>(colCount) + 7) / 8;
        if (nullMaskLen + countSize > rowLen) corrupt(0, "null mask larger than the row");
        nullMask = row + rowLen - nullMaskLen;
        varCount = 0;
        dataLimit = rowLen - nullMaskLen;
        if (layout->varColumnCount == 0) return;
        if (!f->jet3) {
            if (dataLimit < countSize + 2) corrupt(0, "row too short for its variable columns");
            varCount = u16(row + dataLimit - 2);
            std::size_t tableBytes = 2 + 2 * (static_cast<std::size_t>(varCount) + 1);
            if (tableBytes + countSize > dataLimit) corrupt(dataLimit - 2, "variable column count too large");
            varTableStart = dataLimit - 4;
            dataLimit -= tableBytes;
        } else {
            if (dataLimit < countSize + 1) corrupt(0, "row too short for its variable columns");
            varCount = row[dataLimit - 1];
            std::size_t jumps = (rowLen - 1) / 256;
            std::size_t offsetsEnd = dataLimit - 1 - jumps;  // entry i at offsetsEnd - 1 - i
            if (jumps + 1 + countSize > dataLimit) corrupt(dataLimit - 1, "row too short for its jump table");
            // The last jump entry is a placeholder when the offset table itself lies below it.
            if (jumps > 0 && (offsetsEnd - 1 - varCount) / 256 < jumps) --jumps;
            if (static_cast<std::size_t>(varCount) + 1 + countSize > offsetsEnd)
                corrupt(dataLimit - 1, "variable column count too large");
            jet3Offsets.resize(static_cast<std::size_t>(varCount) + 1);
            std::size_t used = 0;
            for (std::size_t i = 0; i <= varCount; ++i) {
                while (used < jumps && i == row[dataLimit - 2 - used]) ++used;
                jet3Offsets[i] = static_cast<std::uint16_t>(row[offsetsEnd - 1 - i] + 256 * used);
            }
            dataLimit = offsetsEnd - 1 - varCount;
        }
    }

    bool maskBit(std::uint16_t number) const {
        if (number >= colCount) return false;
        return (nullMask[number / 8] >> (number % 8)) & 1;
    }

    std::uint16_t varOffset(std::size_t i) const {
        if (f->jet3) return jet3Offsets[i];
        return u16(row + varTableStart - 2 * i);
    }

    // Locates a column's bytes in the current row. False when the column is Null or absent.
    bool locate(const Column& c, const std::uint8_t*& data, std::size_t& len) const {
        if (!maskBit(c.number)) return false;
        if (c.fixed) {
            std::size_t start = f->rowCountSize + c.fixedOffset;
            std::size_t size = fixedSize(c);
            if (start + size > dataLimit) {
                // Access leaves a column that was added after the row was written with its bit
                // set only when the data is there; anything else is damage.
                corrupt(start, "fixed column beyond the row's data");
            }
            data = row + start;
            len = size;
            return true;
        }
        if (c.varIndex >= varCount) return false;
        std::size_t s = varOffset(c.varIndex);
        std::size_t e = varOffset(static_cast<std::size_t>(c.varIndex) + 1);
        if (s > e || e > dataLimit || s < f->rowCountSize) corrupt(s, "variable column offsets out of order");
        data = row + s;
        len = e - s;
        return true;
    }

    // Loads row `r` of the current page; false when it is deleted (or a stray target).
    bool loadRow(std::uint16_t r) {
        RowBounds b = dataRowBounds(*store, page, r);
        if (b.flags & kRowDeleted) return false;
        id = RowId{page.number(), r};
        // Ordinary rows are read where they are; only an overflow row needs another page held.
        const PageRef* at = &page;
        std::size_t hops = 0;
        while (b.flags & kRowOverflow) {
            std::uint32_t from = at->number();
            if (++hops > kMaxOverflowHops) store->corrupt(from, b.start, "overflow rows loop");
            if (b.end - b.start < 4) store->corrupt(from, b.start, "overflow pointer too short");
            std::uint32_t ptr = u32(at->data() + b.start);
            std::uint32_t pg = ptr >> 8;
            std::uint16_t rw = ptr & 0xFF;
            if (pg == 0 || pg >= store->channel->pageCount())
                store->corrupt(from, b.start, "overflow pointer beyond the file");
            overflowPage = store->page(pg);
            at = &overflowPage;
            if (at->data()[0] != kPageData) store->corrupt(pg, 0, "overflow row not on a data page");
            if (rw >= dataPageRowCount(*store, *at))
                store->corrupt(pg, f->dataRowCount, "overflow row missing");
            b = dataRowBounds(*store, *at, rw);
            if (b.start < f->dataRowOffsets || b.start > b.end)
                store->corrupt(pg, f->dataRowOffsets + 2u * rw, "overflow row out of bounds");
        }
        rowPageNo = at->number();
        row = at->data() + b.start;
        rowLen = static_cast<std::size_t>(b.end - b.start);
        rowStart = b.start;
        crack();
        return true;
    }

    bool nextPage() {
        while (pageIndex < pages.size()) {
            std::uint32_t pg = pages[pageIndex++];
            PageRef candidate = store->page(pg);
            const std::uint8_t* p = candidate.data();
            // The map may list pages since reused by other tables: only our own data pages count.
            if (p[0] != kPageData || u32(p + f->dataOwner) != layout->tdefPage) continue;
            page = std::move(candidate);
            rowsOnPage = dataPageRowCount(*store, page);
            nextRow = 0;
            // Rows are read from the end of the page backwards, which the processor does not
            // foresee: ask for the whole page now.
            for (std::size_t off = 0; off < f->pageSize; off += 64) __builtin_prefetch(p + off);
            return true;
        }
        page = PageRef();
        return false;
    }

    // Makes `pg` the current page with the scan going on after it; false when it is no data
    // page of this table.
    bool enterPage(std::uint32_t pg) {
        if (!started) {
            started = true;
            pages = usageMapPages(*store, layout->ownedPagesMap);
        }
        onRow = false;
        done = false;
        const auto at = std::lower_bound(pages.begin(), pages.end(), pg);
        pageIndex = static_cast<std::size_t>(at - pages.begin()) + (at != pages.end() && *at == pg ? 1 : 0);
        if (!page || page.number() != pg) {
            PageRef candidate = store->page(pg);
            const std::uint8_t* p = candidate.data();
            if (p[0] != kPageData || u32(p + f->dataOwner) != layout->tdefPage) {
                page = PageRef();
                rowsOnPage = 0;
                nextRow = 0;
                return false;
            }
            page = std::move(candidate);
            rowsOnPage = dataPageRowCount(*store, page);
        }
        return true;
    }

    bool seekRow(std::uint32_t r) {
        if (r >= rowsOnPage) {
            nextRow = rowsOnPage;
            return false;
        }
        nextRow = r + 1;
        if (!loadRow(static_cast<std::uint16_t>(r))) return false;
        onRow = true;
        return true;
    }

    bool seek(std::uint32_t pg, std::uint32_t live) {
        if (!enterPage(pg)) return false;
        const std::uint8_t* p = page.data();
        for (std::uint32_t r = 0; r < rowsOnPage; ++r) {
            if (u16(p + f->dataRowOffsets + 2u * r) & kRowDeleted) continue;
            if (live-- == 0) return seekRow(r);
        }
        nextRow = rowsOnPage;
        return false;
    }

    bool advance() {
        if (done) return false;
        if (!started) {
            started = true;
            pages = usageMapPages(*store, layout->ownedPagesMap);
            if (!nextPage()) {
                done = true;
                return false;
            }
        }
        onRow = false;
        for (;;) {
            while (nextRow < rowsOnPage) {
                std::uint16_t r = static_cast<std::uint16_t>(nextRow++);
                if (loadRow(r)) {
                    onRow = true;
                    return true;
                }
            }
            if (!nextPage()) {
                done = true;
                overflowPage = PageRef();
                row = nullptr;
                return false;
            }
        }
    }

    const Column& column(std::size_t i) const {
        if (!onRow) throw Error(errc::kNoCurrentRecord, "No current record.");
        const auto& cols = layout->columns;
        if (i >= cols.size()) throw Error(errc::kItemNotFound, "Item not found in this collection.");
        return cols[i];
    }

    Value decode(const Column& c) const {
        if (c.type == ColumnType::Boolean) return Value(c.type, maskBit(c.number));
        const std::uint8_t* d = nullptr;
        std::size_t n = 0;
        if (!locate(c, d, n)) return Value(c.type, std::monostate{});
        auto needSize = [&](std::size_t want) {
            if (n < want) corrupt(static_cast<std::size_t>(d - row), "value shorter than its type");
        };
        switch (c.type) {
            case ColumnType::Byte:
                needSize(1);
                return Value(c.type, d[0]);
            case ColumnType::Integer:
                needSize(2);
                return Value(c.type, loadLE<std::int16_t>(d));
            case ColumnType::Long:
                needSize(4);
                return Value(c.type, loadLE<std::int32_t>(d));
            case ColumnType::Currency:
                needSize(8);
                return Value(c.type, Currency{loadLE<std::int64_t>(d)});
            case ColumnType::Single:
                needSize(4);
                return Value(c.type, loadLE<float>(d));
            case ColumnType::Double:
                needSize(8);
                return Value(c.type, loadLE<double>(d));
            case ColumnType::DateTime:
                needSize(8);
                return Value(c.type, DateTime{loadLE<double>(d)});
            case ColumnType::GUID: {
                needSize(16);
                Guid g;
                std::memcpy(g.bytes.data(), d, 16);
                return Value(c.type, g);
            }
            case ColumnType::Decimal: {
                needSize(17);
                Decimal v;
                v.negative = (d[0] & 0x80) != 0;
                v.scale = c.scale;
                v.precision = c.precision;
                v.top = u32(d + 1);
                v.hi = u32(d + 5);
                v.mid = u32(d + 9);
                v.lo = u32(d + 13);
                return Value(c.type, v);
            }
            case ColumnType::Text: {
                std::string s;
                appendText(*store, s, d, n);
                return Value(c.type, std::move(s));
            }
            case ColumnType::Memo: {
                ByteView v = longValue(d, n);
                std::string s;
                appendText(*store, s, v.data, v.size);
                return Value(c.type, std::move(s));
            }
            case ColumnType::OLE: {
                ByteView v = longValue(d, n);
                return Value(c.type, Bytes(v.data, v.data + v.size));
            }
            case ColumnType::Binary:
            case ColumnType::Unknown:
            case ColumnType::Boolean:
                break;
        }
        return Value(c.type, Bytes(d, d + n));
    }
};

Cursor::Cursor(std::shared_ptr<Store> store, std::shared_ptr<const TableLayout> layout)
    : impl_(std::make_unique<Impl>()) {
    impl_->store = std::move(store);
    impl_->layout = std::move(layout);
    impl_->f = impl_->store->fmt;
}
Cursor::Cursor(Cursor&&) noexcept = default;
Cursor& Cursor::operator=(Cursor&&) noexcept = default;
Cursor::~Cursor() = default;

bool Cursor::next() {
    return impl_->advance();
}
bool Cursor::seek(std::uint32_t page, std::uint32_t live) {
    return impl_->seek(page, live);
}
bool Cursor::seek(RowId id) {
    return impl_->enterPage(id.page) && impl_->seekRow(id.row);
}
RowId Cursor::rowId() const noexcept {
    return impl_->id;
}

bool Cursor::moveTo(RowId id) {
    Impl& m = *impl_;
    m.started = true;
    m.done = true;
    m.onRow = false;
    if (id.page == 0 || id.page >= m.store->channel->pageCount()) return false;
    PageRef candidate = m.store->page(id.page);
    const std::uint8_t* p = candidate.data();
    if (p[0] != kPageData || u32(p + m.f->dataOwner) != m.layout->tdefPage) return false;
    m.page = std::move(candidate);
    m.rowsOnPage = dataPageRowCount(*m.store, m.page);
    if (id.row >= m.rowsOnPage) return false;
    if (!m.loadRow(id.row)) return false;
    m.onRow = true;
    return true;
}

bool Cursor::isNull(std::size_t column) const {
    const Column& c = impl_->column(column);
    if (c.type == ColumnType::Boolean) return false;
    const std::uint8_t* d;
    std::size_t n;
    return !impl_->locate(c, d, n);
}

Value Cursor::value(std::size_t column) const {
    return impl_->decode(impl_->column(column));
}

std::string_view Cursor::text(std::size_t column) const {
    const Column& c = impl_->column(column);
    if (c.type == ColumnType::Text) {
        const std::uint8_t* d;
        std::size_t n;
        if (!impl_->locate(c, d, n)) return {};
        return impl_->convert(d, n);
    }
    if (c.type == ColumnType::Memo) {
        const std::uint8_t* d;
        std::size_t n;
        if (!impl_->locate(c, d, n)) return {};
        ByteView v = impl_->longValue(d, n);
        return impl_->convert(v.data, v.size);
    }
    std::string& out = impl_->text;
    out.clear();
    Value v = impl_->decode(c);
    struct Formatter {
        std::string& o;
        void operator()(std::monostate) {}
        void operator()(bool b) { o = b ? "True" : "False"; }
        void operator()(std::uint8_t x) { o = std::to_string(x); }
        void operator()(std::int16_t x) { o = std::to_string(x); }
        void operator()(std::int32_t x) { o = std::to_string(x); }
        void operator()(Currency x) { o = formatCurrency(x); }
        void operator()(float x) {
            char b[64];
            auto r = std::to_chars(b, b + sizeof b, x);
            o.assign(b, r.ptr);
        }
        void operator()(double x) {
            char b[64];
            auto r = std::to_chars(b, b + sizeof b, x);
            o.assign(b, r.ptr);
        }
        void operator()(DateTime x) { o = formatDateTime(x); }
        void operator()(const std::string& s) { o = s; }
        void operator()(const Bytes& b) { o.assign(b.begin(), b.end()); }
        void operator()(const Guid& g) { o = formatGuid(g); }
        void operator()(const Decimal& d) { o = formatDecimal(d); }
    };
    std::visit(Formatter{out}, v.storage());
    return out;
}

Cursor::Stored Cursor::stored(std::size_t column, std::string_view& data) const {
    const Column& c = impl_->column(column);
    if (c.type != ColumnType::Text && c.type != ColumnType::Memo) return Stored::Other;
    const std::uint8_t* d;
    std::size_t n;
    if (!impl_->locate(c, d, n)) return Stored::Other;
    if (c.type == ColumnType::Memo) {
        const ByteView v = impl_->longValue(d, n);
        d = v.data;
        n = v.size;
    }
    if (impl_->store->fmt->jet3) {
        data = std::string_view(reinterpret_cast<const char*>(d), n);
        return Stored::Narrow;
    }
    if (isCompressedJet4Text(d, n)) {
        data = std::string_view(reinterpret_cast<const char*>(d) + sizeof kCompressedTextMark,
                                n - sizeof kCompressedTextMark);
        return Stored::Narrow;
    }
    data = std::string_view(reinterpret_cast<const char*>(d), n);
    return Stored::Utf16;
}

std::string_view Cursor::raw(std::size_t column) const {
    const Column& c = impl_->column(column);
    if (c.type == ColumnType::Boolean) return {};
    const std::uint8_t* d;
    std::size_t n;
    if (!impl_->locate(c, d, n)) return {};
    return std::string_view(reinterpret_cast<const char*>(d), n);
}

}  // namespace jet
