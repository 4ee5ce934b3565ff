#include "jet/sql/query.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <string>

#include "jet/compact.h"
#include "jet/format.h"
#include "jet/schema.h"
#include "jet/sql/column_cache.h"
#include "jet/sql/errors.h"
#include "jet/sql/text.h"

namespace jet::sql {
namespace {

namespace fs = std::filesystem;

// Every test reads its own copy of the suite's central database.
class QueryTest : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("qx_sql_query_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir_);
        path_ = dir_ / "Office.mdb";
        fs::copy_file(fs::path(QX_SHARED_DIR) / "fixtures/suite/drive_c/KELDATA/Office.mdb", path_,
                      fs::copy_options::overwrite_existing);
        db_ = std::make_unique<Database>(Database::open(path_));
    }
    void TearDown() override {
        db_.reset();
        fs::remove_all(dir_);
    }

    RowSet run(std::string_view sql) { return RowSet::open(*db_, sql); }

    std::pair<std::int32_t, std::string> failure(std::string_view sql) {
        try {
            run(sql);
        } catch (const Error& e) {
            return {e.number(), e.description()};
        }
        return {0, ""};
    }

    // Counts rows by walking the table directly, with `keep` deciding on the cursor's row.
    template <class Pred>
    std::size_t countDirect(std::string_view table, Pred keep) {
        const Table t = db_->openTable(table);
        Cursor c = t.cursor();
        std::size_t n = 0;
        while (c.next())
            if (keep(t, c)) ++n;
        return n;
    }

    static bool contains(std::string_view haystack, std::string_view needle) {
        return upper(haystack).find(upper(needle)) != std::string::npos;
    }

