// Sub-commands of `qxtest-cli jet` that live in their own files (jet create, jet compact, ...).
// Each registers itself like a top-level command; `jet` dispatches on its first word to them before
// handling its own words.
#pragma once

#include "cli/command.h"

namespace qx::cli {

// `run` gets the invocation with args still starting with the sub-command's word.
void registerJetSubcommand(Command command);
const Command* findJetSubcommand(const std::string& word);
std::string jetSubcommandUsage();

struct JetSubcommandRegistration {
    explicit JetSubcommandRegistration(Command command) { registerJetSubcommand(std::move(command)); }
};

}  // namespace qx::cli
