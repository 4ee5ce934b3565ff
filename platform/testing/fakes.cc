#include "platform/testing/fakes.h"

#include <chrono>

#include "platform/errors.h"

namespace qx::testing {
namespace {

using namespace std::chrono;

constexpr sys_days kEpoch = sys_days{year{1899} / December / 30};

std::int64_t toMs(const platform::LocalTime& t) {
    const sys_days d{year{t.year} / month{static_cast<unsigned>(t.month)} /
                     day{static_cast<unsigned>(t.day)}};
    const std::int64_t days = (d - kEpoch).count();
    return ((days * 24 + t.hour) * 60 + t.minute) * 60000 + std::int64_t{t.second} * 1000;
}

}  // namespace

FixedClock::FixedClock(platform::LocalTime start) {
    set(start);
}

void FixedClock::set(platform::LocalTime t) {
    msSinceEpoch_ = toMs(t);
}

void FixedClock::advance(std::int64_t milliseconds) {
    msSinceEpoch_ += milliseconds;
    elapsedMs_ += milliseconds;
}

platform::LocalTime FixedClock::now() const {
    std::int64_t days = msSinceEpoch_ / 86400000;
    std::int64_t rest = msSinceEpoch_ % 86400000;
    if (rest < 0) rest += 86400000, --days;
    const year_month_day ymd{kEpoch + std::chrono::days{days}};
    const auto secs = rest / 1000;
    return platform::LocalTime{int(ymd.year()),
                               static_cast<int>(unsigned(ymd.month())),
                               static_cast<int>(unsigned(ymd.day())),
                               static_cast<int>(secs / 3600),
                               static_cast<int>(secs / 60 % 60),
                               static_cast<int>(secs % 60)};
}

FakeSystemInfo::FakeSystemInfo() {
    setVersion(5, 1, 2, "Service Pack 2");
    version.dwBuildNumber = 2600;
    memory.dwMemoryLoad = 40;
    memory.dwTotalPhys = 512u << 20;
    memory.dwAvailPhys = 300u << 20;
    memory.dwTotalPageFile = 1024u << 20;
    memory.dwAvailPageFile = 800u << 20;
    memory.dwTotalVirtual = 0x7FFE0000u;
    memory.dwAvailVirtual = 0x7F000000u;
}

void FakeSystemInfo::setVersion(std::uint32_t major, std::uint32_t minor, std::uint32_t platformId,
                                std::string_view servicePack) {
    version.dwMajorVersion = major;
    version.dwMinorVersion = minor;
    version.dwPlatformId = platformId;
    version.szCSDVersion = platform::csdField(servicePack);
}

std::uint32_t FakeSystemInfo::GetWindowsDirectoryA(std::string& buffer, std::uint32_t size) const {
    if (windowsDirectoryFails) return 0;
    return platform::copyDirectoryAnswer(windowsDirectory, buffer, size);
}

std::uint32_t FakeSystemInfo::GetSystemDirectoryA(std::string& buffer, std::uint32_t size) const {
    if (systemDirectoryFails) return 0;
    return platform::copyDirectoryAnswer(systemDirectory, buffer, size);
}

bool FakeSystemInfo::GetVersionExA(platform::OsVersionInfo& info) const {
    if (versionFails || info.dwOSVersionInfoSize != 148) return false;
    info = version;
    info.dwOSVersionInfoSize = 148;
    return true;
}

void FakeSystemInfo::GlobalMemoryStatus(platform::MemoryStatus& status) const {
    ++memoryQueries;
    status = memory;
}

void RecordingProcess::end() {
    ++ends_;
    throw ProgramEnd{};
}

}  // namespace qx::testing
