// `qxtest-cli jet tables FILE` and `qxtest-cli jet export FILE TABLE`: the engine's view of a
// database as JSON Lines, for people and for checking the engine against other readers.
// FILE is a host path. An engine error prints {"error":{"number":N,"description":D}} and exits 1.
#include <ostream>

#include "cli/command.h"
#include "cli/jet_subcommand.h"
#include "jet/database.h"
#include "jet/table.h"
#include "output/json_export.h"

namespace qx::cli {
namespace {

int runJet(Invocation& inv) {
    const auto& a = inv.args;
    if (!a.empty()) {
        if (const Command* sub = findJetSubcommand(a[0])) return sub->run(inv);
    }
    bool tables = a.size() == 2 && a[0] == "tables";
    bool exportTable = a.size() == 3 && a[0] == "export";
    if (!tables && !exportTable) {
        inv.err << "usage: jet tables FILE | jet export FILE TABLE" << jetSubcommandUsage() << "\n";
        return 2;
    }
    try {
        jet::Database db = jet::Database::open(a[1]);
        if (tables) {
            jet::json::writeTables(inv.out, db);
        } else {
            jet::json::writeExport(inv.out, db.openTable(a[2]));
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
    Command{"jet", "jet tables FILE | jet export FILE TABLE  (JSON Lines from a database file)", runJet}};

}  // namespace
}  // namespace qx::cli
