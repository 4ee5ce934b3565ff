// The table listing of the "Database Counts" tab on copies of the fixture installation and on
// installations made for the case.
#include <algorithm>
#include <filesystem>

#include "dbinspect/listing.h"
#include "dbinspect/tests/inspect_fixture.h"
#include "jet/database.h"

namespace qx::dbinspect::testing {
namespace {

namespace fs = std::filesystem;

const std::string kSeparator(60, '-');

std::vector<std::string> officeTables() {
    return {"office-Appraiser",     "office-AppraiserFee", "office-Assigned",   "office-Client",
            "office-ClientContact", "office-ClientFee",    "office-Company",    "office-FormTypes",
            "office-Invoice",       "office-Property",     "office-Rates-2006", "office-Users"};
}

// The user tables of a database as the engine's catalog gives them, in DAO's order.
std::vector<std::string> userTables(const fs::path& file, const std::string& prefix) {
    std::vector<std::string> out;
    const jet::Database db = jet::Database::open(file);
    for (const auto& def : db.tableDefs())
        if (!def.system()) out.push_back(prefix + def.name);
    return out;
}

using Listing = InspectTest;

TEST_F(Listing, AllFourDatabasesGiveFiveSectionsAndFourSeparators) {
    start();
    listing();
    const auto& l = lines();
    std::vector<std::string> expected{"Database Tables within Office.mdb", "   (  C:\\KELDATA\\  )", ""};
    for (const auto& t : officeTables()) expected.push_back(t);
    expected.push_back(kSeparator);
    expected.insert(expected.end(), {"Database tables within Report.mdb", "   (  C:\\KELUSER\\  )", ""});
    for (const auto& t : userTables(host("KELUSER\\Report.mdb"), "report-")) expected.push_back(t);
    expected.push_back(kSeparator);
    expected.insert(expected.end(), {"Database tables within KelRET.mdb", "   (  C:\\KEL\\  )", "",
                                     "kelret-Transfer", "kelret-TransferQueue", kSeparator});
    expected.insert(expected.end(), {"Database tables within Kelcom.mdb", "   LOCAL = (  C:\\KELUSER\\  )",
                                     "", "kelcom-CommentCategory", "kelcom-Comments", kSeparator});
    expected.insert(expected.end(),
                    {"Database tables within Kelcom.mdb", "   SHARED = (  C:\\KELDATA\\  )", "",
                     "kelcom-CommentCategory", "kelcom-Comments", "kelcom-SharedLibrary"});
    EXPECT_EQ(l, expected);

    EXPECT_EQ(std::count(l.begin(), l.end(), kSeparator), 4);
    EXPECT_EQ(
        std::count_if(l.begin(), l.end(), [](const std::string& s) { return s.rfind("Database ", 0) == 0; }),
        5);
    EXPECT_EQ(std::count(l.begin(), l.end(), std::string()), 5);
    EXPECT_EQ(l.back(), "kelcom-SharedLibrary");
    // Only the location lines hold a ":".
    EXPECT_EQ(std::count_if(l.begin(), l.end(), [](const std::string& s) { return s.find(':') != s.npos; }),
              5);

    // The list's look after a listing, the grid it binds and no selection.
    EXPECT_EQ(main().lstTableListing.appearance(), 1);
    EXPECT_EQ(main().lstTableListing.backColor(), forms::kColorWindowBackground);
    EXPECT_EQ(main().lstTableListing.height(), 2700);
    EXPECT_EQ(main().lstTableListing.listIndex(), -1);
    EXPECT_EQ(main().boundGridName, "grdListing");
    EXPECT_TRUE(unhandled_.empty());
}

TEST_F(Listing, ADatabaseWithoutUserTablesGoesStraightToTheSeparator) {
    fs::copy_file(fs::path(QX_SHARED_DIR) / "fixtures/access-corpus/emptyJet4.mdb", host("KEL\\KelRet.mdb"),
                  fs::copy_options::overwrite_existing);
    start();
    listing();
    const int header = indexOf("Database tables within KelRET.mdb");
    ASSERT_GE(header, 0);
    const auto& l = lines();
    EXPECT_EQ(l[header + 1], "   (  C:\\KEL\\  )");
    EXPECT_EQ(l[header + 2], "");
    EXPECT_EQ(l[header + 3], kSeparator);
    EXPECT_EQ(l[header + 4], "Database tables within Kelcom.mdb");
}

TEST_F(Listing, SameUserAndDataFolderListsKelComTwiceAsLocalAndShared) {
    directories("C:\\KEL", "C:\\KELDATA", "C:\\KELDATA");
    start();
    listing();
    const int local = indexOf("   LOCAL = (  C:\\KELDATA\\  )");
    const int shared = indexOf("   SHARED = (  C:\\KELDATA\\  )");
    ASSERT_GE(local, 0);
    ASSERT_GE(shared, 0);
    const auto& l = lines();
    const std::vector<std::string> tables{"kelcom-CommentCategory", "kelcom-Comments",
                                          "kelcom-SharedLibrary"};
    EXPECT_EQ(std::vector<std::string>(l.begin() + local + 2, l.begin() + local + 5), tables);
    EXPECT_EQ(l[local + 5], kSeparator);
    EXPECT_EQ(std::vector<std::string>(l.begin() + shared + 2, l.end()), tables);
    // Report.mdb is looked for in the data folder too, where there is none.
    EXPECT_EQ(l[indexOf("Database tables within Report.mdb") + 3], "***UNABLE TO LOCATE***");
}

TEST_F(Listing, ATableNamedWithAHyphenKeepsIt) {
    start();
    listing();
    EXPECT_GE(indexOf("office-Rates-2006"), 0);
}

TEST_F(Listing, AMissingReportDatabaseIsUnableToLocateAndTheRestFollows) {
    fs::remove(host("KELUSER\\Report.mdb"));
    start();
    listing();
    const int header = indexOf("Database tables within Report.mdb");
    ASSERT_GE(header, 0);
    const auto& l = lines();
    EXPECT_EQ(l[header + 3], "***UNABLE TO LOCATE***");
    EXPECT_EQ(l[header + 4], kSeparator);
    EXPECT_EQ(l[header + 5], "Database tables within KelRET.mdb");
    EXPECT_EQ(l.back(), "kelcom-SharedLibrary");
    EXPECT_TRUE(unhandled_.empty());
}

TEST_F(Listing, AnEmptyFileCountsAsMissing) {
    tp_.drive().write("KELUSER\\Report.mdb", "");
    start();
    listing();
    EXPECT_EQ(lines()[indexOf("Database tables within Report.mdb") + 3], "***UNABLE TO LOCATE***");
    EXPECT_TRUE(unhandled_.empty());
}

TEST_F(Listing, SystemTablesNeverAppear) {
    start();
    listing();
    for (const auto& line : lines()) EXPECT_EQ(line.find("MSys"), std::string::npos) << line;
    // Every table the catalog marks as a system object is left out, every other one listed.
    std::size_t system = 0;
    const jet::Database db = jet::Database::open(host("KELDATA\\Office.mdb"));
    for (const auto& def : db.tableDefs()) {
        const bool masked = (static_cast<std::uint32_t>(def.attributes) & kSystemObjectMask) != 0;
        system += masked ? 1 : 0;
        EXPECT_EQ(indexOf("office-" + def.name) >= 0, !masked) << def.name;
    }
    EXPECT_GT(system, 0u);
}

TEST_F(Listing, AFileThatIsNotADatabaseStopsTheListingWithARunTimeError) {
    tp_.drive().write("KEL\\KelRet.mdb", std::string(4096, 'x'));
    const std::string before = bytesOf("KEL\\KelRet.mdb");
    start();
    listing();
    ASSERT_EQ(unhandled_.size(), 1u);
    EXPECT_EQ(unhandled_[0].number, 3343);
    EXPECT_NE(unhandled_[0].description.find("C:\\KEL\\KelRet.mdb"), std::string::npos)
        << unhandled_[0].description;
    // The sections before it and this section's first lines stay; nothing after it is listed.
    const auto& l = lines();
    ASSERT_GE(l.size(), 3u);
    EXPECT_EQ(l[l.size() - 3], "Database tables within KelRET.mdb");
    EXPECT_EQ(l[l.size() - 2], "   (  C:\\KEL\\  )");
    EXPECT_EQ(l.back(), "");
    EXPECT_EQ(bytesOf("KEL\\KelRet.mdb"), before);
}

TEST_F(Listing, APasswordProtectedDatabaseIsARunTimeError) {
    std::string bytes = bytesOf("KEL\\KelRet.mdb");
    bytes[0x42] = static_cast<char>(bytes[0x42] ^ 0x55);  // a password once the header is unmasked
    tp_.drive().write("KEL\\KelRet.mdb", bytes);
    start();
    listing();
    ASSERT_EQ(unhandled_.size(), 1u);
    EXPECT_EQ(unhandled_[0].number, 3031);
    EXPECT_EQ(lines().back(), "");
    EXPECT_EQ(bytesOf("KEL\\KelRet.mdb"), bytes);
}

TEST_F(Listing, ADatabaseHeldExclusivelyIsARunTimeError) {
    const jet::Database held =
        jet::Database::open(host("KELUSER\\Report.mdb"), {.readOnly = false, .exclusive = true});
    start();
    listing();
    ASSERT_EQ(unhandled_.size(), 1u);
    EXPECT_EQ(unhandled_[0].number, 3356);
    EXPECT_EQ(lines().back(), "");
    EXPECT_EQ(lines()[lines().size() - 3], "Database tables within Report.mdb");
}

TEST_F(Listing, TheLastDatabaseStaysOpenAndRecordedInItsLockFile) {
    start();
    listing();
    // The shared KelCom.mdb, the last one opened, stays open: an exclusive open is refused.
    EXPECT_TRUE(fs::exists(host("KELDATA\\KelCom.ldb")));
    EXPECT_FALSE(fs::exists(host("KELDATA\\Office.ldb")));
    try {
        jet::Database::open(host("KELDATA\\KelCom.mdb"), {.readOnly = false, .exclusive = true});
        ADD_FAILURE() << "the listing's database is not held";
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3045);
    }
}

TEST_F(Listing, ArrivingAtTheTabListsAgainEachTime) {
    start();
    EXPECT_TRUE(lines().empty());
    run([&] { ASSERT_TRUE(main().SSTab1.userSelectTab(1)); });
    const auto first = lines();
    EXPECT_EQ(first.front(), "Database Tables within Office.mdb");
    fs::remove(host("KELUSER\\Report.mdb"));
    run([&] { ASSERT_TRUE(main().SSTab1.userSelectTab(0)); });
    run([&] { ASSERT_TRUE(main().SSTab1.userSelectTab(1)); });
    EXPECT_NE(lines(), first);
    EXPECT_GE(indexOf("***UNABLE TO LOCATE***"), 0);
}

TEST_F(Listing, AFolderWithoutItsBackslashGetsItBackForTheListing) {
    start();
    globals().dataDir = "C:\\KELDATA";  // as a diagnostic test leaves it
    listing();
    EXPECT_EQ(lines()[1], "   (  C:\\KELDATA\\  )");
    EXPECT_EQ(lines()[3], "office-Appraiser");
    EXPECT_EQ(globals().dataDir, "C:\\KELDATA\\");
}

}  // namespace
}  // namespace qx::dbinspect::testing
