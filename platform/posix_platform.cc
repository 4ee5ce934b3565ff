#include "platform/posix_platform.h"

#include <cstdlib>

#include "platform/ini_profile.h"

namespace qx::platform {

std::string resolveRoot(const std::string& option) {
    if (!option.empty()) return option;
    if (const char* env = std::getenv(kRootVariable); env != nullptr && *env != '\0') return env;
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0')
        return std::string(home) + "/.local/share/qxtest/drive_c";
    return "./drive_c";
}

OsVersionInfo versionRecordFromEnvironment() {
    if (const char* env = std::getenv(kVersionVariable); env != nullptr) {
        if (auto v = parseVersionRecord(env)) return *v;
    }
    return defaultVersionRecord();
}

PosixPlatform::PosixPlatform(PosixPlatformOptions options) {
    std::map<char, std::string> drives = options.otherDrives;
    drives['C'] = options.root;
    fs_ = std::make_unique<PosixFileSystem>(std::move(drives));
    PosixSystemOptions so;
    so.version = options.version;
    so.programFolder = options.programFolder;
    so.commandLine = options.commandLine;
    profile_ = std::make_unique<IniProfileStrings>(*fs_, so.windowsDirectory);
    system_ = std::make_unique<PosixSystemInfo>(std::move(so));
    clock_ = std::make_unique<LocalClock>();
    messages_ = std::make_unique<QueuedMessageBoxes>();
    process_ = std::make_unique<ThrowingProcess>();
    platform_ =
        std::make_unique<Platform>(Platform{*fs_, *profile_, *system_, *clock_, *messages_, *process_});
}

PosixPlatform::~PosixPlatform() = default;

}  // namespace qx::platform
