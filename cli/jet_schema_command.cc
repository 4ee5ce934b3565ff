// `qxtest-cli jet schema FILE [TABLE]`: the statements that make the table again (every local,
// non-system table without TABLE), one per line: a CREATE TABLE, then one CREATE INDEX per index
// the CREATE TABLE does not hold. Fed one line at a time to `jet exec` on another database they
// recreate the table's columns, types, sizes, required flags, primary key and indexes.
// --help prints the usage and exits 0. An engine error prints {"error":{"number":N,"description":D}} and
// exits 1.
#include <ostream>

#include "cli/command.h"
#include "cli/jet_words.h"
#include "jet/database.h"
#include "jet/sql/ddl.h"
#include "jet/table.h"

namespace qx::cli {
namespace {

constexpr const char* kUsage =
    "jet schema FILE [TABLE]  (CREATE TABLE and CREATE INDEX statements that remake the tables)";

int runSchema(Invocation& inv) {
    if (wantsHelp(inv.args)) return printHelp(inv, kUsage);
    if (inv.args.empty() || inv.args.size() > 2) return printUsageError(inv, kUsage);
    try {
        jet::Database db = jet::Database::open(inv.args[0]);
        std::vector<std::string> names;
        if (inv.args.size() == 2) {
            names.push_back(inv.args[1]);
        } else {
            for (const auto& t : db.tableDefs())
                if (!t.linked() && !t.system() && t.type == 1) names.push_back(t.name);
        }
        std::string text;
        for (const auto& name : names) {
            const jet::Table table = db.openTable(name);
            for (const auto& line : jet::sql::schemaStatements(jet::sql::definitionOf(db, table)))
                text += line + '\n';
        }
        inv.out << text;
        inv.out.flush();
        return 0;
    } catch (const jet::Error& e) {
        return printEngineError(inv, e);
    }
}

const CommandRegistration registration{Command{"jet schema", kUsage, runSchema}};

}  // namespace
}  // namespace qx::cli
