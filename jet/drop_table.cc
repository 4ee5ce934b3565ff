// DROP TABLE and DELETE.
//
// What it touches: the table's row in MSysObjects (marked deleted as Access marks rows, 0xC000 in
// the page's offset table; its long values' rows too), the entries that point at that row in
// every index of MSysObjects, and MSysObjects' row count; the same for the rows of MSysACEs and of
// the navigation-pane tables that name the table's id; then the table's pages, each set free in
// the global usage map. A page is only freed when it carries the marks of this table (type, and
// owner for data and index pages): a damaged map cannot make the drop free another table's page.
// A map-holder page is freed only when every live row on it is one of this table's maps.
//
// Index entries are taken out by row pointer with the index module's IndexEditor (one pass over
// the leaves; emptied pages unlinked and given back).
#include "jet/schema.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>

#include "jet/index.h"
#include "jet/row_edit.h"
#include "jet/store.h"
#include "jet/table.h"

namespace jet {

using namespace detail;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kLvalOwner = 0x4C41564C;  // "LVAL" read little-endian

void put16(std::uint8_t* p, std::uint16_t v) {
    p[0] = static_cast<std::uint8_t>(v);
    p[1] = static_cast<std::uint8_t>(v >> 8);
}
void put32(std::uint8_t* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}

// The row count of a data page, checked against the room its offset table can have.
std::uint16_t rowCountOf(const Store& store, std::uint32_t pageNo, const Bytes& page) {
    const JetFormat& f = *store.fmt;
    std::uint16_t count = u16(page.data() + f.dataRowCount);
    if (f.dataRowOffsets + 2u * count > f.pageSize)
        store.corrupt(pageNo, f.dataRowCount, "implausible row count");
    return count;
}

// ---- rows ----

// Marks a row deleted (0xC000, as Access does), following overflow pointers, and frees the rows of
// its long values.
void deleteRow(Transaction& tx, const Store& store, const TableLayout& layout, RowId id) {
    const JetFormat& f = *store.fmt;
    std::uint32_t pageNo = id.page;
    std::uint16_t rowNo = id.row;
    for (int hop = 0; hop <= static_cast<int>(kMaxOverflowHops); ++hop) {
        Bytes& page = tx.modify(pageNo);
        if (page[0] != kPageData) store.corrupt(pageNo, 0, "row to delete is not on a data page");
        std::uint16_t count = rowCountOf(store, pageNo, page);
        if (rowNo >= count) store.corrupt(pageNo, f.dataRowCount, "row to delete is missing");
        std::size_t entry = f.dataRowOffsets + 2u * rowNo;
        std::uint16_t raw = u16(page.data() + entry);
        put16(page.data() + entry, static_cast<std::uint16_t>(raw | kRowDeleted | kRowOverflow));
        if (!(raw & kRowOverflow) || (raw & kRowDeleted)) return;
        std::size_t start = raw & kRowOffsetMask;
        if (start + 4 > f.pageSize) store.corrupt(pageNo, entry, "overflow pointer out of bounds");
        std::uint32_t ptr = u32(page.data() + start);
        pageNo = ptr >> 8;
        rowNo = ptr & 0xFF;
        if (pageNo == 0 || pageNo >= tx.pageCount())
            store.corrupt(id.page, start, "overflow pointer beyond the file");
    }
    (void)layout;
}

// Deletes the rows of table `layout` chosen by `pick` (given a cursor on the row): rows, their
// long values, their index entries, and the definition's row count. Returns the count.
template <typename Pick>
std::size_t deleteRowsWhere(Transaction& tx, Store& store, const std::shared_ptr<const TableLayout>& layout,
                            Pick pick) {
    const JetFormat& f = *store.fmt;
    Table table(std::shared_ptr<Store>(std::shared_ptr<Store>{}, &store), layout);
    std::vector<std::size_t> longColumns;
    for (std::size_t i = 0; i < table.columns().size(); ++i) {
        auto t = table.columns()[i].type;
        if (t == ColumnType::Memo || t == ColumnType::OLE) longColumns.push_back(i);
    }
    std::set<std::pair<std::uint32_t, std::uint16_t>> rows;
    std::vector<std::string> longFields;
    Cursor cur = table.cursor();
    while (cur.next()) {
        if (!pick(table, cur)) continue;
        RowId id = cur.rowId();
        rows.insert({id.page, id.row});
        for (std::size_t c : longColumns) longFields.emplace_back(cur.raw(c));
    }
    if (rows.empty()) return 0;
    for (const auto& [page, row] : rows) deleteRow(tx, store, *layout, RowId{page, row});
    for (const auto& field : longFields) freeLongValueRows(tx, store, field);
    std::set<std::uint32_t> pointers;
    for (const auto& [page, row] : rows) pointers.insert(rowPointer(page, row));
    for (const RealIndex& ri : layout->realIndexes) {
        if (ri.rootPage == 0) continue;
        IndexEditor editor(tx, IndexRef{ri.rootPage, ri.usageMap, layout->tdefPage}, store.path);
        std::size_t removed = editor.removeRows(pointers);
        // An index that ignores Nulls may lack rows; any other must have an entry for each.
        if (removed != rows.size() && !(ri.flags & 0x02))
            store.corrupt(ri.rootPage, 0, "an index lacks entries for rows of its table");
        editor.commit();
    }
    Bytes& tdef = tx.modify(layout->tdefPage);
    std::uint32_t count = u32(tdef.data() + f.tdefRowCount);
    put32(tdef.data() + f.tdefRowCount,
          count >= rows.size() ? static_cast<std::uint32_t>(count - rows.size()) : 0);
    return rows.size();
}

std::int64_t asInteger(const Value& v) {
    if (auto p = v.getIf<std::int32_t>()) return *p;
    if (auto p = v.getIf<std::int16_t>()) return *p;
    if (auto p = v.getIf<std::uint8_t>()) return *p;
    return 0;
}

const CatalogEntry* findSystemTable(const Store& store, std::string_view name) {
    for (const auto& e : store.catalog) {
        if (e.type == 1 && e.parentId == kTablesContainerId && sameName(e.name, name)) return &e;
    }
    return nullptr;
}

// ---- pages ----

struct MapContents {
    std::vector<std::uint32_t> pages;
    std::vector<std::uint32_t> bitmapPages;  // 0x05 pages of a reference map
};

MapContents readMap(Transaction& tx, const Store& store, std::uint32_t pointer) {
    const JetFormat& f = *store.fmt;
    MapContents out;
    if (pointer == 0) return out;
    std::uint32_t holder = pointer >> 8;
    std::uint16_t rowNo = pointer & 0xFF;
    if (holder >= tx.pageCount()) store.corrupt(holder, 0, "usage map beyond the file");
    Bytes page(f.pageSize);
    tx.read(holder, page.data());
    if (page.empty() || page.front() != kPageData)
        store.corrupt(holder, 0, "usage map is not on a data page");
    std::uint16_t count = rowCountOf(store, holder, page);
    if (rowNo >= count) store.corrupt(holder, f.dataRowCount, "usage map row missing");
    std::size_t entry = f.dataRowOffsets + 2u * rowNo;
    std::size_t start = u16(page.data() + entry) & kRowOffsetMask;
    std::size_t end = rowNo == 0 ? f.pageSize : (u16(page.data() + entry - 2) & kRowOffsetMask);
    if (start >= end || end > f.pageSize) store.corrupt(holder, entry, "usage map row out of bounds");
    const std::uint8_t* r = page.data() + start;
    std::size_t len = end - start;
    auto addBits = [&](const std::uint8_t* bits, std::size_t n, std::uint64_t first) {
        for (std::size_t i = 0; i < n; ++i) {
            if (!bits[i]) continue;
            for (int b = 0; b < 8; ++b) {
                std::uint64_t pg = first + i * 8 + static_cast<unsigned>(b);
                if ((bits[i] & (1u << b)) && pg < tx.pageCount())
                    out.pages.push_back(static_cast<std::uint32_t>(pg));
            }
        }
    };
    if (r[0] == 0) {
        if (len < 5) store.corrupt(holder, start, "usage map too short");
        addBits(r + 5, len - 5, u32(r + 1));
    } else if (r[0] == 1) {
        std::size_t per = static_cast<std::size_t>(f.pageSize - 4) * 8;
        Bytes bp(f.pageSize);
        for (std::size_t s = 0; s < (len - 1) / 4; ++s) {
            std::uint32_t b = u32(r + 1 + 4 * s);
            if (b == 0) continue;
            if (b >= tx.pageCount()) store.corrupt(holder, start, "usage bitmap page beyond the file");
            tx.read(b, bp.data());
            if (bp[0] != kPageUsageMap) store.corrupt(b, 0, "not a usage bitmap page");
            out.bitmapPages.push_back(b);
            addBits(bp.data() + 4, f.pageSize - 4, static_cast<std::uint64_t>(s) * per);
        }
    } else {
        store.corrupt(holder, start, "unknown usage map type");
    }
    return out;
}

void freeTablePages(Transaction& tx, const Store& store, const TableLayout& layout,
                    std::set<std::uint32_t>& freed) {
    const JetFormat& f = *store.fmt;
    const std::uint32_t tdef = layout.tdefPage;
    Bytes page(f.pageSize);
    auto typeOf = [&](std::uint32_t p) {
        tx.read(p, page.data());
        return page[0];
    };
    auto owner = [&]() { return u32(page.data() + f.dataOwner); };
    // Only pages the global map can mark are worth checking (see Transaction::setFree).
    auto give = [&](std::uint32_t p) {
        if (p >= 3 && p < tx.pageCount() && tx.globalCovers(p)) freed.insert(p);
    };
    auto wanted = [&](std::uint32_t p) { return p >= 3 && p < tx.pageCount() && tx.globalCovers(p); };

    for (std::uint32_t p : layout.definitionPages) give(p);

    std::vector<std::uint32_t> maps{layout.ownedPagesMap, layout.freePagesMap};
    for (const auto& ri : layout.realIndexes) maps.push_back(ri.usageMap);
    for (const auto& lv : layout.longValueMaps) {
        maps.push_back(lv.owned);
        maps.push_back(lv.free);
    }

    // Data pages of the table.
    for (std::uint32_t p : readMap(tx, store, layout.ownedPagesMap).pages) {
        if (wanted(p) && typeOf(p) == kPageData && owner() == tdef) give(p);
    }
    // Index pages.
    for (const auto& ri : layout.realIndexes) {
        for (std::uint32_t p : readMap(tx, store, ri.usageMap).pages) {
            if (!wanted(p)) continue;
            std::uint8_t t = typeOf(p);
            if ((t == kPageIndexNode || t == kPageIndexLeaf) && owner() == tdef) give(p);
        }
        if (ri.rootPage != 0 && wanted(ri.rootPage)) {
            std::uint8_t t = typeOf(ri.rootPage);
            if ((t == kPageIndexNode || t == kPageIndexLeaf) && owner() == tdef) give(ri.rootPage);
        }
    }
    // Long values.
    for (const auto& lv : layout.longValueMaps) {
        for (std::uint32_t p : readMap(tx, store, lv.owned).pages) {
            if (wanted(p) && typeOf(p) == kPageData && owner() == kLvalOwner) give(p);
        }
    }
    // Bitmap pages of reference maps, and the pages holding the map rows.
    std::map<std::uint32_t, std::set<std::uint16_t>> holders;
    for (std::uint32_t m : maps) {
        if (m == 0) continue;
        for (std::uint32_t b : readMap(tx, store, m).bitmapPages) give(b);
        holders[m >> 8].insert(static_cast<std::uint16_t>(m & 0xFF));
    }
    for (const auto& [holder, ours] : holders) {
        if (!wanted(holder) || typeOf(holder) != kPageData) continue;
        std::uint16_t count = rowCountOf(store, holder, page);
        bool onlyOurs = true;
        for (std::uint16_t r = 0; r < count && onlyOurs; ++r) {
            std::uint16_t raw = u16(page.data() + f.dataRowOffsets + 2u * r);
            if (!(raw & kRowDeleted) && !ours.count(r)) onlyOurs = false;
        }
        if (onlyOurs) give(holder);
    }
    for (std::uint32_t p : freed) tx.setFree(p, true);
}

bool isSystem(const CatalogEntry& e) {
    return (static_cast<std::uint32_t>(e.flags) & 0x80000002u) != 0 ||
           (e.name.size() >= 4 && sameName(std::string_view(e.name).substr(0, 4), "MSys"));
}

}  // namespace

