// How open databases keep out of each other's way, as Jet does it: byte-range locks on the
// database file far beyond its data, and the .ldb file beside it that names who has it open.
//
// Lock bytes (all advisory, held on the database File, so they vanish with the process):
//   0x10000000          open mode: every shared open holds it shared, an exclusive open holds it
//                       exclusively. A shared open finding it held exclusively gets 3356, an
//                       exclusive open finding any holder gets 3045.
//   0x10000001+s        slot s (0..254) of the .ldb, held exclusively by the open using the slot.
//   0x10000100          the write lock: held by a write transaction from its start to its end;
//                       another holder gives 3218.
//   0x10000101          commit: held exclusively while pages are being written and while a left
//                       behind journal is rolled back; an open holds it shared while it checks for
//                       a journal and reads the header and the catalog, so it never sees half a
//                       commit and never rolls back the journal of a live writer.
//   0x10000102          guard for creating, filling and removing the .ldb.
// The .ldb (shared opens for writing only, where the folder is writable): slot s at 64*s, 32 bytes computer
// name and 32 bytes user name ("Admin"), NUL-padded. The last open to close removes it; a slot
// whose lock nobody holds is stale and is reused.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "jet/file.h"

namespace jet::detail {

inline constexpr std::uint64_t kLockOpenMode = 0x10000000u;
inline constexpr std::uint64_t kLockFirstSlot = 0x10000001u;
inline constexpr unsigned kLockSlots = 255;
inline constexpr std::uint64_t kLockWrite = 0x10000100u;
inline constexpr std::uint64_t kLockCommit = 0x10000101u;
inline constexpr std::uint64_t kLockGuard = 0x10000102u;
inline constexpr std::size_t kLdbSlotBytes = 64;
inline constexpr char kLdbUser[] = "Admin";

// The path of the lock file beside `database`: its name with the extension replaced by .ldb.
std::string lockFilePath(const std::string& database);

// What one open database holds. Made by Database::open; released by its destructor.
class OpenLocks {
  public:
    // Takes the open-mode lock and, for a shared open, a slot and its .ldb entry. Errors: 3045,
    // 3356 (naming the user and this machine).
    // `writable`: `db` is open for writing. An open for reading only can hold shared locks alone
    // (POSIX), so it takes the open-mode lock but no slot and writes no .ldb entry.
    OpenLocks(FileSystem& fs, File& db, const std::string& path, bool exclusive, bool writable);
    OpenLocks(const OpenLocks&) = delete;
    OpenLocks& operator=(const OpenLocks&) = delete;
    ~OpenLocks();

    int slot() const noexcept { return slot_; }

  private:
    FileSystem& fs_;
    File& db_;
    std::string path_;
    std::string ldbPath_;
    bool exclusive_;
    int slot_ = -1;
};

// Generation counter of a file (by device and inode) within this process: bumped by every commit,
// so that readers of the same file in this process can tell that their cached state is old.
std::uint64_t fileGeneration(std::uint64_t device, std::uint64_t inode);
void bumpFileGeneration(std::uint64_t device, std::uint64_t inode);

}  // namespace jet::detail
