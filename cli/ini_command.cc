// `qxtest-cli [--root DIR] ini FILE SECTION KEY [DEFAULT]`: exactly what the tool reads for one
// key of an INI file of the emulated drives (FILE is a Windows path such as C:\APPRAISE\kel.ini),
// followed by a newline.
#include <ostream>

#include "cli/command.h"
#include "config/config.h"
#include "platform/posix_platform.h"

namespace qx::cli {
namespace {

int runIni(Invocation& inv) {
    if (inv.args.size() < 3 || inv.args.size() > 4) {
        inv.err << "usage: ini FILE SECTION KEY [DEFAULT]\n";
        return 2;
    }
    platform::PosixPlatform host({.root = inv.root});
    Globals g;
    Runtime rt{host.platform(), g};
    const std::string def = inv.args.size() == 4 ? inv.args[3] : std::string();
    inv.out << ReadIniString(rt, inv.args[0], inv.args[1], inv.args[2], def) << "\n";
    return 0;
}

const CommandRegistration registration{Command{
    "ini", "ini FILE SECTION KEY [DEFAULT]  (one value of an INI file, e.g. C:\\APPRAISE\\kel.ini)", runIni}};

}  // namespace
}  // namespace qx::cli
