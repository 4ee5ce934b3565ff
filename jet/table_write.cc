// CREATE TABLE, CREATE INDEX, DROP INDEX and INSERT in place, within one transaction each.
//
// Definitions are written the way Access lays them out (see tdef.cc for the parts): column
// descriptors with the table number Jet 4 puts in them (1625), the code page and sort order Jet 3
// repeats in every descriptor, flags 0x10 | fixed 0x01 | nullable 0x02 | autonumber 0x04; one real
// index per logical index; in Jet 4 the usage maps of each memo/OLE column after the names.
// A new table's usage maps are rows of a data page of their own (owner 0, as the builder writes
// them); each index starts as one empty leaf.
//
// Rows are encoded by the builder's RowEncoder. A row goes to the table's last data page when it
// has room, else to a new page set in the table's owned and free-space maps. Long values that do
// not stay inline go to "LVAL" pages: one row when they fit a page, else a chain of whole pages.
// Index entries go in through the index module's IndexEditor; unique indexes are checked with
// its findKey, which sees the transaction's own entries.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include "base/utf8.h"
#include "jet/builder.h"
#include "jet/index.h"
#include "jet/index_key.h"
#include "jet/row_edit.h"
#include "jet/schema.h"
#include "jet/store.h"
#include "jet/table.h"

namespace jet {

using namespace detail;

namespace {

constexpr std::uint32_t kTableNumber = 1625;  // Jet 4 repeats it in headers and descriptors
constexpr std::uint8_t kUserTable = 0x4E;
constexpr std::uint8_t kLvalOwner[4] = {'L', 'V', 'A', 'L'};

std::size_t mapRowBytes(const JetFormat& f) {
    return f.jet3 ? 133 : 69;
}

void appendLE(std::vector<std::uint8_t>& v, std::uint32_t x, int n) {
    for (int i = 0; i < n; ++i) v.push_back(static_cast<std::uint8_t>(x >> (8 * i)));
}

// A name as definitions store it: Jet 4 UCS-2 with a 2-byte byte count, Jet 3 Windows-1252 with
// a 1-byte count.
void appendName(std::vector<std::uint8_t>& v, const JetFormat& f, const std::string& utf8);

// UTF-8 to UCS-2 (characters beyond the BMP as surrogate pairs).
std::string toUcs2(const std::string& s) {
    std::string out;
    qx::base::appendUtf16le(out, s);
    return out;
}

// UTF-8 to Windows-1252; a character it lacks is refused rather than replaced.
std::string toCp1252(const std::string& s) {
    std::string out;
    std::uint32_t missing = 0;
    if (!encodeCp1252(s, out, missing)) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "character U+%04X has no Windows-1252 byte",
                      static_cast<unsigned>(missing));
        throw Error(errc::kCannotOpen, buf);
    }
    return out;
}

std::size_t characterCount(const std::string& s) {
    std::size_t n = 0;
    for (unsigned char c : s)
        if ((c & 0xC0) != 0x80) ++n;
    return n;
}

void appendName(std::vector<std::uint8_t>& v, const JetFormat& f, const std::string& utf8) {
    std::string bytes = f.jet3 ? toCp1252(utf8) : toUcs2(utf8);
    appendLE(v, static_cast<std::uint32_t>(bytes.size()), static_cast<int>(f.nameLengthSize));
    v.insert(v.end(), bytes.begin(), bytes.end());
}

bool isVariable(ColumnType t) {
    return t == ColumnType::Text || t == ColumnType::Binary || t == ColumnType::Memo || t == ColumnType::OLE;
}

// ---- definition bytes held by a transaction

struct Definition {
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint32_t> pages;
};

Definition readDefinition(Transaction& tx, const Store& store, std::uint32_t first) {
    const JetFormat& f = tx.format();
    Definition d;
    std::vector<std::uint8_t> page(f.pageSize);
    std::uint32_t current = first;
    while (current != 0) {
        if (d.pages.size() >= kMaxTableDefPages ||
            std::find(d.pages.begin(), d.pages.end(), current) != d.pages.end())
            store.corrupt(current, 4, "table definition chain loops");
        tx.read(current, page.data());
        if (page[0] != kPageTableDef) store.corrupt(current, 0, "not a table definition page");
        if (d.pages.empty())
            d.bytes.insert(d.bytes.end(), page.begin(), page.end());
        else
            d.bytes.insert(d.bytes.end(), page.begin() + 8, page.end());
        d.pages.push_back(current);
        current = u32(page.data() + f.tdefNextPage);
    }
    return d;
}

// Writes `d` over its pages (taking more when it grew, giving back those it no longer needs).
void writeDefinition(Transaction& tx, Definition& d) {
    const JetFormat& f = tx.format();
    const std::size_t length = u32(d.bytes.data() + f.tdefLength) + 8;
    if (d.bytes.size() < length) d.bytes.resize(length, 0);
    std::size_t need = 1;
    if (length > f.pageSize) need += (length - f.pageSize + (f.pageSize - 8) - 1) / (f.pageSize - 8);
    while (d.pages.size() < need) d.pages.push_back(tx.allocate(0));
    while (d.pages.size() > need) {
        tx.release(d.pages.back(), 0);
        d.pages.pop_back();
    }
    std::size_t pos = 0;
    for (std::size_t i = 0; i < d.pages.size(); ++i) {
        std::vector<std::uint8_t> page(f.pageSize);
        const std::size_t take = layDefinitionPage(f, d.bytes.data(), length, pos, i == 0, page.data());
        put32(page.data() + f.tdefNextPage, i + 1 < d.pages.size() ? d.pages[i + 1] : 0);
        pos += take;
        tx.write(d.pages[i], page.data());
    }
}

// ---- data pages

// Adds a row to a data page held by the transaction; false when it has no room.
bool addRowToPage(const JetFormat& f, std::vector<std::uint8_t>& page, const std::uint8_t* row,
                  std::size_t len, std::uint16_t& rowNumber) {
    std::uint16_t count = u16(page.data() + f.dataRowCount);
    if (count >= 255) return false;
    std::size_t top = f.pageSize;
    for (std::uint16_t i = 0; i < count; ++i)
        top = std::min<std::size_t>(top, u16(page.data() + f.dataRowOffsets + 2u * i) & kRowOffsetMask);
    std::size_t tableEnd = f.dataRowOffsets + 2u * (count + 1);
    if (top < tableEnd || top - tableEnd < len) return false;
    top -= len;
    std::memcpy(page.data() + top, row, len);
    put16(page.data() + f.dataRowOffsets + 2u * count, static_cast<std::uint16_t>(top));
    put16(page.data() + f.dataRowCount, static_cast<std::uint16_t>(count + 1));
    put16(page.data() + 2, static_cast<std::uint16_t>(top - tableEnd));
    rowNumber = count;
    return true;
}

