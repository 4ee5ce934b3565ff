// New databases and compaction, checked by the engine and by the independent readers.
//
// - `createDatabase` in both formats: jet-verify finds no problem; mdb-reader, mdbtools and the
//   engine list the four system tables and the same rows; an existing file is refused untouched.
// - Every database of the fixtures compacted: the source is byte for byte unchanged; the copy is
//   no larger, passes jet-verify with no problem its source did not have (stale row counts put
//   right), lists the same tables in the same order and the same rows (as multisets: rows move to
//   primary-key order) in the engine, mdb-reader and mdbtools; compacting it again gives the same
//   size.
// - Errors: an existing destination (the source itself too) is 3204 and left alone; a missing
//   source 3024 with nothing written.
// - Crash simulation: each write, sync, link and folder sync of the destination failing in turn
//   leaves the source unchanged and at the destination nothing or a complete database.
// - Damaged sources: 3049 and nothing written without salvage; with it a readable copy and a
//   report of what was lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <set>
#include <sstream>

#include "exercise.h"
#include "jet/compact.h"
#include "jet/database.h"
#include "jet/new_file.h"
#include "jet/schema.h"
#include "jet/table.h"
#include "mini_json.h"
#include "output/json_export.h"
#include "test_support.h"

namespace {

namespace fs = std::filesystem;

std::string fileBytes(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::vector<std::string> fixtures() {
    std::vector<std::string> out;
    for (const char* dir : {"access-corpus/V1997", "access-corpus/V2000"}) {
        for (const auto& e : fs::directory_iterator(jettest::fixturesDir() / dir))
            if (e.path().extension() == ".mdb")
                out.push_back(std::string(dir) + "/" + e.path().filename().string());
    }
    out.push_back("access-corpus/emptyJet4.mdb");
    out.push_back("access-corpus/adox_jet4.mdb");
    for (const auto& e : fs::recursive_directory_iterator(jettest::fixturesDir() / "suite/drive_c")) {
        if (e.path().extension() == ".mdb" || e.path().extension() == ".MDB")
            out.push_back(fs::relative(e.path(), jettest::fixturesDir()).string());
    }
    std::sort(out.begin(), out.end());
    return out;
}

// PROBLEM lines of jet-verify, and its exit status.
std::set<std::string> verifyProblems(const fs::path& file, int& status) {
    std::string tool = (jettest::sharedDir() / "tools/jet-verify/jet-verify").string();
    std::string out = jettest::runCommand(tool + " " + jettest::shellQuote(file.string()) + " 2>&1", status);
    std::set<std::string> problems;
    std::istringstream in(out);
    std::string line;
    while (std::getline(in, line))
        if (line.rfind("PROBLEM", 0) == 0) problems.insert(line);
    return problems;
}

bool isRowCountProblem(const std::string& p) {
    return p.find("row count") != std::string::npos;
}

// Columns holding table ids, which compaction renumbers: left out of row comparisons.
bool holdsTableId(const std::string& table, const std::string& column) {
    return (table == "MSysObjects" && column == "Id") || (table == "MSysACEs" && column == "ObjectId") ||
           (table == "MSysNavPaneObjectIDs" && column == "Id") ||
           (table == "MSysNavPaneGroupToObjects" && column == "ObjectID");
}

// Removes field `index` from a line of comma-separated fields (JSON array items without the
// brackets, or CSV with doubled quotes).
std::string dropField(const std::string& line, std::size_t index, bool json) {
    std::size_t field = 0, start = 0;
    bool quoted = false;
    for (std::size_t i = 0; i <= line.size(); ++i) {
        char c = i < line.size() ? line[i] : ',';
        if (quoted) {
            if (json && c == '\\')
                ++i;
            else if (c == '"')
                quoted = false;
            continue;
        }
        if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            if (field == index) return line.substr(0, start) + "#" + (i < line.size() ? line.substr(i) : "");
            ++field;
            start = i + 1;
        }
    }
    return line;
}

// Rows of a table as text lines, sorted, the id columns left out where ids are renumbered.
std::vector<std::string> sortedRows(const std::string& table, const std::vector<std::string>& columns,
                                    std::vector<std::string> lines, bool json) {
    for (std::size_t c = columns.size(); c-- > 0;) {
        if (!holdsTableId(table, columns[c])) continue;
        for (auto& l : lines) l = dropField(l, c, json);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::map<std::string, std::vector<std::string>> ourRows(const fs::path& file) {
    std::map<std::string, std::vector<std::string>> out;
    jet::Database db = jet::Database::open(file);
    for (const auto& def : db.tableDefs()) {
        if (def.type != 1) continue;
        jet::Table t = db.openTable(def.name);
        jet::Cursor c = t.cursor();
        std::vector<std::string> lines, columns;
        for (const auto& col : t.columns()) columns.push_back(col.name);
        while (c.next()) {
            std::string line;
            jet::json::appendRow(line, t, c);
            lines.push_back(line.substr(1, line.size() - 2));
        }
        out[def.name] = sortedRows(def.name, columns, lines, true);
    }
    return out;
}

std::vector<std::string> ourTableList(const fs::path& file) {
    std::vector<std::string> names;
    jet::Database db = jet::Database::open(file);
    for (const auto& def : db.tableDefs()) names.push_back(def.name + "/" + std::to_string(def.attributes));
    return names;
}

std::map<std::string, std::vector<std::string>> mdbReaderRows(const fs::path& file) {
    std::string script = std::string(JET_TESTS_DIR) + "/peers/mdb_reader_export.mjs";
    int status = 0;
    std::string out = jettest::runCommand(
        "node " + jettest::shellQuote(script) + " " + jettest::shellQuote(file.string()) + " 2>&1", status);
    EXPECT_EQ(status, 0) << out.substr(0, 400);
    std::map<std::string, std::vector<std::string>> tables;
    std::map<std::string, std::vector<std::string>> columns;
    std::istringstream in(out);
    std::string line, current;
    while (std::getline(in, line)) {
        if (line.rfind("{\"table\":", 0) == 0) {
            current = jettest::parseJson(line).at("table").str;
            tables[current];
            if (line.find("\"error\"") != std::string::npos) tables[current].push_back("error");
        } else if (line.rfind("{\"columns\":", 0) == 0) {
            jettest::Json j = jettest::parseJson(line);
            for (const auto& c : j.at("columns").arr) columns[current].push_back(c.at("name").str);
        } else if (!line.empty() && line[0] == '[') {
            tables[current].push_back(line.substr(1, line.size() - 2));
        }
    }
    for (auto& [name, rows] : tables) rows = sortedRows(name, columns[name], rows, true);
    return tables;
}

std::vector<std::string> mdbExportRows(const fs::path& file, const std::string& table) {
    int status = 0;
    std::string out = jettest::runCommand("mdb-export -b hex " + jettest::shellQuote(file.string()) + " " +
                                              jettest::shellQuote(table) + " 2>/dev/null",
                                          status);
    std::vector<std::string> lines, columns;
    std::istringstream in(out);
    std::string line;
    bool header = true;
    while (std::getline(in, line)) {
        if (header) {
            header = false;
            std::istringstream names(line);
            std::string name;
            while (std::getline(names, name, ',')) columns.push_back(name);
            continue;
        }
        lines.push_back(line);
    }
    return sortedRows(table, columns, lines, false);
}

// mdb-tables lists tables in the catalog's scan order, which follows the catalog's primary key
// in a compacted file: compared as a set.
std::multiset<std::string> mdbTables(const fs::path& file) {
    int status = 0;
    std::string out =
        jettest::runCommand("mdb-tables -S -1 " + jettest::shellQuote(file.string()) + " 2>&1", status);
    std::multiset<std::string> names;
    std::istringstream in(out);
    std::string line;
    while (std::getline(in, line)) names.insert(line);
    return names;
}

// ---------------------------------------------------------------------------------------------

TEST(CreateDatabase, BothFormatsPassTheCheckerAndTheReaders) {
    jettest::TempDir tmp;
    for (auto format : {jet::FormatVersion::Jet4, jet::FormatVersion::Jet3}) {
        fs::path file = tmp.path() / (format == jet::FormatVersion::Jet4 ? "new4.mdb" : "new3.mdb");
        jet::createDatabase(file, format);
        int status = 0;
        auto problems = verifyProblems(file, status);
        EXPECT_TRUE(problems.empty()) << *problems.begin();
        EXPECT_EQ(status, 0);

        jet::Database db = jet::Database::open(file);
        EXPECT_EQ(db.version(), format);
        EXPECT_EQ(db.codePage(), 1252);
        EXPECT_EQ(db.sortOrder(), 0x409u);
        std::vector<std::string> names;
        for (const auto& d : db.tableDefs()) names.push_back(d.name);
        EXPECT_EQ(names,
                  (std::vector<std::string>{"MSysACEs", "MSysObjects", "MSysQueries", "MSysRelationships"}));
        EXPECT_EQ(db.openTable("MSysObjects").rowCount(), 8u);
        EXPECT_EQ(db.openTable("MSysObjects").countRows(), 8u);
        EXPECT_EQ(db.openTable("MSysACEs").countRows(), 16u);
        EXPECT_EQ(db.openTable("MSysQueries").countRows(), 0u);

        auto ours = ourRows(file);
        auto peer = mdbReaderRows(file);
        for (const auto& [name, rows] : ours) {
            EXPECT_EQ(peer[name].size(), rows.size()) << name;
            EXPECT_EQ(mdbExportRows(file, name).size(), rows.size()) << name;
        }
        auto listed = mdbTables(file);
        for (const char* t : {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"})
            EXPECT_EQ(listed.count(t), 1u) << t;
    }
}

TEST(CreateDatabase, AnExistingFileIsRefusedAndLeftAlone) {
    jettest::TempDir tmp;
    fs::path file = tmp.path() / "there.mdb";
    std::ofstream(file) << "not a database";
    try {
        jet::createDatabase(file);
        FAIL() << "no error";
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3204);
        EXPECT_EQ(e.description(), "Database already exists.");
    }
    EXPECT_EQ(fileBytes(file), "not a database");
    EXPECT_EQ(std::distance(fs::directory_iterator(tmp.path()), fs::directory_iterator()), 1);
}

TEST(CreateDatabase, AMissingFolderIs3044) {
    jettest::TempDir tmp;
    try {
        jet::createDatabase(tmp.path() / "no" / "such.mdb");
        FAIL() << "no error";
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3044);
    }
}

// ---------------------------------------------------------------------------------------------

class CompactFixture : public ::testing::TestWithParam<std::string> {};

TEST_P(CompactFixture, SameTablesAndRowsInEveryReaderNoLargerAndStable) {
    jettest::TempDir tmp;
    fs::path src = tmp.copy(GetParam());
    const std::string before = fileBytes(src);
    fs::path dst = tmp.path() / "compacted.mdb";

    jet::CompactResult r = jet::compactDatabase(src, dst);
    EXPECT_EQ(fileBytes(src), before) << "the source changed";
    ASSERT_TRUE(fs::exists(dst));
    EXPECT_EQ(r.sizeBefore, before.size());
    EXPECT_EQ(r.sizeAfter, fs::file_size(dst));
    EXPECT_LE(fs::file_size(dst), before.size());
    for (const auto& e : fs::directory_iterator(tmp.path()))
        EXPECT_EQ(e.path().extension(), ".mdb") << "left behind: " << e.path();

    // The checker: no problem the source did not have; stale row counts put right.
    int status = 0;
    auto srcProblems = verifyProblems(src, status);
    auto dstProblems = verifyProblems(dst, status);
    for (const auto& p : dstProblems) {
        EXPECT_FALSE(isRowCountProblem(p)) << p;
        EXPECT_TRUE(srcProblems.count(p)) << "new problem: " << p;
    }

    // Same tables in the same order (DAO's), same attributes.
    EXPECT_EQ(ourTableList(dst), ourTableList(src));
    EXPECT_EQ(mdbTables(dst), mdbTables(src));

    // Same rows in the engine.
    auto ourSrc = ourRows(src), ourDst = ourRows(dst);
    ASSERT_EQ(ourSrc.size(), ourDst.size());
    std::uint64_t rows = 0;
    for (const auto& [name, lines] : ourSrc) {
        EXPECT_EQ(ourDst[name], lines) << name;
        rows += lines.size();
    }
    EXPECT_EQ(r.rows, rows);
    EXPECT_FALSE(ourDst["MSysObjects"].empty());
    EXPECT_EQ(ourDst["MSysQueries"], ourSrc["MSysQueries"]);
    EXPECT_EQ(ourDst["MSysRelationships"], ourSrc["MSysRelationships"]);
    // Stored row counts are right.
    {
        jet::Database db = jet::Database::open(dst);
        for (const auto& def : db.tableDefs())
            if (def.type == 1) {
                EXPECT_EQ(db.openTable(def.name).rowCount(), ourDst[def.name].size()) << def.name;
            }
    }

    // Same rows in mdb-reader.
    auto peerSrc = mdbReaderRows(src), peerDst = mdbReaderRows(dst);
    EXPECT_EQ(peerSrc.size(), peerDst.size());
    for (const auto& [name, lines] : peerSrc) EXPECT_EQ(peerDst[name], lines) << "mdb-reader: " << name;

    // Same rows in mdbtools.
    for (const auto& [name, lines] : ourSrc) {
        (void)lines;
        EXPECT_EQ(mdbExportRows(dst, name), mdbExportRows(src, name)) << "mdb-export: " << name;
    }

    // Compacting the result again gives the same size.
    fs::path again = tmp.path() / "again.mdb";
    jet::compactDatabase(dst, again);
    EXPECT_EQ(fs::file_size(again), fs::file_size(dst));
}

INSTANTIATE_TEST_SUITE_P(Fixtures, CompactFixture, ::testing::ValuesIn(fixtures()),
                         [](const ::testing::TestParamInfo<std::string>& p) {
                             std::string n;
                             for (char c : p.param)
                                 n.push_back(std::isalnum(static_cast<unsigned char>(c)) ? c : '_');
                             return n;
                         });

// ---------------------------------------------------------------------------------------------

// Deleted rows and dropped tables keep their pages until compaction gives them back: the file
// stays its size after the changes, and its compacted copy is smaller than the compacted original
// by at least the data pages of what went, with exactly the rows that are left.
TEST(Compact, DeletedRowsAndDroppedTablesAreGivenBack) {
    jettest::TempDir tmp;
    const fs::path original = tmp.copy("suite/drive_c/KELDATA/Office.mdb");
    const fs::path changed = tmp.path() / "changed.mdb";
    fs::copy_file(original, changed);
    const auto size = fs::file_size(original);
    std::size_t deleted = 0;
    {
        jet::OpenOptions o;
        o.readOnly = false;
        jet::Database db = jet::Database::open(changed, o);
        deleted = jet::deleteRows(db, "Property", [&] {
            std::vector<jet::RowId> ids;
            jet::Table t = db.openTable("Property");
            jet::Cursor c = t.cursor();
            for (std::size_t i = 0; c.next(); ++i)
                if (i % 4 != 0) ids.push_back(c.rowId());
            return ids;
        });
        jet::dropTable(db, "Invoice");
    }
    EXPECT_GT(deleted, 250u);
    EXPECT_EQ(fs::file_size(changed), size);

    const fs::path a = tmp.path() / "a.mdb", b = tmp.path() / "b.mdb";
    const jet::CompactResult whole = jet::compactDatabase(original, a);
    const jet::CompactResult shrunk = jet::compactDatabase(changed, b);
    EXPECT_EQ(shrunk.sizeBefore, size);
    EXPECT_LT(shrunk.sizeAfter, whole.sizeAfter);
    // At least one data page of Property and one of Invoice less (4 KB pages).
    EXPECT_GE(whole.sizeAfter - shrunk.sizeAfter, 2u * 4096u);
    // The rows deleted, Invoice's 600, and the catalog and permission rows of the dropped table.
    EXPECT_GE(whole.rows - shrunk.rows, deleted + 600u);
    EXPECT_LE(whole.rows - shrunk.rows, deleted + 600u + 10u);
    EXPECT_EQ(ourRows(b), ourRows(changed));
    int status = 0;
    if (jettest::haveJetVerify()) {
        EXPECT_EQ(verifyProblems(b, status), std::set<std::string>{});
    }
}

TEST(Compact, AnExistingDestinationIs3204AndLeftAlone) {
    jettest::TempDir tmp;
    fs::path src = tmp.copy("access-corpus/V2000/testV2000.mdb");
    const std::string before = fileBytes(src);
    fs::path dst = tmp.path() / "there.mdb";
    std::ofstream(dst) << "keep me";
    for (const fs::path& target : {dst, src}) {
        try {
            jet::compactDatabase(src, target);
            FAIL() << "no error";
        } catch (const jet::Error& e) {
            EXPECT_EQ(e.number(), 3204);
            EXPECT_EQ(e.description(), "Database already exists.");
        }
    }
    EXPECT_EQ(fileBytes(dst), "keep me");
    EXPECT_EQ(fileBytes(src), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(tmp.path()), fs::directory_iterator()), 2);
}

TEST(Compact, AMissingSourceIs3024AndNothingIsWritten) {
    jettest::TempDir tmp;
    try {
        jet::compactDatabase(tmp.path() / "missing.mdb", tmp.path() / "out.mdb");
        FAIL() << "no error";
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3024);
    }
    EXPECT_TRUE(fs::is_empty(tmp.path()));
}

TEST(Compact, ProgressCountsTablesRowsAndBytes) {
    jettest::TempDir tmp;
    fs::path src = tmp.copy("suite/drive_c/KELDATA/Office.mdb");
    jet::CompactOptions o;
    std::vector<jet::CompactProgress> seen;
    o.progress = [&](const jet::CompactProgress& p) { seen.push_back(p); };
    auto r = jet::compactDatabase(src, tmp.path() / "out.mdb", o);
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.back().tablesDone, seen.back().tablesTotal);
    EXPECT_EQ(seen.back().rowsDone, r.rows);
    EXPECT_GT(seen.back().bytesWritten, 0u);
    for (std::size_t i = 1; i < seen.size(); ++i) {
        EXPECT_GE(seen[i].rowsDone, seen[i - 1].rowsDone);
        EXPECT_GE(seen[i].tablesDone, seen[i - 1].tablesDone);
    }
}

