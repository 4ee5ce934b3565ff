#include "jet/sql/ddl.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "jet/sql/ddl_errors.h"
#include "jet/table.h"

namespace jet::sql {
namespace {

namespace fs = std::filesystem;

// The error a statement raises: number and text (0 and "" when it is accepted).
std::pair<std::int32_t, std::string> failure(std::string_view sql, FormatVersion v = FormatVersion::Jet4) {
    try {
        parseChange(sql, v);
    } catch (const Error& e) {
        return {e.number(), e.description()};
    }
    return {0, ""};
}

const TableDefinition& created(const std::optional<ChangeStatement>& st) {
    return std::get<CreateTableStatement>(st.value()).table;
}

TEST(Ddl, CreateTableWithEveryTypeNameAndItsSynonyms) {
    const auto st = parseChange(
        "create table [My Table] (a BIT, b YESNO, c LOGICAL, d BYTE, e SHORT, f SMALLINT, g LONG, h INT, "
        "i INTEGER, j SINGLE, k REAL, l DOUBLE, m FLOAT, n CURRENCY, o MONEY, p DATETIME, q DATE, "
        "r TEXT(50), s VARCHAR(10), t TEXT, u MEMO, v LONGTEXT, w LONGBINARY, x OLEOBJECT, y BINARY(16), "
        "z GUID, aa DECIMAL(12,4), ab COUNTER, ac AUTOINCREMENT);");
    const auto& t = created(st);
    EXPECT_EQ(t.name, "My Table");
    ASSERT_EQ(t.columns.size(), 29u);
    const ColumnType expected[] = {
        ColumnType::Boolean,  ColumnType::Boolean,  ColumnType::Boolean,  ColumnType::Byte,
        ColumnType::Integer,  ColumnType::Integer,  ColumnType::Long,     ColumnType::Long,
        ColumnType::Long,     ColumnType::Single,   ColumnType::Single,   ColumnType::Double,
        ColumnType::Double,   ColumnType::Currency, ColumnType::Currency, ColumnType::DateTime,
        ColumnType::DateTime, ColumnType::Text,     ColumnType::Text,     ColumnType::Text,
        ColumnType::Memo,     ColumnType::Memo,     ColumnType::OLE,      ColumnType::OLE,
        ColumnType::Binary,   ColumnType::GUID,     ColumnType::Decimal,  ColumnType::Long,
        ColumnType::Long};
    for (std::size_t i = 0; i < t.columns.size(); ++i) EXPECT_EQ(t.columns[i].type, expected[i]) << i;
    EXPECT_EQ(t.columns[17].size, 50);
    EXPECT_EQ(t.columns[18].size, 10);
    EXPECT_EQ(t.columns[19].size, 255);
    EXPECT_EQ(t.columns[24].size, 16);
    EXPECT_EQ(t.columns[26].precision, 12);
    EXPECT_EQ(t.columns[26].scale, 4);
    EXPECT_TRUE(t.columns[27].autoNumber);
    EXPECT_TRUE(t.columns[28].autoNumber);
    EXPECT_FALSE(t.columns[6].autoNumber);
}

TEST(Ddl, ConstraintsRequiredColumnsAndUniqueColumns) {
    const auto st = parseChange(
        "CREATE TABLE Client (ID COUNTER, Name TEXT(80) NOT NULL, Code TEXT(10) UNIQUE, "
        "CONSTRAINT PK PRIMARY KEY (ID))");
    const auto& t = created(st);
    EXPECT_TRUE(t.columns[1].required);
    EXPECT_FALSE(t.columns[0].required);
    ASSERT_EQ(t.indexes.size(), 2u);
    EXPECT_TRUE(t.indexes[0].unique);
    EXPECT_EQ(t.indexes[0].columns[0].name, "Code");
    EXPECT_EQ(t.indexes[1].name, "PK");
    EXPECT_TRUE(t.indexes[1].primary);
    EXPECT_EQ(t.indexes[1].columns, (std::vector<IndexKeyColumn>{{"ID", true}}));
}

TEST(Ddl, WithCompressionOnTextAndMemo) {
    const auto st = parseChange(
        "CREATE TABLE t (a TEXT(10) WITH COMPRESSION NOT NULL, b MEMO WITH COMP, c TEXT(5) NOT NULL WITH "
        "COMP, "
        "d TEXT(5))");
    const auto& t = created(st);
    EXPECT_TRUE(t.columns[0].compressed);
    EXPECT_TRUE(t.columns[0].required);
    EXPECT_TRUE(t.columns[1].compressed);
    EXPECT_TRUE(t.columns[2].compressed);
    EXPECT_TRUE(t.columns[2].required);
    EXPECT_FALSE(t.columns[3].compressed);
    // Accepted in a Jet 3 file too (which has no such form), so that statements carry over.
    EXPECT_EQ(failure("CREATE TABLE t (a TEXT(10) WITH COMPRESSION)", FormatVersion::Jet3).first, 0);
    EXPECT_EQ(failure("CREATE TABLE t (a LONG WITH COMPRESSION)").first, 3292);
    EXPECT_EQ(failure("CREATE TABLE t (a TEXT(10) WITH)").first, 3292);
    EXPECT_EQ(failure("CREATE TABLE t (a TEXT(10) WITH SQUEEZING)").first, 3292);
}

TEST(Ddl, CreateAndDropIndex) {
    const auto st =
        parseChange("CREATE UNIQUE INDEX ix ON [Invoice] (FileNumber DESC, [Date] ASC) WITH IGNORE NULL");
    const auto& ci = std::get<CreateIndexStatement>(st.value());
    EXPECT_EQ(ci.table, "Invoice");
    EXPECT_TRUE(ci.index.unique);
    EXPECT_TRUE(ci.index.ignoreNull);
    EXPECT_EQ(ci.index.columns, (std::vector<IndexKeyColumn>{{"FileNumber", false}, {"Date", true}}));
    const auto pk = parseChange("CREATE INDEX p ON t (a) WITH PRIMARY");
    EXPECT_TRUE(std::get<CreateIndexStatement>(pk.value()).index.primary);
    const auto dn = parseChange("CREATE INDEX p ON t (a) WITH DISALLOW NULL;");
    EXPECT_TRUE(std::get<CreateIndexStatement>(dn.value()).index.disallowNull);
    const auto drop = parseChange("DROP INDEX ix ON Invoice");
    EXPECT_EQ(std::get<DropIndexStatement>(drop.value()).index, "ix");
    EXPECT_EQ(std::get<DropIndexStatement>(drop.value()).table, "Invoice");
}

TEST(Ddl, OtherStatementsAreLeftToTheirParser) {
    EXPECT_FALSE(parseChange("SELECT * FROM t").has_value());
    EXPECT_FALSE(parseChange("DROP TABLE t").has_value());
    EXPECT_FALSE(parseChange("CREATE VIEW v AS SELECT * FROM t").has_value());
}

TEST(Ddl, SyntaxErrorsAsJetWordsThem) {
    EXPECT_EQ(failure("CREATE TABLE t (a WIDGET)"),
              (std::pair<std::int32_t, std::string>{3292, "Syntax error in field definition."}));
    EXPECT_EQ(failure("CREATE TABLE t (a TEXT(256))").first, 3292);
    EXPECT_EQ(failure("CREATE TABLE t (a TEXT(0))").first, 3292);
    EXPECT_EQ(failure("CREATE TABLE t (a LONG(4))").first, 3292);
    EXPECT_EQ(failure("CREATE TABLE t (a DECIMAL(29,2))").first, 3292);
    EXPECT_EQ(failure("CREATE TABLE t (a DECIMAL(10,2))", FormatVersion::Jet3).first, 3292);
    EXPECT_EQ(failure("CREATE TABLE t (a DECIMAL(10,2))", FormatVersion::Jet4).first, 0);
    EXPECT_EQ(failure("CREATE TABLE t a LONG"),
              (std::pair<std::int32_t, std::string>{3290, "Syntax error in CREATE TABLE statement."}));
    EXPECT_EQ(failure("CREATE TABLE t ()").first, 3290);
    EXPECT_EQ(failure("CREATE TABLE t (a LONG) x").first, 3290);
    EXPECT_EQ(failure("CREATE TABLE t (a LONG, a TEXT)").first, 3191);
    EXPECT_EQ(failure("CREATE TABLE t (a LONG, CONSTRAINT k FOO (a))").first, 3289);
    EXPECT_EQ(failure("CREATE TABLE t (a LONG, CONSTRAINT k PRIMARY KEY (b))").first, 3265);
    EXPECT_EQ(failure("CREATE TABLE t (a LONG PRIMARY KEY, CONSTRAINT k PRIMARY KEY (a))").first, 3283);
    EXPECT_EQ(failure("CREATE INDEX ON t (a)").first, 3291);
    EXPECT_EQ(failure("CREATE INDEX i ON t (a) WITH NOTHING").first, 3291);
    EXPECT_EQ(failure("DROP INDEX i").first, 3295);
    EXPECT_EQ(failure("INSERT INTO t VALUES (1, 'open)").first, 3134);
    EXPECT_EQ(failure("INSERT t VALUES (1)"),
              (std::pair<std::int32_t, std::string>{3134, "Syntax error in INSERT INTO statement."}));
    EXPECT_EQ(failure("INSERT INTO t (a, b) VALUES (1)").first, 3346);
    EXPECT_EQ(failure("INSERT INTO t VALUES (#2006-02-30#)").first, 3134);
}

TEST(Ddl, InsertLiterals) {
    const auto st = parseChange(
        "INSERT INTO [Invoice] (a, b, c, d, e, f, g, h) VALUES (-12.50, 'it''s', \"say \"\"hi\"\"\", "
        "#11/20/2006 1:45:00 PM#, True, false, Null, #1899-12-29 06:00:00#)");
    const auto& ins = std::get<InsertStatement>(st.value());
    EXPECT_EQ(ins.table, "Invoice");
    ASSERT_EQ(ins.values.size(), 8u);
    EXPECT_EQ(ins.values[0].kind, InsertValue::Kind::Number);
    EXPECT_EQ(ins.values[0].number, "-12.50");
    EXPECT_EQ(ins.values[1].text, "it's");
    EXPECT_EQ(ins.values[2].text, "say \"hi\"");
    EXPECT_EQ(ins.values[3].kind, InsertValue::Kind::Date);
    EXPECT_EQ(formatDateTime(ins.values[3].date), "2006-11-20 13:45:00");
    EXPECT_TRUE(ins.values[4].boolean);
    EXPECT_EQ(ins.values[5].kind, InsertValue::Kind::Boolean);
    EXPECT_FALSE(ins.values[5].boolean);
    EXPECT_EQ(ins.values[6].kind, InsertValue::Kind::Null);
    EXPECT_DOUBLE_EQ(ins.values[7].date.days, -1.25);
}

TEST(Ddl, DateLiterals) {
    EXPECT_DOUBLE_EQ(parseDateLiteral("1899-12-30")->days, 0.0);
    EXPECT_DOUBLE_EQ(parseDateLiteral("1900-01-01")->days, 2.0);
    EXPECT_DOUBLE_EQ(parseDateLiteral("12/31/9999")->days, 2958465.0);
    EXPECT_DOUBLE_EQ(parseDateLiteral("0100-01-01")->days, -657434.0);
    EXPECT_DOUBLE_EQ(parseDateLiteral("12:00:00 PM")->days, 0.5);
    EXPECT_DOUBLE_EQ(parseDateLiteral("18:00")->days, 0.75);
    EXPECT_FALSE(parseDateLiteral("2/29/2005"));
    EXPECT_TRUE(parseDateLiteral("2/29/2004"));
    EXPECT_FALSE(parseDateLiteral("yesterday"));
    EXPECT_FALSE(parseDateLiteral("13:00 PM"));
    // A date of two parts that names a third, and more numbers than a date and a time hold.
    EXPECT_FALSE(parseDateLiteral("1/2/"));
    EXPECT_FALSE(parseDateLiteral("2004-"));
    EXPECT_FALSE(parseDateLiteral("2004-1-2 3:4:5:6"));
    EXPECT_FALSE(parseDateLiteral("1 2 3 4 5 6 7"));
    EXPECT_DOUBLE_EQ(parseDateLiteral("1900-01-01 18:00:00")->days, 2.75);
}

TEST(Ddl, StatementsOfADefinitionReadBackAsTheSameDefinition) {
    TableDefinition t;
    t.name = "Mixed";
    t.columns = {{"ID", ColumnType::Long, 0, false, true, 0, 0, false},
                 {"Name", ColumnType::Text, 40, true, false, 0, 0, true},
                 {"Amount", ColumnType::Decimal, 0, false, false, 18, 2, false},
                 {"Raw", ColumnType::Binary, 8, false, false, 0, 0, false}};
    t.indexes = {{"PrimaryKey", {{"ID", true}}, true, false, false, false},
                 {"ByName", {{"Name", false}, {"ID", true}}, false, true, false, true},
                 {"Required", {{"Amount", true}}, false, false, true, false}};
    TableDefinition back;
    for (const auto& line : schemaStatements(t)) applyTo(back, parseChange(line).value());
    EXPECT_EQ(back, t);

    // A primary key with a descending column cannot be a CONSTRAINT: it becomes an index WITH PRIMARY.
    t.indexes[0].columns[0].ascending = false;
    const auto lines = schemaStatements(t);
    EXPECT_EQ(lines[1], "CREATE INDEX [PrimaryKey] ON [Mixed] ([ID] DESC) WITH PRIMARY");
    TableDefinition again;
    for (const auto& line : lines) applyTo(again, parseChange(line).value());
    EXPECT_EQ(again, t);
}

// Every table of every database among the fixtures: its statements parse back to its definition.
TEST(Ddl, SchemaOfEveryFixtureTableParsesBackToTheSameDefinition) {
    const fs::path root = fs::path(QX_SHARED_DIR) / "fixtures";
    std::size_t tables = 0, indexes = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const auto ext = entry.path().extension().string();
        if (!entry.is_regular_file() || (ext != ".mdb" && ext != ".MDB")) continue;
        std::optional<Database> db;
        try {
            db = Database::open(entry.path());
        } catch (const Error&) {
            continue;  // damaged and password-protected samples
        }
        for (const auto& info : db->tableDefs()) {
            if (info.linked() || info.type != 1) continue;
            std::optional<Table> table;
            try {
                table = db->openTable(info.name);
            } catch (const Error&) {
                continue;
            }
            const TableDefinition def = definitionOf(*db, *table);
            TableDefinition back;
            for (const auto& line : schemaStatements(def)) {
                SCOPED_TRACE(entry.path().string() + ": " + line);
                applyTo(back, parseChange(line, db->version()).value());
            }
            EXPECT_EQ(back, def) << entry.path() << " " << info.name;
            ++tables;
            indexes += def.indexes.size();
        }
    }
    EXPECT_GT(tables, 50u);
    EXPECT_GT(indexes, 20u);
}

}  // namespace
}  // namespace jet::sql
