// The script driver: its language, its transcript and its exit statuses.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "driver/driver.h"
#include "platform/testing/test_drive.h"

namespace qx::driver {
namespace {

class DriverTest : public ::testing::Test {
  protected:
    DriverTest() : drive(QX_SHARED_DIR, true) {}

    int run(const std::string& script) {
        std::istringstream in(script);
        std::ostringstream out, err;
        DriverOptions options;
        options.root = drive.root().string();
        const int status = runScript(in, out, err, options);
        transcript = out.str();
        errors = err.str();
        return status;
    }

    testing::TempDriveC drive;
    std::string transcript;
    std::string errors;
};

TEST_F(DriverTest, StartsAndPrintsTheMainForm) {
    EXPECT_EQ(run("start\nprint frmMain\n"), 0);
    EXPECT_EQ(transcript,
              "{\"form\":\"frmMain\",\"caption\":\"Corvid Office Plus - QX Test - Version 7.0.12\","
              "\"loaded\":true,\"visible\":true}\n");
}

TEST_F(DriverTest, PrintsEachKindWithItsProperties) {
    EXPECT_EQ(run("start\n"
                  "print frmMain.ckbKELini   # a comment\n"
                  "print frmMain.cmdClear(0)\n"
                  "print frmMain.lblTableCount\n"
                  "print frmMain.optSearch(11)\n"
                  "print frmMain.fraSearch(4)\n"
                  "print frmMain.txtPhoneNum(4)\n"
                  "print frmMain.lstDetails\n"
                  "print frmMain.mnuFileSecurity\n"
                  "print frmMain.grdData\n"
                  "print frmSM.pgbPhysMem\n"),
              0);
    EXPECT_EQ(
        transcript,
        "{\"control\":\"frmMain.ckbKELini\",\"value\":0,\"caption\":\"Passed\"}\n"
        "{\"control\":\"frmMain.cmdClear(0)\",\"caption\":\"Clear\",\"visible\":true,\"enabled\":true}\n"
        "{\"control\":\"frmMain.lblTableCount\",\"caption\":\"TableCount:\",\"visible\":true}\n"
        "{\"control\":\"frmMain.optSearch(11)\",\"value\":true,\"caption\":\"blank\",\"visible\":false}\n"
        "{\"control\":\"frmMain.fraSearch(4)\",\"caption\":\"Client Contacts Search\",\"visible\":false}\n"
        "{\"control\":\"frmMain.txtPhoneNum(4)\",\"text\":\"\",\"visible\":true}\n"
        "{\"control\":\"frmMain.lstDetails\",\"items\":[\"Please select a maintenance option\","
        "\"shown to the left.\"],\"listIndex\":-1,\"selected\":[],\"visible\":true}\n"
        "{\"control\":\"frmMain.mnuFileSecurity\",\"caption\":\"Security\",\"checked\":true,\"visible\":true}"
        "\n"
        "{\"control\":\"frmMain.grdData\",\"columns\":[],\"rows\":[],\"visible\":true,\"allowAddNew\":false,"
        "\"allowDelete\":false,\"allowUpdate\":false}\n"
        "{\"control\":\"frmSM.pgbPhysMem\",\"min\":0,\"max\":100,\"value\":0}\n");
}

TEST_F(DriverTest, MessageBoxesAreAnsweredFromTheQueueAndNoEndsTheProgram) {
    std::filesystem::remove(drive.host("APPRAISE\\kel.ini"));
    EXPECT_EQ(run("answer No\nstart\nprint frmMain\n"), 0);
    EXPECT_EQ(
        transcript,
        "{\"msgbox\":{\"title\":\"Configuration File Missing\",\"text\":\"KEL.INI configuration file is "
        "missing from C:\\\\APPRAISE\\\\ (primary location) and C:\\\\WINDOWS\\\\ (secondary location). DO "
        "you wish to coninue? (Program may not function correctly)\",\"buttons\":\"YesNoCancel\","
        "\"icon\":\"None\"},\"answer\":\"No\"}\n"
        "{\"exit\":true}\n");
}

TEST_F(DriverTest, ABoxWithoutAnAnswerStopsTheScript) {
    std::filesystem::remove(drive.host("APPRAISE\\kel.ini"));
    EXPECT_EQ(run("start\nprint frmMain\n"), 1);
    EXPECT_NE(transcript.find("\"answer\":null}"), std::string::npos);
    EXPECT_EQ(transcript.find("\"form\""), std::string::npos);
    EXPECT_NE(errors.find("line 1"), std::string::npos);
}

TEST_F(DriverTest, ExitButtonEndsTheRunAndTheRestIsSkipped) {
    EXPECT_EQ(run("start\nclick frmMain.cmdexit(0)\nprint frmMain\nnonsense here\n"), 0);
    EXPECT_EQ(transcript, "{\"exit\":true}\n");
}

TEST_F(DriverTest, GesturesTheUserCannotMakeAreRefused) {
    EXPECT_EQ(run("start\n"
                  "click frmMain.cmdClear(3)\n"    // on another tab
                  "click frmMain.optSearch(10)\n"  // hidden while locked
                  "tab 3\n"
                  "click frmMain.cmdClear(3)\n"
                  "select frmMain.lstDetails 5\n"),
              0);
    EXPECT_EQ(transcript,
              "{\"refused\":\"frmMain.cmdClear(3)\",\"reason\":\"it is on another tab\"}\n"
              "{\"refused\":\"frmMain.optSearch(10)\",\"reason\":\"it is on another tab\"}\n"
              "{\"refused\":\"frmMain.lstDetails\",\"reason\":\"it has no line 5\"}\n");
}

TEST_F(DriverTest, TypingAndSettingTextChangeTheBox) {
    EXPECT_EQ(run("start\ntab 2\ntype frmMain.txtCity(0) \"y\\u00f6rk\"\nprint frmMain.txtCity(0)\n"
                  "settext frmMain.txtCity(0) \"\"\nprint frmMain.txtCity(0)\n"),
              0);
    // The frame of the Property criteria is hidden until the category is chosen: typing is refused.
    EXPECT_EQ(transcript,
              "{\"refused\":\"frmMain.txtCity(0)\",\"reason\":\"its frame is hidden\"}\n"
              "{\"control\":\"frmMain.txtCity(0)\",\"text\":\"\",\"visible\":true}\n"
              "{\"refused\":\"frmMain.txtCity(0)\",\"reason\":\"its frame is hidden\"}\n"
              "{\"control\":\"frmMain.txtCity(0)\",\"text\":\"\",\"visible\":true}\n");
}

TEST_F(DriverTest, LinesItCannotUnderstandExitWithStatus2) {
    EXPECT_EQ(run("start\nfrobnicate\n"), 2);
    EXPECT_NE(errors.find("line 2: unknown command 'frobnicate'"), std::string::npos);
    EXPECT_EQ(run("start\nprint frmMain.noSuchControl\n"), 2);
    EXPECT_EQ(run("start\nclick frmMain.cmdClear(x)\n"), 2);
    EXPECT_EQ(run("print frmMain\n"), 2);  // not started
    EXPECT_EQ(run("start\nroot \"/tmp\"\n"), 2);
    EXPECT_EQ(run("now 2007-02-30T10:00:00\n"), 2);
    EXPECT_EQ(run("answer Maybe\n"), 2);
    EXPECT_EQ(run("start\ntype frmMain.txtCity(0) \"unterminated\n"), 2);
}

TEST_F(DriverTest, EnvironmentCommandsReachThePlatform) {
    // Windows Vista without the APPRAISE folder: the placement notice comes first.
    std::filesystem::remove_all(drive.host("APPRAISE"));
    EXPECT_EQ(run("os 6 0 2 \"Service Pack 1\"\n"
                  "memory 50 1000 500 2000 1000 3000 1500\n"
                  "now 2007-01-31T23:59:59\n"
                  "cmdline \"/W\"\n"
                  "answer OK\nanswer Yes\nstart\n"),
              0);
    EXPECT_NE(transcript.find("{\"msgbox\":{\"title\":\"NON-STANDARD INI FILE PLACEMENT\""),
              std::string::npos);
    EXPECT_NE(transcript.find("\"icon\":\"Information\"},\"answer\":\"OK\"}"), std::string::npos);
}

TEST_F(DriverTest, CloseOfTheLastFormEndsTheProgram) {
    EXPECT_EQ(run("start\nclose frmSM\nclose frmMain\nprint frmMain\n"), 0);
    EXPECT_EQ(transcript, "{\"refused\":\"frmSM\",\"reason\":\"its form is not shown\"}\n{\"exit\":true}\n");
}

}  // namespace
}  // namespace qx::driver
