// What the logic asks of the operating system besides files: the Windows and system directories,
// the version and memory records, the program's own folder and command line, the profile-string
// service, the clock, message boxes and ending the process.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/filesystem.h"

namespace qx::platform {

// OSVERSIONINFO as GetVersionExA fills it.
struct OsVersionInfo {
    std::uint32_t dwOSVersionInfoSize = 148;
    std::uint32_t dwMajorVersion = 0;
    std::uint32_t dwMinorVersion = 0;
    std::uint32_t dwBuildNumber = 0;
    std::uint32_t dwPlatformId = 0;
    std::string szCSDVersion;  // exactly 128 bytes: the service-pack text, then NULs
};

// MEMORYSTATUS as GlobalMemoryStatus fills it for a 32-bit program: every field 32 bits wide;
// a host figure above 0xFFFFFFFF is capped there (which the logic, reading it signed, sees as -1).
struct MemoryStatus {
    std::uint32_t dwLength = 32;
    std::uint32_t dwMemoryLoad = 0;
    std::uint32_t dwTotalPhys = 0;
    std::uint32_t dwAvailPhys = 0;
    std::uint32_t dwTotalPageFile = 0;
    std::uint32_t dwAvailPageFile = 0;
    std::uint32_t dwTotalVirtual = 0;
    std::uint32_t dwAvailVirtual = 0;
};

class SystemInfo {
  public:
    virtual ~SystemInfo() = default;

    // Exactly the contracts of GetWindowsDirectoryA / GetSystemDirectoryA: on success the path
    // (no trailing "\") is written into buffer[0..n) followed by a NUL, and n (without the NUL) is
    // returned; when size is too small nothing is written and the needed size (with the NUL) is
    // returned; 0 on failure. `buffer` keeps its length; the written bytes replace its first ones.
    virtual std::uint32_t GetWindowsDirectoryA(std::string& buffer, std::uint32_t size) const = 0;
    virtual std::uint32_t GetSystemDirectoryA(std::string& buffer, std::uint32_t size) const = 0;

    // Returns false (and leaves the record) when info.dwOSVersionInfoSize is not 148.
    virtual bool GetVersionExA(OsVersionInfo& info) const = 0;
    virtual void GlobalMemoryStatus(MemoryStatus& status) const = 0;

    // App.Path (a Windows path, no trailing "\" unless a drive root) and Command$.
    virtual std::string programFolder() const = 0;
    virtual std::string commandLine() const = 0;
};

// GetPrivateProfileStringA, with the contract the logic relies on. Let L be the length in characters
// of the value found (or of `defaultValue`, with its trailing blanks dropped, when the file, section
// or key is missing):
// - L <= size - 2: the value and a NUL are written into buffer; L is returned.
// - otherwise the value is cut: its first size - 2 characters and a NUL are written; size - 2 is
//   returned. So an answer of size - 2 means "maybe cut": the caller grows its buffer and asks again.
// `buffer` keeps its length (the caller makes it `size` characters long); only its first characters
// are replaced. Section and key names match without regard to case; blanks around keys and values
// are dropped; one pair of surrounding quotes ('' or "") is stripped from a value; lines starting
// with ";" are comments; the first of duplicate sections and of duplicate keys wins; section and key
// names may contain blanks. Files are Windows-1252 with CRLF or LF line ends; the value is returned
// as UTF-8 and counted in characters. A missing file yields the default.
class ProfileStrings {
  public:
    virtual ~ProfileStrings() = default;
    virtual std::uint32_t GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                                   std::string_view defaultValue, std::string& buffer,
                                                   std::uint32_t size, std::string_view fileName) const = 0;
};

struct LocalTime {
    int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
    friend bool operator==(const LocalTime&, const LocalTime&) = default;
};

class Clock {
  public:
    virtual ~Clock() = default;
    virtual LocalTime now() const = 0;
};

enum class Buttons { OK, OKCancel, AbortRetryIgnore, YesNoCancel, YesNo, RetryCancel };
enum class Icon { None, Critical, Question, Exclamation, Information };
enum class Answer { OK = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };

class MessageBoxes {
  public:
    virtual ~MessageBoxes() = default;
    // Modal: returns only when the user has answered.
    virtual Answer show(std::string_view title, std::string_view text, Buttons buttons, Icon icon) = 0;
};

class Process {
  public:
    virtual ~Process() = default;
    // VB's End: throws ProgramEnd after recording the end; never returns.
    [[noreturn]] virtual void end() = 0;
};

// Everything the logic reaches of the host, in one bundle passed by reference.
struct Platform {
    FileSystem& fs;
    ProfileStrings& profile;
    SystemInfo& system;
    Clock& clock;
    MessageBoxes& messages;
    Process& process;
};

}  // namespace qx::platform
