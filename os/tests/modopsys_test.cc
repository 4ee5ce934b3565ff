#include "os/modopsys.h"

#include <gtest/gtest.h>

#include "platform/testing/test_drive.h"

namespace qx {
namespace {

class OsName : public ::testing::Test {
  protected:
    std::string run(std::uint32_t major, std::uint32_t minor, std::uint32_t platformId, std::string_view sp) {
        tp.system().setVersion(major, minor, platformId, sp);
        std::string name = "stale";
        // Flags left set by an earlier call must be cleared.
        g.vistaFlag = g.firstFamilyFlag = g.secondFamilyFlag = true;
        GetOSName(rt, name);
        return name;
    }
    std::string flags() const {
        return std::string(g.vistaFlag ? "V" : "-") + (g.firstFamilyFlag ? "1" : "-") +
               (g.secondFamilyFlag ? "2" : "-");
    }
    testing::TestPlatform tp{QX_SHARED_DIR, false};
    Globals g;
    Runtime rt{tp.platform(), g};
};

TEST_F(OsName, WindowsXpWithoutServicePackHasNoTrailingBlank) {
    EXPECT_EQ(run(5, 1, 2, ""), "Windows XP");
    EXPECT_EQ(flags(), "---");
}

TEST_F(OsName, WindowsXpWithServicePack2) {
    EXPECT_EQ(run(5, 1, 2, "Service Pack 2"), "Windows XP Service Pack 2");
}

TEST_F(OsName, WindowsServer2003GivesEmptyNameAndNoFlag) {
    EXPECT_EQ(run(5, 2, 2, "Service Pack 1"), "");
    EXPECT_EQ(flags(), "---");
}

TEST_F(OsName, Windows7IsNamedVistaWithItsServicePackAndSetsTheVistaFlag) {
    EXPECT_EQ(run(6, 1, 2, "Service Pack 1"), "Windows Vista Service Pack 1");
    EXPECT_EQ(flags(), "V1-");
}

TEST_F(OsName, MajorTenIsUnknownAndSetsNoFlag) {
    EXPECT_EQ(run(10, 0, 2, ""), "Unknown Windows Version");
    EXPECT_EQ(flags(), "---");
}

TEST_F(OsName, VistaWithoutServicePack) {
    EXPECT_EQ(run(6, 0, 2, ""), "Windows Vista");
    EXPECT_TRUE(g.vistaFlag);
}

TEST_F(OsName, Windows2000SetsTheSecondFamilyFlag) {
    EXPECT_EQ(run(5, 0, 2, "Service Pack 4"), "Windows 2000 Service Pack 4");
    EXPECT_EQ(flags(), "--2");
}

TEST_F(OsName, NtFamilyOfMajorThreeAndFour) {
    EXPECT_EQ(run(3, 51, 2, ""), "Windows NT 3.x");
    EXPECT_EQ(flags(), "---");
    EXPECT_EQ(run(4, 0, 2, "Service Pack 6"), "Windows NT 4.0");
    EXPECT_EQ(flags(), "--2");
}

TEST_F(OsName, NineXFamily) {
    EXPECT_EQ(run(3, 10, 1, ""), "Windows 3.x");
    EXPECT_EQ(run(4, 0, 1, ""), "Windows 95");
    EXPECT_EQ(flags(), "-12");
    EXPECT_EQ(run(4, 10, 1, " A "), "Windows 98/Windows ME");
    EXPECT_EQ(flags(), "-12");
}

TEST_F(OsName, ControlCharactersInTheServicePackBecomeBlanks) {
    EXPECT_EQ(run(5, 1, 2,
                  "Service\tPack\x01"
                  "3"),
              "Windows XP Service Pack 3");
}

TEST_F(OsName, FailedVersionQueryIsUnknown) {
    tp.system().versionFails = true;
    std::string name;
    GetOSName(rt, name);
    EXPECT_EQ(name, "Unknown Windows Version");
}

TEST(CleanTextTest, ReplacesControlAndHighCharactersKeepingTheLength) {
    EXPECT_EQ(CleanText(std::string("a\0b\x7f"
                                    "c",
                                    5)),
              "a b c");
    EXPECT_EQ(CleanText("caf\u00e9!"), "caf !");
    EXPECT_EQ(CleanText(""), "");
    EXPECT_EQ(CleanText(" ~"), " ~");
}

}  // namespace
}  // namespace qx
