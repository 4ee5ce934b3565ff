// The table viewer: labels, the walk to the location line, the USERS refusal, key presses, and
// the failures left to the run-time error report.
#include <filesystem>

#include "dbinspect/tests/inspect_fixture.h"
#include "jet/database.h"
#include "jet/schema.h"

namespace qx::dbinspect::testing {
namespace {

namespace fs = std::filesystem;

struct Labels {
    std::string location, database, table, fields, records, index;
    bool operator==(const Labels&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Labels& l) {
    return out << "[" << l.location << "|" << l.database << "|" << l.table << "|" << l.fields << "|"
               << l.records << "|" << l.index << "]";
}

class Viewer : public InspectTest {
  protected:
    Labels labels() {
        auto& f = main();
        return {f.lblLocation.caption(),   f.lblDatabaseName.caption(), f.lblTableName.caption(),
                f.lblFieldCount.caption(), f.lblRecordCount.caption(),  f.lblTableCount.caption()};
    }
    forms::Grid& grid() { return main().grdListing; }
    void startOnTab() {
        start();
        run([&] { ASSERT_TRUE(main().SSTab1.userSelectTab(1)); });
    }
};

TEST_F(Viewer, LinesThatAreNotTablesChangeOnlyTheLabels) {
    startOnTab();
    view("office-Client");
    const auto columns = grid().columns();
    const auto rows = grid().rowCount();
    ASSERT_FALSE(columns.empty());
    fs::remove(host("KELUSER\\Report.mdb"));
    listing();
    const std::vector<std::string> nothing{"Database Tables within Office.mdb", "   (  C:\\KELDATA\\  )", "",
                                           std::string(60, '-'), "***UNABLE TO LOCATE***"};
    for (const std::string& line : nothing) {
        const int index = indexOf(line);
        ASSERT_GE(index, 0) << line;
        view(index);
        EXPECT_EQ(labels(), (Labels{"Location:", "Database:", "Table Name: ", "Field Count:", "Record Count:",
                                    "Table count = " + std::to_string(index)}))
            << line;
        EXPECT_EQ(main().lstTableListing.listIndex(), index);
    }
    EXPECT_EQ(grid().columns(), columns);
    EXPECT_EQ(grid().rowCount(), rows);
    EXPECT_TRUE(boxes().shown().empty());
    EXPECT_TRUE(unhandled_.empty());
}

TEST_F(Viewer, TheFirstOfficeTableOpensFromTheDataFolder) {
    startOnTab();
    ASSERT_EQ(lines()[3], "office-Appraiser");
    view(3);
    EXPECT_EQ(labels(), (Labels{"Location = C:\\KELDATA\\", "Database = office.mdb", "Table Name = Appraiser",
                                "Field Count =" + std::to_string(grid().columns().size()),
                                "Record Count =" + std::to_string(grid().rowCount()), "Table count = 3"}));
    EXPECT_GT(grid().rowCount(), 0u);
    EXPECT_EQ(main().lstTableListing.listIndex(), 3);
    EXPECT_EQ(
        shell::adodc(app_->program()).connectionString(),
        "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=C:\\KELDATA\\office.mdb;Persist Security Info=False");
    EXPECT_EQ(shell::adodc(app_->program()).recordSource(), "Select * from Appraiser");
    EXPECT_EQ(main().mousePointer(), forms::kPointerDefault);
}

TEST_F(Viewer, LocalAndSharedKelComOpenFromTheirOwnFolders) {
    // The two copies differ: the shared one has a table more, and a row more would show too.
    startOnTab();
    const int local = indexOf("   LOCAL = (  C:\\KELUSER\\  )");
    const int shared = indexOf("   SHARED = (  C:\\KELDATA\\  )");
    view(local + 3);  // kelcom-Comments of the user folder
    EXPECT_EQ(labels().location, "Location = C:\\KELUSER\\");
    EXPECT_EQ(labels().table, "Table Name = Comments");
    EXPECT_EQ(labels().database, "Database = kelcom.mdb");
    EXPECT_EQ(shell::adodc(app_->program()).dataSource(), "C:\\KELUSER\\kelcom.mdb");
    const auto localRows = grid().rowCount();
    view(shared + 3);
    EXPECT_EQ(labels().location, "Location = C:\\KELDATA\\");
    EXPECT_EQ(shell::adodc(app_->program()).dataSource(), "C:\\KELDATA\\kelcom.mdb");
    EXPECT_EQ(labels().records, "Record Count =" + std::to_string(grid().rowCount()));
    EXPECT_EQ(localRows, jet::Database::open(host("KELUSER\\KelCom.mdb")).openTable("Comments").rowCount());
    EXPECT_EQ(grid().rowCount(),
              jet::Database::open(host("KELDATA\\KelCom.mdb")).openTable("Comments").rowCount());
}

TEST_F(Viewer, UsersAndLowerCaseUsersAreRefusedWhileLockedAndOpenAfterAnAcceptedCode) {
    startOnTab();
    view("office-Client");
    const auto shownRows = grid().rowCount();
    for (const std::string line : {"office-Users", "report-users"}) {
        const auto before = boxes().shown().size();
        boxes().queue(platform::Answer::OK);
        view(line);
        ASSERT_EQ(boxes().shown().size(), before + 1) << line;
        const auto& box = boxes().shown().back();
        EXPECT_EQ(box.title, "Permission Denied");
        EXPECT_EQ(box.text, "You do not have sufficient SECURITY ACCESS to view this database table");
        EXPECT_EQ(box.buttons, platform::Buttons::OK);
        EXPECT_EQ(labels().table, "Table Name = " + line.substr(line.find('-') + 1));
        EXPECT_EQ(labels().fields, "Field Count:");
        EXPECT_EQ(labels().records, "Record Count:");
        EXPECT_EQ(main().mousePointer(), forms::kPointerDefault);
        // The grid keeps what it showed.
        EXPECT_EQ(shell::adodc(app_->program()).recordSource(), "Select * from Client");
        EXPECT_EQ(grid().rowCount(), shownRows);
    }

    // The day's code through the menu and the form.
    tp_.clock().set({2028, 2, 29, 10, 0, 0});
    click(main().mnuFileSecurity);
    ASSERT_TRUE(security().visible());
    run([&] { ASSERT_TRUE(security().txtPassword.userType("28292002")); });
    click(security().cmdEnter);
    ASSERT_FALSE(security().loaded());
    ASSERT_EQ(globals().usersTableLocked, kVbFalse);
    const auto refusals = boxes().shown().size();
    for (const std::string line : {"office-Users", "report-users"}) {
        view(line);
        EXPECT_EQ(boxes().shown().size(), refusals) << line;
        EXPECT_EQ(shell::adodc(app_->program()).recordSource(),
                  "Select * from " + line.substr(line.find('-') + 1));
        EXPECT_NE(labels().records, "Record Count:");
    }
    EXPECT_TRUE(unhandled_.empty());
}

TEST_F(Viewer, AnyKeyInTheListRunsTheViewerOnTheSelectedLine) {
    startOnTab();
    const int client = indexOf("office-Client");
    run([&] { ASSERT_TRUE(main().lstTableListing.userSelect(client)); });
    run([&] { ASSERT_TRUE(main().lstTableListing.userKeyPress('a')); });
    EXPECT_EQ(labels().table, "Table Name = Client");
    EXPECT_EQ(labels().index, "Table count = " + std::to_string(client));
    EXPECT_NE(labels().records, "Record Count:");
    // Enter as well, after the labels were reset by another line.
    const int invoice = indexOf("office-Invoice");
    run([&] { ASSERT_TRUE(main().lstTableListing.userSelect(invoice)); });
    run([&] { ASSERT_TRUE(main().lstTableListing.userKeyPress(13)); });
    EXPECT_EQ(labels().table, "Table Name = Invoice");
    EXPECT_EQ(labels().index, "Table count = " + std::to_string(invoice));
    // A key on a header line re-runs it too, and opens nothing.
    run([&] { ASSERT_TRUE(main().lstTableListing.userSelect(0)); });
    run([&] { ASSERT_TRUE(main().lstTableListing.userKeyPress(' ')); });
    EXPECT_EQ(labels().table, "Table Name: ");
    EXPECT_EQ(labels().index, "Table count = 0");
}

TEST_F(Viewer, ATableNamedWithAHyphenKeepsItsName) {
    startOnTab();
    view("office-Rates-2006");
    EXPECT_EQ(labels().table, "Table Name = Rates-2006");
    EXPECT_EQ(labels().database, "Database = office.mdb");
    EXPECT_EQ(labels().location, "Location = C:\\KELDATA\\");
    EXPECT_EQ(shell::adodc(app_->program()).recordSource(), "Select * from Rates-2006");
}

TEST_F(Viewer, ATableGoneSinceTheListingIsARunTimeErrorAndTheLabelsStay) {
    startOnTab();
    {
        const jet::Database db = jet::Database::open(host("KELDATA\\Office.mdb"), {.readOnly = false});
        jet::dropTable(db, "Company");
    }
    view("office-Company");
    ASSERT_EQ(unhandled_.size(), 1u);
    EXPECT_EQ(labels().table, "Table Name = Company");
    EXPECT_EQ(labels().location, "Location = C:\\KELDATA\\");
    EXPECT_EQ(labels().database, "Database = office.mdb");
    EXPECT_EQ(labels().fields, "Field Count:");
    EXPECT_EQ(labels().records, "Record Count:");
    EXPECT_FALSE(grid().rowCount() > 0);
}

TEST_F(Viewer, ADatabaseMovedSinceTheListingIsARunTimeError) {
    startOnTab();
    fs::rename(host("KEL\\KelRet.mdb"), host("KEL\\KelRet.old"));
    view("kelret-Transfer");
    ASSERT_EQ(unhandled_.size(), 1u);
    EXPECT_NE(unhandled_[0].description.find("C:\\KEL\\kelret.mdb"), std::string::npos)
        << unhandled_[0].description;
    EXPECT_EQ(labels().table, "Table Name = Transfer");
    EXPECT_EQ(labels().location, "Location = C:\\KEL\\");
}

TEST_F(Viewer, WithoutALocationLineTheDatabaseNameAloneIsTheSource) {
    startOnTab();
    // A list that holds only a table line, as no listing writes it: the walk finds no location.
    main().lstTableListing.clear();
    main().lstTableListing.addItem("office-Client");
    view(0);
    ASSERT_EQ(unhandled_.size(), 1u);  // office.mdb is not in the current folder
    EXPECT_EQ(labels().location, "Location:");
    EXPECT_EQ(labels().table, "Table Name = Client");
    EXPECT_EQ(shell::adodc(app_->program()).dataSource(), "office.mdb");
    EXPECT_EQ(main().lstTableListing.listIndex(), 0);
}

}  // namespace
}  // namespace qx::dbinspect::testing
