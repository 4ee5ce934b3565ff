#include "jet/sql/ddl.h"

#include <array>
#include <cmath>
#include <cstdlib>

#include "base/civil_date.h"
#include "jet/sql/ddl_errors.h"
#include "jet/sql/lexer.h"

namespace jet::sql {

using namespace lex;

namespace {

struct TypeName {
    std::string_view word;
    ColumnType type;
    bool autoNumber = false;
};

constexpr std::array kTypeNames{
    TypeName{"BIT", ColumnType::Boolean},
    TypeName{"YESNO", ColumnType::Boolean},
    TypeName{"LOGICAL", ColumnType::Boolean},
    TypeName{"LOGICAL1", ColumnType::Boolean},
    TypeName{"BOOLEAN", ColumnType::Boolean},
    TypeName{"BYTE", ColumnType::Byte},
    TypeName{"INTEGER1", ColumnType::Byte},
    TypeName{"TINYINT", ColumnType::Byte},
    TypeName{"SHORT", ColumnType::Integer},
    TypeName{"SMALLINT", ColumnType::Integer},
    TypeName{"INTEGER2", ColumnType::Integer},
    TypeName{"LONG", ColumnType::Long},
    TypeName{"INT", ColumnType::Long},
    TypeName{"INTEGER", ColumnType::Long},
    TypeName{"INTEGER4", ColumnType::Long},
    TypeName{"SINGLE", ColumnType::Single},
    TypeName{"REAL", ColumnType::Single},
    TypeName{"FLOAT4", ColumnType::Single},
    TypeName{"IEEESINGLE", ColumnType::Single},
    TypeName{"DOUBLE", ColumnType::Double},
    TypeName{"FLOAT", ColumnType::Double},
    TypeName{"FLOAT8", ColumnType::Double},
    TypeName{"NUMBER", ColumnType::Double},
    TypeName{"IEEEDOUBLE", ColumnType::Double},
    TypeName{"CURRENCY", ColumnType::Currency},
    TypeName{"MONEY", ColumnType::Currency},
    TypeName{"DATETIME", ColumnType::DateTime},
    TypeName{"DATE", ColumnType::DateTime},
    TypeName{"TIME", ColumnType::DateTime},
    TypeName{"TIMESTAMP", ColumnType::DateTime},
    TypeName{"TEXT", ColumnType::Text},
    TypeName{"VARCHAR", ColumnType::Text},
    TypeName{"CHAR", ColumnType::Text},
    TypeName{"CHARACTER", ColumnType::Text},
    TypeName{"STRING", ColumnType::Text},
    TypeName{"ALPHANUMERIC", ColumnType::Text},
    TypeName{"NVARCHAR", ColumnType::Text},
    TypeName{"MEMO", ColumnType::Memo},
    TypeName{"LONGTEXT", ColumnType::Memo},
    TypeName{"NOTE", ColumnType::Memo},
    TypeName{"LONGCHAR", ColumnType::Memo},
    TypeName{"NTEXT", ColumnType::Memo},
    TypeName{"LONGBINARY", ColumnType::OLE},
    TypeName{"OLEOBJECT", ColumnType::OLE},
    TypeName{"GENERAL", ColumnType::OLE},
    TypeName{"IMAGE", ColumnType::OLE},
    TypeName{"BINARY", ColumnType::Binary},
    TypeName{"VARBINARY", ColumnType::Binary},
    TypeName{"GUID", ColumnType::GUID},
    TypeName{"UNIQUEIDENTIFIER", ColumnType::GUID},
    TypeName{"DECIMAL", ColumnType::Decimal},
    TypeName{"NUMERIC", ColumnType::Decimal},
    TypeName{"DEC", ColumnType::Decimal},
    TypeName{"COUNTER", ColumnType::Long, true},
    TypeName{"AUTOINCREMENT", ColumnType::Long, true},
};

class ChangeParser : TokenReader {
  public:
    ChangeParser(std::string_view sql, FormatVersion version)
        : TokenReader(sql), sql_(sql), version_(version) {}