// Gives row `rowNo` of a data page the bytes `image` where it stands: the rows after it on the
// page (they lie below it) move by the difference, their offsets with them, and the page's free
// space follows. False, changing nothing, when the page lacks the room or its rows do not lie in
// the order Jet keeps them (row i ending where row i-1 starts), which a move cannot trust.
bool resizeRow(const JetFormat& f, std::vector<std::uint8_t>& page, std::uint16_t rowNo,
               const std::uint8_t* image, std::size_t len) {
    const std::uint16_t count = u16(page.data() + f.dataRowCount);
    const std::size_t tableEnd = f.dataRowOffsets + 2u * count;
    if (rowNo >= count || tableEnd > f.pageSize) return false;
    auto startOf = [&](std::size_t j) -> std::size_t {
        return u16(page.data() + f.dataRowOffsets + 2u * j) & kRowOffsetMask;
    };
    std::size_t previous = f.pageSize;
    for (std::size_t j = 0; j < count; ++j) {
        const std::size_t s = startOf(j);
        if (s > previous || s < tableEnd) return false;
        previous = s;
    }
    const std::size_t top = count ? startOf(count - 1u) : f.pageSize;
    const std::size_t start = startOf(rowNo);
    const std::size_t end = rowNo == 0 ? f.pageSize : startOf(rowNo - 1u);
    const auto delta = static_cast<std::ptrdiff_t>(len) - static_cast<std::ptrdiff_t>(end - start);
    const std::size_t headerFree = u16(page.data() + 2);
    if (delta > 0 &&
        (static_cast<std::size_t>(delta) > top - tableEnd || static_cast<std::size_t>(delta) > headerFree))
        return false;
    std::uint8_t* p = page.data();
    const auto newTop = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(top) - delta);
    std::memmove(p + newTop, p + top, start - top);
    const auto newStart = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(start) - delta);
    if (len) std::memcpy(p + newStart, image, len);
    if (delta < 0) std::memset(p + top, 0, static_cast<std::size_t>(-delta));
    for (std::size_t j = rowNo; j < count; ++j) {
        std::uint8_t* e = p + f.dataRowOffsets + 2u * j;
        const std::uint16_t flags = u16(e) & static_cast<std::uint16_t>(~kRowOffsetMask);
        put16(e, static_cast<std::uint16_t>(flags | (static_cast<std::ptrdiff_t>(startOf(j)) - delta)));
    }
    const std::ptrdiff_t free = static_cast<std::ptrdiff_t>(headerFree) - delta;
    put16(p + 2, static_cast<std::uint16_t>(std::max<std::ptrdiff_t>(free, 0)));
    return true;
}

void startDataPage(const JetFormat& f, std::vector<std::uint8_t>& page, const std::uint8_t owner[4]) {
    std::fill(page.begin(), page.end(), 0);
    page[0] = kPageData;
    page[1] = 0x01;
    std::memcpy(page.data() + 4, owner, 4);
    put16(page.data() + 2, static_cast<std::uint16_t>(f.pageSize - f.dataRowOffsets));
}

// ---- values to stored bytes

template <class T>
void assignRaw(std::string& out, const T& v) {
    out.assign(reinterpret_cast<const char*>(&v), sizeof v);
}

// Into `cell`: the cell of `value` for column `c`, checked against the column's type and size.
// The cell's byte buffer is reused, so that a long insert does not allocate one per value.
void fillCell(const JetFormat& f, const Column& c, const Value& value, Cell& cell) {
    cell.clear();
    if (value.isNull()) return;
    cell.present = true;
    const auto& st = value.storage();
    auto mismatch = [] { return Error::typeMismatch(); };
    switch (c.type) {
        case ColumnType::Boolean:
            if (!std::holds_alternative<bool>(st)) throw mismatch();
            cell.flag = std::get<bool>(st);
            break;
        case ColumnType::Byte:
            if (!std::holds_alternative<std::uint8_t>(st)) throw mismatch();
            assignRaw(cell.bytes, std::get<std::uint8_t>(st));
            break;
        case ColumnType::Integer:
            if (!std::holds_alternative<std::int16_t>(st)) throw mismatch();
            assignRaw(cell.bytes, std::get<std::int16_t>(st));
            break;
        case ColumnType::Long:
            if (!std::holds_alternative<std::int32_t>(st)) throw mismatch();
            assignRaw(cell.bytes, std::get<std::int32_t>(st));
            break;
        case ColumnType::Currency:
            if (!std::holds_alternative<Currency>(st)) throw mismatch();
            assignRaw(cell.bytes, std::get<Currency>(st).scaled);
            break;
        case ColumnType::Single:
            if (!std::holds_alternative<float>(st)) throw mismatch();
            assignRaw(cell.bytes, std::get<float>(st));
            break;
        case ColumnType::Double:
            if (!std::holds_alternative<double>(st)) throw mismatch();
            assignRaw(cell.bytes, std::get<double>(st));
            break;
        case ColumnType::DateTime:
            if (!std::holds_alternative<DateTime>(st)) throw mismatch();
            assignRaw(cell.bytes, std::get<DateTime>(st).days);
            break;
        case ColumnType::GUID:
            if (!std::holds_alternative<Guid>(st)) throw mismatch();
            cell.bytes.assign(reinterpret_cast<const char*>(std::get<Guid>(st).bytes.data()), 16);
            break;
        case ColumnType::Decimal: {
            if (!std::holds_alternative<Decimal>(st)) throw mismatch();
            const Decimal& d = std::get<Decimal>(st);
            std::uint8_t b[17] = {};
            b[0] = d.negative ? 0x80 : 0x00;
            put32(b + 1, d.top);
            put32(b + 5, d.hi);
            put32(b + 9, d.mid);
            put32(b + 13, d.lo);
            cell.bytes.assign(reinterpret_cast<const char*>(b), 17);
            break;
        }
        case ColumnType::Text:
        case ColumnType::Memo: {
            if (!std::holds_alternative<std::string>(st)) throw mismatch();
            const std::string& s = std::get<std::string>(st);
            // No text has more characters than bytes: only a long one needs counting.
            const std::size_t most = f.jet3 ? c.size : c.size / 2u;
            if (c.type == ColumnType::Text && s.size() > most && characterCount(s) > most)
                throw Error::valueTooLong();
            if (f.jet3)
                cell.bytes = toCp1252(s);
            else if (!(c.extFlags & kColumnExtCompressedText) || !appendCompressedJet4Text(cell.bytes, s))
                qx::base::appendUtf16le(cell.bytes, s);
            if (c.type == ColumnType::Text && cell.bytes.size() > c.size) throw Error::valueTooLong();
            cell.preferInline = true;
            break;
        }
        case ColumnType::Binary:
        case ColumnType::OLE: {
            if (!std::holds_alternative<Bytes>(st)) throw mismatch();
            const Bytes& b = std::get<Bytes>(st);
            if (c.type == ColumnType::Binary && b.size() > c.size) throw Error::valueTooLong();
            cell.bytes.assign(b.begin(), b.end());
            cell.preferInline = c.type == ColumnType::OLE ? b.size() <= 64 : true;
            break;
        }
        default:
            throw mismatch();
    }
}

Cell cellOf(const JetFormat& f, const Column& c, const Value& value) {
    Cell cell;
    fillCell(f, c, value, cell);
    return cell;
}

std::string columnLabel(const std::string& table, const Column& c) {
    return table + "." + c.name;
}

// ---- rows into one table

class TableInserter {
  public:
    static constexpr std::size_t kIndexPagesHeld = 256;

    TableInserter(Transaction& tx, Store& store, const TableLayout& layout)
        : tx_(tx), store_(store), f_(tx.format()), layout_(layout) {
        def_ = readDefinition(tx, store, layout.tdefPage);
        shape_ = parseDefinition(f_, def_.bytes, store.path, layout.tdefPage);
        encoder_ = std::make_unique<RowEncoder>(f_, shape_);
        rowCount_ = u32(def_.bytes.data() + f_.tdefRowCount);
        autoNumber_ = u32(def_.bytes.data() + f_.tdefAutoNumber);
        ownedMap_ = u32(def_.bytes.data() + f_.tdefOwnedPages);
        freeMap_ = u32(def_.bytes.data() + f_.tdefFreePages);
        put32(owner_, layout.tdefPage);
        if (ownedMap_ != 0) {
            auto pages = usageMapPages(store, ownedMap_);
            if (!pages.empty()) dataPage_ = pages.back();
        }
        ctx_.jet3 = f_.jet3;
        ctx_.codePage = store.codePage;
        entries_.assign(layout.realIndexes.size(), 0);
        width_ = 0;
        for (const auto& c : layout.columns) width_ = std::max<std::size_t>(width_, c.number + 1u);
        cells_.resize(width_);
    }

