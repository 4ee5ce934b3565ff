// UPDATE on every user table of every fixture database: every other row gets a text column filled
// to its size (rows that no longer fit their page move to overflow rows), a number changed and a
// memo made longer or shorter. Afterwards our reader sees exactly the rows the test computes from
// what it read before, mdb-reader sees the same change in its own reading of the file, every index
// walks in step with a scan, and the file takes a second UPDATE and a DELETE; the independent
// checker finds nothing the source did not have. Then the statement's forms and refusals, with
// the file unchanged byte for byte.
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
#include "mini_json.h"
#include "write_support.h"

namespace {

using jettest::TempDir;

jet::OpenOptions forWriting() {
    jet::OpenOptions o;
    o.readOnly = false;
    return o;
}

using Row = std::vector<std::string>;  // a row's columns as our reader gives them as text

std::vector<Row> rowsOf(const jet::Database& db, const std::string& name) {
    std::vector<Row> out;
    jet::Table table = db.openTable(name);
    jet::Cursor cur = table.cursor();
    while (cur.next()) {
        Row row;
        for (std::size_t i = 0; i < table.columns().size(); ++i)
            row.push_back(cur.isNull(i) ? std::string("<null>") : std::string(cur.text(i)));
        out.push_back(std::move(row));
    }
    return out;
}

::testing::AssertionResult sameRows(const std::vector<Row>& a, const std::vector<Row>& b) {
    if (a == b) return ::testing::AssertionSuccess();
    std::size_t i = 0;
    while (i < a.size() && i < b.size() && a[i] == b[i]) ++i;
    std::string detail;
    if (i < a.size() && i < b.size())
        for (std::size_t c = 0; c < a[i].size() && c < b[i].size(); ++c)
            if (a[i][c] != b[i][c])
                detail = " column " + std::to_string(c) + ": '" + a[i][c].substr(0, 60) + "' against '" +
                         b[i][c].substr(0, 60) + "'";
    return ::testing::AssertionFailure()
           << a.size() << " rows against " << b.size() << ", first difference at row " << i << detail;
}

// Columns that take part in relationships (their changes are refused whatever the values).
std::set<std::pair<std::string, std::string>> relatedColumns(const jet::Database& db) {
    std::set<std::pair<std::string, std::string>> out;
    if (!db.hasTable("MSysRelationships")) return out;
    jet::Table t = db.openTable("MSysRelationships");
    const int a = t.findColumn("szObject"), b = t.findColumn("szColumn"),
              c = t.findColumn("szReferencedObject"), d = t.findColumn("szReferencedColumn");
    jet::Cursor cur = t.cursor();
    while (cur.next()) {
        auto text = [&](int i) { return std::string(cur.text(static_cast<std::size_t>(i))); };
        out.insert({text(a), text(b)});
        out.insert({text(c), text(d)});
    }
    return out;
}

// What the test changes in a table: positions in columns(), -1 for none.
struct Plan {
    int text = -1, number = -1, memo = -1;
    std::size_t textChars = 0;
    std::vector<std::size_t> columns() const {
        std::vector<std::size_t> out;
        for (int c : {text, number, memo})
            if (c >= 0) out.push_back(static_cast<std::size_t>(c));
        return out;
    }
};

Plan planFor(const jet::Database& db, const jet::Table& t) {
    const auto related = relatedColumns(db);
    Plan p;
    const auto& cols = t.columns();
    auto inUniqueIndex = [&](const jet::Column& c) {
        for (const auto& ri : t.realIndexes())
            for (const auto& k : ri.columns)
                if (k.columnNumber == c.number && (ri.flags & 0x01)) return true;
        return false;
    };
    for (std::size_t i = 0; i < cols.size(); ++i) {
        const jet::Column& c = cols[i];
        if ((c.flags & 0x04) || related.count({t.name(), c.name})) continue;
        const int at = static_cast<int>(i);
        const std::size_t chars = db.version() == jet::FormatVersion::Jet3 ? c.size : c.size / 2u;
        if (c.type == jet::ColumnType::Text && p.text < 0 && chars >= 8) {
            p.text = at;
            p.textChars = chars;
        } else if ((c.type == jet::ColumnType::Long || c.type == jet::ColumnType::Integer ||
                    c.type == jet::ColumnType::Byte) &&
                   p.number < 0 && !inUniqueIndex(c)) {
            p.number = at;
        } else if (c.type == jet::ColumnType::Memo && p.memo < 0) {
            p.memo = at;
        }
    }
    return p;
}

// The values the k-th changed row gets in `round` (0: text to the column's size, memo longer or
// shorter by turns; 1: text short again, every memo longer), as values and as our reader's text.
struct NewValues {
    std::string text, memo;
    std::int64_t number = 0;
};

NewValues valuesFor(const Plan& p, std::size_t k, int round) {
    NewValues v;
    if (round == 0) {
        v.text = "U" + std::to_string(k) + "-";
        // Up to 100 characters: longer keys are more than an index page of a Jet 3 file takes.
        const std::size_t chars = std::min<std::size_t>(p.textChars, 100);
        v.text.append(chars > v.text.size() ? chars - v.text.size() : 0, static_cast<char>('a' + k % 26));
        v.memo = k % 2 == 0 ? "M" + std::to_string(k) + std::string(1500, 'm') : "s" + std::to_string(k);
    } else {
        v.text = "r" + std::to_string(k);
        v.memo = "L" + std::to_string(k) + std::string(900, 'l');
    }
    v.number = static_cast<std::int64_t>(k % 200) + round;
    return v;
}

void setValues(const jet::Table& t, const Plan& p, const NewValues& v, std::vector<jet::Value>& row) {
    const auto& cols = t.columns();
    if (p.text >= 0) row[static_cast<std::size_t>(p.text)] = jet::Value(jet::ColumnType::Text, v.text);
    if (p.memo >= 0) row[static_cast<std::size_t>(p.memo)] = jet::Value(jet::ColumnType::Memo, v.memo);
    if (p.number >= 0) {
        const auto at = static_cast<std::size_t>(p.number);
        switch (cols[at].type) {
            case jet::ColumnType::Byte:
                row[at] = jet::Value(jet::ColumnType::Byte, static_cast<std::uint8_t>(v.number));
                break;
            case jet::ColumnType::Integer:
                row[at] = jet::Value(jet::ColumnType::Integer, static_cast<std::int16_t>(v.number));
                break;
            default:
                row[at] = jet::Value(jet::ColumnType::Long, static_cast<std::int32_t>(v.number));
        }
    }
}

void expectValues(const Plan& p, const NewValues& v, Row& row) {
    if (p.text >= 0) row[static_cast<std::size_t>(p.text)] = v.text;
    if (p.memo >= 0) row[static_cast<std::size_t>(p.memo)] = v.memo;
    if (p.number >= 0) row[static_cast<std::size_t>(p.number)] = std::to_string(v.number);
}

// Updates the rows `pick` chooses (by scan ordinal) with round `round`'s values; returns the
// rows our reader must now see.
std::vector<Row> updateRound(const std::filesystem::path& file, const std::string& table, const Plan& p,
                             int round, bool everyRow, std::size_t& updated) {
    jet::Database db = jet::Database::open(file, forWriting());
    std::vector<Row> expected = rowsOf(db, table);
    jet::Table t = db.openTable(table);
    std::size_t k = 0;
    const std::size_t n = jet::updateRows(
        db, table,
        [&] {
            std::vector<jet::RowId> ids;
            jet::Cursor c = t.cursor();
            for (std::size_t i = 0; c.next(); ++i)
                if (everyRow || i % 2 == 0) ids.push_back(c.rowId());
            return ids;
        },
        p.columns(), [&](std::vector<jet::Value>& row) { setValues(t, p, valuesFor(p, k++, round), row); });
    std::size_t changed = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (!everyRow && i % 2 != 0) continue;
        expectValues(p, valuesFor(p, changed++, round), expected[i]);
    }
    EXPECT_EQ(n, changed);
    updated += n;
    return expected;
}