    std::optional<ChangeStatement> statement() {
        if (keywordIs(peek(), "CREATE")) {
            if (keywordIs(peek(1), "TABLE")) return createTable();
            if (keywordIs(peek(1), "INDEX") || (keywordIs(peek(1), "UNIQUE") && keywordIs(peek(2), "INDEX")))
                return createIndex();
            return std::nullopt;
        }
        if (keywordIs(peek(), "DROP") && keywordIs(peek(1), "INDEX")) return dropIndex();
        if (keywordIs(peek(), "INSERT")) return insert();
        if (keywordIs(peek(), "UPDATE")) return update();
        return std::nullopt;
    }

  private:
    bool takeIf(Tok kind) {
        if (peek().kind != kind) return false;
        take();
        return true;
    }
    bool takeKeyword(std::string_view word) {
        if (!keywordIs(peek(), word)) return false;
        take();
        return true;
    }
    void expect(Tok kind, ChangeFailure otherwise) {
        if (!takeIf(kind)) throw changeError(otherwise);
    }
    void expectKeyword(std::string_view word, ChangeFailure otherwise) {
        if (!takeKeyword(word)) throw changeError(otherwise);
    }
    // After the statement: nothing, or one ';' and nothing.
    void finish(ChangeFailure otherwise) {
        takeIf(Tok::Semicolon);
        if (peek().kind != Tok::End) throw changeError(otherwise);
    }
    std::string name(ChangeFailure otherwise) {
        if (peek().kind == Tok::Ident || peek().kind == Tok::Bracket) {
            std::string n = take().text;
            if (n.empty()) throw changeError(otherwise);
            return n;
        }
        throw changeError(otherwise);
    }
    // A quote or bracket left open makes the statement unreadable from there on.
    void refuseOpenTokens(ChangeFailure failure) const {
        for (const auto& t : toks_)
            if (t.kind == Tok::BadString || t.kind == Tok::BadBracket) throw changeError(failure);
    }

    std::uint32_t count(ChangeFailure otherwise) {
        if (peek().kind != Tok::Number || peek().text.find_first_not_of("0123456789") != std::string::npos)
            throw changeError(otherwise);
        const std::string& digits = take().text;
        if (digits.size() > 6) throw changeError(otherwise);
        return static_cast<std::uint32_t>(std::strtoul(digits.c_str(), nullptr, 10));
    }

    ColumnDefinition columnDefinition(std::string columnName) {
        ColumnDefinition c;
        c.name = std::move(columnName);
        if (peek().kind != Tok::Ident) throw changeError(ChangeFailure::FieldSyntax);
        const TypeName* type = nullptr;
        for (const auto& t : kTypeNames)
            if (keywordIs(peek(), t.word)) type = &t;
        if (!type) throw changeError(ChangeFailure::FieldSyntax);
        take();
        c.type = type->type;
        c.autoNumber = type->autoNumber;
        if (c.type == ColumnType::Decimal && version_ != FormatVersion::Jet4 &&
            version_ != FormatVersion::Ace12 && version_ != FormatVersion::Ace14)
            throw changeError(ChangeFailure::FieldSyntax);
        if (c.type == ColumnType::Text && keywordIs(toks_[pos_ - 1], "CHARACTER")) takeKeyword("VARYING");
        if (c.autoNumber && takeIf(Tok::LParen)) {
            // COUNTER(seed, increment): the numbers are accepted, the engine counts from 1 by 1.
            count(ChangeFailure::FieldSyntax);
            if (takeIf(Tok::Comma)) count(ChangeFailure::FieldSyntax);
            expect(Tok::RParen, ChangeFailure::FieldSyntax);
        } else if (c.type == ColumnType::Text || c.type == ColumnType::Binary) {
            std::uint32_t size = c.type == ColumnType::Text ? 255 : 510;
            if (takeIf(Tok::LParen)) {
                size = count(ChangeFailure::FieldSyntax);
                expect(Tok::RParen, ChangeFailure::FieldSyntax);
            }
            if (size == 0 || size > 255 * (c.type == ColumnType::Binary ? 2u : 1u))
                throw changeError(ChangeFailure::FieldSyntax);
            c.size = static_cast<std::uint16_t>(size);
        } else if (c.type == ColumnType::Decimal) {
            c.precision = 18;
            c.scale = 0;
            if (takeIf(Tok::LParen)) {
                const auto p = count(ChangeFailure::FieldSyntax);
                std::uint32_t s = 0;
                if (takeIf(Tok::Comma)) s = count(ChangeFailure::FieldSyntax);
                expect(Tok::RParen, ChangeFailure::FieldSyntax);
                if (p < 1 || p > 28 || s > p) throw changeError(ChangeFailure::FieldSyntax);
                c.precision = static_cast<std::uint8_t>(p);
                c.scale = static_cast<std::uint8_t>(s);
            }
        } else if (peek().kind == Tok::LParen) {
            throw changeError(ChangeFailure::FieldSyntax);
        }
        return c;
    }

