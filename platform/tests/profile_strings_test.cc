// GetPrivateProfileStringA over the emulated file system: every rule of the contract.
#include <gtest/gtest.h>

#include "platform/ini_profile.h"
#include "platform/posix_filesystem.h"
#include "platform/testing/test_drive.h"
#include "platform/utf8.h"

namespace qx::platform {
namespace {

class ProfileStringsTest : public ::testing::Test {
  protected:
    ProfileStringsTest()
        : drive_(QX_SHARED_DIR, false), fsys_({{'C', drive_.root().string()}}), ini_(fsys_, "C:\\WINDOWS") {}

    // Reads with a buffer of `size` blanks; returns the answer and what the buffer holds up to it.
    std::pair<std::uint32_t, std::string> read(std::string_view section, std::string_view key,
                                               std::string_view def, std::uint32_t size = 256,
                                               std::string_view file = "C:\\APPRAISE\\kel.ini") {
        std::string buffer(size, ' ');
        const auto n = ini_.GetPrivateProfileStringA(section, key, def, buffer, size, file);
        lastBuffer_ = buffer;
        return {n, buffer.substr(0, utf8Offset(buffer, n))};
    }
    void ini(std::string_view bytes) { drive_.write("APPRAISE\\kel.ini", bytes); }

    qx::testing::TempDriveC drive_;
    PosixFileSystem fsys_;
    IniProfileStrings ini_;
    std::string lastBuffer_;
};

TEST_F(ProfileStringsTest, ReturnsTheValueAndItsLength) {
    ini("[directories]\r\nappdir=C:\\KEL\r\n");
    const auto [n, v] = read("directories", "appdir", "");
    EXPECT_EQ(n, 6u);
    EXPECT_EQ(v, "C:\\KEL");
    EXPECT_EQ(lastBuffer_[6], '\0');
    EXPECT_EQ(lastBuffer_.size(), 256u);
    EXPECT_EQ(lastBuffer_[7], ' ');
}

TEST_F(ProfileStringsTest, SectionAndKeyNamesIgnoreCase) {
    ini("[Directories]\r\nAppDir=C:\\KEL\r\n");
    EXPECT_EQ(read("DIRECTORIES", "appdir", "").second, "C:\\KEL");
}

TEST_F(ProfileStringsTest, BlanksAroundKeysAndValuesAreDropped) {
    ini("[directories]\r\n   appdir   =   C:\\KEL  \t\r\n");
    EXPECT_EQ(read("directories", "appdir", "").second, "C:\\KEL");
}

TEST_F(ProfileStringsTest, OnePairOfDoubleQuotesIsStripped) {
    ini("[s]\r\nk=\"C:\\KEL \"\r\nj=\"\"x\"\"\r\n");
    EXPECT_EQ(read("s", "k", "").second, "C:\\KEL ");
    EXPECT_EQ(read("s", "j", "").second, "\"x\"");
}

TEST_F(ProfileStringsTest, OnePairOfSingleQuotesIsStripped) {
    ini("[s]\r\nk='quoted'\r\nm='unbalanced\r\n");
    EXPECT_EQ(read("s", "k", "").second, "quoted");
    EXPECT_EQ(read("s", "m", "").second, "'unbalanced");
}

TEST_F(ProfileStringsTest, SemicolonLinesAreComments) {
    ini("[s]\r\n;k=commented\r\n  ; k=also\r\nk=real\r\n");
    EXPECT_EQ(read("s", "k", "").second, "real");
    EXPECT_EQ(read("s", ";k", "def").second, "def");
}

TEST_F(ProfileStringsTest, FirstOfDuplicateKeysWins) {
    ini("[s]\r\nk=first\r\nk=second\r\n");
    EXPECT_EQ(read("s", "k", "").second, "first");
}

TEST_F(ProfileStringsTest, FirstOfDuplicateSectionsWins) {
    ini("[s]\r\nk=first\r\n[other]\r\nk=x\r\n[S]\r\nk=second\r\nonly=later\r\n");
    EXPECT_EQ(read("s", "k", "").second, "first");
    EXPECT_EQ(read("s", "only", "def").second, "def");
}

TEST_F(ProfileStringsTest, SectionAndKeyNamesWithBlanks) {
    ini("[PROGRAM ALIAS]\r\nCORVID Office Plus=Corvid Office Plus\r\n");
    EXPECT_EQ(read("PROGRAM ALIAS", "CORVID Office Plus", "x").second, "Corvid Office Plus");
    EXPECT_EQ(read("program alias", "corvid office plus", "x").second, "Corvid Office Plus");
}

TEST_F(ProfileStringsTest, TrailingBlanksOfTheDefaultAreDropped) {
    ini("[s]\r\n");
    const auto [n, v] = read("s", "missing", "  default  ");
    EXPECT_EQ(v, "  default");
    EXPECT_EQ(n, 9u);
}

TEST_F(ProfileStringsTest, Windows1252FileWithCrLf) {
    ini("[s]\r\nname=Caf\xE9 \x80\r\n");
    const auto [n, v] = read("s", "name", "");
    EXPECT_EQ(v, "Caf\u00e9 \u20ac");
    EXPECT_EQ(n, 6u);  // counted in characters
}

TEST_F(ProfileStringsTest, FileWithLfLineEnds) {
    ini("[s]\nk=v1\nj=v2\n");
    EXPECT_EQ(read("s", "k", "").second, "v1");
    EXPECT_EQ(read("s", "j", "").second, "v2");
}

TEST_F(ProfileStringsTest, MissingFileYieldsTheDefault) {
    const auto [n, v] = read("directories", "appdir", "fallback", 256, "C:\\APPRAISE\\none.ini");
    EXPECT_EQ(v, "fallback");
    EXPECT_EQ(n, 8u);
    EXPECT_EQ(read("directories", "appdir", "fb", 256, "Q:\\kel.ini").second, "fb");
}

TEST_F(ProfileStringsTest, MissingSectionOrKeyYieldsTheDefault) {
    ini("[s]\r\nk=v\r\n");
    EXPECT_EQ(read("t", "k", "d").second, "d");
    EXPECT_EQ(read("s", "x", "d").second, "d");
}

TEST_F(ProfileStringsTest, PresentKeyWithEmptyValueGivesEmpty) {
    ini("[s]\r\nk=\r\n");
    const auto [n, v] = read("s", "k", "default");
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(v, "");
}

TEST_F(ProfileStringsTest, ValueThatFillsSizeMinusTwoAnswersSizeMinusTwo) {
    ini("[s]\r\nk=" + std::string(254, 'a') + "\r\n");
    EXPECT_EQ(read("s", "k", "", 256).first, 254u);
    const auto [n, v] = read("s", "k", "", 512);
    EXPECT_EQ(n, 254u);
    EXPECT_EQ(v, std::string(254, 'a'));
}

TEST_F(ProfileStringsTest, LongerValueIsCutToSizeMinusTwo) {
    ini("[s]\r\nk=" + std::string(300, 'b') + "\r\n");
    const auto [n, v] = read("s", "k", "", 256);
    EXPECT_EQ(n, 254u);
    EXPECT_EQ(v, std::string(254, 'b'));
    EXPECT_EQ(lastBuffer_[254], '\0');
}

TEST_F(ProfileStringsTest, LongDefaultIsCutLikeAValue) {
    const auto [n, v] = read("s", "k", std::string(10, 'd'), 8, "C:\\none.ini");
    EXPECT_EQ(n, 6u);
    EXPECT_EQ(v, "dddddd");
}

TEST_F(ProfileStringsTest, BareFileNameIsLookedUpInTheWindowsDirectory) {
    drive_.write("WINDOWS\\kel.ini", "[s]\r\nk=win\r\n");
    EXPECT_EQ(read("s", "k", "", 256, "KEL.INI").second, "win");
}

TEST_F(ProfileStringsTest, KeysBeforeAnySectionAndLinesWithoutEqualsAreIgnored) {
    ini("k=outside\r\n[s]\r\nnoequals\r\nk=inside\r\n");
    EXPECT_EQ(read("s", "k", "").second, "inside");
    EXPECT_EQ(read("s", "noequals", "d").second, "d");
}

TEST_F(ProfileStringsTest, SuiteFixtureReads) {
    qx::testing::TempDriveC suite(QX_SHARED_DIR);
    PosixFileSystem f({{'C', suite.root().string()}});
    IniProfileStrings p(f, "C:\\WINDOWS");
    std::string buffer(256, ' ');
    const auto n =
        p.GetPrivateProfileStringA("directories", "datadir", "", buffer, 256, "C:\\APPRAISE\\kel.ini");
    EXPECT_EQ(buffer.substr(0, n), "C:\\KELDATA");
}

}  // namespace
}  // namespace qx::platform
