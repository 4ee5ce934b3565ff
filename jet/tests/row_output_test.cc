// The command line's row writer reads stored text (UTF-16, or a byte a character where Jet 4
// compresses it or Jet 3 keeps its code page) straight into its output when the text needs no
// escaping or quoting, and otherwise goes through the engine's UTF-8 text. Whatever path a value
// takes, the line must be the one the value-based writer makes from the same row.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "jet/compact.h"
#include "jet/schema.h"
#include "output/row_output.h"
#include "test_support.h"

namespace {

// Texts of every length up to a little past two vectors (of units and of bytes), with each
// character that one of the forms treats specially put first, in the middle and last (and inside
// the overlap of the last vector with the one before it). Jet 3 leaves out what its code page
// lacks.
std::vector<std::string> edgeTexts(bool jet3) {
    const std::vector<std::string> specials = {
        "\"",   "\\",   ",",    "\n",       "\r",           "\t",           " ",
        "\x01", "\x1f", "\x7f", "\xc3\xa9", "\xe2\x82\xac", "\xe6\x97\xa5", "\xf0\x9f\x98\x80"};
    std::vector<std::string> out;
    for (std::size_t length = 0; length <= 35; ++length) {
        std::string plain;
        for (std::size_t i = 0; i < length; ++i) plain.push_back(static_cast<char>('a' + (i * 7) % 26));
        out.push_back(plain);
        if (length == 0) continue;
        for (const std::string& s : specials) {
            if (jet3 && (s == "\xe6\x97\xa5" || s == "\xf0\x9f\x98\x80")) continue;
            for (std::size_t at : {std::size_t{0}, length / 2, length - 1, length > 9 ? length - 9 : 0,
                                   length > 17 ? length - 17 : 0}) {
                std::string t = plain;
                t.replace(at, 1, s);
                out.push_back(t);
            }
        }
    }
    out.push_back(std::string(40, 'Z'));
    out.push_back("Mixed Case, with \"quotes\" and \\ back");
    return out;
}

std::string writeRows(const jet::Database& db, jet::output::OutputFormat format, bool fromValues) {
    std::ostringstream text;
    {
        jet::Table t = db.openTable("T");
        std::vector<std::size_t> columns(t.columns().size());
        for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = i;
        jet::output::OutputBuffer buffer(text);
        jet::output::RowWriter writer(buffer, format, t.columns());
        writer.header();
        jet::Cursor c = t.cursor();
        while (c.next()) {
            if (fromValues) {
                std::vector<jet::Value> values;
                for (std::size_t i : columns) values.push_back(c.value(i));
                writer.row(values);
            } else {
                writer.row(c, columns);
            }
        }
        buffer.flush();
    }
    return text.str();
}

// How the file keeps its text: Jet 4 as UTF-16, Jet 4 compressed, Jet 3 in its code page.
enum class Storage { Utf16, Compressed, CodePage };

class RowOutput : public ::testing::TestWithParam<Storage> {};

TEST_P(RowOutput, StoredTextWrittenDirectlyMatchesTheValueWriterInBothForms) {
    const Storage storage = GetParam();
    const bool jet3 = storage == Storage::CodePage;
    jettest::TempDir dir;
    const auto file = dir.path() / "texts.mdb";
    jet::createDatabase(file, jet3 ? jet::FormatVersion::Jet3 : jet::FormatVersion::Jet4);
    const std::vector<std::string> texts = edgeTexts(jet3);
    jet::OpenOptions writable;
    writable.readOnly = false;
    {
        jet::Database db = jet::Database::open(file, writable);
        jet::NewTable t;
        t.name = "T";
        const bool compressed = storage == Storage::Compressed;
        t.columns = {{"ID", jet::ColumnType::Long, 0, false, false, 0, 0, false},
                     {"S", jet::ColumnType::Text, 60, false, false, 0, 0, compressed},
                     {"M", jet::ColumnType::Memo, 0, false, false, 0, 0, compressed}};
        jet::createTable(db, t);
        std::size_t next = 0;
        jet::insertRows(db, "T", [&](std::vector<jet::Value>& row) {
            if (next > texts.size()) return false;
            row.assign(3, jet::Value());
            row[0] = jet::Value(jet::ColumnType::Long, static_cast<std::int32_t>(next));
            if (next < texts.size()) {  // the last row: both texts Null
                row[1] = jet::Value(jet::ColumnType::Text, texts[next]);
                row[2] = jet::Value(jet::ColumnType::Memo, texts[next] + texts[next] + texts[next]);
            }
            ++next;
            return true;
        });
    }
    jet::Database db = jet::Database::open(file);

    // Which stored form each plain text comes in, so that the direct path is the one taken.
    {
        jet::Table t = db.openTable("T");
        jet::Cursor c = t.cursor();
        ASSERT_TRUE(c.next());
        std::string_view data;
        const auto empty = c.stored(1, data);
        EXPECT_EQ(empty, jet3 ? jet::Cursor::Stored::Narrow : jet::Cursor::Stored::Utf16);
        EXPECT_EQ(data.size(), 0u);
        ASSERT_TRUE(c.next());
        // One character: Jet 4 never compresses so short a value.
        ASSERT_EQ(c.stored(1, data), jet3 ? jet::Cursor::Stored::Narrow : jet::Cursor::Stored::Utf16);
        EXPECT_EQ(data, jet3 ? std::string_view("a") : std::string_view("a\0", 2));
        ASSERT_EQ(c.stored(2, data),
                  storage == Storage::Utf16 ? jet::Cursor::Stored::Utf16 : jet::Cursor::Stored::Narrow);
        if (storage != Storage::Utf16) {
            EXPECT_EQ(data, "aaa");
        }
        EXPECT_EQ(c.stored(0, data), jet::Cursor::Stored::Other);  // not text
        while (c.next()) {
            if (c.isNull(1)) {
                EXPECT_EQ(c.stored(1, data), jet::Cursor::Stored::Other);
                EXPECT_EQ(c.stored(2, data), jet::Cursor::Stored::Other);
            }
        }
    }

    for (auto format : {jet::output::OutputFormat::JsonLines, jet::output::OutputFormat::Csv}) {
        const std::string direct = writeRows(db, format, false);
        const std::string values = writeRows(db, format, true);
        EXPECT_EQ(direct, values);
        // One line per row and the header (CSV lines with line breaks inside quotes aside).
        if (format == jet::output::OutputFormat::JsonLines) {
            EXPECT_EQ(static_cast<std::size_t>(std::count(direct.begin(), direct.end(), '\n')),
                      texts.size() + 2);
            EXPECT_NE(direct.find("[1,\"a\",\"aaa\"]\n"), std::string::npos);
            EXPECT_NE(direct.find(",null,null]\n"), std::string::npos);
            EXPECT_NE(direct.find("\"\\\"h\""), std::string::npos);  // "h with a quote first: \"h
        } else {
            EXPECT_NE(direct.find("\r\n1,a,aaa\r\n"), std::string::npos);
            EXPECT_NE(direct.find("\r\n0,\"\",\"\"\r\n"), std::string::npos);  // empty, not Null
            EXPECT_NE(direct.find(",,\r\n"), std::string::npos);               // Null
            EXPECT_NE(direct.find(",\" h\","), std::string::npos);             // leading space quoted
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Storages, RowOutput,
                         ::testing::Values(Storage::Utf16, Storage::Compressed, Storage::CodePage),
                         [](const ::testing::TestParamInfo<Storage>& param) {
                             switch (param.param) {
                                 case Storage::Utf16:
                                     return std::string("Utf16");
                                 case Storage::Compressed:
                                     return std::string("Compressed");
                                 default:
                                     return std::string("CodePage");
                             }
                         });

}  // namespace
