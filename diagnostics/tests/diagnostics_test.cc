// Tests of the installation diagnostics that need control over the file system or look at what the
// script driver cannot show: the marker file's bytes, a data folder that refuses writes even to
// root, one that vanishes between test 3 and the read/write check, a disk that fills while the
// marker is written (file number 1 then stays taken), and the arithmetic of the memory forms.
// Each test runs the whole program over a fresh copy of the fixture installation and acts through
// the controls, as a user would.
#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "common/globals.h"
#include "diagnostics/checks.h"
#include "diagnostics/memory.h"
#include "diagnostics/wire.h"
#include "platform/errors.h"
#include "platform/testing/test_drive.h"
#include "shell/app.h"

namespace qx::diagnostics {
namespace {

using platform::Answer;

// A file system that makes a folder vanish the moment something is written: test 3 sees the data
// folder, the read/write check that follows does not.
class VanishOnFirstWrite final : public testing::FileSystemWrapper {
  public:
    // The cast matters: handed a FaultyFileSystem as it is, the wrapper's copy constructor would
    // be chosen and forward to the file system beneath it, past the faults.
    VanishOnFirstWrite(testing::FaultyFileSystem& faulty, std::string folder)
        : FileSystemWrapper(static_cast<platform::FileSystem&>(faulty)),
          faulty_(faulty),
          folder_(std::move(folder)) {}
    void openForOutput(int number, std::string_view path) override {
        if (!done_) {
            done_ = true;
            faulty_.vanish(folder_);
        }
        FileSystemWrapper::openForOutput(number, path);
    }

  private:
    testing::FaultyFileSystem& faulty_;
    std::string folder_;
    bool done_ = false;
};

class Diagnostics : public ::testing::Test {
  protected:
    Diagnostics() : tp_(QX_SHARED_DIR) {}

    // Starts the program over the test platform, or over `fs` in its place.
    void start(platform::FileSystem* fs = nullptr) {
        app_.reset();
        platform::Platform& base = tp_.platform();
        os_.emplace(platform::Platform{fs ? *fs : base.fs, base.profile, base.system, base.clock,
                                       base.messages, base.process});
        app_ = std::make_unique<shell::Application>(*os_, shell::buildVersion(), wire);
        app_->onUnhandledError = [this](const RuntimeError& e) { unhandled_.push_back(e.number()); };
        ASSERT_TRUE(app_->start());
    }

    void click(forms::Control& control) {
        ASSERT_TRUE(app_->dispatch([&] { ASSERT_TRUE(control.userClick()); }));
    }
    void advance(std::int64_t ms) {
        forms::Screen& screen = app_->screen();
        const std::int64_t until = screen.elapsedMs() + ms;
        for (;;) {
            forms::Timer* due = nullptr;
            for (forms::Timer* t : screen.runningTimers())
                if (t->nextDueMs() <= until && (!due || t->nextDueMs() < due->nextDueMs())) due = t;
            if (!due) break;
            screen.setElapsedMs(due->nextDueMs());
            app_->dispatch([due] { due->tick(); });
        }
        screen.setElapsedMs(until);
    }

    std::string hostFile(std::string_view relative) {
        std::ifstream in(tp_.drive().host(relative), std::ios::binary);
        std::ostringstream bytes;
        bytes << in.rdbuf();
        return bytes.str();
    }

    forms::FrmMain& main() { return app_->frmMain(); }
    Globals& g() { return app_->globals(); }

