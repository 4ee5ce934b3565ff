// DROP TABLE on every user table of every fixture database, each from a fresh copy: the other
// tables read exactly as before (our reader, mdb-reader, mdbtools), the dropped one is gone, the
// file does not grow, and the independent checker finds nothing the source did not have. Then
// the report database's temporary tables in the maintenance tab's order, and the refusals.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <future>

#include "jet/database.h"
#include "jet/error.h"
#include "jet/index_check.h"
#include "jet/schema.h"
#include "jet/sql/execute.h"
#include "jet/store.h"
#include "jet/transaction.h"
#include "write_support.h"

namespace {

using jettest::TempDir;

jet::OpenOptions forWriting() {
    jet::OpenOptions o;
    o.readOnly = false;
    return o;
}

int dropError(const std::filesystem::path& file, const std::string& name) {
    jet::Database db = jet::Database::open(file, forWriting());
    try {
        jet::dropTable(db, name);
    } catch (const jet::Error& e) {
        return e.number();
    }
    return 0;
}

// Runs jet-verify on several files, two at a time (each call starts a Java machine).
std::vector<std::set<std::string>> verifyAll(const std::vector<std::filesystem::path>& files) {
    std::vector<std::set<std::string>> out(files.size());
    for (std::size_t i = 0; i < files.size(); i += 2) {
        auto a = std::async(std::launch::async, [&, i] { return jettest::verifyProblems(files[i]); });
        if (i + 1 < files.size()) out[i + 1] = jettest::verifyProblems(files[i + 1]);
        out[i] = a.get();
    }
    return out;
}

struct DropCase {
    std::filesystem::path source;
    std::string table;
    std::filesystem::path result;
};

// Drops every user table of each of `fixtures`, each from a fresh copy and all in turn on one
// more copy; the checker runs on each source and on that last copy (each run costs a Java start).
void dropEach(const std::vector<std::filesystem::path>& fixtures, std::size_t minDrops) {
    ASSERT_FALSE(fixtures.empty());
    const bool peers = jettest::haveProgram("node") && jettest::haveProgram("mdb-tables");
    const bool verify = jettest::haveJetVerify();
    TempDir tmp;
    std::vector<std::filesystem::path> toVerify;  // source, single drop, all drops, per fixture
    std::size_t drops = 0, refused = 0;
    for (const auto& fixture : fixtures) {
        SCOPED_TRACE(fixture.string());
        const auto sourceBytes = jettest::fileBytes(fixture);
        std::vector<std::string> tables;
        std::map<std::string, std::string> before;
        std::set<std::string> indexProblemsBefore;
        {
            jet::Database db = jet::Database::open(fixture);
            auto report = jet::checkIndexes(db);
            indexProblemsBefore.insert(report.problems.begin(), report.problems.end());
            tables = jettest::userTables(db);
            for (const auto& t : tables) before[t] = jettest::dumpTable(db, t);
        }
        const auto peerBefore =
            peers ? jettest::mdbReaderTables(fixture) : std::map<std::string, std::string>{};
        const auto listBefore = peers ? jettest::mdbtoolsTables(fixture) : std::set<std::string>{};
        const std::filesystem::path dir = tmp.path() / std::to_string(toVerify.size());
        std::filesystem::create_directories(dir);
        const std::filesystem::path all = dir / ("all-" + fixture.filename().string());
        std::filesystem::copy_file(fixture, all);
        std::set<std::string> droppedSoFar;

        for (const auto& table : tables) {
            SCOPED_TRACE(table);
            const std::filesystem::path copy = dir / ("one-" + fixture.filename().string());
            std::filesystem::copy_file(fixture, copy, std::filesystem::copy_options::overwrite_existing);
            int err = dropError(copy, table);
            if (err == jet::errc::kInRelationship) {
                // Refused: not a byte changed.
                EXPECT_EQ(jettest::fileBytes(copy), sourceBytes);
                ++refused;
                continue;
            }
            ASSERT_EQ(err, 0);
            ++drops;
            EXPECT_LE(std::filesystem::file_size(copy), sourceBytes.size());
            {
                jet::Database db = jet::Database::open(copy);
                auto now = jettest::userTables(db);
                EXPECT_EQ(std::count(now.begin(), now.end(), table), 0);
                EXPECT_EQ(now.size(), tables.size() - 1);
                EXPECT_FALSE(db.hasTable(table));
                for (const auto& t : now) EXPECT_EQ(jettest::dumpTable(db, t), before[t]) << t;
                // Every index (the catalog's and MSysACEs' among them) walked against a scan.
                auto report = jet::checkIndexes(db);
                std::set<std::string> problems(report.problems.begin(), report.problems.end());
                EXPECT_EQ(jettest::newProblems(indexProblemsBefore, problems), std::set<std::string>{});
            }
            if (peers) {
                auto list = jettest::mdbtoolsTables(copy);
                auto expected = listBefore;
                expected.erase(table);
                EXPECT_EQ(list, expected);
            }
            // mdb-reader reads the whole file (a node start each time): the first and the last
            // table of each file.
            if (peers && (table == tables.front() || table == tables.back())) {
                auto peerAfter = jettest::mdbReaderTables(copy);
                EXPECT_EQ(peerAfter.count(table), 0u);
                for (const auto& t : tables) {
                    if (t != table && peerBefore.count(t)) {
                        EXPECT_EQ(peerAfter[t], peerBefore.at(t)) << t;
                    }
                }
            }
            // The same drop on the copy that loses every table in turn.
            if (dropError(all, table) == 0) droppedSoFar.insert(table);
        }
        {
            jet::Database db = jet::Database::open(all);
            for (const auto& t : jettest::userTables(db)) {
                EXPECT_EQ(droppedSoFar.count(t), 0u) << t;
                EXPECT_EQ(jettest::dumpTable(db, t), before[t]) << t;
            }
        }
        EXPECT_LE(std::filesystem::file_size(all), sourceBytes.size());
        toVerify.push_back(fixture);
        toVerify.push_back(all);
    }
    EXPECT_GE(drops, minDrops);
    std::printf("%zu drops, %zu refused (relationships)\n", drops, refused);
    if (!verify) GTEST_SKIP() << "jet-verify cannot run here (Java missing)";
    auto problems = verifyAll(toVerify);
    for (std::size_t i = 0; i < toVerify.size(); i += 2) {
        EXPECT_EQ(jettest::newProblems(problems[i], problems[i + 1]), std::set<std::string>{})
            << toVerify[i + 1];
    }
}

std::vector<std::filesystem::path> fixturesUnder(const std::string& part) {
    std::vector<std::filesystem::path> out;
    for (const auto& f : jettest::writableFixtures()) {
        if (f.string().find(part) != std::string::npos) out.push_back(f);
    }
    return out;
}

TEST(DropTable, EveryUserTableOfTheJet3Corpus) {
    dropEach(fixturesUnder("/V1997/"), 40);
}

TEST(DropTable, EveryUserTableOfTheJet4Corpus) {
    auto files = fixturesUnder("/V2000/");
    for (const char* f : {"adox_jet4.mdb", "emptyJet4.mdb"})
        files.push_back(jettest::fixturesDir() / "access-corpus" / f);
    ASSERT_GE(files.size(), 17u);
    dropEach(files, 27);
}

TEST(DropTable, EveryUserTableOfTheSuite) {
    auto files = fixturesUnder("/suite/");
    ASSERT_EQ(files.size(), 5u);
    dropEach(files, 35);
}

// The maintenance tab's cleanup of the report database: 22 drops in this order and spelling.
TEST(DropTable, ReportDatabaseTemporaryTablesThenEverything) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    const auto size = std::filesystem::file_size(file);
    const auto sourceProblems =
        jettest::haveJetVerify() ? jettest::verifyProblems(file) : std::set<std::string>{};
    const std::vector<std::string> names = {
        "report",        "invoice",      "property",        "assigned",   "Temp",         "tempinvoice",
        "tempproperty",  "check1",       "check2",          "check3",     "users",        "company",
        "client",        "CANCELCLIENT", "CANCELAPPRAISER", "appraiser",  "appraiserfee", "usercontrol",
        "clientcontact", "clientfee",    "formtypes",       "USERCONTROL"};
    const std::set<std::string> missing = {"assigned",  "check1",    "company",
                                           "appraiser", "clientfee", "USERCONTROL"};
    for (const auto& name : names) {
        SCOPED_TRACE(name);
        jet::Database db = jet::Database::open(file, forWriting());
        const auto before = jettest::fileBytes(file);
        try {
            EXPECT_EQ(jet::sql::execute(db, "DROP TABLE [" + name + "]"), 0);
            EXPECT_EQ(missing.count(name), 0u);
        } catch (const jet::Error& e) {
            EXPECT_EQ(missing.count(name), 1u) << e.description();
            EXPECT_EQ(e.number(), 3376);
            EXPECT_EQ(e.description(), "Table '" + name + "' does not exist.");
            EXPECT_EQ(jettest::fileBytes(file), before);
        }
    }
    std::vector<std::string> left;
    {
        jet::Database db = jet::Database::open(file);
        left = jettest::userTables(db);
    }
    EXPECT_EQ(left, (std::vector<std::string>{"ReportLayout", "Settings"}));
    for (const auto& name : left) {
        jet::Database db = jet::Database::open(file, forWriting());
        EXPECT_EQ(jet::sql::execute(db, "drop table [" + name + "];"), 0);
    }
    {
        jet::Database db = jet::Database::open(file);
        for (const auto& t : db.tableDefs()) EXPECT_TRUE(t.system()) << t.name;
        EXPECT_TRUE(jettest::userTables(db).empty());
    }
    EXPECT_LE(std::filesystem::file_size(file), size);
    if (jettest::haveJetVerify()) {
        EXPECT_EQ(jettest::newProblems(sourceProblems, jettest::verifyProblems(file)),
                  std::set<std::string>{});
    }
    if (jettest::haveProgram("mdb-tables")) {
        EXPECT_EQ(jettest::mdbtoolsTables(file), std::set<std::string>{});
    }
}

