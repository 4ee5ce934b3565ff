#include "jet/sql/delete.h"

#include <string>
#include <variant>
#include <vector>

#include "jet/schema.h"
#include "jet/sql/errors.h"
#include "jet/sql/lexer.h"
#include "jet/sql/parser.h"
#include "jet/sql/query.h"

namespace jet::sql {

std::vector<RowId> selectedRows(const Database& db, const std::string& select) {
    std::vector<RowId> rows;
    try {
        OpenOptions options;
        options.keepColumnText = false;
        RowSet found = RowSet::open(db, select, options);
        rows.reserve(found.recordCount());
        for (std::size_t r = 0; r < found.recordCount(); ++r) {
            const Cursor* cursor = found.tableRow(r);
            if (cursor) rows.push_back(cursor->rowId());
        }
    } catch (const Error& e) {
        if (e.number() == errorNumber(Failure::MissingParameter))
            throw Error(3061, "Too few parameters. Expected 1.");
        throw;
    }
    return rows;
}

std::optional<std::int64_t> executeDelete(const Database& db, std::string_view sql, CommitStats* stats) {
    const std::vector<lex::Token> t = lex::tokenize(sql);
    if (t.empty() || !lex::keywordIs(t[0], "DELETE")) return std::nullopt;
    std::size_t i = 1;
    if (t[i].kind == lex::Tok::Star) {
        ++i;
    } else if ((t[i].kind == lex::Tok::Ident || t[i].kind == lex::Tok::Bracket) &&
               !lex::keywordIs(t[i], "FROM") && t[i + 1].kind == lex::Tok::Dot &&
               t[i + 2].kind == lex::Tok::Star) {
        i += 3;
    }
    if (!lex::keywordIs(t[i], "FROM") || t[i + 1].kind == lex::Tok::End) throw makeError(Failure::FromClause);

    // The rows are the ones the same condition selects: one language, one evaluator.
    const std::string select = "SELECT * FROM " + std::string(sql.substr(t[i + 1].begin));
    const Statement parsed = parse(select);
    const auto* st = std::get_if<SelectStatement>(&parsed);
    if (!st || !st->groupBy.empty() || !st->orderBy.empty() || st->top) throw makeError(Failure::FromClause);

    const std::size_t n = deleteRows(
        db, st->table, [&] { return selectedRows(db, select); }, stats);
    return static_cast<std::int64_t>(n);
}

}  // namespace jet::sql