    void insert(std::vector<Value>& values) {
        const auto& cols = layout_.columns;
        if (values.size() != cols.size()) throw Error::typeMismatch();
        for (std::size_t i = 0; i < cols.size(); ++i) {
            const Column& c = cols[i];
            if ((c.flags & kColumnAutoNumber) && c.type == ColumnType::Long) {
                if (values[i].isNull()) {
                    values[i] = Value(ColumnType::Long, static_cast<std::int32_t>(++autoNumber_));
                } else if (const auto* v = values[i].getIf<std::int32_t>()) {
                    if (*v > 0 && static_cast<std::uint32_t>(*v) > autoNumber_)
                        autoNumber_ = static_cast<std::uint32_t>(*v);
                }
            }
            if (values[i].isNull() && !(c.flags & kColumnNullable) && c.type != ColumnType::Boolean)
                throw Error::requiredNull(columnLabel(layout_.name, c));
        }
        std::vector<Cell>& cells = cells_;
        for (auto& cell : cells) cell.clear();
        for (std::size_t i = 0; i < cols.size(); ++i) fillCell(f_, cols[i], values[i], cells[cols[i].number]);

        // Keys first: a row an index refuses writes nothing.
        std::vector<std::optional<std::vector<std::uint8_t>>> keys(layout_.realIndexes.size());
        for (std::size_t r = 0; r < layout_.realIndexes.size(); ++r) {
            const RealIndex& ri = layout_.realIndexes[r];
            bool allNull = false;
            std::vector<std::uint8_t> key;
            try {
                key = rowIndexKey(ctx_, cols, ri, values, &allNull);
            } catch (const KeyUnsupported& e) {
                throw Error(errc::kCannotOpen, std::string("Cannot index this value: ") + e.what());
            }
            bool anyNull = false;
            for (const auto& k : ri.columns)
                for (std::size_t p = 0; p < cols.size(); ++p)
                    if (cols[p].number == k.columnNumber && values[p].isNull()) anyNull = true;
            if ((ri.flags & kIndexRequired) && anyNull) throw Error::nullInIndex();
            if (allNull && (ri.flags & kIndexIgnoreNulls)) continue;
            if ((ri.flags & kIndexUnique) && !allNull && !editor(r).findKey(key).empty())
                throw Error::duplicateKey();
            keys[r] = std::move(key);
        }

        const std::vector<std::uint8_t>& row =
            encoder_->encode(cells, [this](std::uint16_t column, const std::string& v,
                                           std::uint8_t field[12]) { writeLongValue(column, v, field); });
        RowId where = placeRow(row);
        for (std::size_t r = 0; r < keys.size(); ++r) {
            if (!keys[r]) continue;
            IndexEntry e;
            e.key = std::move(*keys[r]);
            e.page = where.page;
            e.row = static_cast<std::uint8_t>(where.row);
            editor(r).insert(std::move(e));
            ++entries_[r];
        }
        ++rowCount_;
    }

    // Between rows: index pages beyond a working set go to the transaction (which may write them
    // early), so that a long insert holds a bounded part of each index.
    void trim() {
        for (auto& [r, ed] : editors_) ed->trim(kIndexPagesHeld);
    }

    void finish() {
        for (auto& [r, ed] : editors_) ed->commit();
        std::vector<std::uint8_t>& first = tx_.modify(layout_.tdefPage);
        put32(first.data() + f_.tdefRowCount, rowCount_);
        put32(first.data() + f_.tdefAutoNumber, autoNumber_);
        for (std::size_t r = 0; r < entries_.size(); ++r) {
            std::size_t at = f_.tdefRealIndexInfo + r * f_.realIndexInfoSize + f_.realIndexInfoRows;
            if (at + 4 <= f_.pageSize) put32(first.data() + at, u32(first.data() + at) + entries_[r]);
        }
    }

    // UPDATE of the row whose original slot is `id`: `before` its values and `stored` the bytes
    // its columns hold (Cursor::raw), `after` the values to have where `changed` says so. The row
    // is rewritten where its image lives when the page has the room, else it moves to another
    // page as an overflow row: the slot keeps a pointer (0x4000) to a row marked for lookups
    // only (0x8000), so index entries, which name the slot, stay right. A changed memo/OLE value
    // gives its old rows back and is written anew. Index entries are changed in finishUpdate().
    void update(RowId id, const std::vector<Value>& before, const std::vector<std::string>& stored,
                std::vector<Value>& after, const std::vector<bool>& changed) {
        const auto& cols = layout_.columns;
        std::vector<Cell> cells(width_);
        std::vector<std::string> oldLong;  // fields of changed long values, their rows to free
        for (std::size_t i = 0; i < cols.size(); ++i) {
            const Column& c = cols[i];
            const bool isLong = c.type == ColumnType::Memo || c.type == ColumnType::OLE;
            if (changed[i]) {
                if (after[i].isNull() && !(c.flags & kColumnNullable) && c.type != ColumnType::Boolean)
                    throw Error::requiredNull(columnLabel(layout_.name, c));
                cells[c.number] = cellOf(f_, c, after[i]);
                if (isLong) oldLong.push_back(stored[i]);
                continue;
            }
            after[i] = before[i];
            Cell& cell = cells[c.number];
            if (c.type == ColumnType::Boolean) {
                const bool* b = before[i].getIf<bool>();
                cell.flag = b && *b;
                continue;
            }
            if (before[i].isNull()) continue;
            cell.present = true;
            if (isLong && stored[i].size() >= kLongValueFieldSize &&
                (u32(reinterpret_cast<const std::uint8_t*>(stored[i].data())) & kLongValueInline)) {
                // Inline data may have to leave the row to make room: the encoder decides again.
                cell.bytes = stored[i].substr(kLongValueFieldSize);
                cell.preferInline = true;
            } else {
                cell.bytes = stored[i];
                cell.asStored = isLong;
            }
        }

        // Keys: checked before anything is written for this row.
        const std::uint32_t pointer = rowPointer(id.page, id.row);
        for (std::size_t r = 0; r < layout_.realIndexes.size(); ++r) {
            const RealIndex& ri = layout_.realIndexes[r];
            bool touched = false;
            for (const auto& k : ri.columns)
                for (std::size_t p = 0; p < cols.size(); ++p)
                    if (cols[p].number == k.columnNumber && changed[p]) touched = true;
            if (!touched) continue;
            bool oldAllNull = false, newAllNull = false, anyNull = false;
            std::vector<std::uint8_t> oldKey, newKey;
            try {
                oldKey = rowIndexKey(ctx_, cols, ri, before, &oldAllNull);
                newKey = rowIndexKey(ctx_, cols, ri, after, &newAllNull);
            } catch (const KeyUnsupported& e) {
                throw Error(errc::kCannotOpen, std::string("Cannot index this value: ") + e.what());
            }
            if (oldKey == newKey) continue;
            for (const auto& k : ri.columns)
                for (std::size_t p = 0; p < cols.size(); ++p)
                    if (cols[p].number == k.columnNumber && after[p].isNull()) anyNull = true;
            if ((ri.flags & kIndexRequired) && anyNull) throw Error::nullInIndex();
            PendingKeys& pk = pending_[r];
            pk.remove.insert(pointer);
            if (newAllNull && (ri.flags & kIndexIgnoreNulls)) continue;
            IndexEntry e;
            e.key = std::move(newKey);
            e.page = id.page;
            e.row = static_cast<std::uint8_t>(id.row);
            pk.add.push_back({std::move(e), (ri.flags & kIndexUnique) && !newAllNull});
        }

        const std::vector<std::uint8_t> image =
            encoder_->encode(cells, [this](std::uint16_t column, const std::string& v,
                                           std::uint8_t field[12]) { writeLongValue(column, v, field); });
        placeUpdated(id, image);
        for (const auto& field : oldLong) freeLongValueRows(tx_, store_, field);
    }