TEST(Compact, AProgressCallbackThatThrowsLeavesNothing) {
    jettest::TempDir tmp;
    fs::path src = tmp.copy("suite/drive_c/KELDATA/Office.mdb");
    jet::CompactOptions o;
    int calls = 0;
    o.progress = [&](const jet::CompactProgress&) {
        if (++calls == 3) throw jet::Error(3049, "stopped");
    };
    EXPECT_THROW(jet::compactDatabase(src, tmp.path() / "out.mdb", o), jet::Error);
    EXPECT_EQ(std::distance(fs::directory_iterator(tmp.path()), fs::directory_iterator()), 1);
}

// ---------------------------------------------------------------------------------------------
// Crash simulation: the destination's file operations fail one at a time.

class FailingOps final : public jet::detail::NewFileOps {
  public:
    explicit FailingOps(long failAt) : failAt_(failAt) {}
    long calls = 0;

    int createExclusive(const std::string& path, int& fd) override {
        if (hit()) return EIO;
        return host().createExclusive(path, fd);
    }
    int writeAt(int fd, std::uint64_t offset, const std::uint8_t* data, std::size_t length) override {
        if (hit()) {
            // A torn write: half of it reaches the file.
            host().writeAt(fd, offset, data, length / 2);
            return ENOSPC;
        }
        return host().writeAt(fd, offset, data, length);
    }
    int sync(int fd) override { return hit() ? EIO : host().sync(fd); }
    int close(int fd) override { return host().close(fd); }
    int link(const std::string& from, const std::string& to) override {
        return hit() ? EIO : host().link(from, to);
    }
    int remove(const std::string& path) override { return host().remove(path); }
    int syncDirectory(const std::string& path) override { return hit() ? EIO : host().syncDirectory(path); }
    bool exists(const std::string& path) override { return host().exists(path); }

