// `qxtest-cli run [SCRIPT]`: drives the program without a display from a script of user gestures
// (standard input when no file is given) and prints what happens as JSON Lines. The script
// language and the transcript are described in driver/driver.h.
#include <fstream>
#include <ostream>

#include "cli/command.h"
#include "driver/driver.h"

namespace qx::cli {
namespace {

int runScriptCommand(Invocation& inv) {
    if (inv.args.size() > 1) {
        inv.err << "usage: run [SCRIPT]\n";
        return 2;
    }
    driver::DriverOptions options;
    options.root = inv.root;
    if (inv.args.empty()) return driver::runScript(inv.in, inv.out, inv.err, options);
    std::ifstream file(inv.args[0], std::ios::binary);
    if (!file) {
        inv.err << "qxtest-cli run: cannot read " << inv.args[0] << '\n';
        return 2;
    }
    return driver::runScript(file, inv.out, inv.err, options);
}

const CommandRegistration registration{
    Command{"run", "run [SCRIPT]  (drive the program from a script of user gestures; JSON Lines out)",
            runScriptCommand}};

}  // namespace
}  // namespace qx::cli
