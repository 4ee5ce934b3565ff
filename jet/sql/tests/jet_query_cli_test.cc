// `qxtest-cli jet query FILE STATEMENT`: the result in the lines of `jet export`, or an error line.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/sql/errors.h"
#include "jet/sql/query.h"

namespace {

namespace fs = std::filesystem;

struct CliRun {
    int status = -1;
    std::vector<std::string> lines;
};

std::string quoted(const std::string& s) {
    std::string out = "'";
    for (const char c : s) {
        if (c == '\'')
            out += "'\\''";
        else
            out.push_back(c);
    }
    return out + "'";
}

CliRun cli(const std::vector<std::string>& args) {
    std::string command = QXTEST_CLI;
    for (const auto& a : args) command += " " + quoted(a);
    command += " 2>/dev/null";
    CliRun run;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return run;
    std::string output;
    char buf[4096];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, pipe)) > 0) output.append(buf, n);
    const int raw = ::pclose(pipe);
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    std::istringstream in(output);
    std::string line;
    while (std::getline(in, line)) run.lines.push_back(line);
    return run;
}

class JetQueryCliTest : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() / ("qx_jet_query_cli_" + std::to_string(::getpid()));
        fs::create_directories(dir_);
        file_ = (dir_ / "Office.mdb").string();
        fs::copy_file(fs::path(QX_SHARED_DIR) / "fixtures/suite/drive_c/KELDATA/Office.mdb", file_,
                      fs::copy_options::overwrite_existing);
    }
    void TearDown() override { fs::remove_all(dir_); }
    fs::path dir_;
    std::string file_;
};

TEST_F(JetQueryCliTest, RowsAreTheExportLinesThatSatisfyTheCondition) {
    const std::string sql = "SELECT * FROM Client WHERE UCASE(CITY) LIKE '%YORK%'";
    const CliRun query = cli({"jet", "query", file_, sql});
    const CliRun all = cli({"jet", "export", file_, "Client"});
    ASSERT_EQ(query.status, 0);
    ASSERT_EQ(all.status, 0);
    ASSERT_FALSE(query.lines.empty());
    EXPECT_EQ(query.lines[0], all.lines.at(0));  // the same columns line
    const jet::Database db = jet::Database::open(file_);
    EXPECT_EQ(query.lines.size() - 1, jet::sql::RowSet::open(db, sql).recordCount());
    EXPECT_GT(query.lines.size(), 1u);
    const std::set<std::string> exported(all.lines.begin() + 1, all.lines.end());
    for (std::size_t i = 1; i < query.lines.size(); ++i) {
        EXPECT_TRUE(exported.count(query.lines[i])) << query.lines[i];
        EXPECT_NE(query.lines[i].find("York"), std::string::npos) << query.lines[i];
    }
}

// The command line streams plain rows straight from the scan; they must be the rows, in the order,
// that a RowSet holds for the same statement.
TEST_F(JetQueryCliTest, StreamedRowsAreTheRowSetsRows) {
    const jet::Database db = jet::Database::open(file_);
    for (const std::string sql :
         {"SELECT PropertyID FROM Property", "SELECT PropertyID FROM Property WHERE City LIKE '%a%'",
          "SELECT TOP 3 PropertyID FROM Property WHERE City LIKE '%a%'",
          "SELECT TOP 7 PERCENT PropertyID FROM Property WHERE City LIKE '%a%'",
          "SELECT TOP 1 PERCENT PropertyID FROM Property",
          "SELECT PropertyID FROM Property WHERE City LIKE '%a%' ORDER BY Zip DESC",
          "SELECT DISTINCT PropertyID FROM Property WHERE PropertyID < 20"}) {
        const CliRun run = cli({"jet", "query", file_, sql});
        ASSERT_EQ(run.status, 0) << sql;
        jet::sql::RowSet rs = jet::sql::RowSet::open(db, sql);
        ASSERT_EQ(run.lines.size(), rs.recordCount() + 1) << sql;
        for (std::size_t i = 0; i < rs.recordCount(); ++i)
            ASSERT_EQ(run.lines[i + 1], "[" + std::to_string(rs.row(i)[0].get<std::int32_t>()) + "]")
                << sql << " row " << i;
    }
}

