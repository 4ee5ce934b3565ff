// The emulated path space: Windows paths resolve inside the mapped folders, without regard to case,
// and never reach anything outside them.
#include <sys/stat.h>

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
using qx::testing::TempDir;

void writeFile(const fs::path& p, std::string_view bytes) {
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << bytes;
}

std::string readFile(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

int errorOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return 0;
}

class PathSpace : public ::testing::Test {
  protected:
    PathSpace() {
        writeFile(c_.path() / "KELDATA" / "Office.mdb", "0123456789");
        writeFile(c_.path() / "KELDATA" / "KelCom.mdb", "abc");
        writeFile(c_.path() / "APPRAISE" / "kel.ini", "[directories]\r\n");
        writeFile(c_.path() / "empty.txt", "");
        fs::create_directories(c_.path() / "WINDOWS" / "SYSTEM32");
        writeFile(d_.path() / "Data" / "x.txt", "d");
        writeFile(outside_.path() / "secret.txt", "secret");
        fsys_ = std::make_unique<PosixFileSystem>(
            std::map<char, std::string>{{'C', c_.path().string()}, {'D', d_.path().string()}});
    }
    TempDir c_, d_, outside_;
    std::unique_ptr<PosixFileSystem> fsys_;
};

TEST_F(PathSpace, LookupIgnoresCaseOfEveryComponent) {
    EXPECT_EQ(fsys_->fileLen("C:\\KELDATA\\office.mdb"), 10);
    EXPECT_EQ(fsys_->fileLen("c:\\keldata\\OFFICE.MDB"), 10);
    EXPECT_EQ(fsys_->readAll("C:\\appraise\\KEL.INI"), "[directories]\r\n");
}

TEST_F(PathSpace, ExactSpellingWinsWhenHostNamesDifferOnlyInCase) {
    writeFile(c_.path() / "KELDATA" / "OFFICE.MDB", "xy");
    EXPECT_EQ(fsys_->fileLen("C:\\KELDATA\\OFFICE.MDB"), 2);
    EXPECT_EQ(fsys_->fileLen("C:\\KELDATA\\Office.mdb"), 10);
}

TEST_F(PathSpace, ForwardSlashesAndDoubledSeparatorsAreAccepted) {
    EXPECT_EQ(fsys_->fileLen("C:/KELDATA//Office.mdb"), 10);
}

TEST_F(PathSpace, CanonicalFolderGivesOnDiskCaseAndDriveRoot) {
    EXPECT_EQ(fsys_->canonicalFolder("c:\\keldata\\"), "C:\\KELDATA");
    EXPECT_EQ(fsys_->canonicalFolder("C:\\"), "C:\\");
    EXPECT_EQ(fsys_->canonicalFolder("d:\\data"), "D:\\Data");
}

TEST_F(PathSpace, EachDriveHasItsOwnRoot) {
    EXPECT_EQ(fsys_->fileLen("D:\\Data\\x.txt"), 1);
    EXPECT_EQ(errorOf([&] { fsys_->fileLen("C:\\Data\\x.txt"); }), 53);
    EXPECT_EQ(fsys_->drives(), (std::vector<char>{'C', 'D'}));
}

TEST_F(PathSpace, UnmappedDriveIsDeviceUnavailable) {
    EXPECT_EQ(errorOf([&] { fsys_->canonicalFolder("Q:\\"); }), 68);
    EXPECT_EQ(errorOf([&] { fsys_->openForOutput(1, "Q:\\x.txt"); }), 68);
    EXPECT_TRUE(fsys_->dir("Q:\\*.*", attr::kDirectory).empty());
}

TEST_F(PathSpace, RelativePathsUseTheCurrentFolderOfTheDrive) {
    EXPECT_EQ(fsys_->currentFolder('C'), "C:\\");
    EXPECT_EQ(fsys_->fileLen("KELDATA\\Office.mdb"), 10);
    fsys_->changeFolder("C:\\keldata");
    EXPECT_EQ(fsys_->currentFolder('C'), "C:\\KELDATA");
    EXPECT_EQ(fsys_->fileLen("office.mdb"), 10);
    EXPECT_EQ(fsys_->fileLen("C:kelcom.mdb"), 3);
    EXPECT_EQ(fsys_->fileLen("..\\APPRAISE\\kel.ini"), 15);
    EXPECT_EQ(fsys_->fileLen("\\APPRAISE\\kel.ini"), 15);
}

