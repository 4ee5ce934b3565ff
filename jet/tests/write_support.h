// Helpers for tests that write databases: file contents, table dumps through the engine, the
// fixtures to drop tables from, and the independent readers' views of a file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/table.h"
#include "test_support.h"

namespace jettest {

inline std::vector<std::uint8_t> fileBytes(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Every database of the fixtures a drop is tried on: the Access-made corpus (Jet 3, Jet 4, the
// empty ones) and the suite's files.
inline std::vector<std::filesystem::path> writableFixtures() {
    std::vector<std::filesystem::path> out;
    auto add = [&](const std::filesystem::path& dir, bool recurse) {
        if (!std::filesystem::exists(dir)) return;
        auto consider = [&](const std::filesystem::directory_entry& e) {
            std::string ext = e.path().extension().string();
            std::transform(ext.begin(), ext.end(), ext.begin(),
                           [](unsigned char c) { return std::tolower(c); });
            if (e.is_regular_file() && ext == ".mdb") out.push_back(e.path());
        };
        if (recurse) {
            for (const auto& e : std::filesystem::recursive_directory_iterator(dir)) consider(e);
        } else {
            for (const auto& e : std::filesystem::directory_iterator(dir)) consider(e);
        }
    };
    add(fixturesDir() / "access-corpus" / "V1997", false);
    add(fixturesDir() / "access-corpus" / "V2000", false);
    add(fixturesDir() / "access-corpus", false);
    add(fixturesDir() / "suite" / "drive_c", true);
    std::sort(out.begin(), out.end());
    return out;
}

// Local tables that are not system tables, in DAO order.
inline std::vector<std::string> userTables(const jet::Database& db) {
    std::vector<std::string> out;
    for (const auto& t : db.tableDefs()) {
        if (t.type == 1 && !t.system()) out.push_back(t.name);
    }
    return out;
}

// A table's rows as text, one line per row (the engine's own reading).
inline std::string dumpTable(const jet::Database& db, const std::string& name) {
    std::string out;
    jet::Table table = db.openTable(name);
    jet::Cursor cur = table.cursor();
    while (cur.next()) {
        for (std::size_t i = 0; i < table.columns().size(); ++i) {
            if (cur.isNull(i))
                out += "<null>";
            else
                out += cur.text(i);
            out += '\t';
        }
        out += '\n';
    }
    return out;
}

// mdb-tables' list of the file's tables (system ones left out).
inline std::set<std::string> mdbtoolsTables(const std::filesystem::path& file) {
    int status = 0;
    std::string out = runCommand("mdb-tables -1 " + shellQuote(file.string()) + " 2>/dev/null", status);
    std::set<std::string> names;
    std::istringstream in(out);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty()) names.insert(line);
    }
    if (status != 0) names.insert("<mdb-tables failed>");
    return names;
}

// mdb-reader's export (node), split per table: name -> its lines.
inline std::map<std::string, std::string> mdbReaderTables(const std::filesystem::path& file) {
    std::string script = std::string(QX_SOURCE_DIR) + "/jet/tests/peers/mdb_reader_export.mjs";
    int status = 0;
    std::string out =
        runCommand("node " + shellQuote(script) + " " + shellQuote(file.string()) + " 2>&1", status);
    std::map<std::string, std::string> tables;
    if (status != 0) {
        tables["<mdb-reader failed>"] = out.substr(0, 300);
        return tables;
    }
    std::istringstream in(out);
    std::string line, current;
    while (std::getline(in, line)) {
        if (line.rfind("{\"table\":", 0) == 0) {
            std::size_t q = line.find('"', 9);
            std::size_t e = line.find('"', q + 1);
            current = line.substr(q + 1, e - q - 1);
            tables[current] += line + '\n';
        } else {
            tables[current] += line + '\n';
        }
    }
    return tables;
}

}  // namespace jettest
