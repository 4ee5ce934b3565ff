// A whole POSIX platform for one emulated installation: the path space, the profile strings, the
// system answers, the local clock, queued message boxes and a throwing End.
//
// Typical use by a command or a window:
//     qx::platform::PosixPlatform host({.root = qx::platform::resolveRoot(rootOption)});
//     qx::Runtime rt{host.platform(), globals};
#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/posix_filesystem.h"
#include "platform/posix_system.h"
#include "platform/queued_message_boxes.h"
#include "platform/system.h"

namespace qx::platform {

// The environment variable that names the folder standing for drive C:.
inline constexpr const char* kRootVariable = "QXTEST_ROOT";
// The environment variable that overrides the version record (see parseVersionRecord).
inline constexpr const char* kVersionVariable = "QXTEST_WINVER";

// The folder that stands for drive C:, in this order: `option` (from --root) when not empty, the
// environment variable QXTEST_ROOT when set and not empty, else the default
// "$HOME/.local/share/qxtest/drive_c" ("./drive_c" when HOME is unset). Not checked for existence.
std::string resolveRoot(const std::string& option);

// The version record in effect: QXTEST_WINVER when set and well-formed, else the default.
OsVersionInfo versionRecordFromEnvironment();

struct PosixPlatformOptions {
    std::string root{};                         // host folder for C:; must exist
    std::map<char, std::string> otherDrives{};  // further letters, e.g. {'D', "/mnt/cd"}
    std::string programFolder = "C:\\QXTEST";   // App.Path: the tool need not lie inside the drive
    std::string commandLine{};                  // Command$
    OsVersionInfo version = versionRecordFromEnvironment();
};

class PosixPlatform {
  public:
    // Throws std::invalid_argument when a mapped folder does not exist.
    explicit PosixPlatform(PosixPlatformOptions options);
    ~PosixPlatform();
    PosixPlatform(const PosixPlatform&) = delete;
    PosixPlatform& operator=(const PosixPlatform&) = delete;

    Platform& platform() { return *platform_; }
    PosixFileSystem& fileSystem() { return *fs_; }
    QueuedMessageBoxes& messages() { return *messages_; }
    ThrowingProcess& process() { return *process_; }

  private:
    std::unique_ptr<PosixFileSystem> fs_;
    std::unique_ptr<PosixSystemInfo> system_;
    std::unique_ptr<ProfileStrings> profile_;
    std::unique_ptr<LocalClock> clock_;
    std::unique_ptr<QueuedMessageBoxes> messages_;
    std::unique_ptr<ThrowingProcess> process_;
    std::unique_ptr<Platform> platform_;
};

}  // namespace qx::platform
