#include "platform/posix_system.h"

#include <sys/sysinfo.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <ctime>
#include <fstream>
#include <sstream>
#include <vector>

#include "platform/errors.h"

namespace qx::platform {
namespace {

constexpr std::uint64_t kCap32 = 0xFFFFFFFFu;
constexpr std::uint32_t kUserAddressSpace = 0x7FFE0000u;
constexpr std::size_t kCsdBytes = 128;

std::uint32_t cap(std::uint64_t v) {
    return static_cast<std::uint32_t>(std::min(v, kCap32));
}

bool parseUnsigned(std::string_view s, std::uint32_t& out) {
    if (s.empty()) return false;
    const auto r = std::from_chars(s.data(), s.data() + s.size(), out);
    return r.ec == std::errc{} && r.ptr == s.data() + s.size();
}

}  // namespace

std::string csdField(std::string_view text) {
    std::string f(text.substr(0, kCsdBytes - 1));
    f.resize(kCsdBytes, '\0');
    return f;
}

OsVersionInfo defaultVersionRecord() {
    OsVersionInfo v;
    v.dwMajorVersion = 5;
    v.dwMinorVersion = 1;
    v.dwBuildNumber = 2600;
    v.dwPlatformId = 2;
    v.szCSDVersion = csdField("Service Pack 3");
    return v;
}

std::optional<OsVersionInfo> parseVersionRecord(std::string_view text) {
    std::string_view numbers = text;
    std::string_view csd;
    if (const auto colon = text.find(':'); colon != std::string_view::npos) {
        numbers = text.substr(0, colon);
        csd = text.substr(colon + 1);
    }
    std::vector<std::uint32_t> parts;
    std::size_t i = 0;
    while (i <= numbers.size()) {
        std::size_t j = numbers.find('.', i);
        if (j == std::string_view::npos) j = numbers.size();
        std::uint32_t v = 0;
        if (!parseUnsigned(numbers.substr(i, j - i), v)) return std::nullopt;
        parts.push_back(v);
        i = j + 1;
    }
    if (parts.size() != 3 && parts.size() != 4) return std::nullopt;
    OsVersionInfo info;
    info.dwMajorVersion = parts[0];
    info.dwMinorVersion = parts[1];
    info.dwBuildNumber = parts.size() == 4 ? parts[2] : 0;
    info.dwPlatformId = parts.back();
    info.szCSDVersion = csdField(csd);
    return info;
}

MemoryStatus mapMemoryStatus(const HostMemory& host) {
    MemoryStatus m;
    const std::uint64_t avail = std::min(host.availPhys, host.totalPhys);
    m.dwMemoryLoad =
        host.totalPhys == 0 ? 0 : static_cast<std::uint32_t>((host.totalPhys - avail) * 100 / host.totalPhys);
    m.dwTotalPhys = cap(host.totalPhys);
    m.dwAvailPhys = cap(avail);
    m.dwTotalPageFile = cap(host.totalPhys + host.totalSwap);
    m.dwAvailPageFile = cap(avail + std::min(host.availSwap, host.totalSwap));
    m.dwTotalVirtual = kUserAddressSpace;
    m.dwAvailVirtual = kUserAddressSpace - static_cast<std::uint32_t>(
                                               std::min<std::uint64_t>(host.processBytes, kUserAddressSpace));
    return m;
}

HostMemory readHostMemory() {
    HostMemory h;
    bool haveMeminfo = false;
    if (std::ifstream in("/proc/meminfo"); in) {
        std::string name;
        std::uint64_t kb = 0;
        std::string unit;
        bool total = false, avail = false;
        std::string line;
        while (std::getline(in, line)) {
            std::istringstream ls(line);
            if (!(ls >> name >> kb)) continue;
            const std::uint64_t bytes = kb * 1024;
            if (name == "MemTotal:")
                h.totalPhys = bytes, total = true;
            else if (name == "MemAvailable:")
                h.availPhys = bytes, avail = true;
            else if (name == "SwapTotal:")
                h.totalSwap = bytes;
            else if (name == "SwapFree:")
                h.availSwap = bytes;
        }
        haveMeminfo = total && avail;
    }
    if (!haveMeminfo) {
        struct sysinfo si {};
        if (::sysinfo(&si) == 0) {
            const std::uint64_t unit = si.mem_unit == 0 ? 1 : si.mem_unit;
            h.totalPhys = si.totalram * unit;
            h.availPhys = (si.freeram + si.bufferram) * unit;
            h.totalSwap = si.totalswap * unit;
            h.availSwap = si.freeswap * unit;
        }
    }
    if (std::ifstream statm("/proc/self/statm"); statm) {
        std::uint64_t size = 0, resident = 0;
        if (statm >> size >> resident) {
            const long page = ::sysconf(_SC_PAGESIZE);
            h.processBytes = resident * static_cast<std::uint64_t>(page > 0 ? page : 4096);
        }
    }
    return h;
}

std::uint32_t copyDirectoryAnswer(std::string_view path, std::string& buffer, std::uint32_t size) {
    const auto needed = static_cast<std::uint32_t>(path.size() + 1);
    if (size < needed) return needed;
    if (buffer.size() < needed) buffer.resize(needed, ' ');
    buffer.replace(0, path.size(), path);
    buffer[path.size()] = '\0';
    return static_cast<std::uint32_t>(path.size());
}

PosixSystemInfo::PosixSystemInfo(PosixSystemOptions options) : options_(std::move(options)) {}

std::uint32_t PosixSystemInfo::GetWindowsDirectoryA(std::string& buffer, std::uint32_t size) const {
    return copyDirectoryAnswer(options_.windowsDirectory, buffer, size);
}

std::uint32_t PosixSystemInfo::GetSystemDirectoryA(std::string& buffer, std::uint32_t size) const {
    return copyDirectoryAnswer(options_.systemDirectory, buffer, size);
}

bool PosixSystemInfo::GetVersionExA(OsVersionInfo& info) const {
    if (info.dwOSVersionInfoSize != 148) return false;
    info = options_.version;
    info.dwOSVersionInfoSize = 148;
    info.szCSDVersion = csdField(std::string_view(options_.version.szCSDVersion.c_str()));
    return true;
}

void PosixSystemInfo::GlobalMemoryStatus(MemoryStatus& status) const {
    status = mapMemoryStatus(readHostMemory());
}

std::string PosixSystemInfo::programFolder() const {
    return options_.programFolder;
}

std::string PosixSystemInfo::commandLine() const {
    return options_.commandLine;
}

LocalTime LocalClock::now() const {
    const std::time_t t = std::time(nullptr);
    std::tm tm{};
    ::localtime_r(&t, &tm);
    return LocalTime{tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

void ThrowingProcess::end() {
    ended_ = true;
    throw ProgramEnd{};
}

}  // namespace qx::platform
