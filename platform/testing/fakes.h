// Test doubles for the system services: a clock that stands still until told, system answers a
// test sets, message boxes answered from a queue, and an End that is recorded.
#pragma once

#include <cstdint>
#include <string>

#include "platform/posix_system.h"
#include "platform/queued_message_boxes.h"
#include "platform/system.h"

namespace qx::testing {

// Stands at the time given until advance() moves it; the calendar arithmetic is exact (days,
// months and leap years carry over).
class FixedClock final : public platform::Clock {
  public:
    explicit FixedClock(platform::LocalTime start = {2006, 11, 20, 13, 45, 0});
    platform::LocalTime now() const override;
    void set(platform::LocalTime t);
    void advance(std::int64_t milliseconds);
    std::int64_t elapsedMilliseconds() const { return elapsedMs_; }

  private:
    std::int64_t msSinceEpoch_ = 0;  // milliseconds since 1899-12-30 00:00
    std::int64_t elapsedMs_ = 0;
};

// System answers a test sets field by field. Defaults: C:\WINDOWS, C:\WINDOWS\SYSTEM32, Windows XP
// Service Pack 2 (5.1.2600, NT), 512 MiB physical memory, program folder C:\QXTEST, no command line.
class FakeSystemInfo final : public platform::SystemInfo {
  public:
    std::string windowsDirectory = "C:\\WINDOWS";
    std::string systemDirectory = "C:\\WINDOWS\\SYSTEM32";
    bool windowsDirectoryFails = false;  // GetWindowsDirectoryA returns 0
    bool systemDirectoryFails = false;
    bool versionFails = false;  // GetVersionExA returns false
    platform::OsVersionInfo version;
    platform::MemoryStatus memory;
    std::string folder = "C:\\QXTEST";
    std::string command;
    mutable int memoryQueries = 0;

    FakeSystemInfo();
    // Sets major, minor and platform id and the service-pack text in one go.
    void setVersion(std::uint32_t major, std::uint32_t minor, std::uint32_t platformId,
                    std::string_view servicePack);

    std::uint32_t GetWindowsDirectoryA(std::string& buffer, std::uint32_t size) const override;
    std::uint32_t GetSystemDirectoryA(std::string& buffer, std::uint32_t size) const override;
    bool GetVersionExA(platform::OsVersionInfo& info) const override;
    void GlobalMemoryStatus(platform::MemoryStatus& status) const override;
    std::string programFolder() const override { return folder; }
    std::string commandLine() const override { return command; }
};

// Message boxes for tests: answers from a queue, every box recorded (see QueuedMessageBoxes).
using RecordingMessageBoxes = platform::QueuedMessageBoxes;

// Records End and throws ProgramEnd, so a test can both catch the end and check that it happened.
class RecordingProcess final : public platform::Process {
  public:
    [[noreturn]] void end() override;
    int ends() const { return ends_; }
    bool ended() const { return ends_ > 0; }

  private:
    int ends_ = 0;
};

}  // namespace qx::testing
