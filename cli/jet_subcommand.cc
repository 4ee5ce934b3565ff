#include "cli/jet_subcommand.h"

namespace qx::cli {

namespace {
std::vector<Command>& subcommands() {
    static std::vector<Command> list;
    return list;
}
}  // namespace

void registerJetSubcommand(Command command) {
    subcommands().push_back(std::move(command));
}

const Command* findJetSubcommand(const std::string& word) {
    for (const auto& c : subcommands())
        if (c.name == word) return &c;
    return nullptr;
}

std::string jetSubcommandUsage() {
    std::string out;
    for (const auto& c : subcommands()) out += " | " + c.usage;
    return out;
}

}  // namespace qx::cli