    // The index changes of every update() since the last call, then the editors' pages: old
    // entries leave first, so rows may trade key values among themselves.
    void finishUpdate() {
        for (auto& [r, pk] : pending_) {
            IndexEditor& ed = editor(r);
            const std::size_t removed = ed.removeRows(pk.remove);
            for (auto& [entry, unique] : pk.add) {
                if (unique && !ed.findKey(entry.key).empty()) throw Error::duplicateKey();
                ed.insert(entry);
            }
            // The entry count of the definition's index info only ever grows, as with Access.
            if (pk.add.size() > removed) entries_[r] += static_cast<std::uint32_t>(pk.add.size() - removed);
        }
        for (auto& [r, ed] : editors_) ed->commit();
        bool grown = false;
        for (auto n : entries_) grown = grown || n != 0;
        if (!grown) return;
        std::vector<std::uint8_t>& first = tx_.modify(layout_.tdefPage);
        for (std::size_t r = 0; r < entries_.size(); ++r) {
            std::size_t at = f_.tdefRealIndexInfo + r * f_.realIndexInfoSize + f_.realIndexInfoRows;
            if (at + 4 <= f_.pageSize) put32(first.data() + at, u32(first.data() + at) + entries_[r]);
        }
    }

  private:
    IndexEditor& editor(std::size_t r) {
        auto it = editors_.find(r);
        if (it != editors_.end()) return *it->second;
        const RealIndex& ri = layout_.realIndexes[r];
        IndexRef ref{ri.rootPage, ri.usageMap, layout_.tdefPage};
        auto ed = std::make_unique<IndexEditor>(tx_, ref, store_.path);
        return *editors_.emplace(r, std::move(ed)).first->second;
    }

    // Where the row at slot `id` gets its new image `image` (see update()).
    void placeUpdated(RowId id, const std::vector<std::uint8_t>& image) {
        std::vector<std::uint8_t>& home = dataPageOfTable(id.page);
        const std::size_t entry = f_.dataRowOffsets + 2u * id.row;
        if (id.row >= u16(home.data() + f_.dataRowCount))
            store_.corrupt(id.page, f_.dataRowCount, "row to update is missing");
        const std::uint16_t raw = u16(home.data() + entry);
        if (raw & kRowDeleted) store_.corrupt(id.page, entry, "row to update is deleted");
        if (!(raw & kRowOverflow)) {
            if (resizeRow(f_, home, static_cast<std::uint16_t>(id.row), image.data(), image.size())) return;
            const RowId target = placeLookupRow(image);
            std::uint8_t pointer[4];
            put32(pointer, (target.page << 8) | target.row);
            std::vector<std::uint8_t>& again = tx_.modify(id.page);
            if (!resizeRow(f_, again, static_cast<std::uint16_t>(id.row), pointer, 4)) {
                // A page whose rows lie out of order: the pointer takes the row's first bytes.
                const std::size_t start = raw & kRowOffsetMask;
                const std::size_t end =
                    id.row == 0 ? f_.pageSize : u16(again.data() + entry - 2) & kRowOffsetMask;
                if (end < start + 4 || end > f_.pageSize)
                    store_.corrupt(id.page, entry, "row too short to hold an overflow pointer");
                std::memcpy(again.data() + start, pointer, 4);
            }
            put16(again.data() + entry, static_cast<std::uint16_t>(u16(again.data() + entry) | kRowOverflow));
            return;
        }
        // Already an overflow row: rewritten at its target, or moved on from there.
        const std::size_t start = raw & kRowOffsetMask;
        if (start + 4 > f_.pageSize) store_.corrupt(id.page, entry, "overflow pointer out of bounds");
        const std::uint32_t ptr = u32(home.data() + start);
        const RowId old{ptr >> 8, static_cast<std::uint16_t>(ptr & 0xFF)};
        if (old.page == 0 || old.page >= tx_.pageCount())
            store_.corrupt(id.page, start, "overflow pointer beyond the file");
        std::vector<std::uint8_t>& at = dataPageOfTable(old.page);
        const std::size_t oldEntry = f_.dataRowOffsets + 2u * old.row;
        if (old.row >= u16(at.data() + f_.dataRowCount) || (u16(at.data() + oldEntry) & kRowOverflow))
            store_.corrupt(old.page, f_.dataRowCount, "overflow row missing");
        if (resizeRow(f_, at, old.row, image.data(), image.size())) return;
        const RowId target = placeLookupRow(image);
        std::vector<std::uint8_t>& slot = tx_.modify(id.page);
        put32(slot.data() + start, (target.page << 8) | target.row);
        // The old target is given up as Access gives up a deleted row; its bytes go back to the page.
        std::vector<std::uint8_t>& was = tx_.modify(old.page);
        resizeRow(f_, was, old.row, nullptr, 0);
        put16(was.data() + oldEntry,
              static_cast<std::uint16_t>(u16(was.data() + oldEntry) | kRowDeleted | kRowOverflow));
    }

    // A data page of this table, as the transaction holds it to change it.
    std::vector<std::uint8_t>& dataPageOfTable(std::uint32_t pageNo) {
        if (pageNo == 0 || pageNo >= tx_.pageCount()) store_.corrupt(pageNo, 0, "row beyond the file");
        std::vector<std::uint8_t>& page = tx_.modify(pageNo);
        if (page[0] != kPageData || u32(page.data() + f_.dataOwner) != layout_.tdefPage)
            store_.corrupt(pageNo, 0, "row is not on a data page of its table");
        return page;
    }

    // A moved row's new place: like an inserted row, but marked so that scans pass it by and
    // only its slot's pointer leads to it.
    RowId placeLookupRow(const std::vector<std::uint8_t>& image) {
        const RowId at = placeRow(image);
        std::vector<std::uint8_t>& page = tx_.modify(at.page);
        std::uint8_t* e = page.data() + f_.dataRowOffsets + 2u * at.row;
        put16(e, static_cast<std::uint16_t>(u16(e) | kRowDeleted));
        return at;
    }

    RowId placeRow(const std::vector<std::uint8_t>& row) {
        std::uint16_t n = 0;
        if (dataPage_ != 0) {
            std::vector<std::uint8_t>& page = tx_.modify(dataPage_);
            if (page[0] == kPageData && addRowToPage(f_, page, row.data(), row.size(), n))
                return {dataPage_, n};
        }
        std::uint32_t pg = tx_.allocate(ownedMap_);
        if (freeMap_ != 0) tx_.setInMap(freeMap_, pg, true);
        std::vector<std::uint8_t>& page = tx_.modify(pg);
        startDataPage(f_, page, owner_);
        if (!addRowToPage(f_, page, row.data(), row.size(), n))
            throw Error(errc::kCannotOpen, "Record is too large.");
        dataPage_ = pg;
        return {pg, n};
    }

    // The maps the long-value pages of `column` go in (Jet 4); none in Jet 3.
    std::pair<std::uint32_t, std::uint32_t> longMaps(std::uint16_t column) const {
        for (const auto& m : layout_.longValueMaps)
            if (m.column == column) return {m.owned, m.free};
        return {0, 0};
    }

    std::uint32_t newLongPage(std::uint16_t column) {
        auto [owned, freeMap] = longMaps(column);
        std::uint32_t pg = tx_.allocate(owned);
        if (freeMap != 0) tx_.setInMap(freeMap, pg, true);
        return pg;
    }

    void writeLongValue(std::uint16_t column, const std::string& v, std::uint8_t field[12]) {
        std::memset(field, 0, 12);
        const std::size_t single = maxDataRowSize(f_);
        const auto* data = reinterpret_cast<const std::uint8_t*>(v.data());
        if (v.size() <= single) {
            std::uint16_t n = 0;
            std::uint32_t& current = lvalPage_[column];
            bool placed = false;
            if (current != 0) placed = addRowToPage(f_, tx_.modify(current), data, v.size(), n);
            if (!placed) {
                current = newLongPage(column);
                std::vector<std::uint8_t>& page = tx_.modify(current);
                startDataPage(f_, page, kLvalOwner);
                if (!addRowToPage(f_, page, data, v.size(), n))
                    throw Error(errc::kCannotOpen, "long value too large");
            }
            put32(field, static_cast<std::uint32_t>(v.size()) | kLongValueSingle);
            put32(field + 4, (current << 8) | n);
            return;
        }
        if (v.size() > kLongValueLengthMask) throw Error::valueTooLong();
        const std::size_t chunk = single - 4;
        const std::size_t pieces = (v.size() + chunk - 1) / chunk;
        std::vector<std::uint32_t> pages;
        for (std::size_t i = 0; i < pieces; ++i) pages.push_back(newLongPage(column));
        std::vector<std::uint8_t> piece;
        for (std::size_t i = 0; i < pieces; ++i) {
            std::size_t off = i * chunk;
            std::size_t len = std::min(chunk, v.size() - off);
            piece.assign(4 + len, 0);
            put32(piece.data(), i + 1 < pieces ? pages[i + 1] << 8 : 0);
            std::memcpy(piece.data() + 4, data + off, len);
            std::vector<std::uint8_t>& page = tx_.modify(pages[i]);
            startDataPage(f_, page, kLvalOwner);
            std::uint16_t n = 0;
            addRowToPage(f_, page, piece.data(), piece.size(), n);
        }
        put32(field, static_cast<std::uint32_t>(v.size()));
        put32(field + 4, pages[0] << 8);
    }

