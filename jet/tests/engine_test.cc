// The engine's own behaviour: errors with Jet's numbers and texts, encrypted and protected files,
// value forms, counts, the cursor's laziness and the bounded page cache.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "jet/database.h"
#include "jet/page_channel.h"
#include "jet/store.h"
#include "jet/table.h"
#include "output/json_export.h"
#include "test_support.h"

namespace {

using jettest::TempDir;

std::vector<std::uint8_t> readAll(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::vector<std::uint8_t>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void writeAll(const std::filesystem::path& p, const std::vector<std::uint8_t>& bytes) {
    std::ofstream out(p, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::string exportText(const jet::Database& db, const std::string& table) {
    std::ostringstream out;
    jet::json::writeExport(out, db.openTable(table));
    return out.str();
}

std::string tablesText(const jet::Database& db) {
    std::ostringstream out;
    jet::json::writeTables(out, db);
    return out.str();
}

// Gives a copy of a database a database key: the key goes into the masked header region and
// every page but the header is RC4-encrypted under key XOR page number, as the engine does it.
void encrypt(const std::filesystem::path& file, std::uint32_t key) {
    auto bytes = readAll(file);
    const std::size_t pageSize = bytes[0x14] == 0 ? 2048 : 4096;
    const std::size_t maskLength = bytes[0x14] == 0 ? 126 : 128;
    const std::uint8_t headerKey[4] = {0xC7, 0xDA, 0x39, 0x6B};
    jet::detail::rc4(headerKey, 4, bytes.data() + 0x18, maskLength);
    for (int i = 0; i < 4; ++i)
        bytes[0x3E + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(key >> (8 * i));
    jet::detail::rc4(headerKey, 4, bytes.data() + 0x18, maskLength);
    for (std::size_t p = 1; p < bytes.size() / pageSize; ++p) {
        std::uint32_t k = key ^ static_cast<std::uint32_t>(p);
        std::uint8_t pageKey[4] = {static_cast<std::uint8_t>(k), static_cast<std::uint8_t>(k >> 8),
                                   static_cast<std::uint8_t>(k >> 16), static_cast<std::uint8_t>(k >> 24)};
        jet::detail::rc4(pageKey, 4, bytes.data() + p * pageSize, pageSize);
    }
    writeAll(file, bytes);
}

TEST(JetErrors, MissingFileIs3024WithItsName) {
    TempDir tmp;
    auto path = tmp.path() / "nothere.mdb";
    try {
        jet::Database::open(path);
        FAIL() << "opened a missing file";
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3024);
        EXPECT_EQ(e.description(), "Could not find file '" + path.string() + "'.");
    }
}

TEST(JetErrors, NonJetFileIs3343) {
    TempDir tmp;
    auto path = tmp.path() / "text.mdb";
    writeAll(path, std::vector<std::uint8_t>(8192, 'x'));
    try {
        jet::Database::open(path);
        FAIL();
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3343);
        EXPECT_EQ(e.description(), "Unrecognized database format '" + path.string() + "'.");
    }
}

TEST(JetErrors, EmptyFileIs3343) {
    TempDir tmp;
    auto path = tmp.path() / "empty.mdb";
    writeAll(path, {});
    EXPECT_THROW(jet::Database::open(path), jet::Error);
}

TEST(JetErrors, MissingTableIs3078WithJetText) {
    TempDir tmp;
    jet::Database db = jet::Database::open(tmp.copy("suite/drive_c/KELDATA/Office.mdb"));
    try {
        db.openTable("NoSuchTable");
        FAIL();
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3078);
        EXPECT_EQ(e.description(),
                  "The Microsoft Jet database engine cannot find the input table or query 'NoSuchTable'.  "
                  "Make sure "
                  "it exists and that its name is spelled correctly.");
    }
}

TEST(JetErrors, CatalogDamageIs3049NamingPageAndOffset) {
    TempDir tmp;
    auto file = tmp.copy("access-corpus/V2000/testV2000.mdb");
    auto bytes = readAll(file);
    bytes[2 * 4096] = 0x07;  // the catalog's definition page is no longer one
    writeAll(file, bytes);
    try {
        jet::Database::open(file);
        FAIL();
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3049);
        ASSERT_TRUE(e.location().has_value());
        EXPECT_EQ(e.location()->page, 2u);
        EXPECT_EQ(e.location()->offset, 0u);
        EXPECT_EQ(
            e.description().rfind("Cannot open database '" + file.string() +
                                      "'.  It may not be a database that your application recognizes, or the "
                                      "file may be corrupt. (page 2, offset 0",
                                  0),
            0u)
            << e.description();
    }
}

TEST(JetErrors, PasswordProtectedFilesAre3031) {
    for (const char* fixture : {"access-corpus/V2000/testV2000.mdb", "access-corpus/V1997/testV1997.mdb"}) {
        TempDir tmp;
        auto file = tmp.copy(fixture);
        auto bytes = readAll(file);
        bytes[0x42] ^= 0x55;  // a non-empty password once the header is unmasked
        writeAll(file, bytes);
        try {
            jet::Database::open(file);
            FAIL() << fixture;
        } catch (const jet::Error& e) {
            EXPECT_EQ(e.number(), 3031) << fixture;
            EXPECT_EQ(e.description(), "Not a valid password.");
        }
    }
}

TEST(JetOpen, HeaderFacts) {
    TempDir tmp;
    jet::Database jet4 = jet::Database::open(tmp.copy("access-corpus/V2000/testV2000.mdb"));
    EXPECT_EQ(jet4.version(), jet::FormatVersion::Jet4);
    EXPECT_EQ(jet4.pageSize(), 4096u);
    EXPECT_EQ(jet4.pageCount(), 3043328u / 4096u);
    EXPECT_EQ(jet4.sortOrder() & 0xFFFF, 0x409u);
    EXPECT_FALSE(jet4.encrypted());
    jet::Database jet3 = jet::Database::open(tmp.copy("access-corpus/V1997/testV1997.mdb"));
    EXPECT_EQ(jet3.version(), jet::FormatVersion::Jet3);
    EXPECT_EQ(jet3.pageSize(), 2048u);
    EXPECT_EQ(jet3.codePage(), 1252u);
}

TEST(JetOpen, EncryptedDatabasesReadTransparently) {
    for (const char* fixture : {"suite/drive_c/KELDATA/Office.mdb", "access-corpus/V1997/testV1997.mdb"}) {
        TempDir tmp;
        auto plain = tmp.copy(fixture);
        auto secret = tmp.path() / "secret.mdb";
        std::filesystem::copy_file(plain, secret);
        encrypt(secret, 0x5A3C7E21u);
        ASSERT_NE(readAll(plain), readAll(secret));

        jet::Database a = jet::Database::open(plain);
        jet::Database b = jet::Database::open(secret);
        EXPECT_FALSE(a.encrypted());
        EXPECT_TRUE(b.encrypted());
        ASSERT_EQ(tablesText(a), tablesText(b)) << fixture;
        for (const auto& def : a.tableDefs()) {
            if (def.type == 1) {
                EXPECT_EQ(exportText(a, def.name), exportText(b, def.name)) << def.name;
            }
        }
    }
}

TEST(JetCatalog, TableDefsInDaoOrderWithAttributes) {
    TempDir tmp;
    jet::Database db = jet::Database::open(tmp.copy("suite/drive_c/KELDATA/Office.mdb"));
    std::vector<std::string> names;
    for (const auto& t : db.tableDefs()) names.push_back(t.name);
    const std::vector<std::string> expected = {
        "Appraiser",     "AppraiserFee",      "Assigned", "Client",
        "ClientContact", "ClientFee",         "Company",  "FormTypes",
        "Invoice",       "MSysAccessObjects", "MSysACEs", "MSysObjects",
        "MSysQueries",   "MSysRelationships", "Property", "Rates-2006",
        "Users"};
    EXPECT_EQ(names, expected);
    for (const auto& t : db.tableDefs()) {
        bool systemName = t.name.rfind("MSys", 0) == 0;
        EXPECT_EQ(t.system(), systemName) << t.name << " " << t.attributes;
        if (!systemName) {
            EXPECT_EQ(t.attributes, 0) << t.name;
        }
    }
}

TEST(JetTable, CountsAndCaseInsensitiveNames) {
    TempDir tmp;
    jet::Database db = jet::Database::open(tmp.copy("suite/drive_c/KELDATA/Office.mdb"));
    jet::Table t = db.openTable("property");
    EXPECT_EQ(t.name(), "Property");
    EXPECT_EQ(t.fieldCount(), 12u);
    EXPECT_EQ(t.rowCount(), 400u);
    EXPECT_EQ(t.countRows(), 400u);
    EXPECT_EQ(t.findColumn("CITY"), 3);
    EXPECT_EQ(t.findColumn("nope"), -1);
    EXPECT_FALSE(t.indexes().empty());
    EXPECT_FALSE(t.realIndexes().empty());
}

TEST(JetTable, DeletedRowsAreSkippedAndCountsAgree) {
    TempDir tmp;
    for (const char* fixture :
         {"access-corpus/V2000/delTestV2000.mdb", "access-corpus/V1997/delTestV1997.mdb"}) {
        jet::Database db = jet::Database::open(tmp.copy(fixture));
        for (const auto& def : db.tableDefs()) {
            if (def.type != 1) continue;
            jet::Table t = db.openTable(def.name);
            EXPECT_EQ(t.countRows(), t.rowCount()) << fixture << " " << def.name;
        }
    }
}

TEST(JetTable, TableOutlivesItsDatabaseHandle) {
    TempDir tmp;
    auto file = tmp.copy("suite/drive_c/KELDATA/Office.mdb");
    std::optional<jet::Table> table;
    {
        jet::Database db = jet::Database::open(file);
        table.emplace(db.openTable("Client"));
    }
    EXPECT_EQ(table->countRows(), 50u);
}

TEST(JetCursor, TextViewMatchesValue) {
    TempDir tmp;
    jet::Database db = jet::Database::open(tmp.copy("suite/drive_c/KELDATA/Office.mdb"));
    jet::Table t = db.openTable("Property");
    jet::Cursor c = t.cursor();
    std::size_t rows = 0, memos = 0;
    while (c.next()) {
        ++rows;
        for (std::size_t i = 0; i < t.columns().size(); ++i) {
            jet::Value v = c.value(i);
            EXPECT_EQ(v.isNull(), c.isNull(i));
            if (auto s = v.getIf<std::string>()) {
                EXPECT_EQ(c.text(i), *s);
                if (t.columns()[i].type == jet::ColumnType::Memo) ++memos;
            }
        }
    }
    EXPECT_EQ(rows, 400u);
    EXPECT_GT(memos, 0u);
    EXPECT_FALSE(c.next());  // stays at the end
}

TEST(JetCursor, CurrencyDateAndBooleanForms) {
    TempDir tmp;
    jet::Database db = jet::Database::open(tmp.copy("access-corpus/V2000/testV2000.mdb"));
    std::string text = exportText(db, "Table1");
    EXPECT_NE(
        text.find(
            "[\"abcdefg\",\"hijklmnop\",2,222,333333333,444.555,\"1974-09-21 00:00:00\",\"3.5000\",true]"),
        std::string::npos)
        << text;
}

TEST(JetValues, Formatting) {
    EXPECT_EQ(jet::formatCurrency(jet::Currency{-123400}), "-12.3400");
    EXPECT_EQ(jet::formatCurrency(jet::Currency{5}), "0.0005");
    EXPECT_EQ(jet::formatCurrency(jet::Currency{0}), "0.0000");
    jet::Decimal d;
    d.negative = true;
    d.scale = 3;
    d.lo = 12345;
    EXPECT_EQ(jet::formatDecimal(d), "-12.345");
    d.lo = 5;
    EXPECT_EQ(jet::formatDecimal(d), "-0.005");
    d.lo = 0;
    EXPECT_EQ(jet::formatDecimal(d), "0.000");
    d = jet::Decimal{};
    d.hi = 1;  // 2^64
    EXPECT_EQ(jet::formatDecimal(d), "18446744073709551616");
    EXPECT_EQ(jet::formatDateTime(jet::DateTime{0.0}), "1899-12-30 00:00:00");
    EXPECT_EQ(jet::formatDateTime(jet::DateTime{-1.25}), "1899-12-29 06:00:00");
    EXPECT_EQ(jet::formatDateTime(jet::DateTime{36526.5}), "2000-01-01 12:00:00");
    EXPECT_EQ(jet::formatDateTime(jet::DateTime{2.0 - 0.1 / 86400}), "1900-01-01 00:00:00");
    EXPECT_EQ(jet::formatDateTime(jet::DateTime{-1.0 - (1.0 - 0.1 / 86400)}), "1899-12-30 00:00:00");
    EXPECT_EQ(jet::formatDateTime(jet::DateTime{-2.5}), "1899-12-28 12:00:00");
    jet::Guid g;
    for (std::size_t i = 0; i < 16; ++i) g.bytes[i] = static_cast<std::uint8_t>(i);
    EXPECT_EQ(jet::formatGuid(g), "{03020100-0504-0706-0809-0A0B0C0D0E0F}");
}

TEST(JetJson, ValuesAndErrors) {
    std::string out;
    jet::json::appendValue(out, jet::Value(jet::ColumnType::Single, 0.1f));
    EXPECT_EQ(out, "0.1");
    out.clear();
    jet::json::appendValue(out, jet::Value(jet::ColumnType::Double, 0.1));
    EXPECT_EQ(out, "0.1");
    out.clear();
    jet::json::appendValue(out, jet::Value(jet::ColumnType::Text, std::string("a\"b\\\n\x01")));
    EXPECT_EQ(out, "\"a\\\"b\\\\\\n\\u0001\"");
    out.clear();
    jet::json::appendValue(out, jet::Value(jet::ColumnType::OLE, jet::Bytes{'M', 'a', 'n'}));
    EXPECT_EQ(out, "\"TWFu\"");
    EXPECT_EQ(jet::json::base64("Ma", 2), "TWE=");
    EXPECT_EQ(jet::json::errorLine(jet::Error::badPassword()),
              "{\"error\":{\"number\":3031,\"description\":\"Not a valid password.\"}}");
}

TEST(JetCache, MemoryStaysBoundedDuringScans) {
    TempDir tmp;
    jet::OpenOptions options;
    options.cacheBytes = 0;  // the minimum number of blocks
    jet::Database db = jet::Database::open(tmp.copy("access-corpus/V2000/testV2000.mdb"), options);
    const auto& channel = *db.store()->channel;
    for (const auto& def : db.tableDefs()) {
        if (def.type != 1) continue;
        jet::Table t = db.openTable(def.name);
        jet::Cursor c = t.cursor();
        while (c.next()) {
            for (std::size_t i = 0; i < t.columns().size(); ++i) (void)c.value(i);
        }
        EXPECT_LE(channel.blocksAllocated(), channel.maxBlocks() + 2);
    }
    EXPECT_EQ(channel.maxBlocks(), jet::detail::PageChannel::kMinBlocks);
}

}  // namespace

