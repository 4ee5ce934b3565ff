// DELETE on every user table of every fixture database: every other row of each table goes, from
// one copy per database. Afterwards our reader, mdb-reader and mdbtools see exactly the rows that
// were kept, every index walks in step with a scan, the row counts are right, the file has not
// grown, and the independent checker finds nothing the source did not have. Then the statement's
// own forms and refusals, with the file unchanged byte for byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <future>
#include <sstream>

#include "jet/database.h"
#include "jet/error.h"
#include "jet/index_check.h"
#include "jet/schema.h"
#include "jet/sql/execute.h"
#include "write_support.h"

namespace {

using jettest::TempDir;

jet::OpenOptions forWriting() {
    jet::OpenOptions o;
    o.readOnly = false;
    return o;
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) out.push_back(line);
    return out;
}

// A table's rows through the engine, one text per row (values may hold line ends).
std::vector<std::string> rowsOf(const jet::Database& db, const std::string& name) {
    std::vector<std::string> out;
    jet::Table table = db.openTable(name);
    jet::Cursor cur = table.cursor();
    while (cur.next()) {
        std::string row;
        for (std::size_t i = 0; i < table.columns().size(); ++i) {
            row += cur.isNull(i) ? std::string("<null>") : std::string(cur.text(i));
            row += '\t';
        }
        out.push_back(std::move(row));
    }
    return out;
}

// Whether two row lists are the same, without printing them (long values make huge messages).
::testing::AssertionResult sameRows(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    if (a == b) return ::testing::AssertionSuccess();
    std::size_t i = 0;
    while (i < a.size() && i < b.size() && a[i] == b[i]) ++i;
    return ::testing::AssertionFailure()
           << a.size() << " rows against " << b.size() << ", first difference at row " << i;
}

// Every other row (the 2nd, 4th, ...), as the rows kept when the 1st, 3rd, ... are deleted.
std::vector<std::string> kept(const std::vector<std::string>& rows) {
    std::vector<std::string> out;
    for (std::size_t i = 1; i < rows.size(); i += 2) out.push_back(rows[i]);
    return out;
}

// mdb-reader's rows of one table (its lines after the table and columns lines), sorted: the
// reader's order need not be the scan order.
std::vector<std::string> peerRows(const std::string& tableText) {
    auto all = lines(tableText);
    std::vector<std::string> rows(all.size() > 2 ? all.begin() + 2 : all.end(), all.end());
    std::sort(rows.begin(), rows.end());
    return rows;
}

struct Outcome {
    std::size_t tables = 0, rowsDeleted = 0, refused = 0;
};

void deleteHalfOfEach(const std::vector<std::filesystem::path>& fixtures, Outcome& outcome) {
    const bool peers = jettest::haveProgram("node") && jettest::haveProgram("mdb-export");
    TempDir tmp;
    std::vector<std::filesystem::path> sources, results;
    for (const auto& fixture : fixtures) {
        SCOPED_TRACE(fixture.string());
        const auto file = tmp.path() / (std::to_string(results.size()) + "-" + fixture.filename().string());
        std::filesystem::copy_file(fixture, file);
        const auto size = std::filesystem::file_size(file);
        std::vector<std::string> tables;
        std::map<std::string, std::vector<std::string>> expected;
        std::set<std::string> indexProblemsBefore;
        {
            jet::Database db = jet::Database::open(file);
            auto report = jet::checkIndexes(db);
            indexProblemsBefore.insert(report.problems.begin(), report.problems.end());
            tables = jettest::userTables(db);
        }
        const auto peerBefore = peers ? jettest::mdbReaderTables(file) : std::map<std::string, std::string>{};
        std::map<std::string, std::vector<std::string>> peerExpected;
        for (const auto& table : tables) {
            SCOPED_TRACE(table);
            jet::Database db = jet::Database::open(file, forWriting());
            const auto rows = rowsOf(db, table);
            std::size_t n = 0;
            try {
                n = jet::deleteRows(db, table, [&] {
                    std::vector<jet::RowId> ids;
                    jet::Table t = db.openTable(table);
                    jet::Cursor c = t.cursor();
                    for (std::size_t i = 0; c.next(); ++i)
                        if (i % 2 == 0) ids.push_back(c.rowId());
                    return ids;
                });
            } catch (const jet::Error& e) {
                // Rows other tables refer to are refused whole.
                ASSERT_EQ(e.number(), 3200) << e.description();
                ++outcome.refused;
                expected[table] = rows;
                continue;
            }
            EXPECT_EQ(n, (rows.size() + 1) / 2);
            outcome.rowsDeleted += n;
            ++outcome.tables;
            expected[table] = kept(rows);
            if (peers && peerBefore.count(table)) peerExpected[table] = peerRows(peerBefore.at(table));
        }
        jet::Database db = jet::Database::open(file);
        for (const auto& table : tables) {
            SCOPED_TRACE(table);
            EXPECT_TRUE(sameRows(rowsOf(db, table), expected[table]));
            jet::Table t = db.openTable(table);
            EXPECT_EQ(t.rowCount(), expected[table].size());
        }
        auto report = jet::checkIndexes(db);
        std::set<std::string> problems(report.problems.begin(), report.problems.end());
        EXPECT_EQ(jettest::newProblems(indexProblemsBefore, problems), std::set<std::string>{});
        EXPECT_EQ(std::filesystem::file_size(file), size);
        if (peers) {
            const auto after = jettest::mdbReaderTables(file);
            // mdb-reader's order need not be ours, so its rows are matched as a whole: as many as
            // were kept, every one of them a row it read before.
            for (const auto& [table, before] : peerExpected) {
                ASSERT_TRUE(after.count(table)) << table;
                const auto now = peerRows(after.at(table));
                EXPECT_EQ(now.size(), expected[table].size()) << table;
                EXPECT_TRUE(std::includes(before.begin(), before.end(), now.begin(), now.end())) << table;
            }
            EXPECT_EQ(jettest::mdbtoolsTables(file), jettest::mdbtoolsTables(fixture));
        }
        sources.push_back(fixture);
        results.push_back(file);
    }
    if (!jettest::haveJetVerify()) GTEST_SKIP() << "jet-verify cannot run here (Java missing)";
    for (std::size_t i = 0; i < results.size(); ++i) {
        auto a = std::async(std::launch::async, [&] { return jettest::verifyProblems(sources[i]); });
        auto after = jettest::verifyProblems(results[i]);
        EXPECT_EQ(jettest::newProblems(a.get(), after), std::set<std::string>{}) << results[i];
    }
}

