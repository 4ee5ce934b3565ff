#include "jet/index_check.h"

#include <algorithm>
#include <map>
#include <sstream>

#include "jet/database.h"
#include "jet/index.h"
#include "jet/index_key.h"
#include "jet/store.h"
#include "jet/table.h"

namespace jet {

using namespace detail;

namespace {

std::string hex(const std::vector<std::uint8_t>& bytes) {
    static const char* digits = "0123456789ABCDEF";
    std::string s;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i) s.push_back(' ');
        s.push_back(digits[bytes[i] >> 4]);
        s.push_back(digits[bytes[i] & 15]);
    }
    return s;
}

std::string rowText(std::uint32_t pointer) {
    return "row " + std::to_string(pointer & 0xFF) + " of page " + std::to_string(pointer >> 8);
}

void checkTable(const Database& db, const Table& table, IndexCheckReport& report) {
    Store& store = *db.store();
    const auto& realIndexes = table.realIndexes();
    if (realIndexes.empty()) return;
    const auto& columns = table.columns();
    KeyContext ctx;
    ctx.jet3 = store.fmt->jet3;
    ctx.codePage = store.codePage;

    // Each index's key per live row, as far as it can be computed.
    struct Expected {
        std::vector<std::uint8_t> key;
        bool computed = false;
        bool allNull = true;
    };
    std::vector<std::map<std::uint32_t, Expected>> expected(realIndexes.size());
    Cursor cursor = table.cursor();
    while (cursor.next()) {
        RowId id = cursor.rowId();
        std::uint32_t ptr = rowPointer(id.page, id.row);
        for (std::size_t i = 0; i < realIndexes.size(); ++i) {
            Expected e;
            e.computed = true;
            try {
                e.key = rowIndexKey(
                    ctx, columns, realIndexes[i], [&](std::size_t pos) { return cursor.value(pos); },
                    &e.allNull);
            } catch (const KeyUnsupported&) {
                e.computed = false;
                e.key.clear();
            }
            expected[i][ptr] = std::move(e);
        }
    }

    StorePageIO io(store);
    for (std::size_t i = 0; i < realIndexes.size(); ++i) {
        const RealIndex& ri = realIndexes[i];
        ++report.indexes;
        std::string where = "table '" + table.name() + "' index " + std::to_string(i) + ": ";
        std::map<std::uint32_t, Expected>& rows = expected[i];
        std::size_t found = 0;
        std::size_t problemsBefore = report.problems.size();
        try {
            walkIndex(
                io, ri.rootPage,
                [&](const IndexEntry& e) {
                    ++report.entries;
                    auto it = rows.find(e.pointer());
                    if (it == rows.end()) {
                        if (report.problems.size() - problemsBefore < 20)
                            report.problems.push_back(where + "entry for " + rowText(e.pointer()) +
                                                      ", which is not a live row");
                        return;
                    }
                    ++found;
                    if (it->second.computed) {
                        ++report.keysCompared;
                        if (it->second.key != e.key && report.problems.size() - problemsBefore < 20)
                            report.problems.push_back(where + "key of " + rowText(e.pointer()) + " is " +
                                                      hex(e.key) + ", expected " + hex(it->second.key));
                    } else {
                        ++report.keysNotComputed;
                    }
                    rows.erase(it);
                },
                store.path);
        } catch (const Error& e) {
            report.problems.push_back(where + e.description());
            continue;
        }
        bool ignoreNulls = (ri.flags & 0x02) != 0;
        for (const auto& [ptr, e] : rows) {
            if (ignoreNulls && e.computed && e.allNull) continue;
            if (ignoreNulls && !e.computed) continue;  // cannot tell whether it is Null
            if (report.problems.size() - problemsBefore >= 20) break;
            report.problems.push_back(where + "no entry for " + rowText(ptr));
        }
        (void)found;
    }
}

}  // namespace

IndexCheckReport checkIndexes(const Database& db) {
    IndexCheckReport report;
    for (const auto& def : db.tableDefs()) {
        if (def.type != 1) continue;
        ++report.tables;
        try {
            Table table = db.openTable(def.name);
            checkTable(db, table, report);
        } catch (const Error& e) {
            report.problems.push_back("table '" + def.name + "': " + e.description());
        }
    }
    return report;
}

}  // namespace jet
