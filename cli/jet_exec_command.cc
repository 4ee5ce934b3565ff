// `qxtest-cli jet exec FILE STATEMENT`: runs one statement that changes a database (as DAO's
// Database.Execute does) and prints {"rowsAffected":N}, exit 0; or
// {"error":{"number":N,"description":D}} with the engine's Jet error, exit 1, the file unchanged.
// FILE is a host path, opened shared for writing. What the open found beside the file (a journal
// rolled back or ignored) goes to standard error.
#include <ostream>
#include <string>

#include "cli/command.h"
#include "jet/database.h"
#include "jet/sql/execute.h"
#include "output/json_export.h"

namespace qx::cli {
namespace {

int runExec(Invocation& inv) {
    if (inv.args.size() != 2) {
        inv.err << "usage: jet exec FILE STATEMENT\n";
        return 2;
    }
    try {
        jet::OpenOptions options;
        options.readOnly = false;
        jet::Database db = jet::Database::open(inv.args[0], options);
        for (const auto& n : db.notices()) inv.err << n << '\n';
        const std::int64_t rows = jet::sql::execute(db, inv.args[1]);
        inv.out << "{\"rowsAffected\":" << rows << "}\n";
        inv.out.flush();
        return 0;
    } catch (const jet::Error& e) {
        inv.out << jet::json::errorLine(e) << '\n';
        inv.out.flush();
        return 1;
    }
}

const CommandRegistration registration{Command{"jet exec",
                                               "jet exec FILE STATEMENT  (CREATE TABLE, CREATE INDEX, DROP "
                                               "INDEX, INSERT, UPDATE, DELETE, DROP TABLE; prints "
                                               "rowsAffected)",
                                               runExec}};

}  // namespace
}  // namespace qx::cli
