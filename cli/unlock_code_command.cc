// `qxtest-cli unlock-code [--date YYYY-MM-DD]`: the support lock's code for a day (today by the
// host's clock when no date is given), as the technician reads it out on the phone. The code comes
// from the same routine that frmGridSecurity's check uses (dbinspect/unlock_code.h).
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <string>

#include "cli/command.h"
#include "dbinspect/unlock_code.h"
#include "platform/posix_platform.h"

namespace qx::cli {
namespace {

bool parseDay(const std::string& text, platform::LocalTime& day) {
    int y = 0, m = 0, d = 0, used = 0;
    if (text.size() != 10 || std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &y, &m, &d, &used) != 3 || used != 10)
        return false;
    static constexpr int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    if (y < 100 || m < 1 || m > 12 || d < 1 || d > kDays[m - 1] || (m == 2 && d == 29 && !leap)) return false;
    day = platform::LocalTime{y, m, d, 0, 0, 0};
    return true;
}

int runUnlockCode(Invocation& inv) {
    constexpr const char* kUsage = "usage: unlock-code [--date YYYY-MM-DD]\n";
    // The code reads no file: drive C: only has to stand somewhere that exists.
    platform::PosixPlatform host({.root = std::filesystem::temp_directory_path().string()});
    platform::LocalTime day = host.platform().clock.now();
    if (inv.args.size() == 2 && inv.args[0] == "--date") {
        if (!parseDay(inv.args[1], day)) {
            inv.err << "unlock-code: not a date (YYYY-MM-DD): " << inv.args[1] << "\n" << kUsage;
            return 2;
        }
    } else if (!inv.args.empty()) {
        inv.err << kUsage;
        return 2;
    }
    Globals g;
    Runtime rt{host.platform(), g};
    inv.out << dbinspect::unlockCodeFor(rt, day) << "\n";
    return 0;
}

const CommandRegistration registration{Command{
    "unlock-code", "unlock-code [--date YYYY-MM-DD]  (the support lock's eight-digit code for the day)",
    runUnlockCode}};

}  // namespace
}  // namespace qx::cli
