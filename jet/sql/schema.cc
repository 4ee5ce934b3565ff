// The definition of an existing table, and the statements that make it again (jet/sql/ddl.h).
#include <algorithm>

#include "jet/format.h"
#include "jet/sql/ddl.h"
#include "jet/sql/ddl_errors.h"
#include "jet/sql/text.h"
#include "jet/table.h"

namespace jet::sql {

namespace {

using jet::detail::kColumnAutoNumber;
using jet::detail::kColumnExtCompressedText;
using jet::detail::kColumnNullable;
using jet::detail::kIndexIgnoreNulls;
using jet::detail::kIndexRequired;
using jet::detail::kIndexUnique;

bool equalNoCase(std::string_view a, std::string_view b) {
    return compareText(a, b) == 0;
}

std::string bracketed(std::string_view name) {
    std::string out = "[";
    out += name;
    out += ']';
    return out;
}

std::string typeText(const ColumnDefinition& c) {
    switch (c.type) {
        case ColumnType::Boolean:
            return "BIT";
        case ColumnType::Byte:
            return "BYTE";
        case ColumnType::Integer:
            return "SHORT";
        case ColumnType::Long:
            return c.autoNumber ? "COUNTER" : "LONG";
        case ColumnType::Currency:
            return "CURRENCY";
        case ColumnType::Single:
            return "SINGLE";
        case ColumnType::Double:
            return "DOUBLE";
        case ColumnType::DateTime:
            return "DATETIME";
        case ColumnType::Binary:
            return "BINARY(" + std::to_string(c.size) + ")";
        case ColumnType::Text:
            return "TEXT(" + std::to_string(c.size) + ")";
        case ColumnType::OLE:
            return "LONGBINARY";
        case ColumnType::Memo:
            return "MEMO";
        case ColumnType::GUID:
            return "GUID";
        case ColumnType::Decimal:
            return "DECIMAL(" + std::to_string(c.precision) + "," + std::to_string(c.scale) + ")";
        case ColumnType::Unknown:
            break;
    }
    return "LONGBINARY";
}

std::string keyText(const IndexDefinition& ix, bool withOrder) {
    std::string out = "(";
    for (std::size_t i = 0; i < ix.columns.size(); ++i) {
        if (i) out += ", ";
        out += bracketed(ix.columns[i].name);
        if (withOrder && !ix.columns[i].ascending) out += " DESC";
    }
    out += ')';
    return out;
}

bool allAscending(const IndexDefinition& ix) {
    return std::all_of(ix.columns.begin(), ix.columns.end(), [](const auto& k) { return k.ascending; });
}

}  // namespace

TableDefinition definitionOf(const Database& db, const Table& table) {
    TableDefinition t;
    t.name = table.name();
    const bool wide = db.version() != FormatVersion::Jet3;  // two bytes per stored character
    for (const auto& c : table.columns()) {
        ColumnDefinition d;
        d.name = c.name;
        // Types the statements cannot name (the newer formats' attachments and the like) are kept
        // as their bytes.
        d.type = c.type == ColumnType::Unknown ? ColumnType::OLE : c.type;
        d.required = (c.flags & kColumnNullable) == 0;
        d.autoNumber = c.type == ColumnType::Long && (c.flags & kColumnAutoNumber) != 0;
        if (c.type == ColumnType::Text) d.size = static_cast<std::uint16_t>(wide ? c.size / 2 : c.size);
        if (c.type == ColumnType::Binary) d.size = c.size;
        if (c.type == ColumnType::Decimal) {
            d.precision = c.precision;
            d.scale = c.scale;
        }
        d.compressed = (c.type == ColumnType::Text || c.type == ColumnType::Memo) &&
                       (c.extFlags & kColumnExtCompressedText) != 0;
        t.columns.push_back(std::move(d));
    }
    const auto columnName = [&](std::uint16_t number) -> std::string {
        for (const auto& c : table.columns())
            if (c.number == number) return c.name;
        throw Error(errc::kCannotOpen,
                    "An index of table '" + table.name() + "' names a column it does not have.");
    };
    std::vector<IndexDefinition> primary, others;
    for (const auto& ix : table.indexes()) {
        if (ix.kind == jet::detail::kLogicalIndexForeign) continue;
        if (ix.realIndex < 0 || static_cast<std::size_t>(ix.realIndex) >= table.realIndexes().size())
            continue;
        const RealIndex& real = table.realIndexes()[static_cast<std::size_t>(ix.realIndex)];
        IndexDefinition d;
        d.name = ix.name;
        for (const auto& k : real.columns) d.columns.push_back({columnName(k.columnNumber), k.ascending});
        if (ix.kind == jet::detail::kLogicalIndexPrimary) {
            d.primary = true;
            primary.push_back(std::move(d));
            continue;
        }
        d.unique = (real.flags & kIndexUnique) != 0;
        d.disallowNull = (real.flags & kIndexRequired) != 0;
        d.ignoreNull = !d.disallowNull && (real.flags & kIndexIgnoreNulls) != 0;
        others.push_back(std::move(d));
    }
    t.indexes = std::move(primary);
    for (auto& d : others) t.indexes.push_back(std::move(d));
    return t;
}

std::vector<std::string> schemaStatements(const TableDefinition& table) {
    std::vector<std::string> out;
    std::string create = "CREATE TABLE " + bracketed(table.name) + " (";
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        const auto& c = table.columns[i];
        if (i) create += ", ";
        create += bracketed(c.name) + ' ' + typeText(c);
        if (c.required) create += " NOT NULL";
        if (c.compressed) create += " WITH COMPRESSION";
    }
    const IndexDefinition* constraintKey = nullptr;
    for (const auto& ix : table.indexes) {
        if (ix.primary && allAscending(ix)) {
            constraintKey = &ix;
            create += ", CONSTRAINT " + bracketed(ix.name) + " PRIMARY KEY " + keyText(ix, false);
        }
    }
    create += ')';
    out.push_back(std::move(create));
    for (const auto& ix : table.indexes) {
        if (&ix == constraintKey) continue;
        std::string s = ix.unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ";
        s += bracketed(ix.name) + " ON " + bracketed(table.name) + ' ' + keyText(ix, true);
        if (ix.primary)
            s += " WITH PRIMARY";
        else if (ix.disallowNull)
            s += " WITH DISALLOW NULL";
        else if (ix.ignoreNull)
            s += " WITH IGNORE NULL";
        out.push_back(std::move(s));
    }
    return out;
}

