// `qxtest-cli jet query FILE STATEMENT`: the result in the lines of `jet export`, or an error line.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
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
        if (c == '\'') out += "'\\''";
        else out.push_back(c);
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

TEST_F(JetQueryCliTest, FailuresPrintTheErrorLineAndExitOne) {
    const CliRun quote = cli({"jet", "query", file_, "SELECT * FROM Client WHERE UCASE(CITY) LIKE '%O'B%'"});
    EXPECT_EQ(quote.status, 1);
    ASSERT_EQ(quote.lines.size(), 1u);
    EXPECT_EQ(quote.lines[0],
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
}

}  // namespace