  private:
    static jet::detail::NewFileOps& host() { return jet::detail::hostNewFileOps(); }
    bool hit() { return ++calls == failAt_; }
    long failAt_;
};

TEST(Compact, EveryFailingWriteOrSyncLeavesTheSourceAndNothingOrAWholeDatabase) {
    for (const char* fixture : {"suite/drive_c/KELDATA/Office.mdb", "access-corpus/V1997/testV1997.mdb"}) {
        jettest::TempDir tmp;
        fs::path src = tmp.copy(fixture);
        const std::string before = fileBytes(src);
        fs::path dst = tmp.path() / "out.mdb";
        FailingOps counter(-1);
        jet::CompactOptions o;
        o.fileOps = &counter;
        jet::compactDatabase(src, dst, o);
        const std::string good = fileBytes(dst);
        const long total = counter.calls;
        ASSERT_GT(total, 3);
        fs::remove(dst);
        for (long n = 1; n <= total; ++n) {
            FailingOps ops(n);
            o.fileOps = &ops;
            bool failed = false;
            try {
                jet::compactDatabase(src, dst, o);
            } catch (const jet::Error& e) {
                failed = true;
                EXPECT_TRUE(e.number() == jet::errc::kNoPermission) << e.description();
            }
            EXPECT_EQ(fileBytes(src), before) << "operation " << n;
            if (fs::exists(dst)) {
                // Complete: the same bytes as an undisturbed run but the creation-independent ones.
                EXPECT_EQ(fs::file_size(dst), good.size()) << "operation " << n;
                EXPECT_NO_THROW((void)jettest::exerciseDatabase(dst)) << "operation " << n;
                fs::remove(dst);
            } else {
                EXPECT_TRUE(failed) << "operation " << n;
            }
            for (const auto& e : fs::directory_iterator(tmp.path()))
                EXPECT_EQ(e.path(), src) << "operation " << n << " left " << e.path();
        }
    }
}

