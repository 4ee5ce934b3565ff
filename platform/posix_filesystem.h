// The emulated Windows path space over POSIX folders.
//
// Each drive letter is mapped to one host folder (its root). A Windows path is made absolute
// against the current folder of its drive, normalised ("." dropped, ".." stops at the drive root,
// "/" accepted as "\", trailing dots and blanks of a component dropped as Windows drops them), and
// then resolved one component at a time without regard to case, the exact spelling winning when
// two host names differ only in case. Nothing outside the mapped roots is ever reached:
// - ".." cannot climb above a drive root;
// - a host symbolic link whose target lies outside its drive's root is refused (75), and so is a
//   dangling one; links inside the root are followed;
// - host names that no Windows name can spell (containing \ / : * ? " < > | or control
//   characters) are invisible;
// - UNC paths ("\\server\share") are not mapped (76), unmapped drives give 68.
// Files are created and truncated with O_NOFOLLOW; copies are written beside the target and renamed
// into place, so a failed copy never leaves a half-written destination.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/filesystem.h"

namespace qx::platform {

class PosixFileSystem final : public FileSystem {
  public:
    // `drives` maps upper-case letters to existing host folders. Throws std::invalid_argument when a
    // folder does not exist or a letter is not A-Z. The current drive is C: when mapped, else the
    // first; every drive's current folder starts at its root.
    explicit PosixFileSystem(std::map<char, std::string> drives);
    ~PosixFileSystem() override;
    PosixFileSystem(const PosixFileSystem&) = delete;
    PosixFileSystem& operator=(const PosixFileSystem&) = delete;

    std::vector<DirEntry> dir(std::string_view pattern, unsigned attributes) const override;
    std::int64_t fileLen(std::string_view path) const override;
    std::string canonicalFolder(std::string_view path) const override;
    std::vector<std::string> subfolders(std::string_view folder) const override;
    std::vector<std::string> files(std::string_view folder, std::string_view patterns) const override;
    std::vector<char> drives() const override;
    void copyFile(std::string_view source, std::string_view destination) override;
    void deleteFile(std::string_view path) override;
    void openForOutput(int number, std::string_view path) override;
    void openForInput(int number, std::string_view path) override;
    void printLine(int number, std::string_view text) override;
    std::string inputField(int number) override;
    void close(int number) override;
    bool isOpen(int number) const override;
    std::string readAll(std::string_view path) const override;
    std::string hostPath(std::string_view path) const override;
    char currentDrive() const override;
    std::string currentFolder(char drive) const override;

    // VB's ChDir: the folder must exist (76); changes the current folder of its own drive only.
    void changeFolder(std::string_view path);
    // VB's ChDrive: 68 when the drive is not mapped.
    void changeDrive(char drive);

    // Largest file readAll and openForInput accept; beyond it they raise 7 (out of memory) rather
    // than exhaust the host on a hostile file.
    static constexpr std::int64_t kMaxReadBytes = std::int64_t{256} << 20;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace qx::platform
