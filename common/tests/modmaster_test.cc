// The shared routines and the error report, including every message text byte for byte.
#include "common/modmaster.h"

#include <filesystem>

#include "common/trap.h"

#include <gtest/gtest.h>

#include "platform/testing/test_drive.h"

namespace qx {
namespace {

using platform::Answer;
using platform::Buttons;
using platform::Icon;

class ModMaster : public ::testing::Test {
  protected:
    ModMaster() { g.toolTitle = "Corvid Office Plus - QX Test"; }
    testing::TestPlatform tp{QX_SHARED_DIR};
    Globals g;
    Runtime rt{tp.platform(), g};
};

// CkRSlash

TEST_F(ModMaster, CkRSlashOfPathWithTwoTrailingBlanksChangesTheCallersVariable) {
    std::string path = "C:\\Data  ";
    EXPECT_EQ(CkRSlash(rt, path), "C:\\Data\\");
    EXPECT_EQ(path, "C:\\Data\\");
    EXPECT_EQ(g.currentProcedure, "CkRSlash            ");
}

TEST_F(ModMaster, CkRSlashOfThreeBlanksReturnsEmptyAndLeavesTheVariable) {
    std::string path = "   ";
    EXPECT_EQ(CkRSlash(rt, path), "");
    EXPECT_EQ(path, "   ");
}

TEST_F(ModMaster, CkRSlashKeepsAnExistingBackslashAndAddsNoSecond) {
    std::string path = "C:\\KEL\\";
    EXPECT_EQ(CkRSlash(rt, path), "C:\\KEL\\");
    EXPECT_EQ(path, "C:\\KEL\\");
    std::string padded = " C:\\KEL\\ ";
    EXPECT_EQ(CkRSlash(rt, padded), "C:\\KEL\\");
    EXPECT_EQ(padded, " C:\\KEL\\ ");  // only adding a backslash changes the variable
}

// StripRChar

TEST_F(ModMaster, StripRCharOfTwoTrailingBackslashesRemovesOne) {
    std::string path = "C:\\Data\\\\";
    EXPECT_EQ(StripRChar(rt, path), "C:\\Data\\");
    EXPECT_EQ(path, "C:\\Data\\");
}

TEST_F(ModMaster, StripRCharTrimsTheCallersVariable) {
    std::string path = "  C:\\Data  ";
    EXPECT_EQ(StripRChar(rt, path), "C:\\Data");
    EXPECT_EQ(path, "C:\\Data");
    EXPECT_EQ(g.currentProcedure, "StripRChar          ");
}

// ParseFileName

TEST_F(ModMaster, ParseFileNameOfDriveRelativeFile) {
    std::string d, dir, n, e;
    ParseFileName(rt, "c:file.txt", d, dir, n, e);
    EXPECT_EQ(d, "C:");
    EXPECT_EQ(dir, "");
    EXPECT_EQ(n, "FILE");
    EXPECT_EQ(e, "TXT");
}

TEST_F(ModMaster, ParseFileNameOfNameEndingInADotHasAnEmptyExtension) {
    std::string d = "x", dir = "x", n, e = "x";
    ParseFileName(rt, "readme.", d, dir, n, e);
    EXPECT_EQ(d, "");
    EXPECT_EQ(dir, "");
    EXPECT_EQ(n, "README");
    EXPECT_EQ(e, "");
}

TEST_F(ModMaster, ParseFileNameSplitsAtTheFirstDotBeforeTheDirectory) {
    std::string d, dir, n, e;
    ParseFileName(rt, "C:\\A.B\\FILE.TXT", d, dir, n, e);
    EXPECT_EQ(d, "C:");
    EXPECT_EQ(e, "B\\FILE.TXT");
    EXPECT_EQ(dir, "\\");
    EXPECT_EQ(n, "A");
}

TEST_F(ModMaster, ParseFileNameOfAFullPath) {
    std::string d, dir, n, e;
    ParseFileName(rt, "  c:\\keldata\\office.mdb ", d, dir, n, e);
    EXPECT_EQ(d, "C:");
    EXPECT_EQ(dir, "\\KELDATA\\");
    EXPECT_EQ(n, "OFFICE");
    EXPECT_EQ(e, "MDB");
    ParseFileName(rt, "C:\\WINDOWS\\SYSTEM32\\changes.txt", d, dir, n, e);
    EXPECT_EQ(d, "C:");
    EXPECT_EQ(dir, "\\WINDOWS\\SYSTEM32\\");
}

TEST_F(ModMaster, ParseFileNameDropsEverythingUpToABracket) {
    std::string d, dir, n, e;
    ParseFileName(rt, "[vol]name.ext", d, dir, n, e);
    EXPECT_EQ(n, "NAME");
    EXPECT_EQ(e, "EXT");
}

TEST_F(ModMaster, ParseFileNameOfBlankGivesFourEmptyParts) {
    std::string d = "a", dir = "b", n = "c", e = "d";
    ParseFileName(rt, "  ", d, dir, n, e);
    EXPECT_EQ(d + dir + n + e, "");
}

// SplitAt

TEST_F(ModMaster, SplitAtLeftOfBlankHyphenBlank) {
    EXPECT_EQ(SplitAt("KelCom.mdb - Comments", "left", " - "), "KelCom.mdb");
}

TEST_F(ModMaster, SplitAtRightOfBlankHyphenBlank) {
    EXPECT_EQ(SplitAt("KelCom.mdb - Comments", "R", " - "), "Comments");
}

TEST_F(ModMaster, SplitAtWithMissingSeparatorGivesEmpty) {
    EXPECT_EQ(SplitAt("KelCom.mdb - Comments", "L", "+"), "");
}

TEST_F(ModMaster, SplitAtWithAnotherSideGivesEmpty) {
    EXPECT_EQ(SplitAt("a-b", "middle", "-"), "");
}

// SepDate

TEST_F(ModMaster, SepDateOfADate) {
    vb::Integer y = 0, m = 0, d = 0;
    SepDate(rt, platform::LocalTime{2006, 11, 20, 13, 45, 0}, y, m, d);
    EXPECT_EQ(y, 2006);
    EXPECT_EQ(m, 11);
    EXPECT_EQ(d, 20);
    EXPECT_EQ(g.currentProcedure, "SepDate             ");
}

TEST_F(ModMaster, SepDateOfDateText) {
    vb::Integer y = 0, m = 0, d = 0;
    SepDate(rt, "1/5/2007", y, m, d);
    EXPECT_EQ(y, 2007);
    EXPECT_EQ(m, 1);
    EXPECT_EQ(d, 5);
    SepDate(rt, "11/20/2006 1:45:00 PM", y, m, d);
    EXPECT_EQ(d, 20);
}

TEST_F(ModMaster, SepDateOfNonsenseIsTypeMismatch) {
    vb::Integer y = 0, m = 0, d = 0;
    try {
        SepDate(rt, "2/30/2006", y, m, d);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 13);
    }
}

// FileExists

TEST_F(ModMaster, FileExistsOfAnExistingEmptyFileIsFalse) {
    tp.drive().write("KELDATA\\empty.mdb", "");
    EXPECT_FALSE(FileExists(rt, "C:\\KELDATA\\empty.mdb"));
    EXPECT_EQ(g.currentProcedure, "FileExists          ");
}

TEST_F(ModMaster, FileExistsOfAFileWithOneByte) {
    tp.drive().write("KELDATA\\one.txt", "x");
    EXPECT_TRUE(FileExists(rt, "c:\\keldata\\ONE.TXT"));
}

TEST_F(ModMaster, FileExistsOfAMissingFileIsFalseWithoutReport) {
    EXPECT_FALSE(FileExists(rt, "C:\\KELDATA\\none.mdb"));
    EXPECT_FALSE(FileExists(rt, "C:\\NOWHERE\\none.mdb"));
    EXPECT_TRUE(tp.messages().shown().empty());
}

TEST_F(ModMaster, FileExistsOnAnUnmappedDriveAsksAbortRetryIgnore) {
    tp.messages().queue(Answer::Ignore);
    EXPECT_FALSE(FileExists(rt, "Q:\\kel.ini"));
    ASSERT_EQ(tp.messages().shown().size(), 1u);
    EXPECT_EQ(tp.messages().shown()[0].text, "Device unavailable.\r\nError # 68 in module FileExists.");
}

// ErrorReport

TEST_F(ModMaster, ErrorReport61WithIgnorePressedReturnsOne) {
    enterProcedure(g, "FileExists");
    tp.messages().queue(Answer::Ignore);
    EXPECT_EQ(ErrorReport(rt, 61), 1);
    ASSERT_EQ(tp.messages().shown().size(), 1u);
    const auto& box = tp.messages().shown()[0];
    EXPECT_EQ(box.title, "Error");
    EXPECT_EQ(box.text, "Disk full.\r\nError # 61 in module FileExists.");
    EXPECT_EQ(box.buttons, Buttons::AbortRetryIgnore);
    EXPECT_EQ(g.screenMousePointer, 11);
}

TEST_F(ModMaster, ErrorReport5ShowsNothingAndReturnsThree) {
    EXPECT_EQ(ErrorReport(rt, 5), 3);
    EXPECT_TRUE(tp.messages().shown().empty());
    EXPECT_EQ(g.screenMousePointer, 0);
}

TEST_F(ModMaster, ErrorReportTextsForEachFileError) {
    enterProcedure(g, "DelPict");
    for (int i = 0; i < 4; ++i) tp.messages().queue(Answer::Retry);
    EXPECT_EQ(ErrorReport(rt, 57), 0);
    EXPECT_EQ(ErrorReport(rt, 61), 0);
    EXPECT_EQ(ErrorReport(rt, 68), 0);
    EXPECT_EQ(ErrorReport(rt, 71), 0);
    const auto& s = tp.messages().shown();
    ASSERT_EQ(s.size(), 4u);
    EXPECT_EQ(s[0].text, "Device I/O error.\r\nError # 57 in module DelPict.");
    EXPECT_EQ(s[1].text, "Disk full.\r\nError # 61 in module DelPict.");
    EXPECT_EQ(s[2].text, "Device unavailable.\r\nError # 68 in module DelPict.");
    EXPECT_EQ(s[3].text, "Disk not ready.\r\nError # 71 in module DelPict.");
}

TEST_F(ModMaster, ErrorReportAnswersMapToActions) {
    tp.messages().queue(Answer::Abort);
    tp.messages().queue(Answer::OK);
    tp.messages().queue(Answer::Cancel);
    tp.messages().queue(Answer::Yes);
    EXPECT_EQ(ErrorReport(rt, 57), 2);
    EXPECT_EQ(ErrorReport(rt, 57), 0);
    EXPECT_EQ(ErrorReport(rt, 57), 2);
    EXPECT_EQ(ErrorReport(rt, 57), 3);
}

TEST_F(ModMaster, ErrorReportUsesThePendingErrorsOwnDescription) {
    tp.messages().queue(Answer::Ignore);
    ErrorReport(rt, RuntimeError(61, "There is not enough space on the disk"));
    EXPECT_EQ(tp.messages().shown()[0].text.substr(0, 39), "There is not enough space on the disk.\r");
}

TEST_F(ModMaster, ErrorReport3218ShowsTheCorruptNoticeAndEndsTheProgram) {
    tp.messages().queue(Answer::OK);
    EXPECT_THROW(ErrorReport(rt, 3218), ProgramEnd);
    EXPECT_TRUE(tp.process().ended());
    ASSERT_EQ(tp.messages().shown().size(), 1u);
    const auto& box = tp.messages().shown()[0];
    EXPECT_EQ(
        box.text,
        "The databases may be corrupt.  Please run the rebuild programs. (Double Click on the icons) and "
        "restart Snapwell.");
    EXPECT_EQ(box.buttons, Buttons::OK);
    EXPECT_EQ(box.title, "Corvid Office Plus - QX Test");
}

TEST_F(ModMaster, ErrorReportHourglassReachesTheScreenHook) {
    int seen = -1;
    g.onScreenMousePointer = [&](int p) { seen = p; };
    tp.messages().queue(Answer::Ignore);
    ErrorReport(rt, 71);
    EXPECT_EQ(seen, 11);
}

// DelPict and DebugNote

TEST_F(ModMaster, DelPictQuietDeletesWithoutAsking) {
    tp.drive().write("KELDATA\\compress.mdb", "x");
    std::string prompt;
    EXPECT_EQ(DelPict(rt, "C:\\KELDATA\\compress.mdb", true, prompt), 1);
    EXPECT_FALSE(std::filesystem::exists(tp.drive().host("KELDATA\\compress.mdb")));
    EXPECT_TRUE(tp.messages().shown().empty());
    EXPECT_EQ(prompt, "");
}

TEST_F(ModMaster, DelPictAsksWithTheDefaultPromptAndFillsTheCallersPrompt) {
    tp.drive().write("KELDATA\\compress.mdb", "x");
    tp.messages().queue(Answer::Yes);
    std::string prompt;
    EXPECT_EQ(DelPict(rt, "C:\\KELDATA\\compress.mdb", false, prompt), 1);
    EXPECT_EQ(prompt, "Delete C:\\KELDATA\\compress.mdb?");
    ASSERT_EQ(tp.messages().shown().size(), 1u);
    EXPECT_EQ(tp.messages().shown()[0].text, "Delete C:\\KELDATA\\compress.mdb?");
    EXPECT_EQ(tp.messages().shown()[0].buttons, Buttons::YesNo);
    EXPECT_EQ(tp.messages().shown()[0].icon, Icon::None);
    EXPECT_FALSE(std::filesystem::exists(tp.drive().host("KELDATA\\compress.mdb")));
}

TEST_F(ModMaster, DelPictAnsweredNoKeepsTheFile) {
    tp.drive().write("KELDATA\\compress.mdb", "x");
    tp.messages().queue(Answer::No);
    std::string prompt = "Remove it?";
    EXPECT_EQ(DelPict(rt, "C:\\KELDATA\\compress.mdb", false, prompt), 0);
    EXPECT_EQ(tp.messages().shown()[0].text, "Remove it?");
    EXPECT_TRUE(std::filesystem::exists(tp.drive().host("KELDATA\\compress.mdb")));
}

TEST_F(ModMaster, DelPictOfAMissingFileOrEmptyNameReturnsZero) {
    std::string prompt;
    EXPECT_EQ(DelPict(rt, "C:\\KELDATA\\none.mdb", true, prompt), 0);
    EXPECT_EQ(DelPict(rt, "C:\\KELDATA\\", true, prompt), 0);
    EXPECT_TRUE(tp.messages().shown().empty());
}

TEST_F(ModMaster, DebugNoteWithSlashWShowsTheTraceTitledWithTheCommandLine) {
    tp.system().command = "/w extra";
    tp.messages().queue(Answer::OK);
    DebugNote(rt, "C:\\KELDATA\\compress.mdb");
    ASSERT_EQ(tp.messages().shown().size(), 1u);
    EXPECT_EQ(tp.messages().shown()[0].text, "DEBUGGER DELETING C:\\KELDATA\\compress.mdb");
    EXPECT_EQ(tp.messages().shown()[0].title, "/W EXTRA");
    EXPECT_EQ(tp.messages().shown()[0].buttons, Buttons::OK);
}

TEST_F(ModMaster, DebugNoteWithoutTheSwitchShowsNothing) {
    tp.system().command = "";
    DebugNote(rt, "C:\\x");
    EXPECT_TRUE(tp.messages().shown().empty());
}

TEST_F(ModMaster, DelPictTracesTheDeletionWithSlashW) {
    tp.system().command = "/W";
    tp.drive().write("KELDATA\\compress.mdb", "x");
    tp.messages().queue(Answer::OK);
    std::string prompt;
    EXPECT_EQ(DelPict(rt, "C:\\KELDATA\\compress.mdb", true, prompt), 1);
    ASSERT_EQ(tp.messages().shown().size(), 1u);
    EXPECT_EQ(tp.messages().shown()[0].text, "DEBUGGER DELETING C:\\KELDATA\\compress.mdb");
}

TEST_F(ModMaster, DelPictWhenTheDiskFailsAsksAndLeavesOnAbort) {
    tp.drive().write("KELDATA\\compress.mdb", "x");
    tp.fs().failWrite(1, err::kDeviceIoError);
    tp.messages().queue(Answer::Abort);
    std::string prompt;
    EXPECT_EQ(DelPict(rt, "C:\\KELDATA\\compress.mdb", true, prompt), 0);
    EXPECT_EQ(tp.messages().shown()[0].text, "Device I/O error.\r\nError # 57 in module ParseFileName.");
}

// Lists

TEST_F(ModMaster, SelectAllAndUnselectAll) {
    VectorListModel l;
    for (const char* s : {"a", "b", "c"}) l.addItem(s);
    lstSelectAll(rt, l);
    EXPECT_EQ(l.marks, (std::vector<bool>{true, true, true}));
    EXPECT_EQ(g.currentProcedure, "lstSelectAll        ");
    lstUnSelectAll(rt, l);
    EXPECT_EQ(l.marks, (std::vector<bool>{false, false, false}));
    EXPECT_EQ(g.currentProcedure, "lstUnSelectAll      ");
}

TEST_F(ModMaster, LstCopyCopiesInOrderAndRefreshes) {
    VectorListModel src, dst;
    for (const char* s : {"Office.mdb", "KelCom.mdb"}) src.addItem(s);
    dst.addItem("old");
    lstCopy(rt, src, dst);
    EXPECT_EQ(dst.items, (std::vector<std::string>{"Office.mdb", "KelCom.mdb"}));
    EXPECT_EQ(src.current, 0);
    EXPECT_EQ(dst.refreshes, 1);
    EXPECT_EQ(g.currentProcedure, "lstCopy             ");
}

TEST_F(ModMaster, LstCopyOfAnEmptySourceClearsTheTarget) {
    VectorListModel src, dst;
    dst.addItem("old");
    lstCopy(rt, src, dst);
    EXPECT_TRUE(dst.items.empty());
    EXPECT_EQ(dst.refreshes, 0);
}

}  // namespace
}  // namespace qx
