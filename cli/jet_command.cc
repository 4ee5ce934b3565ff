// `qxtest-cli jet tables FILE` and `qxtest-cli jet export FILE TABLE [--format json|csv]`: the
// engine's view of a database, for people and for checking the engine against other readers.
// FILE is a host path. Output forms: cli/row_output.h. An engine error prints
// {"error":{"number":N,"description":D}} and exits 1; a usage error exits 2; --help prints the
// usage and exits 0.
#include <ostream>

#include "cli/command.h"
#include "cli/jet_words.h"
#include "jet/database.h"
#include "jet/table.h"
#include "output/json_export.h"
#include "output/row_output.h"

namespace qx::cli {

using jet::output::OutputBuffer;
using jet::output::OutputFormat;
namespace {

constexpr const char* kTablesUsage =
    "jet tables FILE  (one JSON line per table: name, attributes, fields, records)";
constexpr const char* kExportUsage =
    "jet export FILE TABLE [--format json|csv]  (a table's rows as JSON Lines or CSV)";

int runTables(Invocation& inv) {
    if (wantsHelp(inv.args)) return printHelp(inv, kTablesUsage);
    if (inv.args.size() != 1) return printUsageError(inv, kTablesUsage);
    try {
        jet::Database db = jet::Database::open(inv.args[0]);
        jet::json::writeTables(inv.out, db);
        inv.out.flush();
        return 0;
    } catch (const jet::Error& e) {
        return printEngineError(inv, e);
    }
}

int runExport(Invocation& inv) {
    if (wantsHelp(inv.args)) return printHelp(inv, kExportUsage);
    OutputFormat format = OutputFormat::JsonLines;
    if (!takeFormatAndWords(inv, "jet export", kExportUsage, 2, format)) return 2;
    try {
        jet::Database db = jet::Database::open(inv.args[0]);
        const jet::Table table = db.openTable(inv.args[1]);
        // On a failure the buffer goes (writing out the rows before it) ahead of the error line.
        OutputBuffer out(inv.out);
        jet::output::writeTable(out, format, table);
        out.flush();
        return 0;
    } catch (const jet::Error& e) {
        return printEngineError(inv, e);
    }
}

// `jet` alone, or with a word that is none of its subcommands.
int runJet(Invocation& inv) {
    const bool help = wantsHelp(inv.args);
    std::ostream& to = help ? inv.out : inv.err;
    to << "usage: jet tables FILE | jet export FILE TABLE [--format json|csv] | jet query FILE STATEMENT "
          "[--format json|csv]\n";
    return help ? 0 : 2;
}

const CommandRegistration jet{Command{"jet",
                                      "jet tables|export|query ...  (a database file through the engine; "
                                      "jet SUBCOMMAND --help)",
                                      runJet}};
const CommandRegistration tables{Command{"jet tables", kTablesUsage, runTables}};
const CommandRegistration exportTable{Command{"jet export", kExportUsage, runExport}};

}  // namespace
}  // namespace qx::cli