void dropTable(const Database& db, std::string_view rawName, CommitStats* stats) {
    Transaction tx(db);
    Store& store = tx.store();
    std::string name(rawName);

    // The catalog row.
    std::size_t index = store.catalog.size();
    for (std::size_t i = 0; i < store.catalog.size(); ++i) {
        const auto& e = store.catalog[i];
        if (e.parentId == kTablesContainerId && (e.type == 1 || e.type == 4 || e.type == 6) &&
            sameName(e.name, name)) {
            index = i;
            break;
        }
    }
    if (index == store.catalog.size()) throw Error::noSuchTable(name);
    const CatalogEntry entry = store.catalog[index];
    const RowId catalogRow = store.catalogRows[index];
    if (isSystem(entry)) throw Error::noObjectPermission(entry.name);

    std::shared_ptr<const TableLayout> layout;
    if (entry.type == 1) {
        if (entry.id <= 2 || static_cast<std::uint32_t>(entry.id) >= tx.pageCount())
            store.corrupt(kCatalogPage, 0, "table '" + entry.name + "' has no definition page");
        layout = store.layout(static_cast<std::uint32_t>(entry.id), entry.name);
        for (const Index& ix : layout->indexes) {
            if (ix.kind == 2)
                throw Error(
                    errc::kInRelationship,
                    "Cannot delete this index or table.  It is either the current index or is used in a "
                    "relationship.");
        }
    }
    // Relationships name their tables.
    if (const CatalogEntry* rel = findSystemTable(store, "MSysRelationships")) {
        auto relLayout = store.layout(static_cast<std::uint32_t>(rel->id), rel->name);
        Table relTable(std::shared_ptr<Store>(std::shared_ptr<Store>{}, &store), relLayout);
        int a = relTable.findColumn("szObject"), b = relTable.findColumn("szReferencedObject");
        Cursor cur = relTable.cursor();
        while (cur.next()) {
            bool involved = (a >= 0 && sameName(cur.text(static_cast<std::size_t>(a)), entry.name)) ||
                            (b >= 0 && sameName(cur.text(static_cast<std::size_t>(b)), entry.name));
            if (involved)
                throw Error(
                    errc::kInRelationship,
                    "Cannot delete this index or table.  It is either the current index or is used in a "
                    "relationship.");
        }
    }

    // MSysObjects.
    auto catalogLayout = store.layout(kCatalogPage, "MSysObjects");
    std::size_t gone = deleteRowsWhere(
        tx, store, catalogLayout, [&](const Table&, const Cursor& c) { return c.rowId() == catalogRow; });
    if (gone != 1) store.corrupt(catalogRow.page, 0, "the table's catalog row moved");

    // Rows that name the table's id.
    auto byId = [&](const char* table, const char* column) {
        const CatalogEntry* sys = findSystemTable(store, table);
        if (!sys || sys->id <= 2 || static_cast<std::uint32_t>(sys->id) >= tx.pageCount()) return;
        auto l = store.layout(static_cast<std::uint32_t>(sys->id), sys->name);
        Table t(std::shared_ptr<Store>(std::shared_ptr<Store>{}, &store), l);
        int col = t.findColumn(column);
        if (col < 0) return;
        deleteRowsWhere(tx, store, l, [&](const Table&, const Cursor& c) {
            return asInteger(c.value(static_cast<std::size_t>(col))) == entry.id;
        });
    };
    byId("MSysACEs", "ObjectId");
    byId("MSysNavPaneObjectIDs", "Id");
    byId("MSysNavPaneGroupToObjects", "ObjectID");

    if (layout) {
        std::set<std::uint32_t> freed;
        freeTablePages(tx, store, *layout, freed);
    }
    tx.commit();
    if (stats) *stats = tx.stats();
}