// mdb-reader's rows of one table as its JSON values.
struct PeerTable {
    std::vector<std::string> columns;
    std::vector<std::vector<jettest::Json>> rows;
};

PeerTable peerTable(const std::string& text) {
    PeerTable out;
    std::istringstream in(text);
    std::string line;
    std::size_t n = 0;
    while (std::getline(in, line)) {
        if (n++ == 0) continue;
        jettest::Json j = jettest::JsonParser(line).parse();
        if (j.kind == jettest::Json::Object) {
            if (const auto* cols = j.get("columns"))
                for (const auto& c : cols->arr) out.columns.push_back(c.at("name").str);
        } else {
            out.rows.push_back(std::move(j.arr));
        }
    }
    return out;
}

std::string token(const jettest::Json& j) {
    switch (j.kind) {
        case jettest::Json::Null:
            return "n";
        case jettest::Json::Bool:
            return j.b ? "T" : "F";
        case jettest::Json::Number:
            return "#" + j.numText;
        case jettest::Json::String:
            return "s" + j.str;
        default:
            return "?";
    }
}

// mdb-reader's view after the first round: every row it read before is there, those the test
// changed with the new values in the changed columns (told apart by their new text) and every
// other column as it was.
void checkPeer(const std::string& before, const std::string& after, const jet::Table& t, const Plan& p,
               std::size_t changedRows) {
    const PeerTable a = peerTable(before), b = peerTable(after);
    ASSERT_EQ(a.columns, b.columns);
    auto at = [&](int col) -> int {
        if (col < 0) return -1;
        const std::string& name = t.columns()[static_cast<std::size_t>(col)].name;
        for (std::size_t i = 0; i < a.columns.size(); ++i)
            if (a.columns[i] == name) return static_cast<int>(i);
        return -2;
    };
    const int text = at(p.text), number = at(p.number), memo = at(p.memo);
    ASSERT_TRUE(text >= -1 && number >= -1 && memo >= -1);
    auto masked = [&](const std::vector<jettest::Json>& row) {
        std::string s;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const int c = static_cast<int>(i);
            s += (c == text || c == number || c == memo) ? std::string("*") : token(row[i]);
            s += '\x1f';
        }
        return s;
    };
    std::vector<std::string> ma, mb;
    for (const auto& r : a.rows) ma.push_back(masked(r));
    for (const auto& r : b.rows) mb.push_back(masked(r));
    std::sort(ma.begin(), ma.end());
    std::sort(mb.begin(), mb.end());
    EXPECT_EQ(ma, mb) << "rows differ in columns the update did not touch";
    if (text < 0) return;
    std::map<std::string, std::size_t> byText;
    for (std::size_t k = 0; k < changedRows; ++k) byText[valuesFor(p, k, 0).text] = k;
    std::size_t seen = 0;
    for (const auto& r : b.rows) {
        const auto& cell = r[static_cast<std::size_t>(text)];
        if (cell.kind != jettest::Json::String || !byText.count(cell.str)) continue;
        ++seen;
        const NewValues v = valuesFor(p, byText[cell.str], 0);
        if (memo >= 0) {
            EXPECT_EQ(r[static_cast<std::size_t>(memo)].str, v.memo);
        }
        if (number >= 0) {
            EXPECT_EQ(r[static_cast<std::size_t>(number)].numText, std::to_string(v.number));
        }
    }
    EXPECT_EQ(seen, changedRows);
}

