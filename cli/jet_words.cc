#include "cli/jet_words.h"

#include <algorithm>
#include <ostream>

#include "output/json_export.h"

namespace qx::cli {

bool wantsHelp(const std::vector<std::string>& args) {
    return std::any_of(args.begin(), args.end(),
                       [](const std::string& a) { return a == "--help" || a == "-h"; });
}

int printHelp(Invocation& inv, std::string_view usage) {
    inv.out << "usage: " << usage << "\n";
    return 0;
}

int printUsageError(Invocation& inv, std::string_view usage) {
    inv.err << "usage: " << usage << "\n";
    return 2;
}

bool takeFormatAndWords(Invocation& inv, std::string_view command, std::string_view usage, std::size_t words,
                        jet::output::OutputFormat& format) {
    std::string problem;
    if (jet::output::takeFormatOption(inv.args, format, problem) && inv.args.size() == words) return true;
    if (!problem.empty()) inv.err << command << ": " << problem << "\n";
    printUsageError(inv, usage);
    return false;
}

jet::Database openForChange(Invocation& inv, const std::string& path) {
    jet::OpenOptions options;
    options.readOnly = false;
    jet::Database db = jet::Database::open(path, options);
    for (const auto& n : db.notices()) inv.err << n << '\n';
    return db;
}

int printRowsAffected(Invocation& inv, std::uint64_t rows) {
    inv.out << "{\"rowsAffected\":" << rows << "}\n";
    inv.out.flush();
    return 0;
}

int printEngineError(Invocation& inv, const jet::Error& e) {
    inv.out << jet::json::errorLine(e) << '\n';
    inv.out.flush();
    return 1;
}

}  // namespace qx::cli