    fs::path dir_, path_;
    std::unique_ptr<Database> db_;
};

TEST_F(QueryTest, WholeTableHasAllFieldsAndTheTrueCount) {
    RowSet rs = run("Select * from Property");
    const Table t = db_->openTable("Property");
    EXPECT_EQ(rs.fields().size(), t.fieldCount());
    EXPECT_EQ(rs.recordCount(), t.countRows());
    EXPECT_GT(rs.recordCount(), 0u);
    EXPECT_EQ(rs.tableName(), "Property");
}

TEST_F(QueryTest, ContainmentSearchMatchesADirectScan) {
    RowSet rs = run("SELECT * FROM Property WHERE UCASE(CITY) LIKE '%YORK%'");
    const std::size_t expected = countDirect("Property", [](const Table& t, const Cursor& c) {
        const auto col = static_cast<std::size_t>(t.findColumn("City"));
        return !c.isNull(col) && contains(c.text(col), "york");
    });
    EXPECT_EQ(rs.recordCount(), expected);
    EXPECT_GT(expected, 0u);
    // Every row handed out satisfies the condition.
    const auto city = static_cast<std::size_t>(db_->openTable("Property").findColumn("City"));
    for (std::size_t i = 0; i < rs.recordCount(); ++i) {
        const auto row = rs.row(i);
        EXPECT_TRUE(contains(row[city].get<std::string>(), "YORK")) << i;
    }
}

TEST_F(QueryTest, RowsCanBeReadInAnyOrder) {
    RowSet rs = run("SELECT * FROM Invoice WHERE UCASE(FILENUMBER) LIKE '%A%'");
    ASSERT_GT(rs.recordCount(), 3u);
    const auto last = rs.row(rs.recordCount() - 1);
    const auto first = rs.row(0);
    const auto second = rs.row(1);
    EXPECT_EQ(rs.row(rs.recordCount() - 1), last);
    EXPECT_EQ(rs.row(0), first);
    EXPECT_NE(first, second);
    try {
        rs.row(rs.recordCount());
        ADD_FAILURE() << "no error past the end";
    } catch (const Error& e) {
        EXPECT_EQ(e.number(), 3021);
    }
}

TEST_F(QueryTest, RowsReadBackwardsOrAtRandomEqualRowsReadForwards) {
    for (const std::string sql :
         {"SELECT * FROM Property", "SELECT * FROM Invoice WHERE InvoiceDate LIKE '%/200%'"}) {
        RowSet forwards = run(sql);
        std::vector<std::vector<Value>> rows;
        for (std::size_t i = 0; i < forwards.recordCount(); ++i) rows.push_back(forwards.row(i));
        ASSERT_GT(rows.size(), 150u) << sql;
        RowSet backwards = run(sql);
        for (std::size_t i = rows.size(); i-- > 0;)
            ASSERT_EQ(backwards.row(i), rows[i]) << sql << " row " << i;
        std::uint32_t seed = 5;
        for (int n = 0; n < 200; ++n) {
            seed = seed * 1103515245u + 12345u;
            const std::size_t i = (seed >> 8) % rows.size();
            ASSERT_EQ(backwards.row(i), rows[i]) << sql << " row " << i;
        }
    }
}

TEST_F(QueryTest, NullNeverMatchesLikeNorNotLike) {
    const std::size_t all = run("SELECT * FROM Invoice").recordCount();
    const std::size_t like = run("SELECT * FROM Invoice WHERE check1 LIKE '%'").recordCount();
    const std::size_t notLike = run("SELECT * FROM Invoice WHERE check1 NOT LIKE '%'").recordCount();
    const std::size_t nulls = run("SELECT * FROM Invoice WHERE check1 IS NULL").recordCount();
    EXPECT_GT(nulls, 0u);
    EXPECT_EQ(notLike, 0u);
    EXPECT_EQ(like + nulls, all);
    // NOT of an unknown stays unknown.
    EXPECT_EQ(run("SELECT * FROM Invoice WHERE NOT (check1 LIKE '%1%')").recordCount() +
                  run("SELECT * FROM Invoice WHERE check1 LIKE '%1%'").recordCount() + nulls,
              all);
}

// Stored text (plain UTF-16 in Jet 4, a byte a character where Jet 4 compresses it or in Jet 3's
// code page) is read by the condition without making UTF-8 first when every character is ASCII.
// Whichever way a text is read, LIKE must answer as it does on the text itself.
enum class TextStorage { Utf16, Compressed, CodePage };

class LikeOnStoredText : public ::testing::TestWithParam<TextStorage> {};

TEST_P(LikeOnStoredText, EveryShapeOfPatternAgreesWithTheTextItself) {
    const TextStorage storage = GetParam();
    const fs::path dir = fs::temp_directory_path() /
                         ("qx_sql_like_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    const fs::path file = dir / "like.mdb";
    createDatabase(file, storage == TextStorage::CodePage ? FormatVersion::Jet3 : FormatVersion::Jet4);
    std::vector<std::string> texts = {"York",
                                      "new york city",
                                      "NEW YORK",
                                      "Y\xc3\xb6rk",
                                      "Yorkshire Dales and more",
                                      "Nyork",
                                      "Y0RK",
                                      "\xc3\x86r\xc3\xb8 york",
                                      "yor",
                                      "",
                                      "k",
                                      "[York]",
                                      "york_1",
                                      "100% York",
                                      "Tab\tYork",
                                      "a much longer text with york near its end york"};
    for (std::size_t length = 1; length <= 36; ++length) {
        std::string t(length, 'x');
        t.replace(length / 2, 1, "y");
        texts.push_back(t + "ORK");
        texts.push_back("york" + t);
    }
    OpenOptions none;
    none.keepColumnText = false;
    {
        jet::OpenOptions writable;
        writable.readOnly = false;
        Database db = Database::open(file, writable);
        NewTable t;
        t.name = "T";
        t.columns = {{"ID", ColumnType::Long, 0, false, false, 0, 0, false},
                     {"S", ColumnType::Text, 80, false, false, 0, 0, storage == TextStorage::Compressed}};
        createTable(db, t);
        std::size_t next = 0;
        insertRows(db, "T", [&](std::vector<Value>& row) {
            if (next > texts.size()) return false;
            row.assign(2, Value());
            row[0] = Value(ColumnType::Long, static_cast<std::int32_t>(next));
            if (next < texts.size()) row[1] = Value(ColumnType::Text, texts[next]);  // the last: Null
            ++next;
            return true;
        });
    }
    Database db = Database::open(file);
    for (const std::string pattern :
         {"%YORK%", "york%", "%York", "Y_RK", "[NY]%", "%[!a-z]", "", "%", "YORK", "%xy%ORK", "%\xc3\xb6%"}) {
        for (const std::string subject : {"S", "UCASE(S)", "LCASE(S)"}) {
            const std::string sql = "SELECT ID FROM T WHERE " + subject + " LIKE '" + pattern + "'";
            const LikePattern like(pattern);
            std::set<std::int32_t> expected;
            for (std::size_t i = 0; i < texts.size(); ++i) {
                const std::string folded = subject == "LCASE(S)" ? texts[i] : upper(texts[i]);
                if (like.matches(subject == "S" ? texts[i] : folded))
                    expected.insert(static_cast<std::int32_t>(i));
            }
            for (bool streamed : {false, true}) {
                std::set<std::int32_t> got;
                RowSet rs = RowSet::open(db, sql, none);
                for (std::size_t i = 0; i < rs.recordCount(); ++i)
                    got.insert(std::get<std::int32_t>(rs.row(i)[0].storage()));
                if (streamed) {
                    got.clear();
                    struct Sink : RowSink {
                        std::set<std::int32_t>& out;
                        explicit Sink(std::set<std::int32_t>& o) : out(o) {}
                        void fields(const std::vector<Column>&) override {}
                        void row(const Cursor& c, const std::vector<std::size_t>& columns) override {
                            out.insert(std::get<std::int32_t>(c.value(columns[0]).storage()));
                        }
                        void row(const std::vector<Value>& values) override {
                            out.insert(std::get<std::int32_t>(values[0].storage()));
                        }
                    } sink(got);
                    RowSet::stream(db, sql, sink);
                }
                EXPECT_EQ(got, expected) << sql << (streamed ? " (streamed)" : "");
            }
        }
    }
    fs::remove_all(dir);
}

INSTANTIATE_TEST_SUITE_P(Storages, LikeOnStoredText,
                         ::testing::Values(TextStorage::Utf16, TextStorage::Compressed,
                                           TextStorage::CodePage),
                         [](const ::testing::TestParamInfo<TextStorage>& param) {
                             switch (param.param) {
                                 case TextStorage::Utf16:
                                     return std::string("Utf16");
                                 case TextStorage::Compressed:
                                     return std::string("Compressed");
                                 default:
                                     return std::string("CodePage");
                             }
                         });

TEST_F(QueryTest, ThreeValuedOr) {
    // Null OR True is True; Null OR False is unknown.
    const std::size_t all = run("SELECT * FROM Invoice").recordCount();
    EXPECT_EQ(run("SELECT * FROM Invoice WHERE check1 LIKE 'zz' OR InvoiceID > 0").recordCount(), all);
    EXPECT_EQ(run("SELECT * FROM Invoice WHERE check1 LIKE 'zz' OR InvoiceID < 0").recordCount(), 0u);
}

TEST_F(QueryTest, DatesAreMatchedInTheirShortDateText) {
    const std::size_t n = run("SELECT * FROM Invoice WHERE UCASE(INVOICEDATE) LIKE '%/2006%'").recordCount();
    const std::size_t expected = countDirect("Invoice", [](const Table& t, const Cursor& c) {
        const auto col = static_cast<std::size_t>(t.findColumn("InvoiceDate"));
        if (c.isNull(col)) return false;
        return toCivil(c.value(col).get<DateTime>()).year == 2006;
    });
    EXPECT_EQ(n, expected);
    EXPECT_GT(n, 0u);
    // The ISO form is not how Jet writes a date.
    EXPECT_EQ(run("SELECT * FROM Invoice WHERE InvoiceDate LIKE '2006-%'").recordCount(), 0u);
}

TEST_F(QueryTest, NumbersAndCurrencyAreMatchedAsText) {
    const std::size_t n = run("SELECT * FROM ClientFee WHERE Fee LIKE '%.5%'").recordCount();
    const std::size_t expected = countDirect("ClientFee", [](const Table& t, const Cursor& c) {
        const auto col = static_cast<std::size_t>(t.findColumn("Fee"));
        return !c.isNull(col) && toText(c.value(col)).find(".5") != std::string::npos;
    });
    EXPECT_EQ(n, expected);
    EXPECT_EQ(run("SELECT * FROM Property WHERE PropertyID LIKE '1_'").recordCount(), 10u);
}

TEST_F(QueryTest, ComparisonsOfNumbersAndText) {
    EXPECT_EQ(run("SELECT * FROM Property WHERE PropertyID <= 10").recordCount(), 10u);
    EXPECT_EQ(run("SELECT * FROM Property WHERE PropertyID = 3 OR PropertyID = 4").recordCount(), 2u);
    const std::size_t ab = run("SELECT * FROM Users WHERE UserName = 'ADMIN'").recordCount();
    EXPECT_EQ(ab, 1u);
}

TEST_F(QueryTest, BooleansFunctionsAndSigns) {
    const std::size_t paid = countDirect("Invoice", [](const Table& t, const Cursor& c) {
        const auto col = static_cast<std::size_t>(t.findColumn("Paid"));
        return c.value(col).get<bool>();
    });
    const std::size_t all = run("SELECT * FROM Invoice").recordCount();
    ASSERT_GT(paid, 0u);
    ASSERT_LT(paid, all);
    EXPECT_EQ(run("SELECT * FROM Invoice WHERE Paid = True").recordCount(), paid);
    EXPECT_EQ(run("SELECT * FROM Invoice WHERE Paid").recordCount(), paid);
    EXPECT_EQ(run("SELECT * FROM Invoice WHERE NOT Paid").recordCount(), all - paid);
    EXPECT_EQ(run("SELECT * FROM Invoice WHERE Paid LIKE '-1'").recordCount(), paid);
    EXPECT_EQ(run("SELECT * FROM Invoice WHERE Paid = -1 AND InvoiceID > 0").recordCount(), paid);
    EXPECT_EQ(run("SELECT * FROM Property WHERE LCASE(City) LIKE '%york%' AND PropertyID > 0").recordCount(),
              run("SELECT * FROM Property WHERE UCASE(City) LIKE '%YORK%'").recordCount());
    EXPECT_EQ(run("SELECT * FROM Property WHERE -PropertyID <= -391").recordCount(), 10u);
    EXPECT_EQ(run("SELECT * FROM Property WHERE UCASE(City) = 'YORK' AND PropertyID > 0").recordCount(),
              run("SELECT * FROM Property WHERE City LIKE 'york'").recordCount());
    EXPECT_EQ(run("SELECT * FROM Property WHERE City < 'B' OR City >= 'B'").recordCount(),
              run("SELECT * FROM Property WHERE City IS NOT NULL").recordCount());
    EXPECT_EQ(run("SELECT * FROM Property WHERE NULL").recordCount(), 0u);
    EXPECT_EQ(run("SELECT * FROM Property WHERE City LIKE NULL OR PropertyID = 1").recordCount(), 1u);
}

TEST_F(QueryTest, SelectedColumnsOnly) {
    RowSet rs = run("SELECT City, [Zip] FROM Property AS p WHERE p.PropertyID = 1");
    ASSERT_EQ(rs.fields().size(), 2u);
    EXPECT_EQ(rs.fields()[0].name, "City");
    ASSERT_EQ(rs.recordCount(), 1u);
    EXPECT_EQ(rs.row(0).size(), 2u);
}

TEST_F(QueryTest, MissingTable) {
    const auto [n, text] = failure("SELECT * FROM Invoices WHERE UCASE(FILENUMBER) LIKE '%A%'");
    EXPECT_EQ(n, -2147217865);
    EXPECT_EQ(text,
              "The Microsoft Jet database engine cannot find the input table or query 'Invoices'.  "
              "Make sure it exists and that its name is spelled correctly.");
}

TEST_F(QueryTest, UnknownColumnIsAParameterWithoutValue) {
    const auto [n, text] = failure("SELECT * FROM Property WHERE UCASE(STATE) LIKE '%NY%'");
    EXPECT_EQ(n, -2147217904);
    EXPECT_EQ(text, "No value given for one or more required parameters.");
    EXPECT_EQ(failure("SELECT * FROM Property WHERE x.City = 'a'").first, -2147217904);
    EXPECT_EQ(failure("SELECT Nope FROM Property").first, -2147217904);
}

TEST_F(QueryTest, TypeMismatch) {
    const auto [n, text] = failure("SELECT * FROM Property WHERE PropertyID = 'a'");
    EXPECT_EQ(n, -2147217913);
    EXPECT_EQ(text, "Data type mismatch in criteria expression.");
    EXPECT_EQ(failure("SELECT * FROM Invoice WHERE InvoiceDate = '11/20/2006'").first, -2147217913);
}

TEST_F(QueryTest, DropTableIsCheckedButNotRun) {
    EXPECT_EQ(failure("DROP TABLE Nowhere").second, "Table 'Nowhere' does not exist.");
    EXPECT_EQ(failure("DROP TABLE Property").first, -2147467263);
    EXPECT_TRUE(db_->hasTable("Property"));
}

TEST_F(QueryTest, SyntaxErrorsComeBeforeTheTableIsLookedUp) {
    EXPECT_EQ(failure("SELECT * FROM Nowhere WHERE a LIKE '%O'B%'").first, -2147217900);
}

// The file was last written long ago, so what is read from it may be kept.
void age(const fs::path& path) {
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(1));
}

TEST_F(QueryTest, KeptColumnTextGivesTheSameRowsAsReadingThePages) {
    age(path_);
    detail::ColumnCache::instance().clear();
    const std::string condition = "UCASE(CITY) LIKE '%YORK%' AND (ZIP LIKE '%1%' OR NOT ST LIKE 'N_')";
    RowSet first = run("SELECT * FROM Property WHERE " + condition);   // reads the pages, keeps the text
    RowSet second = run("SELECT * FROM Property WHERE " + condition);  // from the kept text
    // A comparison makes the condition need the values themselves, so the pages are read.
    RowSet direct = run("SELECT * FROM Property WHERE PropertyID > -1 AND " + condition);
    ASSERT_GT(first.recordCount(), 0u);
    EXPECT_EQ(second.recordCount(), first.recordCount());
    // Both forms of kept text take part: the cities repeat (kept as distinct texts), the zip
    // codes hardly do (kept row by row).
    const auto table = db_->openTable("Property");
    const auto stamp = detail::stampOf(path_.string());
    ASSERT_TRUE(stamp);
    const auto city = detail::ColumnCache::instance().findColumn(*stamp, table.definitionPage(), "City");
    const auto zip = detail::ColumnCache::instance().findColumn(*stamp, table.definitionPage(), "Zip");
    ASSERT_TRUE(city && zip);
    EXPECT_TRUE(city->coded());
    EXPECT_FALSE(zip->coded());
    EXPECT_EQ(direct.recordCount(), first.recordCount());
    for (std::size_t i = 0; i < first.recordCount(); ++i) {
        const auto a = first.row(i);
        EXPECT_EQ(second.row(i), a);
        EXPECT_EQ(direct.row(i), a);
    }
}

// Random conditions of the shape the search builds, decided once from kept column text and once
// row by row over the pages (a comparison in the condition forces that): the rows must agree.
TEST_F(QueryTest, KeptTextAndRowByRowAgreeOnRandomConditions) {
    age(path_);
    detail::ColumnCache::instance().clear();
    const std::vector<std::string> columns{"FileNumber", "Address", "City",    "ST",        "Zip",
                                           "County",     "Notes",   "Created", "SalePrice", "YearBuilt"};
    const std::vector<std::string> pieces{"a", "YORK", "1",      "0",      "an",    "ST",
                                          "9", "/200", "5",      "E",      "[a-c]", "[!0-4]",
                                          "_", "%",    "SUNSET", "county", "ph",    "12"};
    std::uint32_t seed = 4242;
    auto next = [&] {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 8) & 0xFFFF;
    };
    std::function<std::string(int)> condition = [&](int depth) -> std::string {
        const unsigned pick = next() % (depth > 2 ? 3 : 6);
        if (pick < 2) {
            std::string pattern;
            if (next() % 4) pattern += "%";
            pattern += pieces[next() % pieces.size()];
            if (next() % 3 == 0) pattern += pieces[next() % pieces.size()];
            if (next() % 4) pattern += "%";
            std::string column = columns[next() % columns.size()];
            if (next() % 2) column = "UCASE(" + column + ")";
            return column + (next() % 5 == 0 ? " NOT LIKE '" : " LIKE '") + pattern + "'";
        }
        if (pick == 2) return columns[next() % columns.size()] + (next() % 2 ? " IS NULL" : " IS NOT NULL");
        // Built by appending: GCC 12 at -O3 warns falsely (-Wrestrict) on a literal put in front of
        // a temporary string.
        std::string out(pick == 3 ? "NOT (" : "(");
        out += condition(depth + 1);
        if (pick != 3) {
            out += pick == 4 ? " AND " : " OR ";
            out += condition(depth + 1);
        }
        out += ")";
        return out;
    };
    std::size_t nonEmpty = 0;
    for (int round = 0; round < 150; ++round) {
        const std::string c = condition(0);
        RowSet kept = run("SELECT * FROM Property WHERE " + c);
        RowSet direct = run("SELECT * FROM Property WHERE PropertyID > -1000 AND (" + c + ")");
        ASSERT_EQ(kept.recordCount(), direct.recordCount()) << c;
        for (std::size_t i = 0; i < kept.recordCount(); ++i) ASSERT_EQ(kept.row(i), direct.row(i)) << c;
        nonEmpty += kept.recordCount() > 0 ? 1 : 0;
    }
    EXPECT_GT(nonEmpty, 30u);
}

