// Tests of the data maintenance that look where the script driver cannot: the bytes and rows of the
// databases after a cleanup or a compaction, a fault at every write of a compaction in turn under
// each answer of the error report, other users holding a database (in this process, through a
// second open of the file, which the engine's locks treat as another user), and the progress shown
// while a run goes on. Each test runs the whole program over a fresh copy of the fixture
// installation and acts through the controls, as a user would.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/table.h"
#include "maintenance/compress.h"
#include "maintenance/wire.h"
#include "platform/errors.h"
#include "platform/testing/test_drive.h"
#include "shell/app.h"

namespace qx::maintenance {
namespace {

using platform::Answer;

std::string fileBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// Every user table with its rows as text, in DAO's order: what a database holds, whatever its pages.
std::map<std::string, std::vector<std::vector<std::string>>> contents(const std::filesystem::path& path) {
    std::map<std::string, std::vector<std::vector<std::string>>> out;
    jet::Database db = jet::Database::open(path);
    for (const auto& t : db.tableDefs()) {
        if (t.system() || t.linked()) continue;
        jet::Table table = db.openTable(t.name);
        auto& rows = out[t.name];
        for (auto it = table.cursor(); it.next();) {
            std::vector<std::string> row;
            for (std::size_t c = 0; c < table.columns().size(); ++c) row.emplace_back(it.text(c));
            rows.push_back(std::move(row));
        }
        // Compaction puts rows in primary-key order: what counts is which rows there are.
        std::sort(rows.begin(), rows.end());
    }
    return out;
}

class Maintenance : public ::testing::Test {
  protected:
    Maintenance() : tp_(QX_SHARED_DIR) {}

    void start() {
        app_ = std::make_unique<shell::Application>(tp_.platform(), shell::buildVersion(), wire);
        app_->onUnhandledError = [this](const RuntimeError& e) { unhandled_.push_back(e.number()); };
        app_->screen().onDoEvents = [this] { ++doEvents_; };
        ASSERT_TRUE(app_->start());
        app_->frmMain().SSTab1.setTab(3);
    }
    // Returns false when the program ended.
    bool click(forms::Control& control) {
        bool reached = false;
        const bool alive = app_->dispatch([&] { reached = control.userClick(); });
        EXPECT_TRUE(!alive || reached || !unhandled_.empty()) << control.path();
        return alive;
    }
    void select(forms::ListBox& list, int index) {
        app_->dispatch([&] { list.setSelected(index, true); });
    }
    // Opens frmCompress on the data folder (through the warning) and selects `name`.
    void openCompressOn(std::string_view name) {
        click(main().cmdFix(2));
        click(app_->frmWarning().cmdProceed);
        ASSERT_TRUE(compress().visible());
        const auto& items = compress().lstdatabases.items();
        for (std::size_t i = 0; i < items.size(); ++i)
            if (items[i] == name) select(compress().lstdatabases, static_cast<int>(i));
        ASSERT_FALSE(compress().lstdatabases.selectedIndexes().empty()) << name;
    }
    std::filesystem::path host(std::string_view relative) { return tp_.drive().host(relative); }

    forms::FrmMain& main() { return app_->frmMain(); }
    forms::FrmCompress& compress() { return app_->frmCompress(); }
    std::vector<std::string> boxTexts() {
        std::vector<std::string> out;
        for (const auto& b : tp_.messages().shown()) out.push_back(b.text);
        return out;
    }

