// The database builder: see builder.h for what it writes and in which order.
//
// Pages it makes (offsets from format.h):
//   data page:  01 01 free(2) owner(4) [Jet 4: 4 zero bytes] row count(2) offsets(2 each), rows
//               filled from the end of the page. Long-value pages are data pages owned by "LVAL";
//               the page holding a table's usage maps is a data page owned by no table (0).
//   index page: 03/04 01 free(2) owner(4) [Jet 4: 4 zero bytes] prev next tail prefix-length,
//               entry mask, entries. A node page lists its children but the last, whose page goes
//               in the tail field; each of its entries repeats the last entry of that child's
//               subtree followed by the child's page.
//   usage map:  a row of 69 (Jet 4) / 133 (Jet 3) bytes: type 0, start page, bitmap; or type 1
//               and the pages of 0x05 bitmap pages when the pages span more than the row can map.
#include "jet/builder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <deque>

#include "base/civil_date.h"
#include "jet/error.h"
#include "jet/page_channel.h"
#include "jet/store.h"

namespace jet::detail {

namespace {

constexpr std::uint8_t kLvalOwner[4] = {'L', 'V', 'A', 'L'};

std::size_t mapRowSize(const JetFormat& f) {
    return f.jet3 ? 133 : 69;
}

// A zeroed page-sized buffer.
class PageBuf {
  public:
    explicit PageBuf(std::size_t n) : p_(new std::uint8_t[n]()), n_(n) {}
    std::uint8_t* data() noexcept { return p_.get(); }
    const std::uint8_t* data() const noexcept { return p_.get(); }
    std::uint8_t& operator[](std::size_t i) noexcept { return p_[i]; }
    std::size_t size() const noexcept { return n_; }

  private:
    std::unique_ptr<std::uint8_t[]> p_;
    std::size_t n_;
};

// A data page being filled.
class DataPage {
  public:
    DataPage(const JetFormat& f, std::uint32_t number, const std::uint8_t owner[4])
        : f_(f), number_(number), buf_(f.pageSize) {
        buf_[0] = kPageData;
        buf_[1] = 0x01;
        std::memcpy(buf_.data() + 4, owner, 4);
        top_ = f.pageSize;
    }
    std::uint32_t number() const { return number_; }
    std::uint16_t rows() const { return rows_; }
    std::size_t freeSpace() const { return top_ - (f_.dataRowOffsets + 2u * rows_); }
    bool fits(std::size_t len) const { return rows_ < 255 && freeSpace() >= len + 2; }
    // Returns the row number.
    std::uint16_t add(const std::uint8_t* data, std::size_t len) {
        top_ -= len;
        std::memcpy(buf_.data() + top_, data, len);
        put16(buf_.data() + f_.dataRowOffsets + 2u * rows_, static_cast<std::uint16_t>(top_));
        return rows_++;
    }
    std::uint8_t* rowData(std::uint16_t row) {
        return buf_.data() + (u16(buf_.data() + f_.dataRowOffsets + 2u * row) & kRowOffsetMask);
    }
    const std::uint8_t* finish() {
        put16(buf_.data() + f_.dataRowCount, rows_);
        put16(buf_.data() + 2, static_cast<std::uint16_t>(freeSpace()));
        return buf_.data();
    }

