// The host's answers to the system queries, seen through the emulated path space.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/system.h"

namespace qx::platform {

// The version record reported when nothing overrides it: Windows XP Service Pack 3 (5.1, build
// 2600, NT platform), the system the tool was last shipped for.
OsVersionInfo defaultVersionRecord();

// Parses an override of the form "MAJOR.MINOR[.BUILD].PLATFORM[:SERVICE PACK TEXT]" with
// PLATFORM a number (2 for the NT family, 1 for Windows 9x); "5.1.2600.2:Service Pack 2",
// "6.1.2" or "4.10.1998.1:". Nothing when the text does not have that form.
std::optional<OsVersionInfo> parseVersionRecord(std::string_view text);

// The host's memory figures in bytes.
struct HostMemory {
    std::uint64_t totalPhys = 0;
    std::uint64_t availPhys = 0;
    std::uint64_t totalSwap = 0;
    std::uint64_t availSwap = 0;
    std::uint64_t processBytes = 0;  // resident size of this process
};

// MEMORYSTATUS as Windows fills it for a 32-bit program that is not large-address aware:
//   dwMemoryLoad     percent of physical memory in use, (total - available) * 100 / total
//   dwTotalPhys      total physical memory
//   dwAvailPhys      available physical memory
//   dwTotalPageFile  commit limit: physical memory plus swap
//   dwAvailPageFile  available physical memory plus free swap
//   dwTotalVirtual   the 2 GiB user address space less the 64 KiB guard regions: 0x7FFE0000
//   dwAvailVirtual   dwTotalVirtual less this process's resident size
// Every byte figure above 0xFFFFFFFF is capped at 0xFFFFFFFF, as Windows caps it.
MemoryStatus mapMemoryStatus(const HostMemory& host);

// The host's figures: /proc/meminfo (MemTotal, MemAvailable, SwapTotal, SwapFree) and
// /proc/self/statm, or sysinfo() where /proc is unavailable.
HostMemory readHostMemory();

struct PosixSystemOptions {
    std::string windowsDirectory = "C:\\WINDOWS";
    std::string systemDirectory = "C:\\WINDOWS\\SYSTEM32";
    OsVersionInfo version = defaultVersionRecord();
    std::string programFolder = "C:\\QXTEST";
    std::string commandLine;
};

class PosixSystemInfo final : public SystemInfo {
  public:
    explicit PosixSystemInfo(PosixSystemOptions options);

    std::uint32_t GetWindowsDirectoryA(std::string& buffer, std::uint32_t size) const override;
    std::uint32_t GetSystemDirectoryA(std::string& buffer, std::uint32_t size) const override;
    bool GetVersionExA(OsVersionInfo& info) const override;
    void GlobalMemoryStatus(MemoryStatus& status) const override;
    std::string programFolder() const override;
    std::string commandLine() const override;

  private:
    PosixSystemOptions options_;
};

// Shared by every SystemInfo: the Get*DirectoryA contract of writing `path` into `buffer`.
std::uint32_t copyDirectoryAnswer(std::string_view path, std::string& buffer, std::uint32_t size);

// The service-pack text as the 128-byte field holds it: the text, then NULs.
std::string csdField(std::string_view text);

class LocalClock final : public Clock {
  public:
    LocalTime now() const override;
};

// VB's End for a real run: records that the program ended and throws ProgramEnd for the host to
// catch at the top.
class ThrowingProcess final : public Process {
  public:
    [[noreturn]] void end() override;
    bool ended() const { return ended_; }

  private:
    bool ended_ = false;
};

}  // namespace qx::platform