TEST_F(QueryTest, AChangedFileIsReadAgain) {
    age(path_);
    const auto written = fs::last_write_time(path_);
    detail::ColumnCache::instance().clear();
    const std::string sql = "SELECT * FROM Property WHERE UCASE(CITY) LIKE '%YORK%'";
    const std::size_t before = run(sql).recordCount();
    const std::size_t wholeBefore = run("SELECT * FROM Property").recordCount();
    ASSERT_GT(before, 0u);
    db_.reset();
    {
        // Rewrite every "York" in the file as "Yurk", in place (text is stored as UTF-16).
        std::fstream f(path_, std::ios::in | std::ios::out | std::ios::binary);
        std::string bytes(static_cast<std::size_t>(fs::file_size(path_)), '\0');
        f.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        const std::string york("Y\0o\0r\0k\0", 8);
        std::size_t patched = 0;
        for (auto at = bytes.find(york); at != std::string::npos; at = bytes.find(york, at + 8)) {
            f.seekp(static_cast<std::streamoff>(at + 2));
            f.put('u');
            ++patched;
        }
        ASSERT_GT(patched, 0u);
    }
    // Even with its old modification time put back (as a restore that keeps times does), the
    // file is recognised as changed.
    fs::last_write_time(path_, written);
    db_ = std::make_unique<Database>(Database::open(path_));
    const std::size_t after = run(sql).recordCount();
    EXPECT_LT(after, before);
    EXPECT_EQ(after, countDirect("Property", [](const Table& t, const Cursor& c) {
                  const auto col = static_cast<std::size_t>(t.findColumn("City"));
                  return !c.isNull(col) && contains(c.text(col), "york");
              }));
    EXPECT_EQ(run("SELECT * FROM Property").recordCount(), wholeBefore);
}