    std::vector<IndexKeyColumn> keyColumns(ChangeFailure otherwise, bool orderAllowed) {
        expect(Tok::LParen, otherwise);
        std::vector<IndexKeyColumn> out;
        while (true) {
            IndexKeyColumn k;
            k.name = name(otherwise);
            if (orderAllowed) {
                if (takeKeyword("DESC"))
                    k.ascending = false;
                else
                    takeKeyword("ASC");
            }
            out.push_back(std::move(k));
            if (out.size() > 10) throw changeError(otherwise);
            if (!takeIf(Tok::Comma)) break;
        }
        expect(Tok::RParen, otherwise);
        return out;
    }

    // CONSTRAINT name PRIMARY KEY (cols) | UNIQUE (cols), after the column definitions.
    IndexDefinition tableConstraint() {
        IndexDefinition ix;
        ix.name = name(ChangeFailure::ConstraintSyntax);
        if (takeKeyword("PRIMARY")) {
            expectKeyword("KEY", ChangeFailure::ConstraintSyntax);
            ix.primary = true;
        } else if (takeKeyword("UNIQUE")) {
            ix.unique = true;
        } else {
            throw changeError(ChangeFailure::ConstraintSyntax);
        }
        ix.columns = keyColumns(ChangeFailure::ConstraintSyntax, false);
        return ix;
    }

    ChangeStatement createTable() {
        refuseOpenTokens(ChangeFailure::CreateTableSyntax);
        take();  // CREATE
        take();  // TABLE
        CreateTableStatement st;
        TableDefinition& t = st.table;
        t.name = name(ChangeFailure::CreateTableSyntax);
        expect(Tok::LParen, ChangeFailure::CreateTableSyntax);
        while (true) {
            if (takeKeyword("CONSTRAINT")) {
                t.indexes.push_back(tableConstraint());
            } else {
                if (peek().kind != Tok::Ident && peek().kind != Tok::Bracket)
                    throw changeError(ChangeFailure::CreateTableSyntax);
                ColumnDefinition c = columnDefinition(take().text);
                for (const auto& other : t.columns)
                    if (sameName(other.name, c.name)) throw changeError(ChangeFailure::DuplicateField);
                // Column constraints: NOT NULL, WITH COMPRESSION, then a named or unnamed
                // PRIMARY KEY / UNIQUE.
                while (true) {
                    if (takeKeyword("NOT")) {
                        expectKeyword("NULL", ChangeFailure::FieldSyntax);
                        c.required = true;
                    } else if (takeKeyword("NULL")) {
                    } else if (takeKeyword("WITH")) {
                        // WITH COMPRESSION / WITH COMP, for text only.
                        if (!takeKeyword("COMPRESSION") && !takeKeyword("COMP"))
                            throw changeError(ChangeFailure::FieldSyntax);
                        if (c.type != ColumnType::Text && c.type != ColumnType::Memo)
                            throw changeError(ChangeFailure::FieldSyntax);
                        c.compressed = true;
                    } else if (keywordIs(peek(), "CONSTRAINT") || keywordIs(peek(), "PRIMARY") ||
                               keywordIs(peek(), "UNIQUE")) {
                        IndexDefinition ix;
                        if (takeKeyword("CONSTRAINT")) ix.name = name(ChangeFailure::ConstraintSyntax);
                        if (takeKeyword("PRIMARY")) {
                            expectKeyword("KEY", ChangeFailure::ConstraintSyntax);
                            ix.primary = true;
                            if (ix.name.empty()) ix.name = "PrimaryKey";
                        } else if (takeKeyword("UNIQUE")) {
                            ix.unique = true;
                            if (ix.name.empty()) ix.name = c.name;
                        } else {
                            throw changeError(ChangeFailure::ConstraintSyntax);
                        }
                        ix.columns.push_back({c.name, true});
                        t.indexes.push_back(std::move(ix));
                    } else {
                        break;
                    }
                }
                t.columns.push_back(std::move(c));
            }
            if (takeIf(Tok::Comma)) continue;
            if (takeIf(Tok::RParen)) break;
            throw changeError(peek().kind == Tok::Ident ? ChangeFailure::FieldSyntax
                                                        : ChangeFailure::CreateTableSyntax);
        }
        if (t.columns.empty()) throw changeError(ChangeFailure::CreateTableSyntax);
        finish(ChangeFailure::CreateTableSyntax);
        checkIndexes(t);
        return st;
    }

