// Sequential text files by number, as VB's Open ... As #n, Print #n, Input #n and Close.
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "platform/errors.h"
#include "platform/posix_filesystem.h"
#include "platform/testing/test_drive.h"

namespace qx::platform {
namespace {

namespace fs = std::filesystem;

int errorOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return 0;
}

class FileNumbers : public ::testing::Test {
  protected:
    FileNumbers() : fsys_({{'C', dir_.path().string()}}) { fs::create_directory(dir_.path() / "KELDATA"); }
    std::string bytes(std::string_view rel) {
        std::ifstream in(dir_.path() / rel, std::ios::binary);
        std::ostringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }
    qx::testing::TempDir dir_;
    PosixFileSystem fsys_;
};

TEST_F(FileNumbers, PrintWritesTheLineWithCrLfInWindows1252) {
    fsys_.openForOutput(1, "C:\\KELDATA\\test.log");
    fsys_.printLine(1, "Write Privilege allowed");
    fsys_.printLine(1, "caf\u00e9 \u20ac");
    fsys_.close(1);
    EXPECT_EQ(bytes("KELDATA/test.log"), "Write Privilege allowed\r\ncaf\xE9 \x80\r\n");
}

TEST_F(FileNumbers, OpeningForOutputTruncates) {
    fsys_.openForOutput(1, "C:\\KELDATA\\test.log");
    fsys_.printLine(1, "one");
    fsys_.printLine(1, "two");
    fsys_.close(1);
    fsys_.openForOutput(1, "C:\\KELDATA\\test.log");
    fsys_.printLine(1, "Write Privilege allowed");
    fsys_.close(1);
    EXPECT_EQ(bytes("KELDATA/test.log"), "Write Privilege allowed\r\n");
}

TEST_F(FileNumbers, InputReadsFieldsUpToCommaOrLineEnd) {
    std::ofstream(dir_.path() / "KELDATA" / "in.txt", std::ios::binary)
        << "  first , second\r\n\"quoted, with comma\"\r\nlast\xE9\n";
    fsys_.openForInput(1, "c:\\keldata\\IN.TXT");
    EXPECT_EQ(fsys_.inputField(1), "first");
    EXPECT_EQ(fsys_.inputField(1), "second");
    EXPECT_EQ(fsys_.inputField(1), "quoted, with comma");
    EXPECT_EQ(fsys_.inputField(1), "last\u00e9");
    EXPECT_EQ(errorOf([&] { fsys_.inputField(1); }), 62);
    fsys_.close(1);
}

TEST_F(FileNumbers, ANumberStaysTakenUntilClosed) {
    fsys_.openForOutput(1, "C:\\KELDATA\\a.txt");
    EXPECT_TRUE(fsys_.isOpen(1));
    EXPECT_EQ(errorOf([&] { fsys_.openForOutput(1, "C:\\KELDATA\\b.txt"); }), 55);
    EXPECT_EQ(errorOf([&] { fsys_.openForInput(1, "C:\\KELDATA\\a.txt"); }), 55);
    fsys_.close(1);
    EXPECT_FALSE(fsys_.isOpen(1));
    fsys_.openForOutput(1, "C:\\KELDATA\\b.txt");
    fsys_.close(1);
}

TEST_F(FileNumbers, ANumberStaysTakenAfterAFailedWrite) {
    fsys_.openForOutput(1, "C:\\KELDATA\\a.txt");
    EXPECT_EQ(errorOf([&] { fsys_.inputField(1); }), 54);
    EXPECT_TRUE(fsys_.isOpen(1));
}

TEST_F(FileNumbers, NumbersOutsideTheRangeAreBad) {
    EXPECT_EQ(errorOf([&] { fsys_.openForOutput(0, "C:\\KELDATA\\a.txt"); }), 52);
    EXPECT_EQ(errorOf([&] { fsys_.openForOutput(512, "C:\\KELDATA\\a.txt"); }), 52);
    EXPECT_EQ(errorOf([&] { fsys_.printLine(7, "x"); }), 52);
}

TEST_F(FileNumbers, ClosingANumberNotOpenIsNoError) {
    EXPECT_NO_THROW(fsys_.close(9));
}

TEST_F(FileNumbers, WrongModeIsBadFileMode) {
    std::ofstream(dir_.path() / "KELDATA" / "in.txt") << "x\n";
    fsys_.openForInput(2, "C:\\KELDATA\\in.txt");
    EXPECT_EQ(errorOf([&] { fsys_.printLine(2, "y"); }), 54);
}

TEST_F(FileNumbers, OpeningInAMissingFolderIsPathNotFound) {
    EXPECT_EQ(errorOf([&] { fsys_.openForOutput(1, "C:\\NOPE\\test.log"); }), 76);
    EXPECT_FALSE(fsys_.isOpen(1));
    EXPECT_EQ(errorOf([&] { fsys_.openForInput(1, "C:\\KELDATA\\none.txt"); }), 53);
    EXPECT_EQ(errorOf([&] { fsys_.openForInput(1, "C:\\NOPE\\deeper\\none.txt"); }), 76);
}

TEST_F(FileNumbers, OpeningAFolderForOutputIsAccessError) {
    EXPECT_EQ(errorOf([&] { fsys_.openForOutput(1, "C:\\KELDATA"); }), 75);
}

TEST_F(FileNumbers, AFileOpenForOutputCannotBeOpenedTwiceOrDeleted) {
    fsys_.openForOutput(1, "C:\\KELDATA\\a.txt");
    EXPECT_EQ(errorOf([&] { fsys_.openForOutput(2, "C:\\keldata\\A.TXT"); }), 55);
    EXPECT_EQ(errorOf([&] { fsys_.deleteFile("C:\\KELDATA\\a.txt"); }), 75);
    fsys_.close(1);
    fsys_.deleteFile("C:\\KELDATA\\a.txt");
}

}  // namespace
}  // namespace qx::platform