// A damaged file gives rows or a numbered error, whatever the damage; never anything else.
TEST_F(QueryTest, DamagedFilesGiveRowsOrANumberedError) {
    db_.reset();
    std::string original(static_cast<std::size_t>(fs::file_size(path_)), '\0');
    {
        std::ifstream in(path_, std::ios::binary);
        in.read(original.data(), static_cast<std::streamsize>(original.size()));
    }
    const std::vector<std::string> statements{
        "SELECT * FROM Property WHERE UCASE(CITY) LIKE '%YORK%'",
        "SELECT * FROM Invoice WHERE InvoiceID > 5 AND check1 LIKE '%1%'",
        "SELECT * FROM Client",
    };
    std::uint32_t seed = 99;
    auto next = [&] {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 8) & 0xFFFFFF;
    };
    int answered = 0, refused = 0;
    for (int round = 0; round < 40; ++round) {
        std::string bytes = original;
        // Damage a run of bytes past the header page.
        const std::size_t at = 4096 + next() % (bytes.size() - 4096 - 64);
        for (std::size_t i = 0; i < 1 + next() % 48; ++i) bytes[at + i] = static_cast<char>(next() & 0xFF);
        const fs::path damaged = dir_ / ("damaged" + std::to_string(round) + ".mdb");
        {
            std::ofstream out(damaged, std::ios::binary);
            out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        }
        for (const auto& sql : statements) {
            try {
                const Database db = Database::open(damaged);
                RowSet rs = RowSet::open(db, sql);
                for (std::size_t i = 0; i < rs.recordCount() && i < 50; ++i) rs.row(i);
                ++answered;
            } catch (const Error& e) {
                EXPECT_NE(e.number(), 0);
                ++refused;
            }
        }
        fs::remove(damaged);
    }
    EXPECT_EQ(answered + refused, 120);
    EXPECT_GT(answered, 0);
}