void applyTo(TableDefinition& table, const ChangeStatement& statement) {
    if (const auto* create = std::get_if<CreateTableStatement>(&statement)) {
        if (!table.name.empty()) throw changeError(ChangeFailure::TableExists, table.name);
        table = create->table;
        return;
    }
    if (const auto* index = std::get_if<CreateIndexStatement>(&statement)) {
        if (!equalNoCase(index->table, table.name)) throw Error::tableNotFound(index->table);
        for (const auto& ix : table.indexes) {
            if (equalNoCase(ix.name, index->index.name))
                throw changeError(ChangeFailure::IndexExists, table.name, ix.name);
            if (ix.primary && index->index.primary) throw changeError(ChangeFailure::PrimaryKeyExists);
        }
        for (const auto& k : index->index.columns) {
            const bool found = std::any_of(table.columns.begin(), table.columns.end(),
                                           [&](const auto& c) { return equalNoCase(c.name, k.name); });
            if (!found) throw changeError(ChangeFailure::NoSuchField);
        }
        table.indexes.push_back(index->index);
        return;
    }
    if (const auto* drop = std::get_if<DropIndexStatement>(&statement)) {
        if (!equalNoCase(drop->table, table.name)) throw Error::tableNotFound(drop->table);
        const auto it = std::find_if(table.indexes.begin(), table.indexes.end(),
                                     [&](const auto& ix) { return equalNoCase(ix.name, drop->index); });
        if (it == table.indexes.end()) throw changeError(ChangeFailure::NoSuchIndex);
        table.indexes.erase(it);
        return;
    }
    throw changeError(ChangeFailure::InsertSyntax);
}

}  // namespace jet::sql
