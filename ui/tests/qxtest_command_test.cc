// The qxtest command line: its version, and what it says where no window can open.
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "shell/app.h"

namespace {

struct Result {
    int status = -1;
    std::string output;
};

// Runs a shell command line and collects its standard output and error.
Result run(const std::string& command) {
    Result r;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe) return r;
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe)) r.output += buffer;
    const int raw = pclose(pipe);
    r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return r;
}

const std::string kTool = QXTEST_BINARY;

TEST(QxtestCommand, VersionPrintsTheToolsOwnVersion) {
    const Result r = run("env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM " + kTool + " --version");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.output, "qxtest " + qx::shell::versionText(qx::shell::buildVersion()) + "\n");
}

TEST(QxtestCommand, WithoutADisplayItSaysSoAndPointsToTheHeadlessDriver) {
    const Result r =
        run("env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM " + kTool + " --root /nonexistent");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.output.find("no display"), std::string::npos) << r.output;
    EXPECT_NE(r.output.find("qxtest-cli"), std::string::npos) << r.output;
}

TEST(QxtestCommand, AMissingRootFolderIsReportedBeforeAnyWindowOpens) {
    const Result r = run("env QT_QPA_PLATFORM=offscreen " + kTool + " --root /nonexistent/drive_c");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.output.find("qxtest: "), std::string::npos) << r.output;
}

TEST(QxtestCommand, AnUnknownOptionIsAUsageError) {
    const Result r = run("env QT_QPA_PLATFORM=offscreen " + kTool + " --frobnicate");
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.output.find("usage: qxtest"), std::string::npos) << r.output;
}

}  // namespace
