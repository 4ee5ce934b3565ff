#include <filesystem>

#include <gtest/gtest.h>

#include "platform/errors.h"
#include "platform/testing/fakes.h"
#include "platform/testing/test_drive.h"

namespace qx::testing {
namespace {

using platform::Answer;
using platform::Buttons;
using platform::Icon;

int errorOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return 0;
}

TEST(FixedClockTest, StandsStillUntilAdvanced) {
    FixedClock c({2006, 11, 20, 13, 45, 0});
    EXPECT_EQ(c.now(), (platform::LocalTime{2006, 11, 20, 13, 45, 0}));
    c.advance(3000);
    EXPECT_EQ(c.now(), (platform::LocalTime{2006, 11, 20, 13, 45, 3}));
    EXPECT_EQ(c.elapsedMilliseconds(), 3000);
}

TEST(FixedClockTest, AdvanceCarriesOverDaysMonthsAndLeapYears) {
    FixedClock c({2008, 2, 28, 23, 59, 59});
    c.advance(1000);
    EXPECT_EQ(c.now(), (platform::LocalTime{2008, 2, 29, 0, 0, 0}));
    c.advance(24 * 3600 * 1000);
    EXPECT_EQ(c.now(), (platform::LocalTime{2008, 3, 1, 0, 0, 0}));
    c.set({2006, 12, 31, 23, 0, 0});
    c.advance(3600 * 1000);
    EXPECT_EQ(c.now(), (platform::LocalTime{2007, 1, 1, 0, 0, 0}));
}

TEST(FakeSystemInfoTest, AnswersWhatTheTestSets) {
    FakeSystemInfo s;
    s.windowsDirectory = "D:\\WINNT";
    std::string b(144, ' ');
    EXPECT_EQ(s.GetWindowsDirectoryA(b, 144), 8u);
    EXPECT_EQ(b.substr(0, 8), "D:\\WINNT");
    s.windowsDirectoryFails = true;
    EXPECT_EQ(s.GetWindowsDirectoryA(b, 144), 0u);
    s.setVersion(6, 0, 2, "Service Pack 1");
    platform::OsVersionInfo v;
    ASSERT_TRUE(s.GetVersionExA(v));
    EXPECT_EQ(v.dwMajorVersion, 6u);
    EXPECT_EQ(v.szCSDVersion.size(), 128u);
    s.memory.dwTotalPhys = 0xFFFFFFFFu;
    platform::MemoryStatus m;
    s.GlobalMemoryStatus(m);
    EXPECT_EQ(m.dwTotalPhys, 0xFFFFFFFFu);
    EXPECT_EQ(s.memoryQueries, 1);
}

TEST(QueuedBoxes, AnswersInOrderAndRecordsEachBox) {
    RecordingMessageBoxes boxes;
    std::vector<std::string> observed;
    boxes.setObserver([&](const platform::ShownBox& b) { observed.push_back(b.title + "|" + b.text); });
    boxes.queue(Answer::No);
    boxes.queue(Answer::Ignore);
    EXPECT_EQ(boxes.show("T1", "one", Buttons::YesNo, Icon::Question), Answer::No);
    EXPECT_EQ(boxes.show("Error", "two", Buttons::AbortRetryIgnore, Icon::None), Answer::Ignore);
    ASSERT_EQ(boxes.shown().size(), 2u);
    EXPECT_EQ(boxes.shown()[1].buttons, Buttons::AbortRetryIgnore);
    EXPECT_EQ(boxes.shown()[1].answer, Answer::Ignore);
    EXPECT_EQ(boxes.shown()[0].icon, Icon::Question);
    EXPECT_EQ(observed, (std::vector<std::string>{"T1|one", "Error|two"}));
}

TEST(QueuedBoxes, EmptyQueueIsAClearError) {
    RecordingMessageBoxes boxes;
    try {
        boxes.show("Configuration File Missing", "text", Buttons::YesNoCancel, Icon::None);
        FAIL();
    } catch (const platform::NoQueuedAnswer& e) {
        EXPECT_NE(std::string(e.what()).find("Configuration File Missing"), std::string::npos);
    }
}

TEST(QueuedBoxes, FallbackAnswersWhenTheQueueIsEmpty) {
    RecordingMessageBoxes boxes;
    boxes.setFallback([](const platform::ShownBox& b) { return platform::affirmativeAnswer(b.buttons); });
    EXPECT_EQ(boxes.show("t", "x", Buttons::YesNoCancel, Icon::None), Answer::Yes);
    EXPECT_EQ(boxes.show("t", "x", Buttons::OK, Icon::Information), Answer::OK);
}

TEST(RecordingProcessTest, EndIsObservable) {
    RecordingProcess p;
    EXPECT_FALSE(p.ended());
    EXPECT_THROW(p.end(), ProgramEnd);
    EXPECT_EQ(p.ends(), 1);
}

TEST(TempDriveCTest, HoldsACopyOfTheSuiteAndGoesAway) {
    std::filesystem::path root;
    {
        TempDriveC c(QX_SHARED_DIR);
        root = c.root();
        EXPECT_TRUE(std::filesystem::exists(c.host("APPRAISE\\kel.ini")));
        EXPECT_TRUE(std::filesystem::exists(c.host("KELDATA\\Office.mdb")));
        EXPECT_TRUE(std::filesystem::is_directory(c.host("WINDOWS\\SYSTEM32")));
    }
    EXPECT_FALSE(std::filesystem::exists(root));
}

class FaultyFs : public ::testing::Test {
  protected:
    TestPlatform tp{QX_SHARED_DIR};
};

TEST_F(FaultyFs, RefusedFolderRaisesAccessErrorEvenForRoot) {
    tp.fs().refuseWritesIn("C:\\KELDATA");
    EXPECT_EQ(errorOf([&] { tp.fs().openForOutput(1, "C:\\keldata\\test.log"); }), 75);
    EXPECT_FALSE(tp.fs().isOpen(1));
    EXPECT_EQ(errorOf([&] { tp.fs().deleteFile("C:\\KELDATA\\KelCom.mdb"); }), 75);
    EXPECT_EQ(errorOf([&] { tp.fs().copyFile("C:\\KEL\\KelRet.mdb", "C:\\KELDATA\\x.mdb"); }), 75);
    EXPECT_FALSE(std::filesystem::exists(tp.drive().host("KELDATA\\test.log")));
    // Elsewhere writing still works, and reading in the refused folder too.
    tp.fs().openForOutput(1, "C:\\KELUSER\\test.log");
    tp.fs().close(1);
    EXPECT_GT(tp.fs().fileLen("C:\\KELDATA\\Office.mdb"), 0);
}

TEST_F(FaultyFs, VanishedFolderLooksMissing) {
    tp.fs().vanish("C:\\KELDATA");
    EXPECT_EQ(errorOf([&] { tp.fs().openForOutput(1, "C:\\KELDATA\\test.log"); }), 76);
    EXPECT_EQ(errorOf([&] { tp.fs().fileLen("C:\\KELDATA\\Office.mdb"); }), 53);
    EXPECT_EQ(errorOf([&] { tp.fs().canonicalFolder("C:\\KELDATA"); }), 76);
    EXPECT_TRUE(tp.fs().dir("C:\\KELDATA\\*.*", platform::attr::kDirectory).empty());
    EXPECT_TRUE(tp.fs().dir("C:\\KELDATA", platform::attr::kDirectory).empty());
    const auto subs = tp.fs().subfolders("C:\\");
    EXPECT_EQ(std::count(subs.begin(), subs.end(), "KELDATA"), 0);
    EXPECT_EQ(std::count(subs.begin(), subs.end(), "KELUSER"), 1);
}

TEST_F(FaultyFs, NthWriteFailsWithDiskFullAndTheFileStaysOpen) {
    tp.fs().failWrite(2, err::kDiskFull);
    tp.fs().openForOutput(1, "C:\\KELDATA\\test.log");
    EXPECT_EQ(errorOf([&] { tp.fs().printLine(1, "Write Privilege allowed"); }), 61);
    EXPECT_TRUE(tp.fs().isOpen(1));
    EXPECT_EQ(errorOf([&] { tp.fs().openForOutput(1, "C:\\KELDATA\\test.log"); }), 55);
}

TEST_F(FaultyFs, AllWritesFailWithDeviceIoError) {
    tp.fs().failAllWrites(err::kDeviceIoError);
    EXPECT_EQ(errorOf([&] { tp.fs().openForOutput(1, "C:\\KELDATA\\a.txt"); }), 57);
    EXPECT_EQ(errorOf([&] { tp.fs().deleteFile("C:\\KELDATA\\KelCom.mdb"); }), 57);
    tp.fs().clearFaults();
    tp.fs().openForOutput(1, "C:\\KELDATA\\a.txt");
    tp.fs().close(1);
}

TEST_F(FaultyFs, TestPlatformBundlesTheFakes) {
    auto& p = tp.platform();
    EXPECT_EQ(&p.fs, static_cast<platform::FileSystem*>(&tp.fs()));
    std::string b(256, ' ');
    const auto n =
        p.profile.GetPrivateProfileStringA("directories", "userdir", "", b, 256, "C:\\APPRAISE\\kel.ini");
    EXPECT_EQ(b.substr(0, n), "C:\\KELUSER");
    EXPECT_EQ(p.clock.now().year, 2006);
}

}  // namespace
}  // namespace qx::testing
