// `qxtest-cli jet tables FILE` and `qxtest-cli jet export FILE TABLE [--format json|csv]`: the
// engine's view of a database, for people and for checking the engine against other readers.
// FILE is a host path. Output forms: cli/row_output.h. An engine error prints
// {"error":{"number":N,"description":D}} and exits 1; a usage error exits 2; --help prints the
// usage and exits 0.
#include <algorithm>
#include <ostream>

#include "cli/command.h"
#include "jet/database.h"
#include "jet/table.h"
#include "output/json_export.h"
#include "output/row_output.h"

namespace qx::cli {

using jet::output::OutputBuffer;
using jet::output::OutputFormat;
using jet::output::RowWriter;
using jet::output::takeFormatOption;
namespace {

constexpr const char* kTablesUsage =
    "jet tables FILE  (one JSON line per table: name, attributes, fields, records)";
constexpr const char* kExportUsage =
    "jet export FILE TABLE [--format json|csv]  (a table's rows as JSON Lines or CSV)";

bool wantsHelp(const std::vector<std::string>& args) {
    return std::find_if(args.begin(), args.end(),
                        [](const std::string& a) { return a == "--help" || a == "-h"; }) != args.end();
}

int failure(Invocation& inv, const jet::Error& e) {
    inv.out << jet::json::errorLine(e) << '\n';
    inv.out.flush();
    return 1;
}

int runTables(Invocation& inv) {
    if (wantsHelp(inv.args)) {
        inv.out << "usage: " << kTablesUsage << "\n";
        return 0;
    }
    if (inv.args.size() != 1) {
        inv.err << "usage: " << kTablesUsage << "\n";
        return 2;
    }
    try {
        jet::Database db = jet::Database::open(inv.args[0]);
        jet::json::writeTables(inv.out, db);
        inv.out.flush();
        return 0;
    } catch (const jet::Error& e) {
        return failure(inv, e);
    }
}

int runExport(Invocation& inv) {
    if (wantsHelp(inv.args)) {
        inv.out << "usage: " << kExportUsage << "\n";
        return 0;
    }
    OutputFormat format = OutputFormat::JsonLines;
    std::string problem;
    if (!takeFormatOption(inv.args, format, problem) || inv.args.size() != 2) {
        if (!problem.empty()) inv.err << "jet export: " << problem << "\n";
        inv.err << "usage: " << kExportUsage << "\n";
        return 2;
    }
    try {
        jet::Database db = jet::Database::open(inv.args[0]);
        const jet::Table table = db.openTable(inv.args[1]);
        std::vector<std::size_t> columns(table.columns().size());
        for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = i;
        OutputBuffer out(inv.out);
        RowWriter writer(out, format, table.columns());
        writer.header();
        jet::Cursor cursor = table.cursor();
        try {
            while (cursor.next()) writer.row(cursor, columns);
        } catch (const jet::Error&) {
            // The rows before the failure are out; the error line follows them.
            out.flush();
            throw;
        }
        out.flush();
        return 0;
    } catch (const jet::Error& e) {
        return failure(inv, e);
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