TEST_F(JetQueryCliTest, FailuresPrintTheErrorLineAndExitOne) {
    const CliRun quote = cli({"jet", "query", file_, "SELECT * FROM Client WHERE UCASE(CITY) LIKE '%O'B%'"});
    EXPECT_EQ(quote.status, 1);
    ASSERT_EQ(quote.lines.size(), 1u);
    EXPECT_EQ(
        quote.lines[0],
        "{\"error\":{\"number\":-2147217900,\"description\":\"Syntax error in string in query expression "
        "'UCASE(CITY) LIKE '%O'B%''.\"}}");
    const CliRun table = cli({"jet", "query", file_, "SELECT * FROM Clients"});
    EXPECT_EQ(table.status, 1);
    ASSERT_EQ(table.lines.size(), 1u);
    EXPECT_NE(table.lines[0].find("\"number\":-2147217865"), std::string::npos);
    const CliRun column = cli({"jet", "query", file_, "SELECT * FROM Client WHERE Town LIKE 'a'"});
    EXPECT_EQ(column.status, 1);
    EXPECT_EQ(column.lines.at(0),
              "{\"error\":{\"number\":-2147217904,\"description\":\"No value given for one or more required "
              "parameters.\"}}");
}

TEST_F(JetQueryCliTest, WrongUsageExitsTwo) {
    EXPECT_EQ(cli({"jet", "query", file_}).status, 2);
    EXPECT_EQ(cli({"jet"}).status, 2);
    EXPECT_EQ(cli({"jet", "bogus"}).status, 2);
    EXPECT_EQ(cli({"jet", "tables"}).status, 2);
    EXPECT_EQ(cli({"jet", "tables", file_, "extra"}).status, 2);
    EXPECT_EQ(cli({"jet", "export", file_}).status, 2);
    EXPECT_EQ(cli({"jet", "export", file_, "Client", "--format", "xml"}).status, 2);
    EXPECT_EQ(cli({"jet", "export", file_, "Client", "--format"}).status, 2);
    EXPECT_EQ(cli({"jet", "query", file_, "SELECT * FROM Client", "--format=tsv"}).status, 2);
    EXPECT_EQ(cli({"jet", "query"}).status, 2);
    // Nothing reaches the standard output on a usage error.
    EXPECT_TRUE(cli({"jet", "export", file_}).lines.empty());
}

TEST_F(JetQueryCliTest, EveryEngineFailureExitsOneWithItsErrorLine) {
    const std::string missing = (dir_ / "nothing.mdb").string();
    const std::string text = (dir_ / "text.mdb").string();
    {
        FILE* f = std::fopen(text.c_str(), "w");
        ASSERT_TRUE(f);
        std::fputs("this is no database\n", f);
        std::fclose(f);
    }
    const std::vector<std::vector<std::string>> failing{
        {"jet", "tables", missing},
        {"jet", "tables", text},
        {"jet", "export", missing, "Client"},
        {"jet", "export", text, "Client"},
        {"jet", "export", file_, "NoSuchTable"},
        {"jet", "export", file_, "NoSuchTable", "--format", "csv"},
        {"jet", "query", missing, "SELECT * FROM Client"},
        {"jet", "query", text, "SELECT * FROM Client"},
        {"jet", "query", file_, "SELEKT * FROM Client"},
        {"jet", "query", file_, "SELECT City, COUNT(*) FROM Client"},
        {"jet", "query", file_, "SELECT * FROM Client ORDER BY"},
        {"jet", "query", file_, "SELECT * FROM Client", "--format", "csv"},  // succeeds: checked below
    };
    for (std::size_t i = 0; i + 1 < failing.size(); ++i) {
        const CliRun run = cli(failing[i]);
        EXPECT_EQ(run.status, 1) << failing[i][1] << " " << failing[i][2];
        ASSERT_EQ(run.lines.size(), 1u) << failing[i][1] << " " << failing[i][2];
        EXPECT_EQ(run.lines[0].rfind("{\"error\":{\"number\":", 0), 0u) << run.lines[0];
    }
    EXPECT_EQ(cli(failing.back()).status, 0);
}