std::size_t deleteRows(const Database& db, std::string_view rawName,
                       const std::function<std::vector<RowId>()>& choose, CommitStats* stats) {
    Transaction tx(db);
    Store& store = tx.store();
    const std::string name(rawName);
    const CatalogEntry* entry = nullptr;
    for (const auto& e : store.catalog) {
        if (e.parentId == kTablesContainerId && e.type == 1 && sameName(e.name, name)) {
            entry = &e;
            break;
        }
    }
    if (!entry) throw Error::tableNotFound(name);
    if (isSystem(*entry)) throw Error::noObjectPermission(entry->name);
    if (entry->id <= 2 || static_cast<std::uint32_t>(entry->id) >= tx.pageCount())
        store.corrupt(kCatalogPage, 0, "table '" + entry->name + "' has no definition page");
    const std::string tableName = entry->name;
    auto layout = store.layout(static_cast<std::uint32_t>(entry->id), tableName);

    const std::vector<RowId> chosen = choose();
    std::set<std::pair<std::uint32_t, std::uint16_t>> wanted;
    for (const RowId& r : chosen) wanted.insert({r.page, r.row});
    if (wanted.empty()) return 0;

    // Rows other tables refer to: refused whole (3200) rather than leave related rows orphaned.
    if (const CatalogEntry* rel = findSystemTable(store, "MSysRelationships")) {
        auto relLayout = store.layout(static_cast<std::uint32_t>(rel->id), rel->name);
        Table relTable(std::shared_ptr<Store>(std::shared_ptr<Store>{}, &store), relLayout);
        const int referenced = relTable.findColumn("szReferencedObject");
        const int object = relTable.findColumn("szObject");
        const int grbit = relTable.findColumn("grbit");
        Cursor cur = relTable.cursor();
        while (cur.next()) {
            if (referenced < 0 || !sameName(cur.text(static_cast<std::size_t>(referenced)), tableName))
                continue;
            // grbit 2: the relationship does not enforce integrity.
            const std::int64_t bits = grbit >= 0 ? asInteger(cur.value(static_cast<std::size_t>(grbit))) : 0;
            if (bits & 2) continue;
            const std::string other =
                object >= 0 ? std::string(cur.text(static_cast<std::size_t>(object))) : std::string();
            throw Error(3200, "The record cannot be deleted or changed because table '" + other +
                                  "' includes related records.");
        }
    }

    const std::size_t gone = deleteRowsWhere(tx, store, layout, [&](const Table&, const Cursor& c) {
        const RowId id = c.rowId();
        return wanted.count({id.page, id.row}) != 0;
    });
    if (gone == 0) return 0;
    tx.commit();
    if (stats) *stats = tx.stats();
    return gone;
}

}  // namespace jet

