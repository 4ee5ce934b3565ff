#include "maintenance/engine.h"

#include "ado/errors.h"
#include "jet/compact.h"
#include "jet/database.h"
#include "jet/error.h"
#include "jet/sql/execute.h"
#include "platform/errors.h"

namespace qx::maintenance {

namespace {

[[noreturn]] void raiseEngine(const jet::Error& e, const std::string& host, std::string_view path) {
    throw RuntimeError(e.number(), ado::inWindowsTerms(e.description(), host, std::string(path)));
}

}  // namespace

void executeStatement(Runtime& rt, std::string_view path, std::string_view statement) {
    const std::string host = rt.os.fs.hostPathForWrite(path);
    try {
        jet::OpenOptions options;
        options.readOnly = false;
        jet::Database db = jet::Database::open(host, options);
        jet::sql::execute(db, statement);
    } catch (const jet::Error& e) {
        raiseEngine(e, host, path);
    }
}

std::vector<TableDef> tableDefs(Runtime& rt, std::string_view path) {
    const std::string host = rt.os.fs.hostPath(path);
    try {
        jet::Database db = jet::Database::open(host);
        std::vector<TableDef> out;
        for (const auto& t : db.tableDefs()) out.push_back({t.name, t.attributes});
        return out;
    } catch (const jet::Error& e) {
        raiseEngine(e, host, path);
    }
}

CompactionSource::CompactionSource(Runtime& rt, std::string path, std::string host,
                                   std::unique_ptr<jet::Database> db)
    : rt_(&rt), path_(std::move(path)), host_(std::move(host)), db_(std::move(db)) {}
CompactionSource::CompactionSource(CompactionSource&&) noexcept = default;
CompactionSource& CompactionSource::operator=(CompactionSource&&) noexcept = default;
CompactionSource::~CompactionSource() = default;

CompactionSource CompactionSource::open(Runtime& rt, std::string_view path) {
    const std::string host = rt.os.fs.hostPathForWrite(path);
    try {
        {
            // An open as one more reader tells a user who holds the file exclusively (3356) from
            // users who merely have it open, whom the exclusive open below finds (3045).
            jet::Database probe = jet::Database::open(host);
        }
        jet::OpenOptions options;
        options.exclusive = true;
        options.cacheBytes = jet::kCompactCacheBytes;
        auto db = std::make_unique<jet::Database>(jet::Database::open(host, options));
        return CompactionSource(rt, std::string(path), host, std::move(db));
    } catch (const jet::Error& e) {
        raiseEngine(e, host, path);
    }
}

void CompactionSource::compactTo(std::string_view destination,
                                 const std::function<void(double)>& progress) const {
    const std::string host = rt_->os.fs.hostPathForWrite(destination);
    try {
        jet::CompactOptions options;
        if (progress) {
            options.progress = [&progress](const jet::CompactProgress& p) {
                if (p.tablesTotal != 0)
                    progress(static_cast<double>(p.tablesDone) / static_cast<double>(p.tablesTotal));
            };
        }
        jet::compactDatabase(*db_, host, options);
    } catch (const jet::Error& e) {
        throw RuntimeError(e.number(), ado::inWindowsTerms(ado::inWindowsTerms(e.description(), host_, path_),
                                                           host, std::string(destination)));
    }
}

}  // namespace qx::maintenance
