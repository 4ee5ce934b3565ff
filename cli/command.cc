#include "cli/command.h"

namespace qx::cli {
namespace {

// Function-local so that registrations from other translation units, which run during static
// initialisation in no fixed order, always find it constructed.
std::vector<Command>& registry() {
    static std::vector<Command> all;
    return all;
}

}  // namespace

void registerCommand(Command command) {
    registry().push_back(std::move(command));
}

const std::vector<Command>& commands() {
    return registry();
}

}  // namespace qx::cli