namespace jet::detail {

// Jet marks a freed long value's rows as it marks deleted rows; their space stays until compaction.
void freeLongValueRows(Transaction& tx, const Store& store, std::string_view field) {
    if (field.size() < kLongValueFieldSize) return;
    const auto* p = reinterpret_cast<const std::uint8_t*>(field.data());
    std::uint32_t head = u32(p);
    if ((head & kLongValueInline) || (head & kLongValueLengthMask) == 0) return;
    std::uint32_t ptr = u32(p + 4);
    const JetFormat& f = *store.fmt;
    std::set<std::uint32_t> seen;
    bool single = (head & kLongValueSingle) != 0;
    while (ptr != 0 && seen.insert(ptr).second && seen.size() < 100000) {
        std::uint32_t pg = ptr >> 8;
        std::uint16_t rw = ptr & 0xFF;
        if (pg == 0 || pg >= tx.pageCount()) store.corrupt(pg, 0, "long value pointer beyond the file");
        Bytes& page = tx.modify(pg);
        if (page[0] != kPageData || rw >= rowCountOf(store, pg, page))
            store.corrupt(pg, 0, "long value row missing");
        std::size_t entry = f.dataRowOffsets + 2u * rw;
        std::uint16_t raw = u16(page.data() + entry);
        if (raw & kRowDeleted) return;
        put16(page.data() + entry, static_cast<std::uint16_t>(raw | kRowDeleted | kRowOverflow));
        if (single) return;
        std::size_t start = raw & kRowOffsetMask;
        if (start + 4 > f.pageSize) return;
        ptr = u32(page.data() + start);
    }
}

std::vector<RelationshipColumn> relationshipColumns(Store& store) {
    std::vector<RelationshipColumn> out;
    const CatalogEntry* rel = findSystemTable(store, "MSysRelationships");
    if (!rel) return out;
    auto layout = store.layout(static_cast<std::uint32_t>(rel->id), rel->name);
    Table table(std::shared_ptr<Store>(std::shared_ptr<Store>{}, &store), layout);
    const int object = table.findColumn("szObject"), column = table.findColumn("szColumn"),
              referenced = table.findColumn("szReferencedObject"),
              referencedColumn = table.findColumn("szReferencedColumn"), grbit = table.findColumn("grbit");
    auto text = [&](const Cursor& c, int col) {
        return col >= 0 ? std::string(c.text(static_cast<std::size_t>(col))) : std::string();
    };
    Cursor cur = table.cursor();
    while (cur.next()) {
        RelationshipColumn r;
        r.object = text(cur, object);
        r.column = text(cur, column);
        r.referencedObject = text(cur, referenced);
        r.referencedColumn = text(cur, referencedColumn);
        const std::int64_t bits = grbit >= 0 ? asInteger(cur.value(static_cast<std::size_t>(grbit))) : 0;
        r.enforced = (bits & 2) == 0;
        out.push_back(std::move(r));
    }
    return out;
}

}  // namespace jet::detail
