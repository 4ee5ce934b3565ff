#include "jet/sql/execute.h"

#include <variant>

#include "jet/schema.h"
#include "jet/sql/convert.h"
#include "jet/sql/ddl.h"
#include "jet/sql/ddl_errors.h"
#include "jet/sql/delete.h"
#include "jet/sql/parser.h"
#include "jet/sql/text.h"
#include "jet/table.h"

namespace jet::sql {

namespace {

NewIndex engineIndex(const IndexDefinition& d) {
    NewIndex ix;
    ix.name = d.name;
    for (const auto& k : d.columns) ix.columns.push_back({k.name, k.ascending});
    ix.primary = d.primary;
    ix.unique = d.unique;
    ix.disallowNull = d.disallowNull;
    ix.ignoreNull = d.ignoreNull;
    return ix;
}

bool sameText(std::string_view a, std::string_view b) {
    return compareText(a, b) == 0;
}

void createTable(const Database& db, const TableDefinition& t, CommitStats* stats) {
    NewTable nt;
    nt.name = t.name;
    for (const auto& c : t.columns) {
        for (const auto& other : nt.columns)
            if (sameText(other.name, c.name)) throw changeError(ChangeFailure::DuplicateField);
        NewColumn n;
        n.name = c.name;
        n.type = c.autoNumber ? ColumnType::Long : c.type;
        n.size = c.size;
        n.required = c.required;
        n.autoNumber = c.autoNumber;
        n.precision = c.precision;
        n.scale = c.scale;
        n.compressed = c.compressed;
        nt.columns.push_back(std::move(n));
    }
    bool primary = false;
    for (const auto& ix : t.indexes) {
        if (ix.primary) {
            if (primary) throw changeError(ChangeFailure::PrimaryKeyExists);
            primary = true;
        }
        for (const auto& k : ix.columns) {
            bool found = false;
            for (const auto& c : t.columns) found = found || sameText(c.name, k.name);
            if (!found) throw changeError(ChangeFailure::NoSuchField);
        }
        nt.indexes.push_back(engineIndex(ix));
    }
    jet::createTable(db, nt, stats);
}

std::int64_t insert(const Database& db, const InsertStatement& st, CommitStats* stats) {
    if (!db.hasTable(st.table)) throw Error::tableNotFound(st.table);
    Table table = db.openTable(st.table);
    const auto& cols = table.columns();
    // Where each value goes: a position in columns().
    std::vector<std::size_t> target;
    if (st.columns.empty()) {
        if (st.values.size() != cols.size()) throw changeError(ChangeFailure::ValueCount);
        for (std::size_t i = 0; i < cols.size(); ++i) target.push_back(i);
    } else {
        for (const auto& name : st.columns) {
            int p = table.findColumn(name);
            if (p < 0) throw changeError(ChangeFailure::UnknownInsertField, name);
            for (std::size_t t : target)
                if (t == static_cast<std::size_t>(p)) throw changeError(ChangeFailure::DuplicateField);
            target.push_back(static_cast<std::size_t>(p));
        }
    }
    std::vector<Value> values(cols.size());
    for (std::size_t i = 0; i < target.size(); ++i)
        values[target[i]] = convertForColumn(cols[target[i]], incomingOf(st.values[i]));
    bool given = false;
    return static_cast<std::int64_t>(insertRows(
        db, table.name(),
        [&](std::vector<Value>& row) {
            if (given) return false;
            given = true;
            row = values;
            return true;
        },
        stats));
}

std::int64_t update(const Database& db, const UpdateStatement& st, CommitStats* stats) {
    if (!db.hasTable(st.table)) throw Error::tableNotFound(st.table);
    Table table = db.openTable(st.table);
    const auto& cols = table.columns();
    std::vector<std::size_t> positions;
    std::vector<Value> values;
    for (const auto& [name, literal] : st.assignments) {
        const int p = table.findColumn(name);
        // Jet takes a name that is no column for a parameter left without a value.
        if (p < 0) throw Error(3061, "Too few parameters. Expected 1.");
        const auto at = static_cast<std::size_t>(p);
        for (std::size_t q : positions)
            if (q == at) throw changeError(ChangeFailure::DuplicateField);
        if (cols[at].flags & 0x04) throw Error(3164, "Field cannot be updated.");
        positions.push_back(at);
        values.push_back(convertForColumn(cols[at], incomingOf(literal)));
    }
    const std::string select = "SELECT * FROM [" + table.name() + "] " + st.where;
    return static_cast<std::int64_t>(updateRows(
        db, table.name(), [&] { return selectedRows(db, select); }, positions,
        [&](std::vector<Value>& row) {
            for (std::size_t k = 0; k < positions.size(); ++k) row[positions[k]] = values[k];
        },
        stats));
}

}  // namespace

std::int64_t execute(const Database& db, std::string_view sql, CommitStats* stats) {
    if (auto change = parseChange(sql, db.version())) {
        if (const auto* ct = std::get_if<CreateTableStatement>(&*change)) {
            createTable(db, ct->table, stats);
            return 0;
        }
        if (const auto* ci = std::get_if<CreateIndexStatement>(&*change)) {
            jet::createIndex(db, ci->table, engineIndex(ci->index), stats);
            return 0;
        }
        if (const auto* di = std::get_if<DropIndexStatement>(&*change)) {
            jet::dropIndex(db, di->table, di->index, stats);
            return 0;
        }
        if (const auto* up = std::get_if<UpdateStatement>(&*change)) return update(db, *up, stats);
        return insert(db, std::get<InsertStatement>(*change), stats);
    }
    if (const auto deleted = executeDelete(db, sql, stats)) return *deleted;
    Statement statement = parse(sql);
    if (const auto* drop = std::get_if<DropTableStatement>(&statement)) {
        dropTable(db, drop->table, stats);
        return 0;
    }
    throw Error(3065, "Cannot execute a select query.");
}

}  // namespace jet::sql
