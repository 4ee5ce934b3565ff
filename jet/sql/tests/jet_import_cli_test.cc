// Copying tables with the command-line program alone: `jet schema` + `jet exec` remake each table of
// Access-made databases in a new file of each format, `jet export | jet import` fill it, and the
// copy's export equals the source's, value for value. Each new file passes the checker with no
// problem and mdbtools lists the same tables. A failing import leaves the file as it was.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

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

// Runs a shell command line; returns its standard output, `status` its exit status.
std::string run(const std::string& command, int& status) {
    FILE* pipe = ::popen(command.c_str(), "r");
    std::string output;
    if (!pipe) {
        status = -1;
        return output;
    }
    char buf[4096];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, pipe)) > 0) output.append(buf, n);
    const int raw = ::pclose(pipe);
    status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return output;
}

std::string cli(const std::string& args, int& status) {
    return run(std::string(QXTEST_CLI) + " " + args + " 2>/dev/null", status);
}

std::vector<std::string> lines(const std::string& s) {
    std::vector<std::string> out;
    std::istringstream in(s);
    std::string line;
    while (std::getline(in, line))
        if (!line.empty()) out.push_back(line);
    return out;
}

// User tables of a file, from `jet tables` (attributes 0: neither system nor linked).
std::vector<std::string> userTables(const fs::path& file) {
    int status = 0;
    std::vector<std::string> out;
    for (const auto& line : lines(cli("jet tables " + quoted(file.string()), status))) {
        if (line.find("\"attributes\":0,") == std::string::npos) continue;
        const std::size_t a = line.find("\"name\":\"") + 8;
        out.push_back(line.substr(a, line.find('"', a) - a));
    }
    return out;
}

// The rows of an export, without its columns line (sizes differ between the formats).
std::string rowsOf(const std::string& exportText) {
    const std::size_t nl = exportText.find('\n');
    return nl == std::string::npos ? std::string() : exportText.substr(nl + 1);
}

struct Temp {
    fs::path dir;
    Temp() {
        char pattern[] = "/tmp/qx-import-XXXXXX";
        dir = ::mkdtemp(pattern);
    }
    ~Temp() {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
};

void copyEveryTable(const fs::path& source, const std::string& format, const fs::path& dir) {
    SCOPED_TRACE(source.filename().string() + " -> " + format);
    const fs::path copy = dir / (source.stem().string() + "." + format + ".mdb");
    int status = 0;
    cli("jet create " + quoted(copy.string()) + " --format " + format, status);
    ASSERT_EQ(status, 0);
    const auto tables = userTables(source);
    ASSERT_FALSE(tables.empty());
    for (const auto& table : tables) {
        SCOPED_TRACE(table);
        for (const auto& statement :
             lines(cli("jet schema " + quoted(source.string()) + " " + quoted(table), status))) {
            const std::string out =
                cli("jet exec " + quoted(copy.string()) + " " + quoted(statement), status);
            EXPECT_EQ(status, 0) << statement << " -> " << out;
        }
        const fs::path rows = dir / "rows.jsonl";
        const std::string original =
            cli("jet export " + quoted(source.string()) + " " + quoted(table), status);
        ASSERT_EQ(status, 0);
        std::ofstream(rows, std::ios::binary) << original;
        const std::string imported =
            run(std::string(QXTEST_CLI) + " jet import " + quoted(copy.string()) + " " + quoted(table) +
                    " < " + quoted(rows.string()) + " 2>/dev/null",
                status);
        EXPECT_EQ(status, 0) << imported;
        const std::string again = cli("jet export " + quoted(copy.string()) + " " + quoted(table), status);
        EXPECT_EQ(rowsOf(again), rowsOf(original));
    }
    const std::string verify = run(quoted(std::string(QX_SHARED_DIR) + "/tools/jet-verify/jet-verify") + " " +
                                       quoted(copy.string()) + " 2>/dev/null",
                                   status);
    EXPECT_EQ(status, 0) << verify;
    EXPECT_NE(verify.find(", 0 problems"), std::string::npos) << verify;
    const std::string listed = run("mdb-tables -1 " + quoted(copy.string()) + " 2>&1", status);
    EXPECT_EQ(status, 0);
    for (const auto& table : tables) EXPECT_NE(listed.find(table), std::string::npos) << listed;
}

TEST(JetImportCli, CorpusTablesCopiedThroughSchemaExecExportAndImport) {
    const fs::path corpus = fs::path(QX_SHARED_DIR) / "fixtures" / "access-corpus";
    Temp tmp;
    for (const char* name : {"V2000/testV2000.mdb", "V2000/test2V2000.mdb", "V2000/indexTestV2000.mdb",
                             "V2000/compIndexTestV2000.mdb", "V2000/fixedTextTestV2000.mdb"})
        copyEveryTable(corpus / name, "jet4", tmp.dir);
    for (const char* name : {"V1997/testV1997.mdb", "V1997/indexTestV1997.mdb"}) {
        copyEveryTable(corpus / name, "jet3", tmp.dir);
        copyEveryTable(corpus / name, "jet4", tmp.dir);
    }
}

TEST(JetImportCli, AFailingRowLeavesTheFileAsItWas) {
    Temp tmp;
    const fs::path file = tmp.dir / "t.mdb";
    int status = 0;
    cli("jet create " + quoted(file.string()), status);
    cli("jet exec " + quoted(file.string()) + " " +
            quoted("CREATE TABLE t (id LONG PRIMARY KEY, name TEXT(5))"),
        status);
    ASSERT_EQ(status, 0);
    auto bytes = [&] {
        std::ifstream in(file, std::ios::binary);
        std::ostringstream all;
        all << in.rdbuf();
        return all.str();
    };
    const std::string before = bytes();
    const fs::path rows = tmp.dir / "rows.jsonl";
    // The third row repeats the key of the first: nothing of the three stays.
    std::ofstream(rows)
        << "{\"columns\":[{\"name\":\"id\"},{\"name\":\"name\"}]}\n[1,\"a\"]\n[2,\"b\"]\n[1,\"c\"]\n";
    std::string out = run(std::string(QXTEST_CLI) + " jet import " + quoted(file.string()) + " t < " +
                              quoted(rows.string()) + " 2>/dev/null",
                          status);
    EXPECT_EQ(status, 1);
    EXPECT_NE(out.find("\"number\":3022"), std::string::npos) << out;
    EXPECT_EQ(bytes(), before);
    std::ofstream(rows)
        << "{\"columns\":[{\"name\":\"id\"},{\"name\":\"name\"}]}\n[1,\"a\"]\n[2,\"toolong\"]\n";
    out = run(std::string(QXTEST_CLI) + " jet import " + quoted(file.string()) + " t < " +
                  quoted(rows.string()) + " 2>/dev/null",
              status);
    EXPECT_NE(out.find("\"number\":3163"), std::string::npos) << out;
    EXPECT_EQ(bytes(), before);
    std::ofstream(rows) << "{\"columns\":[{\"name\":\"id\"},{\"name\":\"name\"}]}\n[1,\"a\"]\n[2,\"b\"]\n";
    out = run(std::string(QXTEST_CLI) + " jet import " + quoted(file.string()) + " t < " +
                  quoted(rows.string()) + " 2>/dev/null",
              status);
    EXPECT_EQ(out, "{\"rowsAffected\":2}\n");
}

}  // namespace
