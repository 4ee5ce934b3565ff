// `qxtest-cli jet query FILE STATEMENT [--format json|csv]`: runs one Jet SQL statement against a
// database file and prints the result as `jet export` prints a table (output/row_output.h): a
// columns line (or CSV header), then one line per row. FILE is a host path. A failure prints
// {"error":{"number":N,"description":D}} with the number and text ADO would report for it, and
// exits 1; a usage error exits 2; --help prints the usage and exits 0.
#include <optional>
#include <ostream>
#include <string>

#include "cli/command.h"
#include "cli/jet_words.h"
#include "jet/database.h"
#include "jet/sql/errors.h"
#include "jet/sql/query.h"
#include "output/row_output.h"

namespace qx::cli {

using jet::output::OutputBuffer;
using jet::output::OutputFormat;
using jet::output::RowWriter;
namespace {

constexpr const char* kUsage = "jet query FILE STATEMENT [--format json|csv]  (a Jet SQL statement's result)";

int runQuery(Invocation& inv) {
    if (wantsHelp(inv.args)) return printHelp(inv, kUsage);
    OutputFormat format = OutputFormat::JsonLines;
    if (!takeFormatAndWords(inv, "jet query", kUsage, 2, format)) return 2;
    try {
        jet::Database db = [&] {
            try {
                return jet::Database::open(inv.args[0]);
            } catch (const jet::Error& e) {
                throw jet::sql::throughProvider(e);
            }
        }();
        // One statement, its rows written out once: the engine hands them over as it finds them.
        OutputBuffer out(inv.out);
        struct Sink : jet::sql::RowSink {
            OutputBuffer& out;
            OutputFormat format;
            std::vector<jet::Column> columns;
            std::optional<RowWriter> writer;
            Sink(OutputBuffer& o, OutputFormat f) : out(o), format(f) {}
            void fields(const std::vector<jet::Column>& fields) override {
                columns = fields;
                writer.emplace(out, format, columns);
                writer->header();
            }
            void row(const jet::Cursor& cursor, const std::vector<std::size_t>& at) override {
                writer->row(cursor, at);
            }
            void row(const std::vector<jet::Value>& values) override { writer->row(values); }
        } sink(out, format);
        // On a failure the buffer goes (writing out the rows before it) ahead of the error line.
        jet::sql::RowSet::stream(db, inv.args[1], sink);
        out.flush();
        return 0;
    } catch (const jet::Error& e) {
        return printEngineError(inv, e);
    }
}

const CommandRegistration registration{Command{"jet query", kUsage, runQuery}};

}  // namespace
}  // namespace qx::cli
