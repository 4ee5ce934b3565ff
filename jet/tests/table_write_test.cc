// CREATE TABLE, CREATE INDEX, DROP INDEX and INSERT through jet::sql::execute on new databases of
// both formats: what the engine reads back, what the independent readers and the checker make of
// the files, every refusal leaving the file byte for byte as it was, and crashes at every write
// and sync of a CREATE TABLE and an INSERT.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "jet/compact.h"
#include "jet/database.h"
#include "jet/error.h"
#include "jet/fault_file.h"
#include "jet/index_check.h"
#include "jet/sql/ddl.h"
#include "jet/sql/execute.h"
#include "jet/table.h"
#include "write_support.h"

namespace {

using jettest::TempDir;

jet::OpenOptions writable(jet::FileSystem* fs = nullptr) {
    jet::OpenOptions o;
    o.readOnly = false;
    o.fileSystem = fs;
    return o;
}

std::int64_t exec(const std::filesystem::path& file, const std::string& sql) {
    jet::Database db = jet::Database::open(file, writable());
    return jet::sql::execute(db, sql);
}

int failureOf(const std::filesystem::path& file, const std::string& sql) {
    try {
        exec(file, sql);
    } catch (const jet::Error& e) {
        return e.number();
    }
    return 0;
}

const char* kCreateAll =
    "CREATE TABLE [All Types] (Id COUNTER CONSTRAINT pk PRIMARY KEY, Flag BIT, Small BYTE, Short SHORT, "
    "Whole LONG NOT NULL, Amount CURRENCY, Ratio SINGLE, Measure DOUBLE, Stamp DATETIME, Code TEXT(10) "
    "UNIQUE, "
    "Name VARCHAR(200), Notes MEMO, Blob LONGBINARY, Raw BINARY(16), Tag GUID)";

std::string repeated(const std::string& s, std::size_t n) {
    std::string out;
    for (std::size_t i = 0; i < n; ++i) out += s;
    return out;
}

void fill(const std::filesystem::path& file) {
    EXPECT_EQ(exec(file,
                   "INSERT INTO [All Types] (Flag, Small, Short, Whole, Amount, Ratio, Measure, Stamp, Code, "
                   "Name, Notes, Raw, Tag) VALUES (True, 255, -32768, 2147483647, 922337203685477.5807, "
                   "3.5, -1.5E+300, #12/31/9999 23:59:59#, 'A1', 'O''Brien', 'short memo', 'abc', "
                   "'{6F9619FF-8B86-D011-B42D-00C04FC964FF}')"),
              1);
    EXPECT_EQ(exec(file,
                   "INSERT INTO [All Types] (Whole, Amount, Stamp, Code, Name, Notes) VALUES (-2147483648, "
                   "-922337203685477.5808, #1/1/100#, 'B2', 'Zoë Ça', '" +
                       repeated("one page of memo ", 100) + "')"),
              1);
    EXPECT_EQ(exec(file, "INSERT INTO [All Types] (Whole, Code, Notes) VALUES (0, 'C3', '" +
                             repeated("many pages of memo text ", 1200) + "')"),
              1);
    EXPECT_EQ(exec(file, "INSERT INTO [All Types] (Whole, Code) VALUES (7, Null)"), 1);
    EXPECT_EQ(exec(file, "INSERT INTO [All Types] (Whole, Code) VALUES (8, Null)"), 1);
    for (int i = 0; i < 40; ++i)
        exec(file, "INSERT INTO [All Types] (Whole, Code, Name) VALUES (" + std::to_string(100 + i) + ", 'K" +
                       std::to_string(i) + "', 'row " + std::to_string(i) + "')");
}

void checkFile(const std::filesystem::path& file) {
    {
        jet::Database db = jet::Database::open(file);
        auto report = jet::checkIndexes(db);
        EXPECT_TRUE(report.problems.empty()) << (report.problems.empty() ? "" : report.problems[0]);
        EXPECT_GT(report.keysCompared, 0u);
    }
    if (jettest::haveJetVerify()) {
        auto problems = jettest::verifyProblems(file);
        EXPECT_TRUE(problems.empty()) << (problems.empty() ? "" : *problems.begin());
    }
    if (jettest::haveProgram("mdb-export")) {
        int status = 0;
        std::string out = jettest::runCommand(
            "mdb-export " + jettest::shellQuote(file.string()) + " 'All Types' 2>&1", status);
        EXPECT_EQ(status, 0) << out;
        EXPECT_NE(out.find("O'Brien"), std::string::npos) << out.substr(0, 400);
        EXPECT_NE(out.find("row 39"), std::string::npos);
        EXPECT_NE(out.find(repeated("many pages of memo text ", 1200)), std::string::npos);
    }
    if (jettest::haveProgram("node")) {
        auto tables = jettest::mdbReaderTables(file);
        ASSERT_EQ(tables.count("<mdb-reader failed>"), 0u) << tables["<mdb-reader failed>"];
        ASSERT_EQ(tables.count("All Types"), 1u);
        EXPECT_NE(tables["All Types"].find("Zo\xC3\xAB \xC3\x87"
                                           "a"),
                  std::string::npos);
        EXPECT_NE(tables["All Types"].find(repeated("many pages of memo text ", 1200)), std::string::npos);
    }
}

class Exec : public ::testing::TestWithParam<jet::FormatVersion> {};

TEST_P(Exec, CreateInsertAndReadBack) {
    TempDir tmp;
    const auto file = tmp.path() / "new.mdb";
    jet::createDatabase(file, GetParam());
    EXPECT_EQ(exec(file, kCreateAll), 0);
    fill(file);
    EXPECT_EQ(exec(file, "CREATE INDEX ByName ON [All Types] (Name DESC, Whole)"), 0);
    EXPECT_EQ(exec(file, "CREATE UNIQUE INDEX ByWhole ON [All Types] (Whole) WITH DISALLOW NULL"), 0);
    EXPECT_EQ(
        exec(file, "INSERT INTO [All Types] (Whole, Code, Name) VALUES (999, 'Z9', 'after the indexes')"), 1);
    {
        jet::Database db = jet::Database::open(file);
        jet::Table t = db.openTable("All Types");
        EXPECT_EQ(t.rowCount(), 46u);
        EXPECT_EQ(t.countRows(), 46u);
        EXPECT_EQ(t.indexes().size(), 4u);
        std::string dump = jettest::dumpTable(db, "All Types");
        EXPECT_NE(dump.find("\t255\t-32768\t2147483647\t922337203685477.5807\t"), std::string::npos) << dump;
        EXPECT_NE(dump.find(repeated("one page of memo ", 100)), std::string::npos);
        // Autonumbers count on from the last one handed out.
        EXPECT_NE(dump.find("\n46\t"), std::string::npos);
    }
    checkFile(file);
    EXPECT_EQ(exec(file, "DROP INDEX ByName ON [All Types]"), 0);
    {
        jet::Database db = jet::Database::open(file);
        EXPECT_EQ(db.openTable("All Types").indexes().size(), 3u);
        EXPECT_TRUE(jet::checkIndexes(db).problems.empty());
    }
    if (jettest::haveJetVerify()) {
        EXPECT_TRUE(jettest::verifyProblems(file).empty());
    }
}

TEST_P(Exec, RefusalsLeaveTheFileAsItWas) {
    TempDir tmp;
    const auto file = tmp.path() / "refuse.mdb";
    jet::createDatabase(file, GetParam());
    exec(file, kCreateAll);
    exec(file, "INSERT INTO [All Types] (Whole, Code) VALUES (1, 'A')");
    const auto before = jettest::fileBytes(file);
    struct Case {
        std::string sql;
        int number;
    };
    const std::vector<Case> cases = {
        {"CREATE TABLE [all types] (x LONG)", 3010},
        {"CREATE TABLE t (x FOO)", 3292},
        {"CREATE TABLE t (x TEXT(300))", 3292},
        {"CREATE TABLE t (x LONG, X TEXT)", 3191},
        {"CREATE TABLE t (x LONG, CONSTRAINT p PRIMARY KEY (y))", 3265},
        {"INSERT INTO Missing (a) VALUES (1)", 3078},
        {"INSERT INTO [All Types] (Code) VALUES ('B')", 3314},
        {"INSERT INTO [All Types] (Whole, Code) VALUES (2, 'A')", 3022},
        {"INSERT INTO [All Types] (Id, Whole) VALUES (1, 3)", 3022},
        {"INSERT INTO [All Types] (Whole, Code) VALUES (2, 'ABCDEFGHIJK')", 3163},
        {"INSERT INTO [All Types] (Whole, Small) VALUES (2, 256)", 3163},
        {"INSERT INTO [All Types] (Whole, Measure) VALUES (2, 'abc')", 3464},
        {"INSERT INTO [All Types] (Whole, Nope) VALUES (2, 1)", 3127},
        {"INSERT INTO [All Types] (Whole, Code) VALUES (2)", 3346},
        {"CREATE INDEX pk ON [All Types] (Whole)", 3375},
        {"CREATE INDEX p2 ON [All Types] (Whole) WITH PRIMARY", 3283},
        {"CREATE INDEX p3 ON [All Types] (Nope)", 3265},
        {"CREATE UNIQUE INDEX u ON [All Types] (Flag)", 0},
        {"DROP INDEX nope ON [All Types]", 3265},
        {"DROP INDEX pk ON Missing", 3376},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sql);
        if (c.number == 0) continue;
        EXPECT_EQ(failureOf(file, c.sql), c.number);
        EXPECT_TRUE(jettest::fileBytes(file) == before);
    }
    // Two rows with the same Flag: a unique index over them is refused, and nothing changes.
    exec(file, "INSERT INTO [All Types] (Whole, Code, Flag) VALUES (2, 'B', False)");
    const auto two = jettest::fileBytes(file);
    EXPECT_EQ(failureOf(file, "CREATE UNIQUE INDEX u ON [All Types] (Flag)"), 3022);
    EXPECT_TRUE(jettest::fileBytes(file) == two);
}

