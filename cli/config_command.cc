// `qxtest-cli [--root DIR] config`: what start-up derives, one `name: value` line each, so a
// support technician sees where the tool looks. The missing-file question is answered Yes; every
// message box shown on the way is reported on the error stream.
#include <ostream>

#include "cli/command.h"
#include "common/modmaster.h"
#include "config/config.h"
#include "os/modopsys.h"
#include "platform/posix_platform.h"

namespace qx::cli {
namespace {

void reportBoxes(platform::QueuedMessageBoxes& boxes, std::ostream& err) {
    boxes.setFallback([](const platform::ShownBox& b) { return platform::affirmativeAnswer(b.buttons); });
    boxes.setObserver([&err](const platform::ShownBox& b) {
        err << "message box \"" << b.title << "\" (" << platform::buttonsName(b.buttons) << "): " << b.text
            << " -> " << platform::answerName(b.answer) << "\n";
    });
}

int runConfig(Invocation& inv) {
    if (!inv.args.empty()) {
        inv.err << "usage: config\n";
        return 2;
    }
    platform::PosixPlatform host({.root = inv.root});
    reportBoxes(host.messages(), inv.err);
    Globals g;
    Runtime rt{host.platform(), g};

    // The same steps, in the same order, as the program's start-up.
    g.iniDirectory = IniDirectory(rt);
    g.systemDirectory = GetSysDir(rt);
    g.configFilePath = LocateConfigFile(rt, "kel.ini", false);
    std::string appdir = ReadIniString(rt, g.configFilePath, "directories", "appdir", "");
    CkRSlash(rt, appdir);
    std::string datadir = ReadIniString(rt, g.configFilePath, "directories", "datadir", "");
    CkRSlash(rt, datadir);
    std::string userdir = ReadIniString(rt, g.configFilePath, "directories", "userdir", "");
    CkRSlash(rt, userdir);
    g.captionBase =
        ReadIniString(rt, g.configFilePath, "PROGRAM ALIAS", "CORVID Office Plus", "Corvid Office Plus");
    std::string osName;
    GetOSName(rt, osName);

    inv.out << "INI directory: " << g.iniDirectory << "\n"
            << "System directory: " << g.systemDirectory << "\n"
            << "Configuration file: " << g.configFilePath << "\n"
            << "Application directory: " << appdir << "\n"
            << "Data directory: " << datadir << "\n"
            << "User directory: " << userdir << "\n"
            << "Suite name: " << g.captionBase << "\n"
            << "Operating system: " << osName << "\n";
    return 0;
}

const CommandRegistration registration{
    Command{"config", "config  (where the tool looks: INI, system and suite directories, suite name, system)",
            runConfig}};

}  // namespace
}  // namespace qx::cli