TEST(DropTable, RefusalsChangeNothing) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    const auto before = jettest::fileBytes(file);
    jet::Database db = jet::Database::open(file, forWriting());
    for (const char* sys : {"MSysObjects", "msysaces", "MSysAccessObjects"}) {
        try {
            jet::dropTable(db, sys);
            ADD_FAILURE() << sys;
        } catch (const jet::Error& e) {
            EXPECT_EQ(e.number(), jet::errc::kNoObjectPermission) << sys;
            EXPECT_NE(e.description().find("permissions"), std::string::npos);
        }
    }
    try {
        jet::sql::execute(db, "SELECT * FROM report");
        ADD_FAILURE();
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3065);
    }
    try {
        jet::dropTable(db, "no such table");
        ADD_FAILURE();
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3376);
        EXPECT_EQ(e.description(), "Table 'no such table' does not exist.");
    }
    EXPECT_EQ(jettest::fileBytes(file), before);

    // Opened for reading: 3027.
    jet::Database reader = jet::Database::open(file);
    try {
        jet::dropTable(reader, "report");
        ADD_FAILURE();
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), jet::errc::kReadOnly);
        EXPECT_EQ(e.description(), "Cannot update.  Database or object is read-only.");
    }
    EXPECT_EQ(jettest::fileBytes(file), before);
}