    Transaction& tx_;
    Store& store_;
    const JetFormat& f_;
    const TableLayout& layout_;
    Definition def_;
    DefinitionShape shape_;
    std::unique_ptr<RowEncoder> encoder_;
    KeyContext ctx_;
    std::uint32_t rowCount_ = 0, autoNumber_ = 0, ownedMap_ = 0, freeMap_ = 0;
    std::uint8_t owner_[4] = {};
    std::uint32_t dataPage_ = 0;
    std::map<std::uint16_t, std::uint32_t> lvalPage_;
    std::map<std::size_t, std::unique_ptr<IndexEditor>> editors_;
    struct PendingKeys {
        std::set<std::uint32_t> remove;                // row pointers
        std::vector<std::pair<IndexEntry, bool>> add;  // entry, checked for uniqueness
    };
    std::map<std::size_t, PendingKeys> pending_;
    std::vector<std::uint32_t> entries_;
    std::size_t width_ = 0;
    std::vector<Cell> cells_;  // the row being inserted, by column number; reused row to row
};

const TableLayout* findLayout(Store& store, std::string_view name, std::shared_ptr<const TableLayout>& hold) {
    for (const auto& t : store.tableDefs) {
        if (!sameName(t.name, name)) continue;
        if (t.linked()) return nullptr;
        hold = store.layout(static_cast<std::uint32_t>(t.id), t.name);
        return hold.get();
    }
    return nullptr;
}

bool isSystemTable(std::string_view name) {
    return name.size() >= 4 &&
           (name.substr(0, 4) == "MSys" || name.substr(0, 4) == "msys" || name.substr(0, 4) == "MSYS");
}

// The table rows are written to: one that is missing or linked, or a system table, is refused.
const TableLayout* tableForRows(Store& store, std::string_view name,
                                std::shared_ptr<const TableLayout>& hold) {
    const TableLayout* layout = findLayout(store, name, hold);
    if (!layout) throw Error::tableNotFound(std::string(name));
    if (isSystemTable(layout->name)) throw Error::noObjectPermission(layout->name);
    return layout;
}

// ---- definitions

struct RealPlan {
    std::vector<std::pair<std::uint16_t, bool>> columns;  // column number, ascending
    std::uint8_t flags = 0;
};

std::uint8_t realFlags(const NewIndex& ix) {
    if (ix.primary) return kIndexUnique | kIndexRequired;
    std::uint8_t fl = 0;
    if (ix.unique) fl |= kIndexUnique;
    if (ix.disallowNull)
        fl |= kIndexRequired;
    else if (ix.ignoreNull)
        fl |= kIndexIgnoreNulls;
    return fl;
}

void appendRealIndexBlock(std::vector<std::uint8_t>& v, const JetFormat& f, const RealPlan& r) {
    if (!f.jet3) appendLE(v, kTableNumber, 4);
    for (std::size_t k = 0; k < 10; ++k) {
        if (k < r.columns.size()) {
            appendLE(v, r.columns[k].first, 2);
            v.push_back(r.columns[k].second ? 0x01 : 0x02);
        } else {
            appendLE(v, 0xFFFF, 2);
            v.push_back(0);
        }
    }
    appendLE(v, 0, 4);  // usage map, set once written
    appendLE(v, 0, 4);  // root page
    if (!f.jet3) appendLE(v, 0, 4);
    v.push_back(r.flags);
    if (!f.jet3) v.insert(v.end(), 5, 0);
}

void appendLogicalIndexBlock(std::vector<std::uint8_t>& v, const JetFormat& f, std::uint32_t number,
                             std::uint32_t real, std::uint8_t kind) {
    if (!f.jet3) appendLE(v, kTableNumber, 4);
    appendLE(v, number, 4);
    appendLE(v, real, 4);
    v.push_back(0);
    appendLE(v, 0xFFFFFFFFu, 4);  // related index
    appendLE(v, 0, 4);            // related table
    v.push_back(0);
    v.push_back(0);
    v.push_back(kind);
    if (!f.jet3) appendLE(v, 0, 4);
}

// The definition of a new table; its usage map pointers and index roots are left 0.
std::vector<std::uint8_t> encodeDefinition(const JetFormat& f, const NewTable& t,
                                           const std::vector<RealPlan>& reals) {
    std::vector<std::uint8_t> v;
    const std::size_t n = t.columns.size();
    std::size_t varCount = 0;
    for (const auto& c : t.columns)
        if (isVariable(c.type)) ++varCount;
    // Header.
    v.assign(f.tdefRealIndexInfo, 0);
    v[0] = kPageTableDef;
    v[1] = 0x01;
    if (f.jet3) {
        v[2] = 'V';
        v[3] = 'C';
    } else {
        put32(v.data() + 12, kTableNumber);
        v[24] = 1;  // Access sets it on tables whose autonumbers it hands out
    }
    v[f.tdefTableType] = kUserTable;
    put16(v.data() + f.tdefMaxColumns, static_cast<std::uint16_t>(n));
    put16(v.data() + f.tdefVarColumnCount, static_cast<std::uint16_t>(varCount));
    put16(v.data() + f.tdefColumnCount, static_cast<std::uint16_t>(n));
    put32(v.data() + f.tdefIndexCount, static_cast<std::uint32_t>(t.indexes.size()));
    put32(v.data() + f.tdefRealIndexCount, static_cast<std::uint32_t>(reals.size()));
    for (std::size_t r = 0; r < reals.size(); ++r) {
        if (!f.jet3)
            appendLE(v, kTableNumber, 4);
        else
            appendLE(v, 0, 4);
        appendLE(v, 0, 4);
        if (!f.jet3) appendLE(v, 0, 4);
    }
    // Column descriptors.
    std::uint16_t fixedOffset = 0, varIndex = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const NewColumn& c = t.columns[i];
        std::vector<std::uint8_t> d(f.columnSize, 0);
        d[f.colType] = static_cast<std::uint8_t>(c.type);
        put16(d.data() + f.colNumber, static_cast<std::uint16_t>(i));
        put16(d.data() + f.colIndex, static_cast<std::uint16_t>(i));
        std::uint8_t flags = kColumnAlwaysSet;
        if (!c.required) flags |= kColumnNullable;
        if (c.autoNumber) flags |= kColumnAutoNumber;
        std::uint16_t length = 0;
        if (isVariable(c.type)) {
            put16(d.data() + f.colVarIndex, varIndex++);
            if (c.type == ColumnType::Text) length = static_cast<std::uint16_t>(f.jet3 ? c.size : c.size * 2);
            if (c.type == ColumnType::Binary) length = c.size;
        } else {
            flags |= kColumnFixed;
            // A Yes/No value lives in the null mask; Access still gives it length 1 and no room.
            length = c.type == ColumnType::Boolean ? 1 : fixedValueSize(c.type);
            put16(d.data() + f.colFixedOffset, fixedOffset);
            fixedOffset = static_cast<std::uint16_t>(fixedOffset + fixedValueSize(c.type));
        }
        if (f.jet3) {
            put16(d.data() + 7, 1);
            put16(d.data() + 9, 0x0409);
            put16(d.data() + 11, 1252);
        } else {
            put32(d.data() + 1, kTableNumber);
            if (c.type == ColumnType::Decimal) {
                d[f.colPrecision] = c.precision;
                d[f.colScale] = c.scale;
            } else if (c.type == ColumnType::Text || c.type == ColumnType::Memo) {
                put16(d.data() + f.colPrecision, 0x0409);  // General (Legacy) sort order
            }
        }
        d[f.colFlags] = flags;
        if (!f.jet3 && c.compressed) d[f.colExtFlags] = kColumnExtCompressedText;
        put16(d.data() + f.colLength, length);
        v.insert(v.end(), d.begin(), d.end());
    }
    for (const auto& c : t.columns) appendName(v, f, c.name);
    for (const auto& r : reals) appendRealIndexBlock(v, f, r);
    for (std::size_t i = 0; i < t.indexes.size(); ++i)
        appendLogicalIndexBlock(v, f, static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(i),
                                t.indexes[i].primary ? kLogicalIndexPrimary : 0);
    for (const auto& ix : t.indexes) appendName(v, f, ix.name);
    // Jet 4 keeps usage maps per memo/OLE column here; both formats end the list with FFFF.
    if (!f.jet3) {
        for (std::size_t i = 0; i < n; ++i) {
            if (t.columns[i].type != ColumnType::Memo && t.columns[i].type != ColumnType::OLE) continue;
            appendLE(v, static_cast<std::uint32_t>(i), 2);
            appendLE(v, 0, 4);
            appendLE(v, 0, 4);
        }
    }
    appendLE(v, 0xFFFF, 2);
    put32(v.data() + f.tdefLength, static_cast<std::uint32_t>(v.size() - 8));
    return v;
}

