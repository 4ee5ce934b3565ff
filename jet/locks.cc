#include "jet/locks.h"

#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>

#include "jet/error.h"

namespace jet::detail {

std::string lockFilePath(const std::string& database) {
    std::size_t slash = database.find_last_of('/');
    std::size_t dot = database.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return database + ".ldb";
    return database.substr(0, dot) + ".ldb";
}

OpenLocks::OpenLocks(FileSystem& fs, File& db, const std::string& path, bool exclusive, bool writable)
    : fs_(fs), db_(db), path_(path), ldbPath_(lockFilePath(path)), exclusive_(exclusive) {
    // A descriptor open for reading only cannot hold an exclusive lock; such an open (a file that
    // cannot be written) is shared, which still keeps exclusive holders out.
    // Whoever holds it exclusively keeps no .ldb; locks do not cross machines, so it is a user of
    // this one.
    auto openedExclusively = [&] {
        return Error(errc::kOpenedExclusively,
                     "You attempted to open a database that is already opened exclusively by user '" +
                         std::string(kLdbUser) + "' on machine '" + fs_.computerName() +
                         "'.  Try again when the database is available.");
    };
    if (exclusive && writable) {
        if (db_.lock(kLockOpenMode, 1, LockKind::Exclusive, false) != 0) {
            // Someone holding it exclusively is reported as to any other open (3356); users
            // sharing it make it in use (3045).
            if (db_.lock(kLockOpenMode, 1, LockKind::Shared, false) != 0) throw openedExclusively();
            db_.unlock(kLockOpenMode, 1);
            throw Error(errc::kFileInUse, "Could not use '" + path + "'; file already in use.");
        }
        return;
    }
    if (db_.lock(kLockOpenMode, 1, LockKind::Shared, false) != 0) throw openedExclusively();
    if (!writable) return;
    db_.lock(kLockGuard, 1, LockKind::Exclusive, true);
    for (unsigned s = 0; s < kLockSlots; ++s) {
        if (db_.lock(kLockFirstSlot + s, 1, LockKind::Exclusive, false) == 0) {
            slot_ = static_cast<int>(s);
            break;
        }
    }
    if (slot_ < 0) {
        db_.unlock(kLockGuard, 1);
        db_.unlock(kLockOpenMode, 1);
        throw Error(errc::kTooManyUsers, "Could not lock file.");
    }
    // The .ldb is only a record for people; a folder that cannot take it changes nothing.
    int err = 0;
    auto ldb = fs_.open(ldbPath_, OpenMode::CreateOrOpen, err);
    if (ldb) {
        char buf[kLdbSlotBytes] = {};
        std::string computer = fs_.computerName();
        std::memcpy(buf, computer.data(), std::min<std::size_t>(computer.size(), 31));
        std::memcpy(buf + 32, kLdbUser, sizeof kLdbUser - 1);
        ldb->writeAll(static_cast<std::uint64_t>(slot_) * kLdbSlotBytes, buf, sizeof buf);
    }
    db_.unlock(kLockGuard, 1);
}

OpenLocks::~OpenLocks() {
    if (exclusive_) {
        db_.unlock(kLockOpenMode, 1);
        return;
    }
    if (slot_ < 0) {
        db_.unlock(kLockOpenMode, 1);
        return;
    }
    db_.lock(kLockGuard, 1, LockKind::Exclusive, true);
    db_.unlock(kLockFirstSlot + static_cast<unsigned>(slot_), 1);
    // Last one out (no slot held by anyone) removes the .ldb.
    if (db_.lock(kLockFirstSlot, kLockSlots, LockKind::Exclusive, false) == 0) {
        fs_.remove(ldbPath_);
        db_.unlock(kLockFirstSlot, kLockSlots);
    }
    db_.unlock(kLockGuard, 1);
    db_.unlock(kLockOpenMode, 1);
}

namespace {
std::mutex generationMutex;
std::map<std::pair<std::uint64_t, std::uint64_t>, std::uint64_t>& generations() {
    static std::map<std::pair<std::uint64_t, std::uint64_t>, std::uint64_t> g;
    return g;
}
}  // namespace

std::uint64_t fileGeneration(std::uint64_t device, std::uint64_t inode) {
    std::lock_guard lock(generationMutex);
    auto it = generations().find({device, inode});
    return it == generations().end() ? 0 : it->second;
}

void bumpFileGeneration(std::uint64_t device, std::uint64_t inode) {
    std::lock_guard lock(generationMutex);
    ++generations()[{device, inode}];
}

}  // namespace jet::detail