// A file whose reading showed damage is not written.
TEST(DropTable, DamagedFileIsRefusedBeforeAnyByte) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    // Damage a data page of 'property': an impossible row count.
    std::uint32_t victim = 0;
    {
        jet::Database db = jet::Database::open(file);
        jet::Table t = db.openTable("property");
        jet::Cursor c = t.cursor();
        ASSERT_TRUE(c.next());
        victim = c.rowId().page;
    }
    auto bytes = jettest::fileBytes(file);
    const auto& f = jet::detail::JetFormat::jet4Format();
    bytes[victim * f.pageSize + f.dataRowCount] = 0xFF;
    bytes[victim * f.pageSize + f.dataRowCount + 1] = 0x7F;
    {
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    jet::Database db = jet::Database::open(file, forWriting());
    EXPECT_THROW((void)jettest::dumpTable(db, "property"), jet::Error);
    try {
        jet::dropTable(db, "report");
        ADD_FAILURE();
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3049);
    }
    EXPECT_EQ(jettest::fileBytes(file), bytes);
}

// Pages a drop frees are taken again by later allocations, so the file does not grow.
// (Office.mdb's global map covers the whole file; see the README on files whose map does not.)
TEST(DropTable, FreedPagesAreReused) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELDATA/Office.mdb");
    const auto size = std::filesystem::file_size(file);
    std::uint32_t tdef = 0;
    std::string name;
    {
        jet::Database db = jet::Database::open(file);
        name = jettest::userTables(db).front();
        tdef = db.openTable(name).definitionPage();
    }
    jet::Database db = jet::Database::open(file, forWriting());
    jet::dropTable(db, name);
    jet::Transaction tx(db);
    EXPECT_TRUE(tx.isFree(tdef));
    std::uint32_t page = tx.allocate(0);
    EXPECT_LT(page, tx.pageCount());
    EXPECT_FALSE(tx.isFree(page));
    tx.release(page, 0);
    EXPECT_TRUE(tx.isFree(page));
    tx.commit();
    EXPECT_EQ(std::filesystem::file_size(file), size);
}

// Another open of the same file in this process sees the drop (change counter).
TEST(DropTable, SameProcessReadersNotice) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    jet::Database reader = jet::Database::open(file);
    ASSERT_TRUE(reader.hasTable("invoice"));
    {
        jet::Database writer = jet::Database::open(file, forWriting());
        jet::dropTable(writer, "invoice");
        EXPECT_FALSE(writer.hasTable("invoice"));
    }
    EXPECT_FALSE(reader.hasTable("invoice"));
    EXPECT_THROW((void)reader.openTable("invoice"), jet::Error);
    EXPECT_TRUE(reader.hasTable("property"));
}

}  // namespace
