// Locating and reading kel.ini: every edge case and every message text of the configuration file.
#include "config/config.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "platform/errors.h"
#include "platform/ini_profile.h"
#include "platform/testing/test_drive.h"

namespace qx {
namespace {

using platform::Answer;
using platform::Buttons;
using platform::Icon;

// Records the buffer sizes the reader asks with, forwarding to the real service.
class RecordingProfile final : public platform::ProfileStrings {
  public:
    explicit RecordingProfile(const platform::ProfileStrings& real) : real_(real) {}
    std::uint32_t GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                           std::string_view def, std::string& buffer, std::uint32_t size,
                                           std::string_view file) const override {
        sizes.push_back(size);
        return real_.GetPrivateProfileStringA(section, key, def, buffer, size, file);
    }
    mutable std::vector<std::uint32_t> sizes;

  private:
    const platform::ProfileStrings& real_;
};

class Config : public ::testing::Test {
  protected:
    void removeAppraise() { std::filesystem::remove_all(tp.drive().host("APPRAISE")); }
    testing::TestPlatform tp{QX_SHARED_DIR};
    Globals g;
    Runtime rt{tp.platform(), g};
};

const char* const kOneLocation =
    "KEL.INI configuration file is missing from C:\\WINDOWS\\ . DO you wish to coninue? (Program may not "
    "function "
    "correctly)";
const char* const kTwoLocations =
    "KEL.INI configuration file is missing from C:\\APPRAISE\\ (primary location) and C:\\WINDOWS\\ "
    "(secondary "
    "location). DO you wish to coninue? (Program may not function correctly)";

TEST_F(Config, GetWinDirHasOneTrailingBackslash) {
    EXPECT_EQ(GetWinDir(rt), "C:\\WINDOWS\\");
    EXPECT_EQ(g.windowsDirBuffer.size(), 144u);
}

TEST_F(Config, GetWinDirIsEmptyWhenThePlatformCallFails) {
    tp.system().windowsDirectoryFails = true;
    EXPECT_EQ(GetWinDir(rt), "");
}

TEST_F(Config, GetSysDirHasNoTrailingBackslash) {
    EXPECT_EQ(GetSysDir(rt), "C:\\WINDOWS\\SYSTEM32");
}

TEST_F(Config, GetSysDirIsEmptyWhenThePlatformCallFails) {
    tp.system().systemDirectoryFails = true;
    EXPECT_EQ(GetSysDir(rt), "");
}

TEST_F(Config, AppraiseFolderIsTheIniDirectoryWithNoNoticeOnAnySystemVersion) {
    for (auto [major, minor] : {std::pair{5u, 1u}, std::pair{6u, 0u}, std::pair{6u, 1u}, std::pair{4u, 0u}}) {
        tp.system().setVersion(major, minor, 2, "");
        EXPECT_EQ(IniDirectory(rt), "C:\\APPRAISE\\");
        EXPECT_EQ(g.appraiseFolder, "C:\\APPRAISE\\");
    }
    EXPECT_TRUE(tp.messages().shown().empty());
}

TEST_F(Config, FindAppraiseDirFindsTheFolderWhateverItsCase) {
    std::filesystem::rename(tp.drive().host("APPRAISE"), tp.drive().host("Appraise"));
    EXPECT_EQ(FindAppraiseDir(rt), "C:\\APPRAISE\\");
}

TEST_F(Config, WithoutAppraiseFolderOtherSystemsUseTheWindowsDirectoryQuietly) {
    removeAppraise();
    tp.system().setVersion(5, 1, 2, "Service Pack 2");
    EXPECT_EQ(IniDirectory(rt), "C:\\WINDOWS\\");
    EXPECT_EQ(g.appraiseFolder, "");
    EXPECT_TRUE(tp.messages().shown().empty());
}

TEST_F(Config, WithoutAppraiseFolderOnVistaTheNonStandardNoticeIsShownOnce) {
    removeAppraise();
    tp.system().setVersion(6, 0, 2, "");
    tp.messages().queue(Answer::OK);
    EXPECT_EQ(IniDirectory(rt), "C:\\WINDOWS\\");
    ASSERT_EQ(tp.messages().shown().size(), 1u);
    const auto& box = tp.messages().shown()[0];
    EXPECT_EQ(box.title, "NON-STANDARD INI FILE PLACEMENT");
    EXPECT_EQ(box.text,
              "Reinstall this program to correct INI placement and avoid potential configuration errors.");
    EXPECT_EQ(box.buttons, Buttons::OK);
    EXPECT_EQ(box.icon, Icon::Information);
}

TEST_F(Config, FailingWindowsDirectoryFallsBackToTheProgramFolder) {
    removeAppraise();
    tp.system().windowsDirectoryFails = true;
    tp.system().folder = "C:\\QXTEST";
    EXPECT_EQ(FindAppraiseDir(rt), "C:\\QXTEST\\");
    EXPECT_EQ(IniDirectory(rt), "C:\\QXTEST\\");
}

TEST_F(Config, SystemDirectoryWithoutDriveLooksForAppraiseRelativeToTheCurrentFolder) {
    tp.system().systemDirectory = "WINDOWS\\SYSTEM32";
    tp.realFs().changeFolder("C:\\");
    EXPECT_EQ(FindAppraiseDir(rt), "APPRAISE\\");
    EXPECT_EQ(g.appraiseFolder, "APPRAISE\\");
}

TEST_F(Config, LocateFindsThePrimaryFile) {
    EXPECT_EQ(LocateConfigFile(rt, "kel.ini", false), "C:\\APPRAISE\\KEL.INI");
    EXPECT_EQ(g.iniDirectory, "C:\\APPRAISE\\");
    EXPECT_TRUE(tp.messages().shown().empty());
}

TEST_F(Config, LocateFallsBackToTheSecondaryFile) {
    std::filesystem::remove(tp.drive().host("APPRAISE\\kel.ini"));
    tp.drive().write("WINDOWS\\KEL.INI", "[directories]\r\n");
    EXPECT_EQ(LocateConfigFile(rt, " kel.ini ", false), "C:\\WINDOWS\\KEL.INI");
    EXPECT_TRUE(tp.messages().shown().empty());
}

TEST_F(Config, MissingFileWithTheSamePrimaryAndSecondaryGivesTheOneLocationText) {
    removeAppraise();
    tp.messages().queue(Answer::Yes);
    EXPECT_EQ(LocateConfigFile(rt, "kel.ini", false), "C:\\WINDOWS\\KEL.INI");
    ASSERT_EQ(tp.messages().shown().size(), 1u);
    const auto& box = tp.messages().shown()[0];
    EXPECT_EQ(box.title, "Configuration File Missing");
    EXPECT_EQ(box.text, kOneLocation);
    EXPECT_EQ(box.buttons, Buttons::YesNoCancel);
    EXPECT_EQ(box.icon, Icon::None);
    EXPECT_FALSE(tp.process().ended());
}

TEST_F(Config, MissingFileWithDifferentFoldersGivesTheTwoLocationText) {
    std::filesystem::remove(tp.drive().host("APPRAISE\\kel.ini"));
    tp.messages().queue(Answer::Yes);
    EXPECT_EQ(LocateConfigFile(rt, "kel.ini", false), "C:\\WINDOWS\\KEL.INI");
    ASSERT_EQ(tp.messages().shown().size(), 1u);
    EXPECT_EQ(tp.messages().shown()[0].text, kTwoLocations);
}

TEST_F(Config, MissingFileTextShowsTheIniDirectoryAsStored) {
    std::filesystem::remove(tp.drive().host("APPRAISE\\kel.ini"));
    g.iniDirectory = "c:\\appraise\\";
    tp.messages().queue(Answer::Yes);
    LocateConfigFile(rt, "kel.ini", false);
    EXPECT_NE(tp.messages().shown()[0].text.find("missing from c:\\appraise\\ (primary"), std::string::npos);
}

TEST_F(Config, MissingFileAnsweredNoEndsTheProgram) {
    removeAppraise();
    tp.messages().queue(Answer::No);
    EXPECT_THROW(LocateConfigFile(rt, "kel.ini", false), ProgramEnd);
    EXPECT_TRUE(tp.process().ended());
}

TEST_F(Config, MissingFileAnsweredCancelEndsTheProgram) {
    removeAppraise();
    tp.messages().queue(Answer::Cancel);
    EXPECT_THROW(LocateConfigFile(rt, "kel.ini", false), ProgramEnd);
}

TEST_F(Config, MissingFileQuietAsksNothing) {
    removeAppraise();
    EXPECT_EQ(LocateConfigFile(rt, "kel.ini", true), "C:\\WINDOWS\\KEL.INI");
    EXPECT_TRUE(tp.messages().shown().empty());
}

TEST_F(Config, EmptyConfigurationFileCountsAsMissing) {
    tp.drive().write("APPRAISE\\kel.ini", "");
    tp.messages().queue(Answer::Yes);
    LocateConfigFile(rt, "kel.ini", false);
    ASSERT_EQ(tp.messages().shown().size(), 1u);
    EXPECT_EQ(tp.messages().shown()[0].text, kTwoLocations);
}

TEST_F(Config, ReadsTheSuiteValues) {
    const std::string ini = "C:\\APPRAISE\\KEL.INI";
    EXPECT_EQ(ReadIniString(rt, ini, "directories", "appdir", ""), "C:\\KEL");
    EXPECT_EQ(ReadIniString(rt, ini, "directories", "datadir", ""), "C:\\KELDATA");
    EXPECT_EQ(ReadIniString(rt, ini, "directories", "userdir", ""), "C:\\KELUSER");
    EXPECT_EQ(ReadIniString(rt, ini, "PROGRAM ALIAS", "CORVID Office Plus", "Corvid Office Plus"),
              "Corvid Office Plus");
}

TEST_F(Config, AbsentKeyReturnsTheDefaultUnchanged) {
    EXPECT_EQ(ReadIniString(rt, "C:\\APPRAISE\\KEL.INI", "directories", "nokey", "  The Default"),
              "  The Default");
}

TEST_F(Config, PresentKeyWithEmptyValueReturnsEmpty) {
    tp.drive().write("APPRAISE\\kel.ini", "[directories]\r\nappdir=\r\n");
    EXPECT_EQ(ReadIniString(rt, "C:\\APPRAISE\\KEL.INI", "directories", "appdir", "default"), "");
}

TEST_F(Config, ValueIsReturnedUntrimmedOfItsQuotedBlanks) {
    tp.drive().write("APPRAISE\\kel.ini", "[directories]\r\nappdir=\" C:\\KEL \"\r\n");
    EXPECT_EQ(ReadIniString(rt, "C:\\APPRAISE\\KEL.INI", "directories", "appdir", ""), " C:\\KEL ");
}

class ConfigSizes : public Config {
  protected:
    ConfigSizes() : recording(tp.platform().profile) {}
    std::string read() {
        platform::Platform p{tp.fs(), recording, tp.system(), tp.clock(), tp.messages(), tp.process()};
        Runtime r{p, g};
        return ReadIniString(r, "C:\\APPRAISE\\KEL.INI", "s", "k", "");
    }
    RecordingProfile recording;
};

TEST_F(ConfigSizes, ValueOf254CharactersGrowsTheBufferTo512AndReadsAgain) {
    tp.drive().write("APPRAISE\\kel.ini", "[s]\r\nk=" + std::string(254, 'x') + "\r\n");
    EXPECT_EQ(read(), std::string(254, 'x'));
    EXPECT_EQ(recording.sizes, (std::vector<std::uint32_t>{256, 512}));
}

TEST_F(ConfigSizes, ValueOf253CharactersIsReadAtOnce) {
    tp.drive().write("APPRAISE\\kel.ini", "[s]\r\nk=" + std::string(253, 'x') + "\r\n");
    EXPECT_EQ(read(), std::string(253, 'x'));
    EXPECT_EQ(recording.sizes, (std::vector<std::uint32_t>{256}));
}

TEST_F(ConfigSizes, ValueOf1000CharactersGrowsInSteps) {
    tp.drive().write("APPRAISE\\kel.ini", "[s]\r\nk=" + std::string(1000, 'y') + "\r\n");
    EXPECT_EQ(read(), std::string(1000, 'y'));
    EXPECT_EQ(recording.sizes, (std::vector<std::uint32_t>{256, 512, 768, 1024}));
}

TEST_F(ConfigSizes, ValueOf32509CharactersIsStillRead) {
    tp.drive().write("APPRAISE\\kel.ini", "[s]\r\nk=" + std::string(32509, 'z') + "\r\n");
    EXPECT_EQ(read().size(), 32509u);
    EXPECT_EQ(recording.sizes.back(), 32512u);
}

TEST_F(ConfigSizes, ValueOf32511CharactersOverflowsTheSixteenBitSize) {
    tp.drive().write("APPRAISE\\kel.ini", "[s]\r\nk=" + std::string(32511, 'z') + "\r\n");
    try {
        read();
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 6);
        EXPECT_EQ(e.description(), "Overflow");
    }
    EXPECT_EQ(recording.sizes.back(), 32512u);
}

TEST_F(ConfigSizes, MultiByteCharactersCountAsOne) {
    std::string v;
    for (int i = 0; i < 254; ++i) v += "\xE9";
    tp.drive().write("APPRAISE\\kel.ini", "[s]\r\nk=" + v + "\r\n");
    const std::string r = read();
    EXPECT_EQ(r.size(), 508u);  // 254 characters of two UTF-8 bytes each
    EXPECT_EQ(recording.sizes, (std::vector<std::uint32_t>{256, 512}));
}

}  // namespace
}  // namespace qx