// An empty inline usage map row.
std::vector<std::uint8_t> emptyMapRow(const JetFormat& f) {
    return std::vector<std::uint8_t>(mapRowBytes(f), 0);
}

void writeEmptyLeaf(Transaction& tx, std::uint32_t page, std::uint32_t owner) {
    const JetFormat& f = tx.format();
    std::vector<std::uint8_t> buf(f.pageSize, 0);
    IndexPage p;
    p.number = page;
    p.leaf = true;
    p.owner = owner;
    encodeIndexPage(f, p, buf.data());
    tx.write(page, buf.data());
}

int columnPosition(const std::vector<NewColumn>& cols, const std::string& name) {
    for (std::size_t i = 0; i < cols.size(); ++i)
        if (sameName(cols[i].name, name)) return static_cast<int>(i);
    return -1;
}

// The catalog row of a new table, and its entries in the catalog's indexes.
void addCatalogRow(Transaction& tx, const std::shared_ptr<Store>& store, const std::string& name,
                   std::uint32_t tdefPage) {
    std::shared_ptr<const TableLayout> hold = store->layout(kCatalogPage, "MSysObjects");
    const TableLayout& cat = *hold;
    // New objects belong to the owner Jet recorded for the Tables container.
    Value owner;
    {
        Table catalog(store, hold);
        int cName = catalog.findColumn("Name"), cOwner = catalog.findColumn("Owner"),
            cId = catalog.findColumn("Id");
        if (cName >= 0 && cOwner >= 0 && cId >= 0) {
            Cursor cur = catalog.cursor();
            while (cur.next()) {
                Value id = cur.value(static_cast<std::size_t>(cId));
                const auto* v = id.getIf<std::int32_t>();
                if (v && *v == kTablesContainerId) {
                    owner = cur.value(static_cast<std::size_t>(cOwner));
                    break;
                }
            }
        }
    }
    std::vector<Value> row(cat.columns.size());
    const double now = oleNow();
    for (std::size_t i = 0; i < cat.columns.size(); ++i) {
        const Column& c = cat.columns[i];
        auto is = [&](const char* n) { return sameName(c.name, n); };
        if (is("Id"))
            row[i] = Value(ColumnType::Long, static_cast<std::int32_t>(tdefPage));
        else if (is("ParentId"))
            row[i] = Value(ColumnType::Long, kTablesContainerId);
        else if (is("Name"))
            row[i] = Value(c.type, name);
        else if (is("Type"))
            row[i] = Value(ColumnType::Integer, static_cast<std::int16_t>(1));
        else if (is("DateCreate") || is("DateUpdate"))
            row[i] = Value(ColumnType::DateTime, DateTime{now});
        else if (is("Flags"))
            row[i] = Value(ColumnType::Long, static_cast<std::int32_t>(0));
        else if (is("Owner") && !owner.isNull() && c.type == owner.type())
            row[i] = owner;
    }
    TableInserter ins(tx, *store, cat);
    ins.insert(row);
    ins.finish();
}

// Where the parts of a definition start (see tdef.cc for their order).
struct DefinitionParts {
    std::size_t infoEnd = 0, realsStart = 0, realsEnd = 0, logicalsEnd = 0, namesEnd = 0;
    std::uint32_t realCount = 0, logicalCount = 0;
    std::vector<std::pair<std::size_t, std::size_t>> logicalNames;  // start, length with its count
};

DefinitionParts partsOf(const JetFormat& f, const Store& store, const Definition& d, std::uint32_t page) {
    DefinitionParts p;
    const auto& b = d.bytes;
    auto need = [&](std::size_t pos, std::size_t n) {
        if (pos > b.size() || n > b.size() - pos) store.corrupt(page, 0, "table definition ends early");
    };
    need(0, f.tdefRealIndexInfo);
    std::size_t columns = u16(b.data() + f.tdefColumnCount);
    p.logicalCount = u32(b.data() + f.tdefIndexCount);
    p.realCount = u32(b.data() + f.tdefRealIndexCount);
    if (p.logicalCount > kMaxIndexes || p.realCount > kMaxIndexes)
        store.corrupt(page, 0, "implausible counts");
    p.infoEnd = f.tdefRealIndexInfo + p.realCount * f.realIndexInfoSize;
    std::size_t pos = p.infoEnd + columns * f.columnSize;
    auto skipName = [&]() {
        need(pos, f.nameLengthSize);
        std::size_t len = f.nameLengthSize == 1 ? b[pos] : u16(b.data() + pos);
        need(pos + f.nameLengthSize, len);
        std::size_t start = pos;
        pos += f.nameLengthSize + len;
        return std::make_pair(start, pos - start);
    };
    for (std::size_t i = 0; i < columns; ++i) skipName();
    p.realsStart = pos;
    p.realsEnd = pos + p.realCount * f.realIndexSize;
    p.logicalsEnd = p.realsEnd + p.logicalCount * f.logicalIndexSize;
    pos = p.logicalsEnd;
    for (std::size_t i = 0; i < p.logicalCount; ++i) p.logicalNames.push_back(skipName());
    p.namesEnd = pos;
    return p;
}

const TableLayout& tableFor(Store& store, std::string_view name, std::shared_ptr<const TableLayout>& hold) {
    const TableLayout* layout = findLayout(store, name, hold);
    if (!layout) throw Error::noSuchTable(std::string(name));
    return *layout;
}

// A usage map row for a new index: on the page that holds the table's maps when it has room.
std::uint32_t addMapRow(Transaction& tx, std::uint32_t nearMap) {
    const JetFormat& f = tx.format();
    std::vector<std::uint8_t> row = emptyMapRow(f);
    std::uint16_t n = 0;
    std::uint32_t holder = nearMap >> 8;
    if (holder != 0) {
        std::vector<std::uint8_t>& page = tx.modify(holder);
        if (page[0] == kPageData && addRowToPage(f, page, row.data(), row.size(), n))
            return (holder << 8) | n;
    }
    holder = tx.allocate(0);
    std::vector<std::uint8_t>& page = tx.modify(holder);
    const std::uint8_t none[4] = {0, 0, 0, 0};
    startDataPage(f, page, none);
    addRowToPage(f, page, row.data(), row.size(), n);
    return (holder << 8) | n;
}

