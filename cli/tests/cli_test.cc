// qxtest-cli as a support technician runs it.
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/testing/test_drive.h"

namespace {

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

std::string quote(const std::string& s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

Result run(const std::vector<std::string>& args, const std::string& env = "") {
    qx::testing::TempDir tmp;
    const auto errFile = tmp.path() / "err.txt";
    std::string cmd = env + " " + quote(QXTEST_CLI);
    for (const auto& a : args) cmd += " " + quote(a);
    cmd += " 2>" + quote(errFile.string());
    Result r;
    FILE* p = ::popen(cmd.c_str(), "r");
    if (p == nullptr) return r;
    char buf[4096];
    std::size_t n = 0;
    while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
    const int w = ::pclose(p);
    r.status = WIFEXITED(w) ? WEXITSTATUS(w) : -1;
    std::ifstream in(errFile);
    std::ostringstream ss;
    ss << in.rdbuf();
    r.err = ss.str();
    return r;
}

TEST(Cli, VersionComesFromTheBuild) {
    const auto r = run({"--version"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, std::string("qxtest-cli ") + QX_VERSION + "\n");
    EXPECT_EQ(std::string(QX_VERSION), "7.0.12");
}

TEST(Cli, HelpListsTheCommands) {
    const auto r = run({"--help"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("--root DIR"), std::string::npos);
    EXPECT_NE(r.out.find("  config"), std::string::npos);
    EXPECT_NE(r.out.find("  ini FILE SECTION KEY [DEFAULT]"), std::string::npos);
}

TEST(Cli, UnknownCommandIsAUsageError) {
    const auto r = run({"--root", "/", "frobnicate"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("unknown command frobnicate"), std::string::npos);
}

TEST(Cli, NoCommandIsAUsageError) {
    EXPECT_EQ(run({}).status, 2);
}

TEST(Cli, ConfigPrintsWhatStartUpDerives) {
    qx::testing::TempDriveC c(QX_SHARED_DIR);
    const auto r = run({"--root", c.root().string(), "config"}, "QXTEST_WINVER=");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out,
              "INI directory: C:\\APPRAISE\\\n"
              "System directory: C:\\WINDOWS\\SYSTEM32\n"
              "Configuration file: C:\\APPRAISE\\KEL.INI\n"
              "Application directory: C:\\KEL\\\n"
              "Data directory: C:\\KELDATA\\\n"
              "User directory: C:\\KELUSER\\\n"
              "Suite name: Corvid Office Plus\n"
              "Operating system: Windows XP Service Pack 3\n");
    EXPECT_EQ(r.err, "");
}

TEST(Cli, ConfigTakesTheRootFromTheEnvironment) {
    qx::testing::TempDriveC c(QX_SHARED_DIR);
    const auto r = run({"config"}, "QXTEST_ROOT=" + quote(c.root().string()) +
                                       " QXTEST_WINVER=6.1.7601.2:Service\\ Pack\\ 1");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("Operating system: Windows Vista Service Pack 1\n"), std::string::npos);
    EXPECT_NE(r.out.find("INI directory: C:\\APPRAISE\\\n"), std::string::npos);
}

TEST(Cli, ConfigAnswersTheMissingFileQuestionWithYes) {
    qx::testing::TempDriveC c(QX_SHARED_DIR);
    std::filesystem::remove_all(c.host("APPRAISE"));
    const auto r = run({"--root", c.root().string(), "config"}, "QXTEST_WINVER=");
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("INI directory: C:\\WINDOWS\\\n"), std::string::npos);
    EXPECT_NE(r.out.find("Configuration file: C:\\WINDOWS\\KEL.INI\n"), std::string::npos);
    EXPECT_NE(r.out.find("Data directory: \n"), std::string::npos);
    EXPECT_NE(r.out.find("Suite name: Corvid Office Plus\n"), std::string::npos);
    EXPECT_NE(
        r.err.find("message box \"Configuration File Missing\" (YesNoCancel): KEL.INI configuration file is "
                   "missing from C:\\WINDOWS\\ . DO you wish to coninue? (Program may not function "
                   "correctly) -> Yes\n"),
        std::string::npos)
        << r.err;
}

TEST(Cli, ConfigWithAMissingRootFails) {
    const auto r = run({"--root", "/nonexistent/qxtest", "config"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("does not exist"), std::string::npos);
}

TEST(Cli, IniPrintsTheValueAndANewline) {
    qx::testing::TempDriveC c(QX_SHARED_DIR);
    const auto r =
        run({"--root", c.root().string(), "ini", "c:\\appraise\\kel.ini", "directories", "datadir"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "C:\\KELDATA\n");
}

TEST(Cli, IniPrintsTheDefaultForAMissingKey) {
    qx::testing::TempDriveC c(QX_SHARED_DIR);
    const auto r = run(
        {"--root", c.root().string(), "ini", "C:\\APPRAISE\\kel.ini", "PROGRAM ALIAS", "none", " dflt  "});
    EXPECT_EQ(r.out, " dflt\n");
}

TEST(Cli, IniValueTooLongForTheBufferIsAnOverflow) {
    qx::testing::TempDriveC c(QX_SHARED_DIR);
    c.write("APPRAISE\\big.ini", "[s]\r\nk=" + std::string(32511, 'x') + "\r\n");
    const auto r = run({"--root", c.root().string(), "ini", "C:\\APPRAISE\\big.ini", "s", "k"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "Run-time error '6': Overflow\n");
}

TEST(Cli, IniWithWrongArgumentsIsAUsageError) {
    const auto r = run({"--root", "/", "ini", "C:\\kel.ini"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("usage: ini FILE SECTION KEY [DEFAULT]"), std::string::npos);
}

TEST(Cli, JetSchemaPrintsOneStatementPerLineForEveryTable) {
    const std::string office =
        (std::filesystem::path(QX_SHARED_DIR) / "fixtures/suite/drive_c/KELDATA/Office.mdb").string();
    const auto all = run({"jet", "schema", office});
    ASSERT_EQ(all.status, 0) << all.out;
    EXPECT_NE(all.out.find("CREATE TABLE [Invoice] ([InvoiceID] COUNTER, [FileNumber] TEXT(20), "),
              std::string::npos);
    EXPECT_NE(all.out.find("\nCREATE INDEX [FileNumber] ON [Property] ([FileNumber])\n"), std::string::npos);
    const auto one = run({"jet", "schema", office, "property"});
    ASSERT_EQ(one.status, 0);
    EXPECT_EQ(one.out.rfind("CREATE TABLE [Property] (", 0), 0u);
    EXPECT_EQ(std::count(one.out.begin(), one.out.end(), '\n'), 2);
    const auto missing = run({"jet", "schema", office, "NoSuchTable"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.out.find("\"number\":3078"), std::string::npos);
    EXPECT_EQ(run({"jet", "schema"}).status, 2);
    const auto help = run({"jet", "schema", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("usage: jet schema FILE [TABLE]", 0), 0u);
}

// A row that cannot be read part way through a table: the rows before it are printed, then the
// error line, and the command fails.
TEST(Cli, ExportAndQueryPrintTheRowsBeforeDamageThenTheError) {
    qx::testing::TempDir tmp;
    const std::string file = (tmp.path() / "damaged.mdb").string();
    ASSERT_EQ(run({"jet", "create", file}).status, 0);
    ASSERT_EQ(run({"jet", "exec", file, "CREATE TABLE T (ID LONG, S TEXT(200))"}).status, 0);
    const std::string text(200, 'x');
    for (int i = 0; i < 40; ++i)
        ASSERT_EQ(
            run({"jet", "exec", file, "INSERT INTO T VALUES (" + std::to_string(i) + ", '" + text + "')"})
                .status,
            0);
    // The table's definition is the newest one; damage the row count of its last data page.
    std::fstream f(file, std::ios::in | std::ios::out | std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    const std::size_t pageSize = 4096, pages = bytes.size() / pageSize;
    auto u32 = [&](std::size_t at) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at]) |
                                          static_cast<unsigned char>(bytes[at + 1]) << 8 |
                                          static_cast<unsigned char>(bytes[at + 2]) << 16 |
                                          static_cast<unsigned char>(bytes[at + 3]) << 24);
    };
    std::size_t definition = 0, last = 0, dataPages = 0;
    for (std::size_t p = 1; p < pages; ++p)
        if (bytes[p * pageSize] == 2) definition = p;
    for (std::size_t p = 1; p < pages; ++p)
        if (bytes[p * pageSize] == 1 && u32(p * pageSize + 4) == definition) last = p, ++dataPages;
    ASSERT_GE(dataPages, 2u);
    const std::size_t rowsBefore = 40 - (static_cast<unsigned char>(bytes[last * pageSize + 12]) |
                                         static_cast<unsigned char>(bytes[last * pageSize + 13]) << 8);
    f.seekp(static_cast<std::streamoff>(last * pageSize + 12));
    f.write("\xff\x0f", 2);
    f.close();
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"jet", "export", file, "T"},
          std::vector<std::string>{"jet", "query", file, "SELECT * FROM T"},
          std::vector<std::string>{"jet", "export", file, "T", "--format", "csv"}}) {
        const auto r = run(command);
        EXPECT_EQ(r.status, 1) << command[1];
        std::vector<std::string> lines;
        std::istringstream in(r.out);
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        ASSERT_EQ(lines.size(), rowsBefore + 2) << command[1] << "\n" << r.out;  // header, rows, error
        EXPECT_EQ(lines.back().rfind("{\"error\":{\"number\":", 0), 0u) << lines.back();
        EXPECT_NE(lines[lines.size() - 2].find(text), std::string::npos);
    }
}

}  // namespace