// Rows by position: windows read anywhere, in either direction, equal one sequential read.
TEST_F(QueryTest, RandomWindowsForwardsAndBackwardsEqualASequentialRead) {
    for (const std::string sql : {"SELECT * FROM Property", "SELECT * FROM Property WHERE City LIKE '%a%'",
                                  "SELECT PropertyID, UCASE(City) AS c FROM Property ORDER BY City DESC, Zip",
                                  "SELECT TOP 50 PERCENT * FROM Invoice"}) {
        RowSet whole = run(sql);
        std::vector<std::vector<Value>> rows;
        for (std::size_t i = 0; i < whole.recordCount(); ++i) rows.push_back(whole.row(i));
        ASSERT_GT(rows.size(), 100u) << sql;
        RowSet rs = run(sql);
        std::uint32_t seed = 77;
        auto next = [&] {
            seed = seed * 1103515245u + 12345u;
            return (seed >> 8) & 0xFFFFFF;
        };
        for (int n = 0; n < 60; ++n) {
            const std::size_t first = next() % rows.size();
            const std::size_t count = std::min<std::size_t>(1 + next() % 40, rows.size() - first);
            if (n % 2 == 0) {
                const auto window = rs.rows(first, count);
                for (std::size_t k = 0; k < count; ++k)
                    ASSERT_EQ(window[k], rows[first + k]) << sql << " row " << first + k;
            } else {
                for (std::size_t k = count; k-- > 0;)
                    ASSERT_EQ(rs.row(first + k), rows[first + k]) << sql << " row " << first + k;
            }
        }
        try {
            rs.rows(rows.size() - 1, 2);
            ADD_FAILURE() << "a window past the end";
        } catch (const Error& e) {
            EXPECT_EQ(e.number(), 3021);
        }
    }
}