    testing::TestPlatform tp_;
    std::optional<platform::Platform> os_;
    std::unique_ptr<shell::Application> app_;
    std::vector<std::int32_t> unhandled_;
};

// ---- The read/write check ------------------------------------------------------------------------

TEST_F(Diagnostics, MarkerFileIsOneWindows1252LineWithCrLfAndReplacesAnOlderOne) {
    tp_.drive().write("KELDATA\\test.log", "older marker\r\nsecond line\r\nthird line\r\n");
    start();
    click(main().cmdReadWrite);
    EXPECT_EQ(main().ckbReadWrite.value(), 1);
    EXPECT_EQ(main().ckbReadWrite.caption(), "Passed");
    EXPECT_EQ(main().lblReadWriteError.caption(), "Read/Write Privileges allowed");
    EXPECT_EQ(hostFile("KELDATA\\test.log"), "Write Privilege allowed\r\n");
    EXPECT_FALSE(tp_.fs().isOpen(1));
    click(main().cmdReadWrite);
    EXPECT_EQ(hostFile("KELDATA\\test.log"), "Write Privilege allowed\r\n");
}

TEST_F(Diagnostics, ReadOnlyDataFolderIsAccessDeniedEvenForRoot) {
    tp_.fs().refuseWritesIn("C:\\KELDATA");
    start();
    click(main().cmdReadWrite);
    EXPECT_EQ(main().ckbDataDir.value(), 1);
    EXPECT_EQ(main().lblReadWriteError.caption(), "Access Denied - Check Permissions");
    EXPECT_EQ(main().ckbReadWrite.value(), 0);
    EXPECT_EQ(main().ckbReadWrite.caption(), "Failed");
    EXPECT_TRUE(tp_.messages().shown().empty());
    EXPECT_TRUE(unhandled_.empty());
    EXPECT_EQ(hostFile("KELDATA\\test.log"), "");
}

TEST_F(Diagnostics, DataFolderVanishingAfterTest3IsPathNotFound) {
    VanishOnFirstWrite fs(tp_.fs(), "C:\\KELDATA");
    start(&fs);
    click(main().cmdReadWrite);
    EXPECT_EQ(main().ckbDataDir.value(), 1);  // test 3 still saw the folder
    EXPECT_EQ(main().lblReadWriteError.caption(), "Path Not Found");
    EXPECT_EQ(main().ckbReadWrite.value(), 0);
    EXPECT_EQ(main().ckbReadWrite.caption(), "Failed");
    EXPECT_TRUE(tp_.messages().shown().empty());
    EXPECT_TRUE(unhandled_.empty());
}

TEST_F(Diagnostics, DiskFullWhileWritingLeavesFileNumberOneTakenUntilRestart) {
    start();
    // Writes: the opening is the first, the line the second.
    tp_.fs().failWrite(2, err::kDiskFull);
    click(main().cmdReadWrite);
    EXPECT_EQ(main().lblReadWriteError.caption(), "Access Denied - Check Permissions");
    EXPECT_EQ(main().ckbReadWrite.caption(), "Failed");
    EXPECT_TRUE(tp_.fs().isOpen(1));

    // The disk has room again, but the next runs fail on their own opening of number 1.
    tp_.fs().clearFaults();
    main().lblReadWriteError.setCaption("");
    click(main().cmdReadWrite);
    EXPECT_EQ(main().ckbDataDir.value(), 1);
    EXPECT_EQ(main().lblReadWriteError.caption(), "Access Denied - Check Permissions");
    EXPECT_EQ(main().ckbReadWrite.value(), 0);
    click(main().cmdTestALL);
    EXPECT_EQ(main().ckbReadWrite.caption(), "Failed");
    EXPECT_EQ(main().ckbOfficeMDB.caption(), "Passed");
    EXPECT_TRUE(unhandled_.empty());

    // A restart (a new program over the same files) starts with every file number free.
    tp_.fs().close(1);
    start();
    click(main().cmdReadWrite);
    EXPECT_EQ(main().lblReadWriteError.caption(), "Read/Write Privileges allowed");
}

TEST_F(Diagnostics, MarkerNotListedIsUnableToAccessFile) {
    // A file system whose listing never shows the marker, as on a share that hides new files.
    class HidesMarker final : public testing::FileSystemWrapper {
      public:
        using FileSystemWrapper::FileSystemWrapper;
        std::vector<std::string> files(std::string_view folder, std::string_view patterns) const override {
            if (patterns == "test.log") return {};
            return FileSystemWrapper::files(folder, patterns);
        }
    } fs(static_cast<platform::FileSystem&>(tp_.fs()));
    start(&fs);
    click(main().cmdReadWrite);
    EXPECT_EQ(main().lblReadWriteError.caption(), "Unable to access File - Check Permissions");
    EXPECT_EQ(main().ckbReadWrite.value(), 0);
    EXPECT_EQ(main().ckbReadWrite.caption(), "Failed");
}

// ---- The folder values and the in-place strip ----------------------------------------------------

TEST_F(Diagnostics, TestsLeaveTheFolderValuesTheyUsedWithoutTheirBackslash) {
    start();
    EXPECT_EQ(g().appDir, "C:\\KEL\\");
    EXPECT_EQ(g().dataDir, "C:\\KELDATA\\");
    EXPECT_EQ(g().userDir, "C:\\KELUSER\\");
    click(main().cmdReadWrite);
    EXPECT_EQ(g().dataDir, "C:\\KELDATA");  // the read/write check does not put it back
    click(main().cmdKELRET);
    EXPECT_EQ(g().appDir, "C:\\KEL");
    click(main().cmdCommentMDB);
    EXPECT_EQ(g().userDir, "C:\\KELUSER");
    // Clear All resets the tab, not the values.
    ASSERT_TRUE(app_->dispatch([&] { main().mnuFileClear.userClick(); }));
    EXPECT_EQ(g().dataDir, "C:\\KELDATA");
}

TEST_F(Diagnostics, StripRSlashTrimsAndCutsOneBackslashOfTheVariableItself) {
    start();
    Runtime rt{*os_, g()};
    std::string value = "  C:\\Data\\\\  ";
    EXPECT_EQ(StripRSlash(rt, value), "C:\\Data\\");
    EXPECT_EQ(value, "C:\\Data\\");
    EXPECT_EQ(StripRSlash(rt, value), "C:\\Data");
    EXPECT_EQ(StripRSlash(rt, value), "C:\\Data");
    std::string empty = "   ";
    EXPECT_EQ(StripRSlash(rt, empty), "");
    EXPECT_EQ(empty, "");
    std::string lone = "\\";
    EXPECT_EQ(StripRSlash(rt, lone), "");
    EXPECT_EQ(g().currentProcedure, "StripRChar          ");
}

TEST_F(Diagnostics, FolderCheckErrorOtherThanPathOrDeviceGoesToTheErrorReportAndIsNotActedOn) {
    // A folder lookup that fails with a device I/O error: the report asks Abort/Retry/Ignore,
    // its answer is kept but not acted on (Retry does not retry), and the user is told the
    // folder is unavailable.
    class IoErrorOnData final : public testing::FileSystemWrapper {
      public:
        using FileSystemWrapper::FileSystemWrapper;
        std::string canonicalFolder(std::string_view path) const override {
            if (path == "C:\\KELDATA") {
                ++lookups;
                raise(err::kDeviceIoError);
            }
            return FileSystemWrapper::canonicalFolder(path);
        }
        mutable int lookups = 0;
    } fs(static_cast<platform::FileSystem&>(tp_.fs()));
    start(&fs);
    tp_.messages().queue(Answer::Retry);
    tp_.messages().queue(Answer::OK);
    click(main().cmdKELDATADirPresent);
    EXPECT_EQ(fs.lookups, 1);
    ASSERT_EQ(tp_.messages().shown().size(), 2u);
    EXPECT_EQ(tp_.messages().shown()[0].title, "Error");
    EXPECT_EQ(tp_.messages().shown()[0].text, "Device I/O error.\r\nError # 57 in module StripRChar.");
    EXPECT_EQ(tp_.messages().shown()[1].text, "Directory is unavailable (check permissions)");
    EXPECT_EQ(tp_.messages().shown()[1].title, "Corvid Office Plus - QX Test");
    EXPECT_EQ(g().lastDirCheckAction, 0.0f);
    EXPECT_EQ(main().ckbDataDir.value(), 0);
    EXPECT_EQ(main().ckbDataDir.caption(), "Failed");
}

TEST_F(Diagnostics, FolderCheckOnAnUnmappedDriveIsUnavailable) {
    tp_.drive().write("APPRAISE\\kel.ini", "[directories]\r\nappdir=Q:\\KEL\r\n");
    start();
    tp_.messages().queue(Answer::OK);
    click(main().cmdKELDIRPresent);
    ASSERT_EQ(tp_.messages().shown().size(), 1u);
    EXPECT_EQ(tp_.messages().shown()[0].text, "Directory is unavailable (check permissions)");
    EXPECT_EQ(main().ckbKELAPPPresent.caption(), "Failed");
}

// ---- The memory forms ----------------------------------------------------------------------------

TEST(DiagnosticsMemory, UsedMemoryIsSignedLongSubtraction) {
    EXPECT_EQ(usedMemory(1000, 400), 600);
    EXPECT_EQ(usedMemory(3221225472u, 1073741824u), -2147483647 - 1);
    try {
        usedMemory(2147483648u, 1);
        FAIL() << "no overflow";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), err::kOverflow);
    }
}