    static void checkIndexes(const TableDefinition& t) {
        bool primary = false;
        for (std::size_t i = 0; i < t.indexes.size(); ++i) {
            const auto& ix = t.indexes[i];
            if (ix.primary) {
                if (primary) throw changeError(ChangeFailure::PrimaryKeyExists);
                primary = true;
            }
            for (std::size_t j = 0; j < i; ++j)
                if (sameName(t.indexes[j].name, ix.name))
                    throw changeError(ChangeFailure::IndexExists, t.name, ix.name);
            for (const auto& k : ix.columns) {
                bool found = false;
                for (const auto& c : t.columns) found = found || sameName(c.name, k.name);
                if (!found) throw changeError(ChangeFailure::NoSuchField);
            }
        }
    }

    ChangeStatement createIndex() {
        refuseOpenTokens(ChangeFailure::CreateIndexSyntax);
        take();  // CREATE
        CreateIndexStatement st;
        if (takeKeyword("UNIQUE")) st.index.unique = true;
        take();  // INDEX
        st.index.name = name(ChangeFailure::CreateIndexSyntax);
        expectKeyword("ON", ChangeFailure::CreateIndexSyntax);
        st.table = name(ChangeFailure::CreateIndexSyntax);
        st.index.columns = keyColumns(ChangeFailure::CreateIndexSyntax, true);
        if (takeKeyword("WITH")) {
            if (takeKeyword("PRIMARY")) {
                st.index.primary = true;
                st.index.unique = false;
            } else if (takeKeyword("DISALLOW")) {
                expectKeyword("NULL", ChangeFailure::CreateIndexSyntax);
                st.index.disallowNull = true;
            } else if (takeKeyword("IGNORE")) {
                expectKeyword("NULL", ChangeFailure::CreateIndexSyntax);
                st.index.ignoreNull = true;
            } else {
                throw changeError(ChangeFailure::CreateIndexSyntax);
            }
        }
        finish(ChangeFailure::CreateIndexSyntax);
        return st;
    }

    ChangeStatement dropIndex() {
        refuseOpenTokens(ChangeFailure::DropSyntax);
        take();  // DROP
        take();  // INDEX
        DropIndexStatement st;
        st.index = name(ChangeFailure::DropSyntax);
        expectKeyword("ON", ChangeFailure::DropSyntax);
        st.table = name(ChangeFailure::DropSyntax);
        finish(ChangeFailure::DropSyntax);
        return st;
    }