TEST(CreateDatabase, EveryFailingWriteOrSyncLeavesNothingOrAWholeDatabase) {
    jettest::TempDir tmp;
    fs::path file = tmp.path() / "new.mdb";
    FailingOps counter(-1);
    jet::createDatabase(file, jet::FormatVersion::Jet4, &counter);
    const long total = counter.calls;
    fs::remove(file);
    for (long n = 1; n <= total; ++n) {
        FailingOps ops(n);
        try {
            jet::createDatabase(file, jet::FormatVersion::Jet4, &ops);
        } catch (const jet::Error&) {
        }
        if (fs::exists(file)) {
            EXPECT_NO_THROW((void)jettest::exerciseDatabase(file)) << "operation " << n;
            fs::remove(file);
        }
        EXPECT_TRUE(fs::is_empty(tmp.path())) << "operation " << n;
    }
}

// ---------------------------------------------------------------------------------------------
// Damaged sources.

void poke(const fs::path& p, std::size_t at, std::uint8_t mask) {
    std::fstream f(p, std::ios::in | std::ios::out | std::ios::binary);
    f.seekg(static_cast<std::streamoff>(at));
    char c = 0;
    f.get(c);
    f.seekp(static_cast<std::streamoff>(at));
    f.put(static_cast<char>(static_cast<std::uint8_t>(c) ^ mask));
}

