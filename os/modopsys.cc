#include "os/modopsys.h"

#include "common/vb.h"
#include "platform/cp1252.h"
#include "platform/utf8.h"

namespace qx {

namespace {
constexpr std::uint32_t kPlatformNt = 2;
}

std::string CleanText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t start = i;
        const char32_t c = platform::decodeUtf8(text, i);
        if (c < 32 || c >= 127) {
            out.push_back(' ');
        } else {
            out.append(text.substr(start, i - start));
        }
    }
    return out;
}

void GetOSName(Runtime& rt, std::string& name) {
    rt.g.vistaFlag = false;
    rt.g.firstFamilyFlag = false;
    rt.g.secondFamilyFlag = false;

    platform::OsVersionInfo info;
    info.dwOSVersionInfoSize = 148;
    rt.os.system.GetVersionExA(info);
    std::string csd = info.szCSDVersion;
    csd.resize(128, '\0');
    // The field is single-byte text; the logic's strings are UTF-8.
    const std::string servicePack = platform::cp1252ToUtf8(csd);

    const auto major = info.dwMajorVersion;
    const auto minor = info.dwMinorVersion;
    const bool nt = info.dwPlatformId == kPlatformNt;
    switch (major) {
        case 3:
            name = nt ? "Windows NT 3.x" : "Windows 3.x";
            break;
        case 4:
            if (nt) {
                name = "Windows NT 4.0";
                rt.g.secondFamilyFlag = true;
            } else {
                name = minor == 0 ? "Windows 95" : "Windows 98/Windows ME";
                rt.g.firstFamilyFlag = true;
                rt.g.secondFamilyFlag = true;
            }
            break;
        case 5:
            if (minor == 0) {
                name = "Windows 2000 " + servicePack;
                rt.g.secondFamilyFlag = true;
            } else if (minor == 1) {
                name = "Windows XP " + servicePack;
            } else {
                name = "";
            }
            break;
        case 6:
            name = "Windows Vista " + servicePack;
            rt.g.vistaFlag = true;
            rt.g.firstFamilyFlag = true;
            break;
        default:
            name = "Unknown Windows Version";
            break;
    }
    name = vb::Trim(CleanText(vb::Trim(name)));
}

}  // namespace qx
