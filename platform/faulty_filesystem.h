// File systems that misbehave on request, for the script driver's `fault` lines and for tests.
//
// FileSystemWrapper forwards every call to another FileSystem, so a wrapper overrides only what
// it changes. FaultyFileSystem uses it to inject the failures a real disk gives: a folder where
// writing is refused (75, whoever runs the tests: file modes are not consulted), a folder that has
// vanished, and the Nth write failing with disk full (61) or a device I/O error (57).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/filesystem.h"

namespace qx::platform {

class FileSystemWrapper : public FileSystem {
  public:
    explicit FileSystemWrapper(FileSystem& target) : target_(target) {}
    // Not copyable: with a copy constructor, wrapping a FaultyFileSystem (itself a wrapper) would
    // pick the copy and forward past its faults to the file system underneath.
    FileSystemWrapper(const FileSystemWrapper&) = delete;
    FileSystemWrapper& operator=(const FileSystemWrapper&) = delete;
    FileSystem& target() const { return target_; }

    std::vector<DirEntry> dir(std::string_view pattern, unsigned attributes) const override {
        return target_.dir(pattern, attributes);
    }
    std::int64_t fileLen(std::string_view path) const override { return target_.fileLen(path); }
    std::string canonicalFolder(std::string_view path) const override {
        return target_.canonicalFolder(path);
    }
    std::vector<std::string> subfolders(std::string_view folder) const override {
        return target_.subfolders(folder);
    }
    std::vector<std::string> files(std::string_view folder, std::string_view patterns) const override {
        return target_.files(folder, patterns);
    }
    std::vector<char> drives() const override { return target_.drives(); }
    void copyFile(std::string_view source, std::string_view destination) override {
        target_.copyFile(source, destination);
    }
    void deleteFile(std::string_view path) override { target_.deleteFile(path); }
    void openForOutput(int number, std::string_view path) override { target_.openForOutput(number, path); }
    void openForInput(int number, std::string_view path) override { target_.openForInput(number, path); }
    void printLine(int number, std::string_view text) override { target_.printLine(number, text); }
    std::string inputField(int number) override { return target_.inputField(number); }
    void close(int number) override { target_.close(number); }
    bool isOpen(int number) const override { return target_.isOpen(number); }
    std::string readAll(std::string_view path) const override { return target_.readAll(path); }
    std::string hostPath(std::string_view path) const override { return target_.hostPath(path); }
    std::string hostPathForWrite(std::string_view path) override { return target_.hostPathForWrite(path); }
    char currentDrive() const override { return target_.currentDrive(); }
    std::string currentFolder(char drive) const override { return target_.currentFolder(drive); }

  private:
    FileSystem& target_;
};

class FaultyFileSystem final : public FileSystemWrapper {
  public:
    using FileSystemWrapper::FileSystemWrapper;

    // Creating, truncating, copying into and deleting files in `folder` or below raises 75.
    void refuseWritesIn(std::string_view folder);
    // `folder` (which must exist now) and everything below it behave as missing from now on.
    void vanish(std::string_view folder);
    // The nth write from now (1 = the next) raises `errorNumber` instead of happening; writes are
    // openForOutput, printLine, copyFile, deleteFile and hostPathForWrite. A failing printLine leaves its
    // file open.
    void failWrite(int nth, std::int32_t errorNumber);
    // Every write from now on raises `errorNumber` (until clearFaults).
    void failAllWrites(std::int32_t errorNumber);
    void clearFaults();
    int writes() const { return writes_; }

    std::vector<DirEntry> dir(std::string_view pattern, unsigned attributes) const override;
    std::int64_t fileLen(std::string_view path) const override;
    std::string canonicalFolder(std::string_view path) const override;
    std::vector<std::string> subfolders(std::string_view folder) const override;
    std::vector<std::string> files(std::string_view folder, std::string_view patterns) const override;
    void copyFile(std::string_view source, std::string_view destination) override;
    void deleteFile(std::string_view path) override;
    void openForOutput(int number, std::string_view path) override;
    void openForInput(int number, std::string_view path) override;
    void printLine(int number, std::string_view text) override;
    std::string readAll(std::string_view path) const override;
    std::string hostPath(std::string_view path) const override;
    // A write (counted, refused in a read-only folder, 76 in a vanished one).
    std::string hostPathForWrite(std::string_view path) override;

  private:
    // Canonical form of the folder holding `path` (or of `path` itself when `isFolder`); "" when
    // it cannot be resolved.
    std::string folderOf(std::string_view path, bool isFolder) const;
    bool vanished(std::string_view path, bool isFolder) const;
    bool refused(std::string_view path) const;
    void countWrite();

    std::vector<std::string> refusedFolders_;
    std::vector<std::string> vanishedFolders_;
    int failAt_ = 0;
    bool failAll_ = false;
    std::int32_t failNumber_ = 0;
    int writes_ = 0;
};

}  // namespace qx::platform
