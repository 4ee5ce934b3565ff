// Speed of a write on a large database: DROP TABLE of one table.
//
//   jet-write-bench FILE TABLE
//
// FILE is changed (give it a copy). Prints the time of the whole drop (open not included), the part
// spent waiting for syncs, the pages saved in the journal, the bytes written (journal and
// database) and the process's peak memory.
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "jet/database.h"
#include "jet/error.h"
#include "jet/file.h"
#include "jet/schema.h"

namespace {

using Clock = std::chrono::steady_clock;

// The host's files, with the time spent in syncs added up.
class TimedFileSystem final : public jet::FileSystem {
  public:
    double syncSeconds = 0;

    class TimedFile final : public jet::File {
      public:
        TimedFile(TimedFileSystem& fs, std::unique_ptr<jet::File> inner)
            : fs_(fs), inner_(std::move(inner)) {}
        int readAt(std::uint64_t o, void* d, std::size_t n, std::size_t& done) override {
            return inner_->readAt(o, d, n, done);
        }
        int writeAt(std::uint64_t o, const void* d, std::size_t n, std::size_t& done) override {
            return inner_->writeAt(o, d, n, done);
        }
        int sync() override {
            auto a = Clock::now();
            int r = inner_->sync();
            fs_.syncSeconds += std::chrono::duration<double>(Clock::now() - a).count();
            return r;
        }
        int size(std::uint64_t& out) override { return inner_->size(out); }
        int truncate(std::uint64_t n) override { return inner_->truncate(n); }
        int lock(std::uint64_t o, std::uint64_t n, jet::LockKind k, bool w) override {
            return inner_->lock(o, n, k, w);
        }
        int unlock(std::uint64_t o, std::uint64_t n) override { return inner_->unlock(o, n); }

      private:
        TimedFileSystem& fs_;
        std::unique_ptr<jet::File> inner_;
    };

    std::unique_ptr<jet::File> open(const std::string& path, jet::OpenMode mode, int& error) override {
        auto f = host().open(path, mode, error);
        if (!f) return nullptr;
        return std::make_unique<TimedFile>(*this, std::move(f));
    }
    int remove(const std::string& path) override { return host().remove(path); }
    int rename(const std::string& from, const std::string& to) override { return host().rename(from, to); }
    int syncDirectory(const std::string& path) override {
        auto a = Clock::now();
        int r = host().syncDirectory(path);
        syncSeconds += std::chrono::duration<double>(Clock::now() - a).count();
        return r;
    }
    int stat(const std::string& path, jet::FileInfo& info) override { return host().stat(path, info); }
    bool writable(const std::string& path) override { return host().writable(path); }
    std::string computerName() override { return host().computerName(); }

  private:
    static jet::FileSystem& host() { return jet::hostFileSystem(); }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: jet-write-bench FILE TABLE\n");
        return 2;
    }
    try {
        TimedFileSystem fs;
        jet::OpenOptions options;
        options.readOnly = false;
        options.fileSystem = &fs;
        jet::Database db = jet::Database::open(argv[1], options);
        std::uint32_t pagesBefore = db.pageCount();
        jet::CommitStats stats;
        auto a = Clock::now();
        jet::dropTable(db, argv[2], &stats);
        double total = std::chrono::duration<double>(Clock::now() - a).count();
        rusage ru{};
        getrusage(RUSAGE_SELF, &ru);
        std::printf(
            "DROP TABLE %s: %.1f ms in all, %.1f ms of it in syncs, %.1f ms without them; %zu pages "
            "journaled, "
            "%zu pages written, %llu bytes written; file %u -> %u pages; peak memory %ld KiB\n",
            argv[2], total * 1e3, fs.syncSeconds * 1e3, (total - fs.syncSeconds) * 1e3, stats.pagesJournaled,
            stats.pagesWritten, static_cast<unsigned long long>(stats.bytesWritten), pagesBefore,
            db.pageCount(), ru.ru_maxrss);
        return 0;
    } catch (const jet::Error& e) {
        std::fprintf(stderr, "error %d: %s\n", e.number(), e.description().c_str());
        return 1;
    }
}
