// qxtest-cli: the headless driver of QX Test.
//
//   qxtest-cli [--root DIR] [--version] [--help] COMMAND [ARGS...]
//
// --root DIR names the host folder that stands for drive C: (else $QXTEST_ROOT, else
// $HOME/.local/share/qxtest/drive_c). The command is the first two words joined by one blank when
// that names a registered command ("jet query"), else the first word.
//
// Exit status: the command's own (0 success, 1 a failure it reports, 2 a usage error); 1 for a
// run-time error that reaches the top (printed as VB would word it) or a drive folder that does
// not exist.
#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "cli/command.h"
#include "platform/errors.h"
#include "platform/posix_platform.h"

#ifndef QX_VERSION
#error "QX_VERSION must come from the build"
#endif

namespace {

void printHelp(std::ostream& out) {
    out << "usage: qxtest-cli [--root DIR] [--version] [--help] COMMAND [ARGS...]\n"
           "\n"
           "  --root DIR   host folder that stands for drive C: (default: $"
        << qx::platform::kRootVariable
        << ", else $HOME/.local/share/qxtest/drive_c)\n"
           "  --version    print the version and exit\n"
           "\n"
           "commands:\n";
    auto all = qx::cli::commands();
    std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    for (const auto& c : all) out << "  " << c.usage << "\n";
}

const qx::cli::Command* find(const std::string& name) {
    for (const auto& c : qx::cli::commands()) {
        if (c.name == name) return &c;
    }
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    std::string root;
    std::size_t i = 0;
    for (; i < words.size(); ++i) {
        const std::string& w = words[i];
        if (w == "--root") {
            if (i + 1 >= words.size()) {
                std::cerr << "qxtest-cli: --root needs a folder\n";
                return 2;
            }
            root = words[++i];
        } else if (w.rfind("--root=", 0) == 0) {
            root = w.substr(7);
        } else if (w == "--version") {
            std::cout << "qxtest-cli " << QX_VERSION << "\n";
            return 0;
        } else if (w == "--help" || w == "-h") {
            printHelp(std::cout);
            return 0;
        } else if (w.size() > 1 && w[0] == '-' && w.rfind("--", 0) == 0) {
            std::cerr << "qxtest-cli: unknown option " << w << "\n";
            return 2;
        } else {
            break;
        }
    }
    if (i >= words.size()) {
        printHelp(std::cerr);
        return 2;
    }

    const qx::cli::Command* command = nullptr;
    std::size_t argsFrom = i + 1;
    if (i + 1 < words.size()) {
        command = find(words[i] + " " + words[i + 1]);
        if (command != nullptr) argsFrom = i + 2;
    }
    if (command == nullptr) command = find(words[i]);
    if (command == nullptr) {
        std::cerr << "qxtest-cli: unknown command " << words[i] << " (see --help)\n";
        return 2;
    }

    qx::cli::Invocation inv{
        qx::platform::resolveRoot(root),
        std::vector<std::string>(words.begin() + static_cast<std::ptrdiff_t>(argsFrom), words.end()),
        std::cin, std::cout, std::cerr};
    try {
        const int status = command->run(inv);
        std::cout.flush();
        return status;
    } catch (const qx::ProgramEnd&) {
        std::cout.flush();
        return 0;
    } catch (const qx::RuntimeError& e) {
        std::cout.flush();
        std::cerr << "Run-time error '" << e.number() << "': " << e.description() << "\n";
        return 1;
    } catch (const std::exception& e) {
        std::cout.flush();
        std::cerr << "qxtest-cli: " << e.what() << "\n";
        return 1;
    }
}
