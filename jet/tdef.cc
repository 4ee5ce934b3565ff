// Table definitions (TDEF pages).
//
// A definition may span several pages: each page starts with 02 01, two bytes (free space in
// Jet 4, "VC" in Jet 3) and the next page's number; a continuation page's content starts at
// offset 8. The definition is the first page whole followed by the continuations without their
// 8-byte headers. Its parts, in order:
//   header (counts, usage map pointers) | per real index: a counter block |
//   column descriptors | column names | real index blocks | logical index blocks |
//   logical index names | (Jet 4) per memo column: its usage maps, ended by FFFF.
// Jet 4 names are a 2-byte byte count and UCS-2 text; Jet 3 names a 1-byte count and code-page
// text.
#include <algorithm>
#include <vector>

#include "jet/store.h"

namespace jet::detail {

namespace {

// The concatenated definition plus, for error texts, which page each part came from.
struct DefinitionBytes {
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint32_t> pages;  // pages[i] holds bytes from pageStart(i)
    std::uint32_t pageSize = 0;

    // Page and in-page offset of byte `pos`.
    void locate(std::size_t pos, std::uint32_t& page, std::size_t& offset) const {
        if (pos < pageSize || pages.size() <= 1) {
            page = pages.empty() ? 0 : pages[0];
            offset = pos;
            return;
        }
        std::size_t rest = pos - pageSize;
        std::size_t chunk = pageSize - 8;
        std::size_t idx = 1 + rest / chunk;
        if (idx >= pages.size()) idx = pages.size() - 1;
        page = pages[idx];
        offset = 8 + (rest - (idx - 1) * chunk);
    }
};

DefinitionBytes readDefinition(Store& store, std::uint32_t first) {
    DefinitionBytes def;
    def.pageSize = store.fmt->pageSize;
    std::uint32_t current = first;
    while (current != 0) {
        if (def.pages.size() >= kMaxTableDefPages)
            store.corrupt(current, 4, "table definition chain too long");
        if (std::find(def.pages.begin(), def.pages.end(), current) != def.pages.end())
            store.corrupt(current, 4, "table definition chain loops");
        PageRef page = store.page(current);
        const std::uint8_t* p = page.data();
        if (p[0] != kPageTableDef) store.corrupt(current, 0, "not a table definition page");
        if (def.pages.empty()) {
            def.bytes.insert(def.bytes.end(), p, p + def.pageSize);
        } else {
            def.bytes.insert(def.bytes.end(), p + 8, p + def.pageSize);
        }
        def.pages.push_back(current);
        current = u32(p + store.fmt->tdefNextPage);
    }
    return def;
}

class DefReader {
  public:
    DefReader(Store& store, const DefinitionBytes& def) : store_(store), def_(def) {}

    void need(std::size_t pos, std::size_t n, const char* what) const {
        if (pos > def_.bytes.size() || n > def_.bytes.size() - pos) {
            std::uint32_t page;
            std::size_t offset;
            def_.locate(std::min(pos, def_.bytes.size() ? def_.bytes.size() - 1 : 0), page, offset);
            store_.corrupt(page, offset, std::string("table definition ends inside ") + what);
        }
    }
    const std::uint8_t* at(std::size_t pos, std::size_t n, const char* what) const {
        need(pos, n, what);
        return def_.bytes.data() + pos;
    }
    std::uint8_t u8at(std::size_t pos, const char* what) const { return *at(pos, 1, what); }
    std::uint16_t u16at(std::size_t pos, const char* what) const { return u16(at(pos, 2, what)); }
    std::uint32_t u32at(std::size_t pos, const char* what) const { return u32(at(pos, 4, what)); }

    [[noreturn]] void fail(std::size_t pos, const std::string& what) const {
        std::uint32_t page;
        std::size_t offset;
        def_.locate(pos, page, offset);
        store_.corrupt(page, offset, what);
    }

