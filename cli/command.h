// Sub-commands of qxtest-cli.
//
// Each sub-command lives in its own cli/*_command.cc and registers itself with a static
// CommandRegistration, so adding a command touches no shared file. main.cc parses the global
// options (--root DIR, --version) and dispatches on the first remaining word.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace qx::cli {

struct Invocation {
    std::string root;               // --root DIR, or the default (see main.cc); may be empty
    std::vector<std::string> args;  // the words after the sub-command's name
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
};

// Returns the process exit status: 0 success, 1 a failure the command reports (for example an
// engine error line), 2 a usage error with a message on `err`.
using CommandFn = std::function<int(Invocation&)>;

struct Command {
    std::string name;   // "config", "ini", "jet", "run", ...
    std::string usage;  // one line for --help
    CommandFn run;
};

void registerCommand(Command command);
const std::vector<Command>& commands();

struct CommandRegistration {
    explicit CommandRegistration(Command command) { registerCommand(std::move(command)); }
};

}  // namespace qx::cli