// A damaged row in the middle of a table: opening costs the counts, so it opens with the true
// count; the damaged rows raise the engine's error when read, and every other row reads as before.
TEST_F(QueryTest, ADamagedPageInTheMiddleGivesErrorsForItsRowsOnly) {
    std::vector<std::vector<Value>> before;
    RowDirectory dir;
    {
        RowSet rs = run("SELECT * FROM Property");
        for (std::size_t i = 0; i < rs.recordCount(); ++i) before.push_back(rs.row(i));
        dir = db_->openTable("Property").rowDirectory();
    }
    ASSERT_GE(dir.pages.size(), 3u);
    EXPECT_EQ(dir.rowCount(), before.size());
    const std::size_t middle = dir.pages.size() / 2;
    const auto& format = jet::detail::JetFormat::jet4Format();
    ASSERT_EQ(db_->version(), FormatVersion::Jet4);
    db_.reset();
    {
        // Row 1's offset entry now points into the page header: rows 1 and 2 lose their bounds.
        std::fstream f(path_, std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(static_cast<std::streamoff>(dir.pages[middle]) * format.pageSize +
                static_cast<std::streamoff>(format.dataRowOffsets + 2));
        const char entry[2] = {0x02, 0x00};
        f.write(entry, 2);
    }
    fs::last_write_time(path_, fs::last_write_time(path_) + std::chrono::seconds(5));
    db_ = std::make_unique<Database>(Database::open(path_));
    RowSet rs = run("SELECT * FROM Property");
    ASSERT_EQ(rs.recordCount(), before.size());
    const std::size_t from = dir.firstOrdinal[middle], to = dir.firstOrdinal[middle + 1];
    std::size_t failed = 0;
    for (std::size_t i = before.size(); i-- > 0;) {
        try {
            EXPECT_EQ(rs.row(i), before[i]) << i;
        } catch (const Error& e) {
            EXPECT_GE(i, from) << "row " << i << " lies on no damaged page";
            EXPECT_LT(i, to) << "row " << i << " lies on no damaged page";
            EXPECT_EQ(e.number(), -2147467259) << e.description();
            EXPECT_NE(e.description().find("corrupt"), std::string::npos) << e.description();
            ++failed;
        }
    }
    EXPECT_GE(failed, 1u);
    EXPECT_LT(failed, to - from + 1);
    // Forwards too: reading on past the damaged rows goes on with the next ones.
    failed = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
        try {
            EXPECT_EQ(rs.row(i), before[i]) << i;
        } catch (const Error&) {
            ++failed;
        }
    }
    EXPECT_GE(failed, 1u);
}