std::vector<std::filesystem::path> fixturesUnder(const std::string& part) {
    std::vector<std::filesystem::path> out;
    for (const auto& f : jettest::writableFixtures())
        if (f.string().find(part) != std::string::npos) out.push_back(f);
    return out;
}

TEST(Delete, HalfTheRowsOfEveryTableOfTheJet3Corpus) {
    Outcome o;
    deleteHalfOfEach(fixturesUnder("/V1997/"), o);
    std::printf("%zu tables, %zu rows deleted, %zu refused (related rows)\n", o.tables, o.rowsDeleted,
                o.refused);
    EXPECT_GE(o.tables, 30u);
}

TEST(Delete, HalfTheRowsOfEveryTableOfTheJet4Corpus) {
    Outcome o;
    deleteHalfOfEach(fixturesUnder("/V2000/"), o);
    std::printf("%zu tables, %zu rows deleted, %zu refused (related rows)\n", o.tables, o.rowsDeleted,
                o.refused);
    EXPECT_GE(o.tables, 20u);
}

TEST(Delete, HalfTheRowsOfEveryTableOfTheSuite) {
    Outcome o;
    deleteHalfOfEach(fixturesUnder("/suite/"), o);
    std::printf("%zu tables, %zu rows deleted, %zu refused (related rows)\n", o.tables, o.rowsDeleted,
                o.refused);
    EXPECT_GE(o.rowsDeleted, 1000u);
}

std::int64_t run(const std::filesystem::path& file, const std::string& sql) {
    jet::Database db = jet::Database::open(file, forWriting());
    return jet::sql::execute(db, sql);
}

std::pair<int, std::string> failure(const std::filesystem::path& file, const std::string& sql) {
    try {
        run(file, sql);
    } catch (const jet::Error& e) {
        return {e.number(), e.description()};
    }
    return {0, ""};
}

std::size_t count(const std::filesystem::path& file, const std::string& table) {
    jet::Database db = jet::Database::open(file);
    return db.openTable(table).rowCount();
}

TEST(Delete, TheStatementsForms) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELDATA/Office.mdb");
    const std::size_t property = count(file, "Property");
    EXPECT_EQ(run(file, "DELETE FROM Property WHERE City LIKE '%spring%'"), 26);
    EXPECT_EQ(count(file, "Property"), property - 26);
    EXPECT_EQ(run(file, "delete property.* from property where PropertyID < 10;"), 7);
    EXPECT_EQ(run(file, "DELETE * FROM [Property] WHERE PropertyID < 10"), 0);
    EXPECT_EQ(run(file, "DELETE FROM Invoice"), 600);
    EXPECT_EQ(count(file, "Invoice"), 0u);
    // An empty table deletes nothing and writes nothing.
    const auto bytes = jettest::fileBytes(file);
    EXPECT_EQ(run(file, "DELETE FROM Invoice"), 0);
    EXPECT_EQ(jettest::fileBytes(file), bytes);
}

TEST(Delete, RefusalsChangeNothing) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELDATA/Office.mdb");
    const auto bytes = jettest::fileBytes(file);
    EXPECT_EQ(failure(file, "DELETE FROM Nope"),
              (std::pair<int, std::string>{
                  3078,
                  "The Microsoft Jet database engine cannot find the input table or query "
                  "'Nope'.  Make sure it exists and that its name is spelled correctly."}));
    EXPECT_EQ(failure(file, "DELETE FROM Property WHERE NoSuchColumn = 1"),
              (std::pair<int, std::string>{3061, "Too few parameters. Expected 1."}));
    EXPECT_EQ(failure(file, "DELETE FROM MSysObjects").first, 3033);
    EXPECT_NE(failure(file, "DELETE Property").first, 0);
    EXPECT_NE(failure(file, "DELETE FROM Property WHERE City = 'x").first, 0);
    EXPECT_NE(failure(file, "DELETE FROM Property ORDER BY City").first, 0);
    EXPECT_EQ(jettest::fileBytes(file), bytes);
}

}  // namespace