    // A name at `pos`; advances pos.
    std::string name(std::size_t& pos) const {
        const JetFormat& f = *store_.fmt;
        std::size_t len = f.nameLengthSize == 1 ? u8at(pos, "a name") : u16at(pos, "a name");
        pos += f.nameLengthSize;
        const std::uint8_t* p = at(pos, len, "a name");
        std::string out;
        if (f.jet3) {
            appendCodePageText(out, p, len, store_.codePage);
        } else {
            appendUcs2(out, p, len);
        }
        pos += len;
        return out;
    }

  private:
    Store& store_;
    const DefinitionBytes& def_;
};

ColumnType typeFromCode(std::uint8_t code) {
    switch (code) {
        case 0x01:
        case 0x02:
        case 0x03:
        case 0x04:
        case 0x05:
        case 0x06:
        case 0x07:
        case 0x08:
        case 0x09:
        case 0x0A:
        case 0x0B:
        case 0x0C:
        case 0x0F:
        case 0x10:
            return static_cast<ColumnType>(code);
        default:
            return ColumnType::Unknown;
    }
}

}  // namespace

std::shared_ptr<const TableLayout> readTableLayout(Store& store, std::uint32_t tdefPage,
                                                   const std::string& name) {
    const JetFormat& f = *store.fmt;
    DefinitionBytes def = readDefinition(store, tdefPage);
    DefReader r(store, def);

    auto layout = std::make_shared<TableLayout>();
    layout->name = name;
    layout->tdefPage = tdefPage;
    layout->rowCount = r.u32at(f.tdefRowCount, "the header");
    layout->autoNumber = r.u32at(f.tdefAutoNumber, "the header");
    layout->tableType = r.u8at(f.tdefTableType, "the header");
    layout->maxColumns = r.u16at(f.tdefMaxColumns, "the header");
    layout->varColumnCount = r.u16at(f.tdefVarColumnCount, "the header");
    std::size_t columnCount = r.u16at(f.tdefColumnCount, "the header");
    std::size_t indexCount = r.u32at(f.tdefIndexCount, "the header");
    std::size_t realIndexCount = r.u32at(f.tdefRealIndexCount, "the header");
    layout->ownedPagesMap = r.u32at(f.tdefOwnedPages, "the header");
    layout->freePagesMap = r.u32at(f.tdefFreePages, "the header");

    if (columnCount > kMaxColumns) r.fail(f.tdefColumnCount, "implausible column count");
    if (indexCount > kMaxIndexes) r.fail(f.tdefIndexCount, "implausible index count");
    if (realIndexCount > kMaxIndexes) r.fail(f.tdefRealIndexCount, "implausible index count");

    std::size_t pos = f.tdefRealIndexInfo;
    std::vector<std::uint32_t> uniqueCounts(realIndexCount);
    for (std::size_t i = 0; i < realIndexCount; ++i) {
        uniqueCounts[i] = r.u32at(pos + f.realIndexInfoRows, "the index counters");
        pos += f.realIndexInfoSize;
    }

    std::vector<Column> columns(columnCount);
    for (std::size_t i = 0; i < columnCount; ++i) {
        const std::uint8_t* c = r.at(pos, f.columnSize, "a column descriptor");
        Column& col = columns[i];
        col.rawType = c[f.colType];
        col.type = typeFromCode(col.rawType);
        col.number = u16(c + f.colNumber);
        col.varIndex = u16(c + f.colVarIndex);
        col.index = u16(c + f.colIndex);
        col.precision = c[f.colPrecision];
        col.scale = c[f.colScale];
        col.collation = u16(c + f.colPrecision);
        if (!f.jet3) col.collationVersion = c[f.colSortOrderVersion];
        col.flags = c[f.colFlags];
        if (!f.jet3) col.extFlags = c[f.colExtFlags];
        col.fixed = (col.flags & kColumnFixed) != 0;
        col.fixedOffset = u16(c + f.colFixedOffset);
        col.size = u16(c + f.colLength);
        if (col.number >= kMaxColumns) r.fail(pos + f.colNumber, "implausible column number");
        pos += f.columnSize;
    }
    for (auto& col : columns) col.name = r.name(pos);

    // DAO lists fields by column number; deleted columns leave gaps, added ones come last.
    std::stable_sort(columns.begin(), columns.end(),
                     [](const Column& a, const Column& b) { return a.number < b.number; });
    for (std::size_t i = 1; i < columns.size(); ++i) {
        if (columns[i].number == columns[i - 1].number)
            r.fail(f.tdefColumnCount, "two columns share a number");
    }
    layout->columns = std::move(columns);

    layout->realIndexes.resize(realIndexCount);
    for (std::size_t i = 0; i < realIndexCount; ++i) {
        const std::uint8_t* b = r.at(pos, f.realIndexSize, "an index definition");
        RealIndex& ri = layout->realIndexes[i];
        const std::uint8_t* pairs = b + f.realIndexColumns;
        for (int k = 0; k < 10; ++k) {
            std::uint16_t colNum = u16(pairs + 3 * k);
            if (colNum == 0xFFFF) continue;
            // The order byte's low bit set means ascending.
            ri.columns.push_back({colNum, (pairs[3 * k + 2] & 0x01) != 0});
        }
        std::size_t after = f.realIndexColumns + 30;
        ri.usageMap = u32(b + after);
        ri.rootPage = u32(b + after + 4);
        ri.flags = b[f.realIndexFlags];
        ri.uniqueEntryCount = uniqueCounts[i];
        pos += f.realIndexSize;
    }

    layout->indexes.resize(indexCount);
    for (std::size_t i = 0; i < indexCount; ++i) {
        const std::uint8_t* b = r.at(pos, f.logicalIndexSize, "an index definition");
        const std::uint8_t* q = b + f.logicalIndexNumber;
        Index& ix = layout->indexes[i];
        ix.number = static_cast<std::int32_t>(u32(q));
        ix.realIndex = static_cast<std::int32_t>(u32(q + 4));
        ix.relatedIndex = static_cast<std::int32_t>(u32(q + 9));
        ix.relatedTable = u32(q + 13);
        ix.cascade = static_cast<std::uint8_t>(q[17] | (q[18] << 1));
        ix.kind = q[19];
        if (ix.realIndex < -1 || ix.realIndex >= static_cast<std::int32_t>(realIndexCount))
            r.fail(pos + f.logicalIndexNumber + 4, "index refers to a missing index");
        pos += f.logicalIndexSize;
    }
    for (auto& ix : layout->indexes) ix.name = r.name(pos);
    // Then, per memo/OLE column, its number and two usage maps, ended by FFFF. Only a list that
    // ends so and names memo/OLE columns of this table is taken: the bytes after a definition
    // are not always cleared.
    {
        std::vector<TableLayout::LongValueMaps> maps;
        bool ended = false;
        std::size_t at = pos;
        while (at + 2 <= def.bytes.size() && maps.size() <= layout->columns.size()) {
            std::uint16_t column = u16(def.bytes.data() + at);
            if (column == 0xFFFF) {
                ended = true;
                break;
            }
            if (at + 10 > def.bytes.size()) break;
            bool longColumn = false;
            for (const auto& c : layout->columns) {
                if (c.number == column && (c.type == ColumnType::Memo || c.type == ColumnType::OLE))
                    longColumn = true;
            }
            if (!longColumn) break;
            maps.push_back({column, u32(def.bytes.data() + at + 2), u32(def.bytes.data() + at + 6)});
            at += 10;
        }
        if (ended) layout->longValueMaps = std::move(maps);
    }
    layout->definitionPages = def.pages;
    return layout;
}

std::shared_ptr<const TableLayout> Store::layout(std::uint32_t tdefPage, const std::string& name) {
    auto it = layouts_.find(tdefPage);
    if (it != layouts_.end()) return it->second;
    auto parsed = readTableLayout(*this, tdefPage, name);
    layouts_.emplace(tdefPage, parsed);
    return parsed;
}

}  // namespace jet::detail