    InsertValue value() {
        InsertValue v;
        const Token& t = peek();
        if (t.kind == Tok::String) {
            v.kind = InsertValue::Kind::Text;
            v.text = take().text;
        } else if (t.kind == Tok::Number || t.kind == Tok::Minus || (t.kind == Tok::Other && t.text == "+")) {
            const bool negative = take().kind == Tok::Minus;
            if (t.kind == Tok::Number) {
                v.number = t.text;
            } else {
                if (peek().kind != Tok::Number) throw changeError(valueSyntax_);
                v.number = (negative ? "-" : "") + take().text;
            }
            v.kind = InsertValue::Kind::Number;
        } else if (keywordIs(t, "NULL")) {
            take();
        } else if (keywordIs(t, "TRUE") || keywordIs(t, "YES") || keywordIs(t, "ON")) {
            take();
            v.kind = InsertValue::Kind::Boolean;
            v.boolean = true;
        } else if (keywordIs(t, "FALSE") || keywordIs(t, "NO") || keywordIs(t, "OFF")) {
            take();
            v.kind = InsertValue::Kind::Boolean;
        } else if (t.kind == Tok::Other && t.text == "#") {
            // The date runs to the next '#' in the statement's text; the tokens in between are skipped.
            const auto close = sql_.find('#', t.end);
            if (close == std::string_view::npos) throw changeError(valueSyntax_);
            const auto date = parseDateLiteral(sql_.substr(t.end, close - t.end));
            if (!date) throw changeError(valueSyntax_);
            v.kind = InsertValue::Kind::Date;
            v.date = *date;
            while (peek().kind != Tok::End && peek().begin <= close) take();
        } else {
            throw changeError(valueSyntax_);
        }
        return v;
    }

    ChangeStatement insert() {
        take();  // INSERT
        expectKeyword("INTO", ChangeFailure::InsertSyntax);
        InsertStatement st;
        st.table = name(ChangeFailure::InsertSyntax);
        if (takeIf(Tok::LParen)) {
            while (true) {
                st.columns.push_back(name(ChangeFailure::InsertSyntax));
                if (!takeIf(Tok::Comma)) break;
            }
            expect(Tok::RParen, ChangeFailure::InsertSyntax);
        }
        expectKeyword("VALUES", ChangeFailure::InsertSyntax);
        // Quotes are checked only here: a '#' date may hold characters the tokenizer reads oddly.
        expect(Tok::LParen, ChangeFailure::InsertSyntax);
        while (true) {
            if (peek().kind == Tok::BadString || peek().kind == Tok::BadBracket)
                throw changeError(ChangeFailure::InsertSyntax);
            st.values.push_back(value());
            if (!takeIf(Tok::Comma)) break;
        }
        expect(Tok::RParen, ChangeFailure::InsertSyntax);
        finish(ChangeFailure::InsertSyntax);
        if (!st.columns.empty() && st.columns.size() != st.values.size())
            throw changeError(ChangeFailure::ValueCount);
        return st;
    }

    ChangeStatement update() {
        take();  // UPDATE
        valueSyntax_ = ChangeFailure::UpdateSyntax;
        auto open = [&] {
            if (peek().kind == Tok::BadString || peek().kind == Tok::BadBracket)
                throw changeError(ChangeFailure::UpdateSyntax);
        };
        UpdateStatement st;
        open();
        st.table = name(ChangeFailure::UpdateSyntax);
        expectKeyword("SET", ChangeFailure::UpdateSyntax);
        while (true) {
            open();
            std::string column = name(ChangeFailure::UpdateSyntax);
            // A column may be named with its table: t.c or [t].[c].
            if (takeIf(Tok::Dot)) {
                if (!sameName(column, st.table)) throw changeError(ChangeFailure::UpdateSyntax);
                open();
                column = name(ChangeFailure::UpdateSyntax);
            }
            expect(Tok::Eq, ChangeFailure::UpdateSyntax);
            open();
            st.assignments.emplace_back(std::move(column), value());
            if (!takeIf(Tok::Comma)) break;
        }
        if (keywordIs(peek(), "WHERE")) {
            st.where = std::string(sql_.substr(peek().begin));
            return st;
        }
        finish(ChangeFailure::UpdateSyntax);
        return st;
    }

