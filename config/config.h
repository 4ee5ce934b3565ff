// Locating and reading the suite's configuration file kel.ini, and the Windows and system
// directories.
#pragma once

#include <string>
#include <string_view>

#include "common/globals.h"

namespace qx {

inline constexpr std::string_view kNonStandardPlacementTitle = "NON-STANDARD INI FILE PLACEMENT";
inline constexpr std::string_view kNonStandardPlacementText =
    "Reinstall this program to correct INI placement and avoid potential configuration errors.";
inline constexpr std::string_view kConfigMissingTitle = "Configuration File Missing";

// The Windows directory with one trailing "\", or "" when the platform call fails. Uses the shared
// 144-character buffer g.windowsDirBuffer.
std::string GetWinDir(Runtime& rt);

// The system directory as the platform gives it (no trailing "\"); "" when the call fails.
std::string GetSysDir(Runtime& rt);

// The preferred INI folder: "<system drive>\APPRAISE\" when that folder exists (also stored in
// g.appraiseFolder), else the Windows directory with "\" (g.appraiseFolder ""), else the program
// folder with "\".
std::string FindAppraiseDir(Runtime& rt);

// The INI folder to use: the APPRAISE folder, else the Windows directory. Names the system on the
// way (GetOSName); with the Vista flag and no APPRAISE folder the "NON-STANDARD INI FILE
// PLACEMENT" notice is shown (OK, information icon) and the preferred folder is used.
std::string IniDirectory(Runtime& rt);

// The full path of the configuration file `name` to read: the primary location (the INI directory,
// filled first when blank) when the file is there (at least 1 byte), else the secondary (the
// Windows directory), else - after asking unless `quiet` - the secondary anyway. Asking: Yes, No
// and Cancel, titled "Configuration File Missing"; any answer but Yes ends the program.
std::string LocateConfigFile(Runtime& rt, std::string_view name, bool quiet);

// One value of an INI file, exactly as the profile-string service returns it (no trimming). The
// shared buffer grows by 256 characters while the service answers size - 2 (maybe cut); the size
// is a 16-bit Integer, so a value of 32,510 characters or more overflows it: error 6.
std::string ReadIniString(Runtime& rt, std::string_view file, std::string_view section, std::string_view key,
                          std::string_view defaultValue);

}  // namespace qx