namespace {

TEST(JetCursor, NoCurrentRowAndBadColumn) {
    jettest::TempDir tmp;
    jet::Database db = jet::Database::open(tmp.copy("suite/drive_c/KELDATA/Office.mdb"));
    jet::Table t = db.openTable("Users");
    jet::Cursor c = t.cursor();
    try {
        (void)c.value(0);
        FAIL();
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3021);
    }
    ASSERT_TRUE(c.next());
    try {
        (void)c.value(99);
        FAIL();
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3265);
    }
}

}  // namespace

namespace {

// The catalog's name index puts "_" before digits, which plain character order does not:
// the order must come from the index itself.
TEST(JetCatalog, OrderComesFromTheNameIndex) {
    jettest::TempDir tmp;
    for (const char* fixture : {"access-corpus/V1997/testIndexCodesV1997.mdb",
                                "access-corpus/V2000/testIndexPropertiesV2000.mdb"}) {
        jet::Database db = jet::Database::open(tmp.copy(fixture));
        std::vector<std::string> names;
        for (const auto& t : db.tableDefs()) names.push_back(t.name);
        auto pos = [&](const std::string& n) {
            return std::find(names.begin(), names.end(), n) - names.begin();
        };
        if (std::string(fixture).find("V1997") != std::string::npos) {
            EXPECT_LT(pos("Table1"), pos("Table1_desc"));
            EXPECT_LT(pos("Table1_desc"), pos("Table10"));
            EXPECT_LT(pos("Table9_desc"), static_cast<std::ptrdiff_t>(names.size()));
        } else {
            EXPECT_LT(pos("TableIgnoreNulls1"), pos("TableIgnoreNulls1_temp"));
            EXPECT_LT(pos("TableIgnoreNulls1_temp"), pos("TableIgnoreNulls2"));
            EXPECT_LT(pos("MSysAccessXML"), pos("MSysACEs"));
        }
    }
}

}  // namespace

namespace {

TEST(JetNames, MatchWithoutRegardToCase) {
    using jet::detail::sameName;
    EXPECT_TRUE(sameName("Property", "PROPERTY"));
    EXPECT_TRUE(sameName("Änderungen", "äNDERUNGEN"));
    EXPECT_TRUE(sameName("Čísla", "čÍSLA"));
    EXPECT_FALSE(sameName("acción", "accion"));
    EXPECT_FALSE(sameName("Rates", "Rates-2006"));
    EXPECT_FALSE(sameName("Rate", "Rats"));
}

}  // namespace