TEST_F(QueryTest, OrderByTopDistinctAndGroupsOnTheSuiteDatabase) {
    // ORDER BY: text without regard to case, Null first, DESC reversed, ties in scan order.
    RowSet sorted = run("SELECT City, PropertyID FROM Property ORDER BY City, PropertyID DESC");
    for (std::size_t i = 1; i < sorted.recordCount(); ++i) {
        const auto a = sorted.row(i - 1), b = sorted.row(i);
        if (a[0].isNull() || b[0].isNull()) {
            EXPECT_TRUE(a[0].isNull()) << i;
            continue;
        }
        const int c = compareText(a[0].get<std::string>(), b[0].get<std::string>());
        EXPECT_LE(c, 0) << i;
        if (c == 0) {
            EXPECT_GT(a[1].get<std::int32_t>(), b[1].get<std::int32_t>()) << i;
        }
    }
    // TOP n keeps the rows tying with the last one.
    RowSet top = run("SELECT TOP 1 City FROM Property ORDER BY City DESC");
    const std::string last = top.row(0)[0].get<std::string>();
    std::size_t ties = 0;
    for (std::size_t i = 0; i < sorted.recordCount(); ++i)
        if (!sorted.row(i)[0].isNull() && compareText(sorted.row(i)[0].get<std::string>(), last) == 0) ++ties;
    EXPECT_EQ(top.recordCount(), ties);
    EXPECT_EQ(run("SELECT TOP 7 * FROM Property").recordCount(), 7u);
    EXPECT_EQ(run("SELECT TOP 7 * FROM Property WHERE City LIKE '%'").recordCount(), 7u);
    // Names: aliases, Expr1000 + position for unnamed expressions.
    RowSet named = run("SELECT COUNT(*), City AS Town, MAX(Zip) FROM Property GROUP BY City");
    EXPECT_EQ(named.fields()[0].name, "Expr1000");
    EXPECT_EQ(named.fields()[1].name, "Town");
    EXPECT_EQ(named.fields()[2].name, "Expr1002");
    EXPECT_EQ(named.fields()[0].type, ColumnType::Long);
    EXPECT_EQ(named.fields()[2].type, ColumnType::Text);
    std::int64_t total = 0;
    for (std::size_t i = 0; i < named.recordCount(); ++i) total += named.row(i)[0].get<std::int32_t>();
    EXPECT_EQ(static_cast<std::size_t>(total), run("SELECT * FROM Property").recordCount());
    EXPECT_EQ(run("SELECT DISTINCT City FROM Property").recordCount(), named.recordCount());
    // IN and BETWEEN agree with the comparisons they stand for.
    EXPECT_EQ(run("SELECT * FROM Property WHERE PropertyID IN (3, 5, 7, 1000)").recordCount(), 3u);
    EXPECT_EQ(run("SELECT * FROM Property WHERE PropertyID BETWEEN 10 AND 19").recordCount(),
              run("SELECT * FROM Property WHERE PropertyID >= 10 AND PropertyID <= 19").recordCount());
    EXPECT_EQ(run("SELECT * FROM Property WHERE NOT PropertyID NOT IN (3, 5)").recordCount(), 2u);
    // Aggregates over no rows: COUNT 0, the others Null.
    RowSet none = run("SELECT COUNT(*), SUM(SalePrice), MIN(City) FROM Property WHERE PropertyID < 0");
    ASSERT_EQ(none.recordCount(), 1u);
    EXPECT_EQ(none.row(0)[0].get<std::int32_t>(), 0);
    EXPECT_TRUE(none.row(0)[1].isNull());
    EXPECT_TRUE(none.row(0)[2].isNull());
    EXPECT_EQ(run("SELECT City, COUNT(*) FROM Property WHERE PropertyID < 0 GROUP BY City").recordCount(),
              0u);
    // SUM of Currency stays exact.
    RowSet sum = run("SELECT SUM(SalePrice) FROM Property");
    EXPECT_EQ(sum.fields()[0].type, ColumnType::Currency);
}

