// POSIX implementation of the file seam.
#include "jet/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace jet {

int File::writeAll(std::uint64_t offset, const void* data, std::size_t length) {
    const auto* p = static_cast<const std::uint8_t*>(data);
    std::size_t written = 0;
    while (written < length) {
        std::size_t done = 0;
        int err = writeAt(offset + written, p + written, length - written, done);
        if (err != 0) return err;
        if (done == 0) return EIO;
        written += done;
    }
    return 0;
}

int File::readAll(std::uint64_t offset, void* data, std::size_t length, std::size_t& done) {
    auto* p = static_cast<std::uint8_t*>(data);
    done = 0;
    while (done < length) {
        std::size_t got = 0;
        int err = readAt(offset + done, p + done, length - done, got);
        if (err != 0) return err;
        if (got == 0) break;
        done += got;
    }
    return 0;
}

namespace {

class PosixFile final : public File {
  public:
    explicit PosixFile(int fd) : fd_(fd) {}
    ~PosixFile() override { ::close(fd_); }

    int readAt(std::uint64_t offset, void* data, std::size_t length, std::size_t& done) override {
        done = 0;
        for (;;) {
            ssize_t n = ::pread(fd_, data, length, static_cast<off_t>(offset));
            if (n >= 0) {
                done = static_cast<std::size_t>(n);
                return 0;
            }
            if (errno != EINTR) return errno;
        }
    }
    int writeAt(std::uint64_t offset, const void* data, std::size_t length, std::size_t& done) override {
        done = 0;
        for (;;) {
            ssize_t n = ::pwrite(fd_, data, length, static_cast<off_t>(offset));
            if (n >= 0) {
                done = static_cast<std::size_t>(n);
                return 0;
            }
            if (errno != EINTR) return errno;
        }
    }
    int sync() override { return ::fsync(fd_) == 0 ? 0 : errno; }
    int size(std::uint64_t& out) override {
        struct stat st {};
        if (::fstat(fd_, &st) != 0) return errno;
        out = static_cast<std::uint64_t>(st.st_size);
        return 0;
    }
    int truncate(std::uint64_t length) override {
        return ::ftruncate(fd_, static_cast<off_t>(length)) == 0 ? 0 : errno;
    }
    int lock(std::uint64_t offset, std::uint64_t length, LockKind kind, bool wait) override {
        struct flock fl {};
        fl.l_type = kind == LockKind::Shared ? F_RDLCK : F_WRLCK;
        fl.l_whence = SEEK_SET;
        fl.l_start = static_cast<off_t>(offset);
        fl.l_len = static_cast<off_t>(length);
        for (;;) {
            if (::fcntl(fd_, wait ? F_OFD_SETLKW : F_OFD_SETLK, &fl) == 0) return 0;
            if (errno == EINTR) continue;
            return errno == EACCES ? EAGAIN : errno;
        }
    }
    int unlock(std::uint64_t offset, std::uint64_t length) override {
        struct flock fl {};
        fl.l_type = F_UNLCK;
        fl.l_whence = SEEK_SET;
        fl.l_start = static_cast<off_t>(offset);
        fl.l_len = static_cast<off_t>(length);
        return ::fcntl(fd_, F_OFD_SETLK, &fl) == 0 ? 0 : errno;
    }

  private:
    int fd_;
};

class PosixFileSystem final : public FileSystem {
  public:
    std::unique_ptr<File> open(const std::string& path, OpenMode mode, int& error) override {
        int flags = O_CLOEXEC;
        switch (mode) {
            case OpenMode::Read:
                flags |= O_RDONLY;
                break;
            case OpenMode::ReadWrite:
                flags |= O_RDWR;
                break;
            case OpenMode::CreateOrOpen:
                flags |= O_RDWR | O_CREAT;
                break;
            case OpenMode::CreateNew:
                flags |= O_RDWR | O_CREAT | O_EXCL;
                break;
        }
        int fd = ::open(path.c_str(), flags, 0666);
        if (fd < 0) {
            error = errno;
            return nullptr;
        }
        error = 0;
        return std::make_unique<PosixFile>(fd);
    }
    int remove(const std::string& path) override { return ::unlink(path.c_str()) == 0 ? 0 : errno; }
    int rename(const std::string& from, const std::string& to) override {
        return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
    }
    int syncDirectory(const std::string& path) override {
        int fd = ::open(path.empty() ? "." : path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0) return errno;
        int err = ::fsync(fd) == 0 ? 0 : errno;
        ::close(fd);
        return err;
    }
    int stat(const std::string& path, FileInfo& info) override {
        info = FileInfo{};
        struct stat st {};
        if (::stat(path.c_str(), &st) != 0) {
            return errno == ENOENT || errno == ENOTDIR ? 0 : errno;
        }
        info.exists = true;
        info.directory = S_ISDIR(st.st_mode);
        info.regular = S_ISREG(st.st_mode);
        info.device = static_cast<std::uint64_t>(st.st_dev);
        info.inode = static_cast<std::uint64_t>(st.st_ino);
        info.size = static_cast<std::uint64_t>(st.st_size);
        info.modifiedSeconds = static_cast<std::int64_t>(st.st_mtim.tv_sec);
        info.modifiedNanoseconds = static_cast<std::int64_t>(st.st_mtim.tv_nsec);
        info.changedSeconds = static_cast<std::int64_t>(st.st_ctim.tv_sec);
        info.changedNanoseconds = static_cast<std::int64_t>(st.st_ctim.tv_nsec);
        return 0;
    }
    bool writable(const std::string& path) override { return ::access(path.c_str(), W_OK) == 0; }
    std::string computerName() override {
        char buf[256] = {};
        if (::gethostname(buf, sizeof buf - 1) != 0 || buf[0] == 0) return "localhost";
        return buf;
    }
};

}  // namespace

FileSystem& hostFileSystem() {
    static PosixFileSystem fs;
    return fs;
}

}  // namespace jet
