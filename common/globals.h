// Program-wide state of the tool, as the original kept it in module-level variables.
//
// One instance lives for the run (owned by the application object); every routine that reads or
// writes a global takes it by reference. Strings are UTF-8; Booleans that the program stores or
// compares are VB Booleans (-1 / 0).
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/system.h"

namespace qx {

using VbBoolean = std::int16_t;
inline constexpr VbBoolean kVbTrue = -1;
inline constexpr VbBoolean kVbFalse = 0;

struct Globals {
    // Filled at start-up from the system and kel.ini.
    std::string iniDirectory;      // ends in "\" once filled
    std::string systemDirectory;   // no trailing "\"
    std::string configFilePath;    // the located kel.ini
    std::string windowsDirectory;  // with trailing "\" (GetWinDir)
    std::string appDir;            // [directories] appdir through CkRSlash; StripRSlash may cut the "\"
    std::string dataDir;           // [directories] datadir
    std::string userDir;           // [directories] userdir
    std::string captionBase;       // [PROGRAM ALIAS] "CORVID Office Plus"
    std::string toolTitle;         // captionBase & " - QX Test": title of message boxes
    std::string appraiseFolder;    // "C:\APPRAISE\" when present, else ""

    // Buffers the original shared between calls (kept so behaviour that depends on them stays).
    std::string windowsDirBuffer;  // 144 characters
    std::string iniReadBuffer;     // grows in ReadIniString

    // Operating-system flags set by GetOSName.
    bool vistaFlag = false;
    bool firstFamilyFlag = false;
    bool secondFamilyFlag = false;

    // The current procedure name: exactly 20 characters, cut or padded with blanks.
    std::string currentProcedure = std::string(20, ' ');

    // Support lock.
    VbBoolean usersTableLocked = kVbTrue;
    std::string rememberedUnlockCode;

    // Maintenance: "KELDATA" or "KELPRIV".
    std::string compactTarget;

    // Shared data control.
    VbBoolean adoOpen = kVbFalse;

    // Last memory snapshot, fields as signed 32-bit numbers.
    platform::MemoryStatus memory{};

    // Screen.MousePointer as shared routines set it (ErrorReport sets the hourglass, 11). The shell
    // installs onScreenMousePointer to pass the value on to its screen; setScreenMousePointer in
    // common/modmaster.h keeps both in step.
    int screenMousePointer = 0;
    std::function<void(int)> onScreenMousePointer;

    // The action code that CheckDirPresent keeps without acting on it (a Single in the original).
    float lastDirCheckAction = 0.0f;
};

// The tool's run-time context: the host services and the program-wide state.
struct Runtime {
    platform::Platform& os;
    Globals& g;
};

}  // namespace qx