    static bool sameName(std::string_view a, std::string_view b) {
        if (a.size() != b.size()) return false;
        for (std::size_t i = 0; i < a.size(); ++i) {
            char x = a[i], y = b[i];
            if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 0x20);
            if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 0x20);
            if (x != y) return false;
        }
        return true;
    }

    std::string_view sql_;
    FormatVersion version_;
    ChangeFailure valueSyntax_ = ChangeFailure::InsertSyntax;  // a literal Jet cannot read
};

}  // namespace

std::optional<DateTime> parseDateLiteral(std::string_view text) {
    // Split into numbers and words. No literal has more than six numbers (three of the date,
    // three of the time), so a seventh rejects it; fixed arrays spare a large import an
    // allocation per value.
    constexpr std::size_t kMostNumbers = 6;
    long nums[kMostNumbers] = {};
    char seps[kMostNumbers] = {};  // the separator after each number
    std::size_t count = 0;
    bool pm = false, am = false;
    std::size_t i = 0;
    while (i < text.size()) {
        const char c = text[i];
        if (isDigit(c)) {
            long n = 0;
            std::size_t digits = 0;
            while (i < text.size() && isDigit(text[i])) {
                n = n * 10 + (text[i] - '0');
                if (++digits > 4) return std::nullopt;
                ++i;
            }
            if (count == kMostNumbers) return std::nullopt;
            nums[count] = n;
            seps[count] = i < text.size() ? text[i] : '\0';
            ++count;
        } else if (c == ' ' || c == '/' || c == '-' || c == ':' || c == '.') {
            ++i;
        } else if (i + 1 < text.size() && (c == 'A' || c == 'a' || c == 'P' || c == 'p') &&
                   (text[i + 1] == 'M' || text[i + 1] == 'm')) {
            (c == 'A' || c == 'a' ? am : pm) = true;
            i += 2;
        } else {
            return std::nullopt;
        }
    }
    // Which numbers make the date: those followed by '/' or '-' and the one after them.
    std::size_t dateParts = 0;
    while (dateParts < count && (seps[dateParts] == '/' || seps[dateParts] == '-')) ++dateParts;
    if (dateParts > 0) ++dateParts;
    // "1/2/" names a third part that is not there.
    if ((dateParts != 0 && dateParts != 3) || dateParts > count) return std::nullopt;
    long year = 1899, month = 12, day = 30;
    bool hasDate = false;
    if (dateParts == 3) {
        hasDate = true;
        if (seps[0] == '-' || nums[0] > 31) {
            year = nums[0], month = nums[1], day = nums[2];
        } else {
            month = nums[0], day = nums[1], year = nums[2];
            if (year < 30)
                year += 2000;
            else if (year < 100)
                year += 1900;
        }
    }
    const std::size_t timeParts = count - dateParts;
    if (timeParts > 3 || (timeParts == 1 && !am && !pm)) return std::nullopt;
    long hour = 0, minute = 0, second = 0;
    if (timeParts >= 1) hour = nums[dateParts];
    if (timeParts >= 2) minute = nums[dateParts + 1];
    if (timeParts == 3) second = nums[dateParts + 2];
    if (am || pm) {
        if (timeParts == 0 || hour < 1 || hour > 12) return std::nullopt;
        if (hour == 12) hour = 0;
        if (pm) hour += 12;
    }
    if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1 ||
        day > kDays[month - 1] + (month == 2 && qx::base::isLeapYear(year) ? 1 : 0))
        return std::nullopt;
    const double days =
        hasDate ? static_cast<double>(qx::base::daysFromCivil(year, month, day) + qx::base::kDays1899To1970)
                : 0.0;
    const double fraction = static_cast<double>(hour * 3600 + minute * 60 + second) / 86400.0;
    // Before 1899-12-30 the whole days count backwards but the time of day still forwards.
    return DateTime{days < 0 ? days - fraction : days + fraction};
}

std::optional<ChangeStatement> parseChange(std::string_view sql, FormatVersion version) {
    return ChangeParser(sql, version).statement();
}

}  // namespace jet::sql
