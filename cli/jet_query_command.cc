// `qxtest-cli jet query FILE STATEMENT`: runs one Jet SQL statement against a database file and
// prints the result as `jet export` prints a table: a columns line, then one line per row, in
// JSON Lines. FILE is a host path. A failure prints {"error":{"number":N,"description":D}} with
// the number and text ADO would report for it, and exits 1.
#include <ostream>
#include <string>

#include "cli/command.h"
#include "jet/database.h"
#include "jet/sql/errors.h"
#include "jet/sql/query.h"
#include "output/json_export.h"

namespace qx::cli {
namespace {

std::string columnsLine(const std::vector<jet::Column>& fields) {
    std::string out = "{\"columns\":[";
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (i) out.push_back(',');
        out += "{\"name\":";
        jet::json::appendString(out, fields[i].name);
        out += ",\"type\":";
        jet::json::appendString(out, jet::typeName(fields[i].type));
        out += ",\"size\":";
        out += std::to_string(fields[i].size);
        out.push_back('}');
    }
    out += "]}";
    return out;
}

int runQuery(Invocation& inv) {
    if (inv.args.size() != 2) {
        inv.err << "usage: jet query FILE STATEMENT\n";
        return 2;
    }
    try {
        jet::Database db = [&] {
            try {
                return jet::Database::open(inv.args[0]);
            } catch (const jet::Error& e) {
                throw jet::sql::throughProvider(e);
            }
        }();
        jet::sql::RowSet rows = jet::sql::RowSet::open(db, inv.args[1]);
        inv.out << columnsLine(rows.fields()) << '\n';
        std::string line;
        for (std::size_t i = 0; i < rows.recordCount(); ++i) {
            line.assign(1, '[');
            const auto values = rows.row(i);
            for (std::size_t v = 0; v < values.size(); ++v) {
                if (v) line.push_back(',');
                jet::json::appendValue(line, values[v]);
            }
            line += "]\n";
            inv.out << line;
        }
        inv.out.flush();
        return 0;
    } catch (const jet::Error& e) {
        inv.out << jet::json::errorLine(e) << '\n';
        inv.out.flush();
        return 1;
    }
}

const CommandRegistration registration{
    Command{"jet query", "jet query FILE STATEMENT  (a Jet SQL statement's result as JSON Lines)", runQuery}};

}  // namespace
}  // namespace qx::cli