std::size_t mdbExportRows(const std::filesystem::path& file, const std::string& table) {
    int status = 0;
    const std::string out =
        jettest::runCommand("mdb-export -H -Q -d '\\t' -R '\\x1e' " + jettest::shellQuote(file.string()) +
                                " " + jettest::shellQuote(table) + " 2>/dev/null | tr -cd '\\036' | wc -c",
                            status);
    return static_cast<std::size_t>(std::stoul(out.empty() ? "0" : out));
}

struct Outcome {
    std::size_t tables = 0, rowsUpdated = 0, skipped = 0;
};

void updateHalfOfEach(const std::vector<std::filesystem::path>& fixtures, Outcome& outcome) {
    const bool peers = jettest::haveProgram("node") && jettest::haveProgram("mdb-export");
    TempDir tmp;
    std::vector<std::filesystem::path> sources, results;
    for (const auto& fixture : fixtures) {
        SCOPED_TRACE(fixture.string());
        const auto file = tmp.path() / (std::to_string(results.size()) + "-" + fixture.filename().string());
        std::filesystem::copy_file(fixture, file);
        std::vector<std::string> tables;
        std::set<std::string> indexProblemsBefore;
        std::map<std::string, Plan> plans;
        {
            jet::Database db = jet::Database::open(file);
            auto report = jet::checkIndexes(db);
            indexProblemsBefore.insert(report.problems.begin(), report.problems.end());
            for (const auto& name : jettest::userTables(db)) {
                const Plan p = planFor(db, db.openTable(name));
                if (p.columns().empty() || db.openTable(name).rowCount() == 0) {
                    ++outcome.skipped;
                    continue;
                }
                plans[name] = p;
                tables.push_back(name);
            }
        }
        auto indexesAgree = [&](const char* when) {
            jet::Database db = jet::Database::open(file);
            auto report = jet::checkIndexes(db);
            std::set<std::string> problems(report.problems.begin(), report.problems.end());
            EXPECT_EQ(jettest::newProblems(indexProblemsBefore, problems), std::set<std::string>{}) << when;
        };
        const auto peerBefore = peers ? jettest::mdbReaderTables(file) : std::map<std::string, std::string>{};
        std::map<std::string, std::size_t> exportBefore, changed;
        std::map<std::string, std::vector<Row>> expected;
        for (const auto& table : tables) {
            SCOPED_TRACE(table);
            if (peers) exportBefore[table] = mdbExportRows(file, table);
            std::size_t n = 0;
            expected[table] = updateRound(file, table, plans[table], 0, false, n);
            changed[table] = n;
            outcome.rowsUpdated += n;
            ++outcome.tables;
        }
        {
            jet::Database db = jet::Database::open(file);
            for (const auto& table : tables) {
                SCOPED_TRACE(table);
                EXPECT_TRUE(sameRows(rowsOf(db, table), expected[table]));
                EXPECT_EQ(db.openTable(table).rowCount(), expected[table].size());
            }
        }
        indexesAgree("after the first update");
        if (peers) {
            const auto after = jettest::mdbReaderTables(file);
            jet::Database db = jet::Database::open(file);
            for (const auto& table : tables) {
                SCOPED_TRACE(table);
                if (!peerBefore.count(table) || peerBefore.at(table).find("\"error\"") != std::string::npos)
                    continue;
                ASSERT_TRUE(after.count(table));
                checkPeer(peerBefore.at(table), after.at(table), db.openTable(table), plans[table],
                          changed[table]);
                EXPECT_EQ(mdbExportRows(file, table), exportBefore[table]);
            }
        }
        // The result takes further writes: every row again (overflow rows rewritten at their
        // targets or moved on), then a DELETE of half of them.
        for (const auto& table : tables) {
            SCOPED_TRACE(table);
            std::size_t n = 0;
            std::vector<Row> rows = updateRound(file, table, plans[table], 1, true, n);
            jet::Database db = jet::Database::open(file, forWriting());
            EXPECT_TRUE(sameRows(rowsOf(db, table), rows));
            std::size_t gone = 0;
            try {
                gone = jet::deleteRows(db, table, [&] {
                    std::vector<jet::RowId> ids;
                    jet::Cursor c = db.openTable(table).cursor();
                    for (std::size_t i = 0; c.next(); ++i)
                        if (i % 2 == 1) ids.push_back(c.rowId());
                    return ids;
                });
            } catch (const jet::Error& e) {
                ASSERT_EQ(e.number(), 3200) << e.description();  // rows other tables refer to
                continue;
            }
            std::vector<Row> kept;
            for (std::size_t i = 0; i < rows.size(); i += 2) kept.push_back(rows[i]);
            EXPECT_EQ(gone, rows.size() - kept.size());
            jet::Database again = jet::Database::open(file);
            EXPECT_TRUE(sameRows(rowsOf(again, table), kept));
            EXPECT_EQ(again.openTable(table).rowCount(), kept.size());
        }
        indexesAgree("after the second update and the delete");
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

TEST(Update, HalfTheRowsOfEveryTableOfTheJet3Corpus) {
    Outcome o;
    updateHalfOfEach(fixturesUnder("/V1997/"), o);
    std::printf("%zu tables, %zu rows updated, %zu tables without rows or columns to change\n", o.tables,
                o.rowsUpdated, o.skipped);
    EXPECT_GE(o.tables, 20u);
}

TEST(Update, HalfTheRowsOfEveryTableOfTheJet4Corpus) {
    Outcome o;
    updateHalfOfEach(fixturesUnder("/V2000/"), o);
    std::printf("%zu tables, %zu rows updated, %zu tables without rows or columns to change\n", o.tables,
                o.rowsUpdated, o.skipped);
    EXPECT_GE(o.tables, 15u);
}

TEST(Update, HalfTheRowsOfEveryTableOfTheSuite) {
    Outcome o;
    updateHalfOfEach(fixturesUnder("/suite/"), o);
    std::printf("%zu tables, %zu rows updated, %zu tables without rows or columns to change\n", o.tables,
                o.rowsUpdated, o.skipped);
    EXPECT_GE(o.rowsUpdated, 500u);
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

std::string query(const std::filesystem::path& file, const std::string& column, const std::string& where) {
    jet::Database db = jet::Database::open(file);
    jet::Table t = db.openTable("Property");
    const int c = t.findColumn(column), id = t.findColumn("PropertyID");
    std::string out;
    jet::Cursor cur = t.cursor();
    while (cur.next()) {
        if (std::string(cur.text(static_cast<std::size_t>(id))) != where) continue;
        out = cur.isNull(static_cast<std::size_t>(c)) ? "<null>"
                                                      : std::string(cur.text(static_cast<std::size_t>(c)));
    }
    return out;
}

TEST(Update, TheStatementsForms) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELDATA/Office.mdb");
    EXPECT_EQ(run(file, "UPDATE Property SET City = 'Lakeside' WHERE City LIKE '%spring%'"), 26);
    EXPECT_EQ(run(file,
                  "update [property] set [Property].[Zip] = '12345', YearBuilt = 1999, SalePrice = 250000.5, "
                  "Created = #11/20/2006 1:45:00 PM#, Notes = Null where PropertyID = 7;"),
              1);
    EXPECT_EQ(query(file, "Zip", "7"), "12345");
    EXPECT_EQ(query(file, "YearBuilt", "7"), "1999");
    EXPECT_EQ(query(file, "SalePrice", "7"), "250000.5000");
    EXPECT_EQ(query(file, "Notes", "7"), "<null>");
    EXPECT_EQ(query(file, "Created", "7"), "2006-11-20 13:45:00");
    EXPECT_EQ(run(file, "UPDATE Property SET Notes = 'short' WHERE PropertyID = 7"), 1);
    EXPECT_EQ(query(file, "Notes", "7"), "short");
    EXPECT_EQ(run(file, "UPDATE Invoice SET Paid = True"), 600);
    // No rows chosen: nothing written.
    const auto bytes = jettest::fileBytes(file);
    EXPECT_EQ(run(file, "UPDATE Property SET City = 'x' WHERE PropertyID < 0"), 0);
    EXPECT_EQ(jettest::fileBytes(file), bytes);
    jet::Database db = jet::Database::open(file);
    EXPECT_EQ(jet::checkIndexes(db).problems, std::vector<std::string>{});
}

TEST(Update, RefusalsChangeNothing) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELDATA/Office.mdb");
    const auto bytes = jettest::fileBytes(file);
    using Failure = std::pair<int, std::string>;
    EXPECT_EQ(failure(file, "UPDATE Nope SET a = 1"),
              (Failure{3078,
                       "The Microsoft Jet database engine cannot find the input table or query "
                       "'Nope'.  Make sure it exists and that its name is spelled correctly."}));
    EXPECT_EQ(failure(file, "UPDATE Property SET NoSuchColumn = 1"),
              (Failure{3061, "Too few parameters. Expected 1."}));
    EXPECT_EQ(failure(file, "UPDATE Property SET City = 'x' WHERE NoSuchColumn = 1"),
              (Failure{3061, "Too few parameters. Expected 1."}));
    EXPECT_EQ(failure(file, "UPDATE Property SET PropertyID = 5"),
              (Failure{3164, "Field cannot be updated."}));
    EXPECT_EQ(failure(file, "UPDATE MSysObjects SET Name = 'x'").first, 3033);
    EXPECT_EQ(failure(file, "UPDATE Property SET City = 'x', Zip = '" + std::string(11, '1') + "'").first,
              3163);
    EXPECT_EQ(failure(file, "UPDATE Property SET YearBuilt = 'abc'").first, 3464);
    EXPECT_EQ(failure(file, "UPDATE Property SET YearBuilt = 99999").first, 3163);
    EXPECT_EQ(failure(file, "UPDATE Property SET City = 'x' City = 'y'"),
              (Failure{3144, "Syntax error in UPDATE statement."}));
    EXPECT_EQ(failure(file, "UPDATE Property City = 'x'").first, 3144);
    EXPECT_EQ(failure(file, "UPDATE Property SET City = 'x").first, 3144);
    EXPECT_NE(failure(file, "UPDATE Property SET City = 'x' WHERE City = 'y").first, 0);
    EXPECT_EQ(failure(file, "UPDATE Property SET City = 'a', City = 'b'").first, 3191);
    // Later rows failing undo the earlier ones: all rows or none.
    EXPECT_EQ(failure(file, "UPDATE FormTypes SET Form = 'same'").first, 3022);
    EXPECT_EQ(jettest::fileBytes(file), bytes);
}

TEST(Update, RequiredColumnsAndRelationships) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELDATA/Office.mdb");
    run(file, "CREATE TABLE Needs (Id LONG, Name TEXT(20) NOT NULL, CONSTRAINT pk PRIMARY KEY (Id))");
    run(file, "INSERT INTO Needs VALUES (1, 'one')");
    run(file, "INSERT INTO Needs VALUES (2, 'two')");
    const auto bytes = jettest::fileBytes(file);
    EXPECT_EQ(failure(file, "UPDATE Needs SET Name = Null WHERE Id = 2").first, 3314);
    EXPECT_EQ(failure(file, "UPDATE Needs SET Id = 1 WHERE Id = 2").first, 3022);
    EXPECT_EQ(failure(file, "UPDATE Needs SET Id = Null").first, 3058);
    EXPECT_EQ(jettest::fileBytes(file), bytes);
    // Two rows trading their keys is no violation once both have changed.
    EXPECT_EQ(run(file, "UPDATE Needs SET Id = 3 WHERE Id = 1"), 1);
    EXPECT_EQ(run(file, "UPDATE Needs SET Id = 1 WHERE Id = 2"), 1);
    jet::Database db = jet::Database::open(file);
    EXPECT_EQ(jet::checkIndexes(db).problems, std::vector<std::string>{});
}

}  // namespace
