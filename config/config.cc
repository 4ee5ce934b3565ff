#include "config/config.h"

#include "common/modmaster.h"
#include "common/vb.h"
#include "os/modopsys.h"

namespace qx {

using vb::Trim;
using vb::UCase;

namespace {
constexpr vb::Integer kWindowsDirBufferSize = 144;
constexpr vb::Integer kSystemDirBufferSize = 255;
constexpr vb::Integer kIniBufferStep = 256;

// CkRSlash of a value that is not a variable of the caller (VB passes a temporary then).
std::string withSlash(Runtime& rt, std::string value) {
    return CkRSlash(rt, value);
}
}  // namespace

std::string GetWinDir(Runtime& rt) {
    rt.g.windowsDirBuffer = vb::Space(kWindowsDirBufferSize);
    const auto n = rt.os.system.GetWindowsDirectoryA(rt.g.windowsDirBuffer, kWindowsDirBufferSize);
    if (n == 0) return {};
    // The buffer holds the path, its NUL and blanks: trimming leaves the NUL last, which is cut.
    std::string s = Trim(rt.g.windowsDirBuffer);
    s = vb::Left(s, vb::Len(s) - 1);
    return s + "\\";
}

std::string GetSysDir(Runtime& rt) {
    std::string buffer = vb::Space(kSystemDirBufferSize);
    const auto n = rt.os.system.GetSystemDirectoryA(buffer, kSystemDirBufferSize);
    // An answer above the buffer size means "too small": nothing was written, and the blanks of the
    // buffer come back, which callers trim away.
    return vb::Left(buffer, static_cast<vb::Long>(n));
}

std::string FindAppraiseDir(Runtime& rt) {
    std::string path = withSlash(rt, Trim(GetSysDir(rt))) + "changes.txt";
    StripRChar(rt, path);
    std::string drive, dir, name, ext;
    ParseFileName(rt, path, drive, dir, name, ext);

    const std::string candidate = Trim(UCase(withSlash(rt, drive) + "APPRAISE" + "\\"));
    std::string result;
    const bool exists = !rt.os.fs.dir(candidate, platform::attr::kDirectory).empty();
    if (exists && candidate != "\\APPRAISE\\") {
        rt.g.appraiseFolder = candidate;
        result = candidate;
    } else {
        rt.g.appraiseFolder.clear();
        result = withSlash(rt, GetWinDir(rt));
    }
    if (Trim(result).empty() || Trim(result) == "\\") result = withSlash(rt, rt.os.system.programFolder());
    return result;
}

std::string IniDirectory(Runtime& rt) {
    const std::string preferred = FindAppraiseDir(rt);
    std::string osName;
    GetOSName(rt, osName);
    std::string result;
    if (!rt.g.vistaFlag) {
        result = !rt.g.appraiseFolder.empty() ? rt.g.appraiseFolder : withSlash(rt, GetWinDir(rt));
    } else if (!rt.g.appraiseFolder.empty()) {
        result = rt.g.appraiseFolder;
    } else {
        result = withSlash(rt, preferred);
        rt.os.messages.show(kNonStandardPlacementTitle, kNonStandardPlacementText, platform::Buttons::OK,
                            platform::Icon::Information);
    }
    if (Trim(result).empty()) result = withSlash(rt, rt.os.system.programFolder());
    return result;
}

std::string LocateConfigFile(Runtime& rt, std::string_view name, bool quiet) {
    if (Trim(rt.g.iniDirectory).empty()) rt.g.iniDirectory = IniDirectory(rt);
    const std::string n = UCase(Trim(name));
    const std::string primary = UCase(Trim(rt.g.iniDirectory)) + n;
    const std::string secondaryFolder = UCase(Trim(withSlash(rt, GetWinDir(rt))));
    const std::string secondary = secondaryFolder + n;

    if (FileExists(rt, primary)) return primary;
    if (FileExists(rt, secondary)) return secondary;

    if (!quiet) {
        std::string text;
        if (secondary == primary) {
            text = n + " configuration file is missing from " + rt.g.iniDirectory +
                   " . DO you wish to coninue? (Program may not function correctly)";
        } else {
            text = n + " configuration file is missing from " + rt.g.iniDirectory +
                   " (primary location) and " + secondaryFolder +
                   " (secondary location). DO you wish to coninue? (Program may not function correctly)";
        }
        const auto answer = rt.os.messages.show(kConfigMissingTitle, text, platform::Buttons::YesNoCancel,
                                                platform::Icon::None);
        if (answer != platform::Answer::Yes) rt.os.process.end();
    }
    return secondary;
}

std::string ReadIniString(Runtime& rt, std::string_view file, std::string_view section, std::string_view key,
                          std::string_view defaultValue) {
    vb::Integer size = 0;
    std::uint32_t n = 0;
    do {
        size = vb::addInt(size, kIniBufferStep);
        rt.g.iniReadBuffer = vb::Space(size);
        n = rt.os.profile.GetPrivateProfileStringA(section, key, defaultValue, rt.g.iniReadBuffer,
                                                   static_cast<std::uint32_t>(size), file);
    } while (static_cast<vb::Long>(n) == size - 2);
    if (n < 1) return {};
    return vb::Left(rt.g.iniReadBuffer, static_cast<vb::Long>(n));
}

}  // namespace qx