  private:
    const JetFormat& f_;
    std::uint32_t number_;
    PageBuf buf_;
    std::size_t top_ = 0;
    std::uint16_t rows_ = 0;
};

// Bitmap of the pages of one usage map.
void setBit(std::vector<std::uint8_t>& bits, std::uint64_t i) {
    bits[i / 8] |= static_cast<std::uint8_t>(1u << (i % 8));
}

std::size_t commonPrefix(const std::string& a, const std::string& b) {
    std::size_t n = std::min(a.size(), b.size());
    std::size_t i = 0;
    while (i < n && a[i] == b[i]) ++i;
    return i;
}

void appendBytes(std::vector<std::uint8_t>& v, const void* data, std::size_t n) {
    std::size_t at = v.size();
    v.resize(at + n);
    if (n) std::memcpy(v.data() + at, data, n);
}

void putBE24(std::string& out, std::uint32_t v) {
    out.push_back(static_cast<char>((v >> 16) & 0xFF));
    out.push_back(static_cast<char>((v >> 8) & 0xFF));
    out.push_back(static_cast<char>(v & 0xFF));
}
void putBE32(std::string& out, std::uint32_t v) {
    out.push_back(static_cast<char>((v >> 24) & 0xFF));
    putBE24(out, v);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Definitions

const DefinitionShape::Col* DefinitionShape::column(std::uint16_t number) const {
    for (const auto& c : columns)
        if (c.number == number) return &c;
    return nullptr;
}

DefinitionShape parseDefinition(const JetFormat& f, const std::vector<std::uint8_t>& d,
                                const std::string& file, std::uint32_t page) {
    auto fail = [&](std::size_t pos, const char* what) -> void {
        throw Error::corrupt(file, page, static_cast<std::uint32_t>(pos), what);
    };
    auto need = [&](std::size_t pos, std::size_t n) {
        if (pos > d.size() || n > d.size() - pos) fail(pos, "table definition ends early");
    };
    DefinitionShape s;
    need(0, f.tdefRealIndexInfo);
    s.length = u32(d.data() + f.tdefLength) + 8;
    if (s.length > d.size()) s.length = d.size();
    s.maxColumns = u16(d.data() + f.tdefMaxColumns);
    s.varColumns = u16(d.data() + f.tdefVarColumnCount);
    std::size_t columnCount = u16(d.data() + f.tdefColumnCount);
    std::size_t indexCount = u32(d.data() + f.tdefIndexCount);
    std::size_t realCount = u32(d.data() + f.tdefRealIndexCount);
    if (columnCount > kMaxColumns || indexCount > kMaxIndexes || realCount > kMaxIndexes)
        fail(f.tdefColumnCount, "implausible counts");
    std::size_t pos = f.tdefRealIndexInfo + realCount * f.realIndexInfoSize;
    s.columns.resize(columnCount);
    for (auto& c : s.columns) {
        need(pos, f.columnSize);
        const std::uint8_t* p = d.data() + pos;
        c.type = p[f.colType];
        c.number = u16(p + f.colNumber);
        c.varIndex = u16(p + f.colVarIndex);
        c.flags = p[f.colFlags];
        c.fixed = (c.flags & 0x01) != 0;
        c.fixedOffset = u16(p + f.colFixedOffset);
        c.length = u16(p + f.colLength);
        pos += f.columnSize;
    }
    auto name = [&](std::string& out) {
        need(pos, f.nameLengthSize);
        std::size_t len = f.nameLengthSize == 1 ? d[pos] : u16(d.data() + pos);
        pos += f.nameLengthSize;
        need(pos, len);
        if (f.jet3)
            out.assign(reinterpret_cast<const char*>(d.data() + pos), len);
        else
            appendUcs2(out, d.data() + pos, len);
        pos += len;
    };
    for (auto& c : s.columns) name(c.name);
    s.reals.resize(realCount);
    for (auto& r : s.reals) {
        need(pos, f.realIndexSize);
        const std::uint8_t* p = d.data() + pos + f.realIndexColumns;
        for (int k = 0; k < 10; ++k) {
            std::uint16_t col = u16(p + 3 * k);
            if (col == 0xFFFF) continue;
            r.columns.emplace_back(col, p[3 * k + 2] != 0x02);
        }
        r.mapPos = pos + f.realIndexColumns + 30;
        r.rootPos = r.mapPos + 4;
        r.flags = d[r.rootPos + (f.jet3 ? 4 : 8)];
        pos += f.realIndexSize;
    }
    s.logicals.resize(indexCount);
    for (auto& l : s.logicals) {
        need(pos, f.logicalIndexSize);
        const std::uint8_t* q = d.data() + pos + f.logicalIndexNumber;
        l.realIndex = static_cast<std::int32_t>(u32(q + 4));
        l.relatedPos = pos + f.logicalIndexNumber + 13;
        l.kind = q[19];
        if (l.realIndex < -1 || l.realIndex >= static_cast<std::int32_t>(realCount))
            fail(pos, "index refers to a missing index");
        pos += f.logicalIndexSize;
    }
    for (auto& l : s.logicals) name(l.name);
    {
        for (std::size_t guard = 0; guard < kMaxColumns; ++guard) {
            if (pos + 2 > s.length) break;
            std::uint16_t col = u16(d.data() + pos);
            if (col == 0xFFFF) break;
            need(pos, 10);
            s.longMaps.push_back({col, pos + 2, pos + 6});
            pos += 10;
        }
    }
    return s;
}

// ---------------------------------------------------------------------------------------------
// Builder

struct DatabaseBuilder::SharedPages {
    std::unique_ptr<DataPage> open[2];
};

DatabaseBuilder::DatabaseBuilder(const JetFormat& f, PageSink& sink, std::string fileName)
    : f_(f), sink_(sink), fileName_(std::move(fileName)), shared_(std::make_unique<SharedPages>()) {}

std::uint32_t DatabaseBuilder::addSharedRow(Shared kind, const std::uint8_t* data, std::size_t length) {
    auto& page = shared_->open[static_cast<int>(kind)];
    if (!page || !page->fits(length)) {
        closeShared(kind);
        const std::uint8_t none[4] = {0, 0, 0, 0};
        page = std::make_unique<DataPage>(f_, allocate(), kind == Shared::LongValue ? kLvalOwner : none);
    }
    std::uint16_t row = page->add(data, length);
    return (page->number() << 8) | row;
}

void DatabaseBuilder::closeShared(Shared kind) {
    auto& page = shared_->open[static_cast<int>(kind)];
    if (!page) return;
    putPage(page->number(), page->finish());
    page.reset();
}

DatabaseBuilder::~DatabaseBuilder() = default;

std::uint32_t DatabaseBuilder::allocate(std::uint32_t count) {
    std::uint32_t first = nextPage_;
    if (static_cast<std::uint64_t>(nextPage_) + count >= (1u << 24))
        throw Error(errc::kCannotOpen, "The database would exceed the largest size a Jet file can have.");
    nextPage_ += count;
    return first;
}

std::uint32_t DatabaseBuilder::reserveDefinition(std::size_t length) {
    std::size_t pages = 1;
    if (length > f_.pageSize) pages += (length - f_.pageSize + (f_.pageSize - 8) - 1) / (f_.pageSize - 8);
    return allocate(static_cast<std::uint32_t>(pages));
}

void DatabaseBuilder::flushPending() {
    if (pendingCount_ == 0) return;
    sink_.writeAt(static_cast<std::uint64_t>(pendingFirst_) * f_.pageSize, pending_.data(),
                  static_cast<std::size_t>(pendingCount_) * f_.pageSize);
    pendingCount_ = 0;
}

void DatabaseBuilder::putPage(std::uint32_t page, const std::uint8_t* data) {
    constexpr std::uint32_t kCombine = 64;
    if (pendingCount_ > 0 && (page != pendingFirst_ + pendingCount_ || pendingCount_ == kCombine))
        flushPending();
    if (pendingCount_ == 0) {
        pending_.resize(static_cast<std::size_t>(kCombine) * f_.pageSize);
        pendingFirst_ = page;
    }
    std::memcpy(pending_.data() + static_cast<std::size_t>(pendingCount_) * f_.pageSize, data, f_.pageSize);
    ++pendingCount_;
    bytesWritten_ += f_.pageSize;
}

std::unique_ptr<DatabaseBuilder::TableWriter> DatabaseBuilder::table(std::uint32_t tdefPage,
                                                                     std::vector<std::uint8_t> definition,
                                                                     DefinitionShape shape) {
    return std::make_unique<TableWriter>(*this, tdefPage, std::move(definition), std::move(shape));
}

void DatabaseBuilder::finish(const BuildHeader& header) {
    closeShared(Shared::LongValue);
    closeShared(Shared::UsageMap);
    flushPending();
    const std::uint32_t pageCount = nextPage_;
    // Page 1: the global usage map (a set bit is a free page; pages before its window count as
    // used, pages after it as free), then the second row Access keeps there.
    {
        const std::uint8_t noOwner[4] = {1, 0, 0, 0};
        DataPage p1(f_, 1, noOwner);
        std::size_t rowSize = mapRowSize(f_);
        std::size_t windowPages = (rowSize - 5) * 8;
        std::uint32_t start = pageCount <= windowPages ? 0 : (pageCount & ~7u);
        std::vector<std::uint8_t> row(rowSize, 0);
        put32(row.data() + 1, start);
        std::vector<std::uint8_t> bits(rowSize - 5, 0);
        for (std::size_t i = 0; i < windowPages; ++i)
            if (start + i >= pageCount) setBit(bits, i);
        std::memcpy(row.data() + 5, bits.data(), bits.size());
        p1.add(row.data(), row.size());
        std::vector<std::uint8_t> second(rowSize, 0);
        p1.add(second.data(), second.size());
        const std::uint8_t* d = p1.finish();
        sink_.writeAt(f_.pageSize, d, f_.pageSize);
    }
    // Page 0.
    std::vector<std::uint8_t> h = header.page0;
    h.resize(f_.pageSize, 0);
    h[0] = 0x00;
    h[1] = 0x01;
    std::memcpy(h.data() + 4, kEngineJet, sizeof kEngineJet);
    h[kHeaderVersionOffset] = f_.jet3 ? 0 : 1;
    put16(h.data() + kHeaderCodePage, header.codePage);
    if (f_.headerSortOrderSize == 2)
        put16(h.data() + f_.headerSortOrder, static_cast<std::uint16_t>(header.sortOrder));
    else
        put32(h.data() + f_.headerSortOrder, header.sortOrder);
    put32(h.data() + kHeaderDatabaseKey, 0);
    // No password: zero bytes, which Jet 4 stores XORed with the creation date's whole days.
    std::memset(h.data() + kHeaderPassword, 0, f_.passwordLength);
    if (!f_.jet3) {
        std::memcpy(h.data() + kHeaderCreationDate, &header.created, sizeof header.created);
        std::uint32_t days = 0;
        if (std::isfinite(header.created) && header.created > -2147483648.0 && header.created < 2147483648.0)
            days = static_cast<std::uint32_t>(static_cast<std::int32_t>(header.created));
        for (std::size_t i = 0; i < f_.passwordLength; ++i)
            h[kHeaderPassword + i] = static_cast<std::uint8_t>(days >> (8 * (i % 4)));
    }
    rc4(kHeaderMaskKey, sizeof kHeaderMaskKey, h.data() + kHeaderMaskStart, f_.headerMaskLength);
    sink_.writeAt(0, h.data(), f_.pageSize);
    bytesWritten_ += 2ull * f_.pageSize;
}

// ---------------------------------------------------------------------------------------------
// Index keys

void appendIntegerKey(std::string& key, std::uint8_t type, const std::string* stored, bool ascending) {
    if (!stored) {
        key.push_back(static_cast<char>(ascending ? 0x00 : 0xFF));
        return;
    }
    std::string v;
    std::size_t n = stored->size();
    for (std::size_t i = 0; i < n; ++i) v.push_back((*stored)[n - 1 - i]);  // big-endian
    if (type != static_cast<std::uint8_t>(ColumnType::Byte) && !v.empty())
        v[0] = static_cast<char>(v[0] ^ 0x80);
    key.push_back(static_cast<char>(ascending ? 0x7F : 0x80));
    if (!ascending)
        for (auto& c : v) c = static_cast<char>(~c);
    key += v;
}

// ---------------------------------------------------------------------------------------------
// Rows

namespace {
bool isLongType(std::uint8_t type) {
    return type == static_cast<std::uint8_t>(ColumnType::Memo) ||
           type == static_cast<std::uint8_t>(ColumnType::OLE);
}

}  // namespace

RowEncoder::RowEncoder(const JetFormat& format, const DefinitionShape& tableShape)
    : f(format), shape(tableShape) {
    colCount = shape.maxColumns;
    for (const auto& c : shape.columns) colCount = std::max<std::uint16_t>(colCount, c.number + 1);
    varCount = shape.varColumns;
    for (const auto& c : shape.columns) {
        if (c.fixed)
            fixedEnd = std::max<std::size_t>(fixedEnd, c.fixedOffset + c.length);
        else if (c.type != static_cast<std::uint8_t>(ColumnType::Boolean))
            varCount = std::max<std::uint16_t>(varCount, c.varIndex + 1);
    }
    bySlot.assign(varCount, nullptr);
    for (const auto& c : shape.columns)
        if (!c.fixed && c.type != static_cast<std::uint8_t>(ColumnType::Boolean) && c.varIndex < varCount)
            bySlot[c.varIndex] = &c;
    mask.assign((colCount + 7) / 8, 0);
    offsets.assign(static_cast<std::size_t>(varCount) + 1, 0);
}

const std::vector<std::uint8_t>& RowEncoder::encode(const std::vector<Cell>& cells,
                                                    const LongWriter& writeLong) {
    const std::size_t countSize = f.rowCountSize;
    std::vector<std::uint8_t>& row = rowBuf_;
    row.assign(countSize + fixedEnd, 0);
    if (countSize == 1)
        row[0] = static_cast<std::uint8_t>(colCount);
    else
        put16(row.data(), colCount);
    std::fill(mask.begin(), mask.end(), 0);
    auto cellOf = [&](std::uint16_t n) -> const Cell* {
        return n < cells.size() && cells[n].present ? &cells[n] : nullptr;
    };
    for (const auto& c : shape.columns) {
        if (c.type == static_cast<std::uint8_t>(ColumnType::Boolean)) {
            if (c.number < cells.size() && cells[c.number].flag) mask[c.number / 8] |= 1u << (c.number % 8);
            continue;
        }
        const Cell* cell = cellOf(c.number);
        if (!cell) continue;
        mask[c.number / 8] |= static_cast<std::uint8_t>(1u << (c.number % 8));
        if (c.fixed) {
            std::size_t n = std::min<std::size_t>(cell->bytes.size(), c.length);
            std::memcpy(row.data() + countSize + c.fixedOffset, cell->bytes.data(), n);
        }
    }
    // Variable columns in slot order.
    // Room the row keeps for its tables and mask, to decide whether a long value stays inline.
    std::size_t trailer = mask.size() + (f.jet3 ? varCount + 2 + 8 : 2 * varCount + 4);
    for (std::size_t slot = 0; slot < varCount; ++slot) {
        offsets[slot] = static_cast<std::uint16_t>(row.size());
        const DefinitionShape::Col* c = bySlot[slot];
        if (!c) continue;
        const Cell* cell = cellOf(c->number);
        if (!cell) continue;
        if (isLongType(c->type)) {
            std::uint8_t field[12];
            std::size_t inlineRoom = maxDataRowSize(f) > row.size() + trailer + 12 * (varCount - slot)
                                         ? maxDataRowSize(f) - row.size() - trailer - 12 * (varCount - slot)
                                         : 0;
            if (cell->asStored) {
                appendBytes(row, cell->bytes.data(), cell->bytes.size());
            } else if (cell->bytes.empty()) {
                std::memset(field, 0, 12);
                put32(field, kLongValueInline);
                appendBytes(row, field, 12);
            } else if (cell->preferInline && cell->bytes.size() <= inlineRoom) {
                std::memset(field, 0, 12);
                put32(field, static_cast<std::uint32_t>(cell->bytes.size()) | kLongValueInline);
                appendBytes(row, field, 12);
                appendBytes(row, cell->bytes.data(), cell->bytes.size());
            } else {
                writeLong(c->number, cell->bytes, field);
                appendBytes(row, field, 12);
            }
        } else {
            appendBytes(row, cell->bytes.data(), cell->bytes.size());
        }
    }
    offsets[varCount] = static_cast<std::uint16_t>(row.size());
    if (!f.jet3) {
        if (varCount > 0) {
            // Offsets from the last slot's end backwards: EOD first in memory.
            std::size_t base = row.size();
            row.resize(base + 2u * (varCount + 1) + 2);
            std::uint8_t* p = row.data() + base;
            for (std::size_t i = 0; i <= varCount; ++i) put16(p + 2 * (varCount - i), offsets[i]);
            put16(p + 2u * (varCount + 1), varCount);
        }
    } else if (varCount > 0) {
        std::size_t dataEnd = row.size();
        std::size_t tail = (static_cast<std::size_t>(varCount) + 1) + 1 + mask.size();
        std::size_t jumps = 0;
        for (int iter = 0; iter < 4; ++iter) jumps = (dataEnd + tail + jumps - 1) / 256;
        std::size_t realJumps = dataEnd / 256;
        std::vector<std::uint8_t> jt(jumps, 0xFF);
        for (std::size_t k = 0; k < realJumps && k < jumps; ++k) {
            std::size_t i = 0;
            while (i <= varCount && offsets[i] < (k + 1) * 256) ++i;
            jt[k] = static_cast<std::uint8_t>(i);
        }
        for (std::size_t i = varCount + 1; i-- > 0;)
            row.push_back(static_cast<std::uint8_t>(offsets[i] & 0xFF));
        for (std::size_t k = jumps; k-- > 0;) row.push_back(jt[k]);
        row.push_back(static_cast<std::uint8_t>(varCount));
    }
    appendBytes(row, mask.data(), mask.size());
    if (row.size() > maxDataRowSize(f)) throw Error(errc::kCannotOpen, "Record is too large.");
    return row;
}

// ---------------------------------------------------------------------------------------------
// Table writer

struct DatabaseBuilder::TableWriter::Impl {
    DatabaseBuilder& b;
    const JetFormat& f;
    std::uint32_t tdefPage;
    std::vector<std::uint8_t> def;
    DefinitionShape shape;
    std::uint8_t owner[4];

    std::unique_ptr<DataPage> data;
    std::vector<std::uint32_t> dataPages;

    struct LongColumn {
        std::uint16_t number = 0;
        std::vector<std::uint32_t> pages;
    };
    std::vector<LongColumn> longColumns;
    RowEncoder encoder{f, shape};

    // Index being written.
    struct Level {
        std::vector<BuildEntry> entries;  // node levels: key + row of the child's last entry
        std::vector<std::uint32_t> children;
        std::size_t bytes = 0;  // sum of stored entry lengths without prefix compression
        std::uint32_t page = 0;
        std::uint32_t prevPage = 0;
        // The previous page of this level, kept until the next one's number is known.
        std::vector<std::uint8_t> held;
        std::uint32_t heldPage = 0;
    };
    std::deque<Level> levels;
    std::size_t currentIndex = SIZE_MAX;
    std::uint64_t indexEntries = 0;
    BuildEntry lastEntry;
    bool haveLast = false;
    std::vector<std::uint32_t> indexPages;
    struct DoneIndex {
        std::uint32_t root = 0;
        std::vector<std::uint32_t> pages;
        std::uint64_t entries = 0;
    };
    std::vector<DoneIndex> done;

    Impl(DatabaseBuilder& builder, std::uint32_t page, std::vector<std::uint8_t> definition,
         DefinitionShape s)
        : b(builder), f(builder.format()), tdefPage(page), def(std::move(definition)), shape(std::move(s)) {
        put32(owner, tdefPage);
        for (const auto& c : shape.columns) {
            if (c.type == static_cast<std::uint8_t>(ColumnType::Memo) ||
                c.type == static_cast<std::uint8_t>(ColumnType::OLE)) {
                LongColumn lc;
                lc.number = c.number;
                longColumns.push_back(std::move(lc));
            }
        }
        done.resize(shape.reals.size());
    }

    std::size_t maxRowSize() const { return maxDataRowSize(f); }

    LongColumn& longColumn(std::uint16_t number) {
        for (auto& lc : longColumns)
            if (lc.number == number) return lc;
        throw Error(errc::kCannotOpen, "long value for a column that is not one");
    }

    void closePage(std::unique_ptr<DataPage>& p) {
        if (!p) return;
        b.putPage(p->number(), p->finish());
        p.reset();
    }

    // One LVAL row holding `data`; returns its pointer.
    std::uint32_t lvalRow(LongColumn& lc, const std::uint8_t* d, std::size_t n) {
        std::uint32_t ptr = b.addSharedRow(Shared::LongValue, d, n);
        if (lc.pages.empty() || lc.pages.back() != ptr >> 8) lc.pages.push_back(ptr >> 8);
        return ptr;
    }

    // Writes a long value outside the row; fills the 12-byte field.
    void writeLongValue(std::uint16_t column, const std::string& v, std::uint8_t field[12]) {
        LongColumn& lc = longColumn(column);
        std::memset(field, 0, 12);
        std::size_t single = maxRowSize();
        if (v.size() <= single) {
            std::uint32_t ptr = lvalRow(lc, reinterpret_cast<const std::uint8_t*>(v.data()), v.size());
            put32(field, static_cast<std::uint32_t>(v.size()) | kLongValueSingle);
            put32(field + 4, ptr);
            return;
        }
        // A chain: each piece is a whole row of its own page, starting with the next piece's pointer.
        std::size_t chunk = single - 4;
        std::size_t pieces = (v.size() + chunk - 1) / chunk;
        std::uint32_t first = b.allocate(static_cast<std::uint32_t>(pieces));
        std::vector<std::uint8_t> row;
        for (std::size_t i = 0; i < pieces; ++i) {
            std::size_t off = i * chunk;
            std::size_t len = std::min(chunk, v.size() - off);
            row.assign(4 + len, 0);
            std::uint32_t next = i + 1 < pieces ? ((first + static_cast<std::uint32_t>(i) + 1) << 8) : 0;
            put32(row.data(), next);
            std::memcpy(row.data() + 4, v.data() + off, len);
            DataPage p(f, first + static_cast<std::uint32_t>(i), kLvalOwner);
            p.add(row.data(), row.size());
            b.putPage(p.number(), p.finish());
            lc.pages.push_back(p.number());
        }
        put32(field, static_cast<std::uint32_t>(v.size()));
        put32(field + 4, first << 8);
    }

    RowPointer addRow(const std::vector<Cell>& cells) {
        const std::vector<std::uint8_t>& rowBuf =
            encoder.encode(cells, [this](std::uint16_t column, const std::string& v, std::uint8_t field[12]) {
                writeLongValue(column, v, field);
            });
        if (!data || !data->fits(rowBuf.size())) {
            closePage(data);
            std::uint32_t pg = b.allocate();
            data = std::make_unique<DataPage>(f, pg, owner);
            dataPages.push_back(pg);
        }
        std::uint16_t r = data->add(rowBuf.data(), rowBuf.size());
        return (data->number() << 8) | r;
    }

    void finishRows() { closePage(data); }

    // ---- index trees

    std::size_t entryArea() const { return f.pageSize - f.indexEntries; }

    static std::string leafBytes(const BuildEntry& e) {
        std::string s = e.key;
        putBE24(s, e.row >> 8);
        s.push_back(static_cast<char>(e.row & 0xFF));
        return s;
    }

    // Bytes a page of `entries` needs with Jet 4 prefix compression (none in Jet 3).
    std::size_t prefixOf(const std::vector<BuildEntry>& es) const {
        if (f.jet3 || es.size() < 2) return 0;
        return commonPrefix(es.front().key, es.back().key);
    }

    void writeIndexPage(std::uint8_t type, std::uint32_t prev, const std::vector<BuildEntry>& es,
                        const std::vector<std::uint32_t>* children, std::uint32_t tail,
                        std::vector<std::uint8_t>& buf) {
        buf.assign(f.pageSize, 0);
        buf[0] = type;
        buf[1] = 0x01;
        std::memcpy(buf.data() + 4, owner, 4);
        put32(buf.data() + f.indexPrev, prev);
        put32(buf.data() + f.indexTail, tail);
        std::size_t prefix = prefixOf(es);
        put16(buf.data() + f.indexPrefixLength, static_cast<std::uint16_t>(prefix));
        // After the prefix length (1 byte in Jet 3, 2 in Jet 4) Access sets a byte on intermediate pages.
        if (type == kPageIndexNode) buf[f.indexPrefixLength + (f.jet3 ? 1 : 2)] = 1;
        std::size_t pos = 0;
        for (std::size_t i = 0; i < es.size(); ++i) {
            std::string full = leafBytes(es[i]);
            if (children) putBE32(full, (*children)[i]);
            std::size_t skip = i == 0 ? 0 : prefix;
            std::size_t len = full.size() - skip;
            if (f.indexEntries + pos + len > f.pageSize)
                throw Error(errc::kCannotOpen, "index entry does not fit its page");
            std::memcpy(buf.data() + f.indexEntries + pos, full.data() + skip, len);
            pos += len;
            buf[f.indexMask + pos / 8] |= static_cast<std::uint8_t>(1u << (pos % 8));
        }
        put16(buf.data() + 2, static_cast<std::uint16_t>(entryArea() - pos));
    }

    // Emits the page of `level` and hands its last entry to the level above.
    void closeLevel(std::size_t level, bool last) {
        Level& lv = levels[level];
        bool leaf = level == 0;
        std::vector<std::uint8_t> buf;
        std::uint32_t tail = 0;
        std::vector<BuildEntry> stored = lv.entries;
        std::vector<std::uint32_t> kids = lv.children;
        if (!leaf && !stored.empty()) {
            tail = kids.back();
            stored.pop_back();
            kids.pop_back();
        }
        BuildEntry up = lv.entries.empty() ? BuildEntry{} : lv.entries.back();
        writeIndexPage(leaf ? kPageIndexLeaf : kPageIndexNode, lv.prevPage, stored, leaf ? nullptr : &kids,
                       tail, buf);
        // The held previous page learns its next page now.
        if (!lv.held.empty()) {
            put32(lv.held.data() + f.indexNext, lv.page);
            b.putPage(lv.heldPage, lv.held.data());
        }
        lv.held = std::move(buf);
        lv.heldPage = lv.page;
        std::uint32_t finished = lv.page;
        lv.prevPage = lv.page;
        lv.entries.clear();
        lv.children.clear();
        lv.bytes = 0;
        lv.page = 0;
        if (last) return;
        pushUp(level + 1, up, finished);
    }

    std::size_t pageBytes(const Level& lv, const BuildEntry& extra, std::size_t extraLen, bool node) const {
        // Size if `extra` were added: prefix of first and extra.
        std::size_t n = lv.entries.size() + 1;
        std::size_t prefix = f.jet3 || n < 2 ? 0 : commonPrefix(lv.entries.front().key, extra.key);
        std::size_t total = lv.bytes + extraLen;
        (void)node;
        return total - (n - 1) * prefix;
    }

    void startPage(Level& lv) {
        lv.page = b.allocate();
        indexPages.push_back(lv.page);
    }

    void pushUp(std::size_t level, const BuildEntry& e, std::uint32_t child) {
        if (levels.size() <= level) levels.emplace_back();
        Level& lv = levels[level];
        std::size_t len = e.key.size() + 8;
        if (lv.page != 0 && pageBytes(lv, e, len, true) > entryArea()) closeLevel(level, false);
        Level& l2 = levels[level];
        if (l2.page == 0) startPage(l2);
        l2.entries.push_back(e);
        l2.children.push_back(child);
        l2.bytes += len;
    }

    void begin(std::size_t real) {
        currentIndex = real;
        levels.clear();
        levels.emplace_back();
        indexPages.clear();
        indexEntries = 0;
        haveLast = false;
    }

    void add(const BuildEntry& e) {
        Level& lv = levels[0];
        std::size_t len = e.key.size() + 4;
        if (e.key.size() + 8 > entryArea() / 2) throw Error(errc::kCannotOpen, "index key too long");
        if (lv.page != 0 && pageBytes(lv, e, len, false) > entryArea()) closeLevel(0, false);
        Level& l0 = levels[0];
        if (l0.page == 0) startPage(l0);
        l0.entries.push_back(e);
        l0.bytes += len;
        ++indexEntries;
    }

    void end() {
        // Close each level bottom-up; a level whose page is open and is alone at the top is the root.
        std::uint32_t root = 0;
        if (levels[0].page == 0 && levels[0].held.empty()) startPage(levels[0]);  // an empty index: one leaf
        for (std::size_t level = 0; level < levels.size(); ++level) {
            Level& lv = levels[level];
            bool top = level + 1 == levels.size();
            // The top level with a single page (nothing held before it) is the root.
            if (top && lv.held.empty()) {
                root = lv.page;
                closeLevel(level, true);
            } else if (lv.page != 0) {
                closeLevel(level, false);
            }
            if (!lv.held.empty()) {
                b.putPage(lv.heldPage, lv.held.data());
                lv.held.clear();
            }
            if (root) break;
        }
        DoneIndex& d = done[currentIndex];
        d.root = root;
        d.pages = indexPages;
        d.entries = indexEntries;
        currentIndex = SIZE_MAX;
    }

    // ---- usage maps and the definition

    // Fills the map row `row` for `pages`; 0x05 pages it needs are allocated and written.
    void mapRow(std::vector<std::uint8_t>& row, std::vector<std::uint32_t> pages) {
        std::size_t rowSize = mapRowSize(f);
        row.assign(rowSize, 0);
        std::sort(pages.begin(), pages.end());
        std::size_t span = (rowSize - 5) * 8;
        std::uint32_t start = pages.empty() ? 0 : (pages.front() & ~7u);
        if (pages.empty() || pages.back() - start < span) {
            row[0] = 0;
            put32(row.data() + 1, start);
            std::vector<std::uint8_t> bits(rowSize - 5, 0);
            for (auto p : pages) setBit(bits, p - start);
            std::memcpy(row.data() + 5, bits.data(), bits.size());
            return;
        }
        row[0] = 1;
        std::size_t perPage = static_cast<std::size_t>(f.pageSize - 4) * 8;
        std::size_t slots = (rowSize - 1) / 4;
        std::size_t i = 0;
        while (i < pages.size()) {
            std::size_t slot = pages[i] / perPage;
            if (slot >= slots) throw Error(errc::kCannotOpen, "usage map cannot cover the file");
            PageBuf bp(f.pageSize);
            bp[0] = kPageUsageMap;
            bp[1] = 0x01;
            while (i < pages.size() && pages[i] / perPage == slot) {
                std::size_t bit = pages[i] - slot * perPage;
                bp[4 + bit / 8] |= static_cast<std::uint8_t>(1u << (bit % 8));
                ++i;
            }
            std::uint32_t pg = b.allocate();
            b.putPage(pg, bp.data());
            put32(row.data() + 1 + 4 * slot, pg);
        }
    }

    void finish(std::uint32_t rows, std::uint32_t autoNumber) {
        // Maps in Access's order: owned, free, per long-value column owned and free, per index.
        struct PendingMap {
            std::vector<std::uint32_t> pages;
            std::vector<std::size_t> positions;  // where the pointer goes in the definition
        };
        std::vector<PendingMap> maps;
        maps.push_back({dataPages, {f.tdefOwnedPages}});
        maps.push_back({dataPages, {f.tdefFreePages}});
        for (const auto& lm : shape.longMaps) {
            std::vector<std::uint32_t> pages;
            for (auto& lc : longColumns)
                if (lc.number == lm.column) pages = lc.pages;
            maps.push_back({pages, {lm.ownedPos}});
            maps.push_back({pages, {lm.freePos}});
        }
        for (std::size_t i = 0; i < shape.reals.size(); ++i)
            maps.push_back({done[i].pages, {shape.reals[i].mapPos}});

        std::vector<std::vector<std::uint8_t>> rowsOut;
        for (auto& m : maps) {
            std::vector<std::uint8_t> row;
            mapRow(row, m.pages);
            rowsOut.push_back(std::move(row));
        }
        for (std::size_t i = 0; i < maps.size(); ++i) {
            std::uint32_t ptr = b.addSharedRow(Shared::UsageMap, rowsOut[i].data(), rowsOut[i].size());
            for (auto pos : maps[i].positions) put32(def.data() + pos, ptr);
        }

        put32(def.data() + f.tdefRowCount, rows);
        put32(def.data() + f.tdefAutoNumber, autoNumber);
        for (std::size_t i = 0; i < shape.reals.size(); ++i) {
            put32(def.data() + shape.reals[i].rootPos, done[i].root);
            put32(def.data() + f.tdefRealIndexInfo + i * f.realIndexInfoSize + f.realIndexInfoRows,
                  static_cast<std::uint32_t>(done[i].entries));
        }
        writeDefinition();
    }

    void writeDefinition() {
        std::size_t length = shape.length;
        std::vector<std::uint8_t> page(f.pageSize, 0);
        std::size_t pos = 0;
        std::uint32_t current = tdefPage;
        bool first = true;
        while (true) {
            const std::size_t take = layDefinitionPage(f, def.data(), length, pos, first, page.data());
            pos += take;
            bool more = pos < length;
            put32(page.data() + f.tdefNextPage, more ? current + 1 : 0);
            b.putPage(current, page.data());
            if (!more) break;
            ++current;
            first = false;
        }
    }
};

DatabaseBuilder::TableWriter::TableWriter(DatabaseBuilder& b, std::uint32_t tdefPage,
                                          std::vector<std::uint8_t> definition, DefinitionShape shape)
    : impl_(std::make_unique<Impl>(b, tdefPage, std::move(definition), std::move(shape))) {}

DatabaseBuilder::TableWriter::~TableWriter() = default;

RowPointer DatabaseBuilder::TableWriter::addRow(const std::vector<Cell>& cells) {
    ++rows_;
    return impl_->addRow(cells);
}

void DatabaseBuilder::TableWriter::finishRowsIfOpen() {
    impl_->finishRows();
}

void DatabaseBuilder::TableWriter::beginIndex(std::size_t real) {
    impl_->finishRows();
    if (real >= impl_->shape.reals.size()) throw Error(errc::kCannotOpen, "no such index");
    impl_->begin(real);
}

void DatabaseBuilder::TableWriter::addIndexEntry(const BuildEntry& e) {
    impl_->add(e);
}

void DatabaseBuilder::TableWriter::endIndex() {
    impl_->end();
}

void DatabaseBuilder::TableWriter::setRelatedTable(std::size_t logical, std::uint32_t page) {
    put32(impl_->def.data() + impl_->shape.logicals.at(logical).relatedPos, page);
}

void DatabaseBuilder::TableWriter::finish(std::uint32_t autoNumber) {
    impl_->finishRows();
    for (std::size_t i = 0; i < impl_->shape.reals.size(); ++i) {
        if (impl_->done[i].root == 0) {
            impl_->begin(i);
            impl_->end();
        }
    }
    impl_->finish(rows_, autoNumber);
}

std::size_t layDefinitionPage(const JetFormat& f, const std::uint8_t* def, std::size_t length,
                              std::size_t pos, bool first, std::uint8_t* page) {
    std::fill(page, page + f.pageSize, 0);
    std::size_t take;
    if (first) {
        take = std::min<std::size_t>(length, f.pageSize);
        std::memcpy(page, def, take);
    } else {
        take = std::min<std::size_t>(length - pos, f.pageSize - 8);
        std::memcpy(page + 8, def + pos, take);
    }
    page[0] = kPageTableDef;
    page[1] = 0x01;
    if (f.jet3) {
        page[2] = 'V';
        page[3] = 'C';
    } else {
        put16(page + 2, static_cast<std::uint16_t>(f.pageSize - (first ? take : take + 8)));
    }
    return take;
}

double oleNow() {
    using namespace std::chrono;
    const double unixSeconds = duration<double>(system_clock::now().time_since_epoch()).count();
    // Jet keeps local time; the engine writes UTC, as a file made on a machine set to UTC has.
    const double days = static_cast<double>(qx::base::kDays1899To1970) + unixSeconds / 86400.0;
    return std::floor(days * 86400.0) / 86400.0;
}

}  // namespace jet::detail