bool nameTaken(const Store& store, std::string_view name) {
    for (const auto& e : store.catalog)
        if (e.parentId == kTablesContainerId && sameName(e.name, name)) return true;
    return false;
}

void finishCommit(Transaction& tx, CommitStats* stats) {
    tx.commit();
    if (stats) *stats = tx.stats();
}

}  // namespace

void createTable(const Database& db, const NewTable& t, CommitStats* stats) {
    const std::shared_ptr<Store>& storePtr = db.store();
    Transaction tx(db);
    Store& store = *storePtr;
    const JetFormat& f = tx.format();
    if (nameTaken(store, t.name)) throw Error::tableExists(t.name);
    if (t.columns.empty() || t.columns.size() > 255)
        throw Error(3290, "Syntax error in CREATE TABLE statement.");
    std::vector<RealPlan> reals;
    int primaries = 0;
    for (const auto& ix : t.indexes) {
        if (ix.primary && ++primaries > 1) throw Error::primaryKeyExists();
        RealPlan r;
        for (const auto& k : ix.columns) {
            int p = columnPosition(t.columns, k.name);
            if (p < 0) throw Error::itemNotFound();
            r.columns.emplace_back(static_cast<std::uint16_t>(p), k.ascending);
        }
        if (r.columns.empty() || r.columns.size() > 10)
            throw Error(3291, "Syntax error in CREATE INDEX statement.");
        r.flags = realFlags(ix);
        reals.push_back(std::move(r));
    }
    Definition def;
    def.bytes = encodeDefinition(f, t, reals);
    DefinitionShape shape = parseDefinition(f, def.bytes, store.path, 0);
    def.pages.push_back(tx.allocate(0));
    const std::uint32_t tdef = def.pages[0];

    // The usage maps: owned and free-space maps of the data pages, then per long-value column,
    // then per index, as rows of one data page.
    std::uint32_t holder = tx.allocate(0);
    {
        std::vector<std::uint8_t>& page = tx.modify(holder);
        const std::uint8_t none[4] = {0, 0, 0, 0};
        startDataPage(f, page, none);
        auto addMap = [&](std::size_t pos) {
            std::vector<std::uint8_t> row = emptyMapRow(f);
            std::uint16_t n = 0;
            if (!addRowToPage(f, page, row.data(), row.size(), n))
                throw Error(3035, "System resource exceeded.");
            put32(def.bytes.data() + pos, (holder << 8) | n);
        };
        addMap(f.tdefOwnedPages);
        addMap(f.tdefFreePages);
        for (const auto& lm : shape.longMaps) {
            addMap(lm.ownedPos);
            addMap(lm.freePos);
        }
        for (const auto& r : shape.reals) addMap(r.mapPos);
    }
    for (const auto& r : shape.reals) {
        std::uint32_t root = tx.allocate(u32(def.bytes.data() + r.mapPos));
        writeEmptyLeaf(tx, root, tdef);
        put32(def.bytes.data() + r.rootPos, root);
    }
    writeDefinition(tx, def);
    addCatalogRow(tx, storePtr, t.name, tdef);
    finishCommit(tx, stats);
}

void createIndex(const Database& db, std::string_view tableName, const NewIndex& index, CommitStats* stats) {
    const std::shared_ptr<Store>& storePtr = db.store();
    Transaction tx(db);
    Store& store = *storePtr;
    const JetFormat& f = tx.format();
    std::shared_ptr<const TableLayout> hold;
    const TableLayout& layout = tableFor(store, tableName, hold);
    for (const auto& ix : layout.indexes) {
        if (sameName(ix.name, index.name)) throw Error::indexExists(layout.name, index.name);
        if (index.primary && ix.kind == kLogicalIndexPrimary) throw Error::primaryKeyExists();
    }
    RealIndex real;
    real.flags = realFlags(index);
    RealPlan plan;
    plan.flags = real.flags;
    for (const auto& k : index.columns) {
        const Column* col = nullptr;
        for (const auto& c : layout.columns)
            if (sameName(c.name, k.name)) col = &c;
        if (!col) throw Error::itemNotFound();
        real.columns.push_back({col->number, k.ascending});
        plan.columns.emplace_back(col->number, k.ascending);
    }
    if (plan.columns.empty() || plan.columns.size() > 10)
        throw Error(3291, "Syntax error in CREATE INDEX statement.");

    Definition def = readDefinition(tx, store, layout.tdefPage);
    DefinitionParts parts = partsOf(f, store, def, layout.tdefPage);
    auto& b = def.bytes;
    {
        std::vector<std::uint8_t> name;
        appendName(name, f, index.name);
        b.insert(b.begin() + static_cast<std::ptrdiff_t>(parts.namesEnd), name.begin(), name.end());
        std::vector<std::uint8_t> logical;
        appendLogicalIndexBlock(logical, f, parts.logicalCount, parts.realCount,
                                index.primary ? kLogicalIndexPrimary : 0);
        b.insert(b.begin() + static_cast<std::ptrdiff_t>(parts.logicalsEnd), logical.begin(), logical.end());
        std::vector<std::uint8_t> realBlock;
        appendRealIndexBlock(realBlock, f, plan);
        b.insert(b.begin() + static_cast<std::ptrdiff_t>(parts.realsEnd), realBlock.begin(), realBlock.end());
        std::vector<std::uint8_t> info;
        appendLE(info, f.jet3 ? 0 : kTableNumber, 4);
        appendLE(info, 0, 4);
        if (!f.jet3) appendLE(info, 0, 4);
        b.insert(b.begin() + static_cast<std::ptrdiff_t>(parts.infoEnd), info.begin(), info.end());
    }
    const std::size_t grown = f.realIndexInfoSize + f.realIndexSize + f.logicalIndexSize;
    put32(b.data() + f.tdefIndexCount, parts.logicalCount + 1);
    put32(b.data() + f.tdefRealIndexCount, parts.realCount + 1);
    const std::size_t oldLength = u32(b.data() + f.tdefLength);
    std::vector<std::uint8_t> nameBytes;
    appendName(nameBytes, f, index.name);
    put32(b.data() + f.tdefLength, static_cast<std::uint32_t>(oldLength + grown + nameBytes.size()));
    const std::size_t blockAt = parts.realsEnd + f.realIndexInfoSize;
    const std::size_t mapPos = blockAt + f.realIndexColumns + 30;
    real.usageMap = addMapRow(tx, layout.ownedPagesMap);
    real.rootPage = tx.allocate(real.usageMap);
    writeEmptyLeaf(tx, real.rootPage, layout.tdefPage);
    put32(b.data() + mapPos, real.usageMap);
    put32(b.data() + mapPos + 4, real.rootPage);

    // Entries of the existing rows.
    std::uint32_t entries = 0;
    {
        IndexEditor editor(tx, IndexRef{real.rootPage, real.usageMap, layout.tdefPage}, store.path);
        KeyContext ctx{f.jet3, store.codePage};
        Table table(storePtr, hold);
        Cursor cur = table.cursor();
        const auto& cols = layout.columns;
        while (cur.next()) {
            bool allNull = false, anyNull = false;
            std::vector<std::uint8_t> key;
            try {
                key = rowIndexKey(
                    ctx, cols, real, [&](std::size_t p) { return cur.value(p); }, &allNull);
            } catch (const KeyUnsupported& e) {
                throw Error(errc::kCannotOpen, std::string("Cannot index this value: ") + e.what());
            }
            for (const auto& k : real.columns)
                for (std::size_t p = 0; p < cols.size(); ++p)
                    if (cols[p].number == k.columnNumber && cur.isNull(p)) anyNull = true;
            if ((real.flags & kIndexRequired) && anyNull) throw Error::nullInIndex();
            if (allNull && (real.flags & kIndexIgnoreNulls)) continue;
            if ((real.flags & kIndexUnique) && !allNull && !editor.findKey(key).empty())
                throw Error::duplicateKey();
            IndexEntry e;
            e.key = std::move(key);
            e.page = cur.rowId().page;
            e.row = static_cast<std::uint8_t>(cur.rowId().row);
            editor.insert(e);
            ++entries;
        }
        editor.commit();
    }
    put32(b.data() + parts.infoEnd + f.realIndexInfoRows, entries);
    writeDefinition(tx, def);
    finishCommit(tx, stats);
}