    testing::TestPlatform tp_;
    std::unique_ptr<shell::Application> app_;
    std::vector<std::int32_t> unhandled_;
    int doEvents_ = 0;
};

// ---- Status line -------------------------------------------------------------------------------

TEST(StatusLine, PercentWithoutLeadingZeroNegativeWhenGrownNoChangeWhenEqual) {
    testing::TestPlatform tp(QX_SHARED_DIR);
    Globals g;
    Runtime rt{tp.platform(), g};
    EXPECT_EQ(statusLine(rt, "C:\\KELDATA\\Office.mdb", 1000, 996), "OFFICE.MDB: Compressed .4%");
    EXPECT_EQ(statusLine(rt, "C:\\KELDATA\\Office.mdb", 1000, 877), "OFFICE.MDB: Compressed 12.3%");
    EXPECT_EQ(statusLine(rt, "C:\\KELDATA\\Office.mdb", 1000, 1100), "OFFICE.MDB: Compressed -10.%");
    EXPECT_EQ(statusLine(rt, "C:\\KELDATA\\Office.mdb", 4096, 4096), "OFFICE.MDB: No Change");
    // The extension starts at the first dot, even one in a folder's name.
    EXPECT_EQ(statusLine(rt, "c:\\a.b\\file.mdb", 10, 5), "A.B\\FILE.MDB: Compressed 50.%");
}

// ---- Cleanup -------------------------------------------------------------------------------------

TEST_F(Maintenance, CleanupLeavesOnlyTheReportDatabasesOwnTablesWithTheirRows) {
    const auto before = contents(host("KELUSER\\Report.mdb"));
    start();
    click(main().cmdFix(3));
    EXPECT_EQ(main().lstDetails.items(),
              (std::vector<std::string>{"This utility deletes temporary", "database tables used in the",
                                        "creation of output reports"}));
    const auto after = contents(host("KELUSER\\Report.mdb"));
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after.at("ReportLayout"), before.at("ReportLayout"));
    EXPECT_EQ(after.at("Settings"), before.at("Settings"));
    EXPECT_TRUE(unhandled_.empty());
    EXPECT_TRUE(tp_.messages().shown().empty());
}

TEST_F(Maintenance, CleanupAfterTheUserFolderLostItsBackslashLeavesReportDatabaseAlone) {
    const std::string bytes = fileBytes(host("KELUSER\\Report.mdb"));
    start();
    app_->globals().userDir = "C:\\KELUSER";
    click(main().cmdFix(3));
    EXPECT_EQ(main().lstDetails.listCount(), 3u);
    EXPECT_EQ(fileBytes(host("KELUSER\\Report.mdb")), bytes);
    EXPECT_FALSE(std::filesystem::exists(host("KELUSERreport.mdb")));
    EXPECT_TRUE(unhandled_.empty());
}

TEST_F(Maintenance, CleanupWithTheReportDatabaseOpenedExclusivelyElsewhereChangesNothing) {
    const std::string bytes = fileBytes(host("KELUSER\\Report.mdb"));
    jet::OpenOptions exclusive;
    exclusive.exclusive = true;
    jet::Database other = jet::Database::open(host("KELUSER\\Report.mdb"), exclusive);
    start();
    click(main().cmdFix(3));
    EXPECT_EQ(main().lstDetails.listCount(), 3u);
    EXPECT_TRUE(unhandled_.empty());
    EXPECT_EQ(fileBytes(host("KELUSER\\Report.mdb")), bytes);
}

// ---- Compaction ----------------------------------------------------------------------------------

TEST_F(Maintenance, CompactionKeepsEveryRowAndDeletesTheScratchFile) {
    const auto before = contents(host("KELDATA\\Office.mdb"));
    start();
    openCompressOn("Office.mdb");
    tp_.messages().queue(Answer::OK);
    click(compress().cmdCompress);
    ASSERT_EQ(compress().lststatus.listCount(), 1u);
    EXPECT_EQ(compress().lststatus.list(0).rfind("OFFICE.MDB: ", 0), 0u) << compress().lststatus.list(0);
    EXPECT_EQ(contents(host("KELDATA\\Office.mdb")), before);
    EXPECT_FALSE(std::filesystem::exists(host("KELDATA\\compress.mdb")));
    EXPECT_TRUE(compress().lstdatabases.selectedIndexes().empty());
    EXPECT_EQ(compress().pbrWorking.value(), compress().pbrWorking.max());
    EXPECT_GE(doEvents_, 3);
    EXPECT_EQ(boxTexts().back(), "Process Complete.  Everyone can now reopen their applications.");
}

TEST_F(Maintenance, DatabaseOpenByAnotherUserIsReportedInUseAndLeftAlone) {
    const std::string bytes = fileBytes(host("KELDATA\\Office.mdb"));
    jet::Database other = jet::Database::open(host("KELDATA\\Office.mdb"));
    start();
    openCompressOn("Office.mdb");
    tp_.messages().queue(Answer::OK);
    click(compress().cmdCompress);
    EXPECT_EQ(compress().lststatus.items(),
              (std::vector<std::string>{"OFFICE.MDB: This File Was In Use... No Change."}));
    EXPECT_EQ(fileBytes(host("KELDATA\\Office.mdb")), bytes);
    EXPECT_FALSE(std::filesystem::exists(host("KELDATA\\compress.mdb")));
    // Not done: its line stays selected for the next attempt.
    EXPECT_EQ(compress().lstdatabases.selectedIndexes().size(), 1u);
    EXPECT_TRUE(unhandled_.empty());
}

TEST_F(Maintenance, DatabaseHeldExclusivelyShowsTheLockedMessageAndEndsTheProgram) {
    const std::string bytes = fileBytes(host("KELDATA\\Office.mdb"));
    jet::OpenOptions exclusive;
    exclusive.exclusive = true;
    jet::Database other = jet::Database::open(host("KELDATA\\Office.mdb"), exclusive);
    start();
    openCompressOn("Office.mdb");
    tp_.messages().queue(Answer::OK);
    EXPECT_FALSE(click(compress().cmdCompress));
    EXPECT_TRUE(tp_.process().ended());
    EXPECT_EQ(boxTexts().back(),
              "This database is open/locked.  Please have all users exit from the application (run this "
              "program again).");
    EXPECT_EQ(fileBytes(host("KELDATA\\Office.mdb")), bytes);
}

// A fault at the nth write of the run, for every write the run makes, answered with each of the
// error report's answers: the database is afterwards its old bytes or a compacted copy holding
// every row, and a scratch file, if one is left, is only ever a spare.
TEST_F(Maintenance, FaultAtEveryWriteOfTheRunUnderEachAnswerLosesNothing) {
    const std::string original = fileBytes(host("KELDATA\\Office.mdb"));
    const auto rows = contents(host("KELDATA\\Office.mdb"));
    int writesOfARun = 0;
    {
        start();
        openCompressOn("Office.mdb");
        tp_.messages().queue(Answer::OK);
        const int before = tp_.fs().writes();
        click(compress().cmdCompress);
        writesOfARun = tp_.fs().writes() - before;
        app_.reset();
    }
    ASSERT_GE(writesOfARun, 4);
    for (const Answer answer : {Answer::Abort, Answer::Ignore, Answer::Retry}) {
        for (int n = 1; n <= writesOfARun; ++n) {
            SCOPED_TRACE("write " + std::to_string(n) + " answer " + platform::answerName(answer));
            std::filesystem::remove(host("KELDATA\\compress.mdb"));
            {
                std::ofstream out(host("KELDATA\\Office.mdb"), std::ios::binary | std::ios::trunc);
                out << original;
            }
            unhandled_.clear();
            start();
            openCompressOn("Office.mdb");
            tp_.fs().failWrite(n, 61);
            tp_.messages().setFallback([](const platform::ShownBox&) { return Answer::OK; });
            tp_.messages().queue(answer);
            click(compress().cmdCompress);
            tp_.messages().setFallback({});
            const std::string now = fileBytes(host("KELDATA\\Office.mdb"));
            if (now != original) {
                EXPECT_EQ(contents(host("KELDATA\\Office.mdb")), rows);
            }
            if (std::filesystem::exists(host("KELDATA\\compress.mdb"))) {
                EXPECT_EQ(contents(host("KELDATA\\compress.mdb")), rows);
            }
            for (const auto& e : std::filesystem::directory_iterator(host("KELDATA")))
                EXPECT_EQ(e.path().filename().string().find(".qx"), std::string::npos) << e.path();
            app_.reset();
        }
    }
}

TEST_F(Maintenance, ReadOnlyFolderStopsTheRunBeforeAnythingIsWritten) {
    const std::string bytes = fileBytes(host("KELDATA\\Office.mdb"));
    start();
    openCompressOn("Office.mdb");
    tp_.fs().refuseWritesIn("C:\\KELDATA");
    click(compress().cmdCompress);
    EXPECT_EQ(unhandled_, (std::vector<std::int32_t>{75}));
    EXPECT_EQ(fileBytes(host("KELDATA\\Office.mdb")), bytes);
    EXPECT_FALSE(std::filesystem::exists(host("KELDATA\\compress.mdb")));
}

}  // namespace
}  // namespace qx::maintenance