// WITH COMPRESSION: Jet 4 stores such a column's text as FF FE and one byte a character when
// every character is in U+0001..U+00FF and there are more than two (at most 1,024); anything else,
// and every value of a column without the flag, stays UCS-2. Jet 3 has no such form. The values
// read back the same through our reader and both independent ones, and the statements of the
// table name the flag again.
TEST_P(Exec, CompressedTextWhereTheColumnAsksForIt) {
    TempDir tmp;
    const auto file = tmp.path() / "words.mdb";
    const bool jet4 = GetParam() == jet::FormatVersion::Jet4;
    jet::createDatabase(file, GetParam());
    EXPECT_EQ(exec(file,
                   "CREATE TABLE Words (ID LONG, Plain TEXT(60), Packed TEXT(60) WITH COMPRESSION NOT NULL, "
                   "Notes MEMO WITH COMP)"),
              0);
    struct Case {
        std::string text;
        bool compressible;
    };
    std::vector<Case> cases = {
        {"abc", true},
        {"ab", false},
        {"Caf\xC3\xA9 cr\xC3\xA8me \xC3\xBF", true},      // up to U+00FF
        {"\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", false},  // beyond it
        {"a\xE2\x82\xAC"
         "b",
         false},  // the euro sign is U+20AC
        {"O''Brien", true},
        {"x", false},
    };
    // Windows-1252 has no such characters: Jet 3 refuses them.
    if (!jet4) cases.erase(cases.begin() + 3);
    for (std::size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(exec(file, "INSERT INTO Words VALUES (" + std::to_string(i) + ", '" + cases[i].text +
                                 "', '" + cases[i].text + "', '" + cases[i].text + "')"),
                  1);
    const std::string longest(1024, 'm'), tooLong(1025, 'n');
    EXPECT_EQ(exec(file, "INSERT INTO Words VALUES (100, 'a', 'long', '" + longest + "')"), 1);
    EXPECT_EQ(exec(file, "INSERT INTO Words VALUES (101, 'a', 'long', '" + tooLong + "')"), 1);
    auto unquoted = [](std::string s) {
        for (std::size_t at; (at = s.find("''")) != std::string::npos;) s.erase(at, 1);
        return s;
    };
    {
        jet::Database db = jet::Database::open(file);
        jet::Table t = db.openTable("Words");
        jet::Cursor c = t.cursor();
        std::size_t seen = 0;
        while (c.next()) {
            const auto id = static_cast<std::size_t>(c.value(0).get<std::int32_t>());
            if (id >= 100) {
                EXPECT_EQ(c.value(3).get<std::string>(), id == 100 ? longest : tooLong);
                ++seen;
                continue;
            }
            const Case& k = cases.at(id);
            const std::string want = unquoted(k.text);
            for (std::size_t col = 1; col <= 3; ++col) EXPECT_EQ(c.value(col).get<std::string>(), want) << id;
            auto compressed = [](std::string_view stored) {
                return stored.size() >= 2 && static_cast<unsigned char>(stored[0]) == 0xFF &&
                       static_cast<unsigned char>(stored[1]) == 0xFE;
            };
            EXPECT_FALSE(compressed(c.raw(1))) << id;
            EXPECT_EQ(compressed(c.raw(2)), jet4 && k.compressible) << id;
            if (jet4 && k.compressible) {
                std::size_t characters = 0;
                for (unsigned char b : want) characters += (b & 0xC0) != 0x80;
                EXPECT_EQ(c.raw(2).size(), 2 + characters) << id;  // the mark, then a byte each
            }
            // A short memo lives inside the row, after its 12-byte field.
            EXPECT_EQ(compressed(c.raw(3).substr(12)), jet4 && k.compressible) << id;
            ++seen;
        }
        EXPECT_EQ(seen, cases.size() + 2);
    }
    {
        jet::Database db = jet::Database::open(file);
        const std::string create =
            jet::sql::schemaStatements(jet::sql::definitionOf(db, db.openTable("Words"))).front();
        EXPECT_EQ(create.find("[Plain] TEXT(60) WITH"), std::string::npos) << create;
        if (jet4) {
            EXPECT_NE(create.find("[Packed] TEXT(60) NOT NULL WITH COMPRESSION"), std::string::npos)
                << create;
            EXPECT_NE(create.find("[Notes] MEMO WITH COMPRESSION"), std::string::npos) << create;
        }
    }
    if (jettest::haveJetVerify()) {
        auto problems = jettest::verifyProblems(file);
        EXPECT_TRUE(problems.empty()) << (problems.empty() ? "" : *problems.begin());
    }
    if (jettest::haveProgram("mdb-export")) {
        int status = 0;
        const std::string out = jettest::runCommand(
            "mdb-export -d '|' " + jettest::shellQuote(file.string()) + " Words 2>&1", status);
        EXPECT_EQ(status, 0) << out;
        for (const auto& k : cases) {
            const std::string want = unquoted(k.text);
            EXPECT_NE(out.find("|\"" + want + "\"|\"" + want + "\"|"), std::string::npos) << want << "\n"
                                                                                          << out;
        }
        EXPECT_NE(out.find(longest), std::string::npos);
        EXPECT_NE(out.find(tooLong), std::string::npos);
    }
    if (jettest::haveProgram("node")) {
        auto tables = jettest::mdbReaderTables(file);
        ASSERT_EQ(tables.count("<mdb-reader failed>"), 0u) << tables["<mdb-reader failed>"];
        for (const auto& k : cases)
            EXPECT_NE(tables["Words"].find(unquoted(k.text)), std::string::npos) << k.text;
        EXPECT_NE(tables["Words"].find(longest), std::string::npos);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, Exec, ::testing::Values(jet::FormatVersion::Jet4, jet::FormatVersion::Jet3),
                         [](const auto& p) {
                             return std::string(p.param == jet::FormatVersion::Jet3 ? "Jet3" : "Jet4");
                         });

// Runs `sql` in a child whose file system ends the process before its Nth write or sync.
int stoppedExec(const std::filesystem::path& file, const std::string& sql, std::uint64_t atWrite,
                std::uint64_t atSync) {
    pid_t pid = fork();
    if (pid == 0) {
        jet::FaultPlan plan;
        plan.exitAtWrite = atWrite;
        plan.exitAtSync = atSync;
        jet::FaultyFileSystem fs(jet::hostFileSystem(), plan);
        try {
            jet::Database db = jet::Database::open(file, writable(&fs));
            jet::sql::execute(db, sql);
        } catch (...) {
            _exit(3);
        }
        _exit(0);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// After a stop anywhere the file is the old one, or a whole new one that the engine and the
// checker accept with the statement's effect (a new table's creation time differs run to run,
// so a new file is recognised by its content, not its bytes).
void crashEverywhere(const std::string& sql, const std::function<bool(const std::filesystem::path&)>& isNew) {
    TempDir tmp;
    const auto source = tmp.path() / "source.mdb";
    jet::createDatabase(source, jet::FormatVersion::Jet4);
    exec(source, "CREATE TABLE t (id COUNTER PRIMARY KEY, name TEXT(50), notes MEMO)");
    exec(source, "INSERT INTO t (name) VALUES ('first')");
    const auto before = jettest::fileBytes(source);
    const auto ref = tmp.path() / "ref.mdb";
    std::filesystem::copy_file(source, ref);
    jet::FaultyFileSystem counting(jet::hostFileSystem());
    {
        jet::Database db = jet::Database::open(ref, writable(&counting));
        jet::sql::execute(db, sql);
    }
    ASSERT_TRUE(isNew(ref));
    const auto file = tmp.path() / "crash.mdb";
    std::size_t olds = 0, news = 0;
    for (int kind = 0; kind < 2; ++kind) {
        const std::uint64_t n = kind == 0 ? counting.writes() : counting.syncs();
        for (std::uint64_t i = 1; i <= n; ++i) {
            SCOPED_TRACE(std::string(kind == 0 ? "write " : "sync ") + std::to_string(i));
            std::filesystem::copy_file(source, file, std::filesystem::copy_options::overwrite_existing);
            EXPECT_EQ(stoppedExec(file, sql, kind == 0 ? i : 0, kind == 1 ? i : 0), 86);
            { jet::Database db = jet::Database::open(file); }
            const bool old = jettest::fileBytes(file) == before;
            const bool fresh = !old && isNew(file);
            EXPECT_TRUE(old || fresh);
            olds += old;
            news += fresh;
        }
    }
    EXPECT_GT(olds, 0u);
    EXPECT_GT(news, 0u);
    if (jettest::haveJetVerify()) {
        EXPECT_TRUE(jettest::verifyProblems(ref).empty());
    }
}

TEST(ExecCrash, StoppedAtEveryWriteAndSyncOfCreateTableAndInsert) {
    crashEverywhere("CREATE TABLE u (a LONG, b TEXT(20), CONSTRAINT pk PRIMARY KEY (a))",
                    [](const std::filesystem::path& f) {
                        jet::Database db = jet::Database::open(f);
                        return db.hasTable("u") && db.openTable("u").columns().size() == 2 &&
                               jet::checkIndexes(db).problems.empty();
                    });
    crashEverywhere("INSERT INTO t (name, notes) VALUES ('second', '" + repeated("long memo ", 1000) + "')",
                    [](const std::filesystem::path& f) {
                        jet::Database db = jet::Database::open(f);
                        return db.openTable("t").countRows() == 2 && jet::checkIndexes(db).problems.empty();
                    });
}

}  // namespace