TEST(Compact, DamagedSourcesFailCleanlyOrAreSalvaged) {
    std::size_t damaged = 0, salvaged = 0;
    for (const char* fixture : {"access-corpus/V2000/testV2000.mdb", "access-corpus/V1997/testV1997.mdb",
                                "suite/drive_c/KELDATA/Office.mdb"}) {
        jettest::TempDir tmp;
        fs::path src = tmp.copy(fixture);
        const std::string original = fileBytes(src);
        const std::size_t pageSize = original[0x14] == 0 ? 2048 : 4096;
        const std::size_t pages = original.size() / pageSize;
        for (std::size_t page = 3; page < pages; ++page) {
            std::uint8_t type = static_cast<std::uint8_t>(original[page * pageSize]);
            if (type < 1 || type > 5) continue;
            for (std::size_t off : {std::size_t{2}, std::size_t{14}, pageSize - 3}) {
                { std::ofstream(src, std::ios::binary | std::ios::trunc) << original; }
                poke(src, page * pageSize + off, 0xFF);
                const std::string bad = fileBytes(src);
                bool readerFails = false;
                try {
                    (void)jettest::exerciseDatabase(src);
                } catch (const jet::Error& e) {
                    readerFails = e.number() == jet::errc::kCannotOpen;
                }
                if (!readerFails) continue;
                ++damaged;
                fs::path dst = tmp.path() / "out.mdb";
                try {
                    jet::compactDatabase(src, dst);
                    ADD_FAILURE() << fixture << " page " << page << " offset " << off << ": no error";
                } catch (const jet::Error& e) {
                    EXPECT_EQ(e.number(), jet::errc::kCannotOpen) << e.description();
                }
                EXPECT_FALSE(fs::exists(dst));
                jet::CompactOptions o;
                o.salvage = true;
                try {
                    auto r = jet::compactDatabase(src, dst, o);
                    ++salvaged;
                    EXPECT_FALSE(r.losses.empty()) << fixture << " page " << page << " offset " << off;
                    EXPECT_NO_THROW((void)jettest::exerciseDatabase(dst)) << fixture << " page " << page;
                } catch (const jet::Error& e) {
                    // Only a catalog beyond reading stops salvage.
                    EXPECT_EQ(e.number(), jet::errc::kCannotOpen);
                    EXPECT_FALSE(fs::exists(dst));
                }
                EXPECT_EQ(fileBytes(src), bad);
                fs::remove(dst);
            }
        }
    }
    EXPECT_GT(damaged, 5u);
    EXPECT_GT(salvaged, 0u);
}

}  // namespace