TEST_F(PathSpace, DriveRelativePathUsesThatDrivesCurrentFolder) {
    fsys_->changeFolder("D:\\Data");
    EXPECT_EQ(fsys_->currentDrive(), 'C');
    EXPECT_EQ(fsys_->fileLen("D:x.txt"), 1);
    fsys_->changeDrive('d');
    EXPECT_EQ(fsys_->fileLen("x.txt"), 1);
    EXPECT_EQ(errorOf([&] { fsys_->changeDrive('Q'); }), 68);
}

TEST_F(PathSpace, DotDotCannotClimbAboveTheDriveRoot) {
    EXPECT_EQ(fsys_->canonicalFolder("C:\\..\\..\\.."), "C:\\");
    EXPECT_EQ(fsys_->fileLen("C:\\..\\..\\KELDATA\\Office.mdb"), 10);
    const std::string escape = "C:\\..\\..\\..\\..\\..\\..\\.." + outside_.path().string();
    EXPECT_NE(errorOf([&] { fsys_->readAll(escape + "/secret.txt"); }), 0);
}

TEST_F(PathSpace, AbsoluteHostPathsStayInsideTheDrive) {
    // "/tmp/x" is a rooted path of the current drive, never the host's /tmp.
    const std::string hostFile = (outside_.path() / "secret.txt").string();
    EXPECT_EQ(errorOf([&] { fsys_->readAll(hostFile); }), 53);
    EXPECT_NE(errorOf([&] { fsys_->openForOutput(1, hostFile); }), 0);
    EXPECT_FALSE(fsys_->isOpen(1));
    EXPECT_EQ(readFile(outside_.path() / "secret.txt"), "secret");
}

TEST_F(PathSpace, SymlinkOutOfTheRootIsRefused) {
    fs::create_directory_symlink(outside_.path(), c_.path() / "LINKOUT");
    fs::create_symlink(outside_.path() / "secret.txt", c_.path() / "secret.txt");
    EXPECT_EQ(errorOf([&] { fsys_->readAll("C:\\LINKOUT\\secret.txt"); }), 75);
    EXPECT_EQ(errorOf([&] { fsys_->readAll("C:\\secret.txt"); }), 75);
    EXPECT_EQ(errorOf([&] { fsys_->openForOutput(1, "C:\\secret.txt"); }), 75);
    EXPECT_EQ(errorOf([&] { fsys_->openForOutput(2, "C:\\LINKOUT\\new.txt"); }), 75);
    EXPECT_EQ(errorOf([&] { fsys_->copyFile("C:\\KELDATA\\Office.mdb", "C:\\LINKOUT\\copy.mdb"); }), 75);
    EXPECT_EQ(errorOf([&] { fsys_->deleteFile("C:\\secret.txt"); }), 75);
    EXPECT_TRUE(fsys_->dir("C:\\LINKOUT\\*.*", 0).empty());
    EXPECT_EQ(errorOf([&] { fsys_->hostPath("C:\\LINKOUT\\x.mdb"); }), 75);
    EXPECT_EQ(readFile(outside_.path() / "secret.txt"), "secret");
    EXPECT_FALSE(fs::exists(outside_.path() / "new.txt"));
    EXPECT_FALSE(fs::exists(outside_.path() / "copy.mdb"));
}

TEST_F(PathSpace, SymlinkOutOfTheRootIsLeftOutOfListings) {
    fs::create_directory_symlink(outside_.path(), c_.path() / "LINKOUT");
    const auto names = fsys_->subfolders("C:\\");
    EXPECT_EQ(std::count(names.begin(), names.end(), "LINKOUT"), 0);
    EXPECT_TRUE(fsys_->dir("C:\\LINKOUT", attr::kDirectory).empty());
}

TEST_F(PathSpace, SymlinkInsideTheRootIsFollowed) {
    fs::create_directory_symlink(c_.path() / "KELDATA", c_.path() / "DATALINK");
    EXPECT_EQ(fsys_->fileLen("C:\\datalink\\office.mdb"), 10);
}

