#include "jet/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "jet/error.h"

namespace jet::detail {

namespace {

class HostOps final : public NewFileOps {
  public:
    int createExclusive(const std::string& path, int& fd) override {
        fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        return fd < 0 ? errno : 0;
    }
    int writeAt(int fd, std::uint64_t offset, const std::uint8_t* data, std::size_t length) override {
        while (length > 0) {
            ssize_t n = ::pwrite(fd, data, length, static_cast<off_t>(offset));
            if (n < 0) {
                if (errno == EINTR) continue;
                return errno;
            }
            if (n == 0) return EIO;
            data += n;
            length -= static_cast<std::size_t>(n);
            offset += static_cast<std::uint64_t>(n);
        }
        return 0;
    }
    int sync(int fd) override { return ::fsync(fd) != 0 ? errno : 0; }
    int close(int fd) override { return ::close(fd) != 0 ? errno : 0; }
    int link(const std::string& from, const std::string& to) override {
        return ::link(from.c_str(), to.c_str()) != 0 ? errno : 0;
    }
    int remove(const std::string& path) override { return ::unlink(path.c_str()) != 0 ? errno : 0; }
    int syncDirectory(const std::string& path) override {
        int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0) return errno;
        int rc = ::fsync(fd) != 0 ? errno : 0;
        ::close(fd);
        return rc;
    }
    bool exists(const std::string& path) override {
        struct stat st {};
        return ::lstat(path.c_str(), &st) == 0;
    }
};

std::atomic<unsigned> tempCounter{0};

}  // namespace

NewFileOps& hostNewFileOps() {
    static HostOps ops;
    return ops;
}

std::string databaseExistsText() {
    return "Database already exists.";
}

NewFile::NewFile(const std::string& destination, NewFileOps& ops) : ops_(ops), destination_(destination) {
    namespace fs = std::filesystem;
    if (destination.empty())
        throw Error(errc::kInvalidPath,
                    "'' is not a valid path.  Make sure that the path name is spelled correctly and that you "
                    "are connected to the server on which the file resides.");
    if (ops_.exists(destination)) throw Error(3204, databaseExistsText());
    fs::path dest(destination);
    fs::path folder = dest.parent_path();
    folder_ = folder.empty() ? std::string(".") : folder.string();
    std::error_code ec;
    if (!fs::is_directory(folder_, ec))
        throw Error(errc::kInvalidPath, "'" + destination +
                                            "' is not a valid path.  Make sure that the path name is spelled "
                                            "correctly and that you are connected to the server on which the "
                                            "file resides.");
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::string name = (folder / ("." + dest.filename().string() + "." + std::to_string(::getpid()) +
                                      "-" + std::to_string(tempCounter++) + ".qxtmp"))
                               .string();
        int fd = -1;
        int rc = ops_.createExclusive(name, fd);
        if (rc == EEXIST) continue;
        if (rc != 0) fail(rc, "create");
        temp_ = name;
        fd_ = fd;
        return;
    }
    fail(EEXIST, "create");
}

NewFile::~NewFile() {
    if (fd_ >= 0) ops_.close(fd_);
    if (!published_ && !temp_.empty()) ops_.remove(temp_);
}

void NewFile::fail(int error, const char* what) {
    std::string text = "Could not write '" + destination_ + "' (" + what + ": " + std::strerror(error) + ").";
    throw Error(errc::kNoPermission, text);
}

void NewFile::writeAt(std::uint64_t offset, const std::uint8_t* data, std::size_t length) {
    int rc = ops_.writeAt(fd_, offset, data, length);
    if (rc != 0) fail(rc, "write");
}

void NewFile::publish() {
    int rc = ops_.sync(fd_);
    if (rc != 0) fail(rc, "sync");
    rc = ops_.close(fd_);
    fd_ = -1;
    if (rc != 0) fail(rc, "close");
    rc = ops_.link(temp_, destination_);
    if (rc == EEXIST) throw Error(3204, databaseExistsText());
    if (rc != 0) fail(rc, "link");
    published_ = true;
    // The file is complete under its name; the temporary name is only a second link to it.
    ops_.remove(temp_);
    rc = ops_.syncDirectory(folder_);
    if (rc != 0) fail(rc, "sync folder");
}

}  // namespace jet::detail
