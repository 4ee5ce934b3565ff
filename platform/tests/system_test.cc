#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "platform/errors.h"
#include "platform/posix_platform.h"
#include "platform/posix_system.h"
#include "platform/testing/test_drive.h"

namespace qx::platform {
namespace {

TEST(DirectoryAnswers, WindowsDirectoryIsWrittenWithNulAndLengthReturned) {
    PosixSystemInfo s({});
    std::string buffer(144, ' ');
    EXPECT_EQ(s.GetWindowsDirectoryA(buffer, 144), 10u);
    EXPECT_EQ(buffer.substr(0, 11), std::string("C:\\WINDOWS\0", 11));
    EXPECT_EQ(buffer.size(), 144u);
    EXPECT_EQ(buffer[11], ' ');
}

TEST(DirectoryAnswers, SystemDirectoryInsideTheWindowsDirectory) {
    PosixSystemInfo s({});
    std::string buffer(255, ' ');
    const auto n = s.GetSystemDirectoryA(buffer, 255);
    EXPECT_EQ(buffer.substr(0, n), "C:\\WINDOWS\\SYSTEM32");
}

TEST(DirectoryAnswers, TooSmallBufferGetsTheNeededSizeAndIsLeftAlone) {
    PosixSystemInfo s({});
    std::string buffer(5, ' ');
    EXPECT_EQ(s.GetWindowsDirectoryA(buffer, 5), 11u);
    EXPECT_EQ(buffer, "     ");
}

TEST(VersionRecord, DefaultIsWindowsXpServicePack3) {
    const auto v = defaultVersionRecord();
    EXPECT_EQ(v.dwMajorVersion, 5u);
    EXPECT_EQ(v.dwMinorVersion, 1u);
    EXPECT_EQ(v.dwPlatformId, 2u);
    EXPECT_EQ(v.szCSDVersion.size(), 128u);
    EXPECT_STREQ(v.szCSDVersion.c_str(), "Service Pack 3");
}

TEST(VersionRecord, OverrideTextIsParsed) {
    const auto v = parseVersionRecord("6.1.7601.2:Service Pack 1");
    ASSERT_TRUE(v);
    EXPECT_EQ(v->dwMajorVersion, 6u);
    EXPECT_EQ(v->dwMinorVersion, 1u);
    EXPECT_EQ(v->dwBuildNumber, 7601u);
    EXPECT_EQ(v->dwPlatformId, 2u);
    EXPECT_STREQ(v->szCSDVersion.c_str(), "Service Pack 1");
    const auto w = parseVersionRecord("4.10.1");
    ASSERT_TRUE(w);
    EXPECT_EQ(w->dwPlatformId, 1u);
    EXPECT_STREQ(w->szCSDVersion.c_str(), "");
}

TEST(VersionRecord, MalformedOverrideIsRejected) {
    EXPECT_FALSE(parseVersionRecord(""));
    EXPECT_FALSE(parseVersionRecord("6"));
    EXPECT_FALSE(parseVersionRecord("6.x.2"));
    EXPECT_FALSE(parseVersionRecord("1.2.3.4.5"));
}

TEST(VersionRecord, EnvironmentOverrides) {
    ::setenv(kVersionVariable, "6.0.6000.2:", 1);
    EXPECT_EQ(versionRecordFromEnvironment().dwMajorVersion, 6u);
    ::setenv(kVersionVariable, "garbage", 1);
    EXPECT_EQ(versionRecordFromEnvironment().dwMajorVersion, 5u);
    ::unsetenv(kVersionVariable);
}

TEST(VersionRecord, WrongRecordSizeIsRefused) {
    PosixSystemInfo s({});
    OsVersionInfo v;
    v.dwOSVersionInfoSize = 156;
    EXPECT_FALSE(s.GetVersionExA(v));
    v.dwOSVersionInfoSize = 148;
    EXPECT_TRUE(s.GetVersionExA(v));
    EXPECT_EQ(v.dwMajorVersion, 5u);
}

TEST(MemoryMapping, SmallHostMapsFieldByField) {
    HostMemory h;
    h.totalPhys = 1000u << 20;
    h.availPhys = 250u << 20;
    h.totalSwap = 500u << 20;
    h.availSwap = 100u << 20;
    h.processBytes = 64u << 20;
    const auto m = mapMemoryStatus(h);
    EXPECT_EQ(m.dwLength, 32u);
    EXPECT_EQ(m.dwMemoryLoad, 75u);
    EXPECT_EQ(m.dwTotalPhys, 1000u << 20);
    EXPECT_EQ(m.dwAvailPhys, 250u << 20);
    EXPECT_EQ(m.dwTotalPageFile, 1500u << 20);
    EXPECT_EQ(m.dwAvailPageFile, 350u << 20);
    EXPECT_EQ(m.dwTotalVirtual, 0x7FFE0000u);
    EXPECT_EQ(m.dwAvailVirtual, 0x7FFE0000u - (64u << 20));
}

TEST(MemoryMapping, FiguresAbove4GiBAreCappedAtAllOnes) {
    HostMemory h;
    h.totalPhys = std::uint64_t{16} << 30;
    h.availPhys = std::uint64_t{6} << 30;
    h.totalSwap = std::uint64_t{2} << 30;
    h.availSwap = std::uint64_t{2} << 30;
    const auto m = mapMemoryStatus(h);
    EXPECT_EQ(m.dwTotalPhys, 0xFFFFFFFFu);
    EXPECT_EQ(m.dwAvailPhys, 0xFFFFFFFFu);
    EXPECT_EQ(m.dwTotalPageFile, 0xFFFFFFFFu);
    EXPECT_EQ(static_cast<std::int32_t>(m.dwTotalPhys), -1);
    EXPECT_EQ(m.dwMemoryLoad, 62u);
}

TEST(MemoryMapping, HostFiguresAreRead) {
    const auto h = readHostMemory();
    EXPECT_GT(h.totalPhys, 0u);
    EXPECT_LE(h.availPhys, h.totalPhys);
    PosixSystemInfo s({});
    MemoryStatus m;
    s.GlobalMemoryStatus(m);
    EXPECT_LE(m.dwMemoryLoad, 100u);
    EXPECT_GT(m.dwTotalPhys, 0u);
}

TEST(ProgramIdentity, FolderAndCommandLineAsConfigured) {
    PosixSystemOptions o;
    o.commandLine = "/W";
    PosixSystemInfo s(o);
    EXPECT_EQ(s.programFolder(), "C:\\QXTEST");
    EXPECT_EQ(s.commandLine(), "/W");
}

TEST(Clock, LocalTimeIsPlausible) {
    const auto t = LocalClock().now();
    EXPECT_GE(t.year, 2020);
    EXPECT_GE(t.month, 1);
    EXPECT_LE(t.month, 12);
}

TEST(EndOfProgram, ThrowsProgramEndAndRecordsIt) {
    ThrowingProcess p;
    EXPECT_THROW(p.end(), ProgramEnd);
    EXPECT_TRUE(p.ended());
}

TEST(Root, OptionThenEnvironmentThenDefault) {
    ::setenv(kRootVariable, "/env/root", 1);
    EXPECT_EQ(resolveRoot("/opt/root"), "/opt/root");
    EXPECT_EQ(resolveRoot(""), "/env/root");
    ::unsetenv(kRootVariable);
    const char* home = std::getenv("HOME");
    const std::string saved = home ? home : "";
    ::setenv("HOME", "/home/u", 1);
    EXPECT_EQ(resolveRoot(""), "/home/u/.local/share/qxtest/drive_c");
    if (home) ::setenv("HOME", saved.c_str(), 1);
}

TEST(WholePlatform, ReadsTheSuiteThroughEveryService) {
    qx::testing::TempDriveC drive(QX_SHARED_DIR);
    PosixPlatform host({.root = drive.root().string()});
    Platform& p = host.platform();
    EXPECT_EQ(p.fs.fileLen("C:\\KELDATA\\office.mdb"),
              static_cast<std::int64_t>(std::filesystem::file_size(drive.host("KELDATA\\Office.mdb"))));
    std::string buffer(256, ' ');
    const auto n = p.profile.GetPrivateProfileStringA("PROGRAM ALIAS", "CORVID Office Plus", "", buffer, 256,
                                                      "C:\\APPRAISE\\kel.ini");
    EXPECT_EQ(buffer.substr(0, n), "Corvid Office Plus");
    EXPECT_EQ(p.fs.canonicalFolder("c:\\windows\\system32"), "C:\\WINDOWS\\SYSTEM32");
    host.messages().queue(Answer::Yes);
    EXPECT_EQ(p.messages.show("t", "x", Buttons::YesNo, Icon::None), Answer::Yes);
    EXPECT_THROW(p.process.end(), ProgramEnd);
}

TEST(WholePlatform, MissingRootIsAnError) {
    EXPECT_THROW(PosixPlatform({.root = "/nonexistent/qxtest/root"}), std::invalid_argument);
}

}  // namespace
}  // namespace qx::platform
