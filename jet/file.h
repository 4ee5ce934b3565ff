// The engine's only way to the file system.
//
// Everything the engine does with files (reading and writing pages, the rollback journal, the
// .ldb lock file, byte-range locks) goes through a FileSystem and the Files it opens, so that tests
// can make any single operation fail (see fault_file.h) and a host may put its own file layer
// underneath. Errors are errno values (0 = success); callers turn them into Jet errors.
//
// Locks are advisory byte-range locks owned by the open File (not by the process): two Files of
// the same path in one process conflict with each other as two processes would, and closing one
// File never drops the locks of another (POSIX: open-file-description locks).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace jet {

enum class OpenMode {
    Read,          // existing file, read only
    ReadWrite,     // existing file, read and write
    CreateOrOpen,  // read and write; made when missing (mode 0666 less umask)
    CreateNew,     // read and write; fails with EEXIST when the file exists
};

enum class LockKind { Shared, Exclusive };

struct FileInfo {
    bool exists = false;
    bool directory = false;
    bool regular = false;
    std::uint64_t device = 0, inode = 0, size = 0;
    std::int64_t modifiedSeconds = 0, modifiedNanoseconds = 0;
    std::int64_t changedSeconds = 0, changedNanoseconds = 0;
};

class File {
  public:
    virtual ~File() = default;
    // Reads up to `length` bytes at `offset`; sets `done` to the bytes read (fewer only at the end
    // of the file). Returns 0 or an errno.
    virtual int readAt(std::uint64_t offset, void* data, std::size_t length, std::size_t& done) = 0;
    // Writes up to `length` bytes; sets `done` to the bytes written, which may be fewer (a short
    // write) without an error. Returns 0 or an errno.
    virtual int writeAt(std::uint64_t offset, const void* data, std::size_t length, std::size_t& done) = 0;
    // Makes everything written so far durable.
    virtual int sync() = 0;
    virtual int size(std::uint64_t& out) = 0;
    virtual int truncate(std::uint64_t length) = 0;
    // Takes a lock on [offset, offset+length) without waiting (EAGAIN when another File holds a
    // conflicting lock), or waiting for it when `wait` is set. Taking a lock over a range this
    // File already holds converts it.
    virtual int lock(std::uint64_t offset, std::uint64_t length, LockKind kind, bool wait) = 0;
    virtual int unlock(std::uint64_t offset, std::uint64_t length) = 0;

    // Writes all `length` bytes, going on after short writes. Returns 0 or an errno (EIO when a
    // write makes no progress).
    int writeAll(std::uint64_t offset, const void* data, std::size_t length);
    // Reads until `length` bytes or the end of the file; `done` tells how many arrived.
    int readAll(std::uint64_t offset, void* data, std::size_t length, std::size_t& done);
};

class FileSystem {
  public:
    virtual ~FileSystem() = default;
    // Opens `path`; on failure returns null and sets `error`.
    virtual std::unique_ptr<File> open(const std::string& path, OpenMode mode, int& error) = 0;
    virtual int remove(const std::string& path) = 0;
    // Gives `from` the name `to`, replacing what `to` named, in one step (rename(2)); durable once
    // the folder is synced. Returns 0 or an errno.
    virtual int rename(const std::string& from, const std::string& to) = 0;
    // Makes the creation or removal of entries in directory `path` durable.
    virtual int syncDirectory(const std::string& path) = 0;
    // Facts about `path` (follows links); `exists` false when it does not exist. Returns 0 or an
    // errno other than ENOENT/ENOTDIR.
    virtual int stat(const std::string& path, FileInfo& info) = 0;
    // Whether this process may write `path` (a file or a directory), as access(W_OK) tells.
    virtual bool writable(const std::string& path) = 0;
    // The machine's name as lock files record it.
    virtual std::string computerName() = 0;
};

// The host's file system (POSIX).
FileSystem& hostFileSystem();

}  // namespace jet
