// A file system that fails on purpose, for tests of what a failing disk or a sudden stop does.
//
// It wraps another FileSystem and counts, across every File it opened, each write (writeAt) and
// each sync (File::sync and syncDirectory), from 1. A Plan says what happens at which count: the
// operation fails with an errno (ENOSPC, EIO, ...), a write stops short halfway, or the process
// ends at once with _exit() before the operation (a crash: nothing after it reaches the disk,
// what came before stays, as after a power cut on a file system that honours syncs). Opening
// for writing and removing can be refused as a read-only folder or a vanished one would.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "jet/file.h"

namespace jet {

struct FaultPlan {
    std::uint64_t failWrite = 0;    // the Nth write fails with `error` (0 = never)
    std::uint64_t failSync = 0;     // the Nth sync fails with `error`
    int error = 5;                  // EIO
    bool failAllAfter = false;      // once failed, every later write and sync fails too
    std::uint64_t shortWrite = 0;   // the Nth write writes half its bytes and reports so
    std::uint64_t exitAtWrite = 0;  // _exit(exitCode) before the Nth write
    std::uint64_t exitAtSync = 0;   // _exit(exitCode) before the Nth sync
    int exitCode = 86;
    int refuseWriteOpen = 0;  // non-zero: opening for writing (and creating, removing)
                              // fails with this errno (EROFS, EACCES, ENOENT)
};

class FaultyFileSystem final : public FileSystem {
  public:
    explicit FaultyFileSystem(FileSystem& inner, FaultPlan plan = {}) : inner_(inner), plan_(plan) {}

    std::unique_ptr<File> open(const std::string& path, OpenMode mode, int& error) override;
    int remove(const std::string& path) override;
    int rename(const std::string& from, const std::string& to) override;
    int syncDirectory(const std::string& path) override;
    int stat(const std::string& path, FileInfo& info) override { return inner_.stat(path, info); }
    bool writable(const std::string& path) override {
        return plan_.refuseWriteOpen == 0 && inner_.writable(path);
    }
    std::string computerName() override { return inner_.computerName(); }

    FaultPlan& plan() noexcept { return plan_; }
    std::uint64_t writes() const noexcept { return writes_; }
    std::uint64_t syncs() const noexcept { return syncs_; }
    std::uint64_t bytesWritten() const noexcept { return bytes_; }
    void resetCounts() noexcept {
        writes_ = syncs_ = bytes_ = 0;
        failed_ = false;
    }

    // Used by the files it opened.
    int beforeWrite(std::size_t& length, bool& shortened);
    int beforeSync();
    void wrote(std::size_t n) noexcept { bytes_ += n; }

  private:
    FileSystem& inner_;
    FaultPlan plan_;
    std::uint64_t writes_ = 0, syncs_ = 0, bytes_ = 0;
    bool failed_ = false;
};

// Files held in memory (the fuzz target opens its input through it). Locks always succeed.
class MemoryFileSystem final : public FileSystem {
  public:
    void put(const std::string& path, std::vector<std::uint8_t> bytes);
    std::vector<std::uint8_t> get(const std::string& path) const;

    std::unique_ptr<File> open(const std::string& path, OpenMode mode, int& error) override;
    int remove(const std::string& path) override;
    int rename(const std::string& from, const std::string& to) override;
    int syncDirectory(const std::string&) override { return 0; }
    int stat(const std::string& path, FileInfo& info) override;
    bool writable(const std::string&) override { return true; }
    std::string computerName() override { return "memory"; }

  private:
    std::map<std::string, std::shared_ptr<std::vector<std::uint8_t>>> files_;
};

}  // namespace jet
