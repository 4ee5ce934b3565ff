// `qxtest-cli jet exec FILE STATEMENT`: runs one statement that changes a database (as DAO's
// Database.Execute does) and prints {"rowsAffected":N}, exit 0; or
// {"error":{"number":N,"description":D}} with the engine's Jet error, exit 1, the file unchanged.
// FILE is a host path, opened shared for writing. What the open found beside the file (a journal
// rolled back or ignored) goes to standard error.
#include <ostream>
#include <string>

#include "cli/command.h"
#include "cli/jet_words.h"
#include "jet/database.h"
#include "jet/sql/execute.h"

namespace qx::cli {
namespace {

int runExec(Invocation& inv) {
    if (inv.args.size() != 2) return printUsageError(inv, "jet exec FILE STATEMENT");
    try {
        jet::Database db = openForChange(inv, inv.args[0]);
        const std::int64_t rows = jet::sql::execute(db, inv.args[1]);
        return printRowsAffected(inv, rows);
    } catch (const jet::Error& e) {
        return printEngineError(inv, e);
    }
}

const CommandRegistration registration{Command{"jet exec",
                                               "jet exec FILE STATEMENT  (CREATE TABLE, CREATE INDEX, DROP "
                                               "INDEX, INSERT, UPDATE, DELETE, DROP TABLE; prints "
                                               "rowsAffected)",
                                               runExec}};

}  // namespace
}  // namespace qx::cli
