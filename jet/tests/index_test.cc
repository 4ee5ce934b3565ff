// Index trees: walking Access-written indexes, checking them against the tables, removing and
// inserting entries (splits, new levels, emptied pages), and damaged index pages.
//
// Changes are made through an in-memory PageIO over a copy of a file's bytes; the result is
// written to a temporary file that the engine's reader, the index check and jet-verify read.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <set>

#include "jet/database.h"
#include "jet/index.h"
#include "jet/index_check.h"
#include "jet/index_key.h"
#include "jet/store.h"
#include "jet/table.h"
#include "mem_page_io.h"
#include "test_support.h"

namespace {

using jet::detail::IndexEditor;
using jet::detail::IndexEntry;
using jet::detail::IndexRef;
using jet::detail::JetFormat;

std::vector<std::uint8_t> readAll(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::vector<std::uint8_t>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void writeAll(const std::filesystem::path& p, const std::vector<std::uint8_t>& bytes) {
    std::ofstream out(p, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

using jettest::MemPageIO;

std::vector<std::filesystem::path> corpusFiles() {
    std::vector<std::filesystem::path> out;
    for (const char* dir : {"access-corpus/V1997", "access-corpus/V2000"}) {
        for (const auto& e : std::filesystem::directory_iterator(jettest::fixturesDir() / dir))
            if (e.path().extension() == ".mdb") out.push_back(e.path());
    }
    out.push_back(jettest::fixturesDir() / "access-corpus/emptyJet4.mdb");
    for (const char* f : {"KELDATA/Office.mdb", "KELDATA/KelCom.mdb", "KELUSER/Report.mdb", "KEL/KelRet.mdb"})
        out.push_back(jettest::fixturesDir() / "suite/drive_c" / f);
    std::sort(out.begin(), out.end());
    return out;
}

// Problems jet-verify reports for a file (its PROBLEM lines), or nullopt without Java.
std::optional<std::set<std::string>> verifyProblems(const std::filesystem::path& file) {
    auto tool = jettest::sharedDir() / "tools/jet-verify/jet-verify";
    int status = 0;
    std::string out = jettest::runCommand(
        jettest::shellQuote(tool.string()) + " " + jettest::shellQuote(file.string()) + " 2>&1", status);
    if (status == 3 || status == 2 || status < 0) return std::nullopt;
    std::set<std::string> problems;
    std::size_t pos = 0;
    while (pos < out.size()) {
        std::size_t end = out.find('\n', pos);
        if (end == std::string::npos) end = out.size();
        std::string line = out.substr(pos, end - pos);
        if (line.rfind("PROBLEM", 0) == 0) problems.insert(line);
        pos = end + 1;
    }
    EXPECT_EQ(status == 0, problems.empty()) << out;
    return problems;
}

struct TableRows {
    std::string name;
    std::uint32_t tdef = 0;
    std::vector<std::uint32_t> rows;  // live row pointers in scan order
    std::vector<IndexRef> indexes;
};

std::vector<TableRows> userTables(const std::filesystem::path& file) {
    jet::Database db = jet::Database::open(file);
    std::vector<TableRows> out;
    for (const auto& def : db.tableDefs()) {
        if (def.type != 1 || def.system()) continue;
        jet::Table t = db.openTable(def.name);
        TableRows tr;
        tr.name = def.name;
        tr.tdef = t.definitionPage();
        for (const auto& ri : t.realIndexes()) tr.indexes.push_back({ri.rootPage, ri.usageMap, tr.tdef});
        jet::Cursor c = t.cursor();
        while (c.next()) tr.rows.push_back(jet::detail::rowPointer(c.rowId().page, c.rowId().row));
        out.push_back(std::move(tr));
    }
    return out;
}

// Marks rows deleted as Access does and lowers the table's row count (what a delete does to
// the data pages; long values are left where they are, which no reader minds).
void markDeleted(MemPageIO& io, std::uint32_t tdef, const std::set<std::uint32_t>& rows) {
    const JetFormat& f = io.format();
    auto& b = io.bytes();
    for (std::uint32_t ptr : rows) {
        std::size_t at = std::size_t(ptr >> 8) * f.pageSize + f.dataRowOffsets + 2 * (ptr & 0xFF);
        b[at + 1] |= 0xC0;
    }
    std::size_t countAt = std::size_t(tdef) * f.pageSize + f.tdefRowCount;
    std::uint32_t count = jet::detail::u32(b.data() + countAt);
    count -= static_cast<std::uint32_t>(rows.size());
    std::memcpy(b.data() + countAt, &count, 4);
}

std::vector<IndexEntry> entriesOf(MemPageIO& io, std::uint32_t root) {
    return jet::detail::readIndexEntries(io, root, "memory");
}

TEST(IndexWalk, EveryIndexOfTheCorpusAgreesWithItsTable) {
    std::size_t indexes = 0, keys = 0;
    for (const auto& file : corpusFiles()) {
        SCOPED_TRACE(file.string());
        jet::Database db = jet::Database::open(file);
        jet::IndexCheckReport r = jet::checkIndexes(db);
        for (const auto& p : r.problems) ADD_FAILURE() << p;
        EXPECT_GT(r.indexes, 0u);
        // Every key of these files, text included, is recomputed from its row.
        EXPECT_EQ(r.keysNotComputed, 0u);
        EXPECT_EQ(r.keysCompared, r.entries);
        indexes += r.indexes;
        keys += r.keysCompared;
    }
    EXPECT_GT(indexes, 200u);
    EXPECT_GT(keys, 9000u);
}

// Access 2007 files keep the General Legacy order; Access 2010's "General" is a different one,
// whose text keys are not computed (and not compared) rather than computed wrongly.
TEST(IndexWalk, AccessFilesOfLaterVersions) {
    for (const char* dir : {"access-corpus/V2007", "access-corpus/V2010"}) {
        for (const auto& e : std::filesystem::directory_iterator(jettest::fixturesDir() / dir)) {
            SCOPED_TRACE(e.path().string());
            jet::Database db = jet::Database::open(e.path());
            jet::IndexCheckReport r = jet::checkIndexes(db);
            for (const auto& p : r.problems) ADD_FAILURE() << p;
            EXPECT_GT(r.keysCompared, r.entries / 2);
        }
    }
}

TEST(IndexWalk, AnEntryOutOfPlaceIsFound) {
    jettest::TempDir tmp;
    auto file = tmp.copy("access-corpus/V2000/compIndexTestV2000.mdb");
    auto tables = userTables(file);
    auto it =
        std::find_if(tables.begin(), tables.end(), [](const TableRows& t) { return t.rows.size() > 500; });
    ASSERT_NE(it, tables.end());
    MemPageIO io(readAll(file));
    // Swap the row pointers of two entries on one leaf: keys no longer match their rows.
    auto entries = entriesOf(io, it->indexes[0].root);
    ASSERT_GT(entries.size(), 10u);
    IndexEditor ed(io, it->indexes[0], "memory");
    ASSERT_EQ(ed.removeRows({entries[3].pointer(), entries[4].pointer()}), 2u);
    IndexEntry a = entries[3], b = entries[4];
    std::swap(a.key, b.key);
    ed.insert(a);
    ed.insert(b);
    ed.commit();
    writeAll(file, io.bytes());
    jet::Database db = jet::Database::open(file);
    jet::IndexCheckReport r = jet::checkIndexes(db);
    EXPECT_EQ(r.problems.size(), 2u);
}

// Removes half of every user table's rows (every other row in scan order), or all of them,
// from the data pages and every index, in one pass per index.
void removeRowsEverywhere(const std::filesystem::path& source, bool all) {
    SCOPED_TRACE(source.string() + (all ? " (all rows)" : " (half the rows)"));
    jettest::TempDir tmp;
    auto file = tmp.copy(source);
    auto tables = userTables(file);
    MemPageIO io(readAll(file));
    std::size_t removedRows = 0, removedEntries = 0;
    std::map<std::string, std::size_t> expectRows;
    for (const auto& t : tables) {
        std::set<std::uint32_t> gone;
        for (std::size_t i = 0; i < t.rows.size(); ++i)
            if (all || i % 2 == 0) gone.insert(t.rows[i]);
        expectRows[t.name] = t.rows.size() - gone.size();
        for (const auto& ix : t.indexes) {
            std::size_t before = entriesOf(io, ix.root).size();
            IndexEditor ed(io, ix, "memory");
            std::size_t n = ed.removeRows(gone);
            ed.commit();
            auto after = entriesOf(io, ix.root);
            EXPECT_EQ(after.size(), before - n);
            for (const auto& e : after) EXPECT_EQ(gone.count(e.pointer()), 0u);
            if (all) {
                EXPECT_TRUE(after.empty());
            }
            removedEntries += n;
        }
        markDeleted(io, t.tdef, gone);
        removedRows += gone.size();
    }
    EXPECT_EQ(io.allocated, 0u);
    writeAll(file, io.bytes());

    jet::Database db = jet::Database::open(file);
    for (const auto& [name, n] : expectRows) {
        jet::Table t = db.openTable(name);
        EXPECT_EQ(t.countRows(), n) << name;
        EXPECT_EQ(t.rowCount(), n) << name;
    }
    jet::IndexCheckReport r = jet::checkIndexes(db);
    for (const auto& p : r.problems) ADD_FAILURE() << p;
    auto before = verifyProblems(source);
    auto after = verifyProblems(file);
    if (before && after) {
        for (const auto& p : *after)
            if (!before->count(p)) ADD_FAILURE() << "jet-verify: " << p;
    }
}

TEST(IndexRemove, HalfTheRowsOfEveryTable) {
    for (const auto& file : corpusFiles()) removeRowsEverywhere(file, false);
}

TEST(IndexRemove, AllRowsOfEveryTable) {
    for (const char* f :
         {"access-corpus/V2000/compIndexTestV2000.mdb", "access-corpus/V1997/compIndexTestV1997.mdb",
          "access-corpus/V1997/testIndexCodesV1997.mdb", "suite/drive_c/KELDATA/Office.mdb",
          "access-corpus/V2000/testV2000.mdb"})
        removeRowsEverywhere(jettest::fixturesDir() / f, true);
}

// The two-level trees of the corpus: removing every row of the first leaf unlinks and releases
// it; the rest stays in order.
TEST(IndexRemove, AnEmptiedLeafIsUnlinkedAndReleased) {
    for (const char* f :
         {"access-corpus/V2000/compIndexTestV2000.mdb", "access-corpus/V1997/compIndexTestV1997.mdb"}) {
        SCOPED_TRACE(f);
        jettest::TempDir tmp;
        auto file = tmp.copy(f);
        auto tables = userTables(file);
        MemPageIO io(readAll(file));
        const JetFormat& fm = io.format();
        bool tried = false;
        for (const auto& t : tables) {
            for (const auto& ix : t.indexes) {
                std::vector<std::uint8_t> root(fm.pageSize);
                io.read(ix.root, root.data());
                if (root[0] != jet::detail::kPageIndexNode) continue;
                auto rootPage = jet::detail::decodeIndexPage(fm, ix.root, root.data(), "memory");
                ASSERT_FALSE(rootPage.entries.empty());
                std::uint32_t firstLeaf = rootPage.entries[0].child;
                std::vector<std::uint8_t> leafBytes(fm.pageSize);
                io.read(firstLeaf, leafBytes.data());
                auto leaf = jet::detail::decodeIndexPage(fm, firstLeaf, leafBytes.data(), "memory");
                std::set<std::uint32_t> gone;
                for (const auto& e : leaf.entries) gone.insert(e.pointer());
                auto all = entriesOf(io, ix.root);
                IndexEditor ed(io, ix, "memory");
                EXPECT_EQ(ed.removeRows(gone), gone.size());
                ed.commit();
                EXPECT_EQ(io.released.count(firstLeaf), 1u);
                auto rest = entriesOf(io, ix.root);
                EXPECT_EQ(rest.size(), all.size() - gone.size());
                // The next leaf is now the first: no previous page.
                std::vector<std::uint8_t> next(fm.pageSize);
                io.read(leaf.next, next.data());
                EXPECT_EQ(jet::detail::decodeIndexPage(fm, leaf.next, next.data(), "memory").prev, 0u);
                tried = true;
                // The table's other indexes lose the same rows.
                for (const auto& other : t.indexes) {
                    if (other.root == ix.root) continue;
                    IndexEditor ed2(io, other, "memory");
                    ed2.removeRows(gone);
                    ed2.commit();
                }
                markDeleted(io, t.tdef, gone);
                break;
            }
            if (tried) break;
        }
        ASSERT_TRUE(tried);
        writeAll(file, io.bytes());
        jet::Database db = jet::Database::open(file);
        jet::IndexCheckReport r = jet::checkIndexes(db);
        for (const auto& p : r.problems) ADD_FAILURE() << p;
    }
}

// Every entry of every index taken out and put back in a random order: splits, a new level
// under the root, parents kept equal to their children's last entries. The result must hold
// the same entries and agree with the table, and jet-verify must walk it.
TEST(IndexInsert, EntriesPutBackInRandomOrder) {
    for (const char* f :
         {"access-corpus/V2000/compIndexTestV2000.mdb", "access-corpus/V1997/compIndexTestV1997.mdb",
          "suite/drive_c/KELDATA/Office.mdb", "suite/drive_c/KELUSER/Report.mdb"}) {
        SCOPED_TRACE(f);
        jettest::TempDir tmp;
        auto file = tmp.copy(f);
        auto tables = userTables(file);
        MemPageIO io(readAll(file));
        std::mt19937 rng(42);
        std::size_t inserted = 0;
        for (const auto& t : tables) {
            for (const auto& ix : t.indexes) {
                auto all = entriesOf(io, ix.root);
                std::set<std::uint32_t> ptrs;
                for (const auto& e : all) ptrs.insert(e.pointer());
                {
                    IndexEditor ed(io, ix, "memory");
                    EXPECT_EQ(ed.removeRows(ptrs), all.size());
                    ed.commit();
                }
                EXPECT_TRUE(entriesOf(io, ix.root).empty());
                auto shuffled = all;
                std::shuffle(shuffled.begin(), shuffled.end(), rng);
                // In a few transactions, so that pages written by one are read by the next.
                std::size_t step = std::max<std::size_t>(1, shuffled.size() / 3);
                for (std::size_t from = 0; from < shuffled.size(); from += step) {
                    IndexEditor ed(io, ix, "memory");
                    for (std::size_t k = from; k < std::min(shuffled.size(), from + step); ++k)
                        ed.insert(shuffled[k]);
                    ed.commit();
                }
                auto back = entriesOf(io, ix.root);
                ASSERT_EQ(back.size(), all.size());
                for (std::size_t k = 0; k < all.size(); ++k) {
                    EXPECT_EQ(back[k].key, all[k].key);
                    EXPECT_EQ(back[k].pointer(), all[k].pointer());
                }
                inserted += all.size();
            }
        }
        EXPECT_GT(inserted, 100u);
        writeAll(file, io.bytes());
        jet::Database db = jet::Database::open(file);
        jet::IndexCheckReport r = jet::checkIndexes(db);
        for (const auto& p : r.problems) ADD_FAILURE() << p;
        auto before = verifyProblems(jettest::fixturesDir() / f);
        auto after = verifyProblems(file);
        if (before && after) {
            for (const auto& p : *after)
                if (!before->count(p)) ADD_FAILURE() << "jet-verify: " << p;
        }
    }
}

// Many synthetic entries in one index: three levels, then removed in random batches until the
// root is an empty leaf again. Both page sizes.
TEST(IndexInsert, DeepTreeGrowsAndShrinks) {
    for (const char* f : {"access-corpus/V2000/testV2000.mdb", "access-corpus/V1997/testV1997.mdb"}) {
        SCOPED_TRACE(f);
        auto file = jettest::fixturesDir() / f;
        auto tables = userTables(file);
        auto t =
            std::find_if(tables.begin(), tables.end(), [](const TableRows& x) { return !x.indexes.empty(); });
        ASSERT_NE(t, tables.end());
        MemPageIO io(readAll(file));
        IndexRef ix = t->indexes[0];
        {
            std::set<std::uint32_t> ptrs;
            for (const auto& e : entriesOf(io, ix.root)) ptrs.insert(e.pointer());
            IndexEditor ed(io, ix, "memory");
            ed.removeRows(ptrs);
            ed.commit();
        }
        std::mt19937 rng(7);
        const std::size_t n = 60000;
        std::vector<IndexEntry> made;
        for (std::size_t i = 0; i < n; ++i) {
            IndexEntry e;
            std::uint32_t v = static_cast<std::uint32_t>(rng());
            // Long keys, so that few fit a page and the tree grows a third level.
            e.key = {0x7F, std::uint8_t(v >> 24), std::uint8_t(v >> 16), std::uint8_t(v >> 8),
                     std::uint8_t(v)};
            e.key.resize(40, 0x41);
            e.page = 1 + static_cast<std::uint32_t>(i / 200);
            e.row = static_cast<std::uint8_t>(i % 200);
            made.push_back(e);
        }
        for (std::size_t from = 0; from < n; from += 5000) {
            IndexEditor ed(io, ix, "memory");
            for (std::size_t k = from; k < from + 5000; ++k) ed.insert(made[k]);
            ed.commit();
        }
        std::sort(made.begin(), made.end(), [](const IndexEntry& a, const IndexEntry& b) {
            return jet::detail::compareEntries(a, b) < 0;
        });
        auto back = entriesOf(io, ix.root);
        ASSERT_EQ(back.size(), n);
        for (std::size_t k = 0; k < n; ++k) ASSERT_EQ(jet::detail::compareEntries(back[k], made[k]), 0);
        // Depth: follow first children down.
        std::size_t depth = 0;
        std::vector<std::uint8_t> buf(io.format().pageSize);
        for (std::uint32_t p = ix.root;; ++depth) {
            io.read(p, buf.data());
            auto page = jet::detail::decodeIndexPage(io.format(), p, buf.data(), "memory");
            if (page.leaf) break;
            p = page.entries.empty() ? page.tail : page.entries[0].child;
        }
        EXPECT_GE(depth, 2u);

        std::shuffle(made.begin(), made.end(), rng);
        std::size_t left = n;
        for (std::size_t from = 0; from < n; from += 7000) {
            std::set<std::uint32_t> batch;
            for (std::size_t k = from; k < std::min(n, from + 7000); ++k) batch.insert(made[k].pointer());
            IndexEditor ed(io, ix, "memory");
            EXPECT_EQ(ed.removeRows(batch), batch.size());
            ed.commit();
            left -= batch.size();
            ASSERT_EQ(entriesOf(io, ix.root).size(), left);
        }
        io.read(ix.root, buf.data());
        EXPECT_EQ(buf[0], jet::detail::kPageIndexLeaf);
        EXPECT_GT(io.released.size(), 100u);
    }
}

// Bytes flipped in index pages: walking, removing and inserting either work or raise 3049;
// never a crash or a hang (the sanitizer build makes any bad access fail the test).
TEST(IndexDamage, FlippedBytesInIndexPages) {
    std::size_t errors = 0, tries = 0;
    for (const char* f :
         {"access-corpus/V2000/compIndexTestV2000.mdb", "access-corpus/V1997/compIndexTestV1997.mdb",
          "access-corpus/V1997/testIndexCodesV1997.mdb"}) {
        auto file = jettest::fixturesDir() / f;
        auto tables = userTables(file);
        const auto original = readAll(file);
        MemPageIO probe(original);
        const JetFormat& fm = probe.format();
        std::mt19937 rng(11);
        for (const auto& t : tables) {
            for (const auto& ix : t.indexes) {
                std::vector<std::uint32_t> pages;
                std::vector<std::uint8_t> buf(fm.pageSize);
                for (std::uint32_t p = 1; p < probe.pageCount(); ++p) {
                    probe.read(p, buf.data());
                    if ((buf[0] == 3 || buf[0] == 4) && jet::detail::u32(buf.data() + 4) == t.tdef)
                        pages.push_back(p);
                }
                for (std::uint32_t p : pages) {
                    for (int k = 0; k < 40; ++k) {
                        MemPageIO io(original);
                        std::size_t at = k < 20 ? std::size_t(rng() % (fm.indexEntries + 16))
                                                : std::size_t(rng() % fm.pageSize);
                        io.bytes()[std::size_t(p) * fm.pageSize + at] ^=
                            static_cast<std::uint8_t>(1u << (rng() % 8));
                        ++tries;
                        try {
                            auto es = entriesOf(io, ix.root);
                            std::set<std::uint32_t> some;
                            for (std::size_t i = 0; i < es.size(); i += 3) some.insert(es[i].pointer());
                            IndexEditor ed(io, ix, "memory");
                            ed.removeRows(some);
                            IndexEntry e;
                            e.key = {0x7F, 0x80, 0, 0, 1};
                            e.page = 1;
                            ed.insert(e);
                            ed.commit();
                        } catch (const jet::Error& e) {
                            EXPECT_EQ(e.number(), 3049);
                            ++errors;
                        }
                    }
                }
            }
        }
    }
    EXPECT_GT(tries, 500u);
    EXPECT_GT(errors, 100u);
}

}  // namespace

namespace {

TEST(IndexKeys, CharactersWithoutAKnownCodeAreRefusedByName) {
    jet::detail::KeyContext jet4;
    jet::detail::KeyContext jet3;
    jet3.jet3 = true;
    std::vector<std::uint8_t> out;
    for (const auto* ctx : {&jet4, &jet3}) {
        try {
            jet::detail::appendTextKey(out, *ctx, "Tokyo \xE6\x9D\xB1\xE4\xBA\xAC", true);
            ADD_FAILURE() << "no error";
        } catch (const jet::detail::KeyUnsupported& e) {
            EXPECT_NE(std::string(e.what()).find("U+6771"), std::string::npos) << e.what();
        }
    }
    // Every character of Windows-1252 but NUL has a Jet 4 key, and all but NUL and U+001A a
    // Jet 3 one.
    for (unsigned b = 1; b < 256; ++b) {
        std::string s;
        if (b < 0x80) {
            s.push_back(static_cast<char>(b));
        } else {
            s.push_back(static_cast<char>(0xC0 | (b >> 6)));
            s.push_back(static_cast<char>(0x80 | (b & 0x3F)));
        }
        out.clear();
        EXPECT_NO_THROW(jet::detail::appendTextKey(out, jet4, s, true)) << b;
        if (b != 0x1A) {
            EXPECT_NO_THROW(jet::detail::appendTextKey(out, jet3, s, false)) << b;
        }
    }
    for (const char* s : {"\xE2\x82\xAC", "\xC5\x92", "\xE2\x84\xA2", "\xC6\x92"}) {  // euro, OE, TM, f-hook
        EXPECT_NO_THROW(jet::detail::appendTextKey(out, jet4, s, true)) << s;
        EXPECT_NO_THROW(jet::detail::appendTextKey(out, jet3, s, true)) << s;
    }
}

TEST(IndexKeys, OrderOfTextKeys) {
    // Case does not matter; accents sort after the plain letter; descending reverses.
    jet::detail::KeyContext ctx;
    auto key = [&](const std::string& s, bool asc) {
        std::vector<std::uint8_t> out;
        jet::detail::appendTextKey(out, ctx, s, asc);
        return out;
    };
    EXPECT_EQ(key("abc", true), key("ABC", true));
    EXPECT_LT(key("abc", true), key("abd", true));
    EXPECT_LT(key("e", true), key("\xC3\xA9", true));  // e-acute
    EXPECT_LT(key("\xC3\xA9", true), key("f", true));
    EXPECT_GT(key("abc", false), key("abd", false));
}

}  // namespace

namespace {

// Looking keys up: every entry of the corpus' largest tables is found by its key (with every
// other row holding the same key), before and after changes in the same editor.
TEST(IndexLookup, EveryKeyIsFound) {
    for (const char* f : {"access-corpus/V2000/compIndexTestV2000.mdb",
                          "access-corpus/V1997/compIndexTestV1997.mdb", "suite/drive_c/KELUSER/Report.mdb"}) {
        SCOPED_TRACE(f);
        auto file = jettest::fixturesDir() / f;
        auto tables = userTables(file);
        MemPageIO io(readAll(file));
        std::size_t looked = 0;
        for (const auto& t : tables) {
            for (const auto& ix : t.indexes) {
                auto all = entriesOf(io, ix.root);
                std::map<std::vector<std::uint8_t>, std::vector<std::uint32_t>> byKey;
                for (const auto& e : all) byKey[e.key].push_back(e.pointer());
                IndexEditor ed(io, ix, "memory");
                for (const auto& [key, rows] : byKey) {
                    EXPECT_EQ(ed.findKey(key), rows);
                    ++looked;
                }
                EXPECT_TRUE(ed.findKey({0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}).empty());
                if (all.size() > 2) {
                    ed.removeRows({all[1].pointer()});
                    auto left = ed.findKey(all[1].key);
                    EXPECT_EQ(std::count(left.begin(), left.end(), all[1].pointer()), 0);
                    ed.insert(all[1]);
                    auto back = ed.findKey(all[1].key);
                    EXPECT_EQ(std::count(back.begin(), back.end(), all[1].pointer()), 1);
                }
            }
        }
        EXPECT_GT(looked, 100u);
    }
}

}  // namespace
