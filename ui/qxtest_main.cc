// qxtest: the tool's windows.
//
//     qxtest [--root DIR] [--version] [ARGS...]
//
// --root DIR names the host folder that stands for drive C: (default: $QXTEST_ROOT, else
// ~/.local/share/qxtest/drive_c). Other words form the program's command line ("/W" turns on the
// trace of file deletions). Without a display the windows cannot open; the headless driver
// qxtest-cli runs the same program from a script.
#include <QApplication>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>

#include "assembly/subsystems.h"
#include "platform/posix_platform.h"
#include "shell/app.h"
#include "ui/qt_message_boxes.h"
#include "ui/windows.h"

namespace {

constexpr const char* kUsage = "usage: qxtest [--root DIR] [--version] [ARGS...]\n";

bool haveDisplay() {
    const char* platform = std::getenv("QT_QPA_PLATFORM");
    if (platform && *platform) return true;  // an explicit Qt platform (offscreen, vnc, ...)
    const char* x11 = std::getenv("DISPLAY");
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    return (x11 && *x11) || (wayland && *wayland);
}

}  // namespace

int main(int argc, char** argv) {
    std::string root;
    std::string commandLine;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "--version") {
            std::cout << "qxtest " << qx::shell::versionText(qx::shell::buildVersion()) << "\n";
            return 0;
        }
        if (arg == "--help" || arg == "-h") {
            std::cout << kUsage;
            return 0;
        }
        if (arg == "--root") {
            if (i + 1 >= argc) {
                std::cerr << "qxtest: --root needs a folder\n" << kUsage;
                return 2;
            }
            root = argv[++i];
        } else if (arg.substr(0, 7) == "--root=") {
            root = std::string(arg.substr(7));
        } else if (arg.substr(0, 2) == "--") {
            std::cerr << "qxtest: unknown option " << arg << "\n" << kUsage;
            return 2;
        } else {
            if (!commandLine.empty()) commandLine += ' ';
            commandLine += arg;
        }
    }

    if (!haveDisplay()) {
        std::cerr
            << "qxtest: no display to open the windows on (neither DISPLAY nor WAYLAND_DISPLAY is set).\n"
               "Run it from a desktop session, or use the headless driver instead:\n"
               "    qxtest-cli --root DIR run SCRIPT\n";
        return 1;
    }

    std::unique_ptr<qx::platform::PosixPlatform> host;
    try {
        host = std::make_unique<qx::platform::PosixPlatform>(qx::platform::PosixPlatformOptions{
            .root = qx::platform::resolveRoot(root), .commandLine = commandLine});
    } catch (const std::exception& error) {
        std::cerr << "qxtest: " << error.what() << "\n";
        return 1;
    }

    QApplication qapp(argc, argv);
    QApplication::setApplicationName("qxtest");
    // The program decides when it ends (its last form unloaded, or an exit path), not Qt.
    QApplication::setQuitOnLastWindowClosed(false);

    qx::ui::QtMessageBoxes boxes;
    qx::platform::Platform& base = host->platform();
    qx::platform::Platform os{base.fs, base.profile, base.system, base.clock, boxes, base.process};
    qx::shell::Application app(os, qx::shell::buildVersion(), qx::assembly::wireSubsystems);
    qx::ui::Windows windows(app, boxes);
    if (!windows.start()) return 0;
    return QApplication::exec();
}