TEST_F(QueryTest, TheNewClausesFailAsJetDoes) {
    constexpr std::int32_t kSyntax = -2147217900;
    EXPECT_EQ(failure("SELECT City, COUNT(*) FROM Property"),
              std::make_pair(-2147217887,
                             std::string("You tried to execute a query that does not include the "
                                         "specified expression 'City' as part of an aggregate function.")));
    EXPECT_EQ(failure("SELECT * FROM Property GROUP BY City").second,
              "Cannot group on fields selected with '*' (Property).");
    EXPECT_EQ(failure("SELECT * FROM Property WHERE COUNT(*) > 2"),
              std::make_pair(kSyntax,
                             std::string("Cannot have aggregate function in WHERE clause (COUNT(*) > 2).")));
    EXPECT_EQ(failure("SELECT DISTINCT City FROM Property ORDER BY Zip").second,
              "ORDER BY clause (Zip) conflicts with DISTINCT.");
    EXPECT_EQ(failure("SELECT * FROM Property ORDER BY").second, "Syntax error in ORDER BY clause.");
    EXPECT_EQ(failure("SELECT * FROM Property ORDER BY City Zip").second, "Syntax error in ORDER BY clause.");
    EXPECT_EQ(failure("SELECT City FROM Property GROUP BY").second, "Syntax error in GROUP BY clause.");
    EXPECT_EQ(failure("SELECT * FROM Property WHERE PropertyID BETWEEN 1").second,
              "Between operator without And in query expression 'PropertyID BETWEEN 1'.");
    EXPECT_EQ(failure("SELECT SUM(City) FROM Property").first, -2147217913);
    EXPECT_EQ(failure("SELECT * FROM Property WHERE City IN (1, 2)").first, -2147217913);
    EXPECT_EQ(failure("SELECT * FROM Property ORDER BY Town").first, -2147217904);
    EXPECT_EQ(failure("SELECT COUNT(City, Zip) FROM Property").first, kSyntax);
    EXPECT_EQ(failure("SELECT TOP 0 * FROM Property").first, kSyntax);
    EXPECT_EQ(failure("SELECT City FROM Property GROUP BY COUNT(*)").second,
              "Cannot have aggregate function in GROUP BY clause (COUNT(*)).");
    EXPECT_EQ(failure("SELECT * FROM Property WHERE City IN ('a'").second,
              "Missing ), ], or Item in query expression 'City IN ('a''.");
}

}  // namespace
}  // namespace jet::sql
