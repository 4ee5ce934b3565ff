// A fresh copy of the demo installation's drive C: for one test, removed afterwards, and a whole
// test platform over it.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/faulty_filesystem.h"
#include "platform/posix_filesystem.h"
#include "platform/system.h"
#include "platform/testing/fakes.h"

namespace qx::testing {

using platform::FaultyFileSystem;
using platform::FileSystemWrapper;

// A temporary folder, removed with everything in it when the object goes.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

// A temporary copy of QX_SHARED_DIR/fixtures/suite/drive_c (C:\APPRAISE\kel.ini, C:\KEL,
// C:\KELDATA, C:\KELUSER, C:\WINDOWS\SYSTEM32). `sharedDir` is the test's QX_SHARED_DIR; with
// `withSuite` false the drive starts empty.
class TempDriveC {
  public:
    explicit TempDriveC(const std::string& sharedDir, bool withSuite = true);
    // The host folder that stands for C:.
    const std::filesystem::path& root() const { return dir_.path(); }
    // The host path of a Windows path below C:\ written with "\" ("KELDATA\Office.mdb").
    std::filesystem::path host(std::string_view relative) const;
    // Writes a file (bytes as given) below the root, creating its folders.
    void write(std::string_view relative, std::string_view bytes) const;

  private:
    TempDir dir_;
};

// Everything a test of the logic needs: a real path space over a TempDriveC, wrapped in a
// FaultyFileSystem, the INI service over it, settable system answers, a fixed clock, message boxes
// answered from a queue and a recorded End.
class TestPlatform {
  public:
    explicit TestPlatform(const std::string& sharedDir, bool withSuite = true);
    ~TestPlatform();

    platform::Platform& platform() { return *platform_; }
    TempDriveC& drive() { return drive_; }
    platform::PosixFileSystem& realFs() { return *real_; }
    FaultyFileSystem& fs() { return *faulty_; }
    FakeSystemInfo& system() { return system_; }
    FixedClock& clock() { return clock_; }
    RecordingMessageBoxes& messages() { return messages_; }
    RecordingProcess& process() { return process_; }

  private:
    TempDriveC drive_;
    std::unique_ptr<platform::PosixFileSystem> real_;
    std::unique_ptr<FaultyFileSystem> faulty_;
    std::unique_ptr<platform::ProfileStrings> profile_;
    FakeSystemInfo system_;
    FixedClock clock_;
    RecordingMessageBoxes messages_;
    RecordingProcess process_;
    std::unique_ptr<platform::Platform> platform_;
};

}  // namespace qx::testing