TEST(DiagnosticsMemory, PercentagesUseTheZeroPointZeroZeroPercentPattern) {
    EXPECT_EQ(usagePercent(4567, 10000), "45.67%");
    EXPECT_EQ(usagePercent(-2147483647 - 1, -1073741824), "200.00%");
    EXPECT_EQ(usagePercent(1, 3), "33.33%");
    EXPECT_EQ(usagePercent(-1, 3), "-33.33%");
}

TEST(DiagnosticsMemory, ZeroTotalFailsAsTheDivisionDoes) {
    try {
        usagePercent(0, 0);
        FAIL() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), err::kOverflow);
    }
    try {
        usagePercent(5, 0);
        FAIL() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 11);
    }
}

TEST(DiagnosticsMemory, KilobytesAreSignedAndInShortestForm) {
    EXPECT_EQ(kilobytes(536870912u), "524288");
    EXPECT_EQ(kilobytes(1536u), "1.5");
    EXPECT_EQ(kilobytes(3221225472u), "-1048576");
    EXPECT_EQ(kilobytes(0u), "0");
}

TEST_F(Diagnostics, MonitorRefreshesEveryThreeSecondsFromTheSystemAndDetailsDoNot) {
    tp_.system().memory = platform::MemoryStatus{32, 40, 1048576, 524288, 2097152, 1048576, 4194304, 1048576};
    start();
    click(main().cmdMemory);
    const int afterLoad = tp_.system().memoryQueries;
    EXPECT_EQ(app_->frmSM().lblPhysUsed.caption(), "Free Physical Memory:");
    advance(2999);
    EXPECT_EQ(tp_.system().memoryQueries, afterLoad);
    advance(1);
    EXPECT_EQ(tp_.system().memoryQueries, afterLoad + 1);
    EXPECT_EQ(app_->frmSM().lblPhysUsed.caption(), "Physical Memory Usage: 50.00%");
    EXPECT_EQ(app_->frmSM().lblVirtUsed.caption(), "Virtual Memory Usage: 75.00%");
    click(app_->frmSM().Command1);
    EXPECT_EQ(tp_.system().memoryQueries, afterLoad + 1);
    EXPECT_EQ(app_->frmDetails().lblTotalPage.caption(), "Total KB in current paging file: 2048");
    EXPECT_EQ(app_->frmDetails().lblAvailVirtual.caption(), "Free virtual memory: 1024 KB");
    // The main window stays usable while both forms are open.
    click(main().cmdKELini);
    EXPECT_EQ(main().ckbKELini.caption(), "Passed");
    click(app_->frmSM().Command2);
    EXPECT_FALSE(app_->frmSM().loaded());
    EXPECT_FALSE(app_->frmDetails().loaded());
    advance(9000);
    EXPECT_EQ(tp_.system().memoryQueries, afterLoad + 1);
}

}  // namespace
}  // namespace qx::diagnostics
