// `qxtest-cli jet create FILE [--format jet4|jet3]` and `qxtest-cli jet compact SRC DST [--salvage]`.
//
// create: a new empty database; an existing FILE is refused and left alone.
// compact: a compacted copy of SRC at DST (which must not exist). On a terminal a progress line is
// kept on standard error. Standard output: with --salvage a line {"salvage":[...]} listing what
// could not be copied, per table; the last line is the summary
// {"sizeBefore":B,"sizeAfter":A,"tables":T,"rows":R,"seconds":S}.
// Engine errors print {"error":{"number":N,"description":D}} and exit 1.
#include <unistd.h>

#include <cstdio>
#include <ostream>

#include "cli/command.h"
#include "cli/jet_words.h"
#include "jet/compact.h"
#include "output/json_export.h"

namespace qx::cli {
namespace {

int runCreate(Invocation& inv) {
    const auto& a = inv.args;
    jet::FormatVersion format = jet::FormatVersion::Jet4;
    std::string file;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] == "--format" && i + 1 < a.size()) {
            const std::string& v = a[++i];
            if (v == "jet4")
                format = jet::FormatVersion::Jet4;
            else if (v == "jet3")
                format = jet::FormatVersion::Jet3;
            else {
                inv.err << "jet create: unknown format '" << v << "' (jet4 or jet3)\n";
                return 2;
            }
        } else if (file.empty() && a[i].rfind("--", 0) != 0) {
            file = a[i];
        } else {
            file.clear();
            break;
        }
    }
    if (file.empty()) return printUsageError(inv, "jet create FILE [--format jet4|jet3]");
    try {
        jet::createDatabase(file, format);
        return 0;
    } catch (const jet::Error& e) {
        return printEngineError(inv, e);
    }
}

void appendStringList(std::string& out, const std::vector<std::string>& list) {
    out += '[';
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (i) out += ',';
        jet::json::appendString(out, list[i]);
    }
    out += ']';
}

int runCompact(Invocation& inv) {
    const auto& a = inv.args;
    std::vector<std::string> files;
    bool salvage = false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] == "--salvage")
            salvage = true;
        else
            files.push_back(a[i]);
    }
    if (files.size() != 2) return printUsageError(inv, "jet compact SRC DST [--salvage]");
    jet::CompactOptions options;
    options.salvage = salvage;
    bool terminal = ::isatty(STDERR_FILENO) == 1;
    if (terminal) {
        options.progress = [&inv](const jet::CompactProgress& p) {
            inv.err << "\r" << p.tablesDone << "/" << p.tablesTotal << " tables, " << p.rowsDone << " rows, "
                    << p.bytesWritten / 1024 << " KB  " << p.table.substr(0, 32) << "\x1b[K";
            inv.err.flush();
        };
    }
    try {
        jet::CompactResult r = jet::compactDatabase(files[0], files[1], options);
        if (terminal) inv.err << "\r\x1b[K";
        if (salvage) {
            std::string line = "{\"salvage\":[";
            for (std::size_t i = 0; i < r.losses.size(); ++i) {
                const auto& l = r.losses[i];
                if (i) line += ',';
                line += "{\"table\":";
                jet::json::appendString(line, l.table);
                line += ",\"tableLost\":" + std::string(l.tableLost ? "true" : "false");
                line += ",\"rowsCopied\":" + std::to_string(l.rowsCopied);
                line += ",\"rowsLost\":" + std::to_string(l.rowsLost);
                line += ",\"indexesLost\":";
                appendStringList(line, l.indexes);
                line += ",\"problems\":";
                appendStringList(line, l.problems);
                line += '}';
            }
            line += "]}";
            inv.out << line << '\n';
        }
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%.3f", r.seconds);
        inv.out << "{\"sizeBefore\":" << r.sizeBefore << ",\"sizeAfter\":" << r.sizeAfter
                << ",\"tables\":" << r.tables << ",\"rows\":" << r.rows << ",\"seconds\":" << seconds
                << "}\n";
        inv.out.flush();
        return 0;
    } catch (const jet::Error& e) {
        if (terminal) inv.err << "\r\x1b[K";
        return printEngineError(inv, e);
    }
}

const CommandRegistration createRegistration{
    Command{"jet create", "jet create FILE [--format jet4|jet3]  (a new empty database)", runCreate}};
const CommandRegistration compactRegistration{
    Command{"jet compact", "jet compact SRC DST [--salvage]  (a compacted copy of a database)", runCompact}};

}  // namespace
}  // namespace qx::cli
