// New empty databases as Jet makes them.
//
// Everything here was read from databases that Access and Jet made themselves (an empty Jet 4
// database, and the system part of an Access 97 one): the definitions of the four system tables
// (written back as stored, with the builder setting counts, maps and roots), the catalog rows of
// the three containers, MSysDb and the four tables, the permissions Jet grants on them, the
// catalog's ParentIdName key bytes of those names, and the header page's constant bytes.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>

#include "jet/builder.h"
#include "jet/compact.h"
#include "jet/new_file.h"
#include "jet/store.h"

namespace jet {

using namespace detail;

namespace {

#include "jet/new_database_facts.inc"

std::vector<std::uint8_t> fromHex(const char* const* parts) {
    std::vector<std::uint8_t> out;
    for (; *parts; ++parts) {
        for (const char* p = *parts; p[0] && p[1]; p += 2) {
            auto nib = [](char c) { return static_cast<std::uint8_t>(c <= '9' ? c - '0' : c - 'a' + 10); };
            out.push_back(static_cast<std::uint8_t>(nib(p[0]) << 4 | nib(p[1])));
        }
    }
    return out;
}

std::string hexBytes(const char* hex) {
    const char* parts[] = {hex, nullptr};
    auto v = fromHex(parts);
    return std::string(v.begin(), v.end());
}

struct ObjectRow {
    std::int32_t id;
    std::int32_t parentId;
    const char* name;
    std::int16_t type;
    const char* ownerJet4;
    const char* ownerJet3;
    const char* keyJet4;  // ParentIdName key of the name (after the ParentId part)
    const char* keyJet3;
};

// Catalog rows in the order Jet writes them.
const ObjectRow kObjects[] = {
    {0x0F000001, 0x0F000000, "Tables", 3, "06ea", "0203", "7f6d4a4c5e516b0100", "7f7760616d667600"},
    {0x0F000002, 0x0F000000, "Databases", 3, "06ea", "0203", "7f4f4a6d4a4c4a6b516b0100",
     "7f64607760616076667600"},
    {0x0F000003, 0x0F000000, "Relationships", 3, "06ea", "0203", "7f69515e4a6d5964626b5759666b0100",
     "7f75666d60776a727076696a737600"},
    {0x10000000, 0x0F000002, "MSysDb", 2, "07e8", "0301", "7f606b766b4f4c0100", "7f6f767d76646100"},
    {2, 0x0F000001, "MSysObjects", 1, "06ea", "0203", "7f606b766b644c5b514d6d6b0100",
     "7f6f767d7672616b6662777600"},
    {3, 0x0F000001, "MSysACEs", 1, "06ea", "0203", "7f606b766b4a4d516b0100", "7f6f767d766062667600"},
    {4, 0x0F000001, "MSysQueries", 1, "06ea", "0203", "7f606b766b686f516959516b0100",
     "7f6f767d76747866756a667600"},
    {5, 0x0F000001, "MSysRelationships", 1, "06ea", "0203", "7f606b766b69515e4a6d5964626b5759666b0100",
     "7f6f767d7675666d60776a727076696a737600"},
};

struct AceRow {
    std::int32_t objectId;
    const char* sid;
    std::int32_t acm;
    bool inheritable;
};

// Permissions: the groups' and users' SIDs as Jet 4 and Jet 3 store them.
const AceRow kAcesJet4[] = {
    {2, "07e8", 393216, false},
    {3, "07e8", 393216, false},
    {4, "07e8", 393216, false},
    {5, "07e8", 917504, false},
    {0x0F000001, "06ed", 983294, true},
    {0x0F000001, "07e8", 393217, false},
    {0x0F000003, "06ed", 983294, true},
    {0x0F000003, "07e8", 393217, false},
    {0x0F000002, "07e8", 393216, false},
    {0x10000000, "07e8", 393230, false},
    {0x10000000, "06e8", 14, false},
    {4, "06e8", 20, false},
    {5, "06e8", 20, false},
    {2, "06e8", 20, false},
    {0x0F000001, "06e8", 1048319, true},
    {0x0F000003, "06e8", 1048575, true},
};
const AceRow kAcesJet3[] = {
    {2, "0301", 393216, false},
    {3, "0301", 393216, false},
    {4, "0301", 393216, false},
    {5, "0301", 917504, false},
    {0x0F000001, "0204", 983294, true},
    {0x0F000001, "0301", 1048319, true},
    {0x0F000003, "0204", 983294, true},
    {0x0F000003, "0301", 393217, false},
    {0x0F000002, "0301", 393216, false},
    {0x10000000, "0301", 393230, false},
    {0x10000000, "0201", 14, false},
    {4, "0201", 20, false},
    {5, "0201", 20, false},
    {2, "0201", 20, false},
    {0x0F000001, "0201", 1048319, true},
    {0x0F000003, "0201", 1048575, true},
};

std::string le32(std::int32_t v) {
    std::uint8_t b[4];
    put32(b, static_cast<std::uint32_t>(v));
    return std::string(reinterpret_cast<char*>(b), 4);
}
std::string le16(std::int16_t v) {
    std::uint8_t b[2];
    put16(b, static_cast<std::uint16_t>(v));
    return std::string(reinterpret_cast<char*>(b), 2);
}
std::string dateBytes(double d) {
    std::string s(8, '\0');
    std::memcpy(s.data(), &d, 8);
    return s;
}
std::string textBytes(bool jet3, const char* ascii) {
    std::string s;
    for (const char* p = ascii; *p; ++p) {
        s.push_back(*p);
        if (!jet3) s.push_back('\0');
    }
    return s;
}

struct SystemTable {
    std::vector<std::uint8_t> def;
    DefinitionShape shape;
    std::uint32_t page = 0;
};

std::uint16_t columnNumber(const DefinitionShape& s, const char* name) {
    for (const auto& c : s.columns)
        if (sameName(c.name, name)) return c.number;
    throw Error(errc::kCannotOpen, std::string("system table lacks column ") + name);
}

Cell present(std::string bytes) {
    Cell c;
    c.present = true;
    c.bytes = std::move(bytes);
    return c;
}

}  // namespace

void createDatabase(const std::filesystem::path& path, FormatVersion format, NewFileOps* fileOps) {
    bool jet3 = format == FormatVersion::Jet3;
    if (format != FormatVersion::Jet3 && format != FormatVersion::Jet4)
        throw Error::unrecognizedFormat(path.string());
    const JetFormat& f = jet3 ? JetFormat::jet3Format() : JetFormat::jet4Format();
    NewFile out(path.string(), fileOps ? *fileOps : hostNewFileOps());
    DatabaseBuilder b(f, out, path.string());

    const char* const* defs[4] = {jet3 ? kJet3ObjectsDefinition : kJet4ObjectsDefinition,
                                  jet3 ? kJet3AcesDefinition : kJet4AcesDefinition,
                                  jet3 ? kJet3QueriesDefinition : kJet4QueriesDefinition,
                                  jet3 ? kJet3RelationshipsDefinition : kJet4RelationshipsDefinition};
    SystemTable tables[4];
    for (int i = 0; i < 4; ++i) {
        tables[i].def = fromHex(defs[i]);
        tables[i].shape = parseDefinition(f, tables[i].def, path.string(), 0);
        tables[i].page = b.reserveDefinition(tables[i].shape.length);
    }
    // Ids of the system tables are their definition pages: 2, 3, 4, 5 as in every Jet file.
    for (int i = 0; i < 4; ++i)
        if (tables[i].page != static_cast<std::uint32_t>(2 + i))
            throw Error(errc::kCannotOpen, "system tables out of place");

    const double now = oleNow();
    // MSysObjects.
    {
        SystemTable& t = tables[0];
        const DefinitionShape& s = t.shape;
        std::uint16_t cId = columnNumber(s, "Id"), cParent = columnNumber(s, "ParentId"),
                      cName = columnNumber(s, "Name"), cType = columnNumber(s, "Type"),
                      cCreate = columnNumber(s, "DateCreate"), cUpdate = columnNumber(s, "DateUpdate"),
                      cOwner = columnNumber(s, "Owner"), cFlags = columnNumber(s, "Flags");
        auto w = b.table(t.page, t.def, s);
        std::vector<std::pair<std::string, RowPointer>> parentIdName, byId;
        std::uint16_t width = 0;
        for (const auto& c : s.columns) width = std::max<std::uint16_t>(width, c.number + 1);
        for (const auto& o : kObjects) {
            std::vector<Cell> cells(width);
            cells[cId] = present(le32(o.id));
            cells[cParent] = present(le32(o.parentId));
            cells[cName] = present(textBytes(jet3, o.name));
            cells[cType] = present(le16(o.type));
            cells[cCreate] = present(dateBytes(now));
            cells[cUpdate] = present(dateBytes(now));
            cells[cOwner] = present(hexBytes(jet3 ? o.ownerJet3 : o.ownerJet4));
            cells[cFlags] = present(le32(static_cast<std::int32_t>(0x80000000u)));
            RowPointer p = w->addRow(cells);
            std::string parentKey;
            std::string parentBytes = le32(o.parentId);
            appendIntegerKey(parentKey, static_cast<std::uint8_t>(ColumnType::Long), &parentBytes, true);
            parentIdName.emplace_back(parentKey + hexBytes(jet3 ? o.keyJet3 : o.keyJet4), p);
            std::string idKey;
            std::string idBytes = le32(o.id);
            appendIntegerKey(idKey, static_cast<std::uint8_t>(ColumnType::Long), &idBytes, true);
            byId.emplace_back(idKey, p);
        }
        std::sort(parentIdName.begin(), parentIdName.end());
        std::sort(byId.begin(), byId.end());
        for (std::size_t r = 0; r < s.reals.size(); ++r) {
            bool isId = s.reals[r].columns.size() == 1 && s.reals[r].columns[0].first == cId;
            w->beginIndex(r);
            for (const auto& e : isId ? byId : parentIdName) w->addIndexEntry({e.first, e.second});
            w->endIndex();
        }
        w->finish(0);
    }
    // MSysACEs.
    {
        SystemTable& t = tables[1];
        const DefinitionShape& s = t.shape;
        std::uint16_t cObject = columnNumber(s, "ObjectId"), cSid = columnNumber(s, "SID"),
                      cAcm = columnNumber(s, "ACM"), cInherit = columnNumber(s, "FInheritable");
        auto w = b.table(t.page, t.def, s);
        std::uint16_t width = 0;
        for (const auto& c : s.columns) width = std::max<std::uint16_t>(width, c.number + 1);
        std::vector<std::pair<std::string, RowPointer>> byObject;
        const AceRow* aces = jet3 ? kAcesJet3 : kAcesJet4;
        std::size_t count = jet3 ? std::size(kAcesJet3) : std::size(kAcesJet4);
        for (std::size_t i = 0; i < count; ++i) {
            const AceRow& a = aces[i];
            std::vector<Cell> cells(width);
            cells[cObject] = present(le32(a.objectId));
            cells[cSid] = present(hexBytes(a.sid));
            cells[cAcm] = present(le32(a.acm));
            cells[cInherit].present = true;
            cells[cInherit].flag = a.inheritable;
            RowPointer p = w->addRow(cells);
            std::string key;
            std::string bytes = le32(a.objectId);
            appendIntegerKey(key, static_cast<std::uint8_t>(ColumnType::Long), &bytes, true);
            byObject.emplace_back(key, p);
        }
        std::sort(byObject.begin(), byObject.end());
        for (std::size_t r = 0; r < s.reals.size(); ++r) {
            w->beginIndex(r);
            for (const auto& e : byObject) w->addIndexEntry({e.first, e.second});
            w->endIndex();
        }
        w->finish(0);
    }
    // MSysQueries and MSysRelationships start empty.
    for (int i = 2; i < 4; ++i) {
        auto w = b.table(tables[i].page, tables[i].def, tables[i].shape);
        w->finish(0);
    }

    BuildHeader h;
    h.codePage = 1252;
    h.sortOrder = jet3 ? 0x0409 : 0x0409;
    h.created = now;
    h.page0.assign(f.pageSize, 0);
    auto put = [&](std::size_t at, const char* hex) {
        std::string v = hexBytes(hex);
        std::memcpy(h.page0.data() + at, v.data(), v.size());
    };
    put(0x18, "0001000001010000020000000300000004000000050000");
    if (jet3) {
        put(0x38, "0100");
        put(0x56, "1e25");
        put(0x600, "01011401");
        for (std::size_t at = 0x604; at < f.pageSize; at += 2) put(at, "0001");
    } else {
        put(0x6A, "a6110000");
        put(0x98, "54060000342e3000");
        put(0xE00, "0101");
        for (std::size_t at = 0xE02; at < f.pageSize; at += 2) put(at, "0001");
    }
    b.finish(h);
    out.publish();
}

}  // namespace jet
