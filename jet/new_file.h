// Making a new file so that its name holds nothing or the complete file (engine internal).
//
// NewFile writes under a temporary name in the destination's folder, makes the data durable, then
// gives the file its name with link(2), which fails rather than replace a file that appeared
// meanwhile, removes the temporary name and makes the folder durable. Whatever stops the process,
// the destination name is either absent or names the whole, synced file; at worst a temporary
// file is left behind (its name starts with the destination's and ends in ".qxtmp").
//
// Every operation goes through NewFileOps so that tests can make any single one fail.
#pragma once

#include <cstdint>
#include <string>

#include "jet/builder.h"

namespace jet::detail {

// The file-system operations a new file needs; each returns 0 or an errno.
class NewFileOps {
  public:
    virtual ~NewFileOps() = default;
    virtual int createExclusive(const std::string& path, int& fd) = 0;
    virtual int writeAt(int fd, std::uint64_t offset, const std::uint8_t* data, std::size_t length) = 0;
    virtual int sync(int fd) = 0;
    virtual int close(int fd) = 0;
    virtual int link(const std::string& from, const std::string& to) = 0;
    virtual int remove(const std::string& path) = 0;
    virtual int syncDirectory(const std::string& path) = 0;
    virtual bool exists(const std::string& path) = 0;
};

NewFileOps& hostNewFileOps();

class NewFile : public PageSink {
  public:
    // Errors: 3204 when `destination` exists; 3044 when its folder does not; 3051 otherwise.
    NewFile(const std::string& destination, NewFileOps& ops = hostNewFileOps());
    ~NewFile() override;  // removes the temporary file unless published
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void writeAt(std::uint64_t offset, const std::uint8_t* data, std::size_t length) override;
    // Syncs, names the file, syncs the folder. 3204 when the destination appeared meanwhile.
    void publish();

    const std::string& temporaryPath() const noexcept { return temp_; }

  private:
    [[noreturn]] void fail(int error, const char* what);
    NewFileOps& ops_;
    std::string destination_;
    std::string folder_;
    std::string temp_;
    int fd_ = -1;
    bool published_ = false;
};

// Jet's text for 3204.
std::string databaseExistsText();

}  // namespace jet::detail