TEST_F(JetQueryCliTest, HelpOnEverySubcommandPrintsItsUsageAndExitsZero) {
    for (const std::vector<std::string>& args : {std::vector<std::string>{"jet", "--help"},
                                                 {"jet", "tables", "--help"},
                                                 {"jet", "export", "--help"},
                                                 {"jet", "export", file_, "Client", "--help"},
                                                 {"jet", "query", "--help"},
                                                 {"jet", "query", "-h"}}) {
        const CliRun run = cli(args);
        EXPECT_EQ(run.status, 0) << args[1];
        ASSERT_FALSE(run.lines.empty()) << args[1];
        EXPECT_EQ(run.lines[0].rfind("usage: jet", 0), 0u) << run.lines[0];
    }
}

// CSV read back by Python's csv module equals the JSON Lines output value for value, for every
// table of the suite's databases and of corpus databases with many column types, and for
// computed results.
TEST_F(JetQueryCliTest, CsvReadBackByPythonEqualsTheJsonLines) {
    if (std::system("command -v python3 >/dev/null 2>&1") != 0) GTEST_SKIP() << "python3 is not installed";
    const fs::path fixtures = fs::path(QX_SHARED_DIR) / "fixtures";
    std::vector<std::pair<std::string, std::vector<std::string>>> runs;  // file, command words after it
    for (const auto& f :
         {fixtures / "suite/drive_c/KELDATA/Office.mdb", fixtures / "suite/drive_c/KELUSER/Report.mdb",
          fixtures / "access-corpus/V2000/testV2000.mdb", fixtures / "access-corpus/V1997/testV1997.mdb",
          fixtures / "access-corpus/V2000/fixedNumericTestV2000.mdb"}) {
        const CliRun tables = cli({"jet", "tables", f.string()});
        ASSERT_EQ(tables.status, 0) << f;
        for (const auto& line : tables.lines) {
            const auto from = line.find("\"name\":\"") + 8;
            const std::string name = line.substr(from, line.find('"', from) - from);
            if (name.find('\\') != std::string::npos) continue;  // an escaped name: not worth unescaping here
            if (name.rfind("MSys", 0) == 0 && name != "MSysObjects") continue;  // one catalog table is enough
            runs.push_back({f.string(), {"export", "TABLE", name}});
        }
    }
    runs.push_back(
        {file_,
         {"query", "SQL",
          "SELECT City, COUNT(*) AS n, SUM(SalePrice), MIN(Created) FROM Property GROUP BY City"}});
    runs.push_back({file_, {"query", "SQL", "SELECT TOP 20 * FROM Property ORDER BY SalePrice DESC"}});
    // Fields that must be quoted: commas, quotes, line breaks, blanks at either end; empty and Null.
    runs.push_back({file_,
                    {"query", "SQL",
                     "SELECT TOP 2 'a,\"b\"' AS x, ' lead', 'line1\nline2\r\nline3', '' AS empty, NULL AS "
                     "nothing, City FROM Property"}});
    const std::string script = std::string(QX_SOURCE_DIR) + "/jet/sql/tests/csv_readback.py";
    std::string pairs;
    std::size_t compared = 0;
    for (const auto& [file, words] : runs) {
        const std::string& what = words[2];
        const std::vector<std::string> base{"jet", words[0], file, what};
        const std::string stem = (dir_ / ("out" + std::to_string(compared))).string();
        std::string command = std::string(QXTEST_CLI);
        for (const auto& a : base) command += " " + quoted(a);
        const int a = std::system((command + " --format csv > " + quoted(stem + ".csv")).c_str());
        const int b = std::system((command + " > " + quoted(stem + ".jsonl")).c_str());
        if (WEXITSTATUS(a) != 0 || WEXITSTATUS(b) != 0)
            continue;  // tables the engine refuses: covered elsewhere
        pairs += " " + quoted(stem + ".csv") + " " + quoted(stem + ".jsonl");
        ++compared;
    }
    FILE* pipe = ::popen(("python3 " + quoted(script) + pairs).c_str(), "r");
    ASSERT_TRUE(pipe);
    std::string report;
    char buf[4096];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, pipe)) > 0) report.append(buf, n);
    const int status = ::pclose(pipe);
    EXPECT_EQ(WEXITSTATUS(status), 0) << report;
    EXPECT_GT(compared, 20u);
}

}  // namespace