TEST_F(PathSpace, UncPathsAreNotReachable) {
    EXPECT_EQ(errorOf([&] { fsys_->readAll("\\\\server\\share\\kel.ini"); }), 53);
    EXPECT_TRUE(fsys_->dir("\\\\server\\share\\*.*", 0).empty());
}

TEST_F(PathSpace, InvalidCharactersAreABadFileName) {
    EXPECT_EQ(errorOf([&] { fsys_->openForOutput(1, "C:\\a|b.txt"); }), 52);
    EXPECT_EQ(errorOf([&] { fsys_->openForOutput(1, "C:\\a*.txt"); }), 52);
}

TEST_F(PathSpace, HostPathOfANewFileNeedsAnExistingFolder) {
    EXPECT_EQ(fsys_->hostPath("c:\\keldata\\compress.mdb"),
              (fs::canonical(c_.path()) / "KELDATA" / "compress.mdb").string());
    EXPECT_EQ(errorOf([&] { fsys_->hostPath("C:\\NOWHERE\\x.mdb"); }), 76);
}

TEST_F(PathSpace, DirListsMatchingFilesSortedWithoutRegardToCase) {
    const auto e = fsys_->dir("C:\\KELDATA\\*.mdb", 0);
    ASSERT_EQ(e.size(), 2u);
    EXPECT_EQ(e[0].name, "KelCom.mdb");
    EXPECT_EQ(e[0].length, 3);
    EXPECT_EQ(e[1].name, "Office.mdb");
    EXPECT_EQ(e[1].attributes & attr::kDirectory, 0u);
}

TEST_F(PathSpace, DirWithoutDirectoryAttributeLeavesFoldersOut) {
    const auto e = fsys_->dir("C:\\*.*", 0);
    ASSERT_EQ(e.size(), 1u);
    EXPECT_EQ(e[0].name, "empty.txt");
}

TEST_F(PathSpace, DirOfAFolderWithDirectoryAttributeFindsTheFolder) {
    const auto e = fsys_->dir("C:\\appraise", attr::kDirectory);
    ASSERT_EQ(e.size(), 1u);
    EXPECT_EQ(e[0].name, "APPRAISE");
    EXPECT_NE(e[0].attributes & attr::kDirectory, 0u);
    EXPECT_TRUE(fsys_->dir("C:\\MISSING", attr::kDirectory).empty());
}

TEST_F(PathSpace, DirOfAFolderPathWithTrailingBackslashListsDotEntries) {
    const auto e = fsys_->dir("C:\\APPRAISE\\", attr::kDirectory);
    ASSERT_EQ(e.size(), 3u);
    EXPECT_EQ(e[0].name, ".");
    EXPECT_EQ(e[1].name, "..");
    EXPECT_EQ(e[2].name, "kel.ini");
    // A drive root has no dot entries.
    for (const auto& r : fsys_->dir("C:\\", attr::kDirectory)) EXPECT_NE(r.name, ".");
}

TEST_F(PathSpace, DirWithTrailingDotPatternListsNamesWithoutExtension) {
    writeFile(c_.path() / "KELDATA" / "README", "r");
    const auto e = fsys_->dir("C:\\KELDATA\\*.", 0);
    ASSERT_EQ(e.size(), 1u);
    EXPECT_EQ(e[0].name, "README");
}

TEST_F(PathSpace, TrailingDotOfAFileNameIsDropped) {
    EXPECT_EQ(fsys_->fileLen("C:\\KELDATA\\Office.mdb."), 10);
}

TEST_F(PathSpace, DirOfAMissingFolderIsEmpty) {
    EXPECT_TRUE(fsys_->dir("C:\\NOPE\\*.*", attr::kDirectory).empty());
}

TEST_F(PathSpace, FilesTakesSeveralPatterns) {
    writeFile(c_.path() / "KELDATA" / "test.log", "x");
    EXPECT_EQ(fsys_->files("C:\\KELDATA", "test.log"), std::vector<std::string>{"test.log"});
    EXPECT_EQ(fsys_->files("C:\\KELDATA", "*.mdb;*.log").size(), 3u);
    EXPECT_EQ(errorOf([&] { fsys_->files("C:\\NOPE", "*.*"); }), 76);
}

