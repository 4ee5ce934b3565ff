// The Jet SQL statements that define tables and add rows, and their parser.
//
//   CREATE TABLE t (column type [(size)] [NOT NULL] [UNIQUE | PRIMARY KEY], ...
//                   [, CONSTRAINT name PRIMARY KEY | UNIQUE (column, ...)])
//   CREATE [UNIQUE] INDEX name ON t (column [ASC | DESC], ...)
//                   [WITH PRIMARY | DISALLOW NULL | IGNORE NULL]
//   DROP INDEX name ON t
//   INSERT INTO t [(column, ...)] VALUES (value, ...)
//
// Type names are Jet's and their synonyms: BIT/YESNO/LOGICAL/LOGICAL1, BYTE/INTEGER1,
// SHORT/SMALLINT/INTEGER2, LONG/INT/INTEGER/INTEGER4, SINGLE/REAL/FLOAT4, DOUBLE/FLOAT/NUMBER/FLOAT8,
// CURRENCY/MONEY, DATETIME/DATE/TIME, TEXT/VARCHAR/CHAR(n) (TEXT without a size: 255 characters),
// MEMO/LONGTEXT/NOTE/LONGCHAR, LONGBINARY/OLEOBJECT/GENERAL, BINARY/VARBINARY(n) (510 bytes without
// a size), GUID, DECIMAL/NUMERIC(p, s) (Jet 4 only), COUNTER/AUTOINCREMENT. Values are Jet's
// literals: numbers, 'text' or "text" (a doubled quote stands for one), #date#, True/False, Null.
//
// Failures are Jet's (errors.h): a syntax error names the statement kind as Jet does ("Syntax error
// in CREATE TABLE statement.", "Syntax error in field definition.", "Syntax error in INSERT INTO
// statement.", ...). Whether a table or column exists is for the statement's execution to find.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "jet/database.h"
#include "jet/value.h"

namespace jet::sql {

struct ColumnDefinition {
    std::string name;
    ColumnType type = ColumnType::Text;
    std::uint16_t size = 0;                 // Text: characters; Binary: bytes; 0 for every other type
    bool required = false;                  // NOT NULL
    bool autoNumber = false;                // COUNTER (a Long)
    std::uint8_t precision = 0, scale = 0;  // Decimal
    bool compressed = false;                // WITH COMPRESSION (Text, Memo; Jet 4 stores the flag)
    friend bool operator==(const ColumnDefinition&, const ColumnDefinition&) = default;
};

struct IndexKeyColumn {
    std::string name;
    bool ascending = true;
    friend bool operator==(const IndexKeyColumn&, const IndexKeyColumn&) = default;
};

// A primary key is unique and refuses Null by its nature: `primary` alone says so (the other two
// flags stay false for it).
struct IndexDefinition {
    std::string name;
    std::vector<IndexKeyColumn> columns;
    bool primary = false;
    bool unique = false;
    bool disallowNull = false;
    bool ignoreNull = false;
    friend bool operator==(const IndexDefinition&, const IndexDefinition&) = default;
};

struct TableDefinition {
    std::string name;
    std::vector<ColumnDefinition> columns;  // in display order
    std::vector<IndexDefinition> indexes;   // in the order they were defined
    friend bool operator==(const TableDefinition&, const TableDefinition&) = default;
};

struct CreateTableStatement {
    TableDefinition table;
};
struct CreateIndexStatement {
    std::string table;
    IndexDefinition index;
};
struct DropIndexStatement {
    std::string index;
    std::string table;
};

// One literal of a VALUES list, kept as written where converting it would lose digits.
struct InsertValue {
    enum class Kind { Null, Boolean, Number, Text, Date } kind = Kind::Null;
    bool boolean = false;
    std::string number;  // Number: the digits as written, with a leading '-' when negative
    std::string text;    // Text: the value (UTF-8)
    DateTime date;       // Date
    friend bool operator==(const InsertValue&, const InsertValue&) = default;
};

struct InsertStatement {
    std::string table;
    std::vector<std::string> columns;  // empty: every column in display order
    std::vector<InsertValue> values;
};

// UPDATE t SET c = literal [, ...] [WHERE ...]: the condition is kept as written (from WHERE to
// the end) for the query parser, which selects the rows.
struct UpdateStatement {
    std::string table;
    std::vector<std::pair<std::string, InsertValue>> assignments;  // column, value
    std::string where;                                             // empty: every row
};

using ChangeStatement = std::variant<CreateTableStatement, CreateIndexStatement, DropIndexStatement,
                                     InsertStatement, UpdateStatement>;

// Parses `sql` when it is one of the statements above; std::nullopt when it starts with none of
// them (another parser's statement). Throws jet::Error for a statement of these kinds that Jet
// would refuse. `version` decides what only one format has (DECIMAL is Jet 4's).
std::optional<ChangeStatement> parseChange(std::string_view sql, FormatVersion version = FormatVersion::Jet4);

// A date literal's text between the '#' signs: "2006-11-20", "11/20/2006", "11/20/2006 13:45:00",
// "1:45:00 PM", ... (months first, as Jet reads dates in SQL). std::nullopt when it is no date.
std::optional<DateTime> parseDateLiteral(std::string_view text);

// The definition of an existing table (foreign keys are relationships, not part of it).
TableDefinition definitionOf(const Database& db, const Table& table);

// Statements that recreate `table`: one CREATE TABLE (columns, the primary key as a CONSTRAINT
// when its columns are all ascending), then one CREATE INDEX per other index. Names are bracketed.
std::vector<std::string> schemaStatements(const TableDefinition& table);

// The definition as the statements of schemaStatements() build it up: a CREATE TABLE starts it,
// a CREATE INDEX adds to it, a DROP INDEX takes away. Throws for a statement of another table.
void applyTo(TableDefinition& table, const ChangeStatement& statement);

}  // namespace jet::sql
