// The SELECT statements users type (counts, MIN / MAX / SUM / AVG, GROUP BY, DISTINCT, ORDER BY,
// TOP, IS NULL, IN, BETWEEN) against answers worked out independently from another reader's rows:
// peers/sql_expect.mjs reads every user table of every corpus and suite database with mdb-reader,
// computes what each statement must return, and this test runs the same statements through the
// engine and compares value for value.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <sstream>

#include "jet/database.h"
#include "jet/sql/query.h"
#include "jet/sql/text.h"
#include "jet/tests/mini_json.h"
#include "jet/tests/test_support.h"

namespace {

using jet::Value;
using jettest::Json;

// The number a value stands for (Yes/No as -1 / 0, Currency as its amount).
bool numberOf(const Value& v, double& out) {
    const auto& s = v.storage();
    if (const auto* b = std::get_if<bool>(&s))
        out = *b ? -1.0 : 0.0;
    else if (const auto* u8 = std::get_if<std::uint8_t>(&s))
        out = *u8;
    else if (const auto* i16 = std::get_if<std::int16_t>(&s))
        out = *i16;
    else if (const auto* i32 = std::get_if<std::int32_t>(&s))
        out = *i32;
    else if (const auto* cy = std::get_if<jet::Currency>(&s))
        out = static_cast<double>(cy->scaled) / 10000.0;
    else if (const auto* f = std::get_if<float>(&s))
        out = static_cast<double>(*f);
    else if (const auto* d = std::get_if<double>(&s))
        out = *d;
    else
        return false;
    return true;
}

bool near(double a, double b, double relative) {
    return std::fabs(a - b) <= relative * std::max({1.0, std::fabs(a), std::fabs(b)});
}

// The peer reads a stored date as the number of days it is, linearly (also before 1899-12-30,
// where Jet's own reading counts the fraction forward): its milliseconds since 1970 give back the
// stored number, which is also what Jet sorts by.
double storedDays(double peerMillis) {
    return peerMillis / 86400000.0 + 25569.0;
}

std::string describe(const Value& v) {
    if (v.isNull()) return "null";
    if (const auto* s = v.getIf<std::string>()) return "'" + *s + "'";
    if (const auto* d = v.getIf<jet::DateTime>()) return jet::formatDateTime(*d);
    double n = 0;
    if (numberOf(v, n)) {
        std::ostringstream o;
        o.precision(17);
        o << n;
        return o.str();
    }
    return "(value)";
}

std::string describe(const Json& j) {
    switch (j.kind) {
        case Json::Null:
            return "null";
        case Json::Bool:
            return j.b ? "true" : "false";
        case Json::Number: {
            std::ostringstream o;
            o.precision(17);
            o << j.num;
            return o.str();
        }
        case Json::String:
            return "'" + j.str + "'";
        default:
            return "(json)";
    }
}

// Does our value match the peer's under the column's comparison mode?
bool matches(const Value& ours, const Json& peer, const std::string& mode) {
    if (peer.kind == Json::Null || ours.isNull()) return peer.kind == Json::Null && ours.isNull();
    if (mode == "text") {
        const auto* s = ours.getIf<std::string>();
        return s && peer.kind == Json::String && jet::sql::upper(*s) == jet::sql::upper(peer.str);
    }
    if (mode == "date") {
        const auto* d = ours.getIf<jet::DateTime>();
        return d && peer.kind == Json::Number && std::fabs(d->days - storedDays(peer.num)) <= 1.0 / 86400.0;
    }
    if (mode == "exact" && peer.kind == Json::Bool) {
        const auto* b = ours.getIf<bool>();
        return b && *b == peer.b;
    }
    double n = 0;
    if (!numberOf(ours, n)) return false;
    const double expected = peer.kind == Json::String ? std::strtod(peer.str.c_str(), nullptr) : peer.num;
    return near(n, expected, mode == "single" ? 1e-6 : 1e-9);
}

class PeerSql : public ::testing::TestWithParam<std::string> {};

TEST_P(PeerSql, StatementsGiveTheRowsWorkedOutFromAnotherReader) {
    if (!jettest::haveProgram("node")) GTEST_SKIP() << "node is not installed";
    jettest::TempDir dir;
    const auto file = dir.copy(GetParam());
    const std::string script = std::string(JET_SQL_TESTS_DIR) + "/peers/sql_expect.mjs";
    int status = 0;
    const std::string out = jettest::runCommand(
        "node " + jettest::shellQuote(script) + " " + jettest::shellQuote(file.string()) + " 2>&1", status);
    ASSERT_EQ(status, 0) << out.substr(0, 500);
    const jet::Database db = jet::Database::open(file);
    std::istringstream in(out);
    std::string line;
    std::size_t statements = 0;
    while (std::getline(in, line)) {
        if (line.empty()) continue;
        const Json j = jettest::parseJson(line);
        const std::string& sql = j.at("sql").str;
        const auto& modes = j.at("modes").arr;
        const auto& expected = j.at("rows").arr;
        ++statements;
        try {
            jet::sql::RowSet rs = jet::sql::RowSet::open(db, sql);
            ASSERT_EQ(rs.fields().size(), modes.size()) << sql;
            ASSERT_EQ(rs.recordCount(), expected.size()) << sql;
            for (std::size_t r = 0; r < expected.size(); ++r) {
                const auto row = rs.row(r);
                for (std::size_t c = 0; c < modes.size(); ++c) {
                    ASSERT_TRUE(matches(row[c], expected[r].arr.at(c), modes[c].str))
                        << sql << "\n row " << r << " field " << c << ": ours " << describe(row[c])
                        << ", expected " << describe(expected[r].arr.at(c));
                }
            }
        } catch (const jet::Error& e) {
            ADD_FAILURE() << sql << ": " << e.description();
        }
    }
    EXPECT_GT(statements, 0u);
}

std::vector<std::string> fixtureFiles() {
    std::vector<std::string> out;
    const auto root = jettest::fixturesDir();
    for (const char* folder : {"access-corpus/V1997", "access-corpus/V2000", "access-corpus",
                               "suite/drive_c/KEL", "suite/drive_c/KELDATA", "suite/drive_c/KELUSER"}) {
        std::vector<std::string> here;
        for (const auto& e : std::filesystem::directory_iterator(root / folder))
            if (e.is_regular_file() && e.path().extension() == ".mdb")
                here.push_back(std::string(folder) + "/" + e.path().filename().string());
        std::sort(here.begin(), here.end());
        out.insert(out.end(), here.begin(), here.end());
    }
    return out;
}

std::string testName(const ::testing::TestParamInfo<std::string>& info) {
    std::string s;
    for (const char c : info.param) s.push_back(std::isalnum(static_cast<unsigned char>(c)) ? c : '_');
    return s;
}

INSTANTIATE_TEST_SUITE_P(Fixtures, PeerSql, ::testing::ValuesIn(fixtureFiles()), testName);

}  // namespace