TEST_F(PathSpace, SubfoldersSorted) {
    EXPECT_EQ(fsys_->subfolders("C:\\"), (std::vector<std::string>{"APPRAISE", "KELDATA", "WINDOWS"}));
}

TEST_F(PathSpace, ReadOnlyAttributeComesFromTheModeBits) {
    ::chmod((c_.path() / "KELDATA" / "KelCom.mdb").c_str(), 0444);
    const auto e = fsys_->dir("C:\\KELDATA\\KelCom.mdb", 0);
    ASSERT_EQ(e.size(), 1u);
    EXPECT_NE(e[0].attributes & attr::kReadOnly, 0u);
    EXPECT_EQ(errorOf([&] { fsys_->deleteFile("C:\\KELDATA\\KelCom.mdb"); }), 75);
    EXPECT_EQ(errorOf([&] { fsys_->openForOutput(1, "C:\\KELDATA\\KelCom.mdb"); }), 75);
}

TEST_F(PathSpace, FileLenOfMissingFileOrFolderIsFileNotFound) {
    EXPECT_EQ(errorOf([&] { fsys_->fileLen("C:\\KELDATA\\nothing.mdb"); }), 53);
    EXPECT_EQ(errorOf([&] { fsys_->fileLen("C:\\NOPE\\nothing.mdb"); }), 53);
    EXPECT_EQ(fsys_->fileLen("C:\\empty.txt"), 0);
}

TEST_F(PathSpace, CopyReplacesTheTargetWhole) {
    fsys_->copyFile("C:\\KELDATA\\Office.mdb", "C:\\KELDATA\\kelcom.MDB");
    EXPECT_EQ(readFile(c_.path() / "KELDATA" / "KelCom.mdb"), "0123456789");
    EXPECT_FALSE(fs::exists(c_.path() / "KELDATA" / "kelcom.MDB"));
    fsys_->copyFile("C:\\KELDATA\\Office.mdb", "C:\\APPRAISE\\New.mdb");
    EXPECT_EQ(readFile(c_.path() / "APPRAISE" / "New.mdb"), "0123456789");
}

TEST_F(PathSpace, CopyErrors) {
    EXPECT_EQ(errorOf([&] { fsys_->copyFile("C:\\KELDATA\\none.mdb", "C:\\x.mdb"); }), 53);
    EXPECT_EQ(errorOf([&] { fsys_->copyFile("C:\\KELDATA\\Office.mdb", "C:\\NOPE\\x.mdb"); }), 76);
    EXPECT_EQ(errorOf([&] { fsys_->copyFile("C:\\KELDATA\\Office.mdb", "C:\\KELDATA"); }), 75);
}

TEST_F(PathSpace, DeleteRemovesOneFileOrEveryMatch) {
    fsys_->deleteFile("c:\\keldata\\KELCOM.MDB");
    EXPECT_FALSE(fs::exists(c_.path() / "KELDATA" / "KelCom.mdb"));
    EXPECT_EQ(errorOf([&] { fsys_->deleteFile("C:\\KELDATA\\KelCom.mdb"); }), 53);
    EXPECT_EQ(errorOf([&] { fsys_->deleteFile("C:\\KELDATA"); }), 53);
    writeFile(c_.path() / "KELDATA" / "a.tmp", "1");
    writeFile(c_.path() / "KELDATA" / "b.tmp", "2");
    fsys_->deleteFile("C:\\KELDATA\\*.tmp");
    EXPECT_EQ(fsys_->files("C:\\KELDATA", "*.*"), std::vector<std::string>{"Office.mdb"});
}

TEST_F(PathSpace, NewFileKeepsTheCaseGiven) {
    fsys_->openForOutput(1, "C:\\KELDATA\\Test.Log");
    fsys_->close(1);
    EXPECT_TRUE(fs::exists(c_.path() / "KELDATA" / "Test.Log"));
}

TEST_F(PathSpace, MissingRootIsRefusedAtConstruction) {
    EXPECT_THROW(PosixFileSystem({{'C', (c_.path() / "nope").string()}}), std::invalid_argument);
}

}  // namespace
}  // namespace qx::platform
