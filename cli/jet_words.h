// What the `jet` subcommands share: asking for help, opening a file for a change, and ending on
// an engine error. The subcommands keep their own usage lines and exit statuses (command.h).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/command.h"
#include "jet/database.h"
#include "jet/error.h"
#include "output/row_output.h"

namespace qx::cli {

// True when any word is "--help" or "-h".
bool wantsHelp(const std::vector<std::string>& args);

// Prints "usage: USAGE" on standard output; returns exit status 0 (the answer to --help).
int printHelp(Invocation& inv, std::string_view usage);

// Prints "usage: USAGE" on standard error; returns exit status 2.
int printUsageError(Invocation& inv, std::string_view usage);

// Takes "--format json|csv" out of the words into `format`. False, after printing "COMMAND:
// PROBLEM" (when the option is malformed) and the usage on standard error, when the option is
// malformed or other than `words` words remain.
bool takeFormatAndWords(Invocation& inv, std::string_view command, std::string_view usage, std::size_t words,
                        jet::output::OutputFormat& format);

// Opens the database at host path `path` shared for writing and reports on `inv.err` what the
// open found beside it (a journal rolled back or ignored). Throws jet::Error.
jet::Database openForChange(Invocation& inv, const std::string& path);

// Prints {"rowsAffected":N}; returns exit status 0.
int printRowsAffected(Invocation& inv, std::uint64_t rows);

// Prints the engine error as {"error":{"number":N,"description":D}}; returns exit status 1.
int printEngineError(Invocation& inv, const jet::Error& e);

}  // namespace qx::cli