void dropIndex(const Database& db, std::string_view tableName, std::string_view indexName,
               CommitStats* stats) {
    const std::shared_ptr<Store>& storePtr = db.store();
    Transaction tx(db);
    Store& store = *storePtr;
    const JetFormat& f = tx.format();
    std::shared_ptr<const TableLayout> hold;
    const TableLayout& layout = tableFor(store, tableName, hold);
    Definition def = readDefinition(tx, store, layout.tdefPage);
    DefinitionParts parts = partsOf(f, store, def, layout.tdefPage);
    auto& b = def.bytes;
    // The logical index, by its place in the definition (the layout keeps the same order).
    std::size_t which = SIZE_MAX;
    for (std::size_t i = 0; i < layout.indexes.size(); ++i)
        if (sameName(layout.indexes[i].name, indexName)) which = i;
    if (which == SIZE_MAX || which >= parts.logicalCount) throw Error::itemNotFound();
    const Index& gone = layout.indexes[which];
    if (gone.kind == kLogicalIndexForeign)
        throw Error(errc::kInRelationship,
                    "Cannot delete this index or table.  It is either the current index or is used in a "
                    "relationship.");
    const std::int32_t real = gone.realIndex;
    bool shared = false;
    for (std::size_t i = 0; i < layout.indexes.size(); ++i)
        if (i != which && layout.indexes[i].realIndex == real) shared = true;
    const bool dropReal = real >= 0 && !shared;

    auto logicalAt = [&](std::size_t i) { return parts.realsEnd + i * f.logicalIndexSize; };
    // Renumber what follows: logical numbers after it, and real index numbers after a dropped one.
    for (std::size_t i = 0; i < parts.logicalCount; ++i) {
        std::uint8_t* q = b.data() + logicalAt(i) + f.logicalIndexNumber;
        if (i > which) put32(q, u32(q) - 1);
        auto r = static_cast<std::int32_t>(u32(q + 4));
        if (dropReal && r > real) put32(q + 4, static_cast<std::uint32_t>(r - 1));
    }
    const auto [nameAt, nameLen] = parts.logicalNames[which];
    b.erase(b.begin() + static_cast<std::ptrdiff_t>(nameAt),
            b.begin() + static_cast<std::ptrdiff_t>(nameAt + nameLen));
    b.erase(b.begin() + static_cast<std::ptrdiff_t>(logicalAt(which)),
            b.begin() + static_cast<std::ptrdiff_t>(logicalAt(which) + f.logicalIndexSize));
    std::size_t removed = nameLen + f.logicalIndexSize;
    if (dropReal) {
        const std::size_t realAt = parts.realsStart + static_cast<std::size_t>(real) * f.realIndexSize;
        b.erase(b.begin() + static_cast<std::ptrdiff_t>(realAt),
                b.begin() + static_cast<std::ptrdiff_t>(realAt + f.realIndexSize));
        const std::size_t infoAt = f.tdefRealIndexInfo + static_cast<std::size_t>(real) * f.realIndexInfoSize;
        b.erase(b.begin() + static_cast<std::ptrdiff_t>(infoAt),
                b.begin() + static_cast<std::ptrdiff_t>(infoAt + f.realIndexInfoSize));
        removed += f.realIndexSize + f.realIndexInfoSize;
        put32(b.data() + f.tdefRealIndexCount, parts.realCount - 1);
        // The index's pages go back to the file.
        const RealIndex& ri = layout.realIndexes[static_cast<std::size_t>(real)];
        std::vector<std::uint8_t> page(f.pageSize);
        for (std::uint32_t p : usageMapPages(store, ri.usageMap)) {
            tx.read(p, page.data());
            if ((page[0] == kPageIndexLeaf || page[0] == kPageIndexNode) &&
                u32(page.data() + 4) == layout.tdefPage)
                tx.release(p, ri.usageMap);
        }
    }
    put32(b.data() + f.tdefIndexCount, parts.logicalCount - 1);
    put32(b.data() + f.tdefLength, static_cast<std::uint32_t>(u32(b.data() + f.tdefLength) - removed));
    writeDefinition(tx, def);
    finishCommit(tx, stats);
}

std::uint64_t insertRows(const Database& db, std::string_view table, const RowFeed& feed,
                         CommitStats* stats) {
    const std::shared_ptr<Store>& storePtr = db.store();
    Transaction tx(db);
    Store& store = *storePtr;
    std::shared_ptr<const TableLayout> hold;
    const TableLayout* layout = tableForRows(store, table, hold);
    TableInserter ins(tx, store, *layout);
    std::vector<Value> row;
    std::uint64_t n = 0;
    while (true) {
        row.assign(layout->columns.size(), Value());
        if (!feed(row)) break;
        ins.insert(row);
        ++n;
        // Between rows the inserter holds no page of the transaction's.
        ins.trim();
        tx.spillIfNeeded();
    }
    ins.finish();
    tx.spillIfNeeded();
    finishCommit(tx, stats);
    return n;
}

}  // namespace jet

namespace jet {

std::size_t updateRows(const Database& db, std::string_view tableName,
                       const std::function<std::vector<RowId>()>& choose,
                       const std::vector<std::size_t>& columns, const RowChange& change, CommitStats* stats) {
    const std::shared_ptr<Store>& storePtr = db.store();
    Transaction tx(db);
    Store& store = *storePtr;
    std::shared_ptr<const TableLayout> hold;
    const TableLayout* layout = tableForRows(store, tableName, hold);
    const auto& cols = layout->columns;
    std::vector<bool> changed(cols.size(), false);
    for (std::size_t c : columns) {
        if (c >= cols.size()) throw Error::itemNotFound();
        if (cols[c].flags & kColumnAutoNumber) throw Error(3164, "Field cannot be updated.");
        changed[c] = true;
    }
    if (columns.empty()) return 0;

    // Keys other tables refer to, and keys that must find their row in another table: refused
    // whole rather than checked value by value, so no change can leave a relationship broken.
    for (const RelationshipColumn& r : relationshipColumns(store)) {
        if (!r.enforced) continue;
        for (std::size_t c : columns) {
            if (sameName(r.referencedObject, layout->name) && sameName(r.referencedColumn, cols[c].name))
                throw Error(3200, "The record cannot be deleted or changed because table '" + r.object +
                                      "' includes related records.");
            if (sameName(r.object, layout->name) && sameName(r.column, cols[c].name))
                throw Error(3201,
                            "You cannot add or change a record because a related record is required "
                            "in table '" +
                                r.referencedObject + "'.");
        }
    }

    const std::vector<RowId> chosen = choose();
    std::set<std::pair<std::uint32_t, std::uint16_t>> wanted;
    for (const RowId& r : chosen) wanted.insert({r.page, r.row});
    if (wanted.empty()) return 0;

    // What the chosen rows hold now, read before any of them changes.
    struct Before {
        RowId id;
        std::vector<Value> values;
        std::vector<std::string> stored;
    };
    std::vector<Before> rows;
    {
        Table table(storePtr, hold);
        Cursor cur = table.cursor();
        while (cur.next()) {
            const RowId id = cur.rowId();
            if (!wanted.count({id.page, id.row})) continue;
            Before b;
            b.id = id;
            for (std::size_t i = 0; i < cols.size(); ++i) {
                b.values.push_back(cur.value(i));
                b.stored.emplace_back(cur.raw(i));
            }
            rows.push_back(std::move(b));
        }
    }
    if (rows.empty()) return 0;

    TableInserter ins(tx, store, *layout);
    std::vector<Value> after;
    for (Before& b : rows) {
        after = b.values;
        change(after);
        ins.update(b.id, b.values, b.stored, after, changed);
        b = Before{};
    }
    ins.finishUpdate();
    finishCommit(tx, stats);
    return rows.size();
}

}  // namespace jet
